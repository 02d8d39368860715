/*** shader type definition ***/
#define GEOMETRY_SHADER  1

/*** Platform Defines ***/
#define ZELK_GL_VENDOR_Recorder 1
/*** ShaderPrefix(Context) virtual function ***/
/* prefix of the geometry stage */
/*** Local Prefix Code passed to each CompileShader() call ***/
/* local geometry */

/*** Main Shader Code, may be overridden by file N.geom ***/
uniform vec4 tint;
#line ./par 1
/* the last letter is lost */
#line N.geom 2
 #include "part"
void main() { EndPrimitive(); }
#line N.geom 5
