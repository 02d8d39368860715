#pragma once
// The command `render`; stands on Studio and PictureFiles.

#include <Options.hpp>

#include <string>

namespace Shell {

/// Reads the files, draws them and writes the picture or both pictures. Returns what is to be told.
/// Throws what its parts throw; every message names what is at fault.
std::string render(const RenderOptions& options);

} // namespace Shell
