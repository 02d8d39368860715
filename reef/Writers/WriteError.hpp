#pragma once
// The failure of writing a file; stands on the standard library.

#include <Writers/export.hpp>

#include <stdexcept>

namespace Mirk {

/// A file could not be written. The message is one line, "cannot write FILE: REASON".
class WRITERS_EXPORT WriteError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Mirk
