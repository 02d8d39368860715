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
