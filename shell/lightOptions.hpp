#pragma once
// Lights on the command line; stands on optionValues.

#include <Camera.hpp>

#include <rookery/Coordinates.hpp>

#include <string>

namespace Shell {

enum class LightKind { ambient, headlight, directional, positional, spot };

/// A light, in the world. Of what its kind doesn't have the values are of no use.
struct LightOptions {
    LightKind kind = LightKind::ambient;
    Skua::rgba_float_t color{1, 1, 1, 1};
    double intensity = 1.0;
    double specular = 1.0;
    point position;
    vector direction;
    // What the intensity is divided by: at any distance, times it, times its square.
    double constant = 1.0;
    double linear = 0.0;
    double quadratic = 0.0;
    double coneDegrees = 30.0; ///< from the middle to the edge
    double exponent = 1.0;
};

/// KIND[:NAME=VALUE,...]. Throws UsageError.
LightOptions lightOf(const std::string& option, const std::string& text);
/// What kinds and names there are, for help.
std::string helpOfLights();

} // namespace Shell
