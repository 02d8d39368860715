#include <Polypia/VRenderContext.hpp>

#include "RecordingContext.hpp"
#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <Polypia/Seagrass.hpp>

#include <keel/Environment.hpp>
#include <sorrel/VCreatorBase.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstddef>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

using Context = Mirk::VRenderContext;
using Jitter = Context::Jitter;
using Mirk::View;
using testing::ElementsAre;
using Box = Skua::BoundingBox;
using Point = View::point;

namespace {

constexpr double Small = 1e-12;

class Interruptor : public Mirk::VRenderInterruptor {
public:
    void interrupt(const Mirk::ValuePoolPtr&) override { stops = true; }
    bool isInterrupted(const Mirk::ValuePoolPtr& pool) override {
        askedWith = pool;
        return stops;
    }
    void resume(const Mirk::ValuePoolPtr&) override { stops = false; }

    bool stops = false;
    Mirk::ValuePoolPtr askedWith;
};
using InterruptorPtr = Keel::StrongPtr<Interruptor, Mirk::VRenderInterruptor>;

/// A polyp of a size.
class Sized : public Mirk::Polyp {
public:
    explicit Sized(std::size_t size) : Polyp(Keel::WeakPtr<Keel::Creature>()), bytes(size) {}
    std::size_t memsize() const override { return bytes; }
    std::size_t bytes;
};
using SizedPtr = Keel::StrongPtr<Sized, Keel::Cacheable>;

class VRenderContextTest : public testing::Test {
protected:
    const View& view(unsigned eye = 0) const { return context.CurrentView(eye, 0); }
    /// The projection of 60 degrees, near 1, far 100.
    void setPerspective(double degrees, double near, double far, const Jitter& jitter = {}) {
        context.CurrentView(0, 0).camera.fieldOfView = degrees;
        context.setTileAwarePerspective(degrees, near, far, false, 0, jitter, 0);
    }
    void setPixels(int width, int height) { context.viewport = {0, 0, width, height}; }
    void setTile(int width, int height, int x, int y, int imageWidth, int imageHeight) {
        context.tileWidth = width;
        context.tileHeight = height;
        context.tileX = x;
        context.tileY = y;
        context.imageWidth = imageWidth;
        context.imageHeight = imageHeight;
    }

    const Keel::StrongPtr<Mirk::Seagrass> seagrass = Keel::make<Mirk::Seagrass>(1ULL << 30, "test");
    const InterruptorPtr interruptor{new Interruptor};
    RecordingContext context{seagrass, interruptor, {}, 3, 100};
};

Box boxAround(const Point& centre, double reach) {
    const View::vector d{reach, reach, reach};
    return {centre - d, centre + d};
}

TEST_F(VRenderContextTest, StartsAsItIsTold) {
    const RecordingContext plain({}, {}, {}, 3, 77);
    EXPECT_FALSE(plain.precision);
    EXPECT_EQ(plain.frameObjects.NumberOfObjects(), 0u);
    EXPECT_FALSE(plain.visibleVolume);
    EXPECT_FALSE(plain.touchableVolume);
    EXPECT_EQ(plain.enableAsynchronLoading, Mirk::DefaultEnableAsynchronLoading);
    EXPECT_FALSE(plain.ShaderFileOverrides);
    for (const int size : {plain.imageWidth, plain.imageHeight, plain.tileWidth, plain.tileHeight,
                           plain.tileX, plain.tileY}) {
        EXPECT_EQ(size, 0);
    }
    EXPECT_EQ(plain.zoom, Mirk::PixelZoom(1.0, 0.0, 0.0));
    EXPECT_EQ(plain.firstBackendNumber, 0);
    EXPECT_EQ(plain.secondBackendNumber, 1);
    EXPECT_EQ(plain.numberOfLayers, 3u);
    EXPECT_EQ(plain.backendLimit, 256u);
    EXPECT_EQ(plain.renderAllowance, 77);
    EXPECT_TRUE(plain.addendum);
    EXPECT_EQ(plain.timeScale, 1.0);
    EXPECT_EQ(plain.EyeViews.size(), 1u);
    EXPECT_EQ(plain.CurrentEye, 0u);
}

TEST(VRenderContextLayout, OperationsStandInTheirOrderBehindTheDestructors) {
    EXPECT_EQ(
        (std::vector{virtualSlot(&Context::getViewport), virtualSlot(&Context::openEyes),
                     virtualSlot(&Context::eyeOperation), virtualSlot(&Context::openEye),
                     virtualSlot(&Context::isCancelled), virtualSlot(&Context::renderObjects),
                     virtualSlot(&Context::notifyError), virtualSlot(&Context::contextOperation),
                     virtualSlot(&Context::pickObjects), virtualSlot(&Context::getFont),
                     virtualSlot(&Context::createTextTentacle),
                     virtualSlot(&Context::makeFloatedOrigin)}),
        slotsFrom(2, 12));
}

TEST(VRenderContextLayout, FieldsStandInTheirOrder) {
    const RecordingContext c;
    EXPECT_TRUE(standInOrder(
        c.precision, c.frameObjects, c.visibleVolume, c.touchableVolume, c.interruptor,
        c.enableAsynchronLoading, c.ShaderFileOverrides, c.imageWidth, c.imageHeight, c.tileWidth,
        c.tileHeight, c.tileX, c.tileY, c.zoom, c.firstBackendNumber, c.secondBackendNumber,
        c.numberOfLayers, c.backendTexts, c.startTime, c.backendLimit, c.renderAllowance));
    const Jitter j;
    EXPECT_TRUE(
        standInOrder(j.pixelX, j.pixelY, j.eyeX, j.eyeY, j.offsetX, j.offsetY, j.focus, j.spare));
    EXPECT_EQ(sizeof(Jitter), 8 * sizeof(double));
}

TEST_F(VRenderContextTest, TakesTheTimeWhenItIsMade) {
    const auto before = std::chrono::system_clock::now();
    const RecordingContext made;
    const auto after = std::chrono::system_clock::now();
    EXPECT_LE(before, made.startTime);
    EXPECT_LE(made.startTime, after);
    EXPECT_LE(before, made.time());
    EXPECT_LE(made.time(), after);
}

TEST_F(VRenderContextTest, AsynchronousLoadingIsOnByDefaultAndDocumented) {
    // In this process the variable isn't set; what its values do is shown by the death tests.
    EXPECT_TRUE(Mirk::DefaultEnableAsynchronLoading);
    const auto variables = Keel::listEnvironmentVariables();
    const auto found =
        std::find_if(variables.begin(), variables.end(), [](const Keel::EnvironmentVariable& v) {
            return v.name == "ZELK_NO_ASYNC_IO";
        });
    ASSERT_NE(found, variables.end());
    EXPECT_EQ(found->description, "Disable asynchroneous I/O for rendering.");
}

/// The default as another process has it that is started with a value of the variable: the variable
/// is read while the library is loaded.
void exitWithDefault() {
    std::exit(Mirk::DefaultEnableAsynchronLoading ? 1 : 0);
}

class AsynchronousLoadingDeathTest : public testing::Test {
protected:
    // Starts the process anew, instead of a copy of this one in which the library is loaded.
    void SetUp() override { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
    void TearDown() override {
        unsetenv("ZELK_NO_ASYNC_IO");
        testing::GTEST_FLAG(death_test_style) = "fast";
    }
};

TEST_F(AsynchronousLoadingDeathTest, IsOffForTheWordTrueAlone) {
    const auto is = [](int expected) { return testing::ExitedWithCode(expected); };
    setenv("ZELK_NO_ASYNC_IO", "true", 1);
    EXPECT_EXIT(exitWithDefault(), is(0), "");
}

TEST_F(AsynchronousLoadingDeathTest, StaysOnForAnythingElse) {
    const auto is = [](int expected) { return testing::ExitedWithCode(expected); };
    setenv("ZELK_NO_ASYNC_IO", "TRUE", 1);
    EXPECT_EXIT(exitWithDefault(), is(1), "");
    setenv("ZELK_NO_ASYNC_IO", "1", 1);
    EXPECT_EXIT(exitWithDefault(), is(1), "");
    setenv("ZELK_NO_ASYNC_IO", "true ", 1);
    EXPECT_EXIT(exitWithDefault(), is(1), "");
}

TEST_F(VRenderContextTest, CategoryOfWhatIsDrawnIsDescribed) {
    const auto& display = Mirk::VCreatorCategory::getProperties("Display");
    EXPECT_EQ(display.shortKey, "D");
    EXPECT_EQ(display.help,
              "\nDisplay objects render geometry in the 3D viewer.\nIf you don't see anything "
              "immediately after creating a display object,\ntry pushing the space bar to center "
              "the camera around the geometry.\n");
}

TEST_F(VRenderContextTest, OpeningEyesGoesToTheFirstAndOpeningOneToThat) {
    context.openEye(3);
    EXPECT_EQ(context.CurrentEye, 3u);
    context.openEyes({});
    EXPECT_EQ(context.CurrentEye, 0u);
}

TEST_F(VRenderContextTest, IsCancelledWhenTheInterruptorSaysSoForThePool) {
    EXPECT_FALSE(context.isCancelled());
    EXPECT_EQ(interruptor->askedWith, context.pool);
    interruptor->stops = true;
    EXPECT_TRUE(context.isCancelled());
}

TEST_F(VRenderContextTest, IsNotCancelledWithoutALiveInterruptor) {
    RecordingContext without;
    EXPECT_FALSE(without.isCancelled());
    InterruptorPtr dying(new Interruptor);
    dying->stops = true;
    without.interruptor = dying;
    EXPECT_TRUE(without.isCancelled());
    dying = {};
    EXPECT_FALSE(without.isCancelled());
}

TEST_F(VRenderContextTest, AllowanceIsSpentByWhatIsAllowed) {
    const SizedPtr polyp(new Sized(60));
    EXPECT_TRUE(context.allowRendering(*polyp));
    EXPECT_EQ(context.renderAllowance, 40);
    EXPECT_FALSE(context.allowRendering(*polyp));
    EXPECT_EQ(context.renderAllowance, 40);
    polyp->bytes = 40;
    EXPECT_TRUE(context.allowRendering(*polyp));
    EXPECT_EQ(context.renderAllowance, 0);
    polyp->bytes = 0;
    EXPECT_TRUE(context.allowRendering(*polyp));
}

TEST_F(VRenderContextTest, NegativeAllowanceAllowsNothing) {
    context.renderAllowance = -1;
    EXPECT_FALSE(context.allowRendering(*SizedPtr(new Sized(0))));
    EXPECT_EQ(context.renderAllowance, -1);
}

TEST_F(VRenderContextTest, CancelledContextAllowsNothingAndSpendsNothing) {
    interruptor->stops = true;
    EXPECT_FALSE(context.allowRendering(*SizedPtr(new Sized(10))));
    EXPECT_EQ(context.renderAllowance, 100);
}

TEST_F(VRenderContextTest, RefusalsAreCountedButThoseOfACancelledFrame) {
    const auto before = context.numberOfRefusals();
    const SizedPtr polyp(new Sized(60));
    EXPECT_TRUE(context.allowRendering(*polyp));
    EXPECT_EQ(context.numberOfRefusals(), before);
    EXPECT_FALSE(context.allowRendering(*polyp));
    EXPECT_EQ(context.numberOfRefusals(), before + 1);
    interruptor->stops = true;
    EXPECT_FALSE(context.allowRendering(*polyp));
    EXPECT_EQ(context.numberOfRefusals(), before + 1);
}

TEST_F(VRenderContextTest, AspectRatioIsThatOfTheViewport) {
    setPixels(300, 200);
    EXPECT_EQ(context.getViewportAspectRatio(2), 1.5);
    EXPECT_EQ(context.askedViewport, 2u);
    EXPECT_EQ(context.getAspectRatio(), 1.5);
    EXPECT_EQ(context.askedViewport, 0u);
    context.viewport = {100, 50, 200, 100};
    EXPECT_EQ(context.getViewportAspectRatio(0), 2.0);
}

TEST_F(VRenderContextTest, AspectRatioWithoutHeightIsOne) {
    setPixels(300, 0);
    EXPECT_EQ(context.getViewportAspectRatio(0), 1.0);
    setPixels(300, -5);
    EXPECT_EQ(context.getViewportAspectRatio(0), 1.0);
}

TEST_F(VRenderContextTest, AspectRatioOfAnImageIsThatOfTheWhole) {
    context.imageWidth = 3;
    context.imageHeight = 2;
    EXPECT_EQ(context.getAspectRatio(), 1.5);
    context.imageHeight = 0;
    EXPECT_EQ(context.getAspectRatio(), 1.0);
}

TEST_F(VRenderContextTest, PerspectiveHasTheFieldOfViewFromBottomToTop) {
    setPixels(200, 100);
    setPerspective(90, 2, 10);
    EXPECT_NEAR(view().left, -4, Small);
    EXPECT_NEAR(view().right, 4, Small);
    EXPECT_NEAR(view().bottom, -2, Small);
    EXPECT_NEAR(view().top, 2, Small);
    EXPECT_TRUE(view().perspective);
    EXPECT_EQ(view().near, 2);
    EXPECT_EQ(view().far, 10);
}

TEST_F(VRenderContextTest, OrthographicProjectionShowsWhatIsSeenAtTheDistanceOfTheLookAtPoint) {
    auto& camera = context.CurrentView(0, 0).camera;
    camera.position = {0, 3, 4};
    camera.lookAt = {0, 0, 0};
    context.setTileAwarePerspective(90, 1, 10, true, 0, {}, 0);
    EXPECT_NEAR(view().top, 5, Small);
    EXPECT_TRUE(view().orthographic);
}

TEST_F(VRenderContextTest, DistanceOfTheLookAtPointDoesNotOverflow) {
    auto& camera = context.CurrentView(0, 0).camera;
    camera.position = {3e200, 0, 4e200};
    camera.lookAt = {0, 0, 0};
    context.setTileAwarePerspective(90, 1, 10, true, 0, {}, 0);
    EXPECT_NEAR(view().top / 5e200, 1, Small);
}

TEST_F(VRenderContextTest, TileIsItsPartOfTheWhole) {
    setPixels(480, 270);
    setTile(480, 270, 1, 2, 1920, 1080);
    setPerspective(90, 2, 100);
    EXPECT_NEAR(view().left, -16.0 / 9.0, Small);
    EXPECT_NEAR(view().right, 0, Small);
    EXPECT_NEAR(view().bottom, 0, Small);
    EXPECT_NEAR(view().top, 1, Small);
}

TEST_F(VRenderContextTest, TileSkewsTheProjection) {
    setPixels(100, 30);
    setTile(100, 30, 2, 3, 300, 150);
    setPerspective(90, 1, 3);
    EXPECT_NEAR(view().matrix[0], 1.5, Small);
    EXPECT_NEAR(view().matrix[5], 5, Small);
    EXPECT_NEAR(view().matrix[8], 2, Small);
    EXPECT_NEAR(view().matrix[9], 2, Small);
}

TEST_F(VRenderContextTest, TileOfTheSizeOfTheImageIsNone) {
    setPixels(200, 100);
    setTile(200, 100, 1, 1, 200, 100);
    setPerspective(90, 1, 3);
    EXPECT_NEAR(view().matrix[0], 0.5, Small);
    EXPECT_NEAR(view().matrix[5], 1, Small);
    EXPECT_NEAR(view().matrix[8], 0, Small);
    EXPECT_NEAR(view().corners[0].x, -2, Small);
}

TEST_F(VRenderContextTest, TileWithoutASizeIsNone) {
    setPixels(200, 100);
    setTile(0, 100, 1, 1, 400, 200);
    setPerspective(90, 1, 3);
    EXPECT_NEAR(view().matrix[8], 0, Small);
}

TEST_F(VRenderContextTest, ZoomShowsItsPart) {
    setPixels(200, 100);
    context.zoom = {2, 0.25, 0.5};
    setPerspective(90, 1, 3);
    EXPECT_NEAR(view().matrix[0], 1, Small);
    EXPECT_NEAR(view().matrix[5], 2, Small);
    EXPECT_NEAR(view().matrix[8], 0, Small);
    EXPECT_NEAR(view().matrix[9], 1, Small);
}

TEST_F(VRenderContextTest, ZoomOfExactlyOneIgnoresItsOffsets) {
    setPixels(200, 100);
    context.zoom = {1, 0.25, 0.5};
    setPerspective(90, 1, 3);
    EXPECT_NEAR(view().matrix[8], 0, Small);
    EXPECT_NEAR(view().matrix[9], 0, Small);
    EXPECT_NEAR(view().corners[0].x, -2, Small);
}

TEST_F(VRenderContextTest, WithZoomAndTileTheMatrixIsTheZoomsAndTheFrustumTheTiles) {
    setPixels(100, 50);
    setTile(100, 50, 1, 0, 200, 100);
    context.zoom = {2, 0.25, 0.5};
    auto& camera = context.CurrentView(0, 0).camera;
    setPerspective(90, 1, 3);
    EXPECT_NEAR(view().matrix[0], 1, Small);
    EXPECT_NEAR(view().matrix[9], 1, Small);
    // Near corners, top left and bottom right, relative to the camera.
    EXPECT_NEAR((view().corners[0] - camera.position).x, 0, Small);
    EXPECT_NEAR((view().corners[0] - camera.position).y, 0, Small);
    EXPECT_NEAR((view().corners[3] - camera.position).x, 2, Small);
    EXPECT_NEAR((view().corners[3] - camera.position).y, -1, Small);
}

TEST_F(VRenderContextTest, JitterShiftsByPixelsAndOffsets) {
    setPixels(200, 100);
    Jitter jitter;
    jitter.pixelX = 1;
    jitter.pixelY = -2;
    setPerspective(90, 1, 3, jitter);
    EXPECT_NEAR(view().matrix[8], -0.01, Small);
    EXPECT_NEAR(view().matrix[9], 0.04, Small);
    EXPECT_NEAR(view().right - view().left, 4, Small);
    jitter = {};
    jitter.offsetX = 0.5;
    jitter.offsetY = 0.25;
    setPerspective(90, 1, 3, jitter);
    EXPECT_NEAR(view().left, -2.5, Small);
    EXPECT_NEAR(view().bottom, -1.25, Small);
}

TEST_F(VRenderContextTest, JitterOfTheEyeLeavesWhatIsInFocusInPlace) {
    Jitter jitter;
    jitter.eyeX = 0.5;
    jitter.eyeY = 1;
    jitter.focus = 4;
    setPerspective(90, 2, 30, jitter);
    EXPECT_NEAR(view().left, -2 - 0.25, Small);
    EXPECT_NEAR(view().bottom, -2 - 0.5, Small);
}

TEST_F(VRenderContextTest, FrustumIsScaledAndUsedAsItIs) {
    context.setTileAwareFrustum(2, {-1, 2, -3, 4}, 1, 10, false, 0, {}, 0);
    EXPECT_EQ(view().left, -2);
    EXPECT_EQ(view().right, 4);
    EXPECT_EQ(view().bottom, -6);
    EXPECT_EQ(view().top, 8);
    context.zoom = {2, 0, 0};
    context.setProjectionFrustum({-1, 2, -3, 4}, 1, 10, true, 0, {}, 0);
    EXPECT_EQ(view().left, -1);
    EXPECT_EQ(view().right, 2);
    EXPECT_TRUE(view().orthographic);
}

TEST_F(VRenderContextTest, RectangleThatIsNotCutStaysToTheLastDigit) {
    context.setTileAwareFrustum(1, {-1, 0.1, -1, 1e-17}, 1, 10, false, 0, {}, 0);
    EXPECT_EQ(view().left, -1);
    EXPECT_EQ(view().right, 0.1);
    EXPECT_EQ(view().bottom, -1);
    EXPECT_EQ(view().top, 1e-17);
}

TEST_F(VRenderContextTest, IdentityIsTheSquareOfTheScreen) {
    context.setTileAwareIdentity(0, -1, 1, {}, 0);
    EXPECT_THAT(view().matrix, ElementsAre(1, 0, 0, 0, 0, 1, 0, 0, 0, 0, -1, 0, 0, 0, 0, 1));
}

TEST_F(VRenderContextTest, IdentityIsCutByZoom) {
    context.zoom = {2, 0.25, 0.5};
    context.setTileAwareIdentity(0, -1, 1, {}, 0);
    EXPECT_NEAR(view().matrix[0], 2, Small);
    EXPECT_NEAR(view().matrix[5], 2, Small);
    EXPECT_NEAR(view().matrix[12], 0, Small);
    EXPECT_NEAR(view().matrix[13], -1, Small);
}

TEST_F(VRenderContextTest, IdentityIsCutByTile) {
    setTile(100, 50, 1, 0, 200, 100);
    context.setTileAwareIdentity(0, -1, 1, {}, 0);
    EXPECT_NEAR(view().matrix[0], 2, Small);
    EXPECT_NEAR(view().matrix[5], 2, Small);
    EXPECT_NEAR(view().matrix[12], -1, Small);
    EXPECT_NEAR(view().matrix[13], 1, Small);
}

TEST_F(VRenderContextTest, IdentityIsShiftedByJitter) {
    Jitter jitter;
    jitter.pixelX = 1;
    context.setTileAwareIdentity(0, -1, 1, jitter, 0);
    EXPECT_NEAR(view().matrix[12], 0.02, Small);
}

TEST_F(VRenderContextTest, IdentityIsShiftedByAllThatAJitterHas) {
    setPixels(200, 100);
    Jitter jitter;
    jitter.pixelY = -3;
    jitter.eyeX = 0.5;
    jitter.eyeY = 1;
    jitter.focus = 4;
    jitter.offsetX = 0.125;
    jitter.offsetY = 0.25;
    context.setTileAwareIdentity(0, 2, 3, jitter, 0);
    // From -1 to 1, less 0.5 * 2 / 4 + 0.125, and less -3 pixels of 0.02 + 1 * 2 / 4 + 0.25.
    EXPECT_NEAR(view().left, -1.375, Small);
    EXPECT_NEAR(view().right, 0.625, Small);
    EXPECT_NEAR(view().bottom, -1.69, Small);
    EXPECT_NEAR(view().top, 0.31, Small);
    EXPECT_TRUE(view().orthographic);
}

TEST_F(VRenderContextTest, PixelsOfAJitterAreThoseOfTheCutSquare) {
    setPixels(200, 100);
    context.zoom = {2, 0.25, 0.5};
    Jitter jitter;
    jitter.pixelY = 1;
    context.setTileAwareIdentity(0, -1, 1, jitter, 0);
    // A side of 1 and 100 pixels.
    EXPECT_NEAR(view().bottom, -0.01, Small);
    EXPECT_NEAR(view().top, 0.99, Small);
}

/// A context with a viewport of its own for each number, ten times as wide as high.
class ManyViewports : public RecordingContext {
public:
    using RecordingContext::RecordingContext;
    PixelRectangle getViewport(unsigned index) const override {
        const int height = 100 * (static_cast<int>(index) + 1);
        RecordingContext::getViewport(index);
        return {0, 0, 10 * height, height};
    }
};

class ViewportTest : public testing::Test {
protected:
    ViewportTest() {
        context.setNumberOfEyes(3);
        jitter.pixelX = 1;
    }
    /// The eye 2 has got a projection that is shifted by one pixel of so many, and no other eye.
    void expectShiftOfOnePixelIn(double widthPixels) const {
        const View& view = context.CurrentView(2, 0);
        EXPECT_NEAR((view.right + view.left) / (view.right - view.left), -2 / widthPixels, Small);
        for (unsigned eye = 0; eye < 2; ++eye) {
            EXPECT_FALSE(context.CurrentView(eye, 0).perspective);
            EXPECT_FALSE(context.CurrentView(eye, 0).orthographic);
        }
    }

    ManyViewports context;
    Jitter jitter;
};

TEST_F(ViewportTest, PerspectiveIsThatOfTheEyeWithThePixelsOfTheViewport) {
    context.CurrentView(2, 0).camera.fieldOfView = 90;
    context.setTileAwarePerspective(90, 1, 3, false, 2, jitter, 4);
    expectShiftOfOnePixelIn(5000);
    EXPECT_NEAR(context.CurrentView(2, 0).top, 1, Small);
    EXPECT_NEAR(context.CurrentView(2, 0).corners[0].x, -10, Small);
    EXPECT_EQ(context.CurrentView(0, 0).corners[0].x, -1);
}

TEST_F(ViewportTest, OrthographicProjectionTakesTheCameraOfTheEye) {
    auto& camera = context.CurrentView(2, 0).camera;
    camera.position = {0, 0, 30};
    camera.lookAt = {0, 0, 0};
    context.setTileAwarePerspective(90, 1, 100, true, 2, jitter, 1);
    expectShiftOfOnePixelIn(2000);
    EXPECT_NEAR(context.CurrentView(2, 0).top, 30, Small);
}

TEST_F(ViewportTest, FrustumIsThatOfTheEyeWithThePixelsOfTheViewport) {
    context.setTileAwareFrustum(1, {-1, 1, -1, 1}, 1, 3, false, 2, jitter, 2);
    expectShiftOfOnePixelIn(3000);
    context.setProjectionFrustum({-1, 1, -1, 1}, 1, 3, true, 2, jitter, 3);
    expectShiftOfOnePixelIn(4000);
}

TEST_F(ViewportTest, IdentityIsThatOfTheEyeWithThePixelsOfTheViewport) {
    context.setTileAwareIdentity(2, -1, 1, jitter, 1);
    expectShiftOfOnePixelIn(2000);
}

TEST_F(ViewportTest, EyeViewTakesTheFirstViewport) {
    Mirk::VCamera camera;
    context.setEyeView(camera, 1, 100, false, 2, 0.5, 10, 0, false);
    EXPECT_EQ(context.askedViewport, 0u);
    EXPECT_NE(context.CurrentView(2, 0).camera.position.x, 0);
    EXPECT_TRUE(context.CurrentView(2, 0).perspective);
    EXPECT_FALSE(context.CurrentView(0, 0).perspective);
    EXPECT_EQ(context.CurrentView(1, 0).camera.position.x, 0);
}

TEST_F(ViewportTest, EyeThatDoesNotExistIsTheFirst) {
    context.setTileAwareIdentity(7, -1, 1, {}, 0);
    EXPECT_TRUE(context.CurrentView(0, 0).orthographic);
    EXPECT_FALSE(context.CurrentView(2, 0).orthographic);
}

class EyeTest : public VRenderContextTest {
protected:
    EyeTest() {
        setPixels(150, 100);
        camera.fieldOfView = 60;
    }
    /// Where a point of the axis of the camera is seen, in -1 to 1.
    double seenAt(double depth) const {
        Point screen;
        EXPECT_TRUE(view().WorldToScreen_minus1_to_plus1({0, 0, 10 - depth}, screen));
        return screen.x;
    }

    Mirk::VCamera camera;
};

TEST_F(EyeTest, OffAxisMovesCameraAndLookAtPointAndSkewsTheFrustum) {
    for (int i = 0; i < 2; ++i) {
        context.setEyeView(camera, 1, 100, false, 0, 0.03, 10, 0, false);
        EXPECT_NEAR(view().camera.position.x, 0.3, Small);
        EXPECT_NEAR(view().camera.lookAt.x, 0.3, Small);
        EXPECT_NEAR(view().matrix[8], -0.0346410, 1e-7);
        EXPECT_NEAR(seenAt(5), -0.034641, 1e-6);
        EXPECT_NEAR(seenAt(10), 0, Small);
        EXPECT_NEAR(seenAt(20), 0.017321, 1e-6);
    }
}

TEST_F(EyeTest, ToeInLooksAtTheSamePoint) {
    context.setEyeView(camera, 1, 100, false, 0, 0.03, 10, 0, true);
    EXPECT_NEAR(view().camera.position.x, 0.3, Small);
    EXPECT_EQ(view().camera.lookAt.x, 0);
    EXPECT_EQ(view().matrix[8], 0);
    EXPECT_NEAR(seenAt(10), 0, Small);
}

TEST_F(EyeTest, NegativeSeparationIsTheLeftEye) {
    context.setEyeView(camera, 1, 100, false, 0, -0.03, 10, 0, false);
    EXPECT_NEAR(view().camera.position.x, -0.3, Small);
    EXPECT_NEAR(view().matrix[8], 0.0346410, 1e-7);
}

TEST_F(EyeTest, SlotGetsTheCameraAndSlotZeroTheProjection) {
    context.setNumberOfEyes(2);
    context.setEyeView(camera, 1, 100, false, 1, 0.03, 10, 5, false);
    EXPECT_NEAR(context.CurrentView(1, 5).camera.position.x, 0.3, Small);
    EXPECT_EQ(context.CurrentView(1, 0).camera.position.x, 0);
    EXPECT_TRUE(context.CurrentView(1, 0).perspective);
    EXPECT_FALSE(context.CurrentView(1, 5).perspective);
    EXPECT_FALSE(context.CurrentView(0, 0).perspective);
}

TEST_F(VRenderContextTest, FrustumDoesNotDependOnTheGivenRectangle) {
    setPerspective(60, 1, 100);
    const auto before = view().corners;
    context.updateFrustum({-7, 9, -3, 5}, 0);
    EXPECT_EQ(view().corners[0].x, before[0].x);
    EXPECT_EQ(view().corners[7].y, before[7].y);
}

TEST_F(VRenderContextTest, FrustumOfAZoomHasTheCornersOfItsPart) {
    setPixels(200, 100);
    context.zoom = {2, 0.25, 0.5};
    View& eye = context.CurrentView(0, 0);
    eye.camera.position = {0, 0, 0};
    eye.camera.lookAt = {0, 0, -1};
    eye.camera.up = {0, 1, 0};
    setPerspective(90, 1, 3);
    // Of a square from -1 to 1 the part from (-0.5, 0) to (0.5, 1), twice as wide by the aspect:
    // near corners at the distance of 1, then far ones at 3.
    const Point expected[]{{-1, 1, -1}, {1, 1, -1}, {-1, 0, -1}, {1, 0, -1},
                           {-3, 3, -3}, {3, 3, -3}, {-3, 0, -3}, {3, 0, -3}};
    for (std::size_t corner = 0; corner < 8; ++corner) {
        SCOPED_TRACE(corner);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            EXPECT_NEAR(view().corners[corner][axis], expected[corner][axis], Small);
        }
    }
}

TEST_F(VRenderContextTest, FrustumOfATileHasTheAspectOfTheImage) {
    setPixels(100, 100);
    setTile(100, 100, 1, 0, 200, 100);
    View& eye = context.CurrentView(0, 0);
    eye.camera.position = {0, 0, 0};
    eye.camera.lookAt = {0, 0, -1};
    eye.camera.up = {0, 1, 0};
    setPerspective(90, 1, 3);
    // The right half of what is twice as wide as high.
    EXPECT_NEAR(view().corners[0].x, 0, Small);
    EXPECT_NEAR(view().corners[1].x, 2, Small);
    EXPECT_NEAR(view().corners[1].y, 1, Small);
}

class VisibilityTest : public VRenderContextTest {
protected:
    VisibilityTest() { setPerspective(90, 1, 100); }
    bool isVisible(const Point& centre, double reach) const {
        return context.isVisible(boxAround(centre, reach), 0);
    }
};

TEST_F(VisibilityTest, IsTheSameFarFromZero) {
    View& eye = context.CurrentView(0, 0);
    const double far = 1e12;
    eye.camera.position = {far, far, far};
    eye.camera.lookAt = {far, far, far - 1.0};
    setPerspective(60, 1e-4, 100);
    const double halfWidth = 10.0 * std::tan(std::numbers::pi / 6.0);
    for (const double part : {-0.99, -0.5, 0.0, 0.65, 0.99}) {
        EXPECT_TRUE(isVisible({far + part * halfWidth, far, far - 10.0}, 0)) << part;
        EXPECT_TRUE(isVisible({far, far + part * halfWidth, far - 10.0}, 0)) << part;
    }
    for (const double part : {-1.01, 1.01}) {
        EXPECT_FALSE(isVisible({far + part * halfWidth, far, far - 10.0}, 0)) << part;
        EXPECT_FALSE(isVisible({far, far + part * halfWidth, far - 10.0}, 0)) << part;
    }
}

TEST_F(VisibilityTest, BoxInsideIsVisible) {
    EXPECT_TRUE(isVisible({0, 0, 0}, 1));
}

TEST_F(VisibilityTest, BoxAcrossAPlaneIsVisible) {
    EXPECT_TRUE(isVisible({10, 0, 0}, 1));
    EXPECT_TRUE(isVisible({0, 0, 0}, 1000));
}

TEST_F(VisibilityTest, BoxBeyondAnyPlaneIsNotVisible) {
    EXPECT_FALSE(isVisible({12.5, 0, 0}, 1));
    EXPECT_FALSE(isVisible({-12.5, 0, 0}, 1));
    EXPECT_FALSE(isVisible({0, 12.5, 0}, 1));
    EXPECT_FALSE(isVisible({0, -12.5, 0}, 1));
    EXPECT_FALSE(isVisible({0, 0, 10.5}, 0.4));
    EXPECT_FALSE(isVisible({0, 0, -92}, 1));
}

TEST_F(VisibilityTest, PlaneThatIsNotANumberExcludesNothing) {
    auto& eye = context.CurrentView(0, 0);
    eye.setInfiniteFrustum(-1, 1, -1, 1, 1);
    context.updateFrustum({}, 0);
    EXPECT_TRUE(isVisible({0, 0, -1e9}, 1));
    EXPECT_TRUE(isVisible({0, 0, 0}, 1));
}

TEST_F(VisibilityTest, EachEyeSeesItsOwn) {
    context.setNumberOfEyes(2);
    for (unsigned eye = 0; eye < 2; ++eye) {
        View& of = context.CurrentView(eye, 0);
        of.camera.position = {1000.0 * eye, 0, 10};
        of.camera.lookAt = {1000.0 * eye, 0, 0};
        of.camera.fieldOfView = 90;
        context.setTileAwarePerspective(90, 1, 100, false, eye, {}, 0);
    }
    EXPECT_FALSE(context.isVisible(boxAround({1000, 0, 0}, 1), 0));
    EXPECT_TRUE(context.isVisible(boxAround({1000, 0, 0}, 1), 1));
    EXPECT_TRUE(context.isVisible(boxAround({0, 0, 0}, 1), 0));
    EXPECT_FALSE(context.isVisible(boxAround({0, 0, 0}, 1), 1));
}

TEST_F(VRenderContextTest, UniformBuffersAreThoseOfTheSeagrass) {
    int made = 0;
    const auto factory = [&] {
        ++made;
        return context.createUniformBuffer(16);
    };
    EXPECT_FALSE(context.getUniformBuffer("Block"));
    const auto buffer = context.mkUniformBuffer("Block", factory);
    EXPECT_TRUE(buffer);
    EXPECT_EQ(context.mkUniformBuffer("Block", factory), buffer);
    EXPECT_EQ(made, 1);
    EXPECT_EQ(seagrass->getUniformBuffer("Block"), buffer);
    const auto other = context.createUniformBuffer(16);
    context.setUniformBuffer("Block", other);
    EXPECT_EQ(context.getUniformBuffer("Block"), other);
}

TEST_F(VRenderContextTest, WithoutSeagrassThereAreNoUniformBuffersAndNoQueue) {
    RecordingContext lonely;
    int made = 0;
    const auto factory = [&] {
        ++made;
        return lonely.createUniformBuffer(16);
    };
    EXPECT_FALSE(lonely.mkUniformBuffer("Block", factory));
    EXPECT_EQ(made, 0);
    const auto buffer = lonely.createUniformBuffer(16);
    lonely.setUniformBuffer("Block", buffer);
    EXPECT_FALSE(lonely.getUniformBuffer("Block"));
    lonely.queue([&](Mirk::VRenderContextBasin&) { ++made; });
    EXPECT_EQ(lonely.handleQueue([] { return false; }), 0);
    EXPECT_EQ(made, 0);
}

TEST_F(VRenderContextTest, QueueIsThatOfTheSeagrassAndGetsThisContext) {
    Mirk::VRenderContextBasin* given = nullptr;
    context.queue([&](Mirk::VRenderContextBasin& basin) { given = &basin; });
    EXPECT_TRUE(seagrass->hasQueue());
    EXPECT_EQ(context.handleQueue([] { return true; }), 0);
    EXPECT_EQ(given, nullptr);
    EXPECT_EQ(context.handleQueue([] { return false; }), 1);
    EXPECT_EQ(given, &context);
}

TEST_F(VRenderContextTest, ThereAreNeitherFontsNorTextsByDefault) {
    EXPECT_FALSE(context.getFont({"sans"}, {}, {}, {}));
    // A reference that is never looked at: no class of properties is defined here.
    alignas(std::max_align_t) static std::byte memory[64];
    const auto& properties = reinterpret_cast<const Mirk::VTextRenderProperties&>(memory);
    EXPECT_FALSE(context.createTextTentacle("text", properties, {}));
}

TEST_F(VRenderContextTest, FontIsATentacleBesideTheParametersForEveryActivity) {
    class Glyphs : public Context::Font {
    public:
        bool activate(const Mirk::Polyp&) override { return true; }
        bool deactivate(const Mirk::Polyp&) override { return true; }
    };
    const Context::FontPtr font(new Glyphs);
    EXPECT_EQ(font->tentacleKey, 1024);
    EXPECT_EQ(font->activityMask, ~Mirk::Activity_t{0});
}

} // namespace
