#pragma once
// Connection points that carry values, and who watches them; stands on ValuePool and VValue.

#include <sorrel/VCreationPreferences.hpp>
#include <sorrel/VValue.hpp>
#include <sorrel/ValuePool.hpp>

#include <keel/SpinLock.hpp>
#include <keel/WeakPtr.hpp>

#include <algorithm>
#include <atomic>
#include <map>
#include <mutex>
#include <string>
#include <typeinfo>
#include <vector>

namespace Mirk {

/// Somebody who wants to know when the value of a parameter changes.
class SORREL_EXPORT ValueNotifier : public Keel::ReferenceBase<ValueNotifier> {
public:
    ValueNotifier();
    ~ValueNotifier() override;

    /// Called on the thread that made the change, without any lock of this library. It may raise
    /// ages, set flags and wake threads; it must not throw, draw, request or wait, as whoever
    /// changes a value may hold the mutex of a pool or of an object, or be on its way out. `value`
    /// is null when the parameter itself has changed: its source has appeared or gone.
    virtual void touched(const ValueNotifierList& parameter, const VValuePtr& value,
                         const ValuePoolPtr& pool) = 0;
};

/// Who watches a parameter, and in which pools it has values.
class SORREL_EXPORT ValueNotifierList : public Keel::ReferenceBase<ValueNotifierList> {
public:
    ValueNotifierList();
    ~ValueNotifierList() override;

    /// Tells each watcher, and raises the age of the parameter, so that all who read it are due.
    virtual void touch() const;

    /// Watches from now on; a second time changes nothing. Kept weakly.
    void addNotifier(const Keel::WeakPtr<ValueNotifier>& watcher) const;
    void removeNotifier(const Keel::WeakPtr<ValueNotifier>& watcher) const;
    bool watches(const Keel::WeakPtr<ValueNotifier>& watcher) const;
    /// How many watchers are alive.
    std::size_t numberOfNotifiers() const;

    /// Notes that there is a value in this pool, for the pool to be cleared at the parameter's end.
    void addShadow(const Keel::WeakPtr<ValuePool>& pool) const;
    /// Notes all pools of another list as well.
    void copyShadows(const Keel::WeakPtr<ValueNotifierList>& other);
    /// The live pools that were noted.
    std::vector<ValuePoolPtr> shadows() const;

    /// Age of the parameter itself, apart from its values.
    Keel::Ageable::Age touchAge() const noexcept { return _touchAge.load(); }

protected:
    /// Makes the parameter itself the youngest of all.
    void raiseTouchAge() const { Keel::Ageable::stamp(_touchAge); }
    /// Tells each watcher once, but for `except` and those that watch `exceptList` too. Those that
    /// are added meanwhile are not told, those that are removed may be.
    void notify(const VValuePtr& value, const ValuePoolPtr& pool,
                const Keel::WeakPtr<ValueNotifier>& except,
                const ValueNotifierList* exceptList) const;

private:
    std::vector<Keel::WeakPtr<ValueNotifier>> copyNotifiers() const;

    mutable std::mutex _notifierMutex; // leaf
    mutable std::vector<Keel::WeakPtr<ValueNotifier>> _notifiers;
    mutable std::atomic<std::size_t> _notifierCount{0};
    mutable std::vector<Keel::WeakPtr<ValuePool>> _shadows;
    mutable std::atomic<Keel::Ageable::Age> _touchAge{Keel::Ageable::Ooooold};
};

/// Values by name.
class SORREL_EXPORT ValueMap {
public:
    /// The value of a name, or null. May be called from any thread, like all operations.
    VValuePtr getValue(const std::string& name) const;
    /// Replaces the value of a name; null removes it.
    void setValue(const std::string& name, const VValuePtr& value);
    std::vector<std::string> names() const;

private:
    mutable std::mutex _mutex; // leaf
    std::map<std::string, VValuePtr> _values;
};

/// A named connection point of one value type. It has a global value, and a local value for each
/// pool in which it was asked for one. An output is shared by all inputs that are connected to it.
/// Who holds a parameter does not keep the object alive that writes it.
///
/// All operations may be called from any thread.
class SORREL_EXPORT VParameter : public ValueNotifierList {
public:
    /// `value` becomes the global value.
    VParameter(const VValuePtr& value, const std::string& name,
               const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>& preferences);
    /// Takes its values out of the pools.
    ~VParameter() override;

    // The order of the virtual operations, behind touch(), is part of the interface.

    /// The global value itself, not a copy of what it was at first, so that a reader who falls back
    /// on it sees what was connected or set.
    virtual VValuePtr DefaultValue() const;
    /// The type of the values.
    virtual const std::type_info& valueType() const;
    /// Reads what a user typed, or wrote to a file, into a value of this parameter. Notifies
    /// nobody.
    virtual TextResult readText(VValueBase& value, const std::string& text) const;

    const std::string& Name() const noexcept { return _name; }
    const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>& preferences() const noexcept {
        return _preferences;
    }

    /// The value in that pool, or null. With `create` and no value there, a copy of the global
    /// value, of the same age, is placed in the pool first. `member` names a part of the value, as
    /// VValueBase::component does; "" is the whole. Null for a dead pool.
    VValuePtr getLocalValue(const ValuePoolPtr& pool, const std::string& member, bool create) const;
    /// Age of what getValue() gives in a pool, or of the parameter itself if that is younger. Makes
    /// no local value: a copy of the global one would have its age.
    Keel::Ageable::Age age(const ValuePoolPtr& pool) const;
    /// The same as long as values aren't local.
    Keel::Ageable::Age globalAge() const noexcept {
        const Keel::Ageable::Age age = touchAge();
        return _valueAge != nullptr ? std::max(age, _valueAge->age()) : age;
    }
    /// What is read in a pool: the local value if values are local, else, or if there is none (a
    /// null pool), the global one.
    VValuePtr getValue(const ValuePoolPtr& pool) const {
        if (holdsLocalValues()) {
            if (VValuePtr local = getLocalValue(pool, std::string(), true)) return local;
        }
        return DefaultValue();
    }
    /// The text of the value; `create` as in getLocalValue(). Empty if there is none.
    std::string getValueAsText(const ValuePoolPtr& pool, const std::string& member,
                               bool create) const;
    /// Reads a text into the value of a pool (null is the global value), and notifies a change.
    /// False if the text can't be read: nothing has changed then.
    bool setValueFromText(const ValuePoolPtr& pool, const std::string& text) const;

    /// Tells everyone who watches this parameter that `value` has changed in a pool (null:
    /// globally), except the ones given. Raises the age of the value first; the value must be
    /// stored already. If the value is global, the local copies are refreshed, those of members as
    /// well. `properties` go to the side values.
    void notifyValueChange(const VValuePtr& value, const ValuePoolPtr& pool,
                           const std::string& member = {},
                           const Keel::WeakPtr<ValueNotifier>& except = {},
                           const ValueNotifierList* exceptList = nullptr,
                           const ValueMap* properties = nullptr) const;

    /// Sets the copies of the global value in all pools to what that is now. Whether one was
    /// another before. Tells nobody: see notifyValueChange(), which does this as well.
    bool refreshCopies() const;

    /// Stores a named side value, such as "min", "max" or "help", and notifies if it is another
    /// value than before. Side values are not local; `pool` is told to the watchers.
    void setProperty(const std::string& name, const VValuePtr& value,
                     const Keel::WeakPtr<ValueNotifier>& except = {},
                     const ValueNotifierList* exceptList = nullptr,
                     const Keel::WeakPtr<ValuePool>& pool = {}) const;
    VValuePtr getProperty(const std::string& name) const { return _properties.getValue(name); }
    const ValueMap& properties() const noexcept { return _properties; }

    /// From now on values are local to each pool.
    void Localize() {
        _local.store(true);
        Keel::Ageable::noteChange();
    }
    bool holdsLocalValues() const noexcept { return _local.load(std::memory_order_relaxed); }

    /// The object that owns this output.
    void setSource(const Keel::WeakPtr<VSlotContainer, VManagedObjectBase>& source);
    /// Has no source any more, if it is this one. False if it is another.
    bool dropSource(const VSlotContainer& source);
    /// Null for an input's own parameter, if the object has gone, and as long as it isn't complete.
    VManagedObjectPtr source() const;
    Keel::StrongPtr<VSlotContainer, VManagedObjectBase> sourceContainer() const;
    /// Whether setSource() was given an object that lived then.
    bool hasSource() const noexcept { return _hasSource.load(std::memory_order_acquire); }
    /// The object that made this input.
    void setCreator(VSlotContainer* creator);
    VManagedObjectPtr creator() const;

    /// For the user interface, which sorts by it.
    std::atomic<std::int32_t> order{0};

private:
    VValuePtr originOf(const std::string& member) const;
    bool refresh(VValueBase& copy, const std::string& member) const;

    const Keel::Ageable* const _valueAge; // of _value; null without one
    std::atomic<bool> _local{false};
    std::atomic<bool> _hasSource{false};
    mutable Keel::SpinLock _ownerLock; // leaf: guards _source and _creator
    Keel::WeakPtr<VSlotContainer, VManagedObjectBase> _source;
    Keel::WeakPtr<VSlotContainer, VManagedObjectBase> _creator;
    const VValuePtr _value;
    const std::string _name;
    const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase> _preferences;
    mutable ValueMap _properties;
};

/// A parameter for values of type T.
template<class T>
class SORREL_EXPORT VValueParameter : public VParameter {
public:
    VValueParameter(
        const T& value, const std::string& name,
        const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>& preferences = {})
        : VParameter(VValuePtr(new VValue<T>(value)), name, preferences) {}

    /// As VInputValueTrait<T> says.
    TextResult readText(VValueBase& value, const std::string& text) const override {
        VTypedValueBase<T>* const typed = typedValue<T>(&value);
        if (typed == nullptr) return TextResult::Unreadable;
        T content{};
        typed->get(content);
        if (!VInputValueTrait<T>::setValueFromText(content, text)) return TextResult::Unreadable;
        return typed->set(content) ? TextResult::Changed : TextResult::Same;
    }
};

} // namespace Mirk
