#include <Displays/AmbientLight.hpp>

#include <ambientLight.glsl.hpp>

namespace Mirk {

AmbientLight::AmbientLight(const std::string& lightName)
    : VObject(lightName, 0, {}), DisplayLight(lightName) {
    enableRequestProcessing();
}

AmbientLight::~AmbientLight() = default;

std::string AmbientLight::getShaderCode() const {
    return std::string(glsl::ambientLight);
}

} // namespace Mirk
