# Checks that the library of -D library=FILE links no graphics library. `cmake -P` runs it.

cmake_minimum_required(VERSION 3.25)

find_program(readelf NAMES readelf REQUIRED)
execute_process(COMMAND ${readelf} --dynamic --wide ${library}
  OUTPUT_VARIABLE dynamic COMMAND_ERROR_IS_FATAL ANY)
string(REGEX MATCHALL "Shared library: \\[[^]]*\\]" needed "${dynamic}")
list(TRANSFORM needed REPLACE "Shared library: \\[(.*)\\]" "\\1")
message(STATUS "${library} needs ${needed}")

list(FILTER needed INCLUDE REGEX "^lib(GL|EGL|OpenGL|GLES|vulkan|X11|wayland|Polypia-PolypiaGL)")
if(needed)
  message(FATAL_ERROR "${library} must need no graphics library, but needs ${needed}")
endif()
