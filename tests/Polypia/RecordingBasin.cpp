#include "RecordingBasin.hpp"

#include <Polypia/RenderException.hpp>

#include <keel/Interface.hpp>

#include <algorithm>
#include <cstring>
#include <iterator>

using Mirk::Polyp;
using Mirk::RenderBasin;
using Mirk::StorageFlags;

bool CallLog::record(const std::string& call) {
    calls.push_back(call);
    if (throwing.contains(call)) {
        throw Mirk::RenderException(Refused, call.c_str(), __FILE__, __LINE__);
    }
    return !failing.contains(call);
}

template<class Base>
bool RecordingMemory<Base>::resize(std::size_t size) {
    if (!this->record("resize")) return false;
    content.assign(size, std::byte{});
    return true;
}

template<class Base>
bool RecordingMemory<Base>::upload(const void* data, std::size_t size) {
    if (!this->record("upload")) return false;
    const auto* const first = static_cast<const std::byte*>(data);
    content.assign(first, first + size);
    return true;
}

template<class Base>
bool RecordingMemory<Base>::write(std::size_t offset, const void* data, std::size_t size) {
    if (!this->record("write") || !contains(offset, size)) return false;
    if (size > 0) std::memcpy(content.data() + offset, data, size);
    return true;
}

template<class Base>
bool RecordingMemory<Base>::read(std::size_t offset, void* data, std::size_t size) const {
    if (!this->record("read") || !contains(offset, size)) return false;
    if (size > 0) std::memcpy(data, content.data() + offset, size);
    return true;
}

template<class Base>
void* RecordingMemory<Base>::map() {
    if (!this->record("map") || isMapped) return nullptr;
    isMapped = true;
    return content.data();
}

template<class Base>
bool RecordingMemory<Base>::unmap() {
    return this->record("unmap") && std::exchange(isMapped, false);
}

template class RecordingMemory<RecordingActivation<RenderBasin::StorageBufferTentacle>>;
template class RecordingMemory<Recording<Mirk::UniformBuffer>>;

void RecordingProgram::prepare(const Polyp&) {
    record("prepare");
}

void RecordingProgram::setProgramVariable(const std::string& variableName,
                                          const ProgramVariables::value_type& variable,
                                          const RenderBasin::FloatedOrigin& origin) const {
    if (!log->record("setProgramVariable " + variableName + " of " + title())) return;
    sent.insert_or_assign(variableName, Sent{variable.second, origin.worldOrigin});
}

int RecordingProgram::uniformLocation(const char* uniform) const {
    const auto found = uniforms.find(uniform);
    return found != uniforms.end() ? static_cast<int>(std::distance(uniforms.begin(), found)) : -1;
}

bool RecordingProgram::bindUniformBlock(const char* blockName,
                                        const Mirk::UniformBufferPtr& buffer) {
    const std::string call = std::string("bindUniformBlock ") + blockName + " of " + title();
    if (!log->record(call) || !blocks.contains(blockName)) return false;
    uniformBlocks.insert_or_assign(blockName, buffer);
    return true;
}

bool RecordingPainter::activate(const Polyp& polyp) {
    return record("activate") && RangedPainter::activate(polyp);
}

bool RecordingPainter::deactivate(const Polyp& polyp) {
    return record("deactivate") && RangedPainter::deactivate(polyp);
}

bool RecordingPainter::draw(const Polyp& polyp) {
    drawn.push_back({polyp.NumberOfElements(Polyp::VertexAttributeKey, Polyp::VertexAttributeKey),
                     polyp.currentChunk});
    return record("draw");
}

RecordingAttribute::RecordingAttribute(CallLogPtr callLog, std::string attributeName, int number,
                                       const RenderBasin::ChunkPtr& content)
    : RecordingActivation(std::move(callLog), "VertexAttribute", std::move(attributeName), number),
      data(content) {
    if (!data) return;
    elements = data->numberOfElements();
    gpuBytes = data->bytes();
}

RenderBasin::PainterPtr
RecordingAttribute::createPainter(Mirk::RenderNamespace::Primitive primitive) const {
    if (!record("createPainter")) return {};
    return RenderBasin::PainterPtr(new RecordingPainter(log, name, primitive));
}

bool RecordingStorageBuffer::bindToProgram(const RenderBasin::ProgramPtr& program,
                                           const char* blockName, Mirk::Seagrass* seagrass) {
    const Keel::StrongPtr<RecordingProgram, Polyp::Tentacle> recorder(program);
    const std::string call = std::string("bindToProgram ") + blockName + " of ";
    boundWith = seagrass;
    return log->record(call + (recorder ? recorder->title() : "nothing")) && recorder &&
           recorder->blocks.contains(blockName);
}

bool RecordingTexture::setParameter(const std::string& key, const std::type_info&, const void*,
                                    int) {
    return log->record("setParameter " + key + " of " + title());
}

RenderBasin::ChunkPtr RecordingTexture::readBack() const {
    return record("readBack") && texels ? texels->clone() : RenderBasin::ChunkPtr();
}

void RecordingTimer::reset() {
    record("reset");
    RenderTimer::reset();
}

bool RecordingDispatcher::activate(const Polyp& polyp) {
    return RecordingActivation::activate(polyp) && dispatch(polyp);
}

bool RecordingDispatcher::dispatch(const Polyp&) {
    return record("dispatch");
}

bool RecordingParameter::setValue(const void* data, const std::type_info& elementType, int number) {
    if (!record("setValue") || elementType != element || number != components) return false;
    const std::size_t size = element == typeid(int)      ? sizeof(int)
                             : element == typeid(float)  ? sizeof(float)
                             : element == typeid(double) ? sizeof(double)
                                                         : 3 * sizeof(float);
    const auto* const first = static_cast<const std::byte*>(data);
    _bytes.assign(first, first + size * static_cast<std::size_t>(number));
    return true;
}

RecordingBasin::RecordingBasin(const Keel::WeakPtr<Mirk::Seagrass>& theSeagrass)
    : RenderBasin(theSeagrass) {}

RecordingBasin::~RecordingBasin() = default;

RenderBasin::TexturePtr RecordingBasin::createTexture(const ChunkPtr& data, int, int, int,
                                                      int textureUnit,
                                                      const TextureStorageFormat& format, int,
                                                      bool hasPrevious,
                                                      const TexturePtr& previous) {
    if (!log->record("createTexture") || !data) return {};
    Keel::StrongPtr<RecordingTexture, Tentacle> texture;
    if (hasPrevious) texture = Keel::StrongPtr<RecordingTexture, Tentacle>(previous);
    if (!texture) {
        texture = Keel::StrongPtr<RecordingTexture, Tentacle>(
            new RecordingTexture(log, textureUnit, format));
    }
    texture->format = format;
    texture->texels = data;
    texture->gpuBytes = data->bytes();
    return texture;
}

RenderBasin::TexturePtr RecordingBasin::createTargetTexture(int, int, int textureUnit,
                                                            const TextureStorageFormat& format) {
    if (!log->record("createTargetTexture")) return {};
    return TexturePtr(new RecordingTexture(log, textureUnit, format));
}

RenderBasin::TexturePtr RecordingBasin::createBufferTexture(const ChunkPtr& data, int textureUnit) {
    if (!log->record("createBufferTexture") || !data) return {};
    const Keel::StrongPtr<RecordingTexture, Tentacle> texture(
        new RecordingTexture(log, textureUnit, Red(BitPrecision::Unspecified)));
    texture->texels = data;
    texture->gpuBytes = data->bytes();
    return texture;
}

RenderBasin::StorageBufferPtr
RecordingBasin::createStorageBuffer(const void* data, std::size_t bytes, StorageFlags flags) const {
    if (!log->record("createStorageBuffer")) return {};
    const Keel::StrongPtr<RecordingStorageBuffer, Tentacle> buffer(
        new RecordingStorageBuffer(log, flags));
    const auto* const first = static_cast<const std::byte*>(data);
    buffer->content.assign(first, first + bytes);
    return buffer;
}

Mirk::UniformBufferPtr RecordingBasin::createUniformBuffer(std::size_t bytes) const {
    if (!log->record("createUniformBuffer")) return {};
    const Keel::StrongPtr<RecordingUniformBuffer, Tentacle> buffer(new RecordingUniformBuffer(log));
    buffer->content.resize(bytes);
    return buffer;
}

namespace {

/// The buffers that all polyps share which ask with the same holder.
class SharedBuffers : public Keel::Interface<SharedBuffers> {
public:
    std::map<RenderBasin::StorageForm,
             Keel::WeakPtr<RenderBasin::StorageBufferTentacle, Polyp::Tentacle>>
        buffers;
};

} // namespace

template<class Fill>
RenderBasin::StorageBufferPtr
RecordingBasin::sharedStorageBuffer(Keel::Intercube& holder, const StorageForm& form,
                                    StorageFlags flags, const Fill& fill) const {
    if (!log->record("createStorageBuffer")) return {};
    const auto shared =
        holder.provideInterface<SharedBuffers>([] { return Keel::make<SharedBuffers>(); });
    if (StorageBufferPtr present(shared->buffers[form]); present) return present;
    const Keel::StrongPtr<RecordingStorageBuffer, Tentacle> made(
        new RecordingStorageBuffer(log, flags));
    if (!fill(made->content)) return {};
    shared->buffers[form] = StorageBufferPtr(made);
    return made;
}

RenderBasin::StorageBufferPtr RecordingBasin::createStorageBuffer(Keel::Intercube& holder,
                                                                  const ChunkFactory& factory,
                                                                  StorageFlags flags) const {
    return sharedStorageBuffer(
        holder, {factory, flags}, flags, [&](std::vector<std::byte>& content) {
            const ChunkPtr chunk = factory();
            if (!chunk) return false;
            const auto* const first = static_cast<const std::byte*>(std::as_const(*chunk).data());
            content.assign(first, first + chunk->bytes());
            return true;
        });
}

RenderBasin::StorageBufferPtr RecordingBasin::createStorageBuffer(Keel::Intercube& holder,
                                                                  std::size_t bytes,
                                                                  StorageFlags flags) const {
    return sharedStorageBuffer(holder, {bytes, flags}, flags, [&](std::vector<std::byte>& content) {
        content.resize(bytes);
        return true;
    });
}

RenderBasin::VertexAttributePtr RecordingBasin::createCoordinates(const ChunkPtr& data,
                                                                  const std::string& name) {
    if (!log->record("createCoordinates " + name) || !data) return {};
    return VertexAttributePtr(new RecordingAttribute(log, name, Coordinates, data));
}

RenderBasin::VertexAttributePtr RecordingBasin::createAttribute(const ChunkPtr& data, int number,
                                                                const std::string& name) {
    if (!log->record("createAttribute " + name) || !data) return {};
    return VertexAttributePtr(new RecordingAttribute(log, name, number, data));
}

Keel::StrongPtr<RecordingProgram, Polyp::Tentacle>
RecordingBasin::makeProgram(const std::string& name, const LinkParameters& parameters,
                            const ProgramPtr& previous) const {
    const Keel::StrongPtr<RecordingProgram, Tentacle> program(new RecordingProgram(log, name));
    program->uniforms = uniforms;
    program->blocks = blocks;
    program->linkParameters = parameters ? parameters(defaultParameters) : defaultParameters;
    program->previous = previous;
    return program;
}

RenderBasin::ProgramPtr RecordingBasin::createProgram(
    const std::vector<std::string>& vertexCode, const std::string& vertexName, int vertexLine,
    GeometryInputType input, const std::vector<std::string>& geometryCode,
    GeometryOutputType output, const std::string& geometryName, int geometryLine,
    const std::vector<std::string>& fragmentCode, const std::string& fragmentName, int fragmentLine,
    const LinkParameters& parameters, const ProgramPtr& previous) {
    if (!log->record("createProgram " + vertexName)) return {};
    const auto program = makeProgram(vertexName, parameters, previous);
    program->vertex = {vertexCode, vertexName, vertexLine};
    program->input = input;
    program->geometry = {geometryCode, geometryName, geometryLine};
    program->output = output;
    program->fragment = {fragmentCode, fragmentName, fragmentLine};
    return program;
}

RenderBasin::ProgramPtr RecordingBasin::createComputeProgram(const std::vector<std::string>& code,
                                                             const std::string& name, int line,
                                                             const LinkParameters& parameters,
                                                             const ProgramPtr& previous) {
    if (!log->record("createComputeProgram " + name)) return {};
    const auto program = makeProgram(name, parameters, previous);
    program->compute = {code, name, line};
    return program;
}

RenderBasin::PainterPtr RecordingBasin::createPainter(Primitive primitive, int vertices) {
    if (!log->record("createPainter")) return {};
    return PainterPtr(new RecordingPainter(log, "", primitive, vertices));
}

RenderBasin::TimerPtr RecordingBasin::createTimer() const {
    return log->record("createTimer") ? TimerPtr(new RecordingTimer(log)) : TimerPtr();
}

RenderBasin::RenderParameterPtr RecordingBasin::createRenderParameter(const std::string& name,
                                                                      const UpdaterPtr& updater,
                                                                      const std::type_info& element,
                                                                      int components) {
    if (!log->record("createRenderParameter " + name)) return {};
    const RenderParameterPtr parameter(new RecordingParameter(log, name, element, components));
    parameter->updater = updater;
    return parameter;
}

RenderBasin::DispatcherPtr RecordingBasin::createDispatcher(unsigned x, unsigned y, unsigned z) {
    if (!log->record("createDispatcher")) return {};
    return DispatcherPtr(new RecordingDispatcher(log, {x, y, z}));
}
