#pragma once
// The eyes for which a picture is drawn; stands on Scene and the render context.

#include <Scene.hpp>

#include <PolypiaGL/GLRenderContext.hpp>

#include <optional>
#include <vector>

namespace Shell {

/// The eye of the picture or, with stereo, the left one and the right one, in the space of the
/// display objects. Unless the user says where the camera stands, the data are whole in all
/// pictures. Throws UsageError.
std::vector<Mirk::GLRenderContext::Eye> eyesOf(const Scene& scene, const PictureOptions& options,
                                               const std::optional<StereoOptions>& stereo = {});

} // namespace Shell
