#version 330
// A grid on the ellipsoid; position in scene space.
in vec3 Coordinates;
uniform mat4 ModelViewProjection;
uniform vec3 EarthCentre;  // in scene space
uniform float AxisRatio2;  // square of the equatorial radius over the polar one
uniform vec3 EyePosition;  // in scene space
out vec3 normal;
out vec3 toEye;
out vec3 fromCentre;

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    fromCentre = Coordinates - EarthCentre;
    normal = normalize(fromCentre * vec3(1.0, 1.0, AxisRatio2));
    toEye = EyePosition - Coordinates;
}
