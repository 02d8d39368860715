#include <Displays/surfaceData.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <set>

using namespace Mirk;
using testing::IsEmpty;

namespace {

/// A flat grid of so many points along each side.
struct Grid {
    explicit Grid(std::uint32_t side) {
        for (std::uint32_t i = 0; i < side * side; ++i) {
            points.push_back({static_cast<double>(i % side), static_cast<double>(i / side), 0});
        }
        for (std::uint32_t row = 0; row + 1 < side; ++row) {
            for (std::uint32_t column = 0; column + 1 < side; ++column) {
                const std::uint32_t a = row * side + column, b = a + side;
                for (const std::uint32_t i : {a, a + 1, b, b, a + 1, b + 1}) triangles.push_back(i);
            }
        }
    }
    std::vector<Point> points;
    std::vector<std::uint32_t> triangles;
};

TEST(SurfaceData, NormalsAreWeightedByTheAreasOfTheTriangles) {
    // Around the point 0 a triangle of area 2 towards z, and one of area 1/2 towards x.
    const std::vector<Point> points{{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {0, 1, 0}, {0, 0, 1}};
    const std::vector<std::uint32_t> triangles{0, 1, 2, 0, 3, 4};
    const auto normals = pointNormals(points, triangles);
    const float length = std::sqrt(17.0F);
    EXPECT_NEAR(normals[0][0], 1 / length, 1e-6);
    EXPECT_NEAR(normals[0][2], 4 / length, 1e-6);
    EXPECT_EQ(normals[1], (Normal{0, 0, 1}));
    EXPECT_EQ(normals[4], (Normal{1, 0, 0}));
}

TEST(SurfaceData, PointWithoutTriangleHasNoNormal) {
    const std::vector<Point> points{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}, {5, 5, 5}};
    // The same triangle from both sides cancels.
    const std::vector<std::uint32_t> triangles{0, 1, 2, 0, 2, 1};
    for (const Normal& normal : pointNormals(points, triangles)) {
        EXPECT_EQ(normal, (Normal{0, 0, 0}));
    }
}

TEST(SurfaceData, PiecesHoldAllTrianglesInTheirOrder) {
    const Grid grid(20);
    const auto pieces = cutSurface(grid.points.size(), grid.triangles, 50);
    EXPECT_GT(pieces.size(), 8U);
    std::vector<std::uint32_t> all;
    for (const SurfacePiece& piece : pieces) {
        EXPECT_LE(piece.points.size(), 50U);
        EXPECT_EQ(std::set(piece.points.begin(), piece.points.end()).size(), piece.points.size());
        for (const std::uint32_t point : piece.triangles) all.push_back(piece.points.at(point));
    }
    EXPECT_EQ(all, grid.triangles);
}

TEST(SurfaceData, SmallSurfaceIsOnePiece) {
    const Grid grid(4);
    const auto pieces = cutSurface(grid.points.size(), grid.triangles, 16);
    ASSERT_EQ(pieces.size(), 1U);
    EXPECT_EQ(pieces[0].points.size(), 16U);
}

TEST(SurfaceData, CoarserSurfaceHasAboutTheWantedPointsAndCoversTheSame) {
    const Grid grid(64);
    for (const std::size_t wanted : {2048U, 512U, 128U}) {
        const auto coarser = coarserTriangles(grid.points, grid.triangles, wanted);
        const std::set points(coarser.begin(), coarser.end());
        EXPECT_GT(points.size(), wanted / 3);
        EXPECT_LT(points.size(), wanted * 3);
        double area = 0;
        for (std::size_t i = 0; i < coarser.size(); i += 3) {
            const Point &a = grid.points[coarser[i]], &b = grid.points[coarser[i + 1]],
                        &c = grid.points[coarser[i + 2]];
            area += norm(cross(b - a, c - a)) / 2;
        }
        // Up to the cells at the edge.
        EXPECT_GT(area, 0.8 * 63 * 63) << wanted;
        EXPECT_LT(area, 1.2 * 63 * 63) << wanted;
    }
}

TEST(SurfaceData, WhatHasNoSizeHasNoCoarserSurface) {
    const std::vector<Point> points(3, Point{1, 2, 3});
    const std::vector<std::uint32_t> triangles{0, 1, 2};
    EXPECT_THAT(coarserTriangles(points, triangles, 2), IsEmpty());
    EXPECT_THAT(coarserTriangles({}, {}, 2), IsEmpty());
    EXPECT_THAT(coarserTriangles(points, triangles, 0), IsEmpty());
}

} // namespace
