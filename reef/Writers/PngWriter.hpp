#pragma once
// Writes a picture in memory to a PNG file; stands on Keel's files and threads, and on zlib.

#include <Writers/export.hpp>

#include <cstddef>
#include <cstdint>
#include <string>

namespace Mirk {

/// Writes pictures of 8 bits per channel to one PNG file.
///
/// A file is written aside, in the same folder, and renamed when it is complete: readers see the
/// old file or the new one, and a failure leaves neither a part of a file nor a changed one. Where
/// the path is a symbolic link, the file behind it is replaced. The bytes of the file depend on
/// the picture alone. Any thread may write; several at once to one path is allowed.
class WRITERS_EXPORT PngWriter {
public:
    /// Channels of a pixel in memory, one byte each.
    enum class PixelFormat : int {
        rgb,
        rgba, ///< alpha is not premultiplied
        rgbx, ///< the fourth byte is ignored, and the file has three channels
    };

    enum class RowOrder : int {
        topFirst,
        bottomFirst, ///< as glReadPixels delivers
    };

    /// A picture that the caller keeps: rows without padding between them.
    struct Picture {
        const std::uint8_t* pixels;
        std::size_t widthPixels;
        std::size_t heightPixels;
        PixelFormat format;
        RowOrder order;
    };

    /// Largest width and height; keeps the byte counts of a row within zlib's 32 bits.
    static constexpr std::size_t maximumSizePixels = std::size_t{1} << 28;

    /// Throws WriteError if no file can be written there, so that nobody renders for nothing: the
    /// folder is missing or not writable, or what exists there is not a writable regular file.
    explicit PngWriter(std::string path);

    /// Throws WriteError if the picture is empty or too large, or if the file can't be written.
    void write(const Picture& picture) const;

private:
    std::string _path;
};

} // namespace Mirk
