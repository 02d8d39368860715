#define VERTEX_SHADER    1
#define ZELK_GL_VENDOR_Recorder 1
/* prefix of the vertex stage */
/* local vertex */
uniform vec4 tint;
#line ./part 1
vec4 part(vec4 c)

{ return c; }
#line N.vert 2
 #include "part"
void main() { gl_Position = ftransform(); }
#line N.vert 5
