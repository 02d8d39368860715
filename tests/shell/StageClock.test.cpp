#include <StageClock.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Shell::StageClock;
using testing::MatchesRegex;

namespace {

TEST(StageClockTest, TellsTheStagesInTheirOrderAndTheTotal) {
    StageClock clock;
    clock.begin("read");
    clock.begin("read back");
    clock.end();
    EXPECT_THAT(clock.str(), MatchesRegex("read [0-9]+\\.[0-9] ms, read back [0-9]+\\.[0-9] ms, "
                                          "total [0-9]+\\.[0-9] ms"));
}

TEST(StageClockTest, HasTheStagesInSeconds) {
    StageClock clock;
    clock.begin("read");
    clock.begin("draw");
    clock.end();
    ASSERT_EQ(clock.stages().size(), 2u);
    EXPECT_EQ(clock.stages()[0].name, "read");
    EXPECT_EQ(clock.stages()[1].name, "draw");
    const double sum = clock.stages()[0].seconds + clock.stages()[1].seconds;
    EXPECT_GE(sum, 0.0);
    EXPECT_GE(clock.totalSeconds(), sum);
}

TEST(StageClockTest, LeavesOutAStageThatHasNotEnded) {
    StageClock clock;
    clock.begin("read");
    EXPECT_THAT(clock.str(), MatchesRegex("total [0-9]+\\.[0-9] ms"));
}

TEST(StageClockTest, TellsTheTotalAloneWithoutStages) {
    StageClock clock;
    clock.end();
    EXPECT_THAT(clock.str(), MatchesRegex("total [0-9]+\\.[0-9] ms"));
}

} // namespace
