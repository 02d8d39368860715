#version 330
uniform vec4 tint;
#include "part"
 #include "part"
void main() { /* N.vert.glsl */ }
#include <none>
