// Feeds texts to the adaptation of shader stages to the driver.
//
// The first byte says what they are adapted to; the rest are the stages of a program, parted by a
// byte 1. What comes out has to be the same twice, and of a length in proportion to what went in.

#include <PolypiaGL/glslAdapt.hpp>

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <string_view>
#include <vector>

using namespace Mirk::GL;

namespace {

[[noreturn]] void fail(const char* what, const std::string& text) {
    std::fprintf(stderr, "%s: \"%s\"\n", what, text.c_str());
    std::abort();
}

AdaptOptions optionsOf(std::uint8_t choice) {
    constexpr std::array passes{Pass::EachView, Pass::Layers, Pass::Extension, Pass::EachView};
    AdaptOptions options;
    options.profile = (choice & 1U) != 0 ? Profile::Core : Profile::Compatibility;
    options.pass = passes[(choice >> 1U) & 3U];
    options.fileNumbers = (choice & 8U) == 0;
    if ((choice & 16U) != 0) options.extensions = {"GL_EXT_gpu_shader4", "GL_ARB_viewport_array"};
    if ((choice & 32U) != 0) options.platformDefines = "#define A 1\n#define B";
    options.geometryInput = GeometryInput::Lines;
    options.geometryOutput = GeometryOutput::TriangleStrip;
    return options;
}

std::vector<StageText> stagesOf(std::string_view text, bool isCompute) {
    if (isCompute) return {{Stage::Compute, std::string(text)}};
    std::vector<StageText> stages;
    for (const Stage stage : {Stage::Vertex, Stage::Geometry, Stage::Fragment}) {
        const std::size_t end = text.find('\x01');
        stages.push_back({stage, std::string(text.substr(0, end))});
        text.remove_prefix(end == std::string_view::npos ? text.size() : end + 1);
    }
    return stages;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    if (size == 0) return 0;
    const AdaptOptions options = optionsOf(data[0]);
    const std::string_view rest(reinterpret_cast<const char*>(data) + 1, size - 1);
    const std::vector<StageText> stages = stagesOf(rest, (data[0] & 64U) != 0);
    const AdaptedProgram program = adaptProgram(stages, options);
    const AdaptedProgram again = adaptProgram(stages, options);
    if (program.stages.size() != stages.size()) fail("number of stages", std::string(rest));
    for (std::size_t i = 0; i < stages.size(); ++i) {
        const AdaptedStage& stage = program.stages[i];
        if (stage.stage != stages[i].stage) fail("order of stages", stage.text);
        if (stage.text != again.stages[i].text) fail("another text", stage.text);
        if (stage.text.find('\0') != std::string::npos) fail("a NUL", stage.text);
        if (stage.text.size() > 10000 + 100 * size) fail("length", stage.text);
    }
    return 0;
}
