#include <sorrel/VCreationPreferences.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using Mirk::VCreationPreferences;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

TEST(VCreationPreferencesTest, TextIsSplitAtWhiteSpace) {
    EXPECT_THAT(VCreationPreferences("MouseCursor").words(), ElementsAre("MouseCursor"));
    EXPECT_THAT(VCreationPreferences("  a\tb\n c ").words(), ElementsAre("a", "b", "c"));
    EXPECT_THAT(VCreationPreferences("").words(), IsEmpty());
    EXPECT_THAT(VCreationPreferences(std::string(" ")).words(), IsEmpty());
}

TEST(VCreationPreferencesTest, ListIsTakenAsItIs) {
    const VCreationPreferences preferences{"a", "b c"};
    EXPECT_THAT(preferences.words(), ElementsAre("a", "b c"));
    EXPECT_EQ(preferences.text(), "a b c");
}

TEST(VCreationPreferencesTest, WordsAreCompared) {
    const VCreationPreferences own("Red Large"), wanted("Large Blue Red");
    EXPECT_TRUE(own.contains("Red"));
    EXPECT_FALSE(own.contains("red"));
    EXPECT_EQ(own.matches(wanted), 2u);
    EXPECT_EQ(own.matches(VCreationPreferences("")), 0u);
}

TEST(VCreationPreferencesTest, IsAnInterface) {
    const VCreationPreferences preferences("a");
    EXPECT_EQ(preferences.type(), typeid(VCreationPreferences));
}

} // namespace
