#include <Polypia/VRenderPrecision.hpp>

#include "virtualSlot.hpp"

#include <gtest/gtest.h>

namespace {

class AnyPrecision : public Mirk::VRenderPrecision {
public:
    using VRenderPrecision::VRenderPrecision;
    void adaptPrecision() override {}
};

class VRenderPrecision : public testing::Test {};

TEST_F(VRenderPrecision, StartsWithFullDetailAndATenthToAFifthOfASecond) {
    const AnyPrecision precision;
    EXPECT_EQ(precision.precision, 1.0);
    EXPECT_EQ(precision.lastFrameTime, 0.0);
    EXPECT_EQ(precision.lowerTime, 0.1);
    EXPECT_EQ(precision.upperTime, 0.2);
    EXPECT_EQ(precision.viewerWord, 0U);
}

TEST_F(VRenderPrecision, OfATimeHasBothLimitsThere) {
    const AnyPrecision precision(0.5);
    EXPECT_EQ(precision.lowerTime, 0.5);
    EXPECT_EQ(precision.upperTime, 0.5);
    EXPECT_EQ(precision.precision, 1.0);
}

TEST_F(VRenderPrecision, HasASerialNumberOfItsOwn) {
    const AnyPrecision first;
    const AnyPrecision second(1.0);
    EXPECT_EQ(second.serial, first.serial + 1);
}

TEST_F(VRenderPrecision, HasOneOperationAfterTheHookAndTheDestructors) {
    EXPECT_EQ(virtualSlot(&Mirk::VRenderPrecision::adaptPrecision), 3U);
    static_assert(std::is_abstract_v<Mirk::VRenderPrecision>);
}

} // namespace
