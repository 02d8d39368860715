#include <Displays/PolypDisplay.hpp>

#include "../keel/countedNew.hpp"
#include "displayFixture.hpp"

#include <functional>
#include <limits>

using Mirk::Polyp;
using Mirk::PolypDisplay;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// A program, one vertex and a painter, as the test says.
class Plain : public PolypDisplay {
public:
    explicit Plain(const Skua::BoundingBox& box = {{-1, -1, -1}, {1, 1, 1}})
        : VObject("plain", 0, {}), PolypDisplay("plain", box) {}

    void reach(std::span<const vector>, std::span<double>) const override {}

    std::function<bool(Polyp&, Mirk::VRenderContext&)> action;
    int wantedForm = 0;
    mutable std::vector<int> filled;
    mutable const Polyp* lastPolyp = nullptr;

protected:
    bool fill(Polyp& polyp, Mirk::VRenderContext& context, int form) const override {
        filled.push_back(form);
        lastPolyp = &polyp;
        const std::string text = context.defineMultiView(context.EyeViews.size(), true, 0);
        polyp.insert(context.createProgram(text, "", "plain.vert", "plain.frag", 1, 1, {}, {}));
        const auto coordinates = polyp.insert(context.createCoordinates(
            Mirk::RenderBasin::ChunkPtr(new Keel::Chunk<Mirk::Point>(1)), "Coordinates"));
        polyp.insert(coordinates->createPainter(Mirk::RenderNamespace::Points));
        return !action || action(polyp, context);
    }
    int form(const Mirk::ValuePoolPtr&) const override { return wantedForm; }
};

class PolypDisplayTest : public DisplayTest {
protected:
    /// Bytes of the polyp of the object.
    static constexpr std::int64_t bytes = sizeof(Mirk::Point);

    DisplayPtr<Plain> object{new Plain};
};

TEST_F(PolypDisplayTest, FillsItsPolypOnceAndDrawsItInEachFrame) {
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1);
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1);
    EXPECT_EQ(object->filled.size(), 1U);
}

TEST_F(PolypDisplayTest, JoinsTheDefaultSceneByItself) {
    EXPECT_TRUE(Mirk::VScene::DefaultScene()->findInput("plain.renderable"));
}

TEST_F(PolypDisplayTest, IsFilledAnewForAnotherNumberOfEyes) {
    draw(*object);
    EXPECT_THAT(vertexText(), HasSubstr("const int NumberOfViews = 1;"));
    context.setNumberOfEyes(2);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("const int NumberOfViews = 2;"));
    EXPECT_FALSE(isRefilledByDraw(*object));
}

TEST_F(PolypDisplayTest, IsFilledAnewForAnotherForm) {
    draw(*object);
    object->wantedForm = 7;
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(object->filled, ElementsAre(0, 7));
}

TEST_F(PolypDisplayTest, IsFilledAnewWhenThePolypWasEvicted) {
    draw(*object);
    EXPECT_EQ(seagrass->lawn(), 1);
    EXPECT_EQ(context.basin.log->live["Program"], 0);
    EXPECT_TRUE(isRefilledByDraw(*object));
}

TEST_F(PolypDisplayTest, TakesTheMemoryOfEachPolypOnce) {
    context.renderAllowance = 1000;
    draw(*object);
    draw(*object);
    EXPECT_EQ(context.renderAllowance, 1000 - bytes);
    seagrass->lawn();
    draw(*object);
    EXPECT_EQ(context.renderAllowance, 1000 - 2 * bytes);
}

TEST_F(PolypDisplayTest, RefusedPolypStaysFilledAndIsAskedForInTheNextFrame) {
    context.renderAllowance = bytes - 1;
    EXPECT_FALSE(draw(*object));
    EXPECT_FALSE(draw(*object));
    EXPECT_THAT(context.basin.log->take(), Not(testing::Contains(HasSubstr("activate"))));
    EXPECT_EQ(context.renderAllowance, bytes - 1);
    context.renderAllowance = bytes;
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1);
    EXPECT_EQ(context.renderAllowance, 0);
    EXPECT_EQ(object->filled.size(), 1U);
}

TEST_F(PolypDisplayTest, WithoutSeagrassNothingIsDrawn) {
    KnowingContext bare;
    const Mirk::View view;
    EXPECT_FALSE(object->render(bare, view, sub));
    EXPECT_TRUE(object->filled.empty());
}

TEST_F(PolypDisplayTest, DeclinedFillingLeavesNothingAndIsTriedAgain) {
    object->action = [](Polyp&, Mirk::VRenderContext&) { return false; };
    EXPECT_FALSE(draw(*object));
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Program"], 0);
    object->action = {};
    EXPECT_TRUE(isRefilledByDraw(*object));
}

TEST_F(PolypDisplayTest, RefusedProgramIsAFailureOfTheObject) {
    context.basin.log->throwing.insert("createProgram plain.vert");
    testing::internal::CaptureStdout();
    EXPECT_FALSE(draw(*object));
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("createProgram plain.vert"));
    ASSERT_EQ(context.failures.size(), 1U);
    EXPECT_EQ(context.failures[0].first, "plain");
    context.basin.log->throwing.clear();
    EXPECT_TRUE(draw(*object));
}

TEST_F(PolypDisplayTest, ValueThatCannotBeHadKeepsItFromBeingDrawn) {
    object->action = [](Polyp& polyp, Mirk::VRenderContext& present) {
        const auto missing = Mirk::RenderBasin::createRenderLambda(
            [](Mirk::VRenderContext&) { return Skua::FixedArray<float, 2>{}; });
        // The recorder takes the wrong number of components for a failure.
        return bool(
            polyp.insert(present.createRenderParameter("Missing", missing, typeid(float), 3)));
    };
    EXPECT_FALSE(draw(*object));
    EXPECT_THAT(context.basin.log->take(), Not(testing::Contains(HasSubstr("draw Painter"))));
}

TEST_F(PolypDisplayTest, CompletionTasksAreDone) {
    int completed = 0;
    object->action = [&](Polyp& polyp, Mirk::VRenderContext&) {
        polyp.addCompletionTask([&](Polyp&, Mirk::VRenderContext&) { return ++completed == 2; });
        return true;
    };
    for (int frame = 0; frame < 3; ++frame) draw(*object);
    EXPECT_EQ(completed, 2);
}

TEST_F(PolypDisplayTest, ProgramsReadTheViewsOfTheContext) {
    draw(*object);
    ASSERT_TRUE(program().uniformBlocks.contains("MultiView"));
    const auto shared = context.getUniformBuffer("MultiView");
    ASSERT_TRUE(shared);
    EXPECT_EQ(program().uniformBlocks["MultiView"], shared);
    const DisplayPtr<Plain> other(new Plain);
    draw(*other);
    EXPECT_EQ(program().uniformBlocks["MultiView"], shared);
    EXPECT_EQ(context.basin.log->live["UniformBuffer"], 1);
}

TEST_F(PolypDisplayTest, ViewsAreRelativeToTheOriginOfTheObject) {
    // Where single precision has steps of 64.
    const point far{1e9 + 0.25, -1e9, 3.0};
    const DisplayPtr<Plain> distant(
        new Plain(Skua::BoundingBox(far - vector{1, 1, 1}, far + vector{1, 1, 1})));
    EXPECT_EQ(distant->origin(), far);
    context.setNumberOfEyes(2);
    lookFrom(0, far + vector{0.0, 0.0, 0.5});
    lookFrom(1, far + vector{0.125, 0.0, 0.5});
    context.CurrentEye = 1;
    EXPECT_TRUE(draw(*distant));
    EXPECT_EQ(variable<vec4>("theVertexOffset"), (vec4{-1e9F, 1e9F, -3.0F, 0.0F}));
    EXPECT_EQ(variable<vec4>("TranslatedViews[0].Translation"), (vec4{0, 0, 0.5F, 0}));
    EXPECT_EQ(variable<vec4>("TranslatedViews[1].Translation"), (vec4{0.125F, 0, 0.5F, 0}));
    EXPECT_EQ(variable<int>("zelk_CurrentViewID"), 1);
}

TEST_F(PolypDisplayTest, OriginIsFiniteWhateverTheBoundsAre) {
    const double infinity = std::numeric_limits<double>::infinity();
    const DisplayPtr<Plain> endless(new Plain(Skua::BoundingBox({-infinity, 2, 3}, {1, 4, 5})));
    EXPECT_EQ(endless->origin(), (point{0, 3, 4}));
    EXPECT_EQ(DisplayPtr<Plain>(new Plain(Skua::BoundingBox()))->origin(), point());
}

TEST_F(PolypDisplayTest, BoundsAreABoxThatIsMadeOnce) {
    const auto ball = object->getBoundingBall(context.pool);
    EXPECT_EQ(ball, object->getBoundingBall({}));
    const auto* const box = dynamic_cast<const Skua::BoundingBox*>(ball.get());
    ASSERT_NE(box, nullptr);
    EXPECT_EQ(box->max, (point{1, 1, 1}));
    EXPECT_FALSE(box->emptyBall());
}

TEST_F(PolypDisplayTest, EachSeagrassHasAPolypOfItsOwn) {
    auto other = Keel::make<Mirk::Seagrass>(1U << 30, "other");
    {
        KnowingContext second(other);
        const Mirk::View view;
        EXPECT_TRUE(draw(*object));
        EXPECT_TRUE(object->render(second, view, sub));
        EXPECT_FALSE(isRefilledByDraw(*object));
        EXPECT_EQ(object->filled.size(), 2U);
    }
    other = {};
    EXPECT_FALSE(isRefilledByDraw(*object));
}

TEST_F(PolypDisplayTest, PolypOutlivesItsObjectUntilTheNextCleanup) {
    draw(*object);
    object = {};
    EXPECT_EQ(context.basin.log->live["Program"], 1);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Program"], 0);
    EXPECT_EQ(context.basin.log->live["UniformBuffer"], 0);
}

TEST_F(PolypDisplayTest, FrameOfAnUnchangedObjectAllocatesNothing) {
    context.setNumberOfEyes(2);
    draw(*object);
    context.basin.log->calls.reserve(1000);
    // The recorder allocates for what it writes down, also without the display object.
    const Polyp& polyp = *object->lastPolyp;
    const auto allocationsOf = [](const auto& action) {
        const long long before = allocationsOfThisThread();
        action();
        return allocationsOfThisThread() - before;
    };
    const auto ofRecorder = allocationsOf([&] {
        polyp.updateValues(context);
        polyp.wave(~Mirk::Activity_t{0});
    });
    EXPECT_EQ(allocationsOf([&] { object->environment_render(context); }), ofRecorder);
}

} // namespace
