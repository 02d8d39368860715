#include <eyes.hpp>

#include <UsageError.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <numbers>
#include <span>

namespace Shell {

namespace {

using Eye = Mirk::GLRenderContext::Eye;

/// Two eyes in scene space.
struct Stereo {
    double separation;                 ///< in distances of the focal point
    std::optional<double> convergence; ///< that of the focal point if there is none
    bool toeIn;
};

Stereo inScene(const StereoOptions& options, const SceneSpace& space) {
    Stereo result{options.eyeSeparation, options.convergence, options.toeIn};
    if (result.convergence) *result.convergence /= space.worldUnit;
    return result;
}

CameraWishes inScene(CameraWishes wishes, const SceneSpace& space) {
    if (wishes.position) wishes.position = space.toScene(*wishes.position);
    if (wishes.focalPoint) wishes.focalPoint = space.toScene(*wishes.focalPoint);
    return wishes;
}

/// What is left of a width or height when both edges have a margin of 1.5 % and some pixels.
double partWithin(int sizePixels, double marginPixels) {
    return std::max(0.97 - 2.0 * marginPixels / sizePixels, 0.1);
}

Frame frameOf(const Scene& scene, const PictureOptions& options) {
    Frame frame;
    frame.aspect = static_cast<double>(options.widthPixels) / options.heightPixels;
    frame.widthPart = partWithin(options.widthPixels, scene.marginPixels());
    frame.heightPart = partWithin(options.heightPixels, scene.marginPixels());
    return frame;
}

double focalDistance(const Camera& camera) {
    return distance(camera.position, camera.focalPoint);
}

double convergenceOf(const Camera& camera, const Stereo& stereo) {
    return stereo.convergence.value_or(focalDistance(camera));
}

/// How far the data stand aside in the picture of an eye from where they are in that of the
/// camera, at most, in halves of its width.
///
/// A point at a depth is seen in the direction of its place / depth. An eye that stands aside sees
/// it by aside / depth to the other side, and its skewed frustum takes back aside / convergence.
/// Turned eyes do the same, but for terms that are squares of small angles.
double partAside(const Camera& camera, const Stereo& stereo, const Sight& sight, double aspect) {
    const vector forward = camera.forward();
    const vector directions[] = {forward, -forward};
    const std::vector<double> reaches = sight.reaches(directions);
    const double here = dot(forward, camera.position - point());
    const double halfWidth = aspect * std::tan(camera.viewAngleDegrees * std::numbers::pi / 360.0);
    const double aside = 0.5 * stereo.separation * focalDistance(camera) / halfWidth;
    const auto shiftAt = [&](double depth) {
        return std::abs(aside / convergenceOf(camera, stereo) - aside / depth);
    };
    return std::max(shiftAt(reaches[0] - here), shiftAt(-reaches[1] - here));
}

/// From farther away, if it is for two eyes, so that both see all data: there they stand less
/// aside than was reckoned with.
Camera cameraFor(const CameraWishes& wishes, const Sight& sight, const Frame& frame,
                 const std::optional<Stereo>& stereo) {
    const Camera camera = placeCamera(wishes, sight, frame);
    if (!stereo || wishes.position) return camera;
    Frame narrowed = frame;
    narrowed.widthPart -= partAside(camera, *stereo, sight, frame.aspect);
    narrowed.widthPart = std::max(narrowed.widthPart, 0.1);
    return placeCamera(wishes, sight, narrowed);
}

/// Frusta would be skewed beyond what numbers hold.
void checkConvergence(const Camera& camera, const Stereo& stereo, const SceneSpace& space) {
    const double least = 1e-3 * focalDistance(camera);
    if (!stereo.convergence || *stereo.convergence >= least) return;
    char message[160];
    std::snprintf(message, sizeof message,
                  "--convergence: expected at least a thousandth of the distance of the focal "
                  "point, %g, got %g",
                  least * space.worldUnit, *stereo.convergence * space.worldUnit);
    throw UsageError(message);
}

Eye middleEye(const Camera& camera, const SceneSpace& space) {
    Eye eye;
    eye.camera.position = space.toDisplays(camera.position);
    eye.camera.lookAt = space.toDisplays(camera.focalPoint);
    eye.camera.up = camera.viewUp;
    eye.camera.fieldOfView = camera.viewAngleDegrees;
    return eye;
}

void setDepths(Eye& eye, const Camera& camera, const Sight& sight) {
    const DepthRange depths = depthRangeOf(camera, sight.ball);
    eye.near = depths.near;
    eye.far = depths.far;
}

/// One that stands aside, in distances of the focal point; negative to the left.
Eye eyeAside(Eye eye, const Camera& middle, const Stereo& stereo, const Sight& sight,
             double separation) {
    eye.separation = separation;
    eye.focus = convergenceOf(middle, stereo);
    eye.toeIn = stereo.toeIn;
    const vector aside = middle.right() * (separation * focalDistance(middle));
    Camera camera = middle;
    camera.position += aside;
    if (!stereo.toeIn) camera.focalPoint += aside;
    setDepths(eye, camera, sight);
    return eye;
}

} // namespace

std::vector<Eye> eyesOf(const Scene& scene, const PictureOptions& options,
                        const std::optional<StereoOptions>& stereo) {
    const Sight sight = scene.sight();
    std::optional<Stereo> two;
    if (stereo) two = inScene(*stereo, scene.space());
    const Camera camera =
        cameraFor(inScene(options.camera, scene.space()), sight, frameOf(scene, options), two);
    Eye eye = middleEye(camera, scene.space());
    if (two) {
        checkConvergence(camera, *two, scene.space());
        const double half = two->separation / 2.0;
        return {eyeAside(eye, camera, *two, sight, -half),
                eyeAside(eye, camera, *two, sight, half)};
    }
    setDepths(eye, camera, sight);
    return {eye};
}

} // namespace Shell
