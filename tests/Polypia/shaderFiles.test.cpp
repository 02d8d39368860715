// Includes in shader text, and files that replace it.

#include <Polypia/Programmable.hpp>

#include "RecordingContext.hpp"
#include "shaderFolder.hpp"

#include <gmock/gmock.h>

#include <array>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <functional>
#include <list>
#include <string>

#include <grp.h>
#include <sys/stat.h>
#include <sys/wait.h>
#include <unistd.h>

using testing::ElementsAre;
using testing::EndsWith;
using testing::HasSubstr;
using testing::StartsWith;
using testing::internal::CaptureStderr;
using testing::internal::CaptureStdout;
using testing::internal::GetCapturedStderr;
using testing::internal::GetCapturedStdout;

namespace {

using std::string_literals::operator""s;
using Paths = std::list<std::string>;
using Recorded = Keel::StrongPtr<RecordingProgram, Mirk::Polyp::Tentacle>;

/// Calls the function in a process of an ordinary user, as the superuser may do all. Whether it
/// came back, and was true.
bool isTrueForOrdinaryUser(const std::function<bool()>& function) {
    const ::pid_t child = ::fork();
    if (child == 0) {
        constexpr ::uid_t nobody = 65534;
        const bool isOrdinary =
            ::geteuid() != 0 ||
            (::setgroups(0, nullptr) == 0 && ::setgid(nobody) == 0 && ::setuid(nobody) == 0);
        ::_exit(isOrdinary && function() ? 0 : 1);
    }
    int state = 0;
    return child > 0 && ::waitpid(child, &state, 0) == child && state == 0;
}

class ShaderIncludes : public testing::Test {
protected:
    /// What was printed is in `printed`.
    std::string process(const std::string& code, const Paths& path = {}) {
        CaptureStdout();
        const std::string text = Mirk::Programmable::processIncludes(code, "N.vert", path);
        printed = GetCapturedStdout();
        return text;
    }
    static std::string notFound(const std::string& name, int line = 1) {
        return "Polypia/Programmable: include file '" + name +
               "' not found in N.vert:" + std::to_string(line) + " \n";
    }

    const ShaderFolder folder;
    std::string printed;
};

TEST_F(ShaderIncludes, LinesWithoutIncludesStayAndEndWithALineFeed) {
    EXPECT_EQ(process(""), "");
    EXPECT_EQ(process("\n"), "\n");
    EXPECT_EQ(process("a"), "a\n");
    EXPECT_EQ(process("a\n"), "a\n");
    EXPECT_EQ(process("a\n\n"), "a\n\n");
    EXPECT_EQ(process("\r\na\r"), "\r\na\r\n");
    EXPECT_EQ(process("#define include\n# include <a>\n#Include\n"),
              "#define include\n# include <a>\n#Include\n");
    EXPECT_EQ(printed, "");
}

TEST_F(ShaderIncludes, TextEndsAtItsFirstNul) {
    EXPECT_EQ(process("x\0y\n"s), "x\n");
    EXPECT_EQ(process("\0x"s), "");
    EXPECT_EQ(process("x\n\0#include \"a\"\r\n"s), "x\n");
    EXPECT_EQ(process("#include \"a\0b\"\r\n"s), "#line N.vert 1\n");
    EXPECT_EQ(printed, "") << "too short";
}

TEST_F(ShaderIncludes, ALineWithAnythingAheadOfTheWordIsNone) {
    writeFile("x", "included");
    const std::string code = "  #include \"x\"\r\n\t#include \"x\"\r\n//#include \"x\"\r\n";
    EXPECT_EQ(process(code), code);
}

TEST_F(ShaderIncludes, TheLastLetterOfTheNameIsLostAtTheLineEnd) {
    EXPECT_EQ(process("#include \"ab\"\n"), "#line N.vert 1\n");
    EXPECT_EQ(printed, notFound("a"));
    writeFile("ab", "both");
    writeFile("a", "one");
    EXPECT_EQ(process("#include \"ab\"\n"), "#line ./a 1\none\n#line N.vert 1\n");
    EXPECT_EQ(process("#include \"ab\""), "#line ./a 1\none\n#line N.vert 1\n");
    EXPECT_EQ(process("#include \"ab\"\r\n"), "#line ./ab 1\nboth\n#line N.vert 1\n");
    EXPECT_EQ(process("#include \"ab\" \n"), "#line ./ab 1\nboth\n#line N.vert 1\n");
    EXPECT_EQ(printed, "");
}

TEST_F(ShaderIncludes, IncludesDoNotNestAndLinesAreThoseOfTheIncludingText) {
    writeFile("ab", "X\n#include \"ab\"\r\n\nY");
    EXPECT_EQ(process("a\n#include \"ab\"\r\nb"),
              "a\n#line ./ab 1\nX\n#include \"ab\"\r\n\nY\n#line N.vert 2\nb\n");
    EXPECT_EQ(process("#include \"ab\"\r\n\n#include \"ab\"\r\n"),
              "#line ./ab 1\nX\n#include \"ab\"\r\n\nY\n#line N.vert 1\n\n"
              "#line ./ab 1\nX\n#include \"ab\"\r\n\nY\n#line N.vert 3\n");
}

TEST_F(ShaderIncludes, IncludedFilesEndAtTheirFirstNul) {
    writeFile("ab", "X\0Y"s);
    EXPECT_EQ(process("#include \"ab\"\r\n"), "#line ./ab 1\nX\n#line N.vert 1\n");
    writeFile("ab", "");
    EXPECT_EQ(process("#include \"ab\"\r\n"), "#line ./ab 1\n#line N.vert 1\n");
}

TEST_F(ShaderIncludes, TooShortNamesBecomeADirectiveAndNothingIsSought) {
    for (const char* const line : {"#include", "#include ", "#include \"a", "#include\t\r"}) {
        EXPECT_EQ(process("x\n"s + line), "x\n#line N.vert 2\n") << line;
        EXPECT_EQ(printed, "") << line;
    }
}

TEST_F(ShaderIncludes, ThreeCharactersAskForTheEmptyName) {
    EXPECT_EQ(process("#includefoo"), "#line N.vert 1\n");
    EXPECT_EQ(printed, notFound(""));
    // Of nothing but blanks nothing is stripped. The folder ./ exists, and is no file.
    EXPECT_EQ(process("#include   ", {"."}), "#line N.vert 1\n");
    EXPECT_EQ(printed, notFound(""));
}

TEST_F(ShaderIncludes, BlanksAheadOfTheNameAreStripped) {
    writeFile("ab", "both");
    for (const char* const blanks : {"", " ", "\t \r \t"}) {
        EXPECT_EQ(process("#include"s + blanks + "\"ab\"\r\n"),
                  "#line ./ab 1\nboth\n#line N.vert 1\n");
    }
}

TEST_F(ShaderIncludes, TheDelimiterSaysWhetherTheWorkingDirectoryIsSearched) {
    std::filesystem::create_directory("path");
    writeFile("ab", "here");
    writeFile("path/ab", "there");
    EXPECT_EQ(process("#include \"ab\"\r\n", {"path"}), "#line ./ab 1\nhere\n#line N.vert 1\n");
    EXPECT_EQ(process("#include <ab>\r\n", {"path"}), "#line path/ab 1\nthere\n#line N.vert 1\n");
    EXPECT_EQ(printed, "");
    EXPECT_EQ(process("#include ?ab?\r\n", {"path"}), "#line ./ab 1\nhere\n#line N.vert 1\n");
    EXPECT_EQ(printed, "#include \"ab\"\t ===> [./ab]\n");
    EXPECT_EQ(process("#include ?none?\r\n"), "#line N.vert 1\n");
    EXPECT_EQ(printed, "#include \"none\"\t ===> []\n" + notFound("none"));
    EXPECT_EQ(process("#include <ab>\r\n"), "#line N.vert 1\n");
    EXPECT_EQ(printed, notFound("ab"));
}

TEST_F(ShaderIncludes, TheFirstOfThePathWinsAndFoldersAreNoFiles) {
    for (const char* const name : {"1/ab", "2", "3"}) std::filesystem::create_directories(name);
    writeFile("2/ab", "second");
    writeFile("3/ab", "third");
    EXPECT_EQ(process("#include <ab>\r\n", {"1", "2", "3"}),
              "#line 2/ab 1\nsecond\n#line N.vert 1\n");
}

TEST_F(ShaderIncludes, PipesAreNoFilesAndNobodyWaitsForThem) {
    ASSERT_EQ(::mkfifo("ab", 0600), 0);
    EXPECT_EQ(process("#include \"ab\"\r\n"), "#line N.vert 1\n");
    EXPECT_EQ(printed, notFound("ab"));
}

TEST_F(ShaderIncludes, AFileWithoutPermissionIsFoundAndHasNoLines) {
    std::filesystem::permissions(folder.path, std::filesystem::perms::all);
    writeFile("ab", "secret");
    std::filesystem::permissions("ab", std::filesystem::perms::none);
    EXPECT_TRUE(isTrueForOrdinaryUser([&] {
        return process("#include \"ab\"\r\nx") == "#line ./ab 1\n#line N.vert 1\nx\n" &&
               printed.empty();
    }));
}

TEST_F(ShaderIncludes, AFileThatIsLargerThanAnyShaderIsFoundAndHasNoLines) {
    writeFile("ab", "large");
    std::filesystem::resize_file("ab", (64U << 20) + 1);
    EXPECT_EQ(process("#include \"ab\"\r\nx"), "#line ./ab 1\n#line N.vert 1\nx\n");
    EXPECT_EQ(printed, "");
}

TEST_F(ShaderIncludes, NamesMayLeaveThePathUpwardsButNotByASlash) {
    std::filesystem::create_directory("path");
    writeFile("ab", "above");
    const std::string absolute = (folder.path / "ab").string();
    EXPECT_EQ(process("#include <../ab>\r\n", {"path"}),
              "#line path/../ab 1\nabove\n#line N.vert 1\n");
    EXPECT_EQ(process("#include \"" + absolute + "\"\r\n", {"path"}), "#line N.vert 1\n");
    EXPECT_EQ(printed, notFound(absolute));
}

TEST_F(ShaderIncludes, AMissingFileIsToldWithItsLine) {
    EXPECT_EQ(process("a\nb\n#include \"none\"\r\nc"), "a\nb\n#line N.vert 3\nc\n");
    EXPECT_EQ(printed, notFound("none", 3));
}

TEST_F(ShaderIncludes, ObjectsSearchTheirOwnPath) {
    std::filesystem::create_directory("path");
    writeFile("path/ab", "there");
    ToldProgrammable shader;
    shader.IncludePath = {"path"};
    EXPECT_EQ(shader.processIncludes("#include <ab>\r\n", "f"),
              "#line path/ab 1\nthere\n#line f 1\n");
}

TEST_F(ShaderIncludes, TheDefaultPathLeadsThroughTheEnvironment) {
    EXPECT_EQ(Mirk::Programmable::DefaultIncludePath(),
              (Paths{"$ZELK_ROOT", "$ZELK_ROOT/themes/default", "$ZELK_ROOT/themes/$ZELK_THEME"}));
    EXPECT_EQ(&Mirk::Programmable::DefaultIncludePath(), &Mirk::Programmable::DefaultIncludePath());
    std::filesystem::create_directories("root/themes/dark");
    writeFile("root/themes/dark/ab", "dark");
    const ToldProgrammable shader;
    ::setenv("ZELK_ROOT", "root", 1);
    ::setenv("ZELK_THEME", "dark", 1);
    EXPECT_EQ(shader.processIncludes("#include <ab>\r\n", "f"),
              "#line root/themes/dark/ab 1\ndark\n#line f 1\n");
    ::unsetenv("ZELK_ROOT");
    ::unsetenv("ZELK_THEME");
}

// ---------------------------------------------------------------------------------------------
// Overrides

class ShaderOverrides : public testing::Test {
protected:
    ShaderOverrides() {
        context.ShaderFileOverrides = true;
        shader.vertex = "built in\n";
    }

    /// Main code of the vertex stage; what was told on standard error is in `told`.
    std::string code() {
        CaptureStderr();
        const std::string text =
            shader.getCode(context, "N", ".vert", &Mirk::Programmable::vertex_shader, "").first;
        told = GetCapturedStderr();
        return text;
    }
    Recorded compile() {
        CaptureStderr();
        const Recorded program(shader.CompileShader(context, "N", {}, {}, "", "", ""));
        told = GetCapturedStderr();
        return program;
    }
    static std::string framed(const std::string& title, const std::string& code) {
        return "#if defined(ZELK_GL_VENDOR_NVIDIA_Corporation) || "
               "defined(GL_GOOGLE_cpp_style_line_directive)\n"
               "#define ZELK_DO_LINE_DIRECTIVE 1\n"
               "#endif\n"
               "// inserted by Programmable:mkFileString()\n"
               "// #define ZELK_DO_LINE_DIRECTIVE 1  /* uncomment to enable line directives */\n"
               "\n/* " +
               title + " */\n// Shader code generated from intrinsic shader  \n\n" + code +
               "\n /* " + title + " */ \n";
    }

    const ShaderFolder folder;
    RecordingContext context;
    ToldProgrammable shader;
    std::string told;
};

TEST_F(ShaderOverrides, AreOffUnlessTheContextSaysOtherwise) {
    context.ShaderFileOverrides = false;
    writeFile("N.vert", "from file\n");
    writeFile("N.frag", "");
    shader.buildGeometry();
    writeFile("N.geom.glsl", "");
    EXPECT_EQ(code(), "built in\n");
    compile();
    EXPECT_EQ(fileContent("N.frag"), "");
    EXPECT_EQ(fileContent("N.geom.glsl"), "");
    EXPECT_EQ(told, "");
}

TEST_F(ShaderOverrides, WithoutFilesTheBuiltInTextIsUsedAndNoneIsMade) {
    shader.buildGeometry();
    EXPECT_EQ(code(), "built in\n");
    compile();
    EXPECT_TRUE(std::filesystem::is_empty("."));
    EXPECT_EQ(told, "");
}

TEST_F(ShaderOverrides, AFileWithContentIsTheCodeWithItsIncludes) {
    writeFile("part", "included");
    writeFile("N.vert", "from file\n#include \"part\"\r\n");
    EXPECT_EQ(code(), "from file\n#line ./part 1\nincluded\n#line N.vert 2\n");
    EXPECT_EQ(shader.vertexCalls, 0);
}

TEST_F(ShaderOverrides, AnEmptyFileIsFilledOnceAndIsTheCodeFromThenOn) {
    writeFile("N.vert", "");
    EXPECT_EQ(code(), "built in\n");
    EXPECT_EQ(told, "NOTE: Writing shader to N.vert\n");
    EXPECT_EQ(fileContent("N.vert"), framed("Vertex Shader", "built in\n"));
    EXPECT_EQ(code(), framed("Vertex Shader", "built in\n"));
    EXPECT_EQ(told, "");
}

TEST_F(ShaderOverrides, FilledFilesBearTheTitleOfTheirStage) {
    const auto fill = [&](const std::string& suffix) {
        writeFile("N" + suffix, "");
        CaptureStderr();
        shader.getCode(context, "N", suffix, &Mirk::Programmable::vertex_shader, "");
        GetCapturedStderr();
        return fileContent("N" + suffix);
    };
    EXPECT_EQ(fill(".frag"), framed("Fragment Shader", "built in\n"));
    EXPECT_EQ(fill(".geom"), framed("Geometry Shader", "built in\n"));
    EXPECT_EQ(fill(".task"), framed("SHADER", "built in\n"));
}

void makeEmptyAndOld(const std::string& file) {
    writeFile(file, "");
    std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() -
                                               std::chrono::hours(1));
}

TEST_F(ShaderOverrides, AFilledFileIsNoChangeForTheProgramThatFilledIt) {
    makeEmptyAndOld("N.vert");
    const auto program = compile();
    EXPECT_FALSE(program->SourceHasChanged());
    EXPECT_EQ(program->ProgramFileTimes.at("N.vert"), Keel::FileInfo("N.vert").modified);
}

/// Saves as some editors do: the file is empty for a moment, in which it is read.
class SavedMeanwhile : public ToldProgrammable {
public:
    std::string vertex_shader(Mirk::VRenderContext&) const override {
        if (!file.empty()) writeFile(file, "edited\n");
        return "built in\n";
    }
    std::string file;
};

TEST_F(ShaderOverrides, AFileThatAnEditorEmptiesAndThenWritesIsAChangeForTheProgramBetween) {
    makeEmptyAndOld("N.vert");
    SavedMeanwhile saved;
    saved.file = "N.vert";
    const Recorded program(saved.CompileShader(context, "N", {}, {}, "", "", ""));
    EXPECT_EQ(program->ProgramSources.at("vert").find("edited"), std::string::npos);
    EXPECT_EQ(fileContent("N.vert"), "edited\n");
    EXPECT_TRUE(program->SourceHasChanged());
}

TEST_F(ShaderOverrides, TheSecondChoiceIsAskedWithoutTheFirst) {
    writeFile("N_vert.glsl", "second\n");
    EXPECT_EQ(code(), "second\n");
    writeFile("N.vert", "first\n");
    EXPECT_EQ(code(), "first\n");
    writeFile("N.vert", "");
    EXPECT_EQ(code(), "built in\n") << "the first is a request";
    EXPECT_THAT(fileContent("N.vert"), HasSubstr("built in"));
}

TEST_F(ShaderOverrides, TheSecondChoiceIsFilledWithoutFrame) {
    writeFile("N_vert.glsl", "");
    EXPECT_EQ(code(), "built in\n");
    EXPECT_EQ(fileContent("N_vert.glsl"), "built in\n");
    EXPECT_EQ(told, "");
}

TEST_F(ShaderOverrides, AFileThatIsSwitchedOffLeavesTheBuiltInText) {
    writeFile("N.vert", "//disabled for now\n#include \"none\"\r\n");
    CaptureStdout();
    EXPECT_EQ(code(), "built in\n");
    EXPECT_EQ(GetCapturedStdout(), "");
    EXPECT_EQ(shader.vertexCalls, 1);
    writeFile("N.vert", " //disable\n");
    EXPECT_EQ(code(), " //disable\n");
}

TEST_F(ShaderOverrides, TheBodyOfARawStringIsTheCode) {
    const auto body = [&](const std::string& content) {
        writeFile("N.vert", content);
        return code();
    };
    EXPECT_EQ(body("R\"glsl(void main(){})glsl\""), "void main(){}\n");
    EXPECT_EQ(body("R\"(a)b\")\";\n"), "a)b\"\n");
    EXPECT_EQ(body("R\"x()x\""), "");
    EXPECT_EQ(body("R\"glsl(void main(){})hlsl\""), "R\"glsl(void main(){})hlsl\"\n");
    EXPECT_EQ(body("R\"no bracket"), "R\"no bracket\n");
    EXPECT_EQ(body(" R\"(a)\""), " R\"(a)\"\n");
    EXPECT_EQ(body("R\"(//disable)\""), "//disable\n");
}

TEST_F(ShaderOverrides, TheSecondChoiceMayBeSwitchedOffOrARawStringAsWell) {
    writeFile("N_vert.glsl", "//disable\nfrom file\n");
    EXPECT_EQ(code(), "built in\n");
    writeFile("N_vert.glsl", "R\"x(from file)x\"");
    EXPECT_EQ(code(), "from file\n");
}

TEST_F(ShaderOverrides, TheRulesForFilesHoldForTheBuiltInTextAsWell) {
    shader.vertex = "R\"(a)\"";
    EXPECT_EQ(code(), "a\n");
    context.ShaderFileOverrides = false;
    EXPECT_EQ(code(), "R\"(a)\"\n");
}

TEST_F(ShaderOverrides, AWholeStageReplacesTheComposedOneOfAProgramWithGeometry) {
    writeFile("N.vert.glsl", "whole vertex");
    const Recorded plain = compile();
    EXPECT_THAT(plain->vertex.code.front(), StartsWith("#version"));
    shader.buildGeometry();
    writeFile("N.geom.glsl", "whole geometry");
    writeFile("N.frag.glsl", "whole fragment");
    const Recorded program = compile();
    EXPECT_THAT(program->vertex.code, ElementsAre("whole vertex"));
    EXPECT_THAT(program->geometry.code, ElementsAre("whole geometry"));
    EXPECT_THAT(program->fragment.code, ElementsAre("whole fragment"));
    EXPECT_EQ(program->ProgramSources.at("vert"), "whole vertex");
    EXPECT_EQ(program->ProgramSources.at("vert.glsl"), "whole vertex");
    EXPECT_EQ(program->vertex.name, "N.vert");
    EXPECT_EQ(program->ProgramFileTimes.at("N.vert.glsl"), Keel::FileInfo("N.vert.glsl").modified);
}

TEST_F(ShaderOverrides, AnEmptyWholeStageIsFilledUnderItsName) {
    shader.buildGeometry();
    writeFile("N.geom.glsl", "");
    std::filesystem::last_write_time("N.geom.glsl", std::filesystem::file_time_type::clock::now() -
                                                        std::chrono::hours(1));
    const Recorded program = compile();
    EXPECT_EQ(fileContent("N.geom.glsl"), "// N.geom.glsl\n" + program->geometry.code.front());
    EXPECT_THAT(program->geometry.code.front(), StartsWith("/*** Built from:"));
    EXPECT_EQ(told, "");
    CaptureStdout();
    EXPECT_TRUE(program->SourceHasChanged()) << "the time is that ahead of filling";
    GetCapturedStdout();
}

TEST_F(ShaderOverrides, WholeStagesAreFilledWithTheMainCodeThatFilesGive) {
    shader.buildGeometry();
    writeFile("N.vert", "vertex from file\n");
    writeFile("N.frag", "fragment from file\n");
    writeFile("N.vert.glsl", "");
    writeFile("N.frag.glsl", "");
    const Recorded program = compile();
    const std::string vertex = program->vertex.code.front();
    const std::string fragment = program->fragment.code.front();
    EXPECT_THAT(vertex, StartsWith("#version"));
    EXPECT_THAT(vertex, EndsWith("vertex from file\n"));
    EXPECT_THAT(fragment, EndsWith("fragment from file\n"));
    EXPECT_EQ(fileContent("N.vert.glsl"), "// N.vert.glsl\n" + vertex);
    EXPECT_EQ(fileContent("N.frag.glsl"), "// N.frag.glsl\n" + fragment);
}

// What stays as it is whatever asks for it.

class ShaderFilesThatStay : public ShaderOverrides {
protected:
    /// Has everything that fills files do so.
    void askEverywhere() {
        shader.buildGeometry();
        CaptureStderr();
        shader.CompileShader(context, "N", {}, {}, "", "", "");
        shader.getComputeShader(context, "N", "compute");
        EXPECT_EQ(Mirk::Programmable::OptionalFileRead("N.read", "code"), "code");
        EXPECT_EQ(Mirk::Programmable::OptionalFileReadAndWrite("N.write", "code"), "code");
        GetCapturedStderr();
    }
    static constexpr const char* names[] = {"N.vert", "N_frag.glsl", "N.geom.glsl",
                                            "N.comp", "N.read",      "N.write"};
};

TEST_F(ShaderFilesThatStay, Folders) {
    for (const char* const name : names) std::filesystem::create_directory(name);
    askEverywhere();
    for (const char* const name : names) EXPECT_TRUE(std::filesystem::is_directory(name)) << name;
    writeFile("N_vert.glsl", "second");
    EXPECT_EQ(code(), "second\n") << "a folder can't be opened for update";
}

TEST_F(ShaderFilesThatStay, Pipes) {
    for (const char* const name : names) ASSERT_EQ(::mkfifo(name, 0600), 0);
    askEverywhere();
    for (const char* const name : names) EXPECT_TRUE(std::filesystem::is_fifo(name)) << name;
}

TEST_F(ShaderFilesThatStay, FilesBehindSymbolicLinks) {
    for (const char* const name : names) {
        writeFile(std::string(name) + ".target", "");
        std::filesystem::create_symlink(std::string(name) + ".target", name);
    }
    writeFile("N.read.target", "?");
    askEverywhere();
    for (const char* const name : names) {
        EXPECT_TRUE(std::filesystem::is_symlink(name)) << name;
        EXPECT_EQ(fileContent(name), name == "N.read"s ? "?" : "") << name;
    }
}

TEST_F(ShaderFilesThatStay, LinksThatLeadNowhere) {
    for (const char* const name : names) std::filesystem::create_symlink("nowhere", name);
    askEverywhere();
    EXPECT_FALSE(std::filesystem::exists("nowhere"));
}

TEST_F(ShaderFilesThatStay, FilesOfOneNul) {
    const std::string nul(1, '\0');
    for (const char* const name : {"N.vert", "N_frag.glsl", "N.geom.glsl"}) writeFile(name, nul);
    EXPECT_EQ(code(), "") << "content, which ends at once";
    shader.buildGeometry();
    compile();
    for (const char* const name : {"N.vert", "N_frag.glsl", "N.geom.glsl"}) {
        EXPECT_EQ(fileContent(name), nul) << name;
    }
}

TEST_F(ShaderFilesThatStay, FilesWithoutPermission) {
    using std::filesystem::perms;
    std::filesystem::permissions(folder.path, perms::all); // for whoever it is
    const std::array<const char*, 3> secret{"N.vert", "N_frag.glsl", "N.geom.glsl"};
    for (const char* const name : secret) {
        writeFile(name, "secret");
        std::filesystem::permissions(name, perms::none);
    }
    EXPECT_TRUE(isTrueForOrdinaryUser([&] {
        const std::string text = code();
        askEverywhere();
        return text == "built in\n" && told.empty();
    }));
    // Those that can be read, but not written to, are content or nothing.
    for (const char* const name : secret) std::filesystem::permissions(name, perms::all);
    writeFile("N.vert", "");
    std::filesystem::permissions("N.vert", perms::others_read | perms::owner_read);
    EXPECT_TRUE(isTrueForOrdinaryUser([&] {
        askEverywhere();
        return code() == "built in\n";
    }));
    EXPECT_EQ(fileContent("N.vert"), "");
    for (const char* const name : {"N_frag.glsl", "N.geom.glsl"}) {
        EXPECT_EQ(fileContent(name), "secret") << name;
    }
}

TEST_F(ShaderFilesThatStay, FilesThatAreLargerThanAnyShader) {
    writeFile("N.vert", "");
    std::filesystem::resize_file("N.vert", (64U << 20) + 1);
    EXPECT_EQ(code(), "built in\n");
    EXPECT_EQ(told, "");
    EXPECT_EQ(std::filesystem::file_size("N.vert"), (64U << 20) + 1);
}

// ---------------------------------------------------------------------------------------------
// Optional files

class OptionalFiles : public testing::Test {
protected:
    static std::string read(const std::string& file) {
        return Mirk::Programmable::OptionalFileRead(file, "code");
    }
    std::string readAndWrite(const std::string& file) {
        CaptureStderr();
        const std::string text = Mirk::Programmable::OptionalFileReadAndWrite(file, "code");
        told = GetCapturedStderr();
        return text;
    }

    const ShaderFolder folder;
    std::string told;
};

TEST_F(OptionalFiles, AreReadIfTheyHaveContent) {
    EXPECT_EQ(read("f"), "code");
    EXPECT_FALSE(std::filesystem::exists("f"));
    writeFile("f", "");
    EXPECT_EQ(read("f"), "code");
    EXPECT_EQ(fileContent("f"), "");
    writeFile("f", "content");
    EXPECT_EQ(read("f"), "content");
    writeFile("f", "?\n");
    EXPECT_EQ(read("f"), "?\n");
}

TEST_F(OptionalFiles, AreWrittenForAQuestionMark) {
    writeFile("f", "?");
    EXPECT_EQ(read("f"), "code");
    EXPECT_EQ(fileContent("f"), "code");
}

TEST_F(OptionalFiles, AreFilledIfTheyAreEmpty) {
    EXPECT_EQ(readAndWrite("f"), "code");
    EXPECT_EQ(told, "");
    EXPECT_FALSE(std::filesystem::exists("f"));
    writeFile("f", "");
    EXPECT_EQ(readAndWrite("f"), "code");
    EXPECT_EQ(told, "NOTE: Writing shader to f\n");
    EXPECT_EQ(fileContent("f"), "code");
    writeFile("f", "?");
    EXPECT_EQ(readAndWrite("f"), "?");
}

TEST_F(OptionalFiles, AreContentEvenIfThatIsOneNul) {
    const std::string nul(1, '\0');
    writeFile("f", nul);
    EXPECT_EQ(read("f"), nul);
    EXPECT_EQ(readAndWrite("f"), nul);
    EXPECT_EQ(fileContent("f"), nul);
}

TEST_F(OptionalFiles, OfOneNulAreComputeShadersWithoutText) {
    const std::string nul(1, '\0');
    writeFile("N.comp", nul);
    RecordingContext context;
    CaptureStderr();
    const Recorded program(Mirk::Programmable::makeComputeShader(context, "N", "code"));
    GetCapturedStderr();
    EXPECT_THAT(program->compute.code, ElementsAre(""));
    EXPECT_EQ(program->ProgramSources.at("comp"), nul);
    EXPECT_EQ(fileContent("N.comp"), nul);
}

TEST_F(OptionalFiles, AreToldTheFirstTimeThatTheyReplaceAText) {
    writeFile("told-once", "content");
    EXPECT_EQ(readAndWrite("told-once"), "content");
    EXPECT_EQ(told, "NOTE: Reading shader from told-once\n");
    EXPECT_EQ(readAndWrite("told-once"), "content");
    EXPECT_EQ(told, "");
}

} // namespace
