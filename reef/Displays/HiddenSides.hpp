#pragma once
// Tells a program what of the earth each eye can't see; stands on horizon and the tentacles.

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/VRenderContext.hpp>

#include <functional>
#include <vector>

namespace Mirk {

/// Keeps the uniforms "HiddenSides[i].plane" of a program up to date, the result of hiddenSide()
/// for each eye relative to the origin of the vertices. Computed when an eye has moved, or the size
/// of its pixels has changed; set for each drawing, as other polyps may have the same program.
class HiddenSides : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
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
    /// A plane, what it was computed for, and where the program keeps it.
    struct Eye {
        RenderNamespace::ProgramVariables::Variant* inProgram;
        Skua::PhysicalSpace::point position{};
        double marginRadians = -1.0; // of none
        Skua::FixedArray<float, 4> plane{};
    };

    const Skua::PhysicalSpace::point _origin;
    const double _unitMetres;
    const Margin _marginPixels;
    std::vector<Eye> _eyes;
};

} // namespace Mirk
