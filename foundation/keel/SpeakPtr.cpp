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

__attribute__((format(printf, 1, 2))) std::string format(const char* pattern, ...) {
    char buffer[1024];
    va_list arguments;
    va_start(arguments, pattern);
    std::vsnprintf(buffer, sizeof buffer, pattern, arguments);
    va_end(arguments);
    return buffer;
}

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
    say(format("%s to %s (root %s, object %s): weak count %d with strong count %d while releasing,"
               " block %p, object %p, id %lld",
               Name(pointer).str(), Name(view).str(), Name(root).str(), Name(object).str(), weak,
               strong, block, address, id));
}

void SpeakPtr::SelfConstruction(const std::type_info& pointer, const void* self,
                                const void* block) noexcept {
    say(format("%s at %p is constructed from itself, block %p", Name(pointer).str(), self, block));
}

void SpeakPtr::WarningUnctionChange(int strong, int weak, const std::type_info& object) noexcept {
    say(format("%s got new references while its last one went: strong count %d, weak count %d",
               Name(object).str(), strong, weak));
}

void SpeakPtr::printRS(const char* action, const char* detail, const std::type_info& object,
                       bool alive) noexcept {
    say(format("%s %s: %s, %s", action, detail, Name(object).str(), alive ? "alive" : "dead"));
}

void SpeakPtr::printRS(const char* action, const char* detail, const std::type_info& pointer,
                       int strong, int weak, const std::type_info& object, const void* block,
                       const void* address) noexcept {
    say(format("%s %s: %s to %s, strong count %d, weak count %d, block %p, object %p", action,
               detail, Name(pointer).str(), Name(object).str(), strong, weak, block, address));
}

void SpeakPtr::setListener(const std::function<void(const std::string&)>& listener) {
    const std::lock_guard lock(_mutex);
    _listener = listener;
}

void SpeakPtr::say(const std::string& line) noexcept {
    const std::lock_guard lock(_mutex);
    std::fprintf(stderr, "Keel: %s\n", line.c_str());
    if (_listener) _listener(line);
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
