#include <rookery/pointInPolygon.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <string>
#include <vector>

using Skua::pointInPolygon;
using Skua::PhysicalSpace::point;
using Polygon = std::vector<point>;

namespace {

const Polygon square{{0, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}};
/// A five-pointed star drawn in one stroke: its middle is gone around twice.
const Polygon pentagram{{0, 10, 0}, {6, -8, 0}, {-9, 3, 0}, {9, 3, 0}, {-6, -8, 0}};
const double infinity = std::numeric_limits<double>::infinity();
const double nan = std::numeric_limits<double>::quiet_NaN();

struct Case {
    std::string name;
    point p;
    Polygon polygon;
    double tolerance;
    int expected;
};

class PointInPolygon : public testing::TestWithParam<Case> {};

TEST_P(PointInPolygon, AnswersBySign) {
    Polygon polygon = GetParam().polygon;
    const point& p = GetParam().p;
    EXPECT_EQ(pointInPolygon(p, polygon, GetParam().tolerance), GetParam().expected);
    std::reverse(polygon.begin(), polygon.end());
    EXPECT_EQ(pointInPolygon(p, polygon, GetParam().tolerance), GetParam().expected) << "reversed";
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        std::rotate(polygon.begin(), polygon.begin() + 1, polygon.end());
        EXPECT_EQ(pointInPolygon(p, polygon, GetParam().tolerance), GetParam().expected)
            << "begun at another point";
    }
}

INSTANTIATE_TEST_SUITE_P(
    Cases, PointInPolygon,
    testing::Values(
        Case{"Inside", {1, 2, 0}, square, 0, 1}, Case{"OutsideLeft", {-1, 2, 0}, square, 0, -1},
        Case{"OutsideRight", {5, 2, 0}, square, 0, -1},
        Case{"OutsideAbove", {2, 5, 0}, square, 0, -1},
        Case{"OutsideLevelWithCorners", {-1, 4, 0}, square, 0, -1},
        Case{"OutsideInLineWithAnEdge", {5, 0, 0}, square, 1e-6, -1},
        Case{"OnAnEdge", {4, 1, 0}, square, 0, 0}, Case{"OnALevelEdge", {1, 4, 0}, square, 0, 0},
        Case{"OnTheClosingEdge", {0, 1, 0}, square, 0, 0},
        Case{"OnACorner", {4, 4, 0}, square, 0, 0},
        Case{"WithinTheToleranceOutside", {4 + 9e-7, 1, 0}, square, 1e-6, 0},
        Case{"WithinTheToleranceInside", {4 - 9e-7, 1, 0}, square, 1e-6, 0},
        Case{"BeyondTheToleranceOutside", {4 + 1.1e-6, 1, 0}, square, 1e-6, -1},
        Case{"BeyondTheToleranceInside", {4 - 1.1e-6, 1, 0}, square, 1e-6, 1},
        Case{"ToleranceIsRoundAtCorners", {4 + 9e-7, 4 + 9e-7, 0}, square, 1e-6, -1},
        Case{"NegativeToleranceCountsAsZero", {4, 1, 0}, square, -1, 0},
        Case{"NanToleranceCountsAsZero", {2, 1, 0}, square, nan, 1},
        Case{"ZIsNotRead", {1, 2, 99}, square, 0, 1}, Case{"NoPoints", {0, 0, 0}, {}, 1, -1},
        Case{"OnePointHit", {1, 1, 0}, {{1, 1, 0}}, 0, 0},
        Case{"OnePointMissed", {1, 2, 0}, {{1, 1, 0}}, 0.5, -1},
        Case{"TwoPointsOnTheEdge", {2, 2, 0}, {{1, 1, 0}, {4, 4, 0}}, 0, 0},
        Case{"TwoPointsBesideTheEdge", {2, 3, 0}, {{1, 1, 0}, {4, 4, 0}}, 0.5, -1},
        Case{"TwoPointsBehindTheEnd", {5, 5, 0}, {{1, 1, 0}, {4, 4, 0}}, 0.5, -1},
        Case{"EqualPointsOnly", {1, 2, 0}, {{1, 1, 0}, {1, 1, 0}, {1, 1, 0}}, 0.5, -1},
        Case{"RepeatedPointsInside",
             {1, 2, 0},
             {{0, 0, 0}, {4, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}, {0, 4, 0}, {0, 0, 0}},
             0,
             1},
        Case{"RepeatedPointsOutside",
             {5, 2, 0},
             {{0, 0, 0}, {4, 0, 0}, {4, 0, 0}, {4, 4, 0}, {0, 4, 0}, {0, 4, 0}, {0, 0, 0}},
             0,
             -1},
        Case{"PeakOnTheRayIsCountedTwice", {-1, 2, 0}, {{0, 0, 0}, {4, 0, 0}, {2, 2, 0}}, 0, -1},
        Case{"WaistOnTheRay",
             {1, 2, 0},
             {{0, 0, 0}, {4, 0, 0}, {3, 2, 0}, {4, 4, 0}, {0, 4, 0}},
             0,
             1},
        Case{"LevelStepOnTheRay",
             {1, 2, 0},
             {{0, 0, 0}, {6, 0, 0}, {6, 2, 0}, {4, 2, 0}, {4, 4, 0}, {0, 4, 0}},
             0,
             1},
        Case{"MiddleOfAStarIsOutside", {0, 0, 0}, pentagram, 1e-6, -1},
        Case{"TipOfAStarIsInside", {0, 8, 0}, pentagram, 1e-6, 1},
        Case{"NanPoint", {nan, 2, 0}, square, 1, -1},
        Case{"InfinitePoint", {2, infinity, 0}, square, 1, -1},
        Case{"NanInThePolygon", {1, 2, 0}, {{0, 0, 0}, {4, nan, 0}, {4, 4, 0}, {0, 4, 0}}, 0, -1},
        Case{"InfinityInThePolygon",
             {1, 2, 0},
             {{0, 0, 0}, {infinity, 0, 0}, {4, 4, 0}, {0, 4, 0}},
             0,
             -1},
        Case{"FarFromZero",
             {1e12 + 1, 1e12 + 1, 0},
             {{1e12, 1e12, 0}, {1e12 + 2, 1e12, 0}, {1e12 + 2, 1e12 + 2, 0}, {1e12, 1e12 + 2, 0}},
             1e-6,
             1}),
    [](const testing::TestParamInfo<Case>& row) { return row.param.name; });

/// Exact, in integers: on an edge, or how often the polygon goes around, counted in half turns of
/// the quadrants that it passes as seen from p (a method without rays).
int exactAnswer(const point& p, const Polygon& polygon) {
    struct Whole {
        long x, y;
    };
    const auto relative = [&](const point& q) {
        return Whole{std::lround(q.x - p.x), std::lround(q.y - p.y)};
    };
    const auto quadrant = [](const Whole& w) {
        return w.x > 0 && w.y >= 0 ? 0 : w.x <= 0 && w.y > 0 ? 1 : w.x < 0 && w.y <= 0 ? 2 : 3;
    };
    int quarters = 0;
    for (std::size_t i = 0; i < polygon.size(); ++i) {
        const Whole a = relative(polygon[i]);
        const Whole b = relative(polygon[(i + 1) % polygon.size()]);
        const long turn = a.x * b.y - a.y * b.x;
        if (turn == 0 && a.x * b.x + a.y * b.y <= 0) return 0;
        const int step = (quadrant(b) - quadrant(a) + 4) % 4;
        quarters += step == 2 ? (turn > 0 ? 2 : -2) : step == 3 ? -1 : step;
    }
    return (quarters / 4) % 2 != 0 ? 1 : -1;
}

TEST(PointInPolygonProperty, AgreesWithQuadrantCountsOnAGrid) {
    std::mt19937_64 random(8);
    std::uniform_int_distribution<int> grid(-4, 4);
    std::uniform_int_distribution<int> corners(0, 9);
    int seen[3] = {};
    for (int i = 0; i < 50000; ++i) {
        Polygon polygon(static_cast<std::size_t>(corners(random)));
        for (point& corner : polygon) corner = {1.0 * grid(random), 1.0 * grid(random), 0};
        const point p{1.0 * grid(random), 1.0 * grid(random), 0};
        const int expected = exactAnswer(p, polygon);
        ASSERT_EQ(pointInPolygon(p, polygon, 0), expected) << "round " << i;
        ++seen[expected + 1];
    }
    for (const int count : seen) EXPECT_GT(count, 1000);
}

TEST(PointInPolygonProperty, AgreesWithTheSumOfAngles) {
    std::mt19937_64 random(9);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    for (int i = 0; i < 5000; ++i) {
        Polygon polygon(3 + static_cast<std::size_t>(i % 40));
        for (point& corner : polygon) corner = {coordinate(random), coordinate(random), 0};
        const point p{coordinate(random), coordinate(random), 0};
        double angle = 0;
        double nearest = infinity;
        for (std::size_t k = 0; k < polygon.size(); ++k) {
            const auto a = polygon[k] - p;
            const auto b = polygon[(k + 1) % polygon.size()] - p;
            angle += std::atan2(a.x * b.y - a.y * b.x, a.x * b.x + a.y * b.y);
            const auto along = b - a;
            const double share = std::clamp(-dot(a, along) / dot(along, along), 0.0, 1.0);
            nearest = std::min(nearest, norm(a + along * share));
        }
        const long turns = std::lround(angle / (2 * std::numbers::pi));
        const int expected = turns % 2 != 0 ? 1 : -1;
        // The two ways to the distance differ by some 1e-16: stay away from it.
        ASSERT_EQ(pointInPolygon(p, polygon, nearest * 0.999), expected) << "round " << i;
        ASSERT_EQ(pointInPolygon(p, polygon, nearest * 1.001), 0) << "round " << i;
    }
}

} // namespace
