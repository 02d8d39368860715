#include <Displays/LineDisplay.hpp>

#include <Displays/HiddenSides.hpp>
#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>
#include <Displays/stageText.hpp>

#include <line.frag.glsl.hpp>
#include <line.geom.glsl.hpp>
#include <line.vert.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

constexpr std::uint32_t restart = 0xFFFFFFFFU;
constexpr int levelAttribute = 8;

/// How lines are drawn.
enum Form : int { ThinLines, WideLines, WideLinesWithRoundEnds };

/// By level.
std::vector<Skua::FixedArray<float, 3>> colorsOf(LineKind kind) {
    using LevelColor = Skua::FixedArray<float, 3>;
    switch (kind) {
    case LineKind::River:
        return std::vector<LevelColor>(8, LevelColor{0.35F, 0.60F, 0.85F});
    case LineKind::Border:
        return std::vector<LevelColor>(8, LevelColor{0.80F, 0.55F, 0.40F});
    case LineKind::Coast:
        break;
    }
    const LevelColor land{0.93F, 0.89F, 0.78F};
    const LevelColor lake{0.45F, 0.68F, 0.88F};
    const LevelColor ice{0.80F, 0.90F, 0.97F};
    return {land, land, lake, land, lake, ice, ice, ice};
}

} // namespace

LineDisplay::LineDisplay(const std::string& displayName, Polylines&& lines, bool smooth,
                         double unitsPerMetre)
    : VObject(displayName, 0, {}),
      PolypDisplay(displayName, boundsOf(lines.points)),
      _lines(std::move(lines)),
      _smooth(smooth),
      _unitsPerMetre(unitsPerMetre),
      _lineWidth(TypedSlot<double>(this, "linewidth", 1.2, 0)
                     .setHelp("Width of the lines in pixels.")
                     .setProperty("min", 0.0)) {}

LineDisplay::~LineDisplay() = default;

void LineDisplay::reach(std::span<const vector> directions, std::span<double> reaches) const {
    raiseReaches(_lines.points, directions, reaches);
}

double LineDisplay::marginPixels(const ValuePoolPtr& pool) const {
    return std::max(0.0, _lineWidth.value(pool)) / 2.0;
}

int LineDisplay::form(const ValuePoolPtr& pool) const {
    const double widthPixels = _lineWidth.value(pool);
    // Drivers draw plain lines of one pixel only, and with several samples they break them into
    // dots where pieces are shorter than a pixel.
    if (widthPixels == 1.0 && !_smooth) return ThinLines;
    // Where two rectangles meet at an angle they leave a notch as deep as half the width.
    constexpr double widestWithoutNotches = 2.0;
    return widthPixels > widestWithoutNotches ? WideLinesWithRoundEnds : WideLines;
}

bool LineDisplay::fill(Polyp& polyp, VRenderContext& context, int form) const {
    const RenderBasin::ProgramPtr program = polyp.insert(createProgram(context, form));
    if (!program) return false;
    polyp.insert(context.createCoordinates(relativePoints(_lines.points, origin()), "Coordinates"));
    polyp.insert(context.createAttribute(pointLevels(), levelAttribute, "Level"));
    const auto indices =
        polyp.insert(context.createAttribute(strips(), indicesAttribute, "Indices"));
    if (!indices) return false;
    polyp.insert(indices->createPainter(RenderNamespace::LineStrip));

    (*program)["LevelColors"] = colorsOf(_lines.kind);
    if (form != ThinLines) {
        insertViewportPixels(polyp, context);
        insertSize(polyp, context, "LineWidth", _lineWidth);
    }
    if (_lines.coordinates == CoordinateSystem::EarthCentred) {
        polyp.insert(Keel::make<HiddenSides>(
            context, *program, origin(), 1.0 / _unitsPerMetre,
            [this](const VRenderContext& present) { return marginPixels(present.pool); }));
    }
    return true;
}

RenderBasin::ProgramPtr LineDisplay::createProgram(VRenderContext& context, int form) const {
    const std::string earth =
        _lines.coordinates == CoordinateSystem::EarthCentred ? "#define ON_EARTH\n" : "";
    const std::string vertex = vertexStage(context, glsl::line_vert, earth);
    if (form == ThinLines) {
        return context.createProgram(vertex, std::string(glsl::line_frag), "line.vert.glsl",
                                     "line.frag.glsl", 1, 1, {}, {});
    }
    const std::string ends = form == WideLinesWithRoundEnds ? "#define ROUND_ENDS\n" : "";
    return context.createGeometryProgram(
        vertex, RenderNamespace::LinesInput, geometryStage(context, glsl::line_geom, ends),
        RenderNamespace::TriangleStripOutput, withLines(glsl::line_frag, "#define WIDE_LINES\n"),
        "line.vert.glsl", "line.geom.glsl", "line.frag.glsl", {}, {});
}

/// The level of the line of each point.
RenderBasin::ChunkPtr LineDisplay::pointLevels() const {
    std::vector<unsigned char> result(elementsOf(_lines.points).size());
    const auto starts = elementsOf(_lines.starts);
    const auto levels = elementsOf(_lines.levels);
    for (std::size_t line = 0; line < levels.size(); ++line) {
        std::fill(result.begin() + starts[line], result.begin() + starts[line + 1], levels[line]);
    }
    return shortLived(std::move(result));
}

/// One strip after the other.
RenderBasin::ChunkPtr LineDisplay::strips() const {
    const auto starts = elementsOf(_lines.starts);
    std::vector<std::uint32_t> indices;
    indices.reserve(elementsOf(_lines.points).size() + starts.size());
    for (std::size_t line = 0; line + 1 < starts.size(); ++line) {
        for (std::uint32_t i = starts[line]; i < starts[line + 1]; ++i) indices.push_back(i);
        indices.push_back(restart);
    }
    return shortLived(std::move(indices));
}

} // namespace Mirk
