#pragma once
// A backend that does nothing, and its traversal; stands on the recording context.

#include "../../tests/Polypia/RecordingContext.hpp"
#include "../frameObject.hpp"

#include <Polypia/MultiviewRenderable.hpp>

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

/// Tentacles in a source of their own: where their operations can be seen, calls of them are not
/// virtual.
class IdleProgram : public Mirk::RenderBasin::Program {
public:
    bool activate(const Mirk::Polyp& polyp) override;
    bool deactivate(const Mirk::Polyp& polyp) override;
    void prepare(const Mirk::Polyp& polyp) override;
    void setProgramVariable(const std::string& name, const ProgramVariables::value_type& variable,
                            const Mirk::RenderBasin::FloatedOrigin& origin) const override;
    bool hasUniform(const char* name) const override;
    int uniformLocation(const char* name) const override;
    bool bindUniformBlock(const char* blockName, const Mirk::UniformBufferPtr& buffer) override;
    std::uint64_t nativeHandle() const override;
};

class IdleAttribute : public Mirk::RenderBasin::VertexAttribute {
public:
    IdleAttribute() : VertexAttribute(0) {}
    bool activate(const Mirk::Polyp& polyp) override;
    bool deactivate(const Mirk::Polyp& polyp) override;
    Mirk::RenderBasin::PainterPtr
    createPainter(Mirk::RenderNamespace::Primitive primitive) const override;
    std::size_t bytes() const override;
};

class IdlePainter : public Mirk::RenderBasin::Painter {
public:
    bool draw(const Mirk::Polyp& polyp) override;
    Mirk::RenderNamespace::Primitive primitive() const override;
};

class IdleTentacles : public Tentacles {
public:
    void insert(Mirk::Polyp& polyp, Mirk::VRenderContext& context) override;
};

/// Draws the objects of a frame in their order, leaving out what one eye doesn't see, each through
/// MultiviewRenderable::exception_safe_multiview_render().
class IdleContext : public RecordingContext {
public:
    explicit IdleContext(const Keel::WeakPtr<Mirk::Seagrass>& theSeagrass);

    RenderResult renderObjects(const Mirk::ObjectSelection& objects, double& renderTime,
                               int firstLayer, int lastLayer) override;

    std::size_t drawn = 0;
    std::size_t culled = 0;

private:
    class EachEye;

    const Keel::StrongPtr<EachEye, Mirk::VManagedObjectBase> _eachEye;
};
