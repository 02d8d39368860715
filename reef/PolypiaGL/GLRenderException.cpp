#include <PolypiaGL/GLRenderException.hpp>

#include <PolypiaGL/glErrors.hpp>

namespace Mirk {

GLRenderException::GLRenderException(int code, const std::string& words, const char* where,
                                     const char* sourceFile, unsigned sourceLine)
    : RenderException(code, where, sourceFile, sourceLine) {
    description = words;
}

GLRenderException::GLRenderException(const GLRenderException&) noexcept = default;

GLRenderException& GLRenderException::operator=(const GLRenderException&) noexcept = default;

GLRenderException::~GLRenderException() = default;

std::string GLRenderException::GLdescription() const {
    if (glError == 0) return description.str();
    return GL::errorName(static_cast<unsigned>(glError)) + ": " + description.str();
}

} // namespace Mirk
