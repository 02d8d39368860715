#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Displays/headlight.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// From the eye or, where it sees without perspective, along its view.
uniform vec3 Light$$Intensity;
uniform vec3 Light$$Specular;
uniform vec3 Light$$Position; // of the eye
uniform vec3 Light$$Direction; // in which it looks
uniform float Light$$HasPerspective;

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    vec3 way = vertex - Light$$Position;
    float longest = max(max(abs(way.x), abs(way.y)), abs(way.z));
    bool isFromEye = Light$$HasPerspective > 0.5 && longest > 0.0;
    light_incidence = isFromEye ? normalize(way / longest) : Light$$Direction;
    intensity = Light$$Intensity;
    specular_intensity = Light$$Specular;
}
