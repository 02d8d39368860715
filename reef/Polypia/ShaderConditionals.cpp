#include <Polypia/ShaderConditionals.hpp>

#include <Polypia/VRenderContext.hpp>

#include <sorrel/VValue.hpp>

#include <algorithm>
#include <cstdint>

namespace Mirk {

bool ShaderConditionals::SlotOrder::operator()(const Slot& a, const Slot& b) const {
    const auto serial = [](const Slot& slot) {
        const Keel::ControlBlock* const block = slot.controlBlock();
        return block != nullptr ? block->serial() + 1 : 0;
    };
    return serial(a) < serial(b);
}

std::string ShaderConditionals::getShaderDefines(const ValuePoolPtr& pool) const {
    std::string text;
    for (const auto& [slot, macro] : Conditions) {
        if (isOn(slot, pool)) text += "#define " + macro + " 1\n";
    }
    return text;
}

bool ShaderConditionals::isOn(const Slot& slot, const ValuePoolPtr& pool) const {
    const VSlotPtr live(slot);
    const VValuePtr value = live ? live->getValueBase(pool) : VValuePtr();
    if (const auto* const flag = typedValue<bool>(value.get())) {
        bool isSet = false;
        flag->get(isSet);
        return isSet;
    }
    const auto* const number = typedValue<double>(value.get());
    const auto predicate = Predicates.find(slot);
    if (number == nullptr || predicate == Predicates.end() || !predicate->second) return false;
    double content = 0.0;
    number->get(content);
    return predicate->second(content);
}

bool ShaderConditionals::hasValidShaderDefines(const PolypCreatorContext& context) const {
    return std::none_of(Conditions.begin(), Conditions.end(), [&](const auto& condition) {
        const VSlotPtr live(condition.first);
        return live && live->age(context.context.pool) > context.creator->age();
    });
}

} // namespace Mirk
