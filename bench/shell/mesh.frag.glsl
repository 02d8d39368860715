#version 330
// Each triangle by its own plane, both sides alike.
in vec3 toEye;
in vec3 surfaceColor;
uniform vec3 LightDirection; // towards the light
out vec4 color;

void main()
{
    vec3 n = cross(dFdx(toEye), dFdy(toEye));
    float size = length(n);
    vec3 eye = normalize(toEye);
    n = size > 0.0 ? n / size : eye;
    if (dot(n, eye) < 0.0) n = -n;
    float diffuse = 0.25 + 0.65 * max(dot(n, LightDirection), 0.0) + 0.15 * dot(n, eye);
    float shine = pow(max(dot(reflect(-LightDirection, n), eye), 0.0), 32.0);
    color = vec4(surfaceColor * diffuse + vec3(0.18 * shine), 1.0);
}
