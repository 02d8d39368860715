#include "valueText.hpp"

#include "../sorrel/commaLocale.hpp"

#include <fennel/Range.hpp>
#include <fennel/VAction.hpp>
#include <fennel/VCamera.hpp>
#include <fennel/VConnectionTypeColors.hpp>
#include <fennel/VObjectStatus.hpp>
#include <fennel/VTime.hpp>

#include <sorrel/TypedSlotCreator.hpp>
#include <sorrel/VValue.hpp>

#include <gmock/gmock.h>

#include <limits>
#include <string>
#include <vector>

namespace {

using Mirk::Range;
using Mirk::VAction;
using Mirk::VActionPtr;
using Mirk::VObjectStatus;
using Mirk::VTime;

constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

TEST(VTime, OfAValueGoesFromZeroToOneInHundredSteps) {
    const VTime time(0.5);
    EXPECT_EQ(0.5, time.value);
    EXPECT_EQ(0.0, time.from);
    EXPECT_EQ(1.0, time.to);
    EXPECT_EQ(0.01, time.step);
    EXPECT_EQ("", time.name);
    EXPECT_EQ("", time.unit);
    EXPECT_EQ("", time.description);
}

TEST(VTime, TakesValueLimitsStepAndNamesInThisOrder) {
    const VTime time(1.0, 2.0, 3.0, 4.0, "t", "s", "Time since the start.");
    EXPECT_EQ(1.0, time.value);
    EXPECT_EQ(2.0, time.from);
    EXPECT_EQ(3.0, time.to);
    EXPECT_EQ(4.0, time.step);
    EXPECT_EQ("t", time.name);
    EXPECT_EQ("s", time.unit);
    EXPECT_EQ("Time since the start.", time.description);
}

TEST(VTime, TextHasTheNamesThatAreThere) {
    EXPECT_EQ("0.5 from 0 to 1 step 0.01", textOf(VTime(0.5)));
    EXPECT_EQ("1 from 2 to 3 step 4 name \"t\" unit \"s\" description \"a \\\"b\\\"\\n\"",
              textOf(VTime(1.0, 2.0, 3.0, 4.0, "t", "s", "a \"b\"\n")));
}

TEST(VTime, TextIsReadBack) {
    expectSameBack(VTime(0.1, -0.0, NaN, std::numeric_limits<double>::infinity(), "", "", ""));
    std::string bytes;
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    expectSameBack(VTime(1.0, 2.0, 3.0, 4.0, bytes, "from", "name \"x\""));
}

TEST(VTime, ReadsTheValueAlone) {
    EXPECT_EQ(textOf(VTime(-2.5)), textOf(readFrom<VTime>(" -2.5 ")));
    VTime time(1.0, 2.0, 3.0, 4.0, "t", "s", "d");
    ASSERT_TRUE(read(time, "7"));
    EXPECT_EQ(textOf(VTime(7.0)), textOf(time));
}

TEST(VTime, ReadsNamesInAnyOrderWithAndWithoutQuotationMarks) {
    const auto time = readFrom<VTime>("3, unit s, to 10, name \"model time\"");
    EXPECT_EQ("3 from 0 to 10 step 0.01 name \"model time\" unit \"s\"", textOf(time));
}

TEST(VTime, RefusesWhatItCanNotReadAndStaysAsItWas) {
    for (const char* const text :
         {"", "from 0", "x", "1 2", "1 from", "1 from x", "1 from 0 from 0", "1 to 1 to", "\"1\"",
          "1 name", "1 name \"a", "1 name \"a\"b", "1 name a\"b\"", "1 name \"\\q\"",
          "1 name \"\\x1\"", "1 name \"\\xg0\"", "1 name \"\\", "1 \"name\" a", "1, , to 2"}) {
        expectUnreadable(VTime(-0.0, 2.0, NaN, 4.0, "t", "s", "d"), text);
    }
}

TEST(VTime, DiffersInAnyField) {
    const VTime time(1.0, 2.0, 3.0, 4.0, "t", "s", "d");
    EXPECT_FALSE(differs(time, VTime(time)));
    EXPECT_TRUE(differs(time, VTime(0.0, 2.0, 3.0, 4.0, "t", "s", "d")));
    EXPECT_TRUE(differs(time, VTime(1.0, 0.0, 3.0, 4.0, "t", "s", "d")));
    EXPECT_TRUE(differs(time, VTime(1.0, 2.0, 0.0, 4.0, "t", "s", "d")));
    EXPECT_TRUE(differs(time, VTime(1.0, 2.0, 3.0, 0.0, "t", "s", "d")));
    EXPECT_TRUE(differs(time, VTime(1.0, 2.0, 3.0, 4.0, "", "s", "d")));
    EXPECT_TRUE(differs(time, VTime(1.0, 2.0, 3.0, 4.0, "t", "", "d")));
    EXPECT_TRUE(differs(time, VTime(1.0, 2.0, 3.0, 4.0, "t", "s", "")));
    EXPECT_FALSE(differs(VTime(NaN), VTime(NaN)));
}

TEST(VObjectStatus, OfATextHasTheDefaultColorsAndTheCodeZero) {
    const VObjectStatus status("Lost");
    EXPECT_EQ("Lost", status.text);
    EXPECT_EQ((VObjectStatus::Colors{0, 0, 0, 0, 192, 192, 192, 255}), status.colors);
    EXPECT_EQ(0u, status.code);
    EXPECT_FALSE(differs(VObjectStatus(), VObjectStatus("")));
}

TEST(VObjectStatus, HasItsFieldsInOrder) {
    const VObjectStatus status;
    const void* const text = &status.text;
    const void* const colors = &status.colors;
    const void* const code = &status.code;
    EXPECT_LT(text, colors);
    EXPECT_LT(colors, code);
    EXPECT_EQ(8u, sizeof(status.colors));
}

TEST(VObjectStatus, IsComparedThroughTextAndCode) {
    const VObjectStatus status("Lost");
    VObjectStatus other(status);
    other.colors[3] = 255;
    EXPECT_FALSE(differs(status, other));
    other.code = 1;
    EXPECT_TRUE(differs(status, other));
    EXPECT_TRUE(differs(status, VObjectStatus("Found")));
}

TEST(VObjectStatus, OtherColorsAloneAreNoChangeOfAValue) {
    Mirk::VValue<VObjectStatus> value(VObjectStatus("Lost"));
    VObjectStatus other("Lost");
    other.colors[0] = 255;
    EXPECT_FALSE(value.set(other));
    EXPECT_EQ(Mirk::TextResult::Same, value.setText(textOf(other)));
    other.code = 1;
    EXPECT_TRUE(value.set(other));
    VObjectStatus held;
    value.get(held);
    EXPECT_EQ(other.colors, held.colors);
}

TEST(VObjectStatus, TextOfAnyBytesIsReadBack) {
    std::string bytes("Gr\xc3\xb6\xc3\x9f"
                      "e \"code 1\"");
    for (int byte = 0; byte < 256; ++byte) bytes += static_cast<char>(byte);
    const VObjectStatus status(bytes);
    expectSameBack(status);
    EXPECT_EQ(bytes, readFrom<VObjectStatus>(textOf(status)).text);
}

TEST(VObjectStatus, TextHasColorsAndCodeIfTheyAreNotTheDefault) {
    EXPECT_EQ("text \"\"", textOf(VObjectStatus()));
    VObjectStatus status("<B>Lost</B>\n");
    EXPECT_EQ("text \"<B>Lost</B>\\n\"", textOf(status));
    status.colors[0] = 255;
    status.code = 4294967295u;
    EXPECT_EQ("text \"<B>Lost</B>\\n\" colors 255 0 0 0 192 192 192 255 code 4294967295",
              textOf(status));
    const auto back = readFrom<VObjectStatus>(textOf(status));
    EXPECT_EQ(status.text, back.text);
    EXPECT_EQ(status.colors, back.colors);
    EXPECT_EQ(status.code, back.code);
}

TEST(VObjectStatus, RefusesWhatItCanNotReadAndStaysAsItWas) {
    VObjectStatus status("Lost");
    status.code = 7;
    status.colors[0] = 1;
    for (const char* const text :
         {"", "Lost", "text", "text a b", "code -1", "code 4294967296", "text a code",
          "colors 1 2 3", "colors 1 2 3 4 5 6 7 256", "text a text b", "text \"a", "\"Lost\""}) {
        expectUnreadable(status, text);
    }
}

TEST(Range, ContainsBothEnds) {
    const Range range(-1.0, 2.0);
    EXPECT_TRUE(range.contains(-1.0));
    EXPECT_TRUE(range.contains(2.0));
    EXPECT_FALSE(range.contains(2.5));
    EXPECT_FALSE(range.contains(NaN));
    EXPECT_FALSE(Range(1.0, 0.0).contains(0.5));
    EXPECT_TRUE(Range(1.0, 0.0).empty());
    EXPECT_TRUE(Range(NaN, 0.0).empty());
    EXPECT_FALSE(Range(1.0, 1.0).empty());
}

TEST(Range, ClampsToTheNearestNumber) {
    const Range range(-1.0, 2.0);
    EXPECT_EQ(-1.0, range.clamp(-7.0));
    EXPECT_EQ(0.5, range.clamp(0.5));
    EXPECT_EQ(2.0, range.clamp(7.0));
    EXPECT_TRUE(std::isnan(range.clamp(NaN)));
    EXPECT_EQ(7.0, Range(1.0, 0.0).clamp(7.0));
}

TEST(Range, TextIsItsTwoNumbers) {
    EXPECT_EQ("0 1", textOf(Range()));
    expectSameBack(Range(-0.0, 1e308));
    EXPECT_EQ(2.5, readFrom<Range>("1, 2.5").maximum);
    for (const char* const text : {"", "1", "1 2 3", "1 x", "1 to 2"}) {
        expectUnreadable(Range(-0.0, NaN), text);
    }
    EXPECT_TRUE(differs(Range(0.0, 1.0), Range(-0.0, 1.0)));
}

TEST(VAction, EachNewOneIsAChange) {
    const VActionPtr action(new VAction(1.0));
    EXPECT_EQ(1.0, action->value);
    EXPECT_FALSE(differs(action, VActionPtr(action)));
    EXPECT_TRUE(differs(action, VActionPtr(new VAction(1.0))));
    EXPECT_TRUE(differs(action, VActionPtr()));
    EXPECT_FALSE(differs(VActionPtr(), VActionPtr()));
}

TEST(VAction, TextIsItsNumber) {
    EXPECT_EQ("0.5", textOf(VActionPtr(new VAction(0.5))));
    EXPECT_EQ("none", textOf(VActionPtr()));
    VActionPtr action(new VAction(1.0));
    const VActionPtr old = action;
    ASSERT_TRUE(read(action, " 1\n"));
    EXPECT_TRUE(differs(old, action));
    ASSERT_TRUE(read(action, " none "));
    EXPECT_FALSE(action);
    for (const char* const text : {"", "None", "1 2", "now", "none 1"}) expectUnreadable(old, text);
}

TEST(VConnectionTypeColors, GivesTheColorThatWasSetLast) {
    struct Unknown {};
    EXPECT_EQ("", Mirk::VConnectionTypeColors::get(typeid(Unknown)));
    Mirk::VConnectionTypeColors::set(typeid(Unknown), "red");
    Mirk::VConnectionTypeColors::set(typeid(Unknown), "#00ff00");
    EXPECT_EQ("#00ff00", Mirk::VConnectionTypeColors::get(typeid(Unknown)));
    Mirk::VConnectionTypeColors::erase(typeid(Unknown));
    EXPECT_EQ("", Mirk::VConnectionTypeColors::get(typeid(Unknown)));
}

TEST(ValueTypes, AreKnownByName) {
    EXPECT_THAT(Mirk::VValueCreator::typeNames(),
                testing::IsSupersetOf({"Action", "Camera", "Chart", "ImageSize", "ImageTile",
                                       "InteractionEvent", "MultiPointerDevice", "ObjectStatus",
                                       "Range", "StringSelection", "Time"}));
    EXPECT_EQ("Time", Mirk::VValueCreator::typeName(typeid(VTime)));
}

TEST(ValueTypes, TextsOfTheDefaultsAreReadBackUnderACommaLocale) {
    const CommaLocale comma;
    for (const std::string& name : Mirk::VValueCreator::typeNames()) {
        SCOPED_TRACE(name);
        const Mirk::VValuePtr value = Mirk::VValueCreator::find(name)->create();
        const std::string text = value->text();
        const bool fixed = name == "ImageTile" || name == "bounding box";
        EXPECT_EQ(fixed, value->setText(text) == Mirk::TextResult::Unreadable);
        EXPECT_EQ(text, value->text());
    }
}

/// A text of each type that has one, as Text() writes it, other than that of the default.
struct TypedText {
    const char* type;
    const char* text;
};
constexpr TypedText OwnTexts[] = {
    {"Action", "1234.5"},
    {"Camera", "position 1234567.25 -0 nan, lookAt inf 0.5 -inf, up 0.25 0 1, fieldOfView 30.5"},
    {"Chart", "\"Gr\xc3\xb6\xc3\x9f"
              "e 1,5\""},
    {"ImageSize", "1920000 1080"},
    {"InteractionEvent",
     "flags 18446744073709551615 grabber \"1,5\" position 0.25 -0 pixel 1600000 "
     "-1 buttons 4294967295 modifiers 2 wheel -1.5 time 1234567.25"},
    {"MultiPointerDevice", "1234567 at 0.25 -0 pressure nan moved, 2 at 0.5 1.5 pressure 1 ended"},
    {"ObjectStatus", "text \"1,5\" colors 255 0 0 0 192 192 192 255 code 1234567"},
    {"Range", "-1234567.25 0.5"},
    {"StringSelection", "\"1,5\" of 1.5, \"1,5\""},
    {"Time", "0.25 from -inf to 1234567.25 step nan name \"1,5\""},
};

TEST(ValueTypes, TextsWithFractionsAreReadBackUnderACommaLocale) {
    const CommaLocale comma;
    for (const auto& [type, text] : OwnTexts) {
        SCOPED_TRACE(type);
        const Mirk::VValuePtr value = Mirk::VValueCreator::find(type)->create();
        EXPECT_EQ(Mirk::TextResult::Changed, value->setText(text));
        EXPECT_EQ(text, value->text());
    }
}

TEST(ValueTypes, RefuseWhatIsNoTextOfTheirsAndStayAsTheyWere) {
    const std::string longWord(1'000'000, '1');
    std::string longRow;
    for (int i = 0; i < 100'000; ++i) longRow += "1 ";
    const std::vector<std::string> texts{"1e999",
                                         "-1e999",
                                         "1e-999",
                                         "+-1",
                                         "-+1",
                                         "1,5,",
                                         ",",
                                         "\"",
                                         "\"\\",
                                         " \t\n",
                                         std::string(1, '\0'),
                                         std::string("1\0", 2),
                                         std::string("1\0 2", 4),
                                         "\xc2\xbd",
                                         "\xff",
                                         "\xef\xbb\xbf"
                                         "1",
                                         "\xc2\xa0"
                                         "1",
                                         longWord,
                                         longRow,
                                         '"' + longWord,
                                         longWord + " from"};
    for (const auto& [type, own] : OwnTexts) {
        // A single word is the name of a chart.
        if (type == std::string("Chart")) continue;
        const Mirk::VValuePtr value = Mirk::VValueCreator::find(type)->create();
        ASSERT_EQ(Mirk::TextResult::Changed, value->setText(own)) << type;
        const auto age = value->ageable().age();
        for (std::size_t i = 0; i < texts.size(); ++i) {
            SCOPED_TRACE(std::string(type) + ", text " + std::to_string(i));
            EXPECT_EQ(Mirk::TextResult::Unreadable, value->setText(texts[i]));
            EXPECT_EQ(own, value->text());
            EXPECT_EQ(age, value->ageable().age());
        }
    }
}

TEST(ValueTypes, TextsAreStableUnderACommaLocale) {
    const CommaLocale comma;
    EXPECT_EQ("1234.5 from 0.25 to 1 step 0.01",
              textOf(readFrom<VTime>("1234.5 from 0.25 to 1 step 0.01")));
    expectSameBack(VTime(1234567.25, 0.1, 0.2, 0.3, "t", "s", "d"));
    Mirk::VCamera camera;
    camera.position = {1234567.25, 0.1, 0.2};
    EXPECT_EQ("position 1234567.25 0.1 0.2, lookAt 0 0 0, up 0 1 0, fieldOfView 45",
              textOf(camera));
    expectSameBack(camera);
    VObjectStatus status("1.5");
    status.code = 1234567;
    EXPECT_EQ("text \"1.5\" code 1234567", textOf(status));
    expectSameBack(status);
    expectUnreadable(VTime(1.0), "1 to 0,5");
}

} // namespace
