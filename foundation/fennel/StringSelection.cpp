#include <fennel/StringSelection.hpp>

#include <fennel/recordText.hpp>

#include <utility>

namespace Mirk {

namespace {

constexpr std::string_view Of = "of";

std::string nameText(const std::string& name) {
    return name == Of ? quoted(name) : quotedIfNeeded(name);
}

} // namespace

StringSelection::StringSelection() = default;
StringSelection::StringSelection(const StringSelection&) = default;
StringSelection::StringSelection(StringSelection&& other) noexcept
    : _names(std::exchange(other._names, {})),
      _places(std::exchange(other._places, {})),
      _selected(std::exchange(other._selected, 0)) {}
StringSelection& StringSelection::operator=(const StringSelection&) = default;
StringSelection& StringSelection::operator=(StringSelection&& other) noexcept {
    _names = std::exchange(other._names, {});
    _places = std::exchange(other._places, {});
    _selected = std::exchange(other._selected, 0);
    return *this;
}
StringSelection::~StringSelection() = default;

bool StringSelection::operator==(const StringSelection& other) const {
    return _selected == other._selected && _names == other._names;
}

bool StringSelection::add(const std::string& name) {
    if (!_places.try_emplace(name, _names.size()).second) return false;
    _names.push_back(name);
    return true;
}

bool StringSelection::select(const std::string& name) {
    const auto found = _places.find(name);
    if (found == _places.end()) return false;
    _selected = found->second;
    return true;
}

std::string StringSelection::selected() const {
    return _names.empty() ? std::string() : _names[_selected];
}

std::string VValueTrait<StringSelection>::Text(const StringSelection& value) {
    if (value.names().empty()) return {};
    std::string text = nameText(value.selected());
    const char* separator = " of ";
    for (const std::string& name : value.names()) {
        text += separator + nameText(name);
        separator = ", ";
    }
    return text;
}

bool VValueTrait<StringSelection>::setValueFromText(StringSelection& value,
                                                    const std::string& text) {
    std::vector<TextWord> words;
    if (!splitWords(text, words)) return false;
    if (words.empty()) return value.names().empty();
    if (words.size() > 1 && (words.size() < 3 || words[1].quoted || words[1].text != Of)) {
        return false;
    }
    StringSelection read;
    for (std::size_t i = 2; i < words.size(); ++i) read.add(words[i].text);
    for (const std::string& name : value.names()) read.add(name);
    if (!read.select(words.front().text)) return false;
    value = std::move(read);
    return true;
}

} // namespace Mirk
