#include <Displays/PointCloud.hpp>

#include <Displays/ElementBoxes.hpp>
#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>

#include <points.frag.glsl.hpp>
#include <points.vert.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <numeric>
#include <stdexcept>
#include <vector>

namespace Mirk {

namespace {

class CloudContent : public DisplayObject::Content {
public:
    /// `points` are those of the source that can be drawn.
    CloudContent(const PointSet& sourceData, const PointSet& points)
        : CloudContent(sourceData, points, boxesOf(elementsOf(points.points))) {}

    double distanceFrom(const Point& place) const override {
        const auto points = elementsOf(data.points);
        return _boxes.nearest(place, [&](std::size_t i) { return norm(points[i] - place); });
    }

    Part points(std::size_t piece) const {
        return partOf(elementsOf(data.points).size(), DisplayObject::pieceVertices, piece);
    }
    std::size_t leastBytes(std::size_t piece) const override {
        return points(piece).count * (sizeof(FloatPoint) + (data.colors ? sizeof(Color) : 0));
    }

    const PointSet source;
    const PointSet data;

private:
    CloudContent(const PointSet& sourceData, const PointSet& drawable, ElementBoxes&& boxes)
        : Content(boxes.bounds(),
                  numberOfParts(elementsOf(drawable.points).size(), DisplayObject::pieceVertices)),
          source(sourceData),
          data(drawable),
          _boxes(std::move(boxes)) {}

    static ElementBoxes boxesOf(std::span<const Point> points) {
        return {points.size(), [&](std::size_t i, Skua::BoundingBox& box) { box.add(points[i]); }};
    }

    const ElementBoxes _boxes;
};

/// The same without the points that can't be drawn, and without what isn't used.
PointSet finiteOnes(const PointSet& data) {
    const std::span<const Point> points = elementsOf(data.points);
    if (std::all_of(points.begin(), points.end(), isFinite)) {
        return {data.points, {}, unlessEmpty(data.colors)};
    }
    const std::span<const Color> colors = elementsOf(data.colors);
    std::vector<Point> finite;
    std::vector<Color> ofFinite;
    for (std::size_t i = 0; i < points.size(); ++i) {
        if (!isFinite(points[i])) continue;
        finite.push_back(points[i]);
        if (!colors.empty()) ofFinite.push_back(colors[i]);
    }
    PointSet result;
    result.points = makeChunk(std::move(finite));
    if (!colors.empty()) result.colors = makeChunk(std::move(ofFinite));
    return result;
}

/// An order in which each half of a beginning is spread over the whole as that is: by steps of
/// the golden ratio of the length.
std::vector<std::uint32_t> spreadOrder(std::size_t length) {
    std::vector<std::uint32_t> order(length);
    if (length == 0) return order;
    constexpr double goldenRatio = 0.6180339887498949;
    auto step = std::max<std::size_t>(
        static_cast<std::size_t>(static_cast<double>(length) * goldenRatio), 1);
    while (std::gcd(step, length) != 1) ++step;
    std::size_t place = 0;
    for (std::uint32_t& index : order) {
        index = static_cast<std::uint32_t>(place);
        place = (place + step) % length;
    }
    return order;
}

template<class T>
void arrange(std::vector<T>& elements, const std::vector<std::uint32_t>& order) {
    if (order.empty()) return;
    std::vector<T> arranged(elements.size());
    std::transform(order.begin(), order.end(), arranged.begin(),
                   [&](std::uint32_t index) { return elements[index]; });
    elements = std::move(arranged);
}

} // namespace

PointCloud::PointCloud(const std::string& displayName, const PointSet& data)
    : VObject(displayName, 0, {}),
      DisplayObject(displayName),
      _points(TypedSlot<PointSet>(this, "points", data, 0).setHelp("The points to be drawn.")),
      _pointSize(TypedSlot<double>(this, "pointsize", 3.0, 0)
                     .setHelp("Diameter of the points in pixels.")
                     .setProperty("min", 0.0)),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {0.85F, 0.80F, 0.60F, 1.0F}, 0)
                 .setHelp("Colour of points that have none.")) {}

PointCloud::~PointCloud() = default;

double PointCloud::marginPixels(const ValuePoolPtr& pool) const {
    return std::max(0.0, _pointSize.value(pool)) / 2.0;
}

DisplayObject::Stages PointCloud::stages(Form, const Content& content) const {
    Stages stages{glsl::points_vert, glsl::points_frag};
    stages.defines = colorDefine(static_cast<const CloudContent&>(content).data);
    stages.fragmentVersion = "400"; // for gl_NumSamples
    return stages;
}

DisplayObject::ContentPtr PointCloud::read(const ValuePoolPtr& pool,
                                           const ContentPtr& present) const {
    const PointSet data = _points.value(pool);
    const auto* const previous = static_cast<const CloudContent*>(present.get());
    if (previous != nullptr && !VValueCompareTrait<PointSet>::isDifferent(previous->source, data)) {
        return present;
    }
    const std::size_t number = elementsOf(data.points).size();
    requireSameLength("colours", elementsOf(data.colors).size(), "points", number);
    auto cloud = std::make_shared<const CloudContent>(data, finiteOnes(data));
    requireBounds(cloud->bounds, number);
    return cloud;
}

DisplayObject::Drawing PointCloud::fill(Polyp& polyp, VRenderContext& context,
                                        RenderBasin::Program&, const Content& content,
                                        const point& origin, std::size_t piece, Form form) const {
    const auto& cloud = static_cast<const CloudContent&>(content);
    const PointSet& data = cloud.data;
    const Part part = cloud.points(piece);
    const bool isSpread = (form & hasLevels) != 0;
    const std::vector<std::uint32_t> order =
        isSpread ? spreadOrder(part.count) : std::vector<std::uint32_t>();
    std::vector<FloatPoint> relative = relativePart(data.points, origin, part);
    arrange(relative, order);
    const auto coordinates =
        polyp.insert(context.createCoordinates(shortLived(std::move(relative)), "Coordinates"));
    if (!coordinates) return {};
    if (data.colors) {
        std::vector<Color> colors = copyOfPart(data.colors, part);
        arrange(colors, order);
        polyp.insert(context.createAttribute(shortLived(std::move(colors)), RenderNamespace::Colors,
                                             "Colors"));
    } else {
        insertColor(polyp, context, _color);
    }
    insertViewportPixels(polyp, context);
    insertSize(polyp, context, "PointSize", _pointSize);
    Drawing drawing{polyp.insert(coordinates->createPainter(RenderNamespace::Points)), {}};
    if (!isSpread) return drawing;
    for (std::size_t level = 0; level < numberOfLevels; ++level) {
        drawing.levels.emplace_back(0, static_cast<std::int32_t>(halved(part.count, level)));
    }
    return drawing;
}

} // namespace Mirk
