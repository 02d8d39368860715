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

/// Of the cells of a grid over the points of the triangles, so many of which lie along a surface
/// that fills their box in two directions. 0 if there is nothing of any size.
double cellSizeFor(const Skua::BoundingBox& box, std::size_t cells) {
    if (box.empty() || cells == 0) return 0.0;
    const auto size = box.max - box.min;
    std::array<double, 3> lengths{size.x, size.y, size.z};
    std::sort(lengths.begin(), lengths.end());
    const double area = std::max(lengths[2] * lengths[1], lengths[2] * lengths[2] * 1e-6);
    return std::sqrt(area / static_cast<double>(cells));
}

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
        const bool isFull =
            pieces.back().points.size() + static_cast<std::size_t>(news) > pointsInEach ||
            pieces.back().triangles.size() >= 6 * pointsInEach;
        if (isFull) {
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

std::vector<bool> sharedPoints(std::size_t numberOfPoints, std::span<const SurfacePiece> pieces) {
    std::vector<bool> isKnown(numberOfPoints), isShared(numberOfPoints);
    for (const SurfacePiece& piece : pieces) {
        for (const std::uint32_t point : piece.points) {
            isShared[point] = isShared[point] || isKnown[point];
            isKnown[point] = true;
        }
    }
    return isShared;
}

CoarserSurface::CoarserSurface(std::span<const Point> points,
                               std::span<const std::uint32_t> triangles,
                               const std::vector<bool>& isShared, std::size_t wantedPoints)
    : _points(points) {
    Skua::BoundingBox box;
    for (const std::uint32_t point : triangles) box.add(points[point]);
    _corner = box.min;
    _cellSize = cellSizeFor(box, wantedPoints);
    if (!(_cellSize > 0.0)) return;
    for (std::uint32_t point = 0; point < isShared.size(); ++point) {
        if (isShared[point]) _sharedInCell.try_emplace(cellOf(point), point);
    }
}

/// Of a cube of 2^21 cells in each direction, in one number.
std::uint64_t CoarserSurface::cellOf(std::uint32_t point) const {
    const auto along = [&](std::size_t axis) {
        constexpr double most = (1U << 21U) - 1;
        return static_cast<std::uint64_t>(
            std::clamp((_points[point][axis] - _corner[axis]) / _cellSize, 0.0, most));
    };
    return along(0) << 42U | along(1) << 21U | along(2);
}

/// Which points of a piece stand for its others.
class CoarserSurface::Corners {
public:
    Corners(const CoarserSurface& surface, SurfacePiece& piece)
        : _surface(surface), _piece(piece), _standFor(piece.points.size(), none) {}

    /// For a point of the piece, both by their numbers in there.
    std::uint32_t standFor(std::uint32_t point) {
        std::uint32_t& other = _standFor[point];
        if (other == none) other = ofCell(_surface.cellOf(_piece.points[point]), point);
        return other;
    }

private:
    std::uint32_t ofCell(std::uint64_t cell, std::uint32_t newcomer) {
        const auto [entry, isNew] = _inCell.try_emplace(cell, newcomer);
        if (!isNew) return entry->second;
        // Other pieces know the first of the points that they share with anyone.
        const auto shared = _surface._sharedInCell.find(cell);
        if (shared != _surface._sharedInCell.end()) entry->second = numberOf(shared->second);
        return entry->second;
    }
    /// In the piece, of a point of the whole, which comes into it if need be.
    std::uint32_t numberOf(std::uint32_t point) {
        if (_numbers.empty()) {
            for (const std::uint32_t own : _piece.points) {
                _numbers.try_emplace(own, static_cast<std::uint32_t>(_numbers.size()));
            }
        }
        const auto [entry, isNew] =
            _numbers.try_emplace(point, static_cast<std::uint32_t>(_numbers.size()));
        if (isNew) _piece.points.push_back(point);
        return entry->second;
    }

    const CoarserSurface& _surface;
    SurfacePiece& _piece;
    std::vector<std::uint32_t> _standFor;
    std::unordered_map<std::uint64_t, std::uint32_t> _inCell;
    std::unordered_map<std::uint32_t, std::uint32_t> _numbers; // of all points, once it is needed
};

std::vector<std::uint32_t> CoarserSurface::trianglesOf(SurfacePiece& piece) const {
    if (!(_cellSize > 0.0)) return {};
    Corners corners(*this, piece);
    std::vector<std::uint32_t> coarser;
    for (std::size_t i = 0; i + 2 < piece.triangles.size(); i += 3) {
        const std::uint32_t a = corners.standFor(piece.triangles[i]);
        const std::uint32_t b = corners.standFor(piece.triangles[i + 1]);
        const std::uint32_t c = corners.standFor(piece.triangles[i + 2]);
        if (a == b || b == c || c == a) continue;
        coarser.insert(coarser.end(), {a, b, c});
    }
    return coarser;
}

} // namespace Mirk
