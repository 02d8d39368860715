#include <sorrel/VManagedObject.hpp>

#include <keel/WeakPtr.hpp>

#include <cstdint>
#include <map>
#include <mutex>
#include <typeindex>
#include <unordered_map>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

using WeakObject = Keel::WeakPtr<VManagedObjectBase>;

/// The objects of one root type.
struct Domain {
    /// By priority, then by order of entry.
    std::map<std::pair<int, std::uint64_t>, WeakObject> byPriority;
    std::unordered_map<std::string, std::pair<int, std::uint64_t>> byName;
    /// For each base name that was taken once: the last number given to it.
    std::unordered_map<std::string, unsigned> lastNumber;
};

/// Never destroyed, as objects may outlive the static objects of this library.
struct Register {
    std::mutex mutex; // leaf
    std::unordered_map<std::type_index, Domain> domains;
    std::uint64_t lastEntry = 0;
};

Register& theRegister() {
    static Register& instance = *new Register;
    return instance;
}

std::string uniqueName(Domain& domain, const std::string& name) {
    if (!domain.byName.contains(name)) return name;
    unsigned& number = domain.lastNumber[name];
    for (number = number < 2 ? 2 : number + 1;; ++number) {
        std::string numbered = name + '#' + std::to_string(number);
        if (!domain.byName.contains(numbered)) return numbered;
    }
}

} // namespace

VManagedObjectBase::VManagedObjectBase() = default;
VManagedObjectBase::~VManagedObjectBase() = default;
void VManagedObjectBase::published() {}

VManagedObjectIterator::~VManagedObjectIterator() = default;

VManagedObject::VManagedObject(const std::type_info& rootType, const std::string& objectName, int p)
    : name(objectName), priority(p), _rootType(rootType) {
    Register& objects = theRegister();
    const WeakObject self(static_cast<VManagedObjectBase&>(*this));
    const std::lock_guard lock(objects.mutex);
    Domain& domain = objects.domains[rootType];
    const std::pair key(p, ++objects.lastEntry);
    _uniqueName = uniqueName(domain, objectName);
    domain.byName.emplace(_uniqueName, key);
    domain.byPriority.emplace(key, self);
}

VManagedObject::~VManagedObject() {
    Register& objects = theRegister();
    const std::lock_guard lock(objects.mutex);
    Domain& domain = objects.domains[_rootType];
    const auto found = domain.byName.find(_uniqueName);
    domain.byPriority.erase(found->second);
    domain.byName.erase(found);
    if (_uniqueName == name) domain.lastNumber.erase(name);
    // The type may belong to a module that is about to be unloaded: no key may stay behind.
    if (domain.byName.empty()) objects.domains.erase(_rootType);
}

namespace {

/// Asked of the block: an object that no StrongPtr has taken yet may be under construction on
/// another thread, and may end there while it is looked at.
bool isComplete(const VManagedObjectPtr& object) {
    return object && object.controlBlock()->firstReferenceState() == Keel::ControlBlock::Taken;
}

} // namespace

VManagedObjectPtr VManagedObject::find(const std::type_info& rootType, const std::string& name) {
    Register& objects = theRegister();
    WeakObject object;
    {
        const std::lock_guard lock(objects.mutex);
        const auto domain = objects.domains.find(rootType);
        if (domain == objects.domains.end()) return {};
        const auto found = domain->second.byName.find(name);
        if (found == domain->second.byName.end()) return {};
        object = domain->second.byPriority.at(found->second);
    }
    VManagedObjectPtr live(object);
    return isComplete(live) ? live : VManagedObjectPtr();
}

std::size_t VManagedObject::traverse(const std::type_info& rootType,
                                     VManagedObjectIterator& iterator, int first, int last) {
    if (first > last) return 0;
    Register& objects = theRegister();
    std::vector<WeakObject> found;
    {
        const std::lock_guard lock(objects.mutex);
        const auto domain = objects.domains.find(rootType);
        if (domain == objects.domains.end()) return 0;
        const auto& byPriority = domain->second.byPriority;
        for (auto entry = byPriority.lower_bound({first, 0});
             entry != byPriority.end() && entry->first.first <= last; ++entry) {
            found.push_back(entry->second);
        }
    }
    std::size_t visited = 0;
    for (const WeakObject& object : found) {
        const VManagedObjectPtr live(object);
        if (!isComplete(live)) continue;
        ++visited;
        if (!iterator.apply(live)) break;
    }
    return visited;
}

void VManagedObject::traverseAll(VManagedObjectIterator& iterator) {
    Register& objects = theRegister();
    std::vector<WeakObject> found;
    {
        const std::lock_guard lock(objects.mutex);
        for (const auto& [type, domain] : objects.domains) {
            for (const auto& [key, object] : domain.byPriority) found.push_back(object);
        }
    }
    for (const WeakObject& object : found) {
        const VManagedObjectPtr live(object);
        if (isComplete(live) && !iterator.apply(live)) return;
    }
}

} // namespace Mirk
