#include <sorrel/VValueTrait.hpp>

#include <sorrel/textForm.hpp>

#include <array>
#include <utility>

namespace Mirk {

std::string VValueTrait<bool>::Text(const bool& value) {
    return value ? "true" : "false";
}

bool VValueTrait<bool>::setValueFromText(bool& value, const std::string& text) {
    static constexpr std::array<std::pair<std::string_view, bool>, 8> words{{{"true", true},
                                                                             {"false", false},
                                                                             {"yes", true},
                                                                             {"no", false},
                                                                             {"on", true},
                                                                             {"off", false},
                                                                             {"1", true},
                                                                             {"0", false}}};
    const std::string word = inLowerCase(trimmed(text));
    for (const auto& [name, meaning] : words) {
        if (word != name) continue;
        value = meaning;
        return true;
    }
    return false;
}

std::string VValueTrait<int>::Text(const int& value) {
    return numberText(value);
}

bool VValueTrait<int>::setValueFromText(int& value, const std::string& text) {
    return readNumber(value, text);
}

std::string VValueTrait<double>::Text(const double& value) {
    return numberText(value);
}

bool VValueTrait<double>::setValueFromText(double& value, const std::string& text) {
    return readNumber(value, text);
}

std::string VValueTrait<std::string>::Text(const std::string& value) {
    return value;
}

bool VValueTrait<std::string>::setValueFromText(std::string& value, const std::string& text) {
    value = text;
    return true;
}

} // namespace Mirk
