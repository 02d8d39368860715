#pragma once
// The lasso test: is a point inside of a polygon in a plane of constant z; stands on Coordinates.

#include <rookery/Coordinates.hpp>

#include <vector>

namespace Skua {

/// Where p lies with regard to the closed polygon (its last point is joined to its first):
/// -1 outside, 0 on an edge or not further from it than `tolerance`, 1 inside.
///
/// Only x and y are read: the point and the polygon are taken to have the same z.
/// A polygon that crosses or covers itself follows the even-odd rule: what it goes around twice is
/// outside. Repeated points change nothing. Two points are an edge, one point is a corner, and no
/// points contain nothing. A tolerance that is negative or NaN counts as 0, which finds points on
/// an edge only where the arithmetic is exact. A point or a polygon with an x or y that isn't
/// finite gives -1; sizes are to stay below 1e150, where products end. Takes time in proportion to
/// the number of points; may run on any thread.
ROOKERY_EXPORT int pointInPolygon(const PhysicalSpace::point& p,
                                  const std::vector<PhysicalSpace::point>& polygon,
                                  const double& tolerance);

} // namespace Skua
