#include <PolypiaGL/EglContext.hpp>

#include <PolypiaGL/ContextError.hpp>
#include <PolypiaGL/EglDisplay.hpp>

#include <cstdio>
#include <utility>
#include <vector>

namespace Mirk {
namespace {

std::string profileName(GL::Profile profile) {
    return profile == GL::Profile::Core ? "core" : "compatibility";
}

EGLConfig chooseConfig(const EglDisplay& display, bool needsSurface) {
    const EGLint attributes[] = {EGL_SURFACE_TYPE, needsSurface ? EGL_PBUFFER_BIT : EGL_DONT_CARE,
                                 EGL_RENDERABLE_TYPE, EGL_OPENGL_BIT, EGL_NONE};
    EGLConfig config = nullptr;
    EGLint count = 0;
    if (!display.egl().chooseConfig(display.handle(), attributes, &config, 1, &count) || count < 1)
        throw ContextError("no framebuffer configuration for OpenGL, " + display.egl().lastError());
    return config;
}

} // namespace

/// What EGL made for one context; gives it back in reverse order.
struct EglContext::Native {
    Native(std::shared_ptr<const EglDisplay> from, GL::Profile profile, bool debug,
           EGLContext shared)
        : display(std::move(from)) {
        const EglLibrary& egl = display->egl();
        if (!egl.bindAPI(EGL_OPENGL_API))
            throw ContextError("OpenGL is not offered, " + egl.lastError());
        const bool needsSurface = !display->hasExtension("EGL_KHR_surfaceless_context");
        const bool needsConfig =
            needsSurface || !display->hasExtension("EGL_KHR_no_config_context");
        const EGLConfig config =
            needsConfig ? chooseConfig(*display, needsSurface) : EGL_NO_CONFIG_KHR;

        const EGLint mask = profile == GL::Profile::Core
                                ? EGL_CONTEXT_OPENGL_CORE_PROFILE_BIT
                                : EGL_CONTEXT_OPENGL_COMPATIBILITY_PROFILE_BIT;
        std::vector<EGLint> attributes{EGL_CONTEXT_MAJOR_VERSION,       4,
                                       EGL_CONTEXT_MINOR_VERSION,       5,
                                       EGL_CONTEXT_OPENGL_PROFILE_MASK, mask};
        if (debug) attributes.insert(attributes.end(), {EGL_CONTEXT_OPENGL_DEBUG, EGL_TRUE});
        attributes.push_back(EGL_NONE);
        context = egl.createContext(display->handle(), config, shared, attributes.data());
        if (context == EGL_NO_CONTEXT)
            throw ContextError("OpenGL 4.5 " + profileName(profile) + " refused, " +
                               egl.lastError());
        if (needsSurface) createSurface(config);
    }
    Native(const Native&) = delete;
    Native& operator=(const Native&) = delete;
    ~Native() { giveBack(); }

    void createSurface(EGLConfig config) {
        const EGLint size[] = {EGL_WIDTH, 1, EGL_HEIGHT, 1, EGL_NONE};
        surface = display->egl().createPbufferSurface(display->handle(), config, size);
        if (surface != EGL_NO_SURFACE) return;
        const std::string reason = display->egl().lastError();
        giveBack();
        context = EGL_NO_CONTEXT;
        throw ContextError("no surface of one pixel, " + reason);
    }

    void giveBack() noexcept {
        const EglLibrary& egl = display->egl();
        if (context != EGL_NO_CONTEXT) egl.destroyContext(display->handle(), context);
        if (surface != EGL_NO_SURFACE) egl.destroySurface(display->handle(), surface);
    }

    std::shared_ptr<const EglDisplay> display;
    EGLContext context = EGL_NO_CONTEXT;
    EGLSurface surface = EGL_NO_SURFACE;
};

EglContext::EglContext(std::shared_ptr<const EglDisplay> display, GL::Profile profile, bool debug,
                       const EglContext* shared)
    : GLContext(shared),
      _native(std::make_unique<Native>(std::move(display), profile, debug,
                                       shared ? shared->_native->context : EGL_NO_CONTEXT)),
      _debug(debug) {
    const Scope scope(*this);
    readProperties(_native->display->source().isSoftware);
    if (debug) collectDebugMessages();
}

EglContext::~EglContext() {
    release();
    if (currentThread())
        std::fprintf(stderr, "PolypiaGL: the context ends while it is current on another thread\n");
}

/// Tries one source after the other and keeps the reasons of those that fail.
struct EglContext::Attempt {
    std::unique_ptr<EglContext> on(const EglDisplay::Source& source) {
        std::shared_ptr<const EglDisplay> display;
        for (const GL::Profile profile : profiles()) {
            try {
                if (!display) display = std::make_shared<const EglDisplay>(egl, source);
                return std::unique_ptr<EglContext>(
                    new EglContext(display, profile, options.debug, nullptr));
            } catch (const ContextError& error) {
                reasons.push_back(source.name + ": " + error.what());
            }
            if (!display) break; // no profile will change that
        }
        return {};
    }

    std::vector<GL::Profile> profiles() const {
        if (options.profile) return {*options.profile};
        return {GL::Profile::Compatibility, GL::Profile::Core};
    }

    const Options& options;
    std::shared_ptr<const EglLibrary> egl = {};
    std::vector<std::string> reasons = {};
};

std::unique_ptr<EglContext> EglContext::create(const Options& options) {
    Attempt attempt{options};
    try {
        attempt.egl = EglLibrary::open(options.library);
        for (const auto& source :
             EglDisplay::sources(*attempt.egl, options.device, attempt.reasons))
            if (auto context = attempt.on(source)) return context;
    } catch (const ContextError& error) {
        attempt.reasons.emplace_back(error.what());
    }
    throw ContextError("EglContext::create: no OpenGL 4.5 context", std::move(attempt.reasons));
}

std::unique_ptr<EglContext> EglContext::createShared() const {
    return std::unique_ptr<EglContext>(new EglContext(_native->display, profile(), _debug, this));
}

GLContext::Function EglContext::function(const char* name) const {
    return _native->display->egl().getProcAddress(name);
}

const std::string& EglContext::source() const {
    return _native->display->source().name;
}

bool EglContext::bind(std::string& reason) {
    const EglLibrary& egl = _native->display->egl();
    egl.bindAPI(EGL_OPENGL_API);
    if (egl.makeCurrent(_native->display->handle(), _native->surface, _native->surface,
                        _native->context))
        return true;
    reason = "the driver does not make the context current, " + egl.lastError();
    return false;
}

bool EglContext::unbind() noexcept {
    const EglLibrary& egl = _native->display->egl();
    return egl.makeCurrent(_native->display->handle(), EGL_NO_SURFACE, EGL_NO_SURFACE,
                           EGL_NO_CONTEXT) == EGL_TRUE;
}

} // namespace Mirk
