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
#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ViewportLayer.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* Lets a fragment stage read gl_ViewportIndex below version 430. */
#ifdef GL_ARB_fragment_layer_viewport
#extension GL_ARB_fragment_layer_viewport : enable
#endif
#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ViewportGeometry.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/*
 * Viewports of a geometry stage, which emits once for each of them:
 *
 *     zelk_for_Viewport(i) { gl_ViewportIndex = i; ... EmitVertex(); }
 *
 * zelk_ViewportValue01(i) runs from 0 at the first viewport to 1 at the last one.
 */
#ifdef GL_ARB_viewport_array
#extension GL_ARB_viewport_array : enable
#endif
uniform int zelk_MinViewportIndex = 0;
uniform int zelk_MaxViewportIndex = 1;
#define zelk_for_Viewport(i) for (int i = zelk_MinViewportIndex; i < zelk_MaxViewportIndex; ++i)
#define zelk_ViewportValue01(i) ((zelk_MaxViewportIndex-zelk_MinViewportIndex > 1) ? float(i-zelk_MinViewportIndex)/(zelk_MaxViewportIndex-1-zelk_MinViewportIndex) : 0.0)
