#include <Displays/ElementBoxes.hpp>

#include <cmath>

namespace Mirk {

namespace {

using Skua::PhysicalSpace::AABB;
using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

constexpr double infinity = std::numeric_limits<double>::infinity();

} // namespace

double distanceToBox(const AABB& box, const point& from) {
    if (box.min.x > box.max.x) return infinity;
    vector beyond;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        beyond[axis] = std::max({box.min[axis] - from[axis], from[axis] - box.max[axis], 0.0});
    }
    return norm(beyond);
}

double distanceToSegment(const point& a, const point& b, const point& from) {
    const vector along = b - a, toPoint = from - a;
    const double length2 = dot(along, along);
    const double part = length2 > 0.0 ? std::clamp(dot(toPoint, along) / length2, 0.0, 1.0) : 0.0;
    return norm(toPoint - along * part);
}

double distanceToTriangle(const point& a, const point& b, const point& c, const point& from) {
    const vector normal = cross(b - a, c - a);
    const auto isWithin = [&](const point& p, const point& q) {
        return dot(cross(q - p, from - p), normal) >= 0.0;
    };
    const double area2 = norm(normal);
    if (area2 > 0.0 && isWithin(a, b) && isWithin(b, c) && isWithin(c, a)) {
        return std::abs(dot(from - a, normal)) / area2;
    }
    return std::min({distanceToSegment(a, b, from), distanceToSegment(b, c, from),
                     distanceToSegment(c, a, from)});
}

void ElementBoxes::append(const Skua::BoundingBox& box) {
    const point high{infinity, infinity, infinity}, low{-infinity, -infinity, -infinity};
    _boxes.push_back(box.empty() ? AABB{high, low} : AABB{box.min, box.max});
}

Skua::BoundingBox ElementBoxes::bounds() const {
    Skua::BoundingBox all;
    for (const AABB& box : _boxes) {
        if (box.min.x > box.max.x) continue;
        all.add(box.min);
        all.add(box.max);
    }
    all.updateBall();
    return all;
}

std::size_t ElementBoxes::nearestBox(const point& from) const {
    const auto found =
        std::min_element(_boxes.begin(), _boxes.end(), [&](const AABB& a, const AABB& b) {
            return distanceToBox(a, from) < distanceToBox(b, from);
        });
    return static_cast<std::size_t>(found - _boxes.begin());
}

} // namespace Mirk
