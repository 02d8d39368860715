#include <PolypiaGL/textOrigins.hpp>

#include <Polypia/RenderException.hpp>

#include <algorithm>
#include <array>
#include <charconv>
#include <limits>
#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace Mirk::GL {

namespace {

using Origins = std::vector<RenderBasin::TextOrigin>;

constexpr std::string_view composedText = "0";

/// "file(line) : severity: words", the form of messages with a place.
struct PlacedMessage {
    std::string file;
    std::size_t line = 0;
    std::string rest; ///< from the closing bracket on

    /// As a line of a log whose exception is about `ownFile`.
    std::string text(std::string_view ownFile) const {
        return (file == ownFile ? std::string("0") : file) + "(" + std::to_string(line) + rest;
    }
    bool isWarning() const { return rest.starts_with(") : warning"); }
};

/// One message, or what belongs to the one above it.
struct LogLine {
    std::optional<PlacedMessage> message;
    std::string_view words;
};
using LogLines = std::vector<LogLine>;

bool beginsWithSeverity(std::string_view text) {
    constexpr std::array severities{
        "error: ", "fatal error: ", "internal error: ", "warning: ", "note: "};
    return std::any_of(severities.begin(), severities.end(),
                       [&](const char* severity) { return text.starts_with(severity); });
}

std::optional<PlacedMessage> parse(std::string_view text) {
    constexpr std::string_view behindPlace = ") : ";
    const std::size_t close = text.find(behindPlace);
    const std::size_t open = text.substr(0, close).rfind('(');
    if (close == std::string_view::npos || open == std::string_view::npos || open == 0) return {};
    if (!beginsWithSeverity(text.substr(close + behindPlace.size()))) return {};
    PlacedMessage message{std::string(text.substr(0, open)), 0, std::string(text.substr(close))};
    const char* const end = text.data() + close;
    const auto parsed = std::from_chars(text.data() + open + 1, end, message.line);
    if (parsed.ec != std::errc() || parsed.ptr != end) return {};
    return message;
}

/// The stage that a heading in a linker's log names, by the end of its file's name; empty if the
/// line is none.
std::string_view stageOfHeading(std::string_view line) {
    constexpr std::array<std::pair<std::string_view, std::string_view>, 4> headings{{
        {"Vertex info", ".vert"},
        {"Geometry info", ".geom"},
        {"Fragment info", ".frag"},
        {"Compute info", ".comp"},
    }};
    const auto found = std::find_if(headings.begin(), headings.end(),
                                    [&](const auto& heading) { return heading.first == line; });
    return found == headings.end() ? std::string_view() : found->second;
}

/// A line of the composed text that stands in a file.
void placeComposed(PlacedMessage& message, std::string_view stage, const Origins& origins) {
    const auto origin = std::find_if(origins.begin(), origins.end(), [&](const auto& candidate) {
        return candidate.stage == stage && !candidate.file.empty() &&
               message.line >= candidate.firstLine &&
               message.line - candidate.firstLine <= candidate.lines;
    });
    if (origin == origins.end()) return;
    message.line = message.line - origin->firstLine + origin->fileLine;
    message.file = origin->file;
}

/// A line behind an include. The directive there has the number of the line that it replaced, which
/// is one less than that of the line behind it.
void placeBehindInclude(PlacedMessage& message, const Origins& origins) {
    const auto origin = std::find_if(origins.begin(), origins.end(), [&](const auto& candidate) {
        return candidate.stage == message.file && !candidate.file.empty();
    });
    if (origin == origins.end()) return;
    message.line += origin->fileLine;
    message.file = origin->file;
}

/// Lines of the composed text are not those of the file with the name of the stage, if there is
/// one.
void place(PlacedMessage& message, const std::string& stage, const Origins& origins) {
    if (message.file == composedText) {
        placeComposed(message, stage, origins);
    } else {
        placeBehindInclude(message, origins);
    }
    if (message.file == composedText) message.file = "composed " + stage;
    // Only lines of what the exception is about begin so.
    if (message.file.starts_with("0(")) message.file.insert(0, "./");
}

std::vector<std::string_view> linesOf(std::string_view text) {
    std::vector<std::string_view> lines;
    while (!text.empty()) {
        const std::size_t end = std::min(text.find('\n'), text.size());
        lines.push_back(text.substr(0, end));
        text.remove_prefix(std::min(end + 1, text.size()));
    }
    return lines;
}

} // namespace

void nameFiles(RenderException& exception, const Origins& origins) {
    const std::string log = exception.shaderLog.str();
    if (origins.empty() || !log.starts_with('\n')) return;
    std::string stage(exception.file.view());
    LogLines errors, warnings, ahead;
    // What follows a message without a place of its own belongs to it; and below the headings of a
    // linker each message stays where it is. What stands ahead of all of them, as "Compile
    // failed.", goes behind, so that a report begins with the fault.
    LogLines* target = &ahead;
    bool hasHeadings = false;
    std::optional<PlacedMessage> first;
    for (const std::string_view line : linesOf(std::string_view(log).substr(1))) {
        const std::string_view ending = stageOfHeading(line);
        const auto headed = std::find_if(origins.begin(), origins.end(), [&](const auto& origin) {
            return !ending.empty() && origin.stage.ends_with(ending);
        });
        if (headed != origins.end()) stage = headed->stage;
        if (!ending.empty()) target = &errors;
        hasHeadings = hasHeadings || !ending.empty();
        std::optional<PlacedMessage> message = parse(line);
        if (message) place(*message, stage, origins);
        if (message) target = message->isWarning() && !hasHeadings ? &warnings : &errors;
        if (message && !message->isWarning() && !first) first = message;
        target->push_back({std::move(message), line});
    }
    errors.insert(errors.end(), warnings.begin(), warnings.end());
    errors.insert(errors.end(), ahead.begin(), ahead.end());
    if (first) {
        exception.file = first->file;
        constexpr std::size_t greatest = std::numeric_limits<int>::max(); // no line beyond it
        exception.line = static_cast<int>(std::min(first->line, greatest));
    }
    std::string named = "\n";
    for (const LogLine& line : errors) {
        named.append(line.message ? line.message->text(exception.file.view())
                                  : std::string(line.words)) += '\n';
    }
    exception.shaderLog = named;
}

std::string logWithNames(const RenderException& exception) {
    std::string named;
    for (const std::string_view line : linesOf(exception.shaderLog.view())) {
        const bool isOwn = line.starts_with("0(") && !exception.file.empty();
        if (isOwn) named.append(exception.file.view());
        named.append(line.substr(isOwn ? 1 : 0)) += '\n';
    }
    return named;
}

} // namespace Mirk::GL
