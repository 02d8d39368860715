#include <keel/ReferenceBase.hpp>

#include <keel/SpeakPtr.hpp>

#include <typeinfo>

namespace Keel {

void ControlBlock::adopt() {
    std::uint8_t untaken = 0;
    if (!_firstReferenceState.compare_exchange_strong(untaken, Taken)) {
        acquire();
        return;
    }
    Countable* const taken = object();
    if (taken != nullptr && _events.first != nullptr) _events.first(*taken);
}

void ControlBlock::releaseWeak() {
    const std::int32_t before = weakOf(_counts.fetch_sub(OneWeak));
    if (before <= 0) {
        SpeakPtr::theSpeaker().InvalidWeakPtr(typeid(ControlBlock), typeid(ControlBlock),
                                              typeid(void), typeid(void), strong(), before - 1,
                                              this, object(), static_cast<long long>(_serial));
        return;
    }
    if (before == 1) delete this;
}

void ControlBlock::releaseLast() {
    for (;;) {
        std::uint64_t counts = _counts.load();
        if (strongOf(counts) <= 0) break;
        if (strongOf(counts) == 1 && lowerFromOne()) {
            destroyObject();
            break;
        }
        counts = _counts.load();
        while (strongOf(counts) > 1) {
            if (_counts.compare_exchange_weak(counts, counts - OneWeak - 1u)) return;
        }
    }
    releaseWeak();
}

/// Runs the hook and lowers `strong` from 1 to 0. False if the count changed meanwhile.
bool ControlBlock::lowerFromOne() {
    object()->beforeLastRelease();
    std::uint64_t counts = _counts.load();
    while (strongOf(counts) == 1) {
        if (_counts.compare_exchange_weak(counts, counts - 1u)) return true;
    }
    const Countable& saved = *object();
    SpeakPtr::theSpeaker().WarningUnctionChange(strongOf(counts), weakOf(counts), typeid(saved));
    return false;
}

void ControlBlock::destroyObject() {
    // Nobody raises a `strong` of 0, so adding to the low half cannot carry into `weak`.
    _counts.fetch_add(static_cast<std::uint32_t>(StrongGoing));
    Countable* const going = _object.exchange(nullptr);
    if (_events.last != nullptr) _events.last(*going);
    delete going;
}

/// The object's own farewell, from its root destructor.
void ControlBlock::objectDestroyed() {
    std::uint64_t counts = _counts.load();
    while (strongOf(counts) >= 0) {
        const std::uint64_t marked =
            (counts & ~std::uint64_t{0xffffffffu}) | static_cast<std::uint32_t>(StrongUnreleased);
        if (_counts.compare_exchange_weak(counts, marked)) break;
    }
    _object.store(nullptr);
    // Without a first pointer nobody else gives back the place that was kept for it.
    if (firstReferenceState() != Taken) releaseWeak();
    releaseWeak();
}

void Countable::beforeLastRelease() {}

Countable::~Countable() {
    _block.objectDestroyed();
}

} // namespace Keel
