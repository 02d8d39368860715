#pragma once
// What a command line can't be carried out for; stands on the standard library.

#include <stdexcept>

namespace Shell {

/// The user's words at fault, not the data: one line with the option, what it expects and what it
/// got.
class UsageError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

} // namespace Shell
