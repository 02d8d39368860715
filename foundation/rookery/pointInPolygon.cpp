#include <rookery/pointInPolygon.hpp>

#include <algorithm>
#include <cmath>

namespace Skua {

namespace {

struct Planar {
    double x;
    double y;
};

bool isFinite(const PhysicalSpace::point& p) {
    return std::isfinite(p.x) && std::isfinite(p.y);
}

/// Twice the signed area of the triangle (0, a, b): positive if it turns counterclockwise.
double turn(const Planar& a, const Planar& b) {
    return a.x * b.y - a.y * b.x;
}

/// Is the edge from a to b not further from zero than the tolerance?
bool touches(const Planar& a, const Planar& b, double tolerance) {
    // Most edges of a lasso are far away: reject them before the multiplications.
    if (std::min(a.x, b.x) > tolerance || std::max(a.x, b.x) < -tolerance ||
        std::min(a.y, b.y) > tolerance || std::max(a.y, b.y) < -tolerance)
        return false;
    if (std::hypot(a.x, a.y) <= tolerance || std::hypot(b.x, b.y) <= tolerance) return true;
    const Planar along{b.x - a.x, b.y - a.y};
    // Strictly between the ends: an edge of no length is only its end points.
    const bool besideEdge =
        a.x * along.x + a.y * along.y < 0.0 && b.x * along.x + b.y * along.y > 0.0;
    return besideEdge && std::abs(turn(a, b)) <= tolerance * std::hypot(along.x, along.y);
}

/// Does the ray from zero along +x cross the edge? An end point belongs to the half plane below,
/// so that a ray through a corner counts it once or twice, as the polygon passes or turns there.
bool crosses(const Planar& a, const Planar& b) {
    if ((a.y > 0.0) == (b.y > 0.0)) return false;
    return (turn(a, b) > 0.0) == (b.y > 0.0);
}

} // namespace

int pointInPolygon(const PhysicalSpace::point& p, const std::vector<PhysicalSpace::point>& polygon,
                   const double& tolerance) {
    if (polygon.empty() || !isFinite(p)) return -1;
    const double reach = tolerance > 0.0 ? tolerance : 0.0;
    bool onEdge = false;
    bool inside = false;
    const PhysicalSpace::point* previous = &polygon.back();
    for (const PhysicalSpace::point& current : polygon) {
        if (!isFinite(current)) return -1;
        const Planar a{previous->x - p.x, previous->y - p.y};
        const Planar b{current.x - p.x, current.y - p.y};
        onEdge = onEdge || touches(a, b, reach);
        inside = inside != crosses(a, b);
        previous = &current;
    }
    if (onEdge) return 0;
    return inside ? 1 : -1;
}

} // namespace Skua
