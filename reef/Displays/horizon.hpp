#pragma once
// Which side of the earth can't be seen; stands on rookery.

#include <Displays/export.hpp>

#include <rookery/FixedArray.hpp>
#include <rookery/PhysicalSpace.hpp>

namespace Mirk {

/// The radii of the drawn globe, as a share of those of the ellipsoid: below the chords of the
/// coarsest lines.
inline constexpr double globeScale = 0.999;

/// A plane (a, b, c, d) in the space of the arguments. Where a x + b y + c z + d < 0 for all
/// corners of a line or a triangle on the WGS84 ellipsoid or on the globe, the globe hides all of
/// it, even if it were wider by `marginRadians` as seen from the eye. All is on the positive side
/// if the globe hides nothing for certain: the eye is on or below the surface, or the margin is as
/// wide as the globe.
///
/// `eye` and `earthCentre` are in a space that is parallel to the world's and whose unit is
/// `unitMetres`.
DISPLAYS_EXPORT Skua::FixedArray<double, 4>
hiddenSide(const Skua::PhysicalSpace::point& eye, double marginRadians,
           const Skua::PhysicalSpace::point& earthCentre, double unitMetres);

} // namespace Mirk
