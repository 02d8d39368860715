#include <fennel/VTime.hpp>

#include <fennel/recordText.hpp>

#include <utility>

namespace Mirk {

VTime::VTime(double timeValue) : value(timeValue) {}
VTime::VTime(double timeValue, double rangeFrom, double rangeTo, double rangeStep,
             const std::string& timeName, const std::string& timeUnit,
             const std::string& timeDescription)
    : value(timeValue),
      from(rangeFrom),
      to(rangeTo),
      step(rangeStep),
      name(timeName),
      unit(timeUnit),
      description(timeDescription) {}
VTime::VTime(const VTime&) = default;
VTime::VTime(VTime&&) noexcept = default;
VTime& VTime::operator=(const VTime&) = default;
VTime& VTime::operator=(VTime&&) noexcept = default;
VTime::~VTime() = default;

std::string VValueTrait<VTime>::Text(const VTime& value) {
    std::string text = numberText(value.value) + " from " + numberText(value.from) + " to " +
                       numberText(value.to) + " step " + numberText(value.step);
    if (!value.name.empty()) text += " name " + quoted(value.name);
    if (!value.unit.empty()) text += " unit " + quoted(value.unit);
    if (!value.description.empty()) text += " description " + quoted(value.description);
    return text;
}

bool VValueTrait<VTime>::setValueFromText(VTime& value, const std::string& text) {
    VTime read;
    const bool readable = readFields(
        text, {textField("", read.value), textField("from", read.from), textField("to", read.to),
               textField("step", read.step), textField("name", read.name),
               textField("unit", read.unit), textField("description", read.description)});
    if (!readable) return false;
    value = std::move(read);
    return true;
}

bool VValueCompareTrait<VTime>::isDifferent(const VTime& a, const VTime& b) {
    using Numbers = Skua::FixedArray<double, 4>;
    return VValueCompareTrait<Numbers>::isDifferent({a.value, a.from, a.to, a.step},
                                                    {b.value, b.from, b.to, b.step}) ||
           a.name != b.name || a.unit != b.unit || a.description != b.description;
}

} // namespace Mirk
