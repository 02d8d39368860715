#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/MultiViewStructures.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// LayeredMultiViews::DefineStructView

/* All in world space but for the matrices, in single precision. The fourth components are 0. */

struct CameraProperties {
    vec4 Observer;
    vec4 LookAt;
    vec4 Up;
    float ViewAngle; // vertical, in degrees
    float Unused1, Unused2, Unused3;
};

/* Corners: near or far, top or bottom, left or right. */
struct Frustum {
    vec4 ntl, ntr, nbl, nbr, ftl, ftr, fbl, fbr;
};

/* The part of the output that the view has, from -1 to 1. */
struct Viewport {
    vec2 LeftBottom;
    vec2 RightTop;
};

struct View {
    mat4 ProjectionMatrix;            // eye to clip space
    mat4 UntranslatedModelViewMatrix; // directions of the world to eye space
    mat4 FullModelViewMatrix;         // world to eye space
    mat4 PixelCalibrationMatrix;
    mat4 inv_ProjectionMatrix;
    mat4 inv_UntranslatedModelViewMatrix;
    mat4 inv_FullModelViewMatrix;
    vec4 Translation; // position of the camera
    vec4 Unused;
    CameraProperties CameraSettings;
    Viewport theViewport;
    Frustum theFrustum;
};
