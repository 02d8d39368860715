#version 330
void main() { /* N.geom.glsl */ }