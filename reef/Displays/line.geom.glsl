// Widens each line to a rectangle of LineWidth pixels on the screen, whatever its direction, and of
// some length at least: corners are moved to the raster's grid, where less may be nothing, and many
// short lines in a row would leave gaps. With ROUND_ENDS it gets half discs at its ends, which
// fill the notches between lines that meet:
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
#ifdef CLIPPED
out float gl_ClipDistance[2];
#endif

// An end of the line, as it is left.
struct End {
    vec4 position;
    vec2 clipDistances;
};

End endOf(int number)
{
#ifdef CLIPPED
    return End(gl_in[number].gl_Position,
               vec2(gl_in[number].gl_ClipDistance[0], gl_in[number].gl_ClipDistance[1]));
#else
    return End(gl_in[number].gl_Position, vec2(1.0));
#endif
}

// Where the line has that w, which is between those of its ends. Both weights are computed, as what
// is left of 1 beside the other one has no digits; and what lies far behind the eye leaves none of
// them to a small w and its depth, which are told.
End cutAt(float w, End near, End far)
{
    float sum = far.position.w - near.position.w;
    float ofNear = (far.position.w - w) / sum;
    float ofFar = (w - near.position.w) / sum;
    End cut = End(ofNear * near.position + ofFar * far.position,
                  ofNear * near.clipDistances + ofFar * far.clipDistances);
    cut.position.w = w;
#ifndef CUSTOM_TransformOperator // which may have depths of its own
    mat4 projection = views[zelk_getViewID()].ProjectionMatrix;
    if (projection[3][3] == 0.0) cut.position.z = projection[3][2] - projection[2][2] * w;
#endif
    return cut;
}

// The w of the near plane with perspective, whichever way depths go.
float nearPlane()
{
    mat4 projection = views[zelk_getViewID()].ProjectionMatrix;
    return abs(projection[3][2]) / (1.0 + abs(projection[2][2]));
}

void emitAt(End end, vec2 offset)
{
    gl_Position = vec4(end.position.xy + offset * end.position.w, end.position.zw);
#ifdef CLIPPED
    gl_ClipDistance[0] = end.clipDistances.x;
    gl_ClipDistance[1] = end.clipDistances.y;
#endif
    lineLevel = level[0];
    EmitVertex();
}

void emitPair(End end, vec2 outwards, vec2 side)
{
    emitAt(end, outwards + side);
    emitAt(end, outwards - side);
}

void main()
{
    if (nearSide[0] < 0.0 && nearSide[1] < 0.0) return;
    End a = endOf(0);
    End b = endOf(1);
    float wa = a.position.w;
    float wb = b.position.w;
    float farthest = max(wa, wb);
    if (farthest <= 0.0) return;
    // What lies behind the eye has no place on the screen: the line is cut where the picture begins,
    // or where an operator leaves more of it.
    float nearest = min(nearPlane(), 1e-6 * farthest);
    if (wa < nearest) a = cutAt(nearest, a, b);
    if (wb < nearest) b = cutAt(nearest, b, a);
    // Clip space is two units wide: these are halves of pixels, and half the width on each side is
    // one width in its units.
    vec2 along = (b.position.xy / b.position.w - a.position.xy / a.position.w) * ViewportPixels;
    float longest = max(abs(along.x), abs(along.y)); // the square of which may be no number
    float halfPixels = longest > 0.0 ? longest * length(along / longest) : 0.0;
    vec2 direction = halfPixels > 0.0 ? along / halfPixels : vec2(1.0, 0.0);
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
    const float leastPixels = 0.125; // two steps of the coarsest grid that there may be
    vec2 missing = direction * max(0.0, leastPixels - 0.5 * halfPixels) / ViewportPixels;
    emitPair(a, -missing, side);
    emitPair(b, missing, side);
#endif
    EndPrimitive();
}
