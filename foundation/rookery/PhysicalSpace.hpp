#pragma once
// Planes, rectangles and boxes of Cartesian space in double precision; stands on Coordinates.

#include <rookery/Coordinates.hpp>
#include <rookery/FixedArray.hpp>

#include <cstddef>
#include <type_traits>

namespace Skua::PhysicalSpace {

/// The plane of all points p with dot(normal, p) = distance, p taken from the coordinate zero.
/// The default, with a zero normal, is a plane that is switched off.
struct ROOKERY_EXPORT HessianNormalPlane {
    /// The plane through a point, its normal made to have unit length. A zero normal gives the
    /// plane that is switched off.
    static HessianNormalPlane through(const point& p, const vector& direction) {
        const vector unit = normalised(direction);
        return {unit, dot(unit, p - point{})};
    }

    /// Positive on the side to which the normal points, in units of the normal's length.
    constexpr double signedDistance(const point& p) const {
        return dot(normal, p - point{}) - distance;
    }

    /// x, y, z of the normal, then the distance: the form that a shader takes.
    constexpr operator FixedArray<double, 4>() const {
        return {normal.x, normal.y, normal.z, distance};
    }

    friend constexpr bool operator==(const HessianNormalPlane&,
                                     const HessianNormalPlane&) = default;

    vector normal;
    double distance = 0.0;
};

/// A rectangle of the output image: in fractions from -1 to 1 (the default is the whole image), or
/// in pixels, as whoever hands it out says. y grows upwards.
struct ROOKERY_EXPORT Viewport {
    constexpr double width() const { return right - left; }
    constexpr double height() const { return top - bottom; }

    friend constexpr bool operator==(const Viewport&, const Viewport&) = default;

    double left = -1.0;
    double right = 1.0;
    double bottom = -1.0;
    double top = 1.0;
};

/// An axis-aligned box of two points as a plain value; BoundingBox is the one that grows.
struct ROOKERY_EXPORT AABB {
    friend constexpr bool operator==(const AABB&, const AABB&) = default;

    point min;
    point max;
};

static_assert(sizeof(HessianNormalPlane) == 32 && offsetof(HessianNormalPlane, distance) == 24);
static_assert(sizeof(Viewport) == 32 && offsetof(Viewport, bottom) == 16);
static_assert(sizeof(AABB) == 48 && offsetof(AABB, max) == 24);
static_assert(std::is_trivially_copyable_v<HessianNormalPlane>);
static_assert(std::is_trivially_copyable_v<Viewport> && std::is_trivially_copyable_v<AABB>);

} // namespace Skua::PhysicalSpace
