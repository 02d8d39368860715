#include <fennel/StringSelection.hpp>

#include "valueText.hpp"

#include <gmock/gmock.h>

#include <utility>

namespace {

using Mirk::StringSelection;
using testing::ElementsAre;

StringSelection selectionOf(const std::vector<std::string>& names, const std::string& selected) {
    StringSelection selection;
    for (const std::string& name : names) selection.add(name);
    selection.select(selected);
    return selection;
}

TEST(StringSelection, HasNothingAtFirst) {
    const StringSelection selection;
    EXPECT_TRUE(selection.names().empty());
    EXPECT_EQ("", selection.selected());
}

TEST(StringSelection, KeepsNamesOnceInTheOrderInWhichTheyWereAdded) {
    StringSelection selection;
    EXPECT_TRUE(selection.add("png"));
    EXPECT_TRUE(selection.add("exr"));
    EXPECT_FALSE(selection.add("png"));
    EXPECT_THAT(selection.names(), ElementsAre("png", "exr"));
    EXPECT_TRUE(selection.contains("exr"));
    EXPECT_FALSE(selection.contains("jpeg"));
}

TEST(StringSelection, SelectsTheFirstNameUntilAnotherIs) {
    StringSelection selection = selectionOf({"png", "exr"}, "");
    EXPECT_EQ("png", selection.selected());
    EXPECT_TRUE(selection.select("exr"));
    EXPECT_EQ("exr", selection.selected());
    selection.add("jpeg");
    EXPECT_EQ("exr", selection.selected());
}

TEST(StringSelection, SelectingAnUnknownNameChangesNothing) {
    StringSelection selection = selectionOf({"png", "exr"}, "exr");
    EXPECT_FALSE(selection.select("jpeg"));
    EXPECT_EQ("exr", selection.selected());
    EXPECT_THAT(selection.names(), ElementsAre("png", "exr"));
    StringSelection none;
    EXPECT_FALSE(none.select("png"));
    EXPECT_TRUE(none.names().empty());
}

TEST(StringSelection, IsEmptyOnceItIsMovedFromAndCanBeFilledAgain) {
    StringSelection source = selectionOf({"png", "exr", "jpeg"}, "jpeg");
    StringSelection target(std::move(source));
    EXPECT_TRUE(target == selectionOf({"png", "exr", "jpeg"}, "jpeg"));
    EXPECT_TRUE(source == StringSelection());
    EXPECT_TRUE(source.add("png"));
    EXPECT_EQ("png", source.selected());

    source = std::move(target);
    EXPECT_EQ("jpeg", source.selected());
    EXPECT_TRUE(target == StringSelection());
    EXPECT_TRUE(target.add("jpeg"));
    EXPECT_EQ("jpeg", target.selected());

    StringSelection& same = source;
    source = std::move(same);
    EXPECT_TRUE(source == selectionOf({"png", "exr", "jpeg"}, "jpeg"));
}

TEST(StringSelection, DiffersByNamesOrderAndSelection) {
    const StringSelection selection = selectionOf({"png", "exr"}, "exr");
    EXPECT_FALSE(differs(selection, StringSelection(selection)));
    EXPECT_TRUE(differs(selection, selectionOf({"png", "exr"}, "png")));
    EXPECT_TRUE(differs(selection, selectionOf({"exr", "png"}, "exr")));
    EXPECT_TRUE(differs(selection, selectionOf({"png", "exr", "jpeg"}, "exr")));
}

TEST(StringSelection, TextIsTheSelectedNameAndAllNames) {
    EXPECT_EQ("", textOf(StringSelection()));
    EXPECT_EQ("exr of png, exr", textOf(selectionOf({"png", "exr"}, "exr")));
    EXPECT_EQ("\"of\" of \"of\", \"two words\", \"\", \"a,b\"",
              textOf(selectionOf({"of", "two words", "", "a,b"}, "of")));
}

TEST(StringSelection, TextIsReadBack) {
    expectSameBack(StringSelection());
    expectSameBack(selectionOf({"png"}, "png"));
    expectSameBack(selectionOf({"of", "two words", "", "a,b", "\"", "\\", "a\nb"}, ""));
    expectSameBack(selectionOf({std::string("\0\x7f\xff", 3), "\\n"}, "\\n"));
}

TEST(StringSelection, ReadsTheSelectedNameAlone) {
    StringSelection selection = selectionOf({"png", "two words"}, "png");
    EXPECT_TRUE(read(selection, " \"two words\"\n"));
    EXPECT_TRUE(selection == selectionOf({"png", "two words"}, "two words"));
}

TEST(StringSelection, ChoicesThatTheTextDoesNotNameStay) {
    StringSelection selection = selectionOf({"png", "exr", "jpeg"}, "jpeg");
    EXPECT_TRUE(read(selection, "exr of tiff exr"));
    EXPECT_TRUE(selection == selectionOf({"tiff", "exr", "png", "jpeg"}, "exr"));
}

TEST(StringSelection, RefusesWhatItCanNotReadAndStaysAsItWas) {
    for (const char* const text :
         {"", "jpeg", "png exr", "png of", "jpeg of tiff", "png \"of\" png", "png off png",
          "png of png,", "\"png", "p\"ng"}) {
        expectUnreadable(selectionOf({"png", "exr"}, "exr"), text);
    }
    expectUnreadable(StringSelection(), "png");
}

} // namespace
