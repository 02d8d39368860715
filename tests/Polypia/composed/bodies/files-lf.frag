#define FRAGMENT_SHADER  1
#define ZELK_GL_VENDOR_Recorder 1
/* prefix of the fragment stage */
/* local fragment */
uniform vec4 tint;
#line ./par 1
/* the last letter is lost */
#line N.frag 2
 #include "part"
void main() { discard; }
#line N.frag 5
