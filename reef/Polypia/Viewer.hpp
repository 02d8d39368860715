#pragma once
// A window onto a scene; stands on VScene and the render cache.

#include <Polypia/RenderAble.hpp>
#include <Polypia/VRenderInterruptor.hpp>
#include <Polypia/VSceneObjects.hpp>

#include <fennel/ImageTile.hpp>
#include <keel/SpinLock.hpp>
#include <sorrel/TypedSlot.hpp>

#include <chrono>
#include <cstdint>
#include <functional>
#include <list>
#include <memory>
#include <string>

namespace Mirk {

/// The value of a viewer's output "state", which is there to be connected: by it a MetaViewer sees
/// the viewers.
struct POLYPIA_EXPORT ViewerState {};

template<>
struct POLYPIA_EXPORT VValueTrait<ViewerState> {
    static std::string Text(const ViewerState&) { return {}; }
    static bool setValueFromText(ViewerState&, const std::string&) { return false; }
};

/// Shows the scene that its input "scene" is connected to, at first the default scene. A concrete
/// viewer derives from it, owns the drawing surface and its Seagrass, and runs the render loop:
///
///     bring this object up to date in `pool`, by a VRequest or RequestThread
///     set the budgets of the context, whose pool is `pool`
///     render()
///     handleComputeQueue(), and when the picture is on the screen completeFrame()
///
/// render() shows the scene as it was brought up to date last; it asks for nothing itself.
///
/// Three kinds of threads meet here. The render thread draws and picks. Any other may ask for
/// volumes, sensor info and the camera controller, and whether there is a queue; to pick, it queues
/// a function for the render thread (Seagrass::queue). Requests change the scene meanwhile: all who
/// read it work on a copy, and no lock is held while objects are asked or drawn.
class POLYPIA_EXPORT Viewer : public VObject {
public:
    using RenderResult = VRenderContext::RenderResult;
    using BoundingBallPtr = VSceneObjects::BoundingBallPtr;
    using Size = ImageTile::Size;

    /// Wants to know when a frame is on the screen.
    class POLYPIA_EXPORT FrameCompletion : public Keel::ReferenceBase<FrameCompletion> {
    public:
        FrameCompletion();
        ~FrameCompletion() override;
        virtual void complete(const Viewer& viewer) = 0;
    };

    /// What a picture that is taken of a viewer should be like. The order of the fields is part of
    /// the interface.
    class POLYPIA_EXPORT FrameGrabber : public Keel::ReferenceBase<FrameGrabber> {
    public:
        FrameGrabber(const Size& image, const Size& tile,
                     const Keel::StrongPtr<VRenderPrecision>& renderPrecision,
                     const Keel::StrongPtr<VContext::Addendum>& contextAddendum);
        ~FrameGrabber() override;

        // For the use of the viewer.
        std::string name;
        std::string format;
        std::string comment;
        /// In pixels: of the whole picture, and of the tiles in which it is drawn.
        Size imageSize;
        Size tileSize;
        Keel::StrongPtr<VRenderPrecision> precision;
        Keel::StrongPtr<VContext::Addendum> addendum;
        // For the use of the viewer.
        float scale = 1.0F;
    };

    /// What a viewer tells about a frame; a concrete one may derive a record that tells more.
    struct POLYPIA_EXPORT FrameInfo {
        FrameInfo();
        virtual ~FrameInfo();

        std::string title;
        std::string details;
        std::string failures;
    };

    /// `p` and `objectPrefs` go to VObject; `slotPrefs` are kept for who connects the input "scene"
    /// (VConnectable::attachUniqueObject). All pointers may be null. Joins all objects of type
    /// MetaViewer. The viewer has a pool of its own.
    Viewer(const std::string& viewerName, int p,
           const Keel::StrongPtr<VRenderInterruptor>& renderInterruptor,
           const PreferencesPtr& objectPrefs, const PreferencesPtr& slotPrefs);
    /// Leaves them.
    ~Viewer() override;

    // The order of the virtual operations is part of the interface.

    /// What is to be told about a frame of that context, in a pool. Never null.
    virtual std::unique_ptr<FrameInfo> makeFrameInfo(const VRenderContext& context,
                                                     const ValuePoolPtr& framePool) const = 0;
    /// Calls makeFrameInfo() and hands the record to `action`. An empty action throws
    /// std::bad_function_call.
    virtual void withFrameInfo(const VRenderContext& context, const ValuePoolPtr& framePool,
                               const std::function<void(FrameInfo&)>& action) const;

    void published() override;

    // For the render thread, with the graphics context current.

    /// Draws a frame of the scene as it is now in the pool of the context; see
    /// VSceneObjects::render. What the traversal throws is passed on.
    RenderResult render(VRenderContext& context, double& renderTime, int firstLayer,
                        int lastLayer) const;
    /// What is under a rectangle of pixels, of the scene as it is now; see VSceneObjects::pick.
    VRenderContext::PickListPtr pick(VRenderContext& context, int x, int y, int width,
                                     int height) const;
    /// Runs what was queued at the Seagrass, until `predicate` returns true. Whether there was
    /// something; false without a live Seagrass.
    bool handleComputeQueue(VRenderContextBasin& context,
                            const std::function<bool()>& predicate) const;
    /// Tells each live entry of `frameCompletions` that the frame is on the screen.
    void completeFrame() const;

    // For any thread.

    /// The buffer of the Seagrass, for read-back on the render thread; null without a live one.
    Keel::StrongPtr<PixelBuffer> getPixelBuffer() const;
    /// Whether something is queued at the Seagrass; false without a live one.
    bool hasQueue() const;
    /// To be called when the drawing surface exists.
    void setSeagrass(const Keel::WeakPtr<Seagrass>& newSeagrass);
    /// Of what is visible in a pool, see VSceneObjects::getGlobalBoundingVolume.
    BoundingBallPtr getVisibleBoundingVolume(const ValuePoolPtr& requestedPool) const;
    /// Of what is visible and can be touched, see VSceneObjects::getRangedBoundingVolume.
    BoundingBallPtr getTouchableBoundingVolume(const ValuePoolPtr& requestedPool) const;
    /// What all objects, hidden ones included, have to say in this viewer's pool, one after the
    /// other without separator.
    std::string getSensorInfo(const RenderAble::SensorView& view);
    /// The output of type VCamera of the first object that is visible in this viewer's pool and has
    /// one; null if there is none.
    VSlotPtr findActiveCameraController() const;

    const VPolyOutput<ViewerState, MetaViewer>& stateOutput() const noexcept { return state; }
    /// What the input "scene" would like to be connected to; may be null.
    const PreferencesPtr& slotPreferences() const noexcept { return _slotPreferences; }

    // The order of the fields is part of the interface.

protected:
    std::int32_t viewerWord = 5; ///< for the use of the concrete viewer

private:
    Keel::WeakPtr<Seagrass> seagrass;

protected:
    Keel::WeakPtr<VObject, VManagedObjectBase> companion; ///< for the use of the concrete viewer

public:
    /// Of this viewer alone, which its contexts, requests and pictures share. To be replaced, if at
    /// all, before the first frame. A null pool reads global values.
    ValuePoolPtr pool;
    const std::chrono::system_clock::time_point startTime = std::chrono::system_clock::now();

protected:
    const TypedSlot<VSceneObjects> scene;
    const VPolyOutput<ViewerState, MetaViewer> state;
    /// How many objects of type MetaViewer were there when this one was made.
    const int connections;
    /// Added to by the concrete viewer, on the render thread.
    std::list<Keel::WeakPtr<FrameCompletion>> frameCompletions;
    const Keel::StrongPtr<VRenderInterruptor> interruptor;

private:
    VSceneObjects readScene(std::mutex& mutexOfReader, const ValuePoolPtr& readPool) const;
    VSceneObjects readScene(const ValuePoolPtr& readPool) const;
    Keel::StrongPtr<Seagrass> liveSeagrass() const;
    void connectDefaultScene();

    const PreferencesPtr _slotPreferences;
    mutable Keel::SpinLock _seagrassLock; // leaf: guards seagrass
};

static_assert(std::is_same_v<Keel::RootOf_t<Viewer>, Viewer::ReferenceRoot>);

} // namespace Mirk
