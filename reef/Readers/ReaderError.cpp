#include <Readers/ReaderError.hpp>

#include <cstdio>

namespace Mirk {
namespace {

// Only control characters are replaced: names of files may hold any letters.
std::string onOneLine(std::string text) {
    for (char& letter : text) {
        const auto code = static_cast<unsigned char>(letter);
        if (code < 0x20 || code == 0x7f) letter = '?';
    }
    return text;
}

std::string joined(const std::string& path, const std::string& place, const std::string& reason) {
    std::string text = path + ": ";
    if (!place.empty()) text += place + ": ";
    return onOneLine(text + reason);
}

} // namespace

ReaderError::ReaderError(const std::string& path, const std::string& place,
                         const std::string& reason)
    : Keel::Exception(joined(path, place, reason).c_str(), nullptr, 0),
      _path(path),
      _place(place),
      _reason(reason) {}

// Out of line, so that the type information of the class is in this library alone.
ReaderError::~ReaderError() = default;

std::string ReaderError::quoted(std::string_view text) {
    constexpr std::size_t longest = 40;
    std::string result = "'";
    for (const char letter : text.substr(0, longest)) {
        const auto code = static_cast<unsigned char>(letter);
        if (code >= 0x20 && code < 0x7f) {
            result += letter;
            continue;
        }
        char escape[5];
        std::snprintf(escape, sizeof escape, "\\x%02x", code);
        result += escape;
    }
    return result + (text.size() > longest ? "...'" : "'");
}

} // namespace Mirk
