// From one point in all directions. FallOff: what the intensity is divided by is the sum of its
// components, the second one times the distance, the third times the square of that.
uniform vec3 Light$$Intensity;
uniform vec3 Light$$Specular;
uniform vec3 Light$$Position;
uniform vec3 Light$$FallOff;

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    vec3 way = vertex - Light$$Position;
    float far = length(way);
    light_incidence = far > 0.0 ? way / far : vec3(0.0);
    float share = 1.0 / max(dot(Light$$FallOff, vec3(1.0, far, far * far)), 1e-18);
    intensity = share * Light$$Intensity;
    specular_intensity = share * Light$$Specular;
}
