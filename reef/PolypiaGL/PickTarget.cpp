#include <PolypiaGL/PickTarget.hpp>

#include <PolypiaGL/GLRenderException.hpp>
#include <PolypiaGL/depthBuffers.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <PolypiaGL/glHeaders.hpp>
#include <PolypiaGL/glMachine.hpp>
#include <PolypiaGL/glSavedState.hpp>
#include <PolypiaGL/viewAttachment.hpp>

#include <string>
#include <utility>

namespace Mirk::GL {

namespace {

constexpr int mark = 1;

// One triangle over everything.
constexpr const char* vertexText = R"(#version 330 core
void main() {
    vec2 corner = vec2(gl_VertexID == 1 ? 3.0 : -1.0, gl_VertexID == 2 ? 3.0 : -1.0);
    gl_Position = vec4(corner, 0.0, 1.0);
}
)";
constexpr const char* fragmentText = R"(#version 330 core
uniform uint Number;
out uint Pixel;
void main() {
    Pixel = Number;
}
)";

/// Has all that is drawn written, wherever it is.
void allowWriting() {
    glDisable(GL_SCISSOR_TEST);
    glColorMask(GL_TRUE, GL_TRUE, GL_TRUE, GL_TRUE);
    glDepthMask(GL_TRUE);
    glStencilMask(0xFF);
}

[[noreturn]] void fail(const std::string& reason) {
    throw GLRenderException(GL_INVALID_OPERATION, reason, "PickTarget::PickTarget", __FILE__,
                            __LINE__);
}

ProgramId numberProgram() {
    ProgramId program = createProgram();
    for (const auto& [type, text] :
         {std::pair(GL_VERTEX_SHADER, vertexText), std::pair(GL_FRAGMENT_SHADER, fragmentText)}) {
        const ShaderId shader = createShader(type);
        glShaderSource(shader.number(), 1, &text, nullptr);
        glCompileShader(shader.number());
        glAttachShader(program.number(), shader.number());
    }
    glLinkProgram(program.number());
    GLint isLinked = GL_FALSE;
    glGetProgramiv(program.number(), GL_LINK_STATUS, &isLinked);
    if (isLinked == GL_FALSE) fail("the driver refuses the program that writes numbers");
    return program;
}

void checkComplete(const FramebufferId& id) {
    const GLenum status = glCheckNamedFramebufferStatus(id.number(), GL_FRAMEBUFFER);
    if (!drainErrors("glNamedRenderbufferStorage").empty() || status != GL_FRAMEBUFFER_COMPLETE) {
        fail("the driver refuses a framebuffer for picking");
    }
}

/// With the first layer of the depths, and with numbers unless that is 0.
FramebufferId framebuffer(const TextureId& depths, unsigned numbers) {
    FramebufferId id = createFramebuffer();
    glNamedFramebufferTextureLayer(id.number(), GL_DEPTH_STENCIL_ATTACHMENT, depths.number(), 0, 0);
    glNamedFramebufferRenderbuffer(id.number(), GL_COLOR_ATTACHMENT0, GL_RENDERBUFFER, numbers);
    if (numbers == 0) glNamedFramebufferDrawBuffer(id.number(), GL_NONE);
    checkComplete(id);
    return id;
}

} // namespace

PickTarget::PickTarget(Machine& machine, int x, int y, int width, int height, int pictureWidth,
                       int pictureHeight, int views)
    : _machine(machine),
      _x(x),
      _y(y),
      _width(width),
      _height(height),
      _pictureWidth(pictureWidth),
      _pictureHeight(pictureHeight) {
    // What is pending is nobody's fault who is picked.
    _machine.setErrorsAside("ahead of a pick");
    _numbers = createRenderbuffer();
    glNamedRenderbufferStorage(_numbers.number(), GL_R32UI, width, height);
    _depths = createTexture(GL_TEXTURE_2D_ARRAY);
    glTextureStorage3D(_depths.number(), 1, depthFormat(_machine.context.depths()), width, height,
                       views);
    _objectsFramebuffer = framebuffer(_depths, 0);
    _numbersFramebuffer = framebuffer(_depths, _numbers.number());
    if (views > 1) {
        _viewsFramebuffer = createFramebuffer();
        attachViews(machine.context, _viewsFramebuffer, GL_DEPTH_STENCIL_ATTACHMENT, _depths,
                    views);
        glNamedFramebufferDrawBuffer(_viewsFramebuffer.number(), GL_NONE);
        checkComplete(_viewsFramebuffer);
    }
    _program = numberProgram();
    allowWriting();
    const GLuint background = 0;
    glClearNamedFramebufferuiv(_numbersFramebuffer.number(), GL_COLOR, 0, &background);
    glClearNamedFramebufferfi(_numbersFramebuffer.number(), GL_DEPTH_STENCIL, 0,
                              farPlane(_machine.context.depths()), 0);
}

PickTarget::~PickTarget() = default;

void PickTarget::bindAll() const {
    glBindFramebuffer(GL_FRAMEBUFFER, _viewsFramebuffer.number());
}

void PickTarget::bindView() const {
    glBindFramebuffer(GL_FRAMEBUFFER, _objectsFramebuffer.number());
}

bool PickTarget::is(unsigned framebuffer) const {
    return framebuffer == _objectsFramebuffer.number() ||
           (_viewsFramebuffer && framebuffer == _viewsFramebuffer.number());
}

void PickTarget::bind() const {
    glBindFramebuffer(GL_FRAMEBUFFER, _objectsFramebuffer.number());
    glViewport(-_x, -_y, _pictureWidth, _pictureHeight);
    allowWriting();
    glEnable(GL_DEPTH_TEST);
    glDepthFunc(nearestOrLast(_machine.context.depths()));
    glEnable(GL_STENCIL_TEST);
    glStencilFunc(GL_ALWAYS, mark, 0xFF);
    glStencilOp(GL_KEEP, GL_KEEP, GL_REPLACE);
}

void PickTarget::assign(std::uint32_t number) const {
    glBindFramebuffer(GL_FRAMEBUFFER, _numbersFramebuffer.number());
    glViewport(0, 0, _width, _height);
    allowWriting();
    glDisable(GL_DEPTH_TEST);
    glEnable(GL_STENCIL_TEST);
    glStencilFunc(GL_EQUAL, mark, 0xFF);
    glStencilOp(GL_KEEP, GL_KEEP, GL_ZERO);
    const DrawState::Scope scope(_machine.drawState);
    _machine.drawState.useProgram(_program.number());
    _machine.drawState.setSwitches({});
    glProgramUniform1ui(_program.number(), glGetUniformLocation(_program.number(), "Number"),
                        number);
    // That of the machine, as one that ends with this would leave its number there.
    _machine.drawState.bindVertexArray();
    _machine.drawState.limitVertices(0);
    glDrawArrays(GL_TRIANGLES, 0, 3);
    _machine.check("PickTarget::assign");
    bind();
}

std::vector<std::uint32_t> PickTarget::read() const {
    std::vector<std::uint32_t> numbers(static_cast<std::size_t>(_width) *
                                       static_cast<std::size_t>(_height));
    glBindFramebuffer(GL_READ_FRAMEBUFFER, _numbersFramebuffer.number());
    const PixelPacking packing;
    glReadPixels(0, 0, _width, _height, GL_RED_INTEGER, GL_UNSIGNED_INT, numbers.data());
    _machine.check("glReadPixels");
    return numbers;
}

float PickTarget::readDepth() const {
    float depth = 0.0F;
    glBindFramebuffer(GL_READ_FRAMEBUFFER, _objectsFramebuffer.number());
    const PixelPacking packing;
    glReadPixels(0, 0, 1, 1, GL_DEPTH_COMPONENT, GL_FLOAT, &depth);
    _machine.check("glReadPixels");
    return depth;
}

} // namespace Mirk::GL
