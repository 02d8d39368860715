// As a positional light, within a cone round a direction: there by the cosine of the angle to that,
// to the power of an exponent.
uniform vec3 Light$$Intensity;
uniform vec3 Light$$Specular;
uniform vec3 Light$$Position;
uniform vec3 Light$$FallOff;
uniform vec3 Light$$Direction;
uniform float Light$$CosCone;
uniform float Light$$Exponent;

void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    vec3 way = vertex - Light$$Position;
    float far = length(way);
    light_incidence = far > 0.0 ? way / far : Light$$Direction;
    float along = dot(light_incidence, Light$$Direction);
    float spot = along < Light$$CosCone ? 0.0 : pow(max(along, 1e-18), Light$$Exponent);
    float share = spot / max(dot(Light$$FallOff, vec3(1.0, far, far * far)), 1e-18);
    intensity = share * Light$$Intensity;
    specular_intensity = share * Light$$Specular;
}
