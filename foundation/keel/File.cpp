#include <keel/File.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string_view>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

namespace Keel {

namespace {

/// A file descriptor that is closed at the end of the scope.
class Descriptor {
public:
    explicit Descriptor(int descriptor) : _descriptor(descriptor) {}
    Descriptor(const Descriptor&) = delete;
    Descriptor& operator=(const Descriptor&) = delete;
    ~Descriptor() {
        if (isOpen()) ::close(_descriptor);
    }

    bool isOpen() const { return _descriptor >= 0; }
    int get() const { return _descriptor; }

    /// Some file systems tell only here that a write has failed.
    bool close() {
        const int descriptor = _descriptor;
        _descriptor = -1;
        return ::close(descriptor) == 0;
    }

private:
    int _descriptor;
};

bool isMode(const char* mode, char direction) {
    if (!mode || mode[0] != direction) return false;
    const std::string_view rest = mode + 1;
    return rest.empty() || rest == "b" || rest == "t";
}

/// The system's calls would see another, shorter path.
bool hasNul(const std::string& path) {
    return path.find('\0') != std::string::npos;
}

/// The rest of the file, whose size is only a guess: special files tell 0, others grow.
std::optional<std::string> readAll(int descriptor, std::size_t expectedBytes) {
    std::string text(expectedBytes + 1, '\0'); // the one byte more finds the end without growing
    std::size_t filled = 0;
    while (true) {
        const ssize_t count = ::read(descriptor, text.data() + filled, text.size() - filled);
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return std::nullopt;
        if (count == 0) break;
        filled += static_cast<std::size_t>(count);
        if (filled == text.size()) text.resize(2 * filled + 4096);
    }
    text.resize(filled);
    return text;
}

bool writeAll(int descriptor, std::string_view text) {
    while (!text.empty()) {
        const ssize_t count = ::write(descriptor, text.data(), text.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return false;
        text.remove_prefix(static_cast<std::size_t>(count));
    }
    return true;
}

bool writeDirectly(const std::string& path, std::string_view text) {
    Descriptor file(::open(path.c_str(), O_WRONLY | O_CLOEXEC));
    return file.isOpen() && writeAll(file.get(), text) && file.close();
}

/// A new name beside `path`, short whatever the length of the file's own name.
std::string nameBeside(const std::string& path) {
    static std::atomic<unsigned> counter = 0;
    const auto slash = path.rfind('/');
    const std::string folder = slash == std::string::npos ? "" : path.substr(0, slash + 1);
    return folder + ".keel-" + std::to_string(::getpid()) + '-' + std::to_string(++counter) +
           ".part";
}

/// Writes `text` to the new file `part`; `permissions` are taken from the file to be replaced.
bool writeNew(const std::string& part, std::string_view text,
              const std::optional<mode_t>& permissions) {
    Descriptor file(::open(part.c_str(), O_WRONLY | O_CREAT | O_EXCL | O_CLOEXEC, 0666));
    if (!file.isOpen()) return false;
    const bool done = (!permissions || ::fchmod(file.get(), *permissions) == 0) &&
                      writeAll(file.get(), text) && file.close();
    if (done) return true;
    const int reason = errno;
    ::unlink(part.c_str());
    errno = reason;
    return false;
}

bool replaceFile(const std::string& path, std::string_view text,
                 const std::optional<mode_t>& permissions) {
    std::string part = nameBeside(path);
    bool written = writeNew(part, text, permissions);
    // A name may be left from a process that was killed.
    for (int tries = 0; !written && errno == EEXIST && tries < 100; ++tries) {
        part = nameBeside(path);
        written = writeNew(part, text, permissions);
    }
    if (!written) return false;
    if (std::rename(part.c_str(), path.c_str()) == 0) return true;
    const int reason = errno;
    ::unlink(part.c_str());
    errno = reason;
    return false;
}

/// `path` with its symbolic links followed, so that they are not replaced by the new file.
std::string realPath(const std::string& path) {
    const std::unique_ptr<char, decltype(&std::free)> real(::realpath(path.c_str(), nullptr),
                                                           &std::free);
    return real ? real.get() : path;
}

bool isNameStart(char c) {
    return (c >= 'A' && c <= 'Z') || (c >= 'a' && c <= 'z') || c == '_';
}

bool isNamePart(char c) {
    return isNameStart(c) || (c >= '0' && c <= '9');
}

/// Length of the variable's name at the head of `text`, 0 if there is none.
std::size_t nameLength(std::string_view text) {
    if (text.empty() || !isNameStart(text[0])) return 0;
    std::size_t length = 1;
    while (length < text.size() && isNamePart(text[length])) ++length;
    return length;
}

/// The entry with its variables replaced, nothing if one of them has no value.
std::optional<std::string> expandVariables(std::string_view entry) {
    std::string expanded;
    while (!entry.empty()) {
        const auto dollar = entry.find('$');
        expanded += entry.substr(0, dollar);
        if (dollar == std::string_view::npos) break;
        entry.remove_prefix(dollar + 1);

        const bool braced = entry.starts_with('{');
        const std::string_view text = entry.substr(braced ? 1 : 0);
        const std::size_t length = nameLength(text);
        const bool closed = !braced || text.substr(length).starts_with('}');
        if (length == 0 || !closed) {
            expanded += '$';
            continue;
        }
        const char* value = std::getenv(std::string(text.substr(0, length)).c_str());
        if (!value || !*value) return std::nullopt;
        expanded += value;
        entry.remove_prefix(length + (braced ? 2 : 0));
    }
    return expanded;
}

} // namespace

std::string FileRead(const std::string& path, const char* mode) {
    if (!isMode(mode, 'r') || hasNul(path)) return {};
    const Descriptor file(::open(path.c_str(), O_RDONLY | O_CLOEXEC));
    struct stat state = {};
    if (!file.isOpen() || ::fstat(file.get(), &state) != 0) return {};
    try {
        const std::size_t bytes =
            S_ISREG(state.st_mode) ? static_cast<std::size_t>(state.st_size) : 0;
        return readAll(file.get(), bytes).value_or(std::string());
    } catch (const std::bad_alloc&) {
        return {}; // a file that does not fit into memory cannot be read
    } catch (const std::length_error&) {
        return {};
    }
}

bool FileWrite(const std::string& path, const std::string& text, const char* mode) {
    if (!isMode(mode, 'w') || hasNul(path)) {
        errno = EINVAL;
        return false;
    }
    struct stat state = {};
    if (::stat(path.c_str(), &state) != 0) return replaceFile(path, text, std::nullopt);
    if (S_ISDIR(state.st_mode)) {
        errno = EISDIR;
        return false;
    }
    if (!S_ISREG(state.st_mode)) return writeDirectly(path, text);
    // A rename would pass over the write protection of the file itself.
    if (::faccessat(AT_FDCWD, path.c_str(), W_OK, AT_EACCESS) != 0) return false;
    return replaceFile(realPath(path), text, state.st_mode & 07777);
}

std::string PathOpen(const std::list<std::string>& searchPath, const std::string& file) {
    const std::list<std::string> candidates = pathCandidates(searchPath, file);
    const auto isRegular = [](const std::string& path) { return FileInfo(path).isRegular; };
    const auto found = std::find_if(candidates.begin(), candidates.end(), isRegular);
    return found == candidates.end() ? std::string() : *found;
}

std::list<std::string> pathCandidates(const std::list<std::string>& searchPath,
                                      const std::string& file) {
    std::list<std::string> candidates;
    if (file.empty()) return candidates;
    for (const std::string& entry : searchPath) {
        std::optional<std::string> path = expandVariables(entry);
        if (!path || path->empty()) continue;
        if (!path->ends_with('/')) *path += '/';
        candidates.push_back(*path + file);
    }
    return candidates;
}

std::string Filetime::str() const {
    if (*this == Filetime()) return "never";
    const std::time_t seconds = _seconds;
    std::tm local = {};
    std::array<char, 64> text = {};
    // Only a year beyond the range of int has no local time.
    if (!::localtime_r(&seconds, &local)) return std::to_string(_seconds) + " s since 1970";
    std::strftime(text.data(), text.size(), "%Y-%m-%d %H:%M:%S", &local);
    return text.data();
}

FileInfo::FileInfo(const std::string& path) {
    struct stat state = {};
    if (hasNul(path) || ::stat(path.c_str(), &state) != 0) return;
    exists = true;
    isRegular = S_ISREG(state.st_mode);
    if (isRegular) bytes = static_cast<unsigned long long>(state.st_size);
    modified = Filetime(state.st_mtim.tv_sec, state.st_mtim.tv_nsec);
}

} // namespace Keel
