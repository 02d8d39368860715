# Writes the text of INPUT into the C++ header OUTPUT; see PolypiaShaders.cmake.
file(READ ${INPUT} text)
get_filename_component(name ${INPUT} NAME)
string(REGEX REPLACE "\\.glsl$" "" name ${name})
string(MAKE_C_IDENTIFIER ${name} name)
file(WRITE ${OUTPUT} "#pragma once
#include <string_view>
namespace glsl {
inline constexpr std::string_view ${name} = R\"GLSL(${text})GLSL\";
}
")
