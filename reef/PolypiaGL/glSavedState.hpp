#pragma once
// What a pick, or reading pixels, changes in OpenGL, kept for its length; internal to the backend,
// stands on libOpenGL.

#include <PolypiaGL/glHeaders.hpp>

#include <array>

namespace Mirk::GL {

/// Puts framebuffers, viewport, tests with their functions, masks and what flags enable back to
/// what they were when it was made. For what happens rarely, as it asks OpenGL for each of them.
/// With the context current at both ends.
class SavedState {
public:
    SavedState();
    ~SavedState();
    SavedState(const SavedState&) = delete;
    SavedState& operator=(const SavedState&) = delete;

    /// Disables all that flags and blending enable for the length of a wave.
    static void disableFlags();

private:
    /// Of triangles that show their front or their back.
    struct Stencil {
        explicit Stencil(bool isFront);
        void restore() const;

        GLenum face;
        GLint function = 0, reference = 0, mask = 0;
        GLint failed = 0, depthFailed = 0, passed = 0;
        GLint writes = 0;
    };

    static constexpr std::array<GLenum, 11> capabilities{
        GL_BLEND,
        GL_CULL_FACE,
        GL_DEPTH_CLAMP,
        GL_DEPTH_TEST,
        GL_LINE_SMOOTH,
        GL_MULTISAMPLE,
        GL_POLYGON_OFFSET_FILL,
        GL_POLYGON_OFFSET_LINE,
        GL_SAMPLE_ALPHA_TO_COVERAGE,
        GL_SCISSOR_TEST,
        GL_STENCIL_TEST,
    };

    std::array<bool, capabilities.size()> _areEnabled{};
    GLint _drawFramebuffer = 0, _readFramebuffer = 0;
    std::array<GLint, 4> _viewport{};
    std::array<GLint, 4> _scissor{};
    GLint _depthFunction = 0;
    GLboolean _depthMask = GL_TRUE;
    std::array<GLboolean, 4> _colorMask{};
    const Stencil _front, _back;
};

/// Has pixels read into memory, whatever the caller has set for that, which holds again at the end.
/// With the context current at both ends.
class PixelPacking {
public:
    /// Rows lie `rowPixels` apart; 0 means without gaps.
    explicit PixelPacking(int rowPixels = 0);
    ~PixelPacking();
    PixelPacking(const PixelPacking&) = delete;
    PixelPacking& operator=(const PixelPacking&) = delete;

private:
    static constexpr std::array<GLenum, 8> keys{
        GL_PACK_SWAP_BYTES, GL_PACK_LSB_FIRST,   GL_PACK_ROW_LENGTH,  GL_PACK_IMAGE_HEIGHT,
        GL_PACK_SKIP_ROWS,  GL_PACK_SKIP_PIXELS, GL_PACK_SKIP_IMAGES, GL_PACK_ALIGNMENT,
    };

    std::array<GLint, keys.size()> _values{};
    GLint _buffer = 0;
};

} // namespace Mirk::GL
