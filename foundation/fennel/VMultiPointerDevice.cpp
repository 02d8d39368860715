#include <fennel/VMultiPointerDevice.hpp>

#include <algorithm>
#include <array>
#include <span>
#include <string_view>
#include <utility>

namespace Mirk {

namespace {

using Pointer = VMultiPointerDevice::Pointer;

constexpr std::string_view NoPointers = "none";
/// In the order of Phase.
constexpr std::array<std::string_view, 5> PhaseNames{"began", "moved", "stationary", "ended",
                                                     "cancelled"};
constexpr std::size_t WordsOfPointer = 7;

std::string pointerText(const Pointer& pointer) {
    return numberText(pointer.id) + " at " + numberText(pointer.x) + ' ' + numberText(pointer.y) +
           " pressure " + numberText(pointer.pressure) + ' ' +
           std::string(PhaseNames[static_cast<std::size_t>(pointer.phase)]);
}

bool readPointer(Pointer& pointer, std::span<const std::string_view, WordsOfPointer> words) {
    if (words[1] != "at" || words[4] != "pressure") return false;
    const auto* const phase = std::find(PhaseNames.begin(), PhaseNames.end(), words[6]);
    if (phase == PhaseNames.end()) return false;
    pointer.phase = static_cast<VMultiPointerDevice::Phase>(phase - PhaseNames.begin());
    return readNumber(pointer.id, words[0]) && readNumber(pointer.x, words[2]) &&
           readNumber(pointer.y, words[3]) && readNumber(pointer.pressure, words[5]);
}

} // namespace

bool VMultiPointerDevice::Pointer::operator==(const Pointer& other) const {
    using Numbers = Skua::FixedArray<double, 3>;
    return id == other.id && phase == other.phase &&
           !VValueCompareTrait<Numbers>::isDifferent({x, y, pressure},
                                                     {other.x, other.y, other.pressure});
}

VMultiPointerDevice::VMultiPointerDevice() = default;
VMultiPointerDevice::VMultiPointerDevice(const VMultiPointerDevice&) = default;
VMultiPointerDevice::VMultiPointerDevice(VMultiPointerDevice&&) noexcept = default;
VMultiPointerDevice& VMultiPointerDevice::operator=(const VMultiPointerDevice&) = default;
VMultiPointerDevice& VMultiPointerDevice::operator=(VMultiPointerDevice&&) noexcept = default;
VMultiPointerDevice::~VMultiPointerDevice() = default;

bool VMultiPointerDevice::operator==(const VMultiPointerDevice& other) const = default;

std::string VValueTrait<VMultiPointerDevice>::Text(const VMultiPointerDevice& value) {
    if (value.pointers.empty()) return std::string(NoPointers);
    std::string text;
    for (const Pointer& pointer : value.pointers) {
        if (!text.empty()) text += ", ";
        text += pointerText(pointer);
    }
    return text;
}

bool VValueTrait<VMultiPointerDevice>::setValueFromText(VMultiPointerDevice& value,
                                                        const std::string& text) {
    std::vector<std::string_view> words;
    if (!splitWords(text, words) || words.empty()) return false;
    std::vector<Pointer> read;
    if (words.size() > 1 || words.front() != NoPointers) {
        if (words.size() % WordsOfPointer != 0) return false;
        for (std::size_t first = 0; first < words.size(); first += WordsOfPointer) {
            const std::span<const std::string_view, WordsOfPointer> own(words.data() + first,
                                                                        WordsOfPointer);
            if (!readPointer(read.emplace_back(), own)) return false;
        }
    }
    value.pointers = std::move(read);
    return true;
}

} // namespace Mirk
