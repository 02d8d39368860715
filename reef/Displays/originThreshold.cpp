#include <Displays/originThreshold.hpp>

#include <algorithm>
#include <cmath>
#include <limits>

namespace Mirk {

namespace {

/// A vertex next to the camera, and the camera in the sum that puts them together, are each as far
/// from the origin as the threshold. Both are rounded in each of three coordinates by up to 2^-24
/// of that, and so is their difference at the worst: less than half of 0.1 / 4e5 in all, in the
/// middle of the picture.
constexpr double stepsOfPixel = 4e5;

/// Of the angle between the axis of a view and its farthest corner, squared. What is there is less
/// deep than far away, and an error of its depth moves it in the picture as well.
double cornerCosine2(const View& view) {
    const double x = std::max(std::abs(view.left), std::abs(view.right));
    const double y = std::max(std::abs(view.bottom), std::abs(view.top));
    const double near2 = view.near * view.near;
    return near2 / (near2 + x * x + y * y);
}

} // namespace

double originThreshold(const VRenderContext& context, unsigned eye, double nearest) {
    const View& view = context.CurrentView(eye, 0);
    const VRenderContext::PixelRectangle pixels = context.getViewport(0);
    const double width = (view.right - view.left) / (pixels[2] - pixels[0]);
    const double height = (view.top - view.bottom) / (pixels[3] - pixels[1]);
    double pixel = std::min(width, height);
    if (view.perspective) {
        pixel *= std::max(1.0, nearest / view.near) * std::min(1.0, 2.0 * cornerCosine2(view));
    }
    const double threshold = pixel * stepsOfPixel;
    // Without a picture nothing is off, and a threshold of 0 means that there is none.
    return threshold > 0.0 ? threshold : std::numeric_limits<double>::infinity();
}

} // namespace Mirk
