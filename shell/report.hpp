#pragma once
// Reports of commands, as JSON; stands on Studio and nlohmann's JSON.

#include <Studio.hpp>
#include <pick.hpp>

#include <string>
#include <vector>

namespace Shell {

// Each is one object on a line of its own. Numbers that are not finite become null; bytes of names
// that are not UTF-8 become U+FFFD.

/// `eyes` are those that were drawn, `outputs` the files that were written.
std::string renderReport(const Studio& studio, const RenderOptions& options,
                         const std::vector<Mirk::GLRenderContext::Eye>& eyes,
                         const std::vector<std::string>& outputs);
std::string pickReport(const Studio& studio, const PickOptions& options, const Picked& picked);

} // namespace Shell
