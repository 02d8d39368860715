# Installs the build into an empty prefix, moves the prefix, builds the program of
# examples/consumer against it and runs that program.

cmake_minimum_required(VERSION 3.25)

function(step)
  execute_process(COMMAND ${ARGN} COMMAND_ERROR_IS_FATAL ANY)
endfunction()

file(REMOVE_RECURSE ${folder}/prefix ${folder}/moved ${folder}/build)
step(${CMAKE_COMMAND} --install ${build} --prefix ${folder}/prefix)
file(RENAME ${folder}/prefix ${folder}/moved)

step(${CMAKE_COMMAND} -S ${consumer} -B ${folder}/build -G ${generator}
  -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_PREFIX_PATH=${folder}/moved)
step(${CMAKE_COMMAND} --build ${folder}/build)
execute_process(COMMAND ${folder}/build/consumer ${folder}/build/picture.png
  OUTPUT_VARIABLE answer COMMAND_ERROR_IS_FATAL ANY)
if(NOT answer STREQUAL "the pixel in the middle is 255 128 0\n")
  message(FATAL_ERROR "expected an orange triangle in the middle, got ${answer}")
endif()
if(NOT EXISTS ${folder}/build/picture.png)
  message(FATAL_ERROR "the consumer has written no picture")
endif()

# A failure that crosses the border of the library keeps its type: the program exits with 1, where
# an exception that nobody caught would abort it.
execute_process(COMMAND ${folder}/build/consumer ${folder}/missing/picture.png
  RESULT_VARIABLE result ERROR_VARIABLE message)
set(expected
  "consumer: cannot write ${folder}/missing/picture.png: No such file or directory\n")
if(NOT result EQUAL 1 OR NOT message STREQUAL expected)
  message(FATAL_ERROR "expected exit code 1 and '${expected}', got ${result} and '${message}'")
endif()

# A component that does not exist must be missed by find_package.
file(WRITE ${folder}/unknown/CMakeLists.txt
  "cmake_minimum_required(VERSION 3.25)\nproject(Unknown LANGUAGES CXX)\n"
  "find_package(Polypia REQUIRED COMPONENTS unknown)\n")
execute_process(COMMAND ${CMAKE_COMMAND} -S ${folder}/unknown -B ${folder}/unknown/build
  -G ${generator} -D CMAKE_CXX_COMPILER=${compiler} -D CMAKE_PREFIX_PATH=${folder}/moved
  RESULT_VARIABLE result OUTPUT_QUIET ERROR_VARIABLE message)
if(result EQUAL 0 OR NOT message MATCHES "no component 'unknown'")
  message(FATAL_ERROR "expected a message about the component 'unknown', got ${message}")
endif()
