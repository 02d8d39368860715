#include <PolypiaGL/glSavedState.hpp>

namespace Mirk::GL {

namespace {

void setEnabled(GLenum capability, bool isEnabled) {
    if (isEnabled) {
        glEnable(capability);
    } else {
        glDisable(capability);
    }
}

} // namespace

SavedState::Stencil::Stencil(bool isFront) : face(isFront ? GL_FRONT : GL_BACK) {
    glGetIntegerv(isFront ? GL_STENCIL_FUNC : GL_STENCIL_BACK_FUNC, &function);
    glGetIntegerv(isFront ? GL_STENCIL_REF : GL_STENCIL_BACK_REF, &reference);
    glGetIntegerv(isFront ? GL_STENCIL_VALUE_MASK : GL_STENCIL_BACK_VALUE_MASK, &mask);
    glGetIntegerv(isFront ? GL_STENCIL_FAIL : GL_STENCIL_BACK_FAIL, &failed);
    glGetIntegerv(isFront ? GL_STENCIL_PASS_DEPTH_FAIL : GL_STENCIL_BACK_PASS_DEPTH_FAIL,
                  &depthFailed);
    glGetIntegerv(isFront ? GL_STENCIL_PASS_DEPTH_PASS : GL_STENCIL_BACK_PASS_DEPTH_PASS, &passed);
    glGetIntegerv(isFront ? GL_STENCIL_WRITEMASK : GL_STENCIL_BACK_WRITEMASK, &writes);
}

void SavedState::Stencil::restore() const {
    glStencilFuncSeparate(face, static_cast<GLenum>(function), reference,
                          static_cast<GLuint>(mask));
    glStencilOpSeparate(face, static_cast<GLenum>(failed), static_cast<GLenum>(depthFailed),
                        static_cast<GLenum>(passed));
    glStencilMaskSeparate(face, static_cast<GLuint>(writes));
}

SavedState::SavedState() : _front(true), _back(false) {
    for (std::size_t i = 0; i < capabilities.size(); ++i) {
        _areEnabled[i] = glIsEnabled(capabilities[i]) == GL_TRUE;
    }
    glGetIntegerv(GL_DRAW_FRAMEBUFFER_BINDING, &_drawFramebuffer);
    glGetIntegerv(GL_READ_FRAMEBUFFER_BINDING, &_readFramebuffer);
    glGetIntegerv(GL_VIEWPORT, _viewport.data());
    glGetIntegerv(GL_SCISSOR_BOX, _scissor.data());
    glGetIntegerv(GL_DEPTH_FUNC, &_depthFunction);
    glGetBooleanv(GL_DEPTH_WRITEMASK, &_depthMask);
    glGetBooleanv(GL_COLOR_WRITEMASK, _colorMask.data());
}

SavedState::~SavedState() {
    for (std::size_t i = 0; i < capabilities.size(); ++i) {
        setEnabled(capabilities[i], _areEnabled[i]);
    }
    glBindFramebuffer(GL_DRAW_FRAMEBUFFER, static_cast<GLuint>(_drawFramebuffer));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, static_cast<GLuint>(_readFramebuffer));
    glViewport(_viewport[0], _viewport[1], _viewport[2], _viewport[3]);
    glScissor(_scissor[0], _scissor[1], _scissor[2], _scissor[3]);
    glDepthFunc(static_cast<GLenum>(_depthFunction));
    glDepthMask(_depthMask);
    glColorMask(_colorMask[0], _colorMask[1], _colorMask[2], _colorMask[3]);
    _front.restore();
    _back.restore();
}

void SavedState::disableFlags() {
    for (const GLenum capability : capabilities) glDisable(capability);
}

PixelPacking::PixelPacking(int rowPixels) {
    for (std::size_t i = 0; i < keys.size(); ++i) {
        glGetIntegerv(keys[i], &_values[i]);
        glPixelStorei(keys[i], keys[i] == GL_PACK_ROW_LENGTH  ? rowPixels
                               : keys[i] == GL_PACK_ALIGNMENT ? 1
                                                              : 0);
    }
    glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &_buffer);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, 0);
}

PixelPacking::~PixelPacking() {
    for (std::size_t i = 0; i < keys.size(); ++i) glPixelStorei(keys[i], _values[i]);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, static_cast<GLuint>(_buffer));
}

} // namespace Mirk::GL
