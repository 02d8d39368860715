#include <Displays/stageText.hpp>

#include <light.glsl.hpp>

#include <algorithm>

namespace Mirk {

namespace {

std::size_t headEnd(std::string_view source) {
    const std::size_t extension = source.rfind("\n#extension");
    return source.find('\n', extension == std::string_view::npos ? 0 : extension + 1) + 1;
}

std::string viewLines(const LayeredMultiViews& views, const char* stage,
                      const std::string& defines) {
    const std::string lines = std::string("#define ") + stage + "_SHADER 1\n" + defines;
    return lines + views.defineMultiView(views.EyeViews.size(), true, 0);
}

} // namespace

std::string withLines(std::string_view source, const std::string& lines) {
    const std::size_t end = headEnd(source);
    const std::string_view head = source.substr(0, end);
    const auto next = std::count(head.begin(), head.end(), '\n') + 1;
    std::string text(head);
    text += lines;
    text += "#line " + std::to_string(next) + "\n";
    return text.append(source.substr(end));
}

std::string vertexStage(const LayeredMultiViews& views, std::string_view source,
                        const std::string& defines) {
    return withLines(source, viewLines(views, "VERTEX", defines));
}

std::string geometryStage(const LayeredMultiViews& views, std::string_view source,
                          const std::string& defines) {
    return withLines(source, viewLines(views, "GEOMETRY", defines));
}

std::string litVertexStage(const LayeredMultiViews& views, std::string_view source,
                           const std::string& defines) {
    return withLines(source, viewLines(views, "VERTEX", defines).append(glsl::light));
}

} // namespace Mirk
