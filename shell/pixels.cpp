#include <pixels.hpp>

#include <algorithm>
#include <cstddef>

namespace Shell {

Skua::rgba_float_t premultiplied(const Skua::rgba_float_t& color) {
    const float alpha = color.alpha();
    return {color[0] * alpha, color[1] * alpha, color[2] * alpha, alpha};
}

void unpremultiply(Pixels& pixels) {
    std::vector<std::uint8_t>& bytes = pixels.bytes;
    for (std::size_t i = 0; i < bytes.size(); i += 4) {
        const int alpha = bytes[i + 3];
        if (alpha == 0 || alpha == 255) continue;
        for (std::size_t c = i; c < i + 3; ++c) {
            bytes[c] =
                static_cast<std::uint8_t>(std::min(255, (bytes[c] * 255 + alpha / 2) / alpha));
        }
    }
}

Pixels sideBySide(const Pixels& left, const Pixels& right) {
    Pixels result{left.width + right.width, left.height, {}};
    result.bytes.reserve(left.bytes.size() + right.bytes.size());
    const auto append = [&result](const Pixels& pixels, int row) {
        const std::ptrdiff_t bytesOfRow = std::ptrdiff_t{4} * pixels.width;
        const auto first = pixels.bytes.begin() + row * bytesOfRow;
        result.bytes.insert(result.bytes.end(), first, first + bytesOfRow);
    };
    for (int row = 0; row < result.height; ++row) {
        append(left, row);
        append(right, row);
    }
    return result;
}

Pixels anaglyph(const Pixels& left, const Pixels& right) {
    Pixels result = right;
    for (std::size_t i = 0; i < result.bytes.size(); i += 4) {
        result.bytes[i] = left.bytes[i];
        result.bytes[i + 3] = std::max(left.bytes[i + 3], right.bytes[i + 3]);
    }
    return result;
}

} // namespace Shell
