#include <fennel/VObjectStatus.hpp>

#include <fennel/recordText.hpp>

#include <bit>
#include <utility>

namespace Mirk {

VObjectStatus::VObjectStatus() = default;
VObjectStatus::VObjectStatus(const std::string& statusText) : text(statusText) {}
VObjectStatus::VObjectStatus(const VObjectStatus&) = default;
VObjectStatus::VObjectStatus(VObjectStatus&&) noexcept = default;
VObjectStatus& VObjectStatus::operator=(const VObjectStatus&) = default;
VObjectStatus& VObjectStatus::operator=(VObjectStatus&&) noexcept = default;
VObjectStatus::~VObjectStatus() = default;

std::string VValueTrait<VObjectStatus>::Text(const VObjectStatus& value) {
    std::string text = "text " + quoted(value.text);
    if (value.colors != VObjectStatus::DefaultColors) {
        text += " colors " + numbersText(value.colors);
    }
    if (value.code != 0) text += " code " + numberText(value.code);
    return text;
}

bool VValueTrait<VObjectStatus>::setValueFromText(VObjectStatus& value, const std::string& text) {
    VObjectStatus read;
    auto colors = std::bit_cast<Skua::FixedArray<unsigned char, 8>>(read.colors);
    const bool readable =
        readFields(text, {textField("text", read.text), textField("colors", colors),
                          textField("code", read.code)});
    if (!readable) return false;
    read.colors = std::bit_cast<VObjectStatus::Colors>(colors);
    value = std::move(read);
    return true;
}

} // namespace Mirk
