#include <Polypia/MultiviewRenderable.hpp>

#include "RecordingContext.hpp"
#include "sceneQuestions.hpp"
#include "stoppedClock.hpp"
#include "virtualSlot.hpp"

#include <keel/VerboseStream.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>

#include <chrono>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Mirk::MultiviewRenderable;
using Mirk::RenderAble;
using Mirk::RenderAblePtr;
using Mirk::RenderException;
using Mirk::StereoDraw;
using testing::IsEmpty;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

using Views = Mirk::LayeredMultiViews::ViewReferences;

/// Draws for all views by a function, and in stereo by another one.
class Multi : public RenderAble, public MultiviewRenderable, public StereoDraw {
public:
    explicit Multi(const std::string& objectName)
        : VObject(objectName, 0, {}), RenderAble(objectName, 0, {}) {}

    bool environment_render(Mirk::VRenderContext&) const override { return true; }
    bool multiview_render(Mirk::VRenderContext&, const Views& views, SubContext&) override {
        ++draws;
        numberOfViews = views.size();
        mutexWasFree = mutex.try_lock();
        if (mutexWasFree) mutex.unlock();
        return action();
    }
    bool stereo_render(Mirk::VRenderContext&, const Views& views, SubContext&) override {
        numberOfViews = views.size();
        mutexWasFree = mutex.try_lock();
        if (mutexWasFree) mutex.unlock();
        return action();
    }

    int draws = 0;
    std::size_t numberOfViews = 0;
    bool mutexWasFree = false;
    std::function<bool()> action = [] { return true; };
};

class MultiviewRenderableTest : public testing::Test {
protected:
    ~MultiviewRenderableTest() override { Mirk::VActionNotifier::clear(); }

    bool draw() {
        return object->exception_safe_multiview_render(object, renderTime, context,
                                                       context.getViews(0, 0), sub);
    }
    bool drawStereo() {
        return object->exception_safe_stereo_render(object, renderTime, context,
                                                    context.getViews(0, 0), sub);
    }
    bool mutexIsFree() {
        const bool isFree = object->mutex.try_lock();
        if (isFree) object->mutex.unlock();
        return isFree;
    }
    double published(const Mirk::VOutput<double>& output) {
        double value = -1;
        output.get(context.pool, value);
        return value;
    }
    void setLastFrameTime(double seconds) {
        context.precision = Keel::make<PlainPrecision>();
        context.precision->lastFrameTime = seconds;
    }

    RecordingContext context;
    RenderAble::SubContext sub;
    double renderTime = 0.5;
    const Keel::StrongPtr<Multi, Mirk::VManagedObjectBase> object{new Multi("multi")};
    const std::function<bool()> sleep = [] {
        std::this_thread::sleep_for(std::chrono::milliseconds(2));
        return true;
    };
    const RenderException exception{0x501, "draw", "multi.cpp", 7};
};

TEST_F(MultiviewRenderableTest, DrawsAllViewsInOneCallWithTheMutexHeld) {
    context.setNumberOfEyes(2);
    EXPECT_TRUE(draw());
    EXPECT_EQ(object->draws, 1);
    EXPECT_EQ(object->numberOfViews, 2u);
    EXPECT_FALSE(object->mutexWasFree);
    EXPECT_TRUE(mutexIsFree());
}

TEST_F(MultiviewRenderableTest, InvisibleObjectIsASuccessWithoutDrawing) {
    Mirk::writeSlot(object->findInput(Mirk::Zelk::renderobject_visibility), context.pool, false);
    EXPECT_TRUE(draw());
    EXPECT_EQ(object->draws, 0);
    EXPECT_EQ(renderTime, 0.5);
}

TEST_F(MultiviewRenderableTest, AddsTheSecondsOfASuccess) {
    object->action = sleep;
    EXPECT_TRUE(draw());
    EXPECT_GE(renderTime, 0.502);
    EXPECT_EQ(published(object->renderTimeOutput()), 0);
}

TEST_F(MultiviewRenderableTest, PublishesItsTimeAndItsPartOfTheFrameBefore) {
    setLastFrameTime(0.25);
    object->action = sleep;
    const auto age = object->renderTimeOutput()->age(context.pool);
    const auto contributionAge = object->renderTimeContributionOutput()->age(context.pool);
    EXPECT_TRUE(draw());
    const double seconds = published(object->renderTimeOutput());
    EXPECT_GE(seconds, 0.002);
    EXPECT_NEAR(seconds, renderTime - 0.5, 1e-12);
    EXPECT_DOUBLE_EQ(published(object->renderTimeContributionOutput()), seconds / 0.25);
    EXPECT_GT(object->renderTimeOutput()->age(context.pool), age);
    EXPECT_GT(object->renderTimeContributionOutput()->age(context.pool), contributionAge);
}

TEST_F(MultiviewRenderableTest, TimesOfOnePoolAreNotThoseOfAnother) {
    setLastFrameTime(0.25);
    object->action = sleep;
    EXPECT_TRUE(draw());
    context.pool = Keel::make<Mirk::ValuePool>();
    EXPECT_EQ(published(object->renderTimeOutput()), 0);
    EXPECT_EQ(published(object->renderTimeContributionOutput()), 0);
}

TEST_F(MultiviewRenderableTest, PublishesNothingWithoutATimeOfTheFrameBefore) {
    object->action = sleep;
    setLastFrameTime(0.0);
    EXPECT_TRUE(draw());
    EXPECT_EQ(published(object->renderTimeOutput()), 0);
    EXPECT_EQ(published(object->renderTimeContributionOutput()), 0);
}

TEST_F(MultiviewRenderableTest, WithoutPoolTheTimesOfAllPoolsStay) {
    setLastFrameTime(0.25);
    object->action = sleep;
    object->renderTimeOutput().set(context.pool, 7.0);
    object->renderTimeContributionOutput().set(context.pool, 0.7);
    const Mirk::ValuePoolPtr pool = context.pool;
    context.pool = {};
    EXPECT_TRUE(draw());
    EXPECT_GT(renderTime, 0.5);
    context.pool = pool;
    EXPECT_EQ(published(object->renderTimeOutput()), 7.0);
    EXPECT_EQ(published(object->renderTimeContributionOutput()), 0.7);
}

TEST_F(MultiviewRenderableTest, TheWaitForTheMutexIsPartOfTheTime) {
    std::vector<bool> wasFree;
    const WatchedClock clock([&] { wasFree.push_back(isFree(object->mutex)); });
    EXPECT_TRUE(draw());
    ASSERT_FALSE(wasFree.empty());
    EXPECT_TRUE(wasFree.front());
}

TEST_F(MultiviewRenderableTest, ContextIsToldOfAFailureWithTheMutexFree) {
    class Asking : public RecordingContext {
    public:
        bool notifyError(const RenderAble& failed, const RenderException&) override {
            wasFree = isFree(failed.mutex);
            return true;
        }
        bool wasFree = false;
    };
    Asking asking;
    object->action = [this]() -> bool { throw exception; };
    EXPECT_TRUE(object->exception_safe_multiview_render(object, renderTime, asking,
                                                        asking.getViews(0, 0), sub));
    EXPECT_TRUE(asking.wasFree);
}

TEST_F(MultiviewRenderableTest, OperationsStandBehindTheDestructors) {
    EXPECT_EQ(virtualSlot(&MultiviewRenderable::multiview_render),
              virtualSlot(&StereoDraw::stereo_render));
}

TEST_F(MultiviewRenderableTest, NoTimeAtAllLeavesThePublishedOneAlone) {
    setLastFrameTime(0.1);
    object->renderTimeOutput().set(context.pool, 7.0);
    object->renderTimeContributionOutput().set(context.pool, 0.7);
    const StoppedClock clock;
    EXPECT_TRUE(draw());
    EXPECT_EQ(renderTime, 0.5);
    EXPECT_EQ(published(object->renderTimeOutput()), 7.0);
    EXPECT_EQ(published(object->renderTimeContributionOutput()), 0.7);
}

TEST_F(MultiviewRenderableTest, FailureIsReturnedWithoutATime) {
    setLastFrameTime(0.25);
    object->action = [this] { return sleep() && false; };
    EXPECT_FALSE(draw());
    EXPECT_EQ(renderTime, 0.5);
    EXPECT_EQ(published(object->renderTimeOutput()), 0);
    EXPECT_TRUE(mutexIsFree());
}

TEST_F(MultiviewRenderableTest, RenderExceptionGoesToTheContextWhoseAnswerIsReturned) {
    object->action = [this]() -> bool { throw exception; };
    for (const bool answer : {true, false}) {
        context.errorAnswer = answer;
        EXPECT_EQ(draw(), answer);
        EXPECT_TRUE(mutexIsFree());
    }
    ASSERT_EQ(context.failures.size(), 2u);
    EXPECT_EQ(context.failures[0], std::make_pair(std::string("multi"), exception.str()));
    EXPECT_EQ(renderTime, 0.5);
}

TEST_F(MultiviewRenderableTest, RenderExceptionIsToldOnTheStreamOfShaders) {
    object->action = [this]() -> bool { throw exception; };
    Keel::VerboseStream::setVerbosity("GLSL", 1);
    CaptureStdout();
    draw();
    const std::string told = GetCapturedStdout();
    Keel::VerboseStream::setVerbosity("GLSL", 0);
    EXPECT_THAT(told, testing::HasSubstr("Multiview rendering of [multi"));
    EXPECT_THAT(told, testing::HasSubstr("multi.cpp"));
}

struct Thrower {
    const char* name;
    std::function<bool()> action;
    std::string message;
};

class ThrownTest : public MultiviewRenderableTest, public testing::WithParamInterface<Thrower> {};

TEST_P(ThrownTest, IsPrintedAndAFailureAndTheNextFrameCanDraw) {
    object->action = GetParam().action;
    CaptureStdout();
    EXPECT_FALSE(draw());
    EXPECT_EQ(GetCapturedStdout(), GetParam().message);
    EXPECT_TRUE(mutexIsFree());
    EXPECT_THAT(context.failures, IsEmpty());
    object->action = [] { return true; };
    EXPECT_TRUE(draw());
}

TEST_P(ThrownTest, InStereoIsUnknown) {
    object->action = GetParam().action;
    CaptureStdout();
    EXPECT_FALSE(drawStereo());
    EXPECT_EQ(GetCapturedStdout(), "StereoDraw: Unknown exception during rendering\n");
}

INSTANTIATE_TEST_SUITE_P(
    , ThrownTest,
    testing::Values(Thrower{"Standard", []() -> bool { throw std::runtime_error("not today"); },
                            "EXCEPTION WHILE RENDERING [multi]: not today\n"},
                    Thrower{"Text", []() -> bool { throw "a text"; },
                            "EXCEPTION WHILE RENDERING [multi]: a text\n"},
                    Thrower{"Number", []() -> bool { throw 7; },
                            "UNKOWN EXCEPTION WHILE RENDERING [multi]\n"}),
    [](const auto& test) { return test.param.name; });

TEST_F(MultiviewRenderableTest, StereoIsDrawnWithoutMutexTimeAndVisibility) {
    Mirk::writeSlot(object->findInput(Mirk::Zelk::renderobject_visibility), context.pool, false);
    context.setNumberOfEyes(2);
    object->action = sleep;
    EXPECT_TRUE(drawStereo());
    EXPECT_EQ(object->numberOfViews, 2u);
    EXPECT_TRUE(object->mutexWasFree);
    EXPECT_EQ(renderTime, 0.5);
    object->action = [] { return false; };
    EXPECT_FALSE(drawStereo());
}

TEST_F(MultiviewRenderableTest, RenderExceptionInStereoIsPrintedWithoutLineEnd) {
    object->action = [this]() -> bool { throw exception; };
    for (const bool answer : {true, false}) {
        context.errorAnswer = answer;
        CaptureStdout();
        EXPECT_EQ(drawStereo(), answer);
        EXPECT_EQ(GetCapturedStdout(), "StereoDraw: " + exception.str());
    }
    EXPECT_EQ(context.failures.size(), 2u);
}

TEST_F(MultiviewRenderableTest, WithoutStereoOfItsOwnAnObjectSaysFalseSilently) {
    class Plain : public StereoDraw {};
    const Keel::StrongPtr<Plain, Mirk::VManagedObjectBase> plain(new Plain);
    CaptureStdout();
    EXPECT_FALSE(plain->exception_safe_stereo_render(object, renderTime, context, {}, sub));
    EXPECT_EQ(GetCapturedStdout(), "");
}

} // namespace
