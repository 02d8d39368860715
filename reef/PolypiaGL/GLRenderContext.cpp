#include <PolypiaGL/GLRenderContext.hpp>

#include <Polypia/PickList.hpp>
#include <Polypia/RenderException.hpp>
#include <PolypiaGL/PickTarget.hpp>
#include <PolypiaGL/glMachine.hpp>

#include <algorithm>
#include <cmath>
#include <exception>
#include <utility>

namespace Mirk {

using Box = Skua::PhysicalSpace::AABB;

/// Draws the object that it was aimed at, for one eye after the other unless it draws all views
/// itself. One for each context, as objects are drawn one at a time.
class GLRenderContext::EachEye final : public MultiviewRenderable {
public:
    explicit EachEye(GLRenderContext& context) : _context(context) {}

    void aim(const RenderAble& object, MultiviewRenderable* own) {
        _object = &object;
        _own = own;
        wasCalled = false;
    }

    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          RenderAble::SubContext& sub) override {
        wasCalled = true;
        try {
            context.openEyes(views);
            return _own != nullptr ? _own->multiview_render(context, views, sub)
                                   : drawEachView(context, views, sub);
        } catch (const RenderException&) {
            throw; // noted when the context is notified
        } catch (const std::exception& exception) {
            note(exception.what());
            throw;
        } catch (...) {
            note("an exception of an unknown kind");
            throw;
        }
    }

    bool wasCalled = false;

private:
    /// Leaves out the other views after a failure, as the object would change its status with each.
    /// An object that reports one may call that a success.
    bool drawEachView(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                      RenderAble::SubContext& sub) const {
        const std::size_t failures = _context._failures.size();
        for (unsigned eye = 0; eye < views.size(); ++eye) {
            context.openEye(eye);
            if (!_object->render(context, views[eye], sub)) return false;
            if (_context._failures.size() != failures) return true;
        }
        return true;
    }
    void note(const char* reason) { _context._failures.push_back({_object->Name(), reason}); }

    GLRenderContext& _context;
    const RenderAble* _object = nullptr;
    MultiviewRenderable* _own = nullptr;
};

GLRenderContext::GLRenderContext(GLContext& glContext, const Keel::WeakPtr<Seagrass>& theSeagrass,
                                 const Keel::WeakPtr<VRenderInterruptor>& theInterruptor,
                                 const Keel::StrongPtr<VRenderPrecision>& thePrecision,
                                 long long allowance)
    : BasinOnGL(glContext, theSeagrass, theInterruptor, thePrecision, NumberOfLayers, allowance),
      _eachEye(new EachEye(*this)) {}

GLRenderContext::~GLRenderContext() = default;

void GLRenderContext::setTargets(std::vector<const GLFramebuffer*> targets) {
    _targets = std::move(targets);
    _boundTarget = nullptr;
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
    elevateView();
    _views = getViews(CurrentLayer, 0);
    if (!_multiView) _multiView = createUniformBuffer(0);
    setUniformBuffer(MultiViewBlock, _multiView);
    updateMultiView(*_multiView, _views);
    const PixelRectangle pixels = getViewport(0);
    _eyePlanes.clear();
    for (const View& view : _views) _eyePlanes.push_back(planesOf(view, pixels[2], pixels[3]));
}

/// From the rows of projection * modelView: -w <= x <= w and so on for y and z.
GLRenderContext::EyePlanes GLRenderContext::planesOf(const View& view, int widthPixels,
                                                     int heightPixels) {
    // Lines and points are drawn beyond their bounds by half their width.
    constexpr double margin = 64.0;
    std::array<double, 16> m{};
    View::myglMultiplyMatrices4by4(m.data(), view.matrix.data(), view.modelView.data());
    const std::array<double, 3> reach{1.0 + 2.0 * margin / std::max(widthPixels, 1),
                                      1.0 + 2.0 * margin / std::max(heightPixels, 1), 1.0};
    EyePlanes planes{};
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (std::size_t column = 0; column < 4; ++column) {
            const double value = m[4 * column + axis];
            const double w = reach[axis] * m[4 * column + 3];
            planes[2 * axis][column] = w + value;
            planes[2 * axis + 1][column] = w - value;
        }
    }
    return planes;
}

VRenderContext::PixelRectangle GLRenderContext::getViewport(unsigned) const {
    if (_targets.empty()) return {0, 0, 0, 0};
    return {0, 0, _targets.front()->width(), _targets.front()->height()};
}

void GLRenderContext::openEyes(const ViewReferences& views) {
    VRenderContext::openEyes(views);
    openEye(0);
}

void GLRenderContext::openEye(unsigned eye) {
    VRenderContext::openEye(eye);
    eyeOperation(eye);
    const View& view = CurrentView(eye, 0);
    factory().setCurrentView(eye);
    factory().setMatrices(view.matrix, view.modelView);
}

void GLRenderContext::eyeOperation(unsigned eye) {
    if (_pickTarget != nullptr) return _pickTarget->bind();
    if (_targets.empty()) return;
    const GLFramebuffer* const target = _targets[std::min<std::size_t>(eye, _targets.size() - 1)];
    if (target == _boundTarget) return;
    target->bind();
    _boundTarget = target;
}

void GLRenderContext::contextOperation() {
    factory().context().makeCurrent();
    _boundTarget = nullptr;
}

bool GLRenderContext::notifyError(const RenderAble& object, const RenderException& exception) {
    _failures.push_back({object.Name(), exception.str()});
    return false;
}

/// Casts cost as much as all else that is done for an object: they are done when the selection
/// changes.
void GLRenderContext::makeItems(const ObjectSelection& objects) {
    if (_selection == objects) return;
    _selection = objects;
    _items.clear();
    _items.reserve(objects.NumberOfObjects());
    _selection.iterate([this](int layer, const ObjectSelection::WeakObject& weak) {
        const VObjectPtr object(weak);
        auto* const renderable = dynamic_cast<RenderAble*>(object.get());
        if (renderable == nullptr) return true;
        const auto* const handler = dynamic_cast<RenderAble::TransparencyHandler*>(renderable);
        _items.push_back({layer, Keel::WeakPtr<RenderAble, VManagedObjectBase>(*renderable),
                          dynamic_cast<MultiviewRenderable*>(renderable), handler != nullptr});
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
    makeItems(objects);
    RenderResult result = 0;
    std::vector<Waiting> transparent;
    for (const Item& item : _items) {
        if (item.layer < firstLayer || item.layer > lastLayer) continue;
        if (isCancelled()) return result | Interrupted;
        const RenderAblePtr object(item.object);
        if (!object) continue;
        if (item.isTransparent) {
            transparent.push_back({&item, distanceOf(*object)});
        } else {
            drawIfSeen(object, item, renderTime, result);
        }
    }
    std::stable_sort(transparent.begin(), transparent.end(),
                     [](const Waiting& a, const Waiting& b) { return a.distance > b.distance; });
    for (const Waiting& waiting : transparent) {
        if (isCancelled()) return result | Interrupted;
        const RenderAblePtr object(waiting.item->object);
        if (object) drawIfSeen(object, *waiting.item, renderTime, result);
    }
    return result;
}

/// None if the object has no bounds, or fails to tell them.
std::optional<Box> GLRenderContext::boundsOf(const RenderAble& object) const {
    RenderAble::BoundingBallPtr ball;
    try {
        ball = object.getBoundingBall(pool);
    } catch (...) {
        return {}; // it will fail again when it is drawn, and be reported then
    }
    if (!ball) return {};
    if (const auto* const box = dynamic_cast<const Skua::BoundingBox*>(ball.get())) {
        return box->empty() ? std::nullopt : std::optional(Box{box->min, box->max});
    }
    if (ball->emptyBall()) return {};
    const View::vector reach(ball->radius, ball->radius, ball->radius);
    return Box{ball->centre - reach, ball->centre + reach};
}

/// Whether all of a box lies beyond one of the planes, for each eye. What is not a number is
/// nowhere outside.
bool GLRenderContext::isOutside(const Box& box) const {
    const auto farthest = [&](const std::array<double, 4>& plane) {
        double sum = plane[3];
        for (std::size_t axis = 0; axis < 3; ++axis) {
            sum += plane[axis] * (plane[axis] > 0.0 ? box.max[axis] : box.min[axis]);
        }
        return sum;
    };
    return !_eyePlanes.empty() &&
           std::all_of(_eyePlanes.begin(), _eyePlanes.end(), [&](const EyePlanes& planes) {
               return std::any_of(planes.begin(), planes.end(),
                                  [&](const auto& plane) { return farthest(plane) < 0.0; });
           });
}

/// From the first eye, along its line of sight; 0 without bounds.
double GLRenderContext::distanceOf(const RenderAble& object) const {
    const std::optional<Box> box = boundsOf(object);
    if (!box || _views.empty()) return 0.0;
    const auto& m = _views.front().get().modelView;
    const View::point centre = box->min + (box->max - box->min) * 0.5;
    const double distance = -(m[2] * centre.x + m[6] * centre.y + m[10] * centre.z + m[14]);
    // What is not a number can't be sorted.
    return std::isnan(distance) ? 0.0 : distance;
}

void GLRenderContext::drawIfSeen(const RenderAblePtr& object, const Item& item, double& renderTime,
                                 RenderResult& result) {
    const std::optional<Box> bounds = boundsOf(*object);
    if (bounds && isOutside(*bounds)) {
        ++_culled;
        return;
    }
    const double before = renderTime;
    const std::size_t failures = _failures.size();
    _eachEye->aim(*object, item.own);
    const bool succeeded =
        _eachEye->exception_safe_multiview_render(object, renderTime, *this, _views, _sub);
    if (_failures.size() != failures) {
        result |= Failed;
    } else if (!succeeded) {
        result |= Incomplete;
    } else if (_eachEye->wasCalled) {
        result |= Drew;
        ++_drawn;
    }
    if (_collectsSeconds && _eachEye->wasCalled) noteSeconds(*object, renderTime - before);
}

/// Leads all drawing to a target for picking; what belongs to the frame stays as it is.
class GLRenderContext::Picking {
public:
    Picking(GLRenderContext& context, const GL::PickTarget& target)
        : _context(context),
          _failures(context._failures),
          _precision(std::exchange(context.precision, {})) {
        context._pickTarget = &target;
    }
    Picking(const Picking&) = delete;
    Picking& operator=(const Picking&) = delete;
    ~Picking() {
        _context._pickTarget = nullptr;
        _context._boundTarget = nullptr;
        _context._failures = std::move(_failures);
        _context.precision = std::move(_precision);
    }

private:
    GLRenderContext& _context;
    std::vector<Failure> _failures;
    Keel::StrongPtr<VRenderPrecision> _precision;
};

VRenderContext::PickListPtr GLRenderContext::pickObjects(const ObjectSelection& objects, int x,
                                                         int y, int width, int height,
                                                         int firstLayer, int lastLayer) {
    const PickListPtr list(new PickList(x, y, width, height, 0));
    if (width < 1 || height < 1 || _targets.empty() || _views.empty()) return list;
    makeItems(objects);
    const GL::PickTarget target(factory().machine(), x, y, list->AlignedWidth, list->AlignedHeight,
                                _targets.front()->width(), _targets.front()->height());
    const Picking picking(*this, target);
    const ViewReferences firstEye(_views.begin(), _views.begin() + 1);
    std::uint32_t number = 0;
    for (const Item& item : _items) {
        if (item.layer < firstLayer || item.layer > lastLayer) continue;
        const RenderAblePtr object(item.object);
        if (!object) continue;
        const std::optional<Box> bounds = boundsOf(*object);
        if (bounds && isOutside(*bounds)) continue;
        double seconds = 0.0;
        _eachEye->aim(*object, item.own);
        _eachEye->exception_safe_multiview_render(object, seconds, *this, firstEye, _sub);
        if (!_eachEye->wasCalled) continue;
        target.assign(++number);
        list->Ids[number] = object;
    }
    list->Buffer = Keel::StrongPtr<Keel::TypedChunk<std::uint32_t>, Keel::ChunkBase>(
        new Keel::Chunk<std::uint32_t>(target.read()));
    return list;
}

void GLRenderContext::noteSeconds(const RenderAble& object, double seconds) {
    _objectSeconds[object.Name()] += seconds;
}

} // namespace Mirk
