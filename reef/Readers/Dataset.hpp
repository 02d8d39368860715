#pragma once
// What a file holds, as chunks in double precision; stands on Keel::Chunk and PhysicalSpace.

#include <Readers/export.hpp>
#include <keel/Chunk.hpp>
#include <keel/StrongPtr.hpp>
#include <rookery/FixedArray.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <cstddef>
#include <cstdint>
#include <utility>
#include <variant>
#include <vector>

namespace Mirk {

template<class T>
using ChunkPtr = Keel::StrongPtr<Keel::Chunk<T>, Keel::ChunkBase>;

/// A new chunk that takes the elements over.
template<class T>
ChunkPtr<T> makeChunk(std::vector<T> elements) {
    return ChunkPtr<T>(new Keel::Chunk<T>(std::move(elements)));
}

using Point = Skua::PhysicalSpace::point;
using Normal = Skua::FixedArray<float, 3>;
using Color = Skua::FixedArray<unsigned char, 4>;

/// Points without connection. `normals` and `colors` (red, green, blue, alpha) are empty pointers
/// if the file has none, else as long as `points`.
struct PointSet {
    ChunkPtr<Point> points;
    ChunkPtr<Normal> normals;
    ChunkPtr<Color> colors;
};

/// Triangles over shared points. `triangles` holds three indices into `points` per triangle, all
/// checked; with 32 bits a mesh has at most 4294967295 points, and readers refuse larger ones.
/// `normals` and `colors` belong to the points.
struct TriangleMesh : PointSet {
    ChunkPtr<std::uint32_t> triangles;
};

/// What the coordinates of lines mean.
enum class CoordinateSystem {
    Geographic,  ///< x = longitude, y = latitude in degrees, z = 0
    EarthCentred ///< metres from the centre of the WGS84 ellipsoid, z to the north pole
};

/// What lines are.
enum class LineKind { Coast, River, Border, Curve };

/// Lines, each a run of `points`: line i has the points starts[i] to starts[i + 1] - 1, so that
/// `starts` has one entry more than there are lines. A closed line repeats its first point at
/// its end. Geographic longitudes run on without a jump along a line, hence they may leave
/// -180 .. 360, and a line round a pole ends 360 degrees from its begin.
struct Polylines {
    CoordinateSystem coordinates = CoordinateSystem::Geographic;
    LineKind kind = LineKind::Coast;
    ChunkPtr<Point> points;
    ChunkPtr<std::uint32_t> starts;
    /// One for each line. Coasts: 1 land, 2 lake, 3 island in a lake, 4 pond on such an island,
    /// 6 grounding line of Antarctica. Rivers and borders: their rank, the lowest first.
    ChunkPtr<unsigned char> levels;
    /// How many pieces and points the file holds, left-out ones counted.
    std::size_t segmentsInFile = 0, pointsInFile = 0;
};

using Dataset = std::variant<PointSet, TriangleMesh, Polylines>;

/// Turns geographic coordinates at height 0 into earth-centred ones, in place; lines that are
/// earth-centred stay as they are.
READERS_EXPORT void toEarthCentred(Polylines& lines);

} // namespace Mirk
