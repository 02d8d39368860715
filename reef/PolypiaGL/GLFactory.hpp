#pragma once
// The backend's work behind RenderBasin, and the classes that offer it; stands on GLContext.

#include <Polypia/RenderBasin.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/export.hpp>

#include <array>
#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace Mirk {

namespace GL {
class Machine;
struct StageSource;
} // namespace GL

/// Makes the tentacles of one context. What it makes shares its state and may outlive it, but not
/// the context. All operations on the context's thread with the context current.
///
/// Link parameters: "GeometryMaxVertices" (int), the greatest number of vertices that an invocation
/// of a geometry stage without a layout of its own emits; 64 by default.
class POLYPIAGL_EXPORT GLFactory {
public:
    using TextOrigins = std::vector<RenderBasin::TextOrigin>;

    using Matrix = std::array<double, 16>; ///< column by column, the vector on the right
    using FlagPtr = Keel::StrongPtr<RenderBasin::RenderFlag, Polyp::Tentacle>;

    explicit GLFactory(GLContext& context);
    ~GLFactory();
    GLFactory(const GLFactory&) = delete;
    GLFactory& operator=(const GLFactory&) = delete;

    GLContext& context() const;
    /// For the backend itself.
    GL::Machine& machine() const noexcept { return *_machine; }
    /// Whether each tentacle asks OpenGL for errors after its work and throws; on at first.
    void setErrorChecks(bool enabled);
    /// The matrices for programs that use the fixed-function names; depth from -1 to 1.
    void setMatrices(const Matrix& projection, const Matrix& modelView);
    /// The view that "zelk_CurrentViewID" tells to programs.
    void setCurrentView(unsigned view);
    /// Has OpenGL's program, vertex array and switches for programs be as they were before the
    /// frame, which keeps them from one object to the next. For objects that call OpenGL
    /// themselves, ahead of that. In a frame these are put right behind such an object, even if it
    /// throws, as are framebuffer, viewport, depth test with its function, masks of depth and
    /// colours, scissor test and stencil test. All else the object leaves as it found it: blending,
    /// culling, textures and buffers that are bound, clear values and so on.
    void restoreState();
    /// Vertices that may wait in the driver's queue, 0 for any number: longer draws are cut into
    /// parts that are waited for. 0 at first, but for drivers on the CPU, which need memory for
    /// each vertex that waits.
    void setQueuedVertices(std::size_t vertices);
    /// A tentacle that enables or disables a capability of OpenGL such as "GL_DEPTH_TEST" for the
    /// wave. Empty for an unknown name, and for scissor and stencil test, by which objects are
    /// picked. An object whose bounds lie beyond the far plane is left out even with
    /// "GL_DEPTH_CLAMP"; one that is to be seen there has no bounds.
    FlagPtr createFlag(const std::string& capability, bool enabled) const;
    /// A tentacle that moves the depth of triangles for the wave; see GLPolygonOffset.
    FlagPtr createPolygonOffset(float factor, float units) const;

    // The operations of RenderBasin.
    RenderBasin::TexturePtr createTexture(const RenderBasin::ChunkPtr& data, int dimensions,
                                          int rowTexels, int textureUnit,
                                          const RenderBasin::TextureStorageFormat& format,
                                          const RenderBasin::TexturePtr& previous);
    RenderBasin::TexturePtr createTargetTexture(int width, int height, int textureUnit,
                                                const RenderBasin::TextureStorageFormat& format);
    RenderBasin::TexturePtr createBufferTexture(const RenderBasin::ChunkPtr& data, int textureUnit);
    RenderBasin::StorageBufferPtr createStorageBuffer(const void* data, std::size_t bytes,
                                                      StorageFlags flags) const;
    RenderBasin::StorageBufferPtr createStorageBuffer(Keel::Intercube& holder,
                                                      const RenderBasin::ChunkFactory& factory,
                                                      StorageFlags flags) const;
    RenderBasin::StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, std::size_t bytes,
                                                      StorageFlags flags) const;
    UniformBufferPtr createUniformBuffer(std::size_t bytes) const;
    RenderBasin::VertexAttributePtr createAttribute(const RenderBasin::ChunkPtr& data, int number,
                                                    const std::string& name);
    std::string platformDefines() const;
    // Programs, of texts whose origins may be known.

    RenderBasin::ProgramPtr createProgram(std::vector<GL::StageSource> stages,
                                          RenderNamespace::GeometryInputType input,
                                          RenderNamespace::GeometryOutputType output,
                                          const RenderBasin::LinkParameters& parameters,
                                          const TextOrigins& origins);
    RenderBasin::ProgramPtr
    createProgram(const std::vector<std::string>& vertexCode, const std::string& vertexName,
                  int vertexLine, RenderNamespace::GeometryInputType input,
                  const std::vector<std::string>& geometryCode,
                  RenderNamespace::GeometryOutputType output, const std::string& geometryName,
                  int geometryLine, const std::vector<std::string>& fragmentCode,
                  const std::string& fragmentName, int fragmentLine,
                  const RenderBasin::LinkParameters& parameters, const TextOrigins& origins);
    RenderBasin::ProgramPtr createComputeProgram(const std::vector<std::string>& code,
                                                 const std::string& name, int line,
                                                 const RenderBasin::LinkParameters& parameters,
                                                 const TextOrigins& origins);

    RenderBasin::PainterPtr createPainter(RenderNamespace::Primitive primitive, int vertices);
    RenderBasin::TimerPtr createTimer() const;
    RenderBasin::RenderParameterPtr createRenderParameter(const std::string& name,
                                                          const RenderBasin::UpdaterPtr& updater,
                                                          const std::type_info& element,
                                                          int components);
    RenderBasin::DispatcherPtr createDispatcher(unsigned x, unsigned y, unsigned z);
    /// Puts what a compiler said of composed text into the files that the text comes from.
    static void nameFiles(RenderException& exception, const TextOrigins& origins);

private:
    std::shared_ptr<GL::Machine> _machine;
};

/// Implements RenderBasin by a GLFactory, whatever class the basin is a base of: the bare basin
/// and a whole render context have the same code in them.
template<class Base>
class BasinOnGL : public Base {
public:
    template<class... Arguments>
    explicit BasinOnGL(GLContext& context, Arguments&&... arguments)
        : Base(std::forward<Arguments>(arguments)...), _factory(context) {}

    GLFactory& factory() const { return _factory; }

    // The forms for texts without a vector would be hidden.
    using RenderBasin::createProgram;

    RenderBasin::TexturePtr createTexture(const RenderBasin::ChunkPtr& data, int, int dimensions,
                                          int rowTexels, int textureUnit,
                                          const RenderBasin::TextureStorageFormat& format, int,
                                          bool hasPrevious,
                                          const RenderBasin::TexturePtr& previous) override {
        return _factory.createTexture(data, dimensions, rowTexels, textureUnit, format,
                                      hasPrevious ? previous : RenderBasin::TexturePtr());
    }
    RenderBasin::TexturePtr
    createTargetTexture(int width, int height, int textureUnit,
                        const RenderBasin::TextureStorageFormat& format) override {
        return _factory.createTargetTexture(width, height, textureUnit, format);
    }
    RenderBasin::TexturePtr createBufferTexture(const RenderBasin::ChunkPtr& data,
                                                int textureUnit) override {
        return _factory.createBufferTexture(data, textureUnit);
    }
    RenderBasin::StorageBufferPtr createStorageBuffer(const void* data, std::size_t bytes,
                                                      StorageFlags flags) const override {
        return _factory.createStorageBuffer(data, bytes, flags);
    }
    UniformBufferPtr createUniformBuffer(std::size_t bytes) const override {
        return _factory.createUniformBuffer(bytes);
    }
    RenderBasin::StorageBufferPtr createStorageBuffer(Keel::Intercube& holder,
                                                      const RenderBasin::ChunkFactory& source,
                                                      StorageFlags flags) const override {
        return _factory.createStorageBuffer(holder, source, flags);
    }
    RenderBasin::StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, std::size_t bytes,
                                                      StorageFlags flags) const override {
        return _factory.createStorageBuffer(holder, bytes, flags);
    }
    RenderBasin::VertexAttributePtr createCoordinates(const RenderBasin::ChunkPtr& data,
                                                      const std::string& name) override {
        return _factory.createAttribute(data, RenderNamespace::Coordinates, name);
    }
    RenderBasin::VertexAttributePtr createAttribute(const RenderBasin::ChunkPtr& data, int number,
                                                    const std::string& name) override {
        return _factory.createAttribute(data, number, name);
    }
    std::string getShaderPlatformDefines() override { return _factory.platformDefines(); }
    RenderBasin::ProgramPtr createProgram(
        const std::vector<std::string>& vertexCode, const std::string& vertexName, int vertexLine,
        RenderNamespace::GeometryInputType input, const std::vector<std::string>& geometryCode,
        RenderNamespace::GeometryOutputType output, const std::string& geometryName,
        int geometryLine, const std::vector<std::string>& fragmentCode,
        const std::string& fragmentName, int fragmentLine,
        const RenderBasin::LinkParameters& parameters, const RenderBasin::ProgramPtr&) override {
        return withFilesNamed([&] {
            return _factory.createProgram(vertexCode, vertexName, vertexLine, input, geometryCode,
                                          output, geometryName, geometryLine, fragmentCode,
                                          fragmentName, fragmentLine, parameters,
                                          this->textOrigins);
        });
    }
    RenderBasin::ProgramPtr createComputeProgram(const std::vector<std::string>& code,
                                                 const std::string& name, int line,
                                                 const RenderBasin::LinkParameters& parameters,
                                                 const RenderBasin::ProgramPtr&) override {
        return withFilesNamed([&] {
            return _factory.createComputeProgram(code, name, line, parameters, this->textOrigins);
        });
    }
    RenderBasin::PainterPtr createPainter(RenderNamespace::Primitive primitive,
                                          int vertices) override {
        return _factory.createPainter(primitive, vertices);
    }
    RenderBasin::TimerPtr createTimer() const override { return _factory.createTimer(); }
    RenderBasin::RenderParameterPtr createRenderParameter(const std::string& name,
                                                          const RenderBasin::UpdaterPtr& updater,
                                                          const std::type_info& element,
                                                          int components) override {
        return _factory.createRenderParameter(name, updater, element, components);
    }
    RenderBasin::DispatcherPtr createDispatcher(unsigned x, unsigned y, unsigned z) override {
        return _factory.createDispatcher(x, y, z);
    }

private:
    /// Has what is thrown tell files and lines as their authors know them.
    template<class Make>
    RenderBasin::ProgramPtr withFilesNamed(const Make& make) const {
        try {
            return make();
        } catch (RenderException& exception) {
            GLFactory::nameFiles(exception, this->textOrigins);
            throw;
        }
    }

    mutable GLFactory _factory;
};

/// The bare basin: makes GPU state, with no views and no scene.
class POLYPIAGL_EXPORT GLRenderBasin final : public BasinOnGL<RenderBasin> {
public:
    GLRenderBasin(GLContext& context, const Keel::WeakPtr<Seagrass>& seagrass);
    ~GLRenderBasin() override;
};

} // namespace Mirk
