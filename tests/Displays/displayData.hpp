#pragma once
// Small data for tests of display objects; stands on Readers.

#include <Readers/Dataset.hpp>

#include <cstdint>
#include <utility>
#include <vector>

inline Mirk::PointSet cloud(std::vector<Mirk::Point> points, std::vector<Mirk::Color> colors = {}) {
    Mirk::PointSet data;
    data.points = Mirk::makeChunk(std::move(points));
    if (!colors.empty()) data.colors = Mirk::makeChunk(std::move(colors));
    return data;
}

inline Mirk::TriangleMesh mesh(std::vector<Mirk::Point> points,
                               std::vector<std::uint32_t> triangles,
                               std::vector<Mirk::Color> colors = {}) {
    Mirk::TriangleMesh data{cloud(std::move(points), std::move(colors)), {}};
    data.triangles = Mirk::makeChunk(std::move(triangles));
    return data;
}

/// Lines with these levels, each of the points that stand for it.
inline Mirk::Polylines
polylines(const std::vector<std::pair<unsigned char, std::vector<Mirk::Point>>>& lines,
          Mirk::LineKind kind = Mirk::LineKind::Coast) {
    std::vector<Mirk::Point> points;
    std::vector<std::uint32_t> starts{0};
    std::vector<unsigned char> levels;
    for (const auto& [level, ofLine] : lines) {
        points.insert(points.end(), ofLine.begin(), ofLine.end());
        starts.push_back(static_cast<std::uint32_t>(points.size()));
        levels.push_back(level);
    }
    Mirk::Polylines data;
    data.coordinates = Mirk::CoordinateSystem::EarthCentred;
    data.kind = kind;
    data.points = Mirk::makeChunk(std::move(points));
    data.starts = Mirk::makeChunk(std::move(starts));
    data.levels = Mirk::makeChunk(std::move(levels));
    return data;
}
