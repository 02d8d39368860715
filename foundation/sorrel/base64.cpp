#include <sorrel/base64.hpp>

#include <cstdint>
#include <utility>

namespace Mirk {

namespace {

constexpr std::string_view Digits =
    "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
constexpr std::string_view WhiteSpace = " \t\r\n";

} // namespace

std::string encodeBase64(std::string_view bytes) {
    std::string text;
    for (std::size_t begin = 0; begin < bytes.size(); begin += 3) {
        const std::string_view group = bytes.substr(begin, 3);
        std::uint32_t bits = 0;
        for (std::size_t i = 0; i < 3; ++i) {
            bits = bits << 8 | (i < group.size() ? static_cast<unsigned char>(group[i]) : 0u);
        }
        for (std::size_t i = 0; i < 4; ++i) {
            text += i <= group.size() ? Digits[bits >> (18 - 6 * i) & 63] : '=';
        }
    }
    return text;
}

bool decodeBase64(std::string_view text, std::string& bytes) {
    std::string decoded;
    std::uint32_t bits = 0;
    unsigned waiting = 0;
    std::size_t letters = 0;
    std::size_t padding = 0;
    for (const char letter : text) {
        if (WhiteSpace.find(letter) != std::string_view::npos) continue;
        ++letters;
        if (letter == '=') {
            ++padding;
            continue;
        }
        const std::size_t digit = Digits.find(letter);
        if (digit == std::string_view::npos || padding > 0) return false;
        bits = bits << 6 | static_cast<std::uint32_t>(digit);
        waiting += 6;
        if (waiting < 8) continue;
        waiting -= 8;
        decoded += static_cast<char>(bits >> waiting & 255);
    }
    if (letters % 4 != 0 || padding > 2) return false;
    bytes = std::move(decoded);
    return true;
}

} // namespace Mirk
