#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/Fog.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/*
 * What is seen of the colour of a surface at P by somebody at Observer who looks at LookAt, all
 * relative to the offset of vertices: here all of it. Needs RelativeVertex ahead of it.
 */
vec4 Fog(vec4 SurfaceColor, in RelativeVertex P, vec3 Observer, vec3 LookAt)
{
	return SurfaceColor;
}
