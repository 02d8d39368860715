#version 450 core
// of a file
