#include <Polypia/RenderParameter.hpp>

#include <Polypia/RenderTentacles.hpp>

namespace Mirk {

namespace {

/// A setup and its cleanup as a tentacle.
class LambdaParameter : public RenderBasin::RenderParameter {
public:
    using Undo = std::function<void(const Polyp&, bool&)>;
    using Factory = std::function<Undo(const Polyp&, bool&)>;

    explicit LambdaParameter(Factory setup) : factory(std::move(setup)) {}

    bool activate(const Polyp& polyp) override {
        bool ok = true;
        undo = factory(polyp, ok);
        return ok;
    }
    bool deactivate(const Polyp& polyp) override {
        bool ok = true;
        if (undo) undo(polyp, ok);
        return ok;
    }
    bool setValue(const void*, const std::type_info&, int) override { return false; }
    const std::string& parameterName() const override {
        static const std::string none;
        return none;
    }

private:
    Factory factory;
    Undo undo;
};

} // namespace

RenderBasin::Updater::Updater() = default;

RenderBasin::Updater::~Updater() = default;

RenderBasin::RenderParameter::RenderParameter() = default;

RenderBasin::RenderParameter::~RenderParameter() = default;

bool RenderBasin::RenderParameter::updateValue(VRenderContext& context) {
    return !updater || updater->update(context, *this);
}

RenderBasin::UniformParameter::UniformParameter(std::string uniformName, Variant initialValue,
                                                UpdateFunction function)
    : name(std::move(uniformName)),
      value(std::move(initialValue)),
      updateFunction(std::move(function)) {}

RenderBasin::UniformParameter::~UniformParameter() = default;

bool RenderBasin::UniformParameter::updateValue(VRenderContext& context) {
    return !updateFunction || updateFunction(value, context);
}

bool RenderBasin::UniformParameter::activate(const Polyp& polyp) {
    storeInPrograms(polyp, name, value);
    return true;
}

bool RenderBasin::UniformParameter::deactivate(const Polyp&) {
    return true;
}

void storeInPrograms(const Polyp& polyp, const std::string& name,
                     const RenderNamespace::ProgramVariables::Variant& value) {
    const auto [first, last] = polyp.get_programs();
    for (auto entry = first; entry != last; ++entry) {
        auto* const program = dynamic_cast<RenderBasin::Program*>(entry->second.get());
        if (program != nullptr && program->hasUniform(name.c_str())) (*program)[name] = value;
    }
}

RenderBasin::RenderParameterPtr LambdaRenderParameter(
    std::function<std::function<void(const Polyp&, bool&)>(const Polyp&, bool&)> factory) {
    return RenderBasin::RenderParameterPtr(new LambdaParameter(std::move(factory)));
}

RenderBasin::RenderParameterPtr
LambdaRenderParameter(std::function<std::function<void()>()> factory) {
    return LambdaRenderParameter([factory](const Polyp&, bool&) {
        const std::function<void()> undo = factory();
        LambdaParameter::Undo wrapped;
        // Wrapped only if it is set: calling an empty one would throw.
        if (undo) wrapped = [undo](const Polyp&, bool&) { undo(); };
        return wrapped;
    });
}

} // namespace Mirk
