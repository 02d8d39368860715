#include <Displays/PlacedLight.hpp>

#include <Displays/displayData.hpp>
#include <Displays/lightNumbers.hpp>

#include <sorrel/VRequest.hpp>

#include <algorithm>
#include <cmath>

namespace Mirk {

PlacedLight::PlacedLight(const std::string& lightName)
    : GlintingLight(lightName),
      _position(TypedSlot<point>(this, "position", point(), 0).setHelp("Where the light is.")),
      _constant(TypedSlot<double>(this, "constant", 1.0, 1)
                    .setHelp("Of the sum that the intensity is divided by: at any distance.")
                    .setProperty("min", 0.0)),
      _linear(TypedSlot<double>(this, "linear", 0.0, 1)
                  .setHelp("Of that sum: times the distance.")
                  .setProperty("min", 0.0)),
      _quadratic(TypedSlot<double>(this, "quadratic", 0.0, 1)
                     .setHelp("Of that sum: times the square of the distance.")
                     .setProperty("min", 0.0)) {}

PlacedLight::~PlacedLight() = default;

void PlacedLight::updateLight(ProgramVariables& uniforms, VRequest& request) {
    GlintingLight::updateLight(uniforms, request);
    const auto factor = [&](const TypedSlot<double>& input) {
        return atLeastZero(input.value(request.pool), 1e30);
    };
    Triple fallOff{factor(_constant), factor(_linear), factor(_quadratic)};
    if (fallOff == Triple{0, 0, 0}) fallOff[0] = 1.0;
    uniforms["Light$$FallOff"] = fallOff;
    const point place = _position.value(request.pool);
    const bool isSomewhere =
        std::max({std::abs(place.x), std::abs(place.y), std::abs(place.z)}) <= farthestCoordinate;
    uniforms["Light$$Position"] = isSomewhere && isFinite(place) ? place : point();
    if (!isSomewhere || !isFinite(place)) switchOff(uniforms);
}

} // namespace Mirk
