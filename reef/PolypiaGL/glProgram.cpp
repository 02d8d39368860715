#include <PolypiaGL/glProgram.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/fixedMatrices.hpp>
#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glTexture.hpp>
#include <PolypiaGL/glslLog.hpp>
#include <PolypiaGL/glslScan.hpp>

#include <algorithm>
#include <array>
#include <cstring>
#include <limits>
#include <optional>
#include <type_traits>
#include <utility>

namespace Mirk::GL {

namespace {

using Variant = RenderNamespace::ProgramVariables::Variant;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;

constexpr const char* linkFunction = "RenderBasin::createProgram";
constexpr const char* viewName = "zelk_CurrentViewID";
constexpr const char* firstVertexName = "zelk_FirstVertexOfChunk";

unsigned shaderType(Stage stage) {
    switch (stage) {
    case Stage::Vertex:
        return GL_VERTEX_SHADER;
    case Stage::Geometry:
        return GL_GEOMETRY_SHADER;
    case Stage::Fragment:
        return GL_FRAGMENT_SHADER;
    case Stage::Compute:
        return GL_COMPUTE_SHADER;
    }
    return 0;
}

std::string shaderLog(unsigned shader) {
    GLint length = 0;
    glGetShaderiv(shader, GL_INFO_LOG_LENGTH, &length);
    std::string log(static_cast<std::size_t>(std::max(length, 1)), '\0');
    glGetShaderInfoLog(shader, static_cast<GLsizei>(log.size()), nullptr, log.data());
    log.resize(std::strlen(log.c_str()));
    return log;
}

std::string programLog(unsigned program) {
    GLint length = 0;
    glGetProgramiv(program, GL_INFO_LOG_LENGTH, &length);
    std::string log(static_cast<std::size_t>(std::max(length, 1)), '\0');
    glGetProgramInfoLog(program, static_cast<GLsizei>(log.size()), nullptr, log.data());
    log.resize(std::strlen(log.c_str()));
    return log;
}

/// "vertex and fragment stage"
std::string stageNames(const std::vector<StageSource>& stages) {
    std::string names;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        if (i > 0) names += i + 1 == stages.size() ? " and " : ", ";
        names += stageName(stages[i].stage);
    }
    return names + " stage";
}

/// An active resource of the program: its name without "[0]", type, array size and location.
struct Resource {
    std::string name;
    unsigned type;
    int size;
    int location;
};

std::vector<Resource> resources(unsigned program, unsigned interface) {
    GLint number = 0;
    GLint longest = 1;
    glGetProgramInterfaceiv(program, interface, GL_ACTIVE_RESOURCES, &number);
    glGetProgramInterfaceiv(program, interface, GL_MAX_NAME_LENGTH, &longest);
    std::vector<Resource> found;
    std::string name(static_cast<std::size_t>(std::max(longest, 1)), '\0');
    constexpr std::array<GLenum, 3> wanted{GL_TYPE, GL_ARRAY_SIZE, GL_LOCATION};
    for (GLuint index = 0; index < static_cast<GLuint>(number); ++index) {
        std::array<GLint, 3> values{};
        glGetProgramResourceiv(program, interface, index, 3, wanted.data(), 3, nullptr,
                               values.data());
        GLsizei length = 0;
        glGetProgramResourceName(program, interface, index, longest, &length, name.data());
        std::string text(name, 0, static_cast<std::size_t>(length));
        if (text.ends_with("[0]")) text.resize(text.size() - 3);
        found.push_back({text, static_cast<unsigned>(values[0]), values[1], values[2]});
    }
    return found;
}

/// The components of a value as doubles, the form from which all uniforms can be set.
struct Components {
    std::vector<double> values;
    int perElement = 1;
    int columns = 0; ///< of a square matrix, 0 for none
};

template<class T>
void append(std::vector<double>& values, const T& value) {
    if constexpr (std::is_arithmetic_v<T>) {
        values.push_back(static_cast<double>(value));
    } else {
        // Points, arrays and matrices hold nothing but their components, one after the other.
        using Component = std::remove_cvref_t<decltype(*value.data())>;
        for (std::size_t i = 0; i < sizeof(T) / sizeof(Component); ++i) {
            values.push_back(static_cast<double>(value.data()[i]));
        }
    }
}

Components components(const Variant& value) {
    return std::visit(
        []<class T>(const T& content) {
            Components result;
            if constexpr (std::is_same_v<T, std::vector<FloatPoint>> ||
                          std::is_same_v<T, std::vector<Skua::FixedArray<float, 3>>>) {
                for (const auto& element : content) append(result.values, element);
                result.perElement = 3;
            } else {
                append(result.values, content);
                result.perElement = static_cast<int>(result.values.size());
                if constexpr (requires { T::columns(); }) {
                    result.columns = static_cast<int>(T::columns());
                }
            }
            return result;
        },
        value);
}

/// Only single points are: those in arrays are relative to something already.
bool isPoint(const Variant& value) {
    return std::holds_alternative<Skua::PhysicalSpace::point>(value) ||
           std::holds_alternative<FloatPoint>(value);
}

/// The value relative to the origin, if it is a point.
std::optional<Variant> relativeTo(const Skua::PhysicalSpace::vector& origin, const Variant& value) {
    if (const auto* const point = std::get_if<Skua::PhysicalSpace::point>(&value)) {
        return *point - origin;
    }
    if (const auto* const point = std::get_if<FloatPoint>(&value)) {
        // Rounded last, after the subtraction in double precision.
        return FloatPoint{static_cast<float>(static_cast<double>(point->x) - origin.x),
                          static_cast<float>(static_cast<double>(point->y) - origin.y),
                          static_cast<float>(static_cast<double>(point->z) - origin.z)};
    }
    return {};
}

/// The components of a value that is one vector of floats, or one float; null for others.
std::pair<const float*, int> floatsOf(const Variant& value) {
    return std::visit(
        []<class T>(const T& content) -> std::pair<const float*, int> {
            if constexpr (std::is_same_v<T, float>) {
                return {&content, 1};
            } else if constexpr (std::is_same_v<T, Skua::FixedArray<float, 2>> ||
                                 std::is_same_v<T, Skua::FixedArray<float, 3>> ||
                                 std::is_same_v<T, Skua::FixedArray<float, 4>>) {
                return {content.data(), static_cast<int>(content.size())};
            } else {
                return {nullptr, 0};
            }
        },
        value);
}

/// Shape of a uniform type.
struct Shape {
    enum Base { Float, Int, Unsigned, Double } base;
    int components; ///< of a vector or matrix; 0 for what can't be set
    int columns;    ///< of a square matrix, 0 for none
};

Shape shapeOf(unsigned type) {
    switch (type) {
    case GL_FLOAT:
        return {Shape::Float, 1, 0};
    case GL_FLOAT_VEC2:
        return {Shape::Float, 2, 0};
    case GL_FLOAT_VEC3:
        return {Shape::Float, 3, 0};
    case GL_FLOAT_VEC4:
        return {Shape::Float, 4, 0};
    case GL_DOUBLE:
        return {Shape::Double, 1, 0};
    case GL_DOUBLE_VEC2:
        return {Shape::Double, 2, 0};
    case GL_DOUBLE_VEC3:
        return {Shape::Double, 3, 0};
    case GL_DOUBLE_VEC4:
        return {Shape::Double, 4, 0};
    case GL_UNSIGNED_INT:
        return {Shape::Unsigned, 1, 0};
    case GL_UNSIGNED_INT_VEC2:
        return {Shape::Unsigned, 2, 0};
    case GL_UNSIGNED_INT_VEC3:
        return {Shape::Unsigned, 3, 0};
    case GL_UNSIGNED_INT_VEC4:
        return {Shape::Unsigned, 4, 0};
    case GL_INT_VEC2:
    case GL_BOOL_VEC2:
        return {Shape::Int, 2, 0};
    case GL_INT_VEC3:
    case GL_BOOL_VEC3:
        return {Shape::Int, 3, 0};
    case GL_INT_VEC4:
    case GL_BOOL_VEC4:
        return {Shape::Int, 4, 0};
    case GL_FLOAT_MAT2:
        return {Shape::Float, 4, 2};
    case GL_FLOAT_MAT3:
        return {Shape::Float, 9, 3};
    case GL_FLOAT_MAT4:
        return {Shape::Float, 16, 4};
    case GL_FLOAT_MAT2x3:
    case GL_FLOAT_MAT2x4:
    case GL_FLOAT_MAT3x2:
    case GL_FLOAT_MAT3x4:
    case GL_FLOAT_MAT4x2:
    case GL_FLOAT_MAT4x3:
    case GL_DOUBLE_MAT2:
    case GL_DOUBLE_MAT3:
    case GL_DOUBLE_MAT4:
    case GL_DOUBLE_MAT2x3:
    case GL_DOUBLE_MAT2x4:
    case GL_DOUBLE_MAT3x2:
    case GL_DOUBLE_MAT3x4:
    case GL_DOUBLE_MAT4x2:
    case GL_DOUBLE_MAT4x3:
        return {Shape::Float, 0, 0};
    default: // int, bool, samplers and images
        return {Shape::Int, 1, 0};
    }
}

template<class T>
std::vector<T> converted(const std::vector<double>& values) {
    std::vector<T> result(values.size());
    std::transform(values.begin(), values.end(), result.begin(), [](double value) {
        if constexpr (std::is_floating_point_v<T>) {
            return static_cast<T>(value);
        } else {
            // Out of range the conversion would be undefined.
            constexpr auto lowest = static_cast<double>(std::numeric_limits<T>::lowest());
            constexpr auto highest = static_cast<double>(std::numeric_limits<T>::max());
            return static_cast<T>(value >= lowest ? std::min(value, highest) : lowest);
        }
    });
    return result;
}

/// The upper left part of a matrix, filled up as the unit matrix is.
std::vector<double> resized(const std::vector<double>& matrix, int columns, int wanted) {
    std::vector<double> result;
    for (int column = 0; column < wanted; ++column) {
        for (int row = 0; row < wanted; ++row) {
            const bool has = column < columns && row < columns;
            const auto index = static_cast<std::size_t>(column * columns + row);
            result.push_back(has ? matrix[index] : row == column ? 1.0 : 0.0);
        }
    }
    return result;
}

/// The elements cut or filled up to the number of components of the uniform: what is missing is 0,
/// and 1 in the fourth place of a vector.
std::vector<double> fitted(const Components& given, const Shape& shape, int elements) {
    if (given.columns != 0 && shape.columns != 0) {
        return resized(given.values, given.columns, shape.columns);
    }
    const int wanted = shape.components;
    const bool isVector4 = wanted == 4 && shape.columns == 0;
    const int available = static_cast<int>(given.values.size()) / std::max(given.perElement, 1);
    std::vector<double> result;
    for (int e = 0; e < std::min(elements, available); ++e) {
        for (int c = 0; c < wanted; ++c) {
            const bool has = c < given.perElement;
            const auto index = static_cast<std::size_t>(e * given.perElement + c);
            result.push_back(has ? given.values[index] : isVector4 && c == 3 ? 1.0 : 0.0);
        }
    }
    return result;
}

void setFloats(unsigned program, int location, int count, int components, const float* values) {
    switch (components) {
    case 1:
        return glProgramUniform1fv(program, location, count, values);
    case 2:
        return glProgramUniform2fv(program, location, count, values);
    case 3:
        return glProgramUniform3fv(program, location, count, values);
    default:
        return glProgramUniform4fv(program, location, count, values);
    }
}

void setDoubles(unsigned program, int location, int count, int components, const double* values) {
    switch (components) {
    case 1:
        return glProgramUniform1dv(program, location, count, values);
    case 2:
        return glProgramUniform2dv(program, location, count, values);
    case 3:
        return glProgramUniform3dv(program, location, count, values);
    default:
        return glProgramUniform4dv(program, location, count, values);
    }
}

void setInts(unsigned program, int location, int count, int components, const int* values) {
    switch (components) {
    case 1:
        return glProgramUniform1iv(program, location, count, values);
    case 2:
        return glProgramUniform2iv(program, location, count, values);
    case 3:
        return glProgramUniform3iv(program, location, count, values);
    default:
        return glProgramUniform4iv(program, location, count, values);
    }
}

void setUnsigneds(unsigned program, int location, int count, int components,
                  const unsigned* values) {
    switch (components) {
    case 1:
        return glProgramUniform1uiv(program, location, count, values);
    case 2:
        return glProgramUniform2uiv(program, location, count, values);
    case 3:
        return glProgramUniform3uiv(program, location, count, values);
    default:
        return glProgramUniform4uiv(program, location, count, values);
    }
}

void setIntegerUniform(unsigned program, int location, unsigned type, int value) {
    if (type == GL_UNSIGNED_INT) {
        glProgramUniform1ui(program, location, static_cast<GLuint>(value));
    } else {
        glProgramUniform1i(program, location, value);
    }
}

void setMatrices(unsigned program, int location, int count, int columns, const float* values) {
    switch (columns) {
    case 2:
        return glProgramUniformMatrix2fv(program, location, count, GL_FALSE, values);
    case 3:
        return glProgramUniformMatrix3fv(program, location, count, GL_FALSE, values);
    default:
        return glProgramUniformMatrix4fv(program, location, count, GL_FALSE, values);
    }
}

bool hasStage(const std::vector<StageSource>& stages, Stage stage) {
    return std::any_of(stages.begin(), stages.end(),
                       [&](const StageSource& source) { return source.stage == stage; });
}

/// Whether a text has a name of a stage's own, and not that of what comes from the stage before.
bool namesOutput(std::string_view text, std::string_view name) {
    const auto isMember = [&](std::size_t at) {
        while (at > 0 && isSpace(text[at - 1])) --at;
        return at > 0 && text[at - 1] == '.';
    };
    std::size_t at = text.find(name);
    while (at != std::string_view::npos && isMember(at)) at = text.find(name, at + name.size());
    return at != std::string_view::npos;
}

/// What the stages need. What is clipped, and how large points are, is told by the last stage ahead
/// of the fragments, which may read it.
ProgramSwitches neededSwitches(const std::vector<StageSource>& stages,
                               const std::string& platformDefines) {
    ProgramSwitches needed{};
    const bool hasGeometry = hasStage(stages, Stage::Geometry);
    for (const StageSource& source : stages) {
        const std::string text = GlslScan(source.code).withoutInactive(platformDefines);
        if (source.stage == (hasGeometry ? Stage::Geometry : Stage::Vertex)) {
            needed[0] = needed[1] = namesOutput(text, "gl_ClipDistance");
            needed[2] = namesOutput(text, "gl_PointSize");
        }
        if (source.stage == Stage::Fragment) needed[3] = namesOutput(text, "gl_PointCoord");
    }
    return needed;
}

StageText textOf(const StageSource& source) {
    StageText text{source.stage, source.code};
    if (!source.origin) return text;
    text.isWhole = source.origin->isVerbatim;
    text.mainLine = source.origin->firstLine;
    if (source.origin->file.empty()) text.ownName = source.origin->stage;
    return text;
}

/// What a program can take part in: its text has to know of views.
Pass passOf(const std::vector<StageSource>& stages, Pass wanted) {
    const auto names = [](const StageSource& source, const char* text) {
        return source.code.find(text) != std::string::npos;
    };
    const bool know = std::all_of(stages.begin(), stages.end(), [&](const StageSource& source) {
        // Who undefines the switches wants a view at a time.
        if (names(source, "#undef ZELK_")) return false;
        return source.stage == Stage::Fragment || names(source, "ZELK_DO_MULTIVIEW_VIA_LAYER_ID");
    });
    // Drivers that have the extension refuse geometry stages with it.
    const bool isPossible = wanted == Pass::Layers || !hasStage(stages, Stage::Geometry);
    return know && isPossible ? wanted : Pass::EachView;
}

int maximumVertices(const ProgramParameters& parameters) {
    const auto found = parameters.find("GeometryMaxVertices");
    if (found == parameters.end()) return AdaptOptions().maxVertices;
    const int* const number = std::get_if<int>(&found->second);
    return number != nullptr ? *number : AdaptOptions().maxVertices;
}

} // namespace

GLProgram::GLProgram(MachinePtr machine, const std::vector<StageSource>& stages,
                     RenderNamespace::GeometryInputType input,
                     RenderNamespace::GeometryOutputType output,
                     const ProgramParameters& parameters, const std::string& platformDefines)
    : _machine(std::move(machine)) {
    AdaptOptions options;
    options.profile = _machine->context.profile();
    options.extensions = _machine->context.extensions();
    options.platformDefines = platformDefines;
    options.geometryInput = static_cast<GeometryInput>(input);
    options.geometryOutput = static_cast<GeometryOutput>(output);
    options.maxVertices = maximumVertices(parameters);
    _pass = passOf(stages, _machine->pass);
    build(stages, options);
    if (_pass != Pass::EachView && _usesMatrices) {
        // There is one set of these at a time.
        _pass = Pass::EachView;
        build(stages, options);
    }
    _isCompute = stages.size() == 1 && stages[0].stage == Stage::Compute;
}

void GLProgram::build(const std::vector<StageSource>& stages, AdaptOptions options) {
    options.pass = _pass;
    if (_pass == Pass::Layers)
        options.platformDefines += "#define ZELK_DO_MULTIVIEW_VIA_LAYER_ID 1\n";
    if (_pass == Pass::Extension) options.platformDefines += "#define ZELK_HAVE_multiview2 1\n";
    std::vector<StageText> texts;
    for (const StageSource& source : stages) texts.push_back(textOf(source));
    const AdaptedProgram adapted = adaptProgram(texts, options);
    link(stages, adapted);
    readInterface(hasStage(stages, Stage::Geometry));
    _switches = neededSwitches(stages, options.platformDefines);
}

ShaderId GLProgram::compile(const AdaptedStage& stage, const StageSource& source,
                            const LineTable& lines) const {
    ShaderId shader = createShader(shaderType(stage.stage));
    const char* const text = stage.text.c_str();
    const auto length = static_cast<GLint>(stage.text.size());
    glShaderSource(shader.number(), 1, &text, &length);
    glCompileShader(shader.number());
    GLint compiled = GL_FALSE;
    glGetShaderiv(shader.number(), GL_COMPILE_STATUS, &compiled);
    if (compiled == GL_TRUE) return shader;
    GLRenderException exception(0, std::string(stageName(stage.stage)) + " stage does not compile",
                                linkFunction, source.name.c_str(),
                                static_cast<unsigned>(std::max(source.line, 0)));
    exception.shaderLog = mapCompilerLog(shaderLog(shader.number()), lines, stage.numbering);
    if (exception.shaderLog.empty()) exception.shaderLog = "\nthe driver gave no message\n";
    exception.shaderCode = source.code;
    throw exception;
}

void GLProgram::link(const std::vector<StageSource>& stages, const AdaptedProgram& adapted) {
    std::vector<ShaderId> shaders;
    for (std::size_t i = 0; i < stages.size(); ++i) {
        shaders.push_back(compile(adapted.stages[i], stages[i], adapted.lines));
    }
    _id = createProgram();
    for (const ShaderId& shader : shaders) glAttachShader(_id.number(), shader.number());
    for (int n = 0; n <= RenderNamespace::FourthTextureCoordinates; ++n) {
        glBindAttribLocation(
            _id.number(), static_cast<GLuint>(genericAttribute(n)),
            RenderBasin::AttributeNames(static_cast<RenderNamespace::VertexAttributeTypes>(n)));
    }
    glLinkProgram(_id.number());
    for (const ShaderId& shader : shaders) glDetachShader(_id.number(), shader.number());
    GLint linked = GL_FALSE;
    glGetProgramiv(_id.number(), GL_LINK_STATUS, &linked);
    if (linked == GL_TRUE) return;
    const std::string names = stageNames(stages);
    GLRenderException exception(0, names + " do not link", linkFunction, stages[0].name.c_str(), 0);
    exception.shaderLog = mapLinkerLog(programLog(_id.number()), adapted.lines, names);
    if (exception.shaderLog.empty()) exception.shaderLog = "\nthe driver gave no message\n";
    std::string code;
    for (const StageSource& source : stages) code += source.code;
    exception.shaderCode = code;
    throw exception;
}

void GLProgram::readInterface(bool hasGeometryStage) {
    _uniforms.clear();
    _attributes.clear();
    _usesMatrices = false;
    for (const Resource& uniform : resources(_id.number(), GL_UNIFORM)) {
        _uniforms[uniform.name] = {uniform.location, uniform.type, uniform.size};
        // OpenGL tells the first element of an array only; the others follow it.
        for (int i = 1; i < uniform.size && uniform.location >= 0; ++i) {
            _uniforms[uniform.name + '[' + std::to_string(i) + ']'] = {
                uniform.location + i, uniform.type, uniform.size - i};
        }
        const bool own = uniform.name.starts_with(ownNamePrefix) && uniform.name != ownViewName;
        if (own || uniform.name.starts_with("gl_")) _usesMatrices = true;
    }
    _view = {findUniform(viewName), {}};
    _layer = {findUniform(ownViewName), {}};
    _firstVertexOfChunk = {findUniform(firstVertexName), {}};
    for (const Resource& input : resources(_id.number(), GL_PROGRAM_INPUT)) {
        _attributes[input.name] = input.location;
    }
    if (!hasGeometryStage) return;
    GLint input = 0;
    glGetProgramiv(_id.number(), GL_GEOMETRY_INPUT_TYPE, &input);
    _takesLines = input == GL_LINES || input == GL_LINES_ADJACENCY;
}

bool GLProgram::activate(const Polyp& polyp) {
    _machine->drawState.enter();
    _outer.push_back(std::exchange(_machine->program, this));
    select();
    _machine->check("Program::activate", [&] { deactivate(polyp); });
    return true;
}

bool GLProgram::deactivate(const Polyp& polyp) {
    if (!isActive()) return true;
    releaseSamplers(polyp);
    _machine->program = _outer.back();
    _outer.pop_back();
    // What draws next selects its own.
    if (_machine->program != nullptr) _machine->program->select();
    _machine->drawState.leave();
    _machine->report("Program::deactivate");
    return true;
}

void GLProgram::select() const {
    _machine->drawState.useProgram(_id.number());
    // Enabled for a program that does not write them clip distances would clip at random.
    _machine->drawState.setSwitches(_switches);
}

std::size_t GLProgram::memsize() const {
    std::size_t bytes = 0;
    for (const auto& [name, texture] : SamplerBindings) {
        if (texture) bytes += texture->memsize();
    }
    return bytes;
}

void GLProgram::selectView() {
    sendOwn(_view, static_cast<int>(_machine->currentView));
    if (_usesMatrices) sendMatrices();
}

void GLProgram::prepare(const Polyp& polyp) {
    selectView();
    sendChanges();
    if (!isActive()) return _machine->check("Program::prepare");
    _machine->program = this;
    select();
    bindBlocks(polyp);
    bindSamplers(polyp);
    _machine->check("Program::prepare");
}

void GLProgram::sendChanges() {
    // The first map wins over the others.
    forEachKind([&](const auto& values) {
        for (const auto& [name, value] : values) {
            if (find(name) == end()) sendIfChanged(name, value);
        }
    });
    for (const auto& [name, value] : *this) sendIfChanged(name, value);
}

void GLProgram::sendIfChanged(const std::string& name, const Variant& value) {
    auto found = _sent.find(name);
    const bool isNew = found == _sent.end();
    if (isNew) found = _sent.try_emplace(name, Sent{findUniform(name), value, worldOrigin()}).first;
    auto& [uniform, sent, origin] = found->second;
    if (uniform == nullptr || isOwn(uniform)) return;
    const bool isSame = !isNew && sent == value;
    if (isSame && (!isPoint(value) || origin == worldOrigin())) return;
    const std::optional<Variant> relative = relativeTo(worldOrigin(), value);
    send(*uniform, relative ? *relative : value);
    if (!isSame) sent = value;
    origin = worldOrigin();
}

void GLProgram::setProgramVariable(const std::string& name,
                                   const ProgramVariables::value_type& variable,
                                   const RenderBasin::FloatedOrigin& origin) const {
    const Uniform* const uniform = findUniform(name);
    if (uniform == nullptr || isOwn(uniform)) return;
    const std::optional<Variant> relative = relativeTo(origin.worldOrigin, variable.second);
    send(*uniform, relative ? *relative : variable.second);
    _sent.insert_or_assign(name, Sent{uniform, variable.second, origin.worldOrigin});
}

void GLProgram::send(const Uniform& uniform, const Variant& value) const {
    if (uniform.location < 0) return;
    const Shape shape = shapeOf(uniform.type);
    if (shape.components == 0) return;
    const unsigned program = _id.number();
    const auto [floats, number] = floatsOf(value);
    if (shape.base == Shape::Float && shape.columns == 0 && shape.components == number) {
        return setFloats(program, uniform.location, 1, number, floats);
    }
    const std::vector<double> values = fitted(components(value), shape, uniform.size);
    const int count = static_cast<int>(values.size()) / shape.components;
    if (count == 0) return;
    if (shape.columns != 0) {
        setMatrices(program, uniform.location, count, shape.columns,
                    converted<float>(values).data());
    } else if (shape.base == Shape::Float) {
        setFloats(program, uniform.location, count, shape.components,
                  converted<float>(values).data());
    } else if (shape.base == Shape::Double) {
        setDoubles(program, uniform.location, count, shape.components, values.data());
    } else if (shape.base == Shape::Unsigned) {
        setUnsigneds(program, uniform.location, count, shape.components,
                     converted<unsigned>(values).data());
    } else {
        setInts(program, uniform.location, count, shape.components, converted<int>(values).data());
    }
}

bool GLProgram::isOwn(const Uniform* uniform) const {
    return uniform == _view.uniform || uniform == _layer.uniform ||
           uniform == _firstVertexOfChunk.uniform;
}

void GLProgram::sendOwn(OwnInteger& own, int value) {
    if (own.uniform == nullptr || own.sent == value) return;
    setIntegerUniform(_id.number(), own.uniform->location, own.uniform->type, value);
    own.sent = value;
}

void GLProgram::setInteger(const std::string& name, int value) const {
    const Uniform* const uniform = findUniform(name);
    if (uniform == nullptr) return;
    setIntegerUniform(_id.number(), uniform->location, uniform->type, value);
}

const GLProgram::Uniform* GLProgram::findUniform(std::string_view name) const {
    if (name.ends_with("[0]")) name.remove_suffix(3);
    const auto found = _uniforms.find(name);
    return found != _uniforms.end() ? &found->second : nullptr;
}

bool GLProgram::hasUniform(const char* name) const {
    return findUniform(name) != nullptr;
}

int GLProgram::uniformLocation(const char* name) const {
    const Uniform* const uniform = findUniform(name);
    return uniform != nullptr ? uniform->location : -1;
}

int GLProgram::attributeLocation(std::string_view name) const {
    const auto found = _attributes.find(name);
    return found != _attributes.end() ? found->second : -1;
}

bool GLProgram::bindUniformBlock(const char* blockName, const UniformBufferPtr& buffer) {
    const GLuint index = glGetUniformBlockIndex(_id.number(), blockName);
    if (index == GL_INVALID_INDEX) return false;
    glUniformBlockBinding(_id.number(), index, index);
    _uniformBlocks[index] = buffer;
    return true;
}

bool GLProgram::bindStorageBlock(const char* blockName,
                                 const Keel::WeakPtr<GLStorageBuffer, Polyp::Tentacle>& buffer) {
    const GLuint index =
        glGetProgramResourceIndex(_id.number(), GL_SHADER_STORAGE_BLOCK, blockName);
    if (index == GL_INVALID_INDEX) return false;
    glShaderStorageBlockBinding(_id.number(), index, index);
    _storageBlocks[index] = buffer;
    return true;
}

void GLProgram::bindBlocks(const Polyp& polyp) {
    for (const auto& [point, buffer] : _uniformBlocks) {
        const Keel::StrongPtr<GLUniformBuffer, Polyp::Tentacle> own(buffer);
        if (own) own->bind(point);
    }
    for (const auto& [point, buffer] : _storageBlocks) {
        const Keel::StrongPtr<GLStorageBuffer, Polyp::Tentacle> own(buffer);
        if (own) own->bind(point, polyp);
    }
}

void GLProgram::bindSamplers(const Polyp& polyp) {
    releaseSamplers(polyp);
    for (const auto& [name, texture] : SamplerBindings) {
        if (!texture || !texture->activate(polyp)) continue;
        _sampled.push_back(texture);
        setInteger(name, texture->getTextureUnit());
    }
    const auto [first, last] = polyp.get_range(Polyp::TextureKey, Polyp::ComputeKey - 1);
    for (auto entry = first; entry != last; ++entry) {
        const Keel::StrongPtr<GLTexture, Polyp::Tentacle> texture(entry->second);
        if (texture) setInteger(texture->samplerName, texture->getTextureUnit());
    }
}

void GLProgram::releaseSamplers(const Polyp& polyp) {
    for (auto texture = _sampled.rbegin(); texture != _sampled.rend(); ++texture) {
        (*texture)->deactivate(polyp);
    }
    _sampled.clear();
}

void GLProgram::sendMatrices() {
    if (_machine->context.profile() == Profile::Compatibility) {
        if (isActive()) _machine->drawState.setMatrices(_machine->projection, _machine->modelView);
        return;
    }
    if (_sentMatrices == _machine->matrixStamp) return;
    _sentMatrices = _machine->matrixStamp;
    for (const auto& [name, values] : fixedMatrices(_machine->projection, _machine->modelView)) {
        const auto found = _uniforms.find(std::string(ownNamePrefix) + name);
        if (found == _uniforms.end()) continue;
        setMatrices(_id.number(), found->second.location, 1, values.size() == 9 ? 3 : 4,
                    converted<float>(values).data());
    }
}

} // namespace Mirk::GL
