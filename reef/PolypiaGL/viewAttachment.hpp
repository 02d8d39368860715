#pragma once
// Framebuffers of several views, by GL_OVR_multiview2; internal to the backend, stands on GLContext
// and ObjectId.

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/ObjectId.hpp>

namespace Mirk::GL {

/// Attaches the layers of a texture, one for each view. Programs of that many views are drawn into
/// such a framebuffer, and no others. Throws a GLRenderException if the driver has no such
/// function.
void attachViews(const GLContext& context, const FramebufferId& framebuffer, unsigned attachment,
                 const TextureId& texture, int views);

} // namespace Mirk::GL
