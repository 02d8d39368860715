#pragma once
// An axis-aligned box, which grows, with a ball around it; stands on BoundingBall.

#include <rookery/BoundingBall.hpp>

#include <cstddef>
#include <type_traits>
#include <typeinfo>

namespace Skua {

/// All points from min to max, both included. The fields are free to be changed; `isEmpty` tells
/// whether the corners mean anything, as no value of theirs does.
///
/// The ball does not follow each change: call updateBall() when the box is complete. expandBall()
/// grows the ball only. As an interface, it is found under typeid(BoundingBox), and never under
/// typeid(BoundingBall), although it is one.
class ROOKERY_EXPORT BoundingBox : public BoundingBall {
public:
    /// An empty box, to which no point has been added, with an empty ball.
    BoundingBox();
    /// The box that spans both points, whatever their order, with its ball. A point with a NaN
    /// coordinate is left out, as by add(); two of them give an empty box.
    BoundingBox(const PhysicalSpace::point& a, const PhysicalSpace::point& b);

    const std::type_info& type() const override;

    /// Recomputes the ball from the box: its centre is that of the box, its radius reaches the
    /// corners, rounded up (by less than 8 units in the last place). An empty box, and one with a
    /// NaN corner, gets an empty ball; one without end an infinite radius.
    void updateBall();

    bool empty() const { return isEmpty; }

    /// Widens the box so that it holds the point. A point with a NaN coordinate has no place: it
    /// changes nothing, and the result is false.
    bool add(const PhysicalSpace::point& p) {
        if (std::isnan(p.x) || std::isnan(p.y) || std::isnan(p.z)) return false;
        if (isEmpty) {
            min = max = p;
            isEmpty = false;
            return true;
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            if (p[axis] < min[axis]) min[axis] = p[axis];
            if (p[axis] > max[axis]) max[axis] = p[axis];
        }
        return true;
    }
    /// Widens the box so that it holds the other one. An empty box adds nothing; of two bounds of
    /// which one is NaN, the other one is taken.
    void merge(const BoundingBox& other);

    /// The middle, also of boxes whose size is beyond what a double can hold. Zero for an empty
    /// box; a coordinate is NaN if a bound is, or if it reaches to infinity on both sides.
    PhysicalSpace::point boxCentre() const;
    /// From min to max; zero for an empty box.
    PhysicalSpace::vector diagonal() const;

    /// Is the point in the box or on its surface? Never in an empty box, and never for a NaN in
    /// the point or in a bound.
    bool contains(const PhysicalSpace::point& p) const {
        return !isEmpty && p.x >= min.x && p.y >= min.y && p.z >= min.z && p.x <= max.x &&
               p.y <= max.y && p.z <= max.z;
    }
    /// Have the boxes a point in common? It counts if they touch. Never with an empty box, and
    /// never with a NaN bound.
    bool intersects(const BoundingBox& other) const;

    /// Equal bounds, whatever the balls are; empty boxes are equal to each other.
    bool operator==(const BoundingBox& other) const;

    PhysicalSpace::point min;
    PhysicalSpace::point max;
    bool isEmpty = true;
};

static_assert(std::is_same_v<Keel::RootOf_t<BoundingBox>, BoundingBox::ReferenceRoot>);

} // namespace Skua
