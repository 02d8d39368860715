#pragma once
// The lines of a shader's text as a compiler counts them; stands on the standard library.

#include <cstddef>
#include <map>
#include <set>
#include <sstream>
#include <string>
#include <vector>

namespace Mirk::GLTest {

inline std::vector<std::string> splitLines(const std::string& text) {
    std::vector<std::string> lines;
    std::istringstream stream(text);
    for (std::string line; std::getline(stream, line);) lines.push_back(line);
    return lines;
}

/// The text's lines by the number that a compiler gives them, conditions and macros obeyed as far
/// as tests use them: `#ifdef X` with the defined names given, `#line` with a number or a
/// macro.
inline std::multimap<long, std::string> numberedLines(const std::string& text, long version,
                                                      std::set<std::string> defined = {}) {
    std::multimap<long, std::string> numbered;
    std::map<std::string, std::string> macros;
    std::vector<bool> active{true};
    long number = 1;
    for (const std::string& line : splitLines(text)) {
        const std::size_t comment = line.starts_with("/*") ? line.find("*/") : std::string::npos;
        std::istringstream words(comment == std::string::npos ? line : line.substr(comment + 2));
        std::string first, second, third;
        words >> first >> second >> third;
        if (first == "#ifdef" || first == "#if") {
            active.push_back(active.back() && defined.contains(second));
        } else if (first == "#else") {
            const bool outer = active[active.size() - 2];
            active.back() = outer && !active.back();
        } else if (first == "#endif") {
            active.pop_back();
        } else if (active.back() && first == "#define") {
            macros[second] = third;
            defined.insert(second);
        } else if (active.back() && first == "#line") {
            number = std::stol(macros.contains(second) ? macros[second] : second) +
                     (version < 330 ? 1 : 0);
            continue;
        } else if (active.back()) {
            numbered.emplace(number, line);
        }
        ++number;
    }
    return numbered;
}

} // namespace Mirk::GLTest
