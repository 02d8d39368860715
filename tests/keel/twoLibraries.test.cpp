#include "neighbour.hpp"

#include <keel/StrongPtr.hpp>

#include <gtest/gtest.h>

namespace {

TEST(TwoLibraries, CountTheObjectsOfARootTogether) {
    const std::uint64_t first = Keel::make<Shared>()->serialNumber();
    EXPECT_EQ(serialOfNewShared(), first + 1);
    EXPECT_EQ(Keel::make<Shared>()->serialNumber(), first + 2);
}

TEST(TwoLibraries, SeeOneGlobalTime) {
    struct Thing : Keel::Ageable {
    } thing;
    const Keel::Ageable::Age mine = thing.rejuvenate();
    EXPECT_EQ(ageOfYoungest(), mine + 1);
    EXPECT_EQ(Keel::Ageable::GlobalTime, mine + 1);
}

TEST(TwoLibraries, FindTheInterfacesOfEachOther) {
    const Keel::Intercube cube;
    EXPECT_FALSE(findsSharedNote(cube));
    cube.addInterface(Keel::make<SharedNote>());
    EXPECT_TRUE(findsSharedNote(cube));
}

} // namespace
