#pragma once
// Names of GLSL that only the compatibility profile has, and what stands for them in a core
// context. Tables on the standard library; what glslAdapt stands on.

#include <array>
#include <cstddef>
#include <optional>
#include <string_view>

namespace Mirk::GL {

/// An input of the vertex stage; `location` is the generic attribute that it aliases.
struct FixedInput {
    std::string_view name; ///< behind "gl_"
    std::string_view type;
    int location;
};
inline constexpr std::array<FixedInput, 13> fixedInputs{{
    {"Vertex", "vec4", 0},
    {"Normal", "vec3", 2},
    {"Color", "vec4", 3},
    {"SecondaryColor", "vec4", 4},
    {"FogCoord", "float", 5},
    {"MultiTexCoord0", "vec4", 8},
    {"MultiTexCoord1", "vec4", 9},
    {"MultiTexCoord2", "vec4", 10},
    {"MultiTexCoord3", "vec4", 11},
    {"MultiTexCoord4", "vec4", 12},
    {"MultiTexCoord5", "vec4", 13},
    {"MultiTexCoord6", "vec4", 14},
    {"MultiTexCoord7", "vec4", 15},
}};

struct FixedUniform {
    std::string_view name; ///< behind "gl_"
    std::string_view type;
    std::string_view suffix; ///< array size
};
inline constexpr std::array<FixedUniform, 15> fixedUniforms{{
    {"ModelViewMatrix", "mat4", ""},
    {"ModelViewMatrixInverse", "mat4", ""},
    {"ModelViewMatrixTranspose", "mat4", ""},
    {"ModelViewMatrixInverseTranspose", "mat4", ""},
    {"ProjectionMatrix", "mat4", ""},
    {"ProjectionMatrixInverse", "mat4", ""},
    {"ProjectionMatrixTranspose", "mat4", ""},
    {"ProjectionMatrixInverseTranspose", "mat4", ""},
    {"ModelViewProjectionMatrix", "mat4", ""},
    {"ModelViewProjectionMatrixInverse", "mat4", ""},
    {"ModelViewProjectionMatrixTranspose", "mat4", ""},
    {"ModelViewProjectionMatrixInverseTranspose", "mat4", ""},
    {"NormalMatrix", "mat3", ""},
    {"NormalScale", "float", ""},
    {"TextureMatrix", "mat4", "[8]"},
}};
inline constexpr std::size_t modelViewProjection = 8;
static_assert(fixedUniforms[modelViewProjection].name == "ModelViewProjectionMatrix");

/// A value that goes from stage to stage.
struct FixedVarying {
    std::string_view name;     ///< behind "gl_", as vertex and geometry stages write it
    std::string_view fragment; ///< behind "gl_", as the fragment stage reads it; may be empty
    std::string_view type;
    std::string_view suffix; ///< array size
};
inline constexpr std::array<FixedVarying, 6> fixedVaryings{{
    {"FrontColor", "Color", "vec4", ""},
    {"BackColor", "", "vec4", ""},
    {"FrontSecondaryColor", "SecondaryColor", "vec4", ""},
    {"BackSecondaryColor", "", "vec4", ""},
    {"FogFragCoord", "FogFragCoord", "float", ""},
    {"TexCoord", "TexCoord", "vec4", "[8]"},
}};
inline constexpr std::size_t frontColor = 0;
inline constexpr std::size_t backColor = 1;

struct FixedOutput {
    std::string_view name; ///< behind "gl_"
    std::string_view type;
    std::string_view suffix;
};
inline constexpr std::array<FixedOutput, 2> fixedOutputs{{
    {"FragColor", "vec4", ""},
    {"FragData", "vec4", "[gl_MaxDrawBuffers]"},
}};

/// Further names that ask for the compatibility profile; nothing stands for them in a core context.
inline constexpr std::array<std::string_view, 26> fixedStates{
    "ClipVertex",
    "ClipVertexIn",
    "ClipPlane",
    "Point",
    "FrontMaterial",
    "BackMaterial",
    "LightSource",
    "LightModel",
    "FrontLightModelProduct",
    "BackLightModelProduct",
    "FrontLightProduct",
    "BackLightProduct",
    "TextureEnvColor",
    "EyePlaneS",
    "EyePlaneT",
    "EyePlaneR",
    "EyePlaneQ",
    "ObjectPlaneS",
    "ObjectPlaneT",
    "ObjectPlaneR",
    "ObjectPlaneQ",
    "Fog",
    "MaxTextureUnits",
    "MaxTextureCoords",
    "MaxVaryingFloats",
    "MaxClipPlanes",
};

/// Index of the row with this name, empty without one.
template<class Table>
constexpr std::optional<std::size_t> findName(const Table& table, std::string_view name) {
    for (std::size_t i = 0; i < table.size(); ++i)
        if (table[i].name == name) return i;
    return {};
}

/// The value that the fragment stage reads under this name.
constexpr std::optional<std::size_t> findFragmentInput(std::string_view name) {
    for (std::size_t i = 0; i < fixedVaryings.size(); ++i)
        if (!name.empty() && fixedVaryings[i].fragment == name) return i;
    return {};
}

} // namespace Mirk::GL
