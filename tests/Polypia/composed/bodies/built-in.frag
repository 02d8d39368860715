#define FRAGMENT_SHADER  1
#define ZELK_GL_VENDOR_Recorder 1
/* prefix of the fragment stage */
/* local fragment */
void main (void)
{
	gl_FragColor = gl_Color;
}
