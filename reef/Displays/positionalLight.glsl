#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/positionalLight.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// From one point in all directions. FallOff: what the intensity is divided by is the sum of its
// components, the second one times the distance in units, the third times the square of that.
uniform vec3 Light$$Intensity;
uniform vec3 Light$$Specular;
uniform vec3 Light$$Position;
uniform vec3 Light$$FallOff;
uniform float Light$$PerUnit;

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    vec3 way = vertex - Light$$Position;
    float longest = max(max(abs(way.x), abs(way.y)), abs(way.z));
    vec3 scaled = longest > 0.0 ? way / longest : vec3(0.0); // has squares at any scale
    light_incidence = longest > 0.0 ? normalize(scaled) : vec3(0.0);
    float far = min(Light$$PerUnit * longest * length(scaled), 1e18);
    float share = 1.0 / max(dot(Light$$FallOff, vec3(1.0, far, far * far)), 1e-18);
    // Next to the light, too, what surfaces make of it is to be a number.
    intensity = min(share * Light$$Intensity, 1e15);
    specular_intensity = min(share * Light$$Specular, 1e15);
}
