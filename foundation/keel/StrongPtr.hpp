#pragma once
// The owning pointer to a counted object; stands on DynPtr.

#include <keel/DynPtr.hpp>

namespace Keel {

/// Keeps its object alive. Copying raises both counts, unless the object is dead: then the copy is
/// dead as well and refers to the block only.
///
/// Derived to base converts by itself; base to derived, or across, is explicit and by
/// dynamic_cast: if that fails, the pointer still keeps the object, but tests false.
template<class T, class B>
class StrongPtr : public DynPtr<T, B> {
    using Base = DynPtr<T, B>;

public:
    StrongPtr() noexcept = default;

    /// Takes possession of a new object and runs its deferred initialisation; a pointer to an
    /// object that has an owner shares it. If the initialisation throws, the object is destroyed.
    /// Not for `this` in a constructor, nor for an object on the stack: it would be deleted. Null
    /// gives an empty pointer.
    explicit StrongPtr(const T* object)
        : StrongPtr(object != nullptr ? Base::blockOf(*object) : nullptr, const_cast<T*>(object)) {
        if (object != nullptr) this->_block->adopt();
    }
    /// Shares an object that has an owner; never takes possession, so that `*this` is fine in a
    /// constructor.
    explicit StrongPtr(const T& object) noexcept
        : StrongPtr(Base::blockOf(object), const_cast<T*>(&object)) {
        this->_block->acquire();
    }

    StrongPtr(const StrongPtr& other) noexcept : Base(other, *this) {
        if (this->_block != nullptr) this->_block->acquire();
    }
    StrongPtr(StrongPtr&& other) noexcept : StrongPtr(Base::blockOf(other), Base::viewOf(other)) {
        Base::empty(other);
    }
    template<PointerUpcast<T> D>
    StrongPtr(const StrongPtr<D, B>& other) noexcept : StrongPtr(Base::blockOf(other), nullptr) {
        if (this->_block != nullptr && this->_block->acquire()) this->_view = Base::viewOf(other);
    }
    template<PointerUpcast<T> D>
    StrongPtr(StrongPtr<D, B>&& other) noexcept : StrongPtr(Base::blockOf(other), other.get()) {
        Base::empty(other);
    }
    /// From weak to strong, of the same class or a base of it.
    template<class D>
    requires(std::same_as<D, T> ||
             PointerUpcast<D, T>) explicit StrongPtr(const WeakPtr<D, B>& other) noexcept
        : StrongPtr(Base::blockOf(other), nullptr) {
        if (this->_block != nullptr && this->_block->acquire()) this->_view = Base::viewOf(other);
    }
    /// To any class of the hierarchy, by dynamic_cast.
    template<class D>
    requires(!std::same_as<D, T> &&
             !PointerUpcast<D, T>) explicit StrongPtr(const DynPtr<D, B>& other) noexcept
        : StrongPtr(Base::blockOf(other), nullptr) {
        if (this->_block != nullptr && this->_block->acquire()) {
            this->_view = Base::castFrom(*this->_block);
        }
    }
    ~StrongPtr() {
        if (this->_block != nullptr) this->_block->release();
    }

    // The new reference is taken before the old one goes, as the old object may own the new one.
    StrongPtr& operator=(const StrongPtr& other) noexcept {
        StrongPtr(other).swap(*this);
        return *this;
    }
    StrongPtr& operator=(StrongPtr&& other) noexcept {
        StrongPtr(std::move(other)).swap(*this);
        return *this;
    }

    void swap(StrongPtr& other) noexcept { Base::swapWith(other); }

private:
    StrongPtr(ControlBlock* block, T* view) noexcept : Base(block, view) {}
};

/// A new object in its first strong pointer.
template<class T, class... Arguments>
StrongPtr<T> make(Arguments&&... arguments) {
    return StrongPtr<T>(new T(std::forward<Arguments>(arguments)...));
}

} // namespace Keel
