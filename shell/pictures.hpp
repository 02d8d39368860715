#pragma once
// From what is drawn to the files of pictures; stands on Studio and PictureFiles.

#include <PictureFiles.hpp>
#include <Studio.hpp>
#include <pixels.hpp>

#include <vector>

namespace Shell {

/// Of the last frame, one for each file.
std::vector<Pixels> picturesOf(const Studio& studio, const RenderOptions& options);
/// Throws Mirk::WriteError; then each file is what it was.
void writePictures(const PictureFiles& files, std::vector<Pixels> pictures,
                   const RenderOptions& options);

} // namespace Shell
