#include <Polypia/ShaderLightSource.hpp>

#include <Polypia/RenderException.hpp>
#include <Polypia/VRenderContext.hpp>

#include <exception>
#include <utility>

namespace Mirk {

namespace {

RenderException failureAtRendering(const std::string& reason) {
    constexpr int noGlError = -1; // with 0 the report leaves out the words
    RenderException failure(noGlError, "ShaderLightSource::updateLightAtRendering", __FILE__,
                            __LINE__);
    failure.description = "the variables of a light that depend on the frame: " + reason;
    return failure;
}

} // namespace

ShaderLightSource::MyLightSource::MyLightSource(
    const Keel::WeakPtr<ShaderLightSource, VManagedObjectBase>& owner)
    : _owner(owner) {
    rejuvenate();
}

ShaderLightSource::MyLightSource::~MyLightSource() = default;

// The signature is not the one that is declared for light functions: a light without owner is not
// to be drawn with.
std::string ShaderLightSource::MyLightSource::getLightFunction() {
    const Keel::StrongPtr<ShaderLightSource, VManagedObjectBase> owner(_owner);
    if (owner) return owner->getShaderCode();
    return "\n\nLightAtVertex getLight_$$(vec4 vertex)\n{\nLightAtVertex retval;\n\n"
           "\tretval.light_incidence    = vec3(0,0,0);\n\treturn retval;\n}\n\n";
}

ShaderLightSource::LightState::LightState(const MyLightSourcePtr& mySource) : source(mySource) {}

ShaderLightSource::LightState::~LightState() = default;

ShaderLightSource::ShaderLightSource(const std::string& objectName, int p,
                                     const PreferencesPtr& prefs)
    : VLightSource(objectName, p, prefs) {}

ShaderLightSource::~ShaderLightSource() = default;

void ShaderLightSource::updateLightAtRendering(ProgramVariables&, VRenderContext&) const {}

bool ShaderLightSource::update(VRequest& request, double) {
    const MyLightSourcePtr source = sourceIn(request.pool);
    if (!source) return true;
    ProgramVariables uniforms = source->copyVariables();
    updateLight(uniforms, request);
    std::string code = getShaderCode(); // first: it may throw
    const bool isOtherForm = source->replaceVariables(uniforms);
    if (isOtherForm || code != source->_lastCode) {
        source->_lastCode = std::move(code);
        source->rejuvenate();
    }
    return true;
}

void ShaderLightSource::illuminate(const VRenderContext& context) const {
    const MyLightSourcePtr source = sourceIn(context.pool);
    if (source) context.enableLightSource(source);
}

bool ShaderLightSource::environment_render(VRenderContext& context) const {
    const MyLightSourcePtr source = sourceIn(context.pool);
    if (!source) return true;
    // In place: requests, which replace the variables, are kept out by the mutex of this object.
    const auto lock = source->lockVariables();
    try {
        updateLightAtRendering(*source, context);
    } catch (const RenderException&) {
        throw;
    } catch (const std::exception& exception) {
        throw failureAtRendering(exception.what());
    } catch (...) {
        throw failureAtRendering("an exception of an unknown kind");
    }
    return true;
}

Keel::StrongPtr<VStateCreatorBase::State> ShaderLightSource::newState() const {
    const Keel::WeakPtr<ShaderLightSource, VManagedObjectBase> me(this);
    return Keel::StrongPtr<State>(new LightState(MyLightSourcePtr(new MyLightSource(me))));
}

ShaderLightSource::MyLightSourcePtr ShaderLightSource::sourceIn(const ValuePoolPtr& pool) const {
    const Keel::StrongPtr<LightState, State> state(myState(pool));
    return state ? state->source : MyLightSourcePtr();
}

} // namespace Mirk
