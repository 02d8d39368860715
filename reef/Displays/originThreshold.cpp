#include <Displays/originThreshold.hpp>

#include <algorithm>
#include <limits>

namespace Mirk {

namespace {

/// A vertex next to the camera, and the camera in the sum that puts them together, are each as far
/// from the origin as the threshold. Both are rounded in each of three coordinates by up to 2^-24
/// of that, their difference once more at the worst: in all 0.1 / 4e5 or less.
constexpr double stepsOfPixel = 4e5;

} // namespace

double originThreshold(const VRenderContext& context, double nearest) {
    const View& view = context.CurrentView(context.CurrentEye, 0);
    const VRenderContext::PixelRectangle pixels = context.getViewport(0);
    const double width = (view.right - view.left) / (pixels[2] - pixels[0]);
    const double height = (view.top - view.bottom) / (pixels[3] - pixels[1]);
    double pixel = std::min(width, height);
    if (view.perspective) pixel *= std::max(1.0, nearest / view.near);
    const double threshold = pixel * stepsOfPixel;
    // Without a picture nothing is off, and a threshold of 0 means that there is none.
    return threshold > 0.0 ? threshold : std::numeric_limits<double>::infinity();
}

} // namespace Mirk
