#version 330
void main() { /* N.frag.glsl */ }