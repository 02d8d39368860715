// What an offline validator says of the text of LayeredMultiViews, in each of its ways.

#include <Polypia/LayeredMultiViews.hpp>

#include <gmock/gmock.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <memory>
#include <sstream>
#include <string>
#include <string_view>
#include <utility>

using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::TestParamInfo;
using testing::Values;

namespace {

/// A way to draw the views, by what a backend defines and how many views its framebuffer takes.
struct Way {
    const char* name;
    const char* defines;
    unsigned outputViews = 1;
};

constexpr Way passes{"OnePassForEachView", ""};
constexpr Way layers{"Layers", "#define ZELK_DO_MULTIVIEW_VIA_LAYER_ID 1\n"};
constexpr Way extension{"Extension", "#define ZELK_HAVE_multiview2 1\n", 2};
constexpr Way switchedOff{"SwitchedOff", "", 2};

struct StageText {
    std::string_view suffix; ///< of files of this stage
    const char* define;
    const char* main;
};

constexpr StageText vertexStage{
    "vert", "#define VERTEX_SHADER    1\n",
    "void main() { zelk_setViewID(); gl_Position = zelk_ftransform(vec4(1.0)); }\n"};
constexpr StageText geometryStage{
    "geom", "#define GEOMETRY_SHADER  1\n",
    "layout(points) in;\nlayout(points, max_vertices = 1) out;\n"
    "void main() { gl_Position = multiview_transform(mkRelativeVertex(vec4(1.0))); EmitVertex(); "
    "}\n"};
/// Calls all that no other one does.
constexpr StageText fragmentStage{
    "frag", "#define FRAGMENT_SHADER  1\n",
    "out vec4 color;\n"
    "void main() {\n"
    "    RelativeVertex v = mkRelativeVertex(vec4(1.0));\n"
    "    uint i = zelk_getViewID();\n"
    "    TranslatedView t = getTranslatedView(i), u = getTranslatedView();\n"
    "    vec4 sum = WorldVertex(v) + vec4(WorldVertex3(v), WorldVertexHeight(v));\n"
    "    sum.xyz += TranslationVector + t.Unused.xyz + u.Translation.xyz;\n"
    "    sum += getCameraObserverRelativeToVertexOffset() +\n"
    "           getCameraLookAtRelativeToVertexOffset();\n"
    "    sum += multiview_transform_view_eye_to_screen(i, sum) +\n"
    "           multiview_transform_view_eye_to_screen(sum);\n"
    "    sum += multiview_transform_view_unstable(i, sum) + multiview_transform_unstable(sum);\n"
    "    sum += multiview_transform_untranslated_view(i, sum) +\n"
    "           eye_multiview_transform_untranslated_view(i, sum) +\n"
    "           multiview_transform_untranslated(sum);\n"
    "    sum += multiview_transform_view(i, v) + eye_multiview_transform_view(i, v) +\n"
    "           eye_multiview_transform_view(v) + multiview_transform(v) + zelk_ftransform(sum);\n"
    "    sum.xyz += get_viewdir_from_modelview_matrix(views[i].FullModelViewMatrix) +\n"
    "               multiview_get_viewdir(i) + get_viewdir() + zelk_WorldPosition(sum);\n"
    "    sum += zelk_transform_vertex_WorldToEye(sum, theVertexOffset) +\n"
    "           zelk_transform_vertex_WorldToEye(sum, theVertexOffset.xyz);\n"
    "    color = sum;\n"
    "}\n"};

class MultiViewText : public testing::Test {
protected:
    void SetUp() override {
        if (std::string(GLSLANG_VALIDATOR).empty()) {
            GTEST_SKIP() << "glslangValidator was not there when the build was configured "
                            "(Debian: glslang-tools)";
        }
        std::string pattern = testing::TempDir() + "/multiViewTextXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
    }
    void TearDown() override {
        if (!folder.empty()) std::filesystem::remove_all(folder);
    }

    static std::string text(const std::string& version, const Way& way, const StageText& stage,
                            bool defineLayout = true) {
        Mirk::LayeredMultiViews views;
        views.OutputViews = way.outputViews;
        return "#version " + version + "\n" + stage.define + way.defines +
               views.defineMultiView(2, defineLayout, 0) + stage.main;
    }
    /// Empty if there is nothing to complain about.
    std::string validate(const std::string& code, const StageText& stage,
                         const std::string& options = "") const {
        const std::string file = folder / ("text." + std::string(stage.suffix));
        std::ofstream(file) << code;
        const std::string command =
            std::string(GLSLANG_VALIDATOR) + " " + options + " '" + file + "' 2>&1";
        const std::unique_ptr<std::FILE, int (*)(std::FILE*)> output(popen(command.c_str(), "r"),
                                                                     pclose);
        std::string answer;
        for (int c = std::fgetc(output.get()); c != EOF; c = std::fgetc(output.get())) {
            answer += static_cast<char>(c);
        }
        return answer;
    }

    /// The text as the preprocessor leaves it, without blanks.
    std::string preprocessed(const std::string& code, const StageText& stage) const {
        std::string left = validate(code, stage, "-E");
        std::erase(left, ' ');
        return left;
    }

    std::filesystem::path folder;
};

struct Valid {
    const char* version;
    Way way;
    StageText stage;
};

std::string wayStageAndVersion(const TestParamInfo<Valid>& row) {
    return std::string(row.param.way.name) + "_" + std::string(row.param.stage.suffix) + "_" +
           std::string(row.param.version).substr(0, 3);
}

class ValidMultiViewText : public MultiViewText, public testing::WithParamInterface<Valid> {};

TEST_P(ValidMultiViewText, IsTakenWithoutAWord) {
    const auto& [version, way, stage] = GetParam();
    EXPECT_THAT(validate(text(version, way, stage), stage), IsEmpty());
    EXPECT_THAT(validate(text(version, way, stage, false), stage), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Ways, ValidMultiViewText,
    Values(Valid{"140", passes, vertexStage}, Valid{"140", passes, fragmentStage},
           Valid{"330", passes, vertexStage}, Valid{"330", passes, geometryStage},
           Valid{"330", passes, fragmentStage}, Valid{"450 core", passes, vertexStage},
           Valid{"450 core", passes, geometryStage}, Valid{"450 core", passes, fragmentStage},
           Valid{"450 core", layers, vertexStage}, Valid{"450 core", layers, geometryStage},
           Valid{"450 core", layers, fragmentStage}, Valid{"450 core", extension, vertexStage},
           // In geometry stages the validator does not know the extension.
           Valid{"450 core", extension, fragmentStage}, Valid{"450 core", switchedOff, vertexStage},
           Valid{"450 core", switchedOff, geometryStage},
           Valid{"450 core", switchedOff, fragmentStage}),
    wayStageAndVersion);

TEST_F(MultiViewText, TakesTheViewFromTheUniformForAFramebufferOfOneView) {
    const Way way{"", "#define ZELK_HAVE_multiview2 1\n", 1};
    const std::string left = preprocessed(text("450 core", way, vertexStage), vertexStage);
    EXPECT_THAT(left, HasSubstr("returnuint(zelk_CurrentViewID);"));
    EXPECT_THAT(left, Not(HasSubstr("#extension")));
    EXPECT_THAT(left, Not(HasSubstr("num_views")));
}

TEST_F(MultiViewText, TakesTheViewFromTheExtensionForAFramebufferOfSeveral) {
    for (const StageText& stage : {vertexStage, fragmentStage, geometryStage}) {
        const std::string left = preprocessed(text("450 core", extension, stage), stage);
        EXPECT_THAT(left, HasSubstr("returngl_ViewID_OVR;"));
        EXPECT_THAT(left, Not(HasSubstr("zelk_CurrentViewID")));
        const bool isGeometry = stage.suffix == geometryStage.suffix;
        EXPECT_EQ(left.find("GL_EXT_multiview_tessellation_geometry_shader") != std::string::npos,
                  isGeometry);
        EXPECT_EQ(left.find("GL_OVR_multiview2") != std::string::npos, !isGeometry);
    }
}

TEST_F(MultiViewText, HasTheLayoutInVertexAndGeometryStagesIfAskedFor) {
    for (const StageText& stage : {vertexStage, geometryStage, fragmentStage}) {
        const std::string with = preprocessed(text("450 core", extension, stage), stage);
        const std::string without = preprocessed(text("450 core", extension, stage, false), stage);
        EXPECT_EQ(with.find("layout(num_views=2)in;") != std::string::npos,
                  stage.suffix != fragmentStage.suffix);
        EXPECT_THAT(without, Not(HasSubstr("num_views")));
    }
}

TEST_F(MultiViewText, PrefersLayersToTheExtension) {
    const Way both{"", "#define ZELK_HAVE_multiview2 1\n#define ZELK_DO_MULTIVIEW_VIA_LAYER_ID 1\n",
                   2};
    const std::string left = preprocessed(text("450 core", both, vertexStage), vertexStage);
    EXPECT_THAT(left, HasSubstr("instanceID=uint(gl_InstanceID);"));
    EXPECT_THAT(left, Not(HasSubstr("gl_ViewID_OVR")));
    EXPECT_THAT(left, Not(HasSubstr("#extension")));
    EXPECT_THAT(validate(text("450 core", both, vertexStage), vertexStage), IsEmpty());
}

TEST_F(MultiViewText, TellsWhatAFragmentStageLacksForLayers) {
    EXPECT_THAT(validate(text("330", layers, fragmentStage), fragmentStage),
                HasSubstr("needs version 430 for gl_Layer, or a macro zelk_getViewID()"));
    // As a backend does that enables the extension for it.
    const Way withMacro{"", "#extension GL_ARB_fragment_layer_viewport : enable\n"
                            "#define ZELK_DO_MULTIVIEW_VIA_LAYER_ID 1\n"
                            "#define zelk_getViewID() uint(0)\n"};
    EXPECT_THAT(validate(text("330", withMacro, fragmentStage), fragmentStage),
                Not(HasSubstr("ERROR")));
}

/// The line of the text that a validator's first message, "ERROR: 0:LINE: ...", is about.
std::string complainedLine(const std::string& code, const std::string& complaint) {
    const std::size_t place = complaint.find("0:");
    if (place == std::string::npos) return "";
    const int number = std::atoi(complaint.c_str() + place + 2);
    std::istringstream lines(code);
    std::string line;
    for (int i = 0; i < number; ++i) std::getline(lines, line);
    return line;
}

TEST_F(MultiViewText, WarnsOfTheWayThatItTakesIfAskedTo) {
    const std::string define = "#define ZELK_GLSL_ENABLE_WARNINGS 1\n";
    for (const auto& [way, words] :
         {std::pair{passes, "the uniform zelk_CurrentViewID"}, std::pair{layers, "the instance"},
          std::pair{extension, "GL_OVR_multiview"}}) {
        const std::string defines = define + way.defines;
        const Way warning{"", defines.c_str(), way.outputViews};
        const std::string code = text("450 core", warning, vertexStage);
        // The validator has no #warning and complains of the line, which is how we see it.
        const std::string complaint = validate(code, vertexStage);
        EXPECT_THAT(complaint, HasSubstr("warning"));
        EXPECT_THAT(complainedLine(code, complaint), HasSubstr(words));
        const std::string without = text("450 core", way, vertexStage);
        EXPECT_THAT(validate(without, vertexStage), Not(HasSubstr("warning")));
    }
}

/// The number of the line of a text that begins with `start`.
long lineOf(const std::string& file, const std::string& start) {
    std::ifstream lines(file);
    std::string line;
    for (long number = 1; std::getline(lines, line); ++number) {
        if (line.starts_with(start)) return number;
    }
    return -1;
}

TEST_F(MultiViewText, TellsErrorsInLinesOfItsSources) {
    const std::string enable = "#extension GL_GOOGLE_cpp_style_line_directive : require\n"
                               "#define ZELK_DO_LINE_DIRECTIVE 1\n";
    struct Row {
        const char* planted; ///< a macro that spoils a line
        const char* source;
        const char* line;
    };
    for (const Row& row :
         {Row{"zelk_WorldPosition", "reef/Polypia/MultiViewPrefix.glsl", "vec3 zelk_WorldPosition"},
          Row{"theFrustum", "reef/Polypia/MultiViewStructures.glsl", "    Frustum theFrustum"},
          Row{"NumberOfViews", "reef/Polypia/MultiViewSwitches.glsl", "const int NumberOfViews"}}) {
        const std::string defines = enable + "#define " + row.planted + " 5\n";
        const Way way{"", defines.c_str()};
        const long line = lineOf(std::string(POLYPIA_SOURCE) + "/" + row.source, row.line);
        EXPECT_THAT(
            validate(text("450 core", way, vertexStage), vertexStage),
            HasSubstr("ERROR: " + std::string(row.source) + ":" + std::to_string(line) + ":"));
    }
}

} // namespace
