#include <sorrel/VSlot.hpp>

#include "Summing.hpp"

#include <gtest/gtest.h>

using Mirk::ValuePoolPtr;
using Mirk::VParameterPtr;
using Mirk::VSlot;
using Mirk::VSlotPtr;

namespace {

class VSlotTest : public testing::Test {
protected:
    const ValuePoolPtr pool{new Mirk::ValuePool};
    const SummingPtr consumer = makeSumming("consumer"), source = makeSumming("source");
    const VSlotPtr input = consumer->own;
};

TEST_F(VSlotTest, StartsOverItsOwnParameter) {
    EXPECT_EQ(input->Name(), "own");
    EXPECT_EQ(input->expertLevel(), 0);
    EXPECT_TRUE(input->parameter());
    EXPECT_EQ(input->parameter(), input->ownParameter());
    EXPECT_FALSE(input->isConnected());
    EXPECT_EQ(input->valueType(), typeid(double));
    EXPECT_EQ(input->getValueBase(pool), input->parameter()->DefaultValue());
}

TEST_F(VSlotTest, ReadsWhatItIsConnectedTo) {
    consumer->attachParameter(source->sum, input, {});
    EXPECT_TRUE(input->isConnected());
    EXPECT_EQ(input->parameter(), source->sum);
    EXPECT_EQ(input->getValueBase(pool), source->sum->DefaultValue());
    consumer->detach(input);
    EXPECT_FALSE(input->isConnected());
    EXPECT_EQ(input->parameter(), input->ownParameter());
}

TEST_F(VSlotTest, WithoutParameterThereIsNothingToRead) {
    const VSlotPtr empty(new VSlot("empty", 0, {}));
    EXPECT_FALSE(empty->getValueBase(pool));
    EXPECT_EQ(empty->valueType(), typeid(void));
    EXPECT_EQ(empty->age(pool), Keel::Ageable::Ooooold);
    EXPECT_FALSE(empty->isConnected());
}

TEST_F(VSlotTest, AttachingAnOlderValueRaisesTheAge) {
    source->sum.set({}, 1.0);
    const auto ageOfSource = source->sum->age(pool);
    input->parameter()->notifyValueChange(input->parameter()->DefaultValue(), {});
    const auto before = input->age(pool);
    EXPECT_GT(before, ageOfSource);
    consumer->attachParameter(source->sum, input, {});
    EXPECT_GT(input->age(pool), before);
}

TEST_F(VSlotTest, AgeFollowsValueTouchAndConnection) {
    const auto isYoungest = [&] { return input->age(pool) == Keel::Ageable::GlobalTime.load(); };
    EXPECT_EQ(input->age(pool), Keel::Ageable::Ooooold);
    Mirk::writeSlot<double>(input, pool, 2.0);
    EXPECT_TRUE(isYoungest());
    input->parameter()->touch();
    EXPECT_TRUE(isYoungest());
    const auto before = Keel::Ageable::GlobalTime.load();
    consumer->attachParameter(source->sum, input, {});
    EXPECT_GT(input->age(pool), before);
}

TEST_F(VSlotTest, FirstReadOfALocalCopyDoesNotRaiseTheAge) {
    Mirk::writeSlot<double>(input, {}, 2.0);
    input->parameter()->Localize();
    const auto before = input->age(pool);
    EXPECT_TRUE(input->getValueBase(pool));
    EXPECT_EQ(input->age(pool), before);
    EXPECT_EQ(pool->numberOfValues(), 1u);
}

TEST_F(VSlotTest, AskingForTheAgeMakesNoLocalValue) {
    input->parameter()->Localize();
    input->age(pool);
    EXPECT_EQ(pool->numberOfValues(), 0u);
}

TEST_F(VSlotTest, FlagWordStartsGlobal) {
    EXPECT_EQ(input->flags.load(), VSlot::GlobalFlag);
    EXPECT_EQ(VSlot::GlobalFlag, 1u);
    input->flags &= ~VSlot::GlobalFlag;
    EXPECT_EQ(input->flags.load(), 0u);
}

TEST_F(VSlotTest, IgnoredInputPlaysNoPartInRequests) {
    consumer->addSource(*source);
    const VSlotPtr second = consumer->findInput("source");
    EXPECT_FALSE(consumer->ignoreInput(second));
    consumer->setIgnored(second, true);
    EXPECT_TRUE(consumer->ignoreInput(second));
    EXPECT_TRUE(consumer->ignoreInput({}));
    Mirk::VRequest first(pool);
    EXPECT_TRUE(first.process(*consumer, 1.0));
    EXPECT_EQ(source->updates, 0);
    source->sum.set({}, 5.0);
    EXPECT_TRUE(Mirk::VRequest(pool).process(*consumer, 1.0));
    EXPECT_EQ(consumer->updates, 1);
    consumer->setIgnored(second, false);
    EXPECT_TRUE(Mirk::VRequest(pool).process(*consumer, 1.0));
    EXPECT_EQ(source->updates, 1);
    EXPECT_EQ(consumer->updates, 2);
}

TEST(VSlotSetTest, HoldsEachSlotOnce) {
    Mirk::VSlotSet set;
    EXPECT_TRUE(set.empty());
    const VSlotPtr slot(new VSlot("a", 0, {})), other(new VSlot("a", 0, {}));
    set.insert(slot);
    set.insert(slot);
    set.insert({});
    EXPECT_EQ(set.size(), 1u);
    EXPECT_TRUE(set.contains(slot));
    EXPECT_FALSE(set.contains(other));
}

} // namespace
