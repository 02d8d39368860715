#include <PolypiaGL/glslLog.hpp>

#include <PolypiaGL/LineTable.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Mirk::GL;

namespace {

/// "block.glsl" is file 1, "0(odd" file 2.
LineTable table() {
    LineTable lines(100);
    lines.number("block.glsl", 1);
    lines.number("0(odd", 1);
    return lines;
}

struct LogCase {
    std::string name;
    std::string line;
    std::string expected;
};

std::string nameOf(const testing::TestParamInfo<LogCase>& info) {
    return info.param.name;
}

class glslLog : public testing::TestWithParam<LogCase> {};

TEST_P(glslLog, LineHasTheOneForm) {
    EXPECT_EQ(mapCompilerLog(GetParam().line, table(), LineNumbering::N),
              "\n" + GetParam().expected + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    Mesa, glslLog,
    testing::Values(
        LogCase{"Error", "0:12(5): error: value of type vec3", "0(12) : error: value of type vec3"},
        LogCase{"Preprocessor", "0:12(5): preprocessor error: oops", "0(12) : error: oops"},
        LogCase{"Warning", "0:3(1): warning: unused", "0(3) : warning: unused"},
        LogCase{"PreprocessorWarning", "0:3(1): preprocessor warning: a", "0(3) : warning: a"},
        LogCase{"Columns", "0:12(5-9): error: text", "0(12) : error: text"},
        LogCase{"File", "0:1000042(2): error: text", "block.glsl(42) : error: text"},
        LogCase{"FileThatLooksComposed", "0:2000042(2): error: t", "./0(odd(42) : error: t"},
        LogCase{"UnknownFile", "0:7000042(2): error: text", "0(7000042) : error: text"},
        LogCase{"Source", "3:12(5): error: text", "3(12) : error: text"},
        LogCase{"QuotedFile", "\"a.vert\":8(1): error: text", "a.vert(8) : error: text"},
        LogCase{"ColonsInText", "0:1(1): error: a: b(2): c", "0(1) : error: a: b(2): c"},
        LogCase{"EmptyText", "0:1(1): error:", "0(1) : error: "}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Nvidia, glslLog,
    testing::Values(
        LogCase{"Error", "0(12) : error C1503: undefined variable \"a\"",
                "0(12) : error: C1503: undefined variable \"a\""},
        LogCase{"Warning", "0(12) : warning C7011: implicit cast",
                "0(12) : warning: C7011: implicit cast"},
        LogCase{"WithoutCode", "0(12) : error: text", "0(12) : error: text"},
        LogCase{"File", "0(1000042) : error C0000: syntax error",
                "block.glsl(42) : error: C0000: syntax error"},
        LogCase{"QuotedFile", "a b.vert(12) : error C1503: x", "a b.vert(12) : error: C1503: x"},
        LogCase{"FileWithBrackets", "a(1).vert(12) : error C1: x", "a(1).vert(12) : error: C1: x"},
        LogCase{"Fatal", "0(1) : fatal error C9999: x", "0(1) : fatal error: C9999: x"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Glslang, glslLog,
    testing::Values(LogCase{"Error", "ERROR: 0:12: 'a' : undeclared identifier",
                            "0(12) : error: 'a' : undeclared identifier"},
                    LogCase{"Warning", "WARNING: 0:12: text", "0(12) : warning: text"},
                    LogCase{"Source", "ERROR: 2:12: text", "2(12) : error: text"},
                    LogCase{"File", "ERROR: 0:1000042: text", "block.glsl(42) : error: text"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Mali, glslLog,
    testing::Values(LogCase{"Error", "0:12: L0002: Undeclared variable 'a'",
                            "0(12) : error: L0002: Undeclared variable 'a'"},
                    LogCase{"Source", "2:12: P0001: text", "2(12) : error: P0001: text"},
                    LogCase{"File", "0:1000042: S0032: text",
                            "block.glsl(42) : error: S0032: text"},
                    LogCase{"ShortCode", "0:12: L002: text", "0:12: L002: text"},
                    LogCase{"LongCode", "0:12: L00002: text", "0:12: L00002: text"},
                    LogCase{"WordForACode", "0:12: hint0: text", "0:12: hint0: text"},
                    LogCase{"CodeAlone", "0:12: L0002", "0:12: L0002"},
                    LogCase{"NoLine", "0: L0002: text", "0: L0002: text"}),
    nameOf);

INSTANTIATE_TEST_SUITE_P(
    Others, glslLog,
    testing::Values(LogCase{"Words", "Vertex info", "Vertex info"},
                    LogCase{"Rule", "-----------", "-----------"},
                    LogCase{"WithoutLine", "error: linking failed", "error: linking failed"},
                    LogCase{"Count", "ERROR: 2 compilation errors.  No code generated.",
                            "ERROR: 2 compilation errors.  No code generated."},
                    LogCase{"NoNumber", "0:x(5): error: a", "0:x(5): error: a"},
                    LogCase{"Negative", "0:-1(5): error: a", "0:-1(5): error: a"},
                    LogCase{"Overflow", "0:99999999999999999999(5): error: a",
                            "0:99999999999999999999(5): error: a"},
                    LogCase{"LargerThanALine", "0:2147483648(5): preprocessor error: a",
                            "0:2147483648(5): preprocessor error: a"},
                    LogCase{"NoSeverity", "0(12) : hint: a", "0(12) : hint: a"},
                    LogCase{"LongerWord", "0(12) : errors: a", "0(12) : errors: a"},
                    LogCase{"UnclosedColumn", "0:12(5: error: a", "0:12(5: error: a"},
                    LogCase{"UnclosedQuote", "\"a:12(5): error: a", "\"a:12(5): error: a"},
                    LogCase{"OnlyQuotes", "\"\"", "\"\""}, LogCase{"Colon", ":", ":"},
                    LogCase{"Bracket", ") :", ") :"}, LogCase{"Bytes", "\xff\xfe", "\xff\xfe"}),
    nameOf);

TEST(glslLogWhole, BeginsAndEndsWithALineFeedSoThatEveryMessageBeginsALine) {
    EXPECT_EQ(mapCompilerLog("0:1(1): error: a\n0:2(1): error: b\n", table(), LineNumbering::N),
              "\n0(1) : error: a\n0(2) : error: b\n");
    EXPECT_EQ(mapCompilerLog("0:1(1): error: a", table(), LineNumbering::N), "\n0(1) : error: a\n");
}

TEST(glslLogWhole, IsEmptyWithoutAMessage) {
    EXPECT_EQ(mapCompilerLog("", table(), LineNumbering::N), "");
    EXPECT_EQ(mapCompilerLog(" \r\n\n", table(), LineNumbering::N), "");
    EXPECT_EQ(mapCompilerLog(std::string_view("\0abc", 4), table(), LineNumbering::N), "");
}

TEST(glslLogWhole, KeepsBlankLinesBetweenMessagesAndDropsCarriageReturns) {
    EXPECT_EQ(
        mapCompilerLog("\r\n0:1(1): error: a\r\n\r\nVertex info\r\n", table(), LineNumbering::N),
        "\n0(1) : error: a\n\nVertex info\n");
}

TEST(glslLogWhole, EndsAtANul) {
    EXPECT_EQ(
        mapCompilerLog(std::string_view("0:1(1): error: a\n\0rest", 22), table(), LineNumbering::N),
        "\n0(1) : error: a\n");
}

TEST(glslLogWhole, MesasPreprocessorCountsLowBelowVersion330) {
    const std::string_view log = "0:12(5): preprocessor error: a\n0:12(5): error: b\n";
    EXPECT_EQ(mapCompilerLog(log, table(), LineNumbering::N),
              "\n0(12) : error: a\n0(12) : error: b\n");
    EXPECT_EQ(mapCompilerLog(log, table(), LineNumbering::NPlusOne),
              "\n0(13) : error: a\n0(12) : error: b\n");
    EXPECT_EQ(
        mapCompilerLog("0:1000042(2): preprocessor error: a", table(), LineNumbering::NPlusOne),
        "\nblock.glsl(43) : error: a\n");
}

TEST(glslLogWhole, LinkMessagesNameTheStages) {
    const std::string_view stages = "vertex and fragment stage";
    EXPECT_EQ(mapLinkerLog("error: unresolved reference to function `f'\n", table(), stages),
              "\nvertex and fragment stage : error: unresolved reference to function `f'\n");
    EXPECT_EQ(mapLinkerLog("ERROR: Linking vertex stage: no main\n", table(), stages),
              "\nvertex and fragment stage : error: Linking vertex stage: no main\n");
    EXPECT_EQ(mapLinkerLog("Vertex info\n-----------\n0(12) : error C5145: must write\n", table(),
                           stages),
              "\nVertex info\n-----------\n0(12) : error: C5145: must write\n");
    EXPECT_EQ(mapLinkerLog("(0) : error C6022: No input primitive type\n", table(), stages),
              "\nvertex and fragment stage : error: C6022: No input primitive type\n");
    EXPECT_EQ(
        mapCompilerLog("(0) : error C2003: incompatible options\n", table(), LineNumbering::N),
        "\n0(0) : error: C2003: incompatible options\n");
}

TEST(LineTable, KeepsFileAndLine) {
    LineTable lines(3);
    EXPECT_EQ(lines.number("", 12), 12);
    EXPECT_EQ(lines.number("a", 12), 1000012);
    EXPECT_EQ(lines.number("b", 0), 2000000);
    EXPECT_EQ(lines.number("a", 5), 1000005);
    EXPECT_EQ(lines.find(1000005).file, "a");
    EXPECT_EQ(lines.find(1000005).line, 5);
    EXPECT_EQ(lines.find(5).file, "");
    EXPECT_EQ(lines.find(-5).line, -5);
}

TEST(LineTable, NumbersFitADriversInteger) {
    LineTable lines;
    long largest = 0;
    for (int i = 0; i < 3000; ++i)
        largest = std::max(largest, lines.number("file" + std::to_string(i), 2000000000));
    EXPECT_LE(largest, 2147483647);
    EXPECT_EQ(lines.find(largest).file, "(one of too many files)");
    EXPECT_EQ(lines.find(lines.number("file0", 7)).file, "file0");
}

} // namespace
