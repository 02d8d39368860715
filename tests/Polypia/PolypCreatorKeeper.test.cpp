#include <Polypia/PolypCreatorKeeper.hpp>

#include "anyRenderContext.hpp"
#include "renderCache.hpp"

#include <gmock/gmock.h>

#include <atomic>
#include <functional>
#include <stdexcept>
#include <thread>
#include <type_traits>
#include <vector>

using Keel::StrongPtr;
using Keel::WeakPtr;
using Mirk::Polyp;
using Mirk::Seagrass;

namespace {

class PolypCreatorKeeper : public testing::Test {
protected:
    using Keeper = Mirk::PolypCreatorKeeper;

    Keeper::CreatorPtr ask(const StrongPtr<Seagrass>& seagrass) {
        return (*keeper)(*seagrass, [this](const Seagrass& given) {
            ++made;
            return Keeper::DefaultFactory(given);
        });
    }

    int made = 0;
    Lives lives;
    StrongPtr<Seagrass> first{new Seagrass(1000, "first")};
    StrongPtr<Seagrass> second{new Seagrass(1000, "second")};
    std::unique_ptr<Keeper> keeper = std::make_unique<Keeper>();
};

TEST_F(PolypCreatorKeeper, GivesEachSeagrassACreatorOfItsOwnAndAlwaysTheSame) {
    const auto ofFirst = ask(first);
    const auto ofSecond = ask(second);
    ASSERT_TRUE(ofFirst);
    ASSERT_TRUE(ofSecond);
    EXPECT_FALSE(ofFirst == ofSecond);
    EXPECT_TRUE(ofFirst->cache() == first->getCache());
    EXPECT_TRUE(ofSecond->cache() == second->getCache());
    for (int frame = 0; frame < 3; ++frame) {
        EXPECT_TRUE(ask(first) == ofFirst);
        EXPECT_TRUE(ask(second) == ofSecond);
    }
    EXPECT_EQ(made, 2);
}

TEST_F(PolypCreatorKeeper, HoldsTheCreatorForItsCallers) {
    const WeakPtr<Mirk::PolypCreatorBase> creator(ask(first));
    EXPECT_TRUE(creator);
    EXPECT_EQ(creator.controlBlock()->strong(), 1);
    keeper.reset();
    EXPECT_FALSE(creator);
}

TEST_F(PolypCreatorKeeper, LeavesACreatorThatSomebodyHoldsAlive) {
    const auto creator = ask(first);
    keeper.reset();
    EXPECT_TRUE(creator);
}

TEST_F(PolypCreatorKeeper, GivesTheFactoryTheSeagrass) {
    const Seagrass* given = nullptr;
    (*keeper)(*first, [&](const Seagrass& seagrass) {
        given = &seagrass;
        return Keeper::DefaultFactory(seagrass);
    });
    EXPECT_EQ(given, first.get());
}

TEST_F(PolypCreatorKeeper, MakesEmptyDefaultCreators) {
    const auto creator = Keeper::DefaultFactory(*first);
    using Default = Mirk::PolypCreator<Mirk::DefaultPolypInitializer>;
    EXPECT_TRUE(StrongPtr<Default>(creator));
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(creator.controlBlock()->strong(), 1);
}

TEST_F(PolypCreatorKeeper, DropsTheCreatorOfASeagrassThatHasGoneAtTheNextCallForAnother) {
    const WeakPtr<Mirk::PolypCreatorBase> creator(ask(first));
    const auto ofSecond = ask(second);
    first = {};
    EXPECT_TRUE(creator);
    EXPECT_TRUE(ask(second) == ofSecond);
    EXPECT_FALSE(creator);
}

TEST_F(PolypCreatorKeeper, ItsLeftCreatorHoldsNoPolypWhenSeagrassHasGone) {
    const auto creator = ask(first);
    creator->create()->insertTentacle(0, Polyp::TentaclePtr(new LivingTentacle(lives, 1)));
    first = {};
    EXPECT_FALSE(creator->hasData());
    EXPECT_EQ(lives.alive, 0);
}

TEST_F(PolypCreatorKeeper, DestroysCreatorsBehindItsLock) {
    // What dies asks the same keeper, which must neither hang nor be in the middle of something.
    struct Asking : Mirk::DefaultPolypInitializer {
        explicit Asking(std::function<void()> theEnd) : end(std::move(theEnd)) {}
        ~Asking() { end(); }
        const std::function<void()> end;
    };
    int ended = 0;
    (*keeper)(*first, [&](const Seagrass& seagrass) {
        return Keeper::CreatorPtr(
            new Mirk::PolypCreator<Asking>(seagrass, {}, std::function<void()>([&] {
                                               ++ended;
                                               EXPECT_TRUE(ask(second));
                                           })));
    });
    first = {};
    ask(second);
    EXPECT_EQ(ended, 1);
    EXPECT_EQ(made, 1);
}

TEST_F(PolypCreatorKeeper, AsksAgainAfterAnEmptyPointer) {
    int asked = 0;
    const auto nothing = [&](const Seagrass&) {
        ++asked;
        return Keeper::CreatorPtr();
    };
    EXPECT_FALSE((*keeper)(*first, nothing));
    EXPECT_FALSE((*keeper)(*first, nothing));
    EXPECT_EQ(asked, 2);
    EXPECT_TRUE(ask(first));
    EXPECT_TRUE((*keeper)(*first, nothing));
    EXPECT_EQ(asked, 2);
}

TEST_F(PolypCreatorKeeper, IsUnlockedAndEmptyAfterAFactoryHasThrown) {
    const auto throwing = [](const Seagrass&) -> Keeper::CreatorPtr {
        throw std::runtime_error("no creator");
    };
    EXPECT_THROW((*keeper)(*first, throwing), std::runtime_error);
    EXPECT_TRUE(ask(first));
    EXPECT_EQ(made, 1);
}

TEST_F(PolypCreatorKeeper, NeedsAFactoryOnlyForWhatIsMissing) {
    EXPECT_THROW((*keeper)(*first, {}), std::bad_function_call);
    const auto creator = ask(first);
    EXPECT_TRUE((*keeper)(*first, {}) == creator);
}

TEST_F(PolypCreatorKeeper, GivesUpAllPolypsWithItselfOnAnyThread) {
    for (const auto& seagrass : {first, second}) {
        ask(seagrass)->create()->insertTentacle(0,
                                                Polyp::TentaclePtr(new LivingTentacle(lives, 1)));
    }
    std::thread([&] { keeper.reset(); }).join();
    EXPECT_EQ(lives.alive, 2) << "no graphics on that thread";
    first->cleanup();
    EXPECT_EQ(lives.alive, 1);
    second->cleanup();
    EXPECT_EQ(lives.alive, 0);
    EXPECT_EQ(lives.astray, 0);
}

TEST_F(PolypCreatorKeeper, RunsTheFactoryOnceForThreadsThatAskAtOnce) {
    for (int round = 0; round < 50; ++round) {
        keeper = std::make_unique<Keeper>();
        std::atomic<int> factories{0};
        std::vector<Keeper::CreatorPtr> results(4);
        std::vector<std::thread> threads;
        for (auto& result : results) {
            threads.emplace_back([&] {
                result = (*keeper)(*first, [&](const Seagrass& seagrass) {
                    ++factories;
                    return Keeper::DefaultFactory(seagrass);
                });
            });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(factories, 1);
        for (const auto& result : results) EXPECT_TRUE(result == results.front());
    }
}

} // namespace
