#pragma once
// A base of objects whose coordinates belong to a chart; stands on slots.

#include <fennel/fwd.hpp>

#include <keel/Interface.hpp>
#include <sorrel/TypedSlot.hpp>

#include <string>
#include <type_traits>

namespace Mirk {

/// A coordinate system by name, in which the coordinates of objects can be. Derive to say more
/// about it.
class FENNEL_EXPORT Chart : public Keel::Interface<Chart> {
public:
    explicit Chart(const std::string& chartName);
    ~Chart() override;

    const std::string name;
};

/// The name of the chart, in quotation marks if it holds more than one word; `none` without a
/// chart. Reading the name of the chart that is there keeps it; another name makes a new chart.
template<>
struct FENNEL_EXPORT VValueTrait<ChartPtr> {
    static std::string Text(const ChartPtr& value);
    static bool setValueFromText(ChartPtr& value, const std::string& text);
};
/// Another chart is a change, even one of the same name.
template<>
struct FENNEL_EXPORT VValueCompareTrait<ChartPtr> {
    static bool isDifferent(const ChartPtr& a, const ChartPtr& b) { return !(a == b); }
};

/// Gives an object an input for the chart of its coordinates, without a chart at first. It is a
/// part of an object: whatever derives from it constructs the VObject.
class FENNEL_EXPORT VChartDependent : public virtual VObject {
public:
    VChartDependent(const std::string& slotName, int expertLevel);
    ~VChartDependent() override;

    const TypedSlot<ChartPtr>& chartSlot() const noexcept { return _chart; }

private:
    TypedSlot<ChartPtr> _chart;
};

static_assert(std::is_same_v<Keel::RootOf_t<Chart>, Chart::ReferenceRoot>);
static_assert(std::is_same_v<Keel::RootOf_t<VChartDependent>, VChartDependent::ReferenceRoot>);

} // namespace Mirk
