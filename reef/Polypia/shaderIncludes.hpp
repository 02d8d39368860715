#pragma once
// Rules for shader text that comes from files: includes and raw strings; stands on keel's files.

#include <Polypia/export.hpp>

#include <keel/File.hpp>

#include <cstddef>
#include <list>
#include <map>
#include <string>
#include <string_view>

namespace Mirk {

/// Programmable::processIncludes. Enters the files that were included into `files`, with the times
/// that they had ahead of reading, unless that is null; with Filetime() those that would have been,
/// had they been there.
POLYPIA_EXPORT std::string expandIncludes(std::string_view code, const std::string& filename,
                                          const std::list<std::string>& searchPath,
                                          std::map<std::string, Keel::Filetime>* files);

/// What stands between the brackets of a raw string, and in which line of the text that begins,
/// counted from 0.
struct RawString {
    std::string_view body;
    std::size_t line = 0;
};

/// Of a text that begins as `R"DELIMITER(`, the part up to the first `)DELIMITER"`, so that a
/// source file with a shader in it can be that shader. Any other text, also one without the end,
/// comes back as it is.
POLYPIA_EXPORT RawString rawStringBody(std::string_view text);

/// As GLSL counts them, and so the messages of its compilers: by line feeds, carriage returns, and
/// pairs of these two in either order. The lines of includes end at line feeds alone.
std::size_t numberOfLineEnds(std::string_view text);

} // namespace Mirk
