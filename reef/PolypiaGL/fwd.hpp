#pragma once
// Forward declarations of PolypiaGL; stands on those of Polypia.

#include <Polypia/fwd.hpp>

namespace Mirk {

class ContextError;
class EglContext;
class FrameInterruptor;
class GLContext;
class GLFactory;
class GLFramebuffer;
class GLRenderBasin;
class GLRenderContext;
class GLRenderException;
class OffscreenViewer;
class SmoothPrecision;
template<class Base>
class BasinOnGL;

} // namespace Mirk

template<>
struct Keel::RootOf<Mirk::FrameInterruptor> {
    using type = Mirk::VRenderInterruptor;
};
template<>
struct Keel::RootOf<Mirk::OffscreenViewer> {
    using type = Mirk::VManagedObjectBase;
};
template<>
struct Keel::RootOf<Mirk::SmoothPrecision> {
    using type = Mirk::VRenderPrecision;
};
