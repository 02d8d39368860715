#pragma once
// Puts the places in a compiler's messages into the files that a composed text comes from; stands
// on glslLog's form of messages and RenderBasin.

#include <Polypia/RenderBasin.hpp>
#include <PolypiaGL/export.hpp>

#include <vector>

namespace Mirk {
class RenderException;
}

namespace Mirk::GL {

/// Names files in the log of an exception that a program's compiler raised, which is in the form of
/// mapCompilerLog() and whose file is the name of the stage. "0(n)" becomes "file(m)" where a file
/// tells line n of the stage; other lines stay those of the composed text. What `#line` directives
/// behind includes say is set right: they bear the number of the line that they stand on. Errors go
/// ahead of warnings, and the exception gets file and line of the first message. Does nothing
/// without origins.
POLYPIAGL_EXPORT void nameFiles(RenderException& exception,
                                const std::vector<RenderBasin::TextOrigin>& origins);

} // namespace Mirk::GL
