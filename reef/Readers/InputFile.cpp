#include <Readers/InputFile.hpp>

#include <Readers/ReaderError.hpp>

#include <zlib.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <algorithm>
#include <cerrno>
#include <cstring>
#include <limits>

namespace Mirk {
namespace {

constexpr std::size_t headBytes = 4096;

struct Stream : z_stream {
    Stream() : z_stream() {}
    ~Stream() { inflateEnd(this); }
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;
};

bool isGzip(std::string_view head) {
    return head.size() >= 3 && head.substr(0, 3) == std::string_view("\x1f\x8b\x08", 3);
}

// read() and not mmap: a file that another process cuts short would end us by SIGBUS.
void readExactly(int descriptor, const std::string& path, char* target, std::size_t bytes,
                 std::size_t offset) {
    while (bytes > 0) {
        const ssize_t got =
            ::pread(descriptor, target, std::min<std::size_t>(bytes, std::size_t{1} << 30),
                    static_cast<off_t>(offset));
        if (got < 0 && errno == EINTR) continue;
        if (got < 0)
            throw ReaderError(path, "byte " + std::to_string(offset), std::strerror(errno));
        if (got == 0)
            throw ReaderError(path, "byte " + std::to_string(offset),
                              "the file became shorter while it was read");
        target += got;
        bytes -= static_cast<std::size_t>(got);
        offset += static_cast<std::size_t>(got);
    }
}

std::unique_ptr<char[]> copyOf(const char* source, std::size_t bytes) {
    auto copy = std::make_unique_for_overwrite<char[]>(bytes);
    std::copy_n(source, bytes, copy.get());
    return copy;
}

} // namespace

InputFile::InputFile(const std::string& path) : _path(path) {
    // Not blocking, so that a pipe nobody writes to is refused below and doesn't hang us here.
    const int descriptor = ::open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor < 0) throw ReaderError(path, "", std::strerror(errno));
    try {
        struct stat status {};
        if (::fstat(descriptor, &status) != 0) throw ReaderError(path, "", std::strerror(errno));
        if (S_ISDIR(status.st_mode))
            throw ReaderError(path, "", "expected a file, got a directory");
        if (!S_ISREG(status.st_mode))
            throw ReaderError(path, "", "expected a regular file, got a device or pipe");
        if (status.st_size == 0) throw ReaderError(path, "", "expected data, got an empty file");
        _size = static_cast<std::size_t>(status.st_size);
        _headSize = std::min(_size, headBytes);
        _head = std::make_unique_for_overwrite<char[]>(_headSize);
        readExactly(descriptor, path, _head.get(), _headSize, 0);
        _descriptor = descriptor;
        if (isGzip(head())) unpack();
    } catch (...) {
        ::close(descriptor);
        throw;
    }
    if (!isPlainFile()) ::close(descriptor);
}

InputFile::InputFile(const std::string& name, std::string_view content)
    : _path(name),
      _size(content.size()),
      _headSize(std::min(content.size(), headBytes)),
      _head(copyOf(content.data(), _headSize)),
      _content(copyOf(content.data(), content.size())) {
    if (content.empty()) throw ReaderError(name, "", "expected data, got an empty file");
    if (isGzip(head())) unpack();
}

InputFile::~InputFile() {
    if (_descriptor >= 0) ::close(_descriptor);
}

std::string InputFile::extension() const {
    std::string name = _path.substr(_path.find_last_of('/') + 1);
    std::transform(name.begin(), name.end(), name.begin(), [](char letter) {
        return letter >= 'A' && letter <= 'Z' ? static_cast<char>(letter - 'A' + 'a') : letter;
    });
    if (name.ends_with(".gz")) name.resize(name.size() - 3);
    const std::size_t dot = name.find_last_of('.');
    return dot == std::string::npos ? "" : name.substr(dot + 1);
}

std::string_view InputFile::content() const {
    if (!_content) {
        auto content = std::make_unique_for_overwrite<char[]>(_size);
        readExactly(_descriptor, _path, content.get(), _size, 0);
        _content = std::move(content);
    }
    return {_content.get(), _size};
}

// Replaces packed by unpacked content. The room grows with what really comes out, so that a
// trailer that lies about the length costs nothing.
void InputFile::unpack() {
    const std::string_view packed = content();
    Stream stream;
    if (inflateInit2(&stream, 15 + 16) != Z_OK) throw std::bad_alloc();
    std::size_t used = 0, size = 0, capacity = 4 * packed.size() + headBytes;
    auto unpacked = std::make_unique_for_overwrite<char[]>(capacity);
    constexpr std::size_t step = std::numeric_limits<uInt>::max();
    for (;;) {
        if (size == capacity) {
            auto larger = std::make_unique_for_overwrite<char[]>(2 * capacity);
            std::copy_n(unpacked.get(), size, larger.get());
            unpacked = std::move(larger);
            capacity *= 2;
        }
        // zlib's interface is older than const.
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(packed.data() + used));
        stream.avail_in = static_cast<uInt>(std::min(step, packed.size() - used));
        stream.next_out = reinterpret_cast<Bytef*>(unpacked.get() + size);
        stream.avail_out = static_cast<uInt>(std::min(step, capacity - size));
        const uInt offered = stream.avail_in, room = stream.avail_out;
        const int result = inflate(&stream, Z_NO_FLUSH);
        used += offered - stream.avail_in;
        size += room - stream.avail_out;
        if (result == Z_STREAM_END) {
            // gzip files may be several in a row; anything else behind the end is padding.
            if (!isGzip(packed.substr(used))) break;
            inflateReset(&stream);
            continue;
        }
        if (result == Z_MEM_ERROR) throw std::bad_alloc();
        if (result != Z_OK && result != Z_BUF_ERROR)
            throw ReaderError(_path, "byte " + std::to_string(used),
                              std::string("expected gzip data: ") +
                                  (stream.msg ? stream.msg : "the data is damaged"));
        if (used == packed.size() && size < capacity)
            throw ReaderError(_path, "byte " + std::to_string(used),
                              "expected more gzip data, got the end of the file");
    }
    if (size == 0) throw ReaderError(_path, "", "expected data, got an empty file in gzip");
    _size = size;
    _headSize = std::min(size, headBytes);
    _head = copyOf(unpacked.get(), _headSize);
    _content = std::move(unpacked);
    _descriptor = -1;
}

} // namespace Mirk
