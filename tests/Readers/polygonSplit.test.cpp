#include "testFiles.hpp"

#include <Readers/polygonSplit.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>
#include <random>

using namespace Mirk;

namespace {

using Vector = Skua::PhysicalSpace::vector;
using Flat = std::vector<std::array<double, 2>>;

const Flat lShape{{0, 0}, {3, 0}, {3, 1}, {1, 1}, {1, 4}, {0, 4}};

// A plane with a place in it; `right` and `up` have unit length and a right angle.
struct Plane {
    Point origin;
    Vector right{1, 0, 0}, up{0, 1, 0};

    Vector normal() const { return cross(right, up); }
    std::vector<Point> points(const Flat& flat) const {
        std::vector<Point> points;
        for (const auto& [x, y] : flat) points.push_back(origin + right * x + up * y);
        return points;
    }
};

Plane randomPlane(std::mt19937& random, double distance) {
    std::normal_distribution<double> component;
    const auto direction = [&] {
        const double x = component(random), y = component(random), z = component(random);
        return normalised(Vector{x, y, z});
    };
    Plane plane;
    plane.origin = Point{} + direction() * distance;
    plane.right = direction();
    plane.up = normalised(cross(plane.right, direction()));
    return plane;
}

// Corners at rising angles round a centre, anticlockwise: simple, and mostly concave.
Flat starOf(std::size_t corners, std::mt19937& random, double least = 0.2) {
    std::uniform_real_distribution<double> radius(least, 1);
    Flat flat;
    for (std::size_t i = 0; i < corners; ++i) {
        const double angle = 2 * M_PI * static_cast<double>(i) / static_cast<double>(corners);
        const double r = radius(random);
        flat.push_back({r * std::cos(angle), r * std::sin(angle)});
    }
    return flat;
}

// By the shoelace formula.
double areaOf(const Flat& flat) {
    double doubled = 0;
    for (std::size_t i = 0; i < flat.size(); ++i) {
        const auto& [ax, ay] = flat[i];
        const auto& [bx, by] = flat[(i + 1) % flat.size()];
        doubled += ax * by - ay * bx;
    }
    return doubled / 2;
}

std::vector<std::uint32_t> cornersFrom(std::size_t first, std::size_t count) {
    std::vector<std::uint32_t> corners(count);
    std::iota(corners.begin(), corners.end(), 0u);
    std::rotate(corners.begin(), corners.begin() + static_cast<std::ptrdiff_t>(first),
                corners.end());
    return corners;
}

// The fan written out, so that all are alike.
std::vector<std::size_t> placesOf(const std::vector<Point>& points,
                                  const std::vector<std::uint32_t>& corners) {
    std::vector<std::size_t> places = splitPolygon(points, corners);
    if (!places.empty()) return places;
    for (std::size_t i = 2; i < corners.size(); ++i) places.insert(places.end(), {0, i - 1, i});
    return places;
}

// Areas as seen against the normal: negative for triangles that are turned over.
std::vector<double> areasOf(const std::vector<Point>& points,
                            const std::vector<std::uint32_t>& corners, const Vector& normal) {
    const std::vector<std::size_t> places = placesOf(points, corners);
    EXPECT_EQ(places.size(), 3 * (corners.size() - 2));
    EXPECT_LT(*std::max_element(places.begin(), places.end()), corners.size());
    const auto at = [&](std::size_t i) { return points[corners[places[i]]]; };
    std::vector<double> areas;
    for (std::size_t i = 0; i < places.size(); i += 3)
        areas.push_back(dot(cross(at(i + 1) - at(i), at(i + 2) - at(i)), normal) / 2);
    return areas;
}

// Together with the same orientation of all, the right sum says that none lies outside.
void expectRight(const Flat& flat, const Plane& plane, std::size_t first, double rounding) {
    const std::vector<double> areas =
        areasOf(plane.points(flat), cornersFrom(first, flat.size()), plane.normal());
    EXPECT_GE(*std::min_element(areas.begin(), areas.end()), -rounding) << "from " << first;
    EXPECT_NEAR(std::accumulate(areas.begin(), areas.end(), 0.0), areaOf(flat),
                rounding * static_cast<double>(flat.size()))
        << "from " << first;
}

void expectRightFromEachCorner(const Flat& flat, const Plane& plane, double rounding) {
    for (std::size_t first = 0; first < flat.size(); ++first)
        expectRight(flat, plane, first, rounding);
}

// What half an ulp of each coordinate makes of the area of a triangle with sides up to `extent`:
// each of its corners moves by up to sqrt(3) half ulps, half the base times that each.
double roundingAt(double distance, double extent) {
    return 3 * std::sqrt(3) / 2 * extent * distance * std::numeric_limits<double>::epsilon();
}

TEST(PolygonSplit, LeavesConvexPolygonsAsFans) {
    std::mt19937 random(1);
    for (const std::size_t corners : {3u, 4u, 5u, 17u, 1000u})
        for (const double distance : {0.0, 1.0, 6.4e6, 1e12}) {
            const Plane plane = randomPlane(random, distance);
            for (const std::size_t first : {0u, 1u, 2u})
                EXPECT_TRUE(splitPolygon(plane.points(starOf(corners, random, 1)),
                                         cornersFrom(first, corners))
                                .empty())
                    << corners << " corners at " << distance;
        }
}

TEST(PolygonSplit, LeavesStraightCornersOfConvexPolygonsInFans) {
    const Flat square{{0, 0}, {1, 0}, {2, 0}, {3, 0}, {3, 1}, {3, 2}, {3, 3}, {1, 3}, {0, 3}};
    std::mt19937 random(2);
    for (const double distance : {0.0, 1.0, 6.4e6})
        for (int i = 0; i < 20; ++i) {
            const Plane plane = randomPlane(random, distance);
            for (std::size_t first = 0; first < square.size(); ++first)
                EXPECT_TRUE(
                    splitPolygon(plane.points(square), cornersFrom(first, square.size())).empty());
        }
}

TEST(PolygonSplit, FillsConcaveQuadsWhicheverCornerIsFirst) {
    const Flat dart{{0, 0}, {1, 0}, {0.2, 0.2}, {0, 1}};
    expectRightFromEachCorner(dart, {}, 1e-15);
    EXPECT_TRUE(splitPolygon(Plane{}.points(dart), {0, 1, 2, 3}).empty());
    EXPECT_FALSE(splitPolygon(Plane{}.points(dart), {1, 2, 3, 0}).empty());
}

TEST(PolygonSplit, FillsAnLAndAStarInAnyPlane) {
    Flat star;
    for (int i = 0; i < 10; ++i) {
        const double radius = i % 2 == 0 ? 1 : 0.3;
        star.push_back({radius * std::cos(i * M_PI / 5), radius * std::sin(i * M_PI / 5)});
    }
    std::mt19937 random(3);
    for (const double distance : {1.0, 6.4e6, 1e12}) {
        const Plane plane = randomPlane(random, distance);
        expectRightFromEachCorner(lShape, plane, roundingAt(distance + 4, 5));
        expectRightFromEachCorner(star, plane, roundingAt(distance + 1, 2));
    }
}

TEST(PolygonSplit, TurnsNoTriangleOfClockwisePolygonsOver) {
    Flat turned(lShape.rbegin(), lShape.rend());
    const std::vector<Point> points = Plane{}.points(turned);
    for (std::size_t first = 0; first < turned.size(); ++first)
        for (const double area : areasOf(points, cornersFrom(first, turned.size()), {0, 0, -1}))
            EXPECT_GT(area, 0);
}

TEST(PolygonSplit, FillsRandomPolygonsFromEachCorner) {
    std::mt19937 random(4);
    for (int i = 0; i < 60; ++i)
        for (const double distance : {0.0, 6.4e6, 1e12}) {
            const std::size_t corners = 4 + random() % 20;
            expectRightFromEachCorner(starOf(corners, random), randomPlane(random, distance),
                                      roundingAt(distance + 1, 2));
        }
}

// A corridor that winds inwards, with few ears at any time, and walls of many corners.
TEST(PolygonSplit, FillsASpiral) {
    Flat flat;
    constexpr int turns = 5, steps = 16;
    const auto add = [&](int i, double offset) {
        const double radius = 1 + static_cast<double>(i) / steps + offset;
        const double angle = 2 * M_PI * i / steps;
        flat.push_back({radius * std::cos(angle), radius * std::sin(angle)});
    };
    for (int i = 0; i <= turns * steps; ++i) add(i, 0.4);
    for (int i = turns * steps; i >= 0; --i) add(i, 0);
    expectRightFromEachCorner(flat, {}, roundingAt(8, 16));
}

TEST(PolygonSplit, FillsAPolygonWithABridgeToAHole) {
    const Flat frame{{0, 0}, {4, 0}, {4, 4}, {0, 4}, {0, 0},
                     {1, 1}, {1, 3}, {3, 3}, {3, 1}, {1, 1}};
    ASSERT_EQ(areaOf(frame), 12);
    expectRightFromEachCorner(frame, {}, 1e-15);
}

TEST(PolygonSplit, FillsAPolygonThatTouchesItselfAtACorner) {
    // Its upper edge hangs down to the middle of the lower one.
    const Flat touching{{0, 0}, {2, 0}, {4, 0}, {4, 3}, {2, 0}, {0, 3}};
    expectRightFromEachCorner(touching, {}, 1e-15);
}

TEST(PolygonSplit, TakesWarpedPolygonsAsTheyLookAlongTheirNormal) {
    std::vector<Point> points = Plane{}.points(lShape);
    for (std::size_t i = 0; i < points.size(); ++i) points[i].z = i % 2 == 0 ? 0.1 : -0.1;
    for (std::size_t first = 0; first < points.size(); ++first)
        for (const double area : areasOf(points, cornersFrom(first, points.size()), {0, 0, 1}))
            EXPECT_GT(area, 0);
}

TEST(PolygonSplit, FillsLargePolygons) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t corners = 1'000;
#else
    constexpr std::size_t corners = 10'000;
#endif
    std::mt19937 random(5);
    expectRight(starOf(corners, random, 0.9), {}, 7, roundingAt(1, 2));
}

// A comb with as many teeth lies abreast of each of them: beyond what may be looked at.
TEST(PolygonSplit, EndsAndKeepsTheNumberOfTrianglesWhereItWouldTakeTooLong) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t teeth = 2'500;
#else
    constexpr std::size_t teeth = 3'000;
#endif
    Flat comb{{2, 0}, {2, static_cast<double>(teeth)}};
    for (std::size_t i = teeth; i > 0; --i) {
        comb.push_back({0, static_cast<double>(i)});
        comb.push_back({1, static_cast<double>(i) - 0.5});
    }
    areasOf(Plane{}.points(comb), cornersFrom(0, comb.size()), {0, 0, 1});
}

struct Degenerate {
    const char* name;
    std::vector<Point> points;

    friend void PrintTo(const Degenerate& polygon, std::ostream* out) { *out << polygon.name; }
};

class DegeneratePolygon : public testing::TestWithParam<Degenerate> {};

TEST_P(DegeneratePolygon, HasItsNumberOfTrianglesOverItsCorners) {
    const std::vector<Point>& points = GetParam().points;
    for (std::size_t first = 0; first < points.size(); ++first)
        areasOf(points, cornersFrom(first, points.size()), {0, 0, 1});
}

constexpr double infinite = std::numeric_limits<double>::infinity();
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

INSTANTIATE_TEST_SUITE_P(
    All, DegeneratePolygon,
    testing::Values(
        Degenerate{"onePlace", {{1, 1, 1}, {1, 1, 1}, {1, 1, 1}, {1, 1, 1}}},
        Degenerate{"oneLine", {{6.4e6, 0, 1}, {6.4e6, 1, 3}, {6.4e6, 3, 7}, {6.4e6, 2, 5}}},
        Degenerate{"thereAndBack", {{0, 0, 0}, {1, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 0, 0}}},
        Degenerate{"repeated", {{0, 0, 0}, {0, 0, 0}, {3, 0, 0}, {1, 1, 0}, {1, 1, 0}, {0, 3, 0}}},
        Degenerate{"spike", {{0, 0, 0}, {2, 0, 0}, {9, 0, 0}, {2, 0, 0}, {1, 1, 0}, {0, 2, 0}}},
        Degenerate{"bowTie", {{0, 0, 0}, {1, 1, 0}, {1, 0, 0}, {0, 1, 0}}},
        Degenerate{"unevenBowTie", {{0, 0, 0}, {3, 3, 0}, {3, 0, 0}, {0, 1, 0}}},
        Degenerate{"pentagram",
                   {{0, 3, 0}, {2, -2, 0}, {-3, 1, 0}, {3, 1, 0}, {-2, -2, 0}, {0, 1, 0}}},
        Degenerate{"outOfAnyPlane", {{0, 0, 0}, {1, 0, 5}, {0, 1, -7}, {1, 1, 9}, {-1, 2, 0}}},
        Degenerate{"infinite", {{0, 0, 0}, {infinite, 0, 0}, {1, 1, 0}, {0, 1, 0}}},
        Degenerate{"notANumber", {{0, 0, 0}, {1, 0, 0}, {nan, nan, nan}, {0, 1, 0}}},
        Degenerate{"beyondSquares",
                   {{0, 0, 0}, {1e200, 0, 0}, {2e199, 2e199, 0}, {0, 1e200, 0}, {-1, -1, 0}}},
        Degenerate{"beyondDifferences", {{-1e308, 0, 0}, {1e308, 0, 0}, {0, 0, 0}, {0, 1e308, 0}}},
        Degenerate{"nearlyNothing", {{0, 0, 0}, {1e-320, 0, 0}, {0, 0, 0}, {0, 1e-320, 0}}}),
    [](const auto& each) { return each.param.name; });

// The polygon with a corner that points inwards, from each of its corners, as files name them.
std::string quadFrom(int first, int base) {
    std::string corners;
    for (int i = 0; i < 4; ++i) corners += " " + std::to_string((first + i) % 4 + base);
    return corners;
}

void expectDart(const Dataset& dataset) {
    const std::vector<Point> points = pointsOf(dataset);
    const std::vector<std::uint32_t> triangles = trianglesOf(dataset);
    ASSERT_EQ(triangles.size(), 6u);
    const auto at = [&](std::size_t i) { return points[triangles[i]]; };
    double sum = 0;
    for (const std::size_t i : {0u, 3u}) {
        const double area = cross(at(i + 1) - at(i), at(i + 2) - at(i)).z / 2;
        EXPECT_GT(area, 0);
        sum += area;
    }
    EXPECT_DOUBLE_EQ(sum, 0.25);
}

TEST(PolygonSplit, FillsConcaveQuadsOfEachFormat) {
    const std::string points = "0 0 0\n1 0 0\n0.25 0.25 0\n0 1 0\n";
    const std::string lines = "v 0 0 0\nv 1 0 0\nv 0.25 0.25 0\nv 0 1 0\n";
    const std::string normals = "vn 0 0 1\n";
    const std::string vertices =
        "element vertex 4\nproperty float x\nproperty float y\nproperty float z\n";
    const std::string faces = "element face 1\nproperty list uchar int vertex_indices\n";
    const std::string end = "end_header\n";
    std::string binaryPoints;
    for (const float x : {0.f, 0.f, 0.f, 1.f, 0.f, 0.f, .25f, .25f, 0.f, 0.f, 1.f, 0.f})
        binaryPoints += bytesOf(x);
    for (int first = 0; first < 4; ++first) {
        SCOPED_TRACE(first);
        const std::string quad = quadFrom(first, 0), face = "f" + quadFrom(first, 1) + "\n";
        expectDart(readContent("a.off", "OFF\n4 1 0\n" + points + "4" + quad + "\n"));
        expectDart(readContent("a.obj", lines + face));
        expectDart(readContent("a.obj", face + lines)); // before its points
        expectDart(readContent("a.obj", normals + lines + face));
        const std::string text = "ply\nformat ascii 1.0\n";
        expectDart(
            readContent("a.ply", text + vertices + faces + end + points + "4" + quad + "\n"));
        expectDart(
            readContent("a.ply", text + faces + vertices + end + "4" + quad + "\n" + points));
        std::string binaryQuad = "\4";
        for (int i = 0; i < 4; ++i) binaryQuad += bytesOf((first + i) % 4);
        const std::string binary = "ply\nformat binary_little_endian 1.0\n";
        expectDart(
            readContent("a.ply", binary + vertices + faces + end + binaryPoints + binaryQuad));
        expectDart(
            readContent("a.ply", binary + faces + vertices + end + binaryQuad + binaryPoints));
    }
}

TEST(PolygonSplit, GivesTheCornersOfObjTheirOwnNormals) {
    const std::string points = "v 0 0 0\nv 1 0 0\nv 0.25 0.25 0\nv 0 1 0\n";
    const std::string normals = "vn 1 0 0\nvn 2 0 0\nvn 3 0 0\nvn 4 0 0\n";
    const std::string face = "f 2//2 3//3 4//4 1//1\n";
    for (const std::string& content : {points + normals + face, normals + face + points}) {
        const Dataset dataset = readContent("a.obj", content);
        expectDart(dataset);
        EXPECT_EQ(normalsOf(dataset),
                  (std::vector<Normal>{{1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}}));
    }
}

} // namespace
