#version 330
// A cloud of points; position in scene space, colour 0 to 1.
in vec3 Coordinates;
#ifdef HAVE_COLORS
in vec4 Colors;
#else
const vec4 Colors = vec4(0.85, 0.80, 0.60, 1.0);
#endif
uniform mat4 ModelViewProjection;
uniform float PointSize;
out vec3 pointColor;

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    gl_PointSize = PointSize;
    pointColor = Colors.rgb;
}
