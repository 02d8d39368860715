#pragma once
// Why there is no graphics context; stands on the standard library.

#include <PolypiaGL/export.hpp>

#include <stdexcept>
#include <string>
#include <vector>

namespace Mirk {

/// One message for the user with a line for each try: what was tried and why it failed.
class POLYPIAGL_EXPORT ContextError : public std::runtime_error {
public:
    /// The text is `message`, then ":" and a line for each reason, if there are any.
    explicit ContextError(const std::string& message, std::vector<std::string> reasons = {});

    const std::vector<std::string>& reasons() const { return _reasons; }

private:
    std::vector<std::string> _reasons;
};

} // namespace Mirk
