#pragma once
// Diagnostics by named streams, each with a verbosity of its own; stands on nothing.

#include <keel/export.hpp>

#include <string>
#include <string_view>

namespace Keel {

/// A place to print diagnostics: the name of a stream ("Polypia", "GLSL", "GL") and the level of
/// what is printed. Level 0 is what a user sees without asking; greater levels are for those who
/// raise the verbosity of the stream. Made where it is used:
///
///     VerboseStream("GL", 1).print("%s has changed", file.c_str());
///
/// All operations may be called from several threads at once.
class KEEL_EXPORT VerboseStream {
public:
    /// `name` must outlive the object: a literal, in general.
    explicit VerboseStream(std::string_view name, int level = 0) : _name(name), _level(level) {}

    /// Whether print() prints: the level is not above the verbosity of the stream.
    bool isEnabled() const { return _level <= verbosity(_name); }

    /// Prints "NAME: " and the text to standard output as whole lines (a missing line feed at the
    /// end is added), at once and never mixed with the lines of another thread.
    void print(const char* format, ...) const __attribute__((format(printf, 2, 3)));

    /// The verbosity of a stream: its own if one was set, otherwise that of all streams, which
    /// is 0 at the start.
    static int verbosity(std::string_view name);
    static void setVerbosity(std::string_view name, int level);

    /// Sets all streams, also those that had a verbosity of their own.
    static void setVerbosity(int level);

    /// A byte count as readable text with a unit: "1023 B", "1.50 KiB", "-2.00 GiB". Bytes are
    /// exact, the binary units up to EiB are rounded to two digits; alike in every locale.
    static std::string MemString(long long bytes);

private:
    std::string_view _name;
    int _level;
};

} // namespace Keel
