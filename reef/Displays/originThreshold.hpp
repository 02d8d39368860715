#pragma once
// How far the camera may go from the origin of vertices; stands on VRenderContext.

#include <Displays/export.hpp>

#include <Polypia/VRenderContext.hpp>

namespace Mirk {

/// The greatest distance of the camera from the origin at which vertices in single precision, that
/// are `nearest` or farther away from the camera, are less than a tenth of a pixel off in the
/// picture of an eye, if a pixel is wider than a millionth of the distance. Less than the near
/// plane counts as that. In world units, above 0.
DISPLAYS_EXPORT double originThreshold(const VRenderContext& context, unsigned eye, double nearest);

} // namespace Mirk
