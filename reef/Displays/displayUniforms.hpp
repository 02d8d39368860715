#pragma once
// The uniforms of display objects that follow their inputs and the context; stands on SlotUpdater.

#include <Displays/displayData.hpp>
#include <Displays/lightNumbers.hpp>

#include <Polypia/SlotUpdater.hpp>
#include <Polypia/VRenderContext.hpp>

#include <string>
#include <utility>

namespace Mirk {

/// A float that follows an input of the object, and is not below 0 nor above the largest. One that
/// is not a number is 0.
inline void insertSize(Polyp& polyp, VRenderContext& context, const std::string& uniform,
                       const TypedSlot<double>& input, double largest = largestInShaders) {
    const auto updater = createSlotUpdater(input, [largest](const double& value) {
        return static_cast<float>(atLeastZero(value, largest));
    });
    polyp.insert(context.createRenderParameter(uniform, updater, typeid(float), 1));
}

/// The vec2 "ViewportPixels": width and height of what is drawn into.
inline void insertViewportPixels(Polyp& polyp, VRenderContext& context) {
    const auto updater = RenderBasin::createRenderLambda([](VRenderContext& present) {
        const VRenderContext::PixelRectangle pixels = present.getViewport(0);
        return Skua::FixedArray<float, 2>{static_cast<float>(pixels[2] - pixels[0]),
                                          static_cast<float>(pixels[3] - pixels[1])};
    });
    polyp.insert(context.createRenderParameter("ViewportPixels", updater, typeid(float), 2));
}

/// For a vertex stage that draws points with colours of their own.
inline std::string colorDefine(const PointSet& data) {
    return data.colors ? "#define HAVE_COLORS\n" : "";
}
/// The uniform "Color" that follows an input.
inline void insertColor(Polyp& polyp, VRenderContext& context,
                        const TypedSlot<Skua::rgba_float_t>& input,
                        const std::string& uniform = "Color") {
    polyp.insert(
        context.createRenderParameter(uniform, createSlotUpdater(input), typeid(float), 4));
}

} // namespace Mirk
