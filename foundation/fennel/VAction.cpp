#include <fennel/VAction.hpp>

namespace Mirk {

namespace {

constexpr std::string_view NoAction = "none";

} // namespace

VAction::VAction(double actionValue) : value(actionValue) {}
VAction::~VAction() = default;

std::string VValueTrait<VActionPtr>::Text(const VActionPtr& value) {
    return value ? numberText(value->value) : std::string(NoAction);
}

bool VValueTrait<VActionPtr>::setValueFromText(VActionPtr& value, const std::string& text) {
    if (trimmed(text) == NoAction) {
        value = VActionPtr();
        return true;
    }
    double number = 0.0;
    if (!readNumber(number, text)) return false;
    value = VActionPtr(new VAction(number));
    return true;
}

} // namespace Mirk
