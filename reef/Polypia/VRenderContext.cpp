#include <Polypia/VRenderContext.hpp>

#include <Polypia/RenderAble.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/Seagrass.hpp>

#include <keel/Environment.hpp>
#include <sorrel/VCreatorBase.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <exception>
#include <numbers>
#include <utility>

namespace Mirk {

namespace {

using Rectangle = VRenderContext::Rectangle;

bool mayLoadAsynchronously() {
    return Keel::getEnvString("ZELK_NO_ASYNC_IO", "Disable asynchroneous I/O for rendering.") !=
           "true";
}

/// Tells the shell about the category of what is drawn.
bool describeCategory() {
    VCreatorCategory::Properties& display = VCreatorCategory::getProperties("Display");
    display.shortKey = "D";
    display.help = "\nDisplay objects render geometry in the 3D viewer.\n"
                   "If you don't see anything immediately after creating a display object,\n"
                   "try pushing the space bar to center the camera around the geometry.\n";
    return true;
}

const bool categoryIsDescribed = describeCategory();

double tangentOfHalf(double degrees) {
    return std::tan(degrees * (std::numbers::pi / 360.0));
}

/// Without overflow: the largest component is taken out first.
double distance(const View::point& a, const View::point& b) {
    const View::vector d = b - a;
    const double largest = std::max({std::abs(d.x), std::abs(d.y), std::abs(d.z)});
    if (!(largest > 0.0)) return largest;
    const double x = d.x / largest, y = d.y / largest, z = d.z / largest;
    return largest * std::sqrt(x * x + y * y + z * z);
}

/// A part of a length, by its ends.
struct Extent {
    double low;
    double high;
};

Extent tilePart(int tile, int tilePixels, int imagePixels, const Extent& whole) {
    const double size = (whole.high - whole.low) * tilePixels / imagePixels;
    const double low = whole.low + tile * size;
    return {low, low + size};
}

Extent zoomedPart(double offset, double factor, const Extent& whole) {
    const double size = whole.high - whole.low;
    const double low = whole.low + offset * size;
    return {low, low + size / factor};
}

Rectangle rectangleOf(const Extent& x, const Extent& y) {
    return {x.low, x.high, y.low, y.high};
}

/// Where a jitter shifts the middle of a rectangle to.
struct Shift {
    double x;
    double y;
};

Shift shiftOf(const VRenderContext::Jitter& jitter, const Rectangle& rectangle,
              const VRenderContext::PixelRectangle& pixels, double near) {
    const double width = pixels[2] - pixels[0], height = pixels[3] - pixels[1];
    return {jitter.pixelX * (rectangle.right - rectangle.left) / width +
                jitter.eyeX * near / jitter.focus + jitter.offsetX,
            jitter.pixelY * (rectangle.top - rectangle.bottom) / height +
                jitter.eyeY * near / jitter.focus + jitter.offsetY};
}

Rectangle shifted(const Rectangle& rectangle, const Shift& shift) {
    return {rectangle.left - shift.x, rectangle.right - shift.x, rectangle.bottom - shift.y,
            rectangle.top - shift.y};
}

/// How far the point of a plane lies beyond the corner of a box that is farthest along its normal,
/// in units of the normal's length: above 0 the box is outside.
double beyond(const FrustumPlane& plane, const Skua::BoundingBox& box) {
    const View::vector& n = plane.normal;
    const View::point farthest{n.x > 0.0 ? box.max.x : box.min.x, n.y > 0.0 ? box.max.y : box.min.y,
                               n.z > 0.0 ? box.max.z : box.min.z};
    const View::vector d = plane.corner - farthest;
    return d.x * n.x + d.y * n.y + d.z * n.z;
}

/// A light that fails is left out; the frame goes on.
void letIlluminate(const RenderAble& object, const VRenderContext& context) {
    try {
        object.illuminate(context);
    } catch (const std::exception& exception) {
        std::printf("VRenderContext::setLightSources - [%s]: %s\n", object.Name().c_str(),
                    exception.what());
        std::fflush(stdout);
    } catch (...) {
        std::printf("VRenderContext::setLightSources - [%s]: unknown exception\n",
                    object.Name().c_str());
        std::fflush(stdout);
    }
}

} // namespace

bool DefaultEnableAsynchronLoading = mayLoadAsynchronously();

VRenderContextBasin::VRenderContextBasin(const Keel::WeakPtr<Seagrass>& theSeagrass)
    : VContext(Keel::make<Addendum>()), RenderBasin(theSeagrass) {}

VRenderContextBasin::~VRenderContextBasin() = default;

void VRenderContextBasin::queue(const std::function<void(VRenderContextBasin&)>& function) const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    if (live) live->queue(function);
}

int VRenderContextBasin::handleQueue(const std::function<bool()>& stop) {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    return live ? live->handleQueue(*this, stop) : 0;
}

VRenderContext::Font::Font() = default;
VRenderContext::Font::~Font() = default;

VRenderContext::ModelViewMatrixState::~ModelViewMatrixState() = default;

VRenderContext::VRenderContext(const Keel::WeakPtr<Seagrass>& theSeagrass,
                               const Keel::WeakPtr<VRenderInterruptor>& renderInterruptor,
                               const Keel::StrongPtr<VRenderPrecision>& renderPrecision,
                               unsigned layers, long long allowance)
    : VRenderContextBasin(theSeagrass),
      precision(renderPrecision),
      interruptor(renderInterruptor),
      numberOfLayers(layers),
      renderAllowance(allowance) {
    setTime();
}

VRenderContext::~VRenderContext() = default;

void VRenderContext::openEyes(const ViewReferences&) {
    CurrentEye = 0;
}

void VRenderContext::openEye(unsigned eye) {
    CurrentEye = eye;
}

bool VRenderContext::isCancelled() {
    const Keel::StrongPtr<VRenderInterruptor> live(interruptor);
    return live && live->isInterrupted(pool);
}

bool VRenderContext::notifyError(const RenderAble& object, const RenderException& exception) {
    std::printf("VRenderContext::notifyError - VGLRenderObject [%s]: %s ", object.Name().c_str(),
                exception.str().c_str());
    std::fflush(stdout);
    return false;
}

VRenderContext::FontPtr VRenderContext::getFont(const std::list<std::string>&, Font::Type,
                                                Font::RenderHint, const VObject::PreferencesPtr&) {
    return {};
}

Keel::StrongPtr<RenderBasin::Tentacle>
VRenderContext::createTextTentacle(const std::string&, const VTextRenderProperties&,
                                   const FontPtr&) const {
    return {};
}

bool VRenderContext::allowRendering(Polyp& polyp) {
    if (isCancelled()) return false;
    // Signed, as an allowance below 0 is used up, too.
    const auto bytes = static_cast<std::int64_t>(polyp.memsize());
    if (renderAllowance < bytes) {
        ++_refusals;
        return false;
    }
    renderAllowance -= bytes;
    return true;
}

double VRenderContext::getAspectRatio() const {
    if (imageWidth == 0 || imageHeight == 0) return getViewportAspectRatio(0);
    return static_cast<double>(imageWidth) / imageHeight;
}

double VRenderContext::getViewportAspectRatio(unsigned index) const {
    const PixelRectangle pixels = getViewport(index);
    const int height = pixels[3] - pixels[1];
    return height < 1 ? 1.0 : static_cast<double>(pixels[2] - pixels[0]) / height;
}

void VRenderContext::setEyeView(const VCamera& camera, double near, double far, bool orthographic,
                                unsigned eye, double separation, double focus, unsigned slot,
                                bool toeIn) {
    View& view = CurrentView(eye, slot);
    // Anew each time, as what follows moves the camera.
    view.camera = camera;
    const double shift = distance(camera.position, camera.lookAt) * separation;
    const View::vector aside = camera.getTriad()[0] * shift;
    view.camera.position = view.camera.position + aside;
    Jitter jitter;
    if (!toeIn) {
        view.camera.lookAt = view.camera.lookAt + aside;
        jitter.eyeX = shift / focus;
    }
    view.computeModelViewMatrix();
    setTileAwarePerspective(camera.fieldOfView, near, far, orthographic, eye, jitter, 0);
}

void VRenderContext::setTileAwarePerspective(double fieldOfView, double near, double far,
                                             bool orthographic, unsigned eye, const Jitter& jitter,
                                             unsigned viewport) {
    const double aspect = getAspectRatio();
    const double tangent = tangentOfHalf(fieldOfView);
    const VCamera& camera = CurrentView(eye, 0).camera;
    const double scale = orthographic ? distance(camera.position, camera.lookAt) : near;
    setTileAwareFrustum(scale, {-aspect * tangent, aspect * tangent, -tangent, tangent}, near, far,
                        orthographic, eye, jitter, viewport);
}

bool VRenderContext::isTile() const {
    return imageWidth != 0 && imageHeight != 0 && tileWidth != 0 && tileHeight != 0 &&
           (tileWidth != imageWidth || tileHeight != imageHeight);
}

void VRenderContext::setTileAwareFrustum(double scale, const Rectangle& rectangle, double near,
                                         double far, bool orthographic, unsigned eye,
                                         const Jitter& jitter, unsigned viewport) {
    Extent x{rectangle.left * scale, rectangle.right * scale};
    Extent y{rectangle.bottom * scale, rectangle.top * scale};
    if (zoom.factor != 1.0) {
        x = zoomedPart(zoom.x, zoom.factor, x);
        y = zoomedPart(zoom.y, zoom.factor, y);
    } else if (isTile()) {
        x = tilePart(tileX, tileWidth, imageWidth, x);
        y = tilePart(tileY, tileHeight, imageHeight, y);
    }
    setProjectionFrustum(rectangleOf(x, y), near, far, orthographic, eye, jitter, viewport);
}

void VRenderContext::setProjectionFrustum(const Rectangle& rectangle, double near, double far,
                                          bool orthographic, unsigned eye, const Jitter& jitter,
                                          unsigned viewport) {
    const Rectangle part =
        shifted(rectangle, shiftOf(jitter, rectangle, getViewport(viewport), near));
    View& view = CurrentView(eye, 0);
    if (orthographic) {
        view.setOrthographic(part.left, part.right, part.bottom, part.top, near, far);
    } else {
        view.setFrustum(part.left, part.right, part.bottom, part.top, near, far);
    }
    updateFrustum(part, eye);
}

void VRenderContext::setTileAwareIdentity(unsigned eye, double near, double far,
                                          const Jitter& jitter, unsigned viewport) {
    constexpr Extent whole{-1.0, 1.0};
    Extent x = whole, y = whole;
    if (zoom.factor != 1.0) {
        x = zoomedPart(zoom.x, zoom.factor, whole);
        y = zoomedPart(zoom.y, zoom.factor, whole);
    } else if (isTile()) {
        x = tilePart(tileX, tileWidth, imageWidth, whole);
        y = tilePart(tileY, tileHeight, imageHeight, whole);
    }
    const Rectangle square = rectangleOf(x, y);
    const Rectangle part = shifted(square, shiftOf(jitter, square, getViewport(viewport), near));
    CurrentView(eye, 0).setOrthographic(part.left, part.right, part.bottom, part.top, near, far);
    updateFrustum(part, eye);
}

void VRenderContext::updateFrustum(const Rectangle&, unsigned eye) {
    constexpr Extent whole{-1.0, 1.0};
    Extent x = whole, y = whole;
    if (isTile()) {
        x = tilePart(tileX, tileWidth, imageWidth, whole);
        y = tilePart(tileY, tileHeight, imageHeight, whole);
    } else if (zoom.factor != 1.0) {
        x = zoomedPart(zoom.x, zoom.factor, whole);
        y = zoomedPart(zoom.y, zoom.factor, whole);
    }
    View& view = CurrentView(eye, 0);
    const double tangent = tangentOfHalf(view.camera.fieldOfView);
    view.computeFrustum(tangent, getAspectRatio() * tangent, rectangleOf(x, y));
}

bool VRenderContext::isVisible(const Skua::BoundingBox& box, unsigned eye) const {
    const auto& planes = CurrentView(eye, 0).planes;
    // Written so that a NaN excludes nothing.
    return std::none_of(planes.begin(), planes.end(),
                        [&](const FrustumPlane& plane) { return beyond(plane, box) > 0.0; });
}

void VRenderContext::enableLightSource(const Keel::StrongPtr<LightSource>& source) const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    if (live) live->enable(source);
}

void VRenderContext::setLightSources(const ObjectSelection& objects) const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    if (!live) return;
    const auto drawables = objects.drawables();
    live->refill([&] {
        for (const ObjectSelection::Drawable& drawable : *drawables) {
            const Keel::StrongPtr<RenderAble, VManagedObjectBase> object(drawable.object);
            if (object && object->isVisible(pool)) letIlluminate(*object, *this);
        }
    });
}

VRenderContext::FrameLights::FrameLights(const VRenderContext& context)
    : _objects(context._lights.begin(), context._lights.end()) {
    const Keel::StrongPtr<Seagrass> live(context.seagrass);
    if (live) _sources = live->hold();
}

VRenderContext::FrameLights::FrameLights(VRenderContext& context, const ObjectSelection& objects) {
    // All but these would be asked for nothing, in each frame.
    ObjectSelection lights;
    context._lights.clear();
    const auto drawables = objects.drawables();
    for (const ObjectSelection::Drawable& drawable : *drawables) {
        if (!drawable.isLight) continue;
        lights.insert(drawable.layer, drawable.object);
        context._lights.push_back(drawable.object);
        _objects.emplace_back(drawable.object);
    }
    context.setLightSources(lights);
    const int number = lights.getNumberOfActiveLightSources(context);
    const bool isOtherNumber = number != std::exchange(context.numberOfLightSources, number);
    const Keel::StrongPtr<Seagrass> live(context.seagrass);
    if (!live) return;
    _sources = live->hold();
    if (isOtherNumber) live->noteComposition();
}

VRenderContext::FrameLights::~FrameLights() = default;

UniformBufferPtr
VRenderContext::mkUniformBuffer(const std::string& name,
                                const std::function<UniformBufferPtr()>& factory) const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    return live ? live->mkUniformBuffer(name, factory) : UniformBufferPtr();
}

void VRenderContext::setUniformBuffer(const std::string& name,
                                      const Keel::WeakPtr<UniformBuffer, Tentacle>& buffer) const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    if (live) live->setUniformBuffer(name, buffer);
}

UniformBufferPtr VRenderContext::getUniformBuffer(const std::string& name) const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    return live ? live->getUniformBuffer(name) : UniformBufferPtr();
}

} // namespace Mirk
