#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/light.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// The direction towards the light, along the axes of the world: from above the left shoulder of
// who looks. Needs the views of a stage.
vec3 towardsLight()
{
    mat4 m = views[zelk_getViewID()].UntranslatedModelViewMatrix;
    vec3 right = vec3(m[0][0], m[1][0], m[2][0]);
    vec3 up = vec3(m[0][1], m[1][1], m[2][1]);
    vec3 back = vec3(m[0][2], m[1][2], m[2][2]);
    return normalize(0.6 * up - 0.5 * right + back);
}
