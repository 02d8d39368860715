#include "testFiles.hpp"

#include <sys/stat.h>
#include <unistd.h>

using namespace Mirk;
using testing::HasSubstr;

namespace {

class InputFileTest : public testing::Test {
protected:
    std::string errorOfOpening(const std::string& path) {
        try {
            const InputFile file(path);
        } catch (const ReaderError& error) {
            EXPECT_EQ(error.path(), path);
            return error.what();
        }
        return "no error";
    }

    TemporaryFolder folder;
};

TEST_F(InputFileTest, GivesHeadAndContent) {
    const std::string text(10000, 'a');
    const InputFile file(folder.write("a.off", text));
    EXPECT_EQ(file.head(), text.substr(0, 4096));
    EXPECT_EQ(file.size(), 10000u);
    EXPECT_EQ(file.content(), text);
    EXPECT_TRUE(file.isPlainFile());
}

TEST_F(InputFileTest, UnpacksGzipWhateverTheName) {
    // Far beyond what the first guess of the room allows.
    const std::string text(3000000, 'a');
    const InputFile file(folder.write("a.off", gzipped(text)));
    EXPECT_EQ(file.size(), text.size());
    EXPECT_EQ(file.head(), text.substr(0, 4096));
    EXPECT_TRUE(file.content() == text);
    EXPECT_FALSE(file.isPlainFile());
}

TEST_F(InputFileTest, UnpacksGzipFilesInARowAndPassesOverPadding) {
    const InputFile file("a", gzipped("one ") + gzipped("two") + std::string(100, '\0'));
    EXPECT_EQ(file.content(), "one two");
}

TEST_F(InputFileTest, ExtensionIsLowerCaseAndBeforeGz) {
    EXPECT_EQ(InputFile("/a.b/Mesh.PLY", "x").extension(), "ply");
    EXPECT_EQ(InputFile("mesh.Off.gz", "x").extension(), "off");
    EXPECT_EQ(InputFile("/a.b/mesh", "x").extension(), "");
}

TEST_F(InputFileTest, RefusesWhatIsNoFileWithData) {
    EXPECT_EQ(errorOfOpening(folder.path("none")), folder.path("none: No such file or directory"));
    EXPECT_EQ(errorOfOpening(folder.path()), folder.path() + ": expected a file, got a directory");
    EXPECT_THAT(errorOfOpening(folder.write("empty", "")), HasSubstr("got an empty file"));
    EXPECT_EQ(errorOfOpening("/dev/zero"),
              "/dev/zero: expected a regular file, got a device or pipe");
}

TEST_F(InputFileTest, RefusesAPipeWithoutWaitingForItsWriter) {
    const std::string pipe = folder.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    EXPECT_THAT(errorOfOpening(pipe), HasSubstr("expected a regular file"));
}

TEST_F(InputFileTest, NoticesAFileThatGetsShorterMeanwhile) {
    const std::string path = folder.write("a.off", std::string(10000, 'a'));
    const InputFile file(path);
    ASSERT_EQ(truncate(path.c_str(), 5000), 0);
    EXPECT_THROW(file.content(), ReaderError);
}

TEST(ReaderErrorTest, IsOneLineAndAKeelException) {
    const ReaderError error("a\nb.off", "line 3", "expected\tthis");
    const Keel::Exception& base = error;
    EXPECT_STREQ(base.what(), "a?b.off: line 3: expected?this");
    EXPECT_EQ(error.place(), "line 3");
    EXPECT_STREQ(ReaderError("a", "", "b").what(), "a: b");
}

TEST(ReaderErrorTest, QuotesCutAndEscape) {
    EXPECT_EQ(ReaderError::quoted("a\x80\n"), "'a\\x80\\x0a'");
    EXPECT_EQ(ReaderError::quoted(std::string(41, 'x')), "'" + std::string(40, 'x') + "...'");
}

} // namespace
