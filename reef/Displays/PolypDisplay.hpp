#pragma once
// What display objects of one polyp have in common; stands on MultiviewRenderable and
// PolypCreatorKeeper.

#include <Displays/export.hpp>

#include <Polypia/MultiviewRenderable.hpp>
#include <Polypia/PolypCreatorKeeper.hpp>
#include <rookery/BoundingBox.hpp>

#include <span>
#include <string>

namespace Mirk {

/// An object that is drawn by one polyp in each Seagrass, from data that do not change once it is
/// made. It keeps them in world space and in double precision, as its polyps may be evicted and
/// filled again.
///
/// What goes to the GPU is relative to the object's own origin, so that single precision does for
/// it; shaders see the views as LayeredMultiViews offers them.
class DISPLAYS_EXPORT PolypDisplay : public RenderAble, public MultiviewRenderable {
public:
    using point = Skua::PhysicalSpace::point;
    using vector = Skua::PhysicalSpace::vector;

    ~PolypDisplay() override;

    using RenderAble::environment_render;
    /// Draws with the views of the context's current layer. A polyp is filled if there is none, if
    /// the number of eyes has changed, or if the inputs ask for another form. A new one is drawn,
    /// and so brought to the GPU, as soon as VRenderContext::allowRendering() agrees: until then it
    /// is false, and the next frame asks again. False as well without a live Seagrass.
    bool environment_render(VRenderContext& context) const override;
    /// Draws all views at once, as its programs know them all.
    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          SubContext& sub) override;
    /// A Skua::BoundingBox, the same for all pools; empty if there are no data.
    BoundingBallPtr getBoundingBall(const ValuePoolPtr& pool) const override;

    /// Raises each of the reaches to the largest dot product of its direction with a point of the
    /// data, in world space. Any thread.
    virtual void reach(std::span<const vector> directions, std::span<double> reaches) const = 0;
    /// How far beyond its coordinates the object is drawn in a pool, in pixels. Here 0.
    virtual double marginPixels(const ValuePoolPtr& pool) const;

    const Skua::BoundingBox& bounds() const noexcept { return *_bounds; }
    /// What vertices are relative to: the middle of the bounds.
    const point& origin() const noexcept { return _origin; }

protected:
    /// `bounds` are those of the data, in world space.
    PolypDisplay(const std::string& name, const Skua::BoundingBox& bounds);

    /// Inserts program, attributes and painter into an empty polyp. Stages begin with
    /// LayeredMultiViews::defineMultiView(); the block "MultiView" is bound by the caller. False if
    /// it can't be; it may throw a RenderException.
    virtual bool fill(Polyp& polyp, VRenderContext& context, int form) const = 0;
    /// A number for what the inputs ask for in a pool, as far as it takes another polyp: one of
    /// another form is filled anew. Values that are mere uniforms don't count. Here 0.
    virtual int form(const ValuePoolPtr& pool) const;

private:
    class Filler;

    const Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase> _bounds;
    const point _origin;
    mutable PolypCreatorKeeper _creators;
};

static_assert(std::is_same_v<Keel::RootOf_t<PolypDisplay>, PolypDisplay::ReferenceRoot>);

} // namespace Mirk
