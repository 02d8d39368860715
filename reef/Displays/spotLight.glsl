#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/spotLight.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// As a positional light, within a cone round a direction: there by the cosine of the angle to that,
// to the power of an exponent.
uniform vec3 Light$$Intensity;
uniform vec3 Light$$Specular;
uniform vec3 Light$$Position;
uniform vec3 Light$$FallOff;
uniform float Light$$PerUnit;
uniform vec3 Light$$Direction;
uniform float Light$$CosCone;
uniform float Light$$SinCone;
uniform float Light$$Exponent;

// A cosine has no digits for small angles, so that their sines take part.
float getSpot_$$(in vec3 incidence)
{
    float along = dot(incidence, Light$$Direction);
    float across = length(cross(incidence, Light$$Direction));
    // The sine of what the angle is less than the cone.
    if (Light$$SinCone * along < Light$$CosCone * across) return 0.0;
    if (along <= 0.0) return Light$$Exponent > 0.0 ? 0.0 : 1.0;
    float square = across * across;
    float logarithm = square < 0.01 ? -0.5 * square * (1.0 + square * (0.5 + square / 3.0)) : log(along);
    return exp(Light$$Exponent * logarithm);
}

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    vec3 way = vertex - Light$$Position;
    float longest = max(max(abs(way.x), abs(way.y)), abs(way.z));
    vec3 scaled = longest > 0.0 ? way / longest : vec3(0.0); // has squares at any scale
    light_incidence = longest > 0.0 ? normalize(scaled) : Light$$Direction;
    float far = min(Light$$PerUnit * longest * length(scaled), 1e18);
    float share = getSpot_$$(light_incidence) / max(dot(Light$$FallOff, vec3(1.0, far, far * far)), 1e-18);
    // Next to the light, too, what surfaces make of it is to be a number.
    intensity = min(share * Light$$Intensity, 1e15);
    specular_intensity = min(share * Light$$Specular, 1e15);
}
