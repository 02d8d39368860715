#pragma once
// Light from a point in a cone; stands on PlacedLight.

#include <Displays/PlacedLight.hpp>

#include <string>

namespace Mirk {

/// Shines from its position in a direction of the world: outside of a cone round the direction
/// there is nothing, and within it the intensity is multiplied by the cosine of the angle to the
/// direction, to the power of the exponent; beyond 90 degrees that is 0, but for an exponent of 0.
/// Unlike that of OpenGL's fixed functions, the exponent holds for a cone of 180 degrees, which has
/// no edge, too. With a direction of zero the light is dark.
class DISPLAYS_EXPORT SpotLight final : public PlacedLight {
public:
    explicit SpotLight(const std::string& name);
    ~SpotLight() override;

    const TypedSlot<vector>& direction() const noexcept { return _direction; }
    /// From the middle of the cone to its edge, in degrees from 0 to 180.
    const TypedSlot<double>& cone() const noexcept { return _cone; }
    const TypedSlot<double>& exponent() const noexcept { return _exponent; }

    std::string getShaderCode() const override;
    void updateLight(ProgramVariables& uniforms, VRequest& request) override;

private:
    const TypedSlot<vector> _direction;
    const TypedSlot<double> _cone;
    const TypedSlot<double> _exponent;
};

} // namespace Mirk
