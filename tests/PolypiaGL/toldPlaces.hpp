#pragma once
// Pictures of points that tell by their colours where they are, to far less than a pixel; stands on
// exactView.

#include "exactView.hpp"

#include <PolypiaGL/GLFramebuffer.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace Mirk::GLTest {

/// Of a square picture without multisampling, of points of one pixel each.
class ToldPlaces {
public:
    using Place = ExactView::Place;
    static constexpr int pixels = 256; ///< of each side
    /// The place of a vertex, from what it is at in clip coordinates.
    static constexpr const char* functionOfVertices =
        "vec2 toldPlace(vec4 clip) { return (0.5 * clip.xy / clip.w + 0.5) * 256.0; }\n";
    /// Red and green are the pixel, from the left and from below, blue and alpha the part of it.
    static constexpr const char* functionOfFragments =
        "vec4 toldColor(vec2 place) { return vec4(floor(place) / 255.0, fract(place)); }\n";

    /// How far off points are that are alone in their place, and how many of them there are.
    struct Found {
        double worst = 0.0;
        int number = 0;
    };

    static void clear(const GLFramebuffer& target) { target.clear({1, 1, 1, 1}); }
    void read(const GLFramebuffer& target) { target.readColors(_bytes); }

    /// How far from there the point is that is shown where a point is expected, if that is less
    /// than a pixel; else more.
    double offOf(const Place& expected) const {
        double least = 1e9;
        for (const int column : {-1, 0, 1}) {
            for (const int row : {-1, 0, 1}) {
                const Place shown = shownAt(static_cast<int>(std::floor(expected.x)) + column,
                                            static_cast<int>(std::floor(expected.y)) + row);
                least = std::min(least, static_cast<double>(std::hypot(shown.x - expected.x,
                                                                       shown.y - expected.y)));
            }
        }
        return least;
    }
    Found compare(const std::vector<Place>& places) const {
        const Counts counts = countsOf(places);
        Found found;
        for (const Place& place : places) {
            const bool isInside =
                std::min(place.x, place.y) > 1.0L && std::max(place.x, place.y) < pixels - 1.0L;
            if (!isInside || !isAlone(place, counts)) continue;
            found.worst = std::max(found.worst, offOf(place));
            ++found.number;
        }
        return found;
    }

private:
    static constexpr int border = 2;                 ///< pixels in which others disturb
    static constexpr int side = pixels + 2 * border; ///< with what is beside the picture
    using Counts = std::vector<int>;

    static std::size_t cell(int x, int y) {
        return static_cast<std::size_t>((y + border) * side + x + border);
    }
    static Counts countsOf(const std::vector<Place>& places) {
        Counts counts(std::size_t{side} * side);
        for (const Place& place : places) {
            const bool isNear = std::min(place.x, place.y) >= -border &&
                                std::max(place.x, place.y) < pixels + border;
            if (!isNear) continue;
            ++counts[cell(static_cast<int>(std::floor(place.x)),
                          static_cast<int>(std::floor(place.y)))];
        }
        return counts;
    }
    static bool isAlone(const Place& place, const Counts& counts) {
        int number = 0;
        for (int y = -border; y <= border; ++y) {
            for (int x = -border; x <= border; ++x) {
                number +=
                    counts[cell(static_cast<int>(place.x) + x, static_cast<int>(place.y) + y)];
            }
        }
        return number == 1;
    }

    Place shownAt(int x, int y) const {
        const auto first = static_cast<std::size_t>(y * pixels + x) * 4;
        return {_bytes[first] + _bytes[first + 2] / 255.0L,
                _bytes[first + 1] + _bytes[first + 3] / 255.0L};
    }

    std::vector<std::uint8_t> _bytes = std::vector<std::uint8_t>(std::size_t{4} * pixels * pixels);
};

} // namespace Mirk::GLTest
