// A cloud of points; position relative to the origin of the object, colour 0 to 1.
in vec3 Coordinates;
#ifdef HAVE_COLORS
in vec4 Colors;
#else
uniform vec4 Color;
#endif
uniform float PointSize; // in pixels
uniform vec2 ViewportPixels;
out vec3 pointColor;
flat out float spritePixels;
flat out vec2 centrePixels; // in the window

void main()
{
    zelk_setViewID();
    gl_Position = zelk_transform_vertex_WorldToScreen(mkRelativeVertex(vec4(Coordinates, 1.0)));
    cut(Coordinates);
    centrePixels = (0.5 * gl_Position.xy / gl_Position.w + 0.5) * ViewportPixels;
    // All samples of the pixels at the edge belong to the square, so that their shares count alone.
    spritePixels = PointSize + 2.0;
    gl_PointSize = spritePixels;
#ifdef HAVE_COLORS
    pointColor = Colors.rgb;
#else
    pointColor = Color.rgb;
#endif
}
