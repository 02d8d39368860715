#include "IdleBackend.hpp"

using namespace Mirk;

bool IdleProgram::activate(const Polyp&) {
    return true;
}
bool IdleProgram::deactivate(const Polyp&) {
    return true;
}
void IdleProgram::prepare(const Polyp&) {}
void IdleProgram::setProgramVariable(const std::string&, const ProgramVariables::value_type&,
                                     const RenderBasin::FloatedOrigin&) const {}
bool IdleProgram::hasUniform(const char*) const {
    return true;
}
int IdleProgram::uniformLocation(const char*) const {
    return 0;
}
bool IdleProgram::bindUniformBlock(const char*, const UniformBufferPtr&) {
    return true;
}
std::uint64_t IdleProgram::nativeHandle() const {
    return 0;
}

bool IdleAttribute::activate(const Polyp&) {
    return true;
}
bool IdleAttribute::deactivate(const Polyp&) {
    return true;
}
RenderBasin::PainterPtr IdleAttribute::createPainter(RenderNamespace::Primitive) const {
    return RenderBasin::PainterPtr(new IdlePainter);
}
std::size_t IdleAttribute::bytes() const {
    return 0;
}

bool IdlePainter::draw(const Polyp&) {
    return true;
}
RenderNamespace::Primitive IdlePainter::primitive() const {
    return RenderNamespace::Triangles;
}

void IdleTentacles::insert(Polyp& polyp, VRenderContext&) {
    polyp.insert(RenderBasin::ProgramPtr(new IdleProgram));
    const auto attribute = polyp.insert(RenderBasin::VertexAttributePtr(new IdleAttribute));
    polyp.insert(attribute->createPainter(RenderNamespace::Triangles));
}

class IdleContext::EachEye : public MultiviewRenderable {
public:
    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          RenderAble::SubContext& sub) override {
        context.openEyes(views);
        for (unsigned eye = 0; eye < views.size(); ++eye) {
            context.openEye(eye);
            if (!object->render(context, views[eye], sub)) return false;
        }
        return true;
    }
    const RenderAble* object = nullptr;
};

IdleContext::IdleContext(const Keel::WeakPtr<Seagrass>& theSeagrass)
    : RecordingContext(theSeagrass), _eachEye(new EachEye) {
    VCamera camera;
    camera.position = {0, 0, 1};
    camera.lookAt = {0, 0, 0};
    camera.up = {0, 1, 0};
    constexpr double rightAngle = 90; // at the distance of 1 the eye sees from -1 to 1
    camera.fieldOfView = rightAngle;
    setEyeView(camera, 0.1, 10, false, 0, 0, 1, 0, false);
}

VRenderContext::RenderResult IdleContext::renderObjects(const ObjectSelection& objects,
                                                        double& renderTime, int firstLayer,
                                                        int lastLayer) {
    drawn = culled = 0;
    const auto views = getViews(CurrentLayer, 0);
    RenderAble::SubContext sub;
    for (const ObjectSelection::Drawable& drawable : *objects.drawables()) {
        if (drawable.layer < firstLayer || drawable.layer > lastLayer) continue;
        if (isCancelled()) return 0;
        const RenderAblePtr object(drawable.object);
        if (!object) continue;
        const auto ball = object->getBoundingBall(pool);
        if (!isVisible(static_cast<const Skua::BoundingBox&>(*ball), 0)) {
            ++culled;
            continue;
        }
        _eachEye->object = object.get();
        if (_eachEye->exception_safe_multiview_render(object, renderTime, *this, views, sub)) {
            ++drawn;
        }
    }
    return drawn;
}
