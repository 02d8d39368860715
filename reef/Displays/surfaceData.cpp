#include <Displays/surfaceData.hpp>

#include <rookery/BoundingBox.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <unordered_map>

namespace Mirk {

namespace {

constexpr std::uint32_t none = std::numeric_limits<std::uint32_t>::max();

/// Cells of a cube of 2^21 in each direction, in one number.
class Grid {
public:
    Grid(const Skua::BoundingBox& box, double cellSize) : _corner(box.min), _cellSize(cellSize) {}

    std::uint64_t cellOf(const Point& p) const {
        const auto along = [&](std::size_t axis) {
            constexpr double most = (1U << 21U) - 1;
            return static_cast<std::uint64_t>(
                std::clamp((p[axis] - _corner[axis]) / _cellSize, 0.0, most));
        };
        return along(0) << 42U | along(1) << 21U | along(2);
    }

private:
    const Point _corner;
    const double _cellSize;
};

} // namespace

std::vector<Normal> pointNormals(std::span<const Point> points,
                                 std::span<const std::uint32_t> triangles) {
    using vector = Skua::PhysicalSpace::vector;
    std::vector<vector> sums(points.size(), vector{0, 0, 0});
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const Point& a = points[triangles[i]];
        const vector normal = cross(points[triangles[i + 1]] - a, points[triangles[i + 2]] - a);
        for (std::size_t corner = 0; corner < 3; ++corner) {
            vector& sum = sums[triangles[i + corner]];
            sum = sum + normal;
        }
    }
    std::vector<Normal> normals(points.size());
    std::transform(sums.begin(), sums.end(), normals.begin(), [](const vector& sum) {
        const double length = norm(sum);
        if (!(length > 0.0)) return Normal{0, 0, 0};
        return Normal{static_cast<float>(sum.x / length), static_cast<float>(sum.y / length),
                      static_cast<float>(sum.z / length)};
    });
    return normals;
}

std::vector<SurfacePiece> cutSurface(std::size_t numberOfPoints,
                                     std::span<const std::uint32_t> triangles,
                                     std::size_t pointsInEach) {
    std::vector<SurfacePiece> pieces(1);
    std::vector<std::uint32_t> numberInPiece(numberOfPoints, none);
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        const auto corners = triangles.subspan(i, 3);
        const auto news = std::count_if(corners.begin(), corners.end(), [&](std::uint32_t point) {
            return numberInPiece[point] == none;
        });
        if (pieces.back().points.size() + static_cast<std::size_t>(news) > pointsInEach) {
            for (const std::uint32_t point : pieces.back().points) numberInPiece[point] = none;
            pieces.emplace_back();
        }
        SurfacePiece& piece = pieces.back();
        for (const std::uint32_t point : corners) {
            if (numberInPiece[point] == none) {
                numberInPiece[point] = static_cast<std::uint32_t>(piece.points.size());
                piece.points.push_back(point);
            }
            piece.triangles.push_back(numberInPiece[point]);
        }
    }
    return pieces;
}

std::vector<std::uint32_t> coarserTriangles(std::span<const Point> points,
                                            std::span<const std::uint32_t> triangles,
                                            std::size_t wantedPoints) {
    Skua::BoundingBox box;
    for (const std::uint32_t point : triangles) box.add(points[point]);
    if (box.empty() || wantedPoints == 0) return {};
    const auto size = box.max - box.min;
    std::array<double, 3> lengths{size.x, size.y, size.z};
    std::sort(lengths.begin(), lengths.end());
    const double area = std::max(lengths[2] * lengths[1], lengths[2] * lengths[2] * 1e-6);
    if (!(area > 0.0)) return {};
    const Grid grid(box, std::sqrt(area / static_cast<double>(wantedPoints)));
    std::unordered_map<std::uint64_t, std::uint32_t> inCell;
    std::vector<std::uint32_t> standFor(points.size(), none);
    std::vector<std::uint32_t> coarser;
    for (std::size_t i = 0; i + 2 < triangles.size(); i += 3) {
        std::array<std::uint32_t, 3> corners{};
        for (std::size_t corner = 0; corner < 3; ++corner) {
            const std::uint32_t point = triangles[i + corner];
            std::uint32_t& other = standFor[point];
            if (other == none)
                other = inCell.try_emplace(grid.cellOf(points[point]), point).first->second;
            corners[corner] = other;
        }
        if (corners[0] == corners[1] || corners[1] == corners[2] || corners[2] == corners[0])
            continue;
        coarser.insert(coarser.end(), corners.begin(), corners.end());
    }
    return coarser;
}

} // namespace Mirk
