

#ifndef	ZELK_LIGHTSOURCES // definition is version number
#define ZELK_LIGHTSOURCES 1

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

uniform vec3 uLight0Incidence;
uniform vec3 uLight0Intensity;
uniform vec3 uLight0Specular;
void getLight_0(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight0Incidence;
    intensity = uLight0Intensity;
    specular_intensity = uLight0Specular;
}
uniform vec3 uLight1Incidence;
uniform vec3 uLight1Intensity;
uniform vec3 uLight1Specular;
void getLight_1(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight1Incidence;
    intensity = uLight1Intensity;
    specular_intensity = uLight1Specular;
}
uniform vec3 uLight2Incidence;
uniform vec3 uLight2Intensity;
uniform vec3 uLight2Specular;
void getLight_2(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight2Incidence;
    intensity = uLight2Intensity;
    specular_intensity = uLight2Specular;
}
uniform vec3 uLight3Incidence;
uniform vec3 uLight3Intensity;
uniform vec3 uLight3Specular;
void getLight_3(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight3Incidence;
    intensity = uLight3Intensity;
    specular_intensity = uLight3Specular;
}
uniform vec3 uLight4Incidence;
uniform vec3 uLight4Intensity;
uniform vec3 uLight4Specular;
void getLight_4(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight4Incidence;
    intensity = uLight4Intensity;
    specular_intensity = uLight4Specular;
}
uniform vec3 uLight5Incidence;
uniform vec3 uLight5Intensity;
uniform vec3 uLight5Specular;
void getLight_5(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight5Incidence;
    intensity = uLight5Intensity;
    specular_intensity = uLight5Specular;
}
uniform vec3 uLight6Incidence;
uniform vec3 uLight6Intensity;
uniform vec3 uLight6Specular;
void getLight_6(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight6Incidence;
    intensity = uLight6Intensity;
    specular_intensity = uLight6Specular;
}
uniform vec3 uLight7Incidence;
uniform vec3 uLight7Intensity;
uniform vec3 uLight7Specular;
void getLight_7(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight7Incidence;
    intensity = uLight7Intensity;
    specular_intensity = uLight7Specular;
}
uniform vec3 uLight8Incidence;
uniform vec3 uLight8Intensity;
uniform vec3 uLight8Specular;
void getLight_8(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight8Incidence;
    intensity = uLight8Intensity;
    specular_intensity = uLight8Specular;
}
uniform vec3 uLight9Incidence;
uniform vec3 uLight9Intensity;
uniform vec3 uLight9Specular;
void getLight_9(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight9Incidence;
    intensity = uLight9Intensity;
    specular_intensity = uLight9Specular;
}
uniform vec3 uLight10Incidence;
uniform vec3 uLight10Intensity;
uniform vec3 uLight10Specular;
void getLight_10(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight10Incidence;
    intensity = uLight10Intensity;
    specular_intensity = uLight10Specular;
}
uniform vec3 uLight11Incidence;
uniform vec3 uLight11Intensity;
uniform vec3 uLight11Specular;
void getLight_11(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight11Incidence;
    intensity = uLight11Intensity;
    specular_intensity = uLight11Specular;
}
uniform vec3 uLight12Incidence;
uniform vec3 uLight12Intensity;
uniform vec3 uLight12Specular;
void getLight_12(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight12Incidence;
    intensity = uLight12Intensity;
    specular_intensity = uLight12Specular;
}
uniform vec3 uLight13Incidence;
uniform vec3 uLight13Intensity;
uniform vec3 uLight13Specular;
void getLight_13(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight13Incidence;
    intensity = uLight13Intensity;
    specular_intensity = uLight13Specular;
}
uniform vec3 uLight14Incidence;
uniform vec3 uLight14Intensity;
uniform vec3 uLight14Specular;
void getLight_14(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight14Incidence;
    intensity = uLight14Intensity;
    specular_intensity = uLight14Specular;
}
uniform vec3 uLight15Incidence;
uniform vec3 uLight15Intensity;
uniform vec3 uLight15Specular;
void getLight_15(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight15Incidence;
    intensity = uLight15Intensity;
    specular_intensity = uLight15Specular;
}
uniform vec3 uLight16Incidence;
uniform vec3 uLight16Intensity;
uniform vec3 uLight16Specular;
void getLight_16(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity)
{
    light_incidence = uLight16Incidence;
    intensity = uLight16Intensity;
    specular_intensity = uLight16Specular;
}


const int NumberOfLightSourceFunctions = 17;

void getLight_0(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_1(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_2(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_3(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_4(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_5(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_6(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_7(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_8(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_9(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_10(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_11(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_12(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_13(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_14(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_15(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);
void getLight_16(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, out vec3 specular_intensity);


vec3	getLightAtVertex(vec3 vertex)
{
vec3 light = vec3(0,0,0);

	{
	LightAtVertex L;
	 getLight_0(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_1(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_2(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_3(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_4(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_5(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_6(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_7(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_8(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_9(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_10(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_11(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_12(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_13(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_14(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_15(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}
	{
	LightAtVertex L;
	 getLight_16(vertex, L.light_incidence, L.intensity, L.specular_intensity);
	light += LightFunction(L, vertex);
	}

	return light;
}

#endif	// ZELK_LIGHTSOURCES

