#pragma once
// A point in time; stands on sorrel's value traits.

#include <fennel/fwd.hpp>

#include <sorrel/valueTraits.hpp>

#include <string>

namespace Mirk {

/// A point in a range of time, with the range's limits and step, and with names for the user
/// interface. The value may lie outside of the range.
class FENNEL_EXPORT VTime {
public:
    /// A value in the range from 0 to 1 with a step of 0.01, without names.
    explicit VTime(double timeValue = 0.0);
    VTime(double timeValue, double rangeFrom, double rangeTo, double rangeStep,
          const std::string& timeName, const std::string& timeUnit,
          const std::string& timeDescription);
    VTime(const VTime&);
    VTime(VTime&&) noexcept;
    VTime& operator=(const VTime&);
    VTime& operator=(VTime&&) noexcept;
    ~VTime();

    double value = 0.0;
    double from = 0.0;
    double to = 1.0;
    double step = 0.01;
    std::string name;
    /// Of all four numbers, such as "s"; empty if unknown.
    std::string unit;
    std::string description;
};

/// `0.5 from 0 to 1 step 0.01`, followed by `name "…" unit "…" description "…"` of those that are
/// not empty. The value alone is a text as well: what is left out, is as in VTime(value). The names
/// come in any order; a text without blanks needs no quotation marks.
template<>
struct FENNEL_EXPORT VValueTrait<VTime> {
    static std::string Text(const VTime& value);
    static bool setValueFromText(VTime& value, const std::string& text);
};
/// All fields count, numbers by bits.
template<>
struct FENNEL_EXPORT VValueCompareTrait<VTime> {
    static bool isDifferent(const VTime& a, const VTime& b);
};

} // namespace Mirk
