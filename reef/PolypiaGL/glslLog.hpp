#pragma once
// Turns what drivers say of shader text into one form. Pure text; stands on LineTable.

#include <PolypiaGL/LineTable.hpp>
#include <PolypiaGL/export.hpp>

#include <string>
#include <string_view>

namespace Mirk::GL {

/// Rewrites each message of a compiler's log as "0(n) : error: text", n being a line of the
/// composed text, or "file(n) : error: text"; "error" stands for whatever severity was given.
/// Understands the forms of Mesa, NVIDIA, Mali and glslang, which those of AMD, Intel, Apple,
/// Adreno and ANGLE are like; other lines, messages of the linker among them, pass as they are. The
/// result begins and ends with a line feed, so that every message begins a line wherever the log is
/// pasted. Blank lines at both ends are dropped; an empty log stays empty. `numbering`: of the
/// language that the stage was compiled as.
POLYPIAGL_EXPORT std::string mapCompilerLog(std::string_view log, const LineTable& lines,
                                            LineNumbering numbering);

/// The same for the log of a link: messages without a line begin with `stages`, as "vertex and
/// fragment stage : error: text".
POLYPIAGL_EXPORT std::string mapLinkerLog(std::string_view log, const LineTable& lines,
                                          std::string_view stages);

} // namespace Mirk::GL
