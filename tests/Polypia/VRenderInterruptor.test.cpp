#include <Polypia/VRenderInterruptor.hpp>

#include <Polypia/VRenderPrecision.hpp>

#include "virtualSlot.hpp"

#include <gtest/gtest.h>

namespace {

class AnyInterruptor : public Mirk::VRenderInterruptor {
public:
    void interrupt(const Mirk::ValuePoolPtr&) override {}
    bool isInterrupted(const Mirk::ValuePoolPtr&) override { return false; }
    void resume(const Mirk::ValuePoolPtr&) override {}
};

class AnyPrecision : public Mirk::VRenderPrecision {
public:
    void adaptPrecision() override {}
};

class VRenderInterruptor : public testing::Test {};

TEST_F(VRenderInterruptor, StartsWithItsFieldsUnset) {
    const AnyInterruptor interruptor;
    EXPECT_EQ(interruptor.reason, "");
    EXPECT_EQ(interruptor.timeLimit, -1);
    EXPECT_EQ(interruptor.isEnabled, 1);
    EXPECT_EQ(interruptor.level, 1);
    EXPECT_EQ(interruptor.numberOfInterruptions, 0U);
    EXPECT_EQ(interruptor.source, "");
    EXPECT_EQ(interruptor.time, 0U);
}

TEST_F(VRenderInterruptor, CountsApartFromPrecisions) {
    const AnyInterruptor first;
    const AnyPrecision between;
    const AnyInterruptor second;
    EXPECT_EQ(second.serial, first.serial + 1);
}

TEST_F(VRenderInterruptor, AsksInTheSecondOfThreeOperations) {
    EXPECT_EQ(virtualSlot(&Mirk::VRenderInterruptor::interrupt), 3U);
    EXPECT_EQ(virtualSlot(&Mirk::VRenderInterruptor::isInterrupted), 4U);
    EXPECT_EQ(virtualSlot(&Mirk::VRenderInterruptor::resume), 5U);
}

} // namespace
