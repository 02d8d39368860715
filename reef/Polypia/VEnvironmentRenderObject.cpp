#include <Polypia/VEnvironmentRenderObject.hpp>

#include <Polypia/presentValue.hpp>

namespace Mirk {

VEnvironmentRenderObject::VEnvironmentRenderObject(const std::string& objectName, int p,
                                                   const PreferencesPtr& prefs)
    : RenderAble(objectName, p, prefs), _viewpoints(this, "viewpoints", CameraSetPtr()) {
    _viewpoints->Localize();
}

VEnvironmentRenderObject::~VEnvironmentRenderObject() = default;

void VEnvironmentRenderObject::announce(const std::string& viewpoint, const VCamera& camera,
                                        const ValuePoolPtr& pool) const {
    // Who is told may announce in turn, or hold locks that others hold who announce: whatever may
    // tell, making the value of a pool included, is done without the mutex.
    const VValuePtr value = _viewpoints->getValue(pool);
    VTypedValueBase<CameraSetPtr>* const held = typedValue<CameraSetPtr>(value.get());
    if (held == nullptr) return;
    enter(*held, viewpoint, camera);
    _viewpoints->notifyValueChange(value, pool);
}

void VEnvironmentRenderObject::enter(VTypedValueBase<CameraSetPtr>& value,
                                     const std::string& viewpoint, const VCamera& camera) const {
    const std::lock_guard lock(_enterMutex);
    CameraSetPtr present;
    value.get(present);
    const CameraSetPtr next(present ? new VCameraSet(present->cameras()) : new VCameraSet);
    next->set(viewpoint, camera);
    value.set(next);
}

void VEnvironmentRenderObject::getRenderPrecision(VRenderContext& context, double& precision,
                                                  double& contribution) const {
    precision = context.precision ? context.precision->precision.load() : 1.0;
    contribution = 0.0;
    readPresentValue(*renderTimeContributionOutput(), context.pool, contribution);
}

} // namespace Mirk
