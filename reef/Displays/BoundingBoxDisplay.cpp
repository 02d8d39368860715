#include <Displays/BoundingBoxDisplay.hpp>

#include <Displays/ElementBoxes.hpp>
#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>
#include <Displays/lineForm.hpp>

#include <line.frag.glsl.hpp>
#include <line.geom.glsl.hpp>
#include <line.vert.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <limits>
#include <span>
#include <stdexcept>
#include <vector>

namespace Mirk {

namespace {

/// By two of its corners for each edge; bit i of a corner says which end of axis i it is at.
std::vector<Point> edgesOf(const Skua::BoundingBox& box) {
    const auto corner = [&](unsigned bits) {
        return Point{(bits & 1U) != 0 ? box.max.x : box.min.x,
                     (bits & 2U) != 0 ? box.max.y : box.min.y,
                     (bits & 4U) != 0 ? box.max.z : box.min.z};
    };
    std::vector<Point> edges;
    for (unsigned bits = 0; bits < 8; ++bits) {
        for (unsigned axis = 1; axis < 8; axis <<= 1U) {
            if ((bits & axis) != 0) continue;
            edges.push_back(corner(bits));
            edges.push_back(corner(bits | axis));
        }
    }
    return edges;
}

class EdgesContent : public DisplayObject::Content {
public:
    explicit EdgesContent(const Skua::BoundingBox& box) : Content(box, 1), edges(edgesOf(box)) {}

    double distanceFrom(const Point& place) const override {
        double nearest = std::numeric_limits<double>::infinity();
        for (std::size_t i = 0; i < edges.size(); i += 2) {
            nearest = std::min(nearest, distanceToSegment(edges[i], edges[i + 1], place));
        }
        return nearest;
    }

    const std::vector<Point> edges;
};

} // namespace

BoundingBoxDisplay::BoundingBoxDisplay(const std::string& displayName)
    : VObject(displayName, 0, {}),
      DisplayObject(displayName),
      _box(TypedSlot<SharedBoundingBox>(this, "box", {}, 0).setHelp("The box to be drawn.")),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {0.75F, 0.75F, 0.80F, 1.0F}, 0)
                 .setHelp("Colour of the edges.")),
      _lineWidth(TypedSlot<double>(this, "linewidth", 1.2, 0)
                     .setHelp("Width of the edges in pixels.")
                     .setProperty("min", 0.0)) {}

BoundingBoxDisplay::~BoundingBoxDisplay() = default;

double BoundingBoxDisplay::marginPixels(const ValuePoolPtr& pool) const {
    return std::max(0.0, _lineWidth.value(pool)) / 2.0;
}

DisplayObject::Form BoundingBoxDisplay::form(const ValuePoolPtr& pool) const {
    return lineForm(_lineWidth.value(pool), true);
}

DisplayObject::Stages BoundingBoxDisplay::stages(Form form, const Content&) const {
    const bool isRound = (form & formOfClass) == WideLinesWithRoundEnds;
    Stages stages{glsl::line_vert, glsl::line_frag, glsl::line_geom, LinesInput,
                  TriangleStripOutput};
    stages.defines = "#define ONE_COLOR\n#define WIDE_LINES\n";
    if (isRound) stages.defines += "#define ROUND_ENDS\n";
    return stages;
}

DisplayObject::ContentPtr BoundingBoxDisplay::read(const ValuePoolPtr& pool,
                                                   const ContentPtr& present) const {
    SharedBoundingBox shared;
    _box.get(pool, shared);
    const Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase> box = shared.read();
    if (!box || box->empty()) throw std::runtime_error("there is no box");
    if (!isFinite(box->min) || !isFinite(box->max)) {
        throw std::runtime_error("the box has corners that are no finite numbers");
    }
    if (present && present->bounds.min == box->min && present->bounds.max == box->max) {
        return present;
    }
    return std::make_shared<const EdgesContent>(*box);
}

DisplayObject::Drawing BoundingBoxDisplay::fill(Polyp& polyp, VRenderContext& context,
                                                RenderBasin::Program&, const Content& content,
                                                const point& origin, std::size_t, Form) const {
    const std::span<const Point> edges = static_cast<const EdgesContent&>(content).edges;
    const auto corners = polyp.insert(
        context.createCoordinates(shortLived(relativeTo(origin, edges)), "Coordinates"));
    if (!corners) return {};
    insertColor(polyp, context, _color);
    insertViewportPixels(polyp, context);
    insertSize(polyp, context, "LineWidth", _lineWidth);
    return {polyp.insert(corners->createPainter(Lines)), {}};
}

} // namespace Mirk
