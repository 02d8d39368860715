// Lit by the lights of the scene or, if there are none, by one of its own from above the left
// shoulder of who looks; each triangle by its own plane or, with SMOOTH, by the normals of its
// corners. Needs Lighting.glsl.
in Surface {
    vec3 vertex;  // relative to the origin of the object
    vec3 fromEye; // this and what follows are along the axes of the world
    vec3 fromTarget; // from what is looked at
    vec3 toEye;
    vec3 normal;
    vec3 color;
} surface;
#ifdef EDGES
#define headlight surfaceHeadlight
flat in vec3 edgeLines[3];
in vec3 edgePlace;
uniform vec4 EdgeColor;
uniform float EdgeWidth; // in pixels, half of it on each side of an edge
#endif
flat in vec3 headlight; // towards the light that there is without lights
uniform float Sidedness; // see SidedDotProduct()
uniform float Specular;
uniform float Shininess;
out vec4 color;

// Of length 1.
vec3 towardsEye;
vec3 seenNormal; // of the side that is seen
float seenSide;  // 1 if that is the one of the normal, else -1

float greatest(vec3 v)
{
    v = abs(v);
    return max(v.x, max(v.y, v.z));
}

void lookAtSurface()
{
    towardsEye = normalize(surface.toEye / max(greatest(surface.toEye), 1e-37));
    // Through a long lens pixels are as small as the steps of numbers as great as the distance. What
    // is seen there is close to what is looked at, and elsewhere may be closer to the eye.
    vec3 acrossFromEye = dFdx(surface.fromEye), upwardsFromEye = dFdy(surface.fromEye);
    vec3 acrossFromTarget = dFdx(surface.fromTarget), upwardsFromTarget = dFdy(surface.fromTarget);
    bool isByTarget = greatest(surface.fromTarget) < greatest(surface.fromEye);
    vec3 across = isByTarget ? acrossFromTarget : acrossFromEye;
    vec3 upwards = isByTarget ? upwardsFromTarget : upwardsFromEye;
    // Steps of a length around 1, as their products are to be numbers at any scale.
    vec3 longest = max(abs(across), abs(upwards));
    float scale = max(max(longest.x, longest.y), max(longest.z, 1e-37));
    vec3 plane = cross(across / scale, upwards / scale);
    if (dot(plane, towardsEye) < 0.0) plane = -plane;
#ifdef SMOOTH
    vec3 normal = surface.normal;
    seenSide = dot(normal, plane) < 0.0 ? -1.0 : 1.0;
#else
    vec3 normal = plane;
    seenSide = 1.0;
#endif
    float size = length(normal);
    seenNormal = size > 0.0 ? seenSide * normal / size : towardsEye;
#ifndef SMOOTH
    seenSide = gl_FrontFacing ? 1.0 : -1.0;
#endif
}

vec3 ownLight(float shareOfSide)
{
    float facing = 0.65 * max(dot(seenNormal, headlight), 0.0) + 0.15 * max(dot(seenNormal, towardsEye), 0.0);
    float shine = pow(max(dot(reflect(-headlight, seenNormal), towardsEye), 0.0), max(Shininess, 1.0));
    return surface.color * (0.25 + shareOfSide * facing) + vec3(shareOfSide * Specular * shine);
}

// A surface is no glass: of what shines on its other side nothing is seen, but for light from all
// sides.
vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex)
{
    float shareOfSide = SidedDotProduct(seenSide, Sidedness);
    if (NumberOfLightSourceFunctions == 0) return ownLight(shareOfSide);
    if (dot(LightSource.light_incidence, seenNormal) > 0.0) return vec3(0.0);
    LightAtVertex light = LightSource;
    light.specular_intensity *= Specular * shareOfSide;
    return SidedPhongLighting(surface.color, light, seenSide * seenNormal, -towardsEye, Shininess, Sidedness);
}

void main()
{
    lookAtSurface();
    vec3 shown = getLightAtVertex(surface.vertex);
#ifdef EDGES
    vec3 place = vec3(edgePlace.xy / edgePlace.z, 1.0);
    float away = min(abs(dot(edgeLines[0], place)),
                     min(abs(dot(edgeLines[1], place)), abs(dot(edgeLines[2], place))));
    shown = mix(EdgeColor.rgb, shown, clamp(away - 0.5 * EdgeWidth + 0.5, 0.0, 1.0));
#endif
    color = vec4(shown, 1.0);
}
