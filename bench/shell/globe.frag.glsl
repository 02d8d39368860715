#version 330
// The sea, lit from above the eye's left shoulder, with the graticule of 15 degrees.
in vec3 normal;
in vec3 toEye;
in vec3 fromCentre;
uniform vec3 LightDirection; // towards the light
out vec4 color;

const float degree = 0.017453292519943295;

// Coverage of a pixel by a thin line wherever `angle` is a multiple of the step; `pixel` is what
// the angle changes from a pixel to the next.
float graticule(float angle, float pixel)
{
    float step = 15.0 * degree;
    float distance = abs(fract(angle / step + 0.5) - 0.5) * step;
    return 1.0 - smoothstep(0.0, 1.5 * pixel, distance);
}

// What the longitude changes from a pixel to the next. Its own derivative would jump at 180 degrees.
float longitudePixel(vec2 fromAxis)
{
    vec2 across = vec2(-fromAxis.y, fromAxis.x);
    float change = abs(dot(across, dFdx(fromAxis))) + abs(dot(across, dFdy(fromAxis)));
    return change / max(dot(fromAxis, fromAxis), 1e-30);
}

void main()
{
    vec3 n = normalize(normal);
    vec3 eye = normalize(toEye);
    float lit = 0.55 + 0.45 * max(dot(n, LightDirection), 0.0);
    float rim = pow(1.0 - max(dot(n, eye), 0.0), 3.0);
    vec3 sea = mix(vec3(0.055, 0.125, 0.215), vec3(0.10, 0.22, 0.34), lit);
    vec3 sky = vec3(0.30, 0.48, 0.66);

    float latitude = asin(clamp(n.z, -1.0, 1.0));
    float longitude = atan(fromCentre.y, fromCentre.x);
    float lines = max(graticule(latitude, fwidth(latitude)),
                      graticule(longitude, longitudePixel(fromCentre.xy)) * step(abs(latitude), 80.0 * degree));
    vec3 shown = mix(sea * lit, sky, 0.55 * rim);
    color = vec4(mix(shown, sky, 0.16 * lines), 1.0);
}
