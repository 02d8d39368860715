#pragma once
// A failure of the OpenGL backend; stands on RenderException.

#include <Polypia/RenderException.hpp>
#include <PolypiaGL/export.hpp>

#include <string>

namespace Mirk {

/// A RenderException whose `glError` is an OpenGL error code, which GLdescription() puts in words.
class POLYPIAGL_EXPORT GLRenderException : public RenderException {
public:
    GLRenderException(int glError, const std::string& words, const char* function, const char* file,
                      unsigned line);
    GLRenderException(const GLRenderException&) noexcept;
    GLRenderException& operator=(const GLRenderException&) noexcept;
    ~GLRenderException() override;

    /// Name of the code, and the words of the exception.
    std::string GLdescription() const override;
};

} // namespace Mirk
