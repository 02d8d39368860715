#include <PolypiaGL/glBuffers.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <PolypiaGL/glPainter.hpp>
#include <PolypiaGL/glProgram.hpp>

#include <algorithm>
#include <limits>

namespace Mirk::GL {

namespace {

constexpr const char* indicesName = "Indices";

bool isIndexType(unsigned type) {
    return type == GL_UNSIGNED_BYTE || type == GL_UNSIGNED_SHORT || type == GL_INT ||
           type == GL_UNSIGNED_INT;
}

template<class To, class From>
void narrow(const From* source, std::size_t number, To* target) {
    for (std::size_t i = 0; i < number; ++i) target[i] = static_cast<To>(source[i]);
}

} // namespace

bool BufferMemory::resize(std::size_t bytes) {
    return upload(nullptr, bytes);
}

void BufferMemory::require(const void* data, std::size_t bytes) {
    if (upload(data, bytes)) return;
    throw GLRenderException(GL_OUT_OF_MEMORY,
                            "no memory for a buffer of " + std::to_string(bytes) + " bytes",
                            "glNamedBufferData", __FILE__, __LINE__);
}

bool BufferMemory::upload(const void* data, std::size_t bytes) {
    ++_changes;
    _isMapped = false; // new data end a mapping
    if (bytes == 0) {
        _id.reset();
        _bytes = 0;
        return true;
    }
    if (!_id) {
        _id = createBuffer();
        _serial = _machine->nextSerial();
    }
    _machine->setErrorsAside("ahead of glNamedBufferData");
    glNamedBufferData(_id.number(), static_cast<GLsizeiptr>(bytes), data, GL_STATIC_DRAW);
    if (glGetError() != GL_NO_ERROR) {
        _id.reset();
        _bytes = 0;
        return false;
    }
    _bytes = bytes;
    return true;
}

bool BufferMemory::covers(std::size_t offset, std::size_t bytes) const {
    return offset <= _bytes && bytes <= _bytes - offset;
}

bool BufferMemory::write(std::size_t offset, const void* data, std::size_t bytes) {
    if (_isMapped || !covers(offset, bytes)) return false;
    if (bytes == 0) return true;
    ++_changes;
    glNamedBufferSubData(_id.number(), static_cast<GLintptr>(offset),
                         static_cast<GLsizeiptr>(bytes), data);
    return true;
}

bool BufferMemory::read(std::size_t offset, void* data, std::size_t bytes) const {
    if (_isMapped || !covers(offset, bytes)) return false;
    if (bytes == 0) return true;
    glGetNamedBufferSubData(_id.number(), static_cast<GLintptr>(offset),
                            static_cast<GLsizeiptr>(bytes), data);
    return true;
}

void* BufferMemory::map() {
    if (!_id || _isMapped) return nullptr;
    ++_changes;
    void* const memory = glMapNamedBuffer(_id.number(), GL_READ_WRITE);
    _isMapped = memory != nullptr;
    return memory;
}

bool BufferMemory::unmap() {
    if (!_isMapped) return false;
    _isMapped = false;
    return glUnmapNamedBuffer(_id.number()) == GL_TRUE;
}

void BufferMemory::clear() {
    ++_changes;
    // Byte by byte, as any number of them is allowed.
    const unsigned char zero = 0;
    if (_id) {
        glClearNamedBufferData(_id.number(), GL_R8UI, GL_RED_INTEGER, GL_UNSIGNED_BYTE, &zero);
    }
}

GLUniformBuffer::GLUniformBuffer(const MachinePtr& machine, std::size_t size) : _memory(machine) {
    _memory.require(nullptr, size);
}

void GLUniformBuffer::bind(unsigned bindingPoint) const {
    glBindBufferBase(GL_UNIFORM_BUFFER, bindingPoint, _memory.number());
}

GLStorageBuffer::GLStorageBuffer(const MachinePtr& machine, StorageFlags flags)
    : _memory(machine), _flags(flags) {
    const GLLimits& limits = machine->context.limits();
    chunkDivisors[0] = static_cast<std::uint32_t>(limits.storageOffsetAlignment);
    chunkDivisorCount = 1;
    // Room for the vertices behind a piece, of which nobody knows the size yet.
    constexpr std::int64_t reserve = 4096;
    chunkLimit = static_cast<std::uint32_t>(std::min<std::int64_t>(
        limits.maxStorageBlockBytes - reserve, std::numeric_limits<std::uint32_t>::max()));
}

std::size_t GLStorageBuffer::bytes() const {
    return _source ? _source->bytes() : _memory.bytes();
}

std::size_t GLStorageBuffer::memsize() const {
    return bytes();
}

void GLStorageBuffer::setZero(std::size_t size) {
    _memory.require(nullptr, size);
    _memory.clear();
}

void GLStorageBuffer::uploadSource() const {
    if (!_source) return;
    _memory.require(_source->data(), _source->bytes());
    _source = {};
}

bool GLStorageBuffer::upload(const void* data, std::size_t size) {
    _source = {};
    return _memory.upload(data, size);
}

bool GLStorageBuffer::write(std::size_t offset, const void* data, std::size_t size) {
    uploadSource();
    return _memory.write(offset, data, size);
}

bool GLStorageBuffer::read(std::size_t offset, void* data, std::size_t size) const {
    uploadSource();
    return _memory.read(offset, data, size);
}

void* GLStorageBuffer::map() {
    uploadSource();
    return _memory.map();
}

bool GLStorageBuffer::activate(const Polyp&) {
    uploadSource();
    _memory.machine()->check("StorageBufferTentacle::activate");
    return true;
}

bool GLStorageBuffer::deactivate(const Polyp&) {
    return true;
}

bool GLStorageBuffer::bindToProgram(const RenderBasin::ProgramPtr& program, const char* blockName,
                                    Seagrass*) {
    const Keel::StrongPtr<GLProgram, Polyp::Tentacle> own(program);
    return own &&
           own->bindStorageBlock(blockName, Keel::WeakPtr<GLStorageBuffer, Polyp::Tentacle>(*this));
}

bool GLStorageBuffer::isBoundInChunks(const Polyp& polyp) const {
    if (polyp.chunkElements == 0) return false;
    const auto [first, last] = polyp.get_range(Polyp::ChunkedDataKey, Polyp::ChunkedDataKey);
    return std::any_of(first, last, [this](const auto& entry) {
        return entry.second.controlBlock() == &controlBlock();
    });
}

void GLStorageBuffer::bind(unsigned bindingPoint, const Polyp& polyp) {
    uploadSource();
    if (!isBoundInChunks(polyp)) {
        glBindBufferBase(GL_SHADER_STORAGE_BUFFER, bindingPoint, _memory.number());
        return;
    }
    const std::size_t vertices =
        polyp.NumberOfElements(Polyp::VertexAttributeKey, Polyp::VertexAttributeKey);
    if (vertices == 0) return;
    const std::size_t vertexBytes = _memory.bytes() / vertices;
    const std::size_t offset = std::size_t{polyp.currentChunk} * polyp.chunkElements * vertexBytes;
    const std::size_t wanted = (std::size_t{polyp.chunkElements} + pieceOverlap) * vertexBytes;
    if (offset >= _memory.bytes()) return; // the last pass may be empty
    const auto alignment =
        static_cast<std::size_t>(_memory.machine()->context.limits().storageOffsetAlignment);
    if (offset % alignment != 0) {
        // Polyp::prepareWave sees to the widest buffer only.
        throw GLRenderException(GL_INVALID_VALUE,
                                "a buffer of " + std::to_string(vertexBytes) +
                                    " bytes for each vertex can't be bound from byte " +
                                    std::to_string(offset) + ", expected a multiple of " +
                                    std::to_string(alignment),
                                "StorageBufferTentacle::bind", __FILE__, __LINE__);
    }
    glBindBufferRange(GL_SHADER_STORAGE_BUFFER, bindingPoint, _memory.number(),
                      static_cast<GLintptr>(offset),
                      static_cast<GLsizeiptr>(std::min(wanted, _memory.bytes() - offset)));
}

int genericAttribute(int number) {
    constexpr int firstTexture = 8;
    switch (number) {
    case RenderNamespace::Coordinates:
        return 0;
    case RenderNamespace::Normals:
        return 2;
    case RenderNamespace::Colors:
        return 3;
    case RenderNamespace::SecondaryColors:
        return 4;
    case RenderNamespace::FirstTextureCoordinates:
    case RenderNamespace::SecondTextureCoordinates:
    case RenderNamespace::ThirdTextureCoordinates:
    case RenderNamespace::FourthTextureCoordinates:
        return firstTexture + number - RenderNamespace::FirstTextureCoordinates;
    default:
        return -1;
    }
}

GLVertexAttribute::GLVertexAttribute(const MachinePtr& machine, const RenderBasin::ChunkPtr& data,
                                     int number, std::string name)
    : VertexAttribute(number),
      _memory(machine),
      _source(data),
      _format(*elementFormat(data->elementType())),
      _elements(data->numberOfElements()),
      _name(std::move(name)),
      _number(number),
      _isIndices(_name == indicesName && isIndexType(_format.type)) {
    if (_format.type == GL_INT) setHintsFromName('i');
    if (_format.type == GL_UNSIGNED_INT) setHintsFromName('I');
}

bool GLVertexAttribute::isNarrowed() const {
    return _format.isDouble() && (hints & 0xFU) != DoublePrecision;
}

std::size_t GLVertexAttribute::elementBytes() const {
    const std::size_t component = isNarrowed() ? sizeof(float) : _format.bytes;
    return component * static_cast<std::size_t>(_format.components);
}

std::size_t GLVertexAttribute::numberOfComponents() const {
    return _elements * static_cast<std::size_t>(_format.components);
}

std::size_t GLVertexAttribute::bytes() const {
    return _elements * elementBytes();
}

RenderBasin::PainterPtr
GLVertexAttribute::createPainter(RenderNamespace::Primitive primitive) const {
    const Keel::StrongPtr<GLVertexAttribute, Polyp::Tentacle> self(*this);
    if (_isIndices) {
        return RenderBasin::PainterPtr(new GLPainter(_memory.machine(), primitive, self));
    }
    return RenderBasin::PainterPtr(
        new GLPainter(_memory.machine(), primitive, static_cast<int>(_elements)));
}

void GLVertexAttribute::uploadSource() {
    if (!_source) return;
    if (!isNarrowed()) {
        _memory.require(_source->data(), _source->bytes());
    } else {
        _memory.require(nullptr, bytes());
        // Written in place, so that the narrow copy exists only once.
        auto* const target = static_cast<float*>(_memory.map());
        if (target != nullptr) {
            narrow(static_cast<const double*>(_source->data()), numberOfComponents(), target);
        }
        if (bytes() != 0 && !_memory.unmap()) {
            drainErrors("glMapNamedBuffer"); // told by what is thrown
            throw GLRenderException(GL_OUT_OF_MEMORY,
                                    "the driver gives no access to a buffer of " +
                                        std::to_string(bytes()) + " bytes",
                                    "VertexAttribute::activate", __FILE__, __LINE__);
        }
    }
    _source = {};
}

VertexSource GLVertexAttribute::vertexSource() const {
    using Conversion = VertexSource::Conversion;
    const unsigned kind = hints & 0xFU;
    const auto conversion = [&] {
        if (kind == DoublePrecision && _format.isDouble()) return Conversion::Double;
        const bool areWhole = kind == SignedInteger || kind == UnsignedInteger;
        if (areWhole && !_format.isFloatingPoint()) return Conversion::Integer;
        // Bytes and shorts stand for 0 to 1, integers for themselves.
        return _format.bytes < sizeof(int) ? Conversion::Normalised : Conversion::ToFloat;
    };
    return {_memory.serial(),
            _memory.number(),
            type(),
            _format.components,
            static_cast<int>(elementBytes()),
            conversion()};
}

bool GLVertexAttribute::activate(const Polyp& polyp) {
    uploadSource();
    auto& active = _memory.machine()->attributes;
    if (!_isIndices && _memory.number() != 0) active.push_back(this);
    _memory.machine()->check("VertexAttribute::activate", [&] { deactivate(polyp); });
    return true;
}

bool GLVertexAttribute::deactivate(const Polyp&) {
    auto& active = _memory.machine()->attributes;
    if (!active.empty() && active.back() == this) active.pop_back();
    return true;
}

} // namespace Mirk::GL
