#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ViewportFragment.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* The viewport of a fragment; zelk_ViewportValue01() is 0 in the first one and 1 in the last. */
uniform int zelk_MinViewportIndex = 0;
uniform int zelk_MaxViewportIndex = 1;
#define zelk_ViewportValue01() ((zelk_MaxViewportIndex-zelk_MinViewportIndex > 1) ? float(gl_ViewportIndex-zelk_MinViewportIndex)/(zelk_MaxViewportIndex-1-zelk_MinViewportIndex) : 0.0)
