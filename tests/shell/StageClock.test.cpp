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
