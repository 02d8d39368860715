#include <keel/Ageable.hpp>

#include <gtest/gtest.h>

namespace {

struct Thing : Keel::Ageable {};

TEST(AgeableTest, StartsOlderThanAnyAgeThatAnObjectGets) {
    Thing old;
    Thing young;
    young.rejuvenate();
    EXPECT_EQ(old.age(), Keel::Ageable::Ooooold);
    EXPECT_GT(young.age(), Keel::Ageable::Ooooold);
    EXPECT_TRUE(young.isYoungerThan(old));
}

TEST(AgeableTest, GettingYoungerRaisesTheGlobalTimeByOneAndTakesIt) {
    Thing thing;
    const Keel::Ageable::Age before = Keel::Ageable::GlobalTime;
    EXPECT_EQ(thing.rejuvenate(), before + 1);
    EXPECT_EQ(Keel::Ageable::GlobalTime, before + 1);
    EXPECT_EQ(thing.age(), before + 1);
}

TEST(AgeableTest, EachSettingOfAnAgeIsCounted) {
    Thing thing;
    const std::uint64_t before = Keel::Ageable::Changes;
    EXPECT_NE(before, 0u);
    thing.rejuvenate();
    EXPECT_EQ(Keel::Ageable::Changes, before + 1);
    thing.setAge(1);
    EXPECT_EQ(Keel::Ageable::Changes, before + 2);
    std::atomic<Keel::Ageable::Age> apart{Keel::Ageable::Ooooold};
    EXPECT_EQ(Keel::Ageable::stamp(apart), Keel::Ageable::GlobalTime);
    EXPECT_EQ(apart, Keel::Ageable::GlobalTime);
    EXPECT_EQ(Keel::Ageable::Changes, before + 3);
    Keel::Ageable::noteChange();
    EXPECT_EQ(Keel::Ageable::Changes, before + 4);
}

TEST(AgeableTest, CopyHasTheAgeOfItsSource) {
    Thing thing;
    thing.rejuvenate();
    const Thing copy = thing;
    Thing assigned;
    assigned = thing;
    EXPECT_EQ(copy.age(), thing.age());
    EXPECT_EQ(assigned.age(), thing.age());
    EXPECT_FALSE(copy.isYoungerThan(thing));
}

} // namespace
