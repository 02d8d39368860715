#include <Polypia/RenderAble.hpp>

#include <Polypia/RenderException.hpp>
#include <Polypia/VScene.hpp>
#include <Polypia/presentValue.hpp>

#include <sorrel/Vprintf.hpp>

#include <cstdio>

namespace Mirk {

namespace {

const ValueTypeRegistration<VRenderAble> renderAbleType("VRenderAble");

} // namespace

std::string VValueTrait<VRenderAble>::Text(const VRenderAble& value) {
    const VObjectPtr live(value.object);
    return live ? live->Name() : std::string();
}

RenderSlice::RenderSlice(double sliceBegin, double sliceEnd) : begin(sliceBegin), end(sliceEnd) {}
RenderSlice::~RenderSlice() = default;

RenderAble::TransparencyHandler::~TransparencyHandler() = default;

RenderAble::SubContext::SubContext() = default;
RenderAble::SubContext::~SubContext() = default;

RenderAble::SensorView::SensorView() = default;
RenderAble::SensorView::~SensorView() = default;

RenderAble::RenderAble(const std::string& objectName, int p, const PreferencesPtr& prefs)
    : VObject(objectName, p, prefs),
      _renderable(this, "renderable",
                  VRenderAble{Keel::WeakPtr<VObject, VManagedObjectBase>(this)}),
      _visibility(this, VisibilitySlotName(), true, 10),
      _renderTimeContribution(this, Zelk::rendertime_contribution, 0.0),
      _renderTime(this, "rendertime", 0.0) {
    _renderTimeContribution->Localize();
    _renderTime->Localize();
    VScene::join(*this, _visibility, _renderable);
}

RenderAble::~RenderAble() {
    VScene::leave(*this);
}

void RenderAble::illuminate(const VRenderContext&) const {}

bool RenderAble::environment_render(VRenderContext& context, double, double) const {
    return environment_render(context);
}

bool RenderAble::render(VRenderContext&, const View&) const {
    return true;
}

bool RenderAble::render(VRenderContext& context, const View& view, SubContext& sub) const {
    const auto slice = sub.findInterface<RenderSlice>();
    const double begin = slice ? slice->begin : 0.0;
    const double end = slice ? slice->end : -1.0;
    return safe_render(context, begin, end) && render(context, view);
}

bool RenderAble::safe_render(VRenderContext& context, double begin, double end) const {
    try {
        return environment_render(context, begin, end);
    } catch (const RenderException& exception) {
        std::printf("RenderAble safe_render(): %s\n", exception.str().c_str());
        std::fflush(stdout);
        return context.notifyError(*this, exception);
    } catch (...) {
        std::printf("Renderable: Unknown exception during rendering\n");
        std::fflush(stdout);
        return true;
    }
}

RenderAble::LastRenderTime RenderAble::getLastRenderTime(VRenderContext&) const {
    return {};
}

RenderAble::BoundingBallPtr RenderAble::getBoundingBall(const ValuePoolPtr& pool) const {
    const auto state = myState(pool);
    return state ? state->findInterface<Skua::BoundingBall>() : BoundingBallPtr();
}

RenderAble::BoundingBallPtr RenderAble::getTouchableBoundingBall(const ValuePoolPtr& pool) const {
    return getBoundingBall(pool);
}

std::string RenderAble::getSensorInfo(const ValuePoolPtr&, const SensorView&) {
    return {};
}

bool RenderAble::isVisible(const ValuePoolPtr& pool) const {
    if (!active) return false;
    bool visible = true;
    if (const VParameterPtr parameter = _visibility->parameter()) {
        readPresentValue(*parameter, pool, visible);
    }
    return visible;
}

const char* RenderAble::VisibilitySlotName() {
    return Zelk::renderobject_visibility;
}

} // namespace Mirk
