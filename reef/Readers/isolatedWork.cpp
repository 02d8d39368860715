#include <Readers/isolatedWork.hpp>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/resource.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace Mirk {
namespace {

constexpr std::uint64_t doneMark = 0x656e6f64; // in front of the blocks, written last
// A file of 32 MB takes a third of a second and less than 100 MB.
constexpr rlim_t secondsOfComputing = 10;
constexpr rlim_t bytesOfMemory = rlim_t{1} << 30;
// Other threads may have held a lock of the C library when the child was made, for which it would
// wait for ever.
constexpr unsigned secondsInAll = 60;

std::size_t roundedUp(std::size_t bytes) {
    return (bytes + 7) / 8 * 8;
}

void writeAll(int descriptor, const char* data, std::size_t bytes) {
    while (bytes > 0) {
        const ssize_t written = ::write(descriptor, data, bytes);
        if (written < 0 && errno == EINTR) continue;
        if (written <= 0) ::_exit(1);
        data += written;
        bytes -= static_cast<std::size_t>(written);
    }
}

// A damaged number in a file can ask for any amount of either.
void limitResources() {
    const rlimit noCore{0, 0}, computing{secondsOfComputing, secondsOfComputing};
    ::setrlimit(RLIMIT_CORE, &noCore);
    ::setrlimit(RLIMIT_CPU, &computing);
    sigset_t alarmOnly;
    ::sigemptyset(&alarmOnly);
    ::sigaddset(&alarmOnly, SIGALRM);
    ::signal(SIGALRM, SIG_DFL);
    ::sigprocmask(SIG_UNBLOCK, &alarmOnly, nullptr);
    ::alarm(secondsInAll);
    // The address space counts, of which the parent may have taken much.
    char text[32] = {};
    const int statistics = ::open("/proc/self/statm", O_RDONLY | O_CLOEXEC);
    if (statistics < 0 || ::read(statistics, text, sizeof text - 1) <= 0) return;
    const auto pages = static_cast<rlim_t>(std::strtoull(text, nullptr, 10));
    const rlim_t most = pages * static_cast<rlim_t>(::sysconf(_SC_PAGESIZE)) + bytesOfMemory;
    const rlimit memory{most, most};
    ::setrlimit(RLIMIT_AS, &memory);
}

// Leaves by _exit: whatever the parent has set up to happen at its own end must not happen twice.
[[noreturn]] void runChild(int descriptor, const std::function<void(IsolatedOutput&)>& work) {
    if (const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC); nowhere >= 0)
        ::dup2(nowhere, STDERR_FILENO);
    limitResources();
    std::uint64_t mark = 0;
    writeAll(descriptor, reinterpret_cast<const char*>(&mark), sizeof mark);
    try {
        IsolatedOutput output(descriptor);
        work(output);
    } catch (...) {
        ::_exit(1);
    }
    mark = doneMark;
    const bool isMarked = ::pwrite(descriptor, &mark, sizeof mark, 0) == sizeof mark;
    ::_exit(isMarked ? 0 : 1);
}

} // namespace

void IsolatedOutput::append(const void* data, std::size_t bytes) {
    const std::uint64_t size = bytes;
    writeAll(_descriptor, reinterpret_cast<const char*>(&size), sizeof size);
    writeAll(_descriptor, static_cast<const char*>(data), bytes);
    constexpr char padding[8] = {};
    writeAll(_descriptor, padding, roundedUp(bytes) - bytes);
}

IsolatedWork::IsolatedWork(const std::function<void(IsolatedOutput&)>& work)
    : _descriptor(::memfd_create("polypia", MFD_CLOEXEC)) {
    if (_descriptor < 0) return;
    const pid_t child = ::fork();
    if (child == 0) runChild(_descriptor, work);
    if (child < 0) return;
    // The mark tells all: where the program ignores its children's end there is no status.
    while (::waitpid(child, nullptr, 0) < 0 && errno == EINTR) {
    }
    struct stat status {};
    if (::fstat(_descriptor, &status) != 0 || status.st_size < 8) return;
    _size = static_cast<std::size_t>(status.st_size);
    void* const bytes = ::mmap(nullptr, _size, PROT_READ, MAP_PRIVATE, _descriptor, 0);
    if (bytes == MAP_FAILED) return;
    _bytes = static_cast<const char*>(bytes);
    std::uint64_t mark = 0;
    std::memcpy(&mark, _bytes, sizeof mark);
    _at = sizeof mark;
    _isDone = mark == doneMark;
}

IsolatedWork::~IsolatedWork() {
    if (_bytes) ::munmap(const_cast<char*>(_bytes), _size);
    if (_descriptor >= 0) ::close(_descriptor);
}

std::span<const char> IsolatedWork::next() {
    if (!_isDone || _at == _size) return {};
    std::uint64_t size = 0;
    std::memcpy(&size, _bytes + _at, sizeof size);
    const std::span<const char> block(_bytes + _at + sizeof size, size);
    _at += sizeof size + roundedUp(size);
    return block;
}

} // namespace Mirk
