#include <PolypiaGL/glBuffers.hpp>

#include <PolypiaGL/glPainter.hpp>
#include <PolypiaGL/glProgram.hpp>

#include <algorithm>
#include <limits>

namespace Mirk::GL {

namespace {

constexpr const char* indicesName = "Indices";

template<class To, class From>
void narrow(const From* source, std::size_t number, To* target) {
    for (std::size_t i = 0; i < number; ++i) target[i] = static_cast<To>(source[i]);
}

} // namespace

bool BufferMemory::resize(std::size_t bytes) {
    return upload(nullptr, bytes);
}

bool BufferMemory::upload(const void* data, std::size_t bytes) {
    if (bytes == 0) {
        _id.reset();
        _bytes = 0;
        return true;
    }
    if (!_id) _id = createBuffer();
    _machine->report("ahead of glNamedBufferData");
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
    if (!covers(offset, bytes)) return false;
    if (bytes == 0) return true;
    glNamedBufferSubData(_id.number(), static_cast<GLintptr>(offset),
                         static_cast<GLsizeiptr>(bytes), data);
    return true;
}

bool BufferMemory::read(std::size_t offset, void* data, std::size_t bytes) const {
    if (!covers(offset, bytes)) return false;
    if (bytes == 0) return true;
    glGetNamedBufferSubData(_id.number(), static_cast<GLintptr>(offset),
                            static_cast<GLsizeiptr>(bytes), data);
    return true;
}

void* BufferMemory::map() {
    return _id ? glMapNamedBuffer(_id.number(), GL_READ_WRITE) : nullptr;
}

bool BufferMemory::unmap() {
    return _id && glUnmapNamedBuffer(_id.number()) == GL_TRUE;
}

void BufferMemory::clear() {
    const std::uint32_t zero = 0;
    if (_id) glClearNamedBufferData(_id.number(), GL_R32UI, GL_RED_INTEGER, GL_UNSIGNED_INT, &zero);
}

GLUniformBuffer::GLUniformBuffer(const MachinePtr& machine, std::size_t size) : _memory(machine) {
    _memory.resize(size);
}

void GLUniformBuffer::bind(unsigned bindingPoint) const {
    glBindBufferBase(GL_UNIFORM_BUFFER, bindingPoint, _memory.number());
}

GLStorageBuffer::GLStorageBuffer(const MachinePtr& machine, StorageFlags flags)
    : _memory(machine), _flags(flags) {
    const GLLimits& limits = machine->context.limits();
    chunkDivisors[0] = static_cast<std::uint32_t>(limits.storageOffsetAlignment);
    chunkDivisorCount = 1;
    chunkLimit = static_cast<std::uint32_t>(std::min<std::int64_t>(
        limits.maxStorageBlockBytes, std::numeric_limits<std::uint32_t>::max()));
}

std::size_t GLStorageBuffer::bytes() const {
    return _source ? _source->bytes() : _memory.bytes();
}

std::size_t GLStorageBuffer::memsize() const {
    return bytes();
}

void GLStorageBuffer::setZero(std::size_t size) {
    _memory.resize(size);
    _memory.clear();
}

void GLStorageBuffer::uploadSource() const {
    if (!_source) return;
    const RenderBasin::ChunkPtr source = std::move(_source);
    _memory.upload(source->data(), source->bytes());
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
    const std::size_t vertexBytes = _memory.bytes() / vertices;
    const std::size_t offset = std::size_t{polyp.currentChunk} * polyp.chunkElements * vertexBytes;
    const std::size_t wanted = std::size_t{polyp.chunkElements} * vertexBytes;
    if (offset >= _memory.bytes()) return; // the last pass may be empty
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
      _isIndices(_name == indicesName) {
    if (_format.type == GL_INT) setHintsFromName('i');
    if (_format.type == GL_UNSIGNED_INT) setHintsFromName('I');
}

std::size_t GLVertexAttribute::elementBytes() const {
    const std::size_t component = _format.isDouble() ? sizeof(float) : _format.bytes;
    return component * static_cast<std::size_t>(_format.components);
}

std::size_t GLVertexAttribute::bytes() const {
    return _elements * elementBytes();
}

RenderBasin::PainterPtr
GLVertexAttribute::createPainter(RenderNamespace::Primitive primitive) const {
    const Keel::StrongPtr<GLVertexAttribute, Polyp::Tentacle> self(*this);
    if (_isIndices)
        return RenderBasin::PainterPtr(new GLPainter(_memory.machine(), primitive, self));
    return RenderBasin::PainterPtr(
        new GLPainter(_memory.machine(), primitive, static_cast<int>(_elements)));
}

void GLVertexAttribute::uploadSource() {
    if (!_source) return;
    const RenderBasin::ChunkPtr source = std::move(_source);
    if (!_format.isDouble()) {
        _memory.upload(source->data(), source->bytes());
        return;
    }
    _memory.resize(bytes());
    if (bytes() == 0) return;
    // Written in place, so that the narrow copy exists only once.
    auto* const target = static_cast<float*>(_memory.map());
    if (target == nullptr) return;
    narrow(static_cast<const double*>(source->data()),
           _elements * static_cast<std::size_t>(_format.components), target);
    _memory.unmap();
}

int GLVertexAttribute::location(const Polyp& polyp) const {
    const auto [first, last] = polyp.get_programs();
    for (auto entry = first; entry != last; ++entry) {
        const Keel::StrongPtr<GLProgram, Polyp::Tentacle> program(entry->second);
        if (!program) continue;
        const int found = program->attributeLocation(_name);
        if (found >= 0) return found;
    }
    return genericAttribute(_number);
}

void GLVertexAttribute::setLayout(unsigned where) const {
    const unsigned array = _memory.machine()->vertexArray.number();
    const int components = _format.components;
    const unsigned kind = hints & 0xFU;
    if (kind == SignedInteger || kind == UnsignedInteger) {
        glVertexArrayAttribIFormat(array, where, components, type(), 0);
    } else {
        // Bytes and shorts stand for 0 to 1.
        const GLboolean normalised = _format.isFloatingPoint() ? GL_FALSE : GL_TRUE;
        glVertexArrayAttribFormat(array, where, components, type(), normalised, 0);
    }
    glVertexArrayAttribBinding(array, where, where);
    glVertexArrayVertexBuffer(array, where, _memory.number(), 0,
                              static_cast<GLsizei>(elementBytes()));
    glEnableVertexArrayAttrib(array, where);
}

bool GLVertexAttribute::activate(const Polyp& polyp) {
    uploadSource();
    if (!_isIndices && _memory.number() != 0) {
        _location = location(polyp);
        if (_location >= 0) setLayout(static_cast<unsigned>(_location));
    }
    _memory.machine()->check("VertexAttribute::activate");
    return true;
}

bool GLVertexAttribute::deactivate(const Polyp&) {
    if (_location >= 0) {
        glDisableVertexArrayAttrib(_memory.machine()->vertexArray.number(),
                                   static_cast<unsigned>(_location));
    }
    _location = -1;
    return true;
}

} // namespace Mirk::GL
