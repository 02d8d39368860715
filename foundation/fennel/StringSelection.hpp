#pragma once
// One of several names; stands on sorrel's value traits.

#include <fennel/fwd.hpp>

#include <sorrel/valueTraits.hpp>

#include <cstddef>
#include <string>
#include <unordered_map>
#include <vector>

namespace Mirk {

/// A set of names, in the order in which they were added, of which one is selected: the first one,
/// until another is. Without names, nothing is.
class FENNEL_EXPORT StringSelection {
public:
    StringSelection();
    StringSelection(const StringSelection&);
    /// What is moved from is empty, and may be filled again.
    StringSelection(StringSelection&& other) noexcept;
    StringSelection& operator=(const StringSelection&);
    StringSelection& operator=(StringSelection&& other) noexcept;
    ~StringSelection();

    /// The same names in the same order, with the same one selected.
    bool operator==(const StringSelection& other) const;

    /// Adds a name. False if it is there already.
    bool add(const std::string& name);
    /// Selects a name. False, and nothing has changed, if it is unknown.
    bool select(const std::string& name);

    const std::vector<std::string>& names() const noexcept { return _names; }
    bool contains(const std::string& name) const { return _places.contains(name); }
    /// The selected name; "" if there are no names.
    std::string selected() const;

private:
    std::vector<std::string> _names;
    std::unordered_map<std::string, std::size_t> _places;
    std::size_t _selected = 0;
};

/// `png of exr, png, jpeg`: what is selected, and out of which names; "" without names. A name is
/// in quotation marks if it holds a blank, a comma, or nothing, or could be mistaken.
///
/// The selected name alone is a text as well, if it is known already. Names that are known and not
/// in the text stay, behind those that are: a text that was written when there were fewer choices
/// takes none away.
template<>
struct FENNEL_EXPORT VValueTrait<StringSelection> {
    static std::string Text(const StringSelection& value);
    static bool setValueFromText(StringSelection& value, const std::string& text);
};
template<>
struct FENNEL_EXPORT VValueCompareTrait<StringSelection> {
    static bool isDifferent(const StringSelection& a, const StringSelection& b) {
        return !(a == b);
    }
};

} // namespace Mirk
