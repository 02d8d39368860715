#include <Polypia/Programmable.hpp>

#include <Polypia/VRenderContext.hpp>
#include <Polypia/shaderFile.hpp>
#include <Polypia/shaderIncludes.hpp>

#include <keel/VerboseStream.hpp>

#include <DefaultFragment.glsl.hpp>
#include <DefaultGeometry.glsl.hpp>
#include <DefaultVertex.glsl.hpp>
#include <StageHead.glsl.hpp>
#include <ViewportFragment.glsl.hpp>
#include <ViewportGeometry.glsl.hpp>
#include <ViewportLayer.glsl.hpp>

#include <algorithm>
#include <array>
#include <cstdio>
#include <functional>
#include <iterator>
#include <limits>
#include <mutex>
#include <set>
#include <string_view>
#include <vector>

namespace Mirk {

namespace {

/// Without control characters and what lies beyond 7 bits. By signed bytes, which plain char is not
/// everywhere.
std::string cleaned(const std::string& name) {
    std::string clean;
    std::copy_if(name.begin(), name.end(), std::back_inserter(clean),
                 [](char c) { return static_cast<signed char>(c) >= ' '; });
    return clean;
}

std::string titleOf(const std::string& suffix) {
    if (suffix == ".vert") return "Vertex Shader";
    if (suffix == ".frag") return "Fragment Shader";
    if (suffix == ".geom") return "Geometry Shader";
    return "SHADER";
}

/// What is written into an empty file for main code.
std::string mkFileString(const std::string& code, const std::string& suffix) {
    const std::string title = titleOf(suffix);
    return "#if defined(ZELK_GL_VENDOR_NVIDIA_Corporation) || "
           "defined(GL_GOOGLE_cpp_style_line_directive)\n"
           "#define ZELK_DO_LINE_DIRECTIVE 1\n"
           "#endif\n"
           "// inserted by Programmable:mkFileString()\n"
           "// #define ZELK_DO_LINE_DIRECTIVE 1  /* uncomment to enable line directives */\n"
           "\n/* " +
           title + " */\n// Shader code generated from intrinsic shader  \n\n" + code + "\n /* " +
           title + " */ \n";
}

std::string headOf(const std::string& version) {
    std::string head = "#version " + version + "\n";
    if (version.find("compatibility") != std::string::npos) {
        head += "/* Note: GL_compatibility_profile is defined. */ \n\n";
    } else if (version.find("core") != std::string::npos) {
        head += "/* Note: GL_core_profile is defined. */ \n\n";
    }
    return head.append(glsl::StageHead);
}

/// The time that a file has for those who watch it: that ahead of reading it, so that no change
/// behind the reading is lost; if it was filled then that of the filling.
Keel::Filetime watchedTime(const Keel::FileInfo& beforeReading, const ShaderAnswer& answer) {
    return answer.request == ShaderRequest::Filled ? answer.time : beforeReading.modified;
}

/// Files that replace text whatever the settings are tell so, once: the folder may be a stranger's.
void tellReplacement(const std::string& file) {
    static std::mutex mutex;
    static std::set<std::string> told;
    const std::lock_guard lock(mutex);
    if (!told.insert(file).second) return;
    std::fprintf(stderr, "NOTE: Reading shader from %s\n", file.c_str());
    std::fflush(stderr);
}

/// A text that a file may replace.
struct FileText {
    std::string text;
    bool isOfFile = false;
    ShaderAnswer answer = {};
};

FileText readOrFill(const std::string& file, const std::string& code) {
    std::string content = readShaderFile(file);
    if (content.empty()) return {code, false, fillShaderRequest(file, code, true)};
    tellReplacement(file);
    return {std::move(content), true};
}

Programmable::ProgramPtr computeProgram(RenderBasin& basin, const std::string& name,
                                        const std::string& code,
                                        const std::list<std::string>& includePath,
                                        Programmable::FileTimes& times) {
    const std::string file = cleaned(name) + ".comp";
    const Keel::FileInfo before(file);
    const FileText source = readOrFill(file, code);
    times = {{file, watchedTime(before, source.answer)}};
    const std::string expanded = expandIncludes(source.text, file, includePath, &times);

    const RenderBasin::OriginScope scope(
        basin, {{file, source.isOfFile ? file : "", 1, 1 + numberOfLineEnds(expanded), 1}});
    const Programmable::ProgramPtr program =
        basin.createComputeProgram({expanded}, file, 0, {}, {});
    if (!program) return {};
    program->ProgramSources["comp"] = source.text;
    for (const auto& [path, time] : times) program->ProgramFileTimes[path] = time;
    return program;
}

} // namespace

// ---------------------------------------------------------------------------------------------
// Parts

void Programmable::ShaderStage::addExtension(const std::string& name, int mode) {
    const char* word = "enable";
    if (mode == Require) word = "require";
    if (mode == Warn) word = "warn";
    if (mode == Disable) word = "disable";
    Extensions.push_back("#extension " + name + " : " + word);
}

namespace {

// Made with the first segment, and so gone after the last one of those that live to the end.
Programmable::ShaderSegment::Table& segments() {
    static Programmable::ShaderSegment::Table table;
    return table;
}

} // namespace

Programmable::ShaderSegment::ShaderSegment(const std::string& name, const std::string& code)
    : Name(name) {
    segments()[name] = code;
}

Programmable::ShaderSegment::~ShaderSegment() {
    segments().erase(Name);
}

const Programmable::ShaderSegment::Table& Programmable::ShaderSegment::table() {
    return segments();
}

const std::string Programmable::define_VERTEX_SHADER = "#define VERTEX_SHADER    1\n";
const std::string Programmable::define_FRAGMENT_SHADER = "#define FRAGMENT_SHADER  1\n";
const std::string Programmable::define_GEOMETRY_SHADER = "#define GEOMETRY_SHADER  1\n";
const std::string Programmable::default_vertex_shader{glsl::DefaultVertex};
const std::string Programmable::default_fragment_shader{glsl::DefaultFragment};
const std::string Programmable::default_geometry_shader{glsl::DefaultGeometry};

Programmable::Programmable() : IncludePath(DefaultIncludePath()) {
    setGLSLVersion("130");
}

Programmable::~Programmable() = default;

std::string Programmable::vertex_shader(VRenderContext&) const {
    return default_vertex_shader;
}
std::string Programmable::fragment_shader(VRenderContext&) const {
    return default_fragment_shader;
}
std::string Programmable::geometry_shader(VRenderContext&) const {
    return default_geometry_shader;
}
std::string Programmable::VertexShaderPrefix(VRenderContext&) const {
    return {};
}
std::string Programmable::FragmentShaderPrefix(VRenderContext&) const {
    return {};
}
std::string Programmable::GeometryShaderPrefix(VRenderContext&) const {
    return {};
}

// ---------------------------------------------------------------------------------------------
// Heads

void Programmable::setGLSLVersion(const std::string& version) {
    setGLSLVersion(version, version, version);
}

void Programmable::setGLSLVersion(const std::string& version, const std::string& fragmentVersion) {
    setGLSLVersion(version, version, fragmentVersion);
}

void Programmable::setGLSLVersion(const std::string& vertexVersion,
                                  const std::string& geometryVersion,
                                  const std::string& fragmentVersion) {
    if (!vertexVersion.empty()) VertexHeader = headOf(vertexVersion);
    if (!fragmentVersion.empty()) FragmentHeader = headOf(fragmentVersion);
    if (!geometryVersion.empty()) {
        GeometryHeader =
            headOf(geometryVersion) + "\n#extension GL_EXT_geometry_shader4 : require\n";
    }
}

void Programmable::enableViewportArray(bool enable) {
    if (enable) GeometryHeader += glsl::ViewportLayer;
    GeometryHeader += glsl::ViewportGeometry;
    if (enable) FragmentHeader.append(glsl::ViewportLayer).append(glsl::ViewportFragment);
}

// ---------------------------------------------------------------------------------------------
// Files

const std::list<std::string>& Programmable::DefaultIncludePath() {
    static const std::list<std::string> path{"$ZELK_ROOT", "$ZELK_ROOT/themes/default",
                                             "$ZELK_ROOT/themes/$ZELK_THEME"};
    return path;
}

std::string Programmable::processIncludes(const std::string& code, const std::string& filename,
                                          const std::list<std::string>& searchPath) {
    return expandIncludes(code, filename, searchPath, nullptr);
}

std::string Programmable::processIncludes(const std::string& code,
                                          const std::string& filename) const {
    return processIncludes(code, filename, IncludePath);
}

std::string Programmable::OptionalFileRead(const std::string& filename, const std::string& code) {
    const std::string content = readShaderFile(filename);
    if (content.empty()) return code;
    if (content != "?") return content;
    if (!isSymbolicLink(filename)) Keel::FileWrite(filename, code, "wt");
    return code;
}

std::string Programmable::OptionalFileReadAndWrite(const std::string& filename,
                                                   const std::string& code) {
    return readOrFill(filename, code).text;
}

// ---------------------------------------------------------------------------------------------
// Main code

namespace {

/// A text and the file that it comes from, none if it is the built-in one.
struct SourceText {
    std::string text;
    std::string file;
    std::size_t line = 1; ///< of the file, where the text begins
};

} // namespace

struct Programmable::MainCode {
    SourceText source;
    std::string text; ///< after includes
    std::string name; ///< of its file, whether there is one or not
    FileTimes times;
};

/// A stage as it is handed to the backend.
struct Programmable::Stage {
    /// Of `ahead`, which is all that stands in front of the main code, and that.
    Stage(std::string ahead, MainCode&& code)
        : name(std::move(code.name)), times(std::move(code.times)) {
        const std::size_t linesAhead = numberOfLineEnds(ahead);
        const std::size_t lines = numberOfLineEnds(code.text);
        const bool mayJoin = code.text.starts_with('\r');
        text = std::move(ahead) + code.text;
        // A carriage return at the head of the code belongs to the line feed ahead of it: what is a
        // line of the file is none of the stage then.
        const std::size_t lost = mayJoin ? linesAhead + lines - numberOfLineEnds(text) : 0;
        origin = {name, code.source.file, 1 + linesAhead, lines - lost, code.source.line + lost};
    }

    std::string text;
    std::string name;
    RenderBasin::TextOrigin origin;
    FileTimes times;
};

namespace {

/// The text that files give to the main code of a stage, or the built-in one. Enters the files into
/// `times`.
SourceText overriddenText(const std::string& name, const std::string& suffix,
                          const std::function<std::string()>& builtIn,
                          Programmable::FileTimes& times) {
    const std::string first = name + suffix;
    const Keel::FileInfo beforeFirst(first);
    times[first] = beforeFirst.modified;
    if (std::string content = readShaderFile(first); !content.empty()) {
        return {std::move(content), first};
    }
    std::string code = builtIn();
    const ShaderAnswer answer = fillShaderRequest(first, mkFileString(code, suffix), true);
    times[first] = watchedTime(beforeFirst, answer);
    if (answer.request != ShaderRequest::None) return {std::move(code), ""};

    const std::string second = name + "_" + suffix.substr(suffix.empty() ? 0 : 1) + ".glsl";
    const Keel::FileInfo before(second);
    if (before.isRegular) times[second] = before.modified;
    if (std::string content = readShaderFile(second); !content.empty()) {
        return {std::move(content), second};
    }
    const ShaderAnswer answerOfSecond = fillShaderRequest(second, code, false);
    if (before.isRegular) times[second] = watchedTime(before, answerOfSecond);
    return {std::move(code), ""};
}

/// With the rules for what a file may hold.
SourceText sourceText(const std::string& name, const std::string& suffix,
                      const std::function<std::string()>& builtIn, Programmable::FileTimes& times) {
    SourceText source = overriddenText(name, suffix, builtIn, times);
    if (source.text.starts_with("//disable")) return {builtIn(), ""};
    const RawString raw = rawStringBody(source.text);
    return {std::string(raw.body), source.file, 1 + raw.line};
}

/// The file that replaces a whole stage, or is filled with it.
void overrideStage(const std::string& path, bool isOn, std::string& text,
                   RenderBasin::TextOrigin& origin, Programmable::FileTimes& times) {
    times[path] = Keel::FileInfo(path).modified;
    if (!isOn) return;
    std::string content = readShaderFile(path);
    if (content.empty()) {
        fillShaderRequest(path, "// " + path + "\n" + text, false);
        return;
    }
    text = std::move(content);
    origin = {origin.stage, path, 1, 1 + numberOfLineEnds(text), 1, true};
}

} // namespace

Programmable::MainCode Programmable::mainCode(VRenderContext& context, const std::string& name,
                                              const std::string& suffix,
                                              CodeOperation operation) const {
    const auto builtIn = [&] { return (this->*operation)(context); };
    MainCode code;
    code.name = name + suffix;
    if (context.ShaderFileOverrides) {
        code.source = sourceText(name, suffix, builtIn, code.times);
    } else {
        code.times[code.name] = Keel::FileInfo(code.name).modified;
        code.source = {builtIn(), ""};
    }
    code.text = expandIncludes(code.source.text, code.name, IncludePath, &code.times);
    return code;
}

std::pair<std::string, std::string>
Programmable::getCode(VRenderContext& context, const std::string& name, const std::string& suffix,
                      CodeOperation operation, const std::string&) const {
    MainCode code = mainCode(context, name, suffix, operation);
    return {std::move(code.text), std::move(code.name)};
}

// ---------------------------------------------------------------------------------------------
// Programs

Programmable::ProgramPtr
Programmable::CompileShader(VRenderContext& context, const std::string& name,
                            const LinkParameters& parameters, const ProgramPtr& previous,
                            const std::string& vertexPrefix, const std::string& geometryPrefix,
                            const std::string& fragmentPrefix) const {
    ShaderName = cleaned(name);
    lastFileTimes.clear();
    MainCode vertexCode = mainCode(context, ShaderName, ".vert", &Programmable::vertex_shader);
    MainCode fragmentCode = mainCode(context, ShaderName, ".frag", &Programmable::fragment_shader);
    const std::string defines = context.getShaderPlatformDefines();
    Stage vertex(VertexHeader + define_VERTEX_SHADER + defines + VertexShaderPrefix(context) +
                     vertexPrefix,
                 std::move(vertexCode));
    Stage fragment(FragmentHeader + define_FRAGMENT_SHADER + defines +
                       FragmentShaderPrefix(context) + fragmentPrefix,
                   std::move(fragmentCode));
    if (GeometryInput != RenderNamespace::NoGeometryInput &&
        GeometryOutput != RenderNamespace::NoGeometryOutput) {
        MainCode code = mainCode(context, ShaderName, ".geom", &Programmable::geometry_shader);
        if (!code.text.empty()) {
            Stage geometry(geometryAhead(context, defines, geometryPrefix), std::move(code));
            return compileGeometry(context, vertex, geometry, fragment, parameters, previous);
        }
        if (context.ShaderFileOverrides) lastFileTimes = std::move(code.times);
        tell("specifies geometry output but no geometry shader code is available!?");
    }
    return compilePlain(context, vertex, fragment, parameters, previous);
}

std::string Programmable::geometryAhead(VRenderContext& context, const std::string& defines,
                                        const std::string& geometryPrefix) const {
    return "/*** Built from:  prefix, shader type definition, Platform Defines, "
           "ShaderPrefix(Context), Local Prefix Code, Main Shader Code (possibly file " +
           ShaderName + ".geom) ***/\n" + GeometryHeader + "/*** shader type definition ***/\n" +
           define_GEOMETRY_SHADER + "\n/*** Platform Defines ***/\n" + defines +
           "/*** ShaderPrefix(Context) virtual function ***/\n" + GeometryShaderPrefix(context) +
           "/*** Local Prefix Code passed to each CompileShader() call ***/\n" + geometryPrefix +
           "\n/*** Main Shader Code, may be overridden by file " + ShaderName + ".geom ***/\n";
}

Programmable::ProgramPtr Programmable::compilePlain(RenderBasin& basin, const Stage& vertex,
                                                    const Stage& fragment,
                                                    const LinkParameters& parameters,
                                                    const ProgramPtr& previous) const {
    rememberTimes({&vertex, &fragment});
    const RenderBasin::OriginScope scope(basin, {vertex.origin, fragment.origin});
    const ProgramPtr program = basin.createProgram(vertex.text, fragment.text, vertex.name,
                                                   fragment.name, 0U, 0U, parameters, previous);
    const std::string none;
    return finished(program, {{"vert", &vertex.text}, {"frag", &fragment.text}, {"geom", &none}});
}

Programmable::ProgramPtr Programmable::compileGeometry(VRenderContext& context, Stage& vertex,
                                                       Stage& geometry, Stage& fragment,
                                                       const LinkParameters& parameters,
                                                       const ProgramPtr& previous) const {
    const std::array stages{std::pair(&vertex, ".vert.glsl"), std::pair(&geometry, ".geom.glsl"),
                            std::pair(&fragment, ".frag.glsl")};
    for (const auto& [stage, suffix] : stages) {
        overrideStage(ShaderName + suffix, context.ShaderFileOverrides, stage->text, stage->origin,
                      stage->times);
    }
    rememberTimes({&vertex, &geometry, &fragment});
    const RenderBasin::OriginScope scope(context,
                                         {vertex.origin, geometry.origin, fragment.origin});
    const ProgramPtr program = context.createGeometryProgram(
        RenderBasin::ShaderProgram{vertex.text, vertex.name}, GeometryInput,
        RenderBasin::ShaderProgram{geometry.text, geometry.name}, GeometryOutput,
        RenderBasin::ShaderProgram{fragment.text, fragment.name}, parameters, previous);
    return finished(program, {{"vert", &vertex.text},
                              {"geom", &geometry.text},
                              {"frag", &fragment.text},
                              {"vert.glsl", &vertex.text},
                              {"geom.glsl", &geometry.text},
                              {"frag.glsl", &fragment.text}});
}

void Programmable::rememberTimes(std::initializer_list<const Stage*> stages) const {
    for (const Stage* const stage : stages) {
        lastFileTimes.insert(stage->times.begin(), stage->times.end());
    }
}

Programmable::ProgramPtr Programmable::finished(const ProgramPtr& program,
                                                const Sources& sources) const {
    if (!program) {
        tell("did not yield a program!");
        return {};
    }
    for (const auto& [key, text] : sources) program->ProgramSources[key] = *text;
    for (const auto& [file, time] : lastFileTimes) program->ProgramFileTimes[file] = time;
    return program;
}

void Programmable::tell(const char* what) const {
    Keel::VerboseStream("Polypia").print("Compile Shader(%s) %s", ShaderName.c_str(), what);
}

Programmable::ProgramPtr Programmable::getComputeShader(RenderBasin& basin, const std::string& name,
                                                        const std::string& code) const {
    return computeProgram(basin, name, code, IncludePath, lastFileTimes);
}

Programmable::ProgramPtr Programmable::makeComputeShader(RenderBasin& basin,
                                                         const std::string& name,
                                                         const std::string& code) {
    FileTimes times;
    return computeProgram(basin, name, code, DefaultIncludePath(), times);
}

bool Programmable::hasValidShaderPrograms(const Polyp& polyp, VRenderContext& context) {
    if (!context.ShaderFileOverrides) return true;
    std::size_t programs = 0;
    bool isValid = true;
    polyp.iterate(
        [&](int, const Polyp::TentaclePtr& tentacle) {
            const ProgramPtr program(tentacle);
            if (!program) return true;
            ++programs;
            if (program->SourceHasChanged()) isValid = false;
            return true;
        },
        std::numeric_limits<int>::min(), std::numeric_limits<int>::max());
    return isValid && programs > 0;
}

std::string Programmable::setNumberOfLightSources(VRenderContext& context,
                                                  const std::string& name) {
    return "const int " + name + " = " + std::to_string(context.numberOfLightSources) +
           "; // number of currently active light sources \n";
}

} // namespace Mirk
