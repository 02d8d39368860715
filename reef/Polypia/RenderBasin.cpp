#include <Polypia/RenderBasin.hpp>

#include <Polypia/PolypCreator.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <Polypia/Seagrass.hpp>
#include <Polypia/shaderText.hpp>

#include <algorithm>
#include <map>
#include <mutex>
#include <string>
#include <type_traits>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

RenderBasin::ShaderProgram shader(const std::string& code, const std::string& name, unsigned line) {
    return {code, name, static_cast<int>(line)};
}

using Variables = RenderNamespace::ProgramVariables;
using VariantMap = std::map<std::string, Variables::Variant>;

/// Removes a name from the map of each type.
void eraseVariable(Variables& variables, const std::string& name) {
    variables.erase(name);
    variables.forEachKind([&](auto& values) { values.erase(name); });
}

/// Sets a name in the map of one type, and removes it from the others.
template<class Map, class Value>
void setVariable(Variables& variables, Map& map, const std::string& name, const Value& value) {
    const auto eraseElsewhere = [&](auto& values) {
        if (static_cast<const void*>(&values) != &map) values.erase(name);
    };
    eraseElsewhere(static_cast<VariantMap&>(variables));
    variables.forEachKind(eraseElsewhere);
    map.insert_or_assign(name, value);
}

/// Calls `visit` with each name, its value and the map of a target for values of that type. The map
/// of variants comes last: of one name in several maps it is the one that counts.
template<class Visitor>
void forEachVariable(const Variables& source, Variables& target, const Visitor& visit) {
    source.forEachKind([&](const auto& values) {
        using Value = typename std::remove_reference_t<decltype(values)>::mapped_type;
        for (const auto& [name, value] : values) visit(name, value, target.values<Value>());
    });
    for (const auto& [name, value] : source) {
        visit(name, value, static_cast<VariantMap&>(target));
    }
}

} // namespace

RenderBasin::RenderBasin(const Keel::WeakPtr<Seagrass>& theSeagrass) : seagrass(theSeagrass) {}

RenderBasin::~RenderBasin() = default;

RenderBasin::TimerPtr RenderBasin::createTimer() const {
    return {};
}

const char* RenderBasin::AttributeNames(VertexAttributeTypes attribute) {
    static constexpr const char* names[] = {
        "Coordinates",
        "Normals",
        "Colors",
        "SecondaryColors",
        "FirstTextureCoordinates",
        "SecondTextureCoordinates",
        "ThirdTextureCoordinates",
        "FourthTextureCoordinates",
    };
    return names[attribute];
}

Seagrass* RenderBasin::getSeagrass() const {
    return seagrass.get();
}

Keel::WeakPtr<Interactor> RenderBasin::getInteractor() const {
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    if (!alive) return {};
    const std::lock_guard lock(alive->interactorMutex);
    return alive->interactor;
}

void RenderBasin::setInteractor(const Keel::WeakPtr<Interactor>& interactor) const {
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    if (!alive) return;
    const std::lock_guard lock(alive->interactorMutex);
    alive->interactor = interactor;
}

Keel::StrongPtr<Interactor> RenderBasin::makeInteractor() const {
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    if (!alive) return {};
    const std::lock_guard lock(alive->interactorMutex);
    Keel::StrongPtr<Interactor> present(alive->interactor);
    if (present) return present;
    const Keel::StrongPtr<Interactor> made(new Interactor);
    alive->interactor = made;
    return made;
}

RenderBasin::ProgramPtr
RenderBasin::createProgram(const std::string& vertexCode, const std::string& fragmentCode,
                           const std::string& vertexName, const std::string& fragmentName,
                           unsigned vertexLine, unsigned fragmentLine,
                           const LinkParameters& parameters, const ProgramPtr& previous) {
    return createGeometryProgram(shader(vertexCode, vertexName, vertexLine), NoGeometryInput, {},
                                 NoGeometryOutput, shader(fragmentCode, fragmentName, fragmentLine),
                                 parameters, previous);
}

RenderBasin::ProgramPtr
RenderBasin::createGeometryProgram(const std::string& vertexCode, GeometryInputType input,
                                   const std::string& geometryCode, GeometryOutputType output,
                                   const std::string& fragmentCode, const std::string& vertexName,
                                   const std::string& geometryName, const std::string& fragmentName,
                                   const LinkParameters& parameters, const ProgramPtr& previous) {
    return createGeometryProgram(shader(vertexCode, vertexName, 0), input,
                                 shader(geometryCode, geometryName, 0), output,
                                 shader(fragmentCode, fragmentName, 0), parameters, previous);
}

RenderBasin::ProgramPtr
RenderBasin::createGeometryProgram(const ShaderProgram& vertex, GeometryInputType input,
                                   const ShaderProgram& geometry, GeometryOutputType output,
                                   const ShaderProgram& fragment, const LinkParameters& parameters,
                                   const ProgramPtr& previous) {
    return createProgram({vertex.code}, vertex.name, vertex.line, input, {geometry.code}, output,
                         geometry.name, geometry.line, {fragment.code}, fragment.name,
                         fragment.line, parameters, previous);
}

RenderBasin::StorageBufferPtr RenderBasin::bindStorageBuffer(Polyp& polyp, const char* blockName,
                                                             const void* data,
                                                             unsigned long long bytes,
                                                             StorageFlags flags) const {
    return bindToPrograms(polyp, blockName, createStorageBuffer(data, bytes, flags));
}

RenderBasin::StorageBufferPtr RenderBasin::bindStorageBuffer(Polyp& polyp, const char* blockName,
                                                             Keel::Intercube& holder,
                                                             const ChunkFactory& factory,
                                                             StorageFlags flags) const {
    return bindToPrograms(polyp, blockName, createStorageBuffer(holder, factory, flags));
}

RenderBasin::StorageBufferPtr RenderBasin::bindStorageBuffer(Polyp& polyp, const char* blockName,
                                                             Keel::Intercube& holder,
                                                             unsigned long long bytes,
                                                             StorageFlags flags) const {
    const std::size_t size = bytes;
    return bindToPrograms(polyp, blockName, createStorageBuffer(holder, size, flags));
}

RenderBasin::StorageBufferPtr RenderBasin::bindToPrograms(Polyp& polyp, const char* blockName,
                                                          const StorageBufferPtr& buffer) const {
    if (!buffer) return {};
    constexpr int farthestKey = 32000;
    std::size_t bound = 0;
    polyp.iterate(
        [&](int, const Polyp::TentaclePtr& tentacle) {
            const ProgramPtr program(tentacle);
            if (program && buffer->bindToProgram(program, blockName, getSeagrass())) ++bound;
            return true;
        },
        -farthestKey, farthestKey);
    if (bound > 0) polyp.insert(buffer);
    return buffer;
}

// Meant as it stands, with the `#line` on the line of the `#if`, and a macro of its own beside that
// of the compiler: text that is composed elsewhere relies on it.
std::string RenderBasin::glsl_line_directive(int line, const char* file) const {
    const long long first = line;
    return "#if defined(GL_GOOGLE_cpp_style_line_directive) || "
           "defined(GLSL_CAN_DO_LINE_DIRECTIVE)#line " +
           std::to_string(first + 1) + " \"" + file + "\"\n#else\n#line " +
           std::to_string(first + 3) + " /* " + file + "*/\n#endif\n";
}

std::string RenderBasin::getLightSourceCode() const {
    std::string code = Lighting::prefix();
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    const unsigned int number = alive ? alive->defineLightFunctions(code) : 0;
    return code + Lighting::postfix(number);
}

void RenderBasin::mergeIlluminationUniforms(Program& program) const {
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    if (alive) mergeIlluminationUniforms(*alive, program);
}

// In place, as this is done for each drawing: what stays is to allocate nothing. The set of names
// only grows: a program keeps nothing of lights that come and go.
void RenderBasin::mergeIlluminationUniforms(const Lighting& lighting, Program& program) {
    thread_local std::string effective;
    thread_local std::vector<const std::string*> present; // of the set
    present.clear();
    Variables& variables = program;
    unsigned int index = 0;
    for (const LightsByCreation::Light& light : lighting) {
        const Lighting::SourcePtr source(light);
        if (!source) continue;
        const auto lock = source->lockVariables();
        forEachVariable(
            *source, variables, [&](const std::string& name, const auto& value, auto& map) {
                effective = name;
                replaceText(effective, Lighting::placeholder, std::to_string(index));
                const auto known = program.IlluminationUniformNames.insert(effective).first;
                present.push_back(&*known);
                setVariable(variables, map, *known, value);
            });
        ++index;
    }
    std::sort(present.begin(), present.end());
    for (const std::string& name : program.IlluminationUniformNames) {
        if (std::binary_search(present.begin(), present.end(), &name)) continue;
        eraseVariable(variables, name);
    }
}

bool RenderBasin::lightingHasChanged(const PolypCreatorBase& creator) const {
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    return alive && lightingHasChanged(*alive, creator);
}

bool RenderBasin::lightingHasChanged(Lighting& lighting, const PolypCreatorBase& creator) {
    return lighting.isYoungerThan(creator);
}

bool RenderBasin::hasValidLighting(const Keel::Ageable& made) const {
    const Keel::StrongPtr<Seagrass> alive(seagrass);
    return !alive || !(alive->isYoungerThan(made) || alive->compositionIsYoungerThan(made));
}

RenderBasin::OriginScope::OriginScope(RenderBasin& basin, std::vector<TextOrigin> origins)
    : _basin(basin), _before(std::exchange(basin.textOrigins, std::move(origins))) {}

RenderBasin::OriginScope::~OriginScope() {
    _basin.textOrigins = std::move(_before);
}

RenderBasin::FloatedOrigin::FloatedOrigin() = default;

RenderBasin::FloatedOrigin::FloatedOrigin(const Skua::PhysicalSpace::vector& origin)
    : worldOrigin(origin) {}

RenderBasin::FloatedOrigin::~FloatedOrigin() = default;

} // namespace Mirk
