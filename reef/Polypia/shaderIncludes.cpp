#include <Polypia/shaderIncludes.hpp>

#include <Polypia/shaderFile.hpp>

#include <algorithm>
#include <cstdio>
#include <cstring>

namespace Mirk {

namespace {

constexpr std::string_view includeWord = "#include";
constexpr std::size_t npos = std::string_view::npos;

std::string_view untilNul(std::string_view text) {
    return text.substr(0, text.find('\0'));
}

/// Where the next line with the word begins, from `at` on, which is the beginning of a line. Looks
/// for the sign, which is rarer than the ends of lines.
std::size_t findInclude(std::string_view text, std::size_t at) {
    for (std::size_t sign = text.find('#', at); sign != npos; sign = text.find('#', sign + 1)) {
        const bool beginsLine = sign == 0 || text[sign - 1] == '\n';
        if (beginsLine && text.substr(sign, includeWord.size()) == includeWord) return sign;
    }
    return npos;
}

/// By searches, which are faster than a look at each character.
std::size_t numberOfLineFeeds(std::string_view text) {
    std::size_t number = 0;
    for (std::size_t at = text.find('\n'); at != npos; at = text.find('\n', at + 1)) ++number;
    return number;
}

void endLine(std::string& text) {
    if (!text.empty() && text.back() != '\n') text += '\n';
}

std::string_view withoutHead(std::string_view rest) {
    const std::size_t first = rest.find_first_not_of("\t\n\r ");
    return first == npos ? rest : rest.substr(first);
}

/// The first of the places at which a file is looked for that has one; empty if there is none.
/// Enters them up to that: a file that is made ahead of it later takes its place.
std::string findFirst(const std::list<std::string>& searchPath, const std::string& name,
                      std::map<std::string, Keel::Filetime>* files) {
    for (const std::string& path : Keel::pathCandidates(searchPath, name)) {
        const Keel::FileInfo info(path);
        const bool isOther = info.exists && !info.isRegular; // such as a folder
        if (files != nullptr && !isOther) files->emplace(path, info.modified);
        if (info.isRegular) return path;
    }
    return {};
}

/// The path of the file that an include line asks for; empty if there is none, which is told.
std::string findFile(std::string_view rest, const std::string& filename, std::size_t line,
                     std::list<std::string> searchPath,
                     std::map<std::string, Keel::Filetime>* files) {
    const char delimiter = rest.front();
    // Two characters behind the name, though it looks as if one were enough: meant for texts with
    // CRLF, and what is written for them relies on it.
    const std::string name(rest.substr(1, rest.size() - 3));
    if (delimiter == '"' || delimiter == '?') searchPath.emplace_front(".");
    const std::string path = findFirst(searchPath, name, files);
    if (delimiter == '?') {
        std::printf("#include \"%s\"\t ===> [%s]\n", name.c_str(), path.c_str());
    }
    if (path.empty()) {
        std::printf("Polypia/Programmable: include file '%s' not found in %s:%d \n", name.c_str(),
                    filename.c_str(), static_cast<int>(line));
    }
    std::fflush(stdout);
    return path;
}

} // namespace

std::string expandIncludes(std::string_view code, const std::string& filename,
                           const std::list<std::string>& searchPath,
                           std::map<std::string, Keel::Filetime>* files) {
    code = untilNul(code);
    std::string text;
    text.reserve(code.size() + code.size() / 16 + 1); // with a share for directives
    std::size_t at = 0;
    std::size_t line = 0; // lines that end ahead of `at`
    for (std::size_t found = findInclude(code, 0); found != npos; found = findInclude(code, at)) {
        const std::string_view ahead = code.substr(at, found - at);
        text += ahead;
        line += numberOfLineFeeds(ahead) + 1;
        const std::size_t end = std::min(code.find('\n', found), code.size());
        const std::size_t behindWord = found + includeWord.size();
        const std::string_view rest = withoutHead(code.substr(behindWord, end - behindWord));
        constexpr std::size_t shortest = 3;
        const std::string path =
            rest.size() < shortest ? "" : findFile(rest, filename, line, searchPath, files);
        if (!path.empty()) {
            text.append("#line ").append(path).append(" 1\n");
            text += untilNul(readShaderFile(path));
            endLine(text);
        }
        text.append("#line ").append(filename).append(" ").append(std::to_string(line));
        text += '\n';
        at = std::min(end + 1, code.size());
    }
    text += code.substr(at);
    endLine(text);
    return text;
}

RawString rawStringBody(std::string_view text) {
    constexpr std::string_view head = "R\"";
    if (!text.starts_with(head)) return {text};
    const std::size_t open = text.find('(');
    if (open == npos) return {text};
    const std::string end = ")" + std::string(text.substr(head.size(), open - head.size())) + "\"";
    const std::string_view behind = text.substr(open + 1);
    // Not find(), which takes the square of the length for some delimiters.
    const void* const found = ::memmem(behind.data(), behind.size(), end.data(), end.size());
    if (found == nullptr) return {text};
    const auto length = static_cast<std::size_t>(static_cast<const char*>(found) - behind.data());
    return {behind.substr(0, length), numberOfLineEnds(text.substr(0, open))};
}

std::size_t numberOfLineEnds(std::string_view text) {
    const auto isEnd = [](char c) { return c == '\n' || c == '\r'; };
    // Most texts have none, for which one search is enough.
    if (text.find('\r') == npos) return numberOfLineFeeds(text);
    std::size_t number = 0;
    for (std::size_t at = 0; at < text.size(); ++at) {
        if (!isEnd(text[at])) continue;
        ++number;
        const bool isPair = at + 1 < text.size() && isEnd(text[at + 1]) && text[at + 1] != text[at];
        if (isPair) ++at;
    }
    return number;
}

} // namespace Mirk
