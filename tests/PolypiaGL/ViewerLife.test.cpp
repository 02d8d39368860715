// Display objects come, change and go while a render thread draws them on OpenGL, and while a third
// thread asks for volumes and picks through the queue of the viewer.

#include "../Polypia/lifeDuration.hpp"
#include "quad.hpp"

#include <Polypia/PickList.hpp>
#include <Polypia/VScene.hpp>
#include <PolypiaGL/OffscreenViewer.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VRequest.hpp>

#include <atomic>
#include <future>
#include <memory>
#include <random>
#include <thread>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;

namespace {

using ViewerPtr = Keel::StrongPtr<OffscreenViewer, VManagedObjectBase>;
using PickListPtr = VRenderContext::PickListPtr;

constexpr std::size_t numberOfObjects = 16;

class ViewerLife : public testing::Test {
protected:
    ~ViewerLife() override { VActionNotifier::clear(); }

    /// Makes, shows, hides and drops objects.
    void change() {
        std::minstd_rand random(1);
        const auto number = [&](int below) {
            return static_cast<double>(random() % static_cast<unsigned>(below));
        };
        std::vector<QuadPtr> objects(numberOfObjects);
        while (isChanging) {
            QuadPtr& object = objects[random() % numberOfObjects];
            if (object && random() % 2 == 0) {
                object->setVisible(viewer->pool, random() % 2 == 0);
            } else {
                const double left = number(40) - 32, bottom = number(40) - 32;
                // Complete ahead of the first pointer, from which on it is drawn.
                Quad* const made = new Quad("quad", static_cast<int>(random() % 5));
                made->rectangle = {left, bottom, left + 16, bottom + 16, number(50)};
                object = QuadPtr(made);
            }
            RequestThread::post(viewer, viewer->pool, 1.0);
            ++changes;
        }
    }
    void interact() {
        while (isInteracting) {
            if (viewer->getVisibleBoundingVolume(viewer->pool)) ++volumes;
            if (viewer->getTouchableBoundingVolume(viewer->pool)) ++volumes;
            if (const PickListPtr list = pickThroughTheQueue()) {
                for (const auto& [id, object] : list->Ids) found += object ? 1 : 0;
                ++picks;
            }
        }
    }
    /// Picks on the render thread, behind a frame.
    PickListPtr pickThroughTheQueue() {
        const Keel::StrongPtr<Seagrass> cache(viewer->renderCache());
        const auto answer = std::make_shared<std::promise<PickListPtr>>();
        auto future = answer->get_future();
        cache->queue([this, answer](VRenderContextBasin& basin) {
            auto& context = dynamic_cast<VRenderContext&>(basin);
            answer->set_value(viewer->pick(context, 0, 0, size, size));
        });
        return future.get();
    }
    void render() {
        for (bool twoEyes = false; isRendering; twoEyes = !twoEyes) {
            std::vector<GLRenderContext::Eye> eyes{eyeFromAbove(-0.04)};
            if (twoEyes) eyes.push_back(eyeFromAbove(0.04));
            const auto frame = viewer->draw(eyes);
            drawn += frame.drawn;
            failures += frame.failures.size();
            ++frames;
        }
    }

    ViewerPtr viewer;
    std::atomic<bool> isChanging{true}, isInteracting{true}, isRendering{true};
    // Each of one thread.
    int changes = 0, volumes = 0, picks = 0, found = 0, frames = 0;
    std::size_t drawn = 0, failures = 0;
};

TEST_F(ViewerLife, DrawsAndAnswersWhileTheSceneChanges) {
    OffscreenViewer::Settings settings;
    settings.widthPixels = settings.heightPixels = size;
    settings.samples = 1;
    std::string reason;
    if (!tryContext(settings.context, reason)) POLYPIA_NO_CONTEXT(reason);
    viewer = ViewerPtr(new OffscreenViewer("viewer", settings));
    const std::size_t inputsBefore = VScene::DefaultScene()->numberOfInputs();
    std::thread changer([this] { change(); });
    std::thread renderer([this] { render(); });
    std::thread interaction([this] { interact(); });
    std::this_thread::sleep_for(lifeDuration());
    // First those who wait for others.
    isInteracting = false;
    interaction.join();
    isChanging = false;
    changer.join();
    isRendering = false;
    renderer.join();
    RequestThread::finish();

    EXPECT_GT(changes, 0);
    EXPECT_GT(volumes, 0);
    EXPECT_GT(picks, 0);
    EXPECT_GT(found, 0);
    EXPECT_GT(frames, 0);
    EXPECT_GT(drawn, 0u);
    EXPECT_EQ(failures, 0u);
    const auto frame = viewer->draw({eyeFromAbove()});
    EXPECT_EQ(frame.result, 0u) << "all objects have gone";
    EXPECT_EQ(VScene::DefaultScene()->numberOfInputs(), inputsBefore);
    viewer = {};
}

} // namespace
