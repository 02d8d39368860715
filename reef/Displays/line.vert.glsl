// Lines: position relative to the origin of the object, level 0 to 255 as a fraction.
in vec3 Coordinates;
#ifndef ONE_COLOR
in float Level;
#endif
#if defined(ON_EARTH) && !defined(CUSTOM_TransformOperator)
#define IS_ON_GLOBE // where an operator puts the line is not known
struct HiddenSide {
    vec4 plane; // negative where the globe hides the line
};
uniform HiddenSide HiddenSides[NumberOfViews];
#endif
flat out float level;
flat out float nearSide;

void main()
{
    zelk_setViewID();
    gl_Position = zelk_transform_vertex_WorldToScreen(mkRelativeVertex(vec4(Coordinates, 1.0)));
    cut(Coordinates);
#ifdef ONE_COLOR
    level = 0.0;
#else
    level = Level * 255.0;
#endif
#ifdef IS_ON_GLOBE
    nearSide = dot(HiddenSides[zelk_getViewID()].plane, vec4(Coordinates, 1.0));
#else
    nearSide = 1.0;
#endif
}
