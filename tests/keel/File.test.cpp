#include <keel/File.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <limits>
#include <list>
#include <string>
#include <thread>

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <unistd.h>

namespace {

using namespace Keel;
namespace fs = std::filesystem;

void limitMemory(rlim_t bytes) {
    const rlimit limit = {bytes, bytes};
    ::setrlimit(RLIMIT_AS, &limit);
}

/// Each case has an empty folder of its own.
class File : public testing::Test {
protected:
    File() {
        std::string pattern = (fs::temp_directory_path() / "keel-file-XXXXXX").string();
        folder = ::mkdtemp(pattern.data());
    }

    ~File() override { fs::remove_all(folder); }

    std::string path(const std::string& name) const { return folder + '/' + name; }

    std::string make(const std::string& name, const std::string& text) const {
        fs::create_directories(fs::path(path(name)).parent_path());
        std::ofstream(path(name), std::ios::binary) << text;
        return path(name);
    }

    std::size_t entries() const {
        return static_cast<std::size_t>(
            std::distance(fs::directory_iterator(folder), fs::directory_iterator()));
    }

    std::string folder;
};

TEST_F(File, ReadGivesTheWholeFile) {
    const std::string text("a\r\nb\0c\n", 7);
    EXPECT_EQ(FileRead(make("a", text), "rb"), text);
    EXPECT_EQ(FileRead(path("a"), "r"), text);
    EXPECT_EQ(FileRead(path("a"), "rt"), text);
}

TEST_F(File, ReadGivesLargeFiles) {
    const std::string text(3'000'001, 'x');
    EXPECT_EQ(FileRead(make("large", text), "rb"), text);
}

TEST_F(File, ReadGivesFilesThatTellNoSize) {
    EXPECT_THAT(FileRead("/proc/self/status", "rb"), testing::StartsWith("Name:"));
}

TEST_F(File, ReadGivesWhatComesThroughAPipe) {
    ASSERT_EQ(::mkfifo(path("pipe").c_str(), 0600), 0);
    const std::string text(200'000, 'x');
    std::thread writer([&] { std::ofstream(path("pipe")) << text; });
    EXPECT_EQ(FileRead(path("pipe"), "rb"), text);
    writer.join();
}

TEST_F(File, ReadIsEmptyIfTheFileCannotBeRead) {
    EXPECT_EQ(FileRead(path("missing"), "rb"), "");
    EXPECT_EQ(FileRead(folder, "rb"), "");
    EXPECT_EQ(FileRead("", "rb"), "");
    EXPECT_EQ(FileRead(make("empty", ""), "rb"), "");
}

TEST_F(File, ReadDoesNotStopAtANulInThePath) {
    make("a", "text");
    EXPECT_EQ(FileRead(path(std::string("a\0b", 3)), "rb"), "");
}

TEST_F(File, ReadLeavesTheFileAloneInAModeForWriting) {
    make("a", "text");
    EXPECT_EQ(FileRead(path("a"), "wb"), "");
    EXPECT_EQ(FileRead(path("a"), nullptr), "");
    EXPECT_EQ(FileRead(path("a"), "rb"), "text");
}

TEST_F(File, ReadIsEmptyIfTheFileIsLargerThanMemory) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "the sanitizer needs more memory than the limit of this case";
#endif
    constexpr long long gib = 1LL << 30;
    make("sparse", "");
    ASSERT_EQ(::truncate(path("sparse").c_str(), 4 * gib), 0);
    EXPECT_EXIT(
        {
            limitMemory(gib);
            std::_Exit(FileRead(path("sparse"), "rb").empty() ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

TEST_F(File, WriteMakesAFile) {
    EXPECT_TRUE(FileWrite(path("a"), "text\n", "wt"));
    EXPECT_EQ(FileRead(path("a"), "rb"), "text\n");
    EXPECT_EQ(entries(), 1u) << "the file aside is gone";
}

TEST_F(File, WriteReplacesTheContent) {
    make("a", "a longer text than the new one");
    EXPECT_TRUE(FileWrite(path("a"), "new", "wt"));
    EXPECT_EQ(FileRead(path("a"), "rb"), "new");
    EXPECT_TRUE(FileWrite(path("a"), "", "w"));
    EXPECT_EQ(FileRead(path("a"), "rb"), "");
    EXPECT_EQ(entries(), 1u);
}

TEST_F(File, WriteWorksInTheWorkingDirectory) {
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    EXPECT_TRUE(FileWrite("bare", "text", "wt"));
    fs::current_path(before);
    EXPECT_EQ(FileRead(path("bare"), "rb"), "text");
}

TEST_F(File, WriteTakesTheLongestNames) {
    const std::string name(255, 'n');
    EXPECT_TRUE(FileWrite(path(name), "text", "wt"));
    EXPECT_EQ(FileRead(path(name), "rb"), "text");
}

TEST_F(File, WriteKeepsPermissionsOfTheFile) {
    make("a", "old");
    ::chmod(path("a").c_str(), 0640);
    EXPECT_TRUE(FileWrite(path("a"), "new", "wt"));
    struct stat state = {};
    ::stat(path("a").c_str(), &state);
    EXPECT_EQ(state.st_mode & 07777, 0640u);
}

TEST_F(File, WriteGivesNewFilesThePermissionsOfTheUser) {
    const mode_t before = ::umask(027);
    EXPECT_TRUE(FileWrite(path("a"), "new", "wt"));
    ::umask(before);
    struct stat state = {};
    ::stat(path("a").c_str(), &state);
    EXPECT_EQ(state.st_mode & 07777, 0640u);
}

TEST_F(File, WriteFollowsSymbolicLinks) {
    make("folder/target", "old");
    fs::create_symlink("folder/target", path("link"));
    EXPECT_TRUE(FileWrite(path("link"), "new", "wt"));
    EXPECT_TRUE(fs::is_symlink(path("link")));
    EXPECT_EQ(FileRead(path("folder/target"), "rb"), "new");
}

TEST_F(File, WriteTellsItsFailureAndLeavesNothing) {
    errno = 0;
    EXPECT_FALSE(FileWrite(path("missing/a"), "text", "wt"));
    EXPECT_EQ(errno, ENOENT);
    EXPECT_FALSE(FileWrite(folder, "text", "wt"));
    EXPECT_EQ(errno, EISDIR);
    EXPECT_FALSE(FileWrite("", "text", "wt"));
    EXPECT_FALSE(FileWrite(path(std::string("a\0b", 3)), "text", "wt"));
    EXPECT_EQ(errno, EINVAL);
    EXPECT_FALSE(FileWrite(path(std::string(256, 'n')), "text", "wt"));
    EXPECT_EQ(entries(), 0u);
}

TEST_F(File, WriteRefusesOtherModes) {
    make("a", "text");
    for (const char* mode : {"a", "r", "r+", "wx", "", static_cast<const char*>(nullptr)}) {
        EXPECT_FALSE(FileWrite(path("a"), "more", mode));
    }
    EXPECT_EQ(FileRead(path("a"), "rb"), "text");
}

TEST_F(File, WriteLeavesAProtectedFile) {
    make("a", "text");
    ::chmod(path("a").c_str(), 0444);
    ::chmod(folder.c_str(), 0777);
    // In a process without the rights of root, who may write any file.
    EXPECT_EXIT(
        {
            if (::geteuid() == 0 && ::setuid(65534) != 0) std::_Exit(2);
            const bool written = FileWrite(path("a"), "new", "wt");
            std::_Exit(!written && errno == EACCES ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
    EXPECT_EQ(FileRead(path("a"), "rb"), "text");
    EXPECT_EQ(entries(), 1u);
}

TEST_F(File, WriteToADeviceDoesNotReplaceIt) {
    EXPECT_TRUE(FileWrite("/dev/null", "text", "wt"));
    EXPECT_TRUE(fs::is_character_file("/dev/null"));
    EXPECT_FALSE(FileWrite("/dev/full", "text", "wt"));
    EXPECT_EQ(errno, ENOSPC);
    EXPECT_TRUE(fs::is_character_file("/dev/full"));
}

TEST_F(File, WriteTakesAnotherNameIfOneIsLeftFromAKilledProcess) {
    // Names carry a counter; whatever it stands at, the next ones are taken.
    for (int i = 0; i < 60; ++i)
        make(".keel-" + std::to_string(::getpid()) + '-' + std::to_string(i) + ".part", "left");
    EXPECT_TRUE(FileWrite(path("a"), "text", "wt"));
    EXPECT_EQ(FileRead(path("a"), "rb"), "text");
}

TEST_F(File, WriteShowsReadersTheOldTextOrTheNewOne) {
    const std::string a(50'000, 'a'), b(60'000, 'b');
    make("a", a);
    std::atomic<bool> done = false;
    std::thread writer([&] {
        for (int i = 0; i < 50; ++i) FileWrite(path("a"), i % 2 ? a : b, "wt");
        done = true;
    });
    while (!done) {
        const std::string text = FileRead(path("a"), "rb");
        ASSERT_TRUE(text == a || text == b) << text.size();
    }
    writer.join();
}

TEST_F(File, PathOpenGivesTheFirstThatExists) {
    make("one/x", "");
    make("two/x", "");
    make("two/y", "");
    const std::list<std::string> search{path("none"), path("one"), path("two")};
    EXPECT_EQ(PathOpen(search, "x"), path("one/x"));
    EXPECT_EQ(PathOpen(search, "y"), path("two/y"));
    EXPECT_EQ(PathOpen(search, "z"), "");
    EXPECT_EQ(PathOpen({}, "x"), "");
    EXPECT_EQ(PathOpen({path("one/")}, "x"), path("one/x"));
}

TEST_F(File, PathCandidatesAreAllPlacesWhetherTheyExistOrNot) {
    ::setenv("KEEL_TEST_ROOT", "root", 1);
    ::unsetenv("KEEL_TEST_UNSET");
    EXPECT_THAT(Keel::pathCandidates({".", "one/", "$KEEL_TEST_UNSET", "", "$KEEL_TEST_ROOT"}, "x"),
                testing::ElementsAre("./x", "one/x", "root/x"));
    EXPECT_THAT(Keel::pathCandidates({"."}, ""), testing::IsEmpty());
}

TEST_F(File, PathOpenTakesFoldersInTheName) {
    make("one/sub/x", "");
    EXPECT_EQ(PathOpen({path("one")}, "sub/x"), path("one/sub/x"));
}

TEST_F(File, PathOpenSearchesTheWorkingDirectoryByADot) {
    make("x", "");
    const fs::path before = fs::current_path();
    fs::current_path(folder);
    EXPECT_EQ(PathOpen({"."}, "x"), "./x");
    fs::current_path(before);
}

TEST_F(File, PathOpenFindsRegularFilesOnly) {
    make("one/x/inner", "");
    make("two/x", "");
    EXPECT_EQ(PathOpen({path("one"), path("two")}, "x"), path("two/x"));
    fs::create_symlink(path("two/x"), path("one/link"));
    EXPECT_EQ(PathOpen({path("one")}, "link"), path("one/link"));
}

TEST_F(File, PathOpenOfTheEmptyNameIsEmpty) {
    EXPECT_EQ(PathOpen({".", folder}, ""), "");
}

TEST_F(File, PathOpenExpandsVariablesInEntries) {
    make("themes/dark/x", "");
    ::setenv("KEEL_TEST_ROOT", folder.c_str(), 1);
    ::setenv("KEEL_TEST_THEME", "dark", 1);
    const std::string expected = path("themes/dark/x");
    EXPECT_EQ(PathOpen({"$KEEL_TEST_ROOT/themes/$KEEL_TEST_THEME"}, "x"), expected);
    EXPECT_EQ(PathOpen({"${KEEL_TEST_ROOT}/themes/${KEEL_TEST_THEME}"}, "x"), expected);
    EXPECT_EQ(PathOpen({"$KEEL_TEST_ROOT/themes/dark"}, "x"), expected);
    EXPECT_EQ(PathOpen({"$KEEL_TEST_ROOT"}, "themes/dark/x"), expected);
}

TEST_F(File, PathOpenExpandsNoVariablesInTheName) {
    make("dark", "");
    make("$KEEL_TEST_THEME", "");
    ::setenv("KEEL_TEST_THEME", "dark", 1);
    EXPECT_EQ(PathOpen({folder}, "$KEEL_TEST_THEME"), path("$KEEL_TEST_THEME"));
}

TEST_F(File, PathOpenSkipsEntriesWithAnUnsetOrEmptyVariable) {
    // Otherwise both entries would be the root folder, where the folder of the case is found.
    const std::string below = path("x").substr(1);
    make("x", "");
    ::unsetenv("KEEL_TEST_UNSET");
    ::setenv("KEEL_TEST_EMPTY", "", 1);
    EXPECT_EQ(PathOpen({"$KEEL_TEST_UNSET"}, below), "");
    EXPECT_EQ(PathOpen({"$KEEL_TEST_UNSET/"}, below), "");
    EXPECT_EQ(PathOpen({"${KEEL_TEST_EMPTY}"}, below), "");
    EXPECT_EQ(PathOpen({folder + "/$KEEL_TEST_UNSET"}, "x"), "");
    EXPECT_EQ(PathOpen({"$KEEL_TEST_UNSET", folder}, "x"), path("x"));
}

TEST_F(File, PathOpenSkipsEmptyEntries) {
    make("x", "");
    EXPECT_EQ(PathOpen({""}, path("x").substr(1)), "");
    EXPECT_EQ(PathOpen({"/"}, path("x").substr(1)), path("x")) << "the root by its own name";
}

TEST_F(File, PathOpenKeepsADollarSignThatNamesNoVariable) {
    ::setenv("KEEL_TEST_THEME", "dark", 1);
    for (const std::string dir : {"a$", "$5", "${", "${}", "${KEEL_TEST_THEME", "${a-b}", "$$"}) {
        make(dir + "/x", "");
        EXPECT_EQ(PathOpen({folder + "/" + dir}, "x"), path(dir + "/x"));
    }
}

TEST_F(File, InfoTellsAFile) {
    const FileInfo info(make("a", "12345"));
    EXPECT_TRUE(info.exists);
    EXPECT_TRUE(info.isRegular);
    EXPECT_EQ(info.bytes, 5u);
    EXPECT_GT(info.modified, Filetime());
}

TEST_F(File, InfoTellsAFolder) {
    const FileInfo info(folder);
    EXPECT_TRUE(info.exists);
    EXPECT_FALSE(info.isRegular);
    EXPECT_EQ(info.bytes, 0u);
}

TEST_F(File, InfoTellsThatNothingIsThere) {
    fs::create_symlink(path("missing"), path("dangling"));
    for (const std::string& name : {path("missing"), path("dangling"), std::string()}) {
        const FileInfo info(name);
        EXPECT_FALSE(info.exists);
        EXPECT_FALSE(info.isRegular);
        EXPECT_EQ(info.modified, Filetime());
    }
}

TEST_F(File, InfoHasTheTimeOfModificationToTheNanosecond) {
    make("a", "");
    const timespec times[2] = {{1'000'000'000, 0}, {1'000'000'000, 123'456'789}};
    ASSERT_EQ(::utimensat(AT_FDCWD, path("a").c_str(), times, 0), 0);
    EXPECT_EQ(FileInfo(path("a")).modified, Filetime(1'000'000'000, 123'456'789));
}

TEST(Filetime, OrdersBySecondsThenNanoseconds) {
    EXPECT_TRUE(Filetime(2) > Filetime(1, 999'999'999));
    EXPECT_TRUE(Filetime(1, 2) > Filetime(1, 1));
    EXPECT_FALSE(Filetime(1, 1) > Filetime(1, 1));
    EXPECT_FALSE(Filetime(1) > Filetime(2));
    EXPECT_LT(Filetime(-1), Filetime(0));
    EXPECT_LE(Filetime(1, 1), Filetime(1, 1));
    EXPECT_GE(Filetime(1, 1), Filetime(1, 1));
    EXPECT_EQ(Filetime(1, 1), Filetime(1, 1));
    EXPECT_NE(Filetime(1, 1), Filetime(1, 2));
}

TEST(Filetime, NeverIsEarlierThanAllOthers) {
    EXPECT_TRUE(Filetime(-10'000'000'000) > Filetime());
    EXPECT_EQ(Filetime().str(), "never");
}

TEST(Filetime, IsPrintedInLocalTime) {
    ::setenv("TZ", "UTC", 1);
    ::tzset();
    EXPECT_EQ(Filetime(1'709'211'907, 5).str(), "2024-02-29 13:05:07");
    EXPECT_EQ(Filetime(0).str(), "1970-01-01 00:00:00");
    ::setenv("TZ", "XYZ-2", 1); // two hours ahead of UTC
    ::tzset();
    EXPECT_EQ(Filetime(1'709'211'907).str(), "2024-02-29 15:05:07");
    ::unsetenv("TZ");
    ::tzset();
}

TEST(Filetime, IsPrintedAlsoBeyondTheCalendar) {
    EXPECT_EQ(Filetime(std::numeric_limits<long long>::max()).str(),
              "9223372036854775807 s since 1970");
}

} // namespace
