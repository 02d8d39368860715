// Requests over graphs of 10,000 objects.

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <pthread.h>

#include <functional>
#include <numeric>
#include <string>
#include <vector>

using Mirk::VRequest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

constexpr std::size_t Objects = 10000;

class RequestGraphTest : public testing::Test {
protected:
    void make(std::size_t number) {
        for (std::size_t i = 0; i < number; ++i) {
            objects.push_back(makeSumming("node" + std::to_string(i)));
        }
    }
    /// Each object has the one behind it as source.
    void chain(std::size_t first, std::size_t last) {
        for (std::size_t i = first; i < last; ++i) objects[i]->addSource(*objects[i + 1]);
    }
    /// Objects 0 to 9999: 0 depends on the heads of a chain (1 to 3000), a fan (3001 to 6000) and
    /// a row of diamonds (6001 to 9999): top, two in the middle, which share the next top.
    void makeMixedGraph() {
        make(Objects);
        chain(1, 3000);
        for (std::size_t i = 3002; i <= 6000; ++i) objects[3001]->addSource(*objects[i]);
        for (std::size_t top = 6001; top + 2 < Objects; top += 3) {
            objects[top]->addSource(*objects[top + 1]);
            objects[top]->addSource(*objects[top + 2]);
            if (top + 3 >= Objects) continue;
            objects[top + 1]->addSource(*objects[top + 3]);
            objects[top + 2]->addSource(*objects[top + 3]);
        }
        for (const std::size_t head : {1u, 3001u, 6001u}) objects[0]->addSource(*objects[head]);
    }
    std::size_t updatesOfRequest() {
        VRequest request(pool);
        EXPECT_TRUE(request.process(*objects[0], 1.0));
        return request.numberOfUpdates();
    }
    std::vector<std::size_t> whoWasUpdatedSince(const std::vector<int>& before) const {
        std::vector<std::size_t> updated;
        for (std::size_t i = 0; i < objects.size(); ++i) {
            if (objects[i]->updates != before[i]) updated.push_back(i);
        }
        return updated;
    }
    std::vector<int> updates() const {
        std::vector<int> counts;
        for (const SummingPtr& object : objects) counts.push_back(object->updates);
        return counts;
    }

    std::vector<SummingPtr> objects;
    const Mirk::ValuePoolPtr pool{new Mirk::ValuePool};
};

TEST_F(RequestGraphTest, FirstRequestUpdatesEachObjectOnceAndASecondOneNothing) {
    makeMixedGraph();
    EXPECT_EQ(updatesOfRequest(), Objects);
    EXPECT_EQ(updates(), std::vector<int>(Objects, 1));
    EXPECT_EQ(updatesOfRequest(), 0u);
    EXPECT_EQ(updatesOfRequest(), 0u);
    EXPECT_EQ(updates(), std::vector<int>(Objects, 1));
}

TEST_F(RequestGraphTest, SourcesComeFirst) {
    makeMixedGraph();
    objects[3000]->own.set({}, 3.0);
    objects[6000]->own.set({}, 5.0);
    EXPECT_EQ(updatesOfRequest(), Objects);
    double sum = 0;
    EXPECT_TRUE(objects[0]->sum.get({}, sum));
    EXPECT_EQ(sum, 8.0);
}

TEST_F(RequestGraphTest, ChangeInAChainUpdatesWhatLiesAhead) {
    makeMixedGraph();
    updatesOfRequest();
    const std::vector<int> before = updates();
    objects[1500]->own.set({}, 1.0);
    EXPECT_EQ(updatesOfRequest(), 1501u);
    std::vector<std::size_t> expected(1501);
    std::iota(expected.begin(), expected.end(), 0u);
    EXPECT_EQ(whoWasUpdatedSince(before), expected);
    EXPECT_EQ(updatesOfRequest(), 0u);
}

TEST_F(RequestGraphTest, ChangeInAFanUpdatesItselfAndWhoGathers) {
    makeMixedGraph();
    updatesOfRequest();
    const std::vector<int> before = updates();
    objects[4711]->own.set({}, 1.0);
    EXPECT_EQ(updatesOfRequest(), 3u);
    EXPECT_THAT(whoWasUpdatedSince(before), ElementsAre(0, 3001, 4711));
}

TEST_F(RequestGraphTest, ChangeBelowADiamondUpdatesBothSidesAndTheTopOnce) {
    makeMixedGraph();
    updatesOfRequest();
    const std::vector<int> before = updates();
    objects[6007]->own.set({}, 1.0);
    EXPECT_EQ(updatesOfRequest(), 8u);
    EXPECT_THAT(whoWasUpdatedSince(before),
                ElementsAre(0, 6001, 6002, 6003, 6004, 6005, 6006, 6007));
}

TEST_F(RequestGraphTest, ResultThatStaysTheSameStopsTheUpdates) {
    makeMixedGraph();
    updatesOfRequest();
    const std::vector<int> before = updates();
    objects[1500]->own.set({}, 1.0);
    objects[1501]->own.set({}, -1.0);
    EXPECT_EQ(updatesOfRequest(), 2u);
    EXPECT_THAT(whoWasUpdatedSince(before), ElementsAre(1500, 1501));
}

TEST_F(RequestGraphTest, NewConnectionAfterACleanRequestIsFollowed) {
    makeMixedGraph();
    updatesOfRequest();
    updatesOfRequest();
    const SummingPtr late = makeSumming("late");
    late->own.set({}, 2.0);
    objects[2999]->addSource(*late);
    EXPECT_EQ(updatesOfRequest(), 3001u); // the new one, 0 to 2999
    double sum = 0;
    EXPECT_TRUE(objects[0]->sum.get({}, sum));
    EXPECT_EQ(sum, 2.0);
    late->own.set({}, 3.0);
    EXPECT_EQ(updatesOfRequest(), 3001u);
}

TEST_F(RequestGraphTest, SourceThatHasGoneMakesItsConsumersDueOnce) {
    makeMixedGraph();
    updatesOfRequest();
    updatesOfRequest();
    objects[3500] = makeSumming("replacement");
    EXPECT_EQ(updatesOfRequest(), 1u); // 3001: its sum stays the same
    EXPECT_EQ(updatesOfRequest(), 0u);
}

TEST_F(RequestGraphTest, FailureMarksItsObjectAndDoesNotStopTheOthers) {
    makeMixedGraph();
    objects[1500]->behaviour = Summing::Behaviour::ReturnsFalse;
    objects[4711]->behaviour = Summing::Behaviour::Throws;
    VRequest request(pool);
    EXPECT_FALSE(request.process(*objects[0], 1.0));
    EXPECT_EQ(request.numberOfUpdates(), Objects);
    ASSERT_EQ(request.failures().size(), 2u);
    EXPECT_EQ(request.failures()[0].object, "node1500");
    EXPECT_EQ(request.failures()[0].reason, "its update returned false");
    EXPECT_EQ(request.failures()[1].object, "node4711");
    EXPECT_EQ(request.failures()[1].reason, "no sum today");
    EXPECT_TRUE(objects[1500]->hasFailed(pool));
    EXPECT_TRUE(objects[4711]->hasFailed(pool));
    EXPECT_EQ(objects[4711]->failureReason(pool), "no sum today");
    EXPECT_FALSE(objects[0]->hasFailed(pool));
}

TEST_F(RequestGraphTest, FailedObjectIsNotTriedAgainUntilAnInputChanges) {
    makeMixedGraph();
    objects[1500]->behaviour = Summing::Behaviour::Throws;
    EXPECT_FALSE(VRequest(pool).process(*objects[0], 1.0));
    for (int i = 0; i < 2; ++i) {
        VRequest again(pool);
        EXPECT_FALSE(again.process(*objects[0], 1.0));
        EXPECT_EQ(again.numberOfUpdates(), 0u);
        EXPECT_THAT(again.failures(), IsEmpty());
    }
    objects[1500]->behaviour = Summing::Behaviour::Works;
    objects[1500]->own.set({}, 1.0);
    EXPECT_EQ(updatesOfRequest(), 1501u);
    EXPECT_FALSE(objects[1500]->hasFailed(pool));
    EXPECT_EQ(objects[1500]->failureReason(pool), "");
}

TEST_F(RequestGraphTest, CycleIsReportedOnceWithTheNamesAlongIt) {
    make(Objects);
    chain(0, Objects - 1);
    objects[5002]->addSource(*objects[5000]);
    objects[5002]->addSource(*objects[5000]); // one connection: there is an input for it already
    const ShellRecorderPtr shell = listenToShell();
    VRequest request(pool);
    EXPECT_FALSE(request.process(*objects[0], 1.0));
    EXPECT_THAT(request.cycles(), ElementsAre("node5000 -> node5001 -> node5002 -> node5000"));
    EXPECT_EQ(request.numberOfUpdates(), Objects);
    EXPECT_THAT(shell->events(), ElementsAre("warning The connections form a cycle: "
                                             "node5000 -> node5001 -> node5002 -> node5000"));
    VRequest second(pool);
    EXPECT_FALSE(second.process(*objects[0], 1.0));
    EXPECT_EQ(second.cycles().size(), 1u);
}

TEST_F(RequestGraphTest, CycleIsWarnedOfOnceUntilSomethingIsConnectedAnew) {
    const SummingPtr a = makeSumming("a"), b = makeSumming("b");
    a->addSource(*b);
    b->addSource(*a);
    const ShellRecorderPtr shell = listenToShell();
    for (int i = 0; i < 3; ++i) {
        VRequest request(pool);
        EXPECT_FALSE(request.process(*a, 1.0));
        EXPECT_THAT(request.cycles(), ElementsAre("a -> b -> a"));
    }
    EXPECT_EQ(shell->events().size(), 1u);
    b->addSource(*makeSumming("c"));
    VRequest request(pool);
    request.process(*a, 1.0);
    EXPECT_EQ(shell->events().size(), 2u);
}

TEST_F(RequestGraphTest, TwoConnectionsBetweenTheSameObjectsAreOneCycle) {
    make(2);
    objects[0]->addSource(*objects[1]);
    objects[1]->addSource(*objects[0]);
    EXPECT_EQ(objects[1]->attachParameter(objects[0]->sum, objects[1]->own, {}), Mirk::Attached);
    const ShellRecorderPtr shell = listenToShell();
    VRequest request(pool);
    EXPECT_FALSE(request.process(*objects[0], 1.0));
    EXPECT_THAT(request.cycles(), ElementsAre("node0 -> node1 -> node0"));
    EXPECT_EQ(shell->events().size(), 1u);
}

TEST_F(RequestGraphTest, ObjectThatIsItsOwnSourceIsACycle) {
    make(1);
    objects[0]->addSource(*objects[0]);
    const ShellRecorderPtr shell = listenToShell();
    VRequest request(pool);
    EXPECT_FALSE(request.process(*objects[0], 1.0));
    EXPECT_THAT(request.cycles(), ElementsAre("node0 -> node0"));
    EXPECT_EQ(objects[0]->updates, 1);
}

/// Runs a function on a thread with a stack of 512 KiB: 52 bytes for each of 10,000 objects.
void runOnSmallStack(const std::function<void()>& function) {
    pthread_attr_t attributes;
    pthread_attr_init(&attributes);
    pthread_attr_setstacksize(&attributes, 512 * 1024);
    pthread_t thread;
    auto* const argument = const_cast<std::function<void()>*>(&function);
    const int failed = pthread_create(
        &thread, &attributes,
        [](void* called) -> void* {
            (*static_cast<std::function<void()>*>(called))();
            return nullptr;
        },
        argument);
    pthread_attr_destroy(&attributes);
    ASSERT_EQ(failed, 0);
    pthread_join(thread, nullptr);
}

TEST_F(RequestGraphTest, LongChainNeedsNoDeepStack) {
    make(Objects);
    chain(0, Objects - 1);
    runOnSmallStack([this] {
        EXPECT_EQ(updatesOfRequest(), Objects);
        objects.back()->own.set({}, 1.0);
        EXPECT_EQ(updatesOfRequest(), Objects);
        std::size_t parents = objects[0]->iterateParents(
            [](const Mirk::VObjectPtr&, const Mirk::VSlot&) { return true; },
            static_cast<int>(Objects));
        EXPECT_EQ(parents, Objects - 1);
        objects.clear();
    });
}

TEST_F(RequestGraphTest, EachPoolIsBroughtUpToDateByItself) {
    make(100);
    chain(0, 99);
    for (const SummingPtr& object : objects) {
        object->own->parameter()->Localize();
        object->sum->Localize();
    }
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    objects[99]->own.set(other, 7.0);
    EXPECT_EQ(updatesOfRequest(), 100u);
    VRequest second(other);
    second.process(*objects[0], 1.0);
    EXPECT_EQ(second.numberOfUpdates(), 100u);
    double here = -1, there = -1;
    EXPECT_TRUE(objects[0]->sum.get(pool, here));
    EXPECT_TRUE(objects[0]->sum.get(other, there));
    EXPECT_EQ(here, 0.0);
    EXPECT_EQ(there, 7.0);
    objects[50]->own.set(other, 1.0);
    EXPECT_EQ(updatesOfRequest(), 0u);
    VRequest third(other);
    third.process(*objects[0], 1.0);
    EXPECT_EQ(third.numberOfUpdates(), 51u);
}

} // namespace
