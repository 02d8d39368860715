#include <Displays/TriangleSurface.hpp>

#include <Displays/ElementBoxes.hpp>
#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>
#include <Displays/surfaceData.hpp>

#include <light.glsl.hpp>
#include <surface.frag.glsl.hpp>
#include <surface.geom.glsl.hpp>
#include <surface.vert.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <mutex>
#include <numeric>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

constexpr std::uint32_t hasEdges = 1;

/// Of what is drawn: points that no triangle has may be anywhere.
ElementBoxes boxesOfTriangles(const TriangleMesh& mesh) {
    const auto points = elementsOf(mesh.points);
    const auto corners = elementsOf(mesh.triangles);
    return {corners.size() / 3, [&](std::size_t triangle, Skua::BoundingBox& box) {
                for (std::size_t corner = 0; corner < 3; ++corner) {
                    box.add(points[corners[3 * triangle + corner]]);
                }
            }};
}

class SurfaceContent : public DisplayObject::Content {
public:
    /// `mesh` is what of the source can be drawn; without pieces it is drawn as a whole.
    SurfaceContent(const TriangleMesh& sourceData, bool smooth, const TriangleMesh& mesh,
                   std::vector<SurfacePiece>&& cut)
        : SurfaceContent(sourceData, smooth, mesh, std::move(cut), boxesOfTriangles(mesh)) {}

    double distanceFrom(const Point& place) const override {
        const auto points = elementsOf(data.points);
        const auto corners = elementsOf(data.triangles);
        return _boxes.nearest(place, [&](std::size_t triangle) {
            const std::size_t first = 3 * triangle;
            return distanceToTriangle(points[corners[first]], points[corners[first + 1]],
                                      points[corners[first + 2]], place);
        });
    }

    bool isWhole() const { return _pieces.empty(); }
    /// Of a surface that is drawn as a whole the points have no numbers: they are all in their
    /// order.
    const std::vector<std::uint32_t>& pointsOf(std::size_t piece) const {
        static const std::vector<std::uint32_t> all;
        return isWhole() ? all : _pieces[piece].points;
    }
    std::size_t numberOfPoints(std::size_t piece) const {
        return isWhole() ? elementsOf(data.points).size() : _pieces[piece].points.size();
    }
    RenderBasin::ChunkPtr trianglesOf(std::size_t piece) const {
        return isWhole() ? RenderBasin::ChunkPtr(data.triangles)
                         : shortLived(std::vector(_pieces[piece].triangles));
    }
    std::size_t leastBytes(std::size_t piece) const override {
        const std::size_t ofPoint = sizeof(FloatPoint) + (isSmooth ? sizeof(Normal) : 0) +
                                    (data.colors ? sizeof(Color) : 0);
        const std::size_t corners =
            isWhole() ? elementsOf(data.triangles).size() : _pieces[piece].triangles.size();
        return numberOfPoints(piece) * ofPoint + corners * sizeof(std::uint32_t);
    }

    /// The elements of a chunk that belong to some points, or all.
    template<class T>
    RenderBasin::ChunkPtr chunkOf(const ChunkPtr<T>& chunk,
                                  const std::vector<std::uint32_t>& points) const {
        if (isWhole()) return chunk;
        const std::span<const T> all = elementsOf(chunk);
        std::vector<T> chosen(points.size());
        std::transform(points.begin(), points.end(), chosen.begin(),
                       [&](std::uint32_t point) { return all[point]; });
        return shortLived(std::move(chosen));
    }
    std::vector<FloatPoint> relativePoints(const Point& relativeOrigin,
                                           const std::vector<std::uint32_t>& points) const {
        const std::span<const Point> all = elementsOf(data.points);
        if (isWhole()) return relativePart(data.points, relativeOrigin, {0, all.size()});
        std::vector<FloatPoint> relative(points.size());
        std::transform(points.begin(), points.end(), relative.begin(),
                       [&](std::uint32_t point) { return relativeTo(relativeOrigin, all[point]); });
        return relative;
    }

    /// A piece with numbers for its points in any case.
    SurfacePiece copyOf(std::size_t piece) const {
        if (!isWhole()) return _pieces[piece];
        const auto triangles = elementsOf(data.triangles);
        SurfacePiece whole{{}, {triangles.begin(), triangles.end()}};
        whole.points.resize(elementsOf(data.points).size());
        std::iota(whole.points.begin(), whole.points.end(), 0U);
        return whole;
    }
    /// With about half of the points, a quarter and so on; so many of them, or as many as leave
    /// anything of the surface: these are the same for all pieces, or gaps would open between them.
    const std::vector<CoarserSurface>& coarser(std::size_t number) const {
        std::call_once(_isCoarserMade, [&] {
            const auto points = elementsOf(data.points);
            const std::vector<bool> isShared =
                isWhole() ? std::vector<bool>() : sharedPoints(points.size(), _pieces);
            std::vector<CoarserSurface> made;
            for (std::size_t level = 1; level <= number; ++level) {
                made.emplace_back(points, elementsOf(data.triangles), isShared,
                                  halved(points.size(), level));
                if (leavesAny(made.back())) continue;
                made.pop_back();
                break;
            }
            _coarser = std::move(made);
        });
        return _coarser;
    }

    const TriangleMesh source;
    const bool isSmooth;
    const TriangleMesh data;

private:
    bool leavesAny(const CoarserSurface& coarser) const {
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            SurfacePiece copy = copyOf(piece);
            if (!coarser.trianglesOf(copy).empty()) return true;
        }
        return false;
    }

    SurfaceContent(const TriangleMesh& sourceData, bool smooth, const TriangleMesh& mesh,
                   std::vector<SurfacePiece>&& cut, ElementBoxes&& boxes)
        : Content(boxes.bounds(), std::max<std::size_t>(cut.size(), 1)),
          source(sourceData),
          isSmooth(smooth),
          data(mesh),
          _boxes(std::move(boxes)),
          _pieces(std::move(cut)) {}

    const ElementBoxes _boxes;
    const std::vector<SurfacePiece> _pieces;
    mutable std::once_flag _isCoarserMade;
    mutable std::vector<CoarserSurface> _coarser;
};

/// The data with finite triangles only. Throws std::runtime_error for a corner that isn't there.
TriangleMesh finiteOnes(const TriangleMesh& data) {
    const auto points = elementsOf(data.points);
    const auto triangles = elementsOf(data.triangles);
    if (triangles.size() % 3 != 0) {
        throw std::runtime_error("expected three corners for each triangle, got " +
                                 std::to_string(triangles.size()) + " in all");
    }
    const auto strange = std::find_if(triangles.begin(), triangles.end(),
                                      [&](std::uint32_t point) { return point >= points.size(); });
    if (strange != triangles.end()) {
        throw std::runtime_error("triangle " + std::to_string((strange - triangles.begin()) / 3) +
                                 " has the point " + std::to_string(*strange) +
                                 ", expected numbers below " + std::to_string(points.size()));
    }
    if (std::all_of(points.begin(), points.end(), isFinite)) return data;
    std::vector<std::uint32_t> finite;
    for (std::size_t i = 0; i < triangles.size(); i += 3) {
        const auto corners = triangles.subspan(i, 3);
        const bool isDrawn = std::all_of(corners.begin(), corners.end(), [&](std::uint32_t point) {
            return isFinite(points[point]);
        });
        if (isDrawn) finite.insert(finite.end(), corners.begin(), corners.end());
    }
    TriangleMesh result = data;
    result.triangles = makeChunk(std::move(finite));
    return result;
}

} // namespace

TriangleSurface::TriangleSurface(const std::string& displayName, const TriangleMesh& data)
    : VObject(displayName, 0, {}),
      DisplayObject(displayName),
      _surface(
          TypedSlot<TriangleMesh>(this, "surface", data, 0).setHelp("The triangles to be drawn.")),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {0.80F, 0.78F, 0.74F, 1.0F}, 0)
                 .setHelp("Colour of a surface whose points have none.")),
      _smooth(TypedSlot<bool>(this, "smooth", false, 0)
                  .setHelp("Whether the surface is lit as if it were round, by the normals of its "
                           "points.")),
      _edges(TypedSlot<bool>(this, "edges", false, 0)
                 .setHelp("Whether the edges of the triangles are drawn.")),
      _edgeColor(TypedSlot<Skua::rgba_float_t>(this, "edgecolor", {0.10F, 0.10F, 0.12F, 1.0F}, 2)
                     .setHelp("Colour of the edges.")),
      _edgeWidth(TypedSlot<double>(this, "edgewidth", 1.0, 2)
                     .setHelp("Width of the edges in pixels.")
                     .setProperty("min", 0.0)),
      _sidedness(TypedSlot<double>(this, "sidedness", 0.0, 1)
                     .setHelp("Which sides are lit: 0 both alike, 1 that of the normals alone, -1 "
                              "the other one alone; between these a part of the light.")
                     .setProperty("min", -1.0)
                     .setProperty("max", 1.0)),
      _specular(TypedSlot<double>(this, "specular", 0.18, 1)
                    .setHelp("How much of the light glints.")
                    .setProperty("min", 0.0)),
      _shininess(TypedSlot<double>(this, "shininess", 32.0, 1)
                     .setHelp("How small the glint is: the exponent, at least 1.")
                     .setProperty("min", 1.0)) {}

TriangleSurface::~TriangleSurface() = default;

DisplayObject::Form TriangleSurface::form(const ValuePoolPtr& pool) const {
    return _edges.value(pool) ? hasEdges : 0;
}

DisplayObject::Stages TriangleSurface::stages(Form form, const Content& content) const {
    const auto& surface = static_cast<const SurfaceContent&>(content);
    Stages stages{glsl::surface_vert, glsl::surface_frag};
    stages.isLit = true;
    stages.vertexPrefix = glsl::light;
    stages.defines = colorDefine(surface.data);
    if (surface.isSmooth) stages.defines += "#define SMOOTH\n";
    if ((form & hasEdges) == 0) return stages;
    stages.geometry = glsl::surface_geom;
    stages.input = TrianglesInput;
    stages.output = TriangleStripOutput;
    stages.defines += "#define EDGES\n";
    return stages;
}

DisplayObject::ContentPtr TriangleSurface::read(const ValuePoolPtr& pool,
                                                const ContentPtr& present) const {
    const TriangleMesh source = _surface.value(pool);
    const bool isSmooth = _smooth.value(pool);
    const auto* const previous = static_cast<const SurfaceContent*>(present.get());
    if (previous != nullptr && previous->isSmooth == isSmooth &&
        !VValueCompareTrait<TriangleMesh>::isDifferent(previous->source, source)) {
        return present;
    }
    TriangleMesh data = finiteOnes(source);
    const auto points = elementsOf(data.points);
    const auto triangles = elementsOf(data.triangles);
    requireSameLength("colours", elementsOf(data.colors).size(), "points", points.size());
    requireSameLength("normals", elementsOf(data.normals).size(), "points", points.size());
    if (triangles.empty()) throw std::runtime_error("there are no triangles");
    data.colors = unlessEmpty(data.colors);
    data.normals = isSmooth ? unlessEmpty(data.normals) : ChunkPtr<Normal>();
    if (isSmooth && !data.normals) {
        data.normals = makeChunk(pointNormals(points, triangles));
    }
    std::vector<SurfacePiece> pieces;
    constexpr std::size_t indicesInEach = 6 * pieceVertices; // of a surface with so many points
    if (points.size() > pieceVertices || triangles.size() > indicesInEach) {
        pieces = cutSurface(points.size(), triangles, pieceVertices);
    }
    auto surface =
        std::make_shared<const SurfaceContent>(source, isSmooth, data, std::move(pieces));
    requireBounds(surface->bounds, points.size());
    return surface;
}

DisplayObject::Drawing TriangleSurface::fill(Polyp& polyp, VRenderContext& context,
                                             RenderBasin::Program&, const Content& content,
                                             const point& origin, std::size_t piece,
                                             Form form) const {
    const auto& surface = static_cast<const SurfaceContent&>(content);
    if ((form & hasLevels) == 0) {
        insertPoints(polyp, context, surface, origin, surface.pointsOf(piece), form);
        return insertTriangles(polyp, context, surface.trianglesOf(piece), {});
    }
    SurfacePiece drawn = surface.copyOf(piece);
    std::vector<std::uint32_t> all = drawn.triangles;
    Levels levels{{0, static_cast<std::int32_t>(all.size())}};
    for (const CoarserSurface& coarser : surface.coarser(numberOfLevels - 1)) {
        const std::vector<std::uint32_t> triangles = coarser.trianglesOf(drawn);
        levels.emplace_back(static_cast<std::int32_t>(all.size()),
                            static_cast<std::int32_t>(triangles.size()));
        all.insert(all.end(), triangles.begin(), triangles.end());
    }
    insertPoints(polyp, context, surface, origin, drawn.points, form);
    return insertTriangles(polyp, context, shortLived(std::move(all)), std::move(levels));
}

void TriangleSurface::insertPoints(Polyp& polyp, VRenderContext& context, const Content& content,
                                   const point& origin, const std::vector<std::uint32_t>& points,
                                   Form form) const {
    const auto& surface = static_cast<const SurfaceContent&>(content);
    const TriangleMesh& data = surface.data;
    polyp.insert(context.createCoordinates(shortLived(surface.relativePoints(origin, points)),
                                           "Coordinates"));
    if (surface.isSmooth) {
        polyp.insert(
            context.createAttribute(surface.chunkOf(data.normals, points), Normals, "Normals"));
    }
    if (data.colors) {
        polyp.insert(
            context.createAttribute(surface.chunkOf(data.colors, points), Colors, "Colors"));
    } else {
        insertColor(polyp, context, _color);
    }
    insertLook(polyp, context);
    if ((form & hasEdges) == 0) return;
    insertViewportPixels(polyp, context);
    insertColor(polyp, context, _edgeColor, "EdgeColor");
    insertSize(polyp, context, "EdgeWidth", _edgeWidth);
}

/// How light is answered.
void TriangleSurface::insertLook(Polyp& polyp, VRenderContext& context) const {
    polyp.insert(
        RenderBasin::IlluminationPtr(new RenderBasin::Illumination(context.getSeagrass())));
    const auto sidedness = createSlotUpdater(_sidedness, [](const double& value) {
        return static_cast<float>(std::max(-1.0, std::min(1.0, value)));
    });
    polyp.insert(context.createRenderParameter("Sidedness", sidedness, typeid(float), 1));
    insertSize(polyp, context, "Specular", _specular);
    // Of a cosine that rounding has taken above 1 the power is no infinity, which times 0 is no
    // number; a glint is a point long before.
    constexpr double largestExponent = 1e7;
    insertSize(polyp, context, "Shininess", _shininess, largestExponent);
}

DisplayObject::Drawing TriangleSurface::insertTriangles(Polyp& polyp, VRenderContext& context,
                                                        const RenderBasin::ChunkPtr& triangles,
                                                        Levels&& levels) {
    const auto indices =
        polyp.insert(context.createAttribute(triangles, indicesAttribute, "Indices"));
    if (!indices) return {};
    return {polyp.insert(indices->createPainter(Triangles)), std::move(levels)};
}

} // namespace Mirk
