#pragma once
// What the readers of meshes have in common: limits, colours, polygons. Stands on
// polygonSplit.

#include <Readers/polygonSplit.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <limits>
#include <string>
#include <vector>

namespace Mirk {

/// Indices have 32 bits.
constexpr std::size_t mostPoints = std::numeric_limits<std::uint32_t>::max();

/// A mesh that is being read; like TriangleMesh, which takes the vectors over.
struct MeshVectors {
    std::vector<Point> points;
    std::vector<Normal> normals;
    std::vector<Color> colors;
    std::vector<std::uint32_t> triangles;
    /// Normals of faces' corners, beside `triangles` as far as they reach; for the reader's own
    /// use, as a mesh has none.
    std::vector<std::uint32_t> cornerNormals;

    struct Fan {
        std::size_t begin, corners;
    };
    /// Where in `triangles` polygons stand that were read before their points.
    std::vector<Fan> unsplit;
};

/// Stands in MeshVectors::cornerNormals where none is given.
constexpr std::uint32_t noNormal = static_cast<std::uint32_t>(mostPoints);

/// Adds the polygon over `corners` as corners.size() - 2 triangles, as splitPolygon says, and if
/// `normals` isn't empty, these in the same order. Of points that are yet to come, it is split
/// by splitLatePolygons; less than three corners are nothing.
void addPolygon(MeshVectors& mesh, const std::vector<std::uint32_t>& corners,
                const std::vector<std::uint32_t>& normals = {});
/// To be called once all points are there.
void splitLatePolygons(MeshVectors& mesh);

/// The dataset of what was read, polygons split: without triangles it is a cloud of points.
Dataset meshOrCloud(MeshVectors&& mesh);

/// A colour component of 0 .. 1 as byte.
unsigned char byteOfFraction(double fraction);
/// A colour component of 0 .. 255 as byte.
unsigned char byteOfNumber(double number);
/// Colours of a text that doesn't say its scale: 0 .. 255 if any number is above 1, else 0 .. 1.
/// An alpha below 0 stands for none.
std::vector<Color> colorsOfNumbers(const std::vector<std::array<float, 4>>& numbers);

bool isFinite(const Point& point);
/// "(1, 2, nan)".
std::string textOf(const Point& point);

/// "expected an index from 0 to 7, got 9".
std::string wrongIndex(long long got, long long first, long long last);
/// "expected 8 points, but the 12 bytes that follow hold at most 2".
std::string tooMany(std::size_t count, const std::string& what, std::size_t bytes,
                    std::size_t most);
/// "expected at most 4294967295 points, got …".
std::string beyondIndices(std::size_t count);

} // namespace Mirk
