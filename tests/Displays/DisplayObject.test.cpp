#include <Displays/DisplayObject.hpp>
#include <Displays/Exchanges.hpp>
#include <Displays/originThreshold.hpp>

#include "../keel/countedNew.hpp"
#include "displayFixture.hpp"

#include <sorrel/Vprintf.hpp>

#include <cmath>
#include <functional>
#include <limits>
#include <memory>
#include <numbers>
#include <random>
#include <set>
#include <stdexcept>

using Mirk::DisplayObject;
using Mirk::Polyp;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

/// One vertex for each piece, as the test says.
class Plain : public DisplayObject {
public:
    explicit Plain(const Skua::BoundingBox& box = {{-1, -1, -1}, {1, 1, 1}})
        : VObject("plain", 0, {}), DisplayObject("plain"), bounds(box) {}

    std::string shaderStem() const override { return "plain"; }

    std::function<bool(Polyp&, Mirk::VRenderContext&)> action;
    std::function<void()> onRead;
    Skua::BoundingBox bounds;
    std::size_t pieces = 1;
    Form wantedForm = 0;
    std::string_view vertexCode = "void main() {}\n"; ///< of a text that lasts
    std::size_t vertices = 1;                         ///< of each piece
    std::size_t knownBytes = 0;                       ///< of each piece, ahead of filling it
    mutable std::vector<std::pair<std::size_t, Form>> filled; ///< piece and form
    mutable std::vector<const Polyp*> polyps;
    mutable Levels levels;
    mutable point lastOrigin{};

    using DisplayObject::hasLevels;
    using DisplayObject::isClipped;

    /// Has the next request read the inputs again.
    void changeInput() const { clippingPlanes().clip0.set({}, {{0, 0, 0}, ++_changes}); }
    /// Other data of so many pieces.
    void setData(std::size_t number) {
        pieces = number;
        bounds.max.x += 1.0;
        changeInput();
    }

protected:
    class Known : public Content {
    public:
        Known(const Skua::BoundingBox& box, std::size_t number, std::size_t bytes)
            : Content(box, number), _bytes(bytes) {}
        std::size_t leastBytes(std::size_t) const override { return _bytes; }

    private:
        const std::size_t _bytes;
    };

    ContentPtr read(const Mirk::ValuePoolPtr&, const ContentPtr& present) const override {
        if (onRead) onRead();
        const bool isSame = present && present->bounds.max == bounds.max;
        if (isSame && present->pieces == pieces) return present;
        return std::make_shared<const Known>(bounds, pieces, knownBytes);
    }
    Stages stages(Form form, const Content&) const override {
        Stages stages{vertexCode, "void main() {}\n"};
        stages.defines = "#define FORM " + std::to_string(form & formOfClass) + "\n";
        return stages;
    }
    Drawing fill(Polyp& polyp, Mirk::VRenderContext& context, Mirk::RenderBasin::Program&,
                 const Content&, const point& origin, std::size_t piece, Form form) const override {
        filled.emplace_back(piece, form);
        lastOrigin = origin;
        polyps.push_back(&polyp);
        const auto coordinates = polyp.insert(context.createCoordinates(
            Mirk::RenderBasin::ChunkPtr(new Keel::Chunk<Mirk::Point>(vertices)), "Coordinates"));
        Drawing drawing{polyp.insert(coordinates->createPainter(Mirk::RenderNamespace::Points)),
                        levels};
        if (action && !action(polyp, context)) drawing.painter = {};
        return drawing;
    }
    Form form(const Mirk::ValuePoolPtr&) const override { return wantedForm; }

private:
    mutable double _changes = 0.0;
};

class DisplayObjectTest : public DisplayTest {
protected:
    using Filled = std::pair<std::size_t, std::uint32_t>;
    /// Bytes of the polyp of a piece.
    static constexpr std::int64_t bytes = sizeof(Mirk::Point);

    std::vector<double> planeOf(const std::string& name) const {
        return context.made<RecordingParameter>(name).values<double>();
    }

    DisplayPtr<Plain> object{new Plain};
};

TEST_F(DisplayObjectTest, FillsItsPolypOnceAndDrawsItInEachFrame) {
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1);
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1);
    EXPECT_EQ(object->filled.size(), 1U);
}

TEST_F(DisplayObjectTest, JoinsTheDefaultSceneByItself) {
    EXPECT_TRUE(Mirk::VScene::DefaultScene()->findInput("plain.renderable"));
}

TEST_F(DisplayObjectTest, IsFilledAnewForAnotherNumberOfEyes) {
    draw(*object);
    EXPECT_THAT(vertexText(), HasSubstr("const int NumberOfViews = 1;"));
    context.setNumberOfEyes(2);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("const int NumberOfViews = 2;"));
    EXPECT_FALSE(isRefilledByDraw(*object));
}

TEST_F(DisplayObjectTest, IsFilledAnewForAnotherForm) {
    draw(*object);
    object->wantedForm = 7;
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(object->filled, ElementsAre(Filled(0, 0), Filled(0, 7)));
}

TEST_F(DisplayObjectTest, IsFilledAnewWhenThePolypWasEvicted) {
    draw(*object);
    EXPECT_EQ(seagrass->lawn(), 2); // the program has one as well
    EXPECT_EQ(context.basin.log->live["Program"], 0);
    EXPECT_TRUE(isRefilledByDraw(*object));
}

TEST_F(DisplayObjectTest, TakesTheMemoryOfEachPolypOnce) {
    context.renderAllowance = 1000;
    draw(*object);
    draw(*object);
    EXPECT_EQ(context.renderAllowance, 1000 - bytes);
    seagrass->lawn();
    draw(*object);
    EXPECT_EQ(context.renderAllowance, 1000 - 2 * bytes);
}

TEST_F(DisplayObjectTest, RefusedPolypStaysFilledAndIsAskedForInTheNextFrame) {
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

TEST_F(DisplayObjectTest, WithoutSeagrassNothingIsDrawn) {
    KnowingContext bare;
    const Mirk::View view;
    EXPECT_FALSE(object->render(bare, view, sub));
    EXPECT_TRUE(object->filled.empty());
}

TEST_F(DisplayObjectTest, DeclinedFillingLeavesNothingAndIsTriedAgain) {
    object->action = [](Polyp&, Mirk::VRenderContext&) { return false; };
    EXPECT_FALSE(draw(*object));
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["VertexAttribute"], 0);
    object->action = {};
    EXPECT_TRUE(isRefilledByDraw(*object));
}

TEST_F(DisplayObjectTest, RefusedProgramIsAFailureOfTheObjectThatIsToldOnce) {
    context.basin.log->throwing.insert("createProgram plain.vert");
    testing::internal::CaptureStdout();
    // Told, and so done.
    EXPECT_TRUE(draw(*object));
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("createProgram plain.vert"));
    EXPECT_THAT(reportOf(*object), HasSubstr("RenderException"));
    ASSERT_EQ(context.failures.size(), 1U);
    EXPECT_EQ(context.failures[0].first, "plain");
    context.basin.log->take();
    testing::internal::CaptureStdout();
    for (int frame = 0; frame < 3; ++frame) EXPECT_FALSE(draw(*object));
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(context.basin.log->take(), Not(testing::Contains(HasSubstr("createProgram"))));
    EXPECT_THAT(reportOf(*object), HasSubstr("RenderException"));
    // Another text is compiled.
    context.basin.log->throwing.clear();
    object->wantedForm = 7;
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, ReportIsThatOfWhatFailsNowWhateverHasFailedInBetween) {
    context.basin.log->throwing.insert("createProgram plain.vert");
    testing::internal::CaptureStdout();
    draw(*object);
    const std::string refused = reportOf(*object);
    object->onRead = [] { throw std::runtime_error("there is a hole in it"); };
    object->changeInput();
    draw(*object);
    EXPECT_THAT(reportOf(*object), HasSubstr("there is a hole in it"));
    object->onRead = {};
    object->changeInput();
    EXPECT_FALSE(draw(*object));
    EXPECT_EQ(reportOf(*object), refused);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 2U);
    context.basin.log->throwing.clear();
    object->wantedForm = 7;
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, ReportOfOneViewerStaysWhatAnotherOfThePoolDraws) {
    const auto other = Keel::make<Mirk::Seagrass>(1U << 30, "other");
    KnowingContext second(other);
    second.pool = context.pool;
    const Mirk::View view;
    const auto drawInSecond = [&] { return object->render(second, view, sub); };
    second.basin.log->throwing.insert("createProgram plain.vert");
    testing::internal::CaptureStdout();
    request(*object);
    drawInSecond();
    const std::string refused = reportOf(*object);
    EXPECT_NE(refused, "");
    for (int frame = 0; frame < 2; ++frame) {
        EXPECT_TRUE(draw(*object));
        EXPECT_EQ(reportOf(*object), refused);
        EXPECT_FALSE(drawInSecond());
        EXPECT_EQ(reportOf(*object), refused);
    }
    EXPECT_EQ(second.failures.size(), 1U);
    // Another failure in the first, and its end.
    object->setData(1);
    object->action = [&](Polyp&, Mirk::VRenderContext& present) -> bool {
        if (&present == &second) return true;
        throw Mirk::RenderException(1, "full", "other.cpp", 1);
    };
    draw(*object);
    EXPECT_THAT(reportOf(*object), HasSubstr("other.cpp"));
    drawInSecond();
    draw(*object);
    EXPECT_THAT(reportOf(*object), HasSubstr("other.cpp")); // fails as well
    EXPECT_EQ(context.failures.size(), 1U);
    object->action = {};
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(reportOf(*object), refused);
    // And of that one.
    second.basin.log->throwing.clear();
    object->wantedForm = 7;
    EXPECT_TRUE(drawInSecond());
    EXPECT_EQ(reportOf(*object), "");
    testing::internal::GetCapturedStdout();
}

TEST_F(DisplayObjectTest, ReportOfAViewerThatHasGoneElsewhereEnds) {
    const auto other = Keel::make<Mirk::Seagrass>(1U << 30, "other");
    KnowingContext second(other);
    second.pool = context.pool;
    second.basin.log->throwing.insert("createProgram plain.vert");
    const Mirk::View view;
    testing::internal::CaptureStdout();
    request(*object);
    object->render(second, view, sub);
    testing::internal::GetCapturedStdout();
    draw(*object);
    EXPECT_NE(reportOf(*object), "");
    for (int frame = 0; frame < 1100; ++frame) draw(*object);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, RefusedProgramOfAnotherFormLeavesThePictureAsItWas) {
    EXPECT_TRUE(draw(*object));
    context.basin.log->throwing.insert("createProgram plain.vert");
    object->wantedForm = 7;
    testing::internal::CaptureStdout();
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1); // and is told
    for (int frame = 0; frame < 2; ++frame) {
        context.basin.log->take();
        EXPECT_FALSE(draw(*object));
        EXPECT_THAT(context.basin.log->take(), testing::Contains(HasSubstr("draw Painter")));
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(object->filled, ElementsAre(Filled(0, 0)));
    // With other data as well.
    object->setData(1);
    EXPECT_FALSE(draw(*object));
    EXPECT_EQ(context.failures.size(), 1U);
    object->wantedForm = 0;
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, FailedFillingOfOtherDataLeavesThePictureAsItWas) {
    EXPECT_TRUE(draw(*object));
    object->setData(1);
    object->action = [](Polyp&, Mirk::VRenderContext&) -> bool {
        throw Mirk::RenderException(1, "full", __FILE__, __LINE__);
    };
    testing::internal::CaptureStdout();
    EXPECT_EQ(callsOfDraw(*object, "draw Painter"), 1);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
    object->action = {};
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, OtherDataOfTheSameTextTakeTheSameProgram) {
    draw(*object);
    for (int change = 0; change < 2; ++change) {
        object->setData(1);
        context.basin.log->take();
        EXPECT_TRUE(draw(*object));
        const auto calls = context.basin.log->take();
        EXPECT_THAT(calls, testing::Contains(HasSubstr("createCoordinates")));
        EXPECT_THAT(calls, Not(testing::Contains(HasSubstr("createProgram"))));
    }
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 1);
    EXPECT_EQ(context.basin.log->live["Program"], 1);
}

TEST_F(DisplayObjectTest, ValueThatCannotBeHadKeepsItFromBeingDrawn) {
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

TEST_F(DisplayObjectTest, CompletionTasksAreDone) {
    int completed = 0;
    object->action = [&](Polyp& polyp, Mirk::VRenderContext&) {
        polyp.addCompletionTask([&](Polyp&, Mirk::VRenderContext&) { return ++completed == 2; });
        return true;
    };
    for (int frame = 0; frame < 3; ++frame) draw(*object);
    EXPECT_EQ(completed, 2);
}

TEST_F(DisplayObjectTest, ProgramsReadTheViewsOfTheContext) {
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

TEST_F(DisplayObjectTest, ViewsAreRelativeToTheOriginOfTheObject) {
    // Where single precision has steps of 64.
    const point far{1e9 + 0.25, -1e9, 3.0};
    const DisplayPtr<Plain> distant(
        new Plain(Skua::BoundingBox(far - vector{1, 1, 1}, far + vector{1, 1, 1})));
    context.setNumberOfEyes(2);
    lookFrom(0, far + vector{0.0, 0.0, 0.5});
    lookFrom(1, far + vector{0.125, 0.0, 0.5});
    context.CurrentEye = 1;
    EXPECT_TRUE(draw(*distant));
    EXPECT_EQ(variable<vec4>("theVertexOffset"), (vec4{-1e9F, 1e9F, -3.5F, 0.0F}));
    EXPECT_EQ(variable<vec4>("TranslatedViews[0].Translation"), (vec4{0, 0, 0, 0}));
    EXPECT_EQ(variable<vec4>("TranslatedViews[1].Translation"), (vec4{0.125F, 0, 0, 0}));
    EXPECT_EQ(variable<int>("zelk_CurrentViewID"), 1);
}

TEST_F(DisplayObjectTest, OriginStaysWhileTheCameraIsNearItAndThenFollows) {
    const double far = 1e9;
    const point middle{far, 0, 0};
    const DisplayPtr<Plain> distant(
        new Plain(Skua::BoundingBox(middle - vector{9, 9, 9}, middle + vector{9, 9, 9})));
    lookFrom(0, middle);
    draw(*distant);
    EXPECT_EQ(distant->lastOrigin, middle);
    const double threshold = Mirk::originThreshold(context, 0, 0.0);
    lookFrom(0, middle + vector{0, threshold, 0});
    draw(*distant);
    EXPECT_EQ(distant->filled.size(), 1U) << "at the threshold, and farther from the box";
    lookFrom(0, middle + vector{std::nan(""), 0, 0});
    draw(*distant);
    EXPECT_EQ(distant->filled.size(), 1U) << "nowhere";
    lookFrom(0, middle + vector{2 * far, 0, 0});
    draw(*distant);
    EXPECT_EQ(distant->filled.size(), 1U) << "too far away to be seen as off";
    const DisplayPtr<Plain> around(
        new Plain(Skua::BoundingBox(point{-far, -far, -far}, point{far, far, far})));
    lookFrom(0, {0, 0, 10});
    draw(*around);
    EXPECT_EQ(around->lastOrigin, point());
    lookFrom(0, {0, 0, threshold * 1.01});
    draw(*around);
    EXPECT_EQ(around->lastOrigin, (point{0, 0, threshold * 1.01})) << "within the box";
    EXPECT_EQ(around->filled.size(), 2U);
}

TEST_F(DisplayObjectTest, OriginIsNearTheEyeThatNeedsIt) {
    const DisplayPtr<Plain> distant(
        new Plain(Skua::BoundingBox(point{1e8, -1, -1}, point{1e8 + 2, 1, 1})));
    context.setNumberOfEyes(2);
    lookFrom(0, {0, 0, 10});
    lookFrom(1, {1e8, 0, 10});
    draw(*distant);
    EXPECT_EQ(distant->lastOrigin, (point{1e8, 0, 10}));
    EXPECT_EQ(context.CurrentEye, 0U);
    draw(*distant);
    EXPECT_EQ(distant->filled.size(), 1U);
}

TEST_F(DisplayObjectTest, EyesThatNeedTwoOriginsHaveOneThatStays) {
    const DisplayPtr<Plain> around(
        new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
    context.setNumberOfEyes(2);
    const double threshold = Mirk::originThreshold(context, 0, 0.0);
    lookFrom(0, {4 * threshold, 0, 0});
    lookFrom(1, {8 * threshold, 0, 0});
    for (int frame = 0; frame < 4; ++frame) draw(*around);
    EXPECT_EQ(around->filled.size(), 1U);
    EXPECT_EQ(around->lastOrigin.x, 4 * threshold);
    // Neither when they move.
    for (int frame = 1; frame < 4; ++frame) {
        lookFrom(0, {4 * threshold + frame, 0, 0});
        lookFrom(1, {8 * threshold + frame, 0, 0});
        draw(*around);
    }
    EXPECT_EQ(around->filled.size(), 1U);
}

TEST_F(DisplayObjectTest, OriginOfWhatDoesNotGoUpInOneFrameFollowsAheadOfTime) {
    const DisplayPtr<Plain> around(
        new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
    around->pieces = 2;
    around->knownBytes = bytes;
    draw(*around);
    const double threshold = Mirk::originThreshold(context, 0, 0.0);
    lookFrom(0, {0, 0, 0.6 * threshold});
    context.renderAllowance = 2 * bytes;
    draw(*around);
    EXPECT_EQ(around->filled.size(), 2U) << "it would go up at once";
    context.renderAllowance = bytes;
    draw(*around);
    EXPECT_EQ(around->lastOrigin, (point{0, 0, 0.6 * threshold}));
}

TEST_F(DisplayObjectTest, OriginOfWhatIsTransformedIsAsNearAsItsBoxNeeds) {
    /// Puts things a million lengths along x.
    class Moving : public Mirk::TransformOperator::Functor {
    public:
        Mirk::TransformOperator::BoundingBoxPtr
        transformedBBox(const Mirk::ValuePoolPtr&,
                        const Mirk::TransformOperator::BoundingBoxPtr& box) const override {
            const vector way{1e6, 0, 0};
            return Mirk::TransformOperator::BoundingBoxPtr(
                new Skua::BoundingBox(box->min + way, box->max + way));
        }
    };
    Mirk::TransformOperator moved, shifted;
    moved.functor = Mirk::TransformOperator::FunctorPtr(new Moving);
    shifted.functor =
        Mirk::TransformOperator::FunctorPtr(new Mirk::TransformOperator::Shift(vector{0, 0, 0}));
    const point camera{1e6, 0, 10};
    // It looks at something far behind all.
    const auto look = [&](const point& place) {
        lookFrom(0, place);
        context.CurrentView(0, 0).camera.lookAt = place - vector{0, 0, 1e9};
    };
    look(camera);
    object->transformSlot().set({}, moved);
    draw(*object);
    EXPECT_EQ(object->lastOrigin, camera);
    const DisplayPtr<Plain> around(
        new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
    around->transformSlot().set({}, shifted);
    draw(*around);
    EXPECT_EQ(around->lastOrigin, camera) << "nothing is moved by that";
}

TEST_F(DisplayObjectTest, OriginFollowsSeldom) {
    const double radius = 6.4e6;
    const DisplayPtr<Plain> globe(new Plain(
        Skua::BoundingBox(point{-radius, -radius, -radius}, point{radius, radius, radius})));
    // Round it, in steps of a hundred thousand.
    for (int frame = 0; frame < 1000; ++frame) {
        const double angle = 2.0 * std::numbers::pi * frame / 1000.0;
        lookFrom(0, {2e7 * std::cos(angle), 2e7 * std::sin(angle), 0});
        draw(*globe);
    }
    EXPECT_EQ(globe->filled.size(), 1U);
    // To a metre above it and away again, by a hundredth nearer in each frame or farther.
    for (int frame = 0; frame < 3400; ++frame) {
        const double down = 1.0 - std::abs(frame - 1699.5) / 1699.5;
        lookFrom(0, {0, 0, radius + 2e7 * std::pow(1.0 / 2e7, down)});
        draw(*globe);
    }
    EXPECT_NEAR(globe->lastOrigin.z, radius, 1e4);
    EXPECT_LE(globe->filled.size(), 3U);
}

TEST_F(DisplayObjectTest, OriginStaysAmongDataThatAreFarAway) {
    Mirk::View& view = context.CurrentView(0, 0);
    const auto lookThroughALongLens = [&](double distance) {
        lookFrom(0, {0, 0, distance});
        view.setFrustum(-1e-8, 1e-8, -1e-8, 1e-8, 1, 1e9);
    };
    lookThroughALongLens(1e6);
    ASSERT_GT(1e6, Mirk::originThreshold(context, 0, 1e6));
    draw(*object);
    EXPECT_EQ(object->lastOrigin, point());
    const DisplayPtr<Plain> distant(
        new Plain(Skua::BoundingBox(point{-1, -1, 2e6}, point{1, 1, 2e6 + 2})));
    lookThroughALongLens(3e6);
    draw(*distant);
    EXPECT_EQ(distant->lastOrigin, (point{0, 0, 3e6})) << "zero is not among these";
    lookThroughALongLens(2e6 + 3);
    draw(*object);
    lookThroughALongLens(1.5);
    draw(*object);
    EXPECT_EQ(object->lastOrigin, (point{0, 0, 1.5}));
}

TEST_F(DisplayObjectTest, OriginsOfObjectsThatAreDrawnLastFollowAsWell) {
    std::vector<DisplayPtr<Plain>> all;
    for (int i = 0; i < 3; ++i) {
        all.emplace_back(
            new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
        all.back()->pieces = 2;
        all.back()->knownBytes = bytes;
        draw(*all.back());
    }
    const double step = 0.6 * Mirk::originThreshold(context, 0, 0.0);
    constexpr int frames = 60;
    for (int frame = 1; frame <= frames; ++frame) {
        lookFrom(0, {0, 0, frame * step});
        context.renderAllowance = bytes;
        for (const DisplayPtr<Plain>& one : all) draw(*one);
    }
    for (const DisplayPtr<Plain>& one : all) EXPECT_GT(one->lastOrigin.z, (frames - 12) * step);
}

TEST_F(DisplayObjectTest, WhoGoesUpAtOnceDoesNotHoldUpTheOthers) {
    const auto newObject = [&](double half, std::size_t pieces) {
        const DisplayPtr<Plain> made(
            new Plain(Skua::BoundingBox(point{-half, -half, -1}, point{half, half, 1})));
        made->pieces = pieces;
        made->knownBytes = static_cast<std::size_t>(bytes);
        draw(*made);
        return made;
    };
    // One that a frame brings to the GPU, and one that it does not.
    const DisplayPtr<Plain> small = newObject(1e9, 1);
    const DisplayPtr<Plain> large = newObject(1e9, 3);
    const double threshold = Mirk::originThreshold(context, 0, 0.0);
    for (int frame = 1; frame <= 20; ++frame) {
        lookFrom(0, {0.7 * threshold * frame, 0, 0});
        context.renderAllowance = 2 * bytes;
        draw(*small);
        draw(*large);
    }
    EXPECT_GT(small->lastOrigin.x, 0.7 * threshold * 17);
    EXPECT_GT(large->lastOrigin.x, 0.7 * threshold * 10);
}

/// Objects around any camera, of which a frame may bring some to the GPU.
class DisplayObjectTurns : public DisplayObjectTest {
protected:
    void add(std::size_t number, std::size_t pieces) {
        for (std::size_t i = 0; i < number; ++i) {
            const DisplayPtr<Plain> made(
                new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
            made->pieces = pieces;
            made->knownBytes = bytes;
            draw(*made);
            all.push_back(made);
        }
    }
    /// With so many thresholds between the camera and zero. Whether all of them are whole.
    bool frameAt(double thresholds, std::int64_t pieces) {
        lookFrom(0, {0, 0, thresholds * threshold()});
        context.renderAllowance = pieces * bytes;
        bool areWhole = true;
        for (const DisplayPtr<Plain>& each : all) areWhole = draw(*each) && areWhole;
        return areWhole;
    }
    double threshold() const { return Mirk::originThreshold(context, 0, 0.0); }
    /// How many thresholds the farthest of the origins, that were asked for last, is from there.
    double worstNeed(double thresholds) const {
        double worst = 0.0;
        for (const DisplayPtr<Plain>& each : all) {
            worst = std::max(worst, thresholds - each->lastOrigin.z / threshold());
        }
        return worst;
    }

    std::vector<DisplayPtr<Plain>> all;
};

TEST_F(DisplayObjectTurns, NobodyIsWholeWhileAnotherOriginIsDue) {
    add(2, 2);
    for (const double place : {3.0, 5.0, 8.0, 10.0, 12.0, 100.0}) {
        int frames = 1;
        while (!frameAt(place, 1) && frames < 20) ++frames;
        EXPECT_GE(frames, 4) << place << ": all four pieces went up";
        EXPECT_LT(frames, 20) << place;
        EXPECT_LE(worstNeed(place), 1.0) << place;
    }
}

TEST_F(DisplayObjectTurns, WhoFitsIntoAFrameAloneTakesTurnsWithTheOthers) {
    add(2, 1);
    for (int frame = 1; frame < 100; ++frame) {
        frameAt(1.1 * frame, 1);
        ASSERT_LE(worstNeed(1.1 * frame), 3.0) << frame;
    }
}

TEST_F(DisplayObjectTurns, ManyWhoNeedTheSameFollowOneAfterTheOther) {
    add(12, 1);
    for (int frame = 1; frame < 300; ++frame) {
        frameAt(0.1 * frame, 1);
        ASSERT_LE(worstNeed(0.1 * frame), 2.5) << frame;
    }
}

TEST_F(DisplayObjectTurns, AsManyBeginAsFitIntoAFrame) {
    add(30, 1);
    int frames = 1;
    while (!frameAt(50.0, 3) && frames < 40) ++frames;
    EXPECT_EQ(frames, 10);
}

TEST_F(DisplayObjectTurns, OneThatIsLeftOutForAFrameLeavesTheirOrderAsItWas) {
    add(2, 1);
    for (int frame = 1; frame < 100; ++frame) {
        std::vector<DisplayPtr<Plain>> both = all;
        if (frame == 5) all.erase(all.begin());
        frameAt(1.1 * frame, 1);
        all = both;
        ASSERT_LE(worstNeed(1.1 * frame), 5.0) << frame;
    }
}

TEST_F(DisplayObjectTurns, OneThatNeverFitsDoesNotHoldUpTheOthersForEver) {
    add(1, 1);
    const DisplayPtr<Plain> huge(
        new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
    huge->knownBytes = 9 * bytes;
    draw(*huge);
    all.push_back(huge);
    for (int frame = 1; frame < 400; ++frame) frameAt(1.1 * frame, 2);
    EXPECT_GT(all[0]->lastOrigin.z, 390 * threshold());
}

TEST_F(DisplayObjectTurns, ManyWhoFitAloneBeginAheadOfTime) {
    add(20, 1);
    for (int frame = 1; frame < 300; ++frame) {
        frameAt(0.02 * frame, 1);
        ASSERT_LE(worstNeed(0.02 * frame), 1.0) << frame;
    }
}

TEST_F(DisplayObjectTurns, TheGreatestNeedGoesFirst) {
    // Two that are a hundred times as far away, and are drawn first.
    const double distance = 100.0;
    for (int i = 0; i < 2; ++i) {
        const DisplayPtr<Plain> far(
            new Plain(Skua::BoundingBox(point{distance, -1, -1e9}, point{distance + 1, 1, 1e9})));
        far->knownBytes = bytes;
        draw(*far);
        all.push_back(far);
    }
    add(1, 1);
    const double jump = 2.0 * Mirk::originThreshold(context, 0, distance) / threshold();
    ASSERT_GT(jump, 20.0);
    for (int frame = 0; frame < 2; ++frame) frameAt(jump, 1);
    EXPECT_EQ(all[2]->lastOrigin.z, jump * threshold());
    int frames = 3;
    while (!frameAt(jump, 1) && frames < 10) ++frames;
    EXPECT_LE(frames, 4);
}

TEST_F(DisplayObjectTurns, DataThatChangeInEachFrameLeaveRoomForTheOriginOfAnother) {
    add(1, 1);
    const DisplayPtr<Plain> changing = all[0];
    add(1, 1);
    int frames = 0;
    while (all[1]->lastOrigin.z < 50.0 * threshold() && ++frames < 100) {
        changing->setData(1);
        frameAt(50.0, 1);
    }
    EXPECT_LE(frames, 3);
    // And the other way round: they are shown, though others follow the camera in each frame.
    all = {all[1], changing};
    std::set<std::size_t> filled;
    for (int frame = 0; frame < 60; ++frame) {
        changing->setData(1);
        frameAt(52.0 + 2.0 * frame, 1);
        filled.insert(changing->filled.size());
    }
    EXPECT_GE(filled.size(), 3U);
}

TEST_F(DisplayObjectTurns, ViewersOfOtherPoolsDoNotWaitForEachOther) {
    add(1, 20);
    const DisplayPtr<Plain> large = all[0];
    all.clear();
    add(1, 1);
    KnowingContext second(seagrass);
    second.pool = Keel::make<Mirk::ValuePool>();
    const auto drawInSecond = [&](double thresholds) {
        const auto place = point{0, 0, thresholds * threshold()};
        Mirk::View& view = second.CurrentView(0, 0);
        view.camera.position = place;
        view.camera.lookAt = place - vector{0, 0, 10};
        view.setFrustum(-1.0, 1.0, -1.0, 1.0, 1.0, 100.0);
        second.renderAllowance = bytes;
        Mirk::VRequest request(second.pool);
        request.process(*large, 1.0);
        return large->render(second, view, sub);
    };
    // The second one rests until all is there, and then goes faster than that can follow.
    for (int frame = 1; frame < 25; ++frame) {
        frameAt(0.0, 1);
        drawInSecond(20.0 * std::max(frame - 20, 0));
    }
    int frames = 1;
    while (!frameAt(3.0, 1) && frames < 50) drawInSecond(100.0 + 20.0 * ++frames);
    EXPECT_LE(frames, 2);
}

TEST_F(DisplayObjectTurns, WhatIsNotThereYetWaitsForNoTurn) {
    add(2, 3);
    lookFrom(0, {1e8, 0, 0});
    const DisplayPtr<Plain> fresh(new Plain({{1e8 - 1, -1, -1001}, {1e8 + 1, 1, -999}}));
    fresh->pieces = 2;
    fresh->knownBytes = bytes;
    context.renderAllowance = bytes;
    for (const int drawn : {0, 1, 0}) draw(*all[static_cast<std::size_t>(drawn)]);
    context.renderAllowance = bytes;
    draw(*fresh); // while another one waits in greater need
    context.renderAllowance = 9 * bytes;
    draw(*fresh);
    EXPECT_EQ(fresh->lastOrigin, (point{1e8, 0, 0}));
    EXPECT_EQ(fresh->filled.size(), 2U) << "once for each piece";
}

/// Objects of any size in a viewer that allows so much for each frame, and twice as much as for the
/// last one after one that refused and brought nothing to the GPU.
class DisplayObjectsInAViewer : public DisplayObjectTurns {
protected:
    /// Around any camera, of pieces of which less may be known than they take.
    static DisplayPtr<Plain> make(std::size_t vertices, std::size_t pieces, std::size_t known) {
        const DisplayPtr<Plain> made(
            new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
        made->vertices = vertices;
        made->pieces = pieces;
        made->knownBytes = known * bytes;
        return made;
    }
    /// Of frames whose time may end.
    class Cut : public Mirk::VRenderInterruptor {
    public:
        void interrupt(const Mirk::ValuePoolPtr&) override {}
        bool isInterrupted(const Mirk::ValuePoolPtr&) override { return isCut; }
        void resume(const Mirk::ValuePoolPtr&) override {}
        bool isCut = false;
    };
    /// Far enough away for its origin to stay where it is.
    static DisplayPtr<Plain> makeFar(std::size_t vertices) {
        const DisplayPtr<Plain> made(
            new Plain(Skua::BoundingBox(point{1e9, -1, -1}, point{1e9 + 1, 1, 1})));
        made->vertices = vertices;
        made->knownBytes = vertices * bytes;
        return made;
    }
    /// Each of them is shown, in as many frames as that takes.
    void setViewer(std::int64_t vertices, const std::vector<DisplayPtr<Plain>>& objects) {
        usualAllowance = allowance = vertices * bytes;
        all = objects;
        ASSERT_LT(framesUntil([] {}, 0, all.size()), 200);
    }
    /// Draws all; whether each is whole.
    std::vector<bool> frame() {
        context.renderAllowance = allowance;
        const auto refusals = context.numberOfRefusals();
        std::vector<bool> areWhole;
        for (const DisplayPtr<Plain>& each : all) areWhole.push_back(draw(*each));
        const bool isVain =
            context.numberOfRefusals() != refusals && context.renderAllowance == allowance;
        allowance = isVain ? 2 * allowance : usualAllowance;
        return areWhole;
    }
    /// Frames, with a change ahead of each, until those are whole; 200 if they never are.
    template<class Change>
    int framesUntil(const Change& change, std::size_t first, std::size_t end) {
        for (int frames = 1; frames < 200; ++frames) {
            change();
            const std::vector<bool> areWhole = frame();
            const auto begin = areWhole.begin() + static_cast<std::ptrdiff_t>(first);
            const auto last = areWhole.begin() + static_cast<std::ptrdiff_t>(end);
            if (std::find(begin, last, false) == last) return frames;
        }
        return 200;
    }

    std::int64_t usualAllowance = 0, allowance = 0;
};

TEST_F(DisplayObjectsInAViewer, WhatIsMissingIsShownBehindOneThatChangesInEachFrame) {
    for (const std::size_t pieces : {1, 3}) {
        const auto changing = make(6, 1, 6), fresh = make(5, pieces, 5);
        setViewer(10, {changing});
        all.push_back(fresh);
        EXPECT_LE(framesUntil([&] { changing->setData(1); }, 1, 2), 5) << pieces;
    }
}

TEST_F(DisplayObjectsInAViewer, WhatOthersTakeMayBeMoreThanIsKnownAhead) {
    struct Case {
        std::size_t knownOfFirst, pieces, known;
    };
    // The first one takes six of ten, the other one five for each of its pieces.
    for (const Case& each : {Case{4, 1, 5}, Case{0, 1, 5}, Case{6, 1, 0}, Case{6, 5, 3}}) {
        const auto changing = make(6, 1, each.knownOfFirst);
        const auto other = make(5, each.pieces, each.known);
        setViewer(10, {changing, other});
        other->setData(each.pieces);
        EXPECT_LE(framesUntil([&] { changing->setData(1); }, 1, 2), 12) << each.knownOfFirst;
        lookFrom(0, {0, 0, other->lastOrigin.z + 50.0 * threshold()});
        EXPECT_LE(framesUntil([&] { changing->setData(1); }, 1, 2), 12) << each.knownOfFirst;
    }
}

TEST_F(DisplayObjectsInAViewer, PiecesLargerThanTheAllowanceAreShownWhateverOthersTake) {
    // Which the one that is drawn last, and the one that is drawn first, take most of.
    for (const std::size_t large : {1, 2}) {
        const auto small = make(1, 1, 1), huge = make(8, 1, 8), other = make(4, 1, 4);
        setViewer(5,
                  large == 1 ? std::vector{small, huge, other} : std::vector{small, other, huge});
        huge->setData(1);
        const auto change = [&] {
            small->setData(1);
            other->setData(1);
        };
        EXPECT_LE(framesUntil(change, large, large + 1), 12);
        EXPECT_LE(framesUntil([&] { other->setData(1); }, 0, 1), 12);
        for (int i = 1; i < 200; ++i) {
            lookFrom(0, {0, 0, 1.1 * i * threshold()});
            frame();
            ASSERT_LE(worstNeed(1.1 * i), 5.0) << i;
        }
    }
}

TEST_F(DisplayObjectsInAViewer, OriginFollowsThoughManyChangeInEachFrame) {
    std::vector<DisplayPtr<Plain>> changing;
    while (changing.size() < 30) changing.push_back(makeFar(6));
    const auto changeAll = [&] {
        for (const DisplayPtr<Plain>& each : changing) each->setData(1);
    };
    const auto other = make(5, 1, 5);
    std::vector<DisplayPtr<Plain>> objects = changing;
    objects.push_back(other);
    setViewer(10, objects);
    for (int i = 0; i < 60; ++i) {
        changeAll();
        frame();
    }
    lookFrom(0, {0, 0, 1.5 * threshold()});
    EXPECT_LE(framesUntil(changeAll, changing.size(), all.size()), 30);
    EXPECT_EQ(other->lastOrigin.z, 1.5 * threshold());
}

TEST_F(DisplayObjectsInAViewer, WhatIsCutOffAtTheEndOfAFramesTimeHoldsUpNobody) {
    const Keel::StrongPtr<Cut, Mirk::VRenderInterruptor> cut(new Cut);
    context.interruptor =
        Keel::WeakPtr<Mirk::VRenderInterruptor>(Keel::StrongPtr<Mirk::VRenderInterruptor>(cut));
    const auto changing = make(1, 1, 1), late = make(1, 1, 1);
    draw(*changing);
    for (int i = 0; i < 20; ++i) {
        changing->setData(1);
        EXPECT_TRUE(draw(*changing)) << i;
        cut->isCut = true;
        EXPECT_FALSE(draw(*late)) << i;
        cut->isCut = false;
    }
    EXPECT_TRUE(draw(*late));
}

TEST_F(DisplayObjectsInAViewer, AnotherContextThatAllowsLessHoldsUpNobody) {
    KnowingContext second(seagrass);
    second.pool = context.pool;
    second.EyeViews = context.EyeViews;
    const auto changing = make(1, 1, 1), large = make(8, 1, 8);
    draw(*changing);
    for (int i = 0; i < 20; ++i) {
        changing->setData(1);
        EXPECT_TRUE(draw(*changing)) << i;
        second.renderAllowance = 5 * bytes;
        Mirk::VRequest request(second.pool);
        request.process(*large, 1.0);
        EXPECT_FALSE(large->render(second, context.CurrentView(0, 0), sub));
    }
}

TEST_F(DisplayObjectsInAViewer, WhoIsLeftOutOfAPartOfAllKeepsItsTurn) {
    for (const int drawings : {3, 20}) {
        const auto changing = make(6, 1, 6), other = make(5, 1, 5);
        setViewer(10, {changing});
        all.push_back(other);
        // Such as picks of what can be picked.
        const auto drawAPart = [&] {
            for (int i = 0; i < drawings; ++i) draw(*changing);
            changing->setData(1);
        };
        EXPECT_LE(framesUntil(drawAPart, 1, 2), 5) << drawings;
    }
}

TEST_F(DisplayObjectsInAViewer, ThoseWhoAreGoneHoldUpOthersInAFewFrames) {
    for (const std::size_t gone : {1, 2, 12}) {
        const auto changing = make(6, 1, 6);
        setViewer(10, {changing});
        for (std::size_t i = 0; i < gone; ++i) all.push_back(make(5, 1, 5));
        changing->setData(1);
        frame();
        all.resize(1);
        changing->setData(1);
        EXPECT_EQ(framesUntil([] {}, 0, 1), 5) << gone;
    }
}

class DisplayObjectsCutOff : public DisplayObjectsInAViewer {
protected:
    void SetUp() override {
        DisplayObjectsInAViewer::SetUp();
        context.interruptor = Keel::WeakPtr<Mirk::VRenderInterruptor>(
            Keel::StrongPtr<Mirk::VRenderInterruptor>(_cut));
    }
    /// A frame whose time may be over ahead of the second one; whether each is whole.
    std::array<bool, 2> frameOf(Plain& first, Plain& second, bool isOver) {
        first.setData(1);
        context.renderAllowance = usualAllowance;
        const bool isFirstWhole = draw(first);
        _cut->isCut = isOver;
        const bool isSecondWhole = draw(second);
        _cut->isCut = false;
        return {isFirstWhole, isSecondWhole};
    }

private:
    const Keel::StrongPtr<Cut, Mirk::VRenderInterruptor> _cut{new Cut};
};

TEST_F(DisplayObjectsCutOff, HaveTheirTurnAgain) {
    for (const std::size_t known : {5, 2, 0}) {
        const auto changing = make(6, 1, 6), other = make(5, 1, known);
        setViewer(10, {changing, other});
        other->setData(1);
        // The first one takes its turn, and the time ends in every other frame.
        int frames = 1;
        while (frames <= 10 && !frameOf(*changing, *other, frames % 2 == 0)[1]) ++frames;
        EXPECT_LE(frames, 5) << known;
    }
}

TEST_F(DisplayObjectsCutOff, AreShownThoughThereIsTimeInFewFramesAndOthersChangeInEach) {
    for (const int period : {2, 3, 4, 5, 6, 8, 12}) {
        const auto changing = make(6, 1, 6), other = make(5, 1, 5);
        setViewer(10, {changing, other});
        other->setData(1);
        int frames = 1, shown = 0;
        for (; frames <= 1000; ++frames) {
            const auto [isFirstWhole, isSecondWhole] =
                frameOf(*changing, *other, frames % period != 0);
            shown += isFirstWhole ? 1 : 0;
            if (isSecondWhole) break;
        }
        EXPECT_LE(frames, 10 * period) << period;
        EXPECT_GE(3 * (shown + 5), frames) << period;
    }
}

TEST_F(DisplayObjectsCutOff, HoldUpOthersInAQuarterOfFramesAndAreShownOnceThereIsTime) {
    const auto changing = make(6, 1, 6), other = make(5, 1, 5);
    setViewer(10, {changing, other});
    other->setData(1);
    EXPECT_FALSE(frameOf(*changing, *other, false)[1]);
    int shown = 0;
    for (int i = 0; i < 200; ++i) {
        const auto [isFirstWhole, isSecondWhole] = frameOf(*changing, *other, true);
        EXPECT_FALSE(isSecondWhole);
        shown += isFirstWhole ? 1 : 0;
    }
    EXPECT_GE(shown, 140);
    int frames = 1;
    while (frames <= 10 && !frameOf(*changing, *other, false)[1]) ++frames;
    EXPECT_LE(frames, 3);
}

TEST_F(DisplayObjectsInAViewer, HundredsAreShownBehindOneThatChangesThoughAllArePickedInBetween) {
    const auto changing = make(6, 1, 6);
    setViewer(10, {changing});
    while (all.size() < 130) all.push_back(make(5, 1, 5));
    const auto pickAll = [&] {
        for (const DisplayPtr<Plain>& each : all) draw(*each);
        changing->setData(1);
    };
    EXPECT_LT(framesUntil(pickAll, 1, all.size()), 200);
}

TEST_F(DisplayObjectsInAViewer, DataAreShownThoughACameraIsFasterThanAnythingCanFollow) {
    const auto near = make(5, 1, 5), far = makeFar(5);
    setViewer(5, {near, far});
    int frames = 0;
    far->setData(1);
    const auto flyOn = [&] { lookFrom(0, {0, 0, 100.0 * ++frames * threshold()}); };
    EXPECT_LE(framesUntil(flyOn, 1, 2), 30);
    EXPECT_EQ(far->lastOrigin, point());
}

TEST_F(DisplayObjectsInAViewer, AllOfThemHaveTheirTurnWhateverTheyAreAndWhateverChanges) {
    for (unsigned seed = 0; seed < 12; ++seed) {
        SCOPED_TRACE(seed);
        std::mt19937 random(seed);
        const auto below = [&](std::size_t end) { return random() % end; };
        const auto makeAny = [&] {
            const std::size_t vertices = 1 + below(9);
            return make(vertices, 1 + below(4), below(3) * vertices / 2);
        };
        std::vector<DisplayPtr<Plain>> objects;
        while (objects.size() < 2 + seed % 5) objects.push_back(makeAny());
        lookFrom(0, {0, 0, 0});
        setViewer(9, objects);
        const double speed = seed % 3 == 0 ? 0.0 : std::pow(10.0, seed % 4) * threshold();
        std::vector<std::size_t> filled(objects.size());
        std::vector<int> lastShown(objects.size());
        double distance = 0.0;
        for (int i = 1; i <= 150; ++i) {
            lookFrom(0, {0, 0, distance += speed});
            for (const DisplayPtr<Plain>& each : all) {
                if (below(4) < 2) each->setData(each->pieces);
            }
            if (below(50) == 0) {
                const std::size_t replaced = below(all.size());
                all[replaced] = makeAny();
                filled[replaced] = 0;
                lastShown[replaced] = i;
            }
            const std::vector<bool> areWhole = frame();
            for (std::size_t k = 0; k < all.size(); ++k) {
                if (areWhole[k] || all[k]->filled.size() != filled[k]) lastShown[k] = i;
                filled[k] = all[k]->filled.size();
                ASSERT_LE(i - lastShown[k], 40) << k;
            }
        }
        EXPECT_LT(framesUntil([] {}, 0, all.size()), 60);
    }
}

TEST_F(DisplayObjectTest, EachPoolHasAnOriginOfItsOwn) {
    const DisplayPtr<Plain> around(
        new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
    const auto first = context.pool;
    const auto second = Keel::make<Mirk::ValuePool>();
    for (int frame = 0; frame < 3; ++frame) {
        context.pool = first;
        lookFrom(0, {1e8, 0, 0});
        draw(*around);
        context.pool = second;
        lookFrom(0, {-1e8, 0, 0});
        draw(*around);
        EXPECT_EQ(around->lastOrigin, (point{-1e8, 0, 0}));
    }
    EXPECT_EQ(around->filled.size(), 2U);
}

TEST_F(DisplayObjectTest, RequestPublishesTheBoxInItsPool) {
    EXPECT_FALSE(object->getBoundingBall(context.pool));
    ASSERT_TRUE(request(*object));
    EXPECT_EQ(boundsOf(*object).max, (point{1, 1, 1}));
    EXPECT_FALSE(boundsOf(*object).emptyBall());
    EXPECT_FALSE(object->getBoundingBall(Keel::make<Mirk::ValuePool>()));
}

TEST_F(DisplayObjectTest, AheadOfTheFirstRequestNothingIsDrawn) {
    const Mirk::View view;
    EXPECT_FALSE(object->render(context, view, sub));
    EXPECT_TRUE(object->filled.empty());
    EXPECT_TRUE(draw(*object));
}

TEST_F(DisplayObjectTest, RequestAnnouncesViewpointsAroundTheBox) {
    ASSERT_TRUE(request(*object));
    DisplayObject::CameraSetPtr cameras;
    object->viewpointsOutput().get(context.pool, cameras);
    ASSERT_TRUE(cameras);
    for (const char* name : {"front", "back", "left", "right", "top", "bottom"}) {
        const auto camera = cameras->cameras().find(name);
        ASSERT_NE(camera, cameras->cameras().end()) << name;
        EXPECT_EQ(camera->second.lookAt, point()) << name;
        // The ball around the box fits into the angle.
        const double half = camera->second.fieldOfView / 2.0 * std::numbers::pi / 180.0;
        EXPECT_NEAR(norm(camera->second.position - point()) * std::sin(half), std::sqrt(3.0),
                    1e-12);
    }
    EXPECT_GT(cameras->cameras().at("front").position.z, 1.0);
    EXPECT_GT(cameras->cameras().at("top").position.y, 1.0);
    EXPECT_LT(cameras->cameras().at("left").position.x, -1.0);
}

TEST_F(DisplayObjectTest, ViewpointsGoWithTheDataAndWithTheEndOfTheBox) {
    const auto hasViewpoints = [&] {
        DisplayObject::CameraSetPtr cameras;
        object->viewpointsOutput().get(context.pool, cameras);
        return bool(cameras);
    };
    ASSERT_TRUE(request(*object));
    EXPECT_TRUE(hasViewpoints());
    object->onRead = [] { throw std::runtime_error("there is a hole in it"); };
    object->changeInput();
    EXPECT_FALSE(request(*object));
    EXPECT_FALSE(hasViewpoints());
    object->onRead = {};
    object->changeInput();
    EXPECT_TRUE(request(*object));
    EXPECT_TRUE(hasViewpoints());
    constexpr double infinity = std::numeric_limits<double>::infinity();
    constexpr double most = std::numeric_limits<double>::max();
    for (const double x : {infinity, std::nan(""), most}) {
        object->bounds = Skua::BoundingBox({-1, -1, -1}, {1, 1, 1});
        object->bounds.min.x = -x;
        object->bounds.max.x = x;
        object->changeInput();
        EXPECT_TRUE(request(*object)) << x;
        EXPECT_FALSE(hasViewpoints()) << x;
    }
    object->bounds = Skua::BoundingBox({-1, -1, -1}, {1, 1, 1});
    object->changeInput();
    EXPECT_TRUE(request(*object));
    EXPECT_TRUE(hasViewpoints());
}

TEST_F(DisplayObjectTest, DataThatCannotBeReadAreAReportUntilTheyCan) {
    object->onRead = [] { throw std::runtime_error("there is a hole in it"); };
    EXPECT_FALSE(request(*object));
    EXPECT_FALSE(object->getBoundingBall(context.pool));
    testing::internal::CaptureStdout();
    const Mirk::View view;
    EXPECT_TRUE(object->render(context, view, sub));
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("there is a hole in it"));
    EXPECT_THAT(reportOf(*object), HasSubstr("there is a hole in it"));
    object->onRead = {};
    object->clippingPlanes().clip0.set({}, {{1, 0, 0}, 0}); // an input that has changed
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(reportOf(*object), "");
    EXPECT_TRUE(object->getBoundingBall(context.pool));
}

TEST_F(DisplayObjectTest, EachPieceHasAPolypAndAllHaveOneProgram) {
    object->pieces = 3;
    context.basin.log->take();
    ASSERT_TRUE(draw(*object));
    const auto calls = context.basin.log->take();
    const auto count = [&](const char* call) {
        return std::count_if(calls.begin(), calls.end(),
                             [&](const std::string& text) { return text.starts_with(call); });
    };
    EXPECT_EQ(count("createProgram"), 1);
    EXPECT_EQ(count("draw Painter"), 3);
    EXPECT_THAT(object->filled, ElementsAre(Filled(0, 0), Filled(1, 0), Filled(2, 0)));
}

TEST_F(DisplayObjectTest, PiecesBeyondTheAllowanceComeInLaterFrames) {
    object->pieces = 3;
    std::vector<long> drawn;
    for (int frame = 0; frame < 3; ++frame) {
        context.renderAllowance = bytes + bytes / 2;
        context.basin.log->take();
        EXPECT_EQ(draw(*object), frame == 2);
        const auto calls = context.basin.log->take();
        drawn.push_back(std::count_if(calls.begin(), calls.end(), [](const std::string& text) {
            return text.starts_with("draw Painter");
        }));
    }
    EXPECT_THAT(drawn, ElementsAre(1, 2, 3));
}

TEST_F(DisplayObjectTest, OtherDataAreDrawnOnceAllOfThemAreThere) {
    object->pieces = 2;
    ASSERT_TRUE(draw(*object));
    object->setData(3);
    const std::vector<const Polyp*> before = object->polyps;
    std::vector<long> drawn;
    for (int frame = 0; frame < 4; ++frame) {
        context.renderAllowance = bytes;
        context.basin.log->take();
        EXPECT_EQ(draw(*object), frame >= 2);
        const auto calls = context.basin.log->take();
        drawn.push_back(std::count_if(calls.begin(), calls.end(), [](const std::string& text) {
            return text.starts_with("draw Painter");
        }));
    }
    EXPECT_THAT(drawn, ElementsAre(2, 2, 3, 3));
    // What was drawn before is gone.
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 3);
}

/// Pieces whose data are told by number when they go to the GPU, and when they are drawn.
class DisplayObjectUploads : public DisplayObjectTest {
protected:
    DisplayObjectUploads() {
        object->action = [this](Polyp& polyp, Mirk::VRenderContext& present) {
            const std::string number = std::to_string(++_made);
            auto& basin = dynamic_cast<KnowingContext&>(present).basin;
            polyp.insert(Keel::StrongPtr<Polyp::Tentacle, Polyp::Tentacle>(
                new RecordingTentacle(basin.log, "data " + number, Polyp::VertexAttributeKey + 1)));
            polyp.insert(Keel::StrongPtr<Polyp::Tentacle, Polyp::Tentacle>(
                new RecordingTentacle(basin.log, "last " + number, Polyp::PainterKey + 1)));
            return true;
        };
    }
    struct Frame {
        bool isWhole;
        std::vector<std::string> uploaded; ///< the first time that they are activated
        std::vector<std::string> drawn;
    };
    Frame frame(std::int64_t allowance = 1000) {
        context.renderAllowance = allowance;
        context.basin.log->take();
        Frame result{draw(*object), {}, {}};
        for (const std::string& call : context.basin.log->take()) {
            if (!call.starts_with("activate Tentacle ")) continue;
            const std::string number = call.substr(call.rfind(' ') + 1);
            if (call.starts_with("activate Tentacle last ")) {
                result.drawn.push_back(number);
            } else if (_known.insert(number).second) {
                result.uploaded.push_back(number);
            }
        }
        return result;
    }

    /// For what is filled from now on, until the log throws nothing more.
    void haveNoMemory() {
        object->action = [this, fill = object->action](Polyp& polyp,
                                                       Mirk::VRenderContext& present) {
            polyp.insert(Keel::StrongPtr<Polyp::Tentacle, Polyp::Tentacle>(
                new RecordingTentacle(context.basin.log, "full", Polyp::VertexAttributeKey + 2)));
            return fill(polyp, present);
        };
        context.basin.log->throwing = {"activate Tentacle full"};
    }

private:
    int _made = 0;
    std::set<std::string> _known;
};

TEST_F(DisplayObjectUploads, FrameBringsNoMoreToTheGpuThanItsAllowance) {
    object->pieces = 2;
    EXPECT_THAT(frame().drawn, ElementsAre("1", "2"));
    object->setData(3);
    const std::vector<std::vector<std::string>> uploaded{{"3", "4"}, {"5"}, {}};
    for (const auto& expected : uploaded) {
        EXPECT_EQ(frame(2 * bytes).uploaded, expected);
    }
}

TEST_F(DisplayObjectUploads, OneGenerationIsDrawnWholeUntilTheNextOneTakesItsPlace) {
    object->pieces = 2;
    frame();
    object->setData(3);
    for (int i = 0; i < 2; ++i) {
        const Frame waiting = frame(bytes);
        EXPECT_FALSE(waiting.isWhole);
        EXPECT_THAT(waiting.drawn, ElementsAre("1", "2"));
    }
    for (int i = 0; i < 2; ++i) {
        const Frame whole = frame(bytes);
        EXPECT_TRUE(whole.isWhole);
        EXPECT_THAT(whole.drawn, ElementsAre("3", "4", "5"));
    }
}

TEST_F(DisplayObjectUploads, OtherOriginOfTheSameDataIsAnotherGeneration) {
    object->bounds = Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9});
    object->pieces = 2;
    frame();
    lookFrom(0, {1e6, 0, 0});
    const Frame waiting = frame(bytes);
    EXPECT_THAT(waiting.drawn, ElementsAre("1", "2"));
    EXPECT_EQ(variable<vec4>("theVertexOffset"), (vec4{0, 0, 0, 0}));
    // What is on its way arrives, wherever the camera is by then.
    lookFrom(0, {5e6, 0, 0});
    const Frame tooFar = frame(bytes);
    EXPECT_THAT(tooFar.drawn, ElementsAre("3", "4"));
    EXPECT_FALSE(tooFar.isWhole) << "by an origin that is to follow";
    EXPECT_EQ(variable<vec4>("theVertexOffset"), (vec4{-1e6F, 0, 0, 0}));
    EXPECT_EQ(object->lastOrigin, (point{1e6, 0, 0}));
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("3", "4"));
    const Frame whole = frame(bytes);
    EXPECT_THAT(whole.drawn, ElementsAre("5", "6"));
    EXPECT_TRUE(whole.isWhole);
    EXPECT_EQ(variable<vec4>("theVertexOffset"), (vec4{-5e6F, 0, 0, 0}));
    EXPECT_EQ(context.basin.log->live["Program"], 1);
}

TEST_F(DisplayObjectUploads, OriginFollowsTheCameraBehindOneThatTheGpuHadNoMemoryFor) {
    object->bounds = Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9});
    object->pieces = 2;
    frame();
    lookFrom(0, {1e6, 0, 0});
    context.basin.log->throwing = {"activate Tentacle data 4"};
    testing::internal::CaptureStdout();
    EXPECT_THAT(frame().drawn, ElementsAre("1", "2"));
    testing::internal::GetCapturedStdout();
    lookFrom(0, {5e6, 0, 0});
    frame(); // its memory is free behind that
    EXPECT_THAT(frame().drawn, ElementsAre("5", "6"));
    EXPECT_EQ(variable<vec4>("theVertexOffset"), (vec4{-5e6F, 0, 0, 0}));
    EXPECT_EQ(reportOf(*object), "");
}

/// Tells who is drawn, and what its vertices are relative to.
class OriginTeller : public Polyp::SpecializedTentacle<Polyp::PainterKey + 1> {
public:
    struct Drawn {
        const DisplayObject* object;
        Skua::PhysicalSpace::point origin;
        Skua::FixedArray<float, 4> offset; ///< that shaders know
    };

    OriginTeller(const DisplayObject& object, const Skua::PhysicalSpace::point& origin,
                 std::vector<Drawn>& drawn)
        : SpecializedTentacle(), _object(object), _origin(origin), _drawn(drawn) {}

    bool activate(const Polyp& polyp) override {
        const auto& variables =
            static_cast<const RecordingProgram&>(*polyp.get_programs().first->second);
        _drawn.push_back({&_object, _origin,
                          std::get<Skua::FixedArray<float, 4>>(variables.at("theVertexOffset"))});
        return true;
    }
    bool deactivate(const Polyp&) override { return true; }

private:
    const DisplayObject& _object;
    const Skua::PhysicalSpace::point _origin;
    std::vector<Drawn>& _drawn;
};

TEST_F(DisplayObjectTest, FlightOverManyLargeObjectsShowsEachOfThemWithOneOriginInEachFrame) {
    constexpr std::size_t number = 100, pieces = 10;
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int frames = 30; // of which each takes ten times as long
#else
    constexpr int frames = 120;
#endif
    std::vector<OriginTeller::Drawn> drawn;
    std::vector<DisplayPtr<Plain>> objects;
    for (std::size_t i = 0; i < number; ++i) {
        // The camera is within all of them, so that their origins follow it.
        const DisplayPtr<Plain> large(
            new Plain(Skua::BoundingBox(point{-1e9, -1e9, -1e9}, point{1e9, 1e9, 1e9})));
        large->pieces = pieces;
        large->knownBytes = static_cast<std::size_t>(bytes);
        large->action = [&drawn, plain = large.get()](Polyp& polyp, Mirk::VRenderContext&) {
            polyp.insert(Polyp::TentaclePtr(new OriginTeller(*plain, plain->lastOrigin, drawn)));
            return true;
        };
        objects.push_back(large);
        draw(*large);
    }
    const Mirk::View view;
    std::set<double> origins;
    for (int frame = 0; frame < frames; ++frame) {
        lookFrom(0, {1e4 * frame, 0, 10});
        drawn.clear();
        context.renderAllowance = bytes; // a tenth of one object
        std::size_t filled = 0;
        for (const auto& each : objects) {
            filled -= each->filled.size();
            each->render(context, view, sub);
            filled += each->filled.size();
        }
        ASSERT_LE(filled, 1U) << frame;
        ASSERT_GE(context.renderAllowance, 0) << frame;
        std::map<const DisplayObject*, std::size_t> piecesOf;
        std::map<const DisplayObject*, point> originOf;
        for (const OriginTeller::Drawn& each : drawn) {
            const bool isFirst = ++piecesOf[each.object] == 1;
            if (isFirst) originOf[each.object] = each.origin;
            ASSERT_EQ(each.origin, originOf[each.object]) << frame;
            ASSERT_EQ(each.offset[0], -static_cast<float>(each.origin.x)) << frame;
            origins.insert(each.origin.x);
        }
        ASSERT_EQ(piecesOf.size(), number) << frame;
        for (const auto& [each, drawnPieces] : piecesOf) ASSERT_EQ(drawnPieces, pieces) << frame;
    }
    EXPECT_GE(origins.size(), static_cast<std::size_t>(frames) / pieces) << "they do follow";
}

TEST_F(DisplayObjectUploads, OperatorBeginsAheadOfFillingAndEndsBehindIt) {
    class Begun : public Mirk::TransformOperator::Functor {
    public:
        bool begin(Mirk::VRenderContext&) const override {
            isWithin = begins;
            return begins;
        }
        void end(Mirk::VRenderContext&) const override { isWithin = false; }
        bool initializePolyp(Polyp&, Mirk::VRenderContext&) const override {
            EXPECT_TRUE(isWithin);
            return true;
        }
        mutable bool isWithin = false;
        bool begins = true;
    };
    Begun* const begun = new Begun;
    Mirk::TransformOperator transform;
    transform.functor = Mirk::TransformOperator::FunctorPtr(begun);
    object->transformSlot().set({}, transform);
    object->pieces = 2;
    frame();
    object->setData(2);
    begun->begins = false;
    EXPECT_TRUE(frame(bytes).uploaded.empty());
    EXPECT_EQ(object->filled.size(), 2U) << "left out";
    begun->begins = true;
    frame(bytes);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("3", "4"));
    EXPECT_FALSE(begun->isWithin);
}

TEST_F(DisplayObjectUploads, OperatorThatLeavesTheObjectOutTakesThePictureAwayAtOnce) {
    struct Hiding : Mirk::TransformOperator::Functor {
        bool begin(Mirk::VRenderContext&) const override { return !hides; }
        bool hides = true;
    };
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    Hiding* const hiding = new Hiding;
    Mirk::TransformOperator transform;
    transform.functor = Mirk::TransformOperator::FunctorPtr(hiding);
    object->transformSlot().set({}, transform);
    for (int i = 0; i < 2; ++i) {
        const Frame without = frame();
        EXPECT_FALSE(without.isWhole);
        EXPECT_THAT(without.drawn, ElementsAre());
        EXPECT_THAT(without.uploaded, ElementsAre());
    }
    EXPECT_EQ(reportOf(*object), "");
    hiding->hides = false;
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2")) << "until the others are there";
    hiding->hides = true;
    EXPECT_THAT(frame().drawn, ElementsAre());
    // What is on its way and left out holds up nothing else.
    object->transformSlot().set({}, {});
    EXPECT_THAT(frame().drawn, ElementsAre("1", "2"));
    // And it doesn't wait for older data.
    object->setData(2);
    frame(bytes);
    object->transformSlot().set({}, transform);
    for (int i = 0; i < 3; ++i) EXPECT_THAT(frame(bytes).drawn, ElementsAre());
}

TEST_F(DisplayObjectUploads, FailureIsToldOnceThoughTheOperatorSaysNoInBetween) {
    struct Hiding : Mirk::TransformOperator::Functor {
        bool begin(Mirk::VRenderContext&) const override { return !hides; }
        bool hides = false;
    };
    Hiding* const hiding = new Hiding;
    Mirk::TransformOperator transform;
    transform.functor = Mirk::TransformOperator::FunctorPtr(hiding);
    object->transformSlot().set({}, transform);
    frame();
    object->setData(1);
    haveNoMemory();
    testing::internal::CaptureStdout();
    for (int i = 0; i < 6; ++i) {
        hiding->hides = i % 2 == 1;
        frame();
    }
    const std::size_t ofMemory = context.failures.size();
    hiding->hides = false;
    context.basin.log->throwing = {};
    const Frame whole = frame();
    context.basin.log->throwing = {"activate Tentacle last " + whole.drawn.back()};
    for (int i = 0; i < 6; ++i) {
        hiding->hides = i % 2 == 1;
        frame();
    }
    testing::internal::GetCapturedStdout();
    EXPECT_TRUE(whole.isWhole);
    EXPECT_EQ(ofMemory, 1U);
    EXPECT_EQ(context.failures.size(), 2U);
}

TEST_F(DisplayObjectUploads, FailedUploadKeepsThePictureAndIsToldOnce) {
    object->pieces = 2;
    frame();
    object->setData(2);
    context.basin.log->throwing = {"activate Tentacle data 4"};
    testing::internal::CaptureStdout();
    EXPECT_THAT(frame().drawn, ElementsAre("1", "2"));
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(reportOf(*object), HasSubstr("RenderException"));
    EXPECT_EQ(context.failures.size(), 1U);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 3); // what failed takes no memory
    // It is tried again.
    EXPECT_THAT(frame().drawn, ElementsAre("3", "5"));
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectUploads, FailureThatLastsIsToldOnceAndTakesNoAllowance) {
    frame();
    object->setData(1);
    haveNoMemory();
    testing::internal::CaptureStdout();
    for (int i = 0; i < 5; ++i) {
        EXPECT_THAT(frame().drawn, ElementsAre("1"));
        EXPECT_EQ(context.renderAllowance, 1000);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(reportOf(*object), HasSubstr("RenderException"));
    context.basin.log->throwing = {};
    EXPECT_TRUE(frame().isWhole);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectUploads, ValueThatCannotBeHadLetsTheLastGenerationStay) {
    frame();
    object->setData(1);
    const auto fill = object->action;
    bool isMissing = true;
    object->action = [&](Polyp& polyp, Mirk::VRenderContext& present) {
        class Value : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
        public:
            explicit Value(const bool& missing) : _isMissing(missing) {}
            bool updateValue(Mirk::VRenderContext&) override { return !_isMissing; }
            bool activate(const Polyp&) override { return true; }
            bool deactivate(const Polyp&) override { return true; }

        private:
            const bool& _isMissing;
        };
        polyp.insert(Keel::StrongPtr<Polyp::Tentacle, Polyp::Tentacle>(new Value(isMissing)));
        return fill(polyp, present);
    };
    for (int i = 0; i < 2; ++i) {
        const Frame waiting = frame();
        EXPECT_FALSE(waiting.isWhole);
        EXPECT_THAT(waiting.drawn, ElementsAre("1"));
    }
    isMissing = false;
    EXPECT_THAT(frame().drawn, ElementsAre("2"));
}

TEST_F(DisplayObjectUploads, WhatRefusesToBeActivatedLetsTheLastGenerationStay) {
    frame();
    object->setData(1);
    context.basin.log->failing = {"activate Tentacle data 2"};
    for (int i = 0; i < 2; ++i) {
        const Frame waiting = frame();
        EXPECT_FALSE(waiting.isWhole);
        EXPECT_THAT(waiting.drawn, ElementsAre("1"));
        EXPECT_EQ(context.renderAllowance, 1000);
    }
    context.basin.log->failing = {};
    EXPECT_THAT(frame().drawn, ElementsAre("2"));
    EXPECT_EQ(context.renderAllowance, 1000 - bytes);
}

TEST_F(DisplayObjectUploads, WhatRefusesToBeActivatedBehindItsUploadIsNotDrawn) {
    object->pieces = 2;
    EXPECT_TRUE(frame().isWhole);
    context.basin.log->failing = {"activate Tentacle data 1"};
    const Frame part = frame();
    EXPECT_FALSE(part.isWhole);
    EXPECT_THAT(part.drawn, ElementsAre("2"));
    context.basin.log->failing = {};
    EXPECT_TRUE(frame().isWhole);
}

TEST_F(DisplayObjectUploads, NeitherGenerationIsEvictedUntilTheyAreExchanged) {
    object->pieces = 2;
    object->knownBytes = bytes; // so that none is filled ahead of its frame
    frame();
    object->setData(3);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    EXPECT_EQ(seagrass->lawn(), 1); // the polyp of the program
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    seagrass->getCache()->maxCost = 1;
    seagrass->getCache()->adjust(typeid(void), typeid(void), 0);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("3", "4", "5"));
    // From now on they are worth no more than others.
    EXPECT_GE(seagrass->lawn(), 3);
}

TEST_F(DisplayObjectUploads, WhatIsNotWantedAnyMoreGivesTheOthersFree) {
    object->pieces = 2;
    frame();
    object->wantedForm = 7;
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    object->wantedForm = 0;
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    EXPECT_GE(seagrass->lawn(), 2);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 0);
}

TEST_F(DisplayObjectUploads, WhatIsNotDrawnAnyMoreIsKeptForAWhile) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    object->setData(3);
    frame(bytes);
    const DisplayPtr<Plain> other(new Plain);
    context.renderAllowance = 1000;
    const auto drawOther = [&](std::uint64_t frames) {
        for (std::uint64_t i = 0; i < frames; ++i) draw(*other);
        seagrass->lawn();
        seagrass->cleanup();
        return context.basin.log->live["Painter"];
    };
    const auto patience = Mirk::Exchanges::patience;
    EXPECT_EQ(drawOther(patience / 2), 3);
    // From then on anew.
    frame(0);
    EXPECT_EQ(drawOther(patience - 2), 3);
    EXPECT_EQ(drawOther(4), 0);
    EXPECT_TRUE(frame().isWhole);
}

TEST_F(DisplayObjectUploads, WhatIsDrawnAgainIsKeptAgain) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    object->setData(3);
    frame(bytes);
    const DisplayPtr<Plain> other(new Plain);
    context.renderAllowance = 1000;
    for (std::uint64_t i = 0; i < 2 * Mirk::Exchanges::patience; ++i) draw(*other);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    seagrass->lawn();
    EXPECT_THAT(frame(0).drawn, ElementsAre("1", "2"));
}

TEST_F(DisplayObjectUploads, WithoutProgramNothingElseIsKeptThanWhatIsDrawn) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    object->setData(3);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    context.basin.log->throwing.insert("createProgram plain.vert");
    object->wantedForm = 7;
    testing::internal::CaptureStdout();
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    testing::internal::GetCapturedStdout();
    seagrass->lawn();
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 2);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
}

TEST_F(DisplayObjectUploads, DataThatChangeFasterThanTheyCanGoUpAreShownOneAfterTheOther) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    std::vector<std::vector<std::string>> drawn;
    for (int change = 0; change < 4; ++change) {
        object->setData(2);
        const Frame changing = frame(bytes);
        EXPECT_FALSE(changing.isWhole);
        EXPECT_LE(changing.uploaded.size(), 1U);
        drawn.push_back(changing.drawn);
    }
    EXPECT_EQ(drawn, (std::vector<std::vector<std::string>>{
                         {"1", "2"}, {"3", "4"}, {"3", "4"}, {"5", "6"}}));
    frame(bytes);
    const Frame last = frame(bytes);
    EXPECT_TRUE(last.isWhole);
    EXPECT_THAT(last.drawn, ElementsAre("7", "8"));
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 2);
}

TEST_F(DisplayObjectUploads, OriginFollowsTheCameraWhileDataChangeInEachFrame) {
    object->pieces = 2;
    object->knownBytes = bytes;
    object->bounds = {{-1e9, -1e9, -1e9}, {1e9, 1e9, 1e9}};
    frame();
    for (int i = 1; i < 8; ++i) {
        lookFrom(0, {0.0, 0.0, 1e8 * i});
        object->setData(2);
        frame(bytes);
    }
    EXPECT_GT(object->lastOrigin.z, 4e8);
}

TEST_F(DisplayObjectUploads, WhatCannotGoUpIsGivenUpForNewerData) {
    object->pieces = 2;
    frame();
    object->setData(2);
    context.basin.log->throwing = {"activate Tentacle data 4"};
    testing::internal::CaptureStdout();
    EXPECT_THAT(frame().drawn, ElementsAre("1", "2"));
    testing::internal::GetCapturedStdout();
    object->setData(2);
    frame();
    EXPECT_NE(reportOf(*object), "") << "nothing has gone up since";
    EXPECT_THAT(frame().drawn, ElementsAre("5", "6"));
    EXPECT_EQ(reportOf(*object), "");
    EXPECT_EQ(context.failures.size(), 1U);
}

/// A GPU with room for so many pieces, which is free again when they die.
class Room : public Polyp::SpecializedTentacle<Polyp::VertexAttributeKey + 2> {
public:
    Room(std::shared_ptr<int> taken, int room)
        : SpecializedTentacle(), _taken(std::move(taken)), _room(room) {}
    ~Room() override {
        if (_isTaken) --*_taken;
    }
    bool activate(const Polyp&) override {
        if (!_isTaken && *_taken >= _room) throw Mirk::RenderException(1, "full", "room.cpp", 1);
        if (!_isTaken) ++*_taken;
        _isTaken = true;
        return true;
    }
    bool deactivate(const Polyp&) override { return true; }

private:
    const std::shared_ptr<int> _taken;
    const int _room;
    bool _isTaken = false;
};

TEST_F(DisplayObjectUploads, DataThatChangeInEachFrameAreShownAgainOnceThereIsMemory) {
    const auto taken = std::make_shared<int>(0);
    int room = 8;
    object->pieces = 4;
    object->action = [&, fill = object->action](Polyp& polyp, Mirk::VRenderContext& present) {
        polyp.insert(Keel::StrongPtr<Polyp::Tentacle, Polyp::Tentacle>(new Room(taken, room)));
        return fill(polyp, present);
    };
    frame();
    testing::internal::CaptureStdout();
    std::set<std::string> drawn;
    for (int change = 0; change < 12; ++change) {
        room = change == 0 ? 7 : 8; // a moment without memory for all
        object->setData(4);
        seagrass->cleanup();
        for (const std::string& number : frame().drawn) drawn.insert(number);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_GE(drawn.size(), 12U) << "others than the first, more than once";
    EXPECT_LE(*taken, 8);
}

TEST_F(DisplayObjectUploads, PieceThatIsDeclinedHoldsUpNoNewerData) {
    object->pieces = 2;
    frame();
    const auto fill = object->action;
    object->action = [&](Polyp& polyp, Mirk::VRenderContext& present) {
        return object->filled.back().first == 0 && fill(polyp, present);
    };
    object->setData(2);
    EXPECT_THAT(frame().drawn, ElementsAre("1", "2"));
    object->action = fill;
    object->setData(2);
    EXPECT_THAT(frame().drawn, ElementsAre("4", "5"));
}

TEST_F(DisplayObjectUploads, DataOfAnotherProgramEachTimeAreShownOneAfterTheOther) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    std::vector<std::vector<std::string>> drawn;
    for (const char* const code : {"void main() {}", "void main() { }", "void main() {  }", "//"}) {
        object->vertexCode = code;
        object->setData(2);
        drawn.push_back(frame(bytes).drawn);
    }
    EXPECT_EQ(drawn, (std::vector<std::vector<std::string>>{
                         {"1", "2"}, {"3", "4"}, {"3", "4"}, {"5", "6"}}));
}

TEST_F(DisplayObjectUploads, DataThatChangeFastAreShownHoweverLongTheyHadToWait) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    object->setData(2);
    for (std::uint64_t i = 0; i <= Mirk::Exchanges::patience + 1; ++i) frame(0);
    std::set<std::string> drawn;
    for (int change = 0; change < 6; ++change) {
        object->setData(2);
        for (const std::string& number : frame(bytes).drawn) drawn.insert(number);
    }
    EXPECT_GE(drawn.size(), 6U) << "three of them at least";
}

TEST_F(DisplayObjectUploads, WhatFailsToBeDrawnIsReplacedByNewerData) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    context.basin.log->throwing = {"activate Tentacle last 2"};
    testing::internal::CaptureStdout();
    std::vector<std::string> drawn;
    for (int change = 0; change < 3; ++change) {
        object->setData(2);
        drawn = frame(bytes).drawn;
    }
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(drawn, ElementsAre("3", "4"));
    EXPECT_TRUE(frame().isWhole);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectUploads, WhatIsShownBetweenTwoExchangesIsKept) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    object->setData(2);
    frame(bytes);
    object->setData(2);
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("3", "4"));
    seagrass->lawn();
    EXPECT_THAT(frame(bytes).drawn, ElementsAre("3", "4"));
}

TEST_F(DisplayObjectUploads, FailureOfWhatIsRefusedInBetweenIsToldOnce) {
    frame();
    object->setData(1);
    haveNoMemory();
    testing::internal::CaptureStdout();
    for (const std::int64_t allowance : {1000, 0, 1000, 0, 1000}) frame(allowance);
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
    context.basin.log->throwing = {};
    EXPECT_TRUE(frame().isWhole);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, FailureIsToldOnceHoweverOftenOthersAreDrawnInBetween) {
    const auto failing = context.pool;
    const auto good = Keel::make<Mirk::ValuePool>();
    object->action = [&](Polyp&, Mirk::VRenderContext& present) -> bool {
        if (present.pool == failing) throw std::runtime_error("planted");
        return true;
    };
    testing::internal::CaptureStdout();
    for (int round = 0; round < 3; ++round) {
        context.pool = failing;
        draw(*object);
        EXPECT_THAT(reportOf(*object), HasSubstr("planted"));
        context.pool = good;
        for (int i = 0; i < 1200; ++i) draw(*object);
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
}

TEST_F(DisplayObjectUploads, DataThatChangeAreShownInASlowViewerToo) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    const DisplayPtr<Plain> other(new Plain);
    std::set<std::string> drawn;
    for (int change = 0; change < 4; ++change) {
        object->setData(2);
        for (const std::string& number : frame(bytes).drawn) drawn.insert(number);
        for (std::uint64_t i = 0; i <= Mirk::Exchanges::patience; ++i) draw(*other);
    }
    EXPECT_THAT(drawn, testing::IsSupersetOf({"1", "2", "3", "4"}));
}

TEST_F(DisplayObjectUploads, TentacleThatIsTakenOutBehindTheUploadIsNotMissed) {
    object->action = [&, fill = object->action](Polyp& polyp, Mirk::VRenderContext& present) {
        const Polyp::TentaclePtr once(
            new RecordingTentacle(context.basin.log, "once", Polyp::VertexAttributeKey + 2));
        polyp.insertTentacle(Polyp::VertexAttributeKey + 2, once);
        polyp.addCompletionTask(
            [once](Polyp& mine, Mirk::VRenderContext&) { return mine.eraseTentacle(once); });
        return fill(polyp, present);
    };
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(frame().isWhole) << i;
}

TEST_F(DisplayObjectUploads, AnyExceptionOfCompilingIsAReportThatIsToldOnce) {
    frame();
    object->wantedForm = 7;
    int calls = 0;
    context.onCreateProgram = [&] {
        ++calls;
        throw std::bad_alloc();
    };
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3; ++i) EXPECT_THAT(frame().drawn, ElementsAre("1"));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(reportOf(*object), HasSubstr("bad_alloc"));
    context.onCreateProgram = {};
    object->wantedForm = 0;
    EXPECT_TRUE(frame().isWhole);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectUploads, WhatFailedToBeCompiledForAMomentIsTriedAgainAfterAWhile) {
    const auto framesUntilDrawn = [&] {
        int frames = 1;
        while (frame().drawn != std::vector<std::string>{"1"} && frames < 1000) ++frames;
        return frames;
    };
    int calls = 0;
    context.onCreateProgram = [&] {
        if (++calls < 3) throw std::bad_alloc();
    };
    testing::internal::CaptureStdout();
    const int frames = framesUntilDrawn();
    const std::size_t failures = context.failures.size();
    EXPECT_EQ(reportOf(*object), "");
    // What is wrong with a text stays so.
    object->wantedForm = 7;
    calls = 0;
    context.onCreateProgram = [&] {
        ++calls;
        Mirk::RenderException fault(1, "compile", "plain.vert", 1);
        fault.shaderLog = "\n0(1) : error: syntax\n";
        throw fault;
    };
    for (int i = 0; i < 1000; ++i) frame();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(frames, 201);
    EXPECT_EQ(failures, 1U);
}

TEST_F(DisplayObjectUploads, OperatorThatThrowsLetsTheLastGenerationStay) {
    class Throwing : public Mirk::TransformOperator::Functor {
    public:
        explicit Throwing(bool atEnd) : _atEnd(atEnd) {}
        bool begin(Mirk::VRenderContext&) const override {
            if (!_atEnd) throw std::runtime_error("begin");
            return true;
        }
        void end(Mirk::VRenderContext&) const override {
            if (_atEnd) throw std::runtime_error("end");
        }

    private:
        const bool _atEnd;
    };
    frame();
    testing::internal::CaptureStdout();
    for (const bool atEnd : {false, true}) {
        Mirk::TransformOperator transform;
        transform.functor = Mirk::TransformOperator::FunctorPtr(new Throwing(atEnd));
        object->transformSlot().set({}, transform);
        for (int i = 0; i < 2; ++i) EXPECT_THAT(frame().drawn, ElementsAre("1"));
    }
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(reportOf(*object), HasSubstr("end"));
    EXPECT_EQ(context.failures.size(), 2U);
}

TEST_F(DisplayObjectUploads, OperatorsThatChangeFastAreShownOneAfterTheOther) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    std::vector<std::vector<std::string>> drawn;
    for (int change = 0; change < 3; ++change) {
        Mirk::TransformOperator transform;
        transform.functor = Mirk::TransformOperator::FunctorPtr(
            new Mirk::TransformOperator::Shift(vector{0, 0, 0}));
        object->transformSlot().set({}, transform);
        drawn.push_back(frame(bytes).drawn);
    }
    EXPECT_EQ(drawn, (std::vector<std::vector<std::string>>{{"1", "2"}, {"3", "4"}, {"3", "4"}}));
}

TEST_F(DisplayObjectUploads, ReportOfANumberOfEyesThatIsNotDrawnAnyMoreEnds) {
    context.setNumberOfEyes(2);
    context.basin.log->throwing.insert("createProgram plain.vert");
    testing::internal::CaptureStdout();
    frame();
    testing::internal::GetCapturedStdout();
    EXPECT_NE(reportOf(*object), "");
    context.basin.log->throwing = {};
    context.setNumberOfEyes(1);
    for (int i = 0; i < 10; ++i) frame();
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectUploads, PieceThatFailsToBeDrawnLeavesTheOthersAndIsToldOnce) {
    object->pieces = 3;
    frame();
    context.basin.log->throwing = {"activate Tentacle last 2"};
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3; ++i) {
        const Frame failing = frame();
        EXPECT_THAT(failing.drawn, testing::IsSupersetOf({"1", "3"}));
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(reportOf(*object), HasSubstr("RenderException"));
    context.basin.log->throwing = {};
    EXPECT_TRUE(frame().isWhole);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectUploads, FailuresThatDifferByTheirDescriptionAreTwo) {
    frame();
    object->setData(1);
    std::string description = "first";
    object->action = [&](Polyp&, Mirk::VRenderContext&) -> bool {
        Mirk::RenderException exception(0, "fill", "x.cpp", 1);
        exception.description = description;
        throw exception;
    };
    testing::internal::CaptureStdout();
    frame();
    EXPECT_THAT(reportOf(*object), HasSubstr("first"));
    description = "second";
    frame();
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(reportOf(*object), HasSubstr("second"));
}

TEST_F(DisplayObjectUploads, NumbersOfEyesInTurnAreToldAFailureOnce) {
    context.basin.log->throwing.insert("createProgram plain.vert");
    testing::internal::CaptureStdout();
    for (int round = 0; round < 3; ++round) {
        for (const unsigned eyes : {1U, 2U}) {
            context.setNumberOfEyes(eyes);
            frame();
            EXPECT_NE(reportOf(*object), "");
        }
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
}

TEST_F(DisplayObjectUploads, WhatIsOfAnotherFormIsNotWaitedFor) {
    object->pieces = 2;
    object->knownBytes = bytes;
    frame();
    for (const std::uint32_t form : {1U, 2U, 3U}) {
        object->wantedForm = form;
        EXPECT_THAT(frame(bytes).drawn, ElementsAre("1", "2"));
    }
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 3); // the first and half of the last
    EXPECT_THAT(frame().drawn, ElementsAre("5", "6"));
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 2);
}

TEST_F(DisplayObjectUploads, AnyExceptionOfFillingIsAReportThatIsToldOnce) {
    frame();
    object->setData(1);
    const auto fill = object->action;
    object->action = [](Polyp&, Mirk::VRenderContext&) -> bool {
        throw std::runtime_error("no more of it");
    };
    testing::internal::CaptureStdout();
    for (int i = 0; i < 3; ++i) EXPECT_THAT(frame().drawn, ElementsAre("1"));
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(reportOf(*object), HasSubstr("no more of it"));
    object->action = [](Polyp&, Mirk::VRenderContext&) -> bool { throw 7; };
    for (int i = 0; i < 3; ++i) EXPECT_THAT(frame().drawn, ElementsAre("1"));
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 2U);
    EXPECT_THAT(reportOf(*object), HasSubstr("an exception of an unknown kind"));
    object->action = fill;
    EXPECT_TRUE(frame().isWhole);
    EXPECT_EQ(reportOf(*object), "");
}

TEST_F(DisplayObjectTest, WithoutRoomNoMoreThanOnePieceOfUnknownSizeIsFilled) {
    object->pieces = 5;
    context.renderAllowance = bytes;
    for (int frame = 0; frame < 3; ++frame) EXPECT_FALSE(draw(*object));
    EXPECT_EQ(object->filled.size(), 2U);
    context.renderAllowance = 1000;
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(object->filled.size(), 5U);
    EXPECT_EQ(context.renderAllowance, 1000 - 4 * bytes);
}

TEST_F(DisplayObjectTest, NothingIsFilledThatIsKnownNotToBeAdmitted) {
    object->pieces = 3;
    object->knownBytes = bytes;
    context.renderAllowance = bytes - 1;
    EXPECT_FALSE(draw(*object));
    EXPECT_FALSE(draw(*object));
    EXPECT_TRUE(object->filled.empty());
    EXPECT_EQ(context.numberOfRefusals(), 2U); // or a viewer would not give it more
    EXPECT_EQ(context.renderAllowance, bytes - 1);
    // The program is compiled but once.
    EXPECT_EQ(context.basin.log->live["Program"], 1);
    context.renderAllowance = 2 * bytes;
    EXPECT_FALSE(draw(*object));
    EXPECT_EQ(object->filled.size(), 2U);
    EXPECT_EQ(context.renderAllowance, 0);
}

TEST_F(DisplayObjectTest, SizeOfAnEvictedPieceIsKnown) {
    object->pieces = 2;
    ASSERT_TRUE(draw(*object));
    const Keel::StrongPtr<Keel::Creature> creator(object->polyps[1]->creator());
    ASSERT_TRUE(creator);
    dynamic_cast<Mirk::PolypBasicCreator&>(*creator).forget();
    context.renderAllowance = bytes - 1;
    EXPECT_FALSE(draw(*object));
    EXPECT_EQ(object->filled.size(), 2U);
    context.renderAllowance = bytes;
    EXPECT_TRUE(draw(*object));
    EXPECT_EQ(object->filled.size(), 3U);
    EXPECT_EQ(context.renderAllowance, 0);
}

TEST_F(DisplayObjectTest, CancelledFrameFillsNothing) {
    class Always : public Mirk::VRenderInterruptor {
    public:
        void interrupt(const Mirk::ValuePoolPtr&) override {}
        bool isInterrupted(const Mirk::ValuePoolPtr&) override { return true; }
        void resume(const Mirk::ValuePoolPtr&) override {}
    };
    const Keel::StrongPtr<Mirk::VRenderInterruptor> interruptor(new Always);
    context.interruptor = interruptor;
    EXPECT_FALSE(draw(*object));
    EXPECT_TRUE(object->filled.empty());
    context.interruptor = {};
    EXPECT_TRUE(draw(*object));
}

TEST_F(DisplayObjectTest, PiecesThatAreNotNeededAnyMoreAreDropped) {
    object->pieces = 4;
    ASSERT_TRUE(draw(*object));
    object->setData(1);
    ASSERT_TRUE(draw(*object));
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 1);
}

TEST_F(DisplayObjectTest, DataThatCannotBeReadTakeTheirPiecesAlong) {
    ASSERT_TRUE(draw(*object));
    object->onRead = [] { throw std::runtime_error("there is a hole in it"); };
    object->changeInput();
    testing::internal::CaptureStdout();
    draw(*object);
    testing::internal::GetCapturedStdout();
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 0);
    EXPECT_EQ(context.basin.log->live["Program"], 0);
}

TEST_F(DisplayObjectTest, PoolsThatAreDrawnInTurnHaveTheirPolypsAndOneProgram) {
    const Mirk::ValuePoolPtr first = context.pool;
    const auto second = Keel::make<Mirk::ValuePool>();
    context.basin.log->take();
    for (int frame = 0; frame < 6; ++frame) {
        context.pool = frame % 2 == 0 ? first : second;
        EXPECT_TRUE(draw(*object));
    }
    EXPECT_EQ(object->filled.size(), 2U);
    const auto calls = context.basin.log->take();
    EXPECT_EQ(
        std::count_if(calls.begin(), calls.end(),
                      [](const std::string& call) { return call.starts_with("createProgram"); }),
        1);
}

TEST_F(DisplayObjectTest, NumbersOfEyesThatAreDrawnInTurnHaveTheirPolyps) {
    for (int frame = 0; frame < 6; ++frame) {
        context.setNumberOfEyes(frame % 2 == 0 ? 1 : 2);
        EXPECT_TRUE(draw(*object));
    }
    EXPECT_EQ(object->filled.size(), 2U);
}

TEST_F(DisplayObjectTest, WhatIsNotDrawnForAWhileIsDropped) {
    context.setNumberOfEyes(2);
    draw(*object);
    context.setNumberOfEyes(1);
    draw(*object);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 2);
    for (int frame = 0; frame < 200; ++frame) draw(*object);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 1);
    EXPECT_EQ(context.basin.log->live["Program"], 1);
    EXPECT_EQ(object->filled.size(), 2U);
}

TEST_F(DisplayObjectTest, DrawingsOfAnotherViewerDropNothing) {
    draw(*object);
    const auto other = Keel::make<Mirk::Seagrass>(1U << 30, "other");
    KnowingContext second(other);
    second.pool = context.pool;
    const Mirk::View view;
    for (int frame = 0; frame < 200; ++frame) object->render(second, view, sub);
    EXPECT_FALSE(isCompiledByDraw(*object));
    EXPECT_EQ(object->filled.size(), 2U);
}

TEST_F(DisplayObjectTest, PoolThatIsGoneTakesItsPolypsAlong) {
    const Mirk::ValuePoolPtr first = context.pool;
    context.pool = Keel::make<Mirk::ValuePool>();
    draw(*object);
    context.pool = first;
    draw(*object);
    draw(*object);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Painter"], 1);
}

/// Time limits are a viewer's.
class Precision : public Mirk::VRenderPrecision {
public:
    void adaptPrecision() override {}
};

class DisplayObjectDetail : public DisplayObjectTest {
protected:
    DisplayObjectDetail() {
        context.precision = Keel::StrongPtr<Mirk::VRenderPrecision>(new Precision);
        object->levels = {{0, 64}, {64, 32}, {96, 16}};
    }
    /// As if the object had taken this part of the last frame.
    void setContribution(double part) {
        Mirk::writeParameter<double>(
            object->findOutput(Mirk::Zelk::rendertime_contribution)->parameter(), context.pool,
            part);
    }
    /// First and number of what is drawn.
    std::pair<int, int> drawnRange(double precision) {
        context.precision->precision = precision;
        EXPECT_TRUE(draw(*object));
        const auto [begin, end] =
            object->polyps.back()->get_range(Polyp::PainterKey, Polyp::PainterKey);
        EXPECT_NE(begin, end);
        const Keel::StrongPtr<Mirk::RenderBasin::RangedPainter, Polyp::Tentacle> painter(
            begin->second);
        return {painter->first, painter->count};
    }
    using Range = std::pair<int, int>;
};

TEST_F(DisplayObjectDetail, FollowsThePrecisionByHalves) {
    setContribution(0.5);
    EXPECT_EQ(drawnRange(1.0), Range(0, 64));
    EXPECT_EQ(drawnRange(0.8), Range(0, 64));
    EXPECT_EQ(drawnRange(0.5), Range(64, 32));
    EXPECT_EQ(drawnRange(0.3), Range(96, 16));
    EXPECT_EQ(drawnRange(0.0), Range(96, 16)); // the coarsest that there is
    EXPECT_EQ(drawnRange(1.0), Range(0, 64));
}

TEST_F(DisplayObjectDetail, WhatTakesLittleTimeIsDrawnWhole) {
    setContribution(0.01);
    EXPECT_EQ(drawnRange(0.25), Range(0, 64));
    setContribution(0.02);
    EXPECT_EQ(drawnRange(0.25), Range(96, 16));
}

TEST_F(DisplayObjectDetail, WhatIsCheapByItsLevelKeepsThat) {
    setContribution(0.02);
    EXPECT_EQ(drawnRange(0.25), Range(96, 16));
    // A quarter of its vertices takes a quarter of the time, more or less.
    for (const double part : {0.005, 0.006, 0.003, 0.0015}) {
        setContribution(part);
        EXPECT_EQ(drawnRange(0.25), Range(96, 16)) << part;
    }
    setContribution(0.001);
    EXPECT_EQ(drawnRange(0.25), Range(0, 64));
    setContribution(0.004);
    EXPECT_EQ(drawnRange(0.25), Range(0, 64));
}

TEST_F(DisplayObjectDetail, WhatIsDrawnWholeForWantOfLevelsCountsAsWhole) {
    context.precision->precision = 1.0;
    EXPECT_TRUE(draw(*object));
    context.precision->precision = 0.25;
    setContribution(0.02);
    context.renderAllowance = 0;
    EXPECT_FALSE(draw(*object));
    setContribution(0.006);
    EXPECT_FALSE(draw(*object));
    context.renderAllowance = 1000;
    EXPECT_EQ(drawnRange(0.25), Range(0, 64));
}

TEST_F(DisplayObjectDetail, PrecisionThatIsNoNumberIsThatOfAll) {
    setContribution(0.5);
    EXPECT_EQ(drawnRange(std::nan("")), Range(0, 64));
}

TEST_F(DisplayObjectDetail, LevelsAreMadeOnceTheyAreNeededAndKept) {
    setContribution(0.5);
    drawnRange(1.0);
    EXPECT_THAT(object->filled, ElementsAre(Filled(0, 0)));
    drawnRange(0.5);
    drawnRange(0.25);
    drawnRange(1.0);
    EXPECT_THAT(object->filled, ElementsAre(Filled(0, 0), Filled(0, Plain::hasLevels)));
}

TEST_F(DisplayObjectTest, PlaneThatCutsTakesAnotherProgramAndOneThatMovesDoesNot) {
    draw(*object);
    EXPECT_THAT(vertexText(), Not(HasSubstr("\n#define CLIPPED\n")));
    object->clippingPlanes().clip1.set({}, {{0, 0, 1}, 0.5});
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("\n#define CLIPPED\n"));
    EXPECT_THAT(planeOf("ClipPlane1"), ElementsAre(0.0, 0.0, 1.0, 0.5));
    object->clippingPlanes().clip1.set({}, {{0, 0, 1}, 0.75});
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(planeOf("ClipPlane1"), ElementsAre(0.0, 0.0, 1.0, 0.75));
    object->clippingPlanes().clip1.set({}, {{0, 0, 0}, 0.75});
    EXPECT_TRUE(isRefilledByDraw(*object));
}

TEST_F(DisplayObjectTest, PlanesAreRelativeToTheOriginInDoublePrecision) {
    const point far{1e9 + 0.25, 0, 0};
    object->bounds = Skua::BoundingBox(far - vector{1, 1, 1}, far + vector{1, 1, 1});
    object->clippingPlanes().clip0.set({}, {{1, 0, 0}, 1e9 + 0.5});
    lookFrom(0, far);
    draw(*object);
    EXPECT_THAT(planeOf("ClipPlane0"), ElementsAre(1.0, 0.0, 0.0, 0.25));
}

TEST_F(DisplayObjectTest, AnotherTransformationTakesAnotherProgram) {
    draw(*object);
    Mirk::TransformOperator shift;
    ASSERT_TRUE(
        Mirk::VValueTrait<Mirk::TransformOperator>::setValueFromText(shift, "shift={1,2,3}"));
    object->transformSlot().set({}, shift);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("#define CUSTOM_TransformOperator 1"));
}

TEST_F(DisplayObjectTest, EachSeagrassHasAPolypOfItsOwn) {
    auto other = Keel::make<Mirk::Seagrass>(1U << 30, "other");
    {
        KnowingContext second(other);
        const Mirk::View view;
        EXPECT_TRUE(draw(*object));
        second.pool = context.pool;
        EXPECT_TRUE(object->render(second, view, sub));
        EXPECT_FALSE(isRefilledByDraw(*object));
        EXPECT_EQ(object->filled.size(), 2U);
    }
    other = {};
    EXPECT_FALSE(isRefilledByDraw(*object));
}

TEST_F(DisplayObjectTest, PolypOutlivesItsObjectUntilTheNextCleanup) {
    draw(*object);
    object = {};
    EXPECT_EQ(context.basin.log->live["Program"], 1);
    seagrass->cleanup();
    EXPECT_EQ(context.basin.log->live["Program"], 0);
    EXPECT_EQ(context.basin.log->live["UniformBuffer"], 0);
}

TEST_F(DisplayObjectTest, FrameOfAnUnchangedObjectAllocatesNothing) {
    context.setNumberOfEyes(2);
    draw(*object);
    context.basin.log->calls.reserve(1000);
    // The recorder allocates for what it writes down, also without the display object.
    const Polyp& polyp = *object->polyps.back();
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
