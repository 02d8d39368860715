#pragma once
// Cameras by name; stands on fennel's camera.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <fennel/VCamera.hpp>

#include <keel/StrongPtr.hpp>

#include <map>
#include <string>
#include <utility>

namespace Mirk {

/// Viewpoints that a display object announces. Constant once it is the value of an output, as
/// others read it then; who announces another viewpoint puts a new set in its place.
class POLYPIA_EXPORT VCameraSet : public Keel::ReferenceBase<VCameraSet> {
public:
    using Cameras = std::map<std::string, VCamera>;

    VCameraSet();
    explicit VCameraSet(Cameras cameras);
    ~VCameraSet() override;

    /// Enters a camera, in place of one of the same name.
    void set(const std::string& name, const VCamera& camera) { _cameras[name] = camera; }
    const Cameras& cameras() const noexcept { return _cameras; }

private:
    Cameras _cameras;
};

/// A set has no text.
template<>
struct POLYPIA_EXPORT VValueTrait<Keel::StrongPtr<VCameraSet>> {
    static std::string Text(const Keel::StrongPtr<VCameraSet>&) { return {}; }
    static bool setValueFromText(Keel::StrongPtr<VCameraSet>&, const std::string&) { return false; }
};
template<>
struct POLYPIA_EXPORT VInputValueTrait<Keel::StrongPtr<VCameraSet>> {
    static void init(Keel::StrongPtr<VCameraSet>&) {}
    static bool setValueFromText(Keel::StrongPtr<VCameraSet>&, const std::string&) { return false; }
};

static_assert(std::is_same_v<Keel::RootOf_t<VCameraSet>, VCameraSet::ReferenceRoot>);

} // namespace Mirk
