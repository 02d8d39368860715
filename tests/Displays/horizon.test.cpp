#include <Displays/horizon.hpp>

#include <rookery/Geodesy.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <numbers>
#include <random>

namespace Mirk {
namespace {

using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

constexpr double equator = Skua::WGS84::semiMajorAxisMetres;
constexpr double pole = Skua::WGS84::semiMinorAxisMetres;

class Horizon : public testing::Test {
protected:
    static double side(const Skua::FixedArray<double, 4>& plane, const point& p) {
        return plane[0] * p.x + plane[1] * p.y + plane[2] * p.z + plane[3];
    }
    static double side(const point& eye, double marginRadians, const point& p) {
        return side(hiddenSide(eye, marginRadians, point(), 1.0), p);
    }
    static vector onUnitBall(const point& p) { return {p.x / equator, p.y / equator, p.z / pole}; }

    /// Whether the globe, as deep as its flat triangles may be, is in the way from the eye to p.
    static bool isHidden(const point& eye, const point& p) {
        const double radius = globeScale - 1e-4;
        const vector from = onUnitBall(eye), way = onUnitBall(p) - from;
        const double along = -dot(from, way) / dot(way, way);
        if (along <= 0.0) return false;
        const vector nearest = from + way * along;
        const double depth2 = radius * radius - dot(nearest, nearest);
        return depth2 > 0.0 && along - std::sqrt(depth2 / dot(way, way)) < 1.0;
    }

    point onEarth() {
        return Skua::toEarthCentred({_degrees(_random), _degrees(_random) / 2.0, 0.0});
    }
    /// From a kilometre above the ground to a hundred radii away.
    point eye() {
        const point p = onEarth();
        const double height = std::exp(std::uniform_real_distribution(-8.8, 4.6)(_random));
        return point() + (p - point()) * (1.0 + height);
    }

private:
    std::mt19937 _random{20};
    std::uniform_real_distribution<double> _degrees{-180.0, 180.0};
};

TEST_F(Horizon, SidesAreBelowTheEyeAndBehindTheEarth) {
    const point eye{4.0 * equator, 0.0, 0.0};
    EXPECT_GT(side(eye, 0.0, {equator, 0.0, 0.0}), 0.0);
    EXPECT_LT(side(eye, 0.0, {-equator, 0.0, 0.0}), 0.0);
}

TEST_F(Horizon, LinesWithBothEndsOnTheHiddenSideAreHidden) {
    int hidden = 0;
    for (int i = 0; i < 20000; ++i) {
        const point from = eye(), a = onEarth(), b = onEarth();
        const auto plane = hiddenSide(from, 0.0, point(), 1.0);
        if (side(plane, a) >= 0.0 || side(plane, b) >= 0.0) continue;
        ++hidden;
        for (const double part : {0.0, 0.1, 0.5, 0.8, 1.0})
            ASSERT_TRUE(isHidden(from, a + (b - a) * part)) << i << ", " << part;
    }
    EXPECT_GT(hidden, 5000);
}

TEST_F(Horizon, WidenedEndsOnTheHiddenSideAreHidden) {
    constexpr double margin = 0.01;
    int hidden = 0;
    for (int i = 0; i < 20000; ++i) {
        const point from = eye(), end = onEarth();
        if (side(from, margin, end) >= 0.0) continue;
        ++hidden;
        const vector way = end - from;
        const vector across = normalised(cross(way, vector{0.3, -0.5, 0.8}));
        const vector other = normalised(cross(way, across));
        for (const vector& aside : {across, -across, other, -other})
            ASSERT_TRUE(isHidden(from, end + aside * (norm(way) * margin))) << i;
    }
    EXPECT_GT(hidden, 5000);
}

TEST_F(Horizon, LeavesOutNearlyAllThatCannotBeSeen) {
    // From four radii, all beyond 75.5 degrees; 3.7 more hide behind a globe of 0.998.
    const point eye{4.0 * equator, 0.0, 0.0};
    const auto at = [](double degrees) { return Skua::toEarthCentred({degrees, 0.0, 0.0}); };
    EXPECT_GT(side(eye, 0.0, at(75.0)), 0.0);
    EXPECT_LT(side(eye, 0.0, at(80.0)), 0.0);
}

TEST_F(Horizon, EyeOnTheGroundOrBelowHidesNothing) {
    for (const double radius : {0.0, 0.5 * equator, equator})
        EXPECT_GT(side({radius, 0.0, 0.0}, 0.0, {-equator, 0.0, 0.0}), 0.0) << radius;
}

TEST_F(Horizon, MarginAsWideAsTheGlobeHidesNothing) {
    EXPECT_GT(side({4.0 * equator, 0.0, 0.0}, 0.3, {-equator, 0.0, 0.0}), 0.0);
}

TEST_F(Horizon, PlaneIsInTheSpaceOfItsArguments) {
    constexpr double unit = 1024.0;
    const point origin{1e6, -2e6, 3e6};
    const auto toUnits = [&](const point& world) {
        return point() + (world - origin) * (1.0 / unit);
    };
    const point from = eye();
    const auto world = hiddenSide(from, 0.01, point(), 1.0);
    const auto scaled = hiddenSide(toUnits(from), 0.01, toUnits(point()), unit);
    for (int i = 0; i < 100; ++i) {
        const point p = onEarth();
        // A few roundings of numbers up to 1.
        EXPECT_NEAR(side(scaled, toUnits(p)), side(world, p), 1e-14);
    }
}

} // namespace
} // namespace Mirk
