#include <Displays/LineSet.hpp>

#include <Displays/ElementBoxes.hpp>
#include <Displays/HiddenSides.hpp>
#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>
#include <Displays/lineForm.hpp>

#include <line.frag.glsl.hpp>
#include <line.geom.glsl.hpp>
#include <line.vert.glsl.hpp>

#include <Polypia/RenderParameter.hpp>
#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <cstdint>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

constexpr std::uint32_t restart = 0xFFFFFFFFU;
constexpr int levelAttribute = 8;

/// Points ahead of the first line and behind the last one belong to none.
std::span<const Point> pointsOfLines(const Polylines& lines) {
    const auto starts = elementsOf(lines.starts);
    if (starts.size() < 2) return {};
    return elementsOf(lines.points).subspan(starts.front(), starts.back() - starts.front());
}

class LineContent : public DisplayObject::Content {
public:
    explicit LineContent(const Polylines& lines) : LineContent(lines, boxesOf(lines)) {}

    double distanceFrom(const Point& place) const override {
        const auto points = pointsOfLines(data);
        const auto starts = elementsOf(data.starts);
        const auto isStart = [&](std::size_t i) {
            return std::binary_search(starts.begin(), starts.end(), i + starts.front());
        };
        return _boxes.nearest(place, [&](std::size_t i) {
            const bool goesOn = i + 1 < points.size() && isFinite(points[i + 1]) && !isStart(i + 1);
            return distanceToSegment(points[i], points[goesOn ? i + 1 : i], place);
        });
    }

    /// Two pieces of a line that is cut share a point.
    static constexpr std::size_t step = DisplayObject::pieceVertices - 1;
    static std::size_t piecesOf(std::size_t points) {
        return numberOfParts(points > 1 ? points - 1 : points, step);
    }
    Part points(std::size_t piece) const {
        const std::size_t all = elementsOf(data.points).size();
        const std::size_t first = piece * step;
        return {first, std::min(step + 1, all - first)};
    }

    std::size_t leastBytes(std::size_t piece) const override {
        const Part part = points(piece);
        const std::size_t ofPoint =
            sizeof(FloatPoint) + (data.kind == LineKind::Curve ? 0 : sizeof(unsigned char));
        return part.count * ofPoint + pointsOfLinesIn(part) * sizeof(std::uint32_t);
    }

    const Polylines data;

private:
    LineContent(const Polylines& lines, ElementBoxes&& boxes)
        : Content(boxes.bounds(), piecesOf(elementsOf(lines.points).size())),
          data(lines),
          _boxes(std::move(boxes)) {}

    /// There may be points ahead of the first line, and behind the last one.
    std::size_t pointsOfLinesIn(const Part& part) const {
        const auto starts = elementsOf(data.starts);
        if (starts.empty()) return 0;
        const std::size_t first = std::max<std::size_t>(part.first, starts.front());
        const std::size_t end = std::min<std::size_t>(part.first + part.count, starts.back());
        return end > first ? end - first : 0;
    }

    /// Of each point with the way to the next one.
    static ElementBoxes boxesOf(const Polylines& lines) {
        const std::span<const Point> points = pointsOfLines(lines);
        return {points.size(), [&](std::size_t i, Skua::BoundingBox& box) {
                    if (isFinite(points[i])) box.add(points[i]);
                    const std::size_t next = i + 1;
                    const bool isLast = next % ElementBoxes::elementsInEach == 0;
                    if (isLast && next < points.size() && isFinite(points[next])) {
                        box.add(points[next]);
                    }
                }};
    }

    const ElementBoxes _boxes;
};

/// By level.
std::vector<Skua::FixedArray<float, 3>> colorsOf(LineKind kind) {
    using LevelColor = Skua::FixedArray<float, 3>;
    switch (kind) {
    case LineKind::River:
        return std::vector<LevelColor>(8, LevelColor{0.35F, 0.60F, 0.85F});
    case LineKind::Border:
        return std::vector<LevelColor>(8, LevelColor{0.80F, 0.55F, 0.40F});
    default:
        break;
    }
    const LevelColor land{0.93F, 0.89F, 0.78F};
    const LevelColor lake{0.45F, 0.68F, 0.88F};
    const LevelColor ice{0.80F, 0.90F, 0.97F};
    return {land, land, lake, land, lake, ice, ice, ice};
}

/// Visits the lines that have points in a part: which one, and its part in there.
template<class Visit>
void forEachLine(const Polylines& lines, const Part& part, const Visit& visit) {
    const auto starts = elementsOf(lines.starts);
    const std::size_t end = part.first + part.count;
    // The line of the first point: the last one that begins there or ahead of it.
    const auto next = std::upper_bound(starts.begin(), starts.end(), part.first);
    auto line = static_cast<std::size_t>(next - starts.begin());
    line = line > 0 ? line - 1 : 0;
    for (; line + 1 < starts.size() && starts[line] < end; ++line) {
        const std::size_t first = std::max<std::size_t>(starts[line], part.first);
        const std::size_t last = std::min<std::size_t>(starts[line + 1], end);
        if (first < last) visit(line, Part{first, last - first});
    }
}

/// The level of the line of each point.
std::vector<unsigned char> pointLevels(const Polylines& lines, const Part& part) {
    std::vector<unsigned char> result(part.count);
    const auto levels = elementsOf(lines.levels);
    if (levels.empty()) return result;
    forEachLine(lines, part, [&](std::size_t line, const Part& points) {
        std::fill_n(result.begin() + static_cast<std::ptrdiff_t>(points.first - part.first),
                    points.count, levels[line]);
    });
    return result;
}

/// One strip after the other, of every `step`-th point and the last one of each line.
void appendStrips(std::vector<std::uint32_t>& indices, const Polylines& lines, const Part& part,
                  std::size_t step) {
    const auto points = elementsOf(lines.points);
    forEachLine(lines, part, [&](std::size_t, const Part& ofLine) {
        const std::size_t last = ofLine.first + ofLine.count - 1;
        for (std::size_t i = ofLine.first; i <= last; ++i) {
            const bool isBroken = !isFinite(points[i]);
            // Where a line is broken, both sides are kept.
            const bool isKept = (i - ofLine.first) % step == 0 || i == last ||
                                !isFinite(points[i - 1]) || !isFinite(points[i + 1]);
            if (isBroken) {
                indices.push_back(restart);
            } else if (isKept) {
                indices.push_back(static_cast<std::uint32_t>(i - part.first));
            }
        }
        indices.push_back(restart);
    });
}

} // namespace

LineSet::LineSet(const std::string& displayName, const Polylines& data, bool smooth,
                 double unitsPerMetre)
    : VObject(displayName, 0, {}),
      DisplayObject(displayName),
      _smooth(smooth),
      _unitsPerMetre(unitsPerMetre),
      _lines(TypedSlot<Polylines>(this, "lines", data, 0).setHelp("The lines to be drawn.")),
      _lineWidth(TypedSlot<double>(this, "linewidth", 1.2, 0)
                     .setHelp("Width of the lines in pixels.")
                     .setProperty("min", 0.0)),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {0.90F, 0.85F, 0.55F, 1.0F}, 0)
                 .setHelp("Colour of lines that are neither coasts nor rivers nor borders.")) {}

LineSet::~LineSet() = default;

double LineSet::marginPixels(const ValuePoolPtr& pool) const {
    return std::max(0.0, _lineWidth.value(pool)) / 2.0;
}

DisplayObject::Form LineSet::form(const ValuePoolPtr& pool) const {
    return lineForm(_lineWidth.value(pool), _smooth);
}

DisplayObject::Stages LineSet::stages(Form form, const Content& content) const {
    const Polylines& data = static_cast<const LineContent&>(content).data;
    Stages stages{glsl::line_vert, glsl::line_frag};
    if (data.coordinates == CoordinateSystem::EarthCentred) stages.defines += "#define ON_EARTH\n";
    if (data.kind == LineKind::Curve) stages.defines += "#define ONE_COLOR\n";
    if ((form & formOfClass) == ThinLines) return stages;
    stages.geometry = glsl::line_geom;
    stages.input = LinesInput;
    stages.output = TriangleStripOutput;
    stages.defines += "#define WIDE_LINES\n";
    if ((form & formOfClass) == WideLinesWithRoundEnds) stages.defines += "#define ROUND_ENDS\n";
    return stages;
}

DisplayObject::ContentPtr LineSet::read(const ValuePoolPtr& pool, const ContentPtr& present) const {
    const Polylines data = _lines.value(pool);
    const auto* const previous = static_cast<const LineContent*>(present.get());
    if (previous != nullptr && !VValueCompareTrait<Polylines>::isDifferent(previous->data, data)) {
        return present;
    }
    const std::size_t number = elementsOf(data.points).size();
    const auto starts = elementsOf(data.starts);
    const bool areInOrder = std::is_sorted(starts.begin(), starts.end());
    if (!areInOrder || (!starts.empty() && starts.back() > number)) {
        throw std::runtime_error("the lines don't begin one after the other within the " +
                                 std::to_string(number) + " points");
    }
    if (!starts.empty()) {
        requireSameLength("levels", elementsOf(data.levels).size(), "lines", starts.size() - 1);
    }
    auto lines = std::make_shared<const LineContent>(data);
    requireBounds(lines->bounds, pointsOfLines(data).size());
    return lines;
}

DisplayObject::Drawing LineSet::fill(Polyp& polyp, VRenderContext& context,
                                     RenderBasin::Program& program, const Content& content,
                                     const point& origin, std::size_t piece, Form form) const {
    const auto& lines = static_cast<const LineContent&>(content);
    const Polylines& data = lines.data;
    const Part part = lines.points(piece);
    polyp.insert(context.createCoordinates(shortLived(relativePart(data.points, origin, part)),
                                           "Coordinates"));

    std::vector<std::uint32_t> strips;
    Levels levels;
    const std::size_t number = (form & hasLevels) != 0 ? numberOfLevels : 1;
    for (std::size_t level = 0; level < number; ++level) {
        const std::size_t first = strips.size();
        appendStrips(strips, data, part, std::size_t{1} << level);
        levels.emplace_back(static_cast<std::int32_t>(first),
                            static_cast<std::int32_t>(strips.size() - first));
    }
    const auto indices = polyp.insert(
        context.createAttribute(shortLived(std::move(strips)), indicesAttribute, "Indices"));
    if (!indices) return {};

    if (data.kind == LineKind::Curve) {
        insertColor(polyp, context, _color);
    } else {
        polyp.insert(Keel::make<RenderBasin::UniformParameter>("LevelColors", colorsOf(data.kind)));
        polyp.insert(
            context.createAttribute(shortLived(pointLevels(data, part)), levelAttribute, "Level"));
    }
    if ((form & formOfClass) != ThinLines) {
        insertViewportPixels(polyp, context);
        insertSize(polyp, context, "LineWidth", _lineWidth);
    }
    if (data.coordinates == CoordinateSystem::EarthCentred) {
        polyp.insert(Keel::make<HiddenSides>(
            context, program, origin, 1.0 / _unitsPerMetre,
            [this](const VRenderContext& present) { return marginPixels(present.pool); }));
    }
    return {polyp.insert(indices->createPainter(RenderNamespace::LineStrip)), levels};
}

} // namespace Mirk
