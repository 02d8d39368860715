#pragma once
// A pointer that several threads read and replace at once; stands on the pointer classes.

#include <keel/WeakPtr.hpp>

#include <mutex>

namespace Keel {

/// Holds a pointer of class P behind a lock of its own. `CountEqual` tells whether writing a
/// pointer to the object that is held already counts as a change.
template<class P, bool CountEqual>
class KEEL_EXPORT ConcurrentPtr {
public:
    ConcurrentPtr() = default;
    ConcurrentPtr(const P& pointer) : _pointer(pointer) {}
    ConcurrentPtr(const ConcurrentPtr& other) : _pointer(other.read()) {}
    ConcurrentPtr& operator=(const ConcurrentPtr& other) {
        write(other.read());
        return *this;
    }

    P read() const {
        const std::lock_guard lock(_mutex);
        return _pointer;
    }
    /// Replaces the pointer and returns whether this was a change. The old pointer is released
    /// outside of the lock, as its object may come back here when it dies.
    bool write(const P& pointer) {
        P old = pointer;
        const std::lock_guard lock(_mutex);
        const bool change = CountEqual || !(_pointer == pointer);
        if (change) _pointer.swap(old);
        return change;
    }

    friend bool operator==(const ConcurrentPtr& a, const ConcurrentPtr& b) {
        return a.read() == b.read();
    }

private:
    mutable std::mutex _mutex;
    P _pointer;
};

} // namespace Keel
