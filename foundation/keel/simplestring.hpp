#pragma once
// An immutable text with value semantics whose copies share one buffer; stands on nothing.

#include <keel/export.hpp>

#include <compare>
#include <iosfwd>
#include <string>
#include <string_view>

namespace Keel {

/// An immutable text, made for the fields of exceptions.
///
/// The constructors copy their input, as the module that holds a literal may be unloaded before
/// the exception is read. Copies share the text by an atomic count, so that they cannot throw
/// and may be used by several threads at once.
class KEEL_EXPORT simplestring {
public:
    /// The empty text.
    simplestring() noexcept = default;

    /// The first `length` bytes of `text`, or all of it up to its NUL if `length` is 0.
    /// So an empty piece of a longer buffer becomes the whole rest of that buffer. A null pointer
    /// gives the empty text, whatever the length.
    simplestring(const char* text, unsigned long long length = 0);

    /// All bytes of `text`, NUL bytes included.
    simplestring(const std::string& text);

    simplestring(const simplestring& other) noexcept;
    simplestring(simplestring&& other) noexcept;
    simplestring& operator=(const simplestring& other) noexcept;
    simplestring& operator=(simplestring&& other) noexcept;
    ~simplestring();

    /// The text with a NUL after its last byte, never null; valid while any copy lives.
    const char* c_str() const noexcept;

    /// Number of bytes, without the closing NUL.
    unsigned long long length() const noexcept;

    bool empty() const noexcept { return !_shared; }
    std::string str() const { return std::string(view()); }

    /// The bytes in place; valid while any copy lives.
    std::string_view view() const noexcept;

    // Comparison is by bytes. The overloads for other texts save a copy of them.
    friend bool operator==(const simplestring& a, const simplestring& b) noexcept {
        return a._shared == b._shared || a.view() == b.view();
    }
    friend bool operator==(const simplestring& a, const std::string& b) noexcept {
        return a.view() == b;
    }
    friend bool operator==(const simplestring& a, const char* b) noexcept {
        return a.view() == viewOf(b);
    }
    friend std::strong_ordering operator<=>(const simplestring& a, const simplestring& b) noexcept {
        return a.view() <=> b.view();
    }
    friend std::strong_ordering operator<=>(const simplestring& a, const std::string& b) noexcept {
        return a.view() <=> std::string_view(b);
    }
    friend std::strong_ordering operator<=>(const simplestring& a, const char* b) noexcept {
        return a.view() <=> viewOf(b);
    }

private:
    struct Shared;

    static std::string_view viewOf(const char* text) noexcept {
        return text ? std::string_view(text) : std::string_view();
    }

    Shared* _shared = nullptr; // null for the empty text
};

KEEL_EXPORT std::ostream& operator<<(std::ostream& stream, const simplestring& text);

} // namespace Keel
