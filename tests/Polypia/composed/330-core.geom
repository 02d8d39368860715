/*** Built from:  prefix, shader type definition, Platform Defines, ShaderPrefix(Context), Local Prefix Code, Main Shader Code (possibly file N.geom) ***/
#version 330 core
/* Note: GL_core_profile is defined. */ 



/* This prefix code is provided by reef/Polypia/Programmable */
#ifdef GL_GOOGLE_cpp_style_line_directive
#extension GL_GOOGLE_cpp_style_line_directive : require
#define ZELK_GL_CAN_DO_LINE_DIRECTIVE 1
#endif
#extension GL_EXT_gpu_shader4 : enable
#if (__VERSION__  <= 140)
#extension GL_ARB_gpu_shader5 : require
#extension GL_ARB_uniform_buffer_object : require
#endif

#extension GL_EXT_geometry_shader4 : require
/*** shader type definition ***/
#define GEOMETRY_SHADER  1

/*** Platform Defines ***/
#define ZELK_GL_VENDOR_Recorder 1
/*** ShaderPrefix(Context) virtual function ***/
/* prefix of the geometry stage */
/*** Local Prefix Code passed to each CompileShader() call ***/
/* local geometry */

/*** Main Shader Code, may be overridden by file N.geom ***/
void main(void)
{
	for(int i = 0; i < gl_VerticesIn; i++)
	{
		gl_FrontColor = gl_FrontColorIn[i];
		gl_Position = gl_PositionIn[i];
		EmitVertex();
	}
}
