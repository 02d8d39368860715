#include <Writers/PngWriter.hpp>

#include <Writers/WriteError.hpp>
#include <keel/File.hpp>
#include <keel/ThreadPool.hpp>

#include <zlib.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <filesystem>
#include <future>
#include <new>
#include <string_view>
#include <system_error>
#include <thread>
#include <utility>
#include <vector>

#include <fcntl.h>
#include <unistd.h>

namespace Mirk {

namespace {

using Bytes = std::vector<std::uint8_t>;

[[noreturn]] void fail(const std::string& path, std::string_view reason) {
    throw WriteError("cannot write " + path + ": " + std::string(reason));
}

[[noreturn]] void failWithErrno(const std::string& path, int error) {
    fail(path, std::generic_category().message(error));
}

// A picture belongs into a file, not into the device or the pipe that bears its name.
void refuseAllButFiles(const std::string& path) {
    if (path.empty()) fail(path, "The name is empty");
    const Keel::FileInfo target(path);
    if (!target.exists || target.isRegular) return;
    if (std::filesystem::is_directory(path)) failWithErrno(path, EISDIR);
    fail(path, "Not a regular file");
}

void checkPermission(const std::string& path, const std::string& checked, int wanted) {
    if (faccessat(AT_FDCWD, checked.c_str(), wanted, AT_EACCESS) != 0) failWithErrno(path, errno);
}

// --- The format: Portable Network Graphics (PNG), second edition, ISO/IEC 15948 ---

constexpr std::array<std::uint8_t, 8> signature = {0x89, 'P', 'N', 'G', '\r', '\n', 0x1a, '\n'};
constexpr std::uint8_t filterUp = 2;

// A chunk's size comes first and is known last.
constexpr std::size_t chunkDataOffset = 8;

void storeBigEndian(std::uint8_t* to, std::size_t value) {
    for (int shift = 24; shift >= 0; shift -= 8) *to++ = static_cast<std::uint8_t>(value >> shift);
}

Bytes beginChunk(const char (&type)[5]) {
    Bytes chunk(chunkDataOffset);
    std::copy_n(type, 4, chunk.begin() + 4);
    return chunk;
}

void endChunk(Bytes& chunk) {
    storeBigEndian(chunk.data(), chunk.size() - chunkDataOffset);
    const auto checksum = crc32(0, chunk.data() + 4, static_cast<uInt>(chunk.size() - 4));
    chunk.resize(chunk.size() + 4);
    storeBigEndian(chunk.data() + chunk.size() - 4, checksum);
}

std::size_t channelsInMemory(PngWriter::PixelFormat format) {
    return format == PngWriter::PixelFormat::rgb ? 3 : 4;
}

std::size_t channelsInFile(PngWriter::PixelFormat format) {
    return format == PngWriter::PixelFormat::rgba ? 4 : 3;
}

Bytes headerChunk(const PngWriter::Picture& picture) {
    constexpr std::uint8_t bitDepth = 8, colorTypeRgb = 2, colorTypeRgba = 6;
    Bytes chunk = beginChunk("IHDR");
    chunk.resize(chunkDataOffset + 13); // compression, filter method and interlacing stay 0
    storeBigEndian(&chunk[chunkDataOffset], picture.widthPixels);
    storeBigEndian(&chunk[chunkDataOffset + 4], picture.heightPixels);
    chunk[chunkDataOffset + 8] = bitDepth;
    chunk[chunkDataOffset + 9] = channelsInFile(picture.format) == 4 ? colorTypeRgba : colorTypeRgb;
    endChunk(chunk);
    return chunk;
}

Bytes endOfFileChunk() {
    Bytes chunk = beginChunk("IEND");
    endChunk(chunk);
    return chunk;
}

// --- The pixels: strips of rows, compressed independently of each other
// ----------------------------
//
// The strips follow from the size of the picture alone, so that the number of threads changes
// nothing in the file. Each ends at a byte boundary and refers to nothing before it; one after the
// other they are one zlib stream.

constexpr std::size_t stripBytes = std::size_t{1} << 18;

struct Strip {
    Bytes chunk; // a whole IDAT chunk
    uLong checksum = 0;
    std::size_t filteredBytes = 0;
};

class Deflater {
public:
    Deflater() {
        // Level 1: higher ones take several times as long for files smaller by a third.
        // Negative bits: without zlib's header and checksum, which belong to the whole.
        if (deflateInit2(&_stream, 1, Z_DEFLATED, -MAX_WBITS, MAX_MEM_LEVEL, Z_DEFAULT_STRATEGY) !=
            Z_OK)
            throw std::bad_alloc();
    }

    Deflater(const Deflater&) = delete;
    Deflater& operator=(const Deflater&) = delete;

    ~Deflater() { deflateEnd(&_stream); }

    Strip compress(const Bytes& filtered, bool first, bool last) {
        const auto size = static_cast<uInt>(filtered.size());
        constexpr std::size_t flushBytes = 16; // what deflateBound does not count for a flush
        _compressed.resize(deflateBound(&_stream, size) + flushBytes);
        deflateReset(&_stream);
        _stream.next_in = const_cast<Bytef*>(filtered.data()); // zlib 1.2 lacks the const
        _stream.avail_in = size;
        _stream.next_out = _compressed.data();
        _stream.avail_out = static_cast<uInt>(_compressed.size());
        deflate(&_stream, last ? Z_FINISH : Z_SYNC_FLUSH);

        Strip strip{beginChunk("IDAT"), adler32(adler32(0, nullptr, 0), filtered.data(), size),
                    filtered.size()};
        // Header of a zlib stream: deflate with a window of 32 KiB, fastest level (RFC 1950).
        if (first) strip.chunk.insert(strip.chunk.end(), {0x78, 0x01});
        strip.chunk.insert(strip.chunk.end(), _compressed.data(), _stream.next_out);
        endChunk(strip.chunk);
        return strip;
    }

private:
    z_stream _stream{};
    Bytes _compressed; // kept from strip to strip: most of it stays unused
};

class StripCompressor {
public:
    explicit StripCompressor(const PngWriter::Picture& picture)
        : _picture(picture),
          _rowBytesInMemory(picture.widthPixels * channelsInMemory(picture.format)),
          _rowBytesInFile(1 + picture.widthPixels * channelsInFile(picture.format)),
          _rowsPerStrip(std::max<std::size_t>(1, stripBytes / _rowBytesInFile)),
          _rowAboveThePicture(_rowBytesInMemory),
          _strips((picture.heightPixels + _rowsPerStrip - 1) / _rowsPerStrip) {}

    const std::vector<Strip>& run() {
        const auto threads = std::min<std::size_t>(
            _strips.size(), std::max(1u, std::thread::hardware_concurrency()));
        Keel::ThreadPool others(threads - 1, "PngWriter");
        std::vector<std::future<void>> ends;
        for (std::size_t i = 1; i < threads; ++i)
            ends.push_back(others.submit([this] { compressStrips(); }));
        compressStrips();
        for (auto& end : ends) end.get();
        return _strips;
    }

private:
    void compressStrips() {
        Deflater deflater;
        Bytes filtered;
        for (std::size_t i = _nextStrip++; i < _strips.size(); i = _nextStrip++) {
            const auto begin = i * _rowsPerStrip;
            const auto end = std::min(begin + _rowsPerStrip, _picture.heightPixels);
            filtered.resize((end - begin) * _rowBytesInFile);
            for (auto row = begin; row < end; ++row)
                filterRow(row, &filtered[(row - begin) * _rowBytesInFile]);
            _strips[i] = deflater.compress(filtered, i == 0, i + 1 == _strips.size());
        }
    }

    // Rows are counted from the top.
    const std::uint8_t* row(std::size_t index) const {
        const bool topFirst = _picture.order == PngWriter::RowOrder::topFirst;
        return _picture.pixels +
               _rowBytesInMemory * (topFirst ? index : _picture.heightPixels - 1 - index);
    }

    // One filter for all rows: to choose among them per row takes longer than it saves.
    void filterRow(std::size_t index, std::uint8_t* out) const {
        const std::uint8_t* current = row(index);
        const std::uint8_t* above = index > 0 ? row(index - 1) : _rowAboveThePicture.data();
        *out++ = filterUp;
        const auto difference = [=](std::size_t i) {
            return static_cast<std::uint8_t>(current[i] - above[i]);
        };
        if (_picture.format != PngWriter::PixelFormat::rgbx) {
            for (std::size_t i = 0; i < _rowBytesInMemory; ++i) out[i] = difference(i);
            return;
        }
        for (std::size_t i = 0; i < _rowBytesInMemory; i += 4) {
            for (std::size_t channel = 0; channel < 3; ++channel) *out++ = difference(i + channel);
        }
    }

    PngWriter::Picture _picture;
    std::size_t _rowBytesInMemory;
    std::size_t _rowBytesInFile; // with the byte that names the filter
    std::size_t _rowsPerStrip;
    Bytes _rowAboveThePicture; // zero, as the format wants
    std::vector<Strip> _strips;
    std::atomic<std::size_t> _nextStrip = 0;
};

// The end of the zlib stream, in a chunk of its own.
Bytes checksumChunk(const std::vector<Strip>& strips) {
    auto checksum = adler32(0, nullptr, 0);
    for (const auto& strip : strips)
        checksum =
            adler32_combine(checksum, strip.checksum, static_cast<z_off_t>(strip.filteredBytes));
    Bytes chunk = beginChunk("IDAT");
    chunk.resize(chunkDataOffset + 4);
    storeBigEndian(&chunk[chunkDataOffset], checksum);
    endChunk(chunk);
    return chunk;
}

} // namespace

PngWriter::PngWriter(std::string path) : _path(std::move(path)) {
    refuseAllButFiles(_path);
    if (Keel::FileInfo(_path).exists) checkPermission(_path, _path, W_OK);
    const auto folder = std::filesystem::path(_path).parent_path();
    checkPermission(_path, folder.empty() ? "." : folder.string() + '/', W_OK | X_OK);
}

void PngWriter::write(const Picture& picture) const {
    const auto fits = [](std::size_t size) { return size > 0 && size <= maximumSizePixels; };
    if (!fits(picture.widthPixels) || !fits(picture.heightPixels))
        fail(_path, "expected a width and a height of 1 to " + std::to_string(maximumSizePixels) +
                        " pixels, got " + std::to_string(picture.widthPixels) + " x " +
                        std::to_string(picture.heightPixels));
    refuseAllButFiles(_path);

    StripCompressor compressor(picture);
    const auto& strips = compressor.run();

    std::string file;
    const auto append = [&file](const auto& bytes) { file.append(bytes.begin(), bytes.end()); };
    append(signature);
    append(headerChunk(picture));
    for (const auto& strip : strips) append(strip.chunk);
    append(checksumChunk(strips));
    append(endOfFileChunk());
    if (!Keel::FileWrite(_path, file, "wb")) failWithErrno(_path, errno);
}

} // namespace Mirk
