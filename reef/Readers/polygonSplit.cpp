#include <Readers/polygonSplit.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numeric>
#include <optional>

namespace Mirk {
namespace {

using Vector3 = Skua::PhysicalSpace::vector;

class Outline {
public:
    Outline(const std::vector<Point>& points, const std::vector<std::uint32_t>& corners)
        : _points(points), _corners(corners), _origin(points[corners[0]]) {}

    std::size_t size() const { return _corners.size(); }
    Vector3 fromFirst(std::size_t place) const { return _points[_corners[place]] - _origin; }

    /// Newell's normal, here as the sum over the fan; none without area. (Sutherland, Sproull,
    /// Schumacker: A Characterization of Ten Hidden-Surface Algorithms, 1974.)
    std::optional<Vector3> normal() const {
        Vector3 sum{0, 0, 0};
        forFan([&](const Vector3& each) {
            sum += each;
            return true;
        });
        const double size = norm(sum);
        if (!std::isfinite(size) || size == 0) return std::nullopt;
        return normalised(sum);
    }

    /// Whether all triangles of the fan look the way that the polygon looks, but for what the
    /// rounding of the coordinates makes out of corners on a straight line.
    bool isFan(const Vector3& normal) const {
        double extent = 0;
        for (std::size_t i = 1; i < size(); ++i)
            extent = std::max(extent, largestComponent(fromFirst(i)));
        const double magnitude = largestComponent(_origin - Point{}) + extent;
        const double rounding = 4 * std::numeric_limits<double>::epsilon() * magnitude * extent;
        return forFan([&](const Vector3& each) { return dot(each, normal) >= -rounding; });
    }

private:
    /// Calls `function` with the normals of the triangles, twice as long as their areas, while it
    /// returns true.
    template<class Function>
    bool forFan(Function function) const {
        Vector3 previous = fromFirst(1);
        for (std::size_t i = 2; i < size(); ++i) {
            const Vector3 next = fromFirst(i);
            if (!function(cross(previous, next))) return false;
            previous = next;
        }
        return true;
    }

    const std::vector<Point>& _points;
    const std::vector<std::uint32_t>& _corners;
    const Point _origin;
};

struct Vector2 {
    double x, y;
    bool operator==(const Vector2&) const = default;
};

/// Twice the area of the triangle, positive if it is anticlockwise.
double turn(const Vector2& a, const Vector2& b, const Vector2& c) {
    return (b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x);
}

/// The polygon as seen against its normal: anticlockwise.
std::vector<Vector2> flattened(const Outline& outline, const Vector3& normal) {
    // The axis that stands out most from the normal gives the first direction across.
    Vector3 axis{1, 0, 0};
    if (std::abs(normal.y) < std::abs(normal.x)) axis = {0, 1, 0};
    if (std::abs(normal.z) < std::min(std::abs(normal.x), std::abs(normal.y))) axis = {0, 0, 1};
    const Vector3 right = normalised(cross(axis, normal));
    const Vector3 up = cross(normal, right);
    std::vector<Vector2> flat(outline.size());
    for (std::size_t i = 0; i < flat.size(); ++i) {
        const Vector3 corner = outline.fromFirst(i);
        flat[i] = {dot(corner, right), dot(corner, up)};
    }
    return flat;
}

/// Cuts off ears, corners whose triangle has no other corner in it, until three corners are left
/// (Meisters: Polygons Have Ears, American Mathematical Monthly 82, 1975). A simple polygon
/// always has one, even without corners on the edges of its triangle.
class EarClipper {
public:
    explicit EarClipper(std::vector<Vector2> corners)
        : _corners(std::move(corners)),
          _left(_corners.size()),
          _looksLeft(std::min<std::size_t>(2000 * _left, 100'000'000)),
          _previous(_left),
          _next(_left),
          _inWay(_left),
          _fromLeft(_left),
          _isCut(_left) {
        for (std::size_t i = 0; i < _left; ++i) {
            _previous[i] = (i + _left - 1) % _left;
            _next[i] = (i + 1) % _left;
        }
        std::iota(_fromLeft.begin(), _fromLeft.end(), std::size_t{0});
        _inWay = _fromLeft;
        std::sort(_fromLeft.begin(), _fromLeft.end(),
                  [&](std::size_t a, std::size_t b) { return _corners[a].x < _corners[b].x; });
        _triangles.reserve(3 * (_left - 2));
    }

    std::vector<std::size_t> clip() {
        std::size_t at = 0;
        std::size_t untried = _left;
        while (_left > 3 && _looksLeft > 0) {
            if (untried == 0) {
                // No simple polygon, or rounding made it none: go on where it does least harm.
                at = leastCorner(at);
            } else if (!isEar(at)) {
                at = _next[at];
                --untried;
                continue;
            }
            cut(at);
            at = afterCut(at);
            untried = _left;
        }
        while (_left >= 3) cut(_next[at]);
        return std::move(_triangles);
    }

private:
    // Where to go on: not beside the cut, so that triangles stay small and what is abreast of
    // them few, unless it left nothing there.
    std::size_t afterCut(std::size_t place) const {
        const std::size_t before = _previous[place], after = _next[place];
        if (isNothing(before)) return before;
        return isNothing(after) ? after : _next[after];
    }

    /// Whether the edges at a corner, or one of them, enclose nothing, not even with others.
    bool isNothing(std::size_t place) const {
        const Vector2 &a = _corners[_previous[place]], &b = _corners[place],
                      &c = _corners[_next[place]];
        return a == b || b == c || c == a;
    }

    bool isEar(std::size_t place) {
        const std::size_t before = _previous[place], after = _next[place];
        const Vector2 &a = _corners[before], &b = _corners[place], &c = _corners[after];
        look();
        if (isNothing(place)) return true;
        if (!(turn(a, b, c) > 0)) return false;
        if (_inWay[place] != place && !isCut(_inWay[place])) return false;
        const auto [left, right] = std::minmax({a.x, b.x, c.x});
        for (auto each = std::lower_bound(
                 _fromLeft.begin(), _fromLeft.end(), left,
                 [&](std::size_t other, double x) { return _corners[other].x < x; });
             each != _fromLeft.end() && _corners[*each].x <= right; ++each) {
            look();
            if (isCut(*each) || *each == before || *each == place || *each == after) continue;
            if (!isInWay(*each, a, b, c)) continue;
            // For as long as both are there; at the same place it depends on others, too.
            if (_corners[*each] != b) _inWay[place] = *each;
            return false;
        }
        return true;
    }

    /// Whether a corner keeps a triangle from being an ear.
    bool isInWay(std::size_t other, const Vector2& a, const Vector2& b, const Vector2& c) const {
        const Vector2& p = _corners[other];
        // Edges from there into the triangle don't cross the cut; they end at a corner in it.
        if (p == a || p == c) return false;
        if (p != b) return turn(a, b, p) >= 0 && turn(b, c, p) >= 0 && turn(c, a, p) >= 0;
        // Here they may lead through the triangle and across the cut.
        const auto leadsIn = [&](std::size_t end) {
            return turn(a, b, _corners[end]) > 0 && turn(b, c, _corners[end]) > 0;
        };
        return leadsIn(_previous[other]) || leadsIn(_next[other]);
    }

    /// Of the corners that are left, the one whose triangle is least.
    std::size_t leastCorner(std::size_t start) {
        const auto area = [&](std::size_t place) {
            look();
            return std::abs(
                turn(_corners[_previous[place]], _corners[place], _corners[_next[place]]));
        };
        std::size_t least = start;
        double leastArea = area(start);
        for (std::size_t at = _next[start]; at != start; at = _next[at]) {
            const double own = area(at);
            if (!(own < leastArea)) continue;
            least = at;
            leastArea = own;
        }
        return least;
    }

    void cut(std::size_t place) {
        const std::size_t before = _previous[place], after = _next[place];
        _triangles.insert(_triangles.end(), {before, place, after});
        _next[before] = after;
        _previous[after] = before;
        _inWay[before] = before;
        _inWay[after] = after;
        _isCut[place] = true;
        --_left;
        if (2 * _left < _fromLeft.size())
            std::erase_if(_fromLeft, [&](std::size_t each) { return isCut(each); });
    }
    bool isCut(std::size_t place) const { return _isCut[place]; }

    void look() {
        if (_looksLeft > 0) --_looksLeft;
    }

    std::vector<Vector2> _corners;
    std::size_t _left, _looksLeft;
    std::vector<std::size_t> _previous, _next; // the ring of what is left
    std::vector<std::size_t> _inWay;           // whom each was seen to be no ear for, or itself
    std::vector<std::size_t> _fromLeft;        // by their x, some that are cut among them
    std::vector<bool> _isCut;
    std::vector<std::size_t> _triangles;
};

} // namespace

std::vector<std::size_t> splitPolygon(const std::vector<Point>& points,
                                      const std::vector<std::uint32_t>& corners) {
    const Outline outline(points, corners);
    const auto normal = outline.normal();
    if (!normal || outline.isFan(*normal)) return {};
    return EarClipper(flattened(outline, *normal)).clip();
}

} // namespace Mirk
