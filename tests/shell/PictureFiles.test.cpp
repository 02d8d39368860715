#include <PictureFiles.hpp>

#include "temporaryFolder.hpp"

#include <Writers/WriteError.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <filesystem>
#include <vector>

using namespace Shell;
using namespace Shell::Test;
using Mirk::PngWriter;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;
namespace fs = std::filesystem;

namespace {

TEST(NamesForEyes, StandBeforeTheEnding) {
    EXPECT_THAT(namesForEyes("a/b.c/picture.png"),
                ElementsAre("a/b.c/picture-left.png", "a/b.c/picture-right.png"));
    EXPECT_THAT(namesForEyes("picture"), ElementsAre("picture-left", "picture-right"));
    EXPECT_THAT(namesForEyes("/x.y.png"), ElementsAre("/x.y-left.png", "/x.y-right.png"));
}

/// Two pictures of one pixel each.
class PictureFilesTest : public testing::Test {
protected:
    std::vector<PngWriter::Picture> pictures() const {
        const auto picture = [](const std::vector<std::uint8_t>& bytes) {
            return PngWriter::Picture{bytes.data(), 1, 1, PngWriter::PixelFormat::rgb,
                                      PngWriter::RowOrder::topFirst};
        };
        return {picture(_red), picture(_blue)};
    }
    std::vector<std::string> paths() const {
        return {_folder.path("left.png"), _folder.path("right.png")};
    }
    std::string errorOf(const PictureFiles& files) const {
        try {
            files.write(pictures());
        } catch (const Mirk::WriteError& error) {
            return error.what();
        }
        return "no error";
    }

    const std::vector<std::uint8_t> _red{255, 0, 0}, _blue{0, 0, 255};
    const TemporaryFolder _folder;
};

TEST_F(PictureFilesTest, AreBothWrittenAndNothingElse) {
    PictureFiles(paths()).write(pictures());
    EXPECT_THAT(_folder.names(), ElementsAre("left.png", "right.png"));
    EXPECT_THAT(contentOf(paths()[0]), StartsWith("\x89PNG"));
    EXPECT_NE(contentOf(paths()[0]), contentOf(paths()[1]));
}

TEST_F(PictureFilesTest, ReplaceThoseThatWereThere) {
    _folder.write("left.png", "old");
    fs::permissions(paths()[0], fs::perms::owner_read | fs::perms::owner_write);
    PictureFiles(paths()).write(pictures());
    EXPECT_THAT(_folder.names(), ElementsAre("left.png", "right.png"));
    EXPECT_THAT(contentOf(paths()[0]), StartsWith("\x89PNG"));
    EXPECT_EQ(fs::status(paths()[0]).permissions(), fs::perms::owner_read | fs::perms::owner_write);
}

TEST_F(PictureFilesTest, LeaveSymbolicLinks) {
    const std::string behind = _folder.write("behind.png", "old");
    fs::create_symlink("behind.png", paths()[1]);
    PictureFiles(paths()).write(pictures());
    EXPECT_TRUE(fs::is_symlink(paths()[1]));
    EXPECT_THAT(contentOf(behind), StartsWith("\x89PNG"));
    EXPECT_THAT(_folder.names(), ElementsAre("behind.png", "left.png", "right.png"));
}

TEST_F(PictureFilesTest, AreRefusedAheadOfTheDrawingIfOneCannotBeWritten) {
    fs::create_directory(paths()[1]);
    EXPECT_THROW(PictureFiles{paths()}, Mirk::WriteError);
}

TEST_F(PictureFilesTest, AreNoneIfTheLastCannotBePutInPlace) {
    const PictureFiles files(paths());
    fs::create_directory(paths()[1]);
    EXPECT_THAT(errorOf(files), StartsWith("cannot write " + paths()[1] + ": "));
    EXPECT_THAT(_folder.names(), ElementsAre("right.png"));
}

TEST_F(PictureFilesTest, AreThoseOfYesterdayIfTheLastCannotBePutInPlace) {
    _folder.write("left.png", "yesterday");
    const PictureFiles files(paths());
    fs::create_directory(paths()[1]);
    EXPECT_THAT(errorOf(files), StartsWith("cannot write " + paths()[1] + ": "));
    EXPECT_THAT(_folder.names(), ElementsAre("left.png", "right.png"));
    EXPECT_EQ(contentOf(paths()[0]), "yesterday");
}

TEST_F(PictureFilesTest, AreNoneIfTheFolderIsGone) {
    const std::string folder = _folder.path("gone");
    fs::create_directory(folder);
    const PictureFiles files(namesForEyes(folder + "/a.png"));
    fs::remove(folder);
    EXPECT_EQ(errorOf(files), "cannot write " + folder + "/a-left.png: No such file or directory");
    EXPECT_THAT(_folder.names(), IsEmpty());
}

} // namespace
