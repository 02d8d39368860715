#include <rookery/PhysicalSpace.hpp>

#include <gtest/gtest.h>

using namespace Skua;
using namespace Skua::PhysicalSpace;

namespace {

TEST(HessianNormalPlane, ConvertsToItsFourNumbers) {
    const FixedArray<double, 4> numbers = HessianNormalPlane{{1, 2, 3}, 4};
    EXPECT_EQ(numbers, (FixedArray<double, 4>{1, 2, 3, 4}));
}

TEST(HessianNormalPlane, DistanceIsPositiveWhereTheNormalPoints) {
    const HessianNormalPlane plane{{1, 0, 0}, 5};
    EXPECT_EQ(plane.signedDistance({5, 7, 7}), 0);
    EXPECT_EQ(plane.signedDistance({4, 7, 7}), -1);
    EXPECT_EQ(plane.signedDistance({6, 7, 7}), 1);
}

TEST(HessianNormalPlane, IsOffByDefault) {
    EXPECT_EQ((FixedArray<double, 4>(HessianNormalPlane{})), (FixedArray<double, 4>{0, 0, 0, 0}));
}

TEST(HessianNormalPlane, ThroughAPointHasAUnitNormal) {
    const HessianNormalPlane plane = HessianNormalPlane::through({1, 2, 10}, {0, 0, -4});
    EXPECT_EQ(plane, (HessianNormalPlane{{0, 0, -1}, -10}));
    EXPECT_EQ(plane.signedDistance({5, 5, 7}), 3);
}

TEST(HessianNormalPlane, ThroughWithoutDirectionIsOff) {
    EXPECT_EQ(HessianNormalPlane::through({1, 2, 3}, {}), HessianNormalPlane{});
}

TEST(Viewport, IsTheWholeImageByDefault) {
    const Viewport whole;
    EXPECT_EQ(whole, (Viewport{-1, 1, -1, 1}));
    EXPECT_EQ(whole.width(), 2);
    EXPECT_EQ(whole.height(), 2);
}

TEST(Viewport, HasLeftRightBeforeBottomTop) {
    const Viewport part{10, 110, 20, 70};
    EXPECT_EQ(part.left, 10);
    EXPECT_EQ(part.bottom, 20);
    EXPECT_EQ(part.width(), 100);
    EXPECT_EQ(part.height(), 50);
}

TEST(AABB, HoldsTwoPoints) {
    const AABB box{{1, 2, 3}, {4, 5, 6}};
    EXPECT_EQ(box.min, (point{1, 2, 3}));
    EXPECT_EQ(box.max, (point{4, 5, 6}));
}

} // namespace
