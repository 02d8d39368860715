#include <Polypia/RenderAble.hpp>

#include "RecordingContext.hpp"
#include "virtualSlot.hpp"

#include <Polypia/VScene.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cstdint>
#include <functional>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using Mirk::RenderAble;
using Mirk::RenderAblePtr;
using Mirk::RenderException;
using Mirk::View;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStdout;

namespace {

/// Draws by a function.
class Drawn : public RenderAble {
public:
    explicit Drawn(const std::string& objectName, int p = 0)
        : VObject(objectName, p, {}), RenderAble(objectName, p, {}) {}

    using RenderAble::environment_render;
    using RenderAble::render;
    bool environment_render(Mirk::VRenderContext&) const override {
        ++draws;
        return !action || action();
    }

    mutable int draws = 0;
    std::function<bool()> action;
};

/// Draws slices.
class Sliced : public Drawn {
public:
    explicit Sliced(const std::string& objectName)
        : VObject(objectName, 0, {}), Drawn(objectName) {}
    using Drawn::environment_render;
    bool environment_render(Mirk::VRenderContext&, double begin, double end) const override {
        limits.assign({begin, end});
        return true;
    }
    mutable std::vector<double> limits;
};

/// Has a second stage.
class Staged : public Drawn {
public:
    explicit Staged(const std::string& objectName)
        : VObject(objectName, 0, {}), Drawn(objectName) {}

    using Drawn::render;
    bool render(Mirk::VRenderContext&, const View& view) const override {
        stagedView = &view;
        return stageResult;
    }
    mutable const View* stagedView = nullptr;
    bool stageResult = true;
};

using DrawnPtr = Keel::StrongPtr<Drawn, Mirk::VManagedObjectBase>;

class RenderAbleTest : public testing::Test {
protected:
    ~RenderAbleTest() override { Mirk::VActionNotifier::clear(); }

    bool draw(const RenderAble& drawn) {
        const View view;
        return drawn.render(context, view, sub);
    }

    RecordingContext context;
    RenderAble::SubContext sub;
    const DrawnPtr object{new Drawn("thing")};
};

TEST(RenderAbleLayout, OperationsStandInTheirOrder) {
    using Plain = bool (RenderAble::*)(Mirk::VRenderContext&) const;
    using Limited = bool (RenderAble::*)(Mirk::VRenderContext&, double, double) const;
    using Second = bool (RenderAble::*)(Mirk::VRenderContext&, const View&) const;
    using ForView =
        bool (RenderAble::*)(Mirk::VRenderContext&, const View&, RenderAble::SubContext&) const;
    EXPECT_EQ((std::vector{virtualSlot(&RenderAble::illuminate),
                           virtualSlot(static_cast<Plain>(&RenderAble::environment_render)),
                           virtualSlot(static_cast<Limited>(&RenderAble::environment_render)),
                           virtualSlot(static_cast<Second>(&RenderAble::render)),
                           virtualSlot(static_cast<ForView>(&RenderAble::render)),
                           virtualSlot(&RenderAble::safe_render),
                           virtualSlot(&RenderAble::getLastRenderTime),
                           virtualSlot(&RenderAble::getBoundingBall),
                           virtualSlot(&RenderAble::getTouchableBoundingBall),
                           virtualSlot(&RenderAble::getSensorInfo)}),
              slotsFrom(virtualSlot(&RenderAble::illuminate), 10));
}

TEST_F(RenderAbleTest, HasItsSlotsInTheirOrder) {
    std::vector<std::string> outputs;
    for (const auto& slot : object->outputs()) outputs.push_back(slot->Name());
    EXPECT_THAT(outputs,
                ElementsAre("renderable", Mirk::Zelk::rendertime_contribution, "rendertime"));
    const auto inputs = object->inputs();
    ASSERT_EQ(inputs.size(), 1u);
    EXPECT_EQ(inputs[0]->Name(), Mirk::Zelk::renderobject_visibility);
    EXPECT_EQ(inputs[0]->expertLevel(), 10);
    EXPECT_STREQ(RenderAble::VisibilitySlotName(), Mirk::Zelk::renderobject_visibility);
}

TEST_F(RenderAbleTest, MakesItsSlotsInOneOrder) {
    // Parameters are numbered as they are made.
    std::vector<std::pair<std::uint64_t, std::string>> made;
    for (const auto& slot : object->outputs()) {
        made.emplace_back(slot->parameter().controlBlock()->serial(), slot->Name());
    }
    for (const auto& slot : object->inputs()) {
        made.emplace_back(slot->ownParameter().controlBlock()->serial(), slot->Name());
    }
    std::sort(made.begin(), made.end());
    std::vector<std::string> order;
    for (const auto& [serial, name] : made) order.push_back(name);
    EXPECT_THAT(order, ElementsAre("renderable", Mirk::Zelk::renderobject_visibility,
                                   Mirk::Zelk::rendertime_contribution, "rendertime"));
}

TEST_F(RenderAbleTest, OffersItselfWithoutHoldingItself) {
    Mirk::VRenderAble value;
    const auto output = object->findOutput("renderable");
    ASSERT_TRUE(Mirk::readSlot<Mirk::VRenderAble>(output, {}, value));
    EXPECT_EQ(Mirk::VObjectPtr(value.object).get(), object.get());
    EXPECT_EQ(Mirk::VValueTrait<Mirk::VRenderAble>::Text(value), "thing");
    DrawnPtr other(new Drawn("other"));
    const Keel::WeakPtr<Mirk::VObject, Mirk::VManagedObjectBase> weak(other);
    other = {};
    EXPECT_FALSE(weak);
}

TEST_F(RenderAbleTest, ValueOfADeadObjectHasNoName) {
    DrawnPtr other(new Drawn("other"));
    const Mirk::VRenderAble value{Keel::WeakPtr<Mirk::VObject, Mirk::VManagedObjectBase>(other)};
    other = {};
    EXPECT_EQ(Mirk::VValueTrait<Mirk::VRenderAble>::Text(value), "");
    Mirk::VRenderAble target = value;
    EXPECT_FALSE(Mirk::VValueTrait<Mirk::VRenderAble>::setValueFromText(target, "other"));
    EXPECT_FALSE(Mirk::VValueCompareTrait<Mirk::VRenderAble>::isDifferent(value, target));
    EXPECT_TRUE(Mirk::VValueCompareTrait<Mirk::VRenderAble>::isDifferent(value, {}));
}

TEST_F(RenderAbleTest, InitialTimesAreZero) {
    double seconds = -1, contribution = -1;
    object->renderTimeOutput().get({}, seconds);
    object->renderTimeContributionOutput().get({}, contribution);
    EXPECT_EQ(seconds, 0);
    EXPECT_EQ(contribution, 0);
}

TEST_F(RenderAbleTest, JoinsTheDefaultSceneUnderItsName) {
    const auto scene = Mirk::VScene::DefaultScene();
    EXPECT_TRUE(scene->findInput("thing.renderable"));
    EXPECT_EQ(scene->findInput("thing.renderable")->parameter(),
              object->findOutput("renderable")->parameter());
}

TEST_F(RenderAbleTest, LeavesTheDefaultSceneAtItsEnd) {
    const auto scene = Mirk::VScene::DefaultScene();
    const std::size_t before = scene->numberOfInputs();
    for (int i = 0; i < 1000; ++i) DrawnPtr(new Drawn("brief"));
    EXPECT_EQ(scene->numberOfInputs(), before);
}

TEST_F(RenderAbleTest, VisibilityIsLocalToEachPool) {
    const auto slot = object->findInput(Mirk::Zelk::renderobject_visibility);
    EXPECT_EQ(slot->flags & Mirk::VSlot::GlobalFlag, 0u);
    EXPECT_TRUE(slot->parameter()->holdsLocalValues());
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    Mirk::writeSlot(slot, context.pool, false);
    EXPECT_FALSE(object->isVisible(context.pool));
    EXPECT_TRUE(object->isVisible(other));
}

TEST_F(RenderAbleTest, IsVisibleWithoutAValueForThePool) {
    EXPECT_TRUE(object->isVisible(context.pool));
    EXPECT_TRUE(object->isVisible({}));
    EXPECT_EQ(context.pool->numberOfValues(), 0u);
}

TEST_F(RenderAbleTest, GlobalVisibilityCountsWhereThePoolHasNone) {
    const auto slot = object->findInput(Mirk::Zelk::renderobject_visibility);
    Mirk::writeSlot(slot, {}, false);
    EXPECT_FALSE(object->isVisible(context.pool));
    EXPECT_FALSE(object->isVisible({}));
    Mirk::writeSlot(slot, context.pool, true);
    EXPECT_TRUE(object->isVisible(context.pool));
}

TEST_F(RenderAbleTest, InactiveObjectIsNotVisibleWhateverItsSlotSays) {
    Mirk::writeSlot(object->findInput(Mirk::Zelk::renderobject_visibility), context.pool, true);
    object->active = false;
    EXPECT_FALSE(object->isVisible(context.pool));
}

TEST_F(RenderAbleTest, VisibilityFollowsAConnectedGlobalParameter) {
    struct Source : Mirk::VObject {
        Source() : VObject("switch", 0, {}) {}
        Mirk::VOutput<bool> on{this, "on", true};
    };
    const Keel::StrongPtr<Source, Mirk::VManagedObjectBase> source(new Source);
    const auto slot = object->findInput(Mirk::Zelk::renderobject_visibility);
    ASSERT_EQ(object->attachParameter(source->on, slot, {}), Mirk::Attached);
    source->on.set({}, false);
    EXPECT_FALSE(object->isVisible(context.pool));
}

TEST_F(RenderAbleTest, DrawingWithoutASliceHasTheLimitsZeroAndMinusOne) {
    const Keel::StrongPtr<Sliced, Mirk::VManagedObjectBase> sliced(new Sliced("sliced"));
    EXPECT_TRUE(draw(*sliced));
    EXPECT_THAT(sliced->limits, ElementsAre(0.0, -1.0));
    EXPECT_EQ(sliced->draws, 0);
}

TEST_F(RenderAbleTest, SliceOfTheCallerArrivesAtTheObject) {
    const Keel::StrongPtr<Sliced, Mirk::VManagedObjectBase> sliced(new Sliced("sliced"));
    sub.addInterface(Keel::make<Mirk::RenderSlice>(2.0, 5.0));
    EXPECT_TRUE(draw(*sliced));
    EXPECT_THAT(sliced->limits, ElementsAre(2.0, 5.0));
}

TEST_F(RenderAbleTest, ObjectWithOneFormIsDrawnAndItsResultReturned) {
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(object->draws, 1);
    object->action = [] { return false; };
    EXPECT_FALSE(draw(*object));
    EXPECT_EQ(object->draws, 2);
}

TEST_F(RenderAbleTest, SecondStageFollowsASuccessAndGivesTheResult) {
    const Keel::StrongPtr<Staged, Mirk::VManagedObjectBase> staged(new Staged("staged"));
    const View view;
    EXPECT_TRUE(staged->render(context, view, sub));
    EXPECT_EQ(staged->stagedView, &view);
    staged->stageResult = false;
    EXPECT_FALSE(staged->render(context, view, sub));
}

TEST_F(RenderAbleTest, SecondStageIsLeftOutAfterAFailure) {
    const Keel::StrongPtr<Staged, Mirk::VManagedObjectBase> staged(new Staged("staged"));
    staged->action = [] { return false; };
    EXPECT_FALSE(draw(*staged));
    EXPECT_EQ(staged->stagedView, nullptr);
}

TEST_F(RenderAbleTest, RenderExceptionGoesToTheContextWhoseAnswerIsReturned) {
    const RenderException exception(0x501, "draw", "thing.cpp", 7);
    object->action = [&]() -> bool { throw exception; };
    for (const bool answer : {false, true}) {
        context.errorAnswer = answer;
        CaptureStdout();
        EXPECT_EQ(object->safe_render(context, 0, -1), answer);
        EXPECT_EQ(GetCapturedStdout(), "RenderAble safe_render(): " + exception.str() + "\n");
    }
    ASSERT_EQ(context.failures.size(), 2u);
    EXPECT_EQ(context.failures[0], std::make_pair(std::string("thing"), exception.str()));
}

TEST_F(RenderAbleTest, AnyOtherExceptionIsPrintedAndCountsAsSuccess) {
    const std::string message = "Renderable: Unknown exception during rendering\n";
    const std::vector<std::function<bool()>> throwers{
        []() -> bool { throw 7; }, []() -> bool { throw "text"; },
        []() -> bool { throw std::runtime_error("not today"); }};
    for (const auto& thrower : throwers) {
        object->action = thrower;
        CaptureStdout();
        EXPECT_TRUE(object->safe_render(context, 0, -1));
        EXPECT_EQ(GetCapturedStdout(), message);
    }
    EXPECT_THAT(context.failures, IsEmpty());
}

TEST_F(RenderAbleTest, ContextPrintsAFailureByDefaultAndSaysFalse) {
    const RenderException exception(0x501, "draw", "thing.cpp", 7);
    CaptureStdout();
    EXPECT_FALSE(context.VRenderContext::notifyError(*object, exception));
    EXPECT_EQ(GetCapturedStdout(),
              "VRenderContext::notifyError - VGLRenderObject [thing]: " + exception.str() + " ");
}

TEST_F(RenderAbleTest, BoundingBallIsThatOfTheState) {
    EXPECT_FALSE(object->getBoundingBall(context.pool));
    const auto ball = Keel::make<Skua::BoundingBall>(View::point{1, 2, 3}, 4.0);
    object->myState(context.pool)->addInterface(ball);
    EXPECT_EQ(object->getBoundingBall(context.pool).get(), ball.get());
    EXPECT_EQ(object->getTouchableBoundingBall(context.pool).get(), ball.get());
    EXPECT_FALSE(object->getBoundingBall(Keel::make<Mirk::ValuePool>()));
    EXPECT_FALSE(object->getBoundingBall({}));
}

TEST_F(RenderAbleTest, LastTimeIsZeroAndThereIsNoSensorInfo) {
    EXPECT_THAT(object->getLastRenderTime(context), ElementsAre(0u, 0u, 0u, 0u));
    EXPECT_EQ(object->getSensorInfo(context.pool, RenderAble::SensorView()), "");
    object->illuminate(context);
    EXPECT_EQ(object->draws, 0);
}

} // namespace
