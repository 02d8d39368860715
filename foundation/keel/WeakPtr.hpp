#pragma once
// The back-reference to a counted object; stands on DynPtr.

#include <keel/StrongPtr.hpp>

namespace Keel {

/// Refers to the block only: it tests true while the object is alive, and gives access to it as
/// long as the caller knows that somebody else keeps it alive. To be sure, make a StrongPtr of it.
template<class T, class B>
class WeakPtr : public DynPtr<T, B> {
    using Base = DynPtr<T, B>;

public:
    WeakPtr() noexcept = default;
    WeakPtr(const T* object) noexcept
        : WeakPtr(object != nullptr ? Base::blockOf(*object) : nullptr, const_cast<T*>(object)) {
        acquire();
    }
    WeakPtr(const T& object) noexcept : WeakPtr(&object) {}

    WeakPtr(const WeakPtr& other) noexcept : Base(other, *this) { acquire(); }
    WeakPtr(WeakPtr&& other) noexcept : WeakPtr(Base::blockOf(other), Base::viewOf(other)) {
        Base::empty(other);
    }
    WeakPtr(const StrongPtr<T, B>& other) noexcept
        : WeakPtr(Base::blockOf(other), Base::viewOf(other)) {
        acquire();
    }
    template<PointerUpcast<T> D>
    WeakPtr(const StrongPtr<D, B>& other) noexcept : WeakPtr(Base::blockOf(other), other.get()) {
        acquire();
    }
    template<PointerUpcast<T> D>
    WeakPtr(const WeakPtr<D, B>& other) noexcept : WeakPtr(Base::blockOf(other), nullptr) {
        acquire();
        this->_view = upcast(other);
    }
    /// To any class of the hierarchy, by dynamic_cast.
    template<class D>
    requires(!std::same_as<D, T> &&
             !PointerUpcast<D, T>) explicit WeakPtr(const DynPtr<D, B>& other) noexcept
        : WeakPtr(Base::blockOf(other), StrongPtr<T, B>(other).get()) {
        acquire();
    }
    ~WeakPtr() {
        if (this->_block != nullptr) this->_block->releaseWeak();
    }

    WeakPtr& operator=(const WeakPtr& other) noexcept {
        WeakPtr(other).swap(*this);
        return *this;
    }
    WeakPtr& operator=(WeakPtr&& other) noexcept {
        WeakPtr(std::move(other)).swap(*this);
        return *this;
    }

    void swap(WeakPtr& other) noexcept { Base::swapWith(other); }

private:
    WeakPtr(ControlBlock* block, T* view) noexcept : Base(block, view) {}

    void acquire() noexcept {
        if (this->_block != nullptr) this->_block->acquireWeak();
    }
    template<class D>
    static T* upcast(const WeakPtr<D, B>& other) noexcept {
        if constexpr (VirtualUpcast<D, T>) {
            // A virtual base is found through the object, which must live for that.
            return StrongPtr<T, B>(other).get();
        } else {
            return Base::viewOf(other);
        }
    }
};

} // namespace Keel
