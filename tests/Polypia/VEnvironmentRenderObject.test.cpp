#include <Polypia/VEnvironmentRenderObject.hpp>

#include "../sorrel/Recorder.hpp"
#include "RecordingContext.hpp"
#include "sceneQuestions.hpp"

#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

using Mirk::ValuePool;
using Mirk::ValuePoolPtr;
using Mirk::VCamera;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using CameraSetPtr = Mirk::VEnvironmentRenderObject::CameraSetPtr;

class Sight : public Mirk::VEnvironmentRenderObject {
public:
    explicit Sight(const std::string& objectName)
        : VObject(objectName, 3, {}), VEnvironmentRenderObject(objectName, 3, {}) {}
    using RenderAble::environment_render;
    bool environment_render(Mirk::VRenderContext&) const override { return true; }
};

/// Announces once more when it is told of the first announcement, where that one was.
class Answering : public Watcher {
public:
    explicit Answering(const Sight& sight) : _sight(sight) {}
    void touched(const Mirk::ValueNotifierList& parameter, const Mirk::VValuePtr& value,
                 const ValuePoolPtr& pool) override {
        Watcher::touched(parameter, value, pool);
        if (changes == 1) _sight.announce("answer", VCamera(), pool);
    }

private:
    const Sight& _sight;
};

class VEnvironmentRenderObjectTest : public testing::Test {
protected:
    ~VEnvironmentRenderObjectTest() override { Mirk::VActionNotifier::clear(); }

    CameraSetPtr viewpoints(const ValuePoolPtr& asked) const {
        CameraSetPtr set;
        EXPECT_TRUE(object->viewpointsOutput().get(asked, set));
        return set;
    }
    static VCamera cameraAt(double x) {
        VCamera camera;
        camera.position = {x, 0, 0};
        return camera;
    }
    std::vector<double> precisionAndContribution() {
        double precision = -1, contribution = -1;
        object->getRenderPrecision(context, precision, contribution);
        return {precision, contribution};
    }

    RecordingContext context;
    const ValuePoolPtr pool = context.pool;
    const ValuePoolPtr other{new ValuePool};
    const Keel::StrongPtr<Sight, Mirk::VManagedObjectBase> object{new Sight("sight")};
};

TEST_F(VEnvironmentRenderObjectTest, HasViewpointsBehindTheSlotsOfARenderAble) {
    std::vector<std::string> outputs;
    for (const auto& slot : object->outputs()) outputs.push_back(slot->Name());
    EXPECT_THAT(outputs, ElementsAre("renderable", Mirk::Zelk::rendertime_contribution,
                                     "rendertime", "viewpoints"));
    EXPECT_EQ(object->inputs().size(), 1U);
    EXPECT_EQ(object->Name(), "sight");
    EXPECT_EQ(object->priority, 3);
    EXPECT_FALSE(viewpoints(pool));
    EXPECT_FALSE(viewpoints({}));
}

TEST_F(VEnvironmentRenderObjectTest, FirstViewpointOfAPoolMakesASetAndNotifiesOnce) {
    const WatcherPtr watcher(new Watcher);
    object->viewpointsOutput()->addNotifier(watcher);
    object->announce("front", cameraAt(1), pool);
    const CameraSetPtr set = viewpoints(pool);
    ASSERT_TRUE(set);
    ASSERT_EQ(set->cameras().size(), 1U);
    EXPECT_EQ(set->cameras().at("front").position.x, 1);
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_EQ(watcher->lastPool.get(), pool.get());
}

TEST_F(VEnvironmentRenderObjectTest, ViewpointOfTheSameNameIsReplacedAndNotifiedAgain) {
    const WatcherPtr watcher(new Watcher);
    object->viewpointsOutput()->addNotifier(watcher);
    object->announce("front", cameraAt(1), pool);
    object->announce("front", cameraAt(2), pool);
    ASSERT_EQ(viewpoints(pool)->cameras().size(), 1U);
    EXPECT_EQ(viewpoints(pool)->cameras().at("front").position.x, 2);
    EXPECT_EQ(watcher->changes, 2);
    object->announce("front", cameraAt(2), pool);
    EXPECT_EQ(watcher->changes, 3);
}

TEST_F(VEnvironmentRenderObjectTest, ViewpointsOfOtherNamesStay) {
    object->announce("front", cameraAt(1), pool);
    object->announce("back", cameraAt(2), pool);
    EXPECT_EQ(viewpoints(pool)->cameras().size(), 2U);
}

TEST_F(VEnvironmentRenderObjectTest, EachPoolHasViewpointsOfItsOwn) {
    object->announce("front", cameraAt(1), pool);
    object->announce("back", cameraAt(2), other);
    EXPECT_EQ(viewpoints(pool)->cameras().count("back"), 0U);
    EXPECT_EQ(viewpoints(other)->cameras().count("front"), 0U);
    object->announce("all", cameraAt(3), {});
    EXPECT_EQ(viewpoints(pool)->cameras().count("all"), 1U);
    EXPECT_EQ(viewpoints(other)->cameras().count("all"), 1U);
}

TEST_F(VEnvironmentRenderObjectTest, SetThatIsBeingReadStaysAsItIs) {
    object->announce("front", cameraAt(1), pool);
    const CameraSetPtr read = viewpoints(pool);
    object->announce("back", cameraAt(2), pool);
    EXPECT_EQ(read->cameras().size(), 1U);
}

TEST_F(VEnvironmentRenderObjectTest, WatcherThatIsToldMayAnnounceInTurn) {
    for (const ValuePoolPtr& where : {pool, ValuePoolPtr()}) {
        const Keel::StrongPtr<Answering, Mirk::ValueNotifier> watcher(new Answering(*object));
        object->viewpointsOutput()->addNotifier(watcher);
        object->announce("front", cameraAt(1), where);
        EXPECT_EQ(watcher->changes, 2);
        EXPECT_EQ(watcher->lastPool.get(), where.get());
        const CameraSetPtr set = viewpoints(where);
        EXPECT_EQ(set->cameras().count("front"), 1U);
        EXPECT_EQ(set->cameras().count("answer"), 1U);
    }
}

/// What a viewer holds while it looks at viewpoints.
class Guarded : public Watcher {
public:
    explicit Guarded(std::mutex& mutex) : _mutex(mutex) {}
    void touched(const Mirk::ValueNotifierList& parameter, const Mirk::VValuePtr& value,
                 const ValuePoolPtr& pool) override {
        isTold = true;
        const std::lock_guard lock(_mutex);
        Watcher::touched(parameter, value, pool);
    }

    std::atomic<bool> isTold = false;

private:
    std::mutex& _mutex;
};

TEST_F(VEnvironmentRenderObjectTest, WhoIsToldMayTakeALockUnderWhichOthersAnnounce) {
    std::mutex lockOfViewer;
    const Keel::StrongPtr<Guarded, Mirk::ValueNotifier> watcher(new Guarded(lockOfViewer));
    object->viewpointsOutput()->addNotifier(watcher);
    std::unique_lock viewer(lockOfViewer);
    std::thread announcing([&] { object->announce("front", cameraAt(1), pool); });
    while (!watcher->isTold) std::this_thread::yield();
    object->viewpointsOutput()->removeNotifier(watcher);
    object->announce("back", cameraAt(2), pool);
    viewer.unlock();
    announcing.join();
    EXPECT_EQ(viewpoints(pool)->cameras().size(), 2U);
}

TEST_F(VEnvironmentRenderObjectTest, ViewpointsOfSeveralThreadsAllArrive) {
    std::vector<std::thread> threads;
    for (int thread = 0; thread < 4; ++thread) {
        threads.emplace_back([&, thread] {
            for (int i = 0; i < 50; ++i) {
                object->announce(std::to_string(thread) + "." + std::to_string(i), cameraAt(i),
                                 pool);
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(viewpoints(pool)->cameras().size(), 200U);
}

TEST_F(VEnvironmentRenderObjectTest, WithoutPrecisionAndBeforeItIsDrawnThereIsFullDetail) {
    EXPECT_THAT(precisionAndContribution(), ElementsAre(1.0, 0.0));
    EXPECT_EQ(pool->numberOfValues(), 0U);
}

TEST_F(VEnvironmentRenderObjectTest, PrecisionIsThatOfTheContext) {
    context.precision = Keel::make<PlainPrecision>();
    EXPECT_THAT(precisionAndContribution(), ElementsAre(1.0, 0.0));
    context.precision->precision = 0.25;
    EXPECT_THAT(precisionAndContribution(), ElementsAre(0.25, 0.0));
}

TEST_F(VEnvironmentRenderObjectTest, ContributionIsThatOfThePoolOfTheContext) {
    object->renderTimeContributionOutput().set(other, 0.75);
    EXPECT_THAT(precisionAndContribution(), ElementsAre(1.0, 0.0));
    object->renderTimeContributionOutput().set(pool, 0.5);
    EXPECT_THAT(precisionAndContribution(), ElementsAre(1.0, 0.5));
}

TEST_F(VEnvironmentRenderObjectTest, ContributionIsTheGlobalOneWhereThePoolHasNone) {
    object->renderTimeContributionOutput().set({}, 0.125);
    EXPECT_THAT(precisionAndContribution(), ElementsAre(1.0, 0.125));
    context.pool = {};
    EXPECT_THAT(precisionAndContribution(), ElementsAre(1.0, 0.125));
}

} // namespace
