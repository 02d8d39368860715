#pragma once
// Reference counting: the control block of an object and the base of counted objects.

#include <keel/export.hpp>
#include <keel/fwd.hpp>

#include <atomic>
#include <cstdint>

namespace Keel {

/// Work of a hierarchy at the first strong reference to an object and right before its destruction.
/// Either may be null.
struct ReferenceEvents {
    void (*first)(Countable&);
    void (*last)(Countable&);
};

/// Shared between an object and all pointers to it; outlives the object while a pointer exists.
///
/// Life of the counts: `strong` starts at 1, a place that the first StrongPtr takes over; `weak`
/// starts at 2, one for the object itself and one for that place. All other pointers raise what
/// they hold. Both counts lie in one 64-bit word, so that copying and releasing a strong pointer,
/// which changes both, is one atomic operation. All changes are sequentially consistent.
class KEEL_EXPORT ControlBlock {
public:
    /// Value of `strong` from the moment when the last strong reference has gone.
    static constexpr std::int32_t StrongGoing = -111;
    /// Value of `strong` after the destruction of an object that nobody released: on the stack,
    /// as a member, or by an exception in its constructor.
    static constexpr std::int32_t StrongUnreleased = -333;
    /// Value of `firstReferenceState` once a StrongPtr has taken the object.
    static constexpr std::uint8_t Taken = 2;

    ControlBlock(Countable& counted, const ReferenceEvents& events, std::uint64_t serial) noexcept
        : _object(&counted), _events(events), _serial(serial) {}

    std::int32_t strong() const noexcept { return strongOf(_counts.load()); }
    std::int32_t weak() const noexcept { return weakOf(_counts.load()); }
    std::uint8_t firstReferenceState() const noexcept { return _firstReferenceState.load(); }
    /// Null as soon as the object is going.
    Countable* object() const noexcept { return _object.load(); }
    /// Position of the object among all objects of its root class, in order of construction.
    std::uint64_t serial() const noexcept { return _serial; }
    bool alive() const noexcept { return strong() > 0 && object() != nullptr; }

    /// Takes over the first count of a new object and runs its deferred initialisation; for an
    /// object that is taken already, the same as acquire().
    void adopt();
    /// Raises both counts, but only `weak` if `strong` is 0 or below. Returns whether the object
    /// is kept alive by it.
    bool acquire() noexcept {
        std::uint64_t counts = _counts.load(std::memory_order_relaxed);
        for (;;) {
            const bool alive = strongOf(counts) > 0;
            if (_counts.compare_exchange_weak(counts, counts + OneWeak + (alive ? 1u : 0u))) {
                return alive;
            }
        }
    }
    void acquireWeak() noexcept { _counts.fetch_add(OneWeak); }
    /// Gives back what acquire() or adopt() took; may destroy the object and the block.
    void release() {
        std::uint64_t counts = _counts.load(std::memory_order_relaxed);
        while (strongOf(counts) > 1) {
            if (_counts.compare_exchange_weak(counts, counts - OneWeak - 1u)) return;
        }
        releaseLast();
    }
    void releaseWeak();

private:
    friend class Countable;
    static constexpr std::uint64_t OneWeak = std::uint64_t{1} << 32;
    static std::int32_t strongOf(std::uint64_t counts) noexcept {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(counts));
    }
    static std::int32_t weakOf(std::uint64_t counts) noexcept {
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(counts >> 32));
    }

    ~ControlBlock() = default;
    void releaseLast();
    bool lowerFromOne();
    void destroyObject();
    void objectDestroyed();

    std::atomic<std::uint64_t> _counts{1 + 2 * OneWeak};
    std::atomic<Countable*> _object;
    const ReferenceEvents& _events;
    const std::uint64_t _serial;
    std::atomic<std::uint8_t> _firstReferenceState{0};
};

/// Root of all counted objects; derive from ReferenceBase, not from this.
class KEEL_EXPORT Countable {
public:
    /// Called when the last strong reference is about to go, on the thread that lets go. Making
    /// and keeping a StrongPtr here saves the object; the hook then runs again later. Must not
    /// throw, as destructors release.
    virtual void beforeLastRelease();
    virtual ~Countable();

    Countable(const Countable&) = delete;
    Countable& operator=(const Countable&) = delete;

    ControlBlock& controlBlock() const noexcept { return _block; }

protected:
    Countable(const ReferenceEvents& events, std::uint64_t serial)
        : _block(*new ControlBlock(*this, events, serial)) {}

private:
    ControlBlock& _block;
};

/// Base of a hierarchy of counted objects, at its root class T.
///
/// Hand a new object to a StrongPtr at once: that takes over its first count. An object on the
/// stack or in a constructor may give out weak pointers to itself, and these may be upgraded for a
/// while; only `StrongPtr(T*)` takes possession. A copy is a new object with counts of its own, an
/// assignment leaves the counts alone.
///
/// If T has `firstReference()`, it is called on the first strong pointer; if it has
/// `lastReference()`, it is called right before destruction, while virtual calls still work, and
/// must not throw.
template<class T>
class KEEL_EXPORT ReferenceBase : public Countable {
public:
    using ReferenceRoot = T;

    /// Position of this object among all objects with root T, in order of construction.
    std::uint64_t serialNumber() const noexcept { return controlBlock().serial(); }

    ReferenceBase& operator=(const ReferenceBase&) noexcept { return *this; }

protected:
    ReferenceBase() : Countable(referenceEvents(), _objects.fetch_add(1) + 1) {}
    ReferenceBase(const ReferenceBase&) : ReferenceBase() {}
    ~ReferenceBase() override = default;

private:
    static const ReferenceEvents& referenceEvents() noexcept {
        static constexpr ReferenceEvents events{first(), last()};
        return events;
    }
    static constexpr auto first() noexcept -> void (*)(Countable&) {
        if constexpr (requires(T & object) { object.firstReference(); }) {
            return [](Countable& object) { self(object).firstReference(); };
        } else {
            return nullptr;
        }
    }
    static constexpr auto last() noexcept -> void (*)(Countable&) {
        if constexpr (requires(T & object) { object.lastReference(); }) {
            return [](Countable& object) { self(object).lastReference(); };
        } else {
            return nullptr;
        }
    }
    static T& self(Countable& object) {
        return static_cast<T&>(static_cast<ReferenceBase<T>&>(object));
    }

    static inline std::atomic<std::uint64_t> _objects{0};
};

} // namespace Keel
