#pragma once
// What lights have in common that are somewhere; stands on DisplayLight.

#include <Displays/DisplayLight.hpp>

#include <string>

namespace Mirk {

/// Shines from a point of the world. The intensity at a distance d is divided by
/// constant + linear * d + quadratic * d * d, as that of OpenGL's fixed functions is; factors below
/// 0 are 0, and if all are, nothing is divided. With a position that is not finite, or has a
/// coordinate beyond farthestCoordinate, the light is dark.
class DISPLAYS_EXPORT PlacedLight : public GlintingLight {
public:
    /// The squares of distances are numbers in single precision still.
    static constexpr double farthestCoordinate = 1e18;

    ~PlacedLight() override;

    const TypedSlot<point>& position() const noexcept { return _position; }
    const TypedSlot<double>& constant() const noexcept { return _constant; }
    const TypedSlot<double>& linear() const noexcept { return _linear; }
    const TypedSlot<double>& quadratic() const noexcept { return _quadratic; }

    /// Sets "Light$$Position", "Light$$FallOff" and "Light$$PerUnit" as well. Shaders get to the
    /// same light with numbers around 1, whatever the size of the scene is: the brightest component
    /// is 1, and distances are in a unit of the light. At a distance d, with u = "PerUnit" * d, the
    /// light is "Intensity" divided by the sum of the components of "FallOff" times 1, u and u * u.
    void updateLight(ProgramVariables& uniforms, VRequest& request) override;

protected:
    explicit PlacedLight(const std::string& name);

private:
    const TypedSlot<point> _position;
    const TypedSlot<double> _constant;
    const TypedSlot<double> _linear;
    const TypedSlot<double> _quadratic;
};

} // namespace Mirk
