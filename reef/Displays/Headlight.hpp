#pragma once
// Light from the eye; stands on DisplayLight.

#include <Displays/DisplayLight.hpp>

#include <string>

namespace Mirk {

/// Goes with the camera and shines from there at all that it sees, near or far; where it looks
/// without perspective, in parallel to its view. Several eyes have one between them, so that they
/// see the same glints. A light has one set of uniforms for each pool, so that with several
/// contexts the eye is that of who drew last: contexts that draw on several threads need pools of
/// their own.
class DISPLAYS_EXPORT Headlight final : public GlintingLight {
public:
    explicit Headlight(const std::string& name);
    ~Headlight() override;

    std::string getShaderCode() const override;
    void updateLight(ProgramVariables& uniforms, VRequest& request) override;
    /// Takes the eyes of the frame.
    void updateLightAtRendering(ProgramVariables& uniforms, VRenderContext& context) const override;
};

} // namespace Mirk
