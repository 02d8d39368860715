// Display objects come, change and go while two viewers of one scene draw it, each on a thread of
// its own, and while a third thread asks both viewers for volumes and texts and picks in them.

#include "RecordingContext.hpp"
#include "lifeDuration.hpp"

#include <Polypia/MetaViewer.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VScene.hpp>
#include <Polypia/Viewer.hpp>

#include <rookery/BoundingBox.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VRequest.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <future>
#include <memory>
#include <random>
#include <string>
#include <thread>
#include <vector>

using Keel::StrongPtr;
using Keel::WeakPtr;
using Mirk::Seagrass;

namespace {

constexpr std::size_t numberOfObjects = 32;

/// A box that counts how often it is drawn and touched.
class Lively : public Mirk::RenderAble, public Mirk::Touchable {
public:
    Lively(double place, int layer, std::atomic<int>& drawCounter, std::atomic<int>& touchCounter)
        : VObject("lively", layer, {}),
          RenderAble("lively", layer, {}),
          _draws(drawCounter),
          _touches(touchCounter),
          _box(new Skua::BoundingBox({place, 0, 0}, {place + 1, 1, 1})) {}

    using RenderAble::environment_render;
    bool environment_render(Mirk::VRenderContext&) const override {
        ++_draws;
        return true;
    }
    BoundingBallPtr getBoundingBall(const Mirk::ValuePoolPtr&) const override { return _box; }
    std::string getSensorInfo(const Mirk::ValuePoolPtr&, const SensorView&) override { return "x"; }
    bool pickAction(unsigned) const override {
        ++_touches;
        return true;
    }

private:
    std::atomic<int>& _draws;
    std::atomic<int>& _touches;
    const BoundingBallPtr _box;
};
using LivelyPtr = StrongPtr<Lively, Mirk::VManagedObjectBase>;

class PlainViewer : public Mirk::Viewer {
public:
    explicit PlainViewer(const std::string& viewerName) : Viewer(viewerName, 0, {}, {}, {}) {}
    std::unique_ptr<FrameInfo> makeFrameInfo(const Mirk::VRenderContext&,
                                             const Mirk::ValuePoolPtr&) const override {
        return std::make_unique<FrameInfo>();
    }
};

/// Draws an object for one view.
class OneView : public Mirk::MultiviewRenderable {
public:
    bool multiview_render(Mirk::VRenderContext& context,
                          const Mirk::LayeredMultiViews::ViewReferences&,
                          Mirk::RenderAble::SubContext& sub) override {
        return current->render(context, _view, sub);
    }
    const Mirk::RenderAble* current = nullptr;

private:
    const Mirk::View _view;
};

/// A viewer with all that its render thread needs.
class Window {
public:
    explicit Window(const std::string& name)
        : viewer(new PlainViewer(name)),
          _seagrass(new Seagrass(1000, name)),
          context(new RecordingContext(_seagrass)) {
        viewer->setSeagrass(_seagrass);
        context->pool = viewer->pool;
        context->traversal = [this](const Mirk::ObjectSelection& objects, double& time, int, int) {
            return traverse(objects, time);
        };
        context->picking = [this](const Mirk::ObjectSelection& objects,
                                  const RecordingContext::PixelRectangle& rectangle, int,
                                  int) { return pick(objects, rectangle); };
    }

    void render(const std::atomic<bool>& isRunning) {
        while (isRunning) {
            Mirk::RequestThread::post(viewer, viewer->pool, 1.0);
            double time = 0;
            frames += viewer->render(*context, time, -10, 10);
            viewer->handleComputeQueue(*context, [] { return false; });
            viewer->completeFrame();
            _seagrass->cleanup();
        }
        const WeakPtr<Seagrass> remains(_seagrass);
        _seagrass = {};
        while (!Seagrass::drain(remains)) std::this_thread::yield();
    }

    const StrongPtr<PlainViewer, Mirk::VManagedObjectBase> viewer;
    std::atomic<std::uint64_t> frames{0};
    std::atomic<int> changedMeanwhile{0};

private:
    std::uint64_t traverse(const Mirk::ObjectSelection& objects, double& time) {
        const std::size_t before = objects.NumberOfObjects();
        Mirk::RenderAble::SubContext sub;
        const auto drawables = objects.drawables();
        for (const auto& drawable : *drawables) {
            const Mirk::RenderAblePtr object(drawable.object);
            if (!object) continue;
            _oneView.current = object.get();
            _oneView.exception_safe_multiview_render(object, time, *context, {}, sub);
        }
        if (objects.NumberOfObjects() != before) ++changedMeanwhile;
        return 1;
    }
    /// Each live object has a pixel.
    Mirk::VRenderContext::PickListPtr pick(const Mirk::ObjectSelection& objects,
                                           const RecordingContext::PixelRectangle& rectangle) {
        const auto list =
            Keel::make<Mirk::PickList>(rectangle[0], rectangle[1], rectangle[2], rectangle[3], 0);
        std::vector<std::uint32_t> numbers(static_cast<std::size_t>(list->AlignedWidth) *
                                           static_cast<std::size_t>(list->AlignedHeight));
        const auto drawables = objects.drawables();
        for (std::uint32_t i = 0; i < drawables->size() && i < numbers.size(); ++i) {
            numbers[i] = i + 1;
            if (const Mirk::VObjectPtr object{(*drawables)[i].object}) list->Ids[i + 1] = object;
        }
        list->Buffer = StrongPtr<Keel::TypedChunk<std::uint32_t>, Keel::ChunkBase>(
            new Keel::Chunk<std::uint32_t>(std::move(numbers)));
        return list;
    }

    StrongPtr<Seagrass> _seagrass;

public:
    const std::unique_ptr<RecordingContext> context;

private:
    OneView _oneView;
};

class SceneLife : public testing::Test {
protected:
    using Random = std::minstd_rand;

    ~SceneLife() override { Mirk::VActionNotifier::clear(); }

    /// Makes, hides and drops objects.
    void change(unsigned seed) {
        Random random(seed);
        std::vector<LivelyPtr> objects(numberOfObjects);
        while (isChanging) {
            LivelyPtr& object = objects[random() % numberOfObjects];
            if (object && random() % 2 == 0) {
                const auto& pool = windows[random() % 2]->viewer->pool;
                Mirk::writeSlot(object->findInput(Lively::VisibilitySlotName()), pool,
                                random() % 2 == 0);
                continue;
            }
            object = LivelyPtr(new Lively(static_cast<double>(random() % 100),
                                          static_cast<int>(random() % 5), draws, touches));
        }
    }
    void interact() {
        const Mirk::RenderAble::SensorView view;
        for (std::size_t turn = 0; isInteracting; ++turn) {
            Window& window = *windows[turn % 2];
            const auto& viewer = window.viewer;
            if (viewer->getVisibleBoundingVolume(viewer->pool)) ++volumes;
            if (viewer->getTouchableBoundingVolume(viewer->pool)) ++volumes;
            infos += viewer->getSensorInfo(view).size();
            viewer->findActiveCameraController();
            pickAndTouch(window);
        }
    }
    /// Has the render thread pick, and touches here what was found.
    void pickAndTouch(Window& window) {
        auto answer = std::make_shared<std::promise<Mirk::VRenderContext::PickListPtr>>();
        window.context->queue([&window, answer](Mirk::VRenderContextBasin&) {
            answer->set_value(window.viewer->pick(*window.context, 0, 0, 4, 4));
        });
        accepted += answer->get_future().get()->computeTouchList()->pickAction(0);
        ++picks;
    }

    const std::unique_ptr<Window> windows[2]{std::make_unique<Window>("first"),
                                             std::make_unique<Window>("second")};
    std::atomic<bool> isChanging{true}, isInteracting{true}, isRendering{true};
    std::atomic<int> draws{0}, touches{0};
    // Of the interaction thread.
    int volumes = 0, accepted = 0, picks = 0;
    std::size_t infos = 0;
};

TEST_F(SceneLife, ObjectsAndViewersGoOnWhileEverybodyAsks) {
    const std::size_t inputsBefore = Mirk::VScene::DefaultScene()->numberOfInputs();
    std::vector<std::thread> renderers, changers;
    for (const auto& window : windows) {
        renderers.emplace_back([&] { window->render(isRendering); });
    }
    for (unsigned i = 1; i <= 2; ++i) changers.emplace_back([this, i] { change(i); });
    std::thread interaction([this] { interact(); });
    std::this_thread::sleep_for(lifeDuration());
    // First those who wait for others.
    isInteracting = false;
    interaction.join();
    isChanging = false;
    for (std::thread& thread : changers) thread.join();
    isRendering = false;
    for (std::thread& thread : renderers) thread.join();
    Mirk::RequestThread::finish();

    for (const auto& window : windows) {
        EXPECT_GT(window->frames, 0U);
        EXPECT_EQ(window->changedMeanwhile, 0) << "a frame sees one state of the scene";
        Mirk::VRequest request(window->viewer->pool);
        EXPECT_TRUE(request.process(*window->viewer, 1.0));
        EXPECT_FALSE(window->viewer->getVisibleBoundingVolume(window->viewer->pool));
    }
    EXPECT_EQ(Mirk::VScene::DefaultScene()->numberOfInputs(), inputsBefore);
    EXPECT_GT(draws, 0);
    EXPECT_GT(volumes, 0);
    EXPECT_GT(infos, 0U);
    EXPECT_GT(picks, 0);
    EXPECT_GT(accepted, 0);
    EXPECT_EQ(accepted, touches);
}

} // namespace
