#pragma once
// Points on their way from a file to a polyp; stands on Readers and rookery.

#include <Polypia/RenderBasin.hpp>
#include <Polypia/shiftedPoints.hpp>
#include <Readers/Dataset.hpp>
#include <rookery/BoundingBox.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <span>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

namespace Mirk {

/// The number of an attribute beyond those that have names in RenderNamespace.
inline constexpr int indicesAttribute = 9;

using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;

template<class T>
RenderBasin::ChunkPtr shortLived(std::vector<T> elements) {
    return RenderBasin::ChunkPtr(new Keel::Chunk<T>(std::move(elements)));
}

/// None if there is no chunk.
template<class T>
std::span<const T> elementsOf(const ChunkPtr<T>& chunk) {
    if (!chunk) return {};
    return std::as_const(*chunk).elements();
}

/// None for a chunk without elements as well.
template<class T>
ChunkPtr<T> unlessEmpty(const ChunkPtr<T>& chunk) {
    return elementsOf(chunk).empty() ? ChunkPtr<T>() : chunk;
}

inline bool isFinite(const Point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y) && std::isfinite(p.z);
}

/// Of the finite points.
inline Skua::BoundingBox finiteBounds(std::span<const Point> points) {
    Skua::BoundingBox box;
    for (const Point& p : points) {
        if (isFinite(p)) box.add(p);
    }
    box.updateBall();
    return box;
}

/// Throws std::runtime_error if there is nothing to be drawn.
inline void requireBounds(const Skua::BoundingBox& bounds, std::size_t numberOfPoints) {
    if (!bounds.empty()) return;
    throw std::runtime_error(numberOfPoints == 0
                                 ? "there are no points"
                                 : "none of the " + std::to_string(numberOfPoints) +
                                       " points has coordinates that are finite numbers");
}

/// Throws std::runtime_error unless there is one for each, or none at all.
inline void requireSameLength(const char* what, std::size_t number, const char* ofWhat,
                              std::size_t expected) {
    if (number == 0 || number == expected) return;
    throw std::runtime_error("expected " + std::to_string(expected) + " " + what +
                             ", as there are that many " + ofWhat + ", got " +
                             std::to_string(number));
}

/// A run of elements.
struct Part {
    std::size_t first = 0;
    std::size_t count = 0;
};

/// How many parts of so many elements there are in all of them; one at least.
inline std::size_t numberOfParts(std::size_t all, std::size_t each) {
    return std::max<std::size_t>((all + each - 1) / each, 1);
}
inline Part partOf(std::size_t all, std::size_t each, std::size_t number) {
    const std::size_t first = std::min(number * each, all);
    return {first, std::min(each, all - first)};
}

/// Halved so many times, but not to nothing.
inline std::size_t halved(std::size_t number, std::size_t times) {
    return std::max<std::size_t>(number >> times, std::min<std::size_t>(number, 1));
}

/// Relative to an origin: subtracted in double precision and rounded last.
inline FloatPoint relativeTo(const Point& origin, const Point& p) {
    return toFloat(Point() + (p - origin));
}
inline std::vector<FloatPoint> relativeTo(const Point& origin, std::span<const Point> world) {
    return shiftedPoints<FloatPoint>(world, origin - Point());
}
inline std::vector<FloatPoint> relativePart(const ChunkPtr<Point>& points, const Point& origin,
                                            const Part& part) {
    return relativeTo(origin, elementsOf(points).subspan(part.first, part.count));
}

template<class T>
std::vector<T> copyOfPart(const ChunkPtr<T>& chunk, const Part& part) {
    const std::span<const T> elements = elementsOf(chunk).subspan(part.first, part.count);
    return {elements.begin(), elements.end()};
}

} // namespace Mirk
