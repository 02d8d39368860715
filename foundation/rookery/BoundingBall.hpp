#pragma once
// A ball around something, which grows; an interface, so that any object can carry one; stands on
// PhysicalSpace and keel's interfaces.

#include <keel/Interface.hpp>
#include <rookery/Coordinates.hpp>

#include <cmath>
#include <type_traits>

namespace Skua {

/// Centre and radius in one space, that of whoever made it. Empty if nothing is in it yet.
///
/// A shared object and yet a value: a copy is a new object with counts of its own, an assignment
/// changes what everybody sees. It has no lock: who shares it between threads sees to that.
class ROOKERY_EXPORT BoundingBall : public Keel::Interface<BoundingBall> {
public:
    /// An empty ball.
    BoundingBall();
    BoundingBall(const PhysicalSpace::point& ballCentre, double ballRadius);
    BoundingBall(const BoundingBall& other);
    BoundingBall& operator=(const BoundingBall& other);
    ~BoundingBall() override;

    /// Contains nothing: the radius is below 0, or not a number, or the centre isn't finite. A
    /// radius of 0 is a point; an infinite one contains everything.
    bool emptyBall() const {
        return !(radius >= 0.0) || !std::isfinite(centre.x) || !std::isfinite(centre.y) ||
               !std::isfinite(centre.z);
    }

    /// Grows to the smallest ball that contains this one and the other. An empty ball changes
    /// nothing, and is replaced. A ball that contains the other stays as it is, to the bit.
    ///
    /// With e = 2^-52, both balls are in the result if its radius is taken (1 + 3e) times, and the
    /// radius is at most (1 + 8e) times the smallest that is possible, and 1 unit in the last place
    /// of the centre's coordinates: far from zero, where the centre can't be put to where it
    /// belongs, the radius makes up for it.
    void expandBall(const BoundingBall& other);

    /// Equal centres and radii; empty balls are equal to each other.
    bool operator==(const BoundingBall& other) const;

    PhysicalSpace::point centre;
    double radius = -1.0;
};

static_assert(std::is_same_v<Keel::RootOf_t<BoundingBall>, BoundingBall::ReferenceRoot>);

} // namespace Skua
