#ifdef ZELK_DO_LINE_DIRECTIVE
#line 3 "reef/Polypia/Lighting.glsl"
#endif /* ZELK_DO_LINE_DIRECTIVE */
#ifndef	ZELK_PREDEFINED_LIGHTMODELS // definition is version number
#define ZELK_PREDEFINED_LIGHTMODELS 1

/********************************************************************************
 * Light source management
 *
 * All vectors are along the axes, and all points relative to the origin, of the
 * vertices that a shader hands to getLightAtVertex.
 ********************************************************************************/

/*
 * The light of one source that arrives at a point: the direction in which it travels, of length 1
 * (0 for light from all sides), and its colours.
 */
struct LightAtVertex
{
	vec3 light_incidence;
	vec3 intensity;
	vec3 specular_intensity;
};

/*
 * How a surface answers to the light of one source. To be defined by who uses getLightAtVertex.
 * Without any source it is called once, with a source of undefined members: then
 * NumberOfLightSourceFunctions, which is known to all that stands behind this text, is 0.
 */
vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex);

/* The sum of what LightFunction answers to each source. */
vec3 getLightAtVertex(in vec3 vertex);

/*
 * One-sided light at sidedness 1, two-sided at 0, the other side alone at -1, and a blend between.
 */
float SidedDotProduct(float DotProduct, float sidedness)
{
float UpperSide = max(0.0,  DotProduct) * min(1.0,  sidedness+1.0);
float LowerSide = max(0.0, -DotProduct) * min(1.0, -sidedness+1.0);
	return UpperSide + LowerSide;
}

/********************************************************************************
 * Predefined Light models
 *
 * Normal and ViewDir are of length 1; ViewDir is where an observer looks to.
 ********************************************************************************/

/* Lit on the side of the normal; a source without direction is ambient light. */
vec3 PhongLighting(in vec3 DiffuseColor, in LightAtVertex LightSource, in vec3 Normal, in vec3 ViewDir, float Shininess)
{
vec3 L = -LightSource.light_incidence;
vec3 N = Normal;
vec3 V = ViewDir;
/* L leads away from the surface already, so that V is the way from the observer. */
vec3 R = reflect(L, N);
float LN = clamp(dot(L,N), 0.0, 1.0);
float RV = max(dot(R,V), 0.0);
vec3 AmbientLight = LightSource.intensity*DiffuseColor;
vec3 PhongLight = LightSource.intensity*DiffuseColor*LN
                + LightSource.specular_intensity*pow(RV, max(Shininess, 1.0));
	return mix(AmbientLight, PhongLight, 1.0-step(dot(L,L), 0.0));
}

/* The same with sides as in SidedDotProduct. */
vec3 SidedPhongLighting(in vec3 DiffuseColor, in LightAtVertex LightSource, in vec3 Normal, in vec3 ViewDir, float Shininess, float sidedness)
{
vec3 L = -LightSource.light_incidence;
vec3 N = Normal;
vec3 V = ViewDir;
vec3 R = reflect(L, N);
float RV = max(dot(R,V), 0.0);
	if (dot(L,L) == 0.0)
		return LightSource.intensity*DiffuseColor;
float LN = SidedDotProduct(dot(L,N), sidedness);
	return LightSource.intensity*DiffuseColor*LN
	     + LightSource.specular_intensity*pow(RV, max(Shininess, 1.0));
}

#endif	// ZELK_PREDEFINED_LIGHTMODELS

