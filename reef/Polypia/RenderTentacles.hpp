#pragma once
// The tentacles that a backend implements; stands on RenderBasin.

#include <Polypia/MapMemory.hpp>
#include <Polypia/RenderBasin.hpp>

#include <keel/File.hpp>

#include <compare>
#include <cstddef>
#include <cstdint>
#include <map>
#include <set>
#include <string>
#include <typeindex>

namespace Mirk {

/// A linked shader program with its variables.
class POLYPIA_EXPORT RenderBasin::Program : public Polyp::SpecializedTentacle<Polyp::ProgramKey>,
                                            public RenderNamespace::ProgramVariables {
public:
    using Parameters = ProgramParameters;

    Program();
    ~Program() override;

    /// The variables that merges of lights have put into the program, all of them so far; see
    /// RenderBasin::mergeIlluminationUniforms.
    std::set<std::string> IlluminationUniformNames;
    /// Text of the stages by name.
    std::map<std::string, std::string> ProgramSources;
    /// Every file that took part, with the time that it had when the program was compiled.
    std::map<std::string, Keel::Filetime> ProgramFileTimes;
    /// The textures that the program samples, by uniform name. prepare() binds them.
    std::map<std::string, Polyp::TentaclePtr> SamplerBindings;

    // The order of the virtual operations is part of the interface.

    /// Selects this program for the next draw and sends it what changed since the last send:
    /// variables, with the origin of the last setAllProgramVariables(), and samplers.
    virtual void prepare(const Polyp& polyp) = 0;
    /// Sends one value to the GPU. A name that the program does not declare is ignored. From the
    /// values that are points the origin is subtracted, in double precision.
    virtual void setProgramVariable(const std::string& name,
                                    const ProgramVariables::value_type& variable,
                                    const FloatedOrigin& origin) const = 0;
    /// Whether the linked program declares the uniform.
    virtual bool hasUniform(const char* name) const = 0;
    /// The backend's number of a uniform, -1 if there is none.
    virtual int uniformLocation(const char* name) const = 0;
    /// Ties a block of the program to a buffer; false if it has no such block.
    virtual bool bindUniformBlock(const char* blockName, const UniformBufferPtr& buffer) = 0;
    /// The backend's handle of the program.
    virtual std::uint64_t nativeHandle() const = 0;

    /// Whether one of the files has changed since the program was compiled. A file that has
    /// vanished has not.
    bool SourceHasChanged() const;
    /// Sends all variables, in the order of their names. Of a name in several maps the value of
    /// the first map of ProgramVariables wins.
    void setAllProgramVariables(const FloatedOrigin& origin) const;

protected:
    /// That of the last setAllProgramVariables(), zero ahead of it. Kept here, as the backend is
    /// not called for a program that has no variables yet.
    const Skua::PhysicalSpace::vector& worldOrigin() const { return _worldOrigin; }

private:
    mutable Skua::PhysicalSpace::vector _worldOrigin;
};

/// Data of each vertex.
class POLYPIA_EXPORT RenderBasin::VertexAttribute
    : public Polyp::SpecializedTentacle<Polyp::VertexAttributeKey> {
public:
    /// Attribute number, for the key 2048 + number.
    explicit VertexAttribute(int attribute);
    ~VertexAttribute() override;

    /// Kinds of elements, in the low four bits of the hints.
    enum ElementKind : std::uint8_t {
        FloatingPoint = 2,
        SignedInteger = 3,
        UnsignedInteger = 6,
        DoublePrecision = 10,
    };

    /// A painter that draws this attribute's data.
    virtual PainterPtr createPainter(Primitive primitive) const = 0;
    /// Bytes of the data on the GPU.
    virtual std::size_t bytes() const = 0;

    /// Sets the kind of elements from the type letter of the shader's input declaration: d, i or
    /// I; anything else means floating point. The high four bits stay.
    void setHintsFromName(char letter);

    std::uint8_t hints;
};

/// The draw call.
class POLYPIA_EXPORT RenderBasin::Painter : public Polyp::SpecializedTentacle<Polyp::PainterKey> {
public:
    Painter();
    ~Painter() override;

    /// Draws once for each program of the polyp, after Program::prepare. With one program or none
    /// the result is that of draw(), with several it is true.
    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;

    virtual bool draw(const Polyp& polyp) = 0;
    virtual Primitive primitive() const = 0;

    /// For the use of the backend, 0 at first.
    int backendInteger1 = 0;
    int backendInteger2 = 0;
};

/// A draw call of a part of the elements.
class POLYPIA_EXPORT RenderBasin::RangedPainter : public RenderBasin::Painter {
public:
    RangedPainter();
    ~RangedPainter() override;

    std::int32_t first = 0;
    /// -1 for all from the first.
    std::int32_t count = -1;
};

/// Compute work, after all its inputs are bound and ahead of the draw call.
class POLYPIA_EXPORT RenderBasin::ComputationDispatcher
    : public Polyp::SpecializedTentacle<Polyp::ComputeKey> {
public:
    ComputationDispatcher();
    ~ComputationDispatcher() override;

    /// Number of groups in each direction.
    virtual void setGroups(unsigned x, unsigned y, unsigned z) = 0;
    /// Starts the program that is current.
    virtual bool dispatch(const Polyp& polyp) = 0;
};

/// Times a wave, from before all else is activated until all else is deactivated.
class POLYPIA_EXPORT RenderBasin::RenderTimer : public Polyp::SpecializedTentacle<Polyp::TimerKey> {
public:
    RenderTimer();
    ~RenderTimer() override;

    /// Forgets what was measured.
    virtual void reset();
    /// Mean of the finished measurements in seconds, below 0 if there is none.
    virtual double seconds() const = 0;

    std::uint64_t startNanoseconds = 0;
    std::uint64_t totalNanoseconds = 0;
    std::uint64_t measurements = 0;
};

/// Sets one render state in activate() and restores it in deactivate().
class POLYPIA_EXPORT RenderBasin::RenderFlag
    : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
public:
    RenderFlag();
    ~RenderFlag() override;
};

/// The memory of a buffer together with a number for the backend.
class POLYPIA_EXPORT RenderBasin::Buffer : public virtual MapMemory {
public:
    Buffer();
    ~Buffer() override;

    std::uint64_t backendWord = 0;
};

/// What tells the storage buffers of one holder apart, for backends to find the one that is asked
/// for. A function counts by its type: two lambdas in the source are two forms, one lambda with
/// other captures is the same form, and its data need a holder of their own. Plain functions that
/// return a ChunkPtr count each by itself.
class POLYPIA_EXPORT RenderBasin::StorageForm {
public:
    StorageForm(const ChunkFactory& factory, StorageFlags flags);
    StorageForm(std::size_t bytes, StorageFlags flags);

    friend auto operator<=>(const StorageForm&, const StorageForm&) = default;

private:
    StorageFlags _flags;
    std::size_t _bytes = 0;
    std::type_index _source;
    std::uintptr_t _function = 0;
};

/// A buffer that shaders read and write.
class POLYPIA_EXPORT RenderBasin::StorageBufferTentacle
    : public Polyp::SpecializedTentacle<Polyp::TextureKey>,
      public virtual RenderBasin::Buffer {
public:
    StorageBufferTentacle();
    ~StorageBufferTentacle() override;

    // The order of the virtual operations is part of the interface.
    virtual StorageFlags storageFlags() const = 0;
    /// Ties the buffer to a block of the program; false if it has no such block.
    virtual bool bindToProgram(const ProgramPtr& program, const char* blockName,
                               Seagrass* seagrass) = 0;
};

/// Through this a polyp takes part in lighting: it finds the lights of its Seagrass for the
/// programs of the polyp. Owners call mergeIlluminationUniformsIntoProgram() ahead of each drawing,
/// as the uniforms change without notice, and the index of a light with the set.
class POLYPIA_EXPORT RenderBasin::Illumination
    : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
public:
    explicit Illumination(const Keel::WeakPtr<Seagrass>& seagrass);
    ~Illumination() override;

    /// Without effect, like deactivate(); both are true.
    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;

    /// That of a polyp, or null.
    static IlluminationPtr get(const Polyp& polyp);
    /// See RenderBasin::mergeIlluminationUniforms. Does nothing without a live Seagrass, and the
    /// second form without the tentacle. True in any case.
    bool mergeIlluminationUniformsIntoProgram(Program& program);
    static bool mergeIlluminationUniformsIntoProgram(Program& program, const Polyp& polyp);

private:
    Keel::WeakPtr<Seagrass> _seagrass;
};

} // namespace Mirk
