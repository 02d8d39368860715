#pragma once
// The bytes of a file for the readers, gzip unpacked; stands on zlib.

#include <Readers/export.hpp>

#include <cstddef>
#include <memory>
#include <string>
#include <string_view>

namespace Mirk {

/// A regular file that is open for reading. Files that begin as gzip do are unpacked at once,
/// whatever their name; others are read in one piece when content() is called first, so that a
/// reader with a library of its own needs no more than the head. One thread at a time.
class READERS_EXPORT InputFile {
public:
    /// Opens the file and reads its head. Throws ReaderError if it is missing, not a regular
    /// file, unreadable, empty, or gzip that can't be unpacked.
    explicit InputFile(const std::string& path);
    /// Content that is in memory already; `name` stands for the path in messages.
    InputFile(const std::string& name, std::string_view content);
    ~InputFile();
    InputFile(const InputFile&) = delete;
    InputFile& operator=(const InputFile&) = delete;

    const std::string& path() const { return _path; }
    /// What stands behind the last dot, in lower case; a final ".gz" is passed over.
    std::string extension() const;
    /// True if a library can open path() itself and finds there what content() gives.
    bool isPlainFile() const { return _descriptor >= 0; }
    /// Bytes of the content, unpacked.
    std::size_t size() const { return _size; }
    /// The first bytes of the content, at most 4096.
    std::string_view head() const { return {_head.get(), _headSize}; }
    /// All bytes of the content; valid while this object lives.
    std::string_view content() const;

private:
    void unpack();

    std::string _path;
    int _descriptor = -1;
    std::size_t _size = 0, _headSize = 0;
    std::unique_ptr<char[]> _head;
    mutable std::unique_ptr<char[]> _content;
};

} // namespace Mirk
