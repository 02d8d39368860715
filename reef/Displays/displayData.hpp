#pragma once
// Points on their way from a file to a polyp; stands on Readers and rookery.

#include <Polypia/RenderBasin.hpp>
#include <Readers/Dataset.hpp>
#include <rookery/BoundingBox.hpp>

#include <algorithm>
#include <cstddef>
#include <span>
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

/// What isn't drawn takes no room.
template<class Data>
Data withoutNormals(Data&& data) {
    data.normals = {};
    return std::move(data);
}

inline Skua::BoundingBox boundsOf(const ChunkPtr<Point>& points) {
    Skua::BoundingBox box;
    for (const Point& p : elementsOf(points)) box.add(p);
    box.updateBall();
    return box;
}

/// Relative to an origin: subtracted in double precision and rounded last.
inline RenderBasin::ChunkPtr relativePoints(const ChunkPtr<Point>& points, const Point& origin) {
    const std::span<const Point> world = elementsOf(points);
    std::vector<FloatPoint> relative(world.size());
    std::transform(world.begin(), world.end(), relative.begin(),
                   [&](const Point& p) { return toFloat(Point() + (p - origin)); });
    return shortLived(std::move(relative));
}

inline void raiseReaches(const ChunkPtr<Point>& points,
                         std::span<const Skua::PhysicalSpace::vector> directions,
                         std::span<double> reaches) {
    for (const Point& p : elementsOf(points)) {
        for (std::size_t i = 0; i < directions.size(); ++i) {
            reaches[i] = std::max(reaches[i], dot(directions[i], p - Point()));
        }
    }
}

} // namespace Mirk
