#include <rookery/BoundingBall.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <random>

using Keel::StrongPtr;
using Skua::BoundingBall;
using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double epsilon = std::numeric_limits<double>::epsilon();
const double nan = std::numeric_limits<double>::quiet_NaN();

BoundingBall expanded(BoundingBall ball, const BoundingBall& other) {
    ball.expandBall(other);
    return ball;
}

/// How far the inner ball reaches from the centre of the outer one. In long double, whose 64 bits
/// of mantissa leave an error of 1e-3 epsilon.
long double reach(const BoundingBall& outer, const BoundingBall& inner) {
    const long double x = static_cast<long double>(inner.centre.x) - outer.centre.x;
    const long double y = static_cast<long double>(inner.centre.y) - outer.centre.y;
    const long double z = static_cast<long double>(inner.centre.z) - outer.centre.z;
    return std::sqrt(x * x + y * y + z * z) + inner.radius;
}

TEST(BoundingBall, IsEmptyAtFirst) {
    EXPECT_TRUE(BoundingBall().emptyBall());
    EXPECT_LT(BoundingBall().radius, 0);
    EXPECT_FALSE(BoundingBall({}, 0).emptyBall());
}

TEST(BoundingBall, IsEmptyWithoutUsableNumbers) {
    EXPECT_TRUE(BoundingBall({}, nan).emptyBall());
    EXPECT_TRUE(BoundingBall({0, nan, 0}, 1).emptyBall());
    EXPECT_TRUE(BoundingBall({0, 0, infinity}, 1).emptyBall());
    EXPECT_FALSE(BoundingBall({}, infinity).emptyBall());
}

TEST(BoundingBall, StaysUnchangedByAnEnclosedBall) {
    const BoundingBall ball({1, 2, 3}, 5);
    EXPECT_EQ(expanded(ball, BoundingBall({1, 2, 4}, 1)), ball);
    EXPECT_EQ(expanded(ball, BoundingBall({1, 2, 4}, 4)), ball) << "touches from inside";
    EXPECT_EQ(expanded(ball, ball), ball);
}

TEST(BoundingBall, BecomesAnEnclosingBall) {
    const BoundingBall large({1, 2, 4}, 10);
    EXPECT_EQ(expanded(BoundingBall({1, 2, 3}, 5), large), large);
}

TEST(BoundingBall, TakesTheLargerRadiusAtAnEqualCentre) {
    const BoundingBall small({1, 2, 3}, 5);
    const BoundingBall large({1, 2, 3}, 6);
    EXPECT_EQ(expanded(small, large), large);
    EXPECT_EQ(expanded(large, small), large);
}

TEST(BoundingBall, SpansTwoSeparateBalls) {
    const BoundingBall ball = expanded(BoundingBall({-10, 0, 0}, 1), BoundingBall({10, 0, 0}, 3));
    EXPECT_NEAR(ball.centre.x, 1, 4 * epsilon);
    EXPECT_EQ(ball.centre.y, 0);
    EXPECT_GE(ball.radius, 12);
    EXPECT_LE(ball.radius, 12 * (1 + 8 * epsilon));
}

TEST(BoundingBall, EmptyBallsAreNeutral) {
    const BoundingBall ball({1, 2, 3}, 5);
    EXPECT_EQ(expanded(ball, BoundingBall()), ball);
    EXPECT_EQ(expanded(BoundingBall(), ball), ball);
    EXPECT_EQ(expanded(ball, BoundingBall({nan, 0, 0}, 1)), ball);
    EXPECT_EQ(expanded(BoundingBall({nan, 0, 0}, 1), ball), ball);
    EXPECT_TRUE(expanded(BoundingBall(), BoundingBall()).emptyBall());
}

TEST(BoundingBall, InfiniteBallContainsEverything) {
    const BoundingBall everything({0, 0, 0}, infinity);
    EXPECT_EQ(expanded(everything, BoundingBall({1, 0, 0}, 1)), everything);
    EXPECT_EQ(expanded(BoundingBall({1, 0, 0}, 1), everything), everything);
}

TEST(BoundingBall, BecomesInfiniteWhereNumbersEnd) {
    const BoundingBall ball =
        expanded(BoundingBall({-1.5e308, 0, 0}, 1), BoundingBall({1.5e308, 0, 0}, 1));
    EXPECT_EQ(ball.radius, infinity);
    EXPECT_FALSE(ball.emptyBall());
}

TEST(BoundingBall, ContainsBothAndIsNoLargerThanNeeded) {
    std::mt19937_64 random(2);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    std::uniform_int_distribution<int> power(-6, 12);
    for (int i = 0; i < 50000; ++i) {
        const double offset = i % 3 == 0 ? 1e12 : i % 3 == 1 ? 6.4e6 : 0.0;
        const auto any = [&] {
            const double scale = std::pow(10.0, power(random));
            const vector place{coordinate(random), coordinate(random), coordinate(random)};
            return BoundingBall(point{offset, -offset, offset} + place * scale,
                                std::abs(coordinate(random)) * scale);
        };
        const BoundingBall a = any();
        const BoundingBall b = any();
        const BoundingBall both = expanded(a, b);
        const long double bound = both.radius * (1 + 3.0L * epsilon);
        ASSERT_LE(reach(both, a), bound);
        ASSERT_LE(reach(both, b), bound);

        const long double apart = reach(a, BoundingBall(b.centre, 0));
        const long double smallest =
            std::max({static_cast<long double>(a.radius), static_cast<long double>(b.radius),
                      (apart + a.radius + b.radius) / 2});
        const double lastPlace =
            std::max({std::abs(both.centre.x), std::abs(both.centre.y), std::abs(both.centre.z)}) *
            epsilon;
        ASSERT_LE(both.radius, smallest * (1 + 8.0L * epsilon) + lastPlace);

        ASSERT_EQ(expanded(both, a), both) << "a second time changes nothing";
        ASSERT_EQ(expanded(both, b), both);
    }
}

TEST(BoundingBall, CopyIsANewObjectWithCountsOfItsOwn) {
    const StrongPtr<BoundingBall> original(new BoundingBall({1, 2, 3}, 5));
    const StrongPtr<BoundingBall> second = original;
    const StrongPtr<BoundingBall> copy(new BoundingBall(*original));
    EXPECT_EQ(*copy, *original);
    EXPECT_FALSE(copy == original);
    EXPECT_EQ(original->controlBlock().strong(), 2);
    EXPECT_EQ(copy->controlBlock().strong(), 1);
    *copy = BoundingBall({}, 7);
    EXPECT_EQ(copy->controlBlock().strong(), 1) << "assignment leaves the counts alone";
    EXPECT_EQ(copy->radius, 7);
    EXPECT_EQ(original->radius, 5);
}

TEST(BoundingBall, IsAnInterfaceUnderItsOwnType) {
    const Keel::Intercube cube;
    cube.addInterface(StrongPtr<BoundingBall>(new BoundingBall({}, 5)));
    const StrongPtr<BoundingBall> found(cube.findInterface(typeid(BoundingBall)));
    ASSERT_TRUE(found);
    EXPECT_EQ(found->radius, 5);
}

} // namespace
