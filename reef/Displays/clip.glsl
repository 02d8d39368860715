#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/clip.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// Cuts by the planes of the object, which are relative to its origin as the vertices are. Unlike
// ClippingPlanes::setClipDistances() this leaves the other outputs of a stage to be written, too.
#ifdef CLIPPED
uniform vec4 ClipPlane0;
uniform vec4 ClipPlane1;
out float gl_ClipDistance[2];

float distanceTo(vec4 plane, vec3 position)
{
    return dot(plane.xyz, plane.xyz) > 0.0 ? dot(plane.xyz, position) - plane.w : 1.0;
}

void cut(vec3 position)
{
    gl_ClipDistance[0] = distanceTo(ClipPlane0, position);
    gl_ClipDistance[1] = distanceTo(ClipPlane1, position);
}
#else
void cut(vec3 position) {}
#endif
