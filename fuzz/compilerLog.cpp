// Feeds logs to the mapping of compilers' messages to files and lines.
//
// Each line of a log comes out as one line, whatever it holds.

#include <PolypiaGL/LineTable.hpp>
#include <PolypiaGL/glslLog.hpp>
#include <PolypiaGL/textOrigins.hpp>

#include <Polypia/RenderException.hpp>

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <string>
#include <vector>

using Mirk::GL::LineNumbering;
using Mirk::GL::LineTable;

namespace {

[[noreturn]] void fail(const char* what, const std::string& log, const std::string& mapped) {
    std::fprintf(stderr, "%s: \"%s\" of \"%s\"\n", what, mapped.c_str(), log.c_str());
    std::abort();
}

const LineTable& lines() {
    static const LineTable table = [] {
        LineTable filled(50);
        filled.number("N.frag", 3);
        filled.number("./part", 7);
        filled.number("0(odd", 1);
        return filled;
    }();
    return table;
}

const std::vector<Mirk::RenderBasin::TextOrigin>& origins() {
    static const std::vector<Mirk::RenderBasin::TextOrigin> places{
        {"N.vert", "", 5, 10, 1},
        {"N.frag", "N_frag.glsl", 21, 10, 4},
        {"W.frag", "W.glsl", 1, 9, 1}};
    return places;
}

auto numberOfLines(const std::string& text) {
    return std::count(text.begin(), text.end(), '\n');
}

/// Of a log without what is cut off: the end from a NUL on, and blanks and line ends around it.
auto numberOfMessages(std::string log) {
    constexpr const char* blanks = " \t\v\f\r\n";
    log = log.substr(0, log.find('\0'));
    const std::size_t first = log.find_first_not_of(blanks);
    if (first == std::string::npos) return numberOfLines("");
    log = log.substr(first, log.find_last_not_of(blanks) + 1 - first);
    return numberOfLines(log) + 1;
}

void expectLines(const std::string& log, const std::string& mapped) {
    const auto messages = numberOfMessages(log);
    if (messages == 0 && !mapped.empty()) fail("not empty", log, mapped);
    if (messages == 0) return;
    if (mapped.front() != '\n' || mapped.back() != '\n') fail("no line feeds", log, mapped);
    if (numberOfLines(mapped) != messages + 1) fail("another number of lines", log, mapped);
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    const std::string log(reinterpret_cast<const char*>(data), size);
    expectLines(log, Mirk::GL::mapLinkerLog(log, lines(), "vertex and fragment stage"));
    for (const auto numbering : {LineNumbering::NPlusOne, LineNumbering::N}) {
        const std::string mapped = Mirk::GL::mapCompilerLog(log, lines(), numbering);
        expectLines(log, mapped);
        for (const char* const stage : {"N.vert", "N.frag", "W.frag", ""}) {
            Mirk::RenderException exception(0, "compile", "", 0);
            exception.file = stage;
            exception.shaderLog = mapped;
            Mirk::GL::nameFiles(exception, origins());
            expectLines(log, exception.shaderLog.str());
            if (exception.line < 0) fail("line", log, std::to_string(exception.line));
        }
    }
    return 0;
}
