#include <sorrel/VStateCreatorBase.hpp>

#include <gtest/gtest.h>

#include <atomic>
#include <mutex>
#include <thread>
#include <vector>

using Mirk::ValuePool;
using Mirk::ValuePoolPtr;
using Mirk::VStateCreatorBase;
using StatePtr = Keel::StrongPtr<VStateCreatorBase::State>;

namespace {

struct CountingState : VStateCreatorBase::State {
    explicit CountingState(std::atomic<int>& count) : alive(count) { ++alive; }
    ~CountingState() override { --alive; }
    std::atomic<int>& alive;
};
struct Creator : VStateCreatorBase {
    StatePtr newState() const override {
        if (!makes) return {};
        const std::lock_guard lock(other);
        return StatePtr(new CountingState(alive));
    }
    mutable std::atomic<int> alive{0};
    mutable std::mutex other;
    bool makes = true;
};

class VStateCreatorBaseTest : public testing::Test {
protected:
    Creator creator;
    ValuePoolPtr pool{new ValuePool}, other{new ValuePool};
};

TEST_F(VStateCreatorBaseTest, EachPoolHasAStateOfItsOwn) {
    static_assert(std::is_base_of_v<Keel::Intercube, VStateCreatorBase::State>);
    const StatePtr state = creator.myState(pool);
    EXPECT_TRUE(state);
    EXPECT_EQ(creator.myState(pool), state);
    EXPECT_FALSE(creator.myState(other) == state);
    EXPECT_EQ(creator.alive, 2);
}

TEST_F(VStateCreatorBaseTest, DefaultIsAPlainState) {
    const VStateCreatorBase plain;
    EXPECT_EQ(plain.myState(pool).dynamicType(), typeid(VStateCreatorBase::State));
}

TEST_F(VStateCreatorBaseTest, DeadPoolAndNullResultGiveNull) {
    EXPECT_FALSE(creator.myState({}));
    const Keel::WeakPtr<ValuePool> dead(pool);
    pool = {};
    EXPECT_FALSE(creator.myState(dead));
    creator.makes = false;
    EXPECT_FALSE(creator.myState(other));
    creator.makes = true;
    EXPECT_TRUE(creator.myState(other)) << "a null result is not remembered";
}

TEST_F(VStateCreatorBaseTest, StatesOfDeadPoolsAreSweptWhenOneIsMade) {
    creator.myState(pool);
    pool = {};
    EXPECT_EQ(creator.alive, 1);
    creator.myState(other);
    EXPECT_EQ(creator.alive, 1);
}

TEST_F(VStateCreatorBaseTest, MutexMayBeHeld) {
    const std::lock_guard lock(creator.mutex);
    EXPECT_TRUE(creator.myState(pool));
    EXPECT_TRUE(creator.myState(pool));
}

TEST_F(VStateCreatorBaseTest, ThreadsGetTheSameState) {
    for (int round = 0; round < 50; ++round) {
        const ValuePoolPtr fresh(new ValuePool);
        std::vector<StatePtr> states(4);
        std::vector<std::thread> threads;
        for (StatePtr& state : states) {
            threads.emplace_back([&] { state = creator.myState(fresh); });
        }
        for (std::thread& thread : threads) thread.join();
        EXPECT_EQ(states, std::vector<StatePtr>(4, states[0]));
        EXPECT_TRUE(states[0]);
    }
}

} // namespace
