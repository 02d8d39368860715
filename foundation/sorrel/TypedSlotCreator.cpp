#include <sorrel/TypedSlotCreator.hpp>

#include <sorrel/TypedSlot.hpp>
#include <sorrel/VActionNotifier.hpp>

#include <keel/Typename.hpp>

#include <cstdio>
#include <map>
#include <mutex>
#include <shared_mutex>
#include <typeindex>
#include <unordered_map>

namespace Mirk {

namespace {

/// Set at the end of the process, for slots that are destroyed even later. Trivially destructible,
/// so that it can still be read then.
constinit std::atomic<bool> creatorsAreGone{false};

struct EndOfTables {
    ~EndOfTables() { creatorsAreGone.store(true); }
};

/// Never destroyed, as another thread may be reading at the end of the process.
struct TypeTables {
    std::shared_mutex mutex; // leaf
    std::unordered_map<std::type_index, Keel::WeakPtr<TypedSlotCreator>> slots;
    std::map<std::string, Keel::WeakPtr<VValueCreator>> values;
    std::unordered_map<std::type_index, std::string> names;
};

TypeTables& tables() {
    static TypeTables& instance = *new TypeTables;
    static const EndOfTables end;
    return instance;
}

} // namespace

std::atomic<long> InternalTypeCreatorAccessory{0};

VValueCreator::VValueCreator() = default;
VValueCreator::~VValueCreator() = default;

bool VValueCreator::registerCreator(const Keel::WeakPtr<VValueCreator>& creator,
                                    const std::string& typeName) {
    const Keel::StrongPtr<VValueCreator> live(creator);
    if (!live || creatorsAreGone.load()) return false;
    const std::lock_guard lock(tables().mutex);
    Keel::WeakPtr<VValueCreator>& place = tables().values[typeName];
    if (place && !(place == creator)) return false;
    place = creator;
    return true;
}

void VValueCreator::unregisterCreator(const Keel::WeakPtr<VValueCreator>& creator) {
    if (creatorsAreGone.load()) return;
    const std::lock_guard lock(tables().mutex);
    std::erase_if(tables().values, [&](const auto& entry) { return entry.second == creator; });
}

Keel::StrongPtr<VValueCreator> VValueCreator::find(const std::string& typeName) {
    if (creatorsAreGone.load()) return {};
    Keel::WeakPtr<VValueCreator> found;
    {
        const std::shared_lock lock(tables().mutex);
        const auto entry = tables().values.find(typeName);
        if (entry != tables().values.end()) found = entry->second;
    }
    return Keel::StrongPtr<VValueCreator>(found);
}

std::string VValueCreator::typeName(const std::type_info& type) {
    if (creatorsAreGone.load()) return {};
    const std::shared_lock lock(tables().mutex);
    const auto found = tables().names.find(type);
    return found != tables().names.end() ? found->second : std::string();
}

std::vector<std::string> VValueCreator::typeNames() {
    std::vector<std::string> names;
    if (creatorsAreGone.load()) return names;
    const std::shared_lock lock(tables().mutex);
    for (const auto& [name, creator] : tables().values) {
        if (creator) names.push_back(name);
    }
    return names;
}

TypedSlotCreator::TypedSlotCreator() = default;
TypedSlotCreator::~TypedSlotCreator() = default;

Keel::StrongPtr<TypedSlotCreator> TypedSlotCreator::find(const std::type_info& type) {
    if (creatorsAreGone.load()) return {};
    Keel::WeakPtr<TypedSlotCreator> found;
    {
        const std::shared_lock lock(tables().mutex);
        const auto entry = tables().slots.find(type);
        if (entry != tables().slots.end()) found = entry->second;
    }
    return Keel::StrongPtr<TypedSlotCreator>(found);
}

bool registerTypedSlotCreator(const std::type_info& type,
                              const Keel::WeakPtr<TypedSlotCreator>& creator,
                              const std::string& typeName) {
    if (!creator || creatorsAreGone.load()) return false;
    const std::lock_guard lock(tables().mutex);
    Keel::WeakPtr<TypedSlotCreator>& place = tables().slots[type];
    if (place && !(place == creator)) return false;
    place = creator;
    tables().names[type] = typeName;
    return true;
}

bool unregisterTypedSlotCreator(const std::type_info& type,
                                const Keel::WeakPtr<TypedSlotCreator>& creator,
                                const std::string& typeName) {
    if (creatorsAreGone.load()) return false;
    const std::lock_guard lock(tables().mutex);
    const auto found = tables().slots.find(type);
    if (found == tables().slots.end() || !(found->second == creator)) return false;
    tables().slots.erase(found);
    const auto name = tables().names.find(type);
    if (name != tables().names.end() && name->second == typeName) tables().names.erase(name);
    return true;
}

VSlotPtr VSlotGlobals::addParameter(VSlotContainer* container, const std::string& name,
                                    int expertLevel, const VParameterPtr& parameter,
                                    bool connected) {
    return container->addParameter(name, expertLevel, parameter, connected);
}

void VSlotGlobals::assertionFail(VSlotContainer* container, const std::string& name,
                                 const std::type_info& type) {
    const VObject* const object = container->asObject();
    VActionNotifier::Warning(
        "TypedSlot(VObject* that, const string& name, const T& initialValue, int expertLevel): "
        "expected a type with a registered creator, got T = " +
        Keel::Typename(type) + " for \"" + (object != nullptr ? object->BaseName() + '.' : "") +
        name + '"');
}

void VSlotGlobals::reportMissingCreator() {
    std::printf("Typeslot has a problem, its creators were not registered!?\n");
    std::fflush(stdout);
}

bool VSlotGlobals::hasCreator(const std::type_info& type) noexcept {
    if (creatorsAreGone.load()) return false;
    const std::shared_lock lock(tables().mutex);
    const auto found = tables().slots.find(type);
    return found != tables().slots.end() && found->second;
}

} // namespace Mirk
