#version 330
// A triangle mesh; position relative to the origin of the object, colour 0 to 1.
in vec3 Coordinates;
#ifdef HAVE_COLORS
in vec4 Colors;
#else
uniform vec4 Color;
#endif
out vec3 toEye;
out vec3 surfaceColor;
flat out vec3 lightDirection; // towards the light

void main()
{
    zelk_setViewID();
    gl_Position = multiview_transform(mkRelativeVertex(vec4(Coordinates, 1.0)));
    toEye = getCameraObserverRelativeToVertexOffset().xyz - Coordinates;
    lightDirection = towardsLight();
#ifdef HAVE_COLORS
    surfaceColor = Colors.rgb;
#else
    surfaceColor = Color.rgb;
#endif
}
