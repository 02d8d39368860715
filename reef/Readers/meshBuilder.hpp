#pragma once
// What the readers of meshes have in common: limits, colours, fans. Stands on Dataset.

#include <Readers/Dataset.hpp>

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
};

/// The dataset of what was read: without triangles it is a cloud of points.
Dataset meshOrCloud(MeshVectors&& mesh);

/// Adds the polygon over `corners`, at least three, as triangles that all have its first corner.
/// Right for convex polygons; which others there are, the file doesn't say.
void addFan(std::vector<std::uint32_t>& triangles, const std::vector<std::uint32_t>& corners);

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
