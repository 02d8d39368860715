#include <Displays/DirectionalLight.hpp>

#include <directionalLight.glsl.hpp>

#include <sorrel/VRequest.hpp>

namespace Mirk {

DirectionalLight::DirectionalLight(const std::string& lightName)
    : VObject(lightName, 0, {}),
      GlintingLight(lightName),
      _direction(TypedSlot<vector>(this, "direction", {0.0, 0.0, -1.0}, 0)
                     .setHelp("In which direction the light travels.")) {
    enableRequestProcessing();
}

DirectionalLight::~DirectionalLight() = default;

std::string DirectionalLight::getShaderCode() const {
    return std::string(glsl::directionalLight);
}

void DirectionalLight::updateLight(ProgramVariables& uniforms, VRequest& request) {
    GlintingLight::updateLight(uniforms, request);
    setDirection(uniforms, _direction.value(request.pool));
}

} // namespace Mirk
