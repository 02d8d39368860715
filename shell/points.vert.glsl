#version 330
// A cloud of points; position in scene space, colour 0 to 1.
in vec3 Coordinates;
#ifdef HAVE_COLORS
in vec4 Colors;
#else
const vec4 Colors = vec4(0.85, 0.80, 0.60, 1.0);
#endif
uniform mat4 ModelViewProjection;
uniform float PointSize; // in pixels
uniform int Samples;     // of each pixel
out vec3 pointColor;
flat out float spritePixels;

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    // All samples of the pixels at the edge belong to the square, so that their shares count alone.
    spritePixels = PointSize + (Samples > 1 ? 2.0 : 0.0);
    gl_PointSize = spritePixels;
    pointColor = Colors.rgb;
}
