#version 330
// A grid on the ellipsoid; position relative to the origin of the scene in metres.
in vec3 Coordinates;
uniform mat4 ModelViewProjection;
uniform vec3 EarthCentre;    // relative to the origin of the scene
uniform vec3 InverseRadii2;  // 1 / a^2 of each axis
uniform vec3 EyePosition;    // relative to the origin of the scene
out vec3 normal;
out vec3 toEye;
out vec3 fromCentre;

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    fromCentre = Coordinates - EarthCentre;
    normal = normalize(fromCentre * InverseRadii2);
    toEye = EyePosition - Coordinates;
}
