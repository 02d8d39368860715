// Text of shaders: includes in ten megabytes of it, against memcpy and a search for the ends of
// lines; and composing a typical program, beside nothing, as its limit is one of time. What is left
// out: the driver's compile, which bench/PolypiaGL/program.bench.cpp has.

#include "../../tests/Polypia/RecordingContext.hpp"
#include "../sideBySide.hpp"

#include <Polypia/Programmable.hpp>

#include <keel/File.hpp>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

constexpr std::size_t textBytes = 10'000'000;

/// Lines as shaders have them; every so many an include, of a file that is found.
std::string shaderText(std::size_t linesPerInclude, const std::string& file) {
    std::string text;
    for (std::size_t line = 1; text.size() < textBytes; ++line) {
        if (linesPerInclude != 0 && line % linesPerInclude == 0) {
            text += "#include <" + file + ">\r\n";
        } else if (line % 20 == 0) {
            text += "#ifdef ZELK_HAVE_multiview2\n";
        } else {
            text += "    vec4 p" + std::to_string(line) + " = multiview_transform(mkVertex(v));\n";
        }
    }
    return text;
}

/// Nanoseconds are for each kilobyte. The argument is the number of lines per include, 0 for none.
/// At most twice as long as the reference is wanted.
void Programmable_processIncludes(benchmark::State& state) {
    std::string folder = (std::filesystem::temp_directory_path() / "polypia-bench-XXXXXX").string();
    if (::mkdtemp(folder.data()) == nullptr) return state.SkipWithError("no folder for a file");
    Keel::FileWrite(folder + "/part.glsl", "float part() { return 1.0; }\n", "wb");
    const std::string text = shaderText(static_cast<std::size_t>(state.range(0)), "part.glsl");
    const auto expand = [&] {
        const std::string expanded =
            Mirk::Programmable::processIncludes(text, "line.vert", {folder});
        benchmark::DoNotOptimize(expanded.data());
    };
    const auto copy = [&] {
        std::string copied(text.size(), '\0');
        std::memcpy(copied.data(), text.data(), text.size());
        std::size_t lines = 0;
        for (std::size_t end = copied.find('\n'); end != std::string::npos;
             end = copied.find('\n', end + 1)) {
            ++lines;
        }
        benchmark::DoNotOptimize(lines);
    };
    sideBySide(state, static_cast<double>(text.size()) / 1000, expand, copy);
    std::filesystem::remove_all(folder);
}
BENCHMARK(Programmable_processIncludes)->Arg(0)->Arg(1000)->Apply(withSpread)->Repetitions(15);

/// A program as display objects have it: views in all stages, prefixes and some main code.
class Typical : public Mirk::Programmable {
public:
    std::string vertex_shader(Mirk::VRenderContext&) const override { return main; }
    std::string fragment_shader(Mirk::VRenderContext&) const override { return main; }
    std::string VertexShaderPrefix(Mirk::VRenderContext& context) const override {
        return context.defineMultiView(2, true, 0);
    }
    std::string FragmentShaderPrefix(Mirk::VRenderContext& context) const override {
        return context.defineMultiView(2, true, 0);
    }
    std::string GeometryShaderPrefix(Mirk::VRenderContext& context) const override {
        return context.defineMultiView(2, true, 0);
    }

    const std::string main = std::string(20, '/').append("\nvoid main() {\n") +
                             std::string(2000, ' ') + "gl_Position = ftransform();\n}\n";
};

/// Nanoseconds are for each program; the argument says whether it has a geometry stage. The limit
/// is 50 microseconds, in "limit_ratio".
void Programmable_CompileShader(benchmark::State& state) {
    constexpr int repetitions = 200;
    RecordingContext context;
    Typical shader;
    if (state.range(0) != 0) {
        shader.GeometryInput = Mirk::RenderNamespace::TrianglesInput;
        shader.GeometryOutput = Mirk::RenderNamespace::TriangleStripOutput;
    }
    double total = 0, programs = 0;
    for (auto _ : state) {
        const double time = nanoseconds([&] {
            for (int i = 0; i < repetitions; ++i) {
                benchmark::DoNotOptimize(
                    shader.CompileShader(context, "typical", {}, {}, "", "", ""));
            }
        });
        context.basin.log->take();
        total += time;
        programs += repetitions;
        state.SetIterationTime(time * 1e-9);
    }
    constexpr double limit = 50'000;
    state.counters["ns"] = total / programs;
    state.counters["limit_ratio"] = total / programs / limit;
}
BENCHMARK(Programmable_CompileShader)->Arg(0)->Arg(1)->Apply(withSpread)->Repetitions(15);

} // namespace
