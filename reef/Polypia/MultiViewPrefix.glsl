#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/MultiViewPrefix.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
/*
 * How a stage sees the views of a frame. Needs the block MultiView and the constant NumberOfViews
 * ahead of it, and one of VERTEX_SHADER, GEOMETRY_SHADER and FRAGMENT_SHADER. Lengths are in the
 * unit of the world's coordinates.
 */

/* ------------------------------------------------------------------------- View identity
 *
 * zelk_getViewID() is the number of the view that is being drawn: its place in `views` and in
 * TranslatedViews. A vertex stage has to call zelk_setViewID() first of all.
 *
 *   ZELK_DO_MULTIVIEW_VIA_LAYER_ID  one pass: an instance for each view, drawn to a layer of its own
 *   ZELK_ENABLE_OVR_MULTIVIEW       one pass: the extension GL_OVR_multiview, if it is there
 *   neither                         one pass per view: a uniform tells which
 */
#if defined(ZELK_DO_MULTIVIEW_VIA_LAYER_ID)
#ifdef ZELK_GLSL_ENABLE_WARNINGS
#warning "Multi-view: view ID from the instance, one layer for each view"
#endif
#if defined(VERTEX_SHADER)
out flat uint instanceID;
void zelk_setViewID() { instanceID = uint(gl_InstanceID); }
uint zelk_getViewID() { return uint(gl_InstanceID); }
#elif defined(GEOMETRY_SHADER)
in flat uint instanceID[];
uint zelk_getViewID() { return instanceID[0]; }
#elif defined(zelk_getViewID)
/* The backend has told by this macro where the stage finds its layer. */
#elif __VERSION__ >= 430
uint zelk_getViewID() { return uint(gl_Layer); }
#else
#error "Multi-view by layers: a fragment stage needs version 430 for gl_Layer, or a macro zelk_getViewID()"
#endif
#else
#ifdef VERTEX_SHADER
void zelk_setViewID() {}
#endif
/* Who undefines ZELK_HAVE_multiview2 has not enabled the extension. */
#if defined(ZELK_ENABLE_OVR_MULTIVIEW) && defined(ZELK_HAVE_multiview2)
#ifdef ZELK_GLSL_ENABLE_WARNINGS
#warning "Multi-view: view ID from GL_OVR_multiview"
#endif
uint zelk_getViewID() { return gl_ViewID_OVR; }
#else
#ifdef ZELK_GLSL_ENABLE_WARNINGS
#warning "Multi-view: view ID from the uniform zelk_CurrentViewID"
#endif
uniform int zelk_CurrentViewID = 0;
uint zelk_getViewID() { return uint(zelk_CurrentViewID); }
#endif
#endif

/* --------------------------------------------------------------------- Relative vertices
 *
 * Vertices are relative to an origin near them, as single precision would not do for the
 * coordinates of a planet. theVertexOffset is what they were offset by: vertex - offset is the
 * coordinate of the world. A RelativeVertex keeps both together: a bare vec4 is too easily taken
 * for a coordinate of the world.
 */
#define HAVE_ZELK_TRANSLATED_VIEWS 1
#define HAVE_RelativeVertex

uniform vec4 theVertexOffset = vec4(0,0,0,0);
#define TranslationVector	theVertexOffset.xyz

struct RelativeVertex { vec4 Vertex, Offset; };

RelativeVertex mkRelativeVertex(in vec4 Vertex)
{
    return RelativeVertex(Vertex, theVertexOffset);
}

/* Coordinates of the world, in single precision only. */
vec4 WorldVertex(in RelativeVertex V) { return V.Vertex - V.Offset; }
vec3 WorldVertex3(in RelativeVertex V) { return WorldVertex(V).xyz; }
float WorldVertexHeight(in RelativeVertex V) { return WorldVertex(V).z; }

/* ---------------------------------------------------------------------- Translated views
 *
 * Positions of the cameras relative to the vertices: world + offset, summed in double precision.
 * They depend on the offset of the program and so are no part of the block. Fourth components:
 * 0 for Translation, 1 for the two points.
 */
struct TranslatedView { vec4 Translation, CameraObserver, CameraLookAt, Unused; };

uniform TranslatedView TranslatedViews[ NumberOfViews ];

TranslatedView getTranslatedView(uint ViewID) { return TranslatedViews[ViewID]; }
TranslatedView getTranslatedView() { return getTranslatedView(zelk_getViewID()); }
vec4 getCameraObserverRelativeToVertexOffset() { return getTranslatedView().CameraObserver; }
vec4 getCameraLookAtRelativeToVertexOffset() { return getTranslatedView().CameraLookAt; }

/* ----------------------------------------------------------------- Multi-view transforms */
#define ZELK_HAVE_MULTIVIEW_TRANSFORM 1
#define HAVE_MULTIVIEW_TRANSFORM 1

vec4 multiview_transform_view_eye_to_screen(uint ViewID, in vec4 eye)
{
    return views[ViewID].ProjectionMatrix*eye;
}

vec4 multiview_transform_view_eye_to_screen(in vec4 eye)
{
    return multiview_transform_view_eye_to_screen(zelk_getViewID(), eye);
}

/* From coordinates of the world. Far from the origin vertices jitter. */
vec4 multiview_transform_view_unstable(uint ViewID, vec4 v)
{
    return views[ViewID].ProjectionMatrix*(views[ViewID].FullModelViewMatrix*v);
}

vec4 multiview_transform_unstable(vec4 v)
{
    return multiview_transform_view_unstable(zelk_getViewID(), v);
}

/* From coordinates relative to the camera, along the axes of the world. */
vec4 eye_multiview_transform_untranslated_view(uint ViewID, vec4 v)
{
    return views[ViewID].UntranslatedModelViewMatrix*v;
}

vec4 multiview_transform_untranslated_view(uint ViewID, vec4 v)
{
    return views[ViewID].ProjectionMatrix*(views[ViewID].UntranslatedModelViewMatrix*v);
}

vec4 multiview_transform_untranslated(vec4 v)
{
    return multiview_transform_untranslated_view(zelk_getViewID(), v);
}

/*
 * The stable transform, from a relative vertex. The large parts have cancelled in TranslatedViews;
 * the one subtraction here is between numbers of the size of the distance to the camera. To add
 * V.Offset and views[].Translation here would be the same in exact arithmetic only.
 */
vec4 eye_multiview_transform_view(uint ViewID, in RelativeVertex V)
{
    return eye_multiview_transform_untranslated_view(
        ViewID, V.Vertex - TranslatedViews[ViewID].Translation);
}

vec4 eye_multiview_transform_view(in RelativeVertex V)
{
    return eye_multiview_transform_view(zelk_getViewID(), V);
}

vec4 multiview_transform_view(uint ViewID, in RelativeVertex V)
{
    return multiview_transform_untranslated_view(
        ViewID, V.Vertex - TranslatedViews[ViewID].Translation);
}

vec4 multiview_transform(in RelativeVertex V)
{
    return multiview_transform_view(zelk_getViewID(), V);
}

/* Where a view looks, in the space that m transforms from: minus the third row of the rotation. */
vec3 get_viewdir_from_modelview_matrix(in mat4 m)
{
    return -vec3(m[0][2], m[1][2], m[2][2]);
}

vec3 multiview_get_viewdir(in uint ViewID)
{
    return get_viewdir_from_modelview_matrix(views[ViewID].FullModelViewMatrix);
}

vec3 get_viewdir() { return multiview_get_viewdir(zelk_getViewID()); }

/* Stands for ftransform(). */
vec4 zelk_ftransform(in vec4 v) { return multiview_transform(mkRelativeVertex(v)); }

/* For older shaders only: a vertex and its offset, apart. */
vec4 zelk_transform_vertex_WorldToEye(in vec4 v, in vec4 t)
{
    return eye_multiview_transform_view(RelativeVertex(v, t));
}

vec4 zelk_transform_vertex_WorldToEye(in vec4 v, in vec3 t)
{
    return zelk_transform_vertex_WorldToEye(v, vec4(t, 0.0));
}

vec3 zelk_WorldPosition(in vec4 v) { return v.xyz; }
