#include <Displays/DisplayPrograms.hpp>

#include <clip.glsl.hpp>

#include <Polypia/RenderTentacles.hpp>
#include <Polypia/VRenderContext.hpp>
#include <keel/File.hpp>

#include <algorithm>
#include <chrono>
#include <cstdio>

namespace Mirk {

namespace {

/// A moment is as long as an editor takes at most that empties a file and then writes it. A time
/// that is still to come tells nothing.
bool isOfThisMoment(const Keel::Filetime& time) {
    using namespace std::chrono;
    constexpr nanoseconds moment = milliseconds(500);
    const auto filetime = [](const nanoseconds& sinceEpoch) {
        const auto whole = floor<seconds>(sinceEpoch);
        return Keel::Filetime(whole.count(), static_cast<long>((sinceEpoch - whole).count()));
    };
    const nanoseconds now = system_clock::now().time_since_epoch();
    return time > filetime(now - moment) && !(time > filetime(now));
}

/// Makes a file that is empty, unless something has that name.
void makeFile(const std::string& path) {
    if (std::FILE* const file = std::fopen(path.c_str(), "wx")) std::fclose(file);
}

} // namespace

std::exception_ptr reportable(const std::exception_ptr& failure) {
    if (!failure) return {};
    try {
        std::rethrow_exception(failure);
    } catch (const RenderException&) {
        return failure;
    } catch (const std::exception& exception) {
        return std::make_exception_ptr(DisplayFailure(exception.what()));
    } catch (...) {
        return std::make_exception_ptr(DisplayFailure("an exception of an unknown kind"));
    }
}

bool isOfCompiler(const std::exception_ptr& reported) {
    try {
        std::rethrow_exception(reported);
    } catch (const RenderException& exception) {
        return !exception.shaderLog.str().empty();
    }
}

DisplayObject::Composer::Composer(const DisplayObject& display, VRenderContext& context,
                                  const Content& content, Form form,
                                  const TransformOperator& transform)
    : _stages(display.stages(form, content)), _platformDefines(context.getShaderPlatformDefines()) {
    setGLSLVersion("330", _stages.fragmentVersion);
    VertexHeader += _stages.vertexExtensions;
    GeometryInput = _stages.input;
    GeometryOutput = _stages.output;
    if ((form & isClipped) != 0) _stages.defines += "#define CLIPPED\n";
    // What goes in front of main code has line markers. Main code has none: in a file that is
    // edited they would tell lines of the built-in text.
    _vertexPrefix = _stages.defines + transform.getShaderFunctions(context, true) +
                    std::string(glsl::clip) + _stages.vertexPrefix;
    // Which the vertex stage has from the text of the operator.
    const char* const isCustom = transform.functor ? "#define CUSTOM_TransformOperator\n" : "";
    _geometryPrefix =
        _stages.defines + isCustom + context.defineMultiView(context.EyeViews.size(), true, 0);
    _fragmentPrefix = _stages.defines + (_stages.isLit ? context.getLightSourceCode() : "");
}

bool DisplayObject::Composer::isSame(const Composer& other) const {
    return _stages == other._stages && _vertexPrefix == other._vertexPrefix &&
           _geometryPrefix == other._geometryPrefix && _fragmentPrefix == other._fragmentPrefix &&
           _platformDefines == other._platformDefines;
}

void DisplayObject::Composer::requestFiles(const std::string& name) const {
    makeFile(name + ".vert");
    makeFile(name + ".frag");
    if (!_stages.geometry.empty()) makeFile(name + ".geom");
}

DisplayObject::Compiled::Compiled(const Seagrass& seagrass, const Composer& composer,
                                  const std::string& name, bool takesFiles,
                                  MissingShaderFiles missing,
                                  const Programmable::FileTimes& knownFiles)
    : _seagrass(seagrass),
      _composer(composer),
      _name(name),
      _takesFiles(takesFiles),
      _missingFiles(missing),
      _keeper(new Keeper(seagrass, {})),
      _fileTimes(takesFiles ? knownFiles : Programmable::FileTimes()) {}

bool DisplayObject::Compiled::isFor(const Seagrass& seagrass, const Composer& composer,
                                    bool takesFiles) const {
    return _seagrass == Keel::WeakPtr<Seagrass>(seagrass) && _takesFiles == takesFiles &&
           _composer.isSame(composer);
}

RenderBasin::ProgramPtr DisplayObject::Compiled::program(VRenderContext& context) {
    const RenderBasin::ProgramPtr present(_program);
    const bool wasTried = present || _failure;
    const Files files = stateOfFiles();
    const bool isKnown = wasTried && files == Files::Unchanged;
    if (files == Files::BeingSaved || (isKnown && !isToBeRepeated())) return present;
    _failure = nullptr;
    try {
        const RenderBasin::ProgramPtr program = compile(context);
        if (_takesFiles) _fileTimes = _composer.lastFileTimes;
        keep(program, false);
        return program;
    } catch (...) {
        _failure = reportable(std::current_exception());
        _isTextAtFault = isOfCompiler(_failure);
        _questions = 0;
        if (_takesFiles) rememberFiles();
        if (present) keep(present, true);
        return present;
    }
}

bool DisplayObject::Compiled::isToBeRepeated() {
    constexpr int often = 100;
    return _failure && !_isTextAtFault && ++_questions >= often;
}

/// Of those that took part in the last attempt.
DisplayObject::Compiled::Files DisplayObject::Compiled::stateOfFiles() const {
    if (!_takesFiles) return Files::Unchanged;
    Files state = Files::Unchanged;
    for (const auto& [file, time] : _fileTimes) {
        const Keel::FileInfo info(file);
        if (!info.exists || !(info.modified > time)) continue;
        if (info.bytes == 0 && isOfThisMoment(info.modified)) return Files::BeingSaved;
        state = Files::Changed;
    }
    return state;
}

RenderBasin::ProgramPtr DisplayObject::Compiled::compile(VRenderContext& context) const {
    if (_takesFiles && _missingFiles == MissingShaderFiles::Requested) {
        _composer.requestFiles(_name);
    }
    RenderBasin::ProgramPtr program = _composer.CompileShader(context, _name, {}, {}, {}, {}, {});
    if (!program) throw DisplayFailure("the graphics backend made no program");
    return program;
}

void DisplayObject::Compiled::tellOrigin(const RenderBasin::ProgramPtr& program,
                                         const point& origin) {
    const Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle> told(program);
    if (told == _toldProgram && origin == _toldOrigin) return;
    program->setAllProgramVariables(RenderBasin::FloatedOrigin(origin - point()));
    _toldProgram = told;
    _toldOrigin = origin;
}

/// After a failure: of files that the good program before has alone, the present state is known.
void DisplayObject::Compiled::rememberFiles() {
    for (auto& [file, time] : _fileTimes) {
        time = std::max(time, Keel::FileInfo(file).modified);
    }
    for (const auto& [file, time] : _composer.lastFileTimes) _fileTimes[file] = time;
}

void DisplayObject::Compiled::keep(const RenderBasin::ProgramPtr& program, bool inAnyCase) {
    _program = Keel::WeakPtr<RenderBasin::Program, Polyp::Tentacle>(program);
    static_cast<Keeper&>(*_keeper).recreate(
        [&](Polyp& polyp) { return bool(polyp.insert(program)); });
    _keeper->enableCaching(inAnyCase);
}

} // namespace Mirk
