#version 400
// Round points, with edges as smooth as the samples of a pixel allow.
in vec3 pointColor;
uniform float PointSize; // pixels
uniform int Samples;     // of each pixel
out vec4 color;

void main()
{
    float fromCentre = length(gl_PointCoord - 0.5) * PointSize;
    float coverage = clamp(0.5 * PointSize - fromCentre + 0.5, 0.0, 1.0);
    int covered = int(coverage * float(Samples) + 0.5);
    if (covered == 0) discard;
    gl_SampleMask[0] = covered < 32 ? (1 << covered) - 1 : ~0;
    color = vec4(pointColor, 1.0);
}
