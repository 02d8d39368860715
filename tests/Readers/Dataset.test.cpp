#include "testFiles.hpp"

#include <rookery/Geodesy.hpp>

using namespace Mirk;

namespace {

TEST(Dataset, TurnsGeographicLinesIntoEarthCentredOnes) {
    std::vector<Point> points;
    // More than one block of the conversion, and not a multiple of it.
    for (int i = 0; i < 1500; ++i) points.push_back({i * 0.3 - 200, i * 0.12 - 90, 0});
    Polylines lines;
    lines.points = makeChunk(points);
    toEarthCentred(lines);
    EXPECT_EQ(lines.coordinates, CoordinateSystem::EarthCentred);
    for (std::size_t i = 0; i < points.size(); ++i)
        ASSERT_EQ(lines.points->vector()[i], Skua::toEarthCentred({points[i].x, points[i].y, 0}));
}

TEST(Dataset, LeavesEarthCentredLinesAsTheyAre) {
    Polylines lines;
    lines.coordinates = CoordinateSystem::EarthCentred;
    lines.points = makeChunk(std::vector<Point>{{1, 2, 3}});
    toEarthCentred(lines);
    EXPECT_EQ(lines.points->vector()[0], (Point{1, 2, 3}));
}

} // namespace
