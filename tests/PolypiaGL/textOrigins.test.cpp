#include <PolypiaGL/textOrigins.hpp>

#include <PolypiaGL/LineTable.hpp>
#include <PolypiaGL/glslLog.hpp>

#include <Polypia/RenderException.hpp>

#include <gtest/gtest.h>

#include <limits>
#include <ostream>
#include <string>
#include <vector>

using Mirk::RenderException;
using Mirk::GL::LineTable;
using Origins = std::vector<Mirk::RenderBasin::TextOrigin>;

namespace {

/// Main code of the stage from line 21 on, out of a file where it begins in line 2; the other stage
/// has no file.
const Origins mainCode{{"N.frag", "N_frag.glsl", 21, 10, 2}, {"N.vert", "", 15, 4, 1}};

RenderException named(const std::string& log, const Origins& origins = mainCode,
                      const char* stage = "N.frag") {
    RenderException exception(0, "createProgram", stage, 0);
    exception.shaderLog = log;
    Mirk::GL::nameFiles(exception, origins);
    return exception;
}

std::string logOf(const std::string& log, const Origins& origins = mainCode,
                  const char* stage = "N.frag") {
    return Mirk::GL::logWithNames(named(log, origins, stage));
}

TEST(textOrigins, LinesOfAFileAreCountedInIt) {
    EXPECT_EQ(logOf("\n0(21) : error: a\n"), "\nN_frag.glsl(2) : error: a\n");
    EXPECT_EQ(logOf("\n0(30) : error: a\n"), "\nN_frag.glsl(11) : error: a\n");
    EXPECT_EQ(logOf("\n0(31) : error: end of file\n"), "\nN_frag.glsl(12) : error: end of file\n");
}

TEST(textOrigins, OtherLinesAreThoseOfTheComposedText) {
    EXPECT_EQ(logOf("\n0(20) : error: a\n"), "\ncomposed N.frag(20) : error: a\n");
    EXPECT_EQ(logOf("\n0(32) : error: a\n"), "\ncomposed N.frag(32) : error: a\n");
    EXPECT_EQ(logOf("\n0(16) : error: a\n", mainCode, "N.vert"),
              "\ncomposed N.vert(16) : error: a\n");
    EXPECT_EQ(named("\n0(21) : error: a\n", {}).shaderLog.str(), "\n0(21) : error: a\n");
}

TEST(textOrigins, WhatHasNoPlaceStaysAsItIs) {
    for (const char* const log : {"\nlights.glsl(3) : error: a\n", "\nno place\n", "\n",
                                  "\nvertex and fragment stage : error: (3) : a\n", ""}) {
        EXPECT_EQ(logOf(log), log);
    }
    for (const char* const log : {"\n0(x) : error: a\n", "\n0() : error: a\n"}) {
        EXPECT_EQ(named(log).shaderLog.str(), log);
    }
}

TEST(textOrigins, OnlyLinesOfTheFileOfTheFirstErrorBeginAsReportsLinkThem) {
    const RenderException inFile =
        named("\n0(22) : error: a\n0(7) : error: b\n./part(9) : error: c\n0(25) : error: d\n");
    EXPECT_EQ(inFile.file.str(), "N_frag.glsl");
    EXPECT_EQ(inFile.shaderLog.str(), "\n0(3) : error: a\ncomposed N.frag(7) : error: b\n"
                                      "./part(9) : error: c\n0(6) : error: d\n");
    // The file of the user has the name of the stage.
    const Origins override{{"N.frag", "N.frag", 21, 10, 1}};
    const RenderException composed = named("\n0(7) : error: a\n0(22) : error: b\n", override);
    EXPECT_EQ(composed.file.str(), "composed N.frag");
    EXPECT_EQ(composed.shaderLog.str(), "\n0(7) : error: a\nN.frag(2) : error: b\n");
    const RenderException included = named("\n./part(9) : error: a\n0(7) : error: b\n");
    EXPECT_EQ(included.shaderLog.str(), "\n0(9) : error: a\ncomposed N.frag(7) : error: b\n");
}

TEST(textOrigins, LinesBehindAnIncludeAreThoseBehindTheDirective) {
    EXPECT_EQ(logOf("\nN.frag(4) : error: a\n"), "\nN_frag.glsl(6) : error: a\n");
}

TEST(textOrigins, AWholeStageIsTheFile) {
    const Origins whole{{"N.frag", "N.frag.glsl", 1, 50, 1, true}};
    EXPECT_EQ(logOf("\n0(17) : error: a\n", whole), "\nN.frag.glsl(17) : error: a\n");
}

TEST(textOrigins, LinkersTellTheStageByAHeading) {
    const Origins origins{{"N.vert", "N.vert", 21, 60, 1}, {"N.frag", "N_frag.glsl", 25, 30, 1}};
    const std::string log = "\nVertex info\n-----------\n0(22) : error: a\n"
                            "Fragment info\n-------------\n0(26) : error: b\n";
    EXPECT_EQ(logOf(log, origins, "N.vert"),
              "\nVertex info\n-----------\nN.vert(2) : error: a\n"
              "Fragment info\n-------------\nN_frag.glsl(2) : error: b\n");
    const RenderException composed =
        named("\nFragment info\n-------------\n0(7) : error: a\n", origins, "N.vert");
    EXPECT_EQ(composed.file.str(), "composed N.frag");
    EXPECT_EQ(composed.line, 7);
}

TEST(textOrigins, WhatOnlyLooksLikeAPlaceIsNone) {
    for (const char* const log :
         {"\nvertex and fragment stage : error: (3) : a\n", "\n(0) : error: C6022: no input\n",
          "\ncall f(3) : see below\n"}) {
        const RenderException exception = named(log);
        EXPECT_EQ(exception.shaderLog.str(), log);
        EXPECT_EQ(exception.file.str(), "N.frag");
        EXPECT_EQ(exception.line, 0);
    }
}

TEST(textOrigins, ErrorsStandAheadOfWarnings) {
    EXPECT_EQ(logOf("\n0(3) : warning: w\n0(4) : error: a\nmore\n0(22) : warning: v\n"),
              "\ncomposed N.frag(4) : error: a\nmore\ncomposed N.frag(3) : warning: w\n"
              "N_frag.glsl(3) : warning: v\n");
}

TEST(textOrigins, WhatBelongsToAWarningGoesWithIt) {
    EXPECT_EQ(logOf("\n0(3) : warning: w\n   detail of w\n0(4) : error: a\n   detail of a\n"),
              "\ncomposed N.frag(4) : error: a\n   detail of a\n"
              "composed N.frag(3) : warning: w\n   detail of w\n");
    EXPECT_EQ(logOf("\nVertex info\n0(7) : warning: w\nFragment info\n0(8) : error: a\n"),
              "\nVertex info\ncomposed N.vert(7) : warning: w\n"
              "Fragment info\ncomposed N.frag(8) : error: a\n")
        << "each below its heading";
}

TEST(textOrigins, WhatIsSaidAheadOfTheMessagesStandsBehindThem) {
    EXPECT_EQ(logOf("\nCompile failed.\n\n0(3) : warning: w\n0(4) : error: a\n1 error.\n"),
              "\ncomposed N.frag(4) : error: a\n1 error.\ncomposed N.frag(3) : warning: w\n"
              "Compile failed.\n\n");
    EXPECT_EQ(logOf("\nLink failed.\nVertex info\n0(7) : error: a\n"),
              "\nVertex info\ncomposed N.vert(7) : error: a\nLink failed.\n");
}

TEST(textOrigins, TheExceptionIsThatOfTheFirstError) {
    const RenderException inFile = named("\n0(3) : warning: w\n0(22) : error: a\n");
    EXPECT_EQ(inFile.file.str(), "N_frag.glsl");
    EXPECT_EQ(inFile.line, 3);
    const RenderException composed = named("\n0(7) : error: a\n0(22) : error: b\n");
    EXPECT_EQ(composed.file.str(), "composed N.frag");
    EXPECT_EQ(composed.line, 7);
    const RenderException included = named("\n./part(9) : error: a\n");
    EXPECT_EQ(included.file.str(), "./part");
    EXPECT_EQ(included.line, 9);
    const RenderException linked = named("\nvertex and fragment stage : error: a\n");
    EXPECT_EQ(linked.file.str(), "N.frag");
    EXPECT_EQ(linked.line, 0);
}

TEST(textOrigins, NumbersBeyondAllLinesStayNumbers) {
    EXPECT_EQ(named("\n0(99999999999) : error: a\n").line, std::numeric_limits<int>::max());
    EXPECT_EQ(logOf("\n0(99999999999) : error: a\n"),
              "\ncomposed N.frag(99999999999) : error: a\n");
}

TEST(textOrigins, NoOtherFileLooksLikeThatOfTheFirstError) {
    const RenderException exception =
        named("\n0(7) : error: a\n0(21) : error: b\n", {{"N.frag", "0(x.frag", 21, 10, 1}});
    EXPECT_EQ(exception.shaderLog.str(), "\n0(7) : error: a\n./0(x.frag(1) : error: b\n");
}

/// What drivers write of the fault in one place: line 5 of the override file, of an included file,
/// behind an include in line 4, and in the composed text.
struct Driver {
    const char* name;
    std::string (*message)(const std::string& line);
};
std::ostream& operator<<(std::ostream& out, const Driver& driver) {
    return out << driver.name;
}

class MessagesOfDrivers : public testing::TestWithParam<Driver> {
protected:
    std::string report(long packedLine) const {
        const std::string log = GetParam().message(std::to_string(packedLine));
        const RenderException exception =
            named(Mirk::GL::mapCompilerLog(log, lines, Mirk::GL::LineNumbering::N),
                  {{"N.frag", "N.frag", 21, 10, 1}});
        const std::string text = Mirk::GL::logWithNames(exception);
        const std::string place = text.substr(1, text.find(')'));
        EXPECT_EQ(place, exception.file.str() + "(" + std::to_string(exception.line) + ")");
        EXPECT_TRUE(exception.shaderLog.str().starts_with("\n0("));
        return place;
    }

    LineTable lines{100};
};

TEST_P(MessagesOfDrivers, LeadToTheFileAndItsLine) {
    EXPECT_EQ(report(25), "N.frag(5)");
    EXPECT_EQ(report(lines.number("./part", 5)), "./part(5)");
    EXPECT_EQ(report(lines.number("N.frag", 4)), "N.frag(5)");
    EXPECT_EQ(report(12), "composed N.frag(12)");
}

constexpr Driver drivers[] = {
    {"Mesa",
     [](const std::string& line) {
         return "0:9(12): warning: extension `GL_EXT_gpu_shader4' unsupported in fragment shader\n"
                "0:" +
                line + "(23): error: `undefinedName' undeclared\n0:" + line +
                "(16): error: cannot initialize\n";
     }},
    {"MesaPreprocessor",
     [](const std::string& line) {
         return "0:" + line + "(2): preprocessor error: #error wrong\n";
     }},
    {"Nvidia",
     [](const std::string& line) {
         return "0(" + line + ") : error C1503: undefined variable \"undefinedName\"\n";
     }},
    {"NvidiaWithWarning",
     [](const std::string& line) {
         return "0(3) : warning C7050: \"x\" might be used before being initialized\n0(" + line +
                ") : error C0000: syntax error, unexpected '}' at token \"}\"\n";
     }},
    {"Amd",
     [](const std::string& line) {
         return "WARNING: 0:9: 'GL_EXT_gpu_shader4' : extension is not available\nERROR: 0:" +
                line +
                ": 'undefinedName' : undeclared identifier\nERROR: 1 compilation errors.  "
                "No code generated.\n";
     }},
    {"Intel",
     [](const std::string& line) {
         return "ERROR: 0:" + line + ": 'return' : syntax error syntax error\n";
     }},
};

INSTANTIATE_TEST_SUITE_P(Forms, MessagesOfDrivers, testing::ValuesIn(drivers),
                         [](const testing::TestParamInfo<Driver>& test) {
                             return std::string(test.param.name);
                         });

} // namespace
