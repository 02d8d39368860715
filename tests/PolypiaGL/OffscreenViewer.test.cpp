#include <PolypiaGL/OffscreenViewer.hpp>

#include "quad.hpp"

#include <Polypia/PickList.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VScene.hpp>
#include <PolypiaGL/GLRenderException.hpp>

#include <sorrel/VActionNotifier.hpp>

#include <atomic>
#include <functional>
#include <future>
#include <memory>
#include <stdexcept>
#include <thread>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using ViewerPtr = Keel::StrongPtr<OffscreenViewer, VManagedObjectBase>;

/// Asks for memory before it is drawn for the first time.
class Costly : public Quad {
public:
    Costly(const std::string& objectName, std::size_t size)
        : VObject(objectName, 0, {}), Quad(objectName), _size(new Sized(size)) {}

    using Quad::environment_render;
    bool environment_render(VRenderContext& context) const override {
        _isAllowed = _isAllowed || context.allowRendering(*_size);
        return _isAllowed && Quad::environment_render(context);
    }

private:
    struct Sized : Polyp {
        explicit Sized(std::size_t size) : Polyp(Keel::WeakPtr<Keel::Creature>()), bytes(size) {}
        std::size_t memsize() const override { return bytes; }
        const std::size_t bytes;
    };

    const PolypPtr _size;
    mutable bool _isAllowed = false;
};

class OffscreenViewerTest : public testing::Test {
protected:
    OffscreenViewerTest() {
        settings.widthPixels = settings.heightPixels = size;
        settings.samples = 1;
    }
    ~OffscreenViewerTest() override { VActionNotifier::clear(); }

    /// Null with a skip, if there is no graphics.
    ViewerPtr makeViewer(const std::string& name = "viewer") {
        std::string reason;
        if (!tryContext({}, reason)) return {};
        return ViewerPtr(new OffscreenViewer(name, settings));
    }
    static Color at(OffscreenViewer& viewer, int x, int y, unsigned eye = 0) {
        const auto bytes = viewer.colors(eye);
        const auto first = 4 * static_cast<std::size_t>((y + size / 2) * size + x + size / 2);
        return {bytes[first], bytes[first + 1], bytes[first + 2], bytes[first + 3]};
    }

    OffscreenViewer::Settings settings;
};

#define MAKE_VIEWER(viewer)                                                                        \
    const ViewerPtr viewer = makeViewer();                                                         \
    if (!viewer) POLYPIA_NO_CONTEXT("no graphics")

TEST_F(OffscreenViewerTest, DrawsTheObjectsOfTheDefaultScene) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    quad->color = {1, 0, 0, 1};
    const auto frame = viewer->draw({eyeFromAbove()});
    EXPECT_EQ(frame.result, GLRenderContext::Drew);
    EXPECT_EQ(frame.drawn, 1u);
    EXPECT_GT(frame.seconds, 0.0);
    EXPECT_EQ(at(*viewer, 0, 0), red);
    EXPECT_EQ(at(*viewer, 9, 0), black);
}

TEST_F(OffscreenViewerTest, DrawsTheSceneAsItIsNow) {
    MAKE_VIEWER(viewer);
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 0u);
    QuadPtr quad(new Quad("quad"));
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 1u);
    quad->setVisible(viewer->pool, false);
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 0u);
    quad->setVisible(viewer->pool, true);
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 1u);
    quad = {};
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 0u);
}

TEST_F(OffscreenViewerTest, HidesAnObjectInOneViewerAlone) {
    MAKE_VIEWER(viewer);
    const ViewerPtr other = makeViewer("other");
    const QuadPtr quad(new Quad("quad"));
    quad->setVisible(other->pool, false);
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 1u);
    EXPECT_EQ(other->draw({eyeFromAbove()}).drawn, 0u);
}

TEST_F(OffscreenViewerTest, HasTheBackgroundOfItsSettings) {
    settings.background = {0, 0, 1, 1};
    MAKE_VIEWER(viewer);
    viewer->draw({eyeFromAbove()});
    EXPECT_EQ(at(*viewer, 0, 0), blue);
}

TEST_F(OffscreenViewerTest, EachEyeHasItsPicture) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    quad->rectangle.height = 20;
    viewer->draw({eyeFromAbove(-0.04), eyeFromAbove(0.04)});
    EXPECT_NE(viewer->colors(0), viewer->colors(1));
}

TEST_F(OffscreenViewerTest, TellsSurfacesApartFarFromANearPlaneIfItsDepthsAreReversed) {
    GLRenderContext::Eye eye = eyeFromAbove();
    eye.orthographic = false;
    eye.far = 1e5;
    eye.near = 1e-11 * eye.far;
    for (const GLContext::Depths depths : {GLContext::Depths::Usual, GLContext::Depths::Reversed}) {
        for (const GL::Pass pass : {GL::Pass::EachView, GL::Pass::Layers}) {
            settings.depths = depths;
            settings.pass = pass;
            MAKE_VIEWER(viewer);
            const QuadPtr near(new Quad("near", 0)), far(new Quad("far", 1)); // in this order
            near->rectangle = {-8, -8, 8, 8, 0.01};
            near->color = {1, 0, 0, 1};
            far->rectangle = {-16, -16, 16, 16, 0};
            far->color = {0, 1, 0, 1};
            viewer->draw({eye, eye});
            const bool isReversed = depths == GLContext::Depths::Reversed;
            for (const unsigned i : {0U, 1U}) {
                EXPECT_EQ(at(*viewer, 0, 0, i), isReversed ? red : green);
                EXPECT_EQ(at(*viewer, 12, 0, i), green);
            }
        }
    }
}

TEST_F(OffscreenViewerTest, HasNoPictureOfAnEyeThatTheLastFrameDidNotHave) {
    MAKE_VIEWER(viewer);
    EXPECT_THROW(viewer->colors(0), std::out_of_range);
    viewer->draw({eyeFromAbove(-0.04), eyeFromAbove(0.04)});
    EXPECT_NO_THROW(viewer->colors(1));
    viewer->draw({eyeFromAbove()});
    EXPECT_THROW(viewer->colors(1), std::out_of_range);
    viewer->draw({});
    EXPECT_THROW(viewer->colors(0), std::out_of_range);
}

TEST_F(OffscreenViewerTest, PixelsThatSomebodyHoldsEndWithTheirPicture) {
    settings.pass = GL::Pass::Layers;
    MAKE_VIEWER(viewer);
    viewer->draw({eyeFromAbove(-0.04), eyeFromAbove(0.04)});
    const auto held = viewer->getPixelBuffer();
    float color[1][4] = {};
    const auto read = [&] {
        int number = 0;
        viewer->onRenderThread(
            [&](GLRenderContext&) { number = held->readPixelColors(0, 0, color, 1, 1, 0); });
        return number;
    };
    EXPECT_EQ(read(), 1);
    viewer->draw({eyeFromAbove()});
    const bool wasOnePass = viewer->pass() == GL::Pass::Layers;
    EXPECT_EQ(read(), wasOnePass ? 0 : 1);
    EXPECT_EQ(viewer->getPixelBuffer() == held, !wasOnePass);
}

TEST_F(OffscreenViewerTest, DrawsAndPicksForManyThreads) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    viewer->draw({eyeFromAbove()});
    std::atomic<int> found{0};
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([&] {
            for (int j = 0; j < 10; ++j) {
                viewer->draw({eyeFromAbove()});
                if (viewer->pickPixels(32, 32, 1, 1)->Ids.size() == 1) ++found;
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(found, 40);
}

TEST_F(OffscreenViewerTest, DrawsWholePicturesWhileOthersDraw) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    quad->action = [] { return false; };
    std::thread other([&] {
        for (int i = 0; i < 20; ++i) viewer->draw({eyeFromAbove()});
    });
    for (int i = 0; i < 5; ++i) {
        EXPECT_EQ(viewer->drawWhole({eyeFromAbove()}).result & GLRenderContext::Incomplete,
                  GLRenderContext::Incomplete);
    }
    other.join();
}

TEST_F(OffscreenViewerTest, FrameBringsNoMoreToTheGpuThanItsAllowance) {
    settings.uploadBytes = 100;
    MAKE_VIEWER(viewer);
    std::vector<QuadPtr> quads;
    for (int i = 0; i < 5; ++i)
        quads.push_back(QuadPtr(new Costly("quad" + std::to_string(i), 40)));
    const std::vector<std::size_t> drawn{2, 4, 5};
    for (const std::size_t number : drawn) {
        EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, number);
    }
}

TEST_F(OffscreenViewerTest, WhatIsLargerThanTheAllowanceIsDrawnInTheEnd) {
    settings.uploadBytes = 100;
    MAKE_VIEWER(viewer);
    QuadPtr large(new Costly("large", 1000));
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).result,
              GLRenderContext::Incomplete | GLRenderContext::RefusedMemory);
    const auto frame = viewer->drawWhole({eyeFromAbove()});
    EXPECT_EQ(frame.result, GLRenderContext::Drew);
    large = {};
}

TEST_F(OffscreenViewerTest, WholePictureEndsWhereTwoFramesBringNothingNew) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    quad->action = [] { return false; };
    EXPECT_EQ(viewer->drawWhole({eyeFromAbove()}).result, GLRenderContext::Incomplete);
    EXPECT_EQ(quad->draws, 3);
}

TEST_F(OffscreenViewerTest,
       WholePictureGoesOnForAWhileBehindARefusalThoughNothingIsRefusedAnyMore) {
    settings.uploadBytes = 100;
    MAKE_VIEWER(viewer);
    QuadPtr large(new Costly("large", 1000));
    EXPECT_NE(viewer->draw({eyeFromAbove()}).result & GLRenderContext::RefusedMemory, 0U);
    large = {};
    // Waits for who was refused.
    const QuadPtr waiting(new Quad("waiting"));
    waiting->action = [frames = 0]() mutable { return ++frames > 7; };
    EXPECT_EQ(viewer->drawWhole({eyeFromAbove()}).result, GLRenderContext::Drew);
}

TEST_F(OffscreenViewerTest, WholePictureGoesOnWhileAnythingIsRefusedMemory) {
    settings.uploadBytes = 100;
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    const PolypPtr fine(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    fine->expectMemsize(1000);
    bool isFine = false;
    viewer->onRenderThread([&](GLRenderContext& context) {
        quad->action = [&] { // draws something coarse meanwhile
            isFine = isFine || context.allowRendering(*fine);
            return true;
        };
    });
    EXPECT_EQ(viewer->drawWhole({eyeFromAbove()}).result, GLRenderContext::Drew);
    EXPECT_TRUE(isFine);
}

TEST_F(OffscreenViewerTest, WholePictureEndsThoughTheCacheIsTooSmallForIt) {
    settings.uploadBytes = 10;
    settings.cacheBytes = 150;
    MAKE_VIEWER(viewer);
    const QuadPtr evicted(new Quad("evicted")), waiting(new Quad("waiting"));
    const PolypPtr data(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    data->expectMemsize(100);
    viewer->onRenderThread([&](GLRenderContext& context) {
        evicted->action = [&] { return context.allowRendering(*data); }; // each time anew
    });
    waiting->action = [] { return false; };
    const auto frame = viewer->drawWhole({eyeFromAbove()});
    EXPECT_TRUE(frame.result & GLRenderContext::Incomplete);
    // The allowance grows from 10 to 160 bytes each time, until the cache was filled once more.
    EXPECT_LT(evicted->draws, 30);
}

TEST_F(OffscreenViewerTest, WholePictureHasTheFailuresOfAllItsFrames) {
    settings.uploadBytes = 100;
    MAKE_VIEWER(viewer);
    const QuadPtr once(new Quad("once")), always(new Quad("always"));
    const QuadPtr large(new Costly("large", 1000)); // which takes several frames
    once->action = [&]() -> bool {
        if (once->draws == 1) throw GLRenderException(0, "one", "", "once.cpp", 1);
        return true;
    };
    always->action = []() -> bool { throw GLRenderException(0, "each", "", "always.cpp", 1); };
    const auto frame = viewer->drawWhole({eyeFromAbove()});
    EXPECT_EQ(frame.result, GLRenderContext::Drew | GLRenderContext::Failed);
    ASSERT_EQ(frame.failures.size(), 2u);
    EXPECT_EQ(frame.failures[0].object, "once");
    EXPECT_EQ(frame.failures[1].object, "always");
    EXPECT_GT(always->draws, 1);
}

TEST_F(OffscreenViewerTest, TellsWhatAFrameHasBroughtToTheGpu) {
    settings.uploadBytes = 100;
    MAKE_VIEWER(viewer);
    const QuadPtr first(new Costly("first", 40)), second(new Costly("second", 50));
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).uploadedBytes, 90);
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).uploadedBytes, 0);
}

TEST_F(OffscreenViewerTest, PrecisionFollowsTheTimeOfFramesAndOfThoseCutOffIfTooLong) {
    MAKE_VIEWER(viewer);
    const QuadPtr first(new Quad("first")), second(new Quad("second"));
    VRenderPrecision& precision = *viewer->precision();
    const auto limitTo = [&](double lower, double upper) {
        precision.precision = 0.5;
        precision.lowerTime = lower;
        precision.upperTime = upper;
    };
    constexpr double tiny = 1e-12, huge = 1e12;
    limitTo(tiny, tiny);
    viewer->draw({eyeFromAbove()});
    EXPECT_LT(precision.precision, 0.5);
    limitTo(huge, huge);
    viewer->draw({eyeFromAbove()});
    EXPECT_GT(precision.precision, 0.5);
    first->action = second->action = [&] {
        viewer->frameInterruptor()->interrupt({});
        return true;
    };
    const auto drawCut = [&] {
        EXPECT_TRUE(viewer->draw({eyeFromAbove()}).result & GLRenderContext::Interrupted);
        viewer->frameInterruptor()->resume({});
    };
    limitTo(tiny, tiny);
    drawCut();
    EXPECT_LT(precision.precision, 0.5) << "a whole frame takes even longer";
    limitTo(huge, huge);
    drawCut();
    EXPECT_EQ(precision.precision, 0.5) << "nobody knows how long a whole frame takes";
}

TEST_F(OffscreenViewerTest, TellsWhoWaitsForAFrameOnTheRenderThread) {
    struct Completion : Viewer::FrameCompletion {
        void complete(const Viewer&) override {
            ++frames;
            thread = std::this_thread::get_id();
        }
        int frames = 0;
        std::thread::id thread;
    };
    struct Listened : OffscreenViewer {
        using OffscreenViewer::frameCompletions;
        using OffscreenViewer::OffscreenViewer;
    };
    std::string reason;
    if (!tryContext({}, reason)) POLYPIA_NO_CONTEXT(reason);
    const Keel::StrongPtr<Listened, VManagedObjectBase> viewer(new Listened("listened", settings));
    const auto completion = Keel::make<Completion>();
    viewer->onRenderThread([&](GLRenderContext&) {
        viewer->frameCompletions.push_back(Keel::WeakPtr<Viewer::FrameCompletion>(completion));
    });
    viewer->draw({eyeFromAbove()});
    EXPECT_EQ(completion->frames, 1);
    EXPECT_NE(completion->thread, std::this_thread::get_id());
    viewer->draw({eyeFromAbove()});
    EXPECT_EQ(completion->frames, 2);
}

TEST_F(OffscreenViewerTest, DrawsWithThePoolThatItHasAtTheFirstFrame) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    viewer->pool = Keel::make<ValuePool>();
    quad->setVisible(viewer->pool, false);
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).drawn, 0u);
    viewer->onRenderThread(
        [&](GLRenderContext& context) { EXPECT_EQ(context.pool, viewer->pool); });
}

TEST_F(OffscreenViewerTest, RunsWhatIsQueuedAtItsOwnCacheWhateverElseItIsGiven) {
    MAKE_VIEWER(viewer);
    const auto other = Keel::make<Seagrass>(1ULL << 20, "other");
    viewer->setSeagrass(other);
    int runs = 0;
    Keel::StrongPtr<Seagrass>(viewer->renderCache())->queue([&](VRenderContextBasin&) { ++runs; });
    viewer->draw({eyeFromAbove()});
    EXPECT_EQ(runs, 1);
    EXPECT_FALSE(Keel::StrongPtr<Seagrass>(viewer->renderCache())->hasQueue());
}

TEST_F(OffscreenViewerTest, HasNoPixelsOfAFrameWithoutEyes) {
    for (const GL::Pass pass : {GL::Pass::EachView, GL::Pass::Layers}) {
        settings.pass = pass;
        MAKE_VIEWER(viewer);
        const std::vector eyes{eyeFromAbove(-0.04), eyeFromAbove(0.04)};
        viewer->draw(eyes);
        EXPECT_TRUE(viewer->getPixelBuffer());
        viewer->draw({});
        EXPECT_FALSE(viewer->getPixelBuffer());
        viewer->draw(eyes);
        float color[1][4] = {};
        viewer->onRenderThread([&](GLRenderContext&) {
            EXPECT_EQ(viewer->getPixelBuffer()->readPixelColors(0, 0, color, 1, 1, 0), 1);
        });
    }
}

TEST_F(OffscreenViewerTest, GivesItsPixelsAgainWhenTheCacheWasEmptied) {
    const std::vector one{eyeFromAbove()}, two{eyeFromAbove(-0.04), eyeFromAbove(0.04)};
    for (const GL::Pass pass : {GL::Pass::EachView, GL::Pass::Layers}) {
        settings.pass = pass;
        MAKE_VIEWER(viewer);
        for (const auto& eyes : {one, two}) {
            viewer->draw(eyes);
            viewer->onRenderThread([&](GLRenderContext&) {
                Keel::StrongPtr<Seagrass>(viewer->renderCache())->lawn();
            });
            EXPECT_FALSE(viewer->getPixelBuffer());
            viewer->draw(eyes);
            EXPECT_TRUE(viewer->getPixelBuffer());
        }
    }
}

TEST_F(OffscreenViewerTest, TimeLimitHoldsForTheFrameAlone) {
    settings.secondsLimit = 0.0;
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    EXPECT_EQ(viewer->draw({eyeFromAbove()}).result, GLRenderContext::Interrupted);
    viewer->onRenderThread([](GLRenderContext& context) { EXPECT_FALSE(context.isCancelled()); });
    EXPECT_EQ(viewer->pickPixels(32, 32, 1, 1)->Ids.size(), 1u);
}

TEST_F(OffscreenViewerTest, QueuedFunctionsRunBetweenFrames) {
    MAKE_VIEWER(viewer);
    std::thread::id ranOn;
    Keel::StrongPtr<Seagrass>(viewer->renderCache())->queue([&](VRenderContextBasin&) {
        ranOn = std::this_thread::get_id();
    });
    viewer->draw({eyeFromAbove()});
    EXPECT_NE(ranOn, std::thread::id());
    EXPECT_NE(ranOn, std::this_thread::get_id());
}

TEST_F(OffscreenViewerTest, WhatQueuesItselfAgainRunsOnceBehindEachFrame) {
    MAKE_VIEWER(viewer);
    int runs = 0;
    const Keel::StrongPtr<Seagrass> cache(viewer->renderCache());
    std::function<void(VRenderContextBasin&)> again = [&](VRenderContextBasin&) {
        ++runs;
        cache->queue(again);
    };
    cache->queue(again);
    viewer->draw({eyeFromAbove()});
    EXPECT_EQ(runs, 1);
    viewer->draw({eyeFromAbove()});
    EXPECT_EQ(runs, 2);
    again = [](VRenderContextBasin&) {};
    viewer->draw({eyeFromAbove()});
}

TEST_F(OffscreenViewerTest, GivesItsPixels) {
    MAKE_VIEWER(viewer);
    EXPECT_FALSE(viewer->getPixelBuffer()) << "ahead of the first frame";
    const QuadPtr quad(new Quad("quad"));
    quad->color = {1, 0, 0, 1};
    viewer->draw({eyeFromAbove()});
    viewer->onRenderThread([&](GLRenderContext&) {
        const auto buffer = viewer->getPixelBuffer();
        ASSERT_TRUE(buffer);
        EXPECT_EQ(static_cast<const ViewportGeometry&>(*buffer),
                  (ViewportGeometry{0, 0, size, size}));
        float color[1][4] = {};
        EXPECT_EQ(buffer->readPixelColors(size / 2, size / 2, color, 1, 1, 0), 1);
        EXPECT_THAT(color[0], ElementsAre(1.0F, 0.0F, 0.0F, 1.0F));
    });
}

TEST_F(OffscreenViewerTest, LetsGoOfWhoWaitsForAFunctionThatItWillNotRunAnyMore) {
    ViewerPtr viewer = makeViewer();
    if (!viewer) POLYPIA_NO_CONTEXT("no graphics");
    std::promise<void> isQueued;
    std::thread waiting([&, cache = Keel::StrongPtr<Seagrass>(viewer->renderCache())] {
        auto answer = std::make_shared<std::promise<int>>();
        std::future<int> number = answer->get_future();
        cache->queue([answer](VRenderContextBasin&) { answer->set_value(1); });
        answer.reset();
        isQueued.set_value();
        EXPECT_THROW(number.get(), std::future_error);
    });
    isQueued.get_future().wait();
    viewer = {};
    waiting.join();
}

TEST_F(OffscreenViewerTest, RaisesItsAllowanceOnlyForWhatWasRefused) {
    settings.uploadBytes = 10;
    MAKE_VIEWER(viewer);
    const QuadPtr waiting(new Quad("waiting"));
    waiting->action = [] { return false; };
    std::vector<long long> allowances;
    for (int i = 0; i < 5; ++i) {
        viewer->draw({eyeFromAbove()});
        viewer->onRenderThread(
            [&](GLRenderContext& context) { allowances.push_back(context.renderAllowance); });
    }
    EXPECT_THAT(allowances, testing::Each(10));
}

TEST_F(OffscreenViewerTest, RaisesItsAllowanceForWhatOthersLeaveNoRoomOnlyAfterAWhile) {
    settings.uploadBytes = 10;
    MAKE_VIEWER(viewer);
    const auto polypOf = [](std::size_t bytes) {
        const PolypPtr polyp(new Polyp(Keel::WeakPtr<Keel::Creature>()));
        polyp->expectMemsize(bytes);
        return polyp;
    };
    const PolypPtr first = polypOf(4), second = polypOf(7);
    const QuadPtr always(new Quad("always", 0)), waiting(new Quad("waiting", 1));
    bool isFine = false;
    viewer->onRenderThread([&](GLRenderContext& context) {
        always->action = [&] { return context.allowRendering(*first); };
        waiting->action = [&] { return isFine = context.allowRendering(*second); };
    });
    int frames = 0;
    while (!isFine && ++frames < 100) {
        const auto frame = viewer->draw({eyeFromAbove()});
        EXPECT_LE(frame.uploadedBytes, isFine ? 20 : 10);
    }
    EXPECT_EQ(frames, 9);
}

TEST_F(OffscreenViewerTest, TellsWhatFailed) {
    MAKE_VIEWER(viewer);
    const QuadPtr quad(new Quad("quad"));
    quad->action = []() -> bool { throw RenderException(0x501, "draw", "quad.cpp", 1); };
    testing::internal::CaptureStdout();
    const auto frame = viewer->draw({eyeFromAbove()});
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(frame.result, GLRenderContext::Failed);
    ASSERT_EQ(frame.failures.size(), 1u);
    EXPECT_EQ(frame.failures[0].object, "quad");
    viewer->onRenderThread([&](GLRenderContext& context) {
        const auto info = viewer->makeFrameInfo(context, viewer->pool);
        EXPECT_EQ(info->title, "viewer");
        EXPECT_EQ(info->details, viewer->device());
        EXPECT_THAT(info->failures, testing::StartsWith("quad: "));
    });
}

TEST_F(OffscreenViewerTest, WhatIsThrownOnTheRenderThreadArrivesAtTheCaller) {
    MAKE_VIEWER(viewer);
    EXPECT_THROW(viewer->onRenderThread([](GLRenderContext&) { throw std::runtime_error("no"); }),
                 std::runtime_error);
    EXPECT_THROW(viewer->colors(7), std::out_of_range);
}

TEST_F(OffscreenViewerTest, TooLargeAPictureIsRefused) {
    settings.widthPixels = 1 << 24;
    MAKE_VIEWER(viewer);
    EXPECT_LT(viewer->greatestPicture()[0], settings.widthPixels);
    EXPECT_THROW(viewer->draw({eyeFromAbove()}), GLRenderException);
}

} // namespace
