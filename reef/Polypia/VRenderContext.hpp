#pragma once
// What is handed to objects during a frame; stands on the factory of GPU state, views and budgets.

#include <Polypia/LayeredMultiViews.hpp>
#include <Polypia/ObjectSelection.hpp>
#include <Polypia/Polyp.hpp>
#include <Polypia/RenderBasin.hpp>
#include <Polypia/VRenderInterruptor.hpp>
#include <Polypia/VRenderPrecision.hpp>
#include <Polypia/View.hpp>

#include <rookery/BoundingBall.hpp>
#include <rookery/BoundingBox.hpp>
#include <rookery/FixedArray.hpp>
#include <sorrel/VContext.hpp>
#include <sorrel/VObject.hpp>

#include <array>
#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <map>
#include <string>
#include <vector>

namespace Mirk {

/// Whether data may be loaded while frames are drawn. True unless the environment variable
/// ZELK_NO_ASYNC_IO is "true" when the library is loaded.
extern POLYPIA_EXPORT bool DefaultEnableAsynchronLoading;

/// A drawing surface with its pool of values, its factory of GPU state and its views.
class POLYPIA_EXPORT VRenderContextBasin : public VContext,
                                           public RenderBasin,
                                           public LayeredMultiViews {
public:
    /// With a new, empty addendum and one eye.
    explicit VRenderContextBasin(const Keel::WeakPtr<Seagrass>& seagrass);
    ~VRenderContextBasin() override;

    /// Has a function run on the render thread, between frames. Any thread. Without a live Seagrass
    /// the function is dropped.
    void queue(const std::function<void(VRenderContextBasin&)>& function) const;
    /// Runs what was queued; see Seagrass::handleQueue. On the render thread. Returns the number of
    /// functions taken, 0 without a live Seagrass.
    int handleQueue(const std::function<bool()>& stop);
};

/// What an object gets during a frame: a drawing surface with its views, its budgets of time and
/// memory and its interruptor. A backend derives from it and adds the calls of a graphics API, the
/// traversal and picking.
///
/// Used by one render thread at a time. `mutex` guards `frameObjects`, `visibleVolume` and
/// `touchableVolume`, which other threads read.
class POLYPIA_EXPORT VRenderContext : public VRenderContextBasin {
public:
    /// Glyphs, for the tentacles that draw text. A backend derives its fonts.
    class POLYPIA_EXPORT Font : public Polyp::SpecializedTentacle<Polyp::ParameterKey> {
    public:
        // The values are the backend's.
        enum class Type : int;
        enum class RenderHint : int;

        Font();
        ~Font() override;
    };

    /// A state of the backend that was saved, to be restored.
    class POLYPIA_EXPORT ModelViewMatrixState : public Keel::ReferenceBase<ModelViewMatrixState> {
    public:
        ~ModelViewMatrixState() override;
        virtual void restore() = 0;
    };

    using FontPtr = Keel::StrongPtr<Font, Tentacle>;
    using PickListPtr = Keel::StrongPtr<PickList>;
    /// What became of a frame, in bits that the backend defines; 0 stands for nothing done.
    using RenderResult = std::uint64_t;
    /// Left, bottom, right and top edge in pixels, right and top being the first outside.
    using PixelRectangle = Skua::FixedArray<int, 4>;
    using Rectangle = Skua::PhysicalSpace::Viewport;

    /// A shift of the projection, for antialiasing and depth of field. The order of the fields is
    /// part of the interface.
    struct Jitter {
        double pixelX = 0.0; ///< in pixels, to the right
        double pixelY = 0.0; ///< in pixels, upwards
        double eyeX = 0.0;   ///< of the eye in its plane; what lies at `focus` stays in place
        double eyeY = 0.0;
        double offsetX = 0.0; ///< on the near plane, in its units
        double offsetY = 0.0;
        double focus = 1.0; ///< distance from the eye, in the units of eyeX and eyeY
        double spare = 0.0; ///< for the backend
    };

    class FrameLights;

    /// `layers` is kept for the backend; layers of views there are always
    /// LayeredMultiViews::NumberOfLayers. `renderAllowance` is in bytes.
    VRenderContext(const Keel::WeakPtr<Seagrass>& seagrass,
                   const Keel::WeakPtr<VRenderInterruptor>& renderInterruptor,
                   const Keel::StrongPtr<VRenderPrecision>& renderPrecision, unsigned layers,
                   long long allowance);

    // The order of the virtual operations is part of the interface.

    ~VRenderContext() override = 0;
    /// The pixels of a viewport.
    virtual PixelRectangle getViewport(unsigned index) const = 0;
    /// A pass for these views begins; all of them are drawn by it unless openEye() follows.
    virtual void openEyes(const ViewReferences& views);
    /// For the backend, which gives it its meaning.
    virtual void eyeOperation(unsigned eye) = 0;
    /// A pass for one eye begins.
    virtual void openEye(unsigned eye);
    /// Whether the frame is to stop as soon as it can. False without a live interruptor.
    virtual bool isCancelled();
    /// The traversal: draws what is visible of the objects whose layer is in the range, both ends
    /// included, each through MultiviewRenderable::exception_safe_multiview_render or
    /// RenderAble::render, in the order of the selection. Adds the seconds that objects took to
    /// `renderTime`.
    virtual RenderResult renderObjects(const ObjectSelection& objects, double& renderTime,
                                       int firstLayer, int lastLayer) = 0;
    /// An object failed. Returns what its drawing is to return. By default prints a line and
    /// returns false; a backend collects the failures of the frame.
    virtual bool notifyError(const RenderAble& object, const RenderException& exception);
    /// For the backend, which gives it its meaning.
    virtual void contextOperation() = 0;
    /// What lies under a rectangle of pixels, of the objects whose layer is in the range.
    virtual PickListPtr pickObjects(const ObjectSelection& objects, int x, int y, int width,
                                    int height, int firstLayer, int lastLayer) = 0;
    /// The first font of the names that there is. Empty by default: text is optional.
    virtual FontPtr getFont(const std::list<std::string>& names, Font::Type type,
                            Font::RenderHint renderHint,
                            const VObject::PreferencesPtr& preferences);
    /// A tentacle that draws a text. Empty by default.
    virtual Keel::StrongPtr<Tentacle> createTextTentacle(const std::string& text,
                                                         const VTextRenderProperties& properties,
                                                         const FontPtr& font) const;

    /// The origin of coordinates that are drawn by the current eye, by how far its camera is from
    /// there, for the positions among a program's variables. Never null.
    virtual Keel::StrongPtr<FloatedOrigin>
    makeFloatedOrigin(const Skua::PhysicalSpace::vector& cameraOffset) const = 0;

    /// Whether a polyp may bring its data to the GPU in this frame: its recorded memsize() is taken
    /// from `renderAllowance`, or left there if that is less, or if the frame is cancelled. To be
    /// asked once for each polyp when it has been filled, as only then it has a size.
    bool allowRendering(Polyp& polyp);
    /// How often that was refused for want of allowance, in the life of the context.
    std::uint64_t numberOfRefusals() const noexcept { return _refusals; }

    /// Width by height of the whole picture, of which this may be a tile.
    double getAspectRatio() const;
    /// Width by height of a viewport; 1 if it has no height.
    double getViewportAspectRatio(unsigned index) const;

    /// Places an eye beside a camera and sets its projection. `separation` is how far to the right
    /// of the camera, in units of the distance of what it looks at: negative for the left eye.
    /// `focus` is the distance, in units of the world, at which both eyes see the same point in the
    /// same place. With `toeIn` the eye looks at what the camera looks at, else it looks parallel
    /// to the camera and its frustum is skewed. `slot` selects the view of the eye that gets the
    /// camera; the projection is always set in slot 0.
    void setEyeView(const VCamera& camera, double near, double far, bool orthographic, unsigned eye,
                    double separation, double focus, unsigned slot, bool toeIn);
    /// Sets the projection of an eye by its vertical field of view in degrees; if it is
    /// orthographic, by what is seen at the distance of the look-at point.
    void setTileAwarePerspective(double fieldOfView, double near, double far, bool orthographic,
                                 unsigned eye, const Jitter& jitter, unsigned viewport);
    /// By a rectangle, in eye space after multiplication by `scale`, of which the zoom or, without
    /// zoom, the tile takes its part.
    void setTileAwareFrustum(double scale, const Rectangle& rectangle, double near, double far,
                             bool orthographic, unsigned eye, const Jitter& jitter,
                             unsigned viewport);
    /// By a rectangle on the near plane, in eye space, as it is.
    void setProjectionFrustum(const Rectangle& rectangle, double near, double far,
                              bool orthographic, unsigned eye, const Jitter& jitter,
                              unsigned viewport);
    /// Coordinates of the screen: x and y from -1 to 1 over the whole picture.
    void setTileAwareIdentity(unsigned eye, double near, double far, const Jitter& jitter,
                              unsigned viewport);
    /// The frustum that isVisible() tests, from the camera and field of view of an eye. It knows of
    /// tile and zoom (the tile comes first, unlike above), but neither of the shift of an eye nor
    /// of orthographic projections, and doesn't depend on its argument.
    void updateFrustum(const Rectangle& rectangle, unsigned eye);
    /// Whether a box, in world space, is inside the frustum of an eye or cut by it. A plane that is
    /// not a number excludes nothing.
    bool isVisible(const Skua::BoundingBox& box, unsigned eye) const;

    /// Enters a light into those of the Seagrass; called by RenderAble::illuminate. An empty one is
    /// ignored, and nothing is done without a live Seagrass.
    void enableLightSource(const Keel::StrongPtr<LightSource>& source) const;
    /// Replaces the lights of the Seagrass by those that the visible objects of a selection enter,
    /// whatever their layer; see Lighting::refill for what that does to ages. What an object throws
    /// is printed, and the next one follows. Contexts that share a Seagrass share its lights, which
    /// then are those of the last call.
    void setLightSources(const ObjectSelection& objects) const;

    /// Those of the Seagrass; without a live one empty, and setting does nothing.
    UniformBufferPtr mkUniformBuffer(const std::string& name,
                                     const std::function<UniformBufferPtr()>& factory) const;
    void setUniformBuffer(const std::string& name,
                          const Keel::WeakPtr<UniformBuffer, Tentacle>& buffer) const;
    UniformBufferPtr getUniformBuffer(const std::string& name) const;

    // The order of the fields is part of the interface.

    /// May be null.
    Keel::StrongPtr<VRenderPrecision> precision;
    /// What is drawn, during a frame.
    ObjectSelection frameObjects;
    /// Of what is drawn and of what can be touched, during a frame; null if there is nothing.
    Keel::StrongPtr<Skua::BoundingBall, Keel::InterfaceBase> visibleVolume;
    Keel::StrongPtr<Skua::BoundingBall, Keel::InterfaceBase> touchableVolume;
    Keel::WeakPtr<VRenderInterruptor> interruptor;
    bool enableAsynchronLoading = DefaultEnableAsynchronLoading;
    /// Whether files may replace the text of shaders; set by the viewer.
    bool ShaderFileOverrides = false;
    /// A picture of which the viewport is a tile, in pixels; 0 without tiles. All tiles have the
    /// same size.
    int imageWidth = 0;
    int imageHeight = 0;
    int tileWidth = 0;
    int tileHeight = 0;
    /// Which tile, counted from the left and from the bottom.
    int tileX = 0;
    int tileY = 0;
    PixelZoom zoom;
    // For the use of the backend.
    int firstBackendNumber = 0;
    int secondBackendNumber = 1;
    const unsigned numberOfLayers;
    std::map<std::string, std::string> backendTexts;
    const std::chrono::system_clock::time_point startTime = std::chrono::system_clock::now();
    std::uint64_t backendLimit = 256;
    /// Bytes that may still be brought to the GPU in this frame. Nobody raises it but the viewer,
    /// ahead of each frame.
    std::int64_t renderAllowance;

private:
    bool isTile() const;

    std::uint64_t _refusals = 0;
    std::vector<Keel::WeakPtr<RenderAble, VManagedObjectBase>> _lights; // of the last frame
};

/// The lights of a frame, for a backend to hold from the head of the frame to its end: neither they
/// nor the objects that tell their functions die while shaders are made for them. Behind the first
/// constructor, and ahead of other objects, a backend has the lights rendered, for what they change
/// with each frame.
class POLYPIA_EXPORT VRenderContext::FrameLights {
public:
    /// Sets the lights and `numberOfLightSources` from those objects of the frame that are a
    /// VLightSource. Shaders are due if one of them has changed.
    FrameLights(VRenderContext& context, const ObjectSelection& objects);
    /// Keeps the lights that there are, for drawing other objects with the lights of the last
    /// frame.
    explicit FrameLights(const VRenderContext& context);
    FrameLights(const FrameLights&) = delete;
    FrameLights& operator=(const FrameLights&) = delete;
    ~FrameLights();

private:
    std::vector<Keel::StrongPtr<RenderAble, VManagedObjectBase>> _objects;
    std::vector<Lighting::SourcePtr> _sources;
};

static_assert(std::is_same_v<Keel::RootOf_t<VRenderContext::Font>, Polyp::Tentacle>);

} // namespace Mirk
