#include <keel/Cache.hpp>
#include <keel/Creator.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <future>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

using Keel::Cache;
using Keel::Cacheable;
using Keel::StrongPtr;
using Keel::WeakPtr;

namespace {

class Block : public Keel::MutableCacheable {
public:
    Block(const WeakPtr<Keel::Creature>& creator, std::size_t size)
        : MutableCacheable(creator), bytes(size) {
        expectMemsize(size);
    }
    std::size_t computeMemsize() const override { return bytes; }
    std::size_t bytes;
    StrongPtr<Keel::Creature> part;
};

class BlockMaker : public Keel::AlzheimerCreator<Block> {
public:
    BlockMaker(const StrongPtr<Cache>& owner, std::size_t size)
        : AlzheimerCreator(WeakPtr<Cache>(owner)), _size(size) {}
    StrongPtr<Block, Cacheable> create() override {
        const StrongPtr<Block, Cacheable> block(new Block(*this, _size));
        store(block);
        return block;
    }
    bool forget() override {
        if (StrongPtr<Cache, Keel::CacheBase> owner(cache()); owner) owner->memsize(false);
        ++asked;
        return willing && AlzheimerCreator::forget();
    }
    bool willing = true;
    int asked = 0;

private:
    std::size_t _size;
};

class CacheTest : public testing::Test {
protected:
    std::vector<StrongPtr<BlockMaker>> makers(std::size_t number, std::size_t bytes) {
        std::vector<StrongPtr<BlockMaker>> made;
        for (std::size_t i = 0; i < number; ++i) {
            made.push_back(Keel::make<BlockMaker>(cache, bytes));
            made.back()->create();
        }
        return made;
    }
    static std::string held(const std::vector<StrongPtr<BlockMaker>>& all) {
        std::string text;
        for (const auto& maker : all) text += maker->hasData() ? '1' : '0';
        return text;
    }
    StrongPtr<Cache> cache = Keel::make<Cache>(300u, "test");
};

TEST_F(CacheTest, FourthOfThreeEvictsOnlyTheOldestNotYetUsed) {
    auto all = makers(3, 100);
    EXPECT_EQ(held(all), "111");
    all[0]->getPolyp();
    all.push_back(makers(1, 100)[0]);
    EXPECT_EQ(held(all), "1011");
    EXPECT_EQ(cache->memsize(false), 300u);
    EXPECT_EQ(cache->size(), 3u);
}

TEST_F(CacheTest, MarkingAsUsedMovesAnObjectToTheRecentEnd) {
    auto all = makers(3, 100);
    std::vector<StrongPtr<Block, Cacheable>> blocks;
    for (const auto& maker : all) blocks.push_back(maker->getPolyp());
    blocks[0]->markAsUsed();
    struct Names : Keel::CacheQueue::Iterator {
        bool apply(const WeakPtr<Cacheable>* object) override {
            seen.push_back(*object);
            return true;
        }
        std::vector<WeakPtr<Cacheable>> seen;
    } walk;
    cache->iterate(walk);
    EXPECT_THAT(walk.seen, testing::ElementsAre(blocks[0], blocks[2], blocks[1]));
    all.push_back(makers(1, 100)[0]);
    EXPECT_EQ(held(all), "1011");
}

TEST_F(CacheTest, EvictsNeverMoreThanNeeded) {
    const auto small = makers(30, 10);
    const auto large = makers(1, 25);
    EXPECT_EQ(held(small), "000" + std::string(27, '1'));
    EXPECT_EQ(cache->memsize(false), 295u);
}

TEST_F(CacheTest, ObjectAboveTheMaximumIsSparedWhileItIsMade) {
    const auto small = makers(3, 100);
    const auto huge = makers(1, 1000);
    EXPECT_EQ(held(small), "000");
    EXPECT_EQ(held(huge), "1");
    makers(1, 10);
    EXPECT_EQ(held(huge), "0");
}

TEST_F(CacheTest, GrowthEvictsOthersButNotTheOneThatGrows) {
    const auto all = makers(3, 100);
    const auto first = all[0]->get();
    StrongPtr<Block, Cacheable> block(all[0]->getPolyp());
    block->bytes = 250;
    block->adjustCurrentMemsize();
    EXPECT_EQ(block->memsize(), 250u);
    EXPECT_EQ(held(all), "100");
    EXPECT_EQ(cache->memsize(false), 250u);
}

TEST_F(CacheTest, ExpectingASizeEvictsNothing) {
    const auto all = makers(3, 100);
    const StrongPtr<Block, Cacheable> block(all[0]->getPolyp());
    block->expectMemsize(250);
    EXPECT_EQ(block->memsize(), 250u);
    EXPECT_EQ(held(all), "111") << "the budget may refuse it";
}

TEST_F(CacheTest, ShrinkingGivesRoomBack) {
    const auto all = makers(3, 100);
    const StrongPtr<Block, Cacheable> block(all[0]->getPolyp());
    block->bytes = 40;
    EXPECT_EQ(cache->memsize(false), 300u);
    EXPECT_EQ(cache->memsize(true), 240u) << "not told yet to the cache";
    block->adjustCurrentMemsize();
    EXPECT_EQ(cache->memsize(false), 240u);
    EXPECT_EQ(cache->memsize(true), 240u);
}

TEST_F(CacheTest, MutableObjectReportsTheLastRecordedSize) {
    const auto maker = Keel::make<BlockMaker>(cache, 100u);
    const auto block = maker->create();
    block->bytes = 70;
    EXPECT_EQ(block->memsize(), 100u);
    EXPECT_EQ(cache->memsize(false), 100u);
}

TEST_F(CacheTest, EvictedObjectThatSomebodyHoldsIsNoLongerCounted) {
    auto all = makers(3, 100);
    const auto holder = all[0]->getPolyp();
    all[1]->getPolyp();
    all[2]->getPolyp();
    const auto more = makers(1, 100);
    EXPECT_EQ(held(all), "011");
    EXPECT_FALSE(holder->isEnrolled());
    EXPECT_EQ(cache->memsize(false), 300u);
}

TEST_F(CacheTest, OwnerThatRefusesKeepsItsObjectAndTheNextOldestGoes) {
    const auto all = makers(3, 100);
    all[0]->willing = false;
    const auto more = makers(1, 100);
    EXPECT_EQ(held(all), "101");
    EXPECT_EQ(all[0]->asked, 1);
    EXPECT_EQ(cache->memsize(false), 300u);
    makers(1, 100);
    EXPECT_EQ(all[0]->asked, 1);
}

TEST_F(CacheTest, PinnedObjectsAreNotEvictedUntilUnpinned) {
    const auto all = makers(3, 100);
    all[0]->enableCaching(true);
    auto more = makers(1, 100);
    EXPECT_EQ(held(all), "101");
    all[0]->enableCaching(false);
    all[2]->getPolyp();
    more[0]->getPolyp();
    makers(1, 100);
    EXPECT_EQ(held(all), "001");
}

TEST_F(CacheTest, UnpinnedObjectsComeBackAtTheirAge) {
    const auto all = makers(3, 100);
    const auto first = all[0]->getPolyp();
    const auto second = all[1]->getPolyp();
    all[2]->getPolyp();
    first->pin(true);
    second->pin(true);
    auto more = makers(1, 100);
    EXPECT_EQ(held(all), "110");
    first->pin(false);
    second->pin(false);
    more.push_back(makers(1, 100)[0]);
    EXPECT_EQ(held(all), "010");
    EXPECT_EQ(held(more), "11");
}

TEST_F(CacheTest, EvictsNothingMoreWhenAnObjectTakesOthersWithIt) {
    const auto all = makers(2, 100);
    auto part = makers(1, 100)[0];
    all[0]->getPolyp()->part = part;
    all[1]->getPolyp();
    part->getPolyp();
    part = {};
    const auto large = makers(1, 200);
    EXPECT_EQ(held(all), "01");
    EXPECT_EQ(held(large), "1");
    EXPECT_EQ(cache->memsize(false), 300u);
}

TEST_F(CacheTest, EvictingAReleasedObjectLeavesTheNewOneOfItsCreator) {
    const auto all = makers(1, 100);
    const auto released = all[0]->releasePolyp();
    all[0]->create();
    EXPECT_EQ(cache->memsize(false), 200u);
    makers(2, 100);
    EXPECT_EQ(held(all), "1");
    EXPECT_FALSE(released->isEnrolled());
}

TEST_F(CacheTest, WhatNoCreatorHasAnyMoreGoesAheadOfWhatOneHas) {
    const auto oldest = makers(1, 100);
    const auto givenUp = makers(1, 100);
    const auto released = givenUp[0]->releasePolyp();
    const auto third = makers(1, 100);
    const auto fourth = makers(1, 100);
    EXPECT_EQ(held(oldest), "1");
    EXPECT_FALSE(released->isEnrolled());
}

TEST_F(CacheTest, WaitsForTheEvictionsAndPurgesOfOtherThreads) {
    class Slow : public BlockMaker {
    public:
        explicit Slow(const StrongPtr<Cache>& owner) : BlockMaker(owner, 100) {}
        bool forget() override {
            isForgetting.set_value();
            mayGoOn.get_future().wait();
            hasForgotten = true;
            return BlockMaker::forget();
        }
        std::promise<void> isForgetting, mayGoOn;
        std::atomic<bool> hasForgotten{false};
    };
    for (const bool purges : {false, true}) {
        const auto slow = Keel::make<Slow>(cache);
        slow->create();
        cache->waitForEvictions();
        std::thread evicting([&] {
            if (purges)
                cache->purge();
            else
                makers(3, 100);
        });
        slow->isForgetting.get_future().wait();
        std::thread waiting([&] {
            cache->waitForEvictions();
            EXPECT_TRUE(slow->hasForgotten);
        });
        slow->mayGoOn.set_value();
        waiting.join();
        evicting.join();
    }
}

TEST_F(CacheTest, LeavesWhatACreatorHasMadeSinceItsFormerObjectWasChosen) {
    class Thief : public BlockMaker {
    public:
        explicit Thief(const StrongPtr<Cache>& owner) : BlockMaker(owner, 100) {}
        bool forget() override {
            if (victim) victim->create();
            return BlockMaker::forget();
        }
        StrongPtr<BlockMaker> victim;
    };
    const auto thief = Keel::make<Thief>(cache);
    thief->victim = Keel::make<BlockMaker>(cache, 100u);
    thief->create();
    thief->victim->create();
    EXPECT_EQ(cache->purge(), 1u);
    EXPECT_EQ(thief->victim->asked, 0);
    EXPECT_TRUE(thief->victim->hasData());
    EXPECT_EQ(cache->memsize(false), 100u) << "the new object counts";
}

TEST_F(CacheTest, CreatorInForgetDoesNotWaitForItself) {
    class Waiting : public BlockMaker {
    public:
        explicit Waiting(const StrongPtr<Cache>& owner) : BlockMaker(owner, 100) {}
        bool forget() override {
            EXPECT_TRUE(Cache::isEvicting());
            if (const StrongPtr<Cache, Keel::CacheBase> owner(cache()); owner) {
                owner->waitForEvictions();
            }
            return BlockMaker::forget();
        }
    };
    const auto maker = Keel::make<Waiting>(cache);
    maker->create();
    makers(3, 100);
    EXPECT_FALSE(maker->hasData());
    maker->create();
    EXPECT_EQ(cache->purge(), 1u);
    EXPECT_FALSE(Cache::isEvicting());
}

TEST_F(CacheTest, PurgeDropsWhatOwnersAllowAndCountsIt) {
    const auto all = makers(3, 100);
    all[1]->willing = false;
    const auto holder = all[2]->getPolyp();
    EXPECT_EQ(cache->purge(), 2u);
    EXPECT_EQ(held(all), "010");
    EXPECT_EQ(cache->memsize(false), 100u);
    EXPECT_EQ(cache->purge(), 0u);
}

TEST_F(CacheTest, PurgeAsksAlsoThoseWhoRefusedBeforeButNotThePinned) {
    const auto all = makers(3, 100);
    all[0]->willing = false;
    all[1]->enableCaching(true);
    EXPECT_EQ(cache->purge(), 1u);
    EXPECT_EQ(held(all), "110");
    all[0]->willing = true;
    EXPECT_EQ(cache->purge(), 1u);
    EXPECT_EQ(held(all), "010");
    EXPECT_EQ(all[1]->asked, 0);
}

/// Has a new object as soon as it has given up the old one.
class Replacer : public BlockMaker {
public:
    using BlockMaker::BlockMaker;
    bool forget() override {
        ++asked;
        create();
        return true;
    }
};

TEST_F(CacheTest, PurgeAsksCreatorsThatMakeNewObjectsOnlyOnce) {
    const auto one = Keel::make<Replacer>(cache, 100u);
    const auto other = Keel::make<Replacer>(cache, 100u);
    one->create();
    other->create();
    EXPECT_EQ(cache->purge(), 2u);
    EXPECT_EQ(one->asked + other->asked, 2);
    EXPECT_TRUE(one->hasData());
    EXPECT_EQ(cache->memsize(false), 200u);
}

TEST_F(CacheTest, PurgeEvictsWhatWasMadeMeanwhileIfItIsTooMuch) {
    cache->maxCost = 1000;
    const auto one = Keel::make<Replacer>(cache, 100u);
    one->create();
    const auto plain = makers(1, 100);
    cache->maxCost = 50;
    cache->purge();
    EXPECT_GE(one->asked, 2) << "once by the purge, once for the room";
}

TEST_F(CacheTest, ObjectWhoseCreatorThrowsStaysInTheBooks) {
    class Thrower : public BlockMaker {
    public:
        using BlockMaker::BlockMaker;
        bool forget() override { throw std::runtime_error("mine"); }
    };
    const auto thrower = Keel::make<Thrower>(cache, 100u);
    thrower->create();
    EXPECT_THROW(cache->purge(), std::runtime_error);
    EXPECT_EQ(cache->size(), 1u);
    EXPECT_EQ(cache->memsize(false), 100u);
    EXPECT_TRUE(thrower->getPolyp()->isEnrolled());
}

TEST_F(CacheTest, ForgetsAKindOfObjectsWithTheLastOfThem) {
    auto all = makers(2, 10);
    auto held = all[0]->getPolyp();
    cache->purge();
    testing::internal::CaptureStdout();
    cache->list_info();
    EXPECT_THAT(testing::internal::GetCapturedStdout(), testing::HasSubstr("BlockMaker"))
        << "one is evicted and lives";
    held->setCreator(*all[0]);
    EXPECT_EQ(cache->size(), 1u);
    held = {};
    testing::internal::CaptureStdout();
    cache->list_info();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::Not(testing::HasSubstr("BlockMaker")));
    all[0]->create();
    EXPECT_EQ(cache->size(), 1u);
}

TEST_F(CacheTest, EvictionEndsWhereCreatorsMakeNewObjectsAllTheTime) {
    cache->maxCost = 100;
    const auto one = Keel::make<Replacer>(cache, 100u);
    const auto other = Keel::make<Replacer>(cache, 100u);
    one->create();
    other->create();
    EXPECT_GE(one->asked, 1);
    // Room is made when an object is enrolled and again when its creator stores it.
    EXPECT_LE(one->asked + other->asked, 4) << "each at most once at a time";
    EXPECT_TRUE(one->hasData());
    EXPECT_TRUE(other->hasData());
}

TEST_F(CacheTest, AdjustMakesRoomForAnAddition) {
    const auto all = makers(3, 100);
    cache->adjust(typeid(void), typeid(void), 150);
    EXPECT_EQ(held(all), "001");
    cache->maxCost = 50;
    cache->adjust(typeid(void), typeid(void), 0);
    EXPECT_EQ(held(all), "000");
}

TEST_F(CacheTest, AdjustLeavesOtherDomainsAlone) {
    const auto all = makers(3, 100);
    cache->adjust(typeid(int), typeid(void), 300);
    EXPECT_EQ(held(all), "111");
    cache->adjust(typeid(Block), typeid(int), 300);
    EXPECT_EQ(held(all), "111");
    cache->adjust(typeid(Block), typeid(BlockMaker), 300);
    EXPECT_EQ(held(all), "000");
}

TEST_F(CacheTest, WalkVisitsEveryObjectOnce) {
    struct Counter : Keel::CacheQueue::Iterator {
        bool apply(const WeakPtr<Cacheable>* object) override {
            seen.push_back(*object);
            return seen.size() < limit;
        }
        std::vector<WeakPtr<Cacheable>> seen;
        std::size_t limit = 100;
    } counter;
    cache->maxCost = 10000;
    const auto all = makers(10, 100);
    all[0]->enableCaching(true);
    const auto released = all[1]->releasePolyp();
    EXPECT_TRUE(cache->iterate(counter));
    EXPECT_EQ(counter.seen.size(), 10u);
    std::sort(counter.seen.begin(), counter.seen.end());
    EXPECT_EQ(std::unique(counter.seen.begin(), counter.seen.end()), counter.seen.end());
    counter.seen.clear();
    counter.limit = 3;
    EXPECT_FALSE(cache->iterate(counter));
    EXPECT_EQ(counter.seen.size(), 3u);
}

TEST_F(CacheTest, DeferredConstructorRunsOnceAtTheFirstPointerAheadOfEnrolment) {
    class Late : public Cacheable {
    public:
        using Cacheable::Cacheable;
        void DeferredConstructor() override {
            ++runs;
            bytes = 77;
        }
        std::size_t memsize() const override { return bytes; }
        int runs = 0;
        std::size_t bytes = 0;
    };
    const auto owner = Keel::make<BlockMaker>(cache, 1u);
    Late* const raw = new Late(WeakPtr<Keel::Creature>(owner));
    EXPECT_EQ(raw->runs, 0);
    const StrongPtr<Cacheable> first(raw);
    const StrongPtr<Cacheable> second = first;
    EXPECT_EQ(raw->runs, 1);
    EXPECT_EQ(cache->memsize(false), 77u);
    EXPECT_EQ(first->DomainType(), typeid(Late));
    EXPECT_EQ(first->CreatorType(), typeid(BlockMaker));
}

TEST_F(CacheTest, ObjectWhoseDeferredConstructorThrowsIsDestroyedAndNotEnrolled) {
    class Failing : public Cacheable {
    public:
        Failing(const WeakPtr<Keel::Creature>& creator, bool& flag)
            : Cacheable(creator), destroyed(flag) {}
        ~Failing() override { destroyed = true; }
        void DeferredConstructor() override { throw std::runtime_error("no"); }
        bool& destroyed;
    };
    const auto owner = Keel::make<BlockMaker>(cache, 1u);
    bool destroyed = false;
    EXPECT_THROW(StrongPtr<Cacheable>(new Failing(*owner, destroyed)), std::runtime_error);
    EXPECT_TRUE(destroyed);
    EXPECT_EQ(cache->size(), 0u);
}

TEST_F(CacheTest, ListTellsAMaximumBeyondAllNumbers) {
    cache->maxCost = ~0ull;
    testing::internal::CaptureStdout();
    cache->list_info();
    EXPECT_THAT(testing::internal::GetCapturedStdout(),
                testing::HasSubstr("Cache test: 0 objects, 0 B of 8.00 EiB\n"));
}

TEST_F(CacheTest, ListTellsObjectsAndBytes) {
    cache->maxCost = 4096;
    const auto all = makers(2, 1024);
    testing::internal::CaptureStdout();
    cache->list_info();
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_THAT(text, testing::HasSubstr("Cache test: 2 objects, 2"));
    EXPECT_THAT(text, testing::HasSubstr("2 evictable, 0 pinned, 0 given up"));
}

/// Eviction against the plain definition: of all objects in the cache, the one used least recently.
TEST_F(CacheTest, EvictionOrderEqualsThatOfAPlainListUnderRandomUse) {
    std::mt19937 random(7);
    cache->maxCost = 50;
    std::vector<StrongPtr<BlockMaker>> all;
    std::deque<std::size_t> byUse; // the oldest at the front
    for (int step = 0; step < 20000; ++step) {
        if (all.size() < 60 || random() % 4 == 0) {
            const bool fresh = all.size() < 60;
            std::size_t index = random() % std::max<std::size_t>(1, all.size());
            if (fresh) {
                index = all.size();
                all.push_back(Keel::make<BlockMaker>(cache, 1u));
            }
            std::erase(byUse, index);
            all[index]->releasePolyp();
            all[index]->create();
            byUse.push_back(index);
            if (byUse.size() > 50) byUse.pop_front();
        } else {
            const std::size_t index = random() % all.size();
            const bool present = std::find(byUse.begin(), byUse.end(), index) != byUse.end();
            ASSERT_EQ(bool(all[index]->getPolyp()), present) << "step " << step;
            if (present) {
                std::erase(byUse, index);
                byUse.push_back(index);
            }
        }
        ASSERT_EQ(cache->size(), byUse.size());
    }
}

TEST_F(CacheTest, ThreadsCreateUseResizeAndDropAtOnceWithinTheBudget) {
    cache->maxCost = 1000;
    std::vector<std::thread> threads;
    for (unsigned seed = 0; seed < 4; ++seed) {
        threads.emplace_back([this, seed] {
            std::mt19937 random(seed);
            std::vector<StrongPtr<BlockMaker>> mine;
            for (int i = 0; i < 20; ++i) mine.push_back(Keel::make<BlockMaker>(cache, 20u));
            for (int step = 0; step < 2000; ++step) {
                const auto& maker = mine[random() % mine.size()];
                const StrongPtr<Block, Cacheable> block = maker->getPolyp();
                if (!block) {
                    maker->create();
                } else if (random() % 4 == 0) {
                    block->bytes = 10 + random() % 30;
                    block->adjustCurrentMemsize();
                } else if (random() % 8 == 0) {
                    maker->releasePolyp();
                }
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(cache->memsize(false), 0u);
    EXPECT_EQ(cache->size(), 0u);
}

TEST_F(CacheTest, ThreadsEvictObjectsThatDieAtThatMoment) {
    std::vector<std::thread> threads;
    for (int i = 0; i < 2; ++i) {
        threads.emplace_back([this] {
            const auto maker = Keel::make<BlockMaker>(cache, 100u);
            for (int n = 0; n < 1000; ++n) {
                maker->create();
                if (n % 2 == 0) maker->releasePolyp();
            }
        });
        threads.emplace_back([this] {
            for (int n = 0; n < 1000; ++n) {
                if (n % 2 == 0)
                    cache->adjust(typeid(void), typeid(void), 250);
                else
                    cache->purge();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_EQ(cache->memsize(false), 0u);
    EXPECT_EQ(cache->size(), 0u);
}

TEST_F(CacheTest, ThreadsThatGiveOneObjectToCreatorsEnrolItOnce) {
    const auto one = Keel::make<BlockMaker>(cache, 1u);
    const auto other = Keel::make<BlockMaker>(cache, 1u);
    for (int round = 0; round < 200; ++round) {
        StrongPtr<Block, Cacheable> block(new Block({}, 10));
        std::vector<std::thread> threads;
        for (const auto& maker : {one, other}) {
            threads.emplace_back([block, maker] { block->setCreator(*maker); });
        }
        threads.emplace_back([this] { cache->purge(); });
        threads.emplace_back([moved = std::move(block)]() mutable {
            moved->setCreator({});
            moved = {};
        });
        for (std::thread& thread : threads) thread.join();
        threads.clear();
        ASSERT_EQ(cache->size(), 0u);
        ASSERT_EQ(cache->memsize(false), 0u);
    }
}

class CacheQueueTest : public testing::Test {
protected:
    struct Collector : Keel::CacheQueue::Iterator {
        bool apply(const WeakPtr<Cacheable>* object) override {
            const StrongPtr<Cacheable> alive(*object);
            names += alive ? alive->name() : "-";
            return names.size() < limit;
        }
        std::string names;
        std::size_t limit = 100;
    };
    static StrongPtr<Cacheable> named(const char* name) {
        const auto object = Keel::make<Block>(WeakPtr<Keel::Creature>(), 10u);
        object->setName(name);
        return object;
    }
    StrongPtr<Keel::CacheQueue, Cacheable> queue = Keel::make<Keel::CacheQueue>();
};

TEST_F(CacheQueueTest, VisitsTheMostRecentFirstAndShowsTheDead) {
    const auto a = named("a");
    auto b = named("b");
    const auto c = named("c");
    queue->push_front(a);
    queue->push_front(b);
    queue->push_front(c);
    b = {};
    Collector collector;
    EXPECT_TRUE(queue->iterate(collector));
    EXPECT_EQ(collector.names, "c-a");
    EXPECT_EQ(queue->size(), 3u);
    EXPECT_EQ(queue->memsize(), 20u);
    Collector brief;
    brief.limit = 1;
    EXPECT_FALSE(queue->iterate(brief));
    EXPECT_EQ(brief.names, "c");
}

TEST_F(CacheQueueTest, HoldsItsObjectsWeaklyAndPurgeLetsGo) {
    const auto a = named("a");
    queue->push_front(a);
    EXPECT_EQ(a->controlBlock().strong(), 1);
    EXPECT_EQ(a->controlBlock().weak(), 3);
    EXPECT_EQ(queue->purge(), 1u);
    EXPECT_EQ(a->controlBlock().weak(), 2);
    EXPECT_EQ(queue->size(), 0u);
    EXPECT_EQ(queue->memsize(), 0u);
}

TEST_F(CacheQueueTest, ListStopsAtTheNumberOfEntriesThatWasAskedFor) {
    const auto a = named("first");
    const auto b = named("second");
    queue->push_front(a);
    queue->push_front(b);
    testing::internal::CaptureStdout();
    queue->list_info(1);
    const std::string text = testing::internal::GetCapturedStdout();
    EXPECT_THAT(text, testing::HasSubstr("2 entries"));
    EXPECT_THAT(text, testing::HasSubstr("second"));
    EXPECT_THAT(text, testing::Not(testing::HasSubstr("first")));
    EXPECT_THAT(text, testing::HasSubstr("..."));
}

} // namespace
