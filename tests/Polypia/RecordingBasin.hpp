#pragma once
// A backend without graphics that writes down its calls; stands on the backend interface.

#include <Polypia/RenderBasin.hpp>

#include <array>
#include <cstddef>
#include <map>
#include <memory>
#include <set>
#include <string>
#include <typeinfo>
#include <utility>
#include <vector>

/// The calls of a backend and of all its tentacles in their order, each as a text: the operation,
/// the kind of the tentacle, and its name if it has one ("activate Program line.vert", "draw
/// Painter", "setProgramVariable Radius of Program"). Questions that change nothing, such as
/// hasUniform or memsize, are not written down.
///
/// The test chooses by these texts what fails: such a call gives false, or an empty pointer if it
/// is that of a factory. What throws, throws a RenderException with the text as its function.
class CallLog {
public:
    static constexpr int Refused = 0x505;

    bool record(const std::string& call);
    /// What was written down since the last time.
    std::vector<std::string> take() { return std::exchange(calls, {}); }

    std::vector<std::string> calls;
    std::set<std::string> failing;
    std::set<std::string> throwing;
    /// Number of tentacles that are alive, by kind.
    std::map<std::string, int> live;
};

using CallLogPtr = std::shared_ptr<CallLog>;

/// Writes down the calls of a class of tentacles. Size and number of elements are what the test
/// sets.
template<class Base>
class Recording : public Base {
public:
    template<class... Arguments>
    Recording(CallLogPtr callLog, std::string tentacleKind, std::string tentacleName,
              Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...),
          log(std::move(callLog)),
          kind(std::move(tentacleKind)),
          name(std::move(tentacleName)) {
        ++log->live[kind];
    }
    ~Recording() override { --log->live[kind]; }

    /// Kind and, if there is one, name.
    std::string title() const { return name.empty() ? kind : kind + " " + name; }

    bool updateValue(Mirk::VRenderContext& context) override {
        return record("updateValue") && Base::updateValue(context);
    }
    std::size_t memsize() const override { return gpuBytes; }
    std::size_t NumberOfElements() const override { return elements; }

    const CallLogPtr log;
    const std::string kind;
    const std::string name;
    std::size_t gpuBytes = 0;
    std::size_t elements = 0;

protected:
    bool record(const std::string& operation) const {
        return log->record(operation + " " + title());
    }
};

/// The same with activation, for the classes that leave that to the backend.
template<class Base>
class RecordingActivation : public Recording<Base> {
public:
    using Recording<Base>::Recording;

    bool activate(const Mirk::Polyp&) override { return this->record("activate"); }
    bool deactivate(const Mirk::Polyp&) override { return this->record("deactivate"); }
};

/// Memory of a buffer, which is a vector here.
template<class Base>
class RecordingMemory : public Base {
public:
    using Base::Base;

    std::size_t memsize() const override { return content.size(); }
    std::size_t bytes() const override { return content.size(); }
    bool resize(std::size_t size) override;
    bool upload(const void* data, std::size_t size) override;
    bool write(std::size_t offset, const void* data, std::size_t size) override;
    bool read(std::size_t offset, void* data, std::size_t size) const override;
    void* map() override;
    bool unmap() override;
    std::uint64_t native() const override { return this->serialNumber(); }

    std::vector<std::byte> content;
    bool isMapped = false;

private:
    bool contains(std::size_t offset, std::size_t size) const {
        return offset <= content.size() && size <= content.size() - offset;
    }
};

/// A tentacle at a key of the test's choice.
class RecordingTentacle : public RecordingActivation<Mirk::Polyp::Tentacle> {
public:
    RecordingTentacle(CallLogPtr callLog, std::string tentacleName, int key,
                      unsigned long activity = ~0UL)
        : RecordingActivation(std::move(callLog), "Tentacle", std::move(tentacleName), key,
                              activity) {}
};

/// A program that has the uniforms and blocks that the test says.
class RecordingProgram : public RecordingActivation<Mirk::RenderBasin::Program> {
public:
    struct Stage {
        std::vector<std::string> code;
        std::string name;
        int line = 0;
    };
    struct Sent {
        ProgramVariables::Variant value;
        Skua::PhysicalSpace::vector worldOrigin;
    };

    RecordingProgram(CallLogPtr callLog, std::string programName)
        : RecordingActivation(std::move(callLog), "Program", std::move(programName)) {}

    void prepare(const Mirk::Polyp& polyp) override;
    void setProgramVariable(const std::string& variableName,
                            const ProgramVariables::value_type& variable,
                            const Mirk::RenderBasin::FloatedOrigin& origin) const override;
    bool hasUniform(const char* uniform) const override { return uniforms.contains(uniform); }
    int uniformLocation(const char* uniform) const override;
    bool bindUniformBlock(const char* blockName, const Mirk::UniformBufferPtr& buffer) override;
    std::uint64_t nativeHandle() const override { return serialNumber(); }

    std::set<std::string> uniforms;
    std::set<std::string> blocks;
    /// What was sent last under each name.
    mutable std::map<std::string, Sent> sent;
    std::map<std::string, Mirk::UniformBufferPtr> uniformBlocks;

    // What the program was made from.
    Stage vertex, geometry, fragment, compute;
    Mirk::RenderNamespace::GeometryInputType input = Mirk::RenderNamespace::NoGeometryInput;
    Mirk::RenderNamespace::GeometryOutputType output = Mirk::RenderNamespace::NoGeometryOutput;
    Parameters linkParameters;
    Keel::WeakPtr<Mirk::RenderBasin::Program, Mirk::Polyp::Tentacle> previous;
};

class RecordingPainter : public Recording<Mirk::RenderBasin::RangedPainter> {
public:
    RecordingPainter(CallLogPtr callLog, std::string painterName,
                     Mirk::RenderNamespace::Primitive painterPrimitive, int vertices = 0)
        : Recording(std::move(callLog), "Painter", std::move(painterName)),
          numberOfVertices(vertices),
          _primitive(painterPrimitive) {}

    /// Has the base class draw unless it is to fail.
    bool activate(const Mirk::Polyp& polyp) override;
    bool deactivate(const Mirk::Polyp& polyp) override;
    bool draw(const Mirk::Polyp& polyp) override;
    Mirk::RenderNamespace::Primitive primitive() const override { return _primitive; }

    const int numberOfVertices;
    /// Vertices of the polyp, and its chunk, at each draw.
    struct Drawn {
        std::size_t vertices;
        std::uint32_t chunk;
    };
    std::vector<Drawn> drawn;

private:
    const Mirk::RenderNamespace::Primitive _primitive;
};

class RecordingAttribute : public RecordingActivation<Mirk::RenderBasin::VertexAttribute> {
public:
    RecordingAttribute(CallLogPtr callLog, std::string attributeName, int number,
                       const Mirk::RenderBasin::ChunkPtr& content = {});

    /// A painter with the name of the attribute.
    Mirk::RenderBasin::PainterPtr
    createPainter(Mirk::RenderNamespace::Primitive primitive) const override;
    std::size_t bytes() const override { return gpuBytes; }

    const Mirk::RenderBasin::ChunkPtr data;
};

class RecordingStorageBuffer
    : public RecordingMemory<RecordingActivation<Mirk::RenderBasin::StorageBufferTentacle>> {
public:
    RecordingStorageBuffer(CallLogPtr callLog, Mirk::StorageFlags flags)
        : RecordingMemory(std::move(callLog), "StorageBuffer", ""), _flags(flags) {}

    Mirk::StorageFlags storageFlags() const override { return _flags; }
    bool bindToProgram(const Mirk::RenderBasin::ProgramPtr& program, const char* blockName,
                       Mirk::Seagrass* seagrass) override;

    /// The argument of the last bindToProgram.
    Mirk::Seagrass* boundWith = nullptr;

private:
    const Mirk::StorageFlags _flags;
};

class RecordingUniformBuffer : public RecordingMemory<Recording<Mirk::UniformBuffer>> {
public:
    explicit RecordingUniformBuffer(CallLogPtr callLog)
        : RecordingMemory(std::move(callLog), "UniformBuffer", "") {}
};

class RecordingTexture : public RecordingActivation<Mirk::RenderBasin::TextureTentacle> {
public:
    RecordingTexture(CallLogPtr callLog, int unit,
                     const Mirk::RenderBasin::TextureStorageFormat& textureFormat)
        : RecordingActivation(std::move(callLog), "Texture", ""),
          format(textureFormat),
          _unit(unit) {}

    int getTextureUnit() const override { return _unit; }
    int getSamplerType() const override { return samplerType; }
    bool setParameter(const std::string& key, const std::type_info& type, const void* value,
                      int number) override;
    Mirk::RenderBasin::ChunkPtr readBack() const override;

    Mirk::RenderBasin::TextureStorageFormat format;
    Mirk::RenderBasin::ChunkPtr texels;
    int samplerType = 1;

private:
    const int _unit;
};

class RecordingTimer : public RecordingActivation<Mirk::RenderBasin::RenderTimer> {
public:
    explicit RecordingTimer(CallLogPtr callLog)
        : RecordingActivation(std::move(callLog), "Timer", "") {}

    void reset() override;
    double seconds() const override { return result; }

    double result = -1;
};

class RecordingDispatcher : public RecordingActivation<Mirk::RenderBasin::ComputationDispatcher> {
public:
    RecordingDispatcher(CallLogPtr callLog, const std::array<unsigned, 3>& number)
        : RecordingActivation(std::move(callLog), "Dispatcher", ""), groups(number) {}

    bool activate(const Mirk::Polyp& polyp) override;
    void setGroups(unsigned x, unsigned y, unsigned z) override { groups = {x, y, z}; }
    bool dispatch(const Mirk::Polyp& polyp) override;

    std::array<unsigned, 3> groups;
};

/// Keeps the values that it takes as they are.
class RecordingParameter : public RecordingActivation<Mirk::RenderBasin::RenderParameter> {
public:
    RecordingParameter(CallLogPtr callLog, std::string parameterName,
                       const std::type_info& elementType, int number)
        : RecordingActivation(std::move(callLog), "RenderParameter", std::move(parameterName)),
          element(elementType),
          components(number) {}

    bool setValue(const void* data, const std::type_info& elementType, int number) override;
    const std::string& parameterName() const override { return name; }

    /// The components that were set last.
    template<class T>
    std::vector<T> values() const {
        const auto* const first = reinterpret_cast<const T*>(_bytes.data());
        return element == typeid(T) ? std::vector<T>(first, first + _bytes.size() / sizeof(T))
                                    : std::vector<T>();
    }

    const std::type_info& element;
    const int components;

private:
    std::vector<std::byte> _bytes;
};

class RecordingFlag : public RecordingActivation<Mirk::RenderBasin::RenderFlag> {
public:
    RecordingFlag(CallLogPtr callLog, std::string flagName)
        : RecordingActivation(std::move(callLog), "RenderFlag", std::move(flagName)) {}
};

/// The backend. Its factory operations are written down by their names, with the name of what is
/// made if there is one: "createTimer", "createProgram line.vert".
class RecordingBasin : public Mirk::RenderBasin {
public:
    explicit RecordingBasin(const Keel::WeakPtr<Mirk::Seagrass>& theSeagrass = {});
    ~RecordingBasin() override;

    TexturePtr createTexture(const ChunkPtr& data, int channelLayout, int dimensions, int rowTexels,
                             int textureUnit, const TextureStorageFormat& format, int reserved,
                             bool hasPrevious, const TexturePtr& previous) override;
    TexturePtr createTargetTexture(int width, int height, int textureUnit,
                                   const TextureStorageFormat& format) override;
    TexturePtr createBufferTexture(const ChunkPtr& data, int textureUnit) override;
    StorageBufferPtr createStorageBuffer(const void* data, std::size_t bytes,
                                         Mirk::StorageFlags flags) const override;
    Mirk::UniformBufferPtr createUniformBuffer(std::size_t bytes) const override;
    StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, const ChunkFactory& factory,
                                         Mirk::StorageFlags flags) const override;
    StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, std::size_t bytes,
                                         Mirk::StorageFlags flags) const override;
    VertexAttributePtr createCoordinates(const ChunkPtr& data, const std::string& name) override;
    VertexAttributePtr createAttribute(const ChunkPtr& data, int number,
                                       const std::string& name) override;
    std::string getShaderPlatformDefines() override { return platformDefines; }
    using RenderBasin::createProgram;
    ProgramPtr createProgram(const std::vector<std::string>& vertexCode,
                             const std::string& vertexName, int vertexLine, GeometryInputType input,
                             const std::vector<std::string>& geometryCode,
                             GeometryOutputType output, const std::string& geometryName,
                             int geometryLine, const std::vector<std::string>& fragmentCode,
                             const std::string& fragmentName, int fragmentLine,
                             const LinkParameters& parameters, const ProgramPtr& previous) override;
    ProgramPtr createComputeProgram(const std::vector<std::string>& code, const std::string& name,
                                    int line, const LinkParameters& parameters,
                                    const ProgramPtr& previous) override;
    PainterPtr createPainter(Primitive primitive, int vertices) override;
    TimerPtr createTimer() const override;
    RenderParameterPtr createRenderParameter(const std::string& name, const UpdaterPtr& updater,
                                             const std::type_info& element,
                                             int components) override;
    DispatcherPtr createDispatcher(unsigned x, unsigned y, unsigned z) override;

    const CallLogPtr log = std::make_shared<CallLog>();
    /// What all programs made from now on declare.
    std::set<std::string> uniforms;
    std::set<std::string> blocks;
    /// Handed to the functions that change link parameters.
    Mirk::ProgramParameters defaultParameters;
    std::string platformDefines;

private:
    Keel::StrongPtr<RecordingProgram, Tentacle> makeProgram(const std::string& name,
                                                            const LinkParameters& parameters,
                                                            const ProgramPtr& previous) const;
    template<class Fill>
    StorageBufferPtr sharedStorageBuffer(Keel::Intercube& holder, const StorageForm& form,
                                         Mirk::StorageFlags flags, const Fill& fill) const;
};
