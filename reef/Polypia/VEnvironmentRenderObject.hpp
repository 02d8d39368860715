#pragma once
// A display object that knows its surroundings: viewpoints to offer, detail to spare; stands on
// RenderAble and VCameraSet.

#include <Polypia/RenderAble.hpp>
#include <Polypia/VCameraSet.hpp>

#include <mutex>
#include <string>

namespace Mirk {

/// Between RenderAble and VRenderObject. Adds the output "viewpoints", whose values are local to
/// each pool: cameras by name from where the object is worth to be seen; null at first.
class POLYPIA_EXPORT VEnvironmentRenderObject : public RenderAble {
public:
    using CameraSetPtr = Keel::StrongPtr<VCameraSet>;

    /// The arguments are those of VObject, which a derived class constructs.
    VEnvironmentRenderObject(const std::string& name, int p, const PreferencesPtr& prefs);
    ~VEnvironmentRenderObject() override;

    /// Offers a camera in a pool, in place of one of the same name, and notifies, even if it is
    /// what it was before. A null pool means all pools: these have then what was announced for all,
    /// and no more what was announced for one of them alone. Any thread, and also by those who are
    /// being notified. The value becomes another set each time: the one before stays as it is for
    /// those who are reading it.
    void announce(const std::string& viewpoint, const VCamera& camera,
                  const ValuePoolPtr& pool) const;
    /// What a drawing may afford: `precision` is that of the context, 1 for full detail, as without
    /// a VRenderPrecision; `contribution` is the part that the object had of the time of the last
    /// frame in the context's pool, 0 if it wasn't drawn or measured there. On the render thread.
    void getRenderPrecision(VRenderContext& context, double& precision, double& contribution) const;

    const VOutput<CameraSetPtr>& viewpointsOutput() const noexcept { return _viewpoints; }

private:
    void enter(VTypedValueBase<CameraSetPtr>& value, const std::string& viewpoint,
               const VCamera& camera) const;

    const VOutput<CameraSetPtr> _viewpoints;
    mutable std::mutex _enterMutex; // from reading the set to writing the next one; leaf
};

static_assert(std::is_same_v<Keel::RootOf_t<VEnvironmentRenderObject>,
                             VEnvironmentRenderObject::ReferenceRoot>);

} // namespace Mirk
