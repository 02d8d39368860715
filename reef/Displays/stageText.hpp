#pragma once
// Composes the stages of shaders with what they need to see their views; stands on
// LayeredMultiViews.

#include <Polypia/LayeredMultiViews.hpp>

#include <string>
#include <string_view>

namespace Mirk {

/// The text of a stage with lines behind its head, which ends with its last `#version` or
/// `#extension` at the begin of a line. Messages count the lines of the text itself.
std::string withLines(std::string_view source, const std::string& lines);

/// The text with everything that LayeredMultiViews offers, for the present number of eyes, and
/// `defines` ahead of that.
std::string vertexStage(const LayeredMultiViews& views, std::string_view source,
                        const std::string& defines = {});
std::string geometryStage(const LayeredMultiViews& views, std::string_view source,
                          const std::string& defines = {});
/// The same with the function `vec3 towardsLight()`.
std::string litVertexStage(const LayeredMultiViews& views, std::string_view source,
                           const std::string& defines = {});

} // namespace Mirk
