#pragma once
// Pictures that follow their shaders; stands on Studio, PictureFiles and FileWatch.

#include <PictureFiles.hpp>
#include <Studio.hpp>

#include <vector>

namespace Shell {

/// Draws for these eyes and writes the picture, and does so again whenever a file of a shader has
/// been saved, until SIGINT or SIGTERM comes. What is faulty is told on standard error once, and
/// drawn as its shaders were before; as long as something has never been drawn there is no picture.
/// Throws what Studio and PictureFiles throw.
void watch(Studio& studio, const RenderOptions& options,
           const std::vector<Mirk::GLRenderContext::Eye>& eyes, const PictureFiles& files);

} // namespace Shell
