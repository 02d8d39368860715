// Feeds texts to the rules for shader text that comes from files: includes and raw strings.
//
// What comes out is compared with what a plain reading of the rules gives, line by line. An
// included file is one of three that are written at the start, on the search path.

#include <Polypia/shaderIncludes.hpp>

#include <keel/File.hpp>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <list>
#include <string>
#include <string_view>
#include <vector>

namespace {

[[noreturn]] void fail(const char* what, const std::string& expected, const std::string& got) {
    std::fprintf(stderr, "%s: expected \"%s\", got \"%s\"\n", what, expected.c_str(), got.c_str());
    std::abort();
}

/// A folder with the files a, ab and abc, which is left to the system.
const std::list<std::string>& searchPath() {
    static const std::list<std::string> path = [] {
        // What isn't found is told line by line.
        if (std::freopen("/dev/null", "w", stdout) == nullptr) std::abort();
        std::string folder =
            (std::filesystem::temp_directory_path() / "polypia-fuzz-XXXXXX").string();
        if (::mkdtemp(folder.data()) == nullptr) std::abort();
        Keel::FileWrite(folder + "/a", "", "wb");
        Keel::FileWrite(folder + "/ab", "one\n#include \"ab\"\r\n\nend", "wb");
        Keel::FileWrite(folder + "/abc", std::string("\r\ncut\0off\n", 10), "wb");
        return std::list<std::string>{"$POLYPIA_FUZZ_UNSET", folder};
    }();
    return path;
}

std::vector<std::string> linesOf(const std::string& text) {
    std::vector<std::string> lines(1);
    for (const char c : text) {
        if (c == '\0') break;
        if (c == '\n') {
            lines.emplace_back();
        } else {
            lines.back() += c;
        }
    }
    if (lines.back().empty()) lines.pop_back();
    return lines;
}

std::string plainExpansion(const std::string& code, const std::string& filename) {
    const std::string word = "#include";
    std::string text;
    int number = 0;
    for (const std::string& line : linesOf(code)) {
        ++number;
        if (line.compare(0, word.size(), word) != 0) {
            text += line + "\n";
            continue;
        }
        std::string rest = line.substr(word.size());
        const std::size_t first = rest.find_first_not_of("\t\n\r ");
        if (first != std::string::npos) rest.erase(0, first);
        if (rest.size() >= 3) {
            std::list<std::string> path = searchPath();
            if (rest[0] == '"' || rest[0] == '?') path.push_front(".");
            const std::string file = Keel::PathOpen(path, rest.substr(1, rest.size() - 3));
            if (!file.empty()) {
                text += "#line " + file + " 1\n";
                for (const std::string& included : linesOf(Keel::FileRead(file, "rb"))) {
                    text += included + "\n";
                }
            }
        }
        text += "#line " + filename + " " + std::to_string(number) + "\n";
    }
    return text;
}

std::string plainRawString(const std::string& text) {
    const std::size_t open = text.find('(');
    if (text.compare(0, 2, "R\"") != 0 || open == std::string::npos) return text;
    const std::string end = ")" + text.substr(2, open - 2) + "\"";
    const std::size_t close = text.find(end, open + 1);
    return close == std::string::npos ? text : text.substr(open + 1, close - open - 1);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string input(reinterpret_cast<const char*>(data), size);
    const Mirk::RawString raw = Mirk::rawStringBody(input);
    const std::string body(raw.body);
    if (body != plainRawString(input)) fail("raw string", plainRawString(input), body);
    if (raw.line > size) fail("line of a raw string", "one of the text", std::to_string(raw.line));

    const std::string& code = body;
    const std::string text = Mirk::expandIncludes(code, "N.vert", searchPath(), nullptr);
    const std::string expected = plainExpansion(code, "N.vert");
    if (text != expected) fail("includes", expected, text);
    if (!text.empty() && text.back() != '\n') fail("end of the text", "a line feed", text);
    return 0;
}
