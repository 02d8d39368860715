#version 330
// Lines over the earth: position in scene space, level 0 to 255 as a fraction.
in vec3 Coordinates;
in float Level;
uniform mat4 ModelViewProjection;
uniform vec4 HiddenSide; // a plane, negative where the globe hides the line
flat out float level;
flat out float nearSide;

void main()
{
    gl_Position = ModelViewProjection * vec4(Coordinates, 1.0);
    level = Level * 255.0;
    nearSide = dot(HiddenSide, vec4(Coordinates, 1.0));
}
