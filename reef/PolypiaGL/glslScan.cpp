#include <PolypiaGL/glslScan.hpp>

#include <algorithm>
#include <charconv>
#include <functional>
#include <set>
#include <utility>

namespace Mirk::GL {
namespace {

/// A line number of digits alone; too large a one is held at a value that the table clamps again.
std::optional<long> parseNumber(std::string_view digits) {
    if (digits.empty() || !std::all_of(digits.begin(), digits.end(), isDigit)) return {};
    constexpr std::size_t mostDigits = 9;
    if (digits.size() > mostDigits) return 999999999L;
    long value = 0;
    std::from_chars(digits.data(), digits.data() + digits.size(), value);
    return value;
}

std::string_view unquoted(std::string_view name) {
    if (name.size() >= 2 && name.front() == '"' && name.back() == '"')
        return trim(name.substr(1, name.size() - 2));
    return name;
}

std::string fileOfSource(std::string_view source) {
    const bool isZero = source.find_first_not_of('0') == std::string_view::npos;
    return isZero ? std::string() : std::string(source);
}

/// What follows the number in `N ...`.
std::optional<LineOperands> parseBehindNumber(long number, std::string_view rest) {
    if (rest.empty() || rest.substr(0, 2) == "//") return LineOperands{number, {}};
    if (parseNumber(rest)) return LineOperands{number, fileOfSource(rest)};
    if (rest.size() >= 2 && rest.front() == '"' && rest.find('"', 1) == rest.size() - 1)
        return LineOperands{number, std::string(unquoted(rest))};
    if (rest.size() >= 4 && rest.substr(0, 2) == "/*" && rest.find("*/", 2) == rest.size() - 2)
        return LineOperands{number, std::string(trim(rest.substr(2, rest.size() - 4)))};
    return {};
}

/// `FILE N`.
std::optional<LineOperands> parseFileAhead(std::string_view all) {
    const std::size_t lastBlank = all.find_last_of(" \t\v\f");
    if (lastBlank == std::string_view::npos) return {};
    const auto number = parseNumber(all.substr(lastBlank + 1));
    if (!number) return {};
    return LineOperands{*number, std::string(unquoted(trim(all.substr(0, lastBlank))))};
}

std::size_t lineEndFrom(std::string_view text, std::size_t i) {
    return std::min(text.find_first_of("\r\n", i), text.size());
}

/// The directive's name behind the `#` at `hash`; blanks may stand between.
std::string_view directiveName(std::string_view text, std::size_t hash) {
    std::size_t i = hash + 1;
    while (i < text.size() && isBlank(text[i])) ++i;
    return wordAt(text, i);
}

std::size_t behindWord(std::string_view text, std::string_view word) {
    return static_cast<std::size_t>(word.data() - text.data()) + word.size();
}

bool isCondition(std::string_view name) {
    return name == "if" || name == "ifdef" || name == "ifndef" || name == "elif";
}

LogicalLine::Kind kindOf(std::string_view name) {
    using Kind = LogicalLine::Kind;
    if (name == "version") return Kind::Version;
    if (name == "extension") return Kind::Extension;
    if (name == "line") return Kind::Line;
    if (name == "warning") return Kind::Warning;
    if (name == "if" || name == "ifdef" || name == "ifndef") return Kind::If;
    if (name == "elif" || name == "else") return Kind::Else;
    if (name == "endif") return Kind::Endif;
    if (name == "define") return Kind::Define;
    return Kind::Other;
}

/// Makes the copy for matching. Line ends within comments become blanks: what stands behind such a
/// comment still belongs to the line that the comment began on.
class CommentBlanker {
public:
    CommentBlanker(std::string& text, std::string& blank) : _text(text), _blank(blank) {}

    /// The operands of the `#line` directives that were read, by the position of their `#`.
    std::vector<std::pair<std::size_t, LineOperands>> run() {
        while (_at < _text.size()) step();
        return std::move(_operands);
    }

private:
    void step() {
        const std::size_t lineEnd = lineEndLength(_text, _at);
        if (lineEnd > 0) {
            if (_at == 0 || _text[_at - 1] != '\\') {
                _lineIsBlank = true;
                _inCondition = false;
            }
            _at += lineEnd;
            return;
        }
        const char c = _text[_at];
        if (c == '/' && _text.compare(_at, 2, "/*") == 0) return blankTo(behindBlockComment());
        if (c == '/' && _text.compare(_at, 2, "//") == 0) return blankTo(endOfLineComment());
        if (c == '#' && _lineIsBlank) return directive();
        if (c == '#' && _inCondition && directiveName(_text, _at) == "line") return cutToLineEnd();
        if (!isBlank(c)) _lineIsBlank = false;
        ++_at;
    }

    void directive() {
        const std::string_view name = directiveName(_text, _at);
        _lineIsBlank = false;
        _inCondition = isCondition(name);
        if (name != "line") {
            ++_at;
            return;
        }
        // Read before comments are looked for: a path may hold // or /*.
        const std::size_t body = behindWord(_text, name);
        const std::size_t end = lineEndFrom(_text, body);
        auto operands = parseLineOperands(std::string_view(_text).substr(body, end - body));
        if (!operands) {
            _at = body;
            return;
        }
        _operands.emplace_back(_at, *std::move(operands));
        _at = body;
        cutToLineEnd();
    }

    void cutToLineEnd() {
        const std::size_t end = lineEndFrom(_text, _at);
        std::fill(_text.begin() + static_cast<std::ptrdiff_t>(_at),
                  _text.begin() + static_cast<std::ptrdiff_t>(end), ' ');
        blankTo(end);
    }

    std::size_t behindBlockComment() const {
        const std::size_t close = _text.find("*/", _at + 2);
        return close == std::string::npos ? _text.size() : close + 2;
    }

    std::size_t endOfLineComment() const {
        std::size_t end = lineEndFrom(_text, _at);
        while (end < _text.size() && _text[end - 1] == '\\')
            end = lineEndFrom(_text, end + lineEndLength(_text, end));
        return end;
    }

    void blankTo(std::size_t end) {
        std::fill(_blank.begin() + static_cast<std::ptrdiff_t>(_at),
                  _blank.begin() + static_cast<std::ptrdiff_t>(end), ' ');
        _at = end;
    }

    std::string& _text;
    std::string& _blank;
    std::size_t _at = 0;
    bool _lineIsBlank = true;
    bool _inCondition = false;
    std::vector<std::pair<std::size_t, LineOperands>> _operands;
};

std::size_t logicalEnd(std::string_view blank, std::size_t i) {
    std::size_t end = lineEndFrom(blank, i);
    while (end < blank.size() && end > 0 && blank[end - 1] == '\\')
        end = lineEndFrom(blank, end + lineEndLength(blank, end));
    return end;
}

LogicalLine classify(std::string_view blank, std::size_t begin, std::size_t end) {
    LogicalLine line;
    line.begin = begin;
    line.end = end;
    const std::size_t first = skipSpace(blank.substr(0, end), begin);
    line.first = line.body = first;
    if (first == end) return line;
    line.kind = LogicalLine::Kind::Code;
    if (blank[first] != '#') return line;

    const std::string_view name = directiveName(blank.substr(0, end), first);
    line.kind = kindOf(name);
    line.body = name.empty() ? first + 1 : behindWord(blank, name);
    return line;
}

std::size_t countLineEnds(std::string_view text, std::size_t begin, std::size_t end) {
    std::size_t count = 0;
    for (std::size_t i = begin; i < end;) {
        const std::size_t length = lineEndLength(text, i);
        count += length > 0 ? 1 : 0;
        i += std::max<std::size_t>(length, 1);
    }
    return count;
}

} // namespace

std::optional<LineOperands> parseLineOperands(std::string_view operands) {
    const std::string_view all = trim(operands);
    const auto behindDigits = std::find_if_not(all.begin(), all.end(), isDigit);
    const auto digits = static_cast<std::size_t>(behindDigits - all.begin());
    const std::string_view rest = all.substr(digits);
    const bool isNumberAhead =
        digits > 0 && (rest.empty() || isBlank(rest[0]) || rest[0] == '"' || rest[0] == '/');
    // In `2024//file 3` the slashes begin no comment: that is a folder.
    const bool mayBePath = rest.size() > 2 && rest.starts_with("//") && !isBlank(rest[2]);
    const auto fileAhead = parseFileAhead(all);
    if (isNumberAhead && !(mayBePath && fileAhead)) {
        auto parsed = parseBehindNumber(*parseNumber(all.substr(0, digits)), trim(rest));
        if (parsed) return parsed;
    }
    return fileAhead;
}

GlslScan::GlslScan(std::string source) : text(std::move(source)) {
    text.resize(std::min(text.find('\0'), text.size()));
    blank = text;
    const auto operands = CommentBlanker(text, blank).run();

    auto nextOperands = operands.begin();
    std::size_t begin = 0;
    std::size_t number = 0;
    while (begin < text.size()) {
        const std::size_t end = logicalEnd(blank, begin);
        LogicalLine line = classify(blank, begin, end);
        line.number = number;
        if (line.kind == LogicalLine::Kind::Line) {
            if (nextOperands != operands.end() && nextOperands->first < end)
                line.at = (nextOperands++)->second;
            else
                line.at =
                    parseLineOperands(std::string_view(blank).substr(line.body, end - line.body));
        }
        lines.push_back(std::move(line));

        const std::size_t next = end < text.size() ? end + lineEndLength(text, end) : end;
        number += countLineEnds(text, begin, next);
        begin = next;
    }
    const bool lastIsOpen = !text.empty() && text.back() != '\n' && text.back() != '\r';
    lineCount = number + (lastIsOpen ? 1 : 0);
}

void GlslScan::erase(std::size_t begin, std::size_t end) {
    for (std::size_t i = begin; i < end; ++i) {
        if (isSpace(blank[i])) continue;
        text[i] = ' ';
        blank[i] = ' ';
    }
}

namespace {

using Names = std::set<std::string, std::less<>>;

void addDefinedNames(const GlslScan& scan, Names& names) {
    for (const LogicalLine& line : scan.lines) {
        if (line.kind != LogicalLine::Kind::Define) continue;
        names.emplace(wordAt(scan.blank, skipSpace(scan.blank, line.body)));
    }
}

/// Whether a part of a conditional is compiled; never behind one that always is.
enum class Condition { Unknown, Never, Always, Past };

/// What is known of `#ifdef NAME` and `#ifndef NAME`.
Condition conditionOf(std::string_view line, const Names& defined) {
    const std::string_view directive = directiveName(line, line.find('#'));
    if (directive != "ifdef" && directive != "ifndef") return Condition::Unknown;
    const std::string_view name = wordAt(line, skipSpace(line, behindWord(line, directive)));
    const bool mayBeDefined =
        name.empty() || name.starts_with("GL_") || name.starts_with("__") || defined.contains(name);
    if (mayBeDefined) return Condition::Unknown;
    return directive == "ifdef" ? Condition::Never : Condition::Always;
}

/// Of the part behind `#else` or `#elif`.
Condition conditionBehind(Condition before, std::string_view line) {
    if (before == Condition::Always || before == Condition::Past) return Condition::Past;
    const bool isElse = directiveName(line, line.find('#')) == "else";
    return before == Condition::Never && isElse ? Condition::Always : Condition::Unknown;
}

} // namespace

std::string GlslScan::withoutInactive(std::string_view others) const {
    using Kind = LogicalLine::Kind;
    Names defined;
    addDefinedNames(*this, defined);
    addDefinedNames(GlslScan(std::string(others)), defined);
    std::string active = blank;
    std::vector<Condition> open;
    for (const LogicalLine& line : lines) {
        const std::string_view words =
            std::string_view(blank).substr(line.begin, line.end - line.begin);
        if (line.kind == Kind::If) open.push_back(conditionOf(words, defined));
        if (line.kind == Kind::Endif && !open.empty()) open.pop_back();
        if (line.kind == Kind::Else && !open.empty())
            open.back() = conditionBehind(open.back(), words);
        const bool isLeftOut = std::any_of(open.begin(), open.end(), [](Condition condition) {
            return condition == Condition::Never || condition == Condition::Past;
        });
        if (isLeftOut)
            std::fill(active.begin() + static_cast<std::ptrdiff_t>(line.begin),
                      active.begin() + static_cast<std::ptrdiff_t>(line.end), ' ');
    }
    return active;
}

} // namespace Mirk::GL
