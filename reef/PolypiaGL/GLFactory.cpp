#include <PolypiaGL/GLFactory.hpp>

#include <PolypiaGL/GLFlag.hpp>
#include <PolypiaGL/glBuffers.hpp>
#include <PolypiaGL/glMachine.hpp>
#include <PolypiaGL/glPainter.hpp>
#include <PolypiaGL/glParameter.hpp>
#include <PolypiaGL/glProgram.hpp>
#include <PolypiaGL/glTexture.hpp>
#include <PolypiaGL/textOrigins.hpp>

#include <algorithm>
#include <cctype>
#include <map>
#include <mutex>

namespace Mirk {

using GL::GLStorageBuffer;
using GL::GLTexture;

namespace {

/// The storage buffers that hang on an object, one for each context and form. It holds them weakly:
/// GPU memory is given back by the polyps, on the render thread, not by the object.
class SharedStorage : public Keel::Interface<SharedStorage> {
public:
    using BufferPtr = RenderBasin::StorageBufferPtr;

    template<class Factory>
    BufferPtr provide(const GL::Machine* machine, const RenderBasin::StorageForm& form,
                      const Factory& factory) {
        const Key key(machine, form);
        if (BufferPtr present = find(key); present) return present;
        // Without lock, as the function of the caller may ask the same object for another buffer.
        // Nobody else makes this one meanwhile: a context has one thread.
        const BufferPtr made = factory();
        const std::lock_guard lock(_mutex);
        _buffers[key] = Weak(made);
        return made;
    }

private:
    using Key = std::pair<const GL::Machine*, RenderBasin::StorageForm>;
    using Weak = Keel::WeakPtr<RenderBasin::StorageBufferTentacle, Polyp::Tentacle>;

    BufferPtr find(const Key& key) {
        const std::lock_guard lock(_mutex);
        std::erase_if(_buffers, [](const auto& entry) { return !entry.second; });
        const auto found = _buffers.find(key);
        return found != _buffers.end() ? BufferPtr(found->second) : BufferPtr();
    }

    std::mutex _mutex;
    std::map<Key, Weak> _buffers;
};

std::string joined(const std::vector<std::string>& pieces) {
    std::string text;
    for (const std::string& piece : pieces) text += piece;
    return text;
}

RenderBasin::TexturePtr filled(const Keel::StrongPtr<GLTexture, Polyp::Tentacle>& texture,
                               const GLTexture::Shape& shape, int textureUnit,
                               const RenderBasin::ChunkPtr& data) {
    texture->fill(shape, textureUnit, data);
    return texture;
}

} // namespace

GLFactory::GLFactory(GLContext& context) : _machine(std::make_shared<GL::Machine>(context)) {}

GLFactory::~GLFactory() = default;

GLContext& GLFactory::context() const {
    return _machine->context;
}

void GLFactory::setErrorChecks(bool enabled) {
    _machine->checksErrors = enabled;
}

void GLFactory::setMatrices(const Matrix& projection, const Matrix& modelView) {
    _machine->projection = projection;
    _machine->modelView = modelView;
    ++_machine->matrixStamp;
}

void GLFactory::setCurrentView(unsigned view) {
    _machine->currentView = view;
}

void GLFactory::restoreState() {
    _machine->drawState.restore();
}

void GLFactory::setQueuedVertices(std::size_t vertices) {
    _machine->queuedVertices = vertices;
}

GLFactory::FlagPtr GLFactory::createFlag(const std::string& capability, bool enabled) const {
    const auto number = GLFlag::capability(capability);
    return number ? FlagPtr(new GLFlag(*number, enabled)) : FlagPtr();
}

GLFactory::FlagPtr GLFactory::createPolygonOffset(float factor, float units) const {
    return FlagPtr(new GLPolygonOffset(factor, units));
}

RenderBasin::TexturePtr GLFactory::createTexture(const RenderBasin::ChunkPtr& data, int dimensions,
                                                 int rowTexels, int textureUnit,
                                                 const RenderBasin::TextureStorageFormat& format,
                                                 const RenderBasin::TexturePtr& previous) {
    const auto shape = GL::textureShape(data, dimensions, rowTexels, format);
    if (!shape) return {};
    const Keel::StrongPtr<GLTexture, Polyp::Tentacle> reused(previous);
    if (reused && reused->machine() == _machine) return filled(reused, *shape, textureUnit, data);
    return filled(Keel::make<GLTexture>(_machine), *shape, textureUnit, data);
}

RenderBasin::TexturePtr
GLFactory::createTargetTexture(int width, int height, int textureUnit,
                               const RenderBasin::TextureStorageFormat& format) {
    const auto shape = GL::targetTextureShape(width, height, format);
    if (!shape) return {};
    return filled(Keel::make<GLTexture>(_machine), *shape, textureUnit, {});
}

RenderBasin::TexturePtr GLFactory::createBufferTexture(const RenderBasin::ChunkPtr& data,
                                                       int textureUnit) {
    const auto shape = GL::bufferTextureShape(data);
    if (!shape) return {};
    return filled(Keel::make<GLTexture>(_machine), *shape, textureUnit, data);
}

RenderBasin::StorageBufferPtr GLFactory::createStorageBuffer(const void* data, std::size_t bytes,
                                                             StorageFlags flags) const {
    const auto buffer = Keel::make<GLStorageBuffer>(_machine, flags);
    buffer->setData(data, bytes);
    return buffer;
}

RenderBasin::StorageBufferPtr
GLFactory::createStorageBuffer(Keel::Intercube& holder, const RenderBasin::ChunkFactory& factory,
                               StorageFlags flags) const {
    const auto shared =
        holder.provideInterface<SharedStorage>([] { return Keel::make<SharedStorage>(); });
    return shared->provide(_machine.get(), {factory, flags},
                           [&]() -> RenderBasin::StorageBufferPtr {
                               const RenderBasin::ChunkPtr data = factory();
                               if (!data) return {};
                               const auto buffer = Keel::make<GLStorageBuffer>(_machine, flags);
                               buffer->setSource(data);
                               return buffer;
                           });
}

RenderBasin::StorageBufferPtr GLFactory::createStorageBuffer(Keel::Intercube& holder,
                                                             std::size_t bytes,
                                                             StorageFlags flags) const {
    const auto shared =
        holder.provideInterface<SharedStorage>([] { return Keel::make<SharedStorage>(); });
    return shared->provide(_machine.get(), {bytes, flags}, [&]() -> RenderBasin::StorageBufferPtr {
        const auto buffer = Keel::make<GLStorageBuffer>(_machine, flags);
        buffer->setZero(bytes);
        return buffer;
    });
}

UniformBufferPtr GLFactory::createUniformBuffer(std::size_t bytes) const {
    return UniformBufferPtr(new GL::GLUniformBuffer(_machine, bytes));
}

RenderBasin::VertexAttributePtr GLFactory::createAttribute(const RenderBasin::ChunkPtr& data,
                                                           int number, const std::string& name) {
    if (!data || !GL::elementFormat(data->elementType())) return {};
    return RenderBasin::VertexAttributePtr(new GL::GLVertexAttribute(_machine, data, number, name));
}

std::string GLFactory::platformDefines() const {
    std::string vendor = context().vendor();
    std::replace_if(
        vendor.begin(), vendor.end(),
        [](char c) { return std::isalnum(static_cast<unsigned char>(c)) == 0; }, '_');
    const auto [major, minor] = context().version();
    return "#define ZELK_GL_VENDOR_" + vendor + " 1\n#define ZELK_GL_VERSION " +
           std::to_string(major * 100 + minor * 10) + "\n";
}

RenderBasin::ProgramPtr GLFactory::createProgram(std::vector<GL::StageSource> stages,
                                                 RenderNamespace::GeometryInputType input,
                                                 RenderNamespace::GeometryOutputType output,
                                                 const RenderBasin::LinkParameters& parameters,
                                                 const TextOrigins& origins) {
    for (GL::StageSource& stage : stages) {
        const auto known = std::find_if(
            origins.begin(), origins.end(),
            [&](const RenderBasin::TextOrigin& origin) { return origin.stage == stage.name; });
        if (known != origins.end()) stage.origin = *known;
    }
    ProgramParameters chosen;
    chosen["GeometryMaxVertices"] = 64;
    if (parameters) chosen = parameters(chosen);
    return RenderBasin::ProgramPtr(
        new GL::GLProgram(_machine, stages, input, output, chosen, platformDefines()));
}

RenderBasin::ProgramPtr GLFactory::createProgram(
    const std::vector<std::string>& vertexCode, const std::string& vertexName, int vertexLine,
    RenderNamespace::GeometryInputType input, const std::vector<std::string>& geometryCode,
    RenderNamespace::GeometryOutputType output, const std::string& geometryName, int geometryLine,
    const std::vector<std::string>& fragmentCode, const std::string& fragmentName, int fragmentLine,
    const RenderBasin::LinkParameters& parameters, const TextOrigins& origins) {
    std::vector<GL::StageSource> stages;
    stages.push_back({GL::Stage::Vertex, joined(vertexCode), vertexName, vertexLine});
    if (input != RenderNamespace::NoGeometryInput && output != RenderNamespace::NoGeometryOutput) {
        stages.push_back({GL::Stage::Geometry, joined(geometryCode), geometryName, geometryLine});
    }
    stages.push_back({GL::Stage::Fragment, joined(fragmentCode), fragmentName, fragmentLine});
    return createProgram(std::move(stages), input, output, parameters, origins);
}

RenderBasin::ProgramPtr
GLFactory::createComputeProgram(const std::vector<std::string>& code, const std::string& name,
                                int line, const RenderBasin::LinkParameters& parameters,
                                const TextOrigins& origins) {
    return createProgram({{GL::Stage::Compute, joined(code), name, line}},
                         RenderNamespace::NoGeometryInput, RenderNamespace::NoGeometryOutput,
                         parameters, origins);
}

RenderBasin::PainterPtr GLFactory::createPainter(RenderNamespace::Primitive primitive,
                                                 int vertices) {
    return RenderBasin::PainterPtr(new GL::GLPainter(_machine, primitive, vertices));
}

RenderBasin::TimerPtr GLFactory::createTimer() const {
    return RenderBasin::TimerPtr(new GL::GLTimer(_machine));
}

RenderBasin::RenderParameterPtr
GLFactory::createRenderParameter(const std::string& name, const RenderBasin::UpdaterPtr& updater,
                                 const std::type_info& element, int components) {
    if (!GL::isParameterType(name, element, components)) return {};
    return RenderBasin::RenderParameterPtr(
        new GL::GLParameter(_machine, name, updater, element, components));
}

RenderBasin::DispatcherPtr GLFactory::createDispatcher(unsigned x, unsigned y, unsigned z) {
    return RenderBasin::DispatcherPtr(new GL::GLDispatcher(_machine, x, y, z));
}

void GLFactory::nameFiles(RenderException& exception, const TextOrigins& origins) {
    GL::nameFiles(exception, origins);
}

GLRenderBasin::GLRenderBasin(GLContext& context, const Keel::WeakPtr<Seagrass>& theSeagrass)
    : BasinOnGL(context, theSeagrass) {}

GLRenderBasin::~GLRenderBasin() = default;

} // namespace Mirk
