#pragma once
// The command `render`; stands on Scene.

#include <Options.hpp>

namespace Shell {

/// Reads the files, draws them and writes the picture. Throws what its parts throw; every message
/// names what is at fault.
void render(const RenderOptions& options);

} // namespace Shell
