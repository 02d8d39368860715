#version 330
// A triangle mesh; position in scene space, colour 0 to 1.
in vec3 Coordinates;
#ifdef HAVE_COLORS
in vec4 Colors;
#else
const vec4 Colors = vec4(0.80, 0.78, 0.74, 1.0);
#endif
uniform mat4 ModelViewProjection;
uniform vec3 EyePosition;
out vec3 toEye;
out vec3 surfaceColor;

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    toEye = EyePosition - Coordinates;
    surfaceColor = Colors.rgb;
}
