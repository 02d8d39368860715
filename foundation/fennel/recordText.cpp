#include <fennel/recordText.hpp>

#include <algorithm>
#include <utility>

namespace Mirk {

namespace {

constexpr std::string_view HexDigits = "0123456789abcdef";

/// Reads the escape whose backslash stands at the beginning of `rest`, and takes it off.
bool takeEscape(std::string_view& rest, char& byte) {
    static constexpr std::string_view letters = "\"\\nrt";
    static constexpr std::string_view meanings = "\"\\\n\r\t";
    if (rest.size() < 2) return false;
    if (const auto place = letters.find(rest[1]); place != std::string_view::npos) {
        byte = meanings[place];
        rest.remove_prefix(2);
        return true;
    }
    if (rest[1] != 'x' || rest.size() < 4) return false;
    const std::string digits = inLowerCase(rest.substr(2, 2));
    const auto high = HexDigits.find(digits[0]);
    const auto low = HexDigits.find(digits[1]);
    if (high == std::string_view::npos || low == std::string_view::npos) return false;
    byte = static_cast<char>(high * 16 + low);
    rest.remove_prefix(4);
    return true;
}

/// Reads the text in quotation marks at the beginning of `rest`, and takes it off.
bool takeQuoted(std::string_view& rest, std::string& content) {
    rest.remove_prefix(1);
    while (!rest.empty() && rest.front() != '"') {
        char byte = rest.front();
        if (byte == '\\') {
            if (!takeEscape(rest, byte)) return false;
        } else {
            rest.remove_prefix(1);
        }
        content += byte;
    }
    if (rest.empty()) return false;
    rest.remove_prefix(1);
    return true;
}

constexpr std::string_view Separators = " \t\n\r,";

bool takeWord(std::string_view& rest, TextWord& word) {
    word.quoted = rest.front() == '"';
    if (word.quoted) {
        if (!takeQuoted(rest, word.text)) return false;
        return rest.empty() || Separators.find(rest.front()) != std::string_view::npos;
    }
    const std::size_t length = std::min(rest.find_first_of(Separators), rest.size());
    word.text = rest.substr(0, length);
    rest.remove_prefix(length);
    return word.text.find('"') == std::string::npos;
}

} // namespace

bool splitWords(std::string_view text, std::vector<TextWord>& words) {
    std::vector<TextWord> found;
    bool wordIsDue = false;
    for (std::string_view rest = trimmed(text); !rest.empty(); rest = trimmed(rest)) {
        if (rest.front() == ',') {
            if (found.empty() || wordIsDue) return false;
            wordIsDue = true;
            rest.remove_prefix(1);
            continue;
        }
        if (!takeWord(rest, found.emplace_back())) return false;
        wordIsDue = false;
    }
    if (wordIsDue) return false;
    words = std::move(found);
    return true;
}

std::string quoted(std::string_view text) {
    std::string result = "\"";
    for (const char letter : text) {
        const auto byte = static_cast<unsigned char>(letter);
        if (letter == '"' || letter == '\\') {
            result += '\\';
            result += letter;
        } else if (letter == '\n') {
            result += "\\n";
        } else if (letter == '\r') {
            result += "\\r";
        } else if (letter == '\t') {
            result += "\\t";
        } else if (byte < 0x20 || byte == 0x7f) {
            result += "\\x";
            result += HexDigits[byte / 16];
            result += HexDigits[byte % 16];
        } else {
            result += letter;
        }
    }
    return result + '"';
}

std::string quotedIfNeeded(std::string_view text) {
    const bool plain = !text.empty() && std::all_of(text.begin(), text.end(), [](char letter) {
        const auto byte = static_cast<unsigned char>(letter);
        return byte > 0x20 && byte != 0x7f && letter != '"' && letter != ',';
    });
    return plain ? std::string(text) : quoted(text);
}

TextField textField(std::string_view name, std::string& target) {
    return {name, 1, [&target](std::span<const TextWord> words) {
                target = words.front().text;
                return true;
            }};
}

bool readFields(std::string_view text, const std::vector<TextField>& fields) {
    std::vector<TextWord> words;
    if (!splitWords(text, words) || words.empty()) return false;

    std::vector<bool> wasRead(fields.size());
    std::size_t next = 0;
    const auto read = [&](std::size_t field) {
        if (wasRead[field] || words.size() - next < fields[field].valueCount) return false;
        wasRead[field] = true;
        const std::span values(words.data() + next, fields[field].valueCount);
        next += values.size();
        return fields[field].read(values);
    };

    if (fields.front().name.empty() && !read(0)) return false;
    while (next < words.size()) {
        const TextWord& name = words[next++];
        const auto field = std::find_if(fields.begin(), fields.end(), [&](const TextField& known) {
            return !known.name.empty() && known.name == name.text;
        });
        if (name.quoted || field == fields.end()) return false;
        if (!read(static_cast<std::size_t>(field - fields.begin()))) return false;
    }
    return true;
}

} // namespace Mirk
