#include <sorrel/uniqueOutput.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>

#include <exception>
#include <mutex>
#include <vector>

namespace Mirk {

namespace {

class ImplementationFinder : public VManagedObjectIterator {
public:
    ImplementationFinder(const std::type_info& type, const VObject::PreferencesPtr& preferences,
                         const VObject* except)
        : _type(type), _preferences(preferences), _except(except) {}

    bool apply(const VManagedObjectPtr& found) override {
        const VObjectPtr object(found);
        if (!object || object.get() == _except || !object->implements(_type)) return true;
        const std::size_t fit = _preferences && object->preferences()
                                    ? object->preferences()->matches(*_preferences)
                                    : 0;
        if (fit < _bestFit) return true;
        if (fit > _bestFit) _best.clear();
        _bestFit = fit;
        _best.push_back(object);
        return true;
    }

    UniqueOutput result() const {
        if (_best.empty()) return {{}, NoObject};
        if (_best.size() > 1) return {{}, SeveralObjects};
        return {_best.front(), Attached};
    }

private:
    const std::type_info& _type;
    const VObject::PreferencesPtr& _preferences;
    const VObject* const _except;
    std::size_t _bestFit = 0;
    std::vector<VObjectPtr> _best;
};

} // namespace

UniqueOutput findUniqueOutput(const std::type_info& type,
                              const VObject::PreferencesPtr& preferences, const VObject* except) {
    ImplementationFinder finder(type, preferences, except);
    VManagedObject::traverse(typeid(VObject), finder);
    return finder.result();
}

UniqueOutput findOrCreateUniqueOutput(const std::type_info& type,
                                      const VObject::PreferencesPtr& preferences,
                                      const VObject* except) {
    // Two threads that find none must not make two. A creator may look for its own inputs.
    static std::recursive_mutex& mutex = *new std::recursive_mutex;
    const Keel::Intercube noContext;
    Keel::StrongPtr<VInputCreatorBase, VCreatorBase> creator;
    VObjectPtr object;
    {
        const std::lock_guard lock(mutex);
        UniqueOutput unique = findUniqueOutput(type, preferences, except);
        if (unique.code != NoObject) return unique;
        creator = VInputCreatorBase::findBest(type, preferences);
        if (!creator) return unique;
        object = creator->make(creator->name(), preferences, noContext);
        if (!object || !object->implements(type)) return unique;
    }
    announce(object, noContext, Keel::WeakPtr<VCreatorBase>(creator));
    return {object, Attached};
}

void announce(const VObjectPtr& object, const Keel::Intercube& context,
              const Keel::WeakPtr<VCreatorBase>& creator) {
    try {
        VActionNotifier::VObjectCreation(object, context, creator);
        object->setup({});
    } catch (const std::exception& exception) {
        VActionNotifier::Warning("Could not set up \"" + object->Name() +
                                 "\": " + exception.what());
    } catch (...) {
        VActionNotifier::Warning("Could not set up \"" + object->Name() +
                                 "\": it threw something that is no exception");
    }
}

} // namespace Mirk
