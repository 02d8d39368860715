# Plants faults in a small tree of sources, each of which includes.cmake must find.

cmake_minimum_required(VERSION 3.25)

function(expect_finding file line words)
  file(REMOVE_RECURSE ${folder})
  file(WRITE ${folder}/foundation/keel/Clean.hpp "#include <keel/Other.hpp>\n#include <vector>\n")
  file(WRITE ${folder}/${file} "#pragma once\n${line}\n")
  execute_process(COMMAND ${CMAKE_COMMAND} -D source=${folder} -P ${CMAKE_CURRENT_LIST_DIR}/includes.cmake
    RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE message)
  string(REGEX REPLACE "[ \n]+" " " message "${message}") # CMake breaks long lines
  string(FIND "${message}" "${file}: ${words}" place)
  if(result EQUAL 0 OR place EQUAL -1)
    message(SEND_ERROR "expected '${file}: ${words}', got '${message}'")
  endif()
endfunction()

function(expect_clean file line)
  file(REMOVE_RECURSE ${folder})
  file(WRITE ${folder}/${file} "#pragma once\n${line}\n")
  execute_process(COMMAND ${CMAKE_COMMAND} -D source=${folder} -P ${CMAKE_CURRENT_LIST_DIR}/includes.cmake
    RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE message)
  if(NOT result EQUAL 0)
    message(SEND_ERROR "expected that ${line} may stand in ${file}, got '${message}'")
  endif()
endfunction()

expect_finding(foundation/keel/A.hpp "#include <rookery/Box.hpp>" "keel must not include")
expect_finding(foundation/sorrel/A.cpp "#include <Polypia/Polyp.hpp>" "sorrel must not include")
expect_finding(reef/Readers/A.cpp "#  include <Polypia/Polyp.hpp>" "Readers must not include")
expect_finding(reef/Displays/A.cpp "#include <PolypiaGL/Context.hpp>" "Displays must not include")
expect_finding(reef/Polypia/A.cpp "#include <GL/gl.h>" "the library knows no graphics interface")
expect_finding(reef/Polypia/A.hpp "#include \"Polyp.hpp\"" "expected <library/Header.hpp>")
expect_finding(foundation/keel/Clean.cpp "#include <vector>" "expected <keel/Clean.hpp> first")
expect_finding(reef/Stray/A.hpp "" "expected one of the libraries")

expect_clean(foundation/rookery/A.hpp "#include <keel/export.hpp>")
expect_clean(reef/PolypiaGL/A.cpp "#include <Polypia/Polyp.hpp>\n#include <EGL/egl.h>")
expect_clean(reef/Displays/A.cpp "#include <Readers/Coast.hpp>")
expect_clean(foundation/rookery/A.cpp "#include <keel/export.hpp>")
expect_clean(shell/main.cpp "#include <Writers/PngWriter.hpp>\n#include <zlib.h>")
