// A module as a stranger may make it: a value type of its own, and objects with it.

#include <sorrel/Module.hpp>
#include <sorrel/TypedSlot.hpp>

#include <string>

namespace {

struct Depth {
    double metres = 0;
};

} // namespace

template<>
struct Mirk::VValueTrait<Depth> {
    static std::string Text(const Depth& depth) { return VValueTrait<double>::Text(depth.metres); }
    static bool setValueFromText(Depth& depth, const std::string& text) {
        return VValueTrait<double>::setValueFromText(depth.metres, text);
    }
};

namespace {

/// Found under a type of the module.
class Echo : public Mirk::VManagedDomainObject<Echo> {
public:
    Echo() : Mirk::VManagedDomainObject<Echo>("echo", 0) {}
};

class Sounder : public Mirk::VObject {
public:
    using Mirk::VObject::VObject;

    bool update(Mirk::VRequest& request, double) override {
        return depth.set(request.pool, Depth{2 * scale.value(request.pool)});
    }

    Mirk::TypedSlot<double> scale{this, "scale", 1, 0};
    Mirk::TypedSlot<Depth> draught{this, "draught", Depth{3}, 0};
    Mirk::VOutput<Depth> depth{this, "depth", Depth{}};
    const Mirk::VManagedObjectPtr echo{new Echo};
};

class SounderForInputs : public Mirk::VInputCreator<Depth> {
public:
    using Mirk::VInputCreator<Depth>::VInputCreator;

    Mirk::VObjectPtr create(const std::string& objectName, const PreferencesPtr& preferences,
                            const Keel::Intercube&) override {
        return Mirk::VObjectPtr(new Sounder(objectName, 0, preferences));
    }
};

const Mirk::ValueTypeRegistration<Depth> depthType("Depth");
const Mirk::CreatorRegistration<Mirk::VCreator<Sounder>>
    sounder("Sounder", "Test", Mirk::VCreatorBase::PreferencesPtr());
const Mirk::CreatorRegistration<SounderForInputs> forInputs("Sounder for inputs", 0,
                                                            Mirk::VCreatorBase::PreferencesPtr(),
                                                            Mirk::VInputCreatorBase::ApiVersion);

} // namespace

POLYPIA_MODULE
