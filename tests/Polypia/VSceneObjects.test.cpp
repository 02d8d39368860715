#include <Polypia/VSceneObjects.hpp>

#include "RecordingContext.hpp"
#include "sceneQuestions.hpp"
#include "shownObject.hpp"
#include "traceOfTest.hpp"

#include <sorrel/VActionNotifier.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <climits>
#include <cmath>
#include <future>
#include <limits>
#include <mutex>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

namespace {

using Mirk::ValuePoolPtr;
using Mirk::VObjectPtr;
using testing::ElementsAre;
using testing::IsEmpty;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

class VSceneObjects : public testing::Test {
protected:
    using BallPtr = Mirk::VSceneObjects::BoundingBallPtr;

    ~VSceneObjects() override { Mirk::VActionNotifier::clear(); }

    /// Adds an object and keeps it.
    ShownPtr add(const ShownPtr& object) {
        objects.insert(object->priority, object);
        kept.push_back(object);
        return object;
    }
    BoxPtr global(bool touchable = false) const {
        return BoxPtr(objects.getGlobalBoundingVolume(pool, touchable));
    }
    BallPtr ranged(int first = INT_MIN, int last = INT_MAX, bool touchable = false) const {
        return objects.getRangedBoundingVolume(pool, touchable, first, last);
    }
    BoxPtr boxInPool() const { return pool->findInterface<Skua::BoundingBox>(); }

    RecordingContext context;
    const ValuePoolPtr pool = context.pool;
    Mirk::VSceneObjects objects;
    std::vector<ShownPtr> kept;
    double renderTime = -1;
};

TEST_F(VSceneObjects, IsASelectionThatAddsNoData) {
    static_assert(std::is_base_of_v<Mirk::ObjectSelection, Mirk::VSceneObjects>);
    static_assert(sizeof(Mirk::VSceneObjects) == sizeof(Mirk::ObjectSelection));
    const ShownPtr a = shown("a");
    objects.insert(3, a);
    EXPECT_THAT(names(objects), ElementsAre("3a"));
    objects.clear();
    EXPECT_THAT(names(objects), IsEmpty());
}

TEST_F(VSceneObjects, IsAValueWithoutTextThatDiffersByItsObjects) {
    using Compare = Mirk::VValueCompareTrait<Mirk::VSceneObjects>;
    using Trait = Mirk::VValueTrait<Mirk::VSceneObjects>;
    add(shown("a"));
    Mirk::VSceneObjects same;
    same.insert(0, kept[0]);
    EXPECT_FALSE(Compare::isDifferent(objects, same));
    EXPECT_TRUE(Compare::isDifferent(objects, {}));
    EXPECT_EQ(Trait::Text(objects), "");
    EXPECT_FALSE(Trait::setValueFromText(same, "a"));
    EXPECT_FALSE(Compare::isDifferent(objects, same));
    EXPECT_EQ(Mirk::VValueCreator::typeName(typeid(Mirk::VSceneObjects)), "VSceneObjects");

    Mirk::VValue<Mirk::VSceneObjects> value(objects);
    EXPECT_FALSE(value.set(same));
    EXPECT_TRUE(value.set({}));
}

TEST_F(VSceneObjects, VolumeOfInvisibleObjectsIsNullAndNothingComesIntoThePool) {
    add(shownCube("a", 0, 1))->setVisible(pool, false);
    add(shownCube("b", 0, 1))->active = false;
    EXPECT_FALSE(global());
    EXPECT_FALSE(ranged());
    EXPECT_FALSE(boxInPool());
}

TEST_F(VSceneObjects, VolumeIsThatOfWhatIsVisibleInThePool) {
    add(shownCube("a", 0, 1));
    add(shownCube("b", 5, 6))->setVisible(pool, false);
    const BoxPtr box = global();
    ASSERT_TRUE(box);
    EXPECT_EQ(box->max.x, 1);
    const ValuePoolPtr other(new Mirk::ValuePool);
    EXPECT_EQ(BoxPtr(objects.getGlobalBoundingVolume(other, false))->max.x, 6);
}

TEST_F(VSceneObjects, GlobalVolumeIsTheBoxAroundAllBoxesWithItsBall) {
    add(shownCube("a", 1, 2));
    add(shownCube("b", -3, 1.5));
    add(shownCube("c", 0, 7));
    const BoxPtr box = global();
    ASSERT_TRUE(box);
    EXPECT_FALSE(box->isEmpty);
    EXPECT_EQ(box->min, (Skua::PhysicalSpace::point{-3, -3, -3}));
    EXPECT_EQ(box->max, (Skua::PhysicalSpace::point{7, 7, 7}));
    EXPECT_EQ(box->centre, (Skua::PhysicalSpace::point{2, 2, 2}));
    EXPECT_GE(box->radius, 5 * std::sqrt(3.0));
    EXPECT_EQ(boxInPool(), box);
}

TEST_F(VSceneObjects, AccumulatesEachCoordinateApart) {
    const ShownPtr a = add(shownCube("a", 0, 1)), b = add(shownCube("b", 0, 1));
    BoxPtr(b->ball)->min.y = -1;
    BoxPtr(b->ball)->max.z = 9;
    const BoxPtr box = global();
    EXPECT_EQ(box->min, (Skua::PhysicalSpace::point{0, -1, 0}));
    EXPECT_EQ(box->max, (Skua::PhysicalSpace::point{1, 1, 9}));
    EXPECT_EQ(BoxPtr(a->ball)->max.z, 1) << "the object's own box is left alone";
}

TEST_F(VSceneObjects, ObjectsWithoutBallChangeNothing) {
    add(shown("none"));
    EXPECT_FALSE(global());
    EXPECT_FALSE(ranged());
    add(shownCube("a", 0, 1));
    add(shown("none as well"));
    EXPECT_EQ(global()->max.x, 1);
    EXPECT_EQ(ranged()->centre.x, 0.5);
}

TEST_F(VSceneObjects, DeadObjectsAndThoseThatCannotBeDrawnArePassedOver) {
    const VObjectPtr other(new Mirk::VObject("other", 0, {}));
    objects.insert(0, other);
    objects.insert(0, shownCube("brief", 0, 100));
    EXPECT_FALSE(global());
    EXPECT_FALSE(ranged());
    add(shownCube("a", 0, 1));
    EXPECT_EQ(global()->max.x, 1);
}

TEST_F(VSceneObjects, MereBallsCountInRangedVolumesOnly) {
    add(shown("ball"))->ball = BallPtr(new Skua::BoundingBall({1, 2, 3}, 4));
    EXPECT_FALSE(global());
    const BallPtr ball = ranged();
    ASSERT_TRUE(ball);
    EXPECT_EQ(*ball, Skua::BoundingBall({1, 2, 3}, 4));
    EXPECT_NE(ball, kept[0]->ball) << "a copy";
}

TEST_F(VSceneObjects, EmptyBoxesCountInNoVolume) {
    add(shown("empty"))->ball = BoxPtr(new Skua::BoundingBox);
    EXPECT_FALSE(global());
    EXPECT_FALSE(ranged());
}

TEST_F(VSceneObjects, RangedVolumeIsABallAroundAllBallsOfTheLayers) {
    for (int layer = 1; layer <= 4; ++layer) {
        add(shown("ball", layer))->ball = BallPtr(new Skua::BoundingBall({10.0 * layer, 0, 0}, 1));
    }
    const BallPtr ball = ranged(2, 3);
    ASSERT_TRUE(ball);
    EXPECT_EQ(ball->centre, (Skua::PhysicalSpace::point{25, 0, 0}));
    EXPECT_NEAR(ball->radius, 6, 1e-14);
    EXPECT_EQ(kept[1]->ball->radius, 1) << "the object's own ball is left alone";
    EXPECT_FALSE(ranged(5, 9));
    EXPECT_FALSE(ranged(3, 2));
    EXPECT_FALSE(boxInPool()) << "the pool is left alone";
}

TEST_F(VSceneObjects, MinimumThatIsNoNumberLastsUntilTheNextBox) {
    add(shownCube("a", 0, 1));
    add(shownCube("b", NaN, NaN));
    const BoxPtr before = global();
    EXPECT_TRUE(std::isnan(before->min.x));
    EXPECT_EQ(before->max.x, 1);
    add(shownCube("c", 5, 6));
    const BoxPtr box = global();
    EXPECT_EQ(box->min.x, 5);
    EXPECT_EQ(box->max.x, 6);
}

TEST_F(VSceneObjects, MaximumThatIsNoNumberLastsIfItIsTheFirst) {
    add(shownCube("a", NaN, NaN));
    add(shownCube("b", 5, 6));
    const BoxPtr box = global();
    EXPECT_EQ(box->min.x, 5);
    EXPECT_TRUE(std::isnan(box->max.x));
}

TEST_F(VSceneObjects, AsksForWhatCanBeTouched) {
    add(shownCube("a", 0, 1))->touchableBall = cube(2, 3);
    EXPECT_EQ(global(false)->min.x, 0);
    EXPECT_EQ(global(true)->min.x, 2);
    EXPECT_EQ(ranged(0, 0, false)->centre.x, 0.5);
    EXPECT_EQ(ranged(0, 0, true)->centre.x, 2.5);
}

TEST_F(VSceneObjects, PoolGetsTheNewBoxAndKeepsItWhenTheSceneIsEmptied) {
    add(shownCube("a", 0, 1));
    const BoxPtr first = global();
    add(shownCube("b", 5, 6));
    const BoxPtr second = global();
    EXPECT_NE(first, second);
    EXPECT_EQ(boxInPool(), second);
    objects.clear();
    EXPECT_FALSE(global());
    EXPECT_EQ(boxInPool(), second);
}

TEST_F(VSceneObjects, VolumesNeedNoPool) {
    add(shownCube("a", 0, 1));
    EXPECT_TRUE(objects.getGlobalBoundingVolume({}, false));
    EXPECT_TRUE(objects.getRangedBoundingVolume({}, false, 0, 0));
}

TEST_F(VSceneObjects, ObjectMayChangeTheSelectionWhileItIsAsked) {
    add(shownCube("a", 0, 1))->asked = [this] { objects.clear(); };
    EXPECT_TRUE(global());
    EXPECT_EQ(objects.NumberOfObjects(), 0U);
}

TEST_F(VSceneObjects, RenderHandsItselfToTheTraversalAndReturnsItsResult) {
    add(shownCube("a", 0, 1, 7));
    context.traversal = [&](const Mirk::ObjectSelection& drawn, double& time, int first, int last) {
        EXPECT_EQ(&drawn, &context.frameObjects);
        EXPECT_THAT(names(drawn), ElementsAre("7a"));
        EXPECT_EQ(time, 0);
        EXPECT_EQ(first, -5);
        EXPECT_EQ(last, 12);
        time += 0.25;
        return 0x123456789ULL;
    };
    EXPECT_EQ(objects.render(context, renderTime, -5, 12), 0x123456789ULL);
    EXPECT_EQ(renderTime, 0.25);
}

TEST_F(VSceneObjects, DuringAFrameTheContextKnowsObjectsAndVolumes) {
    add(shownCube("a", 0, 1, 7))->touchableBall = cube(0, 0.5);
    bool wasDrawn = false;
    context.traversal = [&](const Mirk::ObjectSelection&, double&, int, int) {
        wasDrawn = true;
        EXPECT_TRUE(isFree(context.mutex));
        EXPECT_TRUE(isFree(context.pool->mutex));
        EXPECT_EQ(context.visibleVolume, boxInPool());
        EXPECT_EQ(BoxPtr(context.visibleVolume)->max.x, 1);
        EXPECT_EQ(context.touchableVolume->centre.x, 0.25);
        return 0ULL;
    };
    objects.render(context, renderTime, 0, 0);
    EXPECT_TRUE(wasDrawn);
    EXPECT_EQ(context.frameObjects.NumberOfObjects(), 0U);
    EXPECT_FALSE(context.visibleVolume);
    EXPECT_FALSE(context.touchableVolume);
    EXPECT_TRUE(isFree(context.mutex));
    EXPECT_THAT(names(objects), ElementsAre("7a"));
}

TEST_F(VSceneObjects, ContextIsFilledWithItsMutexHeld) {
    bool wasFree = true;
    add(shownCube("a", 0, 1))->asked = [&] { wasFree = isFree(context.mutex); };
    objects.render(context, renderTime, 0, 0);
    EXPECT_FALSE(wasFree);
}

TEST_F(VSceneObjects, OtherThreadsReadTheFrameUnderTheMutexOfTheContext) {
    add(shownCube("a", 0, 1));
    std::atomic<bool> isOver = false;
    std::thread reader([&] {
        while (!isOver) {
            const std::lock_guard lock(context.mutex);
            const bool isInFrame = context.frameObjects.NumberOfObjects() > 0;
            EXPECT_EQ(isInFrame, static_cast<bool>(context.visibleVolume));
            EXPECT_EQ(isInFrame, static_cast<bool>(context.touchableVolume));
        }
    });
    for (int frame = 0; frame < 500; ++frame) objects.render(context, renderTime, 0, 0);
    isOver = true;
    reader.join();
}

TEST_F(VSceneObjects, FrameIsAScopeOfTheProfilerThatIsClosedAfterAThrowToo) {
    if (isTraced()) {
        objects.render(context, renderTime, 0, 0);
        context.traversal = [](const Mirk::ObjectSelection&, double&, int, int) -> std::uint64_t {
            throw std::runtime_error("no traversal");
        };
        EXPECT_THROW(objects.render(context, renderTime, 0, 0), std::runtime_error);
        return;
    }
    // Scopes that are never closed are not in the trace.
    const auto scopes = traceOfThisTest("\"Scene Rendering\"");
    EXPECT_EQ(scopes.size(), 2U);
    for (const std::string& scope : scopes) EXPECT_THAT(scope, testing::HasSubstr("\"Polypia\""));
}

struct LayerCase {
    const char* name;
    int layer;
    bool isTouchable;
};
class TouchableLayers : public VSceneObjects, public testing::WithParamInterface<LayerCase> {};

TEST_P(TouchableLayers, TakePartInTheVolumeOfTheFrame) {
    add(shownCube("a", 0, 1, GetParam().layer));
    context.traversal = [&](const Mirk::ObjectSelection&, double&, int, int) {
        EXPECT_TRUE(context.visibleVolume);
        EXPECT_EQ(bool(context.touchableVolume), GetParam().isTouchable);
        return 1ULL;
    };
    EXPECT_EQ(objects.render(context, renderTime, INT_MIN, INT_MAX), 1U);
}
INSTANTIATE_TEST_SUITE_P(, TouchableLayers,
                         testing::Values(LayerCase{"Below", -100000, false},
                                         LayerCase{"Lowest", -99999, true},
                                         LayerCase{"Highest", 399999, true},
                                         LayerCase{"Above", 400000, false}),
                         [](const auto& layer) { return std::string(layer.param.name); });

TEST_F(VSceneObjects, AfterAThrowTheContextKeepsWhatItHadUntilTheNextFrame) {
    const auto precision = Keel::make<PlainPrecision>();
    context.precision = precision;
    precision->lastFrameTime = 3;
    add(shownCube("a", 0, 1));
    context.traversal = [](const Mirk::ObjectSelection&, double&, int, int) -> std::uint64_t {
        throw std::runtime_error("lost");
    };
    EXPECT_THROW(objects.render(context, renderTime, 0, 0), std::runtime_error);
    EXPECT_TRUE(isFree(context.mutex));
    EXPECT_THAT(names(context.frameObjects), ElementsAre("0a"));
    EXPECT_TRUE(context.visibleVolume);
    EXPECT_TRUE(context.touchableVolume);
    EXPECT_EQ(precision->lastFrameTime, 3);
    context.traversal = {};
    Mirk::VSceneObjects().render(context, renderTime, 0, 0);
    EXPECT_EQ(context.frameObjects.NumberOfObjects(), 0U);
    EXPECT_FALSE(context.visibleVolume);
}

TEST_F(VSceneObjects, ObjectThatThrowsWhenAskedHasNoBoundsAndDoesNotEndTheFrame) {
    add(shownCube("a", 0, 1))->asked = [] { throw std::runtime_error("no ball"); };
    add(shownCube("b", 0, 1))->asked = [] { throw 7; };
    add(shownCube("c", 2, 3));
    bool wasDrawn = false;
    context.traversal = [&](const Mirk::ObjectSelection&, double&, int, int) {
        wasDrawn = true;
        EXPECT_TRUE(context.visibleVolume);
        return 0ULL;
    };
    testing::internal::CaptureStdout();
    EXPECT_NO_THROW(objects.render(context, renderTime, 0, 0));
    const std::string told = testing::internal::GetCapturedStdout();
    EXPECT_THAT(told, testing::HasSubstr("Polypia: the bounds of [a]: no ball\n"));
    EXPECT_THAT(told, testing::HasSubstr("[b]: an exception of an unknown kind\n"));
    EXPECT_TRUE(wasDrawn);
    EXPECT_TRUE(isFree(context.mutex));
}

TEST_F(VSceneObjects, StoresTheTimeInThePrecisionIfThereIsOne) {
    context.traversal = [](const Mirk::ObjectSelection&, double& time, int, int) {
        time += 0.5;
        return 3ULL;
    };
    EXPECT_EQ(objects.render(context, renderTime, 0, 0), 3U);
    EXPECT_EQ(renderTime, 0.5);
    const auto precision = Keel::make<PlainPrecision>();
    context.precision = precision;
    EXPECT_EQ(objects.render(context, renderTime, 0, 0), 3U);
    EXPECT_EQ(precision->lastFrameTime, 0.5);
}

TEST_F(VSceneObjects, SecondFrameHasTheVolumesOfItsObjects) {
    add(shownCube("a", 0, 1));
    objects.render(context, renderTime, 0, 0);
    const BoxPtr first = boxInPool();
    kept[0]->ball = cube(3, 4);
    objects.render(context, renderTime, 0, 0);
    EXPECT_NE(boxInPool(), first);
    EXPECT_EQ(boxInPool()->min.x, 3);
}

TEST_F(VSceneObjects, RendersWithoutPool) {
    context.pool = {};
    add(shownCube("a", 0, 1));
    EXPECT_EQ(objects.render(context, renderTime, 0, 0), 0U);
}

TEST_F(VSceneObjects, PickHandsItselfToThePickingOfTheContext) {
    add(shown("a", 400000));
    const ShownPtr before = shown("before");
    context.frameObjects.insert(1, before);
    const auto answer = Keel::make<Mirk::PickList>(0, 0, 1, 1, 0);
    context.picking = [&](const Mirk::ObjectSelection& drawn,
                          const RecordingContext::PixelRectangle& rectangle, int first, int last) {
        EXPECT_EQ(&drawn, &context.frameObjects);
        EXPECT_THAT(names(drawn), ElementsAre("400000a"));
        EXPECT_EQ(rectangle, (RecordingContext::PixelRectangle{1, 2, 3, 4}));
        EXPECT_EQ(first, -300001);
        EXPECT_EQ(last, 2147483647);
        return answer;
    };
    EXPECT_EQ(objects.pick(context, 1, 2, 3, 4), answer);
    EXPECT_THAT(names(context.frameObjects), ElementsAre("1before"));
}

TEST_F(VSceneObjects, PickRestoresTheObjectsOfTheContextAlsoAfterAThrow) {
    add(shown("a"));
    const ShownPtr before = shown("before");
    context.frameObjects.insert(1, before);
    context.picking = [](const auto&, const auto&, int, int) -> Mirk::VRenderContext::PickListPtr {
        throw std::runtime_error("lost");
    };
    EXPECT_THROW(objects.pick(context, 0, 0, 1, 1), std::runtime_error);
    EXPECT_THAT(names(context.frameObjects), ElementsAre("1before"));
}

TEST_F(VSceneObjects, PickDoesNotTakeTheMutexOfTheContext) {
    const std::lock_guard lock(context.mutex);
    std::async(std::launch::async, [&] { objects.pick(context, 0, 0, 1, 1); }).get();
}

} // namespace
