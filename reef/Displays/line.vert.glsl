#version 330
// Lines: position relative to the origin of the object, level 0 to 255 as a fraction.
in vec3 Coordinates;
in float Level;
#ifdef ON_EARTH
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
    gl_Position = multiview_transform(mkRelativeVertex(vec4(Coordinates, 1.0)));
    level = Level * 255.0;
#ifdef ON_EARTH
    nearSide = dot(HiddenSides[zelk_getViewID()].plane, vec4(Coordinates, 1.0));
#else
    nearSide = 1.0;
#endif
}
