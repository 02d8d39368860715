#pragma once
// Diagnostics of the counted pointers; stands on nothing.

#include <keel/export.hpp>

#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <typeinfo>

namespace Keel {

/// Voice of the pointers: each operation prints one line to standard error and returns. Nothing
/// here throws. Thread-safe.
class KEEL_EXPORT SpeakPtr {
public:
    static SpeakPtr& theSpeaker() noexcept;

    /// A weak count was found at or below 0 while releasing.
    void InvalidWeakPtr(const std::type_info& pointer, const std::type_info& view,
                        const std::type_info& root, const std::type_info& object, int strong,
                        int weak, const void* block, const void* address, long long id) noexcept;
    /// A pointer is constructed from itself.
    void SelfConstruction(const std::type_info& pointer, const void* self,
                          const void* block) noexcept;
    /// The strong count changed while the object was told that its last reference goes.
    void WarningUnctionChange(int strong, int weak, const std::type_info& object) noexcept;
    /// Reference tracing.
    void printRS(const char* action, const char* detail, const std::type_info& object,
                 bool alive) noexcept;
    void printRS(const char* action, const char* detail, const std::type_info& pointer, int strong,
                 int weak, const std::type_info& object, const void* block,
                 const void* address) noexcept;

    /// A second listener for all lines, for a log window or a test; empty for none. It is called
    /// under the speaker's lock, so that it must not come back here; what it throws is swallowed.
    void setListener(const std::function<void(const std::string& line)>& listener);

private:
    SpeakPtr() = default;
    void say(const char* line) noexcept;

    std::mutex _mutex;
    std::function<void(const std::string&)> _listener;
};

/// Stops the process with a message: a dead or empty pointer has been dereferenced.
[[noreturn]] KEEL_EXPORT void stopAtDeadPointer(const std::type_info& pointee, const void* block,
                                                int strong) noexcept;

} // namespace Keel
