#include <sorrel/Vprintf.hpp>

#include <keel/VerboseStream.hpp>

#include <gtest/gtest.h>

#include <cstring>

namespace {

class VprintfTest : public testing::Test {
protected:
    VprintfTest() { testing::internal::CaptureStdout(); }
    ~VprintfTest() override { Keel::VerboseStream::setVerbosity("Mirk", 0); }
};

TEST_F(VprintfTest, LevelZeroIsAlwaysPrintedAsItIs) {
    Mirk::Vprintf(0, "%d %s", 7, "fish");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "7 fish");
}

TEST_F(VprintfTest, HigherLevelsAreForThoseWhoAsk) {
    Mirk::Vprintf(2, "silent");
    Keel::VerboseStream::setVerbosity("Mirk", 2);
    Mirk::Vprintf(2, "two ");
    Mirk::Vprintf(3, "three");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "two ");
}

TEST(ZelkNamesTest, AreTexts) {
    EXPECT_STREQ(Mirk::Zelk::renderobject_visibility, "visible");
    EXPECT_STREQ(Mirk::Zelk::rendertime_contribution, "rendertime_contribution");
}

} // namespace
