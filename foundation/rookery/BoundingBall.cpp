#include <rookery/BoundingBall.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Skua {

BoundingBall::BoundingBall() = default;
BoundingBall::BoundingBall(const PhysicalSpace::point& ballCentre, double ballRadius)
    : centre(ballCentre), radius(ballRadius) {}
BoundingBall::BoundingBall(const BoundingBall& other) = default;
BoundingBall& BoundingBall::operator=(const BoundingBall& other) = default;
BoundingBall::~BoundingBall() = default;

void BoundingBall::expandBall(const BoundingBall& other) {
    if (other.emptyBall()) return;
    const PhysicalSpace::vector offset = other.centre - centre;
    const double apart = norm(offset);
    if (emptyBall() || apart + radius <= other.radius) {
        centre = other.centre;
        radius = other.radius;
        return;
    }
    if (apart + other.radius <= radius) return;

    // Neither contains the other, so that apart > 0 and the new centre lies between the old ones.
    const double ideal = 0.5 * apart + 0.5 * (radius + other.radius);
    if (!std::isfinite(ideal)) {
        radius = std::numeric_limits<double>::infinity();
        return;
    }
    const PhysicalSpace::point between = centre + offset * ((ideal - radius) / apart);
    // The centre has been rounded: measure from where it really is, and round the radius up by
    // more than a norm and a sum can be wrong (2.25 e).
    const double enclosing = std::max(distance(between, centre) + radius,
                                      distance(between, other.centre) + other.radius);
    centre = between;
    radius = enclosing * (1.0 + 4.0 * std::numeric_limits<double>::epsilon());
}

bool BoundingBall::operator==(const BoundingBall& other) const {
    if (emptyBall() || other.emptyBall()) return emptyBall() == other.emptyBall();
    return centre == other.centre && radius == other.radius;
}

} // namespace Skua
