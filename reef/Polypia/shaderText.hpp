#pragma once
// Pieces of text that blocks of GLSL have in common; stands on nothing.

#include <string>
#include <string_view>

namespace Mirk {

/// The head of a block of GLSL: where compilers can name files and somebody has switched that on,
/// errors are told in lines of the source that the block comes from. `line` is the number of the
/// first line behind the marker.
std::string lineMarker(int line, std::string_view source);

} // namespace Mirk
