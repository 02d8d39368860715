#include <Readers/textScanner.hpp>

#include <Readers/ReaderError.hpp>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <cstring>

namespace Mirk {
namespace {

bool isBlank(char letter) {
    return letter == ' ' || letter == '\t' || letter == '\r' || letter == '\v' || letter == '\f';
}

bool endsWord(char letter) {
    return letter == '\n' || isBlank(letter);
}

} // namespace

TextScanner::TextScanner(const InputFile& file, char comment, std::size_t offset, std::size_t line)
    : _file(&file),
      _at(file.content().data() + offset),
      _end(file.content().data() + file.content().size()),
      _line(line),
      _comment(comment) {}

void TextScanner::skipBlanks() {
    for (; _at != _end; ++_at) {
        if (isBlank(*_at)) continue;
        // A backslash before the line feed joins two lines.
        if (*_at == '\\') {
            const char* next = _at + 1;
            if (next != _end && *next == '\r') ++next;
            if (next == _end || *next != '\n') return;
            _at = next;
            ++_line;
            continue;
        }
        if (*_at != _comment || _comment == 0) return;
        const void* const lineFeed = std::memchr(_at, '\n', bytesLeft());
        _at = lineFeed ? static_cast<const char*>(lineFeed) : _end;
        return;
    }
}

bool TextScanner::atLineEnd() {
    skipBlanks();
    return _at == _end || *_at == '\n';
}

void TextScanner::toNextLine() {
    const void* const lineFeed = std::memchr(_at, '\n', bytesLeft());
    _at = lineFeed ? static_cast<const char*>(lineFeed) + 1 : _end;
    if (lineFeed) ++_line;
}

bool TextScanner::toNextContent() {
    while (atLineEnd()) {
        if (_at == _end) return false;
        ++_at;
        ++_line;
    }
    return true;
}

void TextScanner::expectLineEnd() {
    if (!atLineEnd())
        fail("expected the end of the line, got " +
             ReaderError::quoted({_at, static_cast<std::size_t>(wordEnd() - _at)}));
}

const char* TextScanner::wordEnd() const {
    const char* end = _at;
    while (end != _end && !endsWord(*end)) ++end;
    return end;
}

std::string_view TextScanner::word(const char* what) {
    if (atLineEnd())
        fail(std::string("expected ") + what + ", got the end of the " +
             (_at == _end ? "file" : "line"));
    const char* const begin = _at;
    _at = wordEnd();
    return {begin, static_cast<std::size_t>(_at - begin)};
}

double TextScanner::real(const char* what) {
    skipBlanks();
    double value = 0;
    const auto result = std::from_chars(_at, _end, value);
    if (result.ec == std::errc() && (result.ptr == _end || endsWord(*result.ptr)) &&
        std::isfinite(value)) {
        _at = result.ptr;
        return value;
    }
    return unusualReal(what);
}

// A plus sign, a number too small for a double, or no number at all.
double TextScanner::unusualReal(const char* what) {
    if (atLineEnd()) word(what);
    const char* const begin = *_at == '+' ? _at + 1 : _at;
    const char* const end = wordEnd();
    double value = 0;
    const auto result = std::from_chars(begin, end, value);
    if (result.ptr != end || result.ec == std::errc::invalid_argument ||
        (begin != _at && *begin == '-'))
        failNumber("a number", what);
    if (result.ec == std::errc::result_out_of_range)
        value = std::strtod(std::string(begin, end).c_str(), nullptr);
    if (!std::isfinite(value)) failNumber("a finite number", what);
    _at = end;
    return value;
}

long long TextScanner::integer(const char* what) {
    skipBlanks();
    long long value = 0;
    const auto result = std::from_chars(_at, _end, value);
    if (result.ec != std::errc() || (result.ptr != _end && !endsWord(*result.ptr)))
        failNumber("a whole number", what);
    _at = result.ptr;
    return value;
}

std::size_t TextScanner::count(const char* what) {
    const long long value = integer(what);
    if (value < 0)
        fail(std::string("expected a ") + what + " of at least 0, got " + std::to_string(value));
    return static_cast<std::size_t>(value);
}

void TextScanner::failNumber(const char* kind, const char* what) {
    const std::string_view got = word(what);
    fail(std::string("expected ") + kind + " as " + what + ", got " + ReaderError::quoted(got));
}

void TextScanner::fail(const std::string& reason) const {
    failAt(_line, reason);
}

void TextScanner::failAt(std::size_t line, const std::string& reason) const {
    throw ReaderError(_file->path(), "line " + std::to_string(line), reason);
}

std::string_view firstWord(std::string_view text, char comment) {
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (endsWord(text[at])) continue;
        if (text[at] != comment) {
            std::size_t end = at;
            while (end < text.size() && !endsWord(text[end])) ++end;
            return text.substr(at, end - at);
        }
        at = std::min(text.find('\n', at), text.size() - 1);
    }
    return {};
}

} // namespace Mirk
