#include <keel/SpeakPtr.hpp>

#include <cxxabi.h>

#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <memory>

namespace Keel {

namespace {

struct Name {
    explicit Name(const std::type_info& type) noexcept
        : text(abi::__cxa_demangle(type.name(), nullptr, nullptr, &status)), plain(type.name()) {}
    ~Name() { std::free(text); }
    Name(const Name&) = delete;
    Name& operator=(const Name&) = delete;
    const char* str() const noexcept { return text != nullptr ? text : plain; }

    int status = 0;
    char* text;
    const char* plain;
};

/// A line that is made without memory from the heap, as diagnostics must not throw.
struct Line {
    __attribute__((format(printf, 2, 3))) explicit Line(const char* pattern, ...) noexcept {
        va_list arguments;
        va_start(arguments, pattern);
        std::vsnprintf(text, sizeof text, pattern, arguments);
        va_end(arguments);
    }
    operator const char*() const noexcept { return text; }
    char text[1024];
};

} // namespace

SpeakPtr& SpeakPtr::theSpeaker() noexcept {
    // Never destroyed: pointers are released until the very end of the process.
    static SpeakPtr* const speaker = new SpeakPtr;
    return *speaker;
}

void SpeakPtr::InvalidWeakPtr(const std::type_info& pointer, const std::type_info& view,
                              const std::type_info& root, const std::type_info& object, int strong,
                              int weak, const void* block, const void* address,
                              long long id) noexcept {
    say(Line("%s to %s (root %s, object %s): weak count %d with strong count %d while releasing,"
             " block %p, object %p, id %lld",
             Name(pointer).str(), Name(view).str(), Name(root).str(), Name(object).str(), weak,
             strong, block, address, id));
}

void SpeakPtr::SelfConstruction(const std::type_info& pointer, const void* self,
                                const void* block) noexcept {
    say(Line("%s at %p is constructed from itself, block %p", Name(pointer).str(), self, block));
}

void SpeakPtr::WarningUnctionChange(int strong, int weak, const std::type_info& object) noexcept {
    say(Line("%s got new references while its last one went: strong count %d, weak count %d",
             Name(object).str(), strong, weak));
}

void SpeakPtr::printRS(const char* action, const char* detail, const std::type_info& object,
                       bool alive) noexcept {
    say(Line("%s %s: %s, %s", action, detail, Name(object).str(), alive ? "alive" : "dead"));
}

void SpeakPtr::printRS(const char* action, const char* detail, const std::type_info& pointer,
                       int strong, int weak, const std::type_info& object, const void* block,
                       const void* address) noexcept {
    say(Line("%s %s: %s to %s, strong count %d, weak count %d, block %p, object %p", action, detail,
             Name(pointer).str(), Name(object).str(), strong, weak, block, address));
}

void SpeakPtr::setListener(const std::function<void(const std::string&)>& listener) {
    const std::lock_guard lock(_mutex);
    _listener = listener;
}

void SpeakPtr::say(const char* line) noexcept try {
    const std::lock_guard lock(_mutex);
    std::fprintf(stderr, "Keel: %s\n", line);
    if (_listener) _listener(line);
} catch (...) {
    // Pointers are released in destructors: nothing may come out of here.
}

void stopAtDeadPointer(const std::type_info& pointee, const void* block, int strong) noexcept {
    if (block == nullptr) {
        std::fprintf(stderr, "Keel: an empty pointer to %s is dereferenced\n", Name(pointee).str());
    } else if (strong <= 0) {
        std::fprintf(stderr, "Keel: a pointer to a dead %s is dereferenced (strong count %d)\n",
                     Name(pointee).str(), strong);
    } else {
        std::fprintf(stderr, "Keel: a pointer to an object that is no %s is dereferenced\n",
                     Name(pointee).str());
    }
    std::fflush(stderr);
    std::abort();
}

} // namespace Keel
