#version 330
#ifdef WIDE_LINES
#define level lineLevel
#endif
flat in float level;
uniform vec3 LevelColors[8];
out vec4 color;

void main()
{
    color = vec4(LevelColors[clamp(int(level + 0.5), 0, 7)], 1.0);
}
