#include "testFiles.hpp"

#include <dlfcn.h>

using namespace Mirk;
using testing::HasSubstr;

namespace {

class ReaderRegistryTest : public testing::Test {
protected:
    static bool isLoaded(const std::string& library) {
        void* const handle = dlopen(library.c_str(), RTLD_LAZY | RTLD_NOLOAD);
        if (handle) dlclose(handle);
        return handle;
    }
    std::string errorWith(ReaderRegistry& registry, const std::string& name,
                          const std::string& content) {
        try {
            registry.read(InputFile(name, content));
        } catch (const ReaderError& error) {
            return error.what();
        }
        return "no error";
    }

    TemporaryFolder folder;
};

/// Finds a word that no other reader knows, and is as sure as it is told.
class WordReader : public Reader {
public:
    WordReader(std::string word, Recognition sure, std::size_t points)
        : _word(std::move(word)), _sure(sure), _points(points) {}
    std::string name() const override { return _word; }
    std::vector<std::string> extensions() const override { return {"word"}; }
    Recognition recognises(const InputFile& file) const override {
        return file.head().starts_with(_word) ? _sure : Recognition::None;
    }
    Dataset read(const InputFile&, const ReadOptions&) const override {
        return PointSet{makeChunk(std::vector<Point>(_points)), {}, {}};
    }

private:
    std::string _word;
    Recognition _sure;
    std::size_t _points;
};

TEST_F(ReaderRegistryTest, TakesTheSurestReaderThenTheLatest) {
    ReaderRegistry registry({});
    registry.add(std::make_unique<WordReader>("word", Recognition::Content, 1));
    registry.add(std::make_unique<WordReader>("word", Recognition::Container, 2));
    EXPECT_EQ(pointsOf(registry.read(InputFile("a", "word"))).size(), 1u);
    registry.add(std::make_unique<WordReader>("word", Recognition::Content, 3));
    EXPECT_EQ(pointsOf(registry.read(InputFile("a", "word"))).size(), 3u);
}

TEST_F(ReaderRegistryTest, GoesByTheNameOnlyIfNoContentIsKnown) {
    ReaderRegistry registry({});
    registry.add(std::make_unique<WordReader>("word", Recognition::Content, 1));
    EXPECT_EQ(pointsOf(registry.read(InputFile("a.word", "other"))).size(), 1u);
    EXPECT_EQ(pointsOf(registry.read(InputFile("a.word", Tetrahedron::off()))).size(), 4u);
}

TEST_F(ReaderRegistryTest, LoadsAModuleOnlyForAFileOfItsKind) {
    ReaderRegistry registry({STRANGE_FOLDER});
    registry.read(InputFile("a.off", Tetrahedron::off()));
    EXPECT_FALSE(isLoaded(STRANGE_FOLDER "/StrangeReader.so"));
    EXPECT_EQ(pointsOf(registry.read(InputFile("a", "STRANGE 7"))).size(), 7u);
    EXPECT_TRUE(isLoaded(STRANGE_FOLDER "/StrangeReader.so"));
}

TEST_F(ReaderRegistryTest, LoadsAModuleByTheNameOfTheFile) {
    ReaderRegistry registry({STRANGE_FOLDER});
    EXPECT_EQ(errorWith(registry, "a.strange", "nothing of the kind"),
              "a.strange: byte 0: expected 'STRANGE' and a digit");
}

TEST_F(ReaderRegistryTest, NamesWhatModulesReadWithoutLoadingThem) {
    ReaderRegistry registry({folder.path()});
    folder.write("Other.reader", "magic 2 00ff # at the third byte\n\nextension other\n");
    EXPECT_THAT(errorWith(registry, "a.xyz", "what?"), HasSubstr("what Other reads"));
}

TEST_F(ReaderRegistryTest, TellsWhyAModuleCannotBeLoaded) {
    folder.write("Broken.reader", "magic 1 4142\nextension broken\n");
    ReaderRegistry missing({folder.path()});
    EXPECT_THAT(errorWith(missing, "a", "xAB"),
                testing::AllOf(testing::StartsWith("a: the module " + folder.path("Broken.so") +
                                                   " for such files can't be loaded: "),
                               HasSubstr("No such file")));
    folder.write("Broken.so", "this is no library");
    ReaderRegistry broken({folder.path()});
    EXPECT_THAT(errorWith(broken, "b.broken", "text"), HasSubstr("can't be loaded"));
}

TEST_F(ReaderRegistryTest, RefusesLibrariesThatAreNoModules) {
    std::filesystem::copy_file(NO_MODULE, folder.path("None.so"));
    folder.write("None.reader", "extension none\n");
    ReaderRegistry registry({folder.path()});
    EXPECT_THAT(errorWith(registry, "a.none", "text"),
                HasSubstr("can't be loaded: expected POLYPIA_READER_MODULE in it"));
}

TEST_F(ReaderRegistryTest, RefusesModulesOfAnotherInterface) {
    std::filesystem::copy_file(OLD_MODULE, folder.path("Old.so"));
    folder.write("Old.reader", "extension old\n");
    ReaderRegistry registry({folder.path()});
    EXPECT_THAT(errorWith(registry, "a.old", "text"),
                HasSubstr("can't be loaded: expected interface 1, got 0"));
}

TEST_F(ReaderRegistryTest, NamesFileAndLineOfAWrongDescription) {
    const auto errorFor = [&](const std::string& description) {
        folder.write("Wrong.reader", description);
        ReaderRegistry registry({folder.path()});
        return errorWith(registry, "a.xyz", "text");
    };
    EXPECT_EQ(errorFor("# one\nmagick 0 00\n"),
              folder.path("Wrong.reader: line 2: expected 'extension' or 'magic', got 'magick'"));
    EXPECT_EQ(errorFor("magic 0 0g\n"),
              folder.path("Wrong.reader: line 1: expected pairs of hexadecimal digits, got '0g'"));
    EXPECT_EQ(errorFor("magic 0 123\n"),
              folder.path("Wrong.reader: line 1: expected pairs of hexadecimal digits, got '123'"));
    EXPECT_EQ(errorFor("magic 0 12 13\n"),
              folder.path("Wrong.reader: line 1: expected the end of the line, got '13'"));
    EXPECT_EQ(errorFor("extension\n"),
              folder.path("Wrong.reader: line 1: expected an extension, got the end of the line"));
}

TEST_F(ReaderRegistryTest, PassesOverFoldersThatAreNotThere) {
    ReaderRegistry registry({folder.path("none"), STRANGE_FOLDER});
    EXPECT_EQ(pointsOf(registry.read(InputFile("a", "STRANGE 2"))).size(), 2u);
}

// The registry of the process reads the variable once, hence in a process of its own.
TEST_F(ReaderRegistryTest, FindsModulesOnTheModulePath) {
    GTEST_FLAG_SET(death_test_style, "threadsafe");
    const auto readStrange = [this] {
        setenv("POLYPIA_MODULE_PATH", "/nowhere::" STRANGE_FOLDER, 1);
        const Dataset dataset = readFile(folder.write("a", "STRANGE 3"));
        std::_Exit(pointsOf(dataset).size() == 3 ? 0 : 1);
    };
    EXPECT_EXIT(readStrange(), testing::ExitedWithCode(0), "");
}

TEST_F(ReaderRegistryTest, ReadsFilesThroughTheRegistryOfTheProcess) {
    EXPECT_EQ(trianglesOf(readFile(folder.write("t.off", Tetrahedron::off()))).size(), 12u);
    EXPECT_THROW(readFile(folder.path("none.off")), ReaderError);
}

} // namespace
