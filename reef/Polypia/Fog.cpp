#include <Polypia/Fog.hpp>

#include <sorrel/TypedSlot.hpp>

#include <Fog.glsl.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<FogPtr> fogType("fog");

} // namespace

Fog::Fog() = default;

Fog::~Fog() = default;

std::string Fog::default_fragment_shader(VRenderContext&) {
    return std::string(glsl::Fog);
}

std::string VValueTrait<FogPtr>::Text(const FogPtr&) {
    return "(fog)";
}

bool VValueTrait<FogPtr>::setValueFromText(FogPtr&, const std::string&) {
    return false;
}

} // namespace Mirk
