#pragma once
// The ways to draw several views; stands on nothing.

namespace Mirk::GL {

/// How a program draws the views of a frame.
enum class Pass {
    EachView,  ///< one after the other: a uniform tells which; right everywhere
    Layers,    ///< an instance for each view, drawn into the layer of its number
    Extension, ///< by GL_OVR_multiview2
};

} // namespace Mirk::GL
