#include <keel/simplestring.hpp>

#include <atomic>
#include <cstring>
#include <new>
#include <ostream>
#include <utility>

namespace Keel {

/// Head of the shared buffer; the text follows it in the same allocation.
struct simplestring::Shared {
    std::atomic<unsigned long long> references = 1;
    unsigned long long length;

    char* text() noexcept { return reinterpret_cast<char*>(this + 1); }

    static Shared* copyOf(std::string_view text) {
        if (text.empty()) return nullptr;
        auto* shared = new (::operator new(sizeof(Shared) + text.size() + 1)) Shared;
        shared->length = text.size();
        std::memcpy(shared->text(), text.data(), text.size());
        shared->text()[text.size()] = '\0';
        return shared;
    }

    static Shared* acquire(Shared* shared) noexcept {
        if (shared) shared->references.fetch_add(1, std::memory_order_relaxed);
        return shared;
    }

    static void release(Shared* shared) noexcept {
        if (!shared) return;
        if (shared->references.fetch_sub(1, std::memory_order_acq_rel) > 1) return;
        shared->~Shared();
        ::operator delete(shared);
    }
};

simplestring::simplestring(const char* text, unsigned long long length)
    : _shared(Shared::copyOf(text && length ? std::string_view(text, length) : viewOf(text))) {}

simplestring::simplestring(const std::string& text) : _shared(Shared::copyOf(text)) {}

simplestring::simplestring(const simplestring& other) noexcept
    : _shared(Shared::acquire(other._shared)) {}

simplestring::simplestring(simplestring&& other) noexcept
    : _shared(std::exchange(other._shared, nullptr)) {}

simplestring& simplestring::operator=(const simplestring& other) noexcept {
    Shared::release(std::exchange(_shared, Shared::acquire(other._shared)));
    return *this;
}

simplestring& simplestring::operator=(simplestring&& other) noexcept {
    std::swap(_shared, other._shared);
    return *this;
}

simplestring::~simplestring() {
    Shared::release(_shared);
}

const char* simplestring::c_str() const noexcept {
    return _shared ? _shared->text() : "";
}

unsigned long long simplestring::length() const noexcept {
    return _shared ? _shared->length : 0;
}

std::string_view simplestring::view() const noexcept {
    return {c_str(), length()};
}

std::ostream& operator<<(std::ostream& stream, const simplestring& text) {
    return stream << text.view();
}

} // namespace Keel
