#pragma once
// Pictures without a window, and their read-back; stands on GLContext.

#include <Polypia/PixelBuffer.hpp>
#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/Pass.hpp>
#include <PolypiaGL/export.hpp>

#include <keel/StrongPtr.hpp>
#include <rookery/Coordinates.hpp>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <span>
#include <vector>

namespace Mirk {

class GLLayeredFramebuffer;

/// A picture of 8 bits for each of red, green, blue and alpha, with depth, to be drawn into. Needs
/// its context current.
class POLYPIAGL_EXPORT GLFramebuffer {
public:
    /// Size in pixels. `samples`: of each pixel, 1 for none; samples() tells what the driver makes
    /// of it.
    /// Throws a GLRenderException that names the limit if the size is not from 1 to that.
    GLFramebuffer(GLContext& context, int width, int height, int samples);
    ~GLFramebuffer();

    int width() const { return _width; }
    int height() const { return _height; }
    int samples() const { return _samples; }
    /// OpenGL's name of the framebuffer.
    unsigned number() const { return _framebuffer.number(); }

    /// Draws go here from now on, to the whole picture, the nearest or last on top: viewport, depth
    /// test and masks are set for that, scissor and stencil test are off.
    void bind() const;
    /// Fills the picture, the depth with the far plane and the stencil buffer with 0, whatever
    /// masks and scissor are set.
    void clear(const Skua::rgba_float_t& color) const;
    /// Waits until all that was drawn is in the picture.
    void finish() const;
    /// Copies the picture: red, green, blue and alpha of each pixel, row 0 at the bottom, without
    /// gaps. `pixels` has room for width * height * 4 bytes.
    void readColors(std::span<std::uint8_t> pixels) const;
    /// Read-back of rectangles; of none when this object has ended. Depths are those of usual depth
    /// buffers, whatever the context has.
    Keel::StrongPtr<PixelBuffer> pixelBuffer() const;

private:
    friend class FramebufferPixels;
    friend class GLLayeredFramebuffer;

    /// A layer of another, which has to outlive it.
    GLFramebuffer(const GLLayeredFramebuffer& whole, int layer);

    /// What the read-back takes: one sample for each pixel, of the colours or of the depths.
    struct Resolved {
        GL::RenderbufferId buffer;
        GL::FramebufferId framebuffer;
    };

    void makeResolved();
    /// The framebuffer with one sample for each pixel, brought up to date.
    unsigned resolvedColors() const;
    unsigned resolvedDepths() const;
    void resolve(const Resolved& target, unsigned buffers) const;
    /// Reads a rectangle within the picture, with rows `rowPixels` apart; format and type in
    /// OpenGL's numbers. Leaves the framebuffers that are bound, and how pixels are packed.
    void read(const ViewportGeometry& rectangle, int rowPixels, unsigned format, unsigned type,
              void* target) const;

    // For pixel buffers: null when this has ended.
    const std::shared_ptr<const GLFramebuffer*> _self =
        std::make_shared<const GLFramebuffer*>(this);
    int _width;
    int _height;
    int _samples;
    GLContext::Depths _depths;
    GL::RenderbufferId _color;
    GL::RenderbufferId _depth;
    GL::FramebufferId _framebuffer;
    Resolved _resolvedColors;         // empty if there is one sample anyway
    mutable Resolved _resolvedDepths; // made when first read: most pictures go without
};

/// Pictures of the views of a frame, for draws to all of them in one pass.
class POLYPIAGL_EXPORT GLLayeredFramebuffer {
public:
    /// Whether the driver can draw so many views in that way. With the context current.
    static bool isPossible(const GLContext& context, GL::Pass pass, int views);

    /// As GLFramebuffer; `pass` is Layers or Extension.
    GLLayeredFramebuffer(GLContext& context, int width, int height, int samples, int views,
                         GL::Pass pass);
    ~GLLayeredFramebuffer();
    GLLayeredFramebuffer(const GLLayeredFramebuffer&) = delete;
    GLLayeredFramebuffer& operator=(const GLLayeredFramebuffer&) = delete;

    /// Draws go to all views from now on, as with GLFramebuffer.
    void bind() const;
    unsigned number() const { return _framebuffer.number(); }
    unsigned numberOfViews() const { return static_cast<unsigned>(_views.size()); }
    GL::Pass pass() const { return _pass; }
    /// The picture of one view; lives as long as this object.
    const GLFramebuffer& view(unsigned index) const { return *_views.at(index); }

private:
    friend class GLFramebuffer;

    int _width;
    int _height;
    int _samples;
    GLContext::Depths _depths;
    GL::Pass _pass;
    GL::TextureId _color;
    GL::TextureId _depth;
    GL::FramebufferId _framebuffer;
    std::vector<std::unique_ptr<GLFramebuffer>> _views;
};

} // namespace Mirk
