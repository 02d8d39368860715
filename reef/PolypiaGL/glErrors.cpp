#include <PolypiaGL/glErrors.hpp>

#include <PolypiaGL/glHeaders.hpp>

#include <cstdio>

namespace Mirk::GL {
namespace {

std::string hexadecimal(unsigned code) {
    char text[16];
    std::snprintf(text, sizeof text, "0x%x", code);
    return text;
}

} // namespace

std::string errorName(unsigned code) {
    switch (code) {
    case GL_NO_ERROR:
        return "GL_NO_ERROR";
    case GL_INVALID_ENUM:
        return "GL_INVALID_ENUM";
    case GL_INVALID_VALUE:
        return "GL_INVALID_VALUE";
    case GL_INVALID_OPERATION:
        return "GL_INVALID_OPERATION";
    case GL_STACK_OVERFLOW:
        return "GL_STACK_OVERFLOW";
    case GL_STACK_UNDERFLOW:
        return "GL_STACK_UNDERFLOW";
    case GL_OUT_OF_MEMORY:
        return "GL_OUT_OF_MEMORY";
    case GL_INVALID_FRAMEBUFFER_OPERATION:
        return "GL_INVALID_FRAMEBUFFER_OPERATION";
    case GL_CONTEXT_LOST:
        return "GL_CONTEXT_LOST";
    case GL_TABLE_TOO_LARGE:
        return "GL_TABLE_TOO_LARGE";
    default:
        return "unknown OpenGL error " + hexadecimal(code);
    }
}

std::string Error::text() const {
    return call + ": " + errorName(code) + " (" + hexadecimal(code) + ")";
}

std::vector<Error> drainErrors(std::string_view call) {
    constexpr std::size_t most = 64;
    std::vector<Error> errors;
    while (errors.size() < most) {
        const GLenum code = glGetError();
        if (code == GL_NO_ERROR) break;
        errors.push_back({code, std::string(call)});
    }
    return errors;
}

} // namespace Mirk::GL
