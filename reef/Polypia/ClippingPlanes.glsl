#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/ClippingPlanes.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
#ifndef HAVE_zelk_setClipDistances
#define HAVE_zelk_setClipDistances 1
/*
 * Two planes for vertex stages: xyz is a normal of any length, w the distance from the origin of
 * the coordinates that the function is called with, times that length. What lies on the side to
 * which the normal does not point is cut; a normal of zero cuts nothing.
 */
float zelk_computeClipDistance(vec3 WorldFragmentCoordinates, vec4 ClipPlane)
{
    if (dot(ClipPlane.xyz, ClipPlane.xyz)>0)
        return dot(WorldFragmentCoordinates, ClipPlane.xyz ) - ClipPlane.w;
    return 1.0;
}

uniform vec4 ClipPlane0;
uniform vec4 ClipPlane1;

/* Older versions know no such blocks; there the size of the array follows from its use. */
#if __VERSION__ >= 150
out gl_PerVertex
{
    vec4 gl_Position;
    float gl_ClipDistance[];
};
#endif

void zelk_setClipDistances(vec3 WorldFragmentCoordinates)
{
    gl_ClipDistance[0] = zelk_computeClipDistance(WorldFragmentCoordinates, ClipPlane0);
    gl_ClipDistance[1] = zelk_computeClipDistance(WorldFragmentCoordinates, ClipPlane1);
}
#endif /* HAVE_zelk_setClipDistances */
