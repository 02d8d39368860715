#include <Displays/HiddenSides.hpp>

#include <Displays/horizon.hpp>

#include <algorithm>
#include <limits>
#include <string>
#include <utility>

namespace Mirk {

namespace {

using point = Skua::PhysicalSpace::point;

/// Of some pixels and one more, as seen from the eye: at least what they are anywhere in the
/// picture. Without perspective there is no such angle, and infinity hides nothing.
double marginRadians(const View& view, const VRenderContext::PixelRectangle& pixels,
                     double marginPixels) {
    if (!view.perspective) return std::numeric_limits<double>::infinity();
    const double pixelWidth = (view.right - view.left) / (pixels[2] - pixels[0]);
    const double pixelHeight = (view.top - view.bottom) / (pixels[3] - pixels[1]);
    return (marginPixels + 1.0) * std::max(pixelWidth, pixelHeight) / view.near;
}

Skua::FixedArray<float, 4> toFloats(const Skua::FixedArray<double, 4>& values) {
    return {static_cast<float>(values[0]), static_cast<float>(values[1]),
            static_cast<float>(values[2]), static_cast<float>(values[3])};
}

} // namespace

HiddenSides::HiddenSides(const VRenderContext& context, RenderBasin::Program& program,
                         const point& origin, double unitMetres, Margin marginPixels)
    : _program(program),
      _origin(origin),
      _unitMetres(unitMetres),
      _marginPixels(std::move(marginPixels)) {
    for (std::size_t eye = 0; eye < context.EyeViews.size(); ++eye) {
        _eyes.push_back({"HiddenSides[" + std::to_string(eye) + "].plane"});
    }
}

bool HiddenSides::updateValue(VRenderContext& context) {
    const VRenderContext::PixelRectangle pixels = context.getViewport(0);
    const double marginPixels = _marginPixels(context);
    const point earthCentre = point() + (point() - _origin);
    for (unsigned i = 0; i < _eyes.size(); ++i) {
        Eye& eye = _eyes[i];
        const View& view = context.CurrentView(i, 0);
        const double margin = marginRadians(view, pixels, marginPixels);
        if (view.cameraPosition != eye.position || margin != eye.marginRadians) {
            eye.position = view.cameraPosition;
            eye.marginRadians = margin;
            eye.plane = toFloats(
                hiddenSide(point() + (eye.position - _origin), margin, earthCentre, _unitMetres));
        }
    }
    return true;
}

bool HiddenSides::activate(const Polyp&) {
    const RenderBasin::ProgramPtr program(_program);
    if (!program) return false;
    // By name, as variables that are set as a whole don't stay in their places.
    for (const Eye& eye : _eyes) (*program)[eye.name] = eye.plane;
    return true;
}

bool HiddenSides::deactivate(const Polyp&) {
    return true;
}

} // namespace Mirk
