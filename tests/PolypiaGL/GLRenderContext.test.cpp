#include <PolypiaGL/GLRenderContext.hpp>

#include "glRenderFixture.hpp"
#include "quad.hpp"

#include <Polypia/PickList.hpp>
#include <Polypia/VRenderObject.hpp>
#include <Polypia/VSceneObjects.hpp>

#include <PolypiaGL/glMachine.hpp>

#include <sorrel/Vprintf.hpp>

#include <algorithm>
#include <functional>
#include <limits>
#include <memory>
#include <random>
#include <stdexcept>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Is drawn behind all that is opaque.
class Glass : public Quad, public RenderAble::TransparencyHandler {
public:
    explicit Glass(const std::string& objectName) : VObject(objectName, 0, {}), Quad(objectName) {}
};

/// Draws all views itself.
class Own : public Quad, public MultiviewRenderable {
public:
    explicit Own(const std::string& objectName) : VObject(objectName, 0, {}), Quad(objectName) {}
    bool multiview_render(VRenderContext&, const LayeredMultiViews::ViewReferences& views,
                          SubContext&) override {
        numberOfViews.push_back(views.size());
        return true;
    }
    std::vector<std::size_t> numberOfViews;
};

/// Draws all views in one call, ahead of which it may fail.
class Whole : public Quad, public MultiviewRenderable {
public:
    explicit Whole(const std::string& objectName) : VObject(objectName, 0, {}), Quad(objectName) {}
    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          SubContext& sub) override {
        if (whole && !whole()) return false;
        return render(context, views.front(), sub);
    }
    std::function<bool()> whole;
};

/// Draws both eyes itself, if it likes to.
class Stereo : public Quad, public StereoDraw {
public:
    explicit Stereo(const std::string& objectName) : VObject(objectName, 0, {}), Quad(objectName) {}
    bool stereo_render(VRenderContext&, const LayeredMultiViews::ViewReferences& views,
                       SubContext&) override {
        numberOfViews.push_back(views.size());
        return stereo();
    }
    std::function<bool()> stereo = [] { return true; };
    std::vector<std::size_t> numberOfViews;
};

using BoxPtr = VTransformable::BoundingBoxPtr;
using BoxFunction = std::function<BoxPtr(const BoxPtr&)>;

/// Has a transformation that does to its box what a function says.
class Movable : public Quad, public VTransformable {
public:
    Movable(const std::string& objectName, const BoxFunction& function)
        : VObject(objectName, 0, {}), Quad(objectName), VTransformable(this) {
        class Moving : public TransformOperator::Functor {
        public:
            explicit Moving(BoxFunction moved) : _moved(std::move(moved)) {}
            BoxPtr transformedBBox(const ValuePoolPtr&, const BoxPtr& box) const override {
                return _moved(box);
            }

        private:
            const BoxFunction _moved;
        };
        TransformOperator value;
        value.functor = TransformOperator::FunctorPtr(new Moving(function));
        transformSlot().set({}, value);
    }
};

/// Tells its failures by its status.
class Reporting : public VRenderObject {
public:
    explicit Reporting(const std::string& objectName)
        : VObject(objectName, 0, {}), VRenderObject(objectName, 0, {}) {}
    using VRenderObject::environment_render;
    bool environment_render(VRenderContext& context) const override {
        eyes.push_back(context.CurrentEye);
        return !action || action();
    }
    mutable std::vector<unsigned> eyes;
    std::function<bool()> action;
};

class Precision : public VRenderPrecision {
public:
    void adaptPrecision() override {}
};

class Interruptor : public VRenderInterruptor {
public:
    void interrupt(const ValuePoolPtr&) override { stops = true; }
    bool isInterrupted(const ValuePoolPtr&) override { return stops; }
    void resume(const ValuePoolPtr&) override { stops = false; }
    bool stops = false;
};

class GLRenderContextTest : public RenderTest {
protected:
    void SetUp() override {
        RenderTest::SetUp();
        if (!glContext) return;
        glContext->setDepths(depths);
        renewContext(interruptor);
        left = std::make_unique<GLFramebuffer>(*glContext, size, size, 1);
        right = std::make_unique<GLFramebuffer>(*glContext, size, size, 1);
        setOneEye();
    }
    void TearDown() override {
        quads.clear();
        endContext();
        left.reset();
        right.reset();
        RenderTest::TearDown();
    }

    void setOneEye() {
        context->setTargets({left.get()});
        context->setEyes({eyeFromAbove()});
    }
    void setTwoEyes() {
        context->setTargets({left.get(), right.get()});
        // Half a unit each way at the distance of 100, where both see the same.
        context->setEyes({eyeFromAbove(-0.04), eyeFromAbove(0.04)});
    }
    template<class Kind = Quad, class... Arguments>
    Keel::StrongPtr<Kind, VManagedObjectBase>
    add(const std::string& name, const Rectangle& rectangle, const Arguments&... arguments) {
        const Keel::StrongPtr<Kind, VManagedObjectBase> quad(new Kind(name, arguments...));
        quad->rectangle = rectangle;
        quads.push_back(quad);
        objects.insert(quad->priority, quad);
        return quad;
    }
    VRenderContext::RenderResult draw(int firstLayer = INT_MIN, int lastLayer = INT_MAX) {
        left->clear({0, 0, 0, 1});
        right->clear({0, 0, 0, 1});
        double seconds = 0;
        return objects.render(*context, seconds, firstLayer, lastLayer);
    }
    std::vector<std::uint8_t> pixels(const GLFramebuffer& framebuffer) const {
        framebuffer.finish();
        std::vector<std::uint8_t> bytes(std::size_t{4} * size * size);
        framebuffer.readColors(bytes);
        return bytes;
    }
    /// The colour of a pixel, counted from the middle.
    Color at(const GLFramebuffer& framebuffer, int x, int y) const {
        const auto bytes = pixels(framebuffer);
        const std::size_t first =
            4 * static_cast<std::size_t>((y + size / 2) * size + x + size / 2);
        return {bytes[first], bytes[first + 1], bytes[first + 2], bytes[first + 3]};
    }
    /// What an object may do to OpenGL that draws into a picture of its own.
    void drawElsewhere() const {
        context->factory().restoreState();
        glBindFramebuffer(GL_FRAMEBUFFER, right->number());
        glViewport(0, 0, 3, 5);
        glDisable(GL_DEPTH_TEST);
        glDepthFunc(GL_NEVER);
        glDepthMask(GL_FALSE);
        glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
        glEnable(GL_SCISSOR_TEST);
        glScissor(1, 1, 2, 2);
        glEnable(GL_STENCIL_TEST);
        glStencilFunc(GL_NEVER, 1, 0xFF);
        glEnable(GL_CLIP_DISTANCE0);
        glBindVertexArray(0);
        glUseProgram(0);
    }
    /// Views of the screen for what an object draws on top of the world; it goes back itself.
    void takeOverlaysViews() const {
        context->elevateView();
        context->CurrentView(0, 0).resetModelView();
        context->setTileAwareIdentity(0, -1, 1, {}, 0);
    }
    /// Those of the current layer, to the block that all programs read.
    void uploadViews() const {
        const auto block = context->getUniformBuffer(GLRenderContext::MultiViewBlock);
        context->updateMultiView(*block, context->getViews(context->CurrentLayer, 0));
    }
    std::vector<std::string> failedObjects() const {
        std::vector<std::string> names;
        for (const auto& failure : context->failures()) names.push_back(failure.object);
        return names;
    }

    GLContext::Depths depths = GLContext::Depths::Usual; // ahead of SetUp()
    const Keel::StrongPtr<Interruptor, VRenderInterruptor> interruptor{new Interruptor};
    std::unique_ptr<GLFramebuffer> left, right;
    std::vector<QuadPtr> quads;
    VSceneObjects objects;
};

TEST_F(GLRenderContextTest, EmptyFrameDoesNothing) {
    EXPECT_EQ(draw(), 0u);
    EXPECT_EQ(at(*left, 0, 0), black);
}

TEST_F(GLRenderContextTest, DrawsWhatIsInFrontWhateverTheOrder) {
    add("near", {-8, -8, 8, 8, 5})->color = {1, 0, 0, 1};
    add("far", {-16, -16, 16, 16, 0})->color = {0, 1, 0, 1};
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(context->numberOfDrawn(), 2u);
    EXPECT_EQ(at(*left, 0, 0), red);
    EXPECT_EQ(at(*left, -8, -8), red);
    EXPECT_EQ(at(*left, -9, -9), green);
    EXPECT_EQ(at(*left, -16, 15), green);
    EXPECT_EQ(at(*left, -17, 0), black);
}

TEST_F(GLRenderContextTest, ViewportIsThatOfTheTargets) {
    EXPECT_EQ(context->getViewport(0), (VRenderContext::PixelRectangle{0, 0, size, size}));
    context->setTargets({});
    EXPECT_EQ(context->getViewport(0), (VRenderContext::PixelRectangle{0, 0, 0, 0}));
}

TEST_F(GLRenderContextTest, FloatedOriginIsSoFarFromTheCameraOfTheCurrentEye) {
    setTwoEyes();
    for (const unsigned eye : {0U, 1U}) {
        context->openEye(eye);
        const Skua::PhysicalSpace::point camera = context->CurrentView(eye, 0).camera.position;
        const auto origin = context->makeFloatedOrigin({1, 2, -3});
        ASSERT_TRUE(origin);
        EXPECT_EQ(origin->worldOrigin, (camera - Skua::PhysicalSpace::point{1, 2, -3}));
    }
}

TEST_F(GLRenderContextTest, DrawsTheLayersOfTheRangeInTheirOrder) {
    std::vector<std::string> order;
    for (const int layer : {3, 1, 2}) {
        const auto quad = add("layer" + std::to_string(layer), {}, layer);
        quad->action = [&order, name = quad->Name()] {
            order.push_back(name);
            return true;
        };
    }
    draw();
    EXPECT_THAT(order, ElementsAre("layer1", "layer2", "layer3"));
    order.clear();
    draw(2, 2);
    EXPECT_THAT(order, ElementsAre("layer2"));
}

TEST_F(GLRenderContextTest, TransparentObjectsComeLastAndTheFarthestFirst) {
    std::vector<std::string> order;
    const auto record = [&order](const QuadPtr& quad) {
        quad->action = [&order, name = quad->Name()] {
            order.push_back(name);
            return true;
        };
    };
    record(add<Glass>("middle", {-8, -8, 8, 8, 5}));
    record(add("opaque", {}));
    record(add<Glass>("near", {-8, -8, 8, 8, 9}));
    record(add<Glass>("far", {-8, -8, 8, 8, 1}));
    draw();
    EXPECT_THAT(order, ElementsAre("opaque", "far", "middle", "near"));
}

TEST_F(GLRenderContextTest, LeavesOutWhatLiesOutsideOfAllViews) {
    const auto outside = add("outside", {200, 0, 210, 10});
    const auto behind = add("behind", {-8, -8, 8, 8, 150});
    const auto across = add("across", {20, 0, 210, 10});
    const auto unknown = add("unknown", {200, 0, 210, 10});
    unknown->hasBounds = false;
    draw();
    EXPECT_EQ(outside->draws, 0);
    EXPECT_EQ(behind->draws, 0);
    EXPECT_EQ(across->draws, 1);
    EXPECT_EQ(unknown->draws, 1);
    EXPECT_EQ(context->numberOfCulled(), 2u);
    EXPECT_EQ(context->numberOfDrawn(), 2u);
}

TEST_F(GLRenderContextTest, MarginTellsWhatReachesInFromOutside) {
    class Wide : public Quad, public PixelMargin {
    public:
        explicit Wide(const std::string& objectName)
            : VObject(objectName, 0, {}), Quad(objectName) {}
        double marginPixels(const ValuePoolPtr&) const override {
            if (throws) throw std::runtime_error("margin");
            return margin;
        }
        double margin = 0.0;
        bool throws = false;
    };
    // The picture reaches to 32.
    const auto wide = add<Wide>("wide", {32 + 100, 0, 32 + 110, 10});
    for (const auto& [margin, draws] : {std::pair(101.0, 1), std::pair(99.0, 0)}) {
        wide->margin = margin;
        wide->draws = 0;
        draw();
        EXPECT_EQ(wide->draws, draws) << margin;
    }
    wide->throws = true;
    draw();
    EXPECT_EQ(wide->draws, 1) << "one that fails to tell it is drawn";
}

TEST_F(GLRenderContextTest, TransformationTellsWhatLiesOutside) {
    const auto box = [](const Rectangle& r) {
        return BoxPtr(
            new Skua::BoundingBox({r.left, r.bottom, r.height}, {r.right, r.top, r.height}));
    };
    const Rectangle inside{-8, -8, 8, 8}, outside{200, 0, 210, 10};
    const auto brought =
        add<Movable>("brought", outside, [=](const BoxPtr&) { return box(inside); });
    const auto taken = add<Movable>("taken", inside, [=](const BoxPtr&) { return box(outside); });
    const auto kept = add<Movable>("kept", outside, [](const BoxPtr& from) { return from; });
    const auto null = add<Movable>("null", outside, [](const BoxPtr&) { return BoxPtr(); });
    const auto empty =
        add<Movable>("empty", outside, [](const BoxPtr&) { return BoxPtr(new Skua::BoundingBox); });
    const auto throwing = add<Movable>(
        "throwing", outside, [](const BoxPtr&) -> BoxPtr { throw std::runtime_error("box"); });
    draw();
    EXPECT_EQ(brought->draws, 1);
    EXPECT_EQ(taken->draws, 0);
    EXPECT_EQ(kept->draws, 0);
    EXPECT_EQ(null->draws, 1);
    EXPECT_EQ(empty->draws, 1);
    EXPECT_EQ(throwing->draws, 1);
    EXPECT_EQ(context->numberOfCulled(), 2u);
}

TEST_F(GLRenderContextTest, HiddenObjectIsNotDrawnAndDoesNotCount) {
    const auto quad = add("quad", {});
    quad->setVisible(context->pool, false);
    EXPECT_EQ(draw(), 0u);
    EXPECT_EQ(quad->draws, 0);
    EXPECT_EQ(context->numberOfDrawn(), 0u);
}

TEST_F(GLRenderContextTest, EachEyeHasItsOwnPicture) {
    setTwoEyes();
    const auto quad = add("quad", {-8, -8, 8, 8, 0});
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(quad->draws, 2);
    EXPECT_EQ(context->numberOfDrawn(), 1u);
    // Orthographic eyes see what they look at along parallel lines, 4 pixels to each side.
    EXPECT_NE(pixels(*left), pixels(*right));
}

TEST_F(GLRenderContextTest, OneEyeAfterTwoDrawsAsBefore) {
    add("quad", {-8, -8, 8, 8, 5})->color = {1, 0, 0, 1};
    draw();
    const auto before = pixels(*left);
    setTwoEyes();
    draw();
    setOneEye();
    draw();
    EXPECT_EQ(pixels(*left), before);
}

TEST_F(GLRenderContextTest, ObjectThatDrawsAllViewsItselfIsCalledOnce) {
    setTwoEyes();
    const auto own = add<Own>("own", {});
    draw();
    EXPECT_THAT(own->numberOfViews, ElementsAre(2u));
    EXPECT_EQ(own->draws, 0);
}

TEST_F(GLRenderContextTest, ObjectThatDrawsStereoItselfIsDrawnByThatAlone) {
    setTwoEyes();
    const auto stereo = add<Stereo>("stereo", {});
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_THAT(stereo->numberOfViews, ElementsAre(2u));
    EXPECT_EQ(stereo->draws, 0);
    EXPECT_EQ(context->numberOfDrawn(), 1u);
}

TEST_F(GLRenderContextTest, ObjectThatDrawsNoStereoThisTimeIsDrawnLikeAllOthers) {
    setTwoEyes();
    const auto stereo = add<Stereo>("stereo", {});
    stereo->stereo = [] { return false; };
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(stereo->draws, 2);
    EXPECT_EQ(context->numberOfDrawn(), 1u);
}

TEST_F(GLRenderContextTest, ObjectThatFailsInStereoIsNotDrawnOnceMore) {
    setTwoEyes();
    const auto stereo = add<Stereo>("stereo", {});
    stereo->stereo = []() -> bool { throw RenderException(0x501, "stereo", "quad.cpp", 1); };
    EXPECT_EQ(draw(), GLRenderContext::Failed);
    EXPECT_EQ(stereo->draws, 0);
    EXPECT_THAT(failedObjects(), ElementsAre("stereo"));
}

TEST_F(GLRenderContextTest, NobodyIsAskedForStereoWithOneEyeOrWhenHidden) {
    const auto stereo = add<Stereo>("stereo", {});
    draw();
    EXPECT_EQ(stereo->draws, 1);
    setTwoEyes();
    stereo->setVisible(context->pool, false);
    EXPECT_EQ(draw(), 0u);
    EXPECT_THAT(stereo->numberOfViews, IsEmpty());
    EXPECT_EQ(stereo->draws, 1);
}

TEST_F(GLRenderContextTest, PartsOfAPictureMakeUpTheWhole) {
    constexpr int columns = 3, rows = 2;
    add("quad", {-20.5, -13.25, 11, 21.75, 3})->color = {1, 0.5F, 0, 1};
    add("other", {-3, -30, 28.5, 5, 10})->color = {0, 0.5F, 1, 1};
    const auto drawInto = [&](const GLFramebuffer& target,
                              const std::optional<GLRenderContext::Part>& part) {
        context->setTargets({&target});
        context->showPart(part);
        context->setEyes({eyeFromAbove()});
        EXPECT_EQ(context->getViewport(0),
                  (VRenderContext::PixelRectangle{0, 0, columns * size, rows * size}));
        target.clear({0, 0, 0, 1});
        double seconds = 0;
        EXPECT_EQ(objects.render(*context, seconds, INT_MIN, INT_MAX), GLRenderContext::Drew);
    };
    const GLFramebuffer whole(*glContext, columns * size, rows * size, 4);
    drawInto(whole, {});
    std::vector<std::uint8_t> expected(std::size_t{4} * columns * size * rows * size);
    whole.readColors(expected);
    const GLFramebuffer tile(*glContext, size, size, 4);
    for (int row = 0; row < rows; ++row) {
        for (int column = 0; column < columns; ++column) {
            drawInto(tile,
                     GLRenderContext::Part{column * size, row * size, columns * size, rows * size});
            const auto bytes = pixels(tile);
            for (int line = 0; line < size; ++line) {
                const auto from = bytes.begin() + 4 * line * size;
                const auto to =
                    expected.begin() + 4 * ((row * size + line) * columns * size + column * size);
                EXPECT_TRUE(std::equal(from, from + 4 * size, to)) << row << column << line;
            }
        }
    }
    context->setTargets({});
}

TEST_F(GLRenderContextTest, TellsWhetherAnObjectWasRefusedMemory) {
    const auto greedy = add("greedy", {});
    const PolypPtr large(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    large->expectMemsize(1000);
    context->renderAllowance = 10;
    greedy->action = [&] { return context->allowRendering(*large); };
    EXPECT_EQ(draw(), GLRenderContext::Incomplete | GLRenderContext::RefusedMemory);
    greedy->action = [] { return false; };
    EXPECT_EQ(draw(), GLRenderContext::Incomplete);
}

TEST_F(GLRenderContextTest, EachFrameHasASubContextOfItsOwnForAllItsObjects) {
    class Noting : public Quad, public MultiviewRenderable {
    public:
        explicit Noting(const std::string& objectName)
            : VObject(objectName, 0, {}), Quad(objectName) {}
        bool multiview_render(VRenderContext&, const LayeredMultiViews::ViewReferences&,
                              SubContext& sub) override {
            found.push_back(bool(sub.findInterface<RenderSlice>()));
            sub.addInterface(Keel::make<RenderSlice>(0.0, 1.0));
            return true;
        }
        std::vector<bool> found;
    };
    const auto first = add<Noting>("first", {}), second = add<Noting>("second", {});
    draw();
    draw();
    EXPECT_THAT(first->found, ElementsAre(false, false));
    EXPECT_THAT(second->found, ElementsAre(true, true));
}

TEST_F(GLRenderContextTest, ObjectIsDrawnForAllEyesEvenIfOneIsIncomplete) {
    setTwoEyes();
    const auto quad = add("quad", {});
    // One eye after the other: the whole is complete only if both are.
    for (const std::vector<bool>& answers : {std::vector{false, true}, {true, false}}) {
        quad->draws = 0;
        quad->action = [&] { return answers[static_cast<std::size_t>(quad->draws - 1)]; };
        EXPECT_EQ(draw(), GLRenderContext::Incomplete);
        EXPECT_EQ(quad->draws, 2);
        EXPECT_THAT(context->failures(), IsEmpty());
    }
}

TEST_F(GLRenderContextTest, RenderObjectIsDrawnForEachEyeAndTellsItsFailures) {
    const Keel::StrongPtr<Reporting, VManagedObjectBase> object(new Reporting("reporting"));
    objects.insert(0, object);
    setTwoEyes();
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_THAT(object->eyes, ElementsAre(0u, 1u));
    const auto status = [&] {
        VObjectStatus read("unread");
        object->renderStatusSlot().get(context->pool, read);
        return read.text;
    };
    EXPECT_EQ(status(), "");
    object->action = []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); };
    testing::internal::CaptureStdout();
    EXPECT_EQ(draw(), GLRenderContext::Failed);
    testing::internal::GetCapturedStdout();
    EXPECT_THAT(status(), testing::HasSubstr("Generic Render Exception"));
    EXPECT_THAT(failedObjects(), ElementsAre("reporting"));
    object->action = nullptr;
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(status(), "");
    // What is no RenderException ends at the wrapper around all drawing.
    object->action = []() -> bool { throw std::runtime_error("not today"); };
    testing::internal::CaptureStdout();
    draw();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("not today"));
    EXPECT_EQ(status(), "");
}

/// Scenes with objects of which some fail, drawn in any way.
class FailureTest : public GLRenderContextTest {
protected:
    /// Draws a hundred objects, of which a third fails, and expects the pictures that the others
    /// give without them. `targets` are what is drawn into, one for each eye; some of the failing
    /// leave one of the framebuffers `others` bound.
    void expectTheOthersAsEver(const std::vector<const GLFramebuffer*>& targets,
                               const std::vector<unsigned>& others) {
        const std::vector<std::function<bool()>> throwers = makeThrowers(others);
        std::mt19937 random(1);
        const auto number = [&](int from, int to) {
            return std::uniform_int_distribution<int>(from, to)(random);
        };
        std::vector<QuadPtr> broken;
        for (int i = 0; i < 100; ++i) {
            const double x = number(-32, 28), y = number(-32, 28);
            const Rectangle place{x, y, x + number(1, 20), y + number(1, 20),
                                  static_cast<double>(number(0, 50))};
            const QuadPtr quad = addKind(i % 3, "quad" + std::to_string(i), place);
            quad->color = {0.01F * static_cast<float>(i), 0.5F, 1, 1};
            if (number(0, 2) == 0) broken.push_back(quad);
        }
        for (const QuadPtr& quad : broken) quad->setVisible(context->pool, false);
        drawInto(targets);
        const auto expected = pictures(targets);
        for (std::size_t i = 0; i < broken.size(); ++i) {
            broken[i]->setVisible(context->pool, true);
            setAction(broken[i], throwers[i % throwers.size()]);
        }
        testing::internal::CaptureStdout();
        const auto result = drawInto(targets);
        testing::internal::GetCapturedStdout();
        EXPECT_TRUE(result & GLRenderContext::Failed);
        EXPECT_TRUE(result & GLRenderContext::Incomplete);
        EXPECT_TRUE(result & GLRenderContext::Drew);
        EXPECT_TRUE(pictures(targets) == expected);
    }

private:
    std::vector<std::function<bool()>> makeThrowers(const std::vector<unsigned>& others) const {
        const std::vector<std::function<bool()>> plain{
            []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); },
            []() -> bool { throw std::runtime_error("not today"); },
            []() -> bool { throw "a text"; },
            []() -> bool { throw 7; },
            [] { return false; },
        };
        std::vector<std::function<bool()>> throwers = plain;
        for (std::size_t i = 0; i < plain.size(); ++i) {
            throwers.push_back([this, thrower = plain[i], other = others[i % others.size()]] {
                drawElsewhere();
                glBindFramebuffer(GL_FRAMEBUFFER, other);
                glEnable(GL_NONE); // an error that nobody takes
                return thrower();
            });
            throwers.push_back([this, thrower = plain[i]] {
                takeOverlaysViews();
                uploadViews();
                context->CurrentLayer = 2; // as a guard on the way out does
                return thrower();
            });
        }
        return throwers;
    }
    QuadPtr addKind(int kind, const std::string& name, const Rectangle& place) {
        if (kind == 0) return add(name, place);
        if (kind == 1) return add<Whole>(name, place);
        const auto stereo = add<Stereo>(name, place);
        stereo->stereo = [] { return false; };
        return stereo;
    }
    /// Some fail where they draw, others where their drawing of all views begins.
    static void setAction(const QuadPtr& quad, const std::function<bool()>& action) {
        if (const Keel::StrongPtr<Whole, VManagedObjectBase> whole{quad}) {
            whole->whole = action;
            return;
        }
        quad->action = action;
        const Keel::StrongPtr<Stereo, VManagedObjectBase> stereo(quad);
        if (stereo) stereo->stereo = action;
    }
    VRenderContext::RenderResult drawInto(const std::vector<const GLFramebuffer*>& targets) {
        for (const GLFramebuffer* target : targets) target->clear({0, 0, 0, 1});
        double seconds = 0;
        return objects.render(*context, seconds, INT_MIN, INT_MAX);
    }
    std::vector<std::vector<std::uint8_t>>
    pictures(const std::vector<const GLFramebuffer*>& targets) const {
        std::vector<std::vector<std::uint8_t>> all;
        for (const GLFramebuffer* target : targets) all.push_back(pixels(*target));
        return all;
    }
};

TEST_F(FailureTest, StaysWithItsObject) {
    expectTheOthersAsEver({left.get()}, {right->number()});
}

TEST_F(FailureTest, StaysWithItsObjectIfNobodyAsksForErrorsOfOpenGL) {
    context->factory().setErrorChecks(false);
    expectTheOthersAsEver({left.get()}, {right->number()});
}

TEST_F(FailureTest, StaysWithItsObjectForEachOfTwoEyes) {
    setTwoEyes();
    expectTheOthersAsEver({left.get(), right.get()}, {left->number(), right->number()});
}

TEST_F(FailureTest, StaysWithItsObjectInOnePassForAllEyes) {
    if (!GLLayeredFramebuffer::isPossible(*glContext, GL::Pass::Layers, 2)) {
        GTEST_SKIP() << "the driver can't draw several views in one pass";
    }
    const GLLayeredFramebuffer layers(*glContext, size, size, 1, 2, GL::Pass::Layers);
    context->setTargets(layers);
    context->setEyes({eyeFromAbove(-0.04), eyeFromAbove(0.04)});
    expectTheOthersAsEver(
        {&layers.view(0), &layers.view(1)},
        {layers.number(), layers.view(0).number(), layers.view(1).number(), right->number()});
    context->setTargets({left.get()});
}

TEST_F(GLRenderContextTest, WhatStereoDrawingHasLeftDoesNotMeetTheDrawingBehindIt) {
    setTwoEyes();
    const auto stereo = add<Stereo>("stereo", {-8, -8, 8, 8, 20});
    add("behind", {-16, -16, 16, 16, 0})->color = {0, 1, 0, 1};
    stereo->stereo = [] { return false; };
    draw();
    const auto leftBefore = pixels(*left), rightBefore = pixels(*right);
    const std::vector<std::function<bool()>> leaving{
        [this] {
            drawElsewhere();
            return false;
        },
        [this] {
            drawElsewhere();
            glBindFramebuffer(GL_FRAMEBUFFER, left->number());
            return false;
        },
        [this]() -> bool {
            takeOverlaysViews();
            uploadViews();
            throw std::runtime_error("not in stereo");
        },
        [] {
            glEnable(GL_NONE);
            return false;
        },
    };
    for (std::size_t i = 0; i < leaving.size(); ++i) {
        stereo->stereo = leaving[i];
        testing::internal::CaptureStdout();
        EXPECT_EQ(draw(), GLRenderContext::Drew);
        testing::internal::GetCapturedStdout();
        EXPECT_TRUE(pixels(*left) == leftBefore) << i;
        EXPECT_TRUE(pixels(*right) == rightBefore) << i;
    }
}

TEST_F(GLRenderContextTest, ObjectThatDrawsElsewhereComesBackByOpenEye) {
    const auto back = add("back", {-8, -8, 8, 8, 5});
    back->action = [this] {
        drawElsewhere();
        context->factory().context().makeCurrent();
        glUseProgram(0);
        glDisable(GL_CLIP_DISTANCE0);
        context->openEye(0);
        return true;
    };
    const auto behind = add("behind", {-16, -16, 16, 16, 0});
    behind->color = {0, 1, 0, 1};
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(at(*left, 0, 0), white);
    EXPECT_EQ(at(*left, 12, 0), green);
}

TEST_F(GLRenderContextTest, NextObjectIsDrawnWhereItBelongsAfterOneThatHasLeftAnotherFramebuffer) {
    const auto lost = add("lost", {});
    lost->action = [this]() -> bool {
        glBindFramebuffer(GL_FRAMEBUFFER, right->number());
        glViewport(0, 0, 3, 5);
        glDisable(GL_DEPTH_TEST);
        throw std::runtime_error("swallowed on the way");
    };
    add("near", {-8, -8, 8, 8, 5});
    add("far", {-16, -16, 16, 16, 0})->color = {0, 1, 0, 1};
    testing::internal::CaptureStdout();
    draw();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(at(*left, 0, 0), white);
    EXPECT_EQ(at(*left, 12, 0), green);
    EXPECT_EQ(at(*right, 0, 0), black);
}

TEST_F(GLRenderContextTest, ProgramsOfOpenGLThatAnObjectHasLeftAreNotThoseOfTheNext) {
    GLint program = -1;
    add("leaving", {})->action = [this] {
        context->factory().restoreState();
        const auto own = context->createProgram(passVertex, colorFragment, "test.vert", "test.frag",
                                                1U, 1U, {}, {});
        glUseProgram(static_cast<GLuint>(own->nativeHandle()));
        return false;
    };
    add("next", {})->action = [&] {
        glGetIntegerv(GL_CURRENT_PROGRAM, &program);
        return false;
    };
    draw();
    EXPECT_EQ(program, 0);
}

TEST_F(GLRenderContextTest, ErrorOfOpenGLThatAnObjectHasLeftIsPrintedWithItsNameAlone) {
    add("careless", {-8, -8, 8, 8, 5})->action = [] {
        glEnable(GL_NONE);
        glDisable(GL_NONE);
        return false;
    };
    add("next", {-8, -8, 8, 8, 5});
    testing::internal::CaptureStdout();
    EXPECT_EQ(draw(), GLRenderContext::Drew | GLRenderContext::Incomplete);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "GL: [careless] has left an error of OpenGL: GL_INVALID_ENUM\n");
    EXPECT_THAT(context->failures(), IsEmpty());
    EXPECT_EQ(at(*left, 0, 0), white);
}

TEST_F(GLRenderContextTest, ErrorOfOpenGLFromAheadOfTheFrameFailsNoObject) {
    add("quad", {});
    glEnable(GL_NONE);
    testing::internal::CaptureStdout();
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::StartsWith("GL: "));
}

TEST_F(GLRenderContextTest, ViewsOfAnOverlayThatFailsEndWithIt) {
    add("quad", {});
    draw();
    const auto expected = pixels(*left);
    for (const bool isNoted : {true, false}) {
        const auto overlay = add("overlay", {-1, -1, 1, 1, -50}, -1);
        overlay->action = [this, isNoted]() -> bool {
            takeOverlaysViews();
            uploadViews();
            context->setUniformBuffer(GLRenderContext::MultiViewBlock, {});
            if (isNoted) throw RenderException(0x501, "draw", "quad.cpp", 1);
            throw std::runtime_error("swallowed on the way");
        };
        testing::internal::CaptureStdout();
        draw();
        testing::internal::GetCapturedStdout();
        EXPECT_EQ(overlay->draws, 1);
        EXPECT_EQ(pixels(*left), expected);
        EXPECT_EQ(context->CurrentLayer, 2u);
        EXPECT_TRUE(context->getUniformBuffer(GLRenderContext::MultiViewBlock));
        quads.pop_back();
    }
}

TEST_F(GLRenderContextTest, ViewsThatAnObjectLeavesInTheBlockAreNotThoseOfTheNext) {
    add("quad", {});
    draw();
    const auto expected = pixels(*left);
    const auto overlay = add("overlay", {-1, -1, 1, 1, -50}, -1);
    overlay->action = [this]() -> bool {
        takeOverlaysViews();
        uploadViews();
        context->CurrentLayer = 2; // as a guard on the way out does
        throw std::runtime_error("swallowed on the way");
    };
    testing::internal::CaptureStdout();
    draw();
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(overlay->draws, 1);
    EXPECT_TRUE(pixels(*left) == expected);
}

TEST_F(GLRenderContextTest, BufferThatAnObjectLeavesForTheViewsIsNotThatOfTheNext) {
    add("quad", {});
    draw();
    const auto expected = pixels(*left);
    quads.clear();
    objects = {};
    const UniformBufferPtr own = context->createUniformBuffer(0);
    ASSERT_TRUE(own->resize(688)); // of one view
    for (const bool throws : {true, false}) {
        const auto careless = add("careless", {}, 0);
        careless->action = [&]() -> bool {
            context->setUniformBuffer(GLRenderContext::MultiViewBlock, own);
            if (throws) throw std::runtime_error("swallowed on the way");
            return true;
        };
        add("quad", {}, 1); // makes its polyp in this frame
        testing::internal::CaptureStdout();
        draw();
        testing::internal::GetCapturedStdout();
        EXPECT_TRUE(pixels(*left) == expected) << throws;
        quads.clear();
        objects = {};
    }
}

TEST_F(GLRenderContextTest, ReportedFailureOfOneEyeLeavesOutTheOthersWhateverTheResult) {
    setTwoEyes();
    const auto quad = add("quad", {});
    quad->action = [&] {
        context->notifyError(*quad, RenderException(0x501, "draw", "quad.cpp", 1));
        return true;
    };
    EXPECT_EQ(draw(), GLRenderContext::Failed);
    EXPECT_EQ(quad->draws, 1);
    EXPECT_EQ(context->failures().size(), 1u);
}

TEST_F(GLRenderContextTest, SortsWhatHasNoPlace) {
    const double infinite = std::numeric_limits<double>::infinity();
    add<Glass>("near", {-8, -8, 8, 8, 9});
    const auto nowhere = add<Glass>("nowhere", {-infinite, -8, infinite, 8, 5});
    add<Glass>("far", {-8, -8, 8, 8, 1});
    nowhere->action = [] { return true; };
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(context->numberOfDrawn(), 3u);
}

TEST_F(GLRenderContextTest, WithoutTargetsNothingIsDrawn) {
    const auto quad = add("quad", {});
    context->setTargets({});
    EXPECT_EQ(draw(), 0u);
    EXPECT_EQ(quad->draws, 0);
}

TEST_F(GLRenderContextTest, NamesWhatFailed) {
    const auto quad = add("quad", {});
    const RenderException exception(0x501, "draw", "quad.cpp", 1);
    quad->action = [&]() -> bool { throw exception; };
    testing::internal::CaptureStdout();
    EXPECT_EQ(draw(), GLRenderContext::Failed);
    testing::internal::GetCapturedStdout();
    ASSERT_THAT(failedObjects(), ElementsAre("quad"));
    EXPECT_EQ(context->failures()[0].report, exception.str());
    quad->action = {};
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_THAT(context->failures(), IsEmpty());
}

TEST_F(GLRenderContextTest, NamesWhatThrewFromItsOwnDrawingOfAllViews) {
    class Thrower : public Quad, public MultiviewRenderable {
    public:
        explicit Thrower(const std::string& objectName)
            : VObject(objectName, 0, {}), Quad(objectName) {}
        bool multiview_render(VRenderContext&, const LayeredMultiViews::ViewReferences&,
                              SubContext&) override {
            throw std::runtime_error("not today");
        }
    };
    add<Thrower>("thrower", {});
    testing::internal::CaptureStdout();
    EXPECT_EQ(draw(), GLRenderContext::Failed);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "EXCEPTION WHILE RENDERING [thrower]: not today\n");
    ASSERT_THAT(failedObjects(), ElementsAre("thrower"));
    EXPECT_EQ(context->failures()[0].report, "not today");
}

TEST_F(GLRenderContextTest, TellsTheTextThatWasThrown) {
    const auto thrower = add<Whole>("thrower", {});
    const auto report = [&] {
        testing::internal::CaptureStdout();
        EXPECT_EQ(draw(), GLRenderContext::Failed);
        testing::internal::GetCapturedStdout();
        return context->failures().at(0).report;
    };
    thrower->whole = []() -> bool { throw "a text"; };
    EXPECT_EQ(report(), "a text");
    thrower->whole = []() -> bool { throw 7; };
    EXPECT_EQ(report(), "an exception of an unknown kind");
}

TEST_F(GLRenderContextTest, InterruptionEndsTheFrameBehindTheObjectUnderWay) {
    for (int i = 0; i < 10000; ++i)
        add("quad" + std::to_string(i), {})->action = [] { return false; };
    int asked = 0;
    quads[2]->action = [&] {
        ++asked;
        interruptor->stops = true;
        return true;
    };
    EXPECT_TRUE(draw() & GLRenderContext::Interrupted);
    EXPECT_EQ(asked, 1);
    int draws = 0;
    for (const QuadPtr& quad : quads) draws += quad->draws;
    EXPECT_EQ(draws, 3);
    interruptor->stops = false;
    quads[2]->action = {};
    EXPECT_FALSE(draw() & GLRenderContext::Interrupted);
}

TEST_F(GLRenderContextTest, InterruptionEndsTheGatheringOfWhatIsTransparent) {
    class MovableGlass : public Movable, public RenderAble::TransparencyHandler {
    public:
        MovableGlass(const std::string& objectName, const BoxFunction& function)
            : VObject(objectName, 0, {}), Movable(objectName, function) {}
    };
    int asked = 0;
    for (int i = 0; i < 10; ++i) {
        add<MovableGlass>("glass" + std::to_string(i), {}, [&](const BoxPtr& box) {
            // Requests for volumes ahead of the traversal come here, too.
            if (asked >= 0 && ++asked == 3) interruptor->stops = true;
            return box;
        });
    }
    double seconds = 0;
    EXPECT_EQ(context->renderObjects(objects, seconds, INT_MIN, INT_MAX),
              GLRenderContext::Interrupted);
    EXPECT_EQ(asked, 3);
}

TEST_F(GLRenderContextTest, FirstViewIsCurrentAgainAfterAllWereDrawn) {
    class Asking : public Whole {
    public:
        Asking(const std::string& objectName, std::function<void()> then)
            : VObject(objectName, 0, {}), Whole(objectName), _then(std::move(then)) {}
        bool multiview_render(VRenderContext& theContext,
                              const LayeredMultiViews::ViewReferences& views,
                              SubContext& sub) override {
            const bool result = Whole::multiview_render(theContext, views, sub);
            _then();
            return result;
        }

    private:
        const std::function<void()> _then;
    };
    setTwoEyes();
    unsigned view = 7;
    GLint target = 0;
    add<Asking>("asking", {}, std::function<void()>([&] {
                    view = context->factory().machine().currentView;
                    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &target);
                }));
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(view, 0u);
    EXPECT_EQ(target, static_cast<GLint>(left->number()));
}

TEST_F(GLRenderContextTest, CancelledFrameDrawsNothing) {
    const auto quad = add("quad", {});
    interruptor->stops = true;
    EXPECT_EQ(draw(), GLRenderContext::Interrupted);
    EXPECT_EQ(quad->draws, 0);
}

TEST_F(GLRenderContextTest, TellsTheSecondsOfEachObjectIfAsked) {
    add("quad", {});
    draw();
    EXPECT_THAT(context->objectSeconds(), IsEmpty());
    context->collectObjectSeconds(true);
    draw();
    ASSERT_EQ(context->objectSeconds().size(), 1u);
    EXPECT_GT(context->objectSeconds().at("quad"), 0.0);
}

TEST_F(GLRenderContextTest, DrawsWhatHasDiedSinceNoMore) {
    add("quad", {});
    draw();
    quads.clear();
    EXPECT_EQ(draw(), 0u);
}

class PickingTest : public GLRenderContextTest {
protected:
    /// The names of the objects in the pixels of a rectangle, counted from the lower left corner of
    /// the picture, row by row; "" for none.
    std::vector<std::string> pick(int x, int y, int width, int height) {
        const auto list = objects.pick(*context, x, y, width, height);
        std::vector<std::string> names;
        if (!list->Buffer) return names;
        for (int row = 0; row < height; ++row) {
            for (int column = 0; column < width; ++column) {
                const auto place = static_cast<std::size_t>(row * list->AlignedWidth + column);
                const auto number = list->Buffer->elements()[place];
                const auto found = list->Ids.find(number);
                names.push_back(found == list->Ids.end() ? "" : found->second->Name());
            }
        }
        return names;
    }
    std::string pickOne(int x, int y) { return pick(x, y, 1, 1).at(0); }
    /// What a pick has to leave as it was.
    static std::map<std::string, int> allState() {
        auto state = currentState();
        const auto ask = [&](const std::string& name, GLenum key) {
            std::array<GLint, 4> values{};
            glGetIntegerv(key, values.data());
            for (std::size_t i = 0; i < values.size(); ++i) {
                state[name + ' ' + std::to_string(i)] = values[i];
            }
        };
        ask("viewport", GL_VIEWPORT);
        ask("scissor", GL_SCISSOR_BOX);
        ask("depth function", GL_DEPTH_FUNC);
        ask("depth mask", GL_DEPTH_WRITEMASK);
        ask("colour mask", GL_COLOR_WRITEMASK);
        ask("stencil function", GL_STENCIL_FUNC);
        ask("stencil reference", GL_STENCIL_REF);
        ask("stencil mask", GL_STENCIL_VALUE_MASK);
        ask("stencil failed", GL_STENCIL_FAIL);
        ask("stencil passed", GL_STENCIL_PASS_DEPTH_PASS);
        ask("back stencil function", GL_STENCIL_BACK_FUNC);
        ask("back stencil writes", GL_STENCIL_BACK_WRITEMASK);
        ask("pack alignment", GL_PACK_ALIGNMENT);
        ask("pack row length", GL_PACK_ROW_LENGTH);
        ask("scissor test", GL_SCISSOR_TEST);
        ask("stencil test", GL_STENCIL_TEST);
        ask("depth clamp", GL_DEPTH_CLAMP);
        return state;
    }
};

TEST_F(PickingTest, LeavesOpenGLAsItIsBetweenFrames) {
    add("quad", {-8, -8, 8, 8, 5});
    const auto thrower = add("thrower", {});
    thrower->action = []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); };
    testing::internal::CaptureStdout();
    draw();
    glBindFramebuffer(GL_FRAMEBUFFER, right->number());
    glViewport(1, 2, 3, 4);
    glScissor(5, 6, 7, 8);
    glDepthFunc(GL_GREATER);
    glDepthMask(GL_FALSE);
    glColorMask(GL_FALSE, GL_TRUE, GL_TRUE, GL_TRUE);
    glStencilFuncSeparate(GL_FRONT, GL_LESS, 3, 0x0F);
    glStencilFuncSeparate(GL_BACK, GL_GREATER, 4, 0xF0);
    glStencilOp(GL_INCR, GL_DECR, GL_INVERT);
    glStencilMask(0x3C);
    glEnable(GL_SCISSOR_TEST);
    glDisable(GL_DEPTH_TEST);
    const auto before = allState();
    EXPECT_EQ(pickOne(32, 32), "quad");
    EXPECT_EQ(allState(), before);
    testing::internal::GetCapturedStdout();
}

TEST_F(PickingTest, DrawsWithoutTheFlagsAttributesAndProgramOfTheWaveThatAsks) {
    const auto picked = add("picked", {-20, -20, 20, 20, 0});
    const auto asking = add("asking", {-8, -8, 8, 8, 10});
    draw();
    const PolypPtr polyp(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    polyp->insert(context->createProgram(passVertex, colorFragment, "test.vert", "test.frag", 1U,
                                         1U, {}, {}));
    polyp->insert(context->createCoordinates(
        chunk(std::vector<FloatPoint>{{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}}), "Coordinates"));
    polyp->insert(context->factory().createFlag("GL_DEPTH_CLAMP", true));
    polyp->insert(context->factory().createFlag("GL_DEPTH_TEST", false));
    polyp->insert(context->factory().createFlag("GL_CULL_FACE", true));
    const GL::Machine& machine = context->factory().machine();
    const VSceneObjects all = objects;
    bool wasAsked = false;
    polyp->insertTentacle(Polyp::PainterKey - 1, probe([&](const Polyp&) {
                              const auto before = allState();
                              const auto* const program = machine.program;
                              const auto attributes = machine.attributes;
                              EXPECT_EQ(attributes.size(), 1u);
                              picked->action = [&] {
                                  wasAsked = true;
                                  EXPECT_FALSE(glIsEnabled(GL_DEPTH_CLAMP));
                                  EXPECT_FALSE(glIsEnabled(GL_CULL_FACE));
                                  EXPECT_TRUE(glIsEnabled(GL_DEPTH_TEST));
                                  EXPECT_EQ(machine.program, nullptr);
                                  EXPECT_TRUE(machine.attributes.empty());
                                  return true;
                              };
                              const auto list = context->pickObjects(all, size / 2, size / 2, 1, 1,
                                                                     INT_MIN, INT_MAX);
                              picked->action = {};
                              EXPECT_EQ(list->Ids.size(), 1u);
                              EXPECT_EQ(list->Buffer->elements()[0], 1u);
                              // The program goes back when the next draw selects its own.
                              auto after = allState();
                              for (const auto& name : {"program", "vertex array"}) {
                                  after[name] = before.at(name);
                              }
                              EXPECT_EQ(after, before);
                              EXPECT_EQ(machine.program, program);
                              EXPECT_EQ(machine.attributes, attributes);
                              return true;
                          }));
    asking->action = [&] {
        polyp->wave(~0U);
        return true;
    };
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_TRUE(wasAsked);
    // The same in a wave between frames.
    wasAsked = false;
    asking->setVisible(context->pool, false);
    context->openEye(0);
    polyp->wave(~0U);
    EXPECT_TRUE(wasAsked);
    polyp->clear();
}

TEST_F(PickingTest, SeesTheWorldForAnOverlayThatAsks) {
    const auto quad = add("quad", {-8, -8, 8, 8, 0});
    const auto overlay = add("overlay", {});
    const VSceneObjects all = objects;
    std::uint32_t found = 0;
    overlay->action = [&] {
        takeOverlaysViews();
        uploadViews();
        found = context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX)
                    ->Buffer->elements()[0];
        EXPECT_EQ(context->CurrentLayer, 3u);
        context->CurrentLayer = 2;
        return false;
    };
    draw();
    EXPECT_EQ(found, 1u);
}

TEST_F(PickingTest, LeavesTheViewsOfAnOverlayThatAsks) {
    enum class Upload { None, ToTheBlockOfAll, ToABlockOfItsOwn };
    add("quad", {-8, -8, 8, 8, 0});
    draw();
    const auto expected = pixels(*left);
    const auto overlay = add("overlay", {}, -1);
    const VSceneObjects all = objects;
    const auto contents = [](const UniformBuffer& buffer) {
        std::vector<std::uint8_t> bytes(buffer.bytes());
        EXPECT_TRUE(buffer.read(0, bytes.data(), bytes.size()));
        return bytes;
    };
    constexpr const char* name = GLRenderContext::MultiViewBlock;
    for (const Upload upload : {Upload::None, Upload::ToTheBlockOfAll, Upload::ToABlockOfItsOwn}) {
        std::uint32_t found = 0;
        overlay->action = [&] {
            const bool hasOwn = upload == Upload::ToABlockOfItsOwn;
            const UniformBufferPtr block = context->getUniformBuffer(name);
            const UniformBufferPtr used = hasOwn ? context->createUniformBuffer(0) : block;
            takeOverlaysViews();
            context->setUniformBuffer(name, used);
            if (upload != Upload::None) context->updateMultiView(*used, context->getViews(3, 0));
            const auto before = contents(*block), usedBefore = contents(*used);
            found = context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX)
                        ->Buffer->elements()[0];
            EXPECT_EQ(context->CurrentLayer, 3u);
            EXPECT_EQ(context->getUniformBuffer(name), used);
            EXPECT_TRUE(contents(*block) == before);
            EXPECT_TRUE(contents(*used) == usedBefore);
            context->setUniformBuffer(name, block);
            context->CurrentLayer = 2;
            if (used == block) context->updateMultiView(*block, context->getViews(2, 0));
            return false;
        };
        draw();
        EXPECT_EQ(found, 1u);
        EXPECT_TRUE(pixels(*left) == expected) << static_cast<int>(upload);
    }
}

TEST_F(PickingTest, ViewsThatAnObjectHasForItselfAreThoseOfTheWorldAgainWhenItHasPicked) {
    add("quad", {-8, -8, 8, 8, 0});
    draw();
    const auto expected = pixels(*left);
    const auto overlay = add("overlay", {}, -1);
    const VSceneObjects all = objects;
    overlay->action = [&] { // looks into its views and uploads none
        takeOverlaysViews();
        context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX);
        context->CurrentLayer = 2;
        return false;
    };
    draw();
    EXPECT_TRUE(pixels(*left) == expected);
}

TEST_F(PickingTest, OverlaysThatArePickedLeaveTheViewsOfTheOneThatAsks) {
    const auto picked = add("picked", {});
    const auto asking = add("asking", {});
    const VSceneObjects all = objects;
    picked->action = [&] {
        takeOverlaysViews();
        context->CurrentLayer = 2;
        return false;
    };
    asking->action = [&] {
        context->elevateView();
        context->CurrentView(0, 0).cameraPosition = {1, 2, 3};
        context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX);
        EXPECT_EQ(context->CurrentLayer, 3u);
        EXPECT_TRUE((context->CurrentView(0, 0).cameraPosition == View::point{1, 2, 3}));
        context->CurrentLayer = 2;
        return false;
    };
    draw();
    EXPECT_EQ(picked->draws, 2);
}

TEST_F(PickingTest, LeavesOpenGLToAnObjectThatCallsItItself) {
    const auto picked = add("picked", {-8, -8, 8, 8, 0});
    const auto asking = add("asking", {}, 1);
    const VSceneObjects all = objects;
    const auto program =
        context->createProgram(passVertex, colorFragment, "test.vert", "test.frag", 1U, 1U, {}, {});
    const GL::VertexArrayId array = GL::createVertexArray();
    const bool hasMatrices = glContext->profile() == GL::Profile::Compatibility;
    const auto matrices = [&] {
        std::array<std::array<double, 16>, 2> both{};
        if (!hasMatrices) return both;
        glGetDoublev(GL_PROJECTION_MATRIX, both[0].data());
        glGetDoublev(GL_MODELVIEW_MATRIX, both[1].data());
        return both;
    };
    constexpr auto identity = GL::Machine::identity();
    picked->action = [&] {
        if (hasMatrices) context->factory().machine().drawState.setMatrices(identity, identity);
        return true;
    };
    std::uint32_t found = 0;
    asking->action = [&] {
        context->factory().restoreState();
        glUseProgram(static_cast<GLuint>(program->nativeHandle()));
        glBindVertexArray(array.number());
        glEnable(GL_CLIP_DISTANCE0);
        glPixelStorei(GL_PACK_ALIGNMENT, 2);
        glPixelStorei(GL_PACK_ROW_LENGTH, 7);
        if (hasMatrices) glTranslated(1, 2, 3);
        const auto before = allState();
        const auto matricesBefore = matrices();
        found = context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX)
                    ->Buffer->elements()[0];
        EXPECT_EQ(allState(), before);
        EXPECT_EQ(matrices(), matricesBefore);
        glPixelStorei(GL_PACK_ALIGNMENT, 4);
        glPixelStorei(GL_PACK_ROW_LENGTH, 0);
        if (hasMatrices) glTranslated(-1, -2, -3);
        return false;
    };
    const auto before = allState();
    for (int frame = 0; frame < 2; ++frame) {
        draw();
        EXPECT_EQ(found, 1u);
        EXPECT_EQ(allState().at("program"), before.at("program"));
        EXPECT_EQ(allState().at("vertex array"), before.at("vertex array"));
        EXPECT_EQ(allState().at("clip distance 0"), before.at("clip distance 0"));
    }
}

TEST_F(PickingTest, LeavesTheOpenEyeBetweenFrames) {
    setTwoEyes();
    const auto quad = add("quad", {-8, -8, 8, 8, 20});
    draw();
    const auto leftBefore = pixels(*left), rightBefore = pixels(*right);
    left->clear({0, 0, 0, 1});
    right->clear({0, 0, 0, 1});
    for (const unsigned eye : {0U, 1U}) {
        context->openEye(eye);
        EXPECT_EQ(context->pickObjects(objects, 32, 32, 1, 1, INT_MIN, INT_MAX)->Ids.size(), 1u);
        EXPECT_EQ(context->CurrentEye, eye);
        quad->environment_render(*context);
    }
    EXPECT_TRUE(pixels(*left) == leftBefore);
    EXPECT_TRUE(pixels(*right) == rightBefore);
    EXPECT_FALSE(rightBefore == leftBefore);
}

TEST_F(PickingTest, WaveThatAsksDrawsWithItsValuesOfAProgramThatWhatIsPickedUses) {
    setTwoEyes();
    const auto program =
        context->createProgram(passVertex, colorFragment, "test.vert", "test.frag", 1U, 1U, {}, {});
    const auto filled = [&](const std::vector<FloatPoint>& points) {
        const PolypPtr polyp(new Polyp(Keel::WeakPtr<Keel::Creature>()));
        polyp->insert(program);
        const auto vertices = context->createCoordinates(chunk(points), "Coordinates");
        polyp->insert(vertices);
        polyp->insert(vertices->createPainter(RenderNamespace::TriangleStrip));
        return polyp;
    };
    const auto value = context->createRenderParameter("color", {}, typeid(float), 4);
    const Skua::FixedArray<float, 4> redValue{1, 0, 0, 1}, greenValue{0, 1, 0, 1};
    for (const bool isParameter : {false, true}) {
        const PolypPtr all = filled({{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}});
        const PolypPtr upper = filled({{-1, 0, 0}, {1, 0, 0}, {-1, 1, 0}, {1, 1, 0}});
        const auto picked = add("picked", {}, -1), asking = add("asking", {});
        picked->action = [&] {
            (*program)["color"] = greenValue;
            upper->wave(~0U);
            return false;
        };
        asking->action = [&] {
            if (isParameter) {
                value->setValue(redValue.data(), typeid(float), 4);
                all->insert(value);
            } else {
                (*program)["color"] = redValue;
            }
            all->wave(~0U);
            return false;
        };
        const VSceneObjects scene = objects;
        std::size_t found = 0;
        all->insertTentacle(
            Polyp::PainterKey - 1, probe([&](const Polyp&) {
                found = context->pickObjects(scene, size / 2, size / 2 + 4, 1, 1, INT_MIN, INT_MAX)
                            ->Ids.size();
                return true;
            }));
        draw();
        EXPECT_EQ(found, 1u);
        for (const GLFramebuffer* picture : {left.get(), right.get()}) {
            EXPECT_EQ(at(*picture, 0, -8), red);
        }
        objects = {};
        quads.clear();
        all->clear();
        upper->clear();
    }
}

/// The whole picture, in the colour that the point "place" is relative to the origin.
class PlaceColor {
public:
    explicit PlaceColor(GLRenderContext& context)
        : program(context.createProgram(passVertex,
                                        "#version 330\nuniform vec3 place;\nout vec4 color;\n"
                                        "void main() { color = vec4(place, 1.0); }\n",
                                        "test.vert", "test.frag", 1U, 1U, {}, {})),
          polyp(new Polyp(Keel::WeakPtr<Keel::Creature>())) {
        polyp->insert(program);
        const auto vertices = context.createCoordinates(
            chunk<FloatPoint>({{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}}), "Coordinates");
        polyp->insert(vertices);
        polyp->insert(vertices->createPainter(RenderNamespace::TriangleStrip));
    }

    const RenderBasin::ProgramPtr program;
    const PolypPtr polyp;
};

TEST_F(PickingTest, WaveThatAsksDrawsWithItsOriginOfAProgramThatWhatIsPickedUses) {
    const PlaceColor colored(*context);
    const auto& program = colored.program;
    const auto& polyp = colored.polyp;
    (*program)["place"] = Skua::PhysicalSpace::point{1e9 + 1, 1, 0};
    const auto drawFrom = [&](const Skua::PhysicalSpace::vector& origin) {
        program->setAllProgramVariables(RenderBasin::FloatedOrigin(origin));
        polyp->wave(~0U);
        return false;
    };
    const auto picked = add("picked", {}, -1), asking = add("asking", {});
    picked->action = [&] { return drawFrom({1e9 + 1, 0, 0}); }; // green
    bool isPicking = false;
    std::size_t found = 0;
    asking->action = [&] {
        isPicking = true;
        return drawFrom({1e9, 1, 0}); // red
    };
    const VSceneObjects scene = objects;
    polyp->insertTentacle(
        Polyp::PainterKey - 1, probe([&](const Polyp&) {
            if (!std::exchange(isPicking, false)) return true;
            found = context->pickObjects(scene, 0, 0, 1, 1, INT_MIN, INT_MAX)->Ids.size();
            return true;
        }));
    draw();
    EXPECT_EQ(found, 1u);
    EXPECT_EQ(at(*left, 0, 0), red);
}

TEST_F(PickingTest, PointThatComesBackIsSentWithThePresentOrigin) {
    const PlaceColor colored(*context);
    const auto& program = colored.program;
    const auto& polyp = colored.polyp;
    const Skua::PhysicalSpace::point place{5, 1, 0};
    const auto drawing = add("drawing", {});
    drawing->action = [&] {
        (*program)["place"] = place;
        program->setAllProgramVariables(RenderBasin::FloatedOrigin({4, 1, 0})); // red
        polyp->wave(~0U);
        program->erase("place");
        program->setAllProgramVariables(RenderBasin::FloatedOrigin({5, 0, 0})); // green
        (*program)["place"] = place;
        polyp->wave(~0U);
        return false;
    };
    draw();
    EXPECT_EQ(at(*left, 0, 0), green);
}

TEST_F(PickingTest, PrintsTheErrorOfOpenGLOfWhoAsks) {
    add("quad", {-8, -8, 8, 8, 5});
    const auto asking = add("asking", {});
    const VSceneObjects all = objects;
    asking->action = [&] {
        glEnable(GL_NONE);
        context->pickObjects(all, 0, 0, 1, 1, INT_MIN, INT_MAX);
        return true;
    };
    testing::internal::CaptureStdout();
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "GL: [asking] has left an error of OpenGL: GL_INVALID_ENUM\n");
    testing::internal::CaptureStdout();
    glEnable(GL_NONE);
    asking->action = {};
    context->pickObjects(all, 0, 0, 1, 1, INT_MIN, INT_MAX);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "GL: ahead of a pick: GL_INVALID_ENUM (0x500)\n");
}

TEST_F(PickingTest, ErrorOfOpenGLThatAnObjectLeavesIsNotThatOfThePick) {
    add("careless", {-8, -8, 8, 8, 5})->action = [] {
        glEnable(GL_NONE);
        return false;
    };
    add("quad", {-8, -8, 8, 8, 5});
    testing::internal::CaptureStdout();
    const std::string found = pickOne(32, 32);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "GL: [careless] has left an error of OpenGL: GL_INVALID_ENUM\n");
    EXPECT_EQ(found, "quad");
}

TEST_F(PickingTest, PicksFromPicturesOfTheGreatestWidth) {
    const int greatest = glContext->limits().maxRenderbufferSize;
    const GLFramebuffer wide(*glContext, std::min(greatest, glContext->limits().maxViewportSize[0]),
                             1, 1);
    context->setTargets({&wide});
    context->setEyes({eyeFromAbove()});
    add("quad", {-40, -8, 40, 8, 0}); // a pixel is 64 units
    EXPECT_EQ(pick(0, 0, wide.width(), 1).at(static_cast<std::size_t>(wide.width()) / 2), "quad");
    try {
        pick(0, 0, greatest + 1, 1);
        ADD_FAILURE() << "no exception";
    } catch (const GLRenderException& exception) {
        EXPECT_THAT(exception.str(), testing::HasSubstr("got " + std::to_string(greatest + 1)));
    }
    context->setTargets({left.get()});
}

TEST_F(PickingTest, FindsWhatIsInFront) {
    add("near", {-8, -8, 8, 8, 5});
    add("far", {-16, -16, 16, 16, 0});
    EXPECT_EQ(pickOne(32, 32), "near");
    EXPECT_EQ(pickOne(17, 32), "far");
    EXPECT_EQ(pickOne(15, 32), "");
    EXPECT_THAT(pick(15, 32, 3, 1), ElementsAre("", "far", "far"));
}

TEST_F(PickingTest, LooksThroughWhatIsDiscarded) {
    add("frame", {-8, -8, 8, 8, 5})->holePixels = 8;
    add("behind", {-16, -16, 16, 16, 0});
    EXPECT_EQ(pickOne(32, 32), "behind");
    EXPECT_EQ(pickOne(26, 32), "frame");
}

TEST_F(PickingTest, PassesOverWhatIsHiddenAndFindsWhatIsTransparent) {
    add("hidden", {-8, -8, 8, 8, 9})->setVisible(context->pool, false);
    add<Glass>("glass", {-8, -8, 8, 8, 5});
    add("behind", {-16, -16, 16, 16, 0});
    EXPECT_EQ(pickOne(32, 32), "glass");
}

TEST_F(PickingTest, NumbersWhatIsTransparentBehindTheOthers) {
    const auto glass = add<Glass>("glass", {-8, -8, 8, 8, 5});
    const auto opaque = add("opaque", {-16, -16, 16, 16, 0});
    draw();
    const auto list = context->pickObjects(objects, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX);
    EXPECT_EQ(list->Ids.at(1), VObjectPtr(opaque));
    EXPECT_EQ(list->Ids.at(2), VObjectPtr(glass));
    EXPECT_EQ(list->Buffer->elements()[0], 2u);
}

TEST_F(PickingTest, NumbersWhatFails) {
    const auto broken = add("broken", {});
    broken->action = []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); };
    draw();
    const auto list = context->pickObjects(objects, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX);
    EXPECT_EQ(list->Ids.at(1), VObjectPtr(broken));
    EXPECT_EQ(list->Buffer->elements()[0], 0u);
}

TEST_F(PickingTest, FailureThatIsToldOnceAndToAPickIsAmongThoseOfTheNextFrame) {
    const auto broken = add("broken", {});
    bool isTold = true;
    broken->action = [&]() -> bool {
        if (!std::exchange(isTold, true)) throw RenderException(0x501, "draw", "quad.cpp", 1);
        return false;
    };
    EXPECT_EQ(draw(), VRenderContext::RenderResult{GLRenderContext::Incomplete});
    isTold = false;
    context->pickObjects(objects, 0, 0, 1, 1, INT_MIN, INT_MAX);
    EXPECT_THAT(context->failures(), IsEmpty());
    EXPECT_EQ(draw(), GLRenderContext::Incomplete | GLRenderContext::Failed);
    EXPECT_THAT(failedObjects(), testing::ElementsAre("broken"));
    draw();
    EXPECT_THAT(context->failures(), IsEmpty());
}

TEST_F(PickingTest, FailureOfEachFrameIsAmongThemOnce) {
    const auto broken = add("broken", {});
    broken->action = []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); };
    for (int frame = 0; frame < 2; ++frame) {
        draw();
        EXPECT_EQ(context->failures().size(), 1U);
        context->pickObjects(objects, 0, 0, 1, 1, INT_MIN, INT_MAX);
        EXPECT_EQ(context->failures().size(), 1U);
    }
}

TEST_F(PickingTest, FailureThatAPickWithinAFrameMeetsIsOneOfThatFrame) {
    const auto asking = add("asking", {-8, -8, 8, 8, 10});
    const auto broken = add("broken", {});
    bool isTold = false;
    broken->action = [&]() -> bool {
        if (!std::exchange(isTold, true)) throw RenderException(0x501, "draw", "quad.cpp", 1);
        return false;
    };
    asking->action = [&] {
        context->pickObjects(objects, 0, 0, 1, 1, INT_MIN, INT_MAX);
        return true;
    };
    draw();
    EXPECT_THAT(failedObjects(), testing::ElementsAre("broken"));
}

TEST_F(PickingTest, KeepsThePrecisionOfTheFrameAndItsTime) {
    const auto quad = add("quad", {});
    context->precision = Keel::StrongPtr<VRenderPrecision>(new Precision);
    draw();
    const double seconds = context->precision->lastFrameTime;
    EXPECT_GT(seconds, 0.0);
    quad->action = [&] {
        EXPECT_TRUE(context->precision);
        EXPECT_EQ(context->precision->lastFrameTime, 0.0) << "nobody gives out how long it takes";
        return true;
    };
    context->pickObjects(objects, 0, 0, 1, 1, INT_MIN, INT_MAX);
    EXPECT_EQ(quad->draws, 2);
    EXPECT_EQ(context->precision->lastFrameTime, seconds);
}

TEST_F(PickingTest, MayBeAskedForWhileAnObjectIsDrawn) {
    setTwoEyes();
    add("ground", {-20, -20, 20, 20, 0})->color = {0, 1, 0, 1};
    const auto asking = add("asking", {-8, -8, 8, 8, 10});
    asking->color = {1, 0, 0, 1};
    draw();
    const auto leftBefore = pixels(*left), rightBefore = pixels(*right);
    EXPECT_NE(leftBefore, rightBefore);
    std::vector<std::string> found;
    const VSceneObjects all = objects;
    asking->action = [&] {
        const auto list = context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX);
        for (const auto& [number, object] : list->Ids) found.push_back(object->Name());
        return true;
    };
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(pixels(*left), leftBefore);
    EXPECT_EQ(pixels(*right), rightBefore);
    EXPECT_THAT(found, ElementsAre("ground", "ground")) << "once for each eye";
}

TEST_F(PickingTest, LeavesAllViewsOpenForWhoAsksForIt) {
    setTwoEyes();
    add("ground", {-20, -20, 20, 20, 0})->color = {0, 1, 0, 1};
    const auto asking = add<Whole>("asking", {-8, -8, 8, 8, 10});
    asking->color = {1, 0, 0, 1};
    draw();
    const auto leftBefore = pixels(*left), rightBefore = pixels(*right);
    std::size_t found = 0;
    const VSceneObjects all = objects;
    asking->whole = [&] {
        found = context->pickObjects(all, size / 2, size / 2, 1, 1, INT_MIN, INT_MAX)->Ids.size();
        return true;
    };
    EXPECT_EQ(draw(), GLRenderContext::Drew);
    EXPECT_EQ(found, 1u);
    EXPECT_EQ(pixels(*left), leftBefore);
    EXPECT_EQ(pixels(*right), rightBefore);
}

TEST_F(PickingTest, TellsThePixelsOfAPartOfAPicture) {
    const auto quad = add("quad", {-8, -8, 8, 8});
    // The upper right quarter of a picture twice the size, in which a unit has two pixels.
    context->showPart(GLRenderContext::Part{size, size, 2 * size, 2 * size});
    setOneEye();
    draw();
    EXPECT_EQ(at(*left, -size / 2, -size / 2), white);
    EXPECT_EQ(at(*left, 16 - size / 2, 0), black);
    const auto number = [&](int x, int y) {
        return context->pickObjects(objects, x, y, 1, 1, INT_MIN, INT_MAX)->Buffer->elements()[0];
    };
    EXPECT_EQ(number(-1, 0), 0u) << "in the picture, but not in this part of it";
    EXPECT_EQ(number(0, -1), 0u);
    EXPECT_EQ(number(0, 0), 1u);
    EXPECT_EQ(number(15, 15), 1u);
    EXPECT_EQ(number(16, 15), 0u);
    EXPECT_EQ(number(15, 16), 0u);
}

TEST_F(PickingTest, FarOutsideOfThePictureIsNothing) {
    add("quad", {});
    draw();
    constexpr int most = std::numeric_limits<int>::max(), least = std::numeric_limits<int>::min();
    for (const auto& [x, y] :
         {std::pair(least, 0), {most - 10, 0}, {0, least}, {least, most - 10}}) {
        const auto list = context->pickObjects(objects, x, y, 5, 5, INT_MIN, INT_MAX);
        EXPECT_THAT(list->Buffer->elements(), testing::Each(0u));
    }
}

TEST_F(PickingTest, OutsideOfThePictureIsNothing) {
    add("all", {-32, -32, 32, 32, 0});
    EXPECT_THAT(pick(-1, 5, 2, 1), ElementsAre("", "all"));
    EXPECT_THAT(pick(63, 5, 2, 1), ElementsAre("all", ""));
    EXPECT_THAT(pick(-1, -1, 2, 2), ElementsAre("", "", "", "all"));
    EXPECT_THAT(pick(63, 63, 2, 2), ElementsAre("all", "", "", ""));
    EXPECT_EQ(pickOne(1000, 1000), "");
}

TEST_F(PickingTest, EmptyRectangleHasNoBuffer) {
    add("all", {-32, -32, 32, 32, 0});
    EXPECT_FALSE(objects.pick(*context, 0, 0, 0, 5)->Buffer);
    EXPECT_FALSE(objects.pick(*context, 0, 0, 5, -1)->Buffer);
}

TEST_F(PickingTest, FramesAreWhatTheyWereBefore) {
    add("quad", {-8, -8, 8, 8, 5})->color = {1, 0, 0, 1};
    const auto thrower = add("thrower", {});
    thrower->action = []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); };
    testing::internal::CaptureStdout();
    draw();
    const auto before = pixels(*left);
    EXPECT_EQ(pickOne(32, 32), "quad");
    EXPECT_THAT(failedObjects(), ElementsAre("thrower"));
    EXPECT_EQ(context->numberOfDrawn(), 1u);
    EXPECT_EQ(pixels(*left), before);
    draw();
    EXPECT_EQ(pixels(*left), before);
    testing::internal::GetCapturedStdout();
}

TEST_F(PickingTest, OfTwoEyesTheFirstPicks) {
    setTwoEyes();
    add("quad", {-8, -8, 8, 8, 0});
    const auto list = objects.pick(*context, 32, 32, 1, 1);
    EXPECT_EQ(list->Ids.size(), 1u);
    EXPECT_EQ(quads[0]->draws, 1);
}

TEST_F(PickingTest, AgreesWithTheGeometryInRandomScenes) {
    constexpr int objectsInAScene = 8;
    constexpr int scenes = 1000;
    std::mt19937 random(7);
    const auto number = [&](int from, int to) {
        return std::uniform_int_distribution<int>(from, to)(random);
    };
    for (int i = 0; i < objectsInAScene; ++i) add("quad" + std::to_string(i), {});
    for (int scene = 0; scene < scenes; ++scene) {
        for (const QuadPtr& quad : quads) {
            const double x = number(-36, 30), y = number(-36, 30);
            quad->rectangle = {x, y, x + number(1, 30), y + number(1, 30),
                               static_cast<double>(number(0, 5))};
        }
        const int x = number(0, 56), y = number(0, 56);
        constexpr int pickedPixels = 6;
        std::vector<std::string> expected;
        for (int row = y - size / 2; row < y - size / 2 + pickedPixels; ++row) {
            for (int column = x - size / 2; column < x - size / 2 + pickedPixels; ++column) {
                std::string name;
                double highest = -1;
                for (const QuadPtr& quad : quads) {
                    const Rectangle& r = quad->rectangle;
                    if (column + 0.5 < r.left || column + 0.5 > r.right) continue;
                    if (row + 0.5 < r.bottom || row + 0.5 > r.top) continue;
                    if (r.height < highest) continue;
                    highest = r.height;
                    name = quad->Name();
                }
                expected.push_back(name);
            }
        }
        ASSERT_EQ(pick(x, y, pickedPixels, pickedPixels), expected) << "scene " << scene;
    }
}

/// Both kinds of depth buffers.
class DepthsTest : public GLRenderContextTest,
                   public testing::WithParamInterface<GLContext::Depths> {
protected:
    DepthsTest() { depths = GetParam(); }

    /// Near and far planes that are far apart, above the quads.
    void lookWith(double near, double far) {
        GLRenderContext::Eye eye = eyeFromAbove();
        eye.near = near;
        eye.far = far;
        context->setEyes({eye});
    }
};

INSTANTIATE_TEST_SUITE_P(Both, DepthsTest,
                         testing::Values(GLContext::Depths::Usual, GLContext::Depths::Reversed),
                         [](const auto& row) {
                             const bool isReversed = row.param == GLContext::Depths::Reversed;
                             return isReversed ? "Reversed" : "Usual";
                         });

TEST_P(DepthsTest, NearestIsOnTopAndOfEqualOnesTheLast) {
    add("near", {-8, -8, 8, 8, 5}, 0)->color = {1, 0, 0, 1};
    add("far", {-16, -16, 16, 16, 0}, 1)->color = {0, 1, 0, 1};
    add("as far", {10, -16, 16, 16, 0}, 2)->color = {1, 0, 0, 1};
    draw();
    EXPECT_EQ(at(*left, 0, 0), red);
    EXPECT_EQ(at(*left, -12, 0), green);
    EXPECT_EQ(at(*left, 12, 0), red);
    EXPECT_EQ(at(*left, -20, 0), black);
}

TEST_P(DepthsTest, FrustumEndsAtItsPlanes) {
    // The eye is 100 above the ground.
    lookWith(50.0, 99.0);
    add("beyond", {-32, -32, 0, 32, 0})->hasBounds = false;
    add("ahead of the near plane", {0, -32, 32, 0, 60})->hasBounds = false;
    add("within", {0, 0, 32, 32, 20})->hasBounds = false;
    draw();
    EXPECT_EQ(at(*left, -8, 8), black);
    EXPECT_EQ(at(*left, 8, -8), black);
    EXPECT_EQ(at(*left, 8, 8), white);
}

TEST_P(DepthsTest, ReadBackIsFromZeroAtTheNearPlaneToOneAtTheFarOne) {
    add("quad", {-8, -8, 8, 8, 20});
    for (const auto& [near, far, expected] :
         {std::tuple{80.0, 100.0, 0.0}, {50.0, 80.0, 1.0}, {40.0, 160.0, 1.0 / 3.0}}) {
        lookWith(near, far);
        left->clear({0, 0, 0, 1});
        draw();
        float read[2] = {-1.0F, -1.0F};
        const auto pixelsOfLeft = left->pixelBuffer();
        EXPECT_EQ(pixelsOfLeft->readPixelDepth(size / 2, size / 2, &read[0], 1, 1, 0), 1);
        EXPECT_EQ(pixelsOfLeft->readPixelDepth(1, 1, &read[1], 1, 1, 0), 1);
        EXPECT_NEAR(read[0], expected, 1e-5) << near;
        EXPECT_EQ(read[1], 1.0F);
    }
}

TEST_P(DepthsTest, ReadBackOfSeveralRowsLeavesWhatIsBetweenThem) {
    add("quad", {-8, -8, 8, 8, 20});
    draw();
    std::vector<float> read(6, -1.0F);
    EXPECT_EQ(left->pixelBuffer()->readPixelDepth(1, 1, read.data(), 2, 2, 3), 4);
    EXPECT_THAT(read, ElementsAre(1.0F, 1.0F, -1.0F, 1.0F, 1.0F, -1.0F));
}

TEST_P(DepthsTest, SurfacesAreToldApartFarFromANearPlaneOnlyByReversedDepths) {
    GLRenderContext::Eye eye = eyeFromAbove();
    eye.orthographic = false;
    eye.near = 1e-4;
    eye.far = 1e6;
    context->setEyes({eye});
    add("near", {-8, -8, 8, 8, 0.01}, 0)->color = {1, 0, 0, 1};
    add("far", {-16, -16, 16, 16, 0}, 1)->color = {0, 1, 0, 1};
    draw();
    EXPECT_EQ(at(*left, 0, 0) == red, GetParam() == GLContext::Depths::Reversed);
}

TEST_P(DepthsTest, PicksWhatIsOnTopAndTellsWhereThatIs) {
    const auto near = add("near", {-8, -8, 8, 8, 5}), far = add("far", {-16, -16, 16, 16, 0});
    draw();
    const auto under = [&](int x) {
        return context->pickObjects(objects, x, 32, 1, 1, INT_MIN, INT_MAX);
    };
    EXPECT_EQ(under(32)->Ids.at(under(32)->Buffer->elements()[0]), near);
    EXPECT_EQ(under(44)->Ids.at(under(44)->Buffer->elements()[0]), far);
    const auto place = [&](int x) { return context->pickPlace(objects, x, 32, INT_MIN, INT_MAX); };
    ASSERT_TRUE(place(44));
    EXPECT_NEAR(place(44)->x, 12.5, 1e-4);
    EXPECT_NEAR(place(44)->y, 0.5, 1e-4);
    EXPECT_NEAR(place(44)->z, 0.0, 1e-4);
    ASSERT_TRUE(place(32));
    EXPECT_NEAR(place(32)->z, 5.0, 1e-4);
    EXPECT_FALSE(place(60));
    EXPECT_FALSE(place(-1));
    EXPECT_FALSE(place(size));
    context->setTargets({});
    EXPECT_FALSE(place(32));
}

TEST_P(DepthsTest, ViewsOfAnOverlayHaveThemAsWell) {
    add("quad", {-16, -16, 16, 16, 0});
    const auto overlay = add("overlay", {-1, -1, 1, 1, -50}, -1);
    overlay->action = [this] {
        takeOverlaysViews();
        uploadViews();
        const auto block = context->getUniformBuffer(GLRenderContext::MultiViewBlock);
        std::array<float, 16> projection{};
        block->read(0, projection.data(), sizeof projection);
        const bool isReversed = GetParam() == GLContext::Depths::Reversed;
        // From -1 to 1 along -z, or from 1 to 0.
        EXPECT_FLOAT_EQ(projection[10], isReversed ? 0.5F : -1.0F);
        EXPECT_FLOAT_EQ(projection[14], isReversed ? 0.5F : 0.0F);
        context->CurrentLayer = 2;
        return true;
    };
    draw();
    EXPECT_EQ(overlay->draws, 1);
}

TEST_P(DepthsTest, OnePassForAllEyesGivesTheSame) {
    if (!GLLayeredFramebuffer::isPossible(*glContext, GL::Pass::Layers, 2)) {
        GTEST_SKIP() << "the driver can't draw several views in one pass";
    }
    add("near", {-8, -8, 8, 8, 5})->color = {1, 0, 0, 1};
    add("far", {-16, -16, 16, 16, 0})->color = {0, 1, 0, 1};
    setTwoEyes();
    draw();
    const auto leftBefore = pixels(*left), rightBefore = pixels(*right);
    const GLLayeredFramebuffer layers(*glContext, size, size, 1, 2, GL::Pass::Layers);
    layers.view(0).clear({0, 0, 0, 1});
    layers.view(1).clear({0, 0, 0, 1});
    context->setTargets(layers);
    double seconds = 0;
    objects.render(*context, seconds, INT_MIN, INT_MAX);
    EXPECT_TRUE(pixels(layers.view(0)) == leftBefore);
    EXPECT_TRUE(pixels(layers.view(1)) == rightBefore);
    context->setTargets({left.get()});
}

} // namespace
