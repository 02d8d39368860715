#include <PolypiaGL/GLRenderContext.hpp>

#include <Polypia/PickList.hpp>
#include <Polypia/PixelMargin.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VTransformable.hpp>
#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/PickTarget.hpp>
#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glHeaders.hpp>
#include <PolypiaGL/glMachine.hpp>
#include <PolypiaGL/glProgram.hpp>
#include <PolypiaGL/glSavedState.hpp>
#include <PolypiaGL/textOrigins.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <exception>
#include <limits>
#include <utility>

namespace Mirk {

using Box = Skua::PhysicalSpace::AABB;

namespace {

/// By so much objects are drawn beyond their bounds without saying so.
constexpr double usualMarginPixels = 64.0;

/// Where draws go.
unsigned boundFramebuffer() {
    GLint bound = 0;
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &bound);
    return static_cast<unsigned>(bound);
}

/// A part of a row or column of pixels.
struct Extent {
    int first;
    int length;
};

/// What of it lies in a picture of that size; at length 0 `first` is a pixel of it as well.
Extent within(int first, int length, int pictureSize) {
    const auto inside = [&](std::int64_t pixel) {
        return static_cast<int>(std::clamp<std::int64_t>(pixel, 0, pictureSize));
    };
    const int begin = inside(first);
    return {std::min(begin, pictureSize - 1), inside(std::int64_t{first} + length) - begin};
}

void checkPick(const GLLimits& limits, int width, int height) {
    const int greatest = limits.maxRenderbufferSize;
    if (width <= greatest && height <= greatest) return;
    throw GLRenderException(GL_INVALID_VALUE,
                            "expected a rectangle of at most " + std::to_string(greatest) + " x " +
                                std::to_string(greatest) + " pixels to pick from, got " +
                                std::to_string(width) + " x " + std::to_string(height),
                            "VRenderContext::pickObjects", __FILE__, __LINE__);
}

/// Copies rows of that length to a place where they are `step` apart.
void copyRows(const std::vector<std::uint32_t>& from, int length,
              std::vector<std::uint32_t>::iterator to, int step) {
    for (auto row = from.begin(); row != from.end(); row += length) {
        std::copy_n(row, length, to);
        // No iterator beyond the end.
        if (from.end() - row > length) to += step;
    }
}

/// Whether the model view is what the camera gives, and nobody has set another one.
bool isOfItsCamera(const View& view) {
    VCamera camera;
    camera.position = view.cameraPosition;
    View::Matrix modelView = view.untranslatedModelView;
    camera.translate(modelView);
    return modelView == view.modelView;
}

/// What is at a part of the width and of the height of a picture. `nearness` is from 0 at the far
/// plane to 1 at the near one: as far planes may be many powers of ten away, it is not to be taken
/// from 1.
View::vector inEyeSpace(const View& view, double acrossPart, double upPart, double nearness) {
    const double depth =
        view.perspective ? view.near * view.far / (view.near + nearness * (view.far - view.near))
                         : view.far - nearness * (view.far - view.near);
    const double scale = view.perspective ? depth / view.near : 1.0;
    return {(view.left + acrossPart * (view.right - view.left)) * scale,
            (view.bottom + upPart * (view.top - view.bottom)) * scale, -depth};
}

} // namespace

/// Draws the object that it is aimed at, for one eye after the other unless it draws all views
/// itself. One for each context, as objects are drawn one at a time, or one within another: an
/// object may pick while it is drawn.
class GLRenderContext::EachEye final : public MultiviewRenderable {
public:
    /// Aims at an object as long as it exists.
    class Aim {
    public:
        Aim(EachEye& eachEye, const RenderAble& object, MultiviewRenderable* own)
            : _eachEye(eachEye),
              _object(object),
              _own(own),
              _outer(std::exchange(eachEye._aim, this)) {}
        Aim(const Aim&) = delete;
        Aim& operator=(const Aim&) = delete;
        ~Aim() { _eachEye._aim = _outer; }

        /// False of what is hidden.
        bool wasDrawn() const { return _wasDrawn; }

    private:
        friend EachEye;
        EachEye& _eachEye;
        const RenderAble& _object;
        MultiviewRenderable* const _own;
        Aim* const _outer;
        bool _wasDrawn = false;
    };

    explicit EachEye(GLRenderContext& context) : _context(context) {}

    /// The one that is being drawn; null without one.
    const RenderAble* object() const { return _aim != nullptr ? &_aim->_object : nullptr; }
    bool isAimedAt(const RenderAble& object) const {
        const Aim* aim = _aim;
        while (aim != nullptr && &aim->_object != &object) aim = aim->_outer;
        return aim != nullptr;
    }

    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          RenderAble::SubContext& sub) override {
        const Aim& aim = *_aim;
        _aim->_wasDrawn = true;
        try {
            _context.beginEyes(views);
            return aim._own != nullptr ? aim._own->multiview_render(context, views, sub)
                                       : drawEachView(aim._object, context, views, sub);
        } catch (const RenderException&) {
            throw; // noted when the context is notified
        } catch (const std::exception& exception) {
            note(aim._object, exception.what());
            throw;
        } catch (const char* text) {
            note(aim._object, text);
            throw;
        } catch (...) {
            note(aim._object, "an exception of an unknown kind");
            throw;
        }
    }

private:
    /// Whether all views were drawn. Leaves out the other views after a failure was reported, as
    /// the object would change its status with each; such an object may call that a success.
    bool drawEachView(const RenderAble& object, VRenderContext& context,
                      const LayeredMultiViews::ViewReferences& views,
                      RenderAble::SubContext& sub) const {
        const std::size_t failures = _context._failures.size();
        bool isComplete = true;
        for (unsigned eye = 0; eye < views.size(); ++eye) {
            _context.beginEye(eye);
            if (!object.render(context, views[eye], sub)) isComplete = false;
            if (_context._failures.size() != failures) break;
        }
        return isComplete;
    }
    void note(const RenderAble& object, const char* reason) {
        _context._failures.push_back({object.Name(), reason});
    }

    GLRenderContext& _context;
    Aim* _aim = nullptr;
};

/// Where painters draw the views of this context.
class GLRenderContext::Targets final : public GL::ViewTargets {
public:
    explicit Targets(GLRenderContext& context) : _context(context) {}
    ~Targets() = default;

    bool bindAll() override {
        _context._boundTarget = nullptr;
        if (_context._pickTarget != nullptr) {
            if (!_context._pickTarget->hasSeveralViews()) return false;
            _context._pickTarget->bindAll();
            return true;
        }
        if (_context._wholeTarget == nullptr) return false;
        glBindFramebuffer(GL_FRAMEBUFFER, _context._wholeTarget->number());
        return true;
    }
    void bindView(unsigned view) override {
        _context._boundTarget = nullptr;
        _context.selectView(view);
        if (_context._pickTarget != nullptr) return _context._pickTarget->bindView();
        const auto& targets = _context._targets;
        const std::size_t last = targets.size() - 1;
        glBindFramebuffer(GL_FRAMEBUFFER, targets[std::min<std::size_t>(view, last)]->number());
    }
    bool areBound() const override {
        const unsigned number = boundFramebuffer();
        if (_context._pickTarget != nullptr) return _context._pickTarget->is(number);
        const GLLayeredFramebuffer* const whole = _context._wholeTarget;
        if (whole != nullptr && whole->number() == number) return true;
        return std::any_of(_context._targets.begin(), _context._targets.end(),
                           [&](const GLFramebuffer* target) { return target->number() == number; });
    }

private:
    GLRenderContext& _context;
};

GLRenderContext::GLRenderContext(GLContext& glContext, const Keel::WeakPtr<Seagrass>& theSeagrass,
                                 const Keel::WeakPtr<VRenderInterruptor>& theInterruptor,
                                 const Keel::StrongPtr<VRenderPrecision>& thePrecision,
                                 long long allowance)
    : BasinOnGL(glContext, theSeagrass, theInterruptor, thePrecision, NumberOfLayers, allowance),
      _viewTargets(std::make_unique<Targets>(*this)),
      _eachEye(new EachEye(*this)) {
    factory().machine().targets = _viewTargets.get();
    ReversedDepths = glContext.depths() == GLContext::Depths::Reversed;
}

GLRenderContext::~GLRenderContext() {
    factory().machine().targets = nullptr;
}

void GLRenderContext::setTargets(std::vector<const GLFramebuffer*> targets) {
    _targets = std::move(targets);
    _wholeTarget = nullptr;
    _boundTarget = nullptr;
    factory().machine().pass = GL::Pass::EachView;
    OutputViews = 1;
}

void GLRenderContext::setTargets(const GLLayeredFramebuffer& target) {
    std::vector<const GLFramebuffer*> targets;
    for (unsigned view = 0; view < target.numberOfViews(); ++view) {
        targets.push_back(&target.view(view));
    }
    setTargets(std::move(targets));
    // A single view is drawn as always.
    if (target.numberOfViews() < 2) return;
    _wholeTarget = &target;
    factory().machine().pass = target.pass();
    if (target.pass() == GL::Pass::Extension) OutputViews = target.numberOfViews();
}

void GLRenderContext::setEyes(const std::vector<Eye>& eyes) {
    const auto number = static_cast<unsigned>(std::max<std::size_t>(eyes.size(), 1));
    if (EyeViews.size() != number) setNumberOfEyes(number);
    resetLayeredViews();
    for (unsigned i = 0; i < eyes.size(); ++i) {
        const Eye& eye = eyes[i];
        setEyeView(eye.camera, eye.near, eye.far, eye.orthographic, i, eye.separation, eye.focus, 0,
                   eye.toeIn);
        CurrentView(i, 0).updateInverseMatrices();
    }
    // To the layer of the world.
    elevateView();
    _viewsLayer = elevateView();
    _views = getViews(_viewsLayer, 0);
    if (!_multiView) _multiView = createUniformBuffer(0);
    takeWorldViews();
    planesWith(usualMarginPixels, _eyePlanes);
}

void GLRenderContext::planesWith(double marginPixels, std::vector<EyePlanes>& planes) const {
    const PixelRectangle pixels = getViewport(0);
    planes.clear();
    for (const View& view : _views) {
        planes.push_back(planesOf(view, 2.0 * marginPixels / std::max(pixels[2], 1),
                                  2.0 * marginPixels / std::max(pixels[3], 1)));
    }
}

/// From the rows of projection * modelView: -w <= x <= w and so on for y and z. The margins are
/// beside and above that, as parts of w.
GLRenderContext::EyePlanes GLRenderContext::planesOf(const View& view, double marginX,
                                                     double marginY) {
    const bool isOfCamera = isOfItsCamera(view);
    std::array<double, 16> m{};
    View::myglMultiplyMatrices4by4(m.data(), view.matrix.data(),
                                   isOfCamera ? view.untranslatedModelView.data()
                                              : view.modelView.data());
    const std::array<double, 3> reach{1.0 + marginX, 1.0 + marginY, 1.0};
    EyePlanes result;
    if (isOfCamera) result.place = view.cameraPosition;
    auto& planes = result.planes;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::size_t column = 0; column < 4; ++column) {
            const double value = m[4 * column + axis];
            const double w = reach[axis] * m[4 * column + 3];
            planes[2 * axis][column] = w + value;
            planes[2 * axis + 1][column] = w - value;
        }
    }
    return result;
}

VRenderContext::PixelRectangle GLRenderContext::getViewport(unsigned) const {
    if (_targets.empty()) return {0, 0, 0, 0};
    if (_picture) return {0, 0, _picture->widthPixels, _picture->heightPixels};
    return {0, 0, _targets.front()->width(), _targets.front()->height()};
}

void GLRenderContext::showPart(const std::optional<Part>& part) {
    _picture = part;
    _boundTarget = nullptr;
}

void GLRenderContext::openEyes(const ViewReferences& views) {
    _boundTarget = nullptr;
    beginEyes(views);
}

void GLRenderContext::openEye(unsigned eye) {
    _boundTarget = nullptr;
    beginEye(eye);
}

void GLRenderContext::beginEyes(const ViewReferences& views) {
    VRenderContext::openEyes(views);
    beginEye(0);
    factory().machine().numberOfViews =
        static_cast<unsigned>(std::max<std::size_t>(views.size(), 1));
}

void GLRenderContext::beginEye(unsigned eye) {
    VRenderContext::openEye(eye);
    if (!isInPlace(eye)) eyeOperation(eye);
    selectView(eye);
    factory().machine().firstView = eye;
    factory().machine().numberOfViews = 1;
}

void GLRenderContext::selectView(unsigned eye) {
    const View& view = CurrentView(eye, 0);
    factory().setCurrentView(eye);
    factory().setMatrices(ReversedDepths ? withReversedDepths(view.matrix) : view.matrix,
                          view.modelView);
}

/// Null without targets.
const GLFramebuffer* GLRenderContext::targetOf(unsigned eye) const {
    return _targets.empty() ? nullptr : _targets[std::min<std::size_t>(eye, _targets.size() - 1)];
}

/// Whether the target of an eye is bound with all that belongs to it. Who has bound another may
/// have changed more than that.
bool GLRenderContext::isInPlace(unsigned eye) const {
    const GLFramebuffer* const target = targetOf(eye);
    if (target == nullptr || target != _boundTarget || _pickTarget != nullptr) return false;
    return boundFramebuffer() == target->number();
}

void GLRenderContext::eyeOperation(unsigned eye) {
    if (_pickTarget != nullptr) return _pickTarget->bind();
    const GLFramebuffer* const target = targetOf(eye);
    if (target == nullptr) return;
    target->bind();
    if (_picture) {
        glViewport(-_picture->left, -_picture->bottom, _picture->widthPixels,
                   _picture->heightPixels);
    }
    _boundTarget = target;
}

void GLRenderContext::contextOperation() {
    factory().context().makeCurrent();
    _boundTarget = nullptr;
}

bool GLRenderContext::notifyError(const RenderAble& object, const RenderException& exception) {
    _failures.push_back({object.Name(), exception.str(), GL::logWithNames(exception)});
    return false;
}

/// Casts cost as much as all else that is done for an object: they are done when the selection
/// changes. For the caller to keep, as another selection may be drawn meanwhile.
std::shared_ptr<const GLRenderContext::Items>
GLRenderContext::itemsOf(const ObjectSelection& objects) {
    auto drawables = objects.drawables();
    if (_items && drawables == _drawables) return _items;
    const auto items = std::make_shared<Items>();
    items->reserve(drawables->size());
    for (const ObjectSelection::Drawable& drawable : *drawables) {
        const RenderAblePtr object(drawable.object);
        if (!object) continue;
        const auto* const handler = dynamic_cast<RenderAble::TransparencyHandler*>(object.get());
        items->push_back(
            {drawable.layer, drawable.object, dynamic_cast<MultiviewRenderable*>(object.get()),
             dynamic_cast<StereoDraw*>(object.get()),
             dynamic_cast<const VTransformable*>(object.get()),
             dynamic_cast<const PixelMargin*>(object.get()), handler != nullptr, drawable.isLight});
    }
    _drawables = std::move(drawables);
    _items = items;
    return items;
}

/// Visits the live objects of the layers, but for lights, in the order in which they are drawn.
/// Ends, and is false, if `stops`, which is asked ahead of each, is true.
template<class Stops, class Visit>
bool GLRenderContext::visitInOrder(const Items& items, int firstLayer, int lastLayer,
                                   const Stops& stops, const Visit& visit) const {
    std::vector<Waiting> transparent;
    for (const Item& item : items) {
        if (item.isLight || item.layer < firstLayer || item.layer > lastLayer) continue;
        const RenderAblePtr object(item.object);
        if (!object) continue;
        if (stops()) return false;
        if (item.isTransparent) {
            transparent.push_back({&item, distanceOf(*object, item)});
        } else {
            visit(object, item);
        }
    }
    std::stable_sort(transparent.begin(), transparent.end(),
                     [](const Waiting& a, const Waiting& b) { return a.distance > b.distance; });
    return std::all_of(transparent.begin(), transparent.end(), [&](const Waiting& waiting) {
        const RenderAblePtr object(waiting.item->object);
        if (!object) return true;
        if (stops()) return false;
        visit(object, *waiting.item);
        return true;
    });
}

VRenderContext::RenderResult GLRenderContext::renderObjects(const ObjectSelection& objects,
                                                            double& renderTime, int firstLayer,
                                                            int lastLayer) {
    _failures.clear();
    _drawn = _culled = 0;
    _objectSeconds.clear();
    _boundTarget = nullptr;
    if (_targets.empty() || _views.empty()) return 0;
    factory().machine().report("ahead of the frame");
    const GL::DrawState::Frame drawState(factory().machine().drawState);
    const FrameLights lights(*this, objects);
    const auto items = itemsOf(objects);
    RenderAble::SubContext sub;
    RenderResult result = renderLights(*items, renderTime, sub);
    const auto drawNext = [&](const RenderAblePtr& object, const Item& item) {
        if (isSeen(*object, item)) {
            result |= draw(object, item, renderTime, sub);
        } else {
            ++_culled;
        }
    };
    const auto stops = [this] { return isCancelled(); };
    if (!visitInOrder(*items, firstLayer, lastLayer, stops, drawNext)) {
        result |= Interrupted;
    }
    openEye(0);
    const std::size_t failures = _failures.size();
    addFailures(_failures, std::exchange(_failuresOfPicks, {}));
    return _failures.size() == failures ? result : result | Failed;
}

void GLRenderContext::addFailures(std::vector<Failure>& all, const std::vector<Failure>& more) {
    for (const Failure& failure : more) {
        const bool isKnown = std::any_of(all.begin(), all.end(), [&](const Failure& known) {
            return known.object == failure.object && known.report == failure.report;
        });
        if (!isKnown) all.push_back(failure);
    }
}

/// None if the object has no bounds, or fails to tell them.
std::optional<Box> GLRenderContext::boundsOf(const RenderAble& object, const Item& item) const {
    try {
        return VTransformable::drawnBounds(object, item.transformable, pool);
    } catch (...) {
        return {}; // it will fail again when it is drawn, and be reported then
    }
}

/// Whether all of a box lies beyond one of the planes, for each eye. What is not a number is
/// nowhere outside.
bool GLRenderContext::isOutside(const Box& box, const std::vector<EyePlanes>& eyes) {
    return !eyes.empty() && std::all_of(eyes.begin(), eyes.end(), [&](const EyePlanes& eye) {
        const View::vector min = box.min - eye.place, max = box.max - eye.place;
        const auto farthest = [&](const std::array<double, 4>& plane) {
            double sum = plane[3];
            for (std::size_t axis = 0; axis < 3; ++axis) {
                sum += plane[axis] * (plane[axis] > 0.0 ? max[axis] : min[axis]);
            }
            return sum;
        };
        return std::any_of(eye.planes.begin(), eye.planes.end(),
                           [&](const auto& plane) { return farthest(plane) < 0.0; });
    });
}

/// From the first eye, along its line of sight; 0 without bounds.
double GLRenderContext::distanceOf(const RenderAble& object, const Item& item) const {
    const std::optional<Box> box = boundsOf(object, item);
    if (!box || _views.empty()) return 0.0;
    const auto& m = _views.front().get().modelView;
    const View::point centre = box->min + (box->max - box->min) * 0.5;
    const double distance = -(m[2] * centre.x + m[6] * centre.y + m[10] * centre.z + m[14]);
    // What is not a number can't be sorted.
    return std::isnan(distance) ? 0.0 : distance;
}

/// An object that fails to tell it is drawn, and fails again or not.
double GLRenderContext::marginOf(const Item& item) const {
    try {
        return item.margin == nullptr ? 0.0 : item.margin->marginPixels(pool);
    } catch (...) {
        return std::numeric_limits<double>::infinity();
    }
}

bool GLRenderContext::isSeen(const RenderAble& object, const Item& item) const {
    const std::optional<Box> bounds = boundsOf(object, item);
    if (!bounds || !isOutside(*bounds, _eyePlanes)) return true;
    const double margin = marginOf(item);
    if (!(margin > usualMarginPixels)) return false;
    if (std::isinf(margin)) return true;
    std::vector<EyePlanes> planes;
    planesWith(margin, planes);
    return !isOutside(*bounds, planes);
}

/// Ahead of other objects, as these take over what the lights set for the frame.
VRenderContext::RenderResult GLRenderContext::renderLights(const Items& items, double& renderTime,
                                                           RenderAble::SubContext& sub) {
    const ViewReferences firstEye(_views.begin(), _views.begin() + 1);
    RenderResult result = 0;
    for (const Item& item : items) {
        if (!item.isLight) continue;
        const RenderAblePtr light(item.object);
        if (!light) continue;
        const std::size_t failures = _failures.size();
        const std::uint64_t refusals = numberOfRefusals();
        const EachEye::Aim aim(*_eachEye, *light, item.own);
        const bool succeeded =
            _eachEye->exception_safe_multiview_render(light, renderTime, *this, firstEye, sub);
        const bool hasFailed = _failures.size() != failures;
        putInOrder(*light, hasFailed);
        if (numberOfRefusals() != refusals) result |= RefusedMemory;
        if (!succeeded) result |= hasFailed ? Failed : Incomplete;
    }
    return result;
}

VRenderContext::RenderResult GLRenderContext::draw(const RenderAblePtr& object, const Item& item,
                                                   double& renderTime,
                                                   RenderAble::SubContext& sub) {
    const double before = renderTime;
    const std::size_t failures = _failures.size();
    const std::uint64_t refusals = numberOfRefusals();
    EachEye::Aim aim(*_eachEye, *object, item.own);
    bool wasDrawn = drawStereo(object, item, renderTime, sub);
    bool succeeded = wasDrawn;
    if (!wasDrawn && _failures.size() == failures) {
        succeeded =
            _eachEye->exception_safe_multiview_render(object, renderTime, *this, _views, sub);
        wasDrawn = aim.wasDrawn();
    }
    putInOrder(*object, _failures.size() != failures);
    if (_collectsSeconds && wasDrawn) noteSeconds(*object, renderTime - before);
    RenderResult result = 0;
    if (numberOfRefusals() != refusals) result |= RefusedMemory;
    if (_failures.size() != failures) return result | Failed;
    if (!succeeded) return result | Incomplete;
    if (!wasDrawn) return result;
    ++_drawn;
    return result | Drew;
}

/// Brings back what an object has left otherwise, so that the next one doesn't see it. What costs
/// time is done for those alone that have failed or that called OpenGL themselves.
void GLRenderContext::putInOrder(const RenderAble& object, bool hasFailed) {
    GL::DrawState& drawState = factory().machine().drawState;
    if (hasFailed || drawState.wasRestored()) {
        drawState.goBack();
        _boundTarget = nullptr;
    }
    // Whoever has views of its own elevates the layer for them and uploads them; one that fails may
    // be back from the one, and not from the other.
    const bool hasOwnViews = CurrentLayer != _viewsLayer || changesOfMultiView() != _worldChanges;
    if (hasFailed || hasOwnViews || hasOwnBlock()) takeWorldViews();
    factory().machine().discardErrors(object.Name());
}

/// Whether somebody has left another buffer for the views, which later programs would be tied to.
bool GLRenderContext::hasOwnBlock() {
    const std::uint64_t written = entriesWritten();
    if (std::exchange(_entriesWritten, written) == written) return false;
    return getUniformBuffer(MultiViewBlock) != _multiView;
}

std::uint64_t GLRenderContext::entriesWritten() const {
    const Keel::StrongPtr<Seagrass> live(seagrass);
    return live ? live->numberOfEntriesWritten() : 0;
}

std::uint64_t GLRenderContext::changesOfMultiView() const {
    return static_cast<const GL::GLUniformBuffer&>(*_multiView).changes();
}

void GLRenderContext::takeWorldViews() {
    CurrentLayer = _viewsLayer;
    setUniformBuffer(MultiViewBlock, _multiView);
    _entriesWritten = entriesWritten();
    updateMultiView(*_multiView, _views);
    _worldChanges = changesOfMultiView();
}

/// Whether the object has drawn all eyes itself. If not, all is in order for another try.
bool GLRenderContext::drawStereo(const RenderAblePtr& object, const Item& item, double& renderTime,
                                 RenderAble::SubContext& sub) {
    if (item.stereo == nullptr || _views.size() < 2 || !object->isVisible(pool)) return false;
    beginEyes(_views);
    if (item.stereo->exception_safe_stereo_render(object, renderTime, *this, _views, sub)) {
        return true;
    }
    putInOrder(*object, false);
    return false;
}

/// Leads all drawing to a target for picking; what belongs to the frame, and to the object or wave
/// that may be under way meanwhile, stays as it is.
class GLRenderContext::Picking {
    const GL::DrawState::Frame _drawState;
    const GL::SavedState _state;

public:
    template<class... Where>
    explicit Picking(GLRenderContext& context, Where... where)
        : _drawState(context.factory().machine().drawState),
          target(context.factory().machine(), where...),
          _context(context),
          _machine(context.factory().machine()),
          _outerTarget(std::exchange(context._pickTarget, &target)),
          _eye(context),
          _views(context),
          _wave(_machine),
          _failures(std::exchange(context._failures, {})),
          _frameSeconds(context.precision ? context.precision->lastFrameTime.exchange(0.0) : 0.0) {
        context.takeWorldViews();
        // Those of the wave that asks.
        if (_drawState.isWithin()) GL::SavedState::disableFlags();
    }
    Picking(const Picking&) = delete;
    Picking& operator=(const Picking&) = delete;
    ~Picking() {
        _context._pickTarget = _outerTarget;
        addFailures(_context._failuresOfPicks, _context._failures);
        _context._failures = std::move(_failures);
        if (_context.precision) _context.precision->lastFrameTime = _frameSeconds;
        _wave.putBack(_machine);
        _views.putBack(_context);
        _eye.putBack(_context);
    }

    GL::PickTarget target;

private:
    /// Which views are open.
    struct Eye {
        explicit Eye(const GLRenderContext& context)
            : eye(context.CurrentEye),
              firstView(context.factory().machine().firstView),
              numberOfViews(context.factory().machine().numberOfViews),
              currentView(context.factory().machine().currentView),
              projection(context.factory().machine().projection),
              modelView(context.factory().machine().modelView) {}
        void putBack(GLRenderContext& context) const {
            context.CurrentEye = eye;
            context.factory().machine().firstView = firstView;
            context.factory().machine().numberOfViews = numberOfViews;
            context.factory().setCurrentView(currentView);
            context.factory().setMatrices(projection, modelView);
        }

        unsigned eye, firstView, numberOfViews, currentView;
        GL::Machine::Matrix projection, modelView;
    };

    /// What these see, and programs of them.
    struct Views {
        explicit Views(const GLRenderContext& context)
            : layer(context.CurrentLayer), block(context.getUniformBuffer(MultiViewBlock)) {
            // Layers above that of the world are for anybody.
            if (layer > context._viewsLayer) eyes = context.EyeViews;
            if (context.changesOfMultiView() == context._worldChanges) return;
            contents.emplace(context._multiView->bytes());
            context._multiView->read(0, contents->data(), contents->size());
        }
        void putBack(GLRenderContext& context) const {
            context.CurrentLayer = layer;
            // In place, as others refer to them.
            if (eyes.size() == context.EyeViews.size()) {
                std::copy(eyes.begin(), eyes.end(), context.EyeViews.begin());
            }
            context.setUniformBuffer(MultiViewBlock, block);
            if (contents) context._multiView->upload(contents->data(), contents->size());
        }

        std::uint32_t layer;
        std::vector<LayeredViews> eyes; // empty if they stay as they are
        UniformBufferPtr block;
        std::optional<std::vector<std::byte>> contents; // unless they are those of the world
    };

    /// The wave that asks, and what its program draws with, which others may use as well.
    struct Wave {
        explicit Wave(GL::Machine& machine)
            : program(std::exchange(machine.program, nullptr)),
              attributes(std::exchange(machine.attributes, {})) {
            if (program == nullptr) return;
            variables = *program;
            samplers = program->SamplerBindings;
            origin = program->worldOrigin();
        }
        void putBack(GL::Machine& machine) {
            machine.program = program;
            machine.attributes = std::move(attributes);
            if (program == nullptr) return;
            static_cast<RenderNamespace::ProgramVariables&>(*program) = std::move(variables);
            program->SamplerBindings = std::move(samplers);
            program->setAllProgramVariables(FloatedOrigin(origin));
        }

        GL::GLProgram* program;
        std::vector<const GL::GLVertexAttribute*> attributes;
        RenderNamespace::ProgramVariables variables;
        std::map<std::string, Polyp::TentaclePtr> samplers;
        Skua::PhysicalSpace::vector origin;
    };

    GLRenderContext& _context;
    GL::Machine& _machine;
    const GL::PickTarget* const _outerTarget;
    const Eye _eye;
    const Views _views;
    Wave _wave;
    std::vector<Failure> _failures;
    // Without it no object gives out the time that it takes.
    const double _frameSeconds;
};

Keel::StrongPtr<RenderBasin::FloatedOrigin>
GLRenderContext::makeFloatedOrigin(const Skua::PhysicalSpace::vector& cameraOffset) const {
    const Skua::PhysicalSpace::point& camera = CurrentView(CurrentEye, 0).camera.position;
    return Keel::make<FloatedOrigin>(camera - cameraOffset - Skua::PhysicalSpace::point());
}

VRenderContext::PickListPtr GLRenderContext::pickObjects(const ObjectSelection& objects, int x,
                                                         int y, int width, int height,
                                                         int firstLayer, int lastLayer) {
    const PickListPtr list(new PickList(x, y, width, height, 0));
    if (width < 1 || height < 1 || _targets.empty() || _views.empty()) return list;
    checkPick(factory().context().limits(), width, height);
    const bool needsAllViews = factory().machine().pass == GL::Pass::Extension;
    const PixelRectangle picture = getViewport(0);
    const int left = _picture ? _picture->left : 0, bottom = _picture ? _picture->bottom : 0;
    const Extent columns = within(x, width, _targets.front()->width());
    const Extent rows = within(y, height, _targets.front()->height());
    if (const RenderAble* asking = _eachEye->object()) {
        factory().machine().discardErrors(asking->Name());
    }
    const FrameLights lights(*this);
    // Even if nothing of it is in the picture, objects are numbered.
    const Picking picking(*this, columns.first + left, rows.first + bottom,
                          std::max(columns.length, 1), std::max(rows.length, 1), picture[2],
                          picture[3], needsAllViews ? static_cast<int>(_views.size()) : 1);
    list->Ids = drawNumbered(picking.target, objects, firstLayer, lastLayer);
    std::vector<std::uint32_t> numbers(static_cast<std::size_t>(list->AlignedWidth) *
                                       static_cast<std::size_t>(list->AlignedHeight));
    if (columns.length > 0 && rows.length > 0) {
        copyRows(picking.target.read(), columns.length,
                 numbers.begin() + (std::ptrdiff_t{rows.first} - y) * list->AlignedWidth +
                     (columns.first - x),
                 list->AlignedWidth);
    }
    list->Buffer = Keel::StrongPtr<Keel::TypedChunk<std::uint32_t>, Keel::ChunkBase>(
        new Keel::Chunk<std::uint32_t>(std::move(numbers)));
    return list;
}

/// Draws for the first eye, and numbers what was drawn from 1 on.
std::map<std::uint32_t, VObjectPtr> GLRenderContext::drawNumbered(const GL::PickTarget& target,
                                                                  const ObjectSelection& objects,
                                                                  int firstLayer, int lastLayer) {
    const ViewReferences firstEye(_views.begin(), _views.begin() + 1);
    RenderAble::SubContext sub;
    std::map<std::uint32_t, VObjectPtr> numbered;
    std::uint32_t number = 0;
    const auto pick = [&](const RenderAblePtr& object, const Item& item) {
        if (_eachEye->isAimedAt(*object) || !isSeen(*object, item)) return;
        double seconds = 0.0;
        const std::size_t failures = _failures.size();
        const EachEye::Aim aim(*_eachEye, *object, item.own);
        _eachEye->exception_safe_multiview_render(object, seconds, *this, firstEye, sub);
        putInOrder(*object, _failures.size() != failures);
        if (!aim.wasDrawn()) return;
        target.assign(++number);
        numbered[number] = object;
    };
    visitInOrder(
        *itemsOf(objects), firstLayer, lastLayer, [] { return false; }, pick);
    return numbered;
}

std::optional<View::point> GLRenderContext::pickPlace(const ObjectSelection& objects, int x, int y,
                                                      int firstLayer, int lastLayer) {
    if (_targets.empty() || _views.empty()) return {};
    const bool isInside =
        x >= 0 && x < _targets.front()->width() && y >= 0 && y < _targets.front()->height();
    if (!isInside) return {};
    const bool needsAllViews = factory().machine().pass == GL::Pass::Extension;
    const PixelRectangle picture = getViewport(0);
    const int left = _picture ? _picture->left : 0, bottom = _picture ? _picture->bottom : 0;
    if (const RenderAble* asking = _eachEye->object()) {
        factory().machine().discardErrors(asking->Name());
    }
    const FrameLights lights(*this);
    const Picking picking(*this, x + left, y + bottom, 1, 1, picture[2], picture[3],
                          needsAllViews ? static_cast<int>(_views.size()) : 1);
    drawNumbered(picking.target, objects, firstLayer, lastLayer);
    if (picking.target.read().front() == 0) return {};
    return placeOf(x + left, y + bottom, picking.target.readDepth());
}

/// Relative to the camera as long as numbers are small there, so that far from the origin of the
/// world nothing is lost.
View::point GLRenderContext::placeOf(int x, int y, float depth) const {
    const View& view = _views.front();
    const PixelRectangle picture = getViewport(0);
    const double acrossPart = (x + 0.5) / picture[2], upPart = (y + 0.5) / picture[3];
    const View::vector eye =
        inEyeSpace(view, acrossPart, upPart, ReversedDepths ? double{depth} : 1.0 - double{depth});
    // A model view turns, and nothing else; its inverse is its transpose.
    const View::Matrix& turn = view.untranslatedModelView;
    View::vector offset;
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::size_t row = 0; row < 3; ++row) offset[axis] += turn[4 * axis + row] * eye[row];
    }
    return view.cameraPosition + offset;
}

void GLRenderContext::noteSeconds(const RenderAble& object, double seconds) {
    _objectSeconds[object.Name()] += seconds;
}

} // namespace Mirk
