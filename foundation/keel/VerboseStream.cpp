#include <keel/VerboseStream.hpp>

#include <array>
#include <charconv>
#include <cstdarg>
#include <cstdio>
#include <functional>
#include <map>
#include <mutex>

namespace Keel {

namespace {

struct Verbosities {
    std::mutex mutex;
    int common = 0;
    std::map<std::string, int, std::less<>> own;
};

Verbosities& verbosities() {
    // Never destroyed, as destructors of statics in other libraries may still print.
    static Verbosities& theVerbosities = *new Verbosities;
    return theVerbosities;
}

std::string formatted(const char* format, std::va_list arguments) {
    std::va_list again;
    va_copy(again, arguments);
    const int length = std::vsnprintf(nullptr, 0, format, again);
    va_end(again);
    if (length < 0) return format; // an argument that the locale cannot encode
    std::string text(static_cast<std::size_t>(length) + 1, '\0');
    std::vsnprintf(text.data(), text.size(), format, arguments);
    text.pop_back();
    return text;
}

} // namespace

void VerboseStream::print(const char* format, ...) const {
    if (!isEnabled()) return;
    std::va_list arguments;
    va_start(arguments, format);
    std::string line = std::string(_name) + ": " + formatted(format, arguments);
    va_end(arguments);
    if (!line.ends_with('\n')) line += '\n';
    // One call for the whole text: stdio locks the stream for its length.
    std::fwrite(line.data(), 1, line.size(), stdout);
    std::fflush(stdout);
}

int VerboseStream::verbosity(std::string_view name) {
    Verbosities& all = verbosities();
    const std::lock_guard lock(all.mutex);
    const auto it = all.own.find(name);
    return it == all.own.end() ? all.common : it->second;
}

void VerboseStream::setVerbosity(std::string_view name, int level) {
    Verbosities& all = verbosities();
    const std::lock_guard lock(all.mutex);
    all.own.insert_or_assign(std::string(name), level);
}

void VerboseStream::setVerbosity(int level) {
    Verbosities& all = verbosities();
    const std::lock_guard lock(all.mutex);
    all.common = level;
    all.own.clear();
}

std::string VerboseStream::MemString(long long bytes) {
    // Negated as unsigned, as the lowest value has no positive counterpart.
    const auto raw = static_cast<unsigned long long>(bytes);
    const unsigned long long magnitude = bytes < 0 ? 0 - raw : raw;
    const std::string sign = bytes < 0 ? "-" : "";
    if (magnitude < 1024) return sign + std::to_string(magnitude) + " B";

    constexpr std::array units = {" KiB", " MiB", " GiB", " TiB", " PiB", " EiB"};
    std::size_t unit = 0;
    double value = static_cast<double>(magnitude) / 1024;
    // From here on two digits would be rounded up to "1024.00".
    while (value >= 1023.995 && unit + 1 < units.size()) {
        value /= 1024;
        ++unit;
    }
    std::array<char, 32> buffer; // to_chars, unlike printf, does not ask the locale
    const auto result = std::to_chars(buffer.data(), buffer.data() + buffer.size(), value,
                                      std::chars_format::fixed, 2);
    return sign + std::string(buffer.data(), result.ptr) + units[unit];
}

} // namespace Keel
