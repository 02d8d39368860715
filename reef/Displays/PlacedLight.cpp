#include <Displays/PlacedLight.hpp>

#include <Displays/displayData.hpp>
#include <Displays/lightNumbers.hpp>

#include <sorrel/VRequest.hpp>

#include <algorithm>
#include <cmath>

namespace Mirk {

namespace {

/// The factors of the sum that an intensity is divided by.
struct FallOff {
    double constant, linear, quadratic;

    bool isNone() const { return constant == 0.0 && linear == 0.0 && quadratic == 0.0; }
    void divideBy(double number) {
        constant /= number;
        linear /= number;
        quadratic /= number;
    }
    /// Where a part that grows with the distance has become 1; 1 if none does. Around there the
    /// distances are for which it matters, as light that is divided by far more is dark.
    double distanceOfOne() const {
        constexpr double greatest = 1e30; // in single precision it has an inverse
        double distance = linear > 0.0 || quadratic > 0.0 ? greatest : 1.0;
        if (linear > 0.0) distance = std::min(distance, 1.0 / linear);
        if (quadratic > 0.0) distance = std::min(distance, 1.0 / std::sqrt(quadratic));
        return std::max(distance, 1.0 / greatest);
    }
    Skua::FixedArray<double, 3> inUnit(double unit) const {
        constexpr double dark = 1e30;
        return {std::min(constant, dark), std::min(linear * unit, dark),
                std::min(quadratic * unit * unit, dark)};
    }
};

} // namespace

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
    const auto factor = [&](const TypedSlot<double>& input) {
        return atLeastZero(input.value(request.pool), largestInDouble);
    };
    FallOff fallOff{factor(_constant), factor(_linear), factor(_quadratic)};
    if (fallOff.isNone()) fallOff.constant = 1.0;
    Triple light = radiance(request.pool);
    const double brightest = std::max({light[0], light[1], light[2]});
    if (brightest > 0.0) {
        for (double& each : light) each /= brightest;
        fallOff.divideBy(brightest);
    }
    setRadiance(uniforms, request.pool, light);
    const double unit = fallOff.distanceOfOne();
    uniforms["Light$$PerUnit"] = 1.0 / unit;
    uniforms["Light$$FallOff"] = fallOff.inUnit(unit);
    const point place = _position.value(request.pool);
    const bool isSomewhere =
        std::max({std::abs(place.x), std::abs(place.y), std::abs(place.z)}) <= farthestCoordinate;
    uniforms["Light$$Position"] = isSomewhere && isFinite(place) ? place : point();
    if (!isSomewhere || !isFinite(place)) darken(uniforms);
}

} // namespace Mirk
