#version 400
// Round points, with edges as smooth as the samples of a pixel allow; none gets lost.
in vec3 pointColor;
flat in float spritePixels; // of the square that is drawn
uniform float PointSize;    // in pixels
uniform int Samples;        // of each pixel
out vec4 color;

// The square of a single pixel has one centre in it, which may be in its corner.
const float halfDiagonal = 0.7072;

int coveredSamples(float fromCentre)
{
    float radius = 0.5 * PointSize;
    if (Samples == 1) return fromCentre <= max(radius, halfDiagonal) ? 1 : 0;
    return int(clamp(radius - fromCentre + 0.5, 0.0, 1.0) * float(Samples) + 0.5);
}

void main()
{
    int covered = coveredSamples(length(gl_PointCoord - 0.5) * spritePixels);
    if (covered == 0) discard;
    gl_SampleMask[0] = covered < 32 ? (1 << covered) - 1 : ~0;
    color = vec4(pointColor, 1.0);
}
