// The headers that tests share, see cmake/PolypiaTargets.cmake, need a source to be compiled with.
