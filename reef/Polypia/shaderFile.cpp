#include <Polypia/shaderFile.hpp>

#include <keel/File.hpp>

#include <cerrno>
#include <cstdio>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Mirk {

namespace {

constexpr unsigned long long mostBytes = 64ULL << 20;

/// A file that was opened for update, closed at the end of the scope.
class OpenedFile {
public:
    /// Not by way of a symbolic link, and without waiting should it have become a pipe.
    explicit OpenedFile(const std::string& path)
        : _descriptor(
              ::open(path.c_str(), O_RDWR | O_NOFOLLOW | O_NONBLOCK | O_NOCTTY | O_CLOEXEC)) {}
    OpenedFile(const OpenedFile&) = delete;
    OpenedFile& operator=(const OpenedFile&) = delete;
    ~OpenedFile() {
        if (isOpen()) ::close(_descriptor);
    }

    bool isOpen() const { return _descriptor >= 0; }
    bool isEmpty() const {
        struct stat state = {};
        return ::fstat(_descriptor, &state) == 0 && S_ISREG(state.st_mode) && state.st_size == 0;
    }
    Keel::Filetime time() const {
        struct stat state = {};
        if (::fstat(_descriptor, &state) != 0) return {};
        return Keel::Filetime(state.st_mtim.tv_sec, state.st_mtim.tv_nsec);
    }
    /// A text of which only a part could be written would look like a shader of the user's: then
    /// the file is emptied again.
    void write(std::string_view text) const {
        while (!text.empty()) {
            const ssize_t count = ::write(_descriptor, text.data(), text.size());
            if (count < 0 && errno == EINTR) continue;
            if (count <= 0) break;
            text.remove_prefix(static_cast<std::size_t>(count));
        }
        // That fails as well at worst, and there is nobody to tell.
        if (!text.empty() && ::ftruncate(_descriptor, 0) != 0) return;
    }

private:
    const int _descriptor;
};

bool leadsToWritableFile(const std::string& link) {
    return Keel::FileInfo(link).isRegular && ::access(link.c_str(), R_OK | W_OK) == 0;
}

} // namespace

std::string readShaderFile(const std::string& path) {
    const Keel::FileInfo info(path);
    if (!info.isRegular || info.bytes > mostBytes) return {};
    return Keel::FileRead(path, "rb");
}

bool isSymbolicLink(const std::string& path) {
    struct stat state = {};
    return ::lstat(path.c_str(), &state) == 0 && S_ISLNK(state.st_mode);
}

ShaderAnswer fillShaderRequest(const std::string& path, const std::string& text, bool isTold) {
    struct stat state = {};
    const bool isPath = path.find('\0') == std::string::npos;
    if (!isPath || ::lstat(path.c_str(), &state) != 0) return {ShaderRequest::None};
    if (S_ISDIR(state.st_mode)) return {ShaderRequest::None};
    if (S_ISLNK(state.st_mode)) {
        return {leadsToWritableFile(path) ? ShaderRequest::Kept : ShaderRequest::None};
    }
    if (!S_ISREG(state.st_mode)) return {ShaderRequest::Kept};
    const OpenedFile file(path);
    if (!file.isOpen()) return {ShaderRequest::None};
    if (!file.isEmpty()) return {ShaderRequest::Kept};
    if (isTold) {
        std::fprintf(stderr, "NOTE: Writing shader to %s\n", path.c_str());
        std::fflush(stderr);
    }
    // An editor that empties a file and then writes it may have come meanwhile.
    if (!file.isEmpty()) return {ShaderRequest::Kept};
    file.write(text);
    return {ShaderRequest::Filled, file.time()};
}

} // namespace Mirk
