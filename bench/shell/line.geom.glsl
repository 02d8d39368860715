#version 330
// Widens each line to a rectangle of LineWidth pixels on the screen, whatever its direction. With
// ROUND_ENDS it gets half discs at its ends, which fill the notches between lines that meet:
//
//        3__5__________7__9
//      1/   |          |   \11
//     0(    a          b    )13     the vertices of the strip in their order
//      2\___|__________|___/12
//        4  6          8  10
//
layout(lines) in;
#ifdef ROUND_ENDS
layout(triangle_strip, max_vertices = 14) out;
#else
layout(triangle_strip, max_vertices = 4) out;
#endif
uniform vec2 ViewportPixels;
uniform float LineWidth;
flat in float level[];
flat in float nearSide[]; // negative on the far side of the earth
flat out float lineLevel;

const float nearest = 1e-6; // in front of the eye, in clip space

void emitAt(vec4 end, vec2 offset)
{
    gl_Position = vec4(end.xy + offset * end.w, end.zw);
    lineLevel = level[0];
    EmitVertex();
}

void emitPair(vec4 end, vec2 outwards, vec2 side)
{
    emitAt(end, outwards + side);
    emitAt(end, outwards - side);
}

void main()
{
    if (nearSide[0] < 0.0 && nearSide[1] < 0.0) return;
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
    vec2 halfWidth = LineWidth / ViewportPixels;
    vec2 side = vec2(-direction.y, direction.x) * halfWidth;
#ifdef ROUND_ENDS
    vec2 outwards = direction * halfWidth;
    // Cosine and sine of 30 degrees: the arc stays within 4 % of the half width.
    const float c = 0.8660254;
    const float s = 0.5;
    emitAt(a, -outwards);
    emitPair(a, -c * outwards, s * side);
    emitPair(a, -s * outwards, c * side);
    emitPair(a, vec2(0.0), side);
    emitPair(b, vec2(0.0), side);
    emitPair(b, s * outwards, c * side);
    emitPair(b, c * outwards, s * side);
    emitAt(b, outwards);
#else
    emitPair(a, vec2(0.0), side);
    emitPair(b, vec2(0.0), side);
#endif
    EndPrimitive();
}
