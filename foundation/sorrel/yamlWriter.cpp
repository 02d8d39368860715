#include <sorrel/yamlWriter.hpp>

#include <sorrel/base64.hpp>
#include <sorrel/textForm.hpp>

#include <yaml.h>

#include <algorithm>
#include <array>
#include <new>
#include <utility>

namespace Mirk {

namespace {

constexpr const char* BinaryTag = "tag:yaml.org,2002:binary";

int appendTo(void* target, unsigned char* bytes, std::size_t size) {
    try {
        static_cast<std::string*>(target)->append(reinterpret_cast<const char*>(bytes), size);
        return 1;
    } catch (const std::bad_alloc&) {
        return 0; // no exception passes through a library in C
    }
}

/// The bytes of the character that begins a text, 0 if it is no UTF-8 (RFC 3629, section 4).
std::size_t characterSize(std::string_view text) {
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[i]); };
    const unsigned char first = byte(0);
    if (first < 0x80) return 1;
    const std::size_t size = first < 0xc2 ? 0 : first < 0xe0 ? 2 : first < 0xf0 ? 3 : 4;
    if (size == 0 || first > 0xf4 || text.size() < size) return 0;
    for (std::size_t i = 1; i < size; ++i) {
        if ((byte(i) & 0xc0) != 0x80) return 0;
    }
    const bool isOverlong = (first == 0xe0 && byte(1) < 0xa0) || (first == 0xf0 && byte(1) < 0x90);
    const bool isSurrogate = first == 0xed && byte(1) >= 0xa0;
    const bool isBeyond = first == 0xf4 && byte(1) >= 0x90;
    return isOverlong || isSurrogate || isBeyond ? 0 : size;
}

bool isUtf8(std::string_view text) {
    while (!text.empty()) {
        const std::size_t size = characterSize(text);
        if (size == 0) return false;
        text.remove_prefix(size);
    }
    return true;
}

bool isAsciiLetter(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
}
bool isAscii(char c) {
    return static_cast<unsigned char>(c) < 0x80;
}

/// Words that some reader of YAML takes for a truth value or for nothing.
bool hasMeaning(std::string_view text) {
    static constexpr std::array<std::string_view, 9> words{"true", "false", "yes", "no", "on",
                                                           "off",  "null",  "y",   "n"};
    return std::find(words.begin(), words.end(), inLowerCase(text)) != words.end();
}

/// Whether every reader takes it for a text without quotes: words and paths. Characters beyond
/// ASCII are left to libyaml, except that its line breaks need quotes to stay what they are.
bool isBare(std::string_view text) {
    if (text.empty() || text.back() == ' ' || hasMeaning(text)) return false;
    const bool isPath = text.starts_with("./") || text.starts_with("../");
    if (!isPath && !isAsciiLetter(text[0]) && text[0] != '/' && text[0] != '_' && isAscii(text[0]))
        return false;
    static constexpr std::array<std::string_view, 3> breaks{"\xc2\x85", "\xe2\x80\xa8",
                                                            "\xe2\x80\xa9"};
    for (const std::string_view lineBreak : breaks) {
        if (text.find(lineBreak) != std::string_view::npos) return false;
    }
    return std::all_of(text.begin(), text.end(), [](char c) {
        return isAsciiLetter(c) || !isAscii(c) || (c >= '0' && c <= '9') ||
               std::string_view("_./+-,() ").find(c) != std::string_view::npos;
    });
}

/// Whether it reads well as a block of lines: several lines of printable ASCII without blanks at
/// the start of the first and at the end of any, and not more than one line feed at the end.
bool isBlock(std::string_view text) {
    const auto isPrintable = [](char c) { return c == '\n' || (c >= ' ' && c <= '~'); };
    if (!std::all_of(text.begin(), text.end(), isPrintable)) return false;
    if (text.find('\n') == std::string_view::npos) return false;
    if (text.front() == ' ' || text.front() == '\n' || text.back() == ' ') return false;
    return text.find(" \n") == std::string_view::npos && !text.ends_with("\n\n");
}

const yaml_char_t* yamlBytes(std::string_view text) {
    return reinterpret_cast<const yaml_char_t*>(text.data());
}

} // namespace

struct YamlWriter::Emitter {
    Emitter() {
        if (yaml_emitter_initialize(&emitter) == 0) throw std::bad_alloc();
        yaml_emitter_set_output(&emitter, appendTo, &output);
        yaml_emitter_set_encoding(&emitter, YAML_UTF8_ENCODING);
        yaml_emitter_set_unicode(&emitter, 1);
        yaml_emitter_set_width(&emitter, -1); // texts are not folded
        yaml_emitter_set_break(&emitter, YAML_LN_BREAK);
    }
    ~Emitter() { yaml_emitter_delete(&emitter); }
    Emitter(const Emitter&) = delete;
    Emitter& operator=(const Emitter&) = delete;

    /// `made` is the result of the function that filled `event`.
    void emit(int made) {
        if (made == 0 || yaml_emitter_emit(&emitter, &event) == 0) throw std::bad_alloc();
    }
    void scalar(std::string_view value, yaml_scalar_style_t style, const char* tag = nullptr) {
        const auto* const yamlTag = reinterpret_cast<const yaml_char_t*>(tag);
        const int isImplicit = tag == nullptr ? 1 : 0;
        emit(yaml_scalar_event_initialize(&event, nullptr, yamlTag, yamlBytes(value),
                                          static_cast<int>(value.size()), isImplicit, isImplicit,
                                          style));
    }

    std::string output;
    yaml_emitter_t emitter{};
    yaml_event_t event{};
};

YamlWriter::YamlWriter() : _emitter(std::make_unique<Emitter>()) {
    _emitter->emit(yaml_stream_start_event_initialize(&_emitter->event, YAML_UTF8_ENCODING));
    _emitter->emit(
        yaml_document_start_event_initialize(&_emitter->event, nullptr, nullptr, nullptr, 1));
}

YamlWriter::~YamlWriter() = default;

void YamlWriter::openMap(Layout layout) {
    const auto style = layout == Layout::Lines ? YAML_BLOCK_MAPPING_STYLE : YAML_FLOW_MAPPING_STYLE;
    _emitter->emit(
        yaml_mapping_start_event_initialize(&_emitter->event, nullptr, nullptr, 1, style));
}

void YamlWriter::closeMap() {
    _emitter->emit(yaml_mapping_end_event_initialize(&_emitter->event));
}

void YamlWriter::openRow() {
    _emitter->emit(yaml_sequence_start_event_initialize(&_emitter->event, nullptr, nullptr, 1,
                                                        YAML_FLOW_SEQUENCE_STYLE));
}

void YamlWriter::closeRow() {
    _emitter->emit(yaml_sequence_end_event_initialize(&_emitter->event));
}

void YamlWriter::text(std::string_view value) {
    if (!isUtf8(value)) {
        _emitter->scalar(encodeBase64(value), YAML_PLAIN_SCALAR_STYLE, BinaryTag);
    } else if (isBlock(value)) {
        _emitter->scalar(value, YAML_LITERAL_SCALAR_STYLE);
    } else {
        _emitter->scalar(value,
                         isBare(value) ? YAML_PLAIN_SCALAR_STYLE : YAML_DOUBLE_QUOTED_SCALAR_STYLE);
    }
}

void YamlWriter::plain(std::string_view value) {
    _emitter->scalar(value, YAML_PLAIN_SCALAR_STYLE);
}

std::string YamlWriter::finish() {
    _emitter->emit(yaml_document_end_event_initialize(&_emitter->event, 1));
    _emitter->emit(yaml_stream_end_event_initialize(&_emitter->event));
    return std::move(_emitter->output);
}

} // namespace Mirk
