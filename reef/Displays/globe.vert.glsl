// A grid on the ellipsoid; position relative to the origin of the object.
in vec3 Coordinates;
uniform vec3 Centre; // of the earth, relative to the same
uniform float AxisRatio2; // square of the equatorial radius over the polar one
// Where an operator puts the globe is not known, and one that is cut shows its inside.
#if defined(GL_ARB_cull_distance) && !defined(CUSTOM_TransformOperator) && !defined(CLIPPED)
#define HIDES_ITSELF
struct HiddenSide {
    vec4 plane; // negative where the globe hides itself
};
uniform HiddenSide HiddenSides[NumberOfViews];
out float gl_CullDistance[1];
#endif
out vec3 normal;
out vec3 toEye;
out vec3 place; // relative to the origin
flat out vec3 lightDirection; // towards the light

void main()
{
    zelk_setViewID();
    gl_Position = zelk_transform_vertex_WorldToScreen(mkRelativeVertex(vec4(Coordinates, 1.0)));
    cut(Coordinates);
    place = Coordinates;
    normal = normalize((Coordinates - Centre) * vec3(1.0, 1.0, AxisRatio2));
    bool hasPerspective = views[zelk_getViewID()].ProjectionMatrix[3][3] == 0.0;
    toEye = hasPerspective ? getCameraObserverRelativeToVertexOffset().xyz - Coordinates : -getViewDir();
    lightDirection = towardsLight();
#ifdef HIDES_ITSELF
    gl_CullDistance[0] = dot(HiddenSides[zelk_getViewID()].plane, vec4(Coordinates, 1.0));
#endif
}
