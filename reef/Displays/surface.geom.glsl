// Tells each pixel of a triangle how far away its edges are.
layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;
uniform vec2 ViewportPixels;
in Surface {
    vec3 position;
    vec3 normal;
    vec3 color;
} corner[];
out Surface {
    vec3 position;
    vec3 normal;
    vec3 color;
} surface;
noperspective out vec3 edgePixels; // from the edge on the other side of each corner
#ifdef CLIPPED
out float gl_ClipDistance[2];
#endif

vec2 pixels(int number)
{
    return 0.5 * ViewportPixels * gl_in[number].gl_Position.xy / gl_in[number].gl_Position.w;
}

void main()
{
    float nearestW = min(gl_in[0].gl_Position.w, min(gl_in[1].gl_Position.w, gl_in[2].gl_Position.w));
    // What reaches behind the eye has no place on the screen to measure from.
    vec3 heights = vec3(1e6);
    if (nearestW > 1e-6) {
        vec2 a = pixels(0), b = pixels(1), c = pixels(2);
        float area2 = abs((b.x - a.x) * (c.y - a.y) - (b.y - a.y) * (c.x - a.x));
        heights = area2 / max(vec3(distance(b, c), distance(c, a), distance(a, b)), vec3(1e-6));
    }
    for (int i = 0; i < 3; ++i) {
        gl_Position = gl_in[i].gl_Position;
#ifdef CLIPPED
        gl_ClipDistance[0] = gl_in[i].gl_ClipDistance[0];
        gl_ClipDistance[1] = gl_in[i].gl_ClipDistance[1];
#endif
        surface.position = corner[i].position;
        surface.normal = corner[i].normal;
        surface.color = corner[i].color;
        edgePixels = nearestW > 1e-6 ? vec3(0.0) : heights;
        if (nearestW > 1e-6) edgePixels[i] = heights[i];
        EmitVertex();
    }
    EndPrimitive();
}
