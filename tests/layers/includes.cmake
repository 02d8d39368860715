# Checks which library includes which, for the sources below -D source=FOLDER. `cmake -P` runs it.
#
#   keel <- rookery <- sorrel <- fennel <- Polypia <- PolypiaGL, Displays, Writers <- shell
#   keel, rookery <- Readers <- Displays, shell
#
# The include folders of the build enforce the same for each target; this check also finds an
# include that came in with an arrow too many in a CMakeLists.txt. A source includes its own header
# first, which shows that the header can stand alone.

cmake_minimum_required(VERSION 3.25)

set(foundation keel rookery sorrel fennel)
set(may_include_keel)
set(may_include_rookery keel)
set(may_include_sorrel keel rookery)
set(may_include_fennel keel rookery sorrel)
set(may_include_Polypia ${foundation})
set(may_include_PolypiaGL ${foundation} Polypia)
set(may_include_Writers ${foundation} Polypia)
set(may_include_Readers keel rookery)
set(may_include_Displays ${foundation} Polypia Readers)
set(may_include_shell ${foundation} Polypia PolypiaGL Displays Writers Readers)
set(libraries ${foundation} Polypia PolypiaGL Displays Readers Writers shell)

set(violations "")
file(GLOB_RECURSE files RELATIVE ${source}
  ${source}/foundation/*.?pp ${source}/reef/*.?pp ${source}/shell/*.?pp)
foreach(file IN LISTS files)
  string(REGEX REPLACE "^((foundation|reef)/)?([^/]+)/.*" "\\3" library "${file}")
  if(NOT library IN_LIST libraries)
    string(APPEND violations "  ${file}: expected one of the libraries ${libraries}\n")
    continue()
  endif()
  file(STRINGS ${source}/${file} lines REGEX "^[ \t]*#[ \t]*include")
  string(REGEX REPLACE "\\.cpp$" ".hpp" header "${file}")
  if(NOT header STREQUAL file AND EXISTS ${source}/${header})
    cmake_path(GET header FILENAME own)
    list(GET lines 0 first)
    if(NOT first MATCHES "[</]${own}>")
      string(APPEND violations "  ${file}: expected <${library}/${own}> first, got ${first}\n")
    endif()
  endif()
  foreach(line IN LISTS lines)
    if(line MATCHES "include[ \t]*\"")
      string(APPEND violations "  ${file}: expected <library/Header.hpp>, got ${line}\n")
    elseif(line MATCHES "<([A-Za-z]+)/[^>]*>" AND CMAKE_MATCH_1 IN_LIST libraries
           AND NOT CMAKE_MATCH_1 STREQUAL library
           AND NOT CMAKE_MATCH_1 IN_LIST may_include_${library})
      string(APPEND violations "  ${file}: ${library} must not include ${line}\n")
    elseif(library STREQUAL "Polypia" AND line MATCHES "<(GL|GLES[0-9]*|EGL|KHR|vulkan|X11)/")
      string(APPEND violations "  ${file}: the library knows no graphics interface, got ${line}\n")
    endif()
  endforeach()
endforeach()

if(violations)
  message(FATAL_ERROR "Includes against the order of the layers:\n${violations}")
endif()
list(LENGTH files count)
if(count EQUAL 0)
  message(FATAL_ERROR "no sources below '${source}'")
endif()
message(STATUS "${count} files keep the order of the layers")
