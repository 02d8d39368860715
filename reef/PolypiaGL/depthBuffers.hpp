#pragma once
// What differs between the two kinds of depth buffers; internal to the backend, stands on
// GLContext.

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/glHeaders.hpp>

namespace Mirk::GL {

/// With a stencil buffer.
inline unsigned depthFormat(GLContext::Depths depths) {
    return depths == GLContext::Depths::Reversed ? GL_DEPTH32F_STENCIL8 : GL_DEPTH24_STENCIL8;
}

/// Keeps what is nearest, and of what is equally near the last.
inline unsigned nearestOrLast(GLContext::Depths depths) {
    return depths == GLContext::Depths::Reversed ? GL_GEQUAL : GL_LEQUAL;
}

/// To be cleared with.
inline float farPlane(GLContext::Depths depths) {
    return depths == GLContext::Depths::Reversed ? 0.0F : 1.0F;
}

} // namespace Mirk::GL
