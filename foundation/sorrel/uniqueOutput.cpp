#include <sorrel/uniqueOutput.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>

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

VObjectPtr createForInput(const std::type_info& type, const VObject::PreferencesPtr& preferences) {
    const auto creator = VInputCreatorBase::findBest(type, preferences);
    if (!creator) return {};
    const Keel::Intercube noContext;
    VObjectPtr object = creator->make(creator->name(), preferences, noContext);
    if (!object || !object->implements(type)) return {};
    VActionNotifier::VObjectCreation(object, noContext, Keel::WeakPtr<VCreatorBase>(creator));
    object->setup({});
    return object;
}

} // namespace Mirk
