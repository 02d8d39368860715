#pragma once
// A first look at GLSL text: comments, logical lines, directives. Pure text on the standard
// library; what glslAdapt stands on.

#include <PolypiaGL/export.hpp>

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace Mirk::GL {

/// What a `#line` directive says: the line that follows it is `number` of `file`.
/// An empty file is the text itself.
struct LineOperands {
    long number = 0;
    std::string file;
};

/// Reads what stands behind `#line`: `N`, `N S`, `N "file"`, `N /* file */`, `file N`, `"file" N`.
/// Source number 0 is the text itself, another source number becomes the file's name.
/// Empty for anything else.
POLYPIAGL_EXPORT std::optional<LineOperands> parseLineOperands(std::string_view operands);

/// One line with those that a backslash joins to it; a comment over several lines joins them too.
struct LogicalLine {
    enum class Kind {
        Empty,
        Code,
        Version,
        Extension,
        Line,
        Warning,
        If,
        Else,
        Endif,
        Define,
        Other
    };

    Kind kind = Kind::Empty;
    std::size_t begin = 0;          ///< of the first line, leading blanks included
    std::size_t first = 0;          ///< first character that is no blank; `end` of empty lines
    std::size_t end = 0;            ///< behind the last character, without the line end
    std::size_t body = 0;           ///< behind the directive's name; `first` of other lines
    std::size_t number = 0;         ///< of the first line, counted from 0
    std::optional<LineOperands> at; ///< of a `#line` that could be read
};

/// Text and its copy for matching, both of one length. Lines end at LF, CR, CR LF or LF CR, as the
/// language has it.
struct POLYPIAGL_EXPORT GlslScan {
    /// Cuts the text at its first NUL, where a compiler stops as well, moves the operands of
    /// readable `#line` directives into `lines`, and cuts off a `#line` that hangs on the line of
    /// an `#if` or `#elif`. Any bytes are legal; linear in their number.
    explicit GlslScan(std::string source);

    /// `blank` with blanks for what a compiler leaves out as well, as far as that is plain: between
    /// `#ifdef NAME` (or the `#else` of `#ifndef NAME`) and what ends it, if nothing here or in
    /// `others` defines that name. Names with "GL_" or "__" ahead may be the compiler's own.
    std::string withoutInactive(std::string_view others) const;

    /// Overwrites what is no comment within [begin, end) by blanks, in both texts.
    void erase(std::size_t begin, std::size_t end);

    std::string text;
    std::string blank; ///< the same with blanks for comments
    std::vector<LogicalLine> lines;
    std::size_t lineCount = 0; ///< lines begun, an unfinished last one included
};

/// Length of the line end at `i`: 0, 1 or 2.
inline std::size_t lineEndLength(std::string_view text, std::size_t i) {
    if (text[i] != '\n' && text[i] != '\r') return 0;
    const bool pair = i + 1 < text.size() && text[i + 1] != text[i] &&
                      (text[i + 1] == '\n' || text[i + 1] == '\r');
    return pair ? 2 : 1;
}

// The character classes of the language, whatever the locale.
constexpr bool isDigit(char c) {
    return c >= '0' && c <= '9';
}
constexpr bool isWordStart(char c) {
    return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z') || c == '_';
}
constexpr bool isWordPart(char c) {
    return isWordStart(c) || isDigit(c);
}
constexpr bool isBlank(char c) {
    return c == ' ' || c == '\t' || c == '\v' || c == '\f';
}
constexpr bool isSpace(char c) {
    return isBlank(c) || c == '\n' || c == '\r';
}

/// First position from `i` on that holds no blank or line end; the size if there is none.
inline std::size_t skipSpace(std::string_view text, std::size_t i) {
    while (i < text.size() && isSpace(text[i])) ++i;
    return i;
}

/// The word that begins at `i`, empty if none does.
inline std::string_view wordAt(std::string_view text, std::size_t i) {
    if (i >= text.size() || !isWordStart(text[i])) return {};
    std::size_t end = i + 1;
    while (end < text.size() && isWordPart(text[end])) ++end;
    return text.substr(i, end - i);
}

/// Without blanks and line ends at both ends.
inline std::string_view trim(std::string_view text) {
    while (!text.empty() && isSpace(text.front())) text.remove_prefix(1);
    while (!text.empty() && isSpace(text.back())) text.remove_suffix(1);
    return text;
}

} // namespace Mirk::GL
