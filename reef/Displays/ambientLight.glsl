#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/ambientLight.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// The same from all sides.
uniform vec3 Light$$Intensity;

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = vec3(0.0);
    intensity = Light$$Intensity;
    specular_intensity = vec3(0.0);
}
