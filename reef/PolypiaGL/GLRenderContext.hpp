#pragma once
// The render context of this backend: eyes, traversal and budgets of a frame; stands on GLFactory
// and GLFramebuffer.

#include <Polypia/MultiviewRenderable.hpp>
#include <Polypia/VRenderContext.hpp>
#include <PolypiaGL/GLFactory.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/export.hpp>

#include <array>
#include <cstdint>
#include <map>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Mirk {

namespace GL {
class PickTarget;
}

/// Draws frames into framebuffers, one for each eye, of the same size. The polyps of its objects
/// are those of its Seagrass, which therefore belongs to this context alone.
///
/// A frame, on the render thread and with the GL context current:
///
///     context.setTargets({&left, &right});
///     context.setEyes({leftEye, rightEye});
///     viewer.render(context, seconds, firstLayer, lastLayer);
///
/// The buffer of the block "MultiView" has the views of the world whenever an object begins to be
/// drawn. What programs have as plain uniforms, each object tells its polyps itself, for each eye
/// and ahead of their waves, by updateTranslatedViews(): only it knows what was subtracted from its
/// coordinates. Without that a program draws as if its vertices were relative to the last camera
/// that it was told of.
class POLYPIAGL_EXPORT GLRenderContext final : public BasinOnGL<VRenderContext> {
public:
    /// Where an eye looks from, and through which part of the near plane; see
    /// VRenderContext::setEyeView.
    struct Eye {
        VCamera camera;
        double near = 0.1;
        double far = 100.0;
        bool orthographic = false;
        double separation = 0.0;
        double focus = 1.0;
        bool toeIn = false;
    };

    /// The bits of a RenderResult.
    enum ResultBits : RenderResult {
        Drew = 1,           ///< at least one object was drawn
        Incomplete = 2,     ///< an object was not drawn and may be another time
        Interrupted = 4,    ///< objects were left out, as the frame was cancelled
        Failed = 8,         ///< an object failed
        RefusedMemory = 16, ///< an object was refused the memory that it asked for
    };

    /// Where a target lies in a picture, from its lower left corner, and how large that is.
    struct Part {
        int left = 0;
        int bottom = 0;
        int widthPixels = 0;
        int heightPixels = 0;
    };

    /// What went wrong with an object in the last frame.
    struct Failure {
        std::string object;
        std::string report;
        /// What was said about a faulty shader, see RenderException, with the name of the file in
        /// each line that has one; empty if it was no such.
        std::string shaderLog = {};
    };
    /// Adds those that are not there yet.
    static void addFailures(std::vector<Failure>& all, const std::vector<Failure>& more);

    /// The name of the block of uniforms that has the views, and of its buffer in the registry.
    static constexpr const char* MultiViewBlock = "MultiView";

    GLRenderContext(GLContext& glContext, const Keel::WeakPtr<Seagrass>& theSeagrass,
                    const Keel::WeakPtr<VRenderInterruptor>& theInterruptor,
                    const Keel::StrongPtr<VRenderPrecision>& thePrecision, long long allowance);
    ~GLRenderContext() override;

    /// The framebuffers of the eyes; they have to outlive the next frame. At least one.
    void setTargets(std::vector<const GLFramebuffer*> targets);
    /// The same for all eyes in one pass, in the way for which the framebuffer was made. Programs
    /// that have the text of LayeredMultiViews draw all views at once when openEyes() was called,
    /// or one if openEye() was; others are drawn again for each view. The picture is the same.
    /// Programs that were made for another way are to be made anew: to change it, change the number
    /// of eyes as well.
    void setTargets(const GLLayeredFramebuffer& target);
    /// Sets the views of all eyes for the next frame, and brings them to the GPU. To be called
    /// behind setTargets(), as the aspect ratio depends on it. Everything is drawn with the views
    /// of layer 2, the world.
    void setEyes(const std::vector<Eye>& eyes);

    /// From the next frame on the targets show that part of a larger picture, for pictures beyond
    /// the limits of framebuffers; nothing means all of it, as at first. Views, line widths and
    /// whatever else is measured in pixels are those of the whole picture, which may be as large as
    /// GLLimits::maxViewportSize. To be called ahead of setEyes(). The pixels of pickObjects() are
    /// those of the targets.
    void showPart(const std::optional<Part>& part);

    /// Of the whole picture.
    PixelRectangle getViewport(unsigned index) const override;
    /// Draws go to all these views from now on, in one pass or one after the other.
    void openEyes(const ViewReferences& views) override;
    /// Draws go to the framebuffer of that eye from now on.
    void openEye(unsigned eye) override;
    /// Binds the framebuffer of an eye, and sets viewport, depth test and masks for it, with
    /// scissor and stencil test off. Each object finds that; who draws elsewhere in between comes
    /// back by openEye().
    void eyeOperation(unsigned eye) override;
    /// Draws what is visible of the objects of the layers, in the order of the selection; what
    /// derives from TransparencyHandler after all others, the farthest first. Objects whose bounds
    /// (VTransformable::drawnBounds) lie outside of the view of each eye by 64 pixels, or by their
    /// PixelMargin if that is more, are left out, and counted; what has no bounds is drawn. With
    /// several eyes an object that derives from StereoDraw is asked first whether it draws them.
    /// What is not drawn through multiview_render() is drawn once for each eye.
    ///
    /// The lights of all layers shine, and come first, once for all eyes and with the first one's
    /// view. They draw nothing, so that they aren't counted, nor found by pickObjects(), which
    /// draws with the lights of the frame before.
    RenderResult renderObjects(const ObjectSelection& objects, double& renderTime, int firstLayer,
                               int lastLayer) override;
    /// Notes the failure, and returns false.
    bool notifyError(const RenderAble& object, const RenderException& exception) override;
    /// Makes the GL context current.
    void contextOperation() override;
    /// Draws for the first eye, with the views of the last setEyes() and the precision of the
    /// frame. Objects are numbered in the order in which they are drawn, from 1; one that fails has
    /// a number, too, as what it has drawn is to be seen. The frame's failures and counts stay as
    /// they are; what fails here is among the failures of the next frame, or of that under way, as
    /// objects may tell of it once. An object may ask for this while it is drawn, and isn't found
    /// itself then; as all others are locked in turn, nobody else may draw or hold them at that
    /// time. Pixels beyond the targets are 0. Behind it views, what the program of a wave under way
    /// draws with and OpenGL's state are as they were, but for textures and buffers that objects
    /// have bound. Of variables that the asking object has set ahead of a wave, those of programs
    /// that it shares with others may be theirs by then. Throws a GLRenderException for a rectangle
    /// wider or higher than GLLimits::maxRenderbufferSize.
    PickListPtr pickObjects(const ObjectSelection& objects, int x, int y, int width, int height,
                            int firstLayer, int lastLayer) override;

    /// Where in the world, for the first eye, that lies what pickObjects() finds under the middle
    /// of a pixel, from its depth in double precision; none if it finds nothing.
    std::optional<Skua::PhysicalSpace::point> pickPlace(const ObjectSelection& objects, int x,
                                                        int y, int firstLayer, int lastLayer);

    Keel::StrongPtr<FloatedOrigin>
    makeFloatedOrigin(const Skua::PhysicalSpace::vector& cameraOffset) const override;

    // Of the last frame.

    const std::vector<Failure>& failures() const noexcept { return _failures; }
    /// How many objects were drawn, and how many lay outside of all views.
    std::size_t numberOfDrawn() const noexcept { return _drawn; }
    std::size_t numberOfCulled() const noexcept { return _culled; }
    /// Seconds that the drawing of each object took, by its name; only if they are asked for.
    const std::map<std::string, double>& objectSeconds() const noexcept { return _objectSeconds; }
    void collectObjectSeconds(bool collect) noexcept { _collectsSeconds = collect; }

private:
    class EachEye;
    class Picking;
    class Targets;

    /// What the traversal needs of an object, found out once for each selection.
    struct Item {
        int layer;
        Keel::WeakPtr<RenderAble, VManagedObjectBase> object;
        MultiviewRenderable* own;            // null if it is drawn for one view at a time
        StereoDraw* stereo;                  // null if it knows nothing of stereo
        const VTransformable* transformable; // null if nothing transforms its bounds
        const PixelMargin* margin;           // null if it is drawn within its bounds
        bool isTransparent;
        bool isLight;
    };
    using Items = std::vector<Item>;
    /// Something transparent, and how far behind the first eye.
    struct Waiting {
        const Item* item;
        double distance;
    };
    /// The planes between which an eye sees: a point is outside if a * x + b * y + c * z + d is
    /// below 0 for one of them, x, y and z being relative to a place, mostly that of the camera:
    /// relative to the origin of the world, which may be far away, the difference of the planes to
    /// what they cut off would be lost in rounding.
    struct EyePlanes {
        View::point place{};
        std::array<std::array<double, 4>, 6> planes{};
    };

    const GLFramebuffer* targetOf(unsigned eye) const;
    bool isInPlace(unsigned eye) const;
    void beginEyes(const ViewReferences& views);
    void beginEye(unsigned eye);
    void selectView(unsigned eye);
    void planesWith(double marginPixels, std::vector<EyePlanes>& planes) const;
    static EyePlanes planesOf(const View& view, double marginX, double marginY);
    std::shared_ptr<const Items> itemsOf(const ObjectSelection& objects);
    template<class Stops, class Visit>
    bool visitInOrder(const Items& items, int firstLayer, int lastLayer, const Stops& stops,
                      const Visit& visit) const;
    std::optional<Skua::PhysicalSpace::AABB> boundsOf(const RenderAble& object,
                                                      const Item& item) const;
    static bool isOutside(const Skua::PhysicalSpace::AABB& box, const std::vector<EyePlanes>& eyes);
    double distanceOf(const RenderAble& object, const Item& item) const;
    double marginOf(const Item& item) const;
    bool isSeen(const RenderAble& object, const Item& item) const;
    RenderResult renderLights(const Items& items, double& renderTime, RenderAble::SubContext& sub);
    RenderResult draw(const RenderAblePtr& object, const Item& item, double& renderTime,
                      RenderAble::SubContext& sub);
    bool drawStereo(const RenderAblePtr& object, const Item& item, double& renderTime,
                    RenderAble::SubContext& sub);
    bool hasOwnBlock();
    std::uint64_t entriesWritten() const;
    std::uint64_t changesOfMultiView() const;
    void takeWorldViews();
    void putInOrder(const RenderAble& object, bool hasFailed);
    std::map<std::uint32_t, VObjectPtr> drawNumbered(const GL::PickTarget& target,
                                                     const ObjectSelection& objects, int firstLayer,
                                                     int lastLayer);
    Skua::PhysicalSpace::point placeOf(int x, int y, float depth) const;
    void noteSeconds(const RenderAble& object, double seconds);

    std::vector<const GLFramebuffer*> _targets;
    const GLLayeredFramebuffer* _wholeTarget = nullptr; // of all views, if drawn in one pass
    std::optional<Part> _picture;                       // if that is larger than the targets
    const std::unique_ptr<Targets> _viewTargets;
    const GLFramebuffer* _boundTarget = nullptr; // null: unknown, to be bound anew
    const GL::PickTarget* _pickTarget = nullptr; // while objects are picked
    UniformBufferPtr _multiView;
    std::uint64_t _worldChanges = 0;   // of that, when it got the views of the world
    std::uint64_t _entriesWritten = 0; // to the registry, when it had that for the views
    ViewReferences _views;
    std::uint32_t _viewsLayer = 0;     // the layer of those
    std::vector<EyePlanes> _eyePlanes; // with the usual margin
    const Keel::StrongPtr<EachEye, VManagedObjectBase> _eachEye;
    std::shared_ptr<const ObjectSelection::Drawables> _drawables; // for which items were made
    std::shared_ptr<const Items> _items;
    std::vector<Failure> _failures;
    std::vector<Failure> _failuresOfPicks; // that no frame has told yet
    std::size_t _drawn = 0;
    std::size_t _culled = 0;
    bool _collectsSeconds = false;
    std::map<std::string, double> _objectSeconds;
};

} // namespace Mirk
