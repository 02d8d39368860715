// Programs as Programmable composes them, on a driver: they compile and draw, and faults are told
// where their authors find them.

#include "../Polypia/shaderFolder.hpp"
#include "faultyPrograms.hpp"
#include "glBasin.hpp"
#include "glRenderFixture.hpp"

#include <Polypia/Fog.hpp>
#include <Polypia/Programmable.hpp>

#include <memory>
#include <sstream>
#include <string>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

class ProgrammableOnGL : public BasinTestInProfile {
protected:
    void SetUp() override {
        BasinTestInProfile::SetUp();
        if (!context) return;
        seagrass = makeSeagrass();
        render = makeRenderContext(*context, seagrass);
        isCore = GetParam() == GL::Profile::Core;
    }
    void TearDown() override {
        polyp = {};
        program = {};
        endRenderContext(render, seagrass);
        BasinTestInProfile::TearDown();
    }

    /// The report of a program that doesn't compile.
    std::string compile(const std::string& prefix = "") {
        try {
            program = shader.CompileShader(*render, "N", {}, {}, prefix, prefix, prefix);
        } catch (const RenderException& exception) {
            return exception.str();
        }
        return program ? "" : "no program";
    }
    /// Draws the program over the whole picture; colours come from an attribute.
    void draw(const Color& color) {
        polyp = PolypPtr(new Polyp({}));
        polyp->insert(program);
        const auto points = render->createCoordinates(
            chunk<FloatPoint>({{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}}), "Coordinates");
        const auto share = [&](std::size_t i) { return static_cast<float>(color[i]) / 255.0F; };
        const Skua::FixedArray<float, 4> one{share(0), share(1), share(2), 1.0F};
        polyp->insert(points);
        polyp->insert(render->createAttribute(chunk(std::vector(4, one)), RenderBasin::Colors,
                                              RenderBasin::AttributeNames(RenderBasin::Colors)));
        polyp->insert(points->createPainter(RenderNamespace::TriangleStrip));
        clear();
        EXPECT_GT(wave(), 0);
    }

    const ShaderFolder folder;
    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> render;
    ToldProgrammable shader;
    RenderBasin::ProgramPtr program;
    bool isCore = false;
};

TEST_P(ProgrammableOnGL, DefaultTextsDrawTheColorsOfTheirVertices) {
    for (const std::string version :
         {"130", "330 core", "330 compatibility", "450 core", "450 compatibility"}) {
        for (const bool hasGeometry : {false, true}) {
            shader.setGLSLVersion(version);
            shader.GeometryInput = RenderNamespace::NoGeometryInput;
            if (hasGeometry) shader.buildGeometry();
            ASSERT_EQ(compile(), "") << version;
            draw({51, 102, 204, 255});
            EXPECT_EQ(drawnPixels(), size * size) << version;
            EXPECT_EQ(center(), (Color{51, 102, 204, 255})) << version;
        }
    }
}

TEST_P(ProgrammableOnGL, LocalPrefixesReachTheirStages) {
    shader.setGLSLVersion("330");
    shader.vertex = "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1.0); }\n";
    shader.fragment = "out vec4 result;\nvoid main() { result = SHOWN; }\n";
    program = shader.CompileShader(*render, "N", {}, {}, "", "",
                                   "#define SHOWN vec4(0.0, 1.0, 0.0, 1.0)\n");
    draw(red);
    EXPECT_EQ(center(), green);
}

TEST_P(ProgrammableOnGL, TextsKnowTheKindOfTheirStageAndThePlatform) {
    shader.setGLSLVersion("330");
    shader.buildGeometry();
    shader.vertexPrefix = "#ifndef VERTEX_SHADER\n#error\n#endif\n";
    shader.geometryPrefix = "#ifndef GEOMETRY_SHADER\n#error\n#endif\n";
    shader.fragmentPrefix = "#ifndef FRAGMENT_SHADER\n#error\n#endif\n"
                            "#ifndef ZELK_GL_VERSION\n#error\n#endif\n";
    EXPECT_EQ(compile(), "");
}

TEST_P(ProgrammableOnGL, ViewportsCompileOnceAndNotTwice) {
    const std::string main =
        "void main() { zelk_for_Viewport(v) for (int i = 0; i < 3; ++i) {\n"
        "gl_ViewportIndex = v; gl_Position = gl_in[i].gl_Position * zelk_ViewportValue01(v);\n"
        "EmitVertex(); } }\n";
    class Viewports : public ToldProgrammable {
    public:
        std::string geometry_shader(VRenderContext&) const override { return main; }
        std::string main;
    } viewports;
    viewports.main = main;
    viewports.fragment =
        "out vec4 result;\nvoid main() { result = vec4(zelk_ViewportValue01()); }\n";
    viewports.buildGeometry();
    viewports.setGLSLVersion("450 core");
    viewports.enableViewportArray(true);
    viewports.vertex =
        "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1); }\n";
    EXPECT_NO_THROW(viewports.CompileShader(*render, "N", {}, {}, "", "", ""));
    viewports.enableViewportArray(false);
    EXPECT_THROW(viewports.CompileShader(*render, "N", {}, {}, "", "", ""), RenderException);
}

TEST_P(ProgrammableOnGL, ViewportValuesRunFromTheFirstViewportToTheLast) {
    // One band of the picture for each viewport, from below.
    shader.setGLSLVersion("450 core");
    shader.enableViewportArray(true);
    shader.buildGeometry();
    shader.vertex = "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1.0); }\n";
    shader.geometry = "out float value;\n"
                      "void main() { zelk_for_Viewport(v) {\n"
                      "    for (int i = 0; i < 3; ++i) {\n"
                      "        vec4 p = gl_in[i].gl_Position;\n"
                      "        gl_Position = vec4(p.x, (p.y + 2.0 * float(v - 1)) / 3.0, p.zw);\n"
                      "        gl_ViewportIndex = v;\n"
                      "        value = zelk_ViewportValue01(v);\n"
                      "        EmitVertex();\n"
                      "    }\n"
                      "    EndPrimitive();\n"
                      "} }\n";
    shader.fragment = "in float value;\nout vec4 result;\n"
                      "void main() { result = vec4(value, zelk_ViewportValue01(), 1.0, 1.0); }\n";
    ASSERT_EQ(compile(), "");
    const auto setLast = [&](int last) {
        RenderNamespace::ProgramVariables variables;
        variables["zelk_MaxViewportIndex"] = last;
        program->setProgramVariable("zelk_MaxViewportIndex", *variables.begin(), {});
    };
    const auto bands = [&] {
        draw(red);
        return std::array{pixel(size / 2, size / 6), pixel(size / 2, size / 2),
                          pixel(size / 2, size - size / 6)};
    };
    setLast(3);
    EXPECT_THAT(bands(), testing::ElementsAre(Color{0, 0, 255, 255}, Color{128, 128, 255, 255},
                                              Color{255, 255, 255, 255}));
    setLast(1);
    EXPECT_THAT(bands(), testing::ElementsAre(Color{0, 0, 255, 255}, black, black))
        << "one viewport alone has 0";
}

TEST_P(ProgrammableOnGL, IncludesOverridesAndWholeStagesCompileAndDraw) {
    render->ShaderFileOverrides = true;
    shader.setGLSLVersion("330");
    writeFile("part", "vec4 part() { return vec4(0.0, 0.0, 1.0, 1.0); }\n");
    writeFile("N.frag", "R\"glsl(\nout vec4 result;\n#include \"part\"\r\n"
                        "void main() { result = part(); }\n)glsl\"\n");
    writeFile("N_vert.glsl",
              "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1.0); }\n");
    ASSERT_EQ(compile(), "");
    draw(red);
    EXPECT_EQ(center(), blue);

    shader.buildGeometry();
    writeFile("N.frag.glsl", "#version 330\nout vec4 whole;\n"
                             "void main() { whole = vec4(0.0, 1.0, 0.0, 1.0); }\n");
    ASSERT_EQ(compile(), "");
    draw(red);
    EXPECT_EQ(center(), green);
}

TEST_P(ProgrammableOnGL, FilesAndIncludesCompileInAllVersionsWithAnyEndsOfLines) {
    render->ShaderFileOverrides = true;
    shader.hasGeometry = true;
    for (const std::string version :
         {"130", "330 core", "330 compatibility", "450 core", "450 compatibility"}) {
        for (const std::string end : {"\n", "\r\n"}) {
            for (const bool ofFragments : {false, true}) {
                SCOPED_TRACE(version + (end == "\n" ? "" : " CRLF"));
                shader.setGLSLVersion(version);
                shader.enableViewportArray(ofFragments);
                // An include whose line ends at its delimiter loses its last letter.
                writeFile(end == "\n" ? "par" : "part",
                          "vec4 part(vec4 p)" + end + "{ return p; }" + end);
                const std::string include = "#include \"part\"" + end;
                writeFile("N.vert", "in vec3 Coordinates;" + end + include +
                                        "void main() { gl_Position = part(vec4(Coordinates, 1.0)); "
                                        "}");
                writeFile("N_geom.glsl", include +
                                             "void main() { zelk_for_Viewport(v) for (int i = 0; i "
                                             "< 3; ++i) { gl_Position = part(POSITION(i)); "
                                             "EmitVertex(); } }");
                writeFile("N.frag", include + "out vec4 color;" + end +
                                        "void main() { color = part(vec4(0.0, 1.0, 0.0, 1.0)); }");
                const bool hasArrays = version == "130";
                shader.geometryPrefix = hasArrays ? "#define POSITION(i) gl_PositionIn[i]\n"
                                                  : "#define POSITION(i) gl_in[i].gl_Position\n";
                shader.GeometryInput = RenderNamespace::NoGeometryInput;
                EXPECT_EQ(compile(), "");
                shader.buildGeometry();
                ASSERT_EQ(compile(), "");
                std::filesystem::remove("par");
                std::filesystem::remove("part");
            }
        }
        draw(red);
        EXPECT_EQ(center(), green) << version;
    }
}

TEST_P(ProgrammableOnGL, GeometryTextsIncludeFiles) {
    shader.setGLSLVersion("330");
    shader.buildGeometry();
    writeFile("part", "vec4 halved(vec4 p) { return vec4(0.5 * p.xy, p.zw); }\n");
    shader.vertex = "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1.0); }\n";
    shader.geometry = "#include \"part\"\r\n"
                      "void main() {\n"
                      "    for (int i = 0; i < 3; ++i) {\n"
                      "        gl_Position = halved(gl_in[i].gl_Position);\n"
                      "        EmitVertex();\n"
                      "    }\n"
                      "    EndPrimitive();\n"
                      "}\n";
    shader.fragment = "out vec4 color;\nvoid main() { color = vec4(0.0, 1.0, 0.0, 1.0); }\n";
    ASSERT_EQ(compile(), "");
    draw(red);
    EXPECT_EQ(center(), green);
    EXPECT_EQ(pixel(4, 4), black);
    // And so do files in place of them.
    render->ShaderFileOverrides = true;
    writeFile("N.geom", shader.geometry);
    writeFile("part", "vec4 halved(vec4 p) { return p; }\n");
    ASSERT_EQ(compile(), "");
    draw(red);
    EXPECT_EQ(pixel(4, 4), green);
}

TEST_P(ProgrammableOnGL, FilledFilesCompileAsTheyAre) {
    render->ShaderFileOverrides = true;
    shader.buildGeometry();
    for (const char* const name : {"N.vert", "N.frag", "N.geom"}) writeFile(name, "");
    testing::internal::CaptureStderr();
    EXPECT_EQ(compile(), "");
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(compile(), "");
    for (const char* const name : {"N.vert.glsl", "N.geom.glsl", "N.frag.glsl"}) {
        writeFile(name, "");
    }
    EXPECT_EQ(compile(), "");
    EXPECT_THAT(fileContent("N.geom.glsl"), StartsWith("// N.geom.glsl\n/*** Built from"));
    EXPECT_EQ(compile(), "");
    draw({51, 102, 204, 255});
    EXPECT_EQ(center(), (Color{51, 102, 204, 255}));
}

TEST_P(ProgrammableOnGL, ComputeShadersCompileFromTextAndFile) {
    writeFile("part", "layout(local_size_x = 1) in;\n");
    const std::string code = "#version 430\n#include \"part\"\r\nvoid main() {}\n";
    EXPECT_TRUE(shader.getComputeShader(*render, "C", code));
    writeFile("C.comp", "#version 430\nlayout(local_size_x = 1) in;\n\nvoid main() { wrong(); }\n");
    testing::internal::CaptureStderr();
    try {
        Programmable::makeComputeShader(*render, "C", code);
        ADD_FAILURE() << "the fault wasn't noticed";
    } catch (const RenderException& exception) {
        EXPECT_THAT(exception.shaderLog.str(), StartsWith("\n0(4) : error"));
        EXPECT_EQ(exception.file.str(), "C.comp");
        EXPECT_EQ(exception.line, 4);
    }
    testing::internal::GetCapturedStderr();
}

TEST_P(ProgrammableOnGL, FaultsOfComputeShadersAreToldWhereTheyAre) {
    const std::string head = "#version 430\nlayout(local_size_x = 1) in;\n";
    const std::string include = "#include \"part\"\r\n";
    const auto faultOf = [&](const std::string& code) {
        try {
            shader.getComputeShader(*render, "C", code);
        } catch (const RenderException& exception) {
            return exception.file.str() + ":" + std::to_string(exception.line);
        }
        return std::string("no fault");
    };
    writeFile("part", "float one() { return 1.0; }\nfloat two() { return oops; }\n");
    EXPECT_EQ(faultOf(head + include + "void main() {}\n"), "./part:2");
    writeFile("part", "float one() { return 1.0; }\n");
    EXPECT_EQ(faultOf(head + include + "void main() {}\n"), "no fault");
    EXPECT_EQ(faultOf(head + include + "\nvoid main() { oops(); }\n"), "composed C.comp:7")
        << "by the text with the lines of the file and two directives";
    testing::internal::CaptureStderr();
    writeFile("C.comp", head + include + "\nvoid main() { oops(); }\n");
    EXPECT_EQ(faultOf(""), "C.comp:5");
    testing::internal::GetCapturedStderr();
}

TEST_P(ProgrammableOnGL, NameThatEndsACommentIsAFaultOfTheTextWithGeometry) {
    shader.buildGeometry();
    const auto compileAs = [&](const std::string& name) {
        return shader.CompileShader(*render, name, {}, {}, "", "", "");
    };
    EXPECT_TRUE(compileAs("N"));
    EXPECT_THROW(compileAs("N*/"), RenderException);
    shader.GeometryInput = RenderNamespace::NoGeometryInput;
    EXPECT_TRUE(compileAs("N*/"));
}

TEST_P(ProgrammableOnGL, ViewportsAndViewsCompileTogether) {
    for (const std::string version : {"330 core", "450 core"}) {
        ToldProgrammable both;
        both.setGLSLVersion(version);
        both.enableViewportArray(true);
        both.buildGeometry();
        both.geometryPrefix = render->defineMultiView(1, true, 0);
        both.vertex =
            "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1.0); }\n";
        both.geometry = "void main() { zelk_for_Viewport(v) for (int i = 0; i < 3; ++i) {\n"
                        "RelativeVertex V = mkRelativeVertex(gl_in[i].gl_Position);\n"
                        "gl_Position = V.Vertex; EmitVertex(); } }\n";
        both.fragment = "out vec4 result;\nvoid main() { result = vec4(1.0); }\n";
        EXPECT_TRUE(both.CompileShader(*render, "N", {}, {}, "", "", "")) << version;
    }
}

TEST_P(ProgrammableOnGL, PlatformDefinesEndTheirLastLine) {
    EXPECT_THAT(render->getShaderPlatformDefines(), testing::EndsWith("\n"));
}

TEST_P(ProgrammableOnGL, FogNeedsRelativeVertexAheadOfIt) {
    shader.setGLSLVersion("330");
    shader.vertex = "in vec3 Coordinates;\nvoid main() { gl_Position = vec4(Coordinates, 1.0); }\n";
    shader.fragment = "out vec4 result;\nvoid main() { result = Fog(vec4(0.0, 1.0, 0.0, 1.0), "
                      "mkRelativeVertex(vec4(1.0)), vec3(0.0), vec3(1.0)); }\n";
    shader.fragmentPrefix = Fog::default_fragment_shader(*render);
    EXPECT_THAT(compile(), HasSubstr("RelativeVertex"));
    shader.fragmentPrefix = render->defineMultiView(1, true, 0) + shader.fragmentPrefix;
    ASSERT_EQ(compile(), "");
    draw(red);
    EXPECT_EQ(center(), green);
}

// ---------------------------------------------------------------------------------------------
// Faults

class ShaderFaults : public ProgrammableOnGL, protected FaultyPrograms {
protected:
    ShaderFaults() : FaultyPrograms(shader) {}

    /// Compiles, and compares the first line of the report with the place of the fault.
    void expect(const Fault& fault) {
        try {
            compileFaulty(*render);
            ADD_FAILURE() << "the fault wasn't noticed: " << fault.words;
        } catch (const RenderException& exception) {
            const std::string log = exception.shaderLog.str();
            const bool isComposed = fault.file == "0";
            EXPECT_EQ(exception.file.str(),
                      isComposed ? "composed N." + stageSuffix() : fault.file);
            EXPECT_THAT(log, StartsWith("\n0(" + std::to_string(exception.line) + ") : error"))
                << fault.words;
            EXPECT_THAT(exception.str(), HasSubstr(" at " + exception.file.str() + ":" +
                                                   std::to_string(exception.line) + " ["));
            if (isComposed) {
                EXPECT_EQ(lineOf(exception.shaderCode.str(), exception.line), fault.words) << log;
            } else {
                EXPECT_EQ(static_cast<std::size_t>(exception.line), fault.line);
            }
        }
    }
    static std::string lineOf(const std::string& text, int number) {
        std::istringstream lines(text);
        std::string line;
        for (int i = 0; i < number; ++i) std::getline(lines, line);
        return line;
    }
};

constexpr int faultsOfAKind = 20; // in each of the two profiles

TEST_P(ShaderFaults, InTheMainCodeOfTheProgramAreThoseOfTheComposedText) {
    for (int i = 0; i < faultsOfAKind; ++i) expect(inMainCode());
}

TEST_P(ShaderFaults, InAnOverridingFileAreItsOwn) {
    for (int i = 0; i < faultsOfAKind; ++i) expect(inOverridingFile(i));
}

TEST_P(ShaderFaults, InAFileOfAnyLineEndsAreItsOwn) {
    for (const char* const end : {"\r", "\r\n", "\n\r"}) {
        for (int i = 0; i < 6; ++i) {
            start();
            overrides = true;
            Fault fault("N." + stageSuffix());
            std::string text = faultyText(fault, end);
            if (i % 3 == 1) {
                text = end + text;
                ++fault.line;
            } else if (i % 3 == 2) {
                shader.buildGeometry();
                fault.file += ".glsl";
                text = std::string("#version 150") + end + text;
                ++fault.line;
            }
            writeFile(fault.file, text + mainFunction());
            expect(fault);
        }
    }
}

TEST_P(ShaderFaults, InAnIncludedFileAreItsOwn) {
    for (int i = 0; i < faultsOfAKind; ++i) expect(inIncludedFile(i));
}

TEST_P(ShaderFaults, InAnIncludedFileOfAFolderWhoseNameIsANumberAreItsOwn) {
    std::filesystem::create_directory("2024");
    for (int i = 0; i < faultsOfAKind; ++i) {
        start();
        shader.IncludePath = {i % 2 == 0 ? "2024//" : "2024"};
        Fault fault(i % 2 == 0 ? "2024//part" : "2024/part");
        writeFile("2024/part", faultyText(fault));
        mainCode() = "// main\n#include <part>\r\n" + std::string(mainFunction());
        expect(fault);
    }
}

TEST_P(ShaderFaults, BehindAnIncludeOfTheProgramAreThoseOfTheComposedText) {
    for (int i = 0; i < faultsOfAKind; ++i) {
        start();
        if (i % 2 == 0) { // which is switched off
            overrides = true;
            writeFile("N." + stageSuffix(), "//disable\nfault");
        }
        Fault fault("0");
        writeFile("part", "float part() { return 1.0; }\n");
        mainCode() = "// main\n#include \"part\"\r\n" + faultyText(fault) + mainFunction();
        expect(fault);
    }
}

TEST_P(ShaderFaults, BehindASegmentWithItsLineMarkerOnAreThoseOfTheirOwnText) {
    for (int i = 0; i < faultsOfAKind; ++i) {
        start();
        const bool isOfFile = i % 2 == 0;
        Fault fault(isOfFile ? "N." + stageSuffix() : "0");
        const std::string text = faultyText(fault) + mainFunction();
        overrides = isOfFile;
        if (isOfFile) writeFile(fault.file, text);
        if (!isOfFile) mainCode() = text;
        classPrefix() = i % 4 < 2 ? "#line 300 \"Mist.glsl\"\nfloat mist() { return 1.0; }\n"
                                  : "#line 300 \"Mist.glsl\"\n#define MIST 1\n";
        expect(fault);
    }
}

TEST_P(ShaderFaults, InAFileOfAWholeStageAreItsOwnWhateverItsDirectivesSay) {
    for (int i = 0; i < faultsOfAKind; ++i) {
        start();
        shader.buildGeometry();
        overrides = true;
        Fault fault("N." + stageSuffix() + ".glsl");
        const std::string text =
            "#version 330 compatibility\n#line 1 \"part\"\n// part\n#line 7 \"N." + stageSuffix() +
            "\"\n" + faultyText(fault) + mainFunction();
        fault.line += 4;
        writeFile(fault.file, text);
        expect(fault);
    }
}

TEST_P(ShaderFaults, InAPrefixAreThoseOfTheComposedText) {
    for (int i = 0; i < faultsOfAKind; ++i) expect(inPrefix(i));
}

TEST_P(ShaderFaults, InAnInjectedSegmentAreThoseOfItsLineMarkerIfThatIsOn) {
    for (int i = 0; i < faultsOfAKind; ++i) expect(inInjectedSegment(i));
}

POLYPIA_BOTH_PROFILES(ProgrammableOnGL);
POLYPIA_BOTH_PROFILES(ShaderFaults);

} // namespace
