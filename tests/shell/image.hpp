#pragma once
// Pictures in memory and their comparison; stands on libpng and the PngWriter.

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace Shell::Test {

using Pixel = std::array<std::uint8_t, 4>; ///< red, green, blue, alpha

struct Image {
    Image() = default;
    Image(int width, int height, const Pixel& color = {0, 0, 0, 255});
    /// Throws std::runtime_error with the reason.
    static Image read(const std::string& path);
    void write(const std::string& path) const;

    /// Row 0 is at the top.
    Pixel& at(int x, int y) { return pixels[index(x, y)]; }
    const Pixel& at(int x, int y) const { return pixels[index(x, y)]; }

    int widthPixels = 0, heightPixels = 0;
    bool hasAlpha = false; ///< in the file
    std::vector<Pixel> pixels;

private:
    std::size_t index(int x, int y) const {
        return static_cast<std::size_t>(y) * static_cast<std::size_t>(widthPixels) +
               static_cast<std::size_t>(x);
    }
};

/// The largest difference of a channel.
int difference(const Pixel& a, const Pixel& b);

/// How far a picture may be from its reference.
struct Limits {
    /// Interpolation and blending round differently from one processor to the next: by one each
    /// for the colour and for its mix with that of another sample.
    int channel = 2;
    /// An edge that passes through a sample takes it in or not: that is a rounding, too, and
    /// changes a pixel as a whole. Of 65536 pixels some hundred have a sample that near to an
    /// edge.
    double shareOfPixels = 0.001;
    /// In levels of 255: a tenth of all channels may be rounded the other way.
    double mean = 0.1;
};

/// What a comparison has found.
struct Comparison {
    bool sameSize = false;
    std::size_t pixelsBeyond = 0; ///< with a channel that differs by more than the limit
    std::size_t pixels = 0;
    double mean = 0.0; ///< over all channels of all pixels
    std::string worst; ///< the pixels with the largest differences, in words

    bool isWithin(const Limits& limits) const {
        return sameSize &&
               static_cast<double>(pixelsBeyond) <=
                   limits.shareOfPixels * static_cast<double>(pixels) &&
               mean <= limits.mean;
    }
};

Comparison compare(const Image& actual, const Image& expected, const Limits& limits = {});

/// The differences, eight times as large; both have the same size.
Image differenceImage(const Image& actual, const Image& expected);

} // namespace Shell::Test
