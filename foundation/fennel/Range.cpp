#include <fennel/Range.hpp>

namespace Mirk {

Range::Range() = default;
Range::Range(double rangeMinimum, double rangeMaximum)
    : minimum(rangeMinimum), maximum(rangeMaximum) {}
Range::Range(const Range&) = default;
Range& Range::operator=(const Range&) = default;
Range::~Range() = default;

bool Range::contains(double number) const {
    return number >= minimum && number <= maximum;
}

double Range::clamp(double number) const {
    if (empty()) return number;
    if (number < minimum) return minimum;
    return number > maximum ? maximum : number;
}

std::string VValueTrait<Range>::Text(const Range& value) {
    return numbersText(std::array{value.minimum, value.maximum});
}

bool VValueTrait<Range>::setValueFromText(Range& value, const std::string& text) {
    std::array<double, 2> limits{};
    if (!readNumbers(limits, text)) return false;
    value.minimum = limits[0];
    value.maximum = limits[1];
    return true;
}

bool VValueCompareTrait<Range>::isDifferent(const Range& a, const Range& b) {
    return VValueCompareTrait<double>::isDifferent(a.minimum, b.minimum) ||
           VValueCompareTrait<double>::isDifferent(a.maximum, b.maximum);
}

} // namespace Mirk
