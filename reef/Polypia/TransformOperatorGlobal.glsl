#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/TransformOperatorGlobal.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/* What stages call. Needs the three functions of an operator ahead of it. */
#ifndef HAVE_ZELK_TRANSLATED_VIEWS
#error "Must have LayeredMultiViews::defineTranslatedViews() included in the prefix!"
#endif

vec4 zelk_transform_vertex_WorldToScreen(in RelativeVertex theVertex)
{
    return zelk_transform_vertex_EyeToScreen(zelk_transform_vertex_WorldToEye(theVertex));
}

/* Where the view looks, in world space. Missing without multi-view in the core profile. */
#ifdef HAVE_MULTIVIEW_TRANSFORM
vec3 getViewDir() { return get_viewdir(); }
#elif __VERSION__ <= 140 || defined(GL_compatibility_profile)
#define DEFINE_getViewDir
#define HAVE_getViewDir
vec3 getViewDir()
{
    return -vec3(gl_ModelViewMatrix[0][2], gl_ModelViewMatrix[1][2], gl_ModelViewMatrix[2][2]);
}
#endif
