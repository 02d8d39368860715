#include <sorrel/VRequest.hpp>

#include "Recorder.hpp"
#include "Summing.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Mirk::RequestThread;
using Mirk::VObject;
using Mirk::VObjectPtr;
using Mirk::VRequest;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

/// Does in its update what a test says.
class Doing : public Summing {
public:
    Doing(const std::string& objectName, std::function<bool(VRequest&)> action)
        : Summing(objectName), _action(std::move(action)) {}
    bool update(VRequest& request, double precision) override {
        Summing::update(request, precision);
        return _action(request);
    }

private:
    const std::function<bool(VRequest&)> _action;
};
using DoingPtr = Keel::StrongPtr<Doing, Mirk::VManagedObjectBase>;

class VRequestTest : public testing::Test {
protected:
    const Mirk::ValuePoolPtr pool{new Mirk::ValuePool};
    const SummingPtr object = makeSumming("object"), source = makeSumming("source");
};

TEST_F(VRequestTest, HoldsItsPool) {
    EXPECT_EQ(VRequest(pool).pool, pool);
    EXPECT_FALSE(VRequest({}).pool);
}

TEST_F(VRequestTest, PrecisionGoesToTheUpdate) {
    VRequest request(pool);
    request.process(*object, 0.25);
    EXPECT_EQ(object->lastPrecision, 0.25);
}

TEST_F(VRequestTest, RequestOfAnObjectProcessesIt) {
    VRequest request(pool);
    object->request(request, 0.5, {}, {});
    EXPECT_EQ(object->updates, 1);
    EXPECT_EQ(request.numberOfUpdates(), 1u);
    EXPECT_EQ(request.numberOfVisits(), 1u);
}

TEST_F(VRequestTest, AgeThatIsRaisedWithoutANotificationMakesDueAsWell) {
    VRequest(pool).process(*object, 1.0);
    VRequest(pool).process(*object, 1.0);
    object->own->parameter()->DefaultValue()->ageable().rejuvenate();
    VRequest request(pool);
    request.process(*object, 1.0);
    EXPECT_EQ(request.numberOfUpdates(), 1u);
}

TEST_F(VRequestTest, YoungerValueOfAPoolMakesDueOnceValuesAreLocal) {
    const auto parameter = object->own->parameter();
    VRequest(pool).process(*object, 1.0);
    VRequest(pool).process(*object, 1.0);
    parameter->getLocalValue(pool, {}, true)->ageable().rejuvenate();
    VRequest global(pool);
    global.process(*object, 1.0);
    EXPECT_EQ(global.numberOfUpdates(), 0u);
    parameter->Localize();
    VRequest local(pool);
    local.process(*object, 1.0);
    EXPECT_EQ(local.numberOfUpdates(), 1u);
}

TEST_F(VRequestTest, IsCleanInEachPoolByItself) {
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    for (int i = 0; i < 2; ++i) {
        VRequest(pool).process(*object, 1.0);
        VRequest(other).process(*object, 1.0);
    }
    EXPECT_EQ(object->updates, 2);
    object->own.set({}, 2.0);
    for (int i = 0; i < 2; ++i) {
        VRequest(pool).process(*object, 1.0);
        VRequest(other).process(*object, 1.0);
    }
    EXPECT_EQ(object->updates, 4);
}

TEST_F(VRequestTest, EachObjectIsTakenOnceInARequest) {
    object->addSource(*source);
    VRequest request(pool);
    EXPECT_TRUE(request.process(*object, 1.0));
    source->own.set({}, 1.0);
    EXPECT_TRUE(request.process(*object, 1.0));
    EXPECT_TRUE(request.process(*source, 1.0));
    EXPECT_EQ(request.numberOfUpdates(), 2u);
    EXPECT_EQ(request.numberOfVisits(), 2u);
}

TEST_F(VRequestTest, UpdateHoldsTheMutexAndTheUnsynchronizedPartDoesNot) {
    class Observing : public Summing {
    public:
        using Summing::Summing;
        bool unsychronized_update(VRequest&, double) override {
            order += 'u';
            freeAhead = isFree();
            return works;
        }
        bool update(VRequest& request, double precision) override {
            order += 'U';
            freeInside = isFree();
            return Summing::update(request, precision);
        }
        bool isFree() {
            bool free = false;
            std::thread([&] {
                free = mutex.try_lock();
                if (free) mutex.unlock();
            }).join();
            return free;
        }
        std::string order;
        bool freeAhead = false, freeInside = true, works = true;
    };
    const Keel::StrongPtr<Observing, Mirk::VManagedObjectBase> observing(new Observing("o"));
    VRequest(pool).process(*observing, 1.0);
    EXPECT_EQ(observing->order, "uU");
    EXPECT_TRUE(observing->freeAhead);
    EXPECT_FALSE(observing->freeInside);
    EXPECT_TRUE(observing->isFree());
    observing->works = false;
    observing->own.set({}, 1.0);
    EXPECT_FALSE(VRequest(pool).process(*observing, 1.0));
    EXPECT_EQ(observing->order, "uUu") << "update is left out";
    EXPECT_TRUE(observing->hasFailed(pool));
}

TEST_F(VRequestTest, MutexIsFreeAfterAnUpdateThatThrows) {
    object->behaviour = Summing::Behaviour::Throws;
    EXPECT_FALSE(VRequest(pool).process(*object, 1.0));
    EXPECT_TRUE(object->mutex.try_lock());
    object->mutex.unlock();
}

TEST_F(VRequestTest, WhatMustUpdateThrowsIsAFailureToo) {
    class Undecided : public Summing {
    public:
        using Summing::Summing;
        bool must_update(const VRequest&, double) const override {
            throw std::runtime_error("who knows");
        }
    };
    const VObjectPtr undecided(new Undecided("undecided"));
    VRequest request(pool);
    EXPECT_FALSE(request.process(*undecided, 1.0));
    ASSERT_EQ(request.failures().size(), 1u);
    EXPECT_EQ(request.failures()[0].reason, "who knows");
}

TEST_F(VRequestTest, WhatIsNoExceptionIsAFailureToo) {
    const DoingPtr odd(new Doing("odd", [](VRequest&) -> bool { throw 7; }));
    VRequest request(pool);
    EXPECT_FALSE(request.process(*odd, 1.0));
    EXPECT_EQ(odd->failureReason(pool), "its update threw something that is no exception");
}

TEST_F(VRequestTest, WhatDependsOnAFailureIsNotUpToDate) {
    const SummingPtr further = makeSumming("further"), aside = makeSumming("aside");
    object->addSource(*source);
    further->addSource(*object);
    source->behaviour = Summing::Behaviour::Throws;
    for (int i = 0; i < 3; ++i) {
        VRequest request(pool);
        EXPECT_FALSE(request.process(*further, 1.0)) << i;
        EXPECT_FALSE(request.process(*object, 1.0)) << i;
        EXPECT_TRUE(request.process(*aside, 1.0)) << i;
    }
    EXPECT_TRUE(source->hasFailed(pool));
    EXPECT_FALSE(object->hasFailed(pool)) << "its own update worked";
    EXPECT_EQ(source->updates, 1);
}

TEST_F(VRequestTest, ChangeDuringAnUpdateMakesTheObjectDueAgain) {
    DoingPtr busy;
    busy = DoingPtr(new Doing("busy", [&](VRequest&) {
        if (busy->updates == 1) busy->own.set({}, 5.0);
        return true;
    }));
    VRequest(pool).process(*busy, 1.0);
    EXPECT_EQ(busy->updates, 1);
    VRequest(pool).process(*busy, 1.0);
    EXPECT_EQ(busy->updates, 2);
    VRequest(pool).process(*busy, 1.0);
    EXPECT_EQ(busy->updates, 2);
}

TEST_F(VRequestTest, UpdateMayProcessFurtherObjects) {
    const DoingPtr asking(
        new Doing("asking", [&](VRequest& request) { return request.process(*object, 1.0); }));
    object->addSource(*source);
    for (const double value : {1.0, 2.0, 2.0}) {
        asking->own.set({}, value);
        EXPECT_TRUE(VRequest(pool).process(*asking, 1.0));
    }
    EXPECT_EQ(asking->updates, 2);
    EXPECT_EQ(object->updates, 1) << "it was up to date the second time";
    EXPECT_EQ(source->updates, 1);
}

TEST_F(VRequestTest, UpdateThatAsksForItselfIsACycle) {
    DoingPtr asking;
    asking = DoingPtr(
        new Doing("asking", [&](VRequest& request) { return request.process(*asking, 1.0); }));
    const ShellRecorderPtr shell = listenToShell();
    VRequest request(pool);
    EXPECT_FALSE(request.process(*asking, 1.0));
    EXPECT_THAT(request.cycles(), ElementsAre("asking -> ... -> asking"));
}

TEST_F(VRequestTest, UpdateThatAsksForWhoWaitsForItIsACycle) {
    const DoingPtr asking(
        new Doing("asking", [&](VRequest& request) { return request.process(*source, 1.0); }));
    source->addSource(*asking);
    const ShellRecorderPtr shell = listenToShell();
    VRequest request(pool);
    EXPECT_FALSE(request.process(*source, 1.0));
    EXPECT_THAT(request.cycles(), ElementsAre("source -> ... -> source"));
}

TEST_F(VRequestTest, SourceMayConnectWhatWaitsForIt) {
    class Connecting : public Summing {
    public:
        using Summing::Summing;
        bool update(VRequest& request, double precision) override {
            if (late && waiting) waiting->addSource(*late);
            waiting = {};
            return Summing::update(request, precision);
        }
        SummingPtr waiting, late;
    };
    const Keel::StrongPtr<Connecting, Mirk::VManagedObjectBase> busy(new Connecting("busy"));
    const SummingPtr consumer = makeSumming("consumer"), late = makeSumming("late");
    late->own.set(pool, 3.0);
    consumer->addSource(*busy);
    busy->waiting = consumer;
    busy->late = late;
    VRequest request(pool);
    EXPECT_TRUE(request.process(*consumer, 1.0));
    EXPECT_EQ(late->updates, 1);
    EXPECT_EQ(busy->updates, 1);
    double sum = 0;
    EXPECT_TRUE(consumer->sum.get(pool, sum));
    EXPECT_EQ(sum, 3.0);
}

TEST_F(VRequestTest, UpdateMayConnectItsObject) {
    DoingPtr connecting;
    connecting = DoingPtr(new Doing("connecting", [&](VRequest&) {
        connecting->addSource(*source);
        return true;
    }));
    object->addSource(*connecting);
    for (int i = 0; i < 3; ++i) EXPECT_TRUE(VRequest(pool).process(*object, 1.0));
    EXPECT_EQ(source->updates, 1);
    EXPECT_EQ(connecting->updates, 2);
    source->own.set({}, 3.0);
    EXPECT_TRUE(VRequest(pool).process(*object, 1.0));
    double sum = 0;
    object->sum.get(pool, sum);
    EXPECT_EQ(sum, 3.0);
}

class RequestThreadTest : public VRequestTest {};

TEST_F(RequestThreadTest, ServesOnAThreadOfItsOwn) {
    std::thread::id updater;
    bool wasRequestThread = false;
    const DoingPtr doing(new Doing("doing", [&](VRequest&) {
        updater = std::this_thread::get_id();
        wasRequestThread = RequestThread::isCurrent();
        return true;
    }));
    int done = 0;
    RequestThread::post(doing, pool, 0.5, [&](const VRequest& request) {
        done += static_cast<int>(request.numberOfUpdates());
    });
    RequestThread::finish();
    EXPECT_EQ(done, 1);
    EXPECT_EQ(doing->lastPrecision, 0.5);
    EXPECT_NE(updater, std::thread::id());
    EXPECT_NE(updater, std::this_thread::get_id());
    EXPECT_TRUE(wasRequestThread);
    EXPECT_FALSE(RequestThread::isCurrent());
}

TEST_F(RequestThreadTest, RequestThatStillWaitsIsNotMadeTwice) {
    std::atomic<bool> mayGoOn{false};
    const DoingPtr blocker(new Doing("blocker", [&](VRequest&) {
        while (!mayGoOn) std::this_thread::yield();
        return true;
    }));
    RequestThread::post(blocker, pool, 1.0);
    while (blocker->mutex.try_lock()) {
        blocker->mutex.unlock();
        std::this_thread::yield();
    }
    std::vector<const VRequest*> served;
    const auto note = [&](const VRequest& request) { served.push_back(&request); };
    RequestThread::post(object, pool, 0.25, note);
    RequestThread::post(object, {}, 0.25, note);
    RequestThread::post(object, pool, 0.75, note);
    mayGoOn = true;
    RequestThread::finish();
    ASSERT_EQ(served.size(), 3u);
    EXPECT_EQ(served[0], served[1]) << "one request for both";
    EXPECT_EQ(object->updates, 2) << "one in each pool";
}

TEST_F(RequestThreadTest, ObjectThatHasGoneIsNotAsked) {
    std::atomic<bool> mayGoOn{false};
    const DoingPtr blocker(new Doing("blocker", [&](VRequest&) {
        while (!mayGoOn) std::this_thread::yield();
        return true;
    }));
    RequestThread::post(blocker, pool, 1.0);
    SummingPtr shortLived = makeSumming("shortLived");
    const Keel::WeakPtr<VObject, Mirk::VManagedObjectBase> weak(shortLived);
    std::size_t visits = 99;
    RequestThread::post(shortLived, pool, 1.0,
                        [&](const VRequest& request) { visits = request.numberOfVisits(); });
    shortLived = {};
    EXPECT_FALSE(weak) << "a request keeps nobody alive";
    mayGoOn = true;
    RequestThread::finish();
    EXPECT_EQ(visits, 0u);
}

TEST_F(RequestThreadTest, ExceptionsDoNotEndIt) {
    class Broken : public Summing {
    public:
        using Summing::Summing;
        void request(VRequest&, double, const Keel::WeakPtr<Mirk::VManagedObjectBase>&,
                     const Keel::WeakPtr<Mirk::VManagedObjectBase>&) override {
            throw std::runtime_error("no requests");
        }
    };
    const VObjectPtr broken(new Broken("broken"));
    int done = 0;
    testing::internal::CaptureStdout();
    RequestThread::post(broken, pool, 1.0, [&](const VRequest&) {
        ++done;
        throw std::runtime_error("no ends");
    });
    RequestThread::post(object, pool, 1.0, [&](const VRequest&) { ++done; });
    RequestThread::finish();
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "sorrel: in a request: no requests\nsorrel: after a request: no ends\n");
    EXPECT_EQ(done, 2);
    EXPECT_EQ(object->updates, 1);
}

TEST_F(RequestThreadTest, FinishWaitsForWhatThisThreadHasPosted) {
    std::vector<std::thread> posters;
    std::atomic<int> unserved{0};
    for (int i = 0; i < 4; ++i) {
        posters.emplace_back([&unserved, this] {
            const SummingPtr mine = makeSumming("mine");
            for (int round = 0; round < 50; ++round) {
                std::atomic<bool> served{false};
                RequestThread::post(mine, pool, 1.0, [&](const VRequest&) { served = true; });
                RequestThread::finish();
                if (!served) ++unserved;
            }
        });
    }
    for (std::thread& poster : posters) poster.join();
    EXPECT_EQ(unserved, 0);
}

} // namespace
