#pragma once
// The one exception of the readers: file, place and what would be right, in one line; stands on
// Keel::Exception.

#include <Readers/export.hpp>
#include <keel/Exception.hpp>

#include <string>
#include <string_view>

namespace Mirk {

/// Thrown when a file can't be read. what() is "file: place: reason", without the place if the
/// fault is that of the whole file, and always a single line.
class READERS_EXPORT ReaderError : public Keel::Exception {
public:
    /// `place` is "line 7", "byte 1234", the name of a variable, or empty.
    ReaderError(const std::string& path, const std::string& place, const std::string& reason);

    ~ReaderError() override;

    /// The file that was read.
    std::string path() const { return _path.str(); }
    std::string place() const { return _place.str(); }
    std::string reason() const { return _reason.str(); }

    /// A piece of a file for use in a message: in single quotes, control characters and others
    /// beyond ASCII as \xNN, cut after 40 characters.
    static std::string quoted(std::string_view text);

private:
    Keel::simplestring _path, _place, _reason;
};

} // namespace Mirk
