# Helpers that give every library, test and benchmark of the project the same settings.

# An interface target with the language level, the warnings and the sanitizers of the project.
# It is linked privately, so that users of the installed libraries do not inherit it.
function(_polypia_settings target)
  target_compile_features(${target} PUBLIC cxx_std_20)
  set_target_properties(${target} PROPERTIES CXX_EXTENSIONS OFF)
  target_compile_options(${target} PRIVATE
    -Wall -Wextra -Wpedantic -Wshadow -Wconversion -Wnon-virtual-dtor -Wfloat-conversion
    # Part of -Wconversion in Clang, not in GCC: what one compiler builds, the other does as well.
    -Wno-sign-conversion)
  if(POLYPIA_WERROR)
    target_compile_options(${target} PRIVATE -Werror)
  endif()
  if(POLYPIA_SANITIZE)
    target_compile_options(${target} PRIVATE
      -fsanitize=${POLYPIA_SANITIZE} -fno-sanitize-recover=all -fno-omit-frame-pointer)
    target_link_options(${target} PRIVATE -fsanitize=${POLYPIA_SANITIZE})
    get_target_property(type ${target} TYPE)
    if(POLYPIA_SANITIZE MATCHES address AND type STREQUAL EXECUTABLE)
      target_sources(${target} PRIVATE ${PROJECT_SOURCE_DIR}/cmake/sanitizers/keepLibraries.cpp)
    endif()
  endif()
endfunction()

# Compiles each public header alone, with the include paths of a user. The first include of a.cpp
# is a.hpp, which shows the same: only the headers without a source need it.
function(_polypia_compile_headers name sources headers)
  foreach(header IN LISTS headers)
    string(REGEX REPLACE "hpp$" "cpp" source ${header})
    if(NOT source IN_LIST sources)
      set(alone ${CMAKE_CURRENT_BINARY_DIR}/headers/${source})
      file(CONFIGURE OUTPUT ${alone} CONTENT "#include <${name}/${header}>\n" @ONLY)
      list(APPEND alones ${alone})
    endif()
  endforeach()
  add_library(${name}_headers OBJECT ${alones})
  _polypia_settings(${name}_headers)
  target_link_libraries(${name}_headers PRIVATE ${name})
endfunction()

# polypia_add_library(NAME SOURCES a.cpp ... HEADERS a.hpp ... [PRIVATE_HEADERS b.hpp ...]
#                     [PUBLIC targets ...] [PRIVATE targets ...])
#
# A shared library Polypia::NAME from the current folder, whose headers are included as
# <NAME/a.hpp>. Each library gets an include folder of its own, which holds nothing but a link
# to its sources: a target that includes what it does not link against fails to build.
function(polypia_add_library name)
  cmake_parse_arguments(arg "" "" "SOURCES;HEADERS;PRIVATE_HEADERS;PUBLIC;PRIVATE" ${ARGN})
  set(include_dir ${PROJECT_BINARY_DIR}/include/${name})
  file(MAKE_DIRECTORY ${include_dir})
  file(CREATE_LINK ${CMAKE_CURRENT_SOURCE_DIR} ${include_dir}/${name} SYMBOLIC)

  add_library(${name} SHARED ${arg_SOURCES} ${arg_HEADERS} ${arg_PRIVATE_HEADERS})
  add_library(Polypia::${name} ALIAS ${name})
  _polypia_settings(${name})
  set_target_properties(${name} PROPERTIES
    CXX_VISIBILITY_PRESET hidden
    VISIBILITY_INLINES_HIDDEN ON
    VERSION ${PROJECT_VERSION}
    SOVERSION ${PROJECT_VERSION_MAJOR}
    OUTPUT_NAME $<IF:$<STREQUAL:${name},Polypia>,Polypia,Polypia-${name}>
    POLYPIA_HEADERS "${arg_HEADERS}")
  target_link_options(${name} PRIVATE -Wl,--as-needed)
  # Clang puts its sanitizers into the program alone, where the libraries find them when it runs.
  if(NOT (POLYPIA_SANITIZE AND CMAKE_CXX_COMPILER_ID STREQUAL "Clang"))
    target_link_options(${name} PRIVATE -Wl,--no-undefined)
  endif()
  target_include_directories(${name} PUBLIC
    $<BUILD_INTERFACE:${include_dir}>
    $<INSTALL_INTERFACE:${CMAKE_INSTALL_INCLUDEDIR}>)
  target_link_libraries(${name} PUBLIC ${arg_PUBLIC} PRIVATE ${arg_PRIVATE})

  # A compiler's verdict, the same with and without a sanitizer.
  if(POLYPIA_BUILD_TESTS AND NOT POLYPIA_SANITIZE)
    _polypia_compile_headers(${name} "${arg_SOURCES}" "${arg_HEADERS}")
  endif()

  install(TARGETS ${name} EXPORT PolypiaTargets)
  install(FILES ${arg_HEADERS} DESTINATION ${CMAKE_INSTALL_INCLUDEDIR}/${name})
endfunction()

# What nearly all tests include, compiled once for all of them: that is a quarter of their time.
function(_polypia_add_test_headers)
  add_library(test_headers OBJECT EXCLUDE_FROM_ALL
    ${PROJECT_SOURCE_DIR}/cmake/testHeaders.cpp)
  _polypia_settings(test_headers)
  _polypia_test_settings(test_headers)
  target_link_libraries(test_headers PRIVATE GTest::gmock)
  target_precompile_headers(test_headers PRIVATE <gmock/gmock.h>)
endfunction()

function(_polypia_test_settings target)
  # What matters is the speed of the libraries; an optimiser takes up to a minute for a large test.
  target_compile_options(${target} PRIVATE -O0)
  if(POLYPIA_SANITIZE MATCHES undefined)
    # Checks before each access, which the address sanitizer makes as well: a third of the time.
    target_compile_options(${target} PRIVATE -fno-sanitize=null,alignment,object-size)
  endif()
  if(CMAKE_CXX_COMPILER_ID STREQUAL "GNU")
    # Those who read the files of dependencies, as ccache does, see the headers, too, that are
    # compiled once.
    target_compile_options(${target} PRIVATE -fpch-deps)
  endif()
endfunction()

# polypia_add_tests(NAME LABEL tier SOURCES a.test.cpp ... LIBRARIES targets ...
#                   [SERIAL_SOURCES b.test.cpp ...] [ENVIRONMENT NAME=value ...] [NO_NEW_THREADS]
#                   [COMMON_HEADER c.hpp])
#
# One test program for a folder of tests. Its cases are found when the tests are run, and run in a
# process each; with a sanitizer they share one, as starting it takes longer than most cases.
# LABEL is the tier: unit (no graphics context), gl (needs one), image (compares pictures).
# NO_NEW_THREADS tells that there are no threads in it, or none but those of other tests: it is left
# out with the thread sanitizer, with which it would take minutes. SERIAL_SOURCES are those of which
# that is true, beside others. COMMON_HEADER is what nearly all of the sources include: a fifth of
# their time.
function(polypia_add_tests name)
  cmake_parse_arguments(arg "NO_NEW_THREADS" "LABEL;COMMON_HEADER"
    "SOURCES;SERIAL_SOURCES;LIBRARIES;ENVIRONMENT" ${ARGN})
  if(NOT POLYPIA_SANITIZE MATCHES thread)
    list(APPEND arg_SOURCES ${arg_SERIAL_SOURCES})
  endif()
  add_executable(${name} ${arg_SOURCES})
  _polypia_settings(${name})
  _polypia_test_settings(${name})
  if(arg_NO_NEW_THREADS AND POLYPIA_SANITIZE MATCHES thread)
    set_target_properties(${name} PROPERTIES EXCLUDE_FROM_ALL ON)
    return()
  endif()
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} GTest::gmock GTest::gtest_main)
  if(arg_COMMON_HEADER)
    target_precompile_headers(${name} PRIVATE <gmock/gmock.h> ${arg_COMMON_HEADER})
  else()
    if(NOT TARGET test_headers)
      _polypia_add_test_headers()
    endif()
    target_precompile_headers(${name} REUSE_FROM test_headers)
  endif()
  if(POLYPIA_SANITIZE)
    add_test(NAME ${name} COMMAND ${name})
    set_tests_properties(${name} PROPERTIES LABELS ${arg_LABEL} ENVIRONMENT "${arg_ENVIRONMENT}")
    return()
  endif()
  include(GoogleTest)
  # Without the values of parameters, whose printed bytes differ from run to run.
  gtest_discover_tests(${name} NO_PRETTY_VALUES DISCOVERY_MODE PRE_TEST
    PROPERTIES LABELS ${arg_LABEL} ENVIRONMENT "${arg_ENVIRONMENT}")
endfunction()

# polypia_add_bench(NAME_bench SOURCES a.bench.cpp ... LIBRARIES targets ...)
#
# `all` leaves benchmarks out, so that the program is built without waiting for them; the target
# `benches` builds them.
function(polypia_add_bench name)
  cmake_parse_arguments(arg "" "" "SOURCES;LIBRARIES" ${ARGN})
  add_executable(${name} EXCLUDE_FROM_ALL ${arg_SOURCES})
  add_dependencies(benches ${name})
  _polypia_settings(${name})
  target_link_libraries(${name} PRIVATE ${arg_LIBRARIES} benchmark::benchmark_main)
endfunction()
