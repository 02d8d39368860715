#include <keel/Environment.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <clocale>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <optional>
#include <ostream>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace Keel;
using testing::HasSubstr;
using testing::IsEmpty;

void set(const char* name, const std::string& value) {
    ::setenv(name, value.c_str(), 1);
}

std::optional<EnvironmentVariable> listed(const std::string& name) {
    for (const EnvironmentVariable& variable : listEnvironmentVariables()) {
        if (variable.name == name) return variable;
    }
    return std::nullopt;
}

struct IntegerText {
    const char* name;
    const char* text;
    std::optional<int> value; // nothing: unreadable

    friend void PrintTo(const IntegerText& tested, std::ostream* stream) {
        *stream << '"' << tested.text << '"';
    }
};

class EnvironmentInteger : public testing::TestWithParam<IntegerText> {};

TEST_P(EnvironmentInteger, IsReadOrReported) {
    const std::string name = std::string("KEEL_TEST_INTEGER_") + GetParam().name;
    set(name.c_str(), GetParam().text);
    testing::internal::CaptureStderr();
    const int value = getEnvInteger(name.c_str(), "an integer", 77);
    const std::string warning = testing::internal::GetCapturedStderr();
    EXPECT_EQ(value, GetParam().value.value_or(77));
    if (GetParam().value)
        EXPECT_THAT(warning, IsEmpty());
    else
        EXPECT_THAT(warning, HasSubstr(name + ": expected a whole number"));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, EnvironmentInteger,
    testing::Values(IntegerText{"Plain", "12", 12}, IntegerText{"Zero", "0", 0},
                    IntegerText{"Negative", "-5", -5}, IntegerText{"Plus", "+5", 5},
                    IntegerText{"Blanks", " \t12 \n", 12},
                    IntegerText{"Largest", "2147483647", std::numeric_limits<int>::max()},
                    IntegerText{"Lowest", "-2147483648", std::numeric_limits<int>::min()},
                    IntegerText{"TooLarge", "2147483648", {}}, IntegerText{"Word", "yes", {}},
                    IntegerText{"TrailingWord", "12 px", {}}, IntegerText{"Fraction", "1.5", {}},
                    IntegerText{"TwoSigns", "+-5", {}}, IntegerText{"OnlySign", "-", {}},
                    IntegerText{"Hexadecimal", "0x10", {}}, IntegerText{"LeadingZero", "010", 10},
                    IntegerText{"Empty", "", 77}, IntegerText{"OnlyBlanks", "  ", 77}),
    [](const auto& tested) { return tested.param.name; });

struct FloatText {
    const char* name;
    const char* text;
    std::optional<double> value; // nothing: unreadable

    friend void PrintTo(const FloatText& tested, std::ostream* stream) {
        *stream << '"' << tested.text << '"';
    }
};

class EnvironmentFloat : public testing::TestWithParam<FloatText> {};

TEST_P(EnvironmentFloat, IsReadOrReported) {
    const std::string name = std::string("KEEL_TEST_FLOAT_") + GetParam().name;
    set(name.c_str(), GetParam().text);
    testing::internal::CaptureStderr();
    const double value = getEnvFloat(name.c_str(), "a float", 77.5);
    const std::string warning = testing::internal::GetCapturedStderr();
    EXPECT_EQ(value, GetParam().value.value_or(77.5));
    if (GetParam().value)
        EXPECT_THAT(warning, IsEmpty());
    else
        EXPECT_THAT(warning, HasSubstr(name + ": expected a number"));
}

INSTANTIATE_TEST_SUITE_P(
    Texts, EnvironmentFloat,
    testing::Values(FloatText{"Plain", "1.25", 1.25}, FloatText{"Whole", "3", 3},
                    FloatText{"Exponent", "1E4", 1e4}, FloatText{"Plus", "+.5", .5},
                    FloatText{"Blanks", "  -2.5\t", -2.5},
                    FloatText{"Infinity", "inf", std::numeric_limits<double>::infinity()},
                    FloatText{"NotANumber", "nan", {}}, FloatText{"TooLarge", "1e400", {}},
                    FloatText{"Comma", "1,5", {}}, FloatText{"Word", "far", {}},
                    FloatText{"TrailingUnit", "5m", {}}, FloatText{"TwoSigns", "+-5", {}},
                    FloatText{"Empty", "", 77.5}),
    [](const auto& tested) { return tested.param.name; });

TEST(Environment, GivesTheDefaultOfAMissingVariable) {
    EXPECT_EQ(getEnvInteger("KEEL_TEST_MISSING_I", "", 5), 5);
    EXPECT_EQ(getEnvFloat("KEEL_TEST_MISSING_F", "", 0.5), 0.5);
    EXPECT_EQ(getEnvString("KEEL_TEST_MISSING_S", ""), "");
}

TEST(Environment, GivesTextAsItStands) {
    set("KEEL_TEST_TEXT", " true ");
    EXPECT_EQ(getEnvString("KEEL_TEST_TEXT", "a text"), " true ");
}

TEST(Environment, ReadsTheVariableAnewAtEachCall) {
    set("KEEL_TEST_ANEW", "1");
    EXPECT_EQ(getEnvInteger("KEEL_TEST_ANEW", "", 0), 1);
    set("KEEL_TEST_ANEW", "2");
    EXPECT_EQ(getEnvInteger("KEEL_TEST_ANEW", "", 0), 2);
    ::unsetenv("KEEL_TEST_ANEW");
    EXPECT_EQ(getEnvInteger("KEEL_TEST_ANEW", "", 0), 0);
}

TEST(Environment, WarnsOnceOfAnUnreadableText) {
    testing::internal::CaptureStderr();
    set("KEEL_TEST_WARN", "abc");
    EXPECT_EQ(getEnvInteger("KEEL_TEST_WARN", "", 5), 5);
    EXPECT_EQ(getEnvInteger("KEEL_TEST_WARN", "", 5), 5);
    EXPECT_EQ(testing::internal::GetCapturedStderr(),
              "getEnvInteger: KEEL_TEST_WARN: expected a whole number from -2147483648 to "
              "2147483647, got \"abc\"; using the default 5\n");
}

TEST(Environment, WarnsAgainOfAnotherUnreadableText) {
    set("KEEL_TEST_WARN_AGAIN", "abc");
    getEnvFloat("KEEL_TEST_WARN_AGAIN", "", 5);
    testing::internal::CaptureStderr();
    set("KEEL_TEST_WARN_AGAIN", "def");
    getEnvFloat("KEEL_TEST_WARN_AGAIN", "", 0.1);
    EXPECT_THAT(testing::internal::GetCapturedStderr(), HasSubstr("got \"def\""));
}

TEST(Environment, ReadsAndListsNumbersAlikeInALocaleWithCommas) {
    // Debian's test machines may lack the locale; the result must be the same then.
    std::setlocale(LC_ALL, "de_DE.UTF-8");
    set("KEEL_TEST_LOCALE", "1.5");
    EXPECT_EQ(getEnvFloat("KEEL_TEST_LOCALE", "", 0.25), 1.5);
    EXPECT_EQ(listed("KEEL_TEST_LOCALE")->defaultValue, "0.25");
    std::setlocale(LC_ALL, "C");
}

TEST(Environment, ListsNameDescriptionDefaultAndCurrentValue) {
    set("KEEL_TEST_LISTED", " 12 ");
    getEnvInteger("KEEL_TEST_LISTED", "What it is for.", 3);
    const auto variable = listed("KEEL_TEST_LISTED");
    ASSERT_TRUE(variable);
    EXPECT_EQ(variable->description, "What it is for.");
    EXPECT_EQ(variable->defaultValue, "3");
    EXPECT_EQ(variable->currentValue, "12");
}

TEST(Environment, ListsTheDefaultAsCurrentIfMissingOrUnreadable) {
    ::unsetenv("KEEL_TEST_LISTED_F");
    getEnvFloat("KEEL_TEST_LISTED_F", "", 10000.0);
    EXPECT_EQ(listed("KEEL_TEST_LISTED_F")->currentValue, "10000");
    set("KEEL_TEST_LISTED_F", "many");
    EXPECT_EQ(listed("KEEL_TEST_LISTED_F")->currentValue, "10000");
}

TEST(Environment, ListsText) {
    set("KEEL_TEST_LISTED_S", "some text");
    getEnvString("KEEL_TEST_LISTED_S", nullptr);
    const auto variable = listed("KEEL_TEST_LISTED_S");
    ASSERT_TRUE(variable);
    EXPECT_EQ(variable->description, "");
    EXPECT_EQ(variable->defaultValue, "");
    EXPECT_EQ(variable->currentValue, "some text");
}

TEST(Environment, ListsEachVariableOnceInOrder) {
    getEnvString("KEEL_TEST_ORDER_B", "first");
    getEnvString("KEEL_TEST_ORDER_A", "");
    getEnvString("KEEL_TEST_ORDER_B", "second");
    std::vector<std::string> names;
    for (const EnvironmentVariable& variable : listEnvironmentVariables()) {
        names.push_back(variable.name);
    }
    EXPECT_TRUE(std::is_sorted(names.begin(), names.end()));
    EXPECT_EQ(std::count(names.begin(), names.end(), "KEEL_TEST_ORDER_B"), 1);
    EXPECT_EQ(listed("KEEL_TEST_ORDER_B")->description, "first");
}

TEST(Environment, ListsTheTraceFile) {
    EXPECT_TRUE(listed("POLYPIA_TRACE")) << "the profiler asks for it when the library is loaded";
}

TEST(Environment, IsAskedByManyThreadsAtOnce) {
    set("KEEL_TEST_THREADS", "12");
    std::vector<std::thread> threads;
    for (int i = 0; i < 4; ++i) {
        threads.emplace_back([i] {
            const std::string own = "KEEL_TEST_THREADS_" + std::to_string(i);
            for (int n = 0; n < 100; ++n) {
                EXPECT_EQ(getEnvInteger("KEEL_TEST_THREADS", "", 0), 12);
                EXPECT_EQ(getEnvFloat(own.c_str(), "", 0.5), 0.5);
                listEnvironmentVariables();
            }
        });
    }
    for (std::thread& thread : threads) thread.join();
    EXPECT_TRUE(listed("KEEL_TEST_THREADS_3"));
}

} // namespace
