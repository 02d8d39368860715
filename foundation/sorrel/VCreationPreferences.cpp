#include <sorrel/VCreationPreferences.hpp>

#include <algorithm>
#include <sstream>

namespace Mirk {

VCreationPreferences::VCreationPreferences(const std::string& words) {
    std::istringstream stream(words);
    for (std::string word; stream >> word;) _words.push_back(word);
}

VCreationPreferences::VCreationPreferences(std::initializer_list<const char*> words)
    : _words(words.begin(), words.end()) {}

VCreationPreferences::~VCreationPreferences() = default;

bool VCreationPreferences::contains(const std::string& word) const {
    return std::find(_words.begin(), _words.end(), word) != _words.end();
}

std::size_t VCreationPreferences::matches(const VCreationPreferences& wanted) const {
    return static_cast<std::size_t>(
        std::count_if(wanted._words.begin(), wanted._words.end(),
                      [this](const std::string& word) { return contains(word); }));
}

std::string VCreationPreferences::text() const {
    std::string text;
    for (const std::string& word : _words) {
        if (!text.empty()) text += ' ';
        text += word;
    }
    return text;
}

} // namespace Mirk
