#include <Displays/PositionalLight.hpp>

#include <positionalLight.glsl.hpp>

namespace Mirk {

PositionalLight::PositionalLight(const std::string& lightName)
    : VObject(lightName, 0, {}), PlacedLight(lightName) {
    enableRequestProcessing();
}

PositionalLight::~PositionalLight() = default;

std::string PositionalLight::getShaderCode() const {
    return std::string(glsl::positionalLight);
}

} // namespace Mirk
