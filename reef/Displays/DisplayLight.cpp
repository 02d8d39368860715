#include <Displays/DisplayLight.hpp>

#include <Displays/lightNumbers.hpp>
#include <Displays/slotHelp.hpp>

#include <sorrel/VRequest.hpp>

namespace Mirk {

DisplayLight::DisplayLight(const std::string& lightName)
    : ShaderLightSource(lightName, 0, {}),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {1.0F, 1.0F, 1.0F, 1.0F}, 0)
                 .setHelp("Colour of the light.")),
      _intensity(TypedSlot<double>(this, "intensity", 1.0, 0)
                     .setHelp("How bright the light is: times its colour.")
                     .setProperty("min", 0.0)) {
    helpWithCommonSlots(*this);
}

DisplayLight::~DisplayLight() = default;

void DisplayLight::updateLight(ProgramVariables& uniforms, VRequest& request) {
    uniforms["Light$$Intensity"] = limited(radiance(request.pool));
}

DisplayLight::Triple DisplayLight::radiance(const ValuePoolPtr& pool) const {
    const Skua::rgba_float_t shown = _color.value(pool);
    const double times = atLeastZero(_intensity.value(pool), largestInDouble);
    const auto lit = [times](float component) {
        return atLeastZero(times * component, largestInDouble);
    };
    return {lit(shown.red()), lit(shown.green()), lit(shown.blue())};
}

DisplayLight::Triple DisplayLight::limited(const Triple& light) {
    return {atLeastZero(light[0]), atLeastZero(light[1]), atLeastZero(light[2])};
}

GlintingLight::GlintingLight(const std::string& lightName)
    : DisplayLight(lightName),
      _specular(TypedSlot<double>(this, "specular", 1.0, 1)
                    .setHelp("How much surfaces glint in this light.")
                    .setProperty("min", 0.0)) {}

GlintingLight::~GlintingLight() = default;

void GlintingLight::updateLight(ProgramVariables& uniforms, VRequest& request) {
    setRadiance(uniforms, request.pool, radiance(request.pool));
}

void GlintingLight::setRadiance(ProgramVariables& uniforms, const ValuePoolPtr& pool,
                                const Triple& light) const {
    const double times = atLeastZero(_specular.value(pool));
    uniforms["Light$$Intensity"] = limited(light);
    uniforms["Light$$Specular"] = limited({times * light[0], times * light[1], times * light[2]});
}

void GlintingLight::setDirection(ProgramVariables& uniforms, const vector& direction) {
    const vector unit = normalised(direction);
    const bool isOne = dot(unit, unit) > 0.0;
    uniforms["Light$$Direction"] = isOne ? Triple{unit.x, unit.y, unit.z} : Triple{0, 0, -1};
    if (!isOne) darken(uniforms);
}

void GlintingLight::darken(ProgramVariables& uniforms) {
    uniforms["Light$$Intensity"] = uniforms["Light$$Specular"] = Triple{0, 0, 0};
}

} // namespace Mirk
