#include <Displays/SpotLight.hpp>

#include <Displays/lightNumbers.hpp>

#include <spotLight.glsl.hpp>

#include <sorrel/VRequest.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>

namespace Mirk {

namespace {

struct CosineAndSine {
    double cosine, sine;
};

/// The sine in double precision is no zero at 180 degrees, which are no limit.
CosineAndSine ofCone(double degrees) {
    if (degrees >= 180.0) return {-1.0, 0.0};
    const double radians = std::max(0.0, degrees) * std::numbers::pi / 180.0;
    return {std::cos(radians), std::sin(radians)};
}

} // namespace

SpotLight::SpotLight(const std::string& lightName)
    : VObject(lightName, 0, {}),
      PlacedLight(lightName),
      _direction(TypedSlot<vector>(this, "direction", {0.0, 0.0, -1.0}, 0)
                     .setHelp("In which direction the light travels in the middle of the cone.")),
      _cone(TypedSlot<double>(this, "cone", 30.0, 0)
                .setHelp("From the middle of the cone to its edge, in degrees.")
                .setProperty("min", 0.0)
                .setProperty("max", 180.0)),
      _exponent(TypedSlot<double>(this, "exponent", 1.0, 1)
                    .setHelp("How much the light is gathered in the middle; 0 is evenly.")
                    .setProperty("min", 0.0)) {
    enableRequestProcessing();
}

SpotLight::~SpotLight() = default;

std::string SpotLight::getShaderCode() const {
    return std::string(glsl::spotLight);
}

void SpotLight::updateLight(ProgramVariables& uniforms, VRequest& request) {
    PlacedLight::updateLight(uniforms, request);
    setDirection(uniforms, _direction.value(request.pool));
    const CosineAndSine cone = ofCone(_cone.value(request.pool));
    uniforms["Light$$CosCone"] = cone.cosine;
    uniforms["Light$$SinCone"] = cone.sine;
    uniforms["Light$$Exponent"] = atLeastZero(_exponent.value(request.pool));
}

} // namespace Mirk
