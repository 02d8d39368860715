#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/directionalLight.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// The same everywhere, in one direction.
uniform vec3 Light$$Intensity;
uniform vec3 Light$$Specular;
uniform vec3 Light$$Direction;

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = Light$$Direction;
    intensity = Light$$Intensity;
    specular_intensity = Light$$Specular;
}
