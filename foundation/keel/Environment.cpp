#include <keel/Environment.hpp>

#include <array>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <mutex>
#include <optional>
#include <string_view>
#include <type_traits>

namespace Keel {

namespace {

using Readable = bool (*)(std::string_view);

struct Known {
    std::string description;
    std::string defaultValue;
    Readable readable;      // null for text
    std::string warnedText; // the unreadable text that has been reported last
};

struct Registry {
    std::mutex mutex;
    std::map<std::string, Known, std::less<>> variables;
};

Registry& registry() {
    // Never destroyed, as destructors of statics in other libraries may still ask.
    static Registry& theRegistry = *new Registry;
    return theRegistry;
}

std::string_view environmentText(const char* name) {
    const char* text = std::getenv(name);
    return text ? std::string_view(text) : std::string_view();
}

std::string_view trimmed(std::string_view text) {
    constexpr std::string_view blanks = " \t\n\v\f\r";
    const auto first = text.find_first_not_of(blanks);
    if (first == std::string_view::npos) return {};
    return text.substr(first, text.find_last_not_of(blanks) - first + 1);
}

template<class Number>
std::optional<Number> parse(std::string_view text) {
    // from_chars knows no plus sign.
    if (text.starts_with('+') && !text.starts_with("+-")) text.remove_prefix(1);
    Number value = 0;
    const char* end = text.data() + text.size();
    const auto [rest, error] = std::from_chars(text.data(), end, value);
    if (error != std::errc() || rest != end) return std::nullopt;
    if constexpr (std::is_floating_point_v<Number>) {
        if (std::isnan(value)) return std::nullopt;
    }
    return value;
}

template<class Number>
bool isReadable(std::string_view text) {
    return parse<Number>(text).has_value();
}

template<class Number>
std::string numberText(Number value) {
    std::array<char, 32> buffer;
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value);
    return {buffer.data(), result.ptr};
}

/// The entry of `name`, made if it is new. The registry must be locked.
Known& enrol(Registry& known, const char* name, const char* description, Readable readable) {
    const auto it = known.variables.find(std::string_view(name));
    if (it != known.variables.end()) return it->second;
    return known.variables.emplace(name, Known{description ? description : "", {}, readable, {}})
        .first->second;
}

void warnOnce(Known& known, const char* function, const char* name, const char* expected,
              std::string_view text) {
    if (known.warnedText == text) return;
    known.warnedText = text;
    std::fprintf(stderr, "%s: %s: expected %s, got \"%s\"; using the default %s\n", function, name,
                 expected, known.warnedText.c_str(), known.defaultValue.c_str());
}

template<class Number>
Number getNumber(const char* function, const char* name, const char* description,
                 Number defaultValue, const char* expected) {
    Registry& known = registry();
    const std::lock_guard lock(known.mutex);
    Known& entry = enrol(known, name, description, &isReadable<Number>);
    if (entry.defaultValue.empty()) entry.defaultValue = numberText(defaultValue);

    const std::string_view text = trimmed(environmentText(name));
    if (text.empty()) return defaultValue;
    if (const auto value = parse<Number>(text)) return *value;
    warnOnce(entry, function, name, expected, text);
    return defaultValue;
}

std::string currentValue(const std::string& name, const Known& known) {
    const std::string_view text = environmentText(name.c_str());
    if (!known.readable) return std::string(text);
    const std::string_view number = trimmed(text);
    return known.readable(number) ? std::string(number) : known.defaultValue;
}

} // namespace

int getEnvInteger(const char* name, const char* description, int defaultValue) {
    return getNumber("getEnvInteger", name, description, defaultValue,
                     "a whole number from -2147483648 to 2147483647");
}

double getEnvFloat(const char* name, const char* description, double defaultValue) {
    return getNumber("getEnvFloat", name, description, defaultValue,
                     "a number such as 0.5, -3 or 1e4");
}

std::string getEnvString(const char* name, const char* description) {
    Registry& known = registry();
    const std::lock_guard lock(known.mutex);
    enrol(known, name, description, nullptr);
    return std::string(environmentText(name));
}

std::vector<EnvironmentVariable> listEnvironmentVariables() {
    Registry& known = registry();
    const std::lock_guard lock(known.mutex);
    std::vector<EnvironmentVariable> list;
    list.reserve(known.variables.size());
    for (const auto& [name, entry] : known.variables) {
        list.push_back({name, entry.description, entry.defaultValue, currentValue(name, entry)});
    }
    return list;
}

} // namespace Keel
