#include <PolypiaGL/viewAttachment.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/glHeaders.hpp>

namespace Mirk::GL {

void attachViews(const GLContext& context, const FramebufferId& framebuffer, unsigned attachment,
                 const TextureId& texture, int views) {
    using Attach = void (*)(GLuint, GLenum, GLuint, GLint, GLint, GLsizei);
    constexpr const char* name = "glNamedFramebufferTextureMultiviewOVR";
    const auto attach = reinterpret_cast<Attach>(context.function(name));
    if (attach == nullptr) {
        throw GLRenderException(GL_INVALID_OPERATION, std::string("the driver lacks ") + name,
                                "attachViews", __FILE__, __LINE__);
    }
    attach(framebuffer.number(), attachment, texture.number(), 0, 0, views);
}

} // namespace Mirk::GL
