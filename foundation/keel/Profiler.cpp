#include <keel/Profiler.hpp>

#include <keel/Environment.hpp>
#include <keel/jsonText.hpp>

#include <algorithm>
#include <array>
#include <cerrno>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <list>
#include <memory>
#include <mutex>
#include <utility>

#include <fcntl.h>
#include <pthread.h>
#include <unistd.h>

namespace Keel {

namespace {

using Clock = std::chrono::steady_clock;

constexpr std::size_t BufferedBytes = 64 * 1024;

/// Microseconds with the nanoseconds behind the dot. `duration` is not negative.
void appendMicroseconds(std::string& json, Clock::duration duration) {
    const auto ns = std::chrono::duration_cast<std::chrono::nanoseconds>(duration).count();
    const std::string fraction = std::to_string(ns % 1000);
    json += std::to_string(ns / 1000);
    json += '.';
    json.append(3 - fraction.size(), '0');
    json += fraction;
}

/// The members that place an event, with the comma that parts it from the one before.
std::string eventHead(char phase) {
    return std::string(",\n{\"ph\":\"") + phase + "\",\"pid\":" + std::to_string(::getpid()) +
           ",\"tid\":" + std::to_string(::gettid());
}

std::string nameEvent(std::string_view kind, std::string_view name) {
    std::string json = eventHead('M');
    json += ",\"name\":\"";
    json += kind;
    json += "\",\"args\":{\"name\":";
    appendJsonString(json, name);
    return json += "}}";
}

std::string threadName() {
    std::array<char, 16> name = {};
    ::pthread_getname_np(::pthread_self(), name.data(), name.size());
    return name.data();
}

} // namespace

/// An open scope: all of its event but its time.
struct Profiler::Scope {
    std::string json;
    Clock::time_point start;
};

/// The trace file and the events on their way to it. It is never destroyed, as scopes may close
/// in threads that run on during exit and in destructors of statics.
class Profiler::Trace {
public:
    /// Starts the trace if POLYPIA_TRACE is set, and tells whether it runs.
    static bool startIfWanted();

    static Trace& instance() { return *_instance; }

    void add(Scope& scope, Clock::time_point end);

private:
    /// The events of one thread, emptied into the file when it is full and when the thread ends.
    /// It goes to a next thread then.
    struct Buffer {
        std::mutex mutex;
        std::string json;
        bool isTaken = false;
    };

    /// Lends a buffer to the current thread.
    struct Loan {
        Buffer* buffer = nullptr;
        ~Loan();
    };

    explicit Trace(std::string path) : _path(std::move(path)) {}

    bool openFile();
    Buffer& takeBuffer();
    void flush(Buffer& buffer);
    void write(std::string_view json);
    void finish();
    void giveUp();

    static Trace* _instance;
    static thread_local Loan _loan;
    static thread_local bool _threadEnds;

    const std::string _path;
    const Clock::time_point _start = Clock::now();
    const pid_t _process = ::getpid();

    std::mutex _buffersMutex; // taken before that of a buffer, which is taken before _fileMutex
    std::list<Buffer> _buffers;

    std::mutex _fileMutex;
    int _file = -1; // -1 also when the trace has ended
};

Profiler::Trace* Profiler::Trace::_instance = nullptr;
std::atomic<bool> Profiler::_enabled = Trace::startIfWanted(); // when the library is loaded
thread_local Profiler::Trace::Loan Profiler::Trace::_loan;
thread_local bool Profiler::Trace::_threadEnds = false;

bool Profiler::Trace::startIfWanted() {
    std::string path = getEnvString(
        "POLYPIA_TRACE", "File for a trace of the program's work, to be opened with Perfetto.");
    if (path.empty()) return false;
    _instance = new Trace(std::move(path));
    if (!_instance->openFile()) return false;
    std::atexit([] { _instance->finish(); });
    return true;
}

bool Profiler::Trace::openFile() {
    _file = ::open(_path.c_str(), O_WRONLY | O_CREAT | O_TRUNC | O_CLOEXEC, 0666);
    if (_file < 0) {
        giveUp();
        return false;
    }
    // The first event has none before it from which it would have to be parted.
    std::string json = nameEvent("process_name", ::program_invocation_short_name);
    json[0] = '[';
    write(json);
    return _file >= 0;
}

void Profiler::Trace::add(Scope& scope, Clock::time_point end) {
    std::string& json = scope.json;
    json += ",\"ts\":";
    appendMicroseconds(json, scope.start - _start);
    json += ",\"dur\":";
    appendMicroseconds(json, end - scope.start);
    json += '}';

    // Destructors of other thread-local objects may come after that of the loan.
    if (_threadEnds) return write(json);
    if (!_loan.buffer) _loan.buffer = &takeBuffer();
    Buffer& buffer = *_loan.buffer;
    const std::lock_guard lock(buffer.mutex);
    buffer.json += json;
    if (buffer.json.size() >= BufferedBytes) flush(buffer);
}

Profiler::Trace::Buffer& Profiler::Trace::takeBuffer() {
    const std::lock_guard lock(_buffersMutex);
    auto it = std::find_if(_buffers.begin(), _buffers.end(),
                           [](const Buffer& buffer) { return !buffer.isTaken; });
    if (it == _buffers.end()) it = _buffers.emplace(it);
    it->isTaken = true;
    it->json = nameEvent("thread_name", threadName());
    return *it;
}

Profiler::Trace::Loan::~Loan() {
    _threadEnds = true;
    if (!buffer) return;
    Trace& trace = instance();
    const std::lock_guard lock(trace._buffersMutex);
    const std::lock_guard bufferLock(buffer->mutex);
    trace.flush(*buffer);
    buffer->isTaken = false;
}

/// The buffer must be locked.
void Profiler::Trace::flush(Buffer& buffer) {
    write(buffer.json);
    buffer.json.clear();
}

void Profiler::Trace::write(std::string_view json) {
    const std::lock_guard lock(_fileMutex);
    // A forked child has a copy of the events, which are its parent's to write.
    if (_file < 0 || ::getpid() != _process) return;
    while (!json.empty()) {
        const ssize_t count = ::write(_file, json.data(), json.size());
        if (count < 0 && errno == EINTR) continue;
        if (count < 0) return giveUp();
        json.remove_prefix(static_cast<std::size_t>(count));
    }
}

/// Ends the trace after a failure, of which errno is the reason.
void Profiler::Trace::giveUp() {
    std::fprintf(stderr,
                 "Profiler: POLYPIA_TRACE: expected a file that can be written, got \"%s\" "
                 "(%s); no trace is written\n",
                 _path.c_str(), std::strerror(errno));
    _enabled = false;
    if (_file >= 0) ::close(std::exchange(_file, -1));
}

void Profiler::Trace::finish() {
    _enabled = false;
    const std::lock_guard lock(_buffersMutex);
    for (Buffer& buffer : _buffers) {
        const std::lock_guard bufferLock(buffer.mutex);
        flush(buffer);
    }
    write("\n]\n");
    // From here on what threads still add is dropped.
    const std::lock_guard fileLock(_fileMutex);
    if (_file >= 0) ::close(std::exchange(_file, -1));
}

void Profiler::open(std::string_view file, int line, std::string_view function,
                    std::string_view object, int level, std::string_view domain) noexcept try {
    auto scope = std::make_unique<Scope>();
    std::string& json = scope->json;
    json = eventHead('X') + ",\"name\":";
    appendJsonString(json, function);
    json += ",\"cat\":";
    appendJsonString(json, domain);
    json += ",\"args\":{\"object\":";
    appendJsonString(json, object);
    json += ",\"file\":";
    appendJsonString(json, file);
    json += ",\"line\":" + std::to_string(line) + ",\"level\":" + std::to_string(level) + '}';
    scope->start = Clock::now();
    _scope = scope.release();
} catch (...) {
    // Without memory the scope is missing from the trace; the work itself goes on.
}

void Profiler::close() noexcept try {
    const auto end = Clock::now();
    const std::unique_ptr<Scope> scope(std::exchange(_scope, nullptr));
    Trace::instance().add(*scope, end);
} catch (...) {
}

} // namespace Keel
