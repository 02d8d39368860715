#include <Polypia/shaderText.hpp>

namespace Mirk {

std::string lineMarker(int line, std::string_view source) {
    std::string text = "#ifdef ZELK_DO_LINE_DIRECTIVE\n#line ";
    // The directive numbers the line that follows it, which is the last one of the marker.
    text += std::to_string(line - 1);
    text.append(" \"").append(source).append("\"\n");
    return text += "#endif /* ZELK_DO_LINE_DIRECTIVE */\n";
}

} // namespace Mirk
