#pragma once
// A render context without graphics that writes down its calls; stands on RecordingBasin.

#include "RecordingBasin.hpp"

#include <Polypia/MultiviewRenderable.hpp>
#include <Polypia/PickList.hpp>
#include <Polypia/RenderException.hpp>
#include <Polypia/VRenderContext.hpp>

#include <functional>
#include <string>
#include <utility>
#include <vector>

/// A context of one viewport, which makes the tentacles of RecordingBasin. What the traversal and
/// picking do is up to the test.
class RecordingContext : public Mirk::VRenderContext {
public:
    explicit RecordingContext(const Keel::WeakPtr<Mirk::Seagrass>& theSeagrass = {},
                              const Keel::WeakPtr<Mirk::VRenderInterruptor>& theInterruptor = {},
                              const Keel::StrongPtr<Mirk::VRenderPrecision>& thePrecision = {},
                              unsigned layers = 1, long long allowance = 1 << 30)
        : VRenderContext(theSeagrass, theInterruptor, thePrecision, layers, allowance),
          basin(theSeagrass) {
        pool = Keel::make<Mirk::ValuePool>();
    }

    PixelRectangle getViewport(unsigned index) const override {
        askedViewport = index;
        return viewport;
    }
    void eyeOperation(unsigned) override {}
    RenderResult renderObjects(const Mirk::ObjectSelection& objects, double& renderTime,
                               int firstLayer, int lastLayer) override {
        return traversal ? traversal(objects, renderTime, firstLayer, lastLayer) : 0;
    }
    bool notifyError(const Mirk::RenderAble& object,
                     const Mirk::RenderException& exception) override {
        failures.emplace_back(object.Name(), exception.str());
        return errorAnswer;
    }
    void contextOperation() override {}
    Keel::StrongPtr<FloatedOrigin>
    makeFloatedOrigin(const Skua::PhysicalSpace::vector& cameraOffset) const override {
        cameraOffsets.push_back(cameraOffset);
        const auto& camera = CurrentView(CurrentEye, 0).camera.position;
        return Keel::make<FloatedOrigin>(camera - cameraOffset - Skua::PhysicalSpace::point());
    }
    PickListPtr pickObjects(const Mirk::ObjectSelection& objects, int x, int y, int width,
                            int height, int firstLayer, int lastLayer) override {
        return picking ? picking(objects, {x, y, width, height}, firstLayer, lastLayer)
                       : PickListPtr();
    }

    TexturePtr createTexture(const ChunkPtr& data, int channelLayout, int dimensions, int rowTexels,
                             int textureUnit, const TextureStorageFormat& format, int reserved,
                             bool hasPrevious, const TexturePtr& previous) override {
        return basin.createTexture(data, channelLayout, dimensions, rowTexels, textureUnit, format,
                                   reserved, hasPrevious, previous);
    }
    TexturePtr createTargetTexture(int width, int height, int textureUnit,
                                   const TextureStorageFormat& format) override {
        return basin.createTargetTexture(width, height, textureUnit, format);
    }
    TexturePtr createBufferTexture(const ChunkPtr& data, int textureUnit) override {
        return basin.createBufferTexture(data, textureUnit);
    }
    StorageBufferPtr createStorageBuffer(const void* data, std::size_t bytes,
                                         Mirk::StorageFlags flags) const override {
        return basin.createStorageBuffer(data, bytes, flags);
    }
    Mirk::UniformBufferPtr createUniformBuffer(std::size_t bytes) const override {
        return basin.createUniformBuffer(bytes);
    }
    StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, const ChunkFactory& factory,
                                         Mirk::StorageFlags flags) const override {
        return basin.createStorageBuffer(holder, factory, flags);
    }
    StorageBufferPtr createStorageBuffer(Keel::Intercube& holder, std::size_t bytes,
                                         Mirk::StorageFlags flags) const override {
        return basin.createStorageBuffer(holder, bytes, flags);
    }
    VertexAttributePtr createCoordinates(const ChunkPtr& data, const std::string& name) override {
        return basin.createCoordinates(data, name);
    }
    VertexAttributePtr createAttribute(const ChunkPtr& data, int number,
                                       const std::string& name) override {
        return basin.createAttribute(data, number, name);
    }
    std::string getShaderPlatformDefines() override { return basin.platformDefines; }
    using RenderBasin::createProgram;
    ProgramPtr createProgram(const std::vector<std::string>& vertexCode,
                             const std::string& vertexName, int vertexLine, GeometryInputType input,
                             const std::vector<std::string>& geometryCode,
                             GeometryOutputType output, const std::string& geometryName,
                             int geometryLine, const std::vector<std::string>& fragmentCode,
                             const std::string& fragmentName, int fragmentLine,
                             const LinkParameters& parameters,
                             const ProgramPtr& previous) override {
        return basin.createProgram(vertexCode, vertexName, vertexLine, input, geometryCode, output,
                                   geometryName, geometryLine, fragmentCode, fragmentName,
                                   fragmentLine, parameters, previous);
    }
    ProgramPtr createComputeProgram(const std::vector<std::string>& code, const std::string& name,
                                    int line, const LinkParameters& parameters,
                                    const ProgramPtr& previous) override {
        return basin.createComputeProgram(code, name, line, parameters, previous);
    }
    PainterPtr createPainter(Primitive primitive, int vertices) override {
        return basin.createPainter(primitive, vertices);
    }
    RenderParameterPtr createRenderParameter(const std::string& name, const UpdaterPtr& updater,
                                             const std::type_info& element,
                                             int components) override {
        return basin.createRenderParameter(name, updater, element, components);
    }
    DispatcherPtr createDispatcher(unsigned x, unsigned y, unsigned z) override {
        return basin.createDispatcher(x, y, z);
    }

    /// Makes the tentacles, and has the log of their calls.
    RecordingBasin basin;
    PixelRectangle viewport{0, 0, 100, 100};
    mutable unsigned askedViewport = ~0U;
    std::function<RenderResult(const Mirk::ObjectSelection&, double&, int, int)> traversal;
    std::function<PickListPtr(const Mirk::ObjectSelection&, const PixelRectangle&, int, int)>
        picking;
    /// What makeFloatedOrigin() was called with.
    mutable std::vector<Skua::PhysicalSpace::vector> cameraOffsets;
    /// Object and report of each call of notifyError(), and what it returns.
    std::vector<std::pair<std::string, std::string>> failures;
    bool errorAnswer = false;
};
