// Tells each pixel of a triangle where the edges are. Lengths are in pixels, from the middle of the
// picture; a place has three components, of which the third divides the others, so that what is
// behind the eye has one as well.
layout(triangles) in;
layout(triangle_strip, max_vertices = 3) out;
uniform vec2 ViewportPixels;
in Surface {
    vec3 vertex;
    vec3 fromEye;
    vec3 fromTarget;
    vec3 toEye;
    vec3 normal;
    vec3 color;
} corner[];
flat in vec3 headlight[];
out Surface {
    vec3 vertex;
    vec3 fromEye;
    vec3 fromTarget;
    vec3 toEye;
    vec3 normal;
    vec3 color;
} surface;
flat out vec3 surfaceHeadlight;
flat out vec3 edgeLines[3]; // the product with (x, y, 1) is the distance of a pixel
out vec3 edgePlace;
#ifdef CLIPPED
out float gl_ClipDistance[2];
#endif

vec3 placeOf(vec4 position)
{
    return vec3(0.5 * ViewportPixels * position.xy, position.w);
}

// Through two places, of which one is seen; else far from all that is.
vec3 lineThrough(vec3 a, vec3 b)
{
    vec3 seen = a.z > b.z ? a : b;
    if (seen.z <= 0.0) return vec3(0.0, 0.0, 1e6);
    float nearest = 1e-6 * seen.z; // in front of the eye, at any scale
    a /= max(abs(a.z), nearest);
    b /= max(abs(b.z), nearest);
    vec2 along = b.xy * a.z - a.xy * b.z;
    vec2 across = vec2(-along.y, along.x) / max(length(along), 1e-6);
    return vec3(across, -dot(across, seen.xy / seen.z));
}

void main()
{
    vec3 a = placeOf(gl_in[0].gl_Position);
    vec3 b = placeOf(gl_in[1].gl_Position);
    vec3 c = placeOf(gl_in[2].gl_Position);
    vec3 lines[3] = vec3[3](lineThrough(a, b), lineThrough(b, c), lineThrough(c, a));
    for (int i = 0; i < 3; ++i) {
        gl_Position = gl_in[i].gl_Position;
#ifdef CLIPPED
        gl_ClipDistance[0] = gl_in[i].gl_ClipDistance[0];
        gl_ClipDistance[1] = gl_in[i].gl_ClipDistance[1];
#endif
        surface.vertex = corner[i].vertex;
        surface.fromEye = corner[i].fromEye;
        surface.fromTarget = corner[i].fromTarget;
        surface.toEye = corner[i].toEye;
        surface.normal = corner[i].normal;
        surface.color = corner[i].color;
        surfaceHeadlight = headlight[0];
        edgeLines = lines;
        edgePlace = placeOf(gl_Position);
        EmitVertex();
    }
    EndPrimitive();
}
