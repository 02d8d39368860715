#include <PolypiaGL/ContextError.hpp>

#include <utility>

namespace Mirk {
namespace {

std::string join(const std::string& message, const std::vector<std::string>& reasons) {
    std::string text = message;
    if (!reasons.empty()) text += ":";
    for (const std::string& reason : reasons) text += "\n  " + reason;
    return text;
}

} // namespace

ContextError::ContextError(const std::string& message, std::vector<std::string> reasons)
    : std::runtime_error(join(message, reasons)), _reasons(std::move(reasons)) {}

} // namespace Mirk
