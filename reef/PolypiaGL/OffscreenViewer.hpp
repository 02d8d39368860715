#pragma once
// A viewer without a window; stands on Viewer, EglContext and GLRenderContext.

#include <Polypia/Viewer.hpp>
#include <PolypiaGL/EglContext.hpp>
#include <PolypiaGL/FrameBudget.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/GLRenderContext.hpp>
#include <PolypiaGL/export.hpp>
#include <PolypiaGL/fwd.hpp>

#include <keel/ThreadPool.hpp>
#include <rookery/Coordinates.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace Mirk {

/// Draws the default scene, or another one that its input "scene" is connected to, into pictures.
/// It has a graphics context, a render cache and a render thread of its own. All operations may be
/// called from any thread but the render thread; they wait for it and throw what was thrown there.
/// Whoever calls one holds the viewer, so that it never ends on its render thread.
class POLYPIAGL_EXPORT OffscreenViewer : public Viewer {
public:
    struct Settings {
        int widthPixels = 1280;
        int heightPixels = 720;
        int samples = 4; ///< of each pixel
        Skua::rgba_float_t background{0.0F, 0.0F, 0.0F, 1.0F};
        /// Of the cache of GPU state.
        unsigned long long cacheBytes = ~0ULL;
        /// That a frame may bring to the GPU.
        long long uploadBytes = INT64_MAX;
        /// Of a frame; below 0 there is no limit. Less than precision()->upperTime never lowers the
        /// level of detail.
        double secondsLimit = -1.0;
        /// How several eyes are drawn, if the driver can do so; else one after the other. The
        /// picture is the same.
        GL::Pass pass = GL::Pass::EachView;
        GLContext::Depths depths = GLContext::Depths::Usual;
        EglContext::Options context;
    };

    /// What became of a frame.
    struct Frame {
        RenderResult result = 0; ///< bits of GLRenderContext::ResultBits
        double seconds = 0.0;    ///< that the objects took
        std::size_t drawn = 0;
        std::size_t culled = 0;
        long long uploadedBytes = 0; ///< that it was allowed to bring to the GPU
        std::vector<GLRenderContext::Failure> failures;
    };

    /// Throws ContextError if there is no graphics. Whether it can have pictures of that size is
    /// seen at the first frame, which throws a GLRenderException else.
    OffscreenViewer(const std::string& viewerName, const Settings& settings);
    ~OffscreenViewer() override;

    /// Brings the scene up to date and draws one frame for these eyes, each of which gets a
    /// picture; that of the first eye is the one of getPixelBuffer(), which is null without eyes.
    Frame draw(const std::vector<GLRenderContext::Eye>& eyes);
    /// Draws until nothing is left out for want of memory or time, or two frames bring nothing new
    /// though none of the last ones refused memory.
    /// Returns the last frame, with the failures of all of them, each once. What doesn't fit into
    /// the cache, or changes all the time, would go on for ever: when frames without another object
    /// have brought more to the GPU than the cache takes, or there were 1000 of them, that is the
    /// end as well.
    Frame drawWhole(const std::vector<GLRenderContext::Eye>& eyes);
    /// The picture of an eye of the last frame: red, green, blue and alpha of each pixel, row 0 at
    /// the bottom.
    std::vector<std::uint8_t> colors(unsigned eye);
    /// What lies under a rectangle of pixels of the first eye, from the lower left corner, with the
    /// eyes of the last frame.
    VRenderContext::PickListPtr pickPixels(int x, int y, int width, int height);
    /// Where that is in the world what lies under the middle of a pixel; none for the background.
    std::optional<Skua::PhysicalSpace::point> pickPlace(int x, int y);

    /// The greatest width and height of a picture, in pixels.
    std::array<int, 2> greatestPicture() const noexcept { return _greatestPicture; }
    /// Renderer, version and profile.
    const std::string& device() const noexcept { return _device; }
    /// How several eyes are drawn.
    GL::Pass pass() const noexcept { return _pass; }
    const Settings& settings() const noexcept { return _settings; }
    const Keel::StrongPtr<FrameInterruptor, VRenderInterruptor>& frameInterruptor() const noexcept {
        return _frameInterruptor;
    }
    const Keel::StrongPtr<SmoothPrecision, VRenderPrecision>& precision() const noexcept {
        return _precision;
    }
    /// The cache of this viewer; its functions for any thread are meant, such as queue().
    Keel::WeakPtr<Seagrass> renderCache() const noexcept { return _renderCache; }
    /// Calls a function with the render context on the render thread, with the GL context current.
    void onRenderThread(const std::function<void(GLRenderContext&)>& function);

    std::unique_ptr<FrameInfo> makeFrameInfo(const VRenderContext& context,
                                             const ValuePoolPtr& framePool) const override;

private:
    /// What lives and dies on the render thread.
    struct Graphics;

    void open();
    void close();
    Frame drawFrame(const std::vector<GLRenderContext::Eye>& eyes);
    void handleQueueOfNow();
    void refill(const Frame& frame);

    const Settings _settings;
    const Keel::StrongPtr<FrameInterruptor, VRenderInterruptor> _frameInterruptor;
    const Keel::StrongPtr<SmoothPrecision, VRenderPrecision> _precision;
    std::string _device;
    GL::Pass _pass = GL::Pass::EachView;
    std::array<int, 2> _greatestPicture{};
    Keel::WeakPtr<Seagrass> _renderCache;
    std::unique_ptr<Graphics> _graphics;
    std::atomic<long long> _allowance; // for the next frame; written by the render thread
    int _sparingFrames = 0;            // in a row, that refused and used less than half of it
    // Objects may leave so many frames to one who was refused: some in which the time ends ahead of
    // it, and some in which it isn't drawn any more.
    static constexpr int framesLeft = 7;
    std::atomic<int> _framesBehindRefusal = framesLeft; // as many at most; by the render thread
    Keel::ThreadPool _thread;
};

static_assert(std::is_same_v<Keel::RootOf_t<OffscreenViewer>, OffscreenViewer::ReferenceRoot>);

} // namespace Mirk
