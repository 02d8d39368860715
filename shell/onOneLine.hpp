#pragma once
// Text of others within our lines; stands on the standard library.

#include <algorithm>
#include <string>

namespace Shell {

/// Names of files and values of options may hold anything.
inline std::string onOneLine(std::string text) {
    std::replace_if(
        text.begin(), text.end(),
        [](char letter) {
            const auto code = static_cast<unsigned char>(letter);
            return code < 0x20 || code == 0x7f;
        },
        '?');
    return text;
}

} // namespace Shell
