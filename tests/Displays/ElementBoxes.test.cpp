#include <Displays/ElementBoxes.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <random>

using Mirk::ElementBoxes;
using Skua::PhysicalSpace::AABB;
using Skua::PhysicalSpace::point;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();

TEST(distanceToBox, IsThatOfItsNearestPoint) {
    const AABB box{{0, 0, 0}, {1, 2, 3}};
    EXPECT_EQ(Mirk::distanceToBox(box, {0.5, 1, 3}), 0.0);
    EXPECT_EQ(Mirk::distanceToBox(box, {0.5, 1, 5}), 2.0);
    EXPECT_EQ(Mirk::distanceToBox(box, {-3, 6, 1}), 5.0);
    EXPECT_EQ(Mirk::distanceToBox({{infinity, 0, 0}, {-infinity, 0, 0}}, {}), infinity);
}

TEST(distanceToSegment, IsThatOfAnEndOrOfWhatIsBetween) {
    const point a{0, 0, 0}, b{4, 0, 0};
    EXPECT_EQ(Mirk::distanceToSegment(a, b, {1, 3, 0}), 3.0);
    EXPECT_EQ(Mirk::distanceToSegment(a, b, {-3, 0, 4}), 5.0);
    EXPECT_EQ(Mirk::distanceToSegment(a, b, {7, 4, 0}), 5.0);
    EXPECT_EQ(Mirk::distanceToSegment(b, b, {4, 0, 2}), 2.0);
}

TEST(distanceToTriangle, IsThatOfItsPlaneAnEdgeOrACorner) {
    const point a{0, 0, 0}, b{4, 0, 0}, c{0, 4, 0};
    EXPECT_EQ(Mirk::distanceToTriangle(a, b, c, {1, 1, -3}), 3.0);
    EXPECT_EQ(Mirk::distanceToTriangle(a, c, b, {1, 1, -3}), 3.0);
    EXPECT_EQ(Mirk::distanceToTriangle(a, b, c, {2, -3, 4}), 5.0);
    EXPECT_EQ(Mirk::distanceToTriangle(a, b, c, {-3, -4, 0}), 5.0);
    EXPECT_EQ(Mirk::distanceToTriangle(a, b, c, {7, 0, 4}), 5.0);
    EXPECT_EQ(Mirk::distanceToTriangle(a, a, b, {2, 0, 3}), 3.0) << "of no area";
}

TEST(ElementBoxes, FindTheNearestOfAll) {
    std::mt19937 random(7);
    std::uniform_real_distribution<double> anywhere(-100.0, 100.0);
    for (const std::size_t number : {1U, 1023U, 1024U, 1025U, 10000U}) {
        std::vector<point> points;
        point walker;
        std::normal_distribution<double> step;
        for (std::size_t i = 0; i < number; ++i) {
            walker = {walker.x + step(random), walker.y + step(random), walker.z + step(random)};
            points.push_back(walker);
        }
        points[number / 2].x = std::nan("");
        const auto distance = [&](const point& from) {
            return [&, from](std::size_t i) { return norm(points[i] - from); };
        };
        const ElementBoxes boxes(
            number, [&](std::size_t i, Skua::BoundingBox& box) { box.add(points[i]); });
        Skua::BoundingBox all;
        for (const point& p : points) all.add(p);
        EXPECT_TRUE(boxes.bounds() == all);
        for (int i = 0; i < 100; ++i) {
            const point from{anywhere(random), anywhere(random), anywhere(random)};
            double expected = infinity;
            for (std::size_t each = 0; each < number; ++each) {
                const double d = distance(from)(each);
                if (d < expected) expected = d;
            }
            std::size_t asked = 0;
            const double found = boxes.nearest(from, [&](std::size_t each) {
                ++asked;
                return distance(from)(each);
            });
            EXPECT_EQ(found, expected);
            EXPECT_LE(asked, std::min<std::size_t>(number, 9000));
        }
    }
}

TEST(ElementBoxes, OfNothingAreFarAway) {
    const ElementBoxes none(0, [](std::size_t, Skua::BoundingBox&) {});
    EXPECT_EQ(none.nearest({}, [](std::size_t) { return 0.0; }), infinity);
    EXPECT_TRUE(none.bounds().empty());
}

} // namespace
