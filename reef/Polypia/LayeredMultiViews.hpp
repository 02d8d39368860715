#pragma once
// The views of all eyes, and how shaders see them; stands on View, Polyp and UniformBuffer.

#include <Polypia/RenderNamespace.hpp>
#include <Polypia/UniformBuffer.hpp>
#include <Polypia/View.hpp>
#include <Polypia/export.hpp>

#include <array>
#include <cstdint>
#include <functional>
#include <string>
#include <vector>

namespace Mirk {

/// The views of each eye, in layers that can be stacked:
///
///     layer 4 |
///     layer 3 |  scratch, for what is drawn with other views (overlays)
///     layer 2 |  the world: what getWorldView() reads
///     layer 1 |
///     layer 0 |  where resetLayeredViews() begins
///              slot 0, 1, .. 15: viewports of the eye
///
/// elevateView() copies a layer to the one above, where views may be altered while the older layer
/// stays as it is. Layers above the current one hold anything.
///
/// An eye takes about 130 kilobytes, all of it from the moment that the eye exists; so views are
/// handed around by reference. References end with the next setNumberOfEyes(). All operations are
/// for the one thread that draws, and none of them fails.
///
/// Shaders find the views in the block `MultiView`, in plain uniforms of each program, and by the
/// function `zelk_getViewID()`; see MultiViewPrefix.glsl for all that they may call.
class POLYPIA_EXPORT LayeredMultiViews {
public:
    static constexpr unsigned NumberOfLayers = 5;
    static constexpr unsigned NumberOfViewportSlots = 16;

    using LayeredViews = std::array<std::array<View, NumberOfViewportSlots>, NumberOfLayers>;
    using ViewReferences = std::vector<std::reference_wrapper<const View>>;
    using ProgramVariables = RenderNamespace::ProgramVariables;
    using vector = Skua::PhysicalSpace::vector;

    /// The structures in GLSL of which the block `MultiView` consists: `CameraProperties`,
    /// `Frustum`, `Viewport` and `View`.
    static const std::string DefineStructView;

    /// One eye.
    LayeredMultiViews();

    /// 0 counts as 1. New eyes have default views, the others keep theirs.
    void setNumberOfEyes(unsigned int eyes);
    /// The view of an eye in the current layer. An eye that does not exist means eye 0, a slot that
    /// does not exist slot 0.
    View& CurrentView(unsigned int eye, unsigned int slot);
    const View& CurrentView(unsigned int eye, unsigned int slot) const;
    /// The same in layer 2, whatever the current layer is.
    const View& getWorldView(unsigned int eye, unsigned int slot) const;
    /// One view of each eye, in their order. A slot that does not exist means slot 0; the layer has
    /// to exist.
    ViewReferences getViews(unsigned int layer, unsigned int slot) const;
    /// Resets model view and projection of all views, and goes back to layer 0. What resets of a
    /// view leave alone stays: its frustum and its inverse matrices.
    void resetLayeredViews();
    /// Copies the current layer to the next, which becomes the current one and is returned. At the
    /// top nothing happens. The way back is to set `CurrentLayer`.
    std::uint32_t elevateView();

    /// Uploads the block `MultiView`: one record of 688 bytes for each view, in single precision,
    /// as DefineStructView tells; without views a null pointer and 0 bytes. What a record calls the
    /// translation of the view is the position of its camera, in world space. Returns what the
    /// upload returns.
    bool updateMultiView(UniformBuffer& buffer, const ViewReferences& views) const;
    /// A projection, as View keeps it, whose depths are from w at the near plane to 0 at the far
    /// one, in place of -w to w.
    static View::Matrix withReversedDepths(const View::Matrix& projection);
    /// Tells a program which view is being drawn, for a pass of its own.
    static void updateViewID(ProgramVariables& variables, int id);
    /// Tells a program where the cameras of all views are relative to its vertices. `offset` is
    /// what was added to the world's coordinates to get those of the vertices: the negative of the
    /// origin that was subtracted from them. Sums are made in double precision and rounded
    /// afterwards: of two large numbers the difference survives. The shader picks by the number of
    /// the view, so that always the views of all eyes are to be given. Allocates nothing when the
    /// program has had as many views before.
    static void updateTranslatedViews(ProgramVariables& variables, const ViewReferences& views,
                                      const vector& offset);
    /// Both for each program of a polyp, with the eye that is being drawn.
    void updateTranslatedViews(Polyp& polyp, const ViewReferences& views,
                               const vector& offset) const;
    /// The same with the views of the current layer.
    void updateTranslatedViews(Polyp& polyp, const vector& offset, unsigned int slot) const;

    /// Marks a polyp as filled for the present number of eyes, which is returned.
    unsigned int setNumberOfViews(const Polyp& polyp) const;
    /// Whether the shaders of a polyp are for the present number of eyes; false for an empty polyp.
    /// A polyp without a mark is taken as made for one eye.
    bool isValid(const Polyp& polyp) const;

    /// The switches of multi-view rendering and the constant `NumberOfViews`. `defineLayout` has to
    /// be false where the stage has its layout with `num_views` already.
    std::string enable_multiview(unsigned long long numberOfViews, bool defineLayout) const;
    /// All that a stage needs to see its views. It belongs behind the head of the stage and ahead
    /// of all other code, as it may enable extensions. `numberOfViews` is the number of eyes, and
    /// `binding` the number of the binding point of the block from version 4.20 on.
    std::string defineMultiView(unsigned long long numberOfViews, bool defineLayout,
                                unsigned long long binding) const;

    // The order of the fields is part of the interface.

    /// 0 to 4.
    std::uint32_t CurrentLayer = 0;
    /// The eye that is drawn in a pass of its own.
    std::uint32_t CurrentEye = 0;
    /// How many views the framebuffer takes in one pass. Set by the backend; above 1 shaders take
    /// their view from GL_OVR_multiview.
    std::uint32_t OutputViews = 1;
    /// Changed by setNumberOfEyes() only.
    std::vector<LayeredViews> EyeViews;
    /// Whether shaders are to have projections withReversedDepths(), and the inverse matrices of
    /// these. Set by the backend.
    bool ReversedDepths = false;
};

} // namespace Mirk
