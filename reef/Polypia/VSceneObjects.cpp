#include <Polypia/VSceneObjects.hpp>

#include <Polypia/RenderAble.hpp>

#include <keel/Profiler.hpp>
#include <keel/VerboseStream.hpp>
#include <rookery/BoundingBox.hpp>
#include <sorrel/TypedSlot.hpp>

#include <algorithm>
#include <cstddef>
#include <exception>
#include <mutex>
#include <typeinfo>
#include <utility>

namespace Mirk {

namespace {

const ValueTypeRegistration<VSceneObjects> sceneObjectsType("VSceneObjects");

using BallPtr = VSceneObjects::BoundingBallPtr;
using BoxPtr = Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>;

/// The box as which a ball was told, or null. Nearly all are of that very class, which is found out
/// faster than by a cast.
const Skua::BoundingBox* boxOf(const Skua::BoundingBall& ball) {
    if (typeid(ball) == typeid(Skua::BoundingBox)) {
        return static_cast<const Skua::BoundingBox*>(&ball);
    }
    return dynamic_cast<const Skua::BoundingBox*>(&ball);
}

class BoxAround {
public:
    void add(const Skua::BoundingBall& ball) {
        const Skua::BoundingBox* const added = boxOf(ball);
        if (added == nullptr || added->empty()) return;
        if (_box->isEmpty) {
            _box->min = added->min;
            _box->max = added->max;
            _box->isEmpty = false;
            return;
        }
        for (std::size_t axis = 0; axis < 3; ++axis) {
            // Written so that a minimum that is not a number is taken, and replaced by the next.
            if (!(added->min[axis] >= _box->min[axis])) _box->min[axis] = added->min[axis];
            if (added->max[axis] > _box->max[axis]) _box->max[axis] = added->max[axis];
        }
    }
    /// Leaves the box in the pool as well.
    BallPtr result(const ValuePoolPtr& pool) const {
        if (_box->isEmpty) return {};
        _box->updateBall();
        if (pool) pool->addInterface(_box);
        return _box;
    }

private:
    const BoxPtr _box{new Skua::BoundingBox};
};

class BallAround {
public:
    void add(const Skua::BoundingBall& ball) {
        const Skua::BoundingBox* const box = boxOf(ball);
        if (box != nullptr && box->empty()) return;
        if (_ball) {
            _ball->expandBall(ball);
        } else {
            _ball = BallPtr(new Skua::BoundingBall(ball));
        }
    }
    BallPtr result() const { return _ball; }

private:
    BallPtr _ball;
};

/// Calls `visit(object, layer)` for what is visible in the layers of a range.
template<class Visit>
void visitVisible(const ObjectSelection& objects, const ValuePoolPtr& pool, int first, int last,
                  const Visit& visit) {
    const auto drawables = objects.drawables();
    auto entry = std::lower_bound(drawables->begin(), drawables->end(), first,
                                  [](const ObjectSelection::Drawable& drawable, int layer) {
                                      return drawable.layer < layer;
                                  });
    for (; entry != drawables->end() && entry->layer <= last; ++entry) {
        const Keel::StrongPtr<RenderAble, VManagedObjectBase> object(entry->object);
        if (object && object->isVisible(pool)) visit(*object, entry->layer);
    }
}

/// Null if there is none. An object that fails to tell its bounds has none: it does not end the
/// frame for the others.
BallPtr ballOf(const RenderAble& object, const ValuePoolPtr& pool, bool touchable) {
    try {
        return touchable ? object.getTouchableBoundingBall(pool) : object.getBoundingBall(pool);
    } catch (const std::exception& exception) {
        Keel::VerboseStream("Polypia").print("the bounds of [%s]: %s", object.Name().c_str(),
                                             exception.what());
    } catch (...) {
        Keel::VerboseStream("Polypia").print("the bounds of [%s]: an exception of an unknown kind",
                                             object.Name().c_str());
    }
    return {};
}

template<class Volume>
void addBall(const RenderAble& object, const ValuePoolPtr& pool, bool touchable, Volume& volume) {
    if (const BallPtr ball = ballOf(object, pool, touchable)) volume.add(*ball);
}

struct Volumes {
    BallPtr visible;
    BallPtr touchable;
};

/// Both volumes of a frame in one walk: each object is found and its visibility read once.
Volumes volumesOfFrame(const ObjectSelection& objects, const ValuePoolPtr& pool) {
    BoxAround visible;
    BallAround touchable;
    visitVisible(objects, pool, INT_MIN, INT_MAX, [&](const RenderAble& object, int layer) {
        addBall(object, pool, false, visible);
        if (layer < VSceneObjects::LowestTouchableLayer ||
            layer > VSceneObjects::HighestTouchableLayer) {
            return;
        }
        addBall(object, pool, true, touchable);
    });
    return {visible.result(pool), touchable.result()};
}

/// Puts objects into a context for its life.
class ReplacedObjects {
public:
    ReplacedObjects(VRenderContext& context, const ObjectSelection& objects)
        : _context(context), _before(context.frameObjects) {
        context.frameObjects = objects;
    }
    ReplacedObjects(const ReplacedObjects&) = delete;
    ReplacedObjects& operator=(const ReplacedObjects&) = delete;
    ~ReplacedObjects() { _context.frameObjects = _before; }

private:
    VRenderContext& _context;
    const ObjectSelection _before;
};

} // namespace

VSceneObjects::VSceneObjects() noexcept = default;
VSceneObjects::VSceneObjects(const VSceneObjects&) noexcept = default;
VSceneObjects& VSceneObjects::operator=(const VSceneObjects&) noexcept = default;
VSceneObjects::~VSceneObjects() = default;

VSceneObjects::RenderResult VSceneObjects::render(VRenderContext& context, double& renderTime,
                                                  int firstLayer, int lastLayer) {
    const Keel::Profiler scope(__FILE__, __LINE__, __func__, "Scene Rendering", 1, "Polypia");
    renderTime = 0;
    // What is replaced ends without the mutex, as others may see to the end of their volumes.
    Volumes volumes;
    {
        const std::lock_guard lock(context.mutex);
        context.frameObjects = *this;
        volumes = volumesOfFrame(*this, context.pool);
        context.visibleVolume.swap(volumes.visible);
        context.touchableVolume.swap(volumes.touchable);
    }
    volumes = {};
    const RenderResult result =
        context.renderObjects(context.frameObjects, renderTime, firstLayer, lastLayer);
    {
        const std::lock_guard lock(context.mutex);
        context.visibleVolume.swap(volumes.visible);
        context.touchableVolume.swap(volumes.touchable);
        context.frameObjects.clear();
    }
    if (context.precision) context.precision->lastFrameTime = renderTime;
    return result;
}

VRenderContext::PickListPtr VSceneObjects::pick(VRenderContext& context, int x, int y, int width,
                                                int height) const {
    const ReplacedObjects replaced(context, *this);
    return context.pickObjects(context.frameObjects, x, y, width, height, LowestPickableLayer,
                               HighestPickableLayer);
}

VSceneObjects::BoundingBallPtr VSceneObjects::getGlobalBoundingVolume(const ValuePoolPtr& pool,
                                                                      bool touchable) const {
    BoxAround volume;
    visitVisible(*this, pool, INT_MIN, INT_MAX,
                 [&](const RenderAble& object, int) { addBall(object, pool, touchable, volume); });
    return volume.result(pool);
}

VSceneObjects::BoundingBallPtr VSceneObjects::getRangedBoundingVolume(const ValuePoolPtr& pool,
                                                                      bool touchable, int first,
                                                                      int last) const {
    BallAround volume;
    visitVisible(*this, pool, first, last,
                 [&](const RenderAble& object, int) { addBall(object, pool, touchable, volume); });
    return volume.result();
}

} // namespace Mirk
