#pragma once
// Tells a program what of the earth each eye can't see; stands on horizon and the tentacles.

#include <Displays/export.hpp>

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/VRenderContext.hpp>

#include <functional>
#include <string>
#include <vector>

namespace Mirk {

/// Keeps the uniforms "HiddenSides[i].plane" of a program up to date, the result of hiddenSide()
/// for each eye relative to the origin of the vertices. Computed when an eye has moved, or the size
/// of its pixels has changed; set in each wave, as others may have the same program, also between
/// the update of this polyp and its wave.
class DISPLAYS_EXPORT HiddenSides : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
public:
    /// How far beyond its coordinates something is drawn, in pixels.
    using Margin = std::function<double(const VRenderContext&)>;

    /// For the present number of eyes. The program has to be in the same polyp. `origin` is in a
    /// world whose unit is `unitMetres`.
    HiddenSides(const VRenderContext& context, RenderBasin::Program& program,
                const Skua::PhysicalSpace::point& origin, double unitMetres, Margin marginPixels);

    bool updateValue(VRenderContext& context) override;
    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;

private:
    /// A plane, its name in the program, and what it was computed for.
    struct Eye {
        std::string name;
        Skua::PhysicalSpace::point position{};
        double marginRadians = -1.0; // of none
        Skua::FixedArray<float, 4> plane{};
    };

    const Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> _program;
    const Skua::PhysicalSpace::point _origin;
    const double _unitMetres;
    const Margin _marginPixels;
    std::vector<Eye> _eyes;
};

} // namespace Mirk
