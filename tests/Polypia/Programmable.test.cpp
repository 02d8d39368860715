#include <Polypia/Programmable.hpp>

#include "RecordingContext.hpp"
#include "memberOrder.hpp"
#include "shaderFolder.hpp"
#include "virtualSlot.hpp"

#include <Polypia/RenderException.hpp>

#include <gmock/gmock.h>
#include <zlib.h>

#include <memory>
#include <string>
#include <type_traits>
#include <vector>

using Mirk::Polyp;
using Mirk::RenderBasin;
using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Key;
using testing::Not;
using testing::Pair;
using testing::StartsWith;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

using ProgramPtr = RenderBasin::ProgramPtr;
using Recorded = Keel::StrongPtr<RecordingProgram, Polyp::Tentacle>;

class Programmable : public testing::Test {
protected:
    Programmable() { context.basin.platformDefines = "#define PLATFORM 1\n"; }

    Recorded compile(const std::string& name = "N", const ProgramPtr& previous = {}) {
        return Recorded(shader.CompileShader(context, name, {}, previous, "V", "G", "F"));
    }
    /// The one text of a stage.
    static std::string textOf(const RecordingProgram::Stage& stage) {
        EXPECT_EQ(stage.code.size(), 1U);
        return stage.code.empty() ? "" : stage.code.front();
    }

    const ShaderFolder folder;
    RecordingContext context;
    ToldProgrammable shader;
};

// ---------------------------------------------------------------------------------------------
// The class

TEST_F(Programmable, HasTheExportedTexts) {
    EXPECT_EQ(Mirk::Programmable::define_VERTEX_SHADER, "#define VERTEX_SHADER    1\n");
    EXPECT_EQ(Mirk::Programmable::define_FRAGMENT_SHADER, "#define FRAGMENT_SHADER  1\n");
    EXPECT_EQ(Mirk::Programmable::define_GEOMETRY_SHADER, "#define GEOMETRY_SHADER  1\n");
    EXPECT_EQ(Mirk::Programmable::default_vertex_shader,
              "void main(void)\n{\tgl_Position = ftransform();}\n");
    EXPECT_EQ(Mirk::Programmable::default_fragment_shader,
              "void main (void)\n{\n\tgl_FragColor = gl_Color;\n}\n");
    const std::string& geometry = Mirk::Programmable::default_geometry_shader;
    for (const char* const piece : {"gl_VerticesIn", "gl_FrontColor = gl_FrontColorIn[i];",
                                    "gl_Position = gl_PositionIn[i];", "EmitVertex();"}) {
        EXPECT_THAT(geometry, HasSubstr(piece));
    }
    EXPECT_THAT(geometry, Not(HasSubstr("EndPrimitive")));
}

TEST_F(Programmable, BodiesOfTheMainCodeAreTheDefaultTexts) {
    const Mirk::Programmable& base = shader;
    EXPECT_EQ(base.Programmable::vertex_shader(context), base.default_vertex_shader);
    EXPECT_EQ(base.Programmable::fragment_shader(context), base.default_fragment_shader);
    EXPECT_EQ(base.Programmable::geometry_shader(context), base.default_geometry_shader);
    EXPECT_EQ(base.Programmable::VertexShaderPrefix(context), "");
    EXPECT_EQ(base.Programmable::FragmentShaderPrefix(context), "");
    EXPECT_EQ(base.Programmable::GeometryShaderPrefix(context), "");
}

TEST_F(Programmable, VirtualOperationsHaveTheirSlots) {
    using Base = Mirk::Programmable;
    static_assert(std::is_abstract_v<Base> && std::has_virtual_destructor_v<Base>);
    EXPECT_THAT(
        (std::vector{virtualSlot(&Base::vertex_shader), virtualSlot(&Base::fragment_shader),
                     virtualSlot(&Base::geometry_shader), virtualSlot(&Base::VertexShaderPrefix),
                     virtualSlot(&Base::FragmentShaderPrefix),
                     virtualSlot(&Base::GeometryShaderPrefix)}),
        testing::ElementsAreArray(slotsFrom(2, 6)));
}

TEST_F(Programmable, MembersStandInTheirOrder) {
    EXPECT_TRUE(standInOrder(shader.IncludePath, shader.vertexStage, shader.geometryStage,
                             shader.thirdStage, shader.fragmentStage, shader.fifthStage,
                             shader.VertexHeader, shader.FragmentHeader, shader.GeometryHeader,
                             shader.GeometryInput, shader.GeometryOutput, shader.ShaderName));
}

TEST_F(Programmable, StartsWithVersion130AndWithoutGeometryStage) {
    EXPECT_EQ(shader.IncludePath, Mirk::Programmable::DefaultIncludePath());
    EXPECT_THAT(shader.VertexHeader, StartsWith("#version 130\n\n\n/* This prefix code"));
    EXPECT_EQ(shader.FragmentHeader, shader.VertexHeader);
    EXPECT_EQ(shader.GeometryHeader,
              shader.VertexHeader + "\n#extension GL_EXT_geometry_shader4 : require\n");
    EXPECT_EQ(shader.GeometryInput, RenderBasin::NoGeometryInput);
    EXPECT_EQ(shader.GeometryOutput, RenderBasin::NoGeometryOutput);
    EXPECT_EQ(shader.ShaderName, "");
    for (const auto* const stage : {&shader.vertexStage, &shader.geometryStage, &shader.thirdStage,
                                    &shader.fragmentStage, &shader.fifthStage}) {
        EXPECT_EQ(stage->Label, "");
        EXPECT_THAT(stage->Extensions, IsEmpty());
        EXPECT_THAT(stage->Segments, IsEmpty());
    }
}

TEST_F(Programmable, StagesNoteExtensionsByTheirMode) {
    for (const int mode : {0, 1, 2, 3, 4, -1}) shader.vertexStage.addExtension("GL_x", mode);
    EXPECT_THAT(shader.vertexStage.Extensions,
                ElementsAre("#extension GL_x : enable", "#extension GL_x : require",
                            "#extension GL_x : warn", "#extension GL_x : disable",
                            "#extension GL_x : enable", "#extension GL_x : enable"));
}

TEST_F(Programmable, StageListsDoNotEnterTheText) {
    const std::string before = textOf(compile()->vertex);
    shader.vertexStage.addExtension("GL_x", 1);
    shader.vertexStage.Segments.emplace_back("segment");
    shader.vertexStage.Label = "label";
    EXPECT_EQ(textOf(compile()->vertex), before);
}

// ---------------------------------------------------------------------------------------------
// Segments

TEST_F(Programmable, SegmentsAreFoundByTheirNameWhileTheyLive) {
    using Segment = Mirk::Programmable::ShaderSegment;
    const auto& table = Segment::table();
    {
        const Segment segment("ball", "float ball();");
        EXPECT_EQ(segment.Name, "ball");
        EXPECT_THAT(table, testing::Contains(Pair("ball", "float ball();")));
    }
    EXPECT_THAT(table, Not(testing::Contains(Key("ball"))));
}

TEST_F(Programmable, ASegmentReplacesOneOfItsNameAndTakesTheEntryAlong) {
    using Segment = Mirk::Programmable::ShaderSegment;
    auto first = std::make_unique<Segment>("ball", "1");
    auto second = std::make_unique<Segment>("ball", "2");
    EXPECT_EQ(Segment::table().at("ball"), "2");
    second.reset();
    EXPECT_THAT(Segment::table(), Not(testing::Contains(Key("ball"))));
    first.reset();
    EXPECT_THAT(Segment::table(), Not(testing::Contains(Key("ball"))));
}

// ---------------------------------------------------------------------------------------------
// Composing

TEST_F(Programmable, StagesAreTheirPiecesInOrderWithNothingBetween) {
    shader.vertexPrefix = "VP ";
    shader.fragmentPrefix = "FP ";
    const Recorded program = compile();
    EXPECT_EQ(textOf(program->vertex), shader.VertexHeader + shader.define_VERTEX_SHADER +
                                           "#define PLATFORM 1\nVP V" +
                                           shader.default_vertex_shader);
    EXPECT_EQ(textOf(program->fragment), shader.FragmentHeader + shader.define_FRAGMENT_SHADER +
                                             "#define PLATFORM 1\nFP F" +
                                             shader.default_fragment_shader);
    EXPECT_THAT(program->geometry.code, ElementsAre(""));
    EXPECT_EQ(program->input, RenderBasin::NoGeometryInput);
    EXPECT_EQ(program->output, RenderBasin::NoGeometryOutput);
}

TEST_F(Programmable, MainCodeEndsWithALineFeedAndPrefixesStayAsTheyAre) {
    shader.vertex = "#include <x>\nvoid main() {}";
    shader.vertexPrefix = "#include \"prefix\"\n";
    CaptureStdout();
    const std::string text = textOf(compile()->vertex);
    GetCapturedStdout();
    EXPECT_THAT(text, HasSubstr("#include \"prefix\"\nV#line N.vert 1\n"));
    EXPECT_THAT(text, EndsWith("\nvoid main() {}\n"));
}

TEST_F(Programmable, FilesAndLinesOfStagesAreHandedOver) {
    const Recorded program = compile("dir/line");
    EXPECT_EQ(shader.ShaderName, "dir/line");
    EXPECT_EQ(program->vertex.name, "dir/line.vert");
    EXPECT_EQ(program->fragment.name, "dir/line.frag");
    EXPECT_EQ(program->vertex.line, 0);
    EXPECT_EQ(program->fragment.line, 0);
}

TEST_F(Programmable, ParametersAndThePreviousProgramAreHandedOn) {
    context.basin.defaultParameters["given"] = 1;
    const ProgramPtr previous = compile();
    for (const bool hasGeometry : {false, true}) {
        if (hasGeometry) shader.buildGeometry();
        const Recorded program(shader.CompileShader(
            context, "N",
            [](const Mirk::ProgramParameters& given) {
                Mirk::ProgramParameters changed = given;
                changed["added"] = 2;
                return changed;
            },
            previous, "", "", ""));
        EXPECT_THAT(program->linkParameters, ElementsAre(Key("added"), Key("given")));
        EXPECT_TRUE(program->previous == previous);
    }
}

TEST_F(Programmable, NamesLoseControlCharactersAndBytesBeyond7Bits) {
    const Recorded program = compile("a\x7f\xc3\xa4/b\n\t\x1f c");
    EXPECT_EQ(shader.ShaderName, "a\x7f/b c");
    EXPECT_EQ(program->vertex.name, "a\x7f/b c.vert");
    const auto compute = Recorded(shader.getComputeShader(context, "a\nb\xff", "code"));
    EXPECT_EQ(compute->compute.name, "ab.comp");
    EXPECT_EQ(shader.ShaderName, "a\x7f/b c") << "that of the stages";
}

TEST_F(Programmable, PlainProgramsKnowTheirTextsAndFiles) {
    writeFile("N.frag", "not read");
    const Recorded program = compile();
    EXPECT_THAT(program->ProgramSources,
                ElementsAre(Pair("frag", textOf(program->fragment)), Pair("geom", ""),
                            Pair("vert", textOf(program->vertex))));
    EXPECT_THAT(program->ProgramFileTimes,
                ElementsAre(Pair("N.frag", Keel::FileInfo("N.frag").modified),
                            Pair("N.vert", Keel::Filetime())));
    EXPECT_EQ(textOf(program->fragment).find("not read"), std::string::npos);
}

TEST_F(Programmable, LocalPrefixOfGetCodePlaysNoPart) {
    const auto [code, file] =
        shader.getCode(context, "x/y", ".vert", &Mirk::Programmable::vertex_shader, "local");
    EXPECT_EQ(code, shader.default_vertex_shader);
    EXPECT_EQ(file, "x/y.vert");
}

// ---------------------------------------------------------------------------------------------
// Geometry stages

TEST_F(Programmable, GeometryNeedsBothTypes) {
    for (const bool isInput : {true, false}) {
        shader.GeometryInput = isInput ? RenderBasin::LinesInput : RenderBasin::NoGeometryInput;
        shader.GeometryOutput =
            isInput ? RenderBasin::NoGeometryOutput : RenderBasin::LineStripOutput;
        const Recorded program = compile();
        EXPECT_THAT(program->geometry.code, ElementsAre(""));
        EXPECT_EQ(program->ProgramSources.size(), 3U);
    }
    EXPECT_EQ(shader.geometryCalls, 0);
}

TEST_F(Programmable, GeometryStagesHaveCommentsBetweenTheirPieces) {
    shader.buildGeometry();
    shader.geometryPrefix = "GP\n";
    const Recorded program = compile();
    EXPECT_EQ(
        textOf(program->geometry),
        "/*** Built from:  prefix, shader type definition, Platform Defines, "
        "ShaderPrefix(Context), Local Prefix Code, Main Shader Code (possibly file N.geom) ***/\n" +
            shader.GeometryHeader +
            "/*** shader type definition ***/\n"
            "#define GEOMETRY_SHADER  1\n"
            "\n/*** Platform Defines ***/\n"
            "#define PLATFORM 1\n"
            "/*** ShaderPrefix(Context) virtual function ***/\n"
            "GP\n"
            "/*** Local Prefix Code passed to each CompileShader() call ***/\n"
            "G"
            "\n/*** Main Shader Code, may be overridden by file N.geom ***/\n" +
            shader.default_geometry_shader);
    EXPECT_EQ(program->geometry.name, "N.geom");
    EXPECT_EQ(program->geometry.line, 0);
    EXPECT_EQ(program->input, RenderBasin::TrianglesInput);
    EXPECT_EQ(program->output, RenderBasin::TriangleStripOutput);
    EXPECT_THAT(textOf(program->vertex), StartsWith("#version 130\n"));
    EXPECT_THAT(textOf(program->vertex), HasSubstr("#define PLATFORM 1\nVvoid main"));
    EXPECT_THAT(textOf(program->fragment), HasSubstr("#define PLATFORM 1\nFvoid main"));
}

TEST_F(Programmable, ProgramsWithGeometryKnowSixTextsAndSixFiles) {
    shader.buildGeometry();
    writeFile("N.geom.glsl", "not read");
    const Recorded program = compile();
    EXPECT_THAT(program->ProgramSources, ElementsAre(Pair("frag", textOf(program->fragment)),
                                                     Pair("frag.glsl", textOf(program->fragment)),
                                                     Pair("geom", textOf(program->geometry)),
                                                     Pair("geom.glsl", textOf(program->geometry)),
                                                     Pair("vert", textOf(program->vertex)),
                                                     Pair("vert.glsl", textOf(program->vertex))));
    EXPECT_THAT(program->ProgramFileTimes,
                ElementsAre(Pair("N.frag", Keel::Filetime()), Pair("N.frag.glsl", Keel::Filetime()),
                            Pair("N.geom", Keel::Filetime()),
                            Pair("N.geom.glsl", Keel::FileInfo("N.geom.glsl").modified),
                            Pair("N.vert", Keel::Filetime()),
                            Pair("N.vert.glsl", Keel::Filetime())));
    EXPECT_EQ(textOf(program->geometry).find("not read"), std::string::npos);
}

TEST_F(Programmable, WithoutGeometryCodeTheProgramIsPlain) {
    shader.buildGeometry();
    shader.hasGeometry = false;
    CaptureStdout();
    const Recorded program = compile();
    EXPECT_EQ(GetCapturedStdout(),
              "Polypia: Compile Shader(N) specifies geometry output but no geometry shader code is "
              "available!?\n");
    EXPECT_EQ(shader.geometryCalls, 1);
    EXPECT_THAT(program->geometry.code, ElementsAre(""));
    EXPECT_EQ(program->input, RenderBasin::NoGeometryInput);
    EXPECT_EQ(program->ProgramSources.size(), 3U);
    EXPECT_THAT(program->ProgramFileTimes, ElementsAre(Key("N.frag"), Key("N.vert")));
}

TEST_F(Programmable, AGeometryFileWithoutCodeIsWatchedForSome) {
    shader.buildGeometry();
    writeFile("N.geom", "R\"()\"");
    context.ShaderFileOverrides = true;
    CaptureStdout();
    const Recorded program = compile();
    EXPECT_THAT(GetCapturedStdout(), HasSubstr("no geometry shader code"));
    EXPECT_EQ(program->ProgramFileTimes.at("N.geom"), Keel::FileInfo("N.geom").modified);
}

// ---------------------------------------------------------------------------------------------
// Failures

TEST_F(Programmable, ARefusedProgramIsToldAndEmpty) {
    for (const bool hasGeometry : {false, true}) {
        if (hasGeometry) shader.buildGeometry();
        context.basin.log->failing = {"createProgram N.vert"};
        CaptureStdout();
        EXPECT_FALSE(compile());
        EXPECT_EQ(GetCapturedStdout(), "Polypia: Compile Shader(N) did not yield a program!\n");
        EXPECT_EQ(shader.ShaderName, "N");
    }
}

TEST_F(Programmable, AnExceptionOfTheBackendPassesThrough) {
    context.basin.log->throwing = {"createProgram N.vert"};
    CaptureStdout();
    EXPECT_THROW(compile(), Mirk::RenderException);
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(shader.ShaderName, "N");
}

TEST_F(Programmable, FilesOfACompileThatFailedAreKept) {
    writeFile("N.vert", "faulty");
    context.ShaderFileOverrides = true;
    context.basin.log->throwing = {"createProgram N.vert"};
    EXPECT_THROW(compile(), Mirk::RenderException);
    EXPECT_THAT(shader.lastFileTimes,
                ElementsAre(Pair("N.frag", Keel::Filetime()),
                            Pair("N.vert", Keel::FileInfo("N.vert").modified)));
}

TEST_F(Programmable, FilesOfACompileWithGeometryThatFailedAreKept) {
    writeFile("N.geom", "faulty");
    writeFile("N.frag.glsl", "faulty");
    shader.GeometryInput = RenderBasin::TrianglesInput;
    shader.GeometryOutput = RenderBasin::TriangleStripOutput;
    context.ShaderFileOverrides = true;
    context.basin.log->throwing = {"createProgram N.vert"};
    EXPECT_THROW(compile(), Mirk::RenderException);
    EXPECT_THAT(shader.lastFileTimes,
                ElementsAre(Pair("N.frag", Keel::Filetime()),
                            Pair("N.frag.glsl", Keel::FileInfo("N.frag.glsl").modified),
                            Pair("N.geom", Keel::FileInfo("N.geom").modified),
                            Pair("N.geom.glsl", Keel::Filetime()), Pair("N.vert", Keel::Filetime()),
                            Pair("N.vert.glsl", Keel::Filetime())));
}

TEST_F(Programmable, CompilesEachTime) {
    const Recorded first = compile();
    EXPECT_FALSE(compile() == first);
    EXPECT_THAT(context.basin.log->take(),
                ElementsAre("createProgram N.vert", "createProgram N.vert"));
}

TEST_F(Programmable, BackendsLearnWhereTextsComeFromDuringTheCall) {
    writeFile("N.vert", "R\"x(\nfirst\nsecond\n)x\"");
    context.ShaderFileOverrides = true;
    std::vector<RenderBasin::TextOrigin> origins;
    shader.CompileShader(
        context, "N",
        [&](const Mirk::ProgramParameters& given) {
            origins = context.textOrigins;
            return given;
        },
        {}, "1\n2\n", "", "");
    EXPECT_THAT(context.textOrigins, IsEmpty());
    ASSERT_EQ(origins.size(), 2U);
    const std::string ahead = shader.VertexHeader + shader.define_VERTEX_SHADER +
                              context.basin.platformDefines + "1\n2\n";
    EXPECT_EQ(origins[0].stage, "N.vert");
    EXPECT_EQ(origins[0].file, "N.vert");
    EXPECT_EQ(origins[0].firstLine,
              1U + static_cast<std::size_t>(std::count(ahead.begin(), ahead.end(), '\n')));
    EXPECT_EQ(origins[0].lines, 3U);
    EXPECT_EQ(origins[0].fileLine, 1U);
    EXPECT_EQ(origins[1].stage, "N.frag");
    EXPECT_EQ(origins[1].file, "");
}

TEST_F(Programmable, LinesOfFilesEndAsInGlsl) {
    context.ShaderFileOverrides = true;
    const auto originOf = [&](const std::string& content) {
        writeFile("N.vert", content);
        RenderBasin::TextOrigin origin;
        const auto keepOrigin = [&](const Mirk::ProgramParameters& given) {
            origin = context.textOrigins.at(0);
            return given;
        };
        shader.CompileShader(context, "N", keepOrigin, {}, "1\n", "", "");
        return origin;
    };
    const RenderBasin::TextOrigin plain = originOf("a\nb\nc\n");
    EXPECT_EQ(plain.lines, 3U);
    for (const char* const content :
         {"a\rb\rc\r", "a\r\nb\r\nc\r\n", "a\n\rb\n\rc\n", "a\rb\n\rc", "\r\nb\nc"}) {
        const RenderBasin::TextOrigin origin = originOf(content);
        EXPECT_EQ(origin.firstLine, plain.firstLine);
        EXPECT_EQ(origin.lines, 3U) << testing::PrintToString(content);
        EXPECT_EQ(origin.fileLine, 1U) << testing::PrintToString(content);
    }
    // The first carriage return joins the line feed ahead of it.
    const RenderBasin::TextOrigin joined = originOf("\rb\rc\r");
    EXPECT_EQ(joined.firstLine, plain.firstLine);
    EXPECT_EQ(joined.lines, 2U);
    EXPECT_EQ(joined.fileLine, 2U);
    EXPECT_EQ(originOf("R\"x\r\ry(a\rb)x\r\ry\"").fileLine, 3U);
}

// ---------------------------------------------------------------------------------------------
// Compute programs

TEST_F(Programmable, ComputeTextsAreCompleteAndKnownAsTheyWereBeforeIncludes) {
    writeFile("part", "included");
    const std::string code = "#version 430\n#include \"part\"\r\nvoid main() {}";
    for (const bool isStatic : {false, true}) {
        const Recorded program(isStatic ? Mirk::Programmable::makeComputeShader(context, "C", code)
                                        : shader.getComputeShader(context, "C", code));
        EXPECT_THAT(program->compute.code,
                    ElementsAre("#version 430\n#line ./part 1\nincluded\n#line C.comp 2\n"
                                "void main() {}\n"));
        EXPECT_EQ(program->compute.name, "C.comp");
        EXPECT_EQ(program->compute.line, 0);
        EXPECT_FALSE(program->previous);
        EXPECT_THAT(program->ProgramSources, ElementsAre(Pair("comp", code)));
        EXPECT_THAT(program->ProgramFileTimes,
                    ElementsAre(Pair("./part", Keel::FileInfo("part").modified),
                                Pair("C.comp", Keel::Filetime())));
    }
}

TEST_F(Programmable, OnlyTheObjectsComputeShadersIncludeByItsPath) {
    std::filesystem::create_directory("own");
    writeFile("own/part", "included");
    shader.IncludePath = {"own"};
    const std::string code = "#include <part>\r\n";
    const Recorded own(shader.getComputeShader(context, "C", code));
    EXPECT_THAT(own->compute.code, ElementsAre("#line own/part 1\nincluded\n#line C.comp 1\n"));
    CaptureStdout();
    const Recorded shared(Mirk::Programmable::makeComputeShader(context, "C", code));
    GetCapturedStdout();
    EXPECT_THAT(shared->compute.code, ElementsAre("#line C.comp 1\n"));
}

TEST_F(Programmable, ComputeFilesReplaceTheTextWhateverTheSettings) {
    writeFile("C.comp", "from file");
    EXPECT_FALSE(context.ShaderFileOverrides);
    const Recorded program(shader.getComputeShader(context, "C", "code"));
    EXPECT_THAT(program->compute.code, ElementsAre("from file\n"));
    EXPECT_THAT(program->ProgramSources, ElementsAre(Pair("comp", "from file")));
    EXPECT_THAT(program->ProgramFileTimes,
                ElementsAre(Pair("C.comp", Keel::FileInfo("C.comp").modified)));
}

TEST_F(Programmable, AnEmptyComputeFileIsFilledWithTheTextAheadOfIncludes) {
    writeFile("part", "included");
    writeFile("C.comp", "");
    const std::string code = "#include \"part\"\r\n";
    CaptureStderr();
    const Recorded program(shader.getComputeShader(context, "C", code));
    EXPECT_EQ(GetCapturedStderr(), "NOTE: Writing shader to C.comp\n");
    EXPECT_EQ(fileContent("C.comp"), code);
    EXPECT_THAT(program->ProgramSources, ElementsAre(Pair("comp", code)));
    EXPECT_FALSE(program->SourceHasChanged());
}

/// Keeps where the text of the last compute program came from.
class OriginsContext : public RecordingContext {
public:
    ProgramPtr createComputeProgram(const std::vector<std::string>& code, const std::string& name,
                                    int line, const LinkParameters& parameters,
                                    const ProgramPtr& previous) override {
        origins = textOrigins;
        return RecordingContext::createComputeProgram(code, name, line, parameters, previous);
    }
    std::vector<TextOrigin> origins;
};

TEST_F(Programmable, ComputeTextsAreOfTheFileOnlyIfItWasRead) {
    OriginsContext other;
    writeFile("C.comp", "from file");
    shader.getComputeShader(other, "C", "code");
    ASSERT_EQ(other.origins.size(), 1U);
    EXPECT_EQ(other.origins[0].file, "C.comp");
    std::filesystem::resize_file("C.comp", (std::uintmax_t{64} << 20) + 1); // more than is read
    shader.getComputeShader(other, "C", "code");
    ASSERT_EQ(other.origins.size(), 1U);
    EXPECT_EQ(other.origins[0].file, "");
}

TEST_F(Programmable, FilesOfAComputeShaderThatFailedAreKept) {
    writeFile("part", "faulty");
    writeFile("C.comp", "#include \"part\"\r\n");
    context.basin.log->throwing = {"createComputeProgram C.comp"};
    EXPECT_THROW(shader.getComputeShader(context, "C", "code"), Mirk::RenderException);
    EXPECT_THAT(shader.lastFileTimes,
                ElementsAre(Pair("./part", Keel::FileInfo("part").modified),
                            Pair("C.comp", Keel::FileInfo("C.comp").modified)));
}

TEST_F(Programmable, ARefusedComputeProgramIsEmpty) {
    context.basin.log->failing = {"createComputeProgram C.comp"};
    EXPECT_FALSE(shader.getComputeShader(context, "C", "code"));
    EXPECT_FALSE(Mirk::Programmable::makeComputeShader(context, "C", "code"));
}

// ---------------------------------------------------------------------------------------------
// Validity

class ShaderValidity : public Programmable {
protected:
    ShaderValidity() { context.ShaderFileOverrides = true; }

    bool isValid() {
        CaptureStdout();
        const bool valid = Mirk::Programmable::hasValidShaderPrograms(*polyp, context);
        GetCapturedStdout();
        return valid;
    }
    static void makeYounger(const std::string& file) {
        std::filesystem::last_write_time(file, std::filesystem::last_write_time(file) +
                                                   std::chrono::seconds(1));
    }

    const Keel::StrongPtr<Polyp, Keel::Cacheable> polyp{new Polyp({})};
};

TEST_F(ShaderValidity, OfAPolypWithoutProgramIsAskedForWithOverridesOnly) {
    EXPECT_FALSE(isValid());
    polyp->insert(context.createTimer());
    EXPECT_FALSE(isValid());
    context.ShaderFileOverrides = false;
    EXPECT_TRUE(isValid());
}

TEST_F(ShaderValidity, EndsWithTheChangeOfAFile) {
    writeFile("N.vert", "void main() {}\n");
    polyp->insert(compile());
    EXPECT_TRUE(isValid());
    makeYounger("N.vert");
    EXPECT_FALSE(isValid());
    context.ShaderFileOverrides = false;
    EXPECT_TRUE(isValid()) << "sources aren't watched";
}

TEST_F(ShaderValidity, EndsWithAFileThatIsNew) {
    polyp->insert(compile());
    EXPECT_TRUE(isValid());
    writeFile("N.frag", "void main() {}\n");
    EXPECT_FALSE(isValid());
}

TEST_F(ShaderValidity, DoesNotEndWithAFileThatIsGone) {
    writeFile("N.vert", "void main() {}\n");
    polyp->insert(compile());
    std::filesystem::remove("N.vert");
    EXPECT_TRUE(isValid());
}

TEST_F(ShaderValidity, EndsWithTheChangeOfAnIncludedFileAndOfTheSecondChoice) {
    writeFile("part", "float f();\n");
    writeFile("N_vert.glsl", "#include \"part\"\r\nvoid main() {}\n");
    polyp->insert(compile());
    EXPECT_TRUE(isValid());
    makeYounger("part");
    EXPECT_FALSE(isValid());
    polyp->clear();
    polyp->insert(compile());
    EXPECT_TRUE(isValid());
    makeYounger("N_vert.glsl");
    EXPECT_FALSE(isValid());
}

TEST_F(ShaderValidity, EndsWithAnIncludedFileThatIsMade) {
    std::filesystem::create_directory("later");
    shader.IncludePath = {"later"};
    writeFile("N.vert", "#include \"part\"\r\nvoid main() {}\n");
    CaptureStdout();
    polyp->insert(compile());
    GetCapturedStdout();
    EXPECT_TRUE(isValid());
    writeFile("later/part", "float f();\n");
    EXPECT_FALSE(isValid());
    polyp->clear();
    polyp->insert(compile());
    EXPECT_TRUE(isValid());
    writeFile("part", "float f();\n");
    EXPECT_FALSE(isValid()) << "it is found first";
}

TEST_F(ShaderValidity, DoesNotEndWithAFolderThatHasTheNameOfAnIncludedFile) {
    std::filesystem::create_directory("part");
    std::filesystem::create_directory("own");
    writeFile("own/part", "float f();\n");
    shader.IncludePath = {"own"};
    writeFile("N.vert", "#include \"part\"\r\nvoid main() {}\n");
    polyp->insert(compile());
    makeYounger("part");
    EXPECT_TRUE(isValid());
    makeYounger("own/part");
    EXPECT_FALSE(isValid());
}

TEST_F(ShaderValidity, CountsAllProgramsOfAPolyp) {
    writeFile("M.vert", "void main() {}\n");
    polyp->insert(compile("M"));
    const ProgramPtr second = compile("N");
    polyp->insert(second);
    EXPECT_TRUE(isValid());
    makeYounger("M.vert");
    EXPECT_FALSE(isValid());
    polyp->clear();
    polyp->insert(compile("M"));
    polyp->insert(second);
    EXPECT_TRUE(isValid());
    writeFile("N.vert", "void main() {}\n");
    EXPECT_FALSE(isValid()) << "a change of the second alone";
}

TEST_F(Programmable, NumberOfLightsIsAConstant) {
    context.numberOfLightSources = 3;
    EXPECT_EQ(Mirk::Programmable::setNumberOfLightSources(context, "Lights"),
              "const int Lights = 3; // number of currently active light sources \n");
    const std::string line = Mirk::Programmable::setNumberOfLightSources(context, "N");
    EXPECT_EQ(line.size(), 62U) << "with a blank ahead of the line feed";
    EXPECT_EQ(
        ::crc32(0, reinterpret_cast<const Bytef*>(line.data()), static_cast<uInt>(line.size())),
        0x910eeb4bU);
}

// ---------------------------------------------------------------------------------------------
// Heads

TEST_F(Programmable, HeadsAreToldByteByByte) {
    const std::string prefix =
        "\n\n/* This prefix code is provided by reef/Polypia/Programmable */\n"
        "#ifdef GL_GOOGLE_cpp_style_line_directive\n"
        "#extension GL_GOOGLE_cpp_style_line_directive : require\n"
        "#define ZELK_GL_CAN_DO_LINE_DIRECTIVE 1\n"
        "#endif\n"
        "#extension GL_EXT_gpu_shader4 : enable\n"
        "#if (__VERSION__  <= 140)\n"
        "#extension GL_ARB_gpu_shader5 : require\n"
        "#extension GL_ARB_uniform_buffer_object : require\n"
        "#endif\n";
    EXPECT_EQ(shader.VertexHeader, "#version 130\n" + prefix);
    shader.setGLSLVersion("450 core");
    EXPECT_EQ(shader.VertexHeader,
              "#version 450 core\n/* Note: GL_core_profile is defined. */ \n\n" + prefix);
    shader.setGLSLVersion("330 compatibility");
    EXPECT_EQ(shader.FragmentHeader, "#version 330 compatibility\n"
                                     "/* Note: GL_compatibility_profile is defined. */ \n\n" +
                                         prefix);
    EXPECT_EQ(shader.GeometryHeader,
              shader.FragmentHeader + "\n#extension GL_EXT_geometry_shader4 : require\n");
}

TEST_F(Programmable, VersionsAreSetPerStage) {
    const auto versions = [&] {
        std::string all;
        for (const std::string* const head :
             {&shader.VertexHeader, &shader.GeometryHeader, &shader.FragmentHeader}) {
            all += head->substr(9, head->find('\n') - 9) + " ";
        }
        return all;
    };
    EXPECT_EQ(versions(), "130 130 130 ");
    shader.setGLSLVersion("330", "150");
    EXPECT_EQ(versions(), "330 330 150 ");
    shader.setGLSLVersion("");
    EXPECT_EQ(versions(), "330 330 150 ");
    shader.setGLSLVersion("", "440", "");
    EXPECT_EQ(versions(), "330 440 150 ");
    shader.setGLSLVersion("410", "420", "430");
    EXPECT_EQ(versions(), "410 420 430 ");
    shader.setGLSLVersion("450");
    EXPECT_EQ(versions(), "450 450 450 ");
}

TEST_F(Programmable, ViewportsAreAppendedToTheHeads) {
    const std::string vertex = shader.VertexHeader, geometry = shader.GeometryHeader,
                      fragment = shader.FragmentHeader;
    const std::string uniforms = "uniform int zelk_MinViewportIndex = 0;\n"
                                 "uniform int zelk_MaxViewportIndex = 1;\n";
    shader.enableViewportArray(false);
    EXPECT_EQ(shader.VertexHeader, vertex);
    EXPECT_EQ(shader.FragmentHeader, fragment);
    EXPECT_THAT(shader.GeometryHeader, StartsWith(geometry + "#ifdef ZELK_DO_LINE_DIRECTIVE\n"));
    EXPECT_THAT(shader.GeometryHeader, HasSubstr(uniforms));
    EXPECT_THAT(shader.GeometryHeader, HasSubstr("#extension GL_ARB_viewport_array : enable\n"));
    EXPECT_THAT(shader.GeometryHeader, Not(HasSubstr("GL_ARB_fragment_layer_viewport")));
    const std::string block = shader.GeometryHeader.substr(geometry.size());

    shader.setGLSLVersion("130");
    shader.enableViewportArray(true);
    EXPECT_EQ(shader.VertexHeader, vertex);
    EXPECT_THAT(shader.GeometryHeader, StartsWith(geometry));
    EXPECT_THAT(shader.GeometryHeader, EndsWith(block));
    const std::string layer = shader.GeometryHeader.substr(
        geometry.size(), shader.GeometryHeader.size() - geometry.size() - block.size());
    EXPECT_THAT(layer, HasSubstr("#ifdef GL_ARB_fragment_layer_viewport\n"
                                 "#extension GL_ARB_fragment_layer_viewport : enable\n#endif\n"));
    EXPECT_THAT(shader.FragmentHeader, StartsWith(fragment + layer));
    EXPECT_THAT(shader.FragmentHeader, HasSubstr(uniforms));
    EXPECT_THAT(shader.FragmentHeader, HasSubstr("#define zelk_ViewportValue01() "));
}

TEST_F(Programmable, ViewportsAreAppendedAgainByEachCallAndDroppedByTheVersionOfTheirStage) {
    const std::string geometry = shader.GeometryHeader;
    shader.enableViewportArray(false);
    const std::string once = shader.GeometryHeader;
    shader.enableViewportArray(false);
    EXPECT_EQ(shader.GeometryHeader, once + once.substr(geometry.size()));
    shader.enableViewportArray(true);
    const std::string fragment = shader.FragmentHeader;
    shader.setGLSLVersion("", "130", "");
    EXPECT_EQ(shader.GeometryHeader, geometry);
    EXPECT_EQ(shader.FragmentHeader, fragment);
}

} // namespace
