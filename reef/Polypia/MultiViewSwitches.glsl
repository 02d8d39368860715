#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/MultiViewSwitches.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
// START of LayeredMultiViews::enable_multiview()
// What the driver can do, ZELK_HAVE_*, is defined by VRenderContext::getShaderPlatformDefines().
// Application code may undefine these macros to switch multiview off.
#if ZELK_OUTPUT_VIEWS > 1
#define ZELK_ENABLE_OVR_MULTIVIEW 1
#endif
#if defined(ZELK_HAVE_multiview2) && defined(ZELK_ENABLE_OVR_MULTIVIEW) && !defined(ZELK_DO_MULTIVIEW_VIA_LAYER_ID)
#ifdef GEOMETRY_SHADER
#extension GL_EXT_multiview_tessellation_geometry_shader : enable
#else
#extension GL_OVR_multiview : require
#extension GL_OVR_multiview2 : require
#endif
// The layout is valid in these stages only.
#if defined(DEFINE_NUM_VIEWS_LAYOUT) && (defined(VERTEX_SHADER) || defined(GEOMETRY_SHADER))
layout(num_views = $$) in;
#endif
#endif
#define HAVE_NumberOfViews 1
const int NumberOfViews = $$;
// END of LayeredMultiViews::layout_num_views()
