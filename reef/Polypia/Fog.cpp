#include <Polypia/Fog.hpp>

#include <Fog.glsl.hpp>

namespace Mirk {

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
