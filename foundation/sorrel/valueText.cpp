#include <sorrel/valueText.hpp>

#include <sorrel/textForm.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <string_view>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

/// What numbers have for a text, and what they have in YAML.
constexpr std::array<std::pair<std::string_view, std::string_view>, 3> SpecialNumbers{
    {{"inf", ".inf"}, {"-inf", "-.inf"}, {"nan", ".nan"}}};

/// The plain YAML for a number or a truth value, "" for any other text.
std::string naturalForm(std::string_view text) {
    if (text == "true" || text == "false") return std::string(text);
    for (const auto& [form, yaml] : SpecialNumbers) {
        if (text == form) return std::string(yaml);
    }
    double number = 0;
    const bool isNumber = trimmed(text) == text && readNumber(number, text);
    // A number too large for a double is none; names of numbers in other letters are texts.
    return isNumber && std::isfinite(number) ? std::string(text) : std::string();
}

std::string textOfPlain(const std::string& yaml) {
    for (const auto& [form, special] : SpecialNumbers) {
        if (yaml == special) return std::string(form);
    }
    return yaml;
}

std::string joined(const std::vector<std::string_view>& words) {
    std::string text;
    for (const std::string_view word : words) {
        if (!text.empty()) text += ' ';
        text += word;
    }
    return text;
}

bool readsAs(const VValueBase& value, const std::string& candidate, const std::string& text) {
    if (candidate == text) return true;
    const VValuePtr copy = value.clone();
    return copy->setText(candidate) != TextResult::Unreadable && copy->text() == text;
}

bool writeRow(YamlWriter& writer, const VValueBase& value, const std::string& text) {
    std::vector<std::string_view> words;
    if (!splitWords(text, words) || words.size() < 2) return false;
    std::vector<std::string> forms;
    for (const std::string_view word : words) forms.push_back(naturalForm(word));
    if (std::any_of(forms.begin(), forms.end(), [](const auto& form) { return form.empty(); }))
        return false;
    if (!readsAs(value, joined(words), text)) return false;
    writer.openRow();
    for (const std::string& form : forms) writer.plain(form);
    writer.closeRow();
    return true;
}

constexpr const char* RowHint = "expected words without blanks in a row";

bool appendRow(const YamlNode& row, std::string& text) {
    for (const YamlNode& item : row.items) {
        if (item.kind == YamlNode::Kind::Row) {
            if (!appendRow(item, text)) return false;
            continue;
        }
        if (item.kind != YamlNode::Kind::Scalar || item.isNull() || item.text.empty()) return false;
        if (item.text.find_first_of(" \t\r\n") != std::string::npos) return false;
        if (!text.empty()) text += ' ';
        text += item.plain ? textOfPlain(item.text) : item.text;
    }
    return true;
}

} // namespace

bool hasTextForm(const VValueBase& value) {
    const VValuePtr copy = value.clone();
    const std::string text = copy->text();
    return copy->setText(text) != TextResult::Unreadable && copy->text() == text;
}

void writeValue(YamlWriter& writer, const VValueBase& value) {
    const std::string text = value.text();
    if (value.type() == typeid(std::string)) return writer.text(text);
    if (writeRow(writer, value, text)) return;
    const std::string natural = naturalForm(text);
    if (natural.empty()) return writer.text(text);
    writer.plain(natural);
}

bool readValueText(const YamlNode& node, const std::type_info& type, std::string& text) {
    const bool isText = type == typeid(std::string);
    switch (node.kind) {
    case YamlNode::Kind::Scalar:
        if (node.isNull()) {
            text = R"(expected a value; an empty text is "")";
            return false;
        }
        text = node.plain && !isText ? textOfPlain(node.text) : node.text;
        return true;
    case YamlNode::Kind::Row:
        text = isText ? "expected a text, which needs quotes if it begins with a bracket" : RowHint;
        if (isText) return false;
        text.clear();
        if (appendRow(node, text)) return true;
        text = RowHint;
        return false;
    default:
        text = "expected a value";
        return false;
    }
}

} // namespace Mirk
