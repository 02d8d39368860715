#pragma once
// The matrices of the fixed-function pipeline for core contexts; stands on the standard library.

#include <array>
#include <string>
#include <utility>
#include <vector>

namespace Mirk::GL {

/// All matrices that the fixed-function pipeline derives from projection and model view, by their
/// GLSL name behind "gl_"; 9 or 16 elements, column by column. The inverse of a singular matrix has
/// elements that are not finite.
std::vector<std::pair<std::string, std::vector<double>>>
fixedMatrices(const std::array<double, 16>& projection, const std::array<double, 16>& modelView);

} // namespace Mirk::GL
