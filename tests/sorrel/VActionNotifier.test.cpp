#include <sorrel/VActionNotifier.hpp>

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>

using Mirk::VActionNotifier;
using Mirk::VObject;
using Mirk::VObjectPtr;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

class VActionNotifierTest : public testing::Test {
protected:
    ~VActionNotifierTest() override { VActionNotifier::clear(); }

    static SummingPtr announce(const std::string& name) {
        SummingPtr object = makeSumming(name);
        VActionNotifier::VObjectCreation(object, Keel::Intercube(), {});
        return object;
    }

    const ShellRecorderPtr shell = listenToShell();
};

TEST_F(VActionNotifierTest, AnnouncedObjectIsKeptAlive) {
    const Keel::WeakPtr<VObject, Mirk::VManagedObjectBase> weak(announce("object"));
    EXPECT_TRUE(weak);
    EXPECT_EQ(VActionNotifier::objects().size(), 1u);
    EXPECT_THAT(shell->events(), ElementsAre("created object"));
    EXPECT_TRUE(VActionNotifier::remove(VObjectPtr(weak)));
    EXPECT_FALSE(weak);
    EXPECT_THAT(shell->events(), ElementsAre("created object", "removed object"));
}

TEST_F(VActionNotifierTest, SecondAnnouncementTellsNobody) {
    const SummingPtr object = announce("object");
    VActionNotifier::VObjectCreation(object, Keel::Intercube(), {});
    VActionNotifier::VObjectCreation({}, Keel::Intercube(), {});
    EXPECT_EQ(shell->events().size(), 1u);
    EXPECT_EQ(VActionNotifier::objects().size(), 1u);
}

TEST_F(VActionNotifierTest, RemovedObjectMayBeAnnouncedAgainAsTheLast) {
    const SummingPtr first = announce("first"), second = announce("second"),
                     third = announce("third");
    EXPECT_TRUE(VActionNotifier::remove(second));
    EXPECT_THAT(VActionNotifier::objects(), ElementsAre(first, third));
    VActionNotifier::VObjectCreation(second, Keel::Intercube(), {});
    EXPECT_THAT(VActionNotifier::objects(), ElementsAre(first, third, second));
    VActionNotifier::clear();
    EXPECT_FALSE(VActionNotifier::remove(first));
    EXPECT_FALSE(VActionNotifier::remove({}));
    VActionNotifier::VObjectCreation(first, Keel::Intercube(), {});
    EXPECT_THAT(VActionNotifier::objects(), ElementsAre(first));
}

TEST_F(VActionNotifierTest, RemovingDisconnectsOnBothSides) {
    const SummingPtr source = announce("source"), middle = announce("middle"),
                     consumer = announce("consumer"), unknown = makeSumming("unknown");
    middle->attachParameter(source->sum, middle->own, {});
    consumer->attachParameter(middle->sum, consumer->own, {});
    consumer->addSource(*middle);
    unknown->addSource(*middle);
    const WatcherPtr watcher(new Watcher);
    EXPECT_TRUE(VActionNotifier::remove(middle));
    EXPECT_FALSE(middle->own->isConnected());
    EXPECT_FALSE(consumer->own->isConnected());
    EXPECT_FALSE(consumer->findInput("source"));
    EXPECT_FALSE(unknown->findInput("source")) << "objects that the shell does not hold as well";
    EXPECT_FALSE(VActionNotifier::remove(middle));
    EXPECT_THAT(VActionNotifier::objects(), ElementsAre(source, consumer));
}

TEST_F(VActionNotifierTest, ClearGoesBackwards) {
    const Keel::WeakPtr<VObject, Mirk::VManagedObjectBase> first(announce("first"));
    announce("second")->addSource(static_cast<Summing&>(*first));
    VActionNotifier::clear();
    EXPECT_FALSE(first);
    EXPECT_THAT(VActionNotifier::objects(), IsEmpty());
    EXPECT_THAT(shell->events(),
                ElementsAre("created first", "created second", "removed second", "removed first"));
}

TEST_F(VActionNotifierTest, WarningGoesToTheListeners) {
    testing::internal::CaptureStdout();
    VActionNotifier::Warning("careful");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "");
    EXPECT_THAT(shell->events(), ElementsAre("warning careful"));
    VActionNotifier::removeListener(shell);
    testing::internal::CaptureStdout();
    VActionNotifier::Warning("careful");
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Warning: careful\n");
    EXPECT_EQ(shell->events().size(), 1u);
}

TEST_F(VActionNotifierTest, ListenerIsToldOnceAndKeptWeakly) {
    VActionNotifier::addListener(shell);
    ShellRecorderPtr other = listenToShell();
    const Keel::WeakPtr<VActionNotifier> weak(other);
    other = {};
    EXPECT_FALSE(weak);
    VActionNotifier::Warning("careful");
    EXPECT_EQ(shell->events().size(), 1u);
}

/// Uses the shell when it is told of something.
class Meddler : public VActionNotifier {
public:
    void objectCreated(const VObjectPtr& object, const Keel::Intercube&,
                       const Keel::WeakPtr<Mirk::VCreatorBase>&) override {
        remove(object);
    }
    void objectRemoved(const VObjectPtr&) override {
        clear();
        Warning("removed");
    }
};

TEST_F(VActionNotifierTest, NoLockIsHeldWhileListenersAreTold) {
    const Keel::StrongPtr<VActionNotifier> meddler(new Meddler);
    VActionNotifier::addListener(meddler);
    announce("object");
    EXPECT_THAT(VActionNotifier::objects(), IsEmpty());
    EXPECT_THAT(shell->events(),
                ElementsAre("created object", "removed object", "warning removed"));
}

} // namespace
