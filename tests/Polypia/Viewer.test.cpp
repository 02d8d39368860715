#include <Polypia/Viewer.hpp>

#include "RecordingContext.hpp"
#include "memberOrder.hpp"
#include "sceneQuestions.hpp"
#include "shownObject.hpp"
#include "virtualSlot.hpp"

#include <Polypia/MetaViewer.hpp>
#include <Polypia/PixelBuffer.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/VScene.hpp>

#include <fennel/VCamera.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VRequest.hpp>

#include <gmock/gmock.h>

#include <atomic>
#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <ostream>
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

class TestViewer : public Mirk::Viewer {
public:
    explicit TestViewer(const std::string& viewerName = "viewer",
                        const Keel::StrongPtr<Mirk::VRenderInterruptor>& theInterruptor = {},
                        const PreferencesPtr& objectPrefs = {},
                        const PreferencesPtr& slotPrefs = {})
        : Viewer(viewerName, 3, theInterruptor, objectPrefs, slotPrefs) {}

    struct Info : FrameInfo {
        explicit Info(bool& ended) : isEnded(ended) {}
        ~Info() override { isEnded = true; }
        bool& isEnded;
    };
    std::unique_ptr<FrameInfo> makeFrameInfo(const Mirk::VRenderContext&,
                                             const ValuePoolPtr& framePool) const override {
        auto made = std::make_unique<Info>(infoHasEnded);
        made->title = framePool == pool ? "mine" : "other";
        return made;
    }

    using Viewer::companion;
    using Viewer::connections;
    using Viewer::frameCompletions;
    using Viewer::interruptor;
    using Viewer::scene;
    using Viewer::state;
    using Viewer::viewerWord;

    mutable bool infoHasEnded = false;
};
using ViewerPtr = Keel::StrongPtr<TestViewer, Mirk::VManagedObjectBase>;
using MetaViewerPtr = Keel::StrongPtr<Mirk::MetaViewer, Mirk::VManagedObjectBase>;

/// A buffer without pixels.
class NoPixels : public Mirk::PixelBuffer {
public:
    NoPixels() : PixelBuffer({}) {}
    int readPixelColors(int, int, float (*)[4], unsigned long long, unsigned long long,
                        unsigned) const override {
        return 0;
    }
    int readPixelDepth(int, int, float*, unsigned long long, unsigned long long,
                       unsigned) const override {
        return 0;
    }
};

class Viewer : public testing::Test {
protected:
    ~Viewer() override {
        kept.clear();
        Mirk::VActionNotifier::clear();
    }

    static ViewerPtr makeViewer(const std::string& name = "viewer") {
        return ViewerPtr(new TestViewer(name));
    }
    static MetaViewerPtr makeMetaViewer(const std::string& name = "meta") {
        return MetaViewerPtr(new Mirk::MetaViewer(name, 0, {}));
    }
    ShownPtr add(const ShownPtr& object) {
        kept.push_back(object);
        return object;
    }
    static void request(Mirk::Viewer& viewer) {
        Mirk::VRequest request(viewer.pool);
        EXPECT_TRUE(request.process(viewer, 1.0));
    }
    /// Brings the viewer up to date and draws a frame.
    std::uint64_t drawFrame() {
        request(*viewer);
        return viewer->render(context, renderTime, -10, 10);
    }
    void drawsNames() {
        context.traversal = [&](const Mirk::ObjectSelection& objects, double&, int, int) {
            drawn = names(objects);
            return 42ULL;
        };
    }

    const ViewerPtr viewer = makeViewer();
    RecordingContext context;
    double renderTime = -1;
    std::vector<std::string> drawn{"nothing yet"};
    std::vector<ShownPtr> kept;
};

TEST_F(Viewer, HasItsFieldsAndSlots) {
    EXPECT_EQ(viewer->priority, 3);
    EXPECT_EQ(viewer->viewerWord, 5);
    EXPECT_FALSE(viewer->companion);
    ASSERT_TRUE(viewer->pool);
    EXPECT_NE(viewer->pool, makeViewer("other")->pool) << "each has one of its own";
    EXPECT_LE(viewer->startTime, std::chrono::system_clock::now());
    EXPECT_EQ(viewer->connections, 0);
    EXPECT_TRUE(viewer->frameCompletions.empty());
    EXPECT_FALSE(viewer->interruptor);
    EXPECT_TRUE(standInOrder(viewer->viewerWord, viewer->companion, viewer->pool, viewer->startTime,
                             viewer->scene, viewer->state, viewer->connections,
                             viewer->frameCompletions, viewer->interruptor));
    ASSERT_EQ(viewer->inputs().size(), 1U);
    EXPECT_EQ(viewer->inputs()[0]->Name(), "scene");
    EXPECT_EQ(viewer->inputs()[0]->expertLevel(), 0);
    EXPECT_TRUE(viewer->inputs()[0]->valueType() == typeid(Mirk::VSceneObjects));
    EXPECT_EQ(viewer->scene->ownParameter()->order, -1000);
    ASSERT_EQ(viewer->outputs().size(), 1U);
    EXPECT_EQ(viewer->outputs()[0]->Name(), "state");
    EXPECT_EQ(viewer->state->source(), viewer);
}

TEST_F(Viewer, KeepsWhatItIsMadeWith) {
    class Interruptor : public Mirk::VRenderInterruptor {
        void interrupt(const ValuePoolPtr&) override {}
        bool isInterrupted(const ValuePoolPtr&) override { return false; }
        void resume(const ValuePoolPtr&) override {}
    };
    const Keel::StrongPtr<Mirk::VRenderInterruptor> interruptor(new Interruptor);
    const Mirk::VObject::PreferencesPtr object(new Mirk::VCreationPreferences("o")),
        slot(new Mirk::VCreationPreferences("s"));
    const ViewerPtr made(new TestViewer("made", interruptor, object, slot));
    EXPECT_EQ(made->interruptor, interruptor);
    EXPECT_EQ(made->preferences(), object);
    EXPECT_EQ(made->slotPreferences(), slot);
}

TEST_F(Viewer, StateHasNoText) {
    using Trait = Mirk::VValueTrait<Mirk::ViewerState>;
    static_assert(std::is_empty_v<Mirk::ViewerState>);
    Mirk::ViewerState state;
    EXPECT_EQ(Trait::Text(state), "");
    EXPECT_FALSE(Trait::setValueFromText(state, ""));
    EXPECT_EQ(Mirk::VValueCreator::typeName(typeid(Mirk::ViewerState)), "ViewerState");
}

TEST_F(Viewer, ShowsTheDefaultSceneAtFirst) {
    const Mirk::VScenePtr scene = Mirk::VScene::DefaultScene();
    EXPECT_EQ(viewer->scene->parameter(), scene->findOutput("objects")->parameter());
    add(shown("a"));
    drawsNames();
    EXPECT_EQ(drawFrame(), 42U);
    EXPECT_THAT(drawn, ElementsAre("0a"));
}

TEST_F(Viewer, RendersAnEmptySelectionWithoutScene) {
    add(shown("a"));
    request(*viewer);
    viewer->detach(viewer->scene);
    drawsNames();
    EXPECT_EQ(viewer->render(context, renderTime, 0, 0), 42U);
    EXPECT_THAT(drawn, IsEmpty());
    EXPECT_EQ(renderTime, 0);
}

TEST_F(Viewer, RequestsNothingByItself) {
    add(shown("a"));
    drawsNames();
    viewer->render(context, renderTime, 0, 0);
    EXPECT_THAT(drawn, IsEmpty());
}

TEST_F(Viewer, HandsLayersAndTimeToTheTraversal) {
    context.traversal = [](const Mirk::ObjectSelection&, double& time, int first, int last) {
        time += 2;
        return static_cast<std::uint64_t>(100 * first + last);
    };
    EXPECT_EQ(viewer->render(context, renderTime, 3, 4), 304U);
    EXPECT_EQ(renderTime, 2);
}

TEST_F(Viewer, PassesOnWhatTheTraversalThrows) {
    context.traversal = [](const Mirk::ObjectSelection&, double&, int, int) -> std::uint64_t {
        throw std::runtime_error("lost");
    };
    EXPECT_THROW(viewer->render(context, renderTime, 0, 0), std::runtime_error);
}

TEST_F(Viewer, FrameShowsTheSceneAsItWasWhenItBegan) {
    add(shown("a"));
    drawsNames();
    const auto draw = context.traversal;
    context.traversal = [&](const Mirk::ObjectSelection& objects, double& time, int first,
                            int last) {
        add(shown("b"));
        request(*viewer);
        return draw(objects, time, first, last);
    };
    drawFrame();
    EXPECT_THAT(drawn, ElementsAre("0a"));
    context.traversal = draw;
    viewer->render(context, renderTime, 0, 0);
    EXPECT_THAT(drawn, ElementsAre("0a", "0b"));
}

TEST_F(Viewer, ReadsTheSceneForAFrameWithTheMutexOfTheContextHeld) {
    add(shown("a"));
    request(*viewer);
    drawsNames();
    std::unique_lock lock(context.mutex);
    std::thread render([&] { viewer->render(context, renderTime, -10, 10); });
    // Long enough for a frame that doesn't wait to read the scene as it is now.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    add(shown("b"));
    request(*viewer);
    lock.unlock();
    render.join();
    EXPECT_THAT(drawn, ElementsAre("0a", "0b"));
}

/// A question to a viewer that takes objects out of the scene, and the mutex that it does it under.
struct Question {
    const char* name;
    std::function<std::mutex&(TestViewer&, RecordingContext&)> mutex;
    std::function<void(TestViewer&, RecordingContext&)> ask;
};
std::ostream& operator<<(std::ostream& out, const Question& question) {
    return out << question.name;
}

class ViewerQuestion : public Viewer, public testing::WithParamInterface<Question> {};

TEST_P(ViewerQuestion, ReadsTheSceneUnderItsMutex) {
    const auto asked = std::make_shared<std::atomic<bool>>(false);
    const auto late = [&] {
        const ShownPtr object = add(shown("late"));
        object->asked = [asked] { *asked = true; };
        object->info = [asked](const ValuePoolPtr&, const Mirk::RenderAble::SensorView&) {
            *asked = true;
            return std::string();
        };
        request(*viewer);
    };
    context.picking = [&](const Mirk::ObjectSelection& objects,
                          const RecordingContext::PixelRectangle&, int, int) {
        *asked = objects.NumberOfObjects() == 1;
        return Mirk::VRenderContext::PickListPtr();
    };
    request(*viewer);
    std::unique_lock lock(GetParam().mutex(*viewer, context));
    std::thread asking([&] { GetParam().ask(*viewer, context); });
    // Long enough for a question that doesn't wait to find nothing.
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    late();
    lock.unlock();
    asking.join();
    EXPECT_TRUE(*asked);
}

std::mutex& mutexOfThePool(TestViewer& viewer, RecordingContext&) {
    return viewer.pool->mutex;
}

INSTANTIATE_TEST_SUITE_P(
    , ViewerQuestion,
    testing::Values(Question{"Pick",
                             [](TestViewer&, RecordingContext& context) -> std::mutex& {
                                 return context.mutex;
                             },
                             [](TestViewer& viewer, RecordingContext& context) {
                                 viewer.pick(context, 0, 0, 1, 1);
                             }},
                    Question{"Visible", mutexOfThePool,
                             [](TestViewer& viewer, RecordingContext&) {
                                 viewer.getVisibleBoundingVolume(viewer.pool);
                             }},
                    Question{"Touchable", mutexOfThePool,
                             [](TestViewer& viewer, RecordingContext&) {
                                 viewer.getTouchableBoundingVolume(viewer.pool);
                             }},
                    Question{
                        "Sensor", mutexOfThePool,
                        [](TestViewer& viewer, RecordingContext&) { viewer.getSensorInfo({}); }}),
    [](const testing::TestParamInfo<Question>& question) {
        return std::string(question.param.name);
    });

TEST_F(Viewer, AsksTheSceneOfThePool) {
    add(shownCube("everywhere", 0, 1))->info = [](const ValuePoolPtr&, const auto&) {
        return std::string("everywhere");
    };
    request(*viewer);
    const ValuePoolPtr other = Keel::make<Mirk::ValuePool>();
    const Mirk::VParameterPtr parameter = viewer->scene->parameter();
    parameter->Localize();
    const ShownPtr local = add(shownCube("local", 4, 5));
    local->info = [](const ValuePoolPtr&, const auto&) { return std::string("local"); };
    Mirk::VSceneObjects objects;
    objects.insert(0, VObjectPtr(local));
    Mirk::writeParameter(parameter, other, objects);
    EXPECT_EQ(BoxPtr(viewer->getVisibleBoundingVolume(other))->min.x, 4);
    EXPECT_EQ(BoxPtr(viewer->getVisibleBoundingVolume(viewer->pool))->min.x, 0);
    EXPECT_EQ(viewer->getTouchableBoundingVolume(other)->centre.x, 4.5);
    EXPECT_EQ(viewer->getTouchableBoundingVolume(viewer->pool)->centre.x, 0.5);
    EXPECT_EQ(viewer->getSensorInfo({}), "everywhere");
    Mirk::writeParameter(parameter, viewer->pool, objects);
    EXPECT_EQ(viewer->getSensorInfo({}), "local");
}

TEST_F(Viewer, OperationsStandInTheirOrder) {
    EXPECT_EQ((std::vector{virtualSlot(&Mirk::Viewer::makeFrameInfo),
                           virtualSlot(&Mirk::Viewer::withFrameInfo)}),
              slotsFrom(virtualSlot(&Mirk::Viewer::makeFrameInfo), 2));
    EXPECT_EQ(virtualSlot(&Mirk::Viewer::FrameCompletion::complete), 3U)
        << "behind the destructors";
}

TEST_F(Viewer, HoldsNoLockWhileObjectsAreDrawn) {
    context.pool = viewer->pool;
    context.traversal = [&](const Mirk::ObjectSelection&, double&, int, int) {
        EXPECT_TRUE(isFree(context.mutex));
        EXPECT_TRUE(isFree(viewer->pool->mutex));
        EXPECT_TRUE(isFree(viewer->mutex));
        return 1ULL;
    };
    EXPECT_EQ(viewer->render(context, renderTime, 0, 0), 1U);
}

TEST_F(Viewer, ReadsTheValueOfThePoolIfTheSceneHasLocalOnes) {
    add(shown("a"));
    request(*viewer);
    const Mirk::VParameterPtr parameter = viewer->scene->parameter();
    parameter->Localize();
    drawsNames();
    Mirk::writeParameter(parameter, context.pool, Mirk::VSceneObjects());
    viewer->render(context, renderTime, 0, 0);
    EXPECT_THAT(drawn, IsEmpty());
    context.pool = viewer->pool;
    viewer->render(context, renderTime, 0, 0);
    EXPECT_THAT(drawn, ElementsAre("0a"));
    context.pool = {};
    viewer->render(context, renderTime, 0, 0);
    EXPECT_THAT(drawn, ElementsAre("0a")) << "without pool the global value";
}

TEST_F(Viewer, HidingInThePoolOfOneViewerLeavesTheOtherAlone) {
    const ViewerPtr other = makeViewer("other");
    add(shownCube("a", 0, 1));
    add(shownCube("b", 5, 6))->setVisible(viewer->pool, false);
    request(*viewer);
    const auto volume = [](const ViewerPtr& asked) {
        return BoxPtr(asked->getVisibleBoundingVolume(asked->pool))->max.x;
    };
    EXPECT_EQ(volume(viewer), 1);
    EXPECT_EQ(volume(other), 6);
}

TEST_F(Viewer, PicksInTheSceneAsItIsNow) {
    add(shown("a", 400000));
    request(*viewer);
    const auto answer = Keel::make<Mirk::PickList>(0, 0, 1, 1, 0);
    context.picking = [&](const Mirk::ObjectSelection& objects,
                          const RecordingContext::PixelRectangle& rectangle, int, int) {
        drawn = names(objects);
        EXPECT_EQ(rectangle, (RecordingContext::PixelRectangle{4, 3, 2, 1}));
        EXPECT_TRUE(isFree(context.mutex));
        return answer;
    };
    EXPECT_EQ(viewer->pick(context, 4, 3, 2, 1), answer);
    EXPECT_THAT(drawn, ElementsAre("400000a"));
    EXPECT_EQ(context.frameObjects.NumberOfObjects(), 0U);
}

TEST_F(Viewer, TellsTheVolumesOfTheScene) {
    EXPECT_FALSE(viewer->getVisibleBoundingVolume(viewer->pool));
    EXPECT_FALSE(viewer->getTouchableBoundingVolume(viewer->pool));
    add(shownCube("a", 0, 1))->touchableBall = cube(0, 0.5);
    add(shownCube("above", 5, 6, 400000));
    add(shownCube("below", -6, -5, -100000));
    request(*viewer);
    bool wasFree = false;
    kept[0]->asked = [&] { wasFree = isFree(viewer->pool->mutex); };
    const BoxPtr visible(viewer->getVisibleBoundingVolume(viewer->pool));
    ASSERT_TRUE(visible);
    EXPECT_EQ(visible->min.x, -6);
    EXPECT_EQ(visible->max.x, 6);
    EXPECT_TRUE(wasFree) << "objects are asked without lock";
    EXPECT_EQ(viewer->pool->findInterface<Skua::BoundingBox>(), visible);
    EXPECT_EQ(viewer->getTouchableBoundingVolume(viewer->pool)->centre.x, 0.25);
    EXPECT_TRUE(viewer->getVisibleBoundingVolume({}));
    EXPECT_TRUE(viewer->getTouchableBoundingVolume({}));
}

TEST_F(Viewer, JoinsTheSensorInfoOfAllObjectsInTheOrderOfTheirLayers) {
    const Mirk::RenderAble::SensorView view;
    EXPECT_EQ(viewer->getSensorInfo(view), "");
    const auto says = [&](const std::string& text) {
        return [&, text](const ValuePoolPtr& pool, const Mirk::RenderAble::SensorView& given) {
            EXPECT_EQ(pool, viewer->pool);
            EXPECT_EQ(&given, &view);
            EXPECT_TRUE(isFree(viewer->pool->mutex));
            return text;
        };
    };
    add(shown("last", 5))->info = says("c");
    add(shown("first", 1))->info = says("a");
    add(shown("hidden", 2))->info = says("b");
    kept[2]->setVisible({}, false);
    request(*viewer);
    EXPECT_EQ(viewer->getSensorInfo(view), "abc");
}

TEST_F(Viewer, FindsTheFirstVisibleObjectWithACamera) {
    class Controller : public Shown {
    public:
        explicit Controller(const std::string& objectName, int layer)
            : VObject(objectName, layer, {}), Shown(objectName, layer) {}
        Mirk::VOutput<Mirk::VCamera> camera{this, "camera", Mirk::VCamera()};
    };
    const auto controller = [](const std::string& name, int layer) {
        return Keel::StrongPtr<Controller, Mirk::VManagedObjectBase>(new Controller(name, layer));
    };
    EXPECT_FALSE(viewer->findActiveCameraController());
    add(shown("none", 0));
    const auto hidden = controller("hidden", 1), first = controller("first", 2),
               second = controller("second", 3);
    hidden->setVisible(viewer->pool, false);
    request(*viewer);
    ASSERT_TRUE(viewer->findActiveCameraController());
    EXPECT_EQ(viewer->findActiveCameraController()->parameter(), first->camera);
    first->setVisible(viewer->pool, false);
    EXPECT_EQ(viewer->findActiveCameraController()->parameter(), second->camera);
    second->active = false;
    EXPECT_FALSE(viewer->findActiveCameraController());
    hidden->setVisible(viewer->pool, true);
    EXPECT_EQ(viewer->findActiveCameraController()->parameter(), hidden->camera);
}

TEST_F(Viewer, HasNeitherQueueNorPixelBufferWithoutSeagrass) {
    const auto never = [] { return false; };
    EXPECT_FALSE(viewer->hasQueue());
    EXPECT_FALSE(viewer->getPixelBuffer());
    EXPECT_FALSE(viewer->handleComputeQueue(context, never));
    {
        const Keel::StrongPtr<Mirk::Seagrass> brief(new Mirk::Seagrass(1000, "brief"));
        brief->queue([](Mirk::VRenderContextBasin&) {});
        viewer->setSeagrass(brief);
        EXPECT_TRUE(viewer->hasQueue());
    }
    EXPECT_FALSE(viewer->hasQueue()) << "it has died";
    EXPECT_FALSE(viewer->getPixelBuffer());
    EXPECT_FALSE(viewer->handleComputeQueue(context, never));
}

TEST_F(Viewer, ForwardsToItsSeagrass) {
    const Keel::StrongPtr<Mirk::Seagrass> seagrass(new Mirk::Seagrass(1000, "queue"));
    viewer->setSeagrass(seagrass);
    viewer->setSeagrass(seagrass);
    EXPECT_FALSE(viewer->hasQueue());
    int runs = 0;
    for (int i = 0; i < 3; ++i) {
        seagrass->queue([&](Mirk::VRenderContextBasin& given) {
            EXPECT_EQ(&given, &context);
            ++runs;
        });
    }
    EXPECT_TRUE(viewer->hasQueue());
    EXPECT_TRUE(viewer->handleComputeQueue(context, [&] { return runs == 2; }));
    EXPECT_EQ(runs, 2);
    EXPECT_TRUE(viewer->handleComputeQueue(context, [] { return false; }));
    EXPECT_FALSE(viewer->hasQueue());
    EXPECT_FALSE(viewer->handleComputeQueue(context, [] { return false; })) << "there was nothing";
    EXPECT_FALSE(viewer->getPixelBuffer());
    const Keel::StrongPtr<Mirk::PixelBuffer> buffer(new NoPixels);
    seagrass->setPixelBuffer(buffer);
    EXPECT_EQ(viewer->getPixelBuffer(), buffer);
}

TEST_F(Viewer, AnotherSeagrassReplacesTheOneBefore) {
    const auto first = Keel::make<Mirk::Seagrass>(1000, "first");
    const auto second = Keel::make<Mirk::Seagrass>(1000, "second");
    first->queue([](Mirk::VRenderContextBasin&) {});
    viewer->setSeagrass(first);
    const int held = first.controlBlock()->weak();
    viewer->setSeagrass(first);
    EXPECT_EQ(first.controlBlock()->weak(), held);
    EXPECT_TRUE(viewer->hasQueue());
    viewer->setSeagrass(second);
    EXPECT_FALSE(viewer->hasQueue());
    EXPECT_LT(first.controlBlock()->weak(), held) << "the viewer has let go of it";
    viewer->setSeagrass({});
    EXPECT_FALSE(viewer->hasQueue());
}

TEST_F(Viewer, CompletesItsFrameForAllThatLive) {
    class Completion : public TestViewer::FrameCompletion {
    public:
        void complete(const Mirk::Viewer& completed) override { of.push_back(&completed); }
        std::vector<const Mirk::Viewer*> of;
    };
    using CompletionPtr = Keel::StrongPtr<Completion, Mirk::Viewer::FrameCompletion>;
    const CompletionPtr first(new Completion), last(new Completion);
    CompletionPtr mortal(new Completion);
    viewer->frameCompletions = {first, mortal, last};
    mortal = {};
    viewer->completeFrame();
    EXPECT_THAT(first->of, ElementsAre(viewer.get()));
    EXPECT_THAT(last->of, ElementsAre(viewer.get()));
    viewer->completeFrame();
    EXPECT_EQ(first->of.size(), 2U) << "who is told stays in the list";
    EXPECT_EQ(viewer->frameCompletions.size(), 3U);
}

TEST_F(Viewer, CompletionMayLeaveTheList) {
    class Once : public TestViewer::FrameCompletion {
    public:
        explicit Once(TestViewer& of) : _viewer(of) {}
        void complete(const Mirk::Viewer&) override {
            ++calls;
            _viewer.frameCompletions.clear();
        }
        int calls = 0;

    private:
        TestViewer& _viewer;
    };
    const Keel::StrongPtr<Once, Mirk::Viewer::FrameCompletion> once(new Once(*viewer));
    viewer->frameCompletions.emplace_back(once);
    viewer->completeFrame();
    viewer->completeFrame();
    EXPECT_EQ(once->calls, 1);
}

TEST_F(Viewer, HandsTheFrameInfoToAnActionAndEndsIt) {
    std::string title;
    viewer->withFrameInfo(context, viewer->pool, [&](Mirk::Viewer::FrameInfo& info) {
        title = info.title;
        EXPECT_EQ(info.details, "");
        EXPECT_EQ(info.failures, "");
        EXPECT_FALSE(viewer->infoHasEnded);
    });
    EXPECT_EQ(title, "mine");
    EXPECT_TRUE(viewer->infoHasEnded);
    viewer->infoHasEnded = false;
    const auto fails = [](Mirk::Viewer::FrameInfo&) { throw std::runtime_error("no"); };
    EXPECT_THROW(viewer->withFrameInfo(context, {}, fails), std::runtime_error);
    EXPECT_TRUE(viewer->infoHasEnded);
    viewer->infoHasEnded = false;
    EXPECT_THROW(viewer->withFrameInfo(context, {}, {}), std::bad_function_call);
    EXPECT_TRUE(viewer->infoHasEnded) << "it was made";
}

TEST_F(Viewer, FrameGrabberHoldsWhatAPictureShouldBeLike) {
    const auto precision = Keel::StrongPtr<Mirk::VRenderPrecision>(new PlainPrecision);
    const auto addendum = Keel::make<Mirk::VContext::Addendum>();
    const Mirk::Viewer::FrameGrabber grabber({1920, 1080}, {480, 270}, precision, addendum);
    EXPECT_EQ(grabber.name, "");
    EXPECT_EQ(grabber.format, "");
    EXPECT_EQ(grabber.comment, "");
    EXPECT_EQ(grabber.imageSize, (Mirk::Viewer::Size{1920, 1080}));
    EXPECT_EQ(grabber.tileSize, (Mirk::Viewer::Size{480, 270}));
    EXPECT_EQ(grabber.precision, precision);
    EXPECT_EQ(grabber.addendum, addendum);
    EXPECT_EQ(grabber.scale, 1.0F);
    EXPECT_TRUE(standInOrder(grabber.name, grabber.format, grabber.comment, grabber.imageSize,
                             grabber.tileSize, grabber.precision, grabber.addendum, grabber.scale));
}

class MetaViewer : public Viewer {};

TEST_F(MetaViewer, HasItsOutputAndAPoolOfItsOwn) {
    const MetaViewerPtr meta = makeMetaViewer();
    ASSERT_EQ(meta->outputs().size(), 1U);
    EXPECT_EQ(meta->outputs()[0]->Name(), "MetaViewerOutput");
    EXPECT_TRUE(meta->outputs()[0]->valueType() == typeid(Mirk::MetaViewerCreatorEnvironment));
    ASSERT_TRUE(meta->getValuePool());
    EXPECT_NE(meta->getValuePool(), makeMetaViewer("other")->getValuePool());
    using Trait = Mirk::VValueTrait<Mirk::MetaViewerCreatorEnvironment>;
    Mirk::MetaViewerCreatorEnvironment environment;
    EXPECT_EQ(Trait::Text(environment), "");
    EXPECT_FALSE(Trait::setValueFromText(environment, ""));
}

TEST_F(MetaViewer, IsJoinedByViewersThatWereThereBefore) {
    const MetaViewerPtr meta = makeMetaViewer();
    ASSERT_EQ(meta->numberOfInputs(), 1U);
    EXPECT_EQ(meta->findInput("state")->parameter(), viewer->state);
    EXPECT_EQ(viewer->connections, 0) << "there was none when it was made";
}

TEST_F(MetaViewer, IsJoinedOnceByViewersThatAreMadeLater) {
    const MetaViewerPtr first = makeMetaViewer("first"), second = makeMetaViewer("second");
    const ViewerPtr later = makeViewer("later");
    EXPECT_EQ(later->connections, 2);
    EXPECT_EQ(first->numberOfInputs(), 2U);
    EXPECT_EQ(second->numberOfInputs(), 2U);
    std::vector<std::string> seen;
    first->iterateParents(
        [&](const VObjectPtr& parent, const Mirk::VSlot&) {
            seen.push_back(parent->BaseName());
            return true;
        },
        0);
    EXPECT_THAT(seen, ElementsAre("viewer", "later"));
    EXPECT_EQ(later->state.addThisToAllTypeRequestingObjects(0), 2);
    EXPECT_EQ(first->numberOfInputs(), 2U);
}

TEST_F(MetaViewer, IsLeftByViewersThatEnd) {
    const MetaViewerPtr meta = makeMetaViewer();
    for (int i = 0; i < 10; ++i) makeViewer("brief");
    EXPECT_EQ(meta->numberOfInputs(), 1U);
}

TEST_F(MetaViewer, MayEndBeforeItsViewers) {
    MetaViewerPtr meta = makeMetaViewer();
    const ViewerPtr later = makeViewer("later");
    meta = {};
    request(*later);
    EXPECT_EQ(later->render(context, renderTime, 0, 0), 0U);
    EXPECT_EQ(makeViewer("last")->connections, 0);
}

TEST_F(MetaViewer, IsJoinedByViewersThatAreMadeAtTheSameTime) {
    for (int i = 0; i < 200; ++i) {
        MetaViewerPtr meta;
        std::thread thread([&] { meta = makeMetaViewer(); });
        const ViewerPtr made = makeViewer("made");
        thread.join();
        ASSERT_TRUE(meta->CreatedFilteredConnection(made->state)) << "round " << i;
        ASSERT_EQ(meta->numberOfInputs(), 2U);
    }
}

} // namespace
