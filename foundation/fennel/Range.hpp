#pragma once
// From one number to another; stands on sorrel's value traits.

#include <fennel/fwd.hpp>

#include <sorrel/valueTraits.hpp>

#include <string>

namespace Mirk {

/// The numbers from `minimum` to `maximum`, both included. A base of ranges that know more; by
/// itself it has a smallest and a largest number only.
class FENNEL_EXPORT Range {
public:
    /// From 0 to 1.
    Range();
    Range(double rangeMinimum, double rangeMaximum);
    Range(const Range&);
    Range& operator=(const Range&);
    virtual ~Range();

    /// Never for a NaN, and never if the range is empty.
    virtual bool contains(double number) const;
    /// The nearest number of the range. A NaN stays one; an empty range returns the number itself.
    virtual double clamp(double number) const;

    /// Nothing is in a range whose maximum is below its minimum, or of which one is a NaN.
    bool empty() const noexcept { return !(minimum <= maximum); }

    double minimum = 0.0;
    double maximum = 1.0;
};

/// Minimum and maximum, parted by a blank.
template<>
struct FENNEL_EXPORT VValueTrait<Range> {
    static std::string Text(const Range& value);
    static bool setValueFromText(Range& value, const std::string& text);
};
/// By bits.
template<>
struct FENNEL_EXPORT VValueCompareTrait<Range> {
    static bool isDifferent(const Range& a, const Range& b);
};

} // namespace Mirk
