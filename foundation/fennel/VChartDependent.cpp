#include <fennel/VChartDependent.hpp>

#include <fennel/recordText.hpp>

#include <vector>

namespace Mirk {

namespace {

constexpr std::string_view NoChart = "none";

} // namespace

Chart::Chart(const std::string& chartName) : name(chartName) {}
Chart::~Chart() = default;

std::string VValueTrait<ChartPtr>::Text(const ChartPtr& value) {
    if (!value) return std::string(NoChart);
    return value->name == NoChart ? quoted(value->name) : quotedIfNeeded(value->name);
}

bool VValueTrait<ChartPtr>::setValueFromText(ChartPtr& value, const std::string& text) {
    std::vector<TextWord> words;
    if (!splitWords(text, words) || words.size() != 1) return false;
    const TextWord& word = words.front();
    if (!word.quoted && word.text == NoChart) {
        value = ChartPtr();
    } else if (!value || value->name != word.text) {
        value = ChartPtr(new Chart(word.text));
    }
    return true;
}

// The virtual base is constructed by the object that this is a part of; what stands here for it is
// never used, but the language asks for it.
VChartDependent::VChartDependent(const std::string& slotName, int expertLevel)
    : VObject(slotName, 0, {}), _chart(this, slotName, ChartPtr(), expertLevel) {}
VChartDependent::~VChartDependent() = default;

} // namespace Mirk
