#include <PolypiaGL/OffscreenViewer.hpp>

#include <Polypia/Seagrass.hpp>

#include <sorrel/VRequest.hpp>

#include <algorithm>
#include <climits>
#include <stdexcept>
#include <thread>
#include <utility>

namespace Mirk {

namespace {

using InterruptorPtr = Keel::StrongPtr<FrameInterruptor, VRenderInterruptor>;

InterruptorPtr makeInterruptor(double secondsLimit) {
    InterruptorPtr made(new FrameInterruptor);
    // Longer than anybody waits is no limit.
    constexpr double longest = 1e8;
    made->timeLimit = secondsLimit >= 0.0 && secondsLimit < longest
                          ? static_cast<std::int64_t>(secondsLimit * 1e9)
                          : -1;
    return made;
}

/// Tells how long to go on with frames that are not whole.
class Patience {
public:
    Patience(const OffscreenViewer::Frame& first, unsigned long long cacheBytes)
        : _cacheBytes(cacheBytes), _most(first.drawn) {}

    /// Whether there is hope behind that frame. `mayBringMore`: the next ones than this one.
    bool goesOn(const OffscreenViewer::Frame& frame, bool mayBringMore) {
        const bool wasIdle = std::exchange(_isIdle, frame.uploadedBytes == 0 && !mayBringMore);
        if (frame.drawn > _most) {
            _most = frame.drawn;
            _frames = 0;
            _bytes = 0;
            return true;
        }
        // Two, as objects that take turns may have left one to somebody who needs it no more.
        if (wasIdle && _isIdle) return false;
        _bytes += static_cast<unsigned long long>(frame.uploadedBytes);
        return ++_frames < mostFrames && _bytes <= _cacheBytes;
    }

private:
    static constexpr int mostFrames = 1000;

    const unsigned long long _cacheBytes;
    std::size_t _most; ///< objects in one frame
    bool _isIdle = false;
    // Since then.
    int _frames = 0;
    unsigned long long _bytes = 0;
};

/// Holds for a frame, and for what is picked or queued behind it no more.
class TimeLimit {
public:
    explicit TimeLimit(FrameInterruptor& interruptor) : _interruptor(interruptor) {
        _interruptor.beginFrame();
    }
    TimeLimit(const TimeLimit&) = delete;
    TimeLimit& operator=(const TimeLimit&) = delete;
    ~TimeLimit() { _interruptor.endFrame(); }

private:
    FrameInterruptor& _interruptor;
};

} // namespace

struct OffscreenViewer::Graphics {
    Graphics(const Settings& settings, const OffscreenViewer& viewer)
        : gl(EglContext::create(settings.context)), pass(settings.pass) {
        gl->makeCurrent();
        gl->setDepths(settings.depths);
        if (!GLLayeredFramebuffer::isPossible(*gl, pass, 2)) pass = GL::Pass::EachView;
        seagrass = Keel::make<Seagrass>(settings.cacheBytes, viewer.Name());
        context = std::make_unique<GLRenderContext>(*gl, seagrass, viewer._frameInterruptor,
                                                    viewer._precision, settings.uploadBytes);
        context->pool = viewer.pool;
    }
    ~Graphics() {
        seagrass->setPixelBuffer({});
        context.reset();
        framebuffers.clear();
        layers.reset();
        const Keel::WeakPtr<Seagrass> remains(seagrass);
        seagrass = {};
        while (!Seagrass::drain(remains)) std::this_thread::yield();
    }
    /// One framebuffer for each eye, or one for all of several. What was there before goes when
    /// nothing refers to it any more.
    void provideTargets(const Settings& settings, unsigned eyes) {
        const bool isOnePass = eyes > 1 && pass != GL::Pass::EachView &&
                               GLLayeredFramebuffer::isPossible(*gl, pass, static_cast<int>(eyes));
        if (isOnePass) {
            provideLayers(settings, eyes);
        } else {
            provideEach(settings, eyes);
        }
        numberOfEyes = eyes;
    }
    void provideLayers(const Settings& settings, unsigned eyes) {
        if (layers && layers->numberOfViews() == eyes) {
            context->setTargets(*layers);
            return show(layers->view(0));
        }
        auto made =
            std::make_unique<GLLayeredFramebuffer>(*gl, settings.widthPixels, settings.heightPixels,
                                                   settings.samples, static_cast<int>(eyes), pass);
        context->setTargets(*made);
        show(made->view(0));
        layers = std::move(made);
    }
    void provideEach(const Settings& settings, unsigned eyes) {
        while (framebuffers.size() < eyes) {
            framebuffers.push_back(std::make_unique<GLFramebuffer>(
                *gl, settings.widthPixels, settings.heightPixels, settings.samples));
        }
        std::vector<const GLFramebuffer*> targets;
        for (unsigned i = 0; i < eyes; ++i) targets.push_back(framebuffers[i].get());
        context->setTargets(std::move(targets));
        if (eyes > 0) {
            show(*framebuffers.front());
        } else {
            seagrass->setPixelBuffer({});
            shown = nullptr;
        }
        layers.reset();
    }
    const GLFramebuffer& target(unsigned eye) const {
        if (eye >= numberOfEyes) {
            throw std::out_of_range("expected one of the " + std::to_string(numberOfEyes) +
                                    " eyes of the last frame, got eye " + std::to_string(eye));
        }
        return layers ? layers->view(eye) : *framebuffers[eye];
    }
    /// The pixels of the first eye are those that the cache gives out.
    void show(const GLFramebuffer& framebuffer) {
        if (shown == &framebuffer && seagrass->getPixelBuffer()) return;
        seagrass->setPixelBuffer(framebuffer.pixelBuffer());
        shown = &framebuffer;
    }

    std::unique_ptr<EglContext> gl;
    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> context;
    GL::Pass pass;
    unsigned numberOfEyes = 0;
    std::vector<std::unique_ptr<GLFramebuffer>> framebuffers;
    std::unique_ptr<GLLayeredFramebuffer> layers;
    const GLFramebuffer* shown = nullptr;
};

OffscreenViewer::OffscreenViewer(const std::string& viewerName, const Settings& settings)
    : Viewer(viewerName, 0, makeInterruptor(settings.secondsLimit), {}, {}),
      _settings(settings),
      _frameInterruptor(interruptor),
      _precision(new SmoothPrecision),
      _allowance(settings.uploadBytes),
      _thread(1, "render") {
    _thread.submit([this] { open(); }).get();
    enableRequestProcessing();
}

OffscreenViewer::~OffscreenViewer() {
    _thread.submit([this] { close(); }).wait();
    _thread.endThreads();
}

void OffscreenViewer::open() {
    auto graphics = std::make_unique<Graphics>(_settings, *this);
    _device = graphics->gl->description();
    _pass = graphics->pass;
    const GLLimits& limits = graphics->gl->limits();
    _greatestPicture = {std::min(limits.maxRenderbufferSize, limits.maxViewportSize[0]),
                        std::min(limits.maxRenderbufferSize, limits.maxViewportSize[1])};
    setSeagrass(graphics->seagrass);
    _renderCache = graphics->seagrass;
    _graphics = std::move(graphics);
}

void OffscreenViewer::close() {
    _graphics.reset();
}

OffscreenViewer::Frame OffscreenViewer::draw(const std::vector<GLRenderContext::Eye>& eyes) {
    VRequest request(pool);
    request.process(*this, 1.0);
    Frame frame;
    _thread.submit([&] { frame = drawFrame(eyes); }).get();
    return frame;
}

OffscreenViewer::Frame OffscreenViewer::drawWhole(const std::vector<GLRenderContext::Eye>& eyes) {
    constexpr auto partly =
        GLRenderContext::Incomplete | GLRenderContext::Interrupted | GLRenderContext::RefusedMemory;
    Frame frame = draw(eyes);
    Patience patience(frame, _settings.cacheBytes);
    bool goesOn = true;
    while (goesOn && (frame.result & partly) != 0) {
        const long long allowance = _allowance;
        // Objects may tell of a failure once.
        std::vector<GLRenderContext::Failure> failures = std::move(frame.failures);
        frame = draw(eyes);
        GLRenderContext::addFailures(failures, frame.failures);
        frame.failures = std::move(failures);
        const bool mayFollow = _allowance > allowance || _framesBehindRefusal < framesLeft;
        goesOn = patience.goesOn(frame, mayFollow);
    }
    return frame;
}

OffscreenViewer::Frame OffscreenViewer::drawFrame(const std::vector<GLRenderContext::Eye>& eyes) {
    GLRenderContext& context = *_graphics->context;
    context.pool = pool; // which may have been replaced
    _graphics->seagrass->cleanup();
    _graphics->provideTargets(_settings, static_cast<unsigned>(eyes.size()));
    for (unsigned i = 0; i < eyes.size(); ++i) {
        _graphics->target(i).clear(_settings.background);
    }
    context.setEyes(eyes);
    context.renderAllowance = _allowance;
    Frame frame;
    {
        const TimeLimit limit(*_frameInterruptor);
        frame.result = render(context, frame.seconds, INT_MIN, INT_MAX);
    }
    frame.drawn = context.numberOfDrawn();
    frame.culled = context.numberOfCulled();
    frame.failures = context.failures();
    frame.uploadedBytes = _allowance - context.renderAllowance;
    refill(frame);
    // A whole frame takes at least as long as what was cut off, which may be too long already.
    const bool wasCut = (frame.result & GLRenderContext::Interrupted) != 0;
    if (!wasCut || _precision->lastFrameTime > _precision->upperTime) _precision->adaptPrecision();
    handleQueueOfNow();
    completeFrame();
    return frame;
}

/// Runs what was queued up to now: what queues itself again each time waits for the next frame.
void OffscreenViewer::handleQueueOfNow() {
    const Keel::StrongPtr<Seagrass> queued(_graphics->seagrass);
    // Shared, as nobody knows for how long it stays there.
    const auto isReached = std::make_shared<bool>(false);
    queued->queue([isReached](VRenderContextBasin&) { *isReached = true; });
    queued->handleQueue(*_graphics->context, [&isReached] { return *isReached; });
}

/// A polyp that is larger than the allowance would wait for ever: after a frame that refused and
/// brought nothing to the GPU the next one may bring twice as much, until something passes. The
/// same holds for one that is larger than what others leave of it, after some frames in a row that
/// refused and used less than half.
void OffscreenViewer::refill(const Frame& frame) {
    const bool wasRefused = (frame.result & GLRenderContext::RefusedMemory) != 0;
    _framesBehindRefusal = wasRefused ? 0 : std::min(_framesBehindRefusal + 1, framesLeft);
    const bool wasSparing = wasRefused && frame.uploadedBytes <= _allowance / 2;
    _sparingFrames = wasSparing ? _sparingFrames + 1 : 0;
    constexpr int inARow = 8;
    if (!wasRefused || (frame.uploadedBytes != 0 && _sparingFrames < inARow)) {
        _allowance = _settings.uploadBytes;
    } else if (_allowance <= INT64_MAX / 2) {
        _allowance = std::max<long long>(2 * _allowance, 1);
    }
}

std::vector<std::uint8_t> OffscreenViewer::colors(unsigned eye) {
    std::vector<std::uint8_t> pixels(static_cast<std::size_t>(_settings.widthPixels) *
                                     static_cast<std::size_t>(_settings.heightPixels) * 4);
    _thread
        .submit([&] {
            const GLFramebuffer& framebuffer = _graphics->target(eye);
            framebuffer.finish();
            framebuffer.readColors(pixels);
        })
        .get();
    return pixels;
}

VRenderContext::PickListPtr OffscreenViewer::pickPixels(int x, int y, int width, int height) {
    VRenderContext::PickListPtr list;
    _thread.submit([&] { list = pick(*_graphics->context, x, y, width, height); }).get();
    return list;
}

std::optional<Skua::PhysicalSpace::point> OffscreenViewer::pickPlace(int x, int y) {
    std::optional<Skua::PhysicalSpace::point> place;
    _thread
        .submit([&] {
            place = _graphics->context->pickPlace(scene.value(pool), x, y,
                                                  VSceneObjects::LowestPickableLayer,
                                                  VSceneObjects::HighestPickableLayer);
        })
        .get();
    return place;
}

void OffscreenViewer::onRenderThread(const std::function<void(GLRenderContext&)>& function) {
    _thread.submit([&] { function(*_graphics->context); }).get();
}

std::unique_ptr<Viewer::FrameInfo> OffscreenViewer::makeFrameInfo(const VRenderContext& context,
                                                                  const ValuePoolPtr&) const {
    auto info = std::make_unique<FrameInfo>();
    info->title = Name();
    info->details = _device;
    const auto* const own = dynamic_cast<const GLRenderContext*>(&context);
    if (own == nullptr) return info;
    for (const GLRenderContext::Failure& failure : own->failures()) {
        info->failures += failure.object + ": " + failure.report + '\n';
    }
    return info;
}

} // namespace Mirk
