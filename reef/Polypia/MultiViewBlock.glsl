#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/MultiViewBlock.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// Uniform Block Object (UBO) for view parameters, same for all shaders
#if __VERSION__ >= 420
layout(std140, set=0, binding=$$)
#else
layout(std140)
#endif
   uniform MultiView { View views[ NumberOfViews ]; };
