#version 330
/* of a file */
