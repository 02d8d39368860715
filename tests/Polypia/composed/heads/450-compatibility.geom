/*** Built from:  prefix, shader type definition, Platform Defines, ShaderPrefix(Context), Local Prefix Code, Main Shader Code (possibly file N.geom) ***/
#version 450 compatibility
/* Note: GL_compatibility_profile is defined. */ 



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
