#pragma once
// Names and draining of OpenGL errors; stands on libOpenGL.

#include <PolypiaGL/export.hpp>

#include <string>
#include <string_view>
#include <vector>

namespace Mirk::GL {

/// The constant's name, as "GL_INVALID_ENUM"; of others "unknown OpenGL error 0x...".
POLYPIAGL_EXPORT std::string errorName(unsigned code);

struct Error {
    unsigned code = 0;
    std::string call; ///< what had been called

    /// "glTextureStorage2D: GL_INVALID_VALUE (0x501)"
    POLYPIAGL_EXPORT std::string text() const;
};

/// Takes all errors that the current context holds, oldest first; `call` names what came before.
/// Ends after 64, as a lost context may report without end.
POLYPIAGL_EXPORT std::vector<Error> drainErrors(std::string_view call);

} // namespace Mirk::GL
