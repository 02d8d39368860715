#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/TransformOperatorForwarding.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* What an operator replaces; it has to define all three. Needs TransformOperatorDefault.glsl. */
vec4 zelk_transform_vertex_WorldToEye(RelativeVertex theVertex)
{
    return zelk_transform_vertex_WorldToEye_Default(theVertex);
}

vec4 zelk_transform_vertex_EyeToScreen(vec4 theVertex_in_EyeSpace)
{
    return zelk_transform_vertex_EyeToScreen_Default(theVertex_in_EyeSpace);
}

vec3 zelk_transform_normal_WorldToEye(vec3 TheNormal)
{
    return zelk_transform_normal_WorldToEye_Default(TheNormal);
}
