#pragma once
// Exact numbers in texts, whatever the locale; the tools of which value traits are made.

#include <sorrel/export.hpp>

#include <array>
#include <charconv>
#include <concepts>
#include <cstddef>
#include <string>
#include <string_view>
#include <system_error>
#include <vector>

namespace Mirk {

/// Without white space (blank, tab, line feed, carriage return) at both ends.
SORREL_EXPORT std::string_view trimmed(std::string_view text);
/// ASCII letters in lower case, everything else as it is.
SORREL_EXPORT std::string inLowerCase(std::string_view text);

/// The shortest decimal text that is read back to the same number.
template<class Number>
requires(std::integral<Number> || std::floating_point<Number>) std::string
    numberText(Number number) {
    std::array<char, 64> buffer{};
    const auto end = std::to_chars(buffer.data(), buffer.data() + buffer.size(), number).ptr;
    return std::string(buffer.data(), end);
}

/// Reads the whole text, but for white space around it, as one decimal number with an optional
/// sign. False if it is none or does not fit; `number` is unchanged then.
template<class Number>
requires(std::integral<Number> ||
         std::floating_point<Number>) bool readNumber(Number& number, std::string_view text) {
    std::string_view digits = trimmed(text);
    if (digits.starts_with('+')) {
        digits.remove_prefix(1);
        if (digits.starts_with('-')) return false;
    }
    Number read{};
    const char* const end = digits.data() + digits.size();
    const auto [stop, error] = std::from_chars(digits.data(), end, read);
    if (error != std::errc() || stop != end) return false;
    number = read;
    return true;
}

/// The words of a text, which are parted by white space, by a comma, or by both. False, and `words`
/// is unchanged, if a comma has no word on one of its sides.
SORREL_EXPORT bool splitWords(std::string_view text, std::vector<std::string_view>& words);

/// Without white space at both ends and, if there is one at each end, without braces.
SORREL_EXPORT std::string_view withoutBraces(std::string_view text);

/// The numbers, parted by one blank.
template<class Number, std::size_t N>
std::string numbersText(const std::array<Number, N>& numbers) {
    std::string text;
    for (const Number number : numbers) {
        if (!text.empty()) text += ' ';
        text += numberText(number);
    }
    return text;
}

/// Reads a text of exactly N numbers, parted as splitWords() says; several may stand in braces.
/// False if it is none; `numbers` are unchanged then.
template<class Number, std::size_t N>
bool readNumbers(std::array<Number, N>& numbers, std::string_view text) {
    std::vector<std::string_view> words;
    if (!splitWords(N > 1 ? withoutBraces(text) : text, words) || words.size() != N) return false;
    std::array<Number, N> read{};
    for (std::size_t i = 0; i < N; ++i) {
        if (!readNumber(read[i], words[i])) return false;
    }
    numbers = read;
    return true;
}

} // namespace Mirk
