#pragma once
// Typed values; stands on VValueBase and the traits of value types.

#include <sorrel/VValueBase.hpp>
#include <sorrel/VValueTrait.hpp>
#include <sorrel/valueTraits.hpp>

#include <atomic>
#include <mutex>
#include <type_traits>
#include <utility>

namespace Mirk {

/// Access to a value of type T, wherever it is held.
template<class T>
class SORREL_EXPORT VTypedValueBase : public VValueBase {
public:
    using VValueBase::VValueBase;

    // The order of the virtual operations, behind those of VValueBase, is part of the interface.

    virtual void get(T& target) const = 0;
    /// Returns whether this was a change; what is none leaves the value as it was.
    virtual bool set(const T& value) = 0;

    const std::type_info& type() const final { return typeid(T); }
};

/// The value as VTypedValueBase<T>, or null if it is null or of another type. Never keeps the value
/// alive.
template<class T>
VTypedValueBase<T>* typedValue(VValueBase* value) {
    if (value == nullptr || value->type() != typeid(T)) return nullptr;
    return static_cast<VTypedValueBase<T>*>(value);
}
template<class T>
const VTypedValueBase<T>* typedValue(const VValueBase* value) {
    return typedValue<T>(const_cast<VValueBase*>(value));
}

/// What holds the T of a VValue: its operations may be called from any thread. Nothing but copies
/// of T are made with the lock held: what is replaced dies outside of it, as an object in there
/// may come back here when it dies.
template<class T>
class ValueStorage {
public:
    explicit ValueStorage(const T& value) : _value(value) {}

    T read() const {
        const std::lock_guard lock(_mutex);
        return _value;
    }
    bool write(const T& value) {
        T replacement(value);
        const std::lock_guard lock(_mutex);
        if constexpr (ComparableValue<T>) {
            if (!VValueCompareTrait<T>::isDifferent(_value, value)) return false;
        }
        // By move, not by an exchange that finds a swap of its own: T may be any class.
        T old(std::move(_value));
        _value = std::move(replacement);
        replacement = std::move(old);
        return true;
    }

private:
    mutable std::mutex _mutex; // leaf
    T _value;
};

/// A type that the processor reads and writes in one piece needs no lock. Of one that is aligned by
/// its parts, such as two floats, not all compilers know that.
template<class T>
concept AtomicValue = std::is_trivially_copyable_v<T> && alignof(T) == sizeof(T) &&
                      (sizeof(T) == 1 || sizeof(T) == 2 || sizeof(T) == 4 || sizeof(T) == 8);

template<AtomicValue T>
class ValueStorage<T> {
public:
    explicit ValueStorage(const T& value) : _value(value) {}

    T read() const { return _value.load(); }
    bool write(const T& value) {
        if constexpr (ComparableValue<T>) {
            T old = _value.load();
            do {
                if (!VValueCompareTrait<T>::isDifferent(old, value)) return false;
            } while (!_value.compare_exchange_weak(old, value));
        } else {
            _value.store(value);
        }
        return true;
    }

private:
    std::atomic<T> _value;
};

/// Holds a T. Its age is Ooooold until the first change is notified.
template<class T>
class SORREL_EXPORT VValue : public VTypedValueBase<T>, public Keel::Ageable {
public:
    explicit VValue(const T& value) : _storage(value) {}
    VValue(const VValue& other)
        : VTypedValueBase<T>(other), Keel::Ageable(other), _storage(other._storage.read()) {}
    ~VValue() override = default;

    VValuePtr clone() const override { return VValuePtr(new VValue(*this)); }
    std::string text() const override { return VValueTrait<T>::Text(_storage.read()); }
    TextResult setText(const std::string& text) override {
        T value(_storage.read());
        if (!VValueTrait<T>::setValueFromText(value, text)) return TextResult::Unreadable;
        return set(value) ? TextResult::Changed : TextResult::Same;
    }
    bool assign(const VValueBase& other) override {
        const VTypedValueBase<T>* const source = typedValue<T>(&other);
        if (source == nullptr) return false;
        T value(_storage.read());
        source->get(value);
        return set(value);
    }
    const Keel::Ageable& ageable() const override { return *this; }
    Keel::Ageable& ageable() override { return *this; }

    void get(T& target) const override { target = _storage.read(); }
    bool set(const T& value) override { return _storage.write(value); }

private:
    ValueStorage<T> _storage;
};

} // namespace Mirk
