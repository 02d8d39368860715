#include <keel/VerboseStream.hpp>

#include <gmock/gmock.h>

#include <clocale>
#include <cstdio>
#include <limits>
#include <ostream>
#include <sstream>
#include <string>
#include <thread>
#include <vector>

#include <unistd.h>

namespace {

using Stream = Keel::VerboseStream;

class VerboseStream : public testing::Test {
protected:
    ~VerboseStream() override { Stream::setVerbosity(0); }
};

template<class Call>
std::string printed(Call&& call) {
    testing::internal::CaptureStdout();
    call();
    return testing::internal::GetCapturedStdout();
}

TEST_F(VerboseStream, PrintsLevelZeroByDefaultWithItsName) {
    EXPECT_EQ(printed([] { Stream("GL").print("%s has %d lines\n", "a.vert", 3); }),
              "GL: a.vert has 3 lines\n");
}

TEST_F(VerboseStream, AddsAMissingLineFeed) {
    EXPECT_EQ(printed([] { Stream("GLSL").print("text"); }), "GLSL: text\n");
}

TEST_F(VerboseStream, PrintsTextsOfAnyLength) {
    const std::string text(100'000, 'x');
    EXPECT_EQ(printed([&] { Stream("GLSL").print("%s", text.c_str()); }), "GLSL: " + text + "\n");
}

TEST_F(VerboseStream, IsSilentAboveTheVerbosityOfItsStream) {
    Stream::setVerbosity("GL", 2);
    EXPECT_EQ(printed([] {
                  Stream("GL", 2).print("in");
                  Stream("GL", 3).print("out");
                  Stream("Polypia", 1).print("out");
              }),
              "GL: in\n");
}

TEST_F(VerboseStream, HasAVerbosityForEachStreamAndOneForTheOthers) {
    Stream::setVerbosity(1);
    Stream::setVerbosity("GL", -1);
    EXPECT_EQ(Stream::verbosity("GL"), -1);
    EXPECT_EQ(Stream::verbosity("Polypia"), 1);
    EXPECT_FALSE(Stream("GL").isEnabled());
    EXPECT_TRUE(Stream("Polypia", 1).isEnabled());
}

TEST_F(VerboseStream, SettingAllStreamsIncludesThoseWithTheirOwn) {
    Stream::setVerbosity("GL", 5);
    Stream::setVerbosity(1);
    EXPECT_EQ(Stream::verbosity("GL"), 1);
}

TEST_F(VerboseStream, IsFlushedAtOnce) {
    // A child that ends without flushing its streams has printed all the same.
    const std::string output = printed([] {
        std::fflush(stdout);
        EXPECT_EXIT(
            {
                ::dup2(STDERR_FILENO, STDOUT_FILENO);
                Stream("GL").print("last words");
                ::_exit(0);
            },
            testing::ExitedWithCode(0), "GL: last words");
    });
    EXPECT_EQ(output, "");
}

TEST_F(VerboseStream, DoesNotMixTheLinesOfThreads) {
    const std::string text(500, '.');
    const std::string output = printed([&] {
        std::vector<std::thread> threads;
        for (int i = 0; i < 4; ++i) {
            threads.emplace_back([&text] {
                for (int n = 0; n < 50; ++n) Stream("GL").print("%s", text.c_str());
            });
        }
        Stream::setVerbosity("GL", 1);
        for (std::thread& thread : threads) thread.join();
    });
    std::istringstream lines(output);
    int count = 0;
    for (std::string line; std::getline(lines, line); ++count) EXPECT_EQ(line, "GL: " + text);
    EXPECT_EQ(count, 200);
}

struct Memory {
    const char* name;
    long long bytes;
    const char* text;

    friend void PrintTo(const Memory& tested, std::ostream* stream) {
        *stream << tested.bytes << " bytes";
    }
};

class MemString : public testing::TestWithParam<Memory> {};

TEST_P(MemString, HasAUnit) {
    EXPECT_EQ(Stream::MemString(GetParam().bytes), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    Counts, MemString,
    testing::Values(Memory{"Nothing", 0, "0 B"}, Memory{"One", 1, "1 B"},
                    Memory{"LargestInBytes", 1023, "1023 B"}, Memory{"OneKiB", 1024, "1.00 KiB"},
                    Memory{"Fraction", 1536, "1.50 KiB"}, Memory{"Negative", -1, "-1 B"},
                    Memory{"NegativeKiB", -2048, "-2.00 KiB"},
                    Memory{"RoundedToTheNextUnit", (1LL << 20) - 1, "1.00 MiB"},
                    Memory{"OneMiB", 1 << 20, "1.00 MiB"},
                    Memory{"BelowTheNextUnit", 1023 * 1024, "1023.00 KiB"},
                    Memory{"OneGiB", 1LL << 30, "1.00 GiB"},
                    Memory{"OneTiB", 1LL << 40, "1.00 TiB"},
                    Memory{"OnePiB", 1LL << 50, "1.00 PiB"},
                    Memory{"OneEiB", 1LL << 60, "1.00 EiB"},
                    Memory{"Largest", std::numeric_limits<long long>::max(), "8.00 EiB"},
                    Memory{"Lowest", std::numeric_limits<long long>::min(), "-8.00 EiB"}),
    [](const auto& tested) { return tested.param.name; });

TEST(MemStringInALocaleWithCommas, HasADot) {
    std::setlocale(LC_ALL, "de_DE.UTF-8"); // without effect where the locale is not installed
    EXPECT_EQ(Stream::MemString(1536), "1.50 KiB");
    std::setlocale(LC_ALL, "C");
}

} // namespace
