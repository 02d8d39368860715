#include <PolypiaGL/glslAdapt.hpp>
#include <PolypiaGL/glslLog.hpp>

#include "glFixture.hpp"

#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Mirk;
using GL::Stage;
using GLTest::tryContext;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string header = "#version 130\n\n\n/* prefix */\n"
                           "#ifdef GL_GOOGLE_cpp_style_line_directive\n"
                           "#extension GL_GOOGLE_cpp_style_line_directive : require\n"
                           "#endif\n"
                           "#extension GL_EXT_gpu_shader4 : enable\n"
                           "#if (__VERSION__  <= 140)\n"
                           "#extension GL_ARB_gpu_shader5 : require\n"
                           "#extension GL_ARB_uniform_buffer_object : require\n"
                           "#endif\n";
const std::string vertexText = header + "void main(void)\n{\tgl_Position = ftransform();}\n";
const std::string geometryText =
    "/*** Built from ***/\n" + header +
    "#extension GL_EXT_geometry_shader4 : require\n"
    "void main() { for(int i=0; i<gl_VerticesIn; i++) { gl_FrontColor = gl_FrontColorIn[i];\n"
    "gl_Position = gl_PositionIn[i]; EmitVertex(); } }\n";
const std::string fragmentText = header + "void main (void)\n{\n\tgl_FragColor = gl_Color;\n}\n";

/// Runs in the profile of its parameter.
class GlslDriver : public testing::TestWithParam<GL::Profile> {
protected:
    void SetUp() override {
        EglContext::Options contextOptions;
        contextOptions.profile = GetParam();
        std::string reason;
        context = tryContext(contextOptions, reason);
        if (!context) POLYPIA_NO_CONTEXT(reason);
        context->makeCurrent();
        options.profile = GetParam();
        options.extensions = context->extensions();
    }

    void TearDown() override {
        if (!context) return;
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
        EXPECT_EQ(context->ledger()->report(), "");
    }

    /// Empty if all stages compile and link, else the mapped log.
    std::string build(const std::vector<GL::StageText>& stages) const {
        const GL::AdaptedProgram adapted = GL::adaptProgram(stages, options);
        const GL::ProgramId program = GL::createProgram();
        std::vector<GL::ShaderId> shaders;
        for (const GL::AdaptedStage& stage : adapted.stages) {
            shaders.push_back(GL::createShader(shaderType(stage.stage)));
            const GLuint shader = shaders.back().number();
            const char* text = stage.text.c_str();
            glShaderSource(shader, 1, &text, nullptr);
            glCompileShader(shader);
            GLint isCompiled = GL_FALSE;
            glGetShaderiv(shader, GL_COMPILE_STATUS, &isCompiled);
            std::string log(4096, '\0');
            glGetShaderInfoLog(shader, static_cast<GLsizei>(log.size()), nullptr, log.data());
            if (!isCompiled) return GL::mapCompilerLog(log, adapted.lines, stage.numbering);
            glAttachShader(program.number(), shader);
        }
        glLinkProgram(program.number());
        GLint isLinked = GL_FALSE;
        glGetProgramiv(program.number(), GL_LINK_STATUS, &isLinked);
        if (isLinked) return {};
        std::string log(4096, '\0');
        glGetProgramInfoLog(program.number(), static_cast<GLsizei>(log.size()), nullptr,
                            log.data());
        return GL::mapLinkerLog(log, adapted.lines, "program");
    }

    static GLenum shaderType(Stage stage) {
        switch (stage) {
        case Stage::Vertex:
            return GL_VERTEX_SHADER;
        case Stage::Geometry:
            return GL_GEOMETRY_SHADER;
        case Stage::Fragment:
            return GL_FRAGMENT_SHADER;
        case Stage::Compute:
            break;
        }
        return GL_COMPUTE_SHADER;
    }

    std::unique_ptr<EglContext> context;
    GL::AdaptOptions options;
};

TEST_P(GlslDriver, TakesTheDefaultStages) {
    EXPECT_EQ(build({{Stage::Vertex, vertexText}, {Stage::Fragment, fragmentText}}), "");
    options.geometryInput = GL::GeometryInput::Triangles;
    options.geometryOutput = GL::GeometryOutput::TriangleStrip;
    options.maxVertices = 3;
    EXPECT_EQ(build({{Stage::Vertex, vertexText},
                     {Stage::Geometry, geometryText},
                     {Stage::Fragment, fragmentText}}),
              "");
}

TEST_P(GlslDriver, TakesLayeredViews) {
    if (!context->hasExtension("GL_ARB_shader_viewport_layer_array"))
        GTEST_SKIP() << "no GL_ARB_shader_viewport_layer_array";
    options.pass = GL::Pass::Layers;
    const std::string vertex = "#version 450\nvoid main() { gl_Position = vec4(0); }\n";
    const std::string geometry =
        "#version 450\nlayout(points) in; layout(points, max_vertices = 1) out;\n"
        "uint zelk_getViewID() { return 1u; }\n"
        "void main() { gl_Position = gl_in[0].gl_Position; EmitVertex(); }\n";
    for (const std::string version : {"330", "450"}) {
        const std::string fragment =
            "#version " + version +
            "\nout vec4 color;\nvoid main() { color = vec4(zelk_getViewID()); }\n";
        EXPECT_EQ(build({{Stage::Vertex, vertex}, {Stage::Fragment, fragment}}), "");
        EXPECT_EQ(build({{Stage::Vertex, vertex},
                         {Stage::Geometry, geometry},
                         {Stage::Fragment, fragment}}),
                  "");
    }
}

TEST_P(GlslDriver, TakesWhatOtherwiseStopsIt) {
    const std::string vertex =
        "#define STIPPLE 5\n"
        "#version 450 core\n"
        "out gl_PerVertex { vec4 gl_Position; float gl_ClipDistance[]; };\n"
        "#ifdef WARN\n#warning a\n#endif\n"
        "#if defined(A)#line 13 \"f\"\n#else\n#line 15 /* f*/\n#endif\n"
        "layout(std140, set=0, binding=0) uniform Block { vec4 a; };\n"
        "#extension GL_ARB_gpu_shader5 : enable\n"
        "out flat uint id;\n"
        "void main() { id = 1u; gl_ClipDistance[0] = 1.0; gl_Position = a; }\n";
    EXPECT_EQ(build({{Stage::Vertex, vertex}}), "");
    std::string old = vertex;
    old.replace(old.find("450 core"), 8, "330");
    EXPECT_EQ(build({{Stage::Vertex, old}}), "");
}

TEST_P(GlslDriver, ReportsAPlantedErrorAtItsPlace) {
    const std::string use = "void main() { gl_Position = fault; }\n";
    options.platformDefines = "#define A_DEFINED 1\n#define B 2\n";
    for (const std::string version : {"130", "150", "330", "450 core", "300 es"}) {
        const std::string head = "/* c */\n#version " + version + "\n\n";
        const std::vector<std::pair<std::string, std::string>> cases{
            {head + use, "\n0(4) : error: "},
            {head + "#line 40 \"block.glsl\"\n" + use, "\nblock.glsl(40) : error: "},
            {head + "#line /a//b.vert 7\n\n" + use, "\n/a//b.vert(8) : error: "},
            {head + "#ifdef UNKNOWN\n#line 40 \"block.glsl\"\n#endif\n" + use, "\n0(7) : error: "},
            {head + "#ifdef A_DEFINED\n#line 40 \"b.glsl\"\n#endif\n" + use,
             "\nb.glsl(41) : error: "},
            {head + "\n#line 8 \"f\"\n\n#error planted\n" + use, "\nf(9) : error: "},
        };
        for (const auto& [text, message] : cases)
            EXPECT_THAT(build({{Stage::Vertex, text}}), StartsWith(message)) << text;
    }
}

TEST_P(GlslDriver, CountsOnBehindAddedDeclarations) {
    options.geometryInput = GL::GeometryInput::Points;
    options.geometryOutput = GL::GeometryOutput::Points;
    options.platformDefines = "#define A_DEFINED 1\n";
    for (const std::string version : {"150", "330", "450"}) {
        const std::string head = "#version " + version + "\n";
        const std::string use = "void main() { gl_Position = fault; }\n";
        EXPECT_THAT(build({{Stage::Geometry, head + use}}), StartsWith("\n0(2) : error: "));
        EXPECT_THAT(build({{Stage::Geometry, head + "#ifdef X\n#line 9 \"f\"\n#endif\n" + use}}),
                    StartsWith("\n0(5) : error: "));
        EXPECT_THAT(
            build({{Stage::Geometry, head + "#ifdef A_DEFINED\n#line 9 \"f\"\n#endif\n" + use}}),
            StartsWith("\nf(10) : error: "));
    }
}

TEST_P(GlslDriver, LinkErrorNamesTheStages) {
    const std::string vertex = "#version 330\nvec4 f();\nvoid main() { gl_Position = f(); }\n";
    EXPECT_THAT(build({{Stage::Vertex, vertex}}), HasSubstr("\nprogram : error: "));
}

INSTANTIATE_TEST_SUITE_P(Profiles, GlslDriver,
                         testing::Values(GL::Profile::Core, GL::Profile::Compatibility),
                         [](const auto& row) {
                             return row.param == GL::Profile::Core ? "Core" : "Compatibility";
                         });

} // namespace
