#include <Polypia/VCameraSet.hpp>

#include <sorrel/TypedSlot.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<Keel::StrongPtr<VCameraSet>> cameraSetType("camera set");

} // namespace

VCameraSet::VCameraSet() = default;

VCameraSet::VCameraSet(Cameras cameras) : _cameras(std::move(cameras)) {}

VCameraSet::~VCameraSet() = default;

} // namespace Mirk
