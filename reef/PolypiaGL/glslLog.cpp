#include <PolypiaGL/glslLog.hpp>

#include <PolypiaGL/LineTable.hpp>
#include <PolypiaGL/glslScan.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdint>
#include <optional>
#include <utility>

namespace Mirk::GL {
namespace {

/// One message, in pieces of the driver's line.
struct Message {
    std::string_view source; ///< a source number or a file
    long line = -1;          ///< packed; negative for a message without a line
    std::string_view severity;
    std::string_view text;
    bool isOfPreprocessor = false; ///< Mesa tells
};

bool takeSign(std::string_view& rest, std::string_view sign) {
    if (rest.substr(0, sign.size()) != sign) return false;
    rest.remove_prefix(sign.size());
    return true;
}

void skipBlanks(std::string_view& rest) {
    while (!rest.empty() && isBlank(rest.front())) rest.remove_prefix(1);
}

std::optional<long> takeNumber(std::string_view& rest) {
    std::int32_t value = 0; // drivers count in no more
    const auto [end, error] = std::from_chars(rest.data(), rest.data() + rest.size(), value);
    if (error != std::errc() || value < 0) return {};
    rest.remove_prefix(static_cast<std::size_t>(end - rest.data()));
    return value;
}

/// A severity word of any case at the head of `rest`, in lower case; empty if there is none.
std::string_view takeSeverity(std::string_view& rest) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 9> words{{
        {"fatal error", "fatal error"},
        {"internal error", "internal error"},
        {"error", "error"},
        {"warning", "warning"},
        {"note", "note"},
        {"INTERNAL ERROR", "internal error"},
        {"ERROR", "error"},
        {"WARNING", "warning"},
        {"NOTE", "note"},
    }};
    for (const auto& [word, severity] : words) {
        if (rest.substr(0, word.size()) != word) continue;
        if (rest.size() > word.size() && isWordPart(rest[word.size()])) continue;
        rest.remove_prefix(word.size());
        return severity;
    }
    return {};
}

/// Mesa: `0:12(5): error: text`, also with a quoted file for the source number.
std::optional<Message> parseMesa(std::string_view rest) {
    Message message;
    std::size_t colon = rest.find(':');
    if (takeSign(rest, "\"")) {
        const std::size_t quote = rest.find('"');
        if (quote == std::string_view::npos) return {};
        message.source = rest.substr(0, quote);
        rest.remove_prefix(quote + 1);
        colon = 0;
    } else {
        if (colon == std::string_view::npos) return {};
        message.source = rest.substr(0, colon);
        if (!std::all_of(message.source.begin(), message.source.end(), isDigit)) return {};
    }
    rest.remove_prefix(std::min(colon, rest.size()));
    if (message.source.empty() || !takeSign(rest, ":")) return {};
    const auto line = takeNumber(rest);
    if (!line || !takeSign(rest, "(")) return {};
    const std::size_t close = rest.find(')'); // columns
    if (close == std::string_view::npos) return {};
    rest.remove_prefix(close + 1);
    if (!takeSign(rest, ":")) return {};
    skipBlanks(rest);
    message.isOfPreprocessor = takeSign(rest, "preprocessor ");
    message.severity = takeSeverity(rest);
    if (message.severity.empty() || !takeSign(rest, ":")) return {};
    message.line = *line;
    message.text = rest;
    return message;
}

/// NVIDIA: `0(12) : error C1503: text`, also with a file for the source number, and without any at
/// the beginning. The code stays in the text, people look it up.
std::optional<Message> parseNvidia(std::string_view whole) {
    const std::size_t colon = whole.find(") :");
    if (colon == std::string_view::npos) return {};
    const std::size_t open = whole.rfind('(', colon);
    if (open == std::string_view::npos) return {};
    std::string_view number = whole.substr(open + 1, colon - open - 1);
    const auto line = takeNumber(number);
    if (!line || !number.empty()) return {};

    std::string_view rest = whole.substr(colon + 3);
    skipBlanks(rest);
    Message message;
    message.source = whole.substr(0, open);
    message.line = *line;
    message.severity = takeSeverity(rest);
    if (message.severity.empty()) return {};
    if (!takeSign(rest, ":") && !takeSign(rest, " ")) return {};
    message.text = rest;
    return message;
}

/// glslang, AMD, Apple: `ERROR: 0:12: text`.
std::optional<Message> parseGlslang(std::string_view rest) {
    Message message;
    message.severity = takeSeverity(rest);
    if (message.severity.empty() || !takeSign(rest, ":")) return {};
    skipBlanks(rest);
    const std::string_view source = rest;
    std::size_t digits = 0;
    while (digits < rest.size() && isDigit(rest[digits])) ++digits;
    if (digits == 0) return {};
    message.source = source.substr(0, digits);
    rest.remove_prefix(digits);
    if (!takeSign(rest, ":")) return {};
    const auto line = takeNumber(rest);
    if (!line || !takeSign(rest, ":")) return {};
    message.line = *line;
    message.text = rest;
    return message;
}

/// Mali: `0:12: L0002: text`, whose codes stand for errors all.
std::optional<Message> parseMali(std::string_view rest) {
    Message message;
    std::size_t digits = 0;
    while (digits < rest.size() && isDigit(rest[digits])) ++digits;
    message.source = rest.substr(0, digits);
    rest.remove_prefix(digits);
    if (digits == 0 || !takeSign(rest, ":")) return {};
    const auto line = takeNumber(rest);
    if (!line || !takeSign(rest, ": ")) return {};
    constexpr std::size_t codeSize = 5;
    const std::string_view code = rest.substr(0, codeSize);
    if (code.size() < codeSize || code[0] < 'A' || code[0] > 'Z') return {};
    if (!std::all_of(code.begin() + 1, code.end(), isDigit)) return {};
    if (!rest.substr(codeSize).starts_with(':')) return {};
    message.line = *line;
    message.severity = "error";
    message.text = rest;
    return message;
}

/// Linkers: `error: text`.
std::optional<Message> parseWithoutLine(std::string_view rest) {
    Message message;
    message.severity = takeSeverity(rest);
    if (message.severity.empty() || !takeSign(rest, ":")) return {};
    message.text = rest;
    return message;
}

bool isZero(std::string_view source) {
    return source.find_first_not_of('0') == std::string_view::npos;
}

std::string placeOf(const Message& message, const LineTable& lines) {
    const LineTable::Place place = lines.find(message.line);
    std::string file(place.file);
    if (file.empty() && !isZero(message.source)) file = message.source;
    if (file.empty()) file = "0";
    // Only the composed text is "0(": viewers link such lines to it.
    else if (file.substr(0, 2) == "0(" || isZero(file))
        file.insert(0, "./");
    return file + "(" + std::to_string(place.line) + ")";
}

std::string write(const std::string& place, const Message& message) {
    std::string_view text = message.text;
    skipBlanks(text);
    return place + " : " + std::string(message.severity) + ": " + std::string(text);
}

/// What all lines of a log have in common.
struct Origin {
    const LineTable& lines;
    std::string_view stages; ///< of a link, else empty
    LineNumbering numbering;
};

/// Mesa's preprocessor gives the line behind `#line N` the number N in all versions of the language
/// (its compiler does not).
long preprocessorLag(const Message& message, LineNumbering numbering) {
    return message.isOfPreprocessor && numbering == LineNumbering::NPlusOne ? 1 : 0;
}

std::string mapLine(std::string_view line, const Origin& origin) {
    const auto& [lines, stages, numbering] = origin;
    auto message = parseMesa(line);
    if (message) message->line += preprocessorLag(*message, numbering);
    if (!message) message = parseNvidia(line);
    if (!message) message = parseGlslang(line);
    if (!message) message = parseMali(line);
    const bool hasPlace = message && (message->line > 0 || stages.empty());
    if (hasPlace) return write(placeOf(*message, lines), *message);
    if (!message && !stages.empty()) message = parseWithoutLine(line);
    if (message) return write(std::string(stages), *message);
    return std::string(line);
}

std::string mapLog(std::string_view log, const Origin& origin) {
    log = trim(log.substr(0, log.find('\0')));
    if (log.empty()) return {};
    std::string mapped = "\n";
    while (true) {
        const std::size_t end = std::min(log.find('\n'), log.size());
        std::string_view line = log.substr(0, end);
        if (!line.empty() && line.back() == '\r') line.remove_suffix(1);
        mapped += mapLine(line, origin) + "\n";
        if (end == log.size()) return mapped;
        log.remove_prefix(end + 1);
    }
}

} // namespace

std::string mapCompilerLog(std::string_view log, const LineTable& lines, LineNumbering numbering) {
    return mapLog(log, {lines, {}, numbering});
}

std::string mapLinkerLog(std::string_view log, const LineTable& lines, std::string_view stages) {
    return mapLog(log, {lines, stages, LineNumbering::N}); // linkers preprocess nothing
}

} // namespace Mirk::GL
