#include <rookery/BoundingBox.hpp>

#include <keel/ConcurrentPtr.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>

using Keel::InterfaceBase;
using Keel::StrongPtr;
using Skua::BoundingBall;
using Skua::BoundingBox;
using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double epsilon = std::numeric_limits<double>::epsilon();
const double nan = std::numeric_limits<double>::quiet_NaN();

static_assert(std::is_same_v<StrongPtr<BoundingBox>, StrongPtr<BoundingBox, InterfaceBase>>);

TEST(BoundingBox, IsTheSameFromPointsInAnyOrder) {
    const point low{1, 2, 3};
    const point high{4, 5, 6};
    EXPECT_EQ(BoundingBox(low, high), BoundingBox(high, low));
    EXPECT_EQ(BoundingBox({1, 5, 3}, {4, 2, 6}), BoundingBox(low, high));
    EXPECT_EQ(BoundingBox(high, low).min, low);
    EXPECT_EQ(BoundingBox(high, low).max, high);
}

TEST(BoundingBox, IsEmptyUntilAPointIsAdded) {
    BoundingBox box;
    EXPECT_TRUE(box.empty());
    EXPECT_TRUE(box.isEmpty);
    EXPECT_TRUE(box.emptyBall());
    EXPECT_TRUE(box.add({1, 2, 3}));
    EXPECT_FALSE(box.empty());
    EXPECT_EQ(box, BoundingBox({1, 2, 3}, {1, 2, 3}));
}

TEST(BoundingBox, WidensByPoints) {
    BoundingBox box({0, 0, 0}, {1, 1, 1});
    box.add({0.5, -1, 3});
    EXPECT_EQ(box, BoundingBox({0, -1, 0}, {1, 1, 3}));
}

TEST(BoundingBox, LeavesOutPointsWithoutAPlace) {
    BoundingBox box;
    EXPECT_FALSE(box.add({nan, 0, 0}));
    EXPECT_FALSE(box.add({0, nan, 0}));
    EXPECT_FALSE(box.add({0, 0, nan}));
    EXPECT_TRUE(box.empty());
    EXPECT_EQ(BoundingBox({nan, 9, 9}, {1, 2, 3}), BoundingBox({1, 2, 3}, {1, 2, 3}));
    EXPECT_EQ(BoundingBox({1, 2, 3}, {nan, 9, 9}), BoundingBox({1, 2, 3}, {1, 2, 3}));
    EXPECT_TRUE(BoundingBox({nan, 9, 9}, {nan, 9, 9}).empty());
}

TEST(BoundingBox, MergesBoxes) {
    BoundingBox box({0, 0, 0}, {1, 1, 1});
    box.merge(BoundingBox({-1, 0.5, 0.5}, {0.5, 0.75, 2}));
    EXPECT_EQ(box, BoundingBox({-1, 0, 0}, {1, 1, 2}));
}

TEST(BoundingBox, EmptyBoxesAreNeutralInAMerge) {
    const BoundingBox filled({0, 0, 0}, {1, 1, 1});
    BoundingBox box;
    box.merge(BoundingBox());
    EXPECT_TRUE(box.empty());
    box.merge(filled);
    EXPECT_EQ(box, filled);
    box.merge(BoundingBox());
    EXPECT_EQ(box, filled);
}

TEST(BoundingBox, MergeTakesTheBoundThatIsANumber) {
    BoundingBox spoiled({0, 0, 0}, {1, 1, 1});
    spoiled.min.x = nan;
    BoundingBox box({5, 5, 5}, {6, 6, 6});
    box.merge(spoiled);
    EXPECT_EQ(box, BoundingBox({5, 0, 0}, {6, 6, 6}));
    spoiled.merge(box);
    EXPECT_EQ(spoiled, box);
}

TEST(BoundingBox, HasTheBallOfItsCorners) {
    const BoundingBox box({0, 0, 0}, {2, 4, 4});
    EXPECT_EQ(box.centre, (point{1, 2, 2}));
    EXPECT_GE(box.radius, 3);
    EXPECT_LE(box.radius, 3 * (1 + 8 * epsilon));
}

TEST(BoundingBox, UpdatesItsBallOnRequestOnly) {
    BoundingBox box({0, 0, 0}, {2, 0, 0});
    box.add({10, 0, 0});
    EXPECT_EQ(box.centre.x, 1);
    box.updateBall();
    EXPECT_EQ(box.centre.x, 5);
    EXPECT_GE(box.radius, 5);
}

TEST(BoundingBox, OfOnePointHasABallOfRadiusZero) {
    EXPECT_EQ(static_cast<const BoundingBall&>(BoundingBox({1, 2, 3}, {1, 2, 3})),
              BoundingBall({1, 2, 3}, 0));
}

TEST(BoundingBox, EmptyBoxUpdatesToAnEmptyBall) {
    BoundingBox box({0, 0, 0}, {2, 0, 0});
    box.isEmpty = true;
    box.updateBall();
    EXPECT_TRUE(box.emptyBall());
    EXPECT_LT(box.radius, 0);
}

TEST(BoundingBox, NanCornerUpdatesToAnEmptyBall) {
    BoundingBox box({0, 0, 0}, {2, 0, 0});
    box.max.y = nan;
    box.updateBall();
    EXPECT_TRUE(box.emptyBall());
}

TEST(BoundingBox, EndlessBoxHasAnInfiniteBall) {
    for (const BoundingBox& box : {BoundingBox({-infinity, 0, 0}, {infinity, 1, 1}),
                                   BoundingBox({0, 0, 0}, {infinity, 1, 1}),
                                   BoundingBox({-1.7e308, -1.7e308, 0}, {1.7e308, 1.7e308, 0})}) {
        EXPECT_FALSE(box.emptyBall());
        EXPECT_EQ(box.radius, infinity);
    }
}

TEST(BoundingBox, BallContainsTheCorners) {
    std::mt19937_64 random(3);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    for (int i = 0; i < 20000; ++i) {
        const double offset = i % 2 == 0 ? 1e12 : 0.0;
        const auto any = [&] {
            return point{offset + coordinate(random), coordinate(random) * 1e7, coordinate(random)};
        };
        const BoundingBox box(any(), any());
        for (const double x : {box.min.x, box.max.x})
            for (const double y : {box.min.y, box.max.y})
                for (const double z : {box.min.z, box.max.z}) {
                    const long double dx = static_cast<long double>(x) - box.centre.x;
                    const long double dy = static_cast<long double>(y) - box.centre.y;
                    const long double dz = static_cast<long double>(z) - box.centre.z;
                    ASSERT_LE(std::sqrt(dx * dx + dy * dy + dz * dz), box.radius);
                }
    }
}

TEST(BoundingBox, KnowsItsCentreAndDiagonal) {
    const BoundingBox box({0, 2, 4}, {2, 4, 8});
    EXPECT_EQ(box.boxCentre(), (point{1, 3, 6}));
    EXPECT_EQ(box.diagonal(), (vector{2, 2, 4}));
    EXPECT_EQ(BoundingBox().boxCentre(), point{});
    EXPECT_EQ(BoundingBox().diagonal(), vector{});
    EXPECT_EQ(BoundingBox({-1.7e308, 0, 0}, {1.7e308, 0, 0}).boxCentre(), point{});
}

TEST(BoundingBox, ContainsItsSurface) {
    const BoundingBox box({0, 0, 0}, {1, 1, 1});
    EXPECT_TRUE(box.contains({0, 0, 0}));
    EXPECT_TRUE(box.contains({1, 1, 1}));
    EXPECT_TRUE(box.contains({0.5, 0.5, 1}));
    EXPECT_FALSE(box.contains({0.5, 0.5, std::nextafter(1.0, 2.0)}));
    EXPECT_FALSE(box.contains({-1, 0.5, 0.5}));
    EXPECT_FALSE(box.contains({0.5, nan, 0.5}));
    EXPECT_FALSE(BoundingBox().contains({0, 0, 0}));
}

TEST(BoundingBox, IntersectsWhatItTouches) {
    const BoundingBox box({0, 0, 0}, {1, 1, 1});
    EXPECT_TRUE(box.intersects(BoundingBox({1, 1, 1}, {2, 2, 2})));
    EXPECT_TRUE(box.intersects(BoundingBox({-5, -5, -5}, {5, 5, 5})));
    EXPECT_TRUE(box.intersects(BoundingBox({0.5, 0.5, 0.5}, {0.5, 0.5, 0.5})));
    EXPECT_FALSE(box.intersects(BoundingBox({0, 0, 1.5}, {1, 1, 2})));
    EXPECT_FALSE(box.intersects(BoundingBox()));
    EXPECT_FALSE(BoundingBox().intersects(box));
    BoundingBox spoiled = box;
    spoiled.min.x = nan;
    EXPECT_FALSE(box.intersects(spoiled));
    EXPECT_FALSE(spoiled.intersects(box));
}

TEST(BoundingBox, EqualityLooksAtTheBoundsOnly) {
    BoundingBox expanded({0, 0, 0}, {1, 1, 1});
    expanded.expandBall(BoundingBall({}, 100));
    EXPECT_EQ(expanded, BoundingBox({0, 0, 0}, {1, 1, 1}));
    EXPECT_EQ(BoundingBox(), BoundingBox());
    EXPECT_FALSE(BoundingBox() == expanded);
}

TEST(BoundingBox, IsAnInterfaceUnderItsOwnTypeOnly) {
    const Keel::Intercube cube;
    cube.addInterface(StrongPtr<BoundingBox>(new BoundingBox({0, 0, 0}, {2, 0, 0})));
    EXPECT_TRUE(cube.findInterface(typeid(BoundingBox)));
    EXPECT_FALSE(cube.findInterface(typeid(BoundingBall)));
    const StrongPtr<BoundingBox> found = cube.findInterface<BoundingBox>();
    ASSERT_TRUE(found);
    EXPECT_EQ(found->max.x, 2);
}

TEST(BoundingBox, IsFoundAgainInItsBall) {
    const StrongPtr<BoundingBall> ball =
        StrongPtr<BoundingBox>(new BoundingBox({0, 0, 0}, {2, 0, 0}));
    EXPECT_TRUE(StrongPtr<BoundingBox>(ball));
    const StrongPtr<BoundingBall> round(new BoundingBall({}, 1));
    EXPECT_FALSE(StrongPtr<BoundingBox>(round));
}

TEST(BoundingBox, TravelsInAConcurrentPointer) {
    Keel::ConcurrentPtr<StrongPtr<BoundingBox, InterfaceBase>, false> shared;
    EXPECT_FALSE(shared.read());
    const StrongPtr<BoundingBox> box(new BoundingBox({0, 0, 0}, {2, 0, 0}));
    EXPECT_TRUE(shared.write(box));
    EXPECT_FALSE(shared.write(box)) << "the same one again";
    EXPECT_EQ(shared.read()->max.x, 2);
}

TEST(BoundingBox, CopyHasCountsOfItsOwn) {
    const StrongPtr<BoundingBox> original(new BoundingBox({0, 0, 0}, {2, 0, 0}));
    const StrongPtr<BoundingBox> second = original;
    const StrongPtr<BoundingBox> copy(new BoundingBox(*original));
    EXPECT_EQ(copy->controlBlock().strong(), 1);
    EXPECT_EQ(original->controlBlock().strong(), 2);
    copy->add({0, 9, 0});
    EXPECT_EQ(original->max.y, 0);
}

} // namespace
