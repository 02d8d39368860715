#ifdef WIDE_LINES
#define level lineLevel
#endif
flat in float level;
#ifdef ONE_COLOR
uniform vec4 Color;
#else
uniform vec3 LevelColors[8];
#endif
out vec4 color;

void main()
{
#ifdef ONE_COLOR
    color = vec4(Color.rgb, 1.0);
#else
    color = vec4(LevelColors[clamp(int(level + 0.5), 0, 7)], 1.0);
#endif
}
