#pragma once
// Polygons into triangles, by ear clipping. Stands on Dataset.

#include <Readers/Dataset.hpp>

#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mirk {

/// How to split the polygon over `corners`, all of them places in `points`: three places in
/// `corners` for each of its corners.size() - 2 triangles. Empty: as the fan from the first
/// corner, which is right for convex polygons and some concave ones, and takes a time
/// proportional to the number of corners to find out.
///
/// Right for each simple polygon that is plane, or nearly so: it is seen along its mean normal
/// (Newell's), relative to its first corner. Corners may touch, as where a bridge leads to a hole.
/// Without area, with coordinates that aren't finite, or crossing itself, it gets as many
/// triangles over its own corners, though not always the ones that it was meant to have.
///
/// Each cut looks at the corners that stand abreast of it, so large concave polygons may need up
/// to the square of their corners. This ends at 2000 looks per corner and 1e8 in all, which take
/// about a second: enough for a thousand corners, and for tens of thousands unless most of them
/// stand abreast. What is left then becomes a fan, right or wrong.
std::vector<std::size_t> splitPolygon(const std::vector<Point>& points,
                                      const std::vector<std::uint32_t>& corners);

} // namespace Mirk
