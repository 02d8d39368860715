#include <Polypia/VCameraSet.hpp>

namespace Mirk {

VCameraSet::VCameraSet() = default;

VCameraSet::VCameraSet(Cameras cameras) : _cameras(std::move(cameras)) {}

VCameraSet::~VCameraSet() = default;

} // namespace Mirk
