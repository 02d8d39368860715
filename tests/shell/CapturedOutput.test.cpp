#include <CapturedOutput.hpp>

#include <gtest/gtest.h>

#include <cstdio>
#include <string>

using Shell::CapturedOutput;

namespace {

/// What gets out while a function runs.
template<class Function>
std::string printedBy(Function function) {
    testing::internal::CaptureStdout();
    function();
    std::fflush(stdout);
    return testing::internal::GetCapturedStdout();
}

TEST(CapturedOutput, HasWhatIsPrintedUntilItsEnd) {
    const std::string long_(10000, 'x');
    std::string captured;
    const std::string printed = printedBy([&] {
        std::printf("before ");
        CapturedOutput capture;
        std::printf("within %s", long_.c_str());
        captured = capture.end();
        std::printf("after");
    });
    EXPECT_EQ(captured, "within " + long_);
    EXPECT_EQ(printed, "before after");
}

TEST(CapturedOutput, PrintsWhatNobodyHasAskedFor) {
    EXPECT_EQ(printedBy([] {
                  const CapturedOutput capture;
                  std::printf("within");
              }),
              "within");
}

TEST(CapturedOutput, EndsOnce) {
    EXPECT_EQ(printedBy([] {
                  CapturedOutput capture;
                  std::printf("within");
                  EXPECT_EQ(capture.end(), "within");
                  EXPECT_EQ(capture.end(), "");
                  std::printf("after");
              }),
              "after");
}

} // namespace
