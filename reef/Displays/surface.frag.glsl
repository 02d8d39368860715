// Both sides alike, lit from above the left shoulder of who looks; each triangle by its own plane
// or, with SMOOTH, by the normals of its corners.
in Surface {
    vec3 position;
    vec3 toEye;
    vec3 normal;
    vec3 color;
} surface;
#ifdef EDGES
flat in vec3 edgeLines[3];
in vec3 edgePlace;
uniform vec4 EdgeColor;
uniform float EdgeWidth; // in pixels, half of it on each side of an edge
#endif
out vec4 color;

const vec3 towardsLight = vec3(-0.3940552, 0.4728662, 0.7881104); // as the eye sees it

void main()
{
    vec3 eye = normalize(surface.toEye);
#ifdef SMOOTH
    vec3 n = surface.normal;
#else
    vec3 n = cross(dFdx(surface.position), dFdy(surface.position));
#endif
    float size = length(n);
    n = size > 0.0 ? n / size : eye;
    if (dot(n, eye) < 0.0) n = -n;
    float diffuse = 0.25 + 0.65 * max(dot(n, towardsLight), 0.0) + 0.15 * dot(n, eye);
    float shine = pow(max(dot(reflect(-towardsLight, n), eye), 0.0), 32.0);
    vec3 shown = surface.color * diffuse + vec3(0.18 * shine);
#ifdef EDGES
    vec3 place = vec3(edgePlace.xy / edgePlace.z, 1.0);
    float away = min(abs(dot(edgeLines[0], place)),
                     min(abs(dot(edgeLines[1], place)), abs(dot(edgeLines[2], place))));
    shown = mix(EdgeColor.rgb, shown, clamp(away - 0.5 * EdgeWidth + 0.5, 0.0, 1.0));
#endif
    color = vec4(shown, 1.0);
}
