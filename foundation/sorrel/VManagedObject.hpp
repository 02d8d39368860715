#pragma once
// Objects that are found by type and name; stands on keel's pointers and interfaces.

#include <sorrel/fwd.hpp>

#include <keel/Interface.hpp>

#include <climits>
#include <string>
#include <typeinfo>

namespace Mirk {

/// The counted root of all objects of the shell. An object is known to nobody else before its first
/// StrongPtr: searches and walks pass over an object that is still being constructed.
class SORREL_EXPORT VManagedObjectBase : public Keel::ReferenceBase<VManagedObjectBase>,
                                         public Keel::Intercube {
public:
    VManagedObjectBase();
    ~VManagedObjectBase() override;

    /// The object is complete and known from now on. Called once, at the first StrongPtr.
    virtual void published();

    void firstReference() { published(); }
    /// Whether a StrongPtr has taken the object.
    bool isPublished() const noexcept {
        return controlBlock().firstReferenceState() == Keel::ControlBlock::Taken;
    }
};

/// Visitor of objects.
class SORREL_EXPORT VManagedObjectIterator {
public:
    virtual ~VManagedObjectIterator();
    /// False ends the walk. No lock is held.
    virtual bool apply(const VManagedObjectPtr& object) = 0;
};

/// An object with a name, by which it is found among those of its root type.
///
/// The register refers to objects weakly: an object lives as long as somebody holds it, which for
/// what a user has made is the shell (see VActionNotifier).
class SORREL_EXPORT VManagedObject : public virtual VManagedObjectBase {
public:
    /// `rootType` is the type under which objects of this kind are found, such as typeid(VObject).
    VManagedObject(const std::type_info& rootType, const std::string& name, int p);
    /// The object is known no more.
    ~VManagedObject() override;

    /// The name as it was given, which other objects may have as well.
    const std::string& BaseName() const noexcept { return name; }
    /// The name by which find() finds this object alone: the base name, or, while that is taken,
    /// the base name with "#2", "#3" and so on.
    const std::string& Name() const noexcept { return _uniqueName; }

    /// The object of that root type with that Name(), or null.
    static VManagedObjectPtr find(const std::type_info& rootType, const std::string& name);
    /// Visits the objects of that root type whose priority is in the range, both ends included, in
    /// ascending order of priority and then of construction. Returns how many were visited, the one
    /// that ended the walk included. Objects that come or go meanwhile may be visited or not.
    static std::size_t traverse(const std::type_info& rootType, VManagedObjectIterator& iterator,
                                int first = INT_MIN, int last = INT_MAX);

    /// Visits the objects of all root types, in no order, until the visitor returns false.
    static void traverseAll(VManagedObjectIterator& iterator);

    const std::string name;
    /// Place in the order of walks; of what is drawn, the layer.
    const int priority;

private:
    const std::type_info& _rootType;
    std::string _uniqueName;
};

/// Objects that are found under the type T.
template<class T>
class SORREL_EXPORT VManagedDomainObject : public VManagedObject {
public:
    VManagedDomainObject(const std::string& objectName, int p)
        : VManagedObject(typeid(T), objectName, p) {}
};

} // namespace Mirk
