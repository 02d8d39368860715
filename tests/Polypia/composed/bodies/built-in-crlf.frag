#define FRAGMENT_SHADER  1
#define ZELK_GL_VENDOR_Recorder 1
/* prefix of the fragment stage */
/* local fragment */
uniform vec4 tint;
#line ./part 1
vec4 part(vec4 c)

{ return c; }
#line N.frag 2
 #include "part"
void main() { gl_FragColor = part(gl_Color); }
#line N.frag 5
