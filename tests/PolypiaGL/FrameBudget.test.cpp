#include <PolypiaGL/FrameBudget.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <thread>

using Mirk::FrameInterruptor;
using Mirk::SmoothPrecision;

namespace {

using PrecisionPtr = Keel::StrongPtr<SmoothPrecision, Mirk::VRenderPrecision>;
using InterruptorPtr = Keel::StrongPtr<FrameInterruptor, Mirk::VRenderInterruptor>;

class SmoothPrecisionTest : public testing::Test {
protected:
    double after(double seconds) {
        precision->lastFrameTime = seconds;
        precision->adaptPrecision();
        return precision->precision;
    }
    const PrecisionPtr precision{new SmoothPrecision};
};

TEST_F(SmoothPrecisionTest, StaysWithinTheLimitsAndWithoutAFrame) {
    precision->precision = 0.5;
    EXPECT_EQ(after(0.1), 0.5);
    EXPECT_EQ(after(0.15), 0.5);
    EXPECT_EQ(after(0.2), 0.5);
    EXPECT_EQ(after(0.0), 0.5);
    EXPECT_EQ(after(std::nan("")), 0.5);
}

TEST_F(SmoothPrecisionTest, FallsWithSlowFramesByAThirdAtMost) {
    EXPECT_DOUBLE_EQ(after(0.242), std::sqrt(0.2 / 0.242));
    precision->precision = 1.0;
    EXPECT_DOUBLE_EQ(after(100.0), 0.75);
    for (int i = 0; i < 100; ++i) after(100.0);
    EXPECT_EQ(precision->precision, SmoothPrecision::Coarsest);
}

TEST_F(SmoothPrecisionTest, RisesWithFastFramesToFullDetail) {
    precision->precision = 0.5;
    EXPECT_DOUBLE_EQ(after(0.081), 0.5 * std::sqrt(0.1 / 0.081));
    for (int i = 0; i < 10; ++i) after(0.001);
    EXPECT_EQ(precision->precision, 1.0);
}

TEST_F(SmoothPrecisionTest, SettlesWhereAFrameTakesTheLimit) {
    // A frame that takes half a second in full detail.
    for (int i = 0; i < 50; ++i) after(0.5 * precision->precision);
    const double seconds = 0.5 * precision->precision;
    EXPECT_LE(seconds, 0.2 + 1e-9);
    EXPECT_GE(seconds, 0.1);
}

TEST_F(SmoothPrecisionTest, FollowsLimitsOfOneTime) {
    const PrecisionPtr one(new SmoothPrecision(0.5));
    one->lastFrameTime = 0.5;
    one->adaptPrecision();
    EXPECT_EQ(one->precision, 1.0);
    one->lastFrameTime = 0.605;
    one->adaptPrecision();
    EXPECT_DOUBLE_EQ(one->precision, std::sqrt(0.5 / 0.605));
}

class FrameInterruptorTest : public testing::Test {
protected:
    const InterruptorPtr interruptor{new FrameInterruptor};
    const Mirk::ValuePoolPtr pool{new Mirk::ValuePool}, other{new Mirk::ValuePool};
};

TEST_F(FrameInterruptorTest, StopsAPoolUntilItIsResumed) {
    EXPECT_FALSE(interruptor->isInterrupted(pool));
    interruptor->interrupt(pool);
    interruptor->interrupt(pool);
    EXPECT_TRUE(interruptor->isInterrupted(pool));
    EXPECT_FALSE(interruptor->isInterrupted(other));
    interruptor->resume(other);
    EXPECT_TRUE(interruptor->isInterrupted(pool));
    interruptor->resume(pool);
    EXPECT_FALSE(interruptor->isInterrupted(pool));
}

TEST_F(FrameInterruptorTest, NullPoolMeansAll) {
    interruptor->interrupt({});
    EXPECT_TRUE(interruptor->isInterrupted(pool));
    EXPECT_TRUE(interruptor->isInterrupted({}));
    interruptor->resume(pool);
    EXPECT_TRUE(interruptor->isInterrupted(pool));
    interruptor->interrupt(other);
    interruptor->resume({});
    EXPECT_FALSE(interruptor->isInterrupted(pool));
    EXPECT_FALSE(interruptor->isInterrupted(other));
}

TEST_F(FrameInterruptorTest, StopsAFrameAtItsTimeLimit) {
    interruptor->beginFrame();
    EXPECT_FALSE(interruptor->isInterrupted(pool));
    interruptor->timeLimit = 0;
    interruptor->beginFrame();
    EXPECT_TRUE(interruptor->isInterrupted(pool));
    interruptor->endFrame();
    EXPECT_FALSE(interruptor->isInterrupted(pool));
    interruptor->timeLimit = 3'600'000'000'000;
    interruptor->beginFrame();
    EXPECT_FALSE(interruptor->isInterrupted(pool));
}

} // namespace
