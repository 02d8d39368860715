#pragma once
// Shader programs; internal to the backend, stands on the adaptation of GLSL and on Machine.

#include <Polypia/RenderTentacles.hpp>
#include <PolypiaGL/glMachine.hpp>
#include <PolypiaGL/glslAdapt.hpp>

#include <array>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Mirk::GL {

class GLStorageBuffer;
class GLUniformBuffer;

/// One stage as it was composed.
struct StageSource {
    Stage stage;
    std::string code;
    std::string name; ///< file for messages
    int line;         ///< of the first line of the code in that file
    std::optional<RenderBasin::TextOrigin> origin = {}; ///< if it is known
};

class GLProgram : public RenderBasin::Program {
public:
    /// Compiles and links. Throws a GLRenderException with log and code.
    GLProgram(MachinePtr machine, const std::vector<StageSource>& stages,
              RenderNamespace::GeometryInputType input, RenderNamespace::GeometryOutputType output,
              const ProgramParameters& parameters, const std::string& platformDefines);

    bool activate(const Polyp& polyp) override;
    bool deactivate(const Polyp& polyp) override;
    /// Of the textures that it samples.
    std::size_t memsize() const override;

    /// One that isn't active, as it was inserted in mid-wave, gets its values only and draws from
    /// the next wave on.
    void prepare(const Polyp& polyp) override;
    void setProgramVariable(const std::string& name, const ProgramVariables::value_type& variable,
                            const RenderBasin::FloatedOrigin& origin) const override;
    bool hasUniform(const char* name) const override;
    int uniformLocation(const char* name) const override;
    bool bindUniformBlock(const char* blockName, const UniformBufferPtr& buffer) override;
    std::uint64_t nativeHandle() const override { return _id.number(); }

    bool bindStorageBlock(const char* blockName,
                          const Keel::WeakPtr<GLStorageBuffer, Polyp::Tentacle>& buffer);
    bool isCompute() const { return _isCompute; }
    using Program::worldOrigin;
    /// Whether a vertex input of this name takes part, built-in ones included.
    bool hasAttribute(std::string_view name) const {
        return _attributes.find(name) != _attributes.end();
    }
    /// Whether its geometry stage takes lines.
    bool takesLines() const { return _takesLines; }
    /// -1 for none, and for built-in ones.
    int attributeLocation(std::string_view name) const;
    /// How it draws several views: as the machine does, unless its text doesn't allow that.
    Pass pass() const { return _pass; }
    /// Has OpenGL use it for what is drawn next.
    void select() const;
    /// Has it draw the current view of the machine from now on.
    void selectView();
    /// For programs that draw several views at once: the view, or what GLPainter tells of them.
    void setLayer(int value) { sendOwn(_layer, value); }
    void setFirstVertexOfChunk(std::uint32_t vertex) {
        sendOwn(_firstVertexOfChunk, static_cast<int>(vertex));
    }

private:
    bool isActive() const { return !_outer.empty(); }

    struct Uniform {
        int location;
        unsigned type;
        int size;
    };
    /// A uniform that the backend sets, whatever variables say.
    struct OwnInteger {
        const Uniform* uniform = nullptr;
        std::optional<int> sent;
    };
    /// What the GPU has, to send only what has changed.
    struct Sent {
        const Uniform* uniform; ///< null if the program has none of that name
        Variant value;
        Skua::PhysicalSpace::vector origin; ///< from which it was told, if it is a point
    };

    void build(const std::vector<StageSource>& stages, AdaptOptions options);
    ShaderId compile(const AdaptedStage& stage, const StageSource& source,
                     const LineTable& lines) const;
    void link(const std::vector<StageSource>& stages, const AdaptedProgram& adapted);
    void readInterface(bool hasGeometryStage);
    const Uniform* findUniform(std::string_view name) const;
    void sendChanges();
    void sendIfChanged(const std::string& name, const Variant& value);
    void send(const Uniform& uniform, const Variant& value) const;
    void sendOwn(OwnInteger& own, int value);
    bool isOwn(const Uniform* uniform) const;
    /// Sets an integer or sampler if the program declares it.
    void setInteger(const std::string& name, int value) const;
    void sendMatrices();
    void bindBlocks(const Polyp& polyp);
    void bindSamplers(const Polyp& polyp);
    void releaseSamplers(const Polyp& polyp);

    MachinePtr _machine;
    ProgramId _id;
    std::map<std::string, Uniform, std::less<>> _uniforms;
    std::map<std::string, int, std::less<>> _attributes;
    std::map<unsigned, UniformBufferPtr> _uniformBlocks;
    std::map<unsigned, Keel::WeakPtr<GLStorageBuffer, Polyp::Tentacle>> _storageBlocks;
    mutable std::map<std::string, Sent, std::less<>> _sent;
    OwnInteger _view;
    OwnInteger _layer;
    OwnInteger _firstVertexOfChunk;
    std::uint64_t _sentMatrices = 0;
    std::vector<GLProgram*> _outer;           // for each time that it is active
    std::vector<Polyp::TentaclePtr> _sampled; // bound by the last prepare()
    Pass _pass = Pass::EachView;
    bool _isCompute = false;
    bool _takesLines = false;
    ProgramSwitches _switches{};
    bool _usesMatrices = false;
};

} // namespace Mirk::GL
