#include <Polypia/PolypNutrition.hpp>

namespace Mirk {

PolypNutrition::PolypNutrition() = default;
PolypNutrition::~PolypNutrition() = default;

std::string PolypNutrition::digest(std::set<std::string>&, const std::string&, const Translate&,
                                   const std::set<std::string>&, const ProgressPtr&) {
    return "<B>Error: No CPU implementation available for this algorithm!</B>";
}

} // namespace Mirk
