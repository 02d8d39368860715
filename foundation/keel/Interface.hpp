#pragma once
// Interfaces that are added to objects at run time; stands on the counted pointers.

#include <keel/WeakPtr.hpp>

#include <memory>
#include <mutex>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Keel {

/// What a walk over the interfaces of an object hands to each; derive for a purpose.
class KEEL_EXPORT InterfaceIterationParameter : public ReferenceBase<InterfaceIterationParameter> {
public:
    ~InterfaceIterationParameter() override;
};

/// One interface in the side table of an object. It dies with the object, unless somebody holds it:
/// its destructor is therefore a way of learning that the object has gone.
class KEEL_EXPORT InterfaceBase : public ReferenceBase<InterfaceBase> {
public:
    InterfaceBase();
    InterfaceBase(const InterfaceBase&);
    InterfaceBase& operator=(const InterfaceBase&) = default;
    ~InterfaceBase() override;

    /// The key under which the interface is found.
    virtual const std::type_info& type() const = 0;
    /// Visits of a walk over the interfaces of `holder`; false ends the walk. By default they do
    /// nothing and return true.
    virtual bool apply_const(const Intercube& holder,
                             const StrongPtr<InterfaceIterationParameter>& parameter);
    virtual bool apply(Intercube& holder, const StrongPtr<InterfaceIterationParameter>& parameter);
};

/// Base of an interface T, with T as its key.
template<class T>
class KEEL_EXPORT Interface : public InterfaceBase {
public:
    const std::type_info& type() const override { return typeid(T); }
};

/// The side table: at most one interface of each type. Thread-safe. A copy of the holder starts
/// with an empty table, an assignment leaves the table alone. From its destructor on the table is
/// empty and takes no more.
class KEEL_EXPORT Intercube {
public:
    Intercube() noexcept;
    Intercube(const Intercube&) noexcept;
    Intercube& operator=(const Intercube&) noexcept { return *this; }
    virtual ~Intercube();

    /// The interface of exactly this type, or an empty pointer.
    StrongPtr<InterfaceBase> findInterface(const std::type_info& type) const;
    template<class T>
    StrongPtr<T, InterfaceBase> findInterface() const {
        return StrongPtr<T, InterfaceBase>(findInterface(typeid(T)));
    }
    /// Adds an interface, in place of one of the same type if there is one. An empty pointer is
    /// ignored. Const, as interfaces are no part of the object's own state.
    void addInterface(const StrongPtr<InterfaceBase>& interface) const;
    /// The interface of type T; if there is none, what `factory` makes is added, and of several
    /// threads that ask at once all get the same one.
    template<class T, class Factory>
    StrongPtr<T, InterfaceBase> provideInterface(const Factory& factory) const {
        if (StrongPtr<T, InterfaceBase> found = findInterface<T>()) return found;
        return StrongPtr<T, InterfaceBase>(addIfMissing(factory()));
    }
    /// Calls InterfaceBase::apply_const (or apply) for each interface, in the order in which they
    /// were added, without lock. Returns false if one of them ended the walk.
    bool iterateInterfaces(const StrongPtr<InterfaceIterationParameter>& parameter) const;
    bool iterateInterfaces(const StrongPtr<InterfaceIterationParameter>& parameter);

private:
    using Table = std::vector<StrongPtr<InterfaceBase>>;

    StrongPtr<InterfaceBase> addIfMissing(const StrongPtr<InterfaceBase>& interface) const;
    Table copyTable() const;
    StrongPtr<InterfaceBase>* find(const std::type_info& type) const;

    mutable std::mutex _mutex;
    mutable Table _interfaces;
    bool _closed = false;
};

static_assert(std::is_same_v<RootOf_t<InterfaceBase>, InterfaceBase::ReferenceRoot>);
static_assert(std::is_same_v<RootOf_t<InterfaceIterationParameter>,
                             InterfaceIterationParameter::ReferenceRoot>);

} // namespace Keel
