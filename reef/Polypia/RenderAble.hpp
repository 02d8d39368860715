#pragma once
// What a viewer can draw; stands on the object model and the render context.

#include <Polypia/RenderNamespace.hpp>
#include <Polypia/VRenderAble.hpp>
#include <Polypia/VRenderContext.hpp>

#include <keel/Interface.hpp>
#include <rookery/BoundingBall.hpp>
#include <sorrel/TypedSlot.hpp>

#include <array>
#include <cstdint>
#include <string>

namespace Mirk {

/// The part of an object that is to be drawn, in units of the class that reads it. Looked for among
/// the interfaces of a RenderAble::SubContext.
class POLYPIA_EXPORT RenderSlice : public Keel::Interface<RenderSlice> {
public:
    RenderSlice(double sliceBegin, double sliceEnd);
    ~RenderSlice() override;

    double begin;
    double end;
};

/// An object that can be drawn. It joins the default scene by itself and is drawn from its first
/// StrongPtr on, as long as it lives.
///
/// A derived class writes environment_render(context), or the form with limits if it draws slices,
/// and constructs VObject, which is a virtual base. The operations that draw run on the render
/// thread of the context, inside MultiviewRenderable::exception_safe_multiview_render, which holds
/// the object's mutex. isVisible() and the volumes may be asked on any thread.
class POLYPIA_EXPORT RenderAble : public virtual VObject, public RenderNamespace {
public:
    /// Marks what is to be drawn behind all that is opaque. Backends look for it.
    class POLYPIA_EXPORT TransparencyHandler {
    public:
        virtual ~TransparencyHandler();
    };

    /// What a caller of render() adds for all objects that it draws, such as a RenderSlice.
    class POLYPIA_EXPORT SubContext : public Keel::Intercube {
    public:
        SubContext();
        ~SubContext() override;
    };

    /// What a viewer tells getSensorInfo(), as interfaces.
    class POLYPIA_EXPORT SensorView : public Keel::Intercube {
    public:
        SensorView();
        ~SensorView() override;
    };

    /// For the classes that know what their numbers mean.
    using LastRenderTime = std::array<std::uint64_t, 4>;
    using BoundingBallPtr = Keel::StrongPtr<Skua::BoundingBall, Keel::InterfaceBase>;

    /// Joins the default scene with the output "renderable", whose value is this object, and adds
    /// the outputs of the times that its drawing takes. These and the input
    /// Zelk::renderobject_visibility have a value for each pool. The arguments are those of
    /// VObject.
    RenderAble(const std::string& name, int p, const PreferencesPtr& prefs);
    /// Leaves the default scene.
    ~RenderAble() override;

    // The order of the virtual operations is part of the interface.

    /// Light sources announce themselves by VRenderContext::enableLightSource. Does nothing here.
    virtual void illuminate(const VRenderContext& context) const;
    /// Draws. False if something could not be drawn; it may throw, see safe_render().
    virtual bool environment_render(VRenderContext& context) const = 0;
    /// Draws what lies between the limits, all if `end` is below `begin`. Here without regard to
    /// them.
    virtual bool environment_render(VRenderContext& context, double begin, double end) const;
    /// A second stage, after environment_render() has returned true. Here true.
    virtual bool render(VRenderContext& context, const View& view) const;
    /// Draws for one view: safe_render() with the limits of the RenderSlice in `sub`, or 0 and -1,
    /// and, if that succeeds, the second stage.
    virtual bool render(VRenderContext& context, const View& view, SubContext& sub) const;
    /// Calls environment_render() with limits. A RenderException is printed and goes to
    /// VRenderContext::notifyError(), whose answer is returned; any other exception is printed and
    /// counts as success: the object is done with.
    virtual bool safe_render(VRenderContext& context, double begin, double end) const;
    /// All zero here.
    virtual LastRenderTime getLastRenderTime(VRenderContext& context) const;
    /// A ball, or a Skua::BoundingBox, around what is drawn in a pool: here the interface of type
    /// Skua::BoundingBall of the object's State, or null. Neither takes the mutex of the object.
    virtual BoundingBallPtr getBoundingBall(const ValuePoolPtr& pool) const;
    /// Around what can be picked: here the same.
    virtual BoundingBallPtr getTouchableBoundingBall(const ValuePoolPtr& pool) const;
    /// A text for the place that a viewer points to; empty here.
    virtual std::string getSensorInfo(const ValuePoolPtr& pool, const SensorView& view);

    /// Whether the object is active and its visibility in a pool is true; the global one, if it has
    /// no value there yet.
    bool isVisible(const ValuePoolPtr& pool) const;
    /// Zelk::renderobject_visibility.
    static const char* VisibilitySlotName();

    /// Seconds that the drawing took last in a pool, and its part of the time of the frame before.
    const VOutput<double>& renderTimeOutput() const noexcept { return _renderTime; }
    const VOutput<double>& renderTimeContributionOutput() const noexcept {
        return _renderTimeContribution;
    }

private:
    // In order of construction, which is that of the slots.
    const VOutput<VRenderAble> _renderable;
    const TypedSlot<bool> _visibility;
    const VOutput<double> _renderTimeContribution;
    const VOutput<double> _renderTime;
};

static_assert(std::is_same_v<Keel::RootOf_t<RenderAble>, RenderAble::ReferenceRoot>);

} // namespace Mirk
