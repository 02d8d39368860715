#include <optionValues.hpp>

#include <UsageError.hpp>

#include <Displays/DisplayObject.hpp>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <limits>
#include <system_error>

namespace Shell {

void Value::refuse() const {
    throw UsageError(option + ": expected " + expected + ", got '" + text + "'");
}

std::vector<double> numbers(const Value& value, std::size_t least, std::size_t most) {
    std::vector<double> result;
    const char* next = value.text.data();
    const char* const end = next + value.text.size();
    for (;;) {
        double number = 0;
        const auto [stop, error] = std::from_chars(next, end, number);
        if (error != std::errc() || !std::isfinite(number)) value.refuse();
        result.push_back(number);
        if (stop == end) break;
        if (*stop != ',') value.refuse();
        next = stop + 1;
    }
    if (result.size() < least || result.size() > most) value.refuse();
    return result;
}

double number(const Value& value, double least, double most) {
    const double result = numbers(value, 1, 1)[0];
    if (result < least || result > most) value.refuse();
    return result;
}

int wholeNumber(const Value& value, double number, int least, int most) {
    if (!(number >= least && number <= most) || number != std::floor(number)) value.refuse();
    return static_cast<int>(number);
}

std::vector<int> sizeOf(const std::string& option, const std::string& text) {
    const Value value{option, text, "a size in pixels W,H of at least 1,1"};
    std::vector<int> result;
    for (const double each : numbers(value, 2, 2)) {
        result.push_back(wholeNumber(value, each, 1, std::numeric_limits<int>::max()));
    }
    return result;
}

point pointOf(const std::string& option, const std::string& text) {
    // Squares of what lies between two such points are numbers still.
    constexpr double farthest = 1e100;
    const Value value{option, text, "three numbers X,Y,Z from -1e100 to 1e100"};
    const auto v = numbers(value, 3, 3);
    for (const double coordinate : v) {
        if (std::abs(coordinate) > farthest) value.refuse();
    }
    return {v[0], v[1], v[2]};
}

vector vectorOf(const std::string& option, const std::string& text) {
    const Value value{option, text, "three numbers X,Y,Z that are not all 0"};
    const auto v = numbers(value, 3, 3);
    // Made as long as the largest is, whose square can be too large or too small a number.
    const double largest = std::max({std::abs(v[0]), std::abs(v[1]), std::abs(v[2])});
    if (largest == 0) value.refuse();
    return {v[0] / largest, v[1] / largest, v[2] / largest};
}

Skua::rgba_float_t colorOf(const std::string& option, const std::string& text) {
    const Value value{option, text,
                      "#RRGGBB, #RRGGBBAA, or three or four numbers R,G,B,A from 0 to 1"};
    Skua::rgba_float_t color{0, 0, 0, 1};
    if (text.starts_with('#')) {
        if (text.size() != 7 && text.size() != 9) value.refuse();
        for (std::size_t i = 0; 2 * i + 1 < text.size(); ++i) {
            unsigned byte = 0;
            const char* const first = text.data() + 1 + 2 * i;
            const auto [stop, error] = std::from_chars(first, first + 2, byte, 16);
            if (error != std::errc() || stop != first + 2) value.refuse();
            color[i] = static_cast<float>(byte) / 255.0F;
        }
        return color;
    }
    const auto components = numbers(value, 3, 4);
    for (std::size_t i = 0; i < components.size(); ++i) {
        if (components[i] < 0 || components[i] > 1) value.refuse();
        color[i] = static_cast<float>(components[i]);
    }
    return color;
}

std::string deviceOf(const std::string& option, const std::string& text) {
    const bool isIndex =
        !text.empty() && text.size() < 10 && text.find_first_not_of("0123456789") == text.npos;
    if (isIndex || text == "surfaceless" || text == "default") return text;
    Value{option, text, "a device number, 'surfaceless' or 'default'"}.refuse();
}

std::string folderOf(const std::string& option, const std::string& text) {
    if (text.empty() || !Mirk::DisplayObject::canBeShaderFolder(text)) {
        Value{option, text,
              "a folder whose path has letters of ASCII alone and no *; from within it, . will do"}
            .refuse();
    }
    return text.substr(0, std::max<std::size_t>(text.find_last_not_of('/') + 1, 1));
}

std::optional<double> numberIn(const std::string& word) {
    // "inf" and "nan" are names.
    if (word.find_first_of("0123456789") == std::string::npos) return {};
    const char* const end = word.data() + word.size();
    double result = 0;
    const auto [stop, error] = std::from_chars(word.data(), end, result);
    if (stop != end) return {};
    return error == std::errc() ? result : std::numeric_limits<double>::quiet_NaN();
}

} // namespace Shell
