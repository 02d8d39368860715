#version 330 compatibility
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
#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ViewportLayer.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* Lets a fragment stage read gl_ViewportIndex below version 430. */
#ifdef GL_ARB_fragment_layer_viewport
#extension GL_ARB_fragment_layer_viewport : enable
#endif
#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ViewportFragment.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* The viewport of a fragment; zelk_ViewportValue01() is 0 in the first one and 1 in the last. */
uniform int zelk_MinViewportIndex = 0;
uniform int zelk_MaxViewportIndex = 1;
#define zelk_ViewportValue01() ((zelk_MaxViewportIndex-zelk_MinViewportIndex > 1) ? float(gl_ViewportIndex-zelk_MinViewportIndex)/(zelk_MaxViewportIndex-1-zelk_MinViewportIndex) : 0.0)
