// The texts that reach the backend, byte by byte, as the files in the folder `composed` have them.
// POLYPIA_WRITE_COMPOSED=1 in the environment writes those anew, to be read before they are kept.

#include <Polypia/Programmable.hpp>

#include "RecordingContext.hpp"
#include "shaderFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <ostream>
#include <string>

namespace {

using Recorded = Keel::StrongPtr<RecordingProgram, Mirk::Polyp::Tentacle>;

/// A program and what is beside it, by the name of its files in the folder.
struct Composition {
    const char* name;
    const char* version;
    bool hasGeometry;
    void (*prepare)(ToldProgrammable&, Mirk::VRenderContext&) = nullptr;
};
std::ostream& operator<<(std::ostream& out, const Composition& composition) {
    return out << composition.name;
}

void overrideMainCode(ToldProgrammable&, Mirk::VRenderContext& context) {
    context.ShaderFileOverrides = true;
    writeFile("N.vert", "void main() { gl_Position = vec4(0.25); } // of a file");
    writeFile("N.frag", "R\"glsl(out vec4 color;\nvoid main() { color = vec4(1.0); }\n)glsl\"\n");
    writeFile("N_geom.glsl", "void main() { EmitVertex(); } // of a file\n");
}

void overrideStages(ToldProgrammable&, Mirk::VRenderContext& context) {
    context.ShaderFileOverrides = true;
    writeFile("N.vert.glsl", "#version 330\nvoid main() {}");
    writeFile("N.geom.glsl", "#version 330\n/* of a file */\n");
}

const char* const includingText = "uniform vec4 tint;\n"
                                  "#include \"part\"%\n"
                                  "void main() { color = part(tint); }%\n"
                                  "#include <none>%\n";

/// With the text's line ends, "%" being what stands ahead of a line feed.
void include(ToldProgrammable& shader, const std::string& end) {
    writeFile("part", "out vec4 color;" + end + "\nvec4 part(vec4 c) { return c; }");
    writeFile("par", "/* the last letter is lost */\n");
    shader.fragment = includingText;
    for (std::size_t at = shader.fragment.find('%'); at != std::string::npos;
         at = shader.fragment.find('%')) {
        shader.fragment.replace(at, 1, end);
    }
}

constexpr Composition compositions[] = {
    {"130", "130", true},
    {"330-core", "330 core", true},
    {"330-compatibility", "330 compatibility", true},
    {"450-core", "450 core", true},
    {"450-compatibility", "450 compatibility", true},
    {"plain", "130", false},
    {"files-of-main-code", "330 core", true, overrideMainCode},
    {"files-of-stages", "330 core", true, overrideStages},
    {"includes-lf", "450 core", false,
     [](ToldProgrammable& shader, Mirk::VRenderContext&) { include(shader, ""); }},
    {"includes-crlf", "450 core", false,
     [](ToldProgrammable& shader, Mirk::VRenderContext&) { include(shader, "\r"); }},
    {"viewports", "450 core", true,
     [](ToldProgrammable& shader, Mirk::VRenderContext&) { shader.enableViewportArray(true); }},
    {"viewports-of-geometry", "330 compatibility", true,
     [](ToldProgrammable& shader, Mirk::VRenderContext&) { shader.enableViewportArray(false); }},
};

class ComposedText : public testing::TestWithParam<Composition> {
protected:
    ComposedText() { context.basin.platformDefines = "#define ZELK_GL_VENDOR_Recorder 1\n"; }

    /// Compares with the file of that name, or writes it.
    static void compare(const std::string& name, const RecordingProgram::Stage& stage) {
        ASSERT_EQ(stage.code.size(), 1U);
        const std::string file = POLYPIA_SOURCE "/tests/Polypia/composed/" + name;
        if (std::getenv("POLYPIA_WRITE_COMPOSED") != nullptr) {
            writeFile(file, stage.code.front());
            return;
        }
        EXPECT_TRUE(std::filesystem::exists(file)) << file;
        EXPECT_EQ(stage.code.front(), fileContent(file)) << file;
    }

    const ShaderFolder folder;
    RecordingContext context;
    ToldProgrammable shader;
};

TEST_P(ComposedText, OfStagesIsThatOfTheFiles) {
    const Composition& composition = GetParam();
    shader.setGLSLVersion(composition.version);
    if (composition.hasGeometry) shader.buildGeometry();
    shader.vertexPrefix = "/* prefix of the vertex stage */\n";
    shader.fragmentPrefix = "/* prefix of the fragment stage */\n";
    shader.geometryPrefix = "/* prefix of the geometry stage */\n";
    if (composition.prepare != nullptr) composition.prepare(shader, context);
    testing::internal::CaptureStdout();
    const Recorded program(shader.CompileShader(context, "N", {}, {}, "/* local vertex */\n",
                                                "/* local geometry */\n",
                                                "/* local fragment */\n"));
    testing::internal::GetCapturedStdout();
    const std::string name = composition.name;
    compare(name + ".vert", program->vertex);
    compare(name + ".frag", program->fragment);
    if (composition.hasGeometry) compare(name + ".geom", program->geometry);
}

INSTANTIATE_TEST_SUITE_P(Programs, ComposedText, testing::ValuesIn(compositions),
                         [](const testing::TestParamInfo<Composition>& test) {
                             std::string name = test.param.name;
                             std::replace(name.begin(), name.end(), '-', '_');
                             return "Of_" + name;
                         });

TEST_F(ComposedText, OfComputeStagesIsThatOfTheFiles) {
    writeFile("part", "layout(local_size_x = 1) in;\n");
    const Recorded program(
        shader.getComputeShader(context, "N", "#version 430\n#include \"part\"\r\nvoid main() {}"));
    compare("built-in.comp", program->compute);
    writeFile("N.comp", "#version 450 core\n// of a file");
    testing::internal::CaptureStderr();
    const Recorded replaced(shader.getComputeShader(context, "N", "#version 430\n"));
    testing::internal::GetCapturedStderr();
    compare("file.comp", replaced->compute);
}

} // namespace
