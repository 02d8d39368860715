#pragma once
// The value types that are known by name, and makers of their values and parameters; stands on
// VParameter.

#include <sorrel/VParameter.hpp>
#include <sorrel/VSlot.hpp>

#include <atomic>
#include <string>
#include <typeinfo>
#include <vector>

namespace Mirk {

/// Makes values of a type.
class SORREL_EXPORT VValueCreator : public Keel::ReferenceBase<VValueCreator> {
public:
    VValueCreator();
    ~VValueCreator() override;

    virtual VValuePtr create() const = 0;
    virtual const std::type_info& type() const = 0;

    /// Makes a creator known under the name of its type, such as "double". False, and nothing has
    /// changed, if there is a live one of that name. Held weakly.
    static bool registerCreator(const Keel::WeakPtr<VValueCreator>& creator,
                                const std::string& typeName);
    static void unregisterCreator(const Keel::WeakPtr<VValueCreator>& creator);
    /// The creator of a type's name, or null.
    static Keel::StrongPtr<VValueCreator> find(const std::string& typeName);
    /// The name under which a type is known, or "".
    static std::string typeName(const std::type_info& type);
    /// All names, in alphabetical order.
    static std::vector<std::string> typeNames();
};

/// Makes values of type T.
template<class T>
class SORREL_EXPORT TypedValueCreator : public VValueCreator {
public:
    VValuePtr create() const override {
        T value{};
        VInputValueTrait<T>::init(value);
        return VValuePtr(new VValue<T>(value));
    }
    const std::type_info& type() const override { return typeid(T); }
};

/// Makes parameters of a type. Slots of a type are usable as long as its creator is registered.
class SORREL_EXPORT TypedSlotCreator : public Keel::ReferenceBase<TypedSlotCreator> {
public:
    TypedSlotCreator();
    ~TypedSlotCreator() override;

    /// A parameter with the initial value of the type.
    virtual VParameterPtr createParameter(const std::string& name) const = 0;
    virtual const std::type_info& type() const = 0;

    /// The creator of a type, or null.
    static Keel::StrongPtr<TypedSlotCreator> find(const std::type_info& type);
};

/// Makes a creator known for a type, together with the name of the type. False, and nothing has
/// changed, if there is a live one for the type.
SORREL_EXPORT bool registerTypedSlotCreator(const std::type_info& type,
                                            const Keel::WeakPtr<TypedSlotCreator>& creator,
                                            const std::string& typeName);
SORREL_EXPORT bool unregisterTypedSlotCreator(const std::type_info& type,
                                              const Keel::WeakPtr<TypedSlotCreator>& creator,
                                              const std::string& typeName);

/// How many typed slots there are.
SORREL_EXPORT extern std::atomic<long> InternalTypeCreatorAccessory;

/// Where slots meet the objects that they belong to.
class SORREL_EXPORT VSlotGlobals {
public:
    /// VSlotContainer::addParameter, for the constructor of a slot.
    static VSlotPtr addParameter(VSlotContainer* container, const std::string& name,
                                 int expertLevel, const VParameterPtr& parameter, bool connected);
    /// Warns of a slot whose type has no creator.
    static void assertionFail(VSlotContainer* container, const std::string& name,
                              const std::type_info& type);
    /// Prints the message about a slot whose creators are gone or never were.
    static void reportMissingCreator();
    /// Whether the type has a creator. Says no, and touches nothing, when the process is ending and
    /// the table is gone.
    static bool hasCreator(const std::type_info& type) noexcept;
};

/// Registers a value type as long as this object lives: a static object of a library or module.
///
///     const ValueTypeRegistration<VTime> time("Time");
template<class T>
class ValueTypeRegistration;

} // namespace Mirk
