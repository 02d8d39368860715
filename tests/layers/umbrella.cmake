# Checks that the header of a library's own name includes all its other public headers, for the
# library -D name=NAME in -D folder=FOLDER with -D headers="A.hpp B.hpp". `cmake -P` runs it.

cmake_minimum_required(VERSION 3.25)

file(READ ${folder}/${name}.hpp umbrella)
separate_arguments(headers)
list(REMOVE_ITEM headers ${name}.hpp export.hpp)
foreach(header IN LISTS headers)
  string(FIND "${umbrella}" "#include <${name}/${header}>" place)
  if(place EQUAL -1)
    message(SEND_ERROR "${name}/${name}.hpp: expected #include <${name}/${header}>")
  endif()
endforeach()
