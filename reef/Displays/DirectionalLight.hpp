#pragma once
// Light as from far away; stands on DisplayLight.

#include <Displays/DisplayLight.hpp>

#include <string>

namespace Mirk {

/// Travels in one direction of the world, the input "direction", which may be of any length; with
/// zero the light is dark.
class DISPLAYS_EXPORT DirectionalLight final : public GlintingLight {
public:
    explicit DirectionalLight(const std::string& name);
    ~DirectionalLight() override;

    const TypedSlot<vector>& direction() const noexcept { return _direction; }

    std::string getShaderCode() const override;
    void updateLight(ProgramVariables& uniforms, VRequest& request) override;

private:
    const TypedSlot<vector> _direction;
};

} // namespace Mirk
