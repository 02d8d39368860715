#include <Displays/Headlight.hpp>

#include <Displays/displayData.hpp>

#include <headlight.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

namespace Mirk {

Headlight::Headlight(const std::string& lightName)
    : VObject(lightName, 0, {}), GlintingLight(lightName) {
    enableRequestProcessing();
}

Headlight::~Headlight() = default;

std::string Headlight::getShaderCode() const {
    return std::string(glsl::headlight);
}

/// What frames set stays: a frame may be under way.
void Headlight::updateLight(ProgramVariables& uniforms, VRequest& request) {
    GlintingLight::updateLight(uniforms, request);
    uniforms.try_emplace("Light$$Position", point());
    uniforms.try_emplace("Light$$Direction", Triple{0, 0, -1});
    uniforms.try_emplace("Light$$HasPerspective", 1.0F);
}

void Headlight::updateLightAtRendering(ProgramVariables& uniforms, VRenderContext& context) const {
    const auto eyes = static_cast<unsigned>(context.EyeViews.size());
    const View& first = context.CurrentView(0, 0);
    vector fromFirst, direction;
    for (unsigned eye = 0; eye < eyes; ++eye) {
        const VCamera& camera = context.CurrentView(eye, 0).camera;
        fromFirst += camera.position - first.camera.position;
        direction += normalised(camera.lookAt - camera.position);
    }
    // A camera that is nowhere, or looks nowhere, leaves the light as it was.
    const point place = first.camera.position + fromFirst / static_cast<double>(eyes);
    if (isFinite(place)) uniforms["Light$$Position"] = place;
    const vector unit = normalised(direction);
    if (dot(unit, unit) > 0.0) uniforms["Light$$Direction"] = Triple{unit.x, unit.y, unit.z};
    uniforms["Light$$HasPerspective"] = first.orthographic ? 0.0F : 1.0F;
}

} // namespace Mirk
