#include <Readers/Dataset.hpp>

#include <rookery/Geodesy.hpp>

#include <algorithm>
#include <array>

namespace Mirk {

void toEarthCentred(Polylines& lines) {
    if (lines.coordinates == CoordinateSystem::EarthCentred) return;
    // In blocks that stay in the cache, as a second array for all points would cost more.
    std::array<Skua::GeodeticPoint, 512> block;
    const std::span<Point> points = lines.points->elements();
    for (std::size_t begin = 0; begin < points.size(); begin += block.size()) {
        const auto part = points.subspan(begin, std::min(block.size(), points.size() - begin));
        for (std::size_t i = 0; i < part.size(); ++i) block[i] = {part[i].x, part[i].y, 0.0};
        Skua::toEarthCentred(std::span(block).first(part.size()), part);
    }
    lines.coordinates = CoordinateSystem::EarthCentred;
}

} // namespace Mirk
