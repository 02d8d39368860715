#version 330
// Widens each line to a rectangle of LineWidth pixels on the screen, whatever its direction.
layout(lines) in;
layout(triangle_strip, max_vertices = 4) out;
uniform vec2 ViewportPixels;
uniform float LineWidth;
flat in float level[];
flat out float lineLevel;

const float nearest = 1e-6; // in front of the eye, in clip space

void emitEnd(vec4 end, vec2 side)
{
    gl_Position = vec4(end.xy + side * end.w, end.zw);
    lineLevel = level[0];
    EmitVertex();
    gl_Position = vec4(end.xy - side * end.w, end.zw);
    lineLevel = level[0];
    EmitVertex();
}

void main()
{
    vec4 a = gl_in[0].gl_Position;
    vec4 b = gl_in[1].gl_Position;
    if (a.w < nearest && b.w < nearest) return;
    // What lies behind the eye has no place on the screen: the line is cut there.
    if (a.w < nearest) a = mix(b, a, (b.w - nearest) / (b.w - a.w));
    if (b.w < nearest) b = mix(a, b, (a.w - nearest) / (a.w - b.w));
    vec2 along = (b.xy / b.w - a.xy / a.w) * ViewportPixels;
    float pixels = length(along);
    vec2 direction = pixels > 0.0 ? along / pixels : vec2(1.0, 0.0);
    // Clip space is two units wide, so that half the width on each side is one width in its units.
    vec2 side = vec2(-direction.y, direction.x) * LineWidth / ViewportPixels;
    emitEnd(a, side);
    emitEnd(b, side);
    EndPrimitive();
}
