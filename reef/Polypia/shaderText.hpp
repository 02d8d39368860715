#pragma once
// Pieces of text that blocks of GLSL have in common; stands on nothing.

#include <cstddef>
#include <string>
#include <string_view>

namespace Mirk {

/// The head of a block of GLSL: where compilers can name files and somebody has switched that on,
/// errors are told in lines of the source that the block comes from. `line` is the number of the
/// first line behind the marker.
std::string lineMarker(int line, std::string_view source);

/// Replaces each `what`, found from left to right, by `by`, which isn't searched again. An empty
/// `what` is found nowhere.
inline void replaceText(std::string& text, std::string_view what, std::string_view by) {
    if (what.empty()) return;
    for (std::size_t at = text.find(what); at != std::string::npos;
         at = text.find(what, at + by.size())) {
        text.replace(at, what.size(), by);
    }
}
inline std::string replacedText(std::string text, std::string_view what, std::string_view by) {
    replaceText(text, what, by);
    return text;
}

} // namespace Mirk
