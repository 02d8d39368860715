#pragma once
// Puts the places in a compiler's messages into the files that a composed text comes from; stands
// on glslLog's form of messages and RenderBasin.

#include <Polypia/RenderBasin.hpp>
#include <PolypiaGL/export.hpp>

#include <string>
#include <vector>

namespace Mirk {
class RenderException;
}

namespace Mirk::GL {

/// Tells the files in the log of an exception that a program's compiler raised, which is in the
/// form of mapCompilerLog() and whose file is the name of the stage. Errors go ahead of warnings,
/// and of what compilers say before either, and the exception gets file and line of the first one:
/// a line of that file begins with "0(m)", of which reports make a link to it, and one of another
/// with "file(m)". What is not in a file is a line of the file "composed STAGE". What `#line`
/// directives behind includes say is set right: they bear the number of the line that they stand
/// on. Does nothing without origins.
POLYPIAGL_EXPORT void nameFiles(RenderException& exception,
                                const std::vector<RenderBasin::TextOrigin>& origins);

/// The log of an exception for those who don't see its file: each line "0(m)" as "file(m)".
POLYPIAGL_EXPORT std::string logWithNames(const RenderException& exception);

} // namespace Mirk::GL
