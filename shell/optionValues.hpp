#pragma once
// From words of the command line to values; stands on Camera and Coordinates.

#include <Camera.hpp>

#include <rookery/Coordinates.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <vector>

namespace Shell {

/// The value of an option, with the words for one that won't do.
struct Value {
    /// Throws the UsageError.
    [[noreturn]] void refuse() const;

    std::string option;
    std::string text;
    std::string expected;
};

// All throw the value's UsageError for a text that is not what they say.

/// Finite numbers parted by commas, as many as wanted.
std::vector<double> numbers(const Value& value, std::size_t least, std::size_t most);
double number(const Value& value, double least, double most);
int wholeNumber(const Value& value, double number, int least, int most);
/// Width and height, parted by a comma.
std::vector<int> sizeOf(const std::string& option, const std::string& text);
point pointOf(const std::string& option, const std::string& text);
/// Of any length.
vector vectorOf(const std::string& option, const std::string& text);
/// "#RRGGBB", "#RRGGBBAA", or three or four numbers from 0 to 1.
Skua::rgba_float_t colorOf(const std::string& option, const std::string& text);
std::string deviceOf(const std::string& option, const std::string& text);
/// Without slashes at the end. Whether there is such a folder is not looked at.
std::string folderOf(const std::string& option, const std::string& text);

/// The number that a word is, though it may be the name of a file as well. None if it is no number,
/// and NaN if it is one that a double can't be.
std::optional<double> numberIn(const std::string& word);

} // namespace Shell
