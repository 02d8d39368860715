// A surface of triangles; position relative to the origin of the object, colour 0 to 1.
in vec3 Coordinates;
#ifdef SMOOTH
in vec3 Normals;
#endif
#ifdef HAVE_COLORS
in vec4 Colors;
#else
uniform vec4 Color;
#endif
out Surface {
    vec3 position; // as the eye sees it, like the two directions
    vec3 toEye;
    vec3 normal;
    vec3 color;
} surface;

void main()
{
    zelk_setViewID();
    vec4 inEyeSpace = zelk_transform_vertex_WorldToEye(mkRelativeVertex(vec4(Coordinates, 1.0)));
    gl_Position = zelk_transform_vertex_EyeToScreen(inEyeSpace);
    cut(Coordinates);
    surface.position = inEyeSpace.xyz / inEyeSpace.w;
    bool hasPerspective = views[zelk_getViewID()].ProjectionMatrix[3][3] == 0.0;
    surface.toEye = hasPerspective ? -surface.position : vec3(0.0, 0.0, 1.0);
#ifndef SMOOTH
    surface.normal = vec3(0.0);
#elif defined(CUSTOM_TransformOperator)
    surface.normal = zelk_transform_normal_WorldToEye(Normals);
#else
    surface.normal = mat3(views[zelk_getViewID()].UntranslatedModelViewMatrix) * Normals;
#endif
#ifdef HAVE_COLORS
    surface.color = Colors.rgb;
#else
    surface.color = Color.rgb;
#endif
}
