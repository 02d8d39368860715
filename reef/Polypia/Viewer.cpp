#include <Polypia/Viewer.hpp>

#include <Polypia/MetaViewer.hpp>
#include <Polypia/PixelBuffer.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VScene.hpp>

#include <fennel/VCamera.hpp>

#include <climits>
#include <mutex>

namespace Mirk {

namespace {

const ValueTypeRegistration<ViewerState> viewerStateType("ViewerState");

using RenderAblePtr = Keel::StrongPtr<RenderAble, VManagedObjectBase>;

/// Takes the inputs of all meta viewers away that are connected to an output.
class MetaViewerLeaver : public VManagedObjectIterator {
public:
    explicit MetaViewerLeaver(const VParameterPtr& output) : _output(output) {}

    bool apply(const VManagedObjectPtr& object) override {
        const Keel::StrongPtr<MetaViewer, VManagedObjectBase> metaViewer(object);
        if (!metaViewer) return true;
        if (const VSlotPtr input = metaViewer->CreatedFilteredConnection(_output)) {
            metaViewer->detach(input);
        }
        return true;
    }

private:
    const VParameterPtr& _output;
};

} // namespace

Viewer::FrameCompletion::FrameCompletion() = default;
Viewer::FrameCompletion::~FrameCompletion() = default;

Viewer::FrameGrabber::FrameGrabber(const Size& image, const Size& tile,
                                   const Keel::StrongPtr<VRenderPrecision>& renderPrecision,
                                   const Keel::StrongPtr<VContext::Addendum>& contextAddendum)
    : imageSize(image), tileSize(tile), precision(renderPrecision), addendum(contextAddendum) {}

Viewer::FrameGrabber::~FrameGrabber() = default;

Viewer::FrameInfo::FrameInfo() = default;
Viewer::FrameInfo::~FrameInfo() = default;

Viewer::Viewer(const std::string& viewerName, int p,
               const Keel::StrongPtr<VRenderInterruptor>& renderInterruptor,
               const PreferencesPtr& objectPrefs, const PreferencesPtr& slotPrefs)
    : VObject(viewerName, p, objectPrefs),
      pool(Keel::make<ValuePool>()),
      scene(this, "scene", VSceneObjects(), 0),
      state(this, "state", ViewerState()),
      connections(state.addThisToAllTypeRequestingObjects(0)),
      interruptor(renderInterruptor),
      _slotPreferences(slotPrefs) {
    constexpr std::int32_t AheadOfOthers = -1000;
    scene->parameter()->order = AheadOfOthers;
    connectDefaultScene();
}

Viewer::~Viewer() {
    MetaViewerLeaver leaver(state);
    VManagedObject::traverse(typeid(VObject), leaver, INT_MIN, INT_MAX);
}

void Viewer::connectDefaultScene() {
    const VScenePtr defaultScene = VScene::DefaultScene();
    const VSlotPtr output = defaultScene->getImplementationSlot(scene->valueType(), {}, {});
    if (output) attachParameter(output->parameter(), scene, defaultScene->Name());
}

void Viewer::published() {
    VObject::published();
    // A meta viewer that is made at the same time by another thread sees this one only from now on,
    // and was seen by it only if it was complete then; of the two, the later one finds the other.
    state.addThisToAllTypeRequestingObjects(0);
}

void Viewer::withFrameInfo(const VRenderContext& context, const ValuePoolPtr& framePool,
                           const std::function<void(FrameInfo&)>& action) const {
    const std::unique_ptr<FrameInfo> info = makeFrameInfo(context, framePool);
    action(*info);
}

/// The selection as it is now; the mutex is held just for taking it.
VSceneObjects Viewer::readScene(std::mutex& mutexOfReader, const ValuePoolPtr& readPool) const {
    VSceneObjects objects;
    const std::lock_guard lock(mutexOfReader);
    scene.get(readPool, objects);
    return objects;
}

/// The same, for operations without a context.
VSceneObjects Viewer::readScene(const ValuePoolPtr& readPool) const {
    if (readPool) return readScene(readPool->mutex, readPool);
    return scene.value(readPool);
}

Viewer::RenderResult Viewer::render(VRenderContext& context, double& renderTime, int firstLayer,
                                    int lastLayer) const {
    VSceneObjects objects = readScene(context.mutex, context.pool);
    return objects.render(context, renderTime, firstLayer, lastLayer);
}

VRenderContext::PickListPtr Viewer::pick(VRenderContext& context, int x, int y, int width,
                                         int height) const {
    return readScene(context.mutex, context.pool).pick(context, x, y, width, height);
}

Viewer::BoundingBallPtr Viewer::getVisibleBoundingVolume(const ValuePoolPtr& requestedPool) const {
    return readScene(requestedPool).getGlobalBoundingVolume(requestedPool, false);
}

Viewer::BoundingBallPtr
Viewer::getTouchableBoundingVolume(const ValuePoolPtr& requestedPool) const {
    return readScene(requestedPool)
        .getRangedBoundingVolume(requestedPool, true, VSceneObjects::LowestTouchableLayer,
                                 VSceneObjects::HighestTouchableLayer);
}

std::string Viewer::getSensorInfo(const RenderAble::SensorView& view) {
    std::string info;
    const auto drawables = readScene(pool).drawables();
    for (const ObjectSelection::Drawable& drawable : *drawables) {
        if (const RenderAblePtr object{drawable.object}) info += object->getSensorInfo(pool, view);
    }
    return info;
}

VSlotPtr Viewer::findActiveCameraController() const {
    const auto drawables = readScene(pool).drawables();
    for (const ObjectSelection::Drawable& drawable : *drawables) {
        const RenderAblePtr object(drawable.object);
        if (!object || !object->isVisible(pool)) continue;
        if (VSlotPtr output = object->getImplementationSlot(typeid(VCamera), {}, {})) return output;
    }
    return {};
}

Keel::StrongPtr<Seagrass> Viewer::liveSeagrass() const {
    Keel::WeakPtr<Seagrass> present;
    {
        const std::lock_guard lock(_seagrassLock);
        present = seagrass;
    }
    return Keel::StrongPtr<Seagrass>(present);
}

Keel::StrongPtr<PixelBuffer> Viewer::getPixelBuffer() const {
    const Keel::StrongPtr<Seagrass> live = liveSeagrass();
    return live ? live->getPixelBuffer() : Keel::StrongPtr<PixelBuffer>();
}

bool Viewer::handleComputeQueue(VRenderContextBasin& context,
                                const std::function<bool()>& predicate) const {
    const Keel::StrongPtr<Seagrass> live = liveSeagrass();
    return live && live->handleQueue(context, predicate) != 0;
}

bool Viewer::hasQueue() const {
    const Keel::StrongPtr<Seagrass> live = liveSeagrass();
    return live && live->hasQueue();
}

void Viewer::setSeagrass(const Keel::WeakPtr<Seagrass>& newSeagrass) {
    Keel::WeakPtr<Seagrass> other = newSeagrass;
    const std::lock_guard lock(_seagrassLock);
    if (seagrass == other) return;
    seagrass.swap(other);
}

void Viewer::completeFrame() const {
    // Walks a copy: who is told may change the list.
    const auto completions = frameCompletions;
    for (const Keel::WeakPtr<FrameCompletion>& completion : completions) {
        if (const Keel::StrongPtr<FrameCompletion> live{completion}) live->complete(*this);
    }
}

} // namespace Mirk
