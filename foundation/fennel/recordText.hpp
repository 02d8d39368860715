#pragma once
// The text form of values with named fields, as in `position 0 0 10, fieldOfView 45`; stands on
// sorrel's textForm.
//
// A field is its name and its values. Words are parted by white space, a comma, or both, so that
// such a text may also stand on several lines. Texts are written in quotation marks; read, a text
// without marks is one word. Within marks, \" \\ \n \r \t stand for what they do in C, and \x for
// the byte of the two hexadecimal digits behind it; any other byte stands for itself.

#include <sorrel/valueTraits.hpp>

#include <functional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Mirk {

/// A word of a text; one in quotation marks has its content, and never is a name.
struct TextWord {
    std::string text;
    bool quoted = false;
};

/// The words of a text. False, and `words` is unchanged, if a comma has no word on one of its
/// sides, or a quotation mark is out of place, has no other, or holds an unknown escape.
bool splitWords(std::string_view text, std::vector<TextWord>& words);

/// The text in quotation marks.
std::string quoted(std::string_view text);
/// The text as it is if it can be read as one word, else in quotation marks.
std::string quotedIfNeeded(std::string_view text);

/// How a field is read: its name, the number of its values, and what takes them. The name of a
/// field that has none is empty; it comes first and can't be left out.
struct TextField {
    std::string_view name;
    std::size_t valueCount;
    std::function<bool(std::span<const TextWord>)> read;
};

TextField textField(std::string_view name, std::string& target);
/// One number or a row of them.
template<RowOfNumbers T>
TextField textField(std::string_view name, T& target) {
    return {name, NumberCount<T>, [&target](std::span<const TextWord> words) {
                auto numbers = numbersOf(target);
                for (std::size_t i = 0; i < words.size(); ++i) {
                    if (words[i].quoted || !readNumber(numbers[i], words[i].text)) return false;
                }
                target = std::bit_cast<T>(numbers);
                return true;
            }};
}

/// Reads a text that consists of these fields, in any order, each at most once, at least one. The
/// targets of fields that are not named stay as they are. False if the text is no such text; some
/// targets have changed then, so that they should belong to a copy.
bool readFields(std::string_view text, const std::vector<TextField>& fields);

} // namespace Mirk
