#pragma once
// Buffers of vertices, uniforms and storage; internal to the backend, stands on Machine.

#include <Polypia/RenderTentacles.hpp>
#include <PolypiaGL/elementFormat.hpp>
#include <PolypiaGL/glMachine.hpp>

#include <functional>
#include <string>

namespace Mirk::GL {

/// A buffer object with the operations of MapMemory, for tentacles to forward to. The object is
/// made at the first need.
class BufferMemory {
public:
    explicit BufferMemory(MachinePtr machine) : _machine(std::move(machine)) {}

    std::size_t bytes() const { return _bytes; }
    bool resize(std::size_t bytes);
    bool upload(const void* data, std::size_t bytes);
    /// The same, with an exception if the driver has no memory for it.
    void require(const void* data, std::size_t bytes);
    bool write(std::size_t offset, const void* data, std::size_t bytes);
    bool read(std::size_t offset, void* data, std::size_t bytes) const;
    void* map();
    bool unmap();
    std::uint64_t native() const { return _id.number(); }
    /// Fills the whole buffer with zeros.
    void clear();

    unsigned number() const { return _id.number(); }
    /// Changes with the number.
    std::uint64_t serial() const { return _serial; }
    /// Changes with the contents, or when they may change from now on.
    std::uint64_t changes() const { return _changes; }
    const MachinePtr& machine() const { return _machine; }

private:
    bool covers(std::size_t offset, std::size_t bytes) const;

    MachinePtr _machine;
    BufferId _id;
    std::uint64_t _serial = 0;
    std::uint64_t _changes = 0;
    std::size_t _bytes = 0;
    bool _isMapped = false;
};

class GLUniformBuffer : public UniformBuffer {
public:
    GLUniformBuffer(const MachinePtr& machine, std::size_t bytes);

    std::size_t bytes() const override { return _memory.bytes(); }
    bool resize(std::size_t bytes) override { return _memory.resize(bytes); }
    bool upload(const void* data, std::size_t bytes) override {
        return _memory.upload(data, bytes);
    }
    bool write(std::size_t offset, const void* data, std::size_t bytes) override {
        return _memory.write(offset, data, bytes);
    }
    bool read(std::size_t offset, void* data, std::size_t bytes) const override {
        return _memory.read(offset, data, bytes);
    }
    void* map() override { return _memory.map(); }
    bool unmap() override { return _memory.unmap(); }
    std::uint64_t native() const override { return _memory.native(); }
    std::size_t memsize() const override { return _memory.bytes(); }

    /// Changes with the contents.
    std::uint64_t changes() const { return _memory.changes(); }
    /// Binds the whole buffer; an empty one unbinds.
    void bind(unsigned bindingPoint) const;

private:
    BufferMemory _memory;
};

/// A storage buffer. Data of the caller are copied at once, those of a function when the buffer is
/// activated for the first time.
///
/// At key 8192 of a polyp it is bound in pieces, as Polyp::prepareWave has worked out, each with
/// the data of the few vertices behind it that its last figure needs; otherwise whole.
class GLStorageBuffer : public RenderBasin::StorageBufferTentacle {
public:
    GLStorageBuffer(const MachinePtr& machine, StorageFlags flags);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    std::size_t memsize() const override;
    StorageFlags storageFlags() const override { return _flags; }
    bool bindToProgram(const RenderBasin::ProgramPtr& program, const char* blockName,
                       Seagrass* seagrass) override;

    std::size_t bytes() const override;
    bool resize(std::size_t bytes) override { return upload(nullptr, bytes); }
    bool upload(const void* data, std::size_t bytes) override;
    bool write(std::size_t offset, const void* data, std::size_t bytes) override;
    bool read(std::size_t offset, void* data, std::size_t bytes) const override;
    void* map() override;
    bool unmap() override { return _memory.unmap(); }
    std::uint64_t native() const override { return _memory.native(); }

    void setData(const void* data, std::size_t bytes) { _memory.require(data, bytes); }
    /// The data, to be uploaded at need.
    void setSource(const RenderBasin::ChunkPtr& chunk) { _source = chunk; }
    void setZero(std::size_t bytes);
    /// Binds what the current pass of the polyp needs.
    void bind(unsigned bindingPoint, const Polyp& polyp);

private:
    void uploadSource() const;
    bool isBoundInChunks(const Polyp& polyp) const;

    mutable BufferMemory _memory;
    StorageFlags _flags;
    mutable RenderBasin::ChunkPtr _source;
};

/// Data of vertices, or the indices that tell their order. The chunk is kept until the first
/// activation, which uploads it. What its data feed is worked out for each draw.
class GLVertexAttribute : public RenderBasin::VertexAttribute {
public:
    /// The element format must be known; doubles are narrowed to float, unless the hints say by
    /// the first activation that the shader takes doubles.
    GLVertexAttribute(const MachinePtr& machine, const RenderBasin::ChunkPtr& data, int number,
                      std::string name);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    std::size_t memsize() const override { return bytes(); }
    std::size_t NumberOfElements() const override { return _isIndices ? 0 : _elements; }
    RenderBasin::PainterPtr createPainter(RenderNamespace::Primitive primitive) const override;
    std::size_t bytes() const override;

    const std::string& name() const { return _name; }
    int number() const { return _number; }
    /// All components of all elements, which is how many indices there are.
    std::size_t numberOfComponents() const;
    int components() const { return _format.components; }
    /// Of the components on the GPU: GL_FLOAT and so on.
    unsigned type() const { return isNarrowed() ? unsigned{GL_FLOAT} : _format.type; }
    const BufferMemory& memory() const { return _memory; }
    /// Brings the data to the GPU, if they are not there yet.
    void uploadSource();
    VertexSource vertexSource() const;

private:
    bool isNarrowed() const;
    std::size_t elementBytes() const;

    BufferMemory _memory;
    RenderBasin::ChunkPtr _source;
    ElementFormat _format;
    std::size_t _elements;
    std::string _name;
    int _number;
    bool _isIndices;
};

/// The vertices behind a piece that its last figure may need: one of a strip of lines, two of a
/// list or strip of triangles, and one more where the piece itself ends within a figure.
inline constexpr std::size_t pieceOverlap = 3;

/// The generic attribute of an attribute number of the library, to be bound ahead of linking: the
/// one that the fixed-function name aliases.
int genericAttribute(int number);

} // namespace Mirk::GL
