#include <keel/jsonText.hpp>

#include <array>
#include <cstddef>

namespace Keel {

namespace {

/// A form of UTF-8 sequences: the range of the first byte, that of the second, and the length.
/// All further bytes are 0x80 to 0xBF. The table is that of RFC 3629, section 4.
struct SequenceForm {
    unsigned char firstFrom, firstTo, secondFrom, secondTo;
    std::size_t length;
};

constexpr std::array<SequenceForm, 8> SequenceForms = {{
    {0xC2, 0xDF, 0x80, 0xBF, 2},
    {0xE0, 0xE0, 0xA0, 0xBF, 3},
    {0xE1, 0xEC, 0x80, 0xBF, 3},
    {0xED, 0xED, 0x80, 0x9F, 3},
    {0xEE, 0xEF, 0x80, 0xBF, 3},
    {0xF0, 0xF0, 0x90, 0xBF, 4},
    {0xF1, 0xF3, 0x80, 0xBF, 4},
    {0xF4, 0xF4, 0x80, 0x8F, 4},
}};

bool isWithin(char c, unsigned char from, unsigned char to) {
    const auto byte = static_cast<unsigned char>(c);
    return byte >= from && byte <= to;
}

bool hasForm(std::string_view text, const SequenceForm& form) {
    if (text.size() < form.length || !isWithin(text[0], form.firstFrom, form.firstTo) ||
        !isWithin(text[1], form.secondFrom, form.secondTo)) {
        return false;
    }
    for (std::size_t i = 2; i < form.length; ++i) {
        if (!isWithin(text[i], 0x80, 0xBF)) return false;
    }
    return true;
}

/// Length of the valid sequence of several bytes at the head of `text`, 0 if there is none.
std::size_t sequenceLength(std::string_view text) {
    for (const SequenceForm& form : SequenceForms) {
        if (hasForm(text, form)) return form.length;
    }
    return 0;
}

void appendAscii(std::string& json, char c) {
    constexpr std::string_view digits = "0123456789abcdef";
    if (c == '"' || c == '\\') {
        json += '\\';
        json += c;
    } else if (c < ' ') {
        json += "\\u00";
        json += digits[static_cast<unsigned char>(c) >> 4];
        json += digits[static_cast<unsigned char>(c) & 15];
    } else {
        json += c;
    }
}

} // namespace

void appendJsonString(std::string& json, std::string_view text) {
    json += '"';
    while (!text.empty()) {
        std::size_t used = 1;
        if (static_cast<unsigned char>(text[0]) < 0x80) {
            appendAscii(json, text[0]);
        } else if (const std::size_t length = sequenceLength(text)) {
            json += text.substr(0, length);
            used = length;
        } else {
            json += "\\ufffd";
        }
        text.remove_prefix(used);
    }
    json += '"';
}

} // namespace Keel
