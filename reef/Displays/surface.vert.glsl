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
    vec3 vertex;  // as drawn, relative to the same origin
    vec3 fromEye; // this and what follows are along the axes of the world
    vec3 fromTarget; // from what is looked at
    vec3 toEye;
    vec3 normal;
    vec3 color;
} surface;
flat out vec3 headlight; // towards the light that there is without lights

void main()
{
    zelk_setViewID();
    vec4 inEyeSpace = zelk_transform_vertex_WorldToEye(mkRelativeVertex(vec4(Coordinates, 1.0)));
    gl_Position = zelk_transform_vertex_EyeToScreen(inEyeSpace);
    cut(Coordinates);
    mat3 eyeToWorld = mat3(views[zelk_getViewID()].inv_UntranslatedModelViewMatrix);
    surface.fromEye = eyeToWorld * (inEyeSpace.xyz / inEyeSpace.w);
    bool hasPerspective = views[zelk_getViewID()].ProjectionMatrix[3][3] == 0.0;
    surface.toEye = hasPerspective ? -surface.fromEye : eyeToWorld[2];
#ifdef CUSTOM_TransformOperator
    surface.vertex = surface.fromEye + getCameraObserverRelativeToVertexOffset().xyz;
#else
    surface.vertex = Coordinates;
#endif
#ifdef CUSTOM_TransformOperator
    surface.fromTarget = surface.fromEye + (getCameraObserverRelativeToVertexOffset() - getCameraLookAtRelativeToVertexOffset()).xyz;
#else
    surface.fromTarget = Coordinates - getCameraLookAtRelativeToVertexOffset().xyz;
#endif
#ifndef SMOOTH
    surface.normal = vec3(0.0);
#elif defined(CUSTOM_TransformOperator)
    surface.normal = eyeToWorld * zelk_transform_normal_WorldToEye(Normals);
#else
    surface.normal = Normals;
#endif
    headlight = towardsLight();
#ifdef HAVE_COLORS
    surface.color = Colors.rgb;
#else
    surface.color = Color.rgb;
#endif
}
