#version 330
// Round points.
in vec3 pointColor;
out vec4 color;

void main()
{
    vec2 fromCentre = 2.0 * gl_PointCoord - 1.0;
    if (dot(fromCentre, fromCentre) > 1.0) discard;
    color = vec4(pointColor, 1.0);
}
