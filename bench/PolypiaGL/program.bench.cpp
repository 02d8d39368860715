// Composing a program and having the driver compile it, from the same object: how much of the time
// between the request for a program and the program is spent on its text. The driver compiles each
// time anew, as its cache on disk is off; see graphics.hpp. What is left out: the first draw, for
// which llvmpipe makes more code than for the compile.

#include "../../tests/Polypia/RecordingContext.hpp"
#include "../graphics.hpp"
#include "../sideBySide.hpp"

#include <Polypia/ClippingPlanes.hpp>
#include <Polypia/Programmable.hpp>
#include <Polypia/TransformOperator.hpp>
#include <PolypiaGL/GLRenderContext.hpp>

#include <climits>
#include <memory>
#include <string>

namespace {

using namespace Mirk;

/// As a display object has it: views, a transformation and planes that cut ahead of the vertex
/// stage, lights ahead of the fragment stage.
class Typical : public Programmable {
public:
    Typical() { setGLSLVersion("330"); }
    std::string VertexShaderPrefix(VRenderContext& context) const override {
        return TransformOperator().getShaderFunctions(context, true) +
               ClippingPlanes::setClipDistances();
    }
    std::string FragmentShaderPrefix(VRenderContext& context) const override {
        return context.getLightSourceCode();
    }
    std::string vertex_shader(VRenderContext&) const override {
        return R"(in vec3 Coordinates;
in vec3 Normals;
out vec3 vertex;
out vec3 normal;
void main() {
    zelk_setViewID();
    RelativeVertex V = mkRelativeVertex(vec4(Coordinates, 1.0));
    gl_Position = zelk_transform_vertex_WorldToScreen(V);
    zelk_setClipDistances(V.Vertex.xyz);
    vertex = Coordinates;
    normal = Normals;
}
)";
    }
    std::string fragment_shader(VRenderContext&) const override {
        return R"(in vec3 vertex;
in vec3 normal;
uniform vec4 Color;
uniform float Shininess;
out vec4 color;
vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex) {
    if (NumberOfLightSourceFunctions == 0) return Color.rgb * abs(normalize(normal).z);
    return PhongLighting(Color.rgb, LightSource, normalize(normal), normalize(Vertex), Shininess);
}
void main() { color = vec4(getLightAtVertex(vertex), Color.a); }
)";
    }
};

/// The same program on OpenGL and on a backend that writes down what it is given.
struct Programs {
    Programs() {
        driver.pool = Keel::make<ValuePool>();
        driver.setTargets({&picture});
        driver.setEyes({{}});
        composing.setNumberOfEyes(1);
        composing.ReversedDepths = driver.ReversedDepths;
        composing.basin.platformDefines = driver.getShaderPlatformDefines();
        const RenderBasin::ProgramPtr compiled = compile(driver), composed = compile(composing);
        if (!compiled) fail("the driver made no program");
        if (compiled->ProgramSources != composed->ProgramSources) {
            fail("the driver was given another text");
        }
    }
    RenderBasin::ProgramPtr compile(VRenderContext& context) const {
        return shader.CompileShader(context, "typical", {}, {}, "", "", "");
    }

    EglContext& gl = graphics();
    const Keel::StrongPtr<Seagrass> seagrass = Keel::make<Seagrass>(~0ULL, "program");
    GLRenderContext driver{gl, seagrass, Keel::WeakPtr<VRenderInterruptor>(), {}, LLONG_MAX};
    GLFramebuffer picture{gl, 16, 16, 1};
    RecordingContext composing;
    const Typical shader;
};

/// Nanoseconds are for each program: composing alone, many times in a row, for which at most 50
/// microseconds are wanted, see "limit_ratio"; the reference is composing and compiling. What the
/// first one of the row takes, to which the compile has left cold caches, is in "first_ns".
void Programmable_CompileShader_opengl(benchmark::State& state) {
    static Programs& programs = *new Programs; // ends with the process
    constexpr int row = 20;
    const auto composeOne = [&] { benchmark::DoNotOptimize(programs.compile(programs.composing)); };
    const auto composeRow = [&] {
        for (int i = 0; i < row; ++i) composeOne();
    };
    double first = 0, composing = 0, whole = 0, rounds = 0;
    for (auto _ : state) {
        const double time =
            nanoseconds([&] { benchmark::DoNotOptimize(programs.compile(programs.driver)); });
        whole += time;
        first += nanoseconds(composeOne);
        composing += nanoseconds(composeRow) / row;
        ++rounds;
        programs.composing.basin.log->take();
        state.SetIterationTime(time * 1e-9);
    }
    report(state, composing / rounds, whole / rounds);
    constexpr double limit = 50'000;
    state.counters["first_ns"] = first / rounds;
    state.counters["limit_ratio"] = composing / rounds / limit;
}
BENCHMARK(Programmable_CompileShader_opengl)->Apply(withSpread)->Iterations(20)->Repetitions(15);

} // namespace
