#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/TransformOperatorDefault.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// BEGIN TransformOperator::getDefaultShaderFunctions
/*
 * What becomes of vertices and normals that no operator touches. Needs RelativeVertex and
 * WorldVertex() of MultiViewPrefix.glsl ahead of it. Where the views of a frame are switched off,
 * by undefining HAVE_MULTIVIEW_TRANSFORM, the matrices of the compatibility profile stand for them.
 */
vec4 zelk_transform_vertex_WorldToEye_Default(in RelativeVertex V)
{
#ifdef HAVE_MULTIVIEW_TRANSFORM
    return eye_multiview_transform_view(V);
#else
    return gl_ModelViewMatrix*WorldVertex(V);
#endif
}

vec4 zelk_transform_vertex_EyeToScreen_Default(vec4 theVertex_in_EyeSpace)
{
#ifdef HAVE_MULTIVIEW_TRANSFORM
    return multiview_transform_view_eye_to_screen(theVertex_in_EyeSpace);
#else
    return gl_ProjectionMatrix*theVertex_in_EyeSpace;
#endif
}

/* The same for all views: multi-view has no transformation of normals of its own. */
vec3 zelk_transform_normal_WorldToEye_Default(vec3 TheNormal)
{
#if defined(HAVE_MULTIVIEW_TRANSFORM) && defined(ZELK_GLSL_ENABLE_WARNINGS)
#warning "Multi-view: normals are transformed by gl_NormalMatrix, the same for all views"
#endif
    return gl_NormalMatrix * TheNormal;
}
// END TransformOperator::getDefaultShaderFunctions
