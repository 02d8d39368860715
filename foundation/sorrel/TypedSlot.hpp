#pragma once
// Inputs of a value type; stands on VObject and the creators of types.

#include <sorrel/TypedSlotCreator.hpp>
#include <sorrel/VContext.hpp>
#include <sorrel/VObject.hpp>

#include <string>
#include <utility>

namespace Mirk {

/// Reads what a slot gives in a pool. The target is unchanged, and the result false, if there is no
/// live parameter or its value is of another type.
template<class T>
bool readSlot(const VSlotPtr& slot, const ValuePoolPtr& pool, T& target) {
    if (!slot) return false;
    const VValuePtr value = slot->getValueBase(pool);
    const VTypedValueBase<T>* const typed = typedValue<T>(value.get());
    if (typed == nullptr) return false;
    typed->get(target);
    return true;
}

/// Writes the value of a parameter in a pool, and notifies if that is a change. A null pool writes
/// the global value, and with it the copies in all pools; so does any pool as long as values aren't
/// local, and watchers are told of no pool then. False if there is no value of this type.
template<class T>
bool writeParameter(const VParameterPtr& parameter, const ValuePoolPtr& pool, const T& value,
                    const Keel::WeakPtr<ValueNotifier>& except = {}) {
    if (!parameter) return false;
    const VValuePtr place = pool ? parameter->getValue(pool) : parameter->DefaultValue();
    VTypedValueBase<T>* const typed = typedValue<T>(place.get());
    if (typed == nullptr) return false;
    // The copies in pools may differ from a global value that is what it was.
    if (typed->set(value) || (!pool && parameter->refreshCopies())) {
        const bool isGlobal = place == parameter->DefaultValue();
        parameter->notifyValueChange(place, isGlobal ? ValuePoolPtr() : pool, {}, except);
    }
    return true;
}
template<class T>
bool writeSlot(const VSlotPtr& slot, const ValuePoolPtr& pool, const T& value,
               const Keel::WeakPtr<ValueNotifier>& except = {}) {
    return slot && writeParameter(slot->parameter(), pool, value, except);
}

/// An input of type T, as a member of its object: the pointer to its slot, with typed access.
///
/// The type needs a registered creator (ValueTypeRegistration); a slot of another type works, but
/// warns when it is made, read and destroyed, as it can be neither saved nor made from outside.
template<class T>
class SORREL_EXPORT TypedSlot : public VSlotPtr {
public:
    class SlotCreator;

    /// Adds the input `name` to `that`.
    TypedSlot(VObject* that, const std::string& name, const T& initialValue, int expertLevel)
        : VSlotPtr(VSlotGlobals::addParameter(
              that, name, expertLevel, VParameterPtr(new VValueParameter<T>(initialValue, name)),
              false)) {
        ++InternalTypeCreatorAccessory;
        if (!VSlotGlobals::hasCreator(typeid(T))) {
            _hasCreator = false;
            VSlotGlobals::assertionFail(that, name, typeid(T));
        }
    }
    TypedSlot(const TypedSlot& other) : VSlotPtr(other), _hasCreator(other._hasCreator) {
        ++InternalTypeCreatorAccessory;
    }
    TypedSlot& operator=(const TypedSlot&) = default;
    ~TypedSlot() {
        --InternalTypeCreatorAccessory;
        if (!VSlotGlobals::hasCreator(typeid(T))) VSlotGlobals::reportMissingCreator();
    }

    /// Reads the value in a pool; see readSlot.
    bool get(const ValuePoolPtr& pool, T& target) const {
        if (!_hasCreator) VSlotGlobals::reportMissingCreator();
        return readSlot<T>(*this, pool, target);
    }
    bool get(const VRequest& request, T& target) const { return get(request.pool, target); }
    bool get(const VContext& context, T& target) const { return get(context.pool, target); }
    /// The value in a pool, or `fallback` if nothing can be read.
    T value(const ValuePoolPtr& pool, T fallback = T()) const {
        get(pool, fallback);
        return fallback;
    }
    /// Writes the value in a pool and notifies; see writeSlot.
    bool set(const ValuePoolPtr& pool, const T& value) const {
        return writeSlot<T>(*this, pool, value);
    }

    /// Help for the user, shown beside the input.
    TypedSlot& setHelp(const std::string& text) {
        setProperty("help", text);
        return *this;
    }
    /// A side value of the input, such as "min" or "max".
    template<class Property>
    TypedSlot& setProperty(const std::string& property, const Property& value) {
        if (const VParameterPtr parameter = (*this)->parameter()) {
            parameter->setProperty(property, VValuePtr(new VValue<Property>(value)));
        }
        return *this;
    }

private:
    bool _hasCreator = true;
};

template<class T>
class TypedSlot<T>::SlotCreator : public TypedSlotCreator {
public:
    VParameterPtr createParameter(const std::string& name) const override {
        T value{};
        VInputValueTrait<T>::init(value);
        return VParameterPtr(new VValueParameter<T>(value, name));
    }
    const std::type_info& type() const override { return typeid(T); }
};

template<class T>
class ValueTypeRegistration {
public:
    explicit ValueTypeRegistration(const std::string& typeName)
        : _typeName(typeName),
          _values(new TypedValueCreator<T>),
          _slots(new typename TypedSlot<T>::SlotCreator) {
        VValueCreator::registerCreator(Keel::WeakPtr<VValueCreator>(_values), _typeName);
        registerTypedSlotCreator(typeid(T), Keel::WeakPtr<TypedSlotCreator>(_slots), _typeName);
    }
    ValueTypeRegistration(const ValueTypeRegistration&) = delete;
    ValueTypeRegistration& operator=(const ValueTypeRegistration&) = delete;
    ~ValueTypeRegistration() {
        unregisterTypedSlotCreator(typeid(T), Keel::WeakPtr<TypedSlotCreator>(_slots), _typeName);
        VValueCreator::unregisterCreator(Keel::WeakPtr<VValueCreator>(_values));
    }

private:
    const std::string _typeName;
    const Keel::StrongPtr<VValueCreator> _values;
    const Keel::StrongPtr<TypedSlotCreator> _slots;
};

/// An output of type T, as a member of its object.
template<class T>
class VOutput : public VParameterPtr {
public:
    VOutput(VSlotContainer* that, const std::string& name, const T& initialValue)
        : VParameterPtr(new VValueParameter<T>(initialValue, name)) {
        that->registerOutput(*this, name);
    }

    /// Writes the value in a pool and notifies; see writeParameter.
    bool set(const ValuePoolPtr& pool, const T& value) const {
        return writeParameter<T>(*this, pool, value);
    }
    bool get(const ValuePoolPtr& pool, T& target) const {
        const VValuePtr held = (*this)->getValue(pool);
        const VTypedValueBase<T>* const typed = typedValue<T>(held.get());
        if (typed == nullptr) return false;
        typed->get(target);
        return true;
    }
};

/// An output of type T that serves every object of type R which has an input for it: it does not
/// wait to be connected. The owner calls addThisToAllTypeRequestingObjects() when it has become the
/// output's source; an R that is made later connects the outputs that are there by itself.
template<class T, class R>
class VPolyOutput : public VOutput<T> {
public:
    using VOutput<T>::VOutput;

    /// Connects this output to every complete object of type R. An R that has it already is
    /// counted, and connected once only. Each gets an input of its own, under this parameter's
    /// name. Returns how many objects of type R there are.
    int addThisToAllTypeRequestingObjects(int expertLevel) const {
        Joiner joiner(*this, expertLevel);
        VManagedObject::traverse(typeid(VObject), joiner);
        return joiner.count;
    }

private:
    class Joiner : public VManagedObjectIterator {
    public:
        Joiner(const VParameterPtr& output, int expertLevel)
            : _output(output), _expertLevel(expertLevel) {}

        bool apply(const VManagedObjectPtr& object) override {
            const Keel::StrongPtr<R, VManagedObjectBase> requesting(object);
            if (!requesting) return true;
            ++count;
            if (!requesting->CreatedFilteredConnection(_output)) {
                requesting->addParameter(_output->Name(), _expertLevel, _output, true);
            }
            return true;
        }

        int count = 0;

    private:
        const VParameterPtr& _output;
        const int _expertLevel;
    };
};

} // namespace Mirk
