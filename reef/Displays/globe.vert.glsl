// A grid on the ellipsoid; position relative to the centre of the earth.
in vec3 Coordinates;
uniform float AxisRatio2; // square of the equatorial radius over the polar one
struct HiddenSide {
    vec4 plane; // negative where the globe hides itself
};
uniform HiddenSide HiddenSides[NumberOfViews];
out vec3 normal;
out vec3 toEye;
out vec3 fromCentre;
flat out vec3 lightDirection; // towards the light
#ifdef GL_ARB_cull_distance
out float gl_CullDistance[1];
#endif

void main()
{
    zelk_setViewID();
    gl_Position = zelk_transform_vertex_WorldToScreen(mkRelativeVertex(vec4(Coordinates, 1.0)));
    cut(Coordinates);
    fromCentre = Coordinates;
    normal = normalize(fromCentre * vec3(1.0, 1.0, AxisRatio2));
    toEye = getCameraObserverRelativeToVertexOffset().xyz - Coordinates;
    lightDirection = towardsLight();
#ifdef GL_ARB_cull_distance
    gl_CullDistance[0] = dot(HiddenSides[zelk_getViewID()].plane, vec4(Coordinates, 1.0));
#endif
}
