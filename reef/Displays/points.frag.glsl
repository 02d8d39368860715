// Round points, with edges as smooth as the samples of a pixel allow; none gets lost.
in vec3 pointColor;
flat in float spritePixels; // of the square that is drawn
flat in vec2 centrePixels;  // in the window
uniform float PointSize;    // in pixels
out vec4 color;

// Of a pixel, from its centre to a corner.
const float halfDiagonal = 0.7072;

// `fromCentre`: of the pixel, y upwards. With several samples gl_PointCoord may be that of a corner
// of the pixel; but pixels are whole ones away from the one that the centre is in.
int coveredSamples(vec2 fromCentre)
{
    float radius = 0.5 * PointSize;
    vec2 ofCentralPixel = 0.5 - fract(centrePixels);
    vec2 pixelsAway = round(fromCentre - 0.25 - ofCentralPixel);
    vec2 exact = ofCentralPixel + pixelsAway;
    if (gl_NumSamples > 1) {
        float share = clamp(radius - length(exact) + 0.5, 0.0, 1.0);
        return int(share * float(gl_NumSamples) + 0.5);
    }
    // The pixel that the centre is in is drawn, however small the point is.
    if (pixelsAway == vec2(0.0)) return 1;
    bool isInSquare = all(greaterThan(exact, vec2(-radius))) && all(lessThanEqual(exact, vec2(radius)));
    return isInSquare && length(exact) <= max(radius, halfDiagonal) ? 1 : 0;
}

void main()
{
    int covered = coveredSamples((gl_PointCoord - 0.5) * vec2(1.0, -1.0) * spritePixels);
    if (covered == 0) discard;
    gl_SampleMask[0] = covered < 32 ? (1 << covered) - 1 : ~0;
    color = vec4(pointColor, 1.0);
}
