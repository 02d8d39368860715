#include "graphObjects.hpp"

#include <sorrel/GraphFile.hpp>
#include <sorrel/VActionNotifier.hpp>

#include <keel/File.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cmath>
#include <filesystem>
#include <limits>
#include <string>
#include <unistd.h>

namespace {

using namespace Mirk;
using GraphTest::CommaRow;
using GraphTest::Everything;
using GraphTest::Row;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::StartsWith;

class GraphFileTest : public testing::Test {
protected:
    ~GraphFileTest() override { VActionNotifier::clear(); }

    GraphFile file() const { return GraphFile({{"left", left}, {"right", right}}); }

    GraphFile::Loaded load(const std::string& text) const {
        return file().loadText(text, "a.yaml");
    }

    static std::vector<std::string> texts(const std::vector<GraphFile::Message>& messages) {
        std::vector<std::string> all;
        for (const auto& message : messages) all.push_back(message.str());
        return all;
    }

    /// The one message about a text.
    std::string messageOf(const std::string& text) const {
        const auto loaded = load(text);
        VActionNotifier::clear();
        EXPECT_EQ(loaded.messages.size(), 1u) << testing::PrintToString(texts(loaded.messages));
        return loaded.messages.empty() ? "" : loaded.messages[0].str();
    }

    static Everything& everything(const GraphFile::Loaded& loaded, const std::string& name) {
        for (const auto& [known, object] : loaded.objects) {
            if (known == name) return dynamic_cast<Everything&>(*object);
        }
        throw std::runtime_error("no object " + name);
    }

    std::string save(const std::vector<VObjectPtr>& objects) const {
        std::vector<GraphFile::Message> messages;
        const std::string text = file().text(objects, "a.yaml", messages);
        EXPECT_THAT(texts(messages), IsEmpty());
        return text;
    }
    std::string save(const GraphFile::Loaded& loaded) const {
        std::vector<VObjectPtr> objects;
        for (const auto& [name, object] : loaded.objects) objects.push_back(object);
        return save(objects);
    }

    static VObjectPtr make(const std::string& name) {
        VObjectPtr object = VCreatorBase::find("Everything")->make(name, {}, Keel::Intercube());
        VActionNotifier::VObjectCreation(object, Keel::Intercube(), {});
        return object;
    }

    /// What a title is after saving and reading.
    std::string titleAfterSaving(const std::string& title) const {
        std::string text;
        {
            const VObjectPtr object = make("a");
            dynamic_cast<Everything&>(*object).title.set({}, title);
            text = save({object});
            VActionNotifier::clear();
        }
        const auto loaded = load(text);
        EXPECT_THAT(texts(loaded.messages), IsEmpty()) << text;
        std::string read = everything(loaded, "a").title.value({});
        EXPECT_EQ(save(loaded), text);
        VActionNotifier::clear();
        return read;
    }

    GraphTest::Registrations registrations;
    GraphTest::FaultyRegistrations faultyRegistrations;
    ValuePoolPtr left{new ValuePool};
    ValuePoolPtr right{new ValuePool};
};

constexpr const char* Example = R"(objects:
  coast:
    type: Everything
    preferences: quick pale
    active: false
    inputs:
      visible: false
      count: -7
      width: {from: reader.length, value: 0.1}
      title: "1.5"
      color: [1, 0, 0, 1]
      range: [0, .inf]
    pools:
      left:
        local: false
  reader:
    type: Everything
)";

TEST_F(GraphFileTest, ReadsTypesNamesValuesAndConnections) {
    const auto loaded = load(Example);
    EXPECT_TRUE(loaded.isGraph);
    EXPECT_THAT(texts(loaded.messages), IsEmpty());
    ASSERT_EQ(loaded.objects.size(), 2u);
    Everything& coast = everything(loaded, "coast");
    EXPECT_EQ(coast.type_key(), "Everything");
    EXPECT_EQ(coast.Name(), "coast");
    EXPECT_EQ(coast.preferences()->text(), "quick pale");
    EXPECT_FALSE(coast.active);
    EXPECT_FALSE(coast.visible.value({}));
    EXPECT_EQ(coast.count.value({}), -7);
    EXPECT_EQ(coast.title.value({}), "1.5");
    EXPECT_THAT(coast.color.value({}).values, ElementsAre(1, 0, 0, 1));
    EXPECT_TRUE(std::isinf(coast.range.value({}).values.at(1)));
    EXPECT_EQ(coast.width->parameter()->source().get(), &everything(loaded, "reader"));
    EXPECT_EQ(coast.width.value({}), 2.0);
    EXPECT_EQ(coast.width->ownParameter()->getValueAsText({}, {}, false), "0.1");
    EXPECT_FALSE(coast.local.value(left));
    EXPECT_TRUE(coast.local.value(right));
}

TEST_F(GraphFileTest, WritesWhatItHasRead) {
    EXPECT_EQ(save(load(Example)), Example);
}

TEST_F(GraphFileTest, WritesTheSameFileForTheSameGraph) {
    const VObjectPtr first = make("a");
    const VObjectPtr second = make("b");
    for (const double width : {3.0, 4.0}) dynamic_cast<Everything&>(*first).width.set({}, width);
    dynamic_cast<Everything&>(*second).width.set({}, 4);
    const std::string text = save({first});
    EXPECT_EQ(save({first}), text);
    EXPECT_EQ(save({second}), "objects:\n  b" + text.substr(12));
}

TEST_F(GraphFileTest, WritesNoObjects) {
    EXPECT_EQ(save(std::vector<VObjectPtr>()), "objects: {}\n");
}

TEST_F(GraphFileTest, LeavesOutWhatNobodyHasSet) {
    EXPECT_EQ(save({make("a")}), "objects:\n  a:\n    type: Everything\n");
}

TEST_F(GraphFileTest, KeepsAValueThatWasSetToWhatItWasAtFirst) {
    const std::string text = "objects:\n  a:\n    type: Everything\n    inputs:\n      count: 3\n";
    EXPECT_EQ(save(load(text)), text);
    VActionNotifier::clear();
    const VObjectPtr object = make("a");
    auto& slots = dynamic_cast<Everything&>(*object);
    slots.count.set({}, 4);
    slots.count.set({}, 3);
    EXPECT_EQ(save({object}), text);
}

TEST_F(GraphFileTest, PassesOverValuesWithoutTextForm) {
    const VObjectPtr object = make("a");
    dynamic_cast<Everything&>(*object).handle.set({}, GraphTest::Handle{4});
    EXPECT_EQ(save({object}), "objects:\n  a:\n    type: Everything\n");
}

TEST_F(GraphFileTest, KeepsEveryText) {
    const std::string all[] = {"",
                               " ",
                               "~",
                               "null",
                               "NULL",
                               "true",
                               "False",
                               "yes",
                               "On",
                               "n",
                               "1",
                               "1.5",
                               "-3",
                               "+1",
                               "0x10",
                               "1e5",
                               "1_000",
                               ".inf",
                               "-.inf",
                               ".nan",
                               "inf",
                               "nan",
                               "2024-01-02",
                               "12:30:00",
                               "[1, 2]",
                               "{a: b}",
                               "a: b",
                               "a:",
                               "# no",
                               "a #b",
                               "- a",
                               "-",
                               "--",
                               "---",
                               "...",
                               "--- a",
                               "?",
                               "? a",
                               "!",
                               "!!str a",
                               "&a",
                               "*a",
                               "%a",
                               "@a",
                               "`a`",
                               "|",
                               "|\n a",
                               ">",
                               "'",
                               "\"",
                               "''",
                               "\\",
                               "\\n",
                               "a\\b",
                               " leading",
                               "trailing ",
                               "\ttab",
                               "a\tb",
                               "\n",
                               "a\n",
                               "a\n\n",
                               "\na",
                               "a\n b",
                               "a\nb",
                               " a\nb",
                               "a \nb",
                               "a\n\nb",
                               "a\r\nb",
                               "\r",
                               "a\x1e"
                               "b",
                               std::string("\0", 1),
                               std::string("a\0b", 3),
                               "\x7f",
                               "\x80",
                               "\xff\xfe",
                               "a\xc3",
                               "gr\xc3\xbc\xc3\x9f",
                               "\xe4\xb8\xad",
                               "\xf0\x9f\x8c\x8a",
                               "\xc2\x85",
                               "a\xc2\x85"
                               "b",
                               "\xe2\x80\xa8",
                               "\xe2\x80\xa9",
                               "\xef\xbb\xbf",
                               "\xef\xbf\xbe",
                               "\xed\xa0\x80",
                               "\xf4\x90\x80\x80",
                               "\xc0\x80",
                               "a b c",
                               "1 2 3",
                               "1, 2",
                               "./a",
                               "../b/c.nc",
                               "/tmp/a b",
                               "C:\\x",
                               "<<",
                               "=",
                               "a.b",
                               "_",
                               ".",
                               std::string(500, 'x'),
                               std::string(300, ' ') + "x",
                               "a  b",
                               "line one\n\n  line two\nline three\n",
                               "a\n#b\n",
                               "a\n---\n",
                               "a\n...\n"};
    for (const std::string& text : all) {
        EXPECT_EQ(titleAfterSaving(text), text) << testing::PrintToString(text);
        EXPECT_EQ(titleAfterSaving(text + text), text + text) << testing::PrintToString(text);
    }
}

TEST_F(GraphFileTest, KeepsEveryPairOfBytes) {
    for (int a = 0; a < 256; a += 3) {
        std::string text;
        for (int b = 0; b < 256; ++b) (text += static_cast<char>(a)) += static_cast<char>(b);
        ASSERT_EQ(titleAfterSaving(text), text) << a;
    }
    for (char c = 1; c < 127; ++c) {
        for (const std::string around : {"", "a", " ", "\n"}) {
            const std::string text = around + c + around;
            ASSERT_EQ(titleAfterSaving(text), text) << int(c);
        }
    }
}

TEST_F(GraphFileTest, KeepsTheBitsOfNumbers) {
    const double all[] = {0.0,
                          -0.0,
                          0.1,
                          1e300,
                          5e-324,
                          std::numeric_limits<double>::max(),
                          1 / 3.0,
                          std::numeric_limits<double>::infinity(),
                          -std::numeric_limits<double>::infinity()};
    for (const double number : all) {
        const VObjectPtr object = make("a");
        auto& slots = dynamic_cast<Everything&>(*object);
        slots.width.set({}, number);
        slots.color.set({}, Row{{number, 1}});
        slots.range.set({}, CommaRow{{1, number, number}});
        const auto loaded = load(save({object}));
        ASSERT_THAT(texts(loaded.messages), IsEmpty());
        Everything& read = everything(loaded, "a");
        const auto equal = [&](double value) {
            return !VValueCompareTrait<double>::isDifferent(value, number);
        };
        EXPECT_TRUE(equal(read.width.value({}))) << number;
        EXPECT_TRUE(equal(read.color.value({}).values.at(0))) << number;
        EXPECT_TRUE(equal(read.range.value({}).values.at(2))) << number;
        VActionNotifier::clear();
    }
}

TEST_F(GraphFileTest, WritesRowsOfNumbersAsRows) {
    const VObjectPtr object = make("a");
    auto& slots = dynamic_cast<Everything&>(*object);
    slots.color.set({}, Row{{1, 0.5}});
    slots.range.set({}, CommaRow{{-1, 2}});
    slots.title.set({}, "1 2");
    const std::string text = save({object});
    EXPECT_THAT(text, HasSubstr("color: [1, 0.5]\n"));
    EXPECT_THAT(text, HasSubstr("range: [-1, 2]\n"));
    EXPECT_THAT(text, HasSubstr("title: \"1 2\"\n"));
}

TEST_F(GraphFileTest, WritesTextsOfSeveralLinesAsLines) {
    const VObjectPtr object = make("a");
    dynamic_cast<Everything&>(*object).title.set({}, "one\n  two\nthree\n");
    EXPECT_THAT(save({object}), HasSubstr("title: |\n        one\n          two\n        three\n"));
}

TEST_F(GraphFileTest, ReadsRowsOfRowsAsOneRow) {
    const auto loaded = load("objects: {a: {type: Everything, inputs: {color: [[1, 2], [3]]}}}");
    EXPECT_THAT(everything(loaded, "a").color.value({}).values, ElementsAre(1, 2, 3));
}

TEST_F(GraphFileTest, FollowsConnectionsInAnyOrderAndCycles) {
    const std::string text = R"(objects:
  a:
    type: Everything
    inputs:
      width: {from: b.area}
  b:
    type: Everything
    inputs:
      width: {from: a.length}
)";
    const auto loaded = load(text);
    EXPECT_THAT(texts(loaded.messages), IsEmpty());
    EXPECT_EQ(everything(loaded, "a").width->parameter()->source().get(), &everything(loaded, "b"));
    EXPECT_EQ(everything(loaded, "b").width->parameter()->source().get(), &everything(loaded, "a"));
    EXPECT_EQ(save(loaded), text);
}

TEST_F(GraphFileTest, NeedsNoOutputWhereThereIsOneOfTheType) {
    const auto loaded = load("objects:\n  a: {type: Everything, inputs: {title: {from: b}}}\n"
                             "  b: {type: Everything}\n");
    EXPECT_THAT(texts(loaded.messages), IsEmpty());
    EXPECT_EQ(everything(loaded, "a").title->parameter(), everything(loaded, "b").text);
    EXPECT_THAT(messageOf("objects:\n  a: {type: Everything, inputs: {width: {from: b}}}\n"
                          "  b: {type: Everything}\n"),
                HasSubstr("a.yaml:2: a.width: \"b\" has not one output of this type"));
}

TEST_F(GraphFileTest, KeepsConnectionsOfNamesWithDots) {
    const VObjectPtr a = make("x");
    const VObjectPtr b = make("x.y");
    VOutput<double> ambiguous(a.get(), "y.length", 3);
    VOutput<double> strange(a.get(), "", 3);
    const VObjectPtr c = make("c");
    auto& slots = dynamic_cast<Everything&>(*c);
    ASSERT_EQ(c->attachParameter(ambiguous, slots.width, ""), Attached);
    EXPECT_THAT(save({a, b, c}), HasSubstr("width: {from: [x, y.length]}\n"));
    ASSERT_EQ(c->attachParameter(dynamic_cast<Everything&>(*b).length, slots.width, ""), Attached);
    EXPECT_THAT(save({a, b, c}), HasSubstr("width: {from: x.y.length}\n"));
    const auto loaded = load(save({a, b, c}));
    EXPECT_EQ(everything(loaded, "c").width->parameter(), everything(loaded, "x.y").length);
}

TEST_F(GraphFileTest, GivesOtherNamesWhereTheyAreTakenAndKeepsTheConnections) {
    const auto first = load(Example);
    const auto second = load(Example);
    EXPECT_THAT(texts(second.messages), IsEmpty());
    EXPECT_EQ(everything(second, "coast").Name(), "coast#2");
    EXPECT_EQ(everything(second, "coast").width->parameter(), everything(second, "reader").length);
    EXPECT_EQ(everything(first, "coast").width->parameter(), everything(first, "reader").length);
}

TEST_F(GraphFileTest, AnnouncesInTheOrderOfTheFileAndSetsUpOnceAfterAllConnections) {
    const auto loaded = load(Example);
    const auto held = VActionNotifier::objects();
    ASSERT_EQ(held.size(), 2u);
    EXPECT_EQ(held[0]->Name(), "coast");
    EXPECT_EQ(held[1]->Name(), "reader");
    EXPECT_EQ(everything(loaded, "coast").setups, 1);
    EXPECT_EQ(everything(loaded, "coast").connectedAtSetup, 1u);
    EXPECT_EQ(everything(loaded, "coast").widthAtSetup, 2.0);
    EXPECT_EQ(everything(loaded, "reader").connectedAtSetup, 0u);
}

struct Fault {
    const char* name;
    const char* text;
    const char* message;
};
void PrintTo(const Fault& fault, std::ostream* out) {
    *out << fault.name;
}

class GraphFileFaultTest : public GraphFileTest, public testing::WithParamInterface<Fault> {};

// Beside each fault stands the object "good", which is loaded all the same.
TEST_P(GraphFileFaultTest, IsOneMessageAndTheRestIsLoaded) {
    const auto loaded =
        load(std::string("objects:\n  good: {type: Everything, inputs: {count: 8}}\n") +
             GetParam().text);
    EXPECT_TRUE(loaded.isGraph);
    EXPECT_THAT(texts(loaded.messages), ElementsAre(StartsWith(GetParam().message)));
    EXPECT_EQ(everything(loaded, "good").count.value({}), 8);
}

INSTANTIATE_TEST_SUITE_P(
    All, GraphFileFaultTest,
    testing::Values(
        Fault{"UnknownType", "  a: {type: Everythin}",
              R"(a.yaml:3: there is no type "Everythin", did you mean "Everything"?)"},
        Fault{"UnknownInput", "  a:\n    type: Everything\n    inputs:\n      widht: 1",
              R"(a.yaml:6: "a" has no input "widht", did you mean "width"?)"},
        Fault{"UnknownOutput", "  a: {type: Everything, inputs: {width: {from: good.lenght}}}",
              R"(a.yaml:3: a.width: "good" has no output "lenght", did you mean "length"?)"},
        Fault{"UnknownObject", "  a: {type: Everything, inputs: {width: {from: god.length}}}",
              R"(a.yaml:3: a.width: there is no object "god", did you mean "good"?)"},
        Fault{"UnknownPool", "  a: {type: Everything, pools: {lift: {local: true}}}",
              R"(a.yaml:3: there is no pool "lift", did you mean "left"?)"},
        Fault{"UnknownKeyOfObject", "  a: {type: Everything, input: {}}",
              R"(a.yaml:3: there is no key "input", did you mean "inputs"?)"},
        Fault{"UnknownKey", "other: 1", R"(a.yaml:3: there is no key "other")"},
        Fault{"UnknownKeyOfConnection",
              "  a: {type: Everything, inputs: {width: {from: good.length, to: 1}}}",
              R"(a.yaml:3: there is no key "to")"},
        Fault{"MissingType", "  a: {inputs: {}}", R"(a.yaml:3: "a": expected a key "type")"},
        Fault{"EmptyType", "  a: {type: }", "a.yaml:3: a.type: expected a value"},
        Fault{"MapAsType", "  a: {type: {}}", "a.yaml:3: a.type: expected a value"},
        Fault{"ObjectThatIsNoMap", "  a: Everything", R"(a.yaml:3: "a": expected a map)"},
        Fault{"InputsThatAreNoMap", "  a: {type: Everything, inputs: [1]}",
              "a.yaml:3: a.inputs: expected a map"},
        Fault{"UnreadableValue", "  a: {type: Everything, inputs: {width: broad}}",
              R"(a.yaml:3: a.width: "broad" can't be read as a value of type double)"},
        Fault{"QuotedSpecialNumber", "  a: {type: Everything, inputs: {width: \".inf\"}}",
              R"(a.yaml:3: a.width: ".inf" can't be read as a value of type double)"},
        Fault{"MissingValue", "  a: {type: Everything, inputs: {width: ~}}",
              "a.yaml:3: a.width: expected a value"},
        Fault{"RowForText", "  a: {type: Everything, inputs: {title: [1, 2]}}",
              "a.yaml:3: a.title: expected a text"},
        Fault{"BlanksInRow", "  a: {type: Everything, inputs: {color: [1, \"2 3\"]}}",
              "a.yaml:3: a.color: expected words without blanks"},
        Fault{"MapInRow", "  a: {type: Everything, inputs: {color: [{}]}}",
              "a.yaml:3: a.color: expected words without blanks"},
        Fault{"ConnectionWithoutSource", "  a: {type: Everything, inputs: {width: {}}}",
              "a.yaml:3: a.width: expected a value, or a connection"},
        Fault{"ConnectionToARow", "  a: {type: Everything, inputs: {width: {from: [a]}}}",
              "a.yaml:3: a.width: expected \"object.output\""},
        Fault{"ConnectionToNothing", "  a: {type: Everything, inputs: {width: {from: }}}",
              "a.yaml:3: a.width: expected \"object.output\""},
        Fault{"WrongTypeOfConnection",
              "  a: {type: Everything, inputs: {count: {from: good.length}}}",
              "a.yaml:3: a.count: the output has another type of value"},
        Fault{"GlobalValueInPool", "  a: {type: Everything, pools: {left: {width: 1}}}",
              "a.yaml:3: a.width: its value is the same in all pools"},
        Fault{"UnreadableActive", "  a: {type: Everything, active: perhaps}",
              "a.yaml:3: a.active: expected true or false"},
        Fault{"DuplicateObject", "  a: {type: Everything}\n  a: {type: Everything}",
              "a.yaml:4: \"a\" stands here a second time, first in line 3"},
        Fault{"DuplicateInput",
              "  a:\n    type: Everything\n    inputs:\n      count: 1\n      count: 2",
              "a.yaml:7: \"count\" stands here a second time, first in line 6"},
        Fault{"RowAsKey", "  [a, b]: {type: Everything}", "a.yaml:3: a key must be a text"},
        Fault{"Alias", "  a: &x {type: Everything}\n  b: *x",
              "a.yaml:4: the alias \"*x\" is not followed"},
        Fault{"AliasInRow", "  a: {type: Everything, inputs: {count: &x 1, color: [1, *x]}}",
              "a.yaml:3: the alias \"*x\" is not followed"},
        Fault{"UnknownTag", "  a: {type: Everything, inputs: {width: !mine 1}}",
              "a.yaml:3: the tag \"!mine\" means nothing here"},
        Fault{"BrokenBinary", "  a: {type: Everything, inputs: {title: !!binary \"a\"}}",
              "a.yaml:3: !!binary: expected bytes in base64"},
        Fault{"SecondDocument", "---\nobjects: {a: {type: Everything}}",
              "a.yaml:3: only the first document"}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(GraphFileTest, TellsOfObjectsThatCannotBeMadeSetUpOrConnected) {
    const auto loaded =
        load("objects:\n  a: {type: Failing}\n  b: {type: Refusing, inputs: {width: "
             "{from: c.length}}}\n  c: {type: Everything, inputs: {width: "
             "{from: a.length}}}");
    EXPECT_THAT(texts(loaded.messages),
                ElementsAre(StartsWith("a.yaml:2: \"a\" could not be made by \"Failing\""),
                            StartsWith("a.yaml:3: b.width: the object refuses this connection"),
                            StartsWith("a.yaml:3: \"b\": no setup today"),
                            StartsWith("a.yaml:4: c.width: \"a\" was not made")));
    EXPECT_EQ(loaded.objects.size(), 2u);
}

struct Damage {
    const char* name;
    std::string text;
    const char* message;
};
void PrintTo(const Damage& damage, std::ostream* out) {
    *out << damage.name;
}

class GraphFileDamageTest : public GraphFileTest, public testing::WithParamInterface<Damage> {};

TEST_P(GraphFileDamageTest, ChangesNothing) {
    const auto loaded = load(GetParam().text);
    EXPECT_FALSE(loaded.isGraph);
    EXPECT_THAT(texts(loaded.messages), ElementsAre(StartsWith(GetParam().message)));
    EXPECT_THAT(loaded.objects, IsEmpty());
    EXPECT_THAT(VActionNotifier::objects(), IsEmpty());
}

std::string repeated(const std::string& text, int times) {
    std::string all;
    for (int i = 0; i < times; ++i) all += text;
    return all;
}

const std::string Good = "objects:\n  a: {type: Everything}\n  a: {type: Everything}\n";

INSTANTIATE_TEST_SUITE_P(
    All, GraphFileDamageTest,
    testing::Values(Damage{"OpenBracket", Good + "  b: [1, 2", "a.yaml:5: this is no YAML"},
                    Damage{"Tab", Good + "\tb: 1", "a.yaml:4: this is no YAML"},
                    Damage{"BadIndent", Good + " b: 1", "a.yaml:4: this is no YAML"},
                    Damage{"UnknownAnchorOfTag", Good + "  b: !x!y 1", "a.yaml:4: this is no YAML"},
                    Damage{"NoUtf8", Good + "  b: \xff", "a.yaml:4: this is no text in UTF-8"},
                    Damage{"ControlCharacter", Good + "  b: \x01", "a.yaml:4: this is no text in"},
                    Damage{"DeepRow", Good + "  b: " + repeated("[", 100000),
                           "a.yaml:4: rows and maps lie in each other more than 64 deep"},
                    Damage{"DeepMap", Good + "  b: " + repeated("{a: ", 100000),
                           "a.yaml:4: rows and maps lie in each other more than 64 deep"},
                    Damage{"DeepKey", repeated("? ", 100000),
                           "a.yaml:1: rows and maps lie in each other more than 64 deep"},
                    Damage{"Text", "hello", "a.yaml:1: expected a map"},
                    Damage{"Row", "\n- 1", "a.yaml:2: expected a map"}),
    [](const auto& tested) { return tested.param.name; });

TEST_F(GraphFileTest, FollowsNoAliasesHoweverMany) {
    std::string text = "objects: {}\na0: &a0 [x, x]\n";
    for (int i = 1; i < 40; ++i) {
        const std::string last = "*a" + std::to_string(i - 1);
        text += "a" + std::to_string(i) + ": &a" + std::to_string(i) + " [" + last + ", " + last +
                "]\n";
    }
    const auto loaded = load(text);
    EXPECT_TRUE(loaded.isGraph);
    EXPECT_EQ(loaded.messages.size(), 39u * 2 + 40u);
}

TEST_F(GraphFileTest, TakesNothingForAGraphWithoutObjects) {
    for (const char* const text :
         {"", "# only words\n", "---\n", "objects:\n", "objects: {}\n", "~"}) {
        const auto loaded = load(text);
        EXPECT_TRUE(loaded.isGraph) << text;
        EXPECT_THAT(texts(loaded.messages), IsEmpty()) << text;
    }
}

TEST_F(GraphFileTest, ReadsLinesOfAllSystemsAndAByteOrderMark) {
    const auto loaded =
        load("\xef\xbb\xbfobjects: # all\r\n  a: {type: Everything}\r\n  b:\r\n    tipe: 1\r\n");
    EXPECT_THAT(texts(loaded.messages), ElementsAre(StartsWith("a.yaml:3: \"b\": expected a key")));
    EXPECT_EQ(loaded.objects.size(), 1u);
}

TEST_F(GraphFileTest, TellsWhichConnectionsItLeavesOut) {
    const VObjectPtr a = make("a");
    const VObjectPtr b = make("b");
    auto& slots = dynamic_cast<Everything&>(*a);
    a->attachParameter(dynamic_cast<Everything&>(*b).length, slots.width, "");
    std::vector<GraphFile::Message> messages;
    EXPECT_EQ(file().text({a}, "a.yaml", messages), "objects:\n  a:\n    type: Everything\n");
    EXPECT_THAT(texts(messages), ElementsAre("a.yaml: the connection of \"a.width\" is left out: "
                                             "its source is not in this file"));
}

TEST_F(GraphFileTest, TellsWhichObjectsCannotBeReadBack) {
    const VObjectPtr object(new Everything("a", 0, {}));
    std::vector<GraphFile::Message> messages;
    file().text({object}, "a.yaml", messages);
    EXPECT_THAT(texts(messages), ElementsAre(StartsWith("a.yaml: \"a\" can't be read back")));
}

TEST_F(GraphFileTest, WritesAnObjectOnce) {
    const VObjectPtr a = make("a");
    EXPECT_EQ(save({a, {}, a}), save({a}));
}

class GraphFileFolderTest : public GraphFileTest {
protected:
    GraphFileFolderTest() { std::filesystem::create_directory(folder); }
    ~GraphFileFolderTest() override { std::filesystem::remove_all(folder); }

    const std::string folder = testing::TempDir() + "GraphFile." + std::to_string(getpid());
};

TEST_F(GraphFileFolderTest, SavesAndLoads) {
    const std::string path = folder + "/a.yaml";
    const auto loaded = load(Example);
    const auto saved = file().save(path, {loaded.objects[0].second, loaded.objects[1].second});
    EXPECT_TRUE(saved.isWritten);
    EXPECT_THAT(texts(saved.messages), IsEmpty());
    EXPECT_EQ(Keel::FileRead(path, "r"), Example);
    EXPECT_EQ(file().load(path).objects.size(), 2u);
}

TEST_F(GraphFileFolderTest, TellsWhyAFileCannotBeReadOrWritten) {
    EXPECT_THAT(texts(file().load(folder + "/none.yaml").messages),
                ElementsAre(folder + "/none.yaml: there is no such file"));
    EXPECT_THAT(texts(file().load(folder).messages),
                ElementsAre(folder + ": this can't be read as a file"));
    const auto saved = file().save(folder + "/none/a.yaml", {});
    EXPECT_FALSE(saved.isWritten);
    EXPECT_THAT(
        texts(saved.messages),
        ElementsAre(StartsWith(folder + "/none/a.yaml: the file can't be written: No such file")));
}

TEST_F(GraphFileTest, LoadsThousandsOfObjects) {
    std::string text = "objects:\n";
    for (int i = 0; i < 2000; ++i) {
        text += "  o" + std::to_string(i) +
                ":\n    type: Everything\n    inputs:\n      width: {from: o" +
                std::to_string((i * 7 + 1) % 2000) + ".length}\n";
    }
    const auto loaded = load(text);
    EXPECT_THAT(texts(loaded.messages), IsEmpty());
    EXPECT_EQ(save(loaded), text);
}

} // namespace
