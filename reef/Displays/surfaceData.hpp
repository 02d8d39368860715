#pragma once
// What surfaces of triangles are made into ahead of drawing; stands on the readers' data.

#include <Displays/export.hpp>

#include <Readers/Dataset.hpp>

#include <cstddef>
#include <cstdint>
#include <span>
#include <unordered_map>
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
/// which is 3 at least, or more than twice as many triangles.
DISPLAYS_EXPORT std::vector<SurfacePiece> cutSurface(std::size_t numberOfPoints,
                                                     std::span<const std::uint32_t> triangles,
                                                     std::size_t pointsInEach);

/// Whether each point of the whole is in several of the pieces.
DISPLAYS_EXPORT std::vector<bool> sharedPoints(std::size_t numberOfPoints,
                                               std::span<const SurfacePiece> pieces);

/// A coarser surface with about so many of the points: those in a cell of a grid become one. As
/// many cells as points are wanted lie along a surface that fills the box of the points in two
/// directions. Where pieces meet their points become the same, so that no gap opens between them.
/// (J. Rossignac, P. Borrel: Multi-resolution 3D approximations for rendering complex scenes,
/// 1993.)
class DISPLAYS_EXPORT CoarserSurface {
public:
    /// Of all triangles. `isShared` is what sharedPoints() tells, or empty for a surface in one
    /// piece. The points have to outlive this.
    CoarserSurface(std::span<const Point> points, std::span<const std::uint32_t> triangles,
                   const std::vector<bool>& isShared, std::size_t wantedPoints);

    /// What becomes of the triangles of a piece. Its points may get some of other pieces behind
    /// them that stand for its own.
    std::vector<std::uint32_t> trianglesOf(SurfacePiece& piece) const;

private:
    class Corners;

    std::uint64_t cellOf(std::uint32_t point) const;

    std::span<const Point> _points;
    Point _corner;
    double _cellSize = 0.0; // 0 without a grid: then nothing is left
    std::unordered_map<std::uint64_t, std::uint32_t> _sharedInCell;
};

} // namespace Mirk
