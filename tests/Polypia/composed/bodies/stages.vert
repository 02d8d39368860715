#version 330
void main() { /* N.vert.glsl */ }