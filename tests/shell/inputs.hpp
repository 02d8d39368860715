#pragma once
// Small inputs for the tests of the program, made when they are needed; stands on rookery.

#include <rookery/PhysicalSpace.hpp>

#include <array>
#include <string>
#include <vector>

namespace Shell::Test {

using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

/// A mesh, or a cloud of points if it has no triangles.
struct Model {
    std::vector<point> points;
    std::vector<std::array<int, 3>> triangles = {};
    std::vector<std::array<int, 3>> colors = {}; ///< red, green, blue up to 255; may be empty

    /// With all digits.
    std::string ply() const;
    Model movedBy(const vector& offset) const;
    Model scaledBy(double factor) const;
};

/// Lying, with a colour that changes along it. Coordinates are multiples of 2^-10, so that they
/// stay what they are when they are moved by whole numbers.
Model torus();
/// A spiral, coloured by height.
Model spiral();
/// The triangle (-1,-1,0) (1,-1,0) (0,1,0).
Model triangle(const std::array<int, 3>& color);

/// As the files of rivers are laid out: one line, of whole degrees. Needs netCDF.
struct LinePoint {
    int longitude, latitude;
};
void writeRiver(const std::string& path, const std::vector<LinePoint>& line);
/// Sound netCDF, but with nothing in it that is known.
void writeOtherNetcdf(const std::string& path);

/// In gzip.
std::string packed(const std::string& content);

} // namespace Shell::Test
