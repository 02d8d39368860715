#include <Polypia/Seagrass.hpp>

#include "anyRenderContext.hpp"
#include "memberOrder.hpp"
#include "renderCache.hpp"

#include <Polypia/PolypCreatorKeeper.hpp>
#include <Polypia/RenderBasin.hpp>
#include <Polypia/RenderException.hpp>

#include <keel/SpeakPtr.hpp>
#include <keel/StrongPtr.hpp>

#include <gmock/gmock.h>

#include <array>
#include <atomic>
#include <condition_variable>
#include <future>
#include <latch>
#include <memory>
#include <stdexcept>
#include <string>
#include <thread>
#include <type_traits>
#include <vector>

using Keel::StrongPtr;
using Keel::WeakPtr;
using Mirk::Polyp;
using Mirk::PolypPtr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

/// A reference that is only handed on.
Mirk::VRenderContextBasin& anyContextBasin() {
    return reinterpret_cast<Mirk::VRenderContextBasin&>(anyRenderContext());
}

/// An object on which polyps depend.
class Data : public Keel::ReferenceBase<Data>, public Keel::Intercube {};

template<class Function>
void onAnotherThread(const Function& function) {
    std::thread(function).join();
}

class Seagrass : public testing::Test {
protected:
    using SeagrassPtr = StrongPtr<Mirk::Seagrass>;

    StrongPtr<TestCreator> makeCreator() {
        return Keel::make<TestCreator>(*seagrass, PolypPtr(), plan);
    }
    /// A creator with a polyp of some bytes.
    StrongPtr<TestCreator> filledCreator(std::size_t bytes) {
        plan.initialize = [this, bytes](Polyp& polyp, Mirk::VRenderContext&) {
            return polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, bytes)));
        };
        const auto creator = makeCreator();
        creator->acquire(anyRenderContext());
        return creator;
    }
    int handleAll() {
        return seagrass->handleQueue(anyContextBasin(), [] { return false; });
    }
    /// Has another thread let go of the last pointer.
    void dropElsewhere() {
        onAnotherThread([this] { seagrass = {}; });
    }

    Lives lives;
    TestInitializer::Plan plan;
    SeagrassPtr seagrass{new Mirk::Seagrass(1000000, "window")};
};

TEST_F(Seagrass, IsCountedAndHasWhatContextsShare) {
    using Class = Mirk::Seagrass;
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Class>, Class>);
    static_assert(std::is_base_of_v<Keel::Intercube, Class>);
    static_assert(std::is_base_of_v<Mirk::RenderNamespace::Lighting, Class>);
    static_assert(std::is_base_of_v<Mirk::UniformBufferRegistry, Class>);
    static_assert(std::is_base_of_v<Keel::ThreadPool, Class>);
    Class& object = *seagrass;
    EXPECT_TRUE(standInOrder(
        static_cast<Keel::ReferenceBase<Class>&>(object), static_cast<Keel::Intercube&>(object),
        static_cast<Mirk::RenderNamespace::Lighting&>(object),
        static_cast<Mirk::UniformBufferRegistry&>(object), static_cast<Keel::ThreadPool&>(object)));
    EXPECT_TRUE(static_cast<Mirk::RenderNamespace::Lighting&>(object).empty());
}

TEST_F(Seagrass, HasItsFieldsInTheirOrder) {
    class Fields : public Mirk::Seagrass {
    public:
        Fields() : Seagrass(1, "") {}
        bool areInOrder() const {
            return standInOrder(deletionList, deletionQueue, cache, deletionMutex, queueMutex,
                                renderQueue, pixelBuffer, interactor);
        }
    };
    EXPECT_TRUE(Fields().areInOrder());
}

TEST_F(Seagrass, HasACacheOfItsBudgetAndName) {
    ASSERT_TRUE(seagrass->getCache());
    EXPECT_EQ(seagrass->getCache()->maxCost.load(), 1000000U);
    EXPECT_EQ(seagrass->getCache()->name(), "window");
    EXPECT_EQ(seagrass->getCache()->size(), 0U);
}

TEST_F(Seagrass, HasAPoolWhoseTasksEndAheadOfIt) {
    std::promise<std::string> name;
    seagrass->post([&] {
        std::array<char, 16> text{};
        ::pthread_getname_np(::pthread_self(), text.data(), text.size());
        name.set_value(text.data());
    });
    EXPECT_EQ(name.get_future().get(), "Seagrass Thread");
    std::atomic<bool> isDone{false};
    Mirk::Seagrass& object = *seagrass;
    std::promise<void> started;
    seagrass->post([&] {
        started.set_value();
        std::this_thread::yield();
        EXPECT_FALSE(object.hasQueue());
        isDone = true;
    });
    started.get_future().wait();
    seagrass = {};
    EXPECT_TRUE(isDone);
}

TEST_F(Seagrass, HasAPoolOf32Threads) {
    std::promise<void> end;
    const std::shared_future<void> ended = end.get_future().share();
    EXPECT_EQ(seagrass->startedThreads(), 0U);
    for (int i = 0; i < 40; ++i) seagrass->post([ended] { ended.wait(); });
    EXPECT_EQ(seagrass->startedThreads(), 32U);
    end.set_value();
}

TEST_F(Seagrass, HasAPoolThatIsNamedAfterIt) {
    std::promise<void> started;
    testing::internal::CaptureStderr();
    seagrass->post([&] {
        started.set_value();
        throw std::runtime_error("no such file");
    });
    started.get_future().wait();
    seagrass = {};
    EXPECT_THAT(testing::internal::GetCapturedStderr(),
                HasSubstr("\"Seagrass Thread Pool window\""));
}

// The queue of functions.

TEST_F(Seagrass, RunsQueuedFunctionsFirstInFirstOut) {
    std::vector<int> order;
    EXPECT_FALSE(seagrass->hasQueue());
    for (int i = 0; i < 3; ++i) {
        seagrass->queue([&order, i](Mirk::VRenderContextBasin& context) {
            EXPECT_EQ(&context, &anyContextBasin());
            order.push_back(i);
        });
    }
    EXPECT_TRUE(seagrass->hasQueue());
    EXPECT_EQ(handleAll(), 3);
    EXPECT_THAT(order, ElementsAre(0, 1, 2));
    EXPECT_FALSE(seagrass->hasQueue());
    EXPECT_EQ(handleAll(), 0);
}

TEST_F(Seagrass, TakesNothingWhenStopIsTrueAtOnce) {
    seagrass->queue([](Mirk::VRenderContextBasin&) { ADD_FAILURE(); });
    EXPECT_EQ(seagrass->handleQueue(anyContextBasin(), [] { return true; }), 0);
    EXPECT_TRUE(seagrass->hasQueue());
}

TEST_F(Seagrass, AsksStopAheadOfEachFunction) {
    int ran = 0;
    for (int i = 0; i < 5; ++i) seagrass->queue([&](Mirk::VRenderContextBasin&) { ++ran; });
    EXPECT_EQ(seagrass->handleQueue(anyContextBasin(), [&] { return ran == 2; }), 2);
    EXPECT_EQ(ran, 2);
    EXPECT_EQ(handleAll(), 3);
}

TEST_F(Seagrass, ThrowsForAnEmptyStopAndKeepsItsQueue) {
    seagrass->queue([](Mirk::VRenderContextBasin&) {});
    EXPECT_THROW(seagrass->handleQueue(anyContextBasin(), {}), std::bad_function_call);
    EXPECT_TRUE(seagrass->hasQueue());
}

TEST_F(Seagrass, RunsWhatAQueuedFunctionQueuesInTheSameCall) {
    int ran = 0;
    seagrass->queue([&](Mirk::VRenderContextBasin&) {
        seagrass->queue([&](Mirk::VRenderContextBasin&) { ++ran; });
    });
    EXPECT_EQ(handleAll(), 2);
    EXPECT_EQ(ran, 1);
}

TEST_F(Seagrass, LeavesWhatAQueuedFunctionQueuesIfStopSaysSo) {
    bool isFirstDone = false;
    seagrass->queue([&](Mirk::VRenderContextBasin&) {
        seagrass->queue([](Mirk::VRenderContextBasin&) { ADD_FAILURE(); });
        isFirstDone = true;
    });
    EXPECT_EQ(seagrass->handleQueue(anyContextBasin(), [&] { return isFirstDone; }), 1);
    EXPECT_TRUE(seagrass->hasQueue());
}

TEST_F(Seagrass, GoesOnBehindAFunctionThatThrowsAndPrintsWhy) {
    int ran = 0;
    seagrass->queue(
        [](Mirk::VRenderContextBasin&) { throw Mirk::RenderException(7, "upload", "here", 1); });
    seagrass->queue([](Mirk::VRenderContextBasin&) { throw std::runtime_error("no such file"); });
    seagrass->queue([](Mirk::VRenderContextBasin&) { throw 5; });
    seagrass->queue([&](Mirk::VRenderContextBasin&) { ++ran; });
    testing::internal::CaptureStdout();
    EXPECT_EQ(handleAll(), 4);
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_EQ(ran, 1);
    EXPECT_THAT(printed, HasSubstr("Polypia: Seagrass::handleQueue: a queued function failed: "));
    EXPECT_THAT(printed, HasSubstr("Generic Render Exception")) << "the report of str()";
    EXPECT_THAT(printed, HasSubstr("no such file"));
    EXPECT_THAT(printed, HasSubstr("an exception of unknown type"));
}

TEST_F(Seagrass, CountsEmptyFunctions) {
    seagrass->queue({});
    EXPECT_TRUE(seagrass->hasQueue());
    EXPECT_EQ(handleAll(), 1);
}

TEST_F(Seagrass, DestroysAFunctionAheadOfTheNext) {
    auto token = std::make_shared<int>();
    const std::weak_ptr<int> weak = token;
    seagrass->queue([token](Mirk::VRenderContextBasin&) {});
    seagrass->queue([weak](Mirk::VRenderContextBasin&) { EXPECT_TRUE(weak.expired()); });
    token.reset();
    EXPECT_EQ(handleAll(), 2);
}

TEST_F(Seagrass, KeepsTheOrderOfEachThreadThatQueues) {
    constexpr int threads = 4;
    constexpr int each = 200;
    std::array<std::vector<int>, threads> order;
    std::vector<std::thread> producers;
    for (std::size_t t = 0; t < threads; ++t) {
        producers.emplace_back([&, t] {
            for (int i = 0; i < each; ++i) {
                seagrass->queue([&, t, i](Mirk::VRenderContextBasin&) { order[t].push_back(i); });
            }
        });
    }
    int taken = 0;
    while (taken < threads * each) taken += handleAll();
    for (std::thread& producer : producers) producer.join();
    for (const auto& ofThread : order) {
        EXPECT_EQ(ofThread.size(), static_cast<std::size_t>(each));
        EXPECT_TRUE(std::is_sorted(ofThread.begin(), ofThread.end()));
    }
}

TEST_F(Seagrass, DropsFunctionsThatAreStillQueuedAtItsEnd) {
    const auto token = std::make_shared<int>();
    seagrass->queue([token](Mirk::VRenderContextBasin&) { ADD_FAILURE(); });
    seagrass = {};
    EXPECT_EQ(token.use_count(), 1);
}

TEST_F(Seagrass, MayEndInAQueuedFunction) {
    int ran = 0;
    for (int i = 0; i < 2; ++i) {
        seagrass->queue([&](Mirk::VRenderContextBasin&) {
            seagrass = {};
            ++ran;
        });
    }
    const WeakPtr<Mirk::Seagrass> weak(seagrass);
    EXPECT_EQ(handleAll(), 2);
    EXPECT_FALSE(weak);
}

// Deferred destruction.

TEST_F(Seagrass, IgnoresEmptyAndDeadPolyps) {
    class Fields : public Mirk::Seagrass {
    public:
        Fields() : Seagrass(1, "") {}
        bool hasDeletionQueue() const { return bool(deletionQueue); }
    };
    const auto fields = Keel::make<Fields>();
    fields->scheduleDeletion(PolypPtr());
    PolypPtr mortal = livingPolyp(lives, 1);
    const WeakPtr<Polyp> weak(mortal);
    mortal = {};
    fields->scheduleDeletion(PolypPtr(weak));
    EXPECT_EQ(fields->cleanable(), 0U);
    EXPECT_EQ(fields->getNumberOfDeletions(), 0U);
    EXPECT_FALSE(fields->hasDeletionQueue());
    fields->cleanup();
    fields->scheduleDeletion(livingPolyp(lives, 1));
    EXPECT_TRUE(fields->hasDeletionQueue());
}

TEST_F(Seagrass, DestroysWhatWasScheduledInCleanupAndOnThatThread) {
    PolypPtr polyp = livingPolyp(lives, 10);
    onAnotherThread([&] { seagrass->scheduleDeletion(std::move(polyp)); });
    seagrass->scheduleDeletion(livingPolyp(lives, 20));
    EXPECT_EQ(lives.alive, 2);
    EXPECT_EQ(seagrass->cleanable(), 30U);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 2U);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
    EXPECT_EQ(seagrass->cleanable(), 0U);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
    seagrass->cleanup();
}

TEST_F(Seagrass, HasNothingCleanableBehindCleanupNotEvenWhatIsHeld) {
    const PolypPtr held = livingPolyp(lives, 10);
    seagrass->scheduleDeletion(held);
    seagrass->scheduleDeletion(livingPolyp(lives, 5));
    EXPECT_EQ(seagrass->cleanable(), 15U);
    seagrass->cleanup();
    EXPECT_EQ(seagrass->cleanable(), 0U);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
}

TEST_F(Seagrass, TakesADyingPolypOutOfTheCacheAheadOfItsTentacles) {
    const auto cache = seagrass->getCache();
    std::size_t enrolled = 1;
    plan.initialize = [&](Polyp& polyp, Mirk::VRenderContext&) {
        const auto atEnd =
            std::make_shared<AtEnd>([&enrolled, cache] { enrolled = cache->size(); });
        return polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 1, atEnd)));
    };
    const auto creator = makeCreator();
    creator->acquire(anyRenderContext());
    EXPECT_EQ(cache->size(), 1U);
    seagrass->prepareForDeletion(creator);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(enrolled, 0U);
}

TEST_F(Seagrass, TakesThePolypsOutOfTheCacheWhenTheyDie) {
    const auto creator = filledCreator(10);
    seagrass->scheduleDeletion(creator->releasePolyp());
    EXPECT_EQ(seagrass->getCache()->size(), 1U) << "its memory is not free yet";
    seagrass->cleanup();
    EXPECT_EQ(seagrass->getCache()->size(), 0U);
    EXPECT_EQ(seagrass->memsize(false), 0U);
}

TEST_F(Seagrass, LeavesAPolypThatSomebodyHoldsToItsHolder) {
    PolypPtr held = livingPolyp(lives, 10);
    seagrass->scheduleDeletion(held);
    seagrass->cleanup();
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
    EXPECT_EQ(lives.alive, 1);
    held = {};
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(Seagrass, AlsoDestroysWhatDyingPolypsLetGoOf) {
    // Three deep: each tentacle schedules the next polyp as it dies.
    const auto scheduleAtEnd = [this](const PolypPtr& polyp) {
        auto owned = std::make_shared<PolypPtr>(polyp);
        return std::make_shared<AtEnd>([this, owned] {
            EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
            seagrass->scheduleDeletion(std::move(*owned));
            EXPECT_EQ(seagrass->cleanable(), 10U);
            seagrass->cleanup();
            EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U) << "left to the outer one";
        });
    };
    seagrass->scheduleDeletion(livingPolyp(
        lives, 10, scheduleAtEnd(livingPolyp(lives, 10, scheduleAtEnd(livingPolyp(lives, 10))))));
    EXPECT_EQ(lives.alive, 3);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
    onAnotherThread([&] { seagrass->scheduleDeletion(PolypPtr()); });
}

TEST_F(Seagrass, DestroysBothPolypsWhenATentacleOwnsWhatAnotherPolypDependsOn) {
    const auto dependent = filledCreator(10);
    auto data = Keel::make<Data>();
    seagrass->addDependency(dependent, *data);
    seagrass->scheduleDeletion(
        livingPolyp(lives, 10, std::make_shared<StrongPtr<Data>>(std::move(data))));
    EXPECT_EQ(lives.alive, 2);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_FALSE(dependent->hasData());
}

TEST_F(Seagrass, CleansUpWhileAnotherDoesAndEachLetsGoOfAPolypOfTheOther) {
    std::array<SeagrassPtr, 2> both{seagrass, SeagrassPtr(new Mirk::Seagrass(1000, "second"))};
    std::array<PolypPtr, 2> polyps; // of the thread on which each is to die
    std::latch areMade(2), areCleaning(2), areCleaned(2);
    const auto render = [&](std::size_t mine) {
        const std::size_t other = 1 - mine;
        polyps[mine] = livingPolyp(lives, 1);
        areMade.arrive_and_wait();
        both[mine]->scheduleDeletion(livingPolyp(lives, 1, std::make_shared<AtEnd>([&, other] {
                                                     areCleaning.arrive_and_wait();
                                                     both[other]->scheduleDeletion(
                                                         std::move(polyps[other]));
                                                 })));
        both[mine]->cleanup();
        areCleaned.arrive_and_wait();
        both[mine]->cleanup();
        both[mine] = {};
    };
    std::thread renderThreadOfSecond(render, 1);
    render(0);
    renderThreadOfSecond.join();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
}

TEST_F(Seagrass, MayLoseItsLastPointerToAPolypInCleanup) {
    const WeakPtr<Mirk::Seagrass> weak(seagrass);
    auto& object = *seagrass;
    const auto creator = filledCreator(10);
    object.scheduleDeletion(
        livingPolyp(lives, 10, std::make_shared<SeagrassPtr>(std::move(seagrass))));
    EXPECT_TRUE(weak);
    object.cleanup();
    EXPECT_FALSE(weak);
    EXPECT_EQ(lives.alive, 0);
    EXPECT_FALSE(creator->hasData());
}

TEST_F(Seagrass, PreparesThePolypOfACreatorForDeletionAndLeavesTheCreator) {
    const auto creator = filledCreator(10);
    onAnotherThread([&] { seagrass->prepareForDeletion(creator); });
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U);
    seagrass->prepareForDeletion(creator);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U) << "there is nothing left";
    seagrass->prepareForDeletion({});
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_TRUE(creator->acquire(anyRenderContext()));
}

TEST_F(Seagrass, IgnoresADeadCreatorThatIsPrepared) {
    auto creator = makeCreator();
    const WeakPtr<Mirk::PolypCreatorBase> weak(creator);
    creator = {};
    seagrass->prepareForDeletion(weak);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
}

/// Pixels of no picture.
class Pixels : public Mirk::PixelBuffer {
public:
    Pixels() : PixelBuffer({}) {}
    int readPixelColors(int, int, float (*)[4], unsigned long long, unsigned long long,
                        unsigned) const override {
        return 0;
    }
    int readPixelDepth(int, int, float*, unsigned long long, unsigned long long,
                       unsigned) const override {
        return 0;
    }
};

TEST_F(Seagrass, AnyThreadMayAskForThePixelBufferWhileAnotherSetsIt) {
    std::atomic<bool> isEnding{false};
    int missing = 0;
    seagrass->setPixelBuffer(StrongPtr<Mirk::PixelBuffer>(new Pixels));
    std::thread asking([&] {
        while (!isEnding) {
            if (!seagrass->getPixelBuffer()) ++missing;
        }
    });
    for (int i = 0; i < 100000; ++i) {
        seagrass->setPixelBuffer(StrongPtr<Mirk::PixelBuffer>(new Pixels));
    }
    isEnding = true;
    asking.join();
    EXPECT_EQ(missing, 0);
}

TEST_F(Seagrass, LawnEmptiesTheCacheAndDropsThePixelBuffer) {
    EXPECT_FALSE(seagrass->getPixelBuffer());
    seagrass->setPixelBuffer(StrongPtr<Mirk::PixelBuffer>(new Pixels));
    const WeakPtr<Mirk::PixelBuffer> pixels(seagrass->getPixelBuffer());
    const auto first = filledCreator(10), second = filledCreator(20), pinned = filledCreator(30);
    pinned->enableCaching(true);
    seagrass->scheduleDeletion(livingPolyp(lives, 1));
    seagrass->cleanup();
    EXPECT_TRUE(pixels) << "that is for lawn alone";
    EXPECT_EQ(seagrass->lawn(), 2);
    EXPECT_EQ(lives.alive, 1) << "the pinned one";
    EXPECT_FALSE(first->hasData());
    EXPECT_FALSE(second->hasData());
    EXPECT_FALSE(pixels);
    EXPECT_EQ(seagrass->lawn(), 0);
}

// Figures.

TEST_F(Seagrass, CountsThePolypsOfItsCache) {
    EXPECT_EQ(seagrass->getNumberOfPolyps(), 0U);
    const auto evictable = filledCreator(10), pinned = filledCreator(200);
    pinned->enableCaching(true);
    auto waiting = filledCreator(3000);
    waiting = {};
    const auto grown = filledCreator(40000);
    // Not told yet to the cache.
    grown->getPolyp()->insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 5)));
    EXPECT_EQ(seagrass->getNumberOfPolyps(), 4U) << "one in each state";
    EXPECT_EQ(seagrass->computePolypsMemory(), 43215U);
    EXPECT_EQ(seagrass->getCachedPolypsMemory(), 43210U);
    EXPECT_EQ(seagrass->memsize(false), 43210U);
    EXPECT_EQ(seagrass->memsize(true), 43215U);
    EXPECT_EQ(seagrass->cleanable(), 3000U);
    seagrass->cleanup();
    EXPECT_EQ(seagrass->getNumberOfPolyps(), 3U);
}

TEST_F(Seagrass, CountsPolypsOnlyInItsFigures) {
    class Other : public Keel::Cacheable {
    public:
        using Cacheable::Cacheable;
        std::size_t memsize() const override { return 7; }
    };
    const auto creator = filledCreator(10);
    const StrongPtr<Keel::Cacheable> other(new Other(WeakPtr<Keel::Creature>(creator)));
    EXPECT_EQ(seagrass->getNumberOfPolyps(), 1U);
    EXPECT_EQ(seagrass->computePolypsMemory(), 10U);
    EXPECT_EQ(seagrass->getCachedPolypsMemory(), 10U);
    EXPECT_EQ(seagrass->memsize(false), 17U);
}

TEST_F(Seagrass, FreezesItsBudgetAtTheCurrentUsage) {
    const auto first = filledCreator(10), second = filledCreator(20);
    seagrass->setMaxCostFromCurrentUsage(0);
    EXPECT_EQ(seagrass->getCache()->maxCost.load(), 30U);
    EXPECT_TRUE(first->hasData());
    EXPECT_TRUE(second->hasData());
}

TEST_F(Seagrass, EvictsAReserveTheOldestFirstAndKeepsTheBudgetThere) {
    const auto first = filledCreator(10), second = filledCreator(20), third = filledCreator(30);
    seagrass->setMaxCostFromCurrentUsage(15);
    EXPECT_EQ(seagrass->getCache()->maxCost.load(), 45U);
    EXPECT_FALSE(first->hasData());
    EXPECT_FALSE(second->hasData());
    EXPECT_TRUE(third->hasData());
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 2U);
}

TEST_F(Seagrass, HasAnEnormousBudgetWhenTheReserveIsAboveTheUsage) {
    const auto creator = filledCreator(10);
    seagrass->setMaxCostFromCurrentUsage(11);
    EXPECT_EQ(seagrass->getCache()->maxCost.load(), ~0ULL);
    EXPECT_TRUE(creator->hasData());
}

TEST_F(Seagrass, ListsWhatTheUserCanActOn) {
    const auto creator = filledCreator(2048);
    auto waiting = filledCreator(1024);
    const std::string name = waiting->getPolyp()->name();
    waiting = {};
    seagrass->queue([](Mirk::VRenderContextBasin&) {});
    testing::internal::CaptureStdout();
    seagrass->list_info();
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_THAT(text, HasSubstr("Seagrass window: 2 polyps of 3.00 KiB, accounted for as 3.00 KiB; "
                                "1 polyps of 1.00 KiB wait for deletion, 1 functions for the "
                                "render thread\n"));
    EXPECT_THAT(text, HasSubstr("Cache window: 2 objects, 3.00 KiB"));
    EXPECT_THAT(text, HasSubstr("Waiting for deletion: 1 entries, 1.00 KiB"));
    EXPECT_THAT(text, HasSubstr(name + ": 1.00 KiB"));
}

TEST_F(Seagrass, ListsUpTo50OfThePolypsThatWait) {
    const auto list = [this] {
        testing::internal::CaptureStdout();
        seagrass->list_info();
        return testing::internal::GetCapturedStdout();
    };
    for (int i = 0; i < 50; ++i) seagrass->scheduleDeletion(livingPolyp(lives, 1));
    EXPECT_THAT(list(), testing::Not(HasSubstr("    ...\n")));
    seagrass->scheduleDeletion(livingPolyp(lives, 1));
    EXPECT_THAT(list(), HasSubstr("    ...\n"));
}

TEST_F(Seagrass, ListsNoDeletionsAheadOfTheFirst) {
    testing::internal::CaptureStdout();
    seagrass->list_info();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::Not(HasSubstr("Waiting for deletion")));
}

// Dependencies.

TEST_F(Seagrass, TakesThePolypsOfAllDependentsWhenAnObjectDies) {
    const auto first = filledCreator(10), second = filledCreator(20), third = filledCreator(30);
    auto data = Keel::make<Data>();
    seagrass->addDependency(first, *data);
    seagrass->addDependency(second, *data);
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
    onAnotherThread([&] { data = {}; });
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 2U);
    EXPECT_FALSE(first->hasData());
    EXPECT_FALSE(second->hasData());
    EXPECT_TRUE(third->hasData());
    EXPECT_EQ(lives.alive, 3);
    seagrass->cleanup();
    EXPECT_EQ(lives.alive, 1);
    EXPECT_EQ(lives.astray, 0);
    EXPECT_TRUE(first->acquire(anyRenderContext())) << "the creator stays";
}

TEST_F(Seagrass, DoesNothingForADependentThatHasDied) {
    auto creator = filledCreator(10);
    auto data = Keel::make<Data>();
    seagrass->addDependency(creator, *data);
    creator = {};
    seagrass->cleanup();
    data = {};
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 0U);
}

TEST_F(Seagrass, HasGoneWithoutHarmWhenAnObjectWithDependentsDies) {
    const auto creator = filledCreator(10);
    auto data = Keel::make<Data>();
    seagrass->addDependency(creator, *data);
    seagrass = {};
    data = {};
    EXPECT_TRUE(creator);
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(Seagrass, IsNotHeldByDependencies) {
    const auto creator = filledCreator(10);
    const auto data = Keel::make<Data>();
    seagrass->addDependency(creator, *data);
    EXPECT_EQ(seagrass.controlBlock()->strong(), 1);
    EXPECT_EQ(creator.controlBlock()->strong(), 1);
}

TEST_F(Seagrass, KeepsDependenciesOfDifferentCachesApart) {
    const auto mine = filledCreator(10);
    const SeagrassPtr other(new Mirk::Seagrass(1000, "other"));
    const auto creatorOfOther = Keel::make<TestCreator>(*other, PolypPtr(), plan);
    creatorOfOther->acquire(anyRenderContext());
    auto data = Keel::make<Data>();
    seagrass->addDependency(mine, *data);
    other->addDependency(creatorOfOther, *data);
    data = {};
    EXPECT_EQ(seagrass->getNumberOfDeletions(), 1U);
    EXPECT_EQ(other->getNumberOfDeletions(), 1U);
}

TEST_F(Seagrass, KeepsOneEntryForADependentThatIsMadeAnewAndNoneForTheDead) {
    const auto data = Keel::make<Data>();
    const auto creator = filledCreator(10);
    const auto weakCount = [&] { return seagrass.controlBlock()->weak(); };
    seagrass->addDependency(creator, *data);
    const int withOne = weakCount();
    for (int i = 0; i < 1000; ++i) seagrass->addDependency(creator, *data);
    EXPECT_EQ(weakCount(), withOne);
    for (int i = 0; i < 1000; ++i) seagrass->addDependency(makeCreator(), *data);
    EXPECT_LT(weakCount(), withOne + 100);
}

TEST_F(Seagrass, AddsDependenciesForEachLiveObject) {
    const auto dependent = filledCreator(10);
    StrongPtr<Keel::Creature> alive(makeCreator());
    StrongPtr<Keel::Creature> mortal(makeCreator());
    const std::list<WeakPtr<Keel::Creature>> objects{alive, mortal, {}};
    mortal = {};
    EXPECT_TRUE(seagrass->addDependencies(dependent, objects));
    EXPECT_TRUE(dependent->hasData());
    alive = {};
    EXPECT_FALSE(dependent->hasData());
    EXPECT_TRUE(seagrass->addDependencies(dependent, {}));
}

// The end.

TEST_F(Seagrass, DestroysAllPolypsAtItsEndAndDoesNotHang) {
    const auto cached = filledCreator(10), pinned = filledCreator(20), released = filledCreator(30);
    pinned->enableCaching(true);
    seagrass->scheduleDeletion(released->releasePolyp());
    seagrass->scheduleDeletion(livingPolyp(lives, 1, std::make_shared<AtEnd>([] {})));
    EXPECT_EQ(lives.alive, 4);
    testing::internal::CaptureStdout();
    seagrass = {};
    EXPECT_THAT(testing::internal::GetCapturedStdout(), IsEmpty());
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
    EXPECT_FALSE(cached->hasData());
    EXPECT_FALSE(pinned->hasData());
}

TEST_F(Seagrass, DestroysAllPolypsAlsoWithoutEverHavingHadAPointer) {
    std::vector<StrongPtr<TestCreator>> creators;
    {
        Mirk::Seagrass onStack(1000, "stack");
        plan.initialize = [this](Polyp& polyp, Mirk::VRenderContext&) {
            return polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 1)));
        };
        creators.push_back(Keel::make<TestCreator>(onStack, PolypPtr(), plan));
        creators.back()->acquire(anyRenderContext());
        onStack.cleanup();
    }
    EXPECT_EQ(lives.alive, 0);
    EXPECT_FALSE(creators.back()->hasData());
}

TEST_F(Seagrass, PrintsAtItsEndWhatACreatorHasThrownAndEmptiesTheOthers) {
    class Stubborn : public Mirk::PolypCreator<Mirk::DefaultPolypInitializer> {
    public:
        explicit Stubborn(const Mirk::Seagrass& owner) : PolypCreator(owner, {}) {}
        bool forget() override { throw std::runtime_error("mine"); }
    };
    const auto stubborn = Keel::make<Stubborn>(*seagrass);
    stubborn->create();
    const auto next = filledCreator(10);
    testing::internal::CaptureStdout();
    seagrass = {};
    const std::string printed = testing::internal::GetCapturedStdout();
    EXPECT_THAT(printed,
                HasSubstr("Polypia: Seagrass: emptying the cache \"window\" failed: mine\n"));
    EXPECT_THAT(printed, HasSubstr("got 1 that will die without the context"));
    EXPECT_FALSE(next->hasData());
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(Seagrass, NamesAtItsEndAPolypThatWasTakenFromItsCreator) {
    const auto creator = filledCreator(10);
    const PolypPtr taken = creator->releasePolyp();
    testing::internal::CaptureStdout();
    seagrass = {};
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr(": " + taken->name() + "\n"));
}

TEST_F(Seagrass, DropsItsQueueWhenItsOwnerLetsGo) {
    bool isDropped = false;
    auto atEnd = std::make_shared<AtEnd>([&] { isDropped = true; });
    seagrass->queue([atEnd](Mirk::VRenderContextBasin&) {});
    const SeagrassPtr holder = seagrass;
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    atEnd.reset();
    seagrass = {};
    EXPECT_FALSE(Mirk::Seagrass::drain(remains));
    EXPECT_TRUE(isDropped);
    EXPECT_FALSE(holder->hasQueue());
}

TEST_F(Seagrass, EndsWhileATaskOfItsPoolWaitsForAFunctionThatItHasQueued) {
    std::promise<void> isQueued;
    std::atomic<bool> isLetGo{false};
    Mirk::Seagrass& object = *seagrass;
    seagrass->post([&] {
        auto answer = std::make_shared<std::promise<void>>();
        const std::future<void> result = answer->get_future();
        object.queue([answer](Mirk::VRenderContextBasin&) { answer->set_value(); });
        answer.reset();
        isQueued.set_value();
        result.wait();
        isLetGo = true;
    });
    isQueued.get_future().wait();
    seagrass = {};
    EXPECT_TRUE(isLetGo);
}

TEST_F(Seagrass, WaitsForItsOwnerWhenItIsLetGoOfInTheCleanUpOfAnother) {
    const StrongPtr<Mirk::Seagrass> other(new Mirk::Seagrass(1000000, "other"));
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    const auto creator = filledCreator(1);
    auto letGo = std::make_shared<AtEnd>(
        [held = std::make_shared<SeagrassPtr>(std::move(seagrass))] { *held = {}; });
    other->scheduleDeletion(livingPolyp(lives, 1, letGo));
    letGo.reset();
    testing::internal::CaptureStderr();
    other->cleanup();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(remains);
    EXPECT_EQ(lives.alive, 1);
    EXPECT_TRUE(Mirk::Seagrass::drain(remains));
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(Seagrass, NamesAtItsEndThePolypsThatSomebodyStillHolds) {
    const auto creator = filledCreator(10), other = filledCreator(10);
    const PolypPtr held = creator->getPolyp();
    const PolypPtr heldSince = livingPolyp(lives, 1);
    seagrass->scheduleDeletion(heldSince);
    PolypPtr heldForAWhile = livingPolyp(lives, 1);
    seagrass->scheduleDeletion(heldForAWhile);
    seagrass->cleanup();
    heldForAWhile = {};
    testing::internal::CaptureStdout();
    seagrass = {};
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "Polypia: ~Seagrass: expected that nobody holds polyps of \"window\" any more, got 2 "
              "that will die without the context: " +
                  heldSince->name() + ", " + held->name() + "\n");
    EXPECT_EQ(lives.alive, 2);
}

TEST_F(Seagrass, NamesAtItsEndThePolypsThatACreatorHasKept) {
    class Keeping : public TestCreator {
    public:
        using PolypCreator::PolypCreator;
        bool forget() override { return false; }
    };
    const auto creator = Keel::make<Keeping>(*seagrass, livingPolyp(lives, 1), plan);
    creator->getPolyp()->setName("kept");
    testing::internal::CaptureStdout();
    seagrass = {};
    EXPECT_THAT(testing::internal::GetCapturedStdout(), HasSubstr("got 1 that will die"));
    EXPECT_EQ(lives.alive, 1);
}

TEST_F(Seagrass, WaitsForItsOwnerWhenItIsLetGoOfInTheEvictionOfAnother) {
    const StrongPtr<Mirk::Seagrass> other(new Mirk::Seagrass(1000000, "other"));
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    class LettingGo : public TestCreator {
    public:
        using PolypCreator::PolypCreator;
        bool forget() override {
            held = {};
            return PolypCreator::forget();
        }
        StrongPtr<Mirk::Seagrass> held;
    };
    const auto creator = Keel::make<LettingGo>(*other, livingPolyp(lives, 1), plan);
    creator->held = std::move(seagrass);
    testing::internal::CaptureStderr(); // the pointers tell that the object got new references
    EXPECT_EQ(other->lawn(), 1);
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(remains);
    EXPECT_TRUE(Mirk::Seagrass::drain(remains));
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(Seagrass, EndsBehindAPurgeOnAnotherThread) {
    std::promise<void> isForgetting, mayGoOn;
    class Slow : public TestCreator {
    public:
        using PolypCreator::PolypCreator;
        bool forget() override {
            (*isForgetting).set_value();
            (*mayGoOn).get_future().wait();
            return PolypCreator::forget();
        }
        std::promise<void>* isForgetting = nullptr;
        std::promise<void>* mayGoOn = nullptr;
    };
    const auto creator = Keel::make<Slow>(*seagrass, livingPolyp(lives, 1), plan);
    creator->isForgetting = &isForgetting;
    creator->mayGoOn = &mayGoOn;
    std::thread other([cache = seagrass->getCache()] {
        StrongPtr<Keel::Cache, Keel::CacheBase>(cache)->purge();
    });
    isForgetting.get_future().wait();
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    std::thread release([&] {
        std::this_thread::yield();
        mayGoOn.set_value();
    });
    testing::internal::CaptureStderr();
    seagrass = {};
    while (!Mirk::Seagrass::drain(remains)) std::this_thread::yield();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(lives.alive, 0) << "its polyp was given up ahead of its end";
    EXPECT_EQ(lives.astray, 0);
    release.join();
    other.join();
}

TEST_F(Seagrass, EndsOnTheThreadOfItsOwnerWhenAnotherLetsGoLast) {
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    const auto creator = filledCreator(10);
    testing::internal::CaptureStderr(); // the pointers tell that the object got new references
    dropElsewhere();
    testing::internal::GetCapturedStderr();
    EXPECT_TRUE(remains) << "it waits for its owner";
    EXPECT_EQ(lives.alive, 1);
    EXPECT_TRUE(Mirk::Seagrass::drain(remains));
    EXPECT_FALSE(remains);
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
    EXPECT_FALSE(creator->hasData());
    EXPECT_TRUE(Mirk::Seagrass::drain(remains)) << "once more does no harm";
    EXPECT_TRUE(Mirk::Seagrass::drain({}));
}

TEST_F(Seagrass, DrainTellsThatSomebodyHoldsItAndCleansUp) {
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    seagrass->scheduleDeletion(livingPolyp(lives, 1));
    SeagrassPtr holder = seagrass;
    seagrass = {};
    EXPECT_FALSE(Mirk::Seagrass::drain(remains));
    EXPECT_EQ(lives.alive, 0);
    holder = {};
    EXPECT_TRUE(Mirk::Seagrass::drain(remains));
}

TEST_F(Seagrass, TakesPolypsThatComeWhileItWaitsForItsOwner) {
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    auto creator = filledCreator(10);
    testing::internal::CaptureStderr();
    dropElsewhere();
    onAnotherThread([&] { creator = {}; });
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(lives.alive, 1);
    EXPECT_TRUE(Mirk::Seagrass::drain(remains));
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
}

TEST_F(Seagrass, BelongsToTheThreadThatCleanedUpLast) {
    for (int way = 0; way < 3; ++way) {
        seagrass = Keel::make<Mirk::Seagrass>(1000, "window");
        const WeakPtr<Mirk::Seagrass> weak(seagrass);
        onAnotherThread([&] {
            if (way == 0) seagrass->cleanup();
            if (way == 1) seagrass->lawn();
            if (way == 2) handleAll();
            seagrass = {};
        });
        EXPECT_FALSE(weak);
    }
}

TEST_F(Seagrass, EndsWithThePolypOfACreatorWhoseDestructorIsUnderWay) {
    class Pausing {
    public:
        Pausing(std::promise<void>& isDying, const std::shared_future<void>& hasEnded)
            : _isDying(isDying), _hasEnded(hasEnded) {}
        ~Pausing() {
            _isDying.set_value();
            _hasEnded.wait();
        }

    private:
        std::promise<void>& _isDying;
        const std::shared_future<void> _hasEnded;
    };
    std::promise<void> isDying, hasEnded;
    auto creator = Keel::make<Mirk::PolypCreator<Pausing>>(*seagrass, PolypPtr(), isDying,
                                                           hasEnded.get_future().share());
    creator->recreate([this](Polyp& polyp) {
        return polyp.insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 1)));
    });
    std::thread other([&] { creator = {}; });
    isDying.get_future().wait();
    const WeakPtr<Mirk::Seagrass> remains(seagrass);
    seagrass = {};
    EXPECT_TRUE(Mirk::Seagrass::drain(remains));
    EXPECT_EQ(lives.alive, 0);
    hasEnded.set_value();
    other.join();
    EXPECT_EQ(lives.astray, 0);
}

TEST_F(Seagrass, EndsWhileOtherThreadsLetGoOfItsCreators) {
    testing::internal::CaptureStderr();
    for (int round = 0; round < 100; ++round) {
        seagrass = Keel::make<Mirk::Seagrass>(1000, "window");
        std::vector<StrongPtr<TestCreator>> creators;
        for (int i = 0; i < 20; ++i) creators.push_back(filledCreator(10));
        std::atomic<bool> isRunning{false};
        std::thread other([&] {
            isRunning = true;
            creators.clear();
        });
        while (!isRunning) std::this_thread::yield();
        const WeakPtr<Mirk::Seagrass> remains(seagrass);
        seagrass = {};
        while (!Mirk::Seagrass::drain(remains)) std::this_thread::yield();
        EXPECT_EQ(lives.alive, 0);
        other.join();
    }
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(lives.astray, 0);
}

} // namespace
