#include <sorrel/VNutrition.hpp>

namespace Mirk {

VNutrition::VNutrition() = default;
VNutrition::~VNutrition() = default;

bool VNutrition::digestible(const std::string&) const {
    return false;
}

std::string VNutrition::quickinfo(std::set<std::string>&) const {
    return {};
}

std::string VNutrition::quickinfo(std::set<std::string>& foods, const ProgressPtr&) const {
    return quickinfo(foods);
}

std::string VNutrition::digest(std::set<std::string>&, const std::string&, const Translate&,
                               const std::set<std::string>&, const ProgressPtr&) {
    return {};
}

std::string VNutrition::createScript(std::set<std::string>&, int) {
    return {};
}

} // namespace Mirk
