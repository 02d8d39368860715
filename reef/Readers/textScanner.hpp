#pragma once
// Words and numbers out of a text file, with the line for messages; stands on InputFile.

#include <Readers/InputFile.hpp>

#include <charconv>
#include <cstddef>
#include <string>
#include <string_view>

namespace Mirk {

/// Walks once over a text whose lines matter. Lines end with a line feed; a carriage return is a
/// blank. Every operation that doesn't find what it is asked for throws ReaderError.
class TextScanner {
public:
    /// Reads the content of `file` from `offset`, which lies in line `line`. The rest of a line
    /// from `comment` on is passed over, unless `comment` is 0.
    explicit TextScanner(const InputFile& file, char comment = 0, std::size_t offset = 0,
                         std::size_t line = 1);

    /// Goes to the next word on this or a later line; false at the end of the text.
    bool toNextContent();
    /// True if nothing but blanks and a comment follow on the line.
    bool atLineEnd();
    void toNextLine();
    void expectLineEnd();

    /// The next word on the line. `what` names it in a message.
    std::string_view word(const char* what);
    /// The next number on the line, which must be finite.
    double real(const char* what);
    /// The next number on the line, which must be a whole one.
    long long integer(const char* what);
    /// The next number on the line, which must be whole and not negative.
    std::size_t count(const char* what);

    std::size_t line() const { return _line; }
    std::size_t bytesLeft() const { return static_cast<std::size_t>(_end - _at); }

    /// Throws a ReaderError for the line.
    [[noreturn]] void fail(const std::string& reason) const;
    [[noreturn]] void failAt(std::size_t line, const std::string& reason) const;

private:
    void skipBlanks();
    const char* wordEnd() const;
    [[noreturn]] void failNumber(const char* kind, const char* what);
    double unusualReal(const char* what);

    const InputFile* _file;
    const char* _at;
    const char* _end;
    std::size_t _line;
    char _comment;
};

/// The first word of a text that isn't in a comment; empty if there is none.
std::string_view firstWord(std::string_view text, char comment);

} // namespace Mirk
