#include <PolypiaGL/glslAdapt.hpp>

#include "numberedLines.hpp"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <map>
#include <random>
#include <set>
#include <sstream>
#include <string>
#include <vector>

using namespace Mirk::GL;
using namespace Mirk::GLTest;
using testing::AllOf;
using testing::Contains;
using testing::ContainsRegex;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

const auto caseName = [](const auto& row) { return row.param.name; };

AdaptOptions compatibility() {
    AdaptOptions options;
    options.profile = Profile::Compatibility;
    options.extensions = {"GL_ARB_explicit_attrib_location", "GL_ARB_gpu_shader5",
                          "GL_ARB_shading_language_420pack", "GL_ARB_uniform_buffer_object",
                          "GL_ARB_viewport_array"};
    return options;
}

AdaptOptions core() {
    AdaptOptions options = compatibility();
    options.profile = Profile::Core;
    return options;
}

/// Nothing but what the rule at hand does.
AdaptOptions bare(Profile profile = Profile::Compatibility) {
    AdaptOptions options;
    options.profile = profile;
    return options;
}

std::string adapt(Stage stage, const std::string& text, const AdaptOptions& options) {
    return adaptProgram({{stage, text}}, options).stages.at(0).text;
}

std::vector<std::string> at(const std::multimap<long, std::string>& lines, long number) {
    std::vector<std::string> found;
    for (auto [i, end] = lines.equal_range(number); i != end; ++i) found.push_back(i->second);
    return found;
}

// -------------------------------------------------------------------------------------------------

struct VersionCase {
    std::string name;
    Stage stage;
    Profile profile;
    std::string text;
    std::string expected; // the first line of the adapted text that isn't empty
};

class glslAdaptVersion : public testing::TestWithParam<VersionCase> {};

TEST_P(glslAdaptVersion, IsWhatTheContextTakes) {
    const std::string adapted = adapt(GetParam().stage, GetParam().text, bare(GetParam().profile));
    const std::size_t begin = adapted.find_first_not_of('\n');
    EXPECT_EQ(adapted.substr(begin, adapted.find('\n', begin) - begin), GetParam().expected);
}

constexpr auto V = Stage::Vertex, G = Stage::Geometry, F = Stage::Fragment, C = Stage::Compute;
constexpr auto Comp = Profile::Compatibility, Core = Profile::Core;

INSTANTIATE_TEST_SUITE_P(
    All, glslAdaptVersion,
    testing::Values(
        VersionCase{"Low", V, Comp, "#version 130\nvoid main(){}\n", "#version 130"},
        VersionCase{"LowInCoreIsRaised", V, Core, "#version 130\n", "#version 140"},
        VersionCase{"From150CompatibilityIsAdded", V, Comp, "#version 330\n",
                    "#version 330 compatibility"},
        VersionCase{"CoreStays", V, Comp, "#version 450 core\nvoid main(){}\n",
                    "#version 450 core"},
        VersionCase{"CoreGoesForFixedNames", F, Comp,
                    "#version 450 core\nvoid main(){gl_FragColor=vec4(1);}\n",
                    "#version 450 compatibility"},
        VersionCase{"FixedNamesInCommentsDoNotCount", F, Comp,
                    "#version 450 core\n/* gl_FragColor */ // gl_Color\nvoid main(){}\n",
                    "#version 450 core"},
        VersionCase{"CompatibilityGoesInCore", V, Core, "#version 330 compatibility\n",
                    "#version 330 core"},
        VersionCase{"NothingIsAddedInCore", V, Core, "#version 330\n", "#version 330"},
        VersionCase{"CarriageReturnIsNoPart", V, Comp, "#version 330\r\nvoid main(){}\r\n",
                    "#version 330 compatibility"},
        VersionCase{"BlanksAndComments", V, Comp, "  # \tversion /* x */ 330 core // y\n",
                    "#version 330 core"},
        VersionCase{"GeometryIsRaised", G, Comp, "#version 130\n", "#version 150 compatibility"},
        VersionCase{"GeometryIsRaisedInCore", G, Core, "#version 130\n", "#version 150"},
        VersionCase{"GeometryWithoutVersion", G, Comp, "void main(){}\n",
                    "#version 150 compatibility"},
        VersionCase{"NoneStaysNone", V, Comp, "void main(){}\n", "#line 1000000"},
        VersionCase{"NoneInCore", V, Core, "void main(){}\n", "#version 140"},
        VersionCase{"NoneInCompute", C, Comp, "void main(){}\n", "#version 430 compatibility"},
        VersionCase{"ComputeIsNotRaised", C, Core, "#version 420\n", "#version 420"},
        VersionCase{"EmbeddedStays", V, Comp, "#version 300 es\nvoid main(){}\n",
                    "#version 300 es"},
        VersionCase{"UnreadableIsLeftToTheDriver", V, Comp, "#version banana split\n",
                    "#version banana split"},
        VersionCase{"TrailingWordsAreLeftToTheDriver", V, Comp, "#version 450 core core\n",
                    "#version 450 core core"},
        VersionCase{"HugeNumber", V, Comp, "#version 99999999999999999999\n",
                    "#version 99999999999999999999"},
        VersionCase{"Empty", V, Comp, "", "#line 1000000"}),
    caseName);

TEST(glslAdapt, VersionMovesAheadOfCodeAndKeepsItsLine) {
    const auto program = adaptProgram(
        {{Stage::Fragment, "#define STIPPLE 5\n#version 450 core\nvoid main(){}\n"}}, bare());
    const std::string& text = program.stages[0].text;
    EXPECT_THAT(text, StartsWith("\n#version 450 core\n#line 1000001\n#line 1\n"));
    EXPECT_THAT(text, EndsWith("#define STIPPLE 5\n                 \nvoid main(){}\n"));
    EXPECT_THAT(program.notes, ElementsAre("fragment: #version moved ahead of other text"));
}

TEST(glslAdapt, CommentAheadOfTheVersionIsNoReasonForANote) {
    const auto program =
        adaptProgram({{Stage::Vertex, "/* Built from */\n#version 330 core\n"}}, bare());
    EXPECT_THAT(program.notes, IsEmpty());
    EXPECT_THAT(program.stages[0].text, StartsWith("\n#version 330 core\n"));
}

TEST(glslAdapt, SecondVersionStaysForTheDriverToReport) {
    EXPECT_THAT(adapt(V, "#version 330\n#version 450\n", bare()), EndsWith("#version 450\n"));
}

TEST(glslAdapt, VersionInACommentIsNone) {
    EXPECT_THAT(adapt(V, "/*\n#version 330\n*/\n// \\\n#version 330\n#version 450 core\n", bare()),
                StartsWith("\n\n\n\n\n#version 450 core\n"));
}

// -------------------------------------------------------------------------------------------------

TEST(glslAdapt, PrefixEnablesDefinesAndResetsTheCount) {
    AdaptOptions options = compatibility();
    options.platformDefines = "#define ZELK_HAVE_X 1";
    EXPECT_EQ(adapt(V, "#version 130\nvoid main(){}\n", options),
              "#version 130\n"
              "#line 1000000\n"
              "#extension GL_ARB_gpu_shader5 : enable\n"
              "#extension GL_ARB_shading_language_420pack : enable\n"
              "#define ZELK_HAVE_X 1\n"
              "#line 0\n"
              "            \n"
              "void main(){}\n");
}

TEST(glslAdapt, EnablesOnlyWhatTheVersionLacks) {
    EXPECT_THAT(adapt(V, "#version 400\n", compatibility()),
                AllOf(Not(HasSubstr("gpu_shader5")), HasSubstr("420pack")));
    EXPECT_THAT(adapt(V, "#version 420\n", compatibility()), Not(HasSubstr("#extension")));
    EXPECT_THAT(adapt(V, "#version 110\n", compatibility()), Not(HasSubstr("#extension")));
    EXPECT_THAT(adapt(V, "#version 130\n", bare()), Not(HasSubstr("#extension")));
    EXPECT_THAT(adapt(V, "#version 300 es\n", compatibility()), Not(HasSubstr("#extension")));
}

TEST(glslAdapt, TellsHowEachVersionNumbersLines) {
    const auto numbering = [](const std::string& version) {
        return adaptProgram({{V, "#version " + version + "\nvoid main() {}\n"}}, bare())
            .stages.at(0)
            .numbering;
    };
    for (const std::string version : {"110", "150", "100 es"}) {
        EXPECT_EQ(numbering(version), LineNumbering::NPlusOne) << version;
    }
    for (const std::string version : {"330", "450 core", "300 es", "310 es"}) {
        EXPECT_EQ(numbering(version), LineNumbering::N) << version;
    }
}

TEST(glslAdapt, EveryStageGetsThePlatformDefines) {
    AdaptOptions options = bare();
    options.platformDefines = "#define A 1\n#define B 2\n";
    for (const Stage stage : {V, G, F, C})
        EXPECT_THAT(adapt(stage, "#version 450\n", options),
                    HasSubstr("\n#define A 1\n#define B 2\n#line 1\n"))
            << stageName(stage);
}

TEST(glslAdapt, ComposedLinesKeepTheirNumbers) {
    for (const long version : {130L, 150L, 330L, 450L}) {
        std::string text = "/* head */\n#version " + std::to_string(version) + "\n";
        for (int i = 3; i < 20; ++i) text += "float line" + std::to_string(i) + ";\n";
        AdaptOptions options = core();
        options.platformDefines = "#define A\n#define B\n";
        text += "void main() { gl_Position = ftransform() + gl_Color; }\n";
        const auto lines = numberedLines(adapt(V, text, options), version);
        for (int i = 3; i < 20; ++i)
            EXPECT_THAT(at(lines, i), Contains("float line" + std::to_string(i) + ";"));
        EXPECT_THAT(at(lines, 20), Contains(StartsWith("void main")));
    }
}

// -------------------------------------------------------------------------------------------------

struct LineCase {
    std::string name;
    std::string directive;
    std::string file; // of the line that follows
    long number;
};

class glslAdaptLine : public testing::TestWithParam<LineCase> {};

TEST_P(glslAdaptLine, NumbersTheLineThatFollows) {
    for (const long version : {150L, 330L}) {
        const std::string head = "#version " + std::to_string(version) + "\n";
        const auto program = adaptProgram(
            {{Stage::Vertex, head + "int a;\n" + GetParam().directive + "\nint here;\n"}}, bare());
        const auto lines = numberedLines(program.stages[0].text, version);
        const auto here = std::find_if(lines.begin(), lines.end(), [](const auto& line) {
            return line.second.starts_with("int here;");
        });
        ASSERT_NE(here, lines.end());
        EXPECT_EQ(program.lines.find(here->first).file, GetParam().file) << version;
        EXPECT_EQ(program.lines.find(here->first).line, GetParam().number) << version;
    }
}

INSTANTIATE_TEST_SUITE_P(
    All, glslAdaptLine,
    testing::Values(
        LineCase{"Number", "#line 12", "", 12},
        LineCase{"NumberAndSourceZero", "#line 12 0", "", 12},
        LineCase{"NumberAndSource", "#line 12 3", "3", 12},
        LineCase{"NumberAndFile", "#line 8 \"shader.glsl\"", "shader.glsl", 8},
        LineCase{"NumberAndFileWithoutBlank", "#line 8\"shader.glsl\"", "shader.glsl", 8},
        LineCase{"FileWithBlanks", "#line 8 \"my shader.glsl\"", "my shader.glsl", 8},
        LineCase{"FileWithCommentSigns", "#line 8 \"a//b/*c\"", "a//b/*c", 8},
        LineCase{"FileAhead", "#line N.vert 42", "N.vert", 42},
        LineCase{"PathAhead", "#line /usr//share/*x/a b.glsl 1", "/usr//share/*x/a b.glsl", 1},
        LineCase{"QuotedFileAhead", "#line \"a.vert\" 42", "a.vert", 42},
        LineCase{"FileAheadThatBeginsWithANumber", "#line 3 pigs.vert 42", "3 pigs.vert", 42},
        LineCase{"NumberAndComment", "#line 15 /* shader.glsl*/", "shader.glsl", 15},
        LineCase{"NumberAndEmptyComment", "#line 15 /**/", "", 15},
        LineCase{"NumberAndLineComment", "#line 15 // shader.glsl", "", 15},
        LineCase{"NumberAndLineCommentAtOnce", "#line 15//shader.glsl", "", 15},
        LineCase{"NumberAndLineCommentWithANumber", "#line 15 // as line 3", "", 15},
        LineCase{"NumberAndLineCommentAtOnceWithWords", "#line 15// as line 3", "", 15},
        LineCase{"FolderOfDigitsAhead", "#line 2024/ab 3", "2024/ab", 3},
        LineCase{"FolderOfDigitsWithSlashAhead", "#line 2024//ab 3", "2024//ab", 3},
        LineCase{"FolderOfDigitsWithStarAhead", "#line 2024/*/ab 3", "2024/*/ab", 3},
        LineCase{"FileAheadAndComment", "#line N.vert 42 // note", "N.vert", 42},
        LineCase{"BlanksEverywhere", " \t# \t line \t 12 \t", "", 12},
        LineCase{"CommentAhead", "/* c */ #line 12 \"f\"", "f", 12},
        LineCase{"CarriageReturn", "#line 12 \"f\"\r", "f", 12},
        LineCase{"One", "#line 1 \"f\"", "f", 1}, LineCase{"Zero", "#line 0 \"f\"", "f", 0},
        LineCase{"LargeIsHeld", "#line 1234567890123 \"f\"", "f", 999999}),
    caseName);

/// Where the line "int here;" is counted.
struct Place {
    std::string file;
    long line;

    bool operator==(const Place&) const = default;
};

Place placeOfHere(const StageText& stage, const AdaptOptions& options = bare()) {
    const auto program = adaptProgram({stage}, options);
    const long version = std::stol(stage.text.substr(std::string("#version ").size()));
    const auto lines = numberedLines(program.stages[0].text, version);
    for (const auto& [number, line] : lines) {
        if (!line.ends_with("int here;")) continue;
        const LineTable::Place place = program.lines.find(number);
        return {std::string(place.file), place.line};
    }
    return {"nowhere", 0};
}

TEST(glslAdapt, DirectivesAheadOfTheMainCodeDoNotCountFromThereOn) {
    for (const std::string version : {"150", "330"}) {
        const std::string text =
            "#version " + version + "\n#line 300 \"Mist.glsl\"\nfloat mist;\nint here;\nint too;\n";
        EXPECT_EQ(placeOfHere({V, text}), (Place{"Mist.glsl", 301}));
        EXPECT_EQ(placeOfHere({V, text, 4}), (Place{"", 4}));
        // Above it they do.
        EXPECT_EQ(placeOfHere({V, text, 5}), (Place{"Mist.glsl", 301}));
        EXPECT_EQ(placeOfHere({V, text, 100}), (Place{"Mist.glsl", 301}));
    }
}

TEST(glslAdapt, DirectivesWithinTheMainCodeCount) {
    for (const std::string version : {"150", "330"}) {
        const std::string text =
            "#version " + version + "\nfloat main;\n#line 7 \"part\"\nint here;\n";
        EXPECT_EQ(placeOfHere({V, text, 2}), (Place{"part", 7}));
        // The first line of the main code may be one.
        EXPECT_EQ(placeOfHere({V, text, 3}), (Place{"part", 7}));
    }
}

TEST(glslAdapt, MainCodeWithoutDirectivesAheadTakesNone) {
    const std::string text = "#version 330\nfloat ahead;\nint here;\n";
    EXPECT_EQ(adaptProgram({{V, text, 3}}, bare()).stages[0].text,
              adaptProgram({{V, text}}, bare()).stages[0].text);
}

TEST(glslAdapt, MainCodeIsCountedBehindDirectivesInConditionsAndDeclarations) {
    for (const std::string version : {"150", "330"}) {
        // In a core context the declaration of gl_Vertex comes in between.
        const std::string text = "#version " + version +
                                 "\n#ifdef MARKED\n#line 40 \"block\"\n#endif\n"
                                 "#ifdef SHORT\nfloat mist;\n#endif\nint here;\n"
                                 "void main() { gl_Position = gl_Vertex; }\n";
        for (const char* const defined :
             {"", "#define MARKED\n", "#define MARKED\n#define SHORT\n"}) {
            AdaptOptions options = core();
            options.platformDefines = defined;
            EXPECT_EQ(placeOfHere({V, text, 8}, options), (Place{"", 8})) << defined;
        }
        AdaptOptions options = core();
        options.platformDefines = "#define MARKED\n";
        EXPECT_EQ(placeOfHere({V, text}, options), (Place{"block", 44}));
    }
}

TEST(glslAdapt, DirectivesWithTheOwnNameStandForTheTextItself) {
    for (const std::string version : {"150", "330"}) {
        const std::string text =
            "#version " + version + "\n#line part 1\nfloat part;\n#line N.vert 2\nint here;\n";
        EXPECT_EQ(placeOfHere({V, text}), (Place{"N.vert", 2}));
        EXPECT_EQ(placeOfHere({V, text, 0, "N.vert"}), (Place{"", 5}));
        EXPECT_EQ(placeOfHere({V, text, 0, "N.frag"}), (Place{"N.vert", 2}));
        // Those of other files don't.
        const std::string included = "#version " + version + "\n#line part 1\nint here;\n";
        EXPECT_EQ(placeOfHere({V, included, 0, "N.vert"}), (Place{"part", 1}));
        // Nor those that only have a number, which may be anybody's.
        const std::string numbered = "#version " + version + "\n#line 70\nint here;\n";
        EXPECT_EQ(placeOfHere({V, numbered, 0, "N.vert"}), (Place{"", 70}));
    }
}

TEST(glslAdapt, AllDirectivesOfAWholeFileStandForItsOwnLines) {
    for (const std::string version : {"150", "330"}) {
        for (const char* const directive : {"#line 1 \"part\"", "#line N.vert 7", "#line 70"}) {
            const std::string text = "#version " + version + "\n" + directive + "\nint here;\n";
            EXPECT_EQ(placeOfHere({V, text, 0, {}, true}), (Place{"", 3})) << directive;
        }
    }
}

TEST(glslAdapt, UnreadableLineDirectiveStaysForTheDriver) {
    for (const std::string directive :
         {"#line", "#line banana", "#line \"f\"", "#line 5 \\", "#line 5 \"f"})
        EXPECT_THAT(adapt(V, "#version 330\n" + directive + "\nint a;\n", bare()),
                    HasSubstr(directive + "\nint a;\n"));
}

TEST(glslAdapt, LineDirectiveThatHangsOnAConditionIsCut) {
    const std::string text = "#version 330\n"
                             "#if defined(A) || defined(B)#line 13 \"x/*y//z\"\n"
                             "#else\n"
                             "#line 15 /* x*/\n"
                             "#endif\n"
                             "int here;\n";
    const auto program = adaptProgram({{Stage::Vertex, text}}, bare());
    EXPECT_THAT(program.stages[0].text,
                ContainsRegex("\n#if defined\\(A\\) \\|\\| defined\\(B\\) +\n"
                              "#else\n#line 2000015 +\n#endif\n"));
    EXPECT_EQ(program.lines.find(2000015).file, "x");
}

TEST(glslAdapt, ConditionsAroundLineDirectivesKeepWorking) {
    const std::string text = "#version 130\n"
                             "#ifdef ZELK_DO_LINE_DIRECTIVE\n"
                             "#line 40 \"block\"\n"
                             "#endif\n"
                             "int here;\n";
    const auto program = adaptProgram({{Stage::Vertex, text}}, bare());
    EXPECT_THAT(at(numberedLines(program.stages[0].text, 130), 5), Contains("int here;"));
    EXPECT_THAT(at(numberedLines(program.stages[0].text, 130, {"ZELK_DO_LINE_DIRECTIVE"}), 2000041),
                Contains("int here;"));
}

TEST(glslAdapt, OneFileHasOneNumberInAllStages) {
    const auto program = adaptProgram({{V, "#version 330\n#line 5 \"a\"\n#line 6 \"b\"\n"},
                                       {F, "#version 330\n#line 7 \"b\"\n#line 8 \"a\"\n"}},
                                      bare());
    EXPECT_THAT(program.stages[0].text,
                AllOf(HasSubstr("#line 2000005"), HasSubstr("#line 3000006")));
    EXPECT_THAT(program.stages[1].text,
                AllOf(HasSubstr("#line 3000007"), HasSubstr("#line 2000008")));
}

TEST(glslAdapt, LineDirectivesAreDroppedForDriversThatLoseLargeNumbers) {
    AdaptOptions options = bare();
    options.fileNumbers = false;
    const std::string text = adapt(V, "#version 330\n#line 5 \"a\"\nint a;\n", options);
    EXPECT_THAT(text, StartsWith("#version 330 compatibility\n#line 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("#line 5")));
    EXPECT_THAT(at(numberedLines(text, 330), 3), Contains("int a;"));
}

TEST(glslAdapt, TextOfAMillionLinesIsNotTakenForAFile) {
    const std::string text = "#version 330\n" + std::string(1500000, '\n') + "#line 7 \"f\"\n";
    const auto program = adaptProgram({{Stage::Vertex, text}}, bare());
    EXPECT_EQ(program.lines.find(1400000).file, "");
    EXPECT_EQ(program.lines.find(1400000).line, 1400000);
    EXPECT_THAT(program.stages[0].text, HasSubstr("#line 3000007"));
}

// -------------------------------------------------------------------------------------------------

TEST(glslAdapt, ExtensionsOfWhatIsBuiltInAreDropped) {
    const std::string text = "#version 130\n"
                             "#extension GL_EXT_geometry_shader4 : require\n"
                             "#extension GL_ARB_gpu_shader5 : require\n"
                             "#extension GL_ARB_uniform_buffer_object : require\n"
                             "#extension GL_EXT_gpu_shader4 : enable\n";
    EXPECT_THAT(adapt(V, text, bare()),
                AllOf(Not(HasSubstr("geometry_shader4")), Not(HasSubstr("GL_ARB_gpu_shader5")),
                      Not(HasSubstr("uniform_buffer_object")),
                      HasSubstr("#extension GL_EXT_gpu_shader4 : enable\n")));
    EXPECT_THAT(adapt(V, text, compatibility()),
                AllOf(Not(HasSubstr("geometry_shader4")), HasSubstr("GL_ARB_gpu_shader5 : require"),
                      HasSubstr("uniform_buffer_object : require")));
}

TEST(glslAdapt, RequiredExtensionThatIsMissingStaysForTheDriver) {
    EXPECT_THAT(adapt(V, "#version 330\n#extension GL_OVR_multiview : require\nint a;\n", bare()),
                HasSubstr("\n#extension GL_OVR_multiview : require\n"));
    EXPECT_THAT(adapt(V, "#version 330\nint a;\n#extension GL_OVR_multiview : require\n", bare()),
                HasSubstr("int a;\n#extension GL_OVR_multiview : require\n"));
}

TEST(glslAdapt, LateExtensionMovesAheadOfCodeIfTheContextHasIt) {
    const std::string text = "#version 130\n"
                             "#ifdef GL_ARB_viewport_array\n"
                             "#extension GL_ARB_viewport_array : enable\n"
                             "#endif\n"
                             "uniform int a;\n"
                             "#ifdef GL_ARB_viewport_array\n"
                             "#extension GL_ARB_viewport_array : enable\n"
                             "#endif\n"
                             "uniform int b;\n";
    const std::string adapted = adapt(G, text, compatibility());
    const std::size_t code = adapted.find("uniform int a;");
    EXPECT_EQ(adapted.find("#extension GL_ARB_viewport_array", code), std::string::npos);
    EXPECT_LT(adapted.find("\n#extension GL_ARB_viewport_array : enable\n#line 0\n"), code);
    EXPECT_THAT(at(numberedLines(adapted, 130), 9), Contains("uniform int b;"));
}

TEST(glslAdapt, LateDisableStays) {
    EXPECT_THAT(adapt(V, "#version 330\nint a;\n#extension GL_ARB_gpu_shader5 : disable\n",
                      compatibility()),
                HasSubstr("int a;\n#extension GL_ARB_gpu_shader5 : disable\n"));
}

// -------------------------------------------------------------------------------------------------

struct TextCase {
    std::string name;
    std::string from;
    std::string to;
};

class glslAdaptSet : public testing::TestWithParam<TextCase> {};

TEST_P(glslAdaptSet, IsRemovedFromLayoutsOnly) {
    const std::string adapted = adapt(V, "#version 450\n" + GetParam().from + "\n", bare());
    std::string tight;
    for (const char c : adapted.substr(adapted.rfind("#line 1\n") + 8))
        if (c != ' ') tight += c;
    EXPECT_EQ(tight, "\n" + GetParam().to + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, glslAdaptSet,
    testing::Values(
        TextCase{"First", "layout(set=0, std140) uniform", "layout(std140)uniform"},
        TextCase{"Middle", "layout(std140, set = 0, binding=0) uniform",
                 "layout(std140,binding=0)uniform"},
        TextCase{"Last", "layout(std140, set=12) uniform", "layout(std140)uniform"},
        TextCase{"Alone", "layout ( set=0 ) uniform", "uniform"},
        TextCase{"Twice", "layout(set=0, set=1) uniform", "uniform"},
        TextCase{"Expression", "layout(set=f(1,2), binding=0) uniform", "layout(binding=0)uniform"},
        TextCase{"OverLines", "layout(std140,\nset=0,\nbinding=0) uniform",
                 "layout(std140,\n\nbinding=0)uniform"},
        TextCase{"InAMacro", "#define L layout(set=0, binding=1)", "#defineLlayout(binding=1)"},
        TextCase{"UserWord", "int set=0; f(set=1, 2);", "intset=0;f(set=1,2);"},
        TextCase{"InAComment", "/*layout(set=0,a)*/", "/*layout(set=0,a)*/"},
        TextCase{"LongerWord", "layout(offset=0,a) x", "layout(offset=0,a)x"},
        TextCase{"Unfinished", "layout(set=0", "layout(set=0"},
        TextCase{"WithoutValue", "layout(set, a)", "layout(set,a)"}),
    caseName);

class glslAdaptBlock : public testing::TestWithParam<TextCase> {};

TEST_P(glslAdaptBlock, PerVertexRedeclarationIsRemoved) {
    const std::string adapted = adapt(V, "#version 330\n" + GetParam().from + "\n", bare());
    std::string tight;
    for (const char c : adapted.substr(adapted.rfind("#line 1\n") + 8))
        if (c != ' ') tight += c;
    EXPECT_EQ(tight, "\n" + GetParam().to + "\n");
}

INSTANTIATE_TEST_SUITE_P(
    All, glslAdaptBlock,
    testing::Values(
        TextCase{"OverLines",
                 "out gl_PerVertex\n{\nvec4 gl_Position;\nfloat gl_ClipDistance[];\n};\nint a;",
                 "\n\n\n\n\ninta;"},
        TextCase{"OneLine", "int a; out gl_PerVertex { vec4 gl_Position; }; int b;", "inta;intb;"},
        TextCase{"Named", "out gl_PerVertex { vec4 gl_Position; } gl_out[];", ""},
        TextCase{"NamedAndSized", "out gl_PerVertex { vec4 gl_Position; } gl_out[4] ;", ""},
        TextCase{"WithConditions", "out gl_PerVertex {\n#ifdef A\nvec4 gl_Position;\n#endif\n};",
                 "\n#ifdefA\n\n#endif\n"},
        TextCase{"CommentsStay", "out gl_PerVertex { /*a*/ };", "/*a*/"},
        TextCase{"InputsStay", "in gl_PerVertex { vec4 gl_Position; };",
                 "ingl_PerVertex{vec4gl_Position;};"},
        TextCase{"Unfinished", "out gl_PerVertex { vec4 a;", "outgl_PerVertex{vec4a;"},
        TextCase{"WithoutSemicolon", "out gl_PerVertex { } int a;", "outgl_PerVertex{}inta;"}),
    caseName);

TEST(glslAdapt, PerVertexRedeclarationOfOtherStagesStays) {
    EXPECT_THAT(adapt(G, "#version 330\nout gl_PerVertex { vec4 gl_Position; };\n", bare()),
                HasSubstr("out gl_PerVertex { vec4 gl_Position; };"));
}

TEST(glslAdapt, WarningDirectivesAreBlanked) {
    const std::string adapted =
        adapt(V, "#version 330\n#ifdef A\n# warning two \\\nlines\n#endif\nint a;\n", bare());
    EXPECT_THAT(adapted, AllOf(Not(HasSubstr("warning")), Not(HasSubstr("two")),
                               Not(HasSubstr("lines")), HasSubstr("#endif\nint a;\n")));
}

TEST(glslAdapt, InterpolationGoesAheadOfDirectionWhereTheOrderMatters) {
    const std::string text =
        "\nout flat uint a;\nin\tcentroid float b; // out flat\nout float c;\n";
    EXPECT_THAT(adapt(V, "#version 330" + text, bare()),
                EndsWith("\nflat out uint a;\ncentroid\tin float b; // out flat\nout float c;\n"));
    EXPECT_THAT(adapt(V, "#version 420" + text, bare()), EndsWith(text));
    EXPECT_THAT(adapt(V, "#version 330" + text, compatibility()), EndsWith(text));
}

// -------------------------------------------------------------------------------------------------

class glslAdaptGeometry : public testing::TestWithParam<TextCase> {};

TEST_P(glslAdaptGeometry, ArraysOfTheExtensionBecomeThoseOfTheLanguage) {
    EXPECT_THAT(adapt(G, "#version 130\n" + GetParam().from + "\n", bare()),
                EndsWith("\n" + GetParam().to + "\n"));
}

INSTANTIATE_TEST_SUITE_P(
    All, glslAdaptGeometry,
    testing::Values(TextCase{"Count", "i < gl_VerticesIn;", "i < gl_in.length();"},
                    TextCase{"Position", "gl_Position = gl_PositionIn[i];",
                             "gl_Position = gl_in[i].gl_Position;"},
                    TextCase{"Expression", "gl_FrontColorIn[a[i] + f(b[1])]",
                             "gl_in[a[i] + f(b[1])].gl_FrontColor"},
                    TextCase{"Nested", "gl_PointSizeIn[int(gl_PointSizeIn[0])]",
                             "gl_in[int(gl_in[0].gl_PointSize)].gl_PointSize"},
                    TextCase{"Array", "gl_TexCoordIn[i][0]", "gl_in[i].gl_TexCoord[0]"},
                    TextCase{"Swizzle", "gl_PositionIn [ 0 ].xyz", "gl_in [ 0 ].gl_Position.xyz"},
                    TextCase{"OverLines", "gl_PositionIn[\n0]", "gl_in[\n0].gl_Position"},
                    TextCase{"InAMacro", "#define P(i) gl_PositionIn[i]",
                             "#define P(i) gl_in[i].gl_Position"},
                    TextCase{"PrimitiveNumberStays", "gl_PrimitiveIDIn", "gl_PrimitiveIDIn"},
                    TextCase{"WithoutIndexStays", "gl_PositionIn;", "gl_PositionIn;"},
                    TextCase{"UnfinishedIndexStays", "gl_PositionIn[0", "gl_PositionIn[0"},
                    TextCase{"CommentsStay", "/* gl_PositionIn[0] */", "/* gl_PositionIn[0] */"}),
    caseName);

TEST(glslAdapt, GeometryLayoutIsAddedWhereTheTextHasNone) {
    AdaptOptions options = bare();
    options.geometryInput = GeometryInput::LinesAdjacency;
    options.geometryOutput = GeometryOutput::TriangleStrip;
    options.maxVertices = 8;
    const std::string both = "layout(lines_adjacency) in; "
                             "layout(triangle_strip, max_vertices = 8) out; \n#line ";
    EXPECT_THAT(adapt(G, "#version 130\nvoid main(){}\n", options), HasSubstr(both));
    // The number of views is no primitive.
    EXPECT_THAT(adapt(G, "#version 450\nlayout(num_views = 2) in;\n", options), HasSubstr(both));

    const std::string in = adapt(G, "#version 450\nlayout(lines) in;\nvoid main(){}\n", options);
    EXPECT_THAT(in, AllOf(Not(HasSubstr("adjacency")), HasSubstr("max_vertices = 8) out;")));
    const std::string out = adapt(
        G, "#version 450\nlayout ( points , max_vertices = 1 ) out ;\nvoid main(){}\n", options);
    EXPECT_THAT(out, AllOf(HasSubstr("layout(lines_adjacency) in;"), Not(HasSubstr("= 8"))));
    EXPECT_THAT(adapt(G, "#version 450\n/* layout(lines) in; */\nvoid main(){}\n", options),
                HasSubstr(both));
    EXPECT_THAT(adapt(G, "#version 450\nvoid main(){}\n", bare()), Not(HasSubstr("layout")));
}

TEST(glslAdapt, EveryGeometryTypeHasItsWord) {
    AdaptOptions options = bare();
    std::string words;
    for (int i = 1; i <= 5; ++i) {
        options.geometryInput = static_cast<GeometryInput>(i);
        options.geometryOutput = static_cast<GeometryOutput>(1 + (i - 1) % 3);
        const std::string text = adapt(G, "#version 450\nint a;\n", options);
        const std::size_t begin = text.find("layout");
        words += text.substr(begin, text.find('\n', begin) - begin) + "\n";
    }
    EXPECT_EQ(words,
              "layout(points) in; layout(points, max_vertices = 64) out; \n"
              "layout(lines) in; layout(line_strip, max_vertices = 64) out; \n"
              "layout(lines_adjacency) in; layout(triangle_strip, max_vertices = 64) out; \n"
              "layout(triangles) in; layout(points, max_vertices = 64) out; \n"
              "layout(triangles_adjacency) in; layout(line_strip, max_vertices = 64) out; \n");
}

// -------------------------------------------------------------------------------------------------

struct PlaceCase {
    std::string name;
    std::string text;
    std::string before; // the line that the declarations stand ahead of
};

class glslAdaptDeclarations : public testing::TestWithParam<PlaceCase> {};

TEST_P(glslAdaptDeclarations, StandAheadOfAllCodeAndBehindExtensions) {
    AdaptOptions options = bare();
    options.geometryInput = GeometryInput::Points;
    const auto lines = splitLines(adapt(G, "#version 330\n" + GetParam().text, options));
    const auto declared = std::find(lines.begin(), lines.end(), "layout(points) in; ");
    ASSERT_NE(declared, lines.end());
    ASSERT_GT(lines.end() - declared, 1);
    if (GetParam().before.empty())
        EXPECT_EQ(lines.end() - declared, 1 + 0) << "expected at the end";
    else
        EXPECT_EQ(*(declared + 2), GetParam().before);
}

INSTANTIATE_TEST_SUITE_P(
    All, glslAdaptDeclarations,
    testing::Values(
        PlaceCase{"FirstCode", "\n// c\n#define A\nint a;\nint b;\n", "int a;"},
        PlaceCase{"GuardAroundCode", "#ifndef HAVE_A\n#define HAVE_A\nint a;\n#endif\nint b;\n",
                  "#ifndef HAVE_A"},
        PlaceCase{"OutermostGuard", "#if A\n#if B\nint a;\n#endif\n#endif\n", "#if A"},
        PlaceCase{"OpenGuard", "#if A\n#if B\nint a;\n", "#if A"},
        PlaceCase{"GuardWithoutCode", "#if A\n#define B\n#endif\nint a;\n", "int a;"},
        PlaceCase{"GuardWithExtensionAndCode",
                  "#if A\n#extension GL_X : require\nlayout(num_views = 2) in;\n#endif\nint a;\n",
                  "int a;"},
        PlaceCase{"BehindExtensions",
                  "#if A\n#extension GL_X : enable\n#endif\n#if B\nint a;\n#endif\n", "#if B"},
        PlaceCase{"StrayEndif", "#endif\nint a;\n", "int a;"},
        PlaceCase{"CodeBehindAComment", "/* x\n y */ int a;\n", "/* x"}),
    caseName);

TEST(glslAdapt, DeclarationsStandInTextWithoutCode) {
    AdaptOptions options = bare();
    options.geometryInput = GeometryInput::Points;
    EXPECT_THAT(adapt(G, "", options), EndsWith("\nlayout(points) in; \n"));
    EXPECT_THAT(adapt(G, "// no line end", options),
                EndsWith("// no line end\nlayout(points) in; \n"));
}

TEST(glslAdapt, CountGoesOnBehindDeclarationsWhateverLineDirectiveWasInEffect) {
    AdaptOptions options = bare();
    options.geometryInput = GeometryInput::Points;
    // Declarations go on the line of the code, or ahead of the condition around it.
    for (const auto& [version, isGuarded] :
         {std::pair(150L, false), {330L, false}, {150L, true}, {330L, true}}) {
        const std::string text = "#version " + std::to_string(version) +
                                 "\n"
                                 "#ifdef A\n"
                                 "#line 100 \"a\"\n"
                                 "#endif\n"
                                 "#ifdef B\n"
                                 "#line 200 \"b\"\n"
                                 "#endif\n" +
                                 (isGuarded ? "#ifndef C\nint here;\n#endif\n" : "int here;\n");
        const std::string adapted = adapt(G, text, options);
        const long languageVersion = version, guards = isGuarded ? 1 : 0;
        const auto expectAt = [&](std::set<std::string> defined, long number) {
            EXPECT_THAT(
                at(numberedLines(adapted, languageVersion, std::move(defined)), number + guards),
                Contains(EndsWith("int here;")))
                << adapted;
        };
        expectAt({}, 8);
        expectAt({"A"}, 2000104);
        expectAt({"B"}, 3000201);
        expectAt({"A", "B"}, 3000201);
    }
}

// -------------------------------------------------------------------------------------------------

TEST(glslAdapt, CoreContextGetsOwnInputsAndUniforms) {
    const std::string adapted =
        adapt(V,
              "#version 150 compatibility\n"
              "void main() { gl_Position = ftransform() + gl_ModelViewMatrix * gl_Vertex;\n"
              "gl_FrontColor = vec4(gl_NormalMatrix * gl_Normal, gl_MultiTexCoord1.x); }\n",
              core());
    EXPECT_THAT(
        adapted,
        HasSubstr("layout(location = 0) in vec4 zelk_b_Vertex; "
                  "layout(location = 2) in vec3 zelk_b_Normal; "
                  "layout(location = 9) in vec4 zelk_b_MultiTexCoord1; "
                  "uniform mat4 zelk_b_ModelViewMatrix; "
                  "uniform mat4 zelk_b_ModelViewProjectionMatrix; "
                  "uniform mat3 zelk_b_NormalMatrix; "
                  "out vec4 zelk_b_vertexFrontColor; "
                  "vec4 zelk_b_transform() { return zelk_b_ModelViewProjectionMatrix * "
                  "zelk_b_Vertex; } \n#line 1\n"
                  "void main() { gl_Position = zelk_b_transform() + zelk_b_ModelViewMatrix * "
                  "zelk_b_Vertex;\nzelk_b_vertexFrontColor = vec4(zelk_b_NormalMatrix * "
                  "zelk_b_Normal, zelk_b_MultiTexCoord1.x); }\n"));
    EXPECT_THAT(adapted, StartsWith("#version 150 core\n"));
    EXPECT_THAT(adapted, HasSubstr("#extension GL_ARB_explicit_attrib_location : enable\n"));
}

TEST(glslAdapt, CompatibilityContextKeepsFixedNames) {
    const std::string text =
        "void main() { gl_Position = ftransform(); gl_FrontColor = gl_Color; }\n";
    EXPECT_THAT(adapt(V, "#version 130\n" + text, bare()), EndsWith("\n" + text));
}

TEST(glslAdapt, MembersOfUsersAreNoFixedNames) {
    EXPECT_THAT(adapt(F, "#version 330\nvoid main() { a.gl_Color = b . gl_FragColor; }\n", core()),
                EndsWith("\nvoid main() { a.gl_Color = b . gl_FragColor; }\n"));
}

TEST(glslAdapt, CoreFragmentStageGetsOwnOutput) {
    const std::string adapted =
        adapt(F, "#version 130\nvoid main() { gl_FragColor = gl_Color; }\n", core());
    EXPECT_THAT(adapted,
                HasSubstr("layout(location = 0) out vec4 zelk_b_FragColor; "
                          "in vec4 zelk_b_vertexFrontColor; \n#line 1\n"
                          "void main() { zelk_b_FragColor = zelk_b_vertexFrontColor; }\n"));
    EXPECT_THAT(adapt(F, "#version 130\nvoid main() { gl_FragData[1] = vec4(1); }\n", core()),
                HasSubstr("out vec4 zelk_b_FragData[gl_MaxDrawBuffers]; "));
}

const std::string defaultVertex =
    "#version 130\nvoid main(void)\n{\tgl_Position = ftransform();}\n";
const std::string defaultGeometry =
    "#version 130\nvoid main() { for(int i=0; i<gl_VerticesIn; i++) {"
    " gl_FrontColor = gl_FrontColorIn[i];"
    " gl_Position = gl_PositionIn[i]; EmitVertex(); } }\n";
const std::string defaultFragment =
    "#version 130\nvoid main (void)\n{\n\tgl_FragColor = gl_Color;\n}\n";

TEST(glslAdapt, VertexStageHandsOnItsColorWhenALaterStageReadsIt) {
    const auto program = adaptProgram({{V, defaultVertex}, {F, defaultFragment}}, bare());
    EXPECT_EQ(program.stages[0].text,
              "#version 130\n#line 1000000\n#define main zelk_b_main\n#line 0\n            \n"
              "void main(void)\n{\tgl_Position = ftransform();}\n"
              "\n#line 1000000\n#undef main\n"
              "void main() { gl_FrontColor = gl_BackColor = gl_Color; zelk_b_main(); }\n");
    EXPECT_THAT(program.notes, ElementsAre("vertex: main wrapped, it hands on gl_Color"));

    const auto three =
        adaptProgram({{V, defaultVertex}, {G, defaultGeometry}, {F, defaultFragment}}, bare());
    EXPECT_THAT(three.stages[0].text, HasSubstr("gl_FrontColor = gl_BackColor = gl_Color;"));
    const auto members = adaptProgram(
        {{V, defaultVertex}, {G, "#version 150\nvoid main() { a = gl_in[0].gl_FrontColor; }\n"}},
        bare());
    EXPECT_THAT(members.stages[0].text, HasSubstr("gl_FrontColor = gl_BackColor = gl_Color;"));
}

TEST(glslAdapt, VertexStageIsNotWrappedWithoutNeed) {
    const std::string writes = "#version 130\nvoid main() { gl_FrontColor = vec4(1); }\n";
    const std::string reads = "#version 130\nvoid main() { f(gl_Color); }\n";
    const std::string reads0 = "#version 130\nvoid main() { /* gl_Color */ }\n";
    const auto vertexOf = [](std::vector<StageText> stages) {
        return adaptProgram(stages, bare()).stages[0].text;
    };
    EXPECT_THAT(vertexOf({{V, writes}, {F, reads}}), Not(HasSubstr("zelk_b_main")));
    EXPECT_THAT(vertexOf({{V, defaultVertex}, {F, reads0}}), Not(HasSubstr("zelk_b_main")));
    EXPECT_THAT(vertexOf({{V, defaultVertex}}), Not(HasSubstr("zelk_b_main")));
    EXPECT_THAT(vertexOf({{V, defaultVertex}, {G, "#version 330\nvoid main(){}\n"}, {F, reads}}),
                Not(HasSubstr("zelk_b_main")));
}

TEST(glslAdapt, CoreStagesAgreeOnWhatGoesBetweenThem) {
    const auto two = adaptProgram({{V, defaultVertex}, {F, defaultFragment}}, core());
    EXPECT_THAT(two.stages[0].text,
                AllOf(HasSubstr("layout(location = 3) in vec4 zelk_b_Color; "),
                      HasSubstr("out vec4 zelk_b_vertexFrontColor; "),
                      HasSubstr("{ zelk_b_vertexFrontColor = zelk_b_Color; zelk_b_main(); }")));
    EXPECT_THAT(two.stages[1].text, HasSubstr("in vec4 zelk_b_vertexFrontColor; "));

    AdaptOptions options = core();
    options.geometryInput = GeometryInput::Triangles;
    options.geometryOutput = GeometryOutput::TriangleStrip;
    const auto three =
        adaptProgram({{V, defaultVertex}, {G, defaultGeometry}, {F, defaultFragment}}, options);
    EXPECT_THAT(three.stages[1].text,
                AllOf(HasSubstr("in vec4 zelk_b_vertexFrontColor[]; "),
                      HasSubstr("out vec4 zelk_b_geometryFrontColor; "),
                      HasSubstr("zelk_b_geometryFrontColor = zelk_b_vertexFrontColor[i];"),
                      HasSubstr("gl_Position = gl_in[i].gl_Position;"),
                      HasSubstr("i<gl_in.length()")));
    EXPECT_THAT(three.stages[2].text, HasSubstr("in vec4 zelk_b_geometryFrontColor; "));

    const auto extra =
        adaptProgram({{V, defaultVertex},
                      {F, "#version 130\nvoid main() { f(gl_TexCoord[0], gl_FogFragCoord); }\n"}},
                     core());
    EXPECT_THAT(extra.stages[0].text, AllOf(HasSubstr("out float zelk_b_vertexFogFragCoord; "),
                                            HasSubstr("out vec4 zelk_b_vertexTexCoord[8]; ")));
}

TEST(glslAdapt, CoreGeometryStageReadsMembersFromOwnArrays) {
    EXPECT_THAT(
        adapt(G, "#version 150\nvoid main() { a = gl_in[b[0]] . gl_FrontColor.x + gl_in[1]; }\n",
              core()),
        HasSubstr("a = zelk_b_vertexFrontColor[b[0]]  .x + gl_in[1]; }"));
}

// -------------------------------------------------------------------------------------------------

TEST(glslAdapt, LayeredViewsWriteTheLayer) {
    AdaptOptions options = bare();
    options.pass = Pass::Layers;
    options.extensions = {"GL_ARB_shader_viewport_layer_array"};
    const std::string text = "#version 410\nvoid main() {}\n";
    EXPECT_THAT(adapt(V, text, options),
                AllOf(HasSubstr("#extension GL_ARB_shader_viewport_layer_array : enable\n"),
                      HasSubstr("#define main zelk_b_main\n"),
                      EndsWith("void main() { zelk_b_main(); gl_Layer = gl_InstanceID; }\n")));
    EXPECT_THAT(adapt(F, text, options),
                AllOf(HasSubstr("#extension GL_ARB_fragment_layer_viewport : enable\n"),
                      HasSubstr("#define zelk_getViewID() uint(gl_Layer + zelk_b_view)\n"),
                      Not(HasSubstr("zelk_b_main"))));
    EXPECT_THAT(adapt(F, "#version 430\n", options), Not(HasSubstr("#extension")));

    const auto program = adaptProgram({{V, text}, {G, text}}, options);
    EXPECT_THAT(program.stages[0].text, Not(HasSubstr("gl_Layer")));
    EXPECT_THAT(program.stages[1].text,
                HasSubstr("#define EmitVertex() (gl_Layer = "
                          "int(zelk_getViewID()) - zelk_b_view, EmitVertex())\n"));
    options.extensions = {};
    EXPECT_THAT(adapt(V, text, options), HasSubstr("GL_AMD_vertex_shader_layer"));
}

TEST(glslAdapt, LayeredViewsMayBeASingleOne) {
    AdaptOptions options = bare();
    options.pass = Pass::Layers;
    const std::string text = "#version 410\nint view = gl_InstanceID;\nvoid main() {}\n";
    EXPECT_THAT(adapt(V, text, options),
                AllOf(HasSubstr("uniform int zelk_b_view;"),
                      HasSubstr("int view = (gl_InstanceID + zelk_b_view);\n")));
    EXPECT_THAT(adapt(F, text, options), HasSubstr("int view = gl_InstanceID;\n"));
}

TEST(glslAdapt, ViewsOfTheExtensionMayBeASingleOne) {
    AdaptOptions options = bare();
    options.pass = Pass::Extension;
    const std::string text = "#version 410\nvoid main() {}\n";
    EXPECT_THAT(adapt(V, text, options),
                AllOf(HasSubstr("uniform int zelk_b_view;"),
                      EndsWith("void main() { zelk_b_main(); if (zelk_b_view > 0 && "
                               "int(gl_ViewID_OVR) + 1 != zelk_b_view) "
                               "gl_Position = vec4(2.0, 2.0, 2.0, 1.0); }\n")));
    EXPECT_THAT(adapt(F, text, options), Not(HasSubstr("zelk_b_")));
}

// -------------------------------------------------------------------------------------------------

TEST(glslAdapt, TextEndsAtItsFirstNul) {
    EXPECT_THAT(adapt(V, std::string("#version 330\nint a;\0int b;\n", 27), bare()),
                EndsWith("\nint a;"));
}

TEST(glslAdapt, LineEndsOfAllKindsCount) {
    for (const std::string end : {"\n", "\r", "\r\n", "\n\r"}) {
        const std::string text = "int a;" + end + "#version 330" + end + "int b;" + end;
        EXPECT_THAT(adapt(V, text, bare()), StartsWith("\n#version 330 compatibility\n"));
        EXPECT_THAT(adapt(V, text, bare()), EndsWith(end + "int b;" + end));
    }
}

TEST(glslAdapt, WrappingMainWorksBehindABackslashAndWithoutLineEnd) {
    AdaptOptions options = bare();
    options.pass = Pass::Layers;
    EXPECT_THAT(adapt(V, "#version 330\nint a; \\", options), HasSubstr("int a; \\\n\n#line"));
    EXPECT_THAT(adapt(V, "#version 330\n// end", options),
                HasSubstr("// end\nuniform int zelk_b_view; \n\n#line"));
}

TEST(glslAdapt, MalformedTextComesThrough) {
    const std::vector<std::string> texts{
        "/*",
        "/",
        "//",
        "//\\",
        "#",
        "#\n#\n",
        "\\\n\\\n",
        "#version",
        "#extension",
        "#line",
        "#if#line",
        "#endif\n#endif\n",
        "[[[[((((",
        "))))]]]]",
        "gl_in[",
        "gl_in[0].",
        "layout(",
        "layout(,,,,)",
        "out gl_PerVertex",
        "out gl_PerVertex {",
        "out gl_PerVertex {}",
        "out gl_PerVertex {} a[",
        "gl_PositionIn[gl_PositionIn[",
        "\xff\xfe\x80",
        "#version \xff",
        "#extension :::",
        "#extension GL_X",
        "#line 1 \"",
        "#line \"\" 1",
        "#line /* 5",
        "\"unclosed",
        "set=",
        "layout(set=,)",
        "1e5gl_Color",
        "in flat",
        "out",
        "#define",
        "#define main",
    };
    for (const Profile profile : {Comp, Core})
        for (const Stage stage : {V, G, F, C})
            for (const std::string& text : texts) {
                AdaptOptions options = bare(profile);
                options.pass = Pass::Layers;
                options.geometryInput = GeometryInput::Points;
                options.geometryOutput = GeometryOutput::Points;
                EXPECT_THAT(adapt(stage, text, options), HasSubstr("#line")) << text;
            }
}

TEST(glslAdapt, RandomTokensComeThroughAndTheResultIsTheSameTwice) {
    const std::vector<std::string> tokens{
        "#version 130",
        "#version 450 core",
        "#extension GL_X : enable",
        "#line 5 \"f\"",
        "#line f 5",
        "#if A#line 3 \"x\"",
        "#else",
        "#endif",
        "#warning w",
        "#define M gl_Color",
        "/*",
        "*/",
        "//",
        "\\\n",
        "\n",
        "\r",
        "\r\n",
        " ",
        "\t",
        "\"",
        "layout",
        "(",
        ")",
        "[",
        "]",
        "{",
        "}",
        ",",
        ";",
        ".",
        "=",
        "set",
        "0",
        "std140",
        "out",
        "in",
        "flat",
        "gl_PerVertex",
        "gl_in",
        "gl_FrontColor",
        "gl_PositionIn",
        "gl_FrontColorIn",
        "gl_Color",
        "gl_FragColor",
        "ftransform",
        "main",
        "lines",
        "max_vertices",
        "\xc3",
        std::string(1, '\0'),
    };
    std::mt19937 random(20240517);
    std::uniform_int_distribution<std::size_t> pick(0, tokens.size() - 2);
    for (int round = 0; round < 3000; ++round) {
        std::vector<StageText> stages;
        for (const Stage stage : {V, G, F}) {
            std::string text;
            const std::size_t count = random() % 60;
            for (std::size_t i = 0; i < count; ++i) text += tokens[pick(random)];
            stages.push_back({stage, text});
        }
        AdaptOptions options = round % 2 == 0 ? core() : bare();
        options.pass = round % 3 == 0 ? Pass::Layers : Pass::EachView;
        options.geometryInput = GeometryInput::Lines;
        const auto once = adaptProgram(stages, options);
        const auto again = adaptProgram(stages, options);
        for (std::size_t i = 0; i < stages.size(); ++i)
            ASSERT_EQ(once.stages[i].text, again.stages[i].text);
    }
}

} // namespace
