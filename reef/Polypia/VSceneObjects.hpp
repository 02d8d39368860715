#pragma once
// What flows from a scene to a viewer, and the frame's step from there to the backend; stands on
// the render context.

#include <Polypia/ObjectSelection.hpp>
#include <Polypia/PickList.hpp>
#include <Polypia/VRenderContext.hpp>

#include <rookery/BoundingBall.hpp>
#include <sorrel/VValueTrait.hpp>

#include <climits>
#include <string>

namespace Mirk {

/// The objects that a scene shows. A copy costs next to nothing and is private to who made it, so
/// that a frame sees one state of the scene from its beginning to its end.
class POLYPIA_EXPORT VSceneObjects : public ObjectSelection {
public:
    using RenderResult = VRenderContext::RenderResult;
    using BoundingBallPtr = Keel::StrongPtr<Skua::BoundingBall, Keel::InterfaceBase>;

    /// Layers of what can be touched during a frame. An object above them can be picked all the
    /// same.
    static constexpr int LowestTouchableLayer = -99999;
    static constexpr int HighestTouchableLayer = 399999;
    static constexpr int LowestPickableLayer = -300001;
    static constexpr int HighestPickableLayer = INT_MAX;

    VSceneObjects() noexcept;
    VSceneObjects(const VSceneObjects&) noexcept;
    VSceneObjects& operator=(const VSceneObjects&) noexcept;
    ~VSceneObjects();

    /// Draws the layers from `firstLayer` to `lastLayer` by the traversal of the context, and
    /// returns what that returns. `renderTime` becomes the sum of the seconds that the objects
    /// took; it is stored in the VRenderPrecision of the context, if there is one. Meanwhile the
    /// context has the objects and the volumes of all layers for others to ask for. What the
    /// traversal throws is passed on; the context then keeps them until the next frame.
    ///
    /// On the render thread. The context's mutex is held while the objects are asked for their
    /// volumes, and not while they are drawn.
    RenderResult render(VRenderContext& context, double& renderTime, int firstLayer, int lastLayer);
    /// What is under a rectangle of pixels, by the picking of the context; with the context's
    /// objects replaced by these until it returns or throws. On the render thread.
    VRenderContext::PickListPtr pick(VRenderContext& context, int x, int y, int width,
                                     int height) const;

    // Volumes, as their objects tell them, in world space; only of what is visible in the pool.
    // Any thread; no lock is held while the objects are asked. Null if there is nothing.

    /// The box, with its ball, around all boxes; an object that tells a mere ball is passed over. A
    /// minimum that is not a number lasts until the next box, a maximum only if it is the first.
    /// Left in the pool, as the interface Skua::BoundingBox, in place of the one before; if there
    /// is nothing, that one stays.
    BoundingBallPtr getGlobalBoundingVolume(const ValuePoolPtr& pool, bool touchable) const;
    /// A ball around all balls, those of boxes included, of the layers from `first` to `last`. The
    /// pool is left alone.
    BoundingBallPtr getRangedBoundingVolume(const ValuePoolPtr& pool, bool touchable, int first,
                                            int last) const;
};

/// A scene has no text.
template<>
struct POLYPIA_EXPORT VValueTrait<VSceneObjects> {
    static std::string Text(const VSceneObjects&) { return {}; }
    static bool setValueFromText(VSceneObjects&, const std::string&) { return false; }
};
/// The same objects in the same layers are no change.
template<>
struct POLYPIA_EXPORT VValueCompareTrait<VSceneObjects> {
    static bool isDifferent(const VSceneObjects& a, const VSceneObjects& b) { return !(a == b); }
};

} // namespace Mirk
