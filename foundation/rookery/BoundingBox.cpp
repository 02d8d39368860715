#include <rookery/BoundingBox.hpp>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numeric>

namespace Skua {

namespace {

/// Centre of the range on one axis; for a range without end any place will do, as the radius is
/// infinite in that case.
double ballCentre(double min, double max) {
    const double middle = std::midpoint(min, max);
    return std::isinf(min) || std::isinf(max) ? 0.0 : middle;
}

double reach(double centre, double min, double max) {
    return std::max(std::abs(centre - min), std::abs(max - centre));
}

bool hasNan(const PhysicalSpace::point& p) {
    return std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z);
}

} // namespace

BoundingBox::BoundingBox() = default;

BoundingBox::BoundingBox(const PhysicalSpace::point& a, const PhysicalSpace::point& b) {
    add(a);
    add(b);
    updateBall();
}

const std::type_info& BoundingBox::type() const {
    return typeid(BoundingBox);
}

void BoundingBox::updateBall() {
    centre = {};
    radius = -1.0;
    if (isEmpty || hasNan(min) || hasNan(max)) return;
    PhysicalSpace::vector halfDiagonal;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        centre[axis] = ballCentre(min[axis], max[axis]);
        halfDiagonal[axis] = reach(centre[axis], min[axis], max[axis]);
    }
    // More than the differences and the norm can be wrong.
    radius = norm(halfDiagonal) * (1.0 + 4.0 * std::numeric_limits<double>::epsilon());
}

void BoundingBox::merge(const BoundingBox& other) {
    if (other.isEmpty) return;
    if (isEmpty) {
        min = other.min;
        max = other.max;
        isEmpty = false;
        return;
    }
    for (std::size_t axis = 0; axis < 3; ++axis) {
        min[axis] = std::fmin(min[axis], other.min[axis]);
        max[axis] = std::fmax(max[axis], other.max[axis]);
    }
}

PhysicalSpace::point BoundingBox::boxCentre() const {
    if (isEmpty) return {};
    return {std::midpoint(min.x, max.x), std::midpoint(min.y, max.y), std::midpoint(min.z, max.z)};
}

PhysicalSpace::vector BoundingBox::diagonal() const {
    if (isEmpty) return {};
    return max - min;
}

bool BoundingBox::intersects(const BoundingBox& other) const {
    if (isEmpty || other.isEmpty) return false;
    return min.x <= other.max.x && min.y <= other.max.y && min.z <= other.max.z &&
           other.min.x <= max.x && other.min.y <= max.y && other.min.z <= max.z;
}

bool BoundingBox::operator==(const BoundingBox& other) const {
    if (isEmpty || other.isEmpty) return isEmpty == other.isEmpty;
    return min == other.min && max == other.max;
}

} // namespace Skua
