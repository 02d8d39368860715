#pragma once
// The buffer in which it is found out whose each pixel is. Internal to the backend; stands on
// GLContext and ObjectId.

#include <PolypiaGL/GLContext.hpp>
#include <PolypiaGL/ObjectId.hpp>
#include <PolypiaGL/export.hpp>

#include <cstdint>
#include <vector>

namespace Mirk::GL {

class Machine;

/// A rectangle of a picture, with one number for each pixel, 0 at first. Objects are drawn one by
/// one by programs of any kind, which know nothing of this; what they leave in front of all else,
/// after depth test and discard, gets the number of the object. For that each object marks its
/// pixels in the stencil buffer, and a triangle over everything writes the number where there is a
/// mark. With the context current, like all that is here.
class POLYPIAGL_EXPORT PickTarget {
public:
    /// `x` and `y` are where the rectangle lies in a picture of pictureWidth by pictureHeight
    /// pixels, all of it within that. With several views programs draw all of them by
    /// GL_OVR_multiview2, of which the first one counts. Throws a GLRenderException if the driver
    /// refuses.
    PickTarget(Machine& machine, int x, int y, int width, int height, int pictureWidth,
               int pictureHeight, int views);
    ~PickTarget();
    PickTarget(const PickTarget&) = delete;
    PickTarget& operator=(const PickTarget&) = delete;

    /// Draws go here from now on, as if to the whole picture.
    void bind() const;
    /// Changes nothing but the framebuffer, to that of several views or back.
    void bindAll() const;
    void bindView() const;
    bool hasSeveralViews() const { return bool(_viewsFramebuffer); }
    /// Whether that is OpenGL's name of a framebuffer of this.
    bool is(unsigned framebuffer) const;
    /// What was drawn since the last call is of the object with that number, if it is in front.
    void assign(std::uint32_t number) const;
    /// The numbers, row by row from the bottom.
    std::vector<std::uint32_t> read() const;
    /// What the depth buffer holds at the first pixel of the first view.
    float readDepth() const;

private:
    Machine& _machine;
    const int _x;
    const int _y;
    const int _width;
    const int _height;
    const int _pictureWidth;
    const int _pictureHeight;
    RenderbufferId _numbers;
    TextureId _depths;                 // with stencil; a layer for each view
    FramebufferId _objectsFramebuffer; // depth and stencil only
    FramebufferId _viewsFramebuffer;   // the same of all views; empty if there is one
    FramebufferId _numbersFramebuffer;
    ProgramId _program;
};

} // namespace Mirk::GL
