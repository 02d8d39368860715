#pragma once
// The factory of all GPU state, which a backend implements; stands on Polyp and RenderNamespace.

#include <Polypia/Interactor.hpp>
#include <Polypia/Polyp.hpp>
#include <Polypia/RenderNamespace.hpp>
#include <Polypia/UniformBuffer.hpp>

#include <keel/Chunk.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <cstddef>
#include <functional>
#include <map>
#include <string>
#include <typeinfo>
#include <variant>
#include <vector>

namespace Mirk {

/// What may happen to a storage buffer besides being used by shaders; bits that combine.
enum class StorageFlags : unsigned {
    None = 0,
    Dynamic = 1,   ///< written again and again
    HostRead = 2,  ///< read by the process
    HostWrite = 4, ///< written by the process
};
constexpr StorageFlags operator|(StorageFlags a, StorageFlags b) {
    return static_cast<StorageFlags>(static_cast<unsigned>(a) | static_cast<unsigned>(b));
}
constexpr bool operator&(StorageFlags a, StorageFlags b) {
    return (static_cast<unsigned>(a) & static_cast<unsigned>(b)) != 0;
}

/// Link parameters of a program by name: a number, a text or texts. A backend says which names it
/// knows and leaves the others alone. It hands its defaults to the function of the caller and uses
/// what comes back.
class POLYPIA_EXPORT ProgramParameters
    : public std::map<std::string, std::variant<int, std::string, std::vector<std::string>>> {};

/// The abstract factory of everything that touches the GPU. A backend derives from it and
/// implements it on a graphics API; what it makes are tentacles for polyps.
///
/// Lives as long as its context. All operations belong to the render thread with the context
/// current, but for those of Seagrass and Interactor. A factory operation throws a RenderException
/// if the GPU refuses, and returns an empty pointer for a feature that does not exist.
class POLYPIA_EXPORT RenderBasin : public RenderNamespace {
public:
    class FloatedOrigin;
    class Illumination;
    class Program;
    class VertexAttribute;
    class Painter;
    class RangedPainter;
    class ComputationDispatcher;
    class RenderTimer;
    class RenderFlag;
    class Buffer;
    class StorageBufferTentacle;
    class StorageForm;
    class TextureTentacle;
    class TextureStorageFormat;
    class RenderParameter;
    class UniformParameter;
    struct ShaderProgram;

    /// A stretch of the text of a stage that comes from a file.
    struct TextOrigin {
        std::string stage;         ///< name under which the backend gets the stage
        std::string file;          ///< empty if no line of the stage comes from one
        std::size_t firstLine = 1; ///< of the stretch in the text, counted from 1
        std::size_t lines = 0;
        std::size_t fileLine = 1; ///< the line of the file that is the first of the stretch
        /// Whether the text is the file as it stands, so that `#line` directives in it are old
        /// ones.
        bool isVerbatim = false;
    };
    class OriginScope;

    using Tentacle = Polyp::Tentacle;
    using ProgramPtr = Keel::StrongPtr<Program, Tentacle>;
    using VertexAttributePtr = Keel::StrongPtr<VertexAttribute, Tentacle>;
    using PainterPtr = Keel::StrongPtr<Painter, Tentacle>;
    using DispatcherPtr = Keel::StrongPtr<ComputationDispatcher, Tentacle>;
    using TimerPtr = Keel::StrongPtr<RenderTimer, Tentacle>;
    using StorageBufferPtr = Keel::StrongPtr<StorageBufferTentacle, Tentacle>;
    using TexturePtr = Keel::StrongPtr<TextureTentacle, Tentacle>;
    using IlluminationPtr = Keel::StrongPtr<Illumination, Tentacle>;
    using RenderParameterPtr = Keel::StrongPtr<RenderParameter, Tentacle>;
    class Updater;
    using UpdaterPtr = Keel::StrongPtr<Updater, Updater>;
    using ChunkPtr = Keel::StrongPtr<Keel::ChunkBase>;
    using ChunkFactory = std::function<ChunkPtr()>;
    using LinkParameters = std::function<ProgramParameters(const ProgramParameters&)>;

    explicit RenderBasin(const Keel::WeakPtr<Seagrass>& seagrass);

    // What a backend implements. The order of the virtual operations is part of the interface.

    virtual ~RenderBasin() = 0;
    /// Makes a texture from the rows of a chunk, one texel each, or refills `previous` with them,
    /// which is then given back, if `hasPrevious`. Elements are unsigned char, unsigned short,
    /// int, unsigned int or float, alone or as FixedArray of 2 to 4; for another type the result
    /// is empty. `channelLayout` is the number of channels that the caller has in mind; the type
    /// of the elements decides. `dimensions` is 1, or 2 with rows of `rowTexels`, 0 meaning a
    /// square. The last number is not used.
    virtual TexturePtr createTexture(const ChunkPtr& data, int channelLayout, int dimensions,
                                     int rowTexels, int textureUnit,
                                     const TextureStorageFormat& format, int reserved,
                                     bool hasPrevious, const TexturePtr& previous) = 0;
    /// An empty texture of two dimensions, for shaders to write or to draw into.
    virtual TexturePtr createTargetTexture(int width, int height, int textureUnit,
                                           const TextureStorageFormat& format) = 0;
    /// A texture without filtering over the rows of a chunk, which may be longer than a texture of
    /// one dimension; for samplerBuffer, isamplerBuffer and usamplerBuffer. Element types as above.
    virtual TexturePtr createBufferTexture(const ChunkPtr& data, int textureUnit) = 0;
    virtual StorageBufferPtr createStorageBuffer(const void* data, std::size_t bytes,
                                                 StorageFlags flags) const = 0;
    /// An empty block of uniform memory, whose name of a block in shaders is told by
    /// Program::bindUniformBlock.
    virtual UniformBufferPtr createUniformBuffer(std::size_t bytes) const = 0;
    /// With data made by the function at need. All polyps that ask with the same `holder` for the
    /// same form (here flags and type of the function, below flags and number of bytes, as
    /// StorageForm compares them) share one buffer, as long as one of them lives.
    virtual StorageBufferPtr createStorageBuffer(Keel::Intercube& holder,
                                                 const ChunkFactory& factory,
                                                 StorageFlags flags) const = 0;
    /// The same for a buffer that shaders write; zero at first.
    virtual StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, std::size_t bytes,
                                                 StorageFlags flags) const = 0;
    /// The points of a chunk, of float or double, as an attribute at key 2048; doubles are narrowed
    /// to float here, so that what is far from the origin has its origin subtracted before. Empty
    /// for another type.
    virtual VertexAttributePtr createCoordinates(const ChunkPtr& data, const std::string& name) = 0;
    /// Any other data of vertices, such as normals and colours, as attribute `number` with the name
    /// of the shader input. A chunk of integers with the name "Indices" tells the order in which
    /// the painter that it creates takes the vertices. Empty for an unknown element type.
    virtual VertexAttributePtr createAttribute(const ChunkPtr& data, int number,
                                               const std::string& name) = 0;
    /// `#define` lines that describe the GL implementation to shaders.
    virtual std::string getShaderPlatformDefines() = 0;
    /// Compiles and links the stages; no geometry stage if one of the two types is 0, in which case
    /// its vector holds one empty string. Throws a RenderException with log and code.
    virtual ProgramPtr createProgram(
        const std::vector<std::string>& vertexCode, const std::string& vertexName, int vertexLine,
        GeometryInputType input, const std::vector<std::string>& geometryCode,
        GeometryOutputType output, const std::string& geometryName, int geometryLine,
        const std::vector<std::string>& fragmentCode, const std::string& fragmentName,
        int fragmentLine, const LinkParameters& parameters, const ProgramPtr& previous) = 0;
    virtual ProgramPtr createComputeProgram(const std::vector<std::string>& code,
                                            const std::string& name, int line,
                                            const LinkParameters& parameters,
                                            const ProgramPtr& previous) = 0;
    /// A painter for a polyp whose attributes make none of their own; it draws `vertices` vertices,
    /// or as many as the polyp has if that is 0.
    virtual PainterPtr createPainter(Primitive primitive, int vertices) = 0;
    /// Empty by default: timing is optional.
    virtual TimerPtr createTimer() const;
    /// A value that is kept up to date by an updater. `element` is typeid of int, float or double
    /// with 1 to 4 components, or of a point of floats with any number; empty for anything else.
    virtual RenderParameterPtr createRenderParameter(const std::string& name,
                                                     const UpdaterPtr& updater,
                                                     const std::type_info& element,
                                                     int components) = 0;
    /// Starts this many groups of the compute program of the polyp.
    virtual DispatcherPtr createDispatcher(unsigned x, unsigned y, unsigned z) = 0;

    // What is given.

    /// The shader input of an attribute. Only the eight numbers of the enumeration have one.
    static const char* AttributeNames(VertexAttributeTypes attribute);

    /// Null if it has died. For the render thread, which ends it: another upgrades the weak
    /// pointer.
    Seagrass* getSeagrass() const;
    /// The interactor of the Seagrass, which all its contexts share; empty when the Seagrass has
    /// died. Any thread.
    Keel::WeakPtr<Interactor> getInteractor() const;
    void setInteractor(const Keel::WeakPtr<Interactor>& interactor) const;
    /// The interactor; if there is none, a new one, which the caller keeps alive. Empty when the
    /// Seagrass has died.
    Keel::StrongPtr<Interactor> makeInteractor() const;

    /// A program without geometry stage; `previous` may be reused for it.
    ProgramPtr createProgram(const std::string& vertexCode, const std::string& fragmentCode,
                             const std::string& vertexName, const std::string& fragmentName,
                             unsigned vertexLine, unsigned fragmentLine,
                             const LinkParameters& parameters, const ProgramPtr& previous);
    ProgramPtr createGeometryProgram(const std::string& vertexCode, GeometryInputType input,
                                     const std::string& geometryCode, GeometryOutputType output,
                                     const std::string& fragmentCode, const std::string& vertexName,
                                     const std::string& geometryName,
                                     const std::string& fragmentName,
                                     const LinkParameters& parameters, const ProgramPtr& previous);
    ProgramPtr createGeometryProgram(const ShaderProgram& vertex, GeometryInputType input,
                                     const ShaderProgram& geometry, GeometryOutputType output,
                                     const ShaderProgram& fragment,
                                     const LinkParameters& parameters, const ProgramPtr& previous);

    /// Makes a storage buffer, ties it to the block `blockName` of every program of the polyp, and
    /// inserts it into the polyp if a program has such a block. It is returned in any case.
    StorageBufferPtr bindStorageBuffer(Polyp& polyp, const char* blockName, const void* data,
                                       unsigned long long bytes, StorageFlags flags) const;
    StorageBufferPtr bindStorageBuffer(Polyp& polyp, const char* blockName, Keel::Intercube& holder,
                                       const ChunkFactory& factory, StorageFlags flags) const;
    StorageBufferPtr bindStorageBuffer(Polyp& polyp, const char* blockName, Keel::Intercube& holder,
                                       unsigned long long bytes, StorageFlags flags) const;

    /// For backends and modules: numbers the lines of a text that stands in a C++ source behind the
    /// call. Compilers that know names of files are told line + 1, the others line + 3 as they
    /// count these lines as well.
    std::string glsl_line_directive(int line, const char* file) const;

    // Lights, which are those of the Seagrass; see RenderNamespace::Lighting. Without a live one
    // there are none. A shader that asks for light has getLightSourceCode() in its prefix, its
    // polyp an Illumination, and its owner asks hasValidLighting() ahead of each drawing.

    /// The text that gives getLightAtVertex() to the main code of a stage. Not cached.
    std::string getLightSourceCode() const;
    /// Brings the uniforms of the lights into the variables of a program, in place of those that a
    /// light has ever brought there: a variable of the program's own whose name a light has used
    /// goes with them. Live lights are numbered in the order of the set. Of one name in several
    /// lights, as names without placeholder may be, the last light has the value, whatever its
    /// type. Does nothing without a live Seagrass.
    void mergeIlluminationUniforms(Program& program) const;
    static void mergeIlluminationUniforms(const Lighting& lighting, Program& program);
    /// Whether a light has changed since the creator made its polyp, so that other shaders are due;
    /// see Lighting::isYoungerThan for what that leaves out.
    bool lightingHasChanged(const PolypCreatorBase& creator) const;
    static bool lightingHasChanged(Lighting& lighting, const PolypCreatorBase& creator);
    /// Whether shaders that were made at that age still are for the lights that there are: no light
    /// has changed, and none was added, removed, hidden, shown or swapped for another.
    bool hasValidLighting(const Keel::Ageable& made) const;

    /// An updater from a function of the render context, for a value that has no slot.
    template<class F>
    static UpdaterPtr createRenderLambda(F function);

    /// Precision of texels in numbers of their own: distinct from int, which counts bits.
    enum class BitPrecision : int;
    static TextureStorageFormat OpenGLTexture(int internalFormat, int format, bool integer);
    static TextureStorageFormat MultichannelTexture(int channels, BitPrecision precision,
                                                    bool reserved1, bool reserved2, bool reserved3,
                                                    bool reserved4);
    static TextureStorageFormat MultichannelTexture(int channels, int bits, bool integer32,
                                                    bool reserved1, bool float16, bool reserved2);
    static TextureStorageFormat Red(BitPrecision precision);
    static TextureStorageFormat RedGreen(BitPrecision precision);
    static TextureStorageFormat Rgb(BitPrecision precision);
    static TextureStorageFormat RgbAlpha(BitPrecision color, BitPrecision alpha);

private:
    StorageBufferPtr bindToPrograms(Polyp& polyp, const char* blockName,
                                    const StorageBufferPtr& buffer) const;

protected:
    // The order of the fields is part of the interface.
    Keel::WeakPtr<Seagrass> seagrass;

public:
    /// How many lights are visible; set at the head of each frame, see VRenderContext::FrameLights.
    std::int32_t numberOfLightSources = 0;
    /// Where the texts of the program come from that is being made, so that what a backend throws
    /// names files as their authors know them. Empty for programs of whose texts nothing is known.
    std::vector<TextOrigin> textOrigins;
};

/// Sets RenderBasin::textOrigins for the time of a call that makes a program.
class POLYPIA_EXPORT RenderBasin::OriginScope {
public:
    OriginScope(RenderBasin& basin, std::vector<TextOrigin> origins);
    OriginScope(const OriginScope&) = delete;
    OriginScope& operator=(const OriginScope&) = delete;
    ~OriginScope();

private:
    RenderBasin& _basin;
    std::vector<TextOrigin> _before;
};

/// The source of one stage.
struct POLYPIA_EXPORT RenderBasin::ShaderProgram {
    std::string code; ///< text of the stage
    std::string name; ///< name of a file, for messages
    int line = 0;     ///< number of the first line of `code` in that file
};

/// The origin to which the coordinates of a draw are relative, for uniforms that hold positions:
/// the backend subtracts it, in double precision, from the values that are points.
class POLYPIA_EXPORT RenderBasin::FloatedOrigin : public Keel::ReferenceBase<FloatedOrigin> {
public:
    FloatedOrigin();
    explicit FloatedOrigin(const Skua::PhysicalSpace::vector& worldOrigin);
    ~FloatedOrigin() override;

    Skua::PhysicalSpace::vector worldOrigin;
};

} // namespace Mirk

#include <Polypia/RenderParameter.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <Polypia/TextureModel.hpp>
