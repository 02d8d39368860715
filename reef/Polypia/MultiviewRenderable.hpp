#pragma once
// Objects that are drawn for several views at once; stands on RenderAble.

#include <Polypia/LayeredMultiViews.hpp>
#include <Polypia/RenderAble.hpp>

namespace Mirk {

using RenderAblePtr = Keel::StrongPtr<RenderAble, VManagedObjectBase>;

/// Draws an object for all views of a frame. Objects derive from it to do so themselves; it is also
/// what a traversal goes through, so that a failing object doesn't take the frame down.
class POLYPIA_EXPORT MultiviewRenderable : public virtual VManagedObjectBase {
public:
    ~MultiviewRenderable() override;

    /// Draws for all views; in one pass, or in several that begin with VRenderContext::openEye().
    virtual bool multiview_render(VRenderContext& context,
                                  const LayeredMultiViews::ViewReferences& views,
                                  RenderAble::SubContext& sub) = 0;

    /// Calls multiview_render() for an object, with the object's mutex held, which the caller must
    /// not hold. Nothing is thrown. An invisible object is not drawn: a success. After a success
    /// the seconds that it took are added to `renderTime`, and given out by the object if the frame
    /// before has a time to compare with. A RenderException goes to VRenderContext::notifyError(),
    /// whose answer is returned; any other exception is printed, and the result is false.
    bool exception_safe_multiview_render(const RenderAblePtr& object, double& renderTime,
                                         VRenderContext& context,
                                         const LayeredMultiViews::ViewReferences& views,
                                         RenderAble::SubContext& sub);

private:
    bool timedRender(const RenderAble& object, double& renderTime, VRenderContext& context,
                     const LayeredMultiViews::ViewReferences& views, RenderAble::SubContext& sub);
};

/// Draws an object in stereo.
class POLYPIA_EXPORT StereoDraw : public virtual VManagedObjectBase {
public:
    ~StereoDraw() override;

    /// False, as here, if the object doesn't draw stereo itself.
    virtual bool stereo_render(VRenderContext& context,
                               const LayeredMultiViews::ViewReferences& views,
                               RenderAble::SubContext& sub);

    /// Calls stereo_render() for an object, without looking at its visibility, taking the time or
    /// its mutex; `renderTime` stays as it is. A RenderException is printed and goes to
    /// VRenderContext::notifyError(), whose answer is returned; any other exception is printed, and
    /// the result is false.
    bool exception_safe_stereo_render(const RenderAblePtr& object, double& renderTime,
                                      VRenderContext& context,
                                      const LayeredMultiViews::ViewReferences& views,
                                      RenderAble::SubContext& sub);
};

} // namespace Mirk
