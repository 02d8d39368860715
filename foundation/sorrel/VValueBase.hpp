#pragma once
// The counted base of the values that slots hold; stands on keel's pointers and ages.

#include <sorrel/fwd.hpp>

#include <keel/Ageable.hpp>
#include <keel/Interface.hpp>

#include <mutex>
#include <string>
#include <typeinfo>

namespace Mirk {

/// What became of a text that was given to a value.
enum class TextResult {
    /// The text can't be read as such a value, which is unchanged.
    Unreadable,
    /// The value was that already.
    Same,
    Changed
};

/// A value of some type, shared by those who read it. All operations may be called from any thread.
class SORREL_EXPORT VValueBase : public Keel::ReferenceBase<VValueBase> {
public:
    VValueBase();
    /// Copies neither source nor container: the copy belongs to nobody yet.
    VValueBase(const VValueBase&);
    ~VValueBase() override;

    // The order of the virtual operations is part of the interface.

    /// The T of VTypedValueBase<T>.
    virtual const std::type_info& type() const = 0;
    /// A value of its own with the same content and age.
    virtual VValuePtr clone() const = 0;
    virtual std::string text() const = 0;
    virtual TextResult setText(const std::string& text) = 0;
    /// Takes over the content of a value of the same type. Returns whether this is a change;
    /// another type is none.
    virtual bool assign(const VValueBase& other) = 0;
    /// A part of the value by name, such as "x" of a point; null, the default, if there is none.
    virtual VValuePtr component(const std::string& name) const;
    /// An interface that stands for the held object, or null, the default.
    virtual Keel::StrongPtr<Keel::InterfaceBase> getInterface() const;
    /// Age of the content.
    virtual const Keel::Ageable& ageable() const = 0;
    virtual Keel::Ageable& ageable() = 0;

    /// The object that writes this value.
    void setSource(const Keel::WeakPtr<VManagedObject, VManagedObjectBase>& source);
    Keel::WeakPtr<VManagedObject, VManagedObjectBase> source() const;
    /// The value that this is a component of.
    void setContainerValue(const Keel::WeakPtr<VValueBase>& container);
    Keel::WeakPtr<VValueBase> containerValue() const;

private:
    mutable std::mutex _mutex; // leaf: guards what is below
    Keel::WeakPtr<VManagedObject, VManagedObjectBase> _source;
    Keel::WeakPtr<VValueBase> _container;
};

} // namespace Mirk
