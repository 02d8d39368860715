#include <sorrel/ValuePool.hpp>

#include <sorrel/TypedSlot.hpp>

#include <gtest/gtest.h>

#include <memory>
#include <mutex>

using Mirk::ValuePoolPtr;
using Mirk::VParameterPtr;
using Mirk::VValuePtr;

namespace {

VValuePtr number(double value) {
    return VValuePtr(new Mirk::VValue<double>(value));
}

class ValuePoolTest : public testing::Test {
protected:
    const ValuePoolPtr pool{new Mirk::ValuePool};
    VParameterPtr parameter{new Mirk::VValueParameter<double>(1.5, "x")};
};

TEST_F(ValuePoolTest, IsAnIntercube) {
    static_assert(std::is_base_of_v<Keel::Intercube, Mirk::ValuePool>);
    static_assert(std::is_same_v<decltype(Mirk::ValuePool::mutex), std::mutex>);
}

TEST_F(ValuePoolTest, HasNoValueUntilOneIsMade) {
    EXPECT_FALSE(pool->findValue(*parameter));
    EXPECT_FALSE(pool->retrieveValue("x"));
    EXPECT_EQ(pool->numberOfValues(), 0u);
}

TEST_F(ValuePoolTest, FirstVariableOfAParameterStays) {
    const VValuePtr first = number(1), second = number(2);
    EXPECT_EQ(pool->createVariable(parameter, first), first);
    EXPECT_EQ(pool->createVariable(parameter, second), first);
    EXPECT_EQ(pool->findValue(*parameter), first);
    EXPECT_EQ(pool->numberOfValues(), 1u);
}

TEST_F(ValuePoolTest, MembersAreValuesOfTheirOwn) {
    const VValuePtr whole = number(1), x = number(2), y = number(3);
    EXPECT_EQ(pool->createVariable(parameter, "x", x), x);
    EXPECT_FALSE(pool->findValue(*parameter));
    EXPECT_EQ(pool->createVariable(parameter, "y", y), y);
    EXPECT_EQ(pool->createVariable(parameter, "", whole), whole);
    EXPECT_EQ(pool->findValue(*parameter, "x"), x);
    EXPECT_EQ(pool->findValue(*parameter, "y"), y);
    EXPECT_EQ(pool->findValue(*parameter, ""), whole);
    EXPECT_FALSE(pool->findValue(*parameter, "z"));
    EXPECT_EQ(pool->numberOfValues(), 3u);
}

TEST_F(ValuePoolTest, DeadParameterAndNullValueMakeNothing) {
    const Keel::WeakPtr<Mirk::ValueNotifierList> weak(parameter);
    EXPECT_FALSE(pool->createVariable(weak, VValuePtr()));
    parameter = {};
    EXPECT_FALSE(pool->createVariable(weak, number(1)));
    EXPECT_FALSE(pool->createVariable({}, number(1)));
    EXPECT_EQ(pool->numberOfValues(), 0u);
}

TEST_F(ValuePoolTest, ValueIsFoundByTheNameOfItsParameter) {
    const VParameterPtr other(new Mirk::VValueParameter<double>(1, "y"));
    const VParameterPtr namesake(new Mirk::VValueParameter<double>(1, "x"));
    const VValuePtr y = number(2), x = number(3), later = number(4);
    pool->createVariable(other, y);
    pool->createVariable(parameter, x);
    pool->createVariable(namesake, later);
    EXPECT_EQ(pool->retrieveValue("y"), y);
    EXPECT_EQ(pool->retrieveValue("x"), x) << "the one that was made first";
    EXPECT_FALSE(pool->retrieveValue("z"));
}

TEST_F(ValuePoolTest, ValuesDieWithTheirParameter) {
    const Keel::WeakPtr<Mirk::VValueBase> value(pool->createVariable(parameter, number(1)));
    pool->createVariable(parameter, "member", number(2));
    EXPECT_TRUE(value);
    parameter = {};
    EXPECT_FALSE(value);
    EXPECT_EQ(pool->numberOfValues(), 0u);
}

TEST_F(ValuePoolTest, ValuesDieWithTheirPool) {
    ValuePoolPtr shortLived(new Mirk::ValuePool);
    const Keel::WeakPtr<Mirk::VValueBase> value(shortLived->createVariable(parameter, number(1)));
    EXPECT_EQ(parameter->shadows(), std::vector{shortLived});
    shortLived = {};
    EXPECT_FALSE(value);
    EXPECT_TRUE(parameter->shadows().empty());
}

TEST_F(ValuePoolTest, RemovedValuesAreForgotten) {
    pool->createVariable(parameter, number(1));
    pool->removeValues(*parameter);
    EXPECT_FALSE(pool->findValue(*parameter));
    pool->removeValues(*parameter);
}

TEST_F(ValuePoolTest, MutexMayBeHeldWhileValuesAreMade) {
    const std::lock_guard lock(pool->mutex);
    EXPECT_TRUE(parameter->getLocalValue(pool, {}, true));
    EXPECT_TRUE(pool->retrieveValue("x"));
    parameter->notifyValueChange(parameter->DefaultValue(), {});
}

/// A value that asks the pool which holds it when it dies.
struct Inquisitive {
    explicit Inquisitive(Mirk::ValuePool* asked) : pool(asked) {}
    ~Inquisitive() {
        if (pool != nullptr) pool->numberOfValues();
    }
    Mirk::ValuePool* pool;
};

TEST_F(ValuePoolTest, ValueMayAskThePoolWhenItDies) {
    using Held = std::shared_ptr<Inquisitive>;
    pool->createVariable(
        parameter, VValuePtr(new Mirk::VValue<Held>(std::make_shared<Inquisitive>(pool.get()))));
    pool->removeValues(*parameter);
    EXPECT_EQ(pool->numberOfValues(), 0u);
}

TEST_F(ValuePoolTest, ProviderOwnsItsPool) {
    const Mirk::ValuePoolProvider own, given(pool);
    EXPECT_TRUE(own.providedValuePool());
    EXPECT_EQ(given.providedValuePool(), pool);
}

} // namespace
