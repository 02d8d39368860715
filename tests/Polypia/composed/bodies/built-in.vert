#define VERTEX_SHADER    1
#define ZELK_GL_VENDOR_Recorder 1
/* prefix of the vertex stage */
/* local vertex */
void main(void)
{	gl_Position = ftransform();}
