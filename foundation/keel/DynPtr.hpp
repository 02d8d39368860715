#pragma once
// What strong and weak pointers have in common: block, typed view, comparison, conversion.

#include <keel/ReferenceBase.hpp>
#include <keel/SpeakPtr.hpp>

#include <compare>
#include <concepts>
#include <cstddef>
#include <functional>
#include <type_traits>
#include <typeinfo>
#include <utility>

namespace Keel {

/// Counter of all pointer objects ever made. A statistic: it is raised without synchronisation,
/// so that threads may lose counts, and it has a cache line of its own.
struct alignas(64) PointerCounter {
    std::atomic<std::uint64_t> value{0};
    std::uint64_t raise() noexcept {
        const std::uint64_t next = value.load(std::memory_order_relaxed) + 1;
        value.store(next, std::memory_order_relaxed);
        return next;
    }
};
extern KEEL_EXPORT PointerCounter PointerID;

/// Block and identity of a pointer, without type.
class KEEL_EXPORT PointerBase {
public:
    /// Value of PointerID when this pointer object was made; for diagnostics.
    std::uint64_t pointerID() const noexcept { return _pointerID; }
    /// Null for an empty pointer. Valid as long as this pointer refers to it.
    const ControlBlock* controlBlock() const noexcept { return _block; }

    /// Pointers are equal if they refer to the same object, or did so while it lived: the block
    /// decides, whatever the kind and type of the pointers. An empty pointer, a dead one and one
    /// whose conversion failed are therefore different; ask for emptiness with bool.
    friend bool operator==(const PointerBase& a, const PointerBase& b) noexcept {
        return a._block == b._block;
    }
    friend std::strong_ordering operator<=>(const PointerBase& a, const PointerBase& b) noexcept {
        return std::compare_three_way{}(a._block, b._block);
    }
    friend bool operator==(const PointerBase&, std::nullptr_t) = delete;

protected:
    PointerBase() noexcept : _pointerID(PointerID.raise()) {}
    explicit PointerBase(ControlBlock* block) noexcept
        : _block(block), _pointerID(PointerID.raise()) {}
    PointerBase(const PointerBase&) = delete;
    PointerBase& operator=(const PointerBase&) = delete;
    ~PointerBase() = default;

    ControlBlock* _block = nullptr;

private:
    std::uint64_t _pointerID;
};

/// Conversion D* to T* that needs no look at the object. The answer is fixed at the first question
/// in a source file: include the full class D before pointers to it are converted.
template<class D, class T>
concept PointerUpcast = !std::same_as<D, T> && std::convertible_to<D*, T*>;

/// Upcast through a virtual base, which reads the object.
template<class D, class T>
concept VirtualUpcast = PointerUpcast<D, T> && !requires(T * base) {
    static_cast<D*>(base);
};

/// Common implementation of StrongPtr and WeakPtr to a T whose ReferenceBase stands at B.
///
/// A view that could not be converted is empty: the pointer then tests false, but keeps its
/// reference. Using a dead or empty pointer stops the process with a message. A pointer object is
/// as thread-safe as an int; the counts behind it are shared freely.
template<class T, class B>
class DynPtr : public PointerBase {
public:
    /// True if the object is alive and is a T.
    explicit operator bool() const noexcept { return _view != nullptr && _block->alive(); }
    T* operator->() const noexcept { return checked(); }
    T& operator*() const noexcept { return *checked(); }
    /// The object, or null if it is dead or is no T.
    T* get() const noexcept { return *this ? _view : nullptr; }

    /// Dynamic type of the object; typeid(std::nullptr_t) for a pointer without block,
    /// typeid(void) for a dead object.
    const std::type_info& dynamicType() const noexcept {
        if (_block == nullptr) return typeid(std::nullptr_t);
        const Countable* const object = _block->alive() ? _block->object() : nullptr;
        return object != nullptr ? typeid(*object) : typeid(void);
    }

protected:
    template<class, class>
    friend class DynPtr;

    DynPtr() noexcept = default;
    DynPtr(ControlBlock* block, T* view) noexcept : PointerBase(block), _view(view) {}
    /// Block and view of `other` for the copy constructor of `self`, which must not be the same
    /// object: that is reported, and gives an empty pointer.
    template<class Pointer>
    DynPtr(const Pointer& other, const Pointer& self) noexcept {
        if (&other == &self) [[unlikely]] {
            SpeakPtr::theSpeaker().SelfConstruction(typeid(Pointer), &self, nullptr);
            return;
        }
        _block = other._block;
        _view = other._view;
    }
    ~DynPtr() = default;

    template<class D>
    static ControlBlock* blockOf(const DynPtr<D, B>& pointer) noexcept {
        return pointer._block;
    }
    template<class D>
    static D* viewOf(const DynPtr<D, B>& pointer) noexcept {
        return pointer._view;
    }
    template<class D>
    static void empty(DynPtr<D, B>& pointer) noexcept {
        pointer._block = nullptr;
        pointer._view = nullptr;
    }
    static ControlBlock* blockOf(const T& object) noexcept {
        return &static_cast<const ReferenceBase<B>&>(object).controlBlock();
    }
    /// The object as a T by dynamic_cast, or null; the caller holds a strong count.
    static T* castFrom(const ControlBlock& block) noexcept {
        return dynamic_cast<T*>(block.object());
    }
    void swapWith(DynPtr& other) noexcept {
        std::swap(_block, other._block);
        std::swap(_view, other._view);
    }

    T* _view = nullptr;

private:
    T* checked() const noexcept {
        if (_view == nullptr || _block->strong() <= 0) [[unlikely]] {
            stopAtDeadPointer(typeid(T), _block, _block != nullptr ? _block->strong() : 0);
        }
        return _view;
    }
};

} // namespace Keel

template<class T, class B>
struct std::hash<Keel::StrongPtr<T, B>> {
    std::size_t operator()(const Keel::StrongPtr<T, B>& pointer) const noexcept {
        return std::hash<const void*>{}(pointer.controlBlock());
    }
};

template<class T, class B>
struct std::hash<Keel::WeakPtr<T, B>> {
    std::size_t operator()(const Keel::WeakPtr<T, B>& pointer) const noexcept {
        return std::hash<const void*>{}(pointer.controlBlock());
    }
};
