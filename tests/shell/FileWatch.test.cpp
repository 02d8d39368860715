#include <FileWatch.hpp>

#include "temporaryFolder.hpp"

#include <gtest/gtest.h>

#include <chrono>

using Shell::FileWatch;
using Shell::Test::TemporaryFolder;

namespace {

class FileWatchTest : public testing::Test {
protected:
    /// Each time later than all files before.
    void save(const std::string& content) {
        const std::filesystem::path path = folder.write("a.frag", content);
        _age += std::chrono::seconds(1);
        last_write_time(path, std::filesystem::file_time_type::clock::now() + _age);
    }
    FileWatch::Times times() const {
        const std::string path = folder.path("a.frag");
        return {{path, Keel::FileInfo(path).modified}};
    }

    TemporaryFolder folder;
    FileWatch watch;

private:
    std::chrono::seconds _age{0};
};

TEST_F(FileWatchTest, FilesThatAreAsTheyWereAreNotSaved) {
    EXPECT_FALSE(watch.areSaved());
    save("text");
    watch.begin(times());
    for (int i = 0; i < 20; ++i) EXPECT_FALSE(watch.areSaved());
}

TEST_F(FileWatchTest, SavedFileCountsWhenItStaysTheSame) {
    save("text");
    watch.begin(times());
    save("te");
    EXPECT_FALSE(watch.areSaved());
    save("text ");
    EXPECT_FALSE(watch.areSaved());
    save("text an");
    EXPECT_FALSE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
}

TEST_F(FileWatchTest, GrownFileOfTheSameTimeIsNotYetTheSame) {
    save("text");
    watch.begin(times());
    save("text and");
    const std::filesystem::path path = folder.path("a.frag");
    const auto time = last_write_time(path);
    EXPECT_FALSE(watch.areSaved());
    folder.write("a.frag", "text and more");
    last_write_time(path, time);
    EXPECT_FALSE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
}

TEST_F(FileWatchTest, NewFileIsSaved) {
    watch.begin(times());
    EXPECT_FALSE(watch.areSaved());
    save("text");
    EXPECT_FALSE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
}

TEST_F(FileWatchTest, EmptyFileHasToStayEmptyForAWhile) {
    save("text");
    watch.begin(times());
    save("");
    EXPECT_FALSE(watch.areSaved());
    for (int i = 0; i < 9; ++i) EXPECT_FALSE(watch.areSaved()) << i;
    EXPECT_TRUE(watch.areSaved());
}

TEST_F(FileWatchTest, FileThatIsEmptiedAndThenWrittenIsSavedOnce) {
    save("text");
    watch.begin(times());
    save("");
    EXPECT_FALSE(watch.areSaved());
    EXPECT_FALSE(watch.areSaved());
    save("other text");
    EXPECT_FALSE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
    watch.begin(times());
    for (int i = 0; i < 20; ++i) EXPECT_FALSE(watch.areSaved());
}

TEST_F(FileWatchTest, WhatHasBeenToldIsNotToldAgain) {
    save("text");
    const FileWatch::Times before = times();
    watch.begin(before);
    save("other text");
    EXPECT_FALSE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
    // Nobody has read it, though.
    watch.begin(before);
    for (int i = 0; i < 20; ++i) EXPECT_FALSE(watch.areSaved());
    save("third text");
    EXPECT_FALSE(watch.areSaved());
    EXPECT_TRUE(watch.areSaved());
}

TEST_F(FileWatchTest, FileThatHasGoneOrBecomeOlderIsNotSaved) {
    save("text");
    watch.begin(times());
    const std::filesystem::path path = folder.path("a.frag");
    last_write_time(path, last_write_time(path) - std::chrono::hours(1));
    for (int i = 0; i < 20; ++i) EXPECT_FALSE(watch.areSaved());
    std::filesystem::remove(path);
    for (int i = 0; i < 20; ++i) EXPECT_FALSE(watch.areSaved());
}

} // namespace
