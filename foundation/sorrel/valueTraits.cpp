#include <sorrel/valueTraits.hpp>

namespace Mirk {

std::string VValueTrait<Skua::rgba_float_t>::Text(const Skua::rgba_float_t& value) {
    return numbersText(numbersOf(value));
}

bool VValueTrait<Skua::rgba_float_t>::setValueFromText(Skua::rgba_float_t& value,
                                                       const std::string& text) {
    std::array<float, 4> color{};
    std::array<float, 3> opaque{};
    if (readNumbers(opaque, text)) {
        color = {opaque[0], opaque[1], opaque[2], 1.0f};
    } else if (!readNumbers(color, text)) {
        return false;
    }
    value = std::bit_cast<Skua::rgba_float_t>(color);
    return true;
}

std::string VValueTrait<SharedBoundingBox>::Text(const SharedBoundingBox&) {
    return "A bounding box.";
}

bool VValueTrait<SharedBoundingBox>::setValueFromText(SharedBoundingBox&, const std::string&) {
    return false;
}

} // namespace Mirk
