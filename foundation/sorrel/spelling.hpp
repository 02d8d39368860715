#pragma once
// Finds what somebody who mistyped a name may have meant; stands on nothing.

#include <string>
#include <vector>

namespace Mirk {

/// The name among `known` that is nearest by insertions, deletions and replacements of bytes; ""
/// if all are too far away to have been meant. Looks at 256 short names at most.
std::string nearestName(const std::string& mistyped, const std::vector<std::string>& known);

} // namespace Mirk
