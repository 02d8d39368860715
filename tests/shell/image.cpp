#include "image.hpp"

#include <Writers/PngWriter.hpp>

#include <png.h>

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <stdexcept>

namespace Shell::Test {

namespace {

std::string text(const Pixel& pixel) {
    std::string result = "(";
    for (std::size_t i = 0; i < 4; ++i) {
        result += (i > 0 ? "," : "") + std::to_string(static_cast<int>(pixel[i]));
    }
    return result + ")";
}

std::string worstPixels(const Image& actual, const Image& expected) {
    std::vector<std::size_t> order(actual.pixels.size());
    std::iota(order.begin(), order.end(), std::size_t{0});
    const auto differenceAt = [&](std::size_t i) {
        return difference(actual.pixels[i], expected.pixels[i]);
    };
    const auto end = order.begin() + std::min<std::ptrdiff_t>(8, std::ssize(order));
    std::partial_sort(order.begin(), end, order.end(), [&](std::size_t a, std::size_t b) {
        return differenceAt(a) > differenceAt(b);
    });
    std::string result;
    for (auto i = order.begin(); i != end && differenceAt(*i) > 0; ++i) {
        const auto width = static_cast<std::size_t>(actual.widthPixels);
        result += "\n  x " + std::to_string(*i % width) + ", y " + std::to_string(*i / width) +
                  ": expected " + text(expected.pixels[*i]) + ", got " + text(actual.pixels[*i]);
    }
    return result;
}

} // namespace

Image::Image(int width, int height, const Pixel& color)
    : widthPixels(width),
      heightPixels(height),
      pixels(static_cast<std::size_t>(width) * static_cast<std::size_t>(height), color) {}

Image Image::read(const std::string& path) {
    png_image png{};
    png.version = PNG_IMAGE_VERSION;
    if (!png_image_begin_read_from_file(&png, path.c_str())) {
        throw std::runtime_error(path + ": " + png.message);
    }
    Image image(static_cast<int>(png.width), static_cast<int>(png.height));
    image.hasAlpha = (png.format & PNG_FORMAT_FLAG_ALPHA) != 0;
    png.format = PNG_FORMAT_RGBA;
    if (!png_image_finish_read(&png, nullptr, image.pixels.data(), 0, nullptr) ||
        png.warning_or_error != 0) {
        throw std::runtime_error(path + ": " + png.message);
    }
    return image;
}

void Image::write(const std::string& path) const {
    Mirk::PngWriter(path).write({pixels.data()->data(), static_cast<std::size_t>(widthPixels),
                                 static_cast<std::size_t>(heightPixels),
                                 Mirk::PngWriter::PixelFormat::rgba,
                                 Mirk::PngWriter::RowOrder::topFirst});
}

int difference(const Pixel& a, const Pixel& b) {
    int result = 0;
    for (std::size_t i = 0; i < 4; ++i) result = std::max(result, std::abs(a[i] - b[i]));
    return result;
}

Comparison compare(const Image& actual, const Image& expected, const Limits& limits) {
    Comparison result;
    result.sameSize =
        actual.widthPixels == expected.widthPixels && actual.heightPixels == expected.heightPixels;
    if (!result.sameSize) return result;
    result.pixels = actual.pixels.size();
    double sum = 0.0;
    for (std::size_t i = 0; i < actual.pixels.size(); ++i) {
        const Pixel& a = actual.pixels[i];
        const Pixel& b = expected.pixels[i];
        if (difference(a, b) > limits.channel) ++result.pixelsBeyond;
        for (std::size_t c = 0; c < 4; ++c) sum += std::abs(a[c] - b[c]);
    }
    result.mean = sum / (4.0 * static_cast<double>(result.pixels));
    result.worst = worstPixels(actual, expected);
    return result;
}

Image differenceImage(const Image& actual, const Image& expected) {
    Image result(actual.widthPixels, actual.heightPixels);
    for (std::size_t i = 0; i < result.pixels.size(); ++i) {
        for (std::size_t c = 0; c < 3; ++c) {
            const int apart = std::abs(actual.pixels[i][c] - expected.pixels[i][c]);
            result.pixels[i][c] = static_cast<std::uint8_t>(std::min(255, 8 * apart));
        }
    }
    return result;
}

} // namespace Shell::Test
