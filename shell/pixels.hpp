#pragma once
// What becomes of drawn pixels before they are written; stands on Coordinates.

#include <rookery/Coordinates.hpp>

#include <cstdint>
#include <vector>

namespace Shell {

/// Red, green, blue and alpha of each pixel, a byte each, row by row. Colours are weighted by
/// alpha, unless somebody says otherwise: pixels at an edge are a mix of the samples of both
/// sides, for which that is right.
struct Pixels {
    int width;
    int height;
    std::vector<std::uint8_t> bytes;

    bool operator==(const Pixels&) const = default;
};

Skua::rgba_float_t premultiplied(const Skua::rgba_float_t& color);
/// Afterwards the colours are not weighted by alpha.
void unpremultiply(Pixels& pixels);

// Both pictures have one size.

/// The left one on the left of one that is twice as wide.
Pixels sideBySide(const Pixels& left, const Pixels& right);
/// For glasses that are red on the left and cyan on the right: the red of the left one, the green
/// and blue of the right one. No channel takes up anything of another, so that colours stay what
/// they are where both see the same. The greater alpha counts, as there is something to be seen
/// where either eye sees it.
Pixels anaglyph(const Pixels& left, const Pixels& right);

} // namespace Shell
