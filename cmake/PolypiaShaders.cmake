# polypia_embed_shaders(target a.vert.glsl ...)
#
# Makes each file of GLSL available to the sources of the target: #include <a.vert.glsl.hpp> defines
# the std::string_view glsl::a_vert. Editors see GLSL, the program needs no files.
function(polypia_embed_shaders target)
  set(folder ${CMAKE_CURRENT_BINARY_DIR}/shaders)
  foreach(file IN LISTS ARGN)
    set(output ${folder}/${file}.hpp)
    add_custom_command(OUTPUT ${output}
      COMMAND ${CMAKE_COMMAND} -D INPUT=${CMAKE_CURRENT_SOURCE_DIR}/${file} -D OUTPUT=${output}
              -P ${PROJECT_SOURCE_DIR}/cmake/embedShader.cmake
      DEPENDS ${file} ${PROJECT_SOURCE_DIR}/cmake/embedShader.cmake
      VERBATIM)
    target_sources(${target} PRIVATE ${output})
  endforeach()
  target_include_directories(${target} PRIVATE ${folder})
endfunction()
