#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ViewportLayer.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* Lets a fragment stage read gl_ViewportIndex below version 430. */
#ifdef GL_ARB_fragment_layer_viewport
#extension GL_ARB_fragment_layer_viewport : enable
#endif
