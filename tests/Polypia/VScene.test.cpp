#include <Polypia/VScene.hpp>

#include "shownObject.hpp"

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VRequest.hpp>

#include <gmock/gmock.h>

#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

using Mirk::VActionNotifier;
using Mirk::ValuePoolPtr;
using Mirk::VObjectPtr;
using Mirk::VScenePtr;
using testing::ElementsAre;
using testing::IsEmpty;

/// Counts what is announced, and acts on it.
class Listener : public VActionNotifier {
public:
    void objectCreated(const VObjectPtr& object, const Keel::Intercube&,
                       const Keel::WeakPtr<Mirk::VCreatorBase>& creator) override {
        EXPECT_FALSE(creator);
        created.push_back(object->Name());
        if (action) action();
    }
    std::vector<std::string> created;
    std::function<void()> action;
};
using ListenerPtr = Keel::StrongPtr<Listener, VActionNotifier>;

/// Counts the changes of a parameter.
class Watcher : public Mirk::ValueNotifier {
public:
    void touched(const Mirk::ValueNotifierList&, const Mirk::VValuePtr& value,
                 const ValuePoolPtr& pool) override {
        if (!value) return;
        ++changes;
        EXPECT_FALSE(pool) << "the selection is one for all pools";
    }
    int changes = 0;
};
using WatcherPtr = Keel::StrongPtr<Watcher, Mirk::ValueNotifier>;

class VScene : public testing::Test {
protected:
    ~VScene() override { VActionNotifier::clear(); }

    static VScenePtr theScene() { return Mirk::VScene::DefaultScene(); }
    static Mirk::VParameterPtr output() { return theScene()->findOutput("objects")->parameter(); }
    /// Brings a scene up to date. Returns how many updates that took.
    std::size_t request(Mirk::VObject& scene) {
        Mirk::VRequest request(pool);
        EXPECT_TRUE(request.process(scene, 1.0));
        return request.numberOfUpdates();
    }
    std::size_t request() { return request(*theScene()); }
    std::vector<std::string> published(const VScenePtr& scene) {
        Mirk::VSceneObjects objects;
        EXPECT_TRUE(Mirk::readSlot(scene->findOutput("objects"), pool, objects));
        std::vector<std::string> names;
        objects.iterate([&](int layer, const Mirk::ObjectSelection::WeakObject& entry) {
            names.push_back(std::to_string(layer) + (entry ? entry->Name() : " dead"));
            return true;
        });
        return names;
    }
    /// What the default scene shows after a request.
    std::vector<std::string> shownObjects() {
        request();
        return published(theScene());
    }

    const ValuePoolPtr pool{new Mirk::ValuePool};
};

TEST_F(VScene, HasItsSlots) {
    const VScenePtr scene(new Mirk::VScene("scene"));
    EXPECT_EQ(scene->BaseName(), "scene");
    EXPECT_EQ(scene->priority, 0);
    EXPECT_FALSE(scene->preferences());
    ASSERT_EQ(scene->inputs().size(), 1U);
    EXPECT_EQ(scene->inputs()[0]->Name(), "Complexity");
    EXPECT_EQ(scene->inputs()[0]->expertLevel(), 1);
    int complexity = -1;
    EXPECT_TRUE(Mirk::readSlot(scene->inputs()[0], pool, complexity));
    EXPECT_EQ(complexity, 0);
    ASSERT_EQ(scene->outputs().size(), 1U);
    EXPECT_EQ(scene->outputs()[0]->Name(), "objects");
    EXPECT_TRUE(scene->outputs()[0]->valueType() == typeid(Mirk::VSceneObjects));
    EXPECT_THAT(published(scene), IsEmpty());
    EXPECT_FALSE(scene->processesRequests());
}

TEST_F(VScene, DefaultSceneIsMadeAndAnnouncedOnce) {
    const ListenerPtr listener(new Listener);
    VActionNotifier::addListener(listener);
    const VScenePtr first = theScene();
    EXPECT_EQ(first->Name(), "DefaultScene");
    EXPECT_TRUE(first->processesRequests());
    EXPECT_EQ(theScene(), first);
    EXPECT_THAT(listener->created, ElementsAre("DefaultScene"));
    EXPECT_THAT(VActionNotifier::objects(), ElementsAre(VObjectPtr(first)));
}

TEST_F(VScene, DefaultSceneLivesUntilTheShellIsCleared) {
    const Keel::WeakPtr<Mirk::VScene, Mirk::VManagedObjectBase> seen(theScene());
    EXPECT_TRUE(seen);
    VActionNotifier::clear();
    EXPECT_FALSE(seen);
    EXPECT_EQ(theScene()->Name(), "DefaultScene");
}

TEST_F(VScene, DefaultSceneIsTheOneOfThatName) {
    const VScenePtr mine(new Mirk::VScene("DefaultScene"));
    EXPECT_EQ(theScene(), mine);
}

TEST_F(VScene, DefaultSceneIsRememberedIfItsNameIsTakenBySomethingElse) {
    const VObjectPtr other(new Mirk::VObject("DefaultScene", 0, {}));
    const VScenePtr scene = theScene();
    EXPECT_EQ(theScene(), scene);
    const ShownPtr a = shown("a");
    EXPECT_THAT(shownObjects(), ElementsAre("0a"));
}

TEST_F(VScene, DefaultSceneCanBeAskedForAndJoinedWhileItIsAnnounced) {
    const ListenerPtr listener(new Listener);
    VActionNotifier::addListener(listener);
    VScenePtr found;
    ShownPtr made;
    listener->action = [&] {
        found = theScene();
        made = shown("made meanwhile");
    };
    EXPECT_EQ(theScene(), found);
    EXPECT_EQ(listener->created.size(), 1U);
    EXPECT_THAT(shownObjects(), ElementsAre("0made meanwhile"));
}

TEST_F(VScene, DefaultSceneIsOneForAllThreads) {
    const ListenerPtr listener(new Listener);
    VActionNotifier::addListener(listener);
    std::vector<VScenePtr> scenes(8);
    std::vector<std::thread> threads;
    for (VScenePtr& scene : scenes) threads.emplace_back([&scene] { scene = theScene(); });
    for (std::thread& thread : threads) thread.join();
    EXPECT_THAT(scenes, testing::Each(theScene()));
    EXPECT_EQ(listener->created.size(), 1U);
}

TEST_F(VScene, PublishesAnEmptySelectionWithoutObjects) {
    EXPECT_EQ(request(), 1U);
    EXPECT_THAT(published(theScene()), IsEmpty());
}

TEST_F(VScene, DisplayObjectsJoinItByThemselves) {
    const ShownPtr a = shown("a");
    const Mirk::VSlotPtr input = theScene()->findInput("a.renderable");
    ASSERT_TRUE(input);
    EXPECT_EQ(input->expertLevel(), 0);
    EXPECT_EQ(input->parameter(), a->findOutput("renderable")->parameter());
    const Mirk::VSlotPtr visibility = a->findInput(Mirk::RenderAble::VisibilitySlotName());
    EXPECT_EQ(visibility->flags & Mirk::VSlot::GlobalFlag, 0U);
    EXPECT_TRUE(visibility->parameter()->holdsLocalValues());
    EXPECT_THAT(shownObjects(), ElementsAre("0a"));
}

TEST_F(VScene, PriorityIsTheLayerAndEqualLayersStayInTheOrderOfTheWalk) {
    const ShownPtr a = shown("a", 7), b = shown("b", -3), c = shown("c", 7);
    EXPECT_THAT(shownObjects(), ElementsAre("-3b", "7a", "7c"));
}

TEST_F(VScene, ObjectsOfOneNameAreAllShown) {
    const ShownPtr first = shown("same");
    ShownPtr second = shown("same");
    EXPECT_THAT(shownObjects(), ElementsAre("0same", "0same#2"));
    second = {};
    EXPECT_THAT(shownObjects(), ElementsAre("0same"));
    second = shown("same");
    EXPECT_THAT(shownObjects(), ElementsAre("0same", "0" + second->Name()));
}

TEST_F(VScene, ObjectThatHasDiedIsGoneAfterTheNextUpdate) {
    const ShownPtr a = shown("a");
    ShownPtr b = shown("b");
    EXPECT_THAT(shownObjects(), ElementsAre("0a", "0b"));
    b = {};
    EXPECT_EQ(request(), 1U);
    EXPECT_THAT(published(theScene()), ElementsAre("0a"));
}

TEST_F(VScene, KeepsNothingOfObjectsThatHaveDied) {
    const std::size_t before = theScene()->numberOfInputs();
    for (int i = 0; i < 1000; ++i) shown("brief");
    EXPECT_EQ(theScene()->numberOfInputs(), before);
    EXPECT_THAT(shownObjects(), IsEmpty());
}

TEST_F(VScene, IsLeftByObjectsWhoseConstructionFails) {
    class Failing : public Shown {
    public:
        Failing() : VObject("failing", 0, {}), Shown("failing") { throw std::runtime_error("no"); }
    };
    const std::size_t before = theScene()->numberOfInputs();
    EXPECT_THROW(Failing(), std::runtime_error);
    EXPECT_EQ(theScene()->numberOfInputs(), before);
}

TEST_F(VScene, InputsThatAnObjectLeftBehindAreTakenAwayByTheNextUpdate) {
    theScene()->addParameter("a.renderable", 0,
                             Mirk::VParameterPtr(new Mirk::VValueParameter<int>(0, "mine")), false);
    ShownPtr a = shown("a");
    EXPECT_TRUE(theScene()->findInput("a.renderable#2"));
    EXPECT_THAT(shownObjects(), ElementsAre("0a"));
    a = {};
    EXPECT_THAT(shownObjects(), IsEmpty());
    EXPECT_FALSE(theScene()->findInput("a.renderable#2"));
    EXPECT_TRUE(theScene()->findInput("a.renderable")) << "this is another's";
    EXPECT_TRUE(theScene()->findInput("Complexity"));
}

TEST_F(VScene, MakesNoSceneForAnObjectThatDies) {
    ShownPtr a = shown("a");
    VActionNotifier::clear();
    const ListenerPtr listener(new Listener);
    VActionNotifier::addListener(listener);
    a = {};
    EXPECT_THAT(listener->created, IsEmpty());
}

TEST_F(VScene, ObjectIsShownOnlyWhenItIsComplete) {
    request();
    Shown* const incomplete = new Shown("a");
    EXPECT_THAT(shownObjects(), IsEmpty());
    EXPECT_TRUE(theScene()->findInput("a.renderable")) << "it will be shown";
    EXPECT_EQ(request(), 0U);
    const ShownPtr complete(incomplete);
    EXPECT_EQ(request(), 1U);
    EXPECT_THAT(published(theScene()), ElementsAre("0a"));
}

TEST_F(VScene, NotifiesIfTheObjectsAreOthersThanBefore) {
    const ShownPtr a = shown("a");
    request();
    const WatcherPtr watcher(new Watcher);
    output()->addNotifier(Keel::WeakPtr<Mirk::ValueNotifier>(watcher));
    EXPECT_EQ(request(), 0U) << "nothing is due";
    Mirk::VRequest again(pool);
    EXPECT_TRUE(theScene()->update(again, 1.0));
    EXPECT_EQ(watcher->changes, 0);
    const ShownPtr b = shown("b");
    request();
    EXPECT_EQ(watcher->changes, 1);
    EXPECT_TRUE(theScene()->update(again, 1.0));
    EXPECT_EQ(watcher->changes, 1);
}

TEST_F(VScene, OfALocalOutputItNotifiesForThePoolAlone) {
    class PoolWatcher : public Mirk::ValueNotifier {
    public:
        void touched(const Mirk::ValueNotifierList&, const Mirk::VValuePtr& value,
                     const ValuePoolPtr& pool) override {
            if (value) pools.push_back(pool);
        }
        std::vector<ValuePoolPtr> pools;
    };
    const ShownPtr a = shown("a");
    output()->Localize();
    const Keel::StrongPtr<PoolWatcher, Mirk::ValueNotifier> watcher(new PoolWatcher);
    output()->addNotifier(Keel::WeakPtr<Mirk::ValueNotifier>(watcher));
    request();
    EXPECT_THAT(watcher->pools, ElementsAre(pool));
    const auto published = [](const ValuePoolPtr& in) {
        Mirk::VSceneObjects objects;
        EXPECT_TRUE(Mirk::readSlot(theScene()->findOutput("objects"), in, objects));
        return objects.NumberOfObjects();
    };
    EXPECT_EQ(published(pool), 1U);
    EXPECT_EQ(published(ValuePoolPtr(new Mirk::ValuePool)), 0U);
}

TEST_F(VScene, ThousandUpdatesOfAnUnchangedSceneChangeNothing) {
    const ShownPtr a = shown("a");
    request();
    const auto age = output()->age(pool);
    Mirk::VRequest again(pool);
    for (int i = 0; i < 1000; ++i) EXPECT_TRUE(theScene()->update(again, 1.0));
    EXPECT_EQ(output()->age(pool), age);
}

TEST_F(VScene, ComplexityIsHowFarItLooksBehindItsObjects) {
    const VScenePtr scene(new Mirk::VScene("own"));
    scene->enableRequestProcessing();
    const ShownPtr direct = shown("direct"), behind = shown("behind"), far = shown("far");
    const auto connect = [](Mirk::VObject& to, const ShownPtr& from) {
        to.addParameter("in", 0, from->findOutput("renderable")->parameter(), true);
    };
    connect(*scene, direct);
    connect(*direct, behind);
    connect(*behind, far);
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0direct"));
    Mirk::writeSlot(scene->findInput("Complexity"), {}, 1);
    EXPECT_EQ(request(*scene), 1U);
    EXPECT_THAT(published(scene), ElementsAre("0direct", "0behind"));
    Mirk::writeSlot(scene->findInput("Complexity"), {}, 2);
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0direct", "0behind", "0far"));
}

TEST_F(VScene, SeesConnectionsBehindItsObjectsChange) {
    const VScenePtr scene(new Mirk::VScene("own"));
    scene->enableRequestProcessing();
    const ShownPtr direct = shown("direct"), behind = shown("behind");
    scene->addParameter("in", 0, direct->findOutput("renderable")->parameter(), true);
    Mirk::writeSlot(scene->findInput("Complexity"), {}, 1);
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0direct"));
    direct->addParameter("in", 0, behind->findOutput("renderable")->parameter(), true);
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0direct", "0behind"));
    direct->detach(direct->findInput("in"));
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0direct"));
}

TEST_F(VScene, ComplexityIsReadInThePoolOfTheRequest) {
    const VScenePtr scene(new Mirk::VScene("own"));
    scene->enableRequestProcessing();
    const ShownPtr direct = shown("direct"), behind = shown("behind");
    scene->addParameter("in", 0, direct->findOutput("renderable")->parameter(), true);
    direct->addParameter("in", 0, behind->findOutput("renderable")->parameter(), true);
    const Mirk::VSlotPtr complexity = scene->findInput("Complexity");
    complexity->parameter()->Localize();
    Mirk::writeSlot(complexity, pool, 1);
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0direct", "0behind"));
    const ValuePoolPtr other(new Mirk::ValuePool);
    Mirk::VRequest elsewhere(other);
    EXPECT_TRUE(elsewhere.process(*scene, 1.0));
    EXPECT_THAT(published(scene), ElementsAre("0direct"));
}

TEST_F(VScene, PassesOverObjectsThatCannotBeDrawn) {
    const VObjectPtr other(new Mirk::VObject("other", 0, {}));
    const Mirk::VParameterPtr number(new Mirk::VValueParameter<int>(1, "number"));
    other->registerOutput(number, "number");
    const VScenePtr scene(new Mirk::VScene("own"));
    scene->enableRequestProcessing();
    scene->addParameter("number", 0, number, true);
    const ShownPtr a = shown("a");
    scene->addParameter("a", 0, a->findOutput("renderable")->parameter(), true);
    request(*scene);
    EXPECT_THAT(published(scene), ElementsAre("0a"));
}

TEST_F(VScene, FailsNeverForWantOfAPool) {
    const ShownPtr a = shown("a");
    Mirk::VRequest request{ValuePoolPtr()};
    EXPECT_TRUE(request.process(*theScene(), 1.0));
    EXPECT_THAT(published(theScene()), ElementsAre("0a"));
}

} // namespace
