#pragma once
// Programs with a fault in one line, in each of the places from which text comes to a stage; stands
// on the folder of shader files that is the working directory.

#include "../Polypia/shaderFolder.hpp"

#include <Polypia/VRenderContext.hpp>

#include <array>
#include <cstddef>
#include <filesystem>
#include <random>
#include <string>
#include <utility>

namespace Mirk::GLTest {

/// Where the fault of a text is.
struct Fault {
    explicit Fault(std::string place) : file(std::move(place)) {}

    std::string file; ///< "0" for the composed text
    std::size_t line = 0;
    std::string words; ///< what the line says
};

/// Composes one program after the other with a fault in one of its stages, of random version, line
/// and kind; the same in each run.
class FaultyPrograms {
public:
    explicit FaultyPrograms(ToldProgrammable& programmable) : faulty(programmable) {}

    // The kinds of text. `i` chooses among the forms that a kind has.

    Fault inMainCode() {
        start();
        Fault fault("0");
        mainCode() = faultyText(fault) + mainFunction();
        return fault;
    }
    Fault inOverridingFile(int i) {
        start();
        overrides = true;
        Fault fault("N." + stageSuffix());
        std::string text = faultyText(fault);
        switch (i % 5) {
        case 1: // behind an include
            writeFile("part", "float part() { return 1.0; }\n");
            text = "// ahead\n#include \"part\"\r\n" + text;
            fault.line += 2;
            break;
        case 2:
            text = "R\"glsl(" + text + mainFunction() + ")glsl\"";
            break;
        case 3:
            fault.file = "N_" + stageSuffix() + ".glsl";
            break;
        case 4:
            faulty.buildGeometry();
            fault.file = "N." + stageSuffix() + ".glsl";
            text = "#version 330 compatibility\n" + text;
            fault.line += 1;
            break;
        default:
            break;
        }
        writeFile(fault.file, text.starts_with("R\"") ? text : text + mainFunction());
        return fault;
    }
    Fault inIncludedFile(int i) {
        start();
        Fault fault("./part");
        writeFile("part", faultyText(fault, i % 2 == 0 ? "\n" : "\r\n"));
        mainCode() = "// main\n#include \"part\"\r\n" + std::string(mainFunction());
        return fault;
    }
    Fault inPrefix(int i) {
        start();
        Fault fault("0");
        (i % 2 == 0 ? classPrefix() : prefix) = faultyText(fault);
        return fault;
    }
    /// With its line marker on or off.
    Fault inInjectedSegment(int i) {
        start();
        const bool isOn = i % 2 == 0;
        Fault fault(isOn ? "Mist.glsl" : "0");
        const std::string segment = faultyText(fault);
        prefix = std::string(isOn ? "#define ZELK_DO_LINE_DIRECTIVE 1\n" : "") +
                 "#ifdef ZELK_DO_LINE_DIRECTIVE\n#line 3 \"Mist.glsl\"\n#endif "
                 "/* ZELK_DO_LINE_DIRECTIVE */\n" +
                 segment;
        // The marker ends in line 3 of its source.
        if (isOn) fault.line += 3;
        return fault;
    }

protected:
    std::size_t below(std::size_t end) { return random() % end; }
    /// Good lines with a faulty one at a random place, and its number, counted from 1.
    std::string faultyText(Fault& fault, const std::string& end = "\n") {
        static const std::array<const char*, 6> words{
            "float fault() { return undefinedName; }",
            "vec3 fault() { return 1.0; }",
            "float fault() { return 1.0 }",
            "float fault() { return unknown(2.0); }",
            "float fault() { float x = vec2(1.0); return x; }",
            "#error this is wrong",
        };
        fault.words = words[below(words.size())];
        const std::size_t lines = 1 + below(12);
        fault.line = 1 + below(lines);
        std::string text;
        for (std::size_t i = 1; i <= lines; ++i) {
            const std::string function = "f" + std::to_string(functions++);
            text += i == fault.line ? fault.words
                    : below(4) == 0 ? "// " + function
                                    : "float " + function + "() { return 1.0; }";
            text += end;
        }
        return text;
    }

    /// A program without a fault, and no files.
    void start() {
        static const std::array<const char*, 5> versions{"130", "150", "330", "330 core", "450"};
        faulty = ToldProgrammable();
        faulty.setGLSLVersion(versions[below(versions.size())]);
        faulty.fragment = mainFunctions[2];
        faultyStage = below(stages.size());
        if (stageSuffix() == "geom" || below(3) == 0) faulty.buildGeometry();
        prefix = "/* local */\n";
        functions = 0;
        std::filesystem::remove("part");
        for (const std::string& suffix : stages) {
            for (const std::string& file :
                 {"N." + suffix, "N_" + suffix + ".glsl", "N." + suffix + ".glsl"})
                std::filesystem::remove(file);
        }
        overrides = below(2) == 0;
    }
    const std::string& stageSuffix() const { return stages[faultyStage]; }
    const char* mainFunction() const { return mainFunctions[faultyStage]; }
    std::string& mainCode() {
        return faultyStage == 0   ? faulty.vertex
               : faultyStage == 1 ? faulty.geometry
                                  : faulty.fragment;
    }
    std::string& classPrefix() {
        return faultyStage == 0   ? faulty.vertexPrefix
               : faultyStage == 1 ? faulty.geometryPrefix
                                  : faulty.fragmentPrefix;
    }

    /// The program at hand, "N".
    Mirk::RenderBasin::ProgramPtr compileFaulty(Mirk::VRenderContext& context) const {
        const auto local = [&](std::size_t of) {
            return of == faultyStage ? prefix : std::string();
        };
        context.ShaderFileOverrides = overrides;
        return faulty.CompileShader(context, "N", {}, {}, local(0), local(1), local(2));
    }

    ToldProgrammable& faulty;
    std::string prefix; // local, of the stage that has the fault
    bool overrides = false;

private:
    const std::array<std::string, 3> stages{"vert", "geom", "frag"};
    static constexpr std::array mainFunctions{
        "void main() { gl_Position = gl_Vertex; }\n",
        "void main() { gl_Position = gl_PositionIn[0]; EmitVertex(); }\n",
        "void main() { gl_FragColor = gl_Color; }\n"};
    std::mt19937 random{20240229};
    int functions = 0;
    std::size_t faultyStage = 0;
};

} // namespace Mirk::GLTest
