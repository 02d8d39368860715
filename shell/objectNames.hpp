#pragma once
// What objects of files are called; stands on the standard library.

#include <string>
#include <vector>

namespace Shell {

/// For each file as little of its path as tells it from the others: the name without its last
/// ending, the name, or that with folders. A file that is there twice has one name twice. None of
/// the names is `taken`.
std::vector<std::string> objectNames(const std::vector<std::string>& files,
                                     const std::string& taken);

} // namespace Shell
