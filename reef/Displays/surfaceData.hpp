#pragma once
// What surfaces of triangles are made into ahead of drawing; stands on the readers' data.

#include <Displays/export.hpp>

#include <Readers/Dataset.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <vector>

namespace Mirk {

/// The normal of each point: the mean of those of the triangles around it, by their areas. Zero
/// where there are none, or where they cancel.
DISPLAYS_EXPORT std::vector<Normal> pointNormals(std::span<const Point> points,
                                                 std::span<const std::uint32_t> triangles);

/// A part of a surface with points of its own.
struct SurfacePiece {
    std::vector<std::uint32_t> points;    ///< their numbers in the whole
    std::vector<std::uint32_t> triangles; ///< numbers in `points`
};
/// The triangles in their order, cut wherever a piece would have more points than `pointsInEach`,
/// which is 3 at least.
DISPLAYS_EXPORT std::vector<SurfacePiece> cutSurface(std::size_t numberOfPoints,
                                                     std::span<const std::uint32_t> triangles,
                                                     std::size_t pointsInEach);

/// The triangles of a coarser surface with about `wantedPoints` of its points: those in a cell of a
/// grid become one. As many cells as points are wanted lie along a surface that fills the box of
/// the points in two directions. (J. Rossignac, P. Borrel: Multi-resolution 3D approximations for
/// rendering complex scenes, 1993.)
DISPLAYS_EXPORT std::vector<std::uint32_t>
coarserTriangles(std::span<const Point> points, std::span<const std::uint32_t> triangles,
                 std::size_t wantedPoints);

} // namespace Mirk
