#include <Displays/surfaceData.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <map>
#include <numeric>
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

std::vector<std::uint32_t> coarserTriangles(const std::vector<Point>& points,
                                            const std::vector<std::uint32_t>& triangles,
                                            std::size_t wantedPoints) {
    SurfacePiece whole{std::vector<std::uint32_t>(points.size()), triangles};
    std::iota(whole.points.begin(), whole.points.end(), 0U);
    return CoarserSurface(points, triangles, {}, wantedPoints).trianglesOf(whole);
}

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

TEST(SurfaceData, PiecesHaveNoMoreThanTwoTrianglesForEachOfTheirPoints) {
    // All between the same four points.
    std::vector<std::uint32_t> triangles;
    for (std::uint32_t i = 0; i < 300; ++i) triangles.push_back(i % 4);
    const auto pieces = cutSurface(4, triangles, 10);
    ASSERT_EQ(pieces.size(), 5U);
    std::size_t corners = 0;
    for (const SurfacePiece& piece : pieces) {
        EXPECT_LE(piece.triangles.size(), 60U);
        corners += piece.triangles.size();
    }
    EXPECT_EQ(corners, triangles.size());
}

TEST(SurfaceData, SharedPointsAreThoseOfSeveralPieces) {
    const std::vector<SurfacePiece> pieces{{{0, 1, 2}, {}}, {{3, 2}, {}}, {{2, 5, 1}, {}}};
    const std::vector<bool> isShared = sharedPoints(6, pieces);
    EXPECT_EQ(isShared, (std::vector<bool>{false, true, true, false, false, false}));
}

TEST(SurfaceData, CoarserPiecesMeetWithoutGaps) {
    const Grid grid(64);
    std::vector<std::uint32_t> shuffled = grid.triangles;
    // In rows as they are, and in an order in which pieces have points anywhere.
    for (std::size_t i = 0; i < shuffled.size(); ++i) {
        shuffled[i] = grid.triangles[i / 3 * 3 * 101 % grid.triangles.size() + i % 3];
    }
    for (const auto& triangles : {grid.triangles, shuffled}) {
        const auto pieces = cutSurface(grid.points.size(), triangles, 500);
        ASSERT_GT(pieces.size(), 8U);
        const std::vector<bool> isShared = sharedPoints(grid.points.size(), pieces);
        for (const std::size_t wanted : {2048U, 512U, 128U}) {
            const CoarserSurface coarser(grid.points, triangles, isShared, wanted);
            // How many triangles of all pieces have an edge.
            std::map<std::pair<std::uint32_t, std::uint32_t>, int> edges;
            for (SurfacePiece piece : pieces) {
                const auto ofPiece = coarser.trianglesOf(piece);
                for (std::size_t i = 0; i < ofPiece.size(); ++i) {
                    const std::size_t next = i % 3 == 2 ? i - 2 : i + 1;
                    const std::uint32_t a = piece.points.at(ofPiece[i]);
                    const std::uint32_t b = piece.points.at(ofPiece[next]);
                    ++edges[{std::min(a, b), std::max(a, b)}];
                }
            }
            // Where one ends that is not met by another, there is the rim of the whole.
            const double cell = std::sqrt(63.0 * 63.0 / static_cast<double>(wanted));
            int open = 0;
            for (const auto& [ends, number] : edges) {
                if (number % 2 == 0) continue;
                ++open;
                for (const std::uint32_t end : {ends.first, ends.second}) {
                    const Point& p = grid.points[end];
                    EXPECT_LE(std::min({p.x, p.y, 63 - p.x, 63 - p.y}), cell) << wanted;
                }
            }
            EXPECT_GT(open, 20);
        }
    }
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
