#pragma once
// The two profiles of an OpenGL context.

namespace Mirk::GL {

enum class Profile { Core, Compatibility };

} // namespace Mirk::GL
