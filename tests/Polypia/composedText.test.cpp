// The texts that reach the backend, byte by byte, in all combinations of the version, the
// viewports, the files that take part, the ends of lines and the stages. A text is two files of the
// folder `composed`, one behind the other, so that each piece stands there once:
//
//     heads/    what the version and the viewports make of the head of a stage
//     bodies/   what follows it; for files of whole stages, which have no head, all of the text
//
// POLYPIA_WRITE_COMPOSED=1 in the environment writes those anew, to be read before they are kept;
// a run without it shows then that each is the same in all combinations that it stands for.

#include <Polypia/Programmable.hpp>
#include <Polypia/shaderText.hpp>

#include "RecordingContext.hpp"
#include "shaderFolder.hpp"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <tuple>

namespace {

using Recorded = Keel::StrongPtr<RecordingProgram, Mirk::Polyp::Tentacle>;

/// Which files take part beside those that are included.
enum class Files { None, MainCode, Stages };
/// Whether main code, be it built in or of a file, has includes, and how its lines end.
enum class Includes { None, WithLf, WithCrlf };
/// What enableViewportArray() is called with.
enum class Viewports { NotCalled, False, True };

std::string name(Files files) {
    if (files == Files::None) return "built-in";
    return files == Files::MainCode ? "files" : "stages";
}
std::string name(Includes includes) {
    if (includes == Includes::None) return "";
    return includes == Includes::WithLf ? "-lf" : "-crlf";
}
/// Of the head of a stage: the vertex stage has none of the viewports, and the fragment stage only
/// with true.
std::string name(Viewports viewports, const std::string& stage) {
    if (viewports == Viewports::True && stage != "vert") return "-viewports";
    return viewports == Viewports::False && stage == "geom" ? "-viewports-of-geometry" : "";
}

/// Version, files and includes.
using Composition = std::tuple<const char*, Files, Includes>;

class ComposedText : public testing::TestWithParam<Composition> {
protected:
    ComposedText() {
        context.basin.platformDefines = "#define ZELK_GL_VENDOR_Recorder 1\n";
        shader.vertexPrefix = "/* prefix of the vertex stage */\n";
        shader.fragmentPrefix = "/* prefix of the fragment stage */\n";
        shader.geometryPrefix = "/* prefix of the geometry stage */\n";
        writeFile("part", lines("vec4 part(vec4 c)\n\n{ return c; }"));
        writeFile("par", "/* the last letter is lost */\n");
        if (includes() != Includes::None) {
            shader.vertex = including("gl_Position = ftransform();");
            shader.fragment = including("gl_FragColor = part(gl_Color);");
            shader.geometry = including("EmitVertex();");
        }
        context.ShaderFileOverrides = files() != Files::None;
        if (files() == Files::MainCode) writeMainCode();
        if (files() == Files::Stages) writeStages();
    }

    static std::string version() { return std::get<0>(GetParam()); }
    static Files files() { return std::get<1>(GetParam()); }
    static Includes includes() { return std::get<2>(GetParam()); }

    /// With the ends of lines that are asked for.
    static std::string lines(const std::string& text) {
        return includes() == Includes::WithCrlf ? Mirk::replacedText(text, "\n", "\r\n") : text;
    }
    /// A main program with includes that are found, not found and no includes at all.
    static std::string including(const std::string& statement) {
        return lines("uniform vec4 tint;\n#include \"part\"\n #include \"part\"\nvoid main() { " +
                     statement + " }\n#include <none>\n");
    }
    static std::string code(const std::string& statement) {
        return includes() == Includes::None ? "void main() { " + statement + " }"
                                            : including(statement);
    }

    /// By the three ways in which a file has main code.
    static void writeMainCode() {
        writeFile("N.vert", code("gl_Position = vec4(0.25);"));
        writeFile("N.frag", "R\"glsl(" + code("discard;") + ")glsl\"\n");
        writeFile("N_geom.glsl", code("EndPrimitive();"));
    }
    static void writeStages() {
        for (const char* const stage : {"vert", "geom", "frag"}) {
            const std::string file = std::string("N.") + stage + ".glsl";
            writeFile(file, "#version 330\n" + code("/* " + file + " */"));
        }
    }

    void compile(Viewports viewports, bool hasGeometry) {
        shader.setGLSLVersion(version());
        if (viewports != Viewports::NotCalled) {
            shader.enableViewportArray(viewports == Viewports::True);
        }
        if (hasGeometry) shader.buildGeometry();
        testing::internal::CaptureStdout();
        const Recorded program(shader.CompileShader(context, "N", {}, {}, "/* local vertex */\n",
                                                    "/* local geometry */\n",
                                                    "/* local fragment */\n"));
        testing::internal::GetCapturedStdout();
        compareStage(program->vertex, "vert", viewports, hasGeometry);
        compareStage(program->fragment, "frag", viewports, hasGeometry);
        if (hasGeometry) compareStage(program->geometry, "geom", viewports, hasGeometry);
    }

    /// What stands for the version in the name of a file.
    static std::string fileName(std::string version) {
        std::replace(version.begin(), version.end(), ' ', '-');
        return version;
    }

    static void compareStage(const RecordingProgram::Stage& stage, const std::string& suffix,
                             Viewports viewports, bool hasGeometry) {
        if (files() == Files::Stages && hasGeometry) {
            compare(stage, "", name(Files::Stages) + name(includes()), suffix);
            return;
        }
        // Without a geometry stage the files of whole stages play no part.
        const Files mainCode = files() == Files::Stages ? Files::None : files();
        compare(stage, fileName(version()) + name(viewports, suffix),
                name(mainCode) + name(includes()), suffix);
    }

    /// Where the body of a stage begins in its text.
    static std::size_t startOfBody(const std::string& text, const std::string& suffix) {
        if (suffix == "comp") return text.find('\n') + 1;
        if (suffix == "geom") return text.find("/*** shader type definition ***/");
        return text.find(suffix == "vert" ? "#define VERTEX_SHADER" : "#define FRAGMENT_SHADER");
    }

    /// Compares with the two files, or writes them; an empty name stands for no head.
    static void compare(const RecordingProgram::Stage& stage, const std::string& head,
                        const std::string& body, const std::string& suffix) {
        ASSERT_EQ(stage.code.size(), 1U);
        const std::string& text = stage.code.front();
        const std::string composed = POLYPIA_SOURCE "/tests/Polypia/composed/";
        const std::string headFile = composed + "heads/" + head + "." + suffix;
        const std::string bodyFile = composed + "bodies/" + body + "." + suffix;
        if (std::getenv("POLYPIA_WRITE_COMPOSED") != nullptr) {
            const std::size_t start = head.empty() ? 0 : startOfBody(text, suffix);
            if (!head.empty()) writeFile(headFile, text.substr(0, start));
            writeFile(bodyFile, text.substr(start));
            return;
        }
        ASSERT_TRUE(head.empty() || std::filesystem::exists(headFile)) << headFile;
        ASSERT_TRUE(std::filesystem::exists(bodyFile)) << bodyFile;
        EXPECT_EQ(text, (head.empty() ? "" : fileContent(headFile)) + fileContent(bodyFile))
            << (head.empty() ? "no head" : headFile) << " and " << bodyFile;
    }

    const ShaderFolder folder;
    RecordingContext context;
    ToldProgrammable shader;
};

TEST_P(ComposedText, OfStagesIsThatOfTheFiles) {
    for (const Viewports viewports : {Viewports::NotCalled, Viewports::False, Viewports::True}) {
        compile(viewports, false);
    }
    for (const Viewports viewports : {Viewports::NotCalled, Viewports::False, Viewports::True}) {
        compile(viewports, true);
    }
}

// A compute shader's text is complete: neither version nor viewports of the object enter it, and
// its file counts whether files are wanted or not.
TEST_P(ComposedText, OfComputeStagesIsThatOfTheFiles) {
    const std::string head = "#version " + version() + "\n";
    if (files() == Files::MainCode) writeFile("N.comp", head + code("/* N.comp */"));
    for (const bool overrides : {false, true}) {
        context.ShaderFileOverrides = overrides;
        shader.enableViewportArray(true);
        testing::internal::CaptureStdout();
        testing::internal::CaptureStderr();
        const Recorded program(shader.getComputeShader(context, "N", head + code("barrier();")));
        testing::internal::GetCapturedStderr();
        testing::internal::GetCapturedStdout();
        compare(program->compute, fileName(version()),
                name(files() == Files::MainCode ? files() : Files::None) + name(includes()),
                "comp");
    }
}

INSTANTIATE_TEST_SUITE_P(
    Programs, ComposedText,
    testing::Combine(testing::Values("130", "330 core", "330 compatibility", "450 core",
                                     "450 compatibility"),
                     testing::Values(Files::None, Files::MainCode, Files::Stages),
                     testing::Values(Includes::None, Includes::WithLf, Includes::WithCrlf)),
    [](const testing::TestParamInfo<Composition>& test) {
        std::string title = std::string("Of_") + std::get<0>(test.param) + "_" +
                            name(std::get<1>(test.param)) + name(std::get<2>(test.param));
        std::replace_if(
            title.begin(), title.end(), [](char c) { return c == ' ' || c == '-'; }, '_');
        return title;
    });

} // namespace
