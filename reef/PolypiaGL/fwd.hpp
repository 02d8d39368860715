#pragma once
// Forward declarations of PolypiaGL; stands on those of Polypia.

#include <Polypia/fwd.hpp>

namespace Mirk {

class ContextError;
class EglContext;
class GLContext;
class GLFactory;
class GLFramebuffer;
class GLRenderBasin;
class GLRenderException;
template<class Base>
class BasinOnGL;

} // namespace Mirk
