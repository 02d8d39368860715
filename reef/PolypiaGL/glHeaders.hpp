#pragma once
// OpenGL up to 4.5 with the prototypes of libOpenGL, compatibility profile included.

#ifndef GL_GLEXT_PROTOTYPES
#define GL_GLEXT_PROTOTYPES
#endif
#include <GL/gl.h>
#include <GL/glext.h>
