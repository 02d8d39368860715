#include <sorrel/textForm.hpp>

#include <algorithm>
#include <utility>

namespace Mirk {

namespace {

constexpr std::string_view WhiteSpace = " \t\n\r";

void skipWhiteSpace(std::string_view& text) {
    text.remove_prefix(std::min(text.find_first_not_of(WhiteSpace), text.size()));
}

} // namespace

std::string_view trimmed(std::string_view text) {
    skipWhiteSpace(text);
    return text.substr(0, text.find_last_not_of(WhiteSpace) + 1);
}

std::string inLowerCase(std::string_view text) {
    std::string lower(text);
    std::transform(lower.begin(), lower.end(), lower.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    return lower;
}

std::string_view withoutBraces(std::string_view text) {
    const std::string_view inner = trimmed(text);
    if (!inner.starts_with('{') || !inner.ends_with('}')) return inner;
    return inner.substr(1, inner.size() - 2);
}

bool splitWords(std::string_view text, std::vector<std::string_view>& words) {
    std::vector<std::string_view> found;
    bool wordIsDue = false;
    for (skipWhiteSpace(text); !text.empty(); skipWhiteSpace(text)) {
        if (text.front() == ',') {
            if (found.empty() || wordIsDue) return false;
            wordIsDue = true;
            text.remove_prefix(1);
            continue;
        }
        const std::size_t length = std::min(text.find_first_of(" \t\n\r,"), text.size());
        found.push_back(text.substr(0, length));
        text.remove_prefix(length);
        wordIsDue = false;
    }
    if (wordIsDue) return false;
    words = std::move(found);
    return true;
}

} // namespace Mirk
