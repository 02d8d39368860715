#pragma once
// How lines become what a driver draws; stands on nothing.

#include <cstdint>

namespace Mirk {

/// Of a program for lines.
enum LineForm : std::uint32_t { ThinLines, WideLines, WideLinesWithRoundEnds };

/// For lines of a width in pixels. `smooth` if the pictures have several samples for each pixel.
inline LineForm lineForm(double widthPixels, bool smooth) {
    // Drivers draw plain lines of one pixel only, and with several samples they break them into
    // dots where pieces are shorter than a pixel.
    if (widthPixels == 1.0 && !smooth) return ThinLines;
    // Where two rectangles meet at an angle they leave a notch as deep as half the width.
    constexpr double widestWithoutNotches = 2.0;
    return widthPixels > widestWithoutNotches ? WideLinesWithRoundEnds : WideLines;
}

} // namespace Mirk
