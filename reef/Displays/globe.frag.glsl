// The sea, lit from above the eye's left shoulder, with the graticule of 15 degrees.
in vec3 normal;
in vec3 toEye;
in vec3 place; // relative to the origin of the object
flat in vec3 lightDirection; // towards the light
uniform vec3 Centre; // of the earth, relative to the same
// Planes through the axis, of which each has two meridians: the distance of a place is the product
// with (x, y, 1).
uniform vec3 Meridians[12];
// Cones from the south to the north pole: the product with z, minus the distance from the axis beyond
// that of the origin, and 1 is about the distance of a place.
uniform vec3 Parallels[13];
out vec4 color;

const float degree = 0.017453292519943295;
const float spacing = 15.0 * degree;

// Coverage of a pixel by a thin line at a distance, which changes by `gradient` with the place.
float graticule(float distance, vec3 gradient)
{
    float pixel = abs(dot(gradient, dFdx(place))) + abs(dot(gradient, dFdy(place)));
    return 1.0 - smoothstep(0.0, max(1.5 * pixel, 1e-30), abs(distance));
}

// Angles have too few digits near the ground, and places relative to the centre as well. They tell
// which line is the nearest one; where it is follows from the place relative to the origin.
float ofMeridian(float longitude)
{
    vec3 meridian = Meridians[clamp(int(round(longitude / spacing)) + 12, 0, 24) % 12];
    return graticule(dot(meridian, vec3(place.xy, 1.0)), vec3(meridian.xy, 0.0));
}

float ofParallel(float latitude, vec3 fromCentre)
{
    vec3 parallel = Parallels[clamp(int(round(latitude / spacing)) + 6, 0, 12)];
    float fromAxis = length(fromCentre.xy);
    float sum = max(fromAxis + length(Centre.xy), 1e-30);
    float beyondOrigin = dot(place.xy, place.xy - 2.0 * Centre.xy) / sum; // from the axis
    vec2 outwards = fromCentre.xy / max(fromAxis, 1e-30);
    return graticule(parallel.x * place.z - parallel.y * beyondOrigin + parallel.z,
                     vec3(-parallel.y * outwards, parallel.x));
}

void main()
{
    vec3 up = normalize(normal);
    vec3 eye = normalize(toEye);
    vec3 n = up;
#ifdef CLIPPED
    // The inside. A facet of a degree that faces the eye may have normals that don't, by less.
    if (dot(up, eye) < -0.013) n = -up;
#endif
    float lit = 0.55 + 0.45 * max(dot(n, lightDirection), 0.0);
    float rim = pow(1.0 - clamp(dot(n, eye), 0.0, 1.0), 3.0); // rounding may take it above 1
    vec3 sea = mix(vec3(0.055, 0.125, 0.215), vec3(0.10, 0.22, 0.34), lit);
    vec3 sky = vec3(0.30, 0.48, 0.66);

    float latitude = asin(clamp(up.z, -1.0, 1.0));
    vec3 fromCentre = place - Centre;
    float longitude = atan(fromCentre.y, fromCentre.x);
    float lines = max(ofParallel(latitude, fromCentre),
                      ofMeridian(longitude) * step(abs(latitude), 80.0 * degree));
    vec3 shown = mix(sea * lit, sky, 0.55 * rim);
    color = vec4(mix(shown, sky, 0.16 * lines), 1.0);
}
