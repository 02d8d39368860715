#pragma once
// Scopes of work that can be written to a trace file; stands on Environment.

#include <keel/export.hpp>

#include <atomic>
#include <string>
#include <string_view>

namespace Keel {

/// A scope of work, from construction to destruction.
///
/// If the environment variable POLYPIA_TRACE names a file when the program starts, each scope
/// that is closed becomes one event of it, in the JSON trace event format that Perfetto and
/// chrome://tracing open: complete events with microseconds since the start of the program,
/// named by function, in the category of the domain; object, file, line and level are arguments.
/// Bytes that are no UTF-8 become U+FFFD. Scopes still open at exit are left out. After a crash
/// the file lacks its last events and the closing bracket, which the viewers accept. A file that
/// cannot be written gives one message, and no trace.
///
/// Without the variable a scope costs one test of a flag, and with arguments that are literals
/// and existing strings it allocates nothing. Scopes may be used in all threads, also in
/// destructors of statics; each is closed by the thread that has opened it.
class KEEL_EXPORT Profiler {
public:
    Profiler(const std::string& file, int line, const std::string& function,
             const std::string& object, int level, const std::string& domain) {
        if (isEnabled()) open(file, line, function, object, level, domain);
    }

    // The forms for literals: the one above would copy them each time, trace or no trace.
    Profiler(const char* file, int line, const char* function, const std::string& object, int level,
             const char* domain) {
        if (isEnabled()) open(file, line, function, object, level, domain);
    }
    Profiler(const char* file, int line, const char* function, const char* object, int level,
             const char* domain) {
        if (isEnabled()) open(file, line, function, object, level, domain);
    }

    Profiler(const Profiler&) = delete;
    Profiler& operator=(const Profiler&) = delete;

    ~Profiler() {
        if (_scope) close();
    }

    /// Whether a trace is being written.
    static bool isEnabled() noexcept { return _enabled.load(std::memory_order_relaxed); }

private:
    struct Scope;
    class Trace;

    void open(std::string_view file, int line, std::string_view function, std::string_view object,
              int level, std::string_view domain) noexcept;
    void close() noexcept;

    static std::atomic<bool> _enabled;

    Scope* _scope = nullptr; // owned; null while no trace is written
};

} // namespace Keel
