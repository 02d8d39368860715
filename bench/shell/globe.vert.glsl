#version 330
// Without the extension nothing is left out, which changes no picture.
#extension GL_ARB_cull_distance : enable
// A grid on the ellipsoid; position in scene space.
in vec3 Coordinates;
uniform mat4 ModelViewProjection;
uniform vec3 EarthCentre;  // in scene space
uniform float AxisRatio2;  // square of the equatorial radius over the polar one
uniform vec3 EyePosition;  // in scene space
uniform vec4 HiddenSide;   // a plane, negative where the globe hides itself
out vec3 normal;
out vec3 toEye;
out vec3 fromCentre;
#ifdef GL_ARB_cull_distance
out float gl_CullDistance[1];
#endif

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    fromCentre = Coordinates - EarthCentre;
    normal = normalize(fromCentre * vec3(1.0, 1.0, AxisRatio2));
    toEye = EyePosition - Coordinates;
#ifdef GL_ARB_cull_distance
    gl_CullDistance[0] = dot(HiddenSide, vec4(Coordinates, 1.0));
#endif
}
