#pragma once
// Forward declarations of the object model; stands on those of keel and rookery.

#include <keel/fwd.hpp>
#include <rookery/fwd.hpp>
#include <sorrel/export.hpp>

namespace Mirk {

class TypedSlotCreator;
class VActionNotifier;
class VConnectable;
class VConnectionValidatorList;
class VContext;
class VCreationPreferences;
class VCreatorBase;
class VCreatorCategory;
class VInputCreatorBase;
class VManagedObject;
class VManagedObjectBase;
class VManagedObjectIterator;
class VNutrition;
class VObject;
class VObjectIterator;
class VOutputIterator;
class VParameter;
class VRequest;
class VSaveable;
class VSlot;
class VSlotContainer;
class VSlotSet;
class VStateCreatorBase;
class VValueBase;
class VValueCreator;
class ValueCacheable;
class ValueMap;
class ValueNotifier;
class ValueNotifierList;
class ValuePool;
class ValuePoolProvider;

template<class T>
class SORREL_EXPORT TypedSlot;
template<class T>
class SORREL_EXPORT TypedValueCreator;
template<class T>
class SORREL_EXPORT VManagedDomainObject;
template<class T>
class SORREL_EXPORT VTypedValueBase;
template<class T>
class SORREL_EXPORT VValue;
template<class T>
class SORREL_EXPORT VValueParameter;

} // namespace Mirk

template<>
struct Keel::RootOf<Mirk::TypedSlotCreator> {
    using type = Mirk::TypedSlotCreator;
};
template<>
struct Keel::RootOf<Mirk::VActionNotifier> {
    using type = Mirk::VActionNotifier;
};
template<>
struct Keel::RootOf<Mirk::VCreationPreferences> {
    using type = Keel::InterfaceBase;
};
template<>
struct Keel::RootOf<Mirk::VCreatorBase> {
    using type = Mirk::VCreatorBase;
};
template<>
struct Keel::RootOf<Mirk::VInputCreatorBase> {
    using type = Mirk::VCreatorBase;
};
template<>
struct Keel::RootOf<Mirk::VManagedObject> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VManagedObjectBase> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VObject> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VParameter> {
    using type = Mirk::ValueNotifierList;
};
template<class T>
struct Keel::RootOf<Mirk::VValueParameter<T>> {
    using type = Mirk::ValueNotifierList;
};
template<>
struct Keel::RootOf<Mirk::VSlot> {
    using type = Mirk::VSlot;
};
template<>
struct Keel::RootOf<Mirk::VSlotContainer> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::VValueBase> {
    using type = Mirk::VValueBase;
};
template<class T>
struct Keel::RootOf<Mirk::VTypedValueBase<T>> {
    using type = Mirk::VValueBase;
};
template<class T>
struct Keel::RootOf<Mirk::VValue<T>> {
    using type = Mirk::VValueBase;
};
template<>
struct Keel::RootOf<Mirk::VValueCreator> {
    using type = Mirk::VValueCreator;
};
template<class T>
struct Keel::RootOf<Mirk::TypedValueCreator<T>> {
    using type = Mirk::VValueCreator;
};
template<>
struct Keel::RootOf<Mirk::ValueNotifier> {
    using type = Mirk::ValueNotifier;
};
template<>
struct Keel::RootOf<Mirk::ValueNotifierList> {
    using type = Mirk::ValueNotifierList;
};
template<>
struct Keel::RootOf<Mirk::ValuePool> {
    using type = Mirk::ValuePool;
};

namespace Mirk {

using VManagedObjectPtr = Keel::StrongPtr<VManagedObjectBase, VManagedObjectBase>;
using VObjectPtr = Keel::StrongPtr<VObject, VManagedObjectBase>;
using VParameterPtr = Keel::StrongPtr<VParameter, ValueNotifierList>;
using VSlotPtr = Keel::StrongPtr<VSlot, VSlot>;
using VValuePtr = Keel::StrongPtr<VValueBase, VValueBase>;
using ValuePoolPtr = Keel::StrongPtr<ValuePool, ValuePool>;

} // namespace Mirk
