#include <sorrel/VCreatorBase.hpp>

#include <sorrel/VActionNotifier.hpp>

#include <algorithm>
#include <exception>
#include <map>
#include <memory>
#include <mutex>
#include <tuple>
#include <typeindex>
#include <utility>

namespace Mirk {

namespace {

using CreatorPtr = Keel::StrongPtr<VCreatorBase>;
using InputCreatorPtr = Keel::StrongPtr<VInputCreatorBase, VCreatorBase>;
using WeakInputCreator = Keel::WeakPtr<VInputCreatorBase, VCreatorBase>;

/// Never destroyed: static creators leave it at the very end.
struct Creators {
    std::mutex mutex; // leaf
    std::map<std::string, Keel::WeakPtr<VCreatorBase>> byName;
    std::map<std::type_index, std::vector<std::pair<std::string, WeakInputCreator>>> byInput;
    std::map<std::string, std::unique_ptr<VCreatorCategory::Properties>> categories;
};

Creators& theCreators() {
    static Creators& instance = *new Creators;
    return instance;
}

} // namespace

const char* const VInputCreatorBase::ApiVersion = "ZELK_API_VERSION";

VCreatorCategory::Properties& VCreatorCategory::getProperties(const std::string& name) {
    Creators& creators = theCreators();
    const std::lock_guard lock(creators.mutex);
    std::unique_ptr<Properties>& record = creators.categories[name];
    if (!record) record = std::make_unique<Properties>();
    return *record;
}

std::vector<std::string> VCreatorCategory::names() {
    Creators& creators = theCreators();
    std::vector<std::string> names;
    const std::lock_guard lock(creators.mutex);
    for (const auto& [name, record] : creators.categories) names.push_back(name);
    return names;
}

VCreatorBase::VCreatorBase(const std::string& creatorName, const std::string& category,
                           const PreferencesPtr& preferences)
    : _name(creatorName), _category(category), _preferences(preferences) {}

VCreatorBase::~VCreatorBase() = default;

bool VCreatorBase::registerCreator(const Keel::WeakPtr<VCreatorBase>& creator) {
    const CreatorPtr live(creator);
    if (!live) return false;
    Creators& creators = theCreators();
    const std::lock_guard lock(creators.mutex);
    Keel::WeakPtr<VCreatorBase>& place = creators.byName[live->name()];
    if (place && !(place == creator)) return false;
    place = creator;
    return true;
}

void VCreatorBase::unregisterCreator(const Keel::WeakPtr<VCreatorBase>& creator) {
    Creators& creators = theCreators();
    const std::lock_guard lock(creators.mutex);
    std::erase_if(creators.byName, [&](const auto& entry) { return entry.second == creator; });
}

CreatorPtr VCreatorBase::find(const std::string& creatorName) {
    Creators& creators = theCreators();
    Keel::WeakPtr<VCreatorBase> found;
    {
        const std::lock_guard lock(creators.mutex);
        const auto entry = creators.byName.find(creatorName);
        if (entry != creators.byName.end()) found = entry->second;
    }
    return CreatorPtr(found);
}

std::vector<CreatorPtr> VCreatorBase::creators(const std::string& category) {
    Creators& creators = theCreators();
    std::vector<Keel::WeakPtr<VCreatorBase>> known;
    {
        const std::lock_guard lock(creators.mutex);
        for (const auto& [name, creator] : creators.byName) known.push_back(creator);
    }
    std::vector<CreatorPtr> live;
    for (const Keel::WeakPtr<VCreatorBase>& creator : known) {
        CreatorPtr upgraded(creator);
        if (upgraded && (category.empty() || upgraded->category() == category)) {
            live.push_back(std::move(upgraded));
        }
    }
    return live;
}

VObjectPtr VCreatorBase::make(const std::string& objectName, const PreferencesPtr& preferences,
                              const Keel::Intercube& context) {
    try {
        VObjectPtr object = create(objectName, preferences, context);
        if (object) object->setCreatorName(_name);
        return object;
    } catch (const std::exception& exception) {
        VActionNotifier::Warning("Could not create \"" + objectName + "\" by \"" + _name +
                                 "\": " + exception.what());
    } catch (...) {
        VActionNotifier::Warning("Could not create \"" + objectName + "\" by \"" + _name +
                                 "\": it threw something that is no exception");
    }
    return {};
}

VInputCreatorBase::VInputCreatorBase(const std::string& creatorName, int rank,
                                     const PreferencesPtr& preferences, const char* apiVersion)
    : VCreatorBase(creatorName, {}, preferences),
      _rank(rank),
      _apiVersion(apiVersion != nullptr ? apiVersion : "") {}

VInputCreatorBase::~VInputCreatorBase() = default;

InputCreatorPtr VInputCreatorBase::findBest(const std::type_info& type,
                                            const PreferencesPtr& preferences) {
    Creators& creators = theCreators();
    std::vector<std::pair<std::string, WeakInputCreator>> candidates;
    {
        const std::lock_guard lock(creators.mutex);
        const auto found = creators.byInput.find(type);
        if (found != creators.byInput.end()) candidates = found->second;
    }
    InputCreatorPtr best;
    std::pair<std::size_t, int> bestFit;
    for (const auto& [name, candidate] : candidates) {
        const InputCreatorPtr live(candidate);
        if (!live) continue;
        const std::size_t matches =
            preferences && live->preferences() ? live->preferences()->matches(*preferences) : 0;
        const std::pair fit(matches, live->rank());
        if (best && fit <= bestFit) continue;
        best = live;
        bestFit = fit;
    }
    return best;
}

bool registerVInput(const std::type_info& type, const WeakInputCreator& creator) {
    const InputCreatorPtr live(creator);
    if (!live || live->apiVersion() != VInputCreatorBase::ApiVersion) return false;
    Creators& creators = theCreators();
    const std::lock_guard lock(creators.mutex);
    auto& known = creators.byInput[type];
    std::erase_if(known, [](const auto& entry) { return !entry.second; });
    for (const auto& [name, present] : known) {
        if (name == live->name()) return false;
    }
    known.emplace_back(live->name(), creator);
    return true;
}

bool unregisterVInput(const std::type_info& type, const WeakInputCreator& creator) {
    Creators& creators = theCreators();
    const std::lock_guard lock(creators.mutex);
    const auto known = creators.byInput.find(type);
    if (known == creators.byInput.end()) return false;
    const bool wasKnown = std::erase_if(known->second, [&](const auto& entry) {
                              return entry.second == creator;
                          }) != 0;
    // The type may belong to a module that is about to be unloaded: no key may stay behind.
    if (known->second.empty()) creators.byInput.erase(known);
    return wasKnown;
}

} // namespace Mirk
