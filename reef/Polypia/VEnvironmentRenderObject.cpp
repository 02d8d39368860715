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
    const std::lock_guard lock(_announceMutex);
    CameraSetPtr present;
    if (!_viewpoints.get(pool, present)) return;
    const CameraSetPtr next(present ? new VCameraSet(present->cameras()) : new VCameraSet);
    next->set(viewpoint, camera);
    _viewpoints.set(pool, next);
}

void VEnvironmentRenderObject::getRenderPrecision(VRenderContext& context, double& precision,
                                                  double& contribution) const {
    precision = context.precision ? context.precision->precision.load() : 1.0;
    contribution = 0.0;
    readPresentValue(*renderTimeContributionOutput(), context.pool, contribution);
}

} // namespace Mirk
