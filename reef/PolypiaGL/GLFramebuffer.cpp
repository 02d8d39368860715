#include <PolypiaGL/GLFramebuffer.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/depthBuffers.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <PolypiaGL/glHeaders.hpp>
#include <PolypiaGL/glSavedState.hpp>
#include <PolypiaGL/viewAttachment.hpp>

#include <algorithm>
#include <array>
#include <limits>
#include <string>

namespace Mirk {

namespace {

constexpr unsigned colorFormat = GL_RGBA8;

/// The greatest width and height that the driver draws.
std::array<int, 2> greatestSize(const GLLimits& limits) {
    return {std::min(limits.maxRenderbufferSize, limits.maxViewportSize[0]),
            std::min(limits.maxRenderbufferSize, limits.maxViewportSize[1])};
}

void checkSize(const GLLimits& limits, int width, int height) {
    const auto [widest, highest] = greatestSize(limits);
    if (width >= 1 && height >= 1 && width <= widest && height <= highest) return;
    throw GLRenderException(GL_INVALID_VALUE,
                            "a picture of " + std::to_string(width) + " x " +
                                std::to_string(height) +
                                " pixels is not possible, expected 1 x 1 to " +
                                std::to_string(widest) + " x " + std::to_string(highest),
                            "GLFramebuffer::GLFramebuffer", __FILE__, __LINE__);
}

GL::RenderbufferId renderbuffer(unsigned format, int width, int height, int samples) {
    GL::RenderbufferId id = GL::createRenderbuffer();
    // 0 samples means one of the plain kind.
    glNamedRenderbufferStorageMultisample(id.number(), samples > 1 ? samples : 0, format, width,
                                          height);
    return id;
}

void checkComplete(const GL::FramebufferId& id, const char* call, const char* constructor) {
    const GLenum status = glCheckNamedFramebufferStatus(id.number(), GL_FRAMEBUFFER);
    const auto errors = GL::drainErrors(call);
    if (status == GL_FRAMEBUFFER_COMPLETE && errors.empty()) return;
    const bool failed = !errors.empty();
    throw GLRenderException(
        failed ? static_cast<int>(errors[0].code) : GL_INVALID_FRAMEBUFFER_OPERATION,
        failed ? errors[0].text()
               : "the driver refuses the framebuffer; it may have one of fewer pixels or samples",
        constructor, __FILE__, __LINE__);
}

/// Either buffer may be number 0, for none.
GL::FramebufferId framebuffer(unsigned color, unsigned depth) {
    GL::FramebufferId id = GL::createFramebuffer();
    glNamedFramebufferRenderbuffer(id.number(), GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, color);
    glNamedFramebufferRenderbuffer(id.number(), GL_DEPTH_STENCIL_ATTACHMENT, GL_RENDERBUFFER,
                                   depth);
    checkComplete(id, "glNamedRenderbufferStorageMultisample", "GLFramebuffer::GLFramebuffer");
    return id;
}

GL::TextureId layers(unsigned format, int width, int height, int samples, int number) {
    GL::TextureId id =
        GL::createTexture(samples > 1 ? GL_TEXTURE_2D_MULTISAMPLE_ARRAY : GL_TEXTURE_2D_ARRAY);
    if (samples > 1) {
        glTextureStorage3DMultisample(id.number(), samples, format, width, height, number, GL_TRUE);
    } else {
        glTextureStorage3D(id.number(), 1, format, width, height, number);
    }
    return id;
}

int usableSamples(const GLLimits& limits, int samples) {
    return std::clamp(samples, 1, std::max(1, limits.maxSamples));
}

/// To the whole picture, the nearest or last on top, whatever was drawn before.
void drawTo(const GL::FramebufferId& id, int width, int height, GLContext::Depths depths) {
    glBindFramebuffer(GL_FRAMEBUFFER, id.number());
    glViewport(0, 0, width, height);
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(GL::nearestOrLast(depths));
    glDepthMask(GL_TRUE);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDisable(GL_SCISSOR_TEST);
    glDisable(GL_STENCIL_TEST);
}

/// The scissor test cuts clearing and resolving, too.
class WithoutScissor {
public:
    WithoutScissor() : _wasEnabled(glIsEnabled(GL_SCISSOR_TEST) == GL_TRUE) {
        if (_wasEnabled) glDisable(GL_SCISSOR_TEST);
    }
    WithoutScissor(const WithoutScissor&) = delete;
    WithoutScissor& operator=(const WithoutScissor&) = delete;
    ~WithoutScissor() {
        if (_wasEnabled) glEnable(GL_SCISSOR_TEST);
    }

private:
    const bool _wasEnabled;
};

/// Masks hold for clearing, too.
class WithoutMasks {
public:
    WithoutMasks() {
        glGetBooleani_v(GL_COLOR_WRITEMASK, 0, _colors.data());
        glGetBooleanv(GL_DEPTH_WRITEMASK, &_depths);
        glGetIntegerv(GL_STENCIL_WRITEMASK, &_stencil);
        glColorMaski(0, GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
        glDepthMask(GL_TRUE);
        glStencilMaskSeparate(GL_FRONT, ~0U);
    }
    WithoutMasks(const WithoutMasks&) = delete;
    WithoutMasks& operator=(const WithoutMasks&) = delete;
    ~WithoutMasks() {
        glColorMaski(0, _colors[0], _colors[1], _colors[2], _colors[3]);
        glDepthMask(_depths);
        glStencilMaskSeparate(GL_FRONT, static_cast<GLuint>(_stencil));
    }

private:
    std::array<GLboolean, 4> _colors{};
    GLboolean _depths = GL_TRUE;
    GLint _stencil = 0; // that of the front is the one that counts
};

} // namespace

/// Reads rectangles of a framebuffer, in the coordinates of the whole picture.
class FramebufferPixels : public PixelBuffer {
public:
    explicit FramebufferPixels(const GLFramebuffer& framebuffer)
        : PixelBuffer({0, 0, framebuffer.width(), framebuffer.height()}),
          _framebuffer(framebuffer._self) {}

    int readPixelColors(int x, int y, float (*colors)[4], unsigned long long width,
                        unsigned long long height, unsigned int stride) const override {
        return read(x, y, &colors[0][0], 4, GL_RGBA, width, height, stride);
    }
    int readPixelDepth(int x, int y, float* depths, unsigned long long width,
                       unsigned long long height, unsigned int stride) const override {
        return read(x, y, depths, 1, GL_DEPTH_COMPONENT, width, height, stride);
    }

private:
    int read(int x, int y, float* target, long long components, unsigned format,
             unsigned long long width, unsigned long long height, unsigned stride) const {
        if (*_framebuffer == nullptr) return 0;
        const auto clip = [](long long from, unsigned long long length, long long size) {
            const auto wanted =
                static_cast<long long>(std::min<unsigned long long>(length, 0x7FFFFFFFU));
            const long long to = std::min(from + wanted, size);
            return std::array<long long, 2>{std::max<long long>(from, 0), to};
        };
        const auto [left, right] = clip(x, width, Width);
        const auto [bottom, top] = clip(y, height, Height);
        if (right <= left || top <= bottom) return 0;
        const long long row =
            stride != 0 ? static_cast<long long>(stride) : static_cast<long long>(width);
        float* const first = target + ((bottom - y) * row + (left - x)) * components;
        const ViewportGeometry rectangle{static_cast<int>(left), static_cast<int>(bottom),
                                         static_cast<int>(right - left),
                                         static_cast<int>(top - bottom)};
        // Rows so far apart are no more than one.
        const bool isOneRow = row > std::numeric_limits<int>::max();
        (*_framebuffer)
            ->read(rectangle, isOneRow ? rectangle.Width : static_cast<int>(row), format, GL_FLOAT,
                   first);
        const bool isReversed = (*_framebuffer)->_depths == GLContext::Depths::Reversed;
        if (format == GL_DEPTH_COMPONENT && isReversed) {
            for (long long each = 0; each < rectangle.Height; ++each) {
                float* const begin = first + each * row;
                std::transform(begin, begin + rectangle.Width, begin,
                               [](float depth) { return 1.0F - depth; });
            }
        }
        return rectangle.Width * rectangle.Height;
    }

    const std::shared_ptr<const GLFramebuffer* const> _framebuffer;
};

GLFramebuffer::GLFramebuffer(GLContext& context, int width, int height, int samples)
    : _width(width),
      _height(height),
      _samples(usableSamples(context.limits(), samples)),
      _depths(context.depths()) {
    checkSize(context.limits(), width, height);
    GL::drainErrors("ahead of it"); // which say nothing about this
    _color = renderbuffer(colorFormat, width, height, _samples);
    _depth = renderbuffer(GL::depthFormat(_depths), width, height, _samples);
    _framebuffer = framebuffer(_color.number(), _depth.number());
    if (_samples == 1) return;
    glGetNamedRenderbufferParameteriv(_color.number(), GL_RENDERBUFFER_SAMPLES, &_samples);
    makeResolved();
}

GLFramebuffer::GLFramebuffer(const GLLayeredFramebuffer& whole, int layer)
    : _width(whole._width),
      _height(whole._height),
      _samples(whole._samples),
      _depths(whole._depths) {
    _framebuffer = GL::createFramebuffer();
    glNamedFramebufferTextureLayer(_framebuffer.number(), GL_COLOR_ATTACHMENT0,
                                   whole._color.number(), 0, layer);
    glNamedFramebufferTextureLayer(_framebuffer.number(), GL_DEPTH_STENCIL_ATTACHMENT,
                                   whole._depth.number(), 0, layer);
    checkComplete(_framebuffer, "glNamedFramebufferTextureLayer", "GLFramebuffer::GLFramebuffer");
    if (_samples > 1) makeResolved();
}

void GLFramebuffer::makeResolved() {
    _resolvedColors.buffer = renderbuffer(colorFormat, _width, _height, 1);
    _resolvedColors.framebuffer = framebuffer(_resolvedColors.buffer.number(), 0);
}

GLFramebuffer::~GLFramebuffer() {
    *_self = nullptr;
}

void GLFramebuffer::bind() const {
    drawTo(_framebuffer, _width, _height, _depths);
}

void GLFramebuffer::clear(const Skua::rgba_float_t& color) const {
    const WithoutScissor everywhere;
    const WithoutMasks everything;
    glClearNamedFramebufferfv(_framebuffer.number(), GL_COLOR, 0, color.data());
    glClearNamedFramebufferfi(_framebuffer.number(), GL_DEPTH_STENCIL, 0, GL::farPlane(_depths), 0);
}

void GLFramebuffer::finish() const {
    glFinish();
}

void GLFramebuffer::resolve(const Resolved& target, unsigned buffers) const {
    const WithoutScissor all;
    glBlitNamedFramebuffer(_framebuffer.number(), target.framebuffer.number(), 0, 0, _width,
                           _height, 0, 0, _width, _height, buffers, GL_NEAREST);
}

unsigned GLFramebuffer::resolvedColors() const {
    if (_samples == 1) return _framebuffer.number();
    resolve(_resolvedColors, GL_COLOR_BUFFER_BIT);
    return _resolvedColors.framebuffer.number();
}

unsigned GLFramebuffer::resolvedDepths() const {
    if (_samples == 1) return _framebuffer.number();
    if (!_resolvedDepths.framebuffer) {
        GL::drainErrors("ahead of it"); // which say nothing about this
        _resolvedDepths.buffer = renderbuffer(GL::depthFormat(_depths), _width, _height, 1);
        _resolvedDepths.framebuffer = framebuffer(0, _resolvedDepths.buffer.number());
    }
    resolve(_resolvedDepths, GL_DEPTH_BUFFER_BIT);
    return _resolvedDepths.framebuffer.number();
}

void GLFramebuffer::readColors(std::span<std::uint8_t> pixels) const {
    const std::size_t needed =
        static_cast<std::size_t>(_width) * static_cast<std::size_t>(_height) * 4;
    if (pixels.size() < needed) {
        throw GLRenderException(GL_INVALID_VALUE,
                                "expected room for " + std::to_string(needed) + " bytes, got " +
                                    std::to_string(pixels.size()),
                                "GLFramebuffer::readColors", __FILE__, __LINE__);
    }
    read({0, 0, _width, _height}, _width, GL_RGBA, GL_UNSIGNED_BYTE, pixels.data());
}

void GLFramebuffer::read(const ViewportGeometry& rectangle, int rowPixels, unsigned format,
                         unsigned type, void* target) const {
    GLint caller = 0;
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &caller);
    glBindFramebuffer(GL_READ_FRAMEBUFFER,
                      format == GL_DEPTH_COMPONENT ? resolvedDepths() : resolvedColors());
    const GL::PixelPacking packing(rowPixels);
    glReadPixels(rectangle.X, rectangle.Y, rectangle.Width, rectangle.Height, format, type, target);
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(caller));
}

Keel::StrongPtr<PixelBuffer> GLFramebuffer::pixelBuffer() const {
    return Keel::StrongPtr<PixelBuffer>(new FramebufferPixels(*this));
}

bool GLLayeredFramebuffer::isPossible(const GLContext& context, GL::Pass pass, int views) {
    constexpr GLenum maxViews = 0x9631; // GL_MAX_VIEWS_OVR, which our headers lack
    GLint most =
        std::min(context.limits().maxFramebufferLayers, context.limits().maxArrayTextureLayers);
    switch (pass) {
    case GL::Pass::EachView:
        return true;
    case GL::Pass::Layers:
        return views <= most && (context.hasExtension("GL_ARB_shader_viewport_layer_array") ||
                                 context.hasExtension("GL_AMD_vertex_shader_layer"));
    case GL::Pass::Extension:
        if (!context.hasExtension("GL_OVR_multiview2")) return false;
        glGetIntegerv(maxViews, &most);
        return views <= most;
    }
    return false;
}

GLLayeredFramebuffer::GLLayeredFramebuffer(GLContext& context, int width, int height, int samples,
                                           int views, GL::Pass pass)
    : _width(width),
      _height(height),
      _samples(usableSamples(context.limits(), samples)),
      _depths(context.depths()),
      _pass(pass) {
    checkSize(context.limits(), width, height);
    GL::drainErrors("ahead of it"); // which say nothing about this
    _color = layers(colorFormat, width, height, _samples, views);
    _depth = layers(GL::depthFormat(_depths), width, height, _samples, views);
    if (_samples > 1)
        glGetTextureLevelParameteriv(_color.number(), 0, GL_TEXTURE_SAMPLES, &_samples);
    _framebuffer = GL::createFramebuffer();
    if (pass == GL::Pass::Extension) {
        GL::attachViews(context, _framebuffer, GL_COLOR_ATTACHMENT0, _color, views);
        GL::attachViews(context, _framebuffer, GL_DEPTH_STENCIL_ATTACHMENT, _depth, views);
    } else {
        glNamedFramebufferTexture(_framebuffer.number(), GL_COLOR_ATTACHMENT0, _color.number(), 0);
        glNamedFramebufferTexture(_framebuffer.number(), GL_DEPTH_STENCIL_ATTACHMENT,
                                  _depth.number(), 0);
    }
    checkComplete(_framebuffer, "glNamedFramebufferTexture",
                  "GLLayeredFramebuffer::GLLayeredFramebuffer");
    for (int view = 0; view < views; ++view) {
        _views.push_back(std::unique_ptr<GLFramebuffer>(new GLFramebuffer(*this, view)));
    }
}

GLLayeredFramebuffer::~GLLayeredFramebuffer() = default;

void GLLayeredFramebuffer::bind() const {
    drawTo(_framebuffer, _width, _height, _depths);
}

} // namespace Mirk
