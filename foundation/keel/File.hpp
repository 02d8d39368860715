#pragma once
// Reading, writing, finding and dating of files; stands on nothing.

#include <keel/export.hpp>

#include <compare>
#include <limits>
#include <list>
#include <string>

namespace Keel {

/// The whole file as a string; empty if it cannot be read to its end (missing, a directory, no
/// permission). `mode` is "r", "rb" or "rt", which are all the same here; with any other mode
/// nothing is read.
KEEL_EXPORT std::string FileRead(const std::string& path, const char* mode);

/// Replaces the content of a file by `text`, and tells whether that was done; if not, errno has
/// the reason and the file is as it was. `mode` is "w", "wb" or "wt", which are all the same here;
/// any other mode fails.
///
/// The text is written aside into a file of the same folder, which is then renamed: so a reader
/// sees the old text or the new one, never a part. The permissions of an existing file and a
/// symbolic link to it are kept; a file that may not be written stays. Devices and pipes are
/// written directly.
KEEL_EXPORT bool FileWrite(const std::string& path, const std::string& text, const char* mode);

/// The first of pathCandidates() that exists as a regular file; empty if there is none.
KEEL_EXPORT std::string PathOpen(const std::list<std::string>& searchPath, const std::string& file);

/// `dir/file` for each entry of the search path, in its order; nothing if `file` is empty.
///
/// `$NAME` and `${NAME}` in an entry stand for the environment variable of that name; a dollar
/// sign before anything else stands for itself. An entry with a variable that is unset or empty
/// is skipped, and so is an empty entry: otherwise they would search the root folder.
/// Variables in `file` are not expanded.
KEEL_EXPORT std::list<std::string> pathCandidates(const std::list<std::string>& searchPath,
                                                  const std::string& file);

/// A point in time as the file system keeps it, to the nanosecond.
class KEEL_EXPORT Filetime {
public:
    /// Never: earlier than the time of any file.
    constexpr Filetime() noexcept = default;

    /// Seconds since the start of 1970 in UTC, and 0 to 999,999,999 nanoseconds after that.
    constexpr explicit Filetime(long long seconds, long nanoseconds = 0) noexcept
        : _seconds(seconds), _nanoseconds(nanoseconds) {}

    /// Greater means later.
    constexpr bool operator>(const Filetime& other) const noexcept { return (*this <=> other) > 0; }
    constexpr std::strong_ordering operator<=>(const Filetime&) const noexcept = default;

    /// Local time for humans, "2024-02-29 13:05:07", or "never".
    std::string str() const;

private:
    long long _seconds = std::numeric_limits<long long>::min();
    long _nanoseconds = 0;
};

/// The state of a file at the time of construction. A symbolic link counts as what it leads to.
class KEEL_EXPORT FileInfo {
public:
    explicit FileInfo(const std::string& path);

    bool exists = false;
    bool isRegular = false;       ///< a file proper, neither folder nor device
    unsigned long long bytes = 0; ///< size of a regular file, else 0
    Filetime modified;            ///< Filetime() if the file does not exist
};

} // namespace Keel
