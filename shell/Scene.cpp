#include <Scene.hpp>

#include <globe.frag.glsl.hpp>
#include <globe.vert.glsl.hpp>
#include <horizon.hpp>
#include <line.frag.glsl.hpp>
#include <line.geom.glsl.hpp>
#include <line.vert.glsl.hpp>
#include <mesh.frag.glsl.hpp>
#include <mesh.vert.glsl.hpp>
#include <points.frag.glsl.hpp>
#include <points.vert.glsl.hpp>

#include <Polypia/RenderTentacles.hpp>
#include <keel/Chunk.hpp>
#include <rookery/Geodesy.hpp>

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <stdexcept>
#include <string>
#include <string_view>
#include <variant>

namespace Shell {

using Mirk::Polyp;
using Mirk::RenderBasin;
using Mirk::RenderNamespace;

namespace {

// A wave with this mask stops short of the painters: everything is uploaded, nothing is drawn.
constexpr Mirk::Activity_t uploadWave = 1;
constexpr Mirk::Activity_t drawWave = 2;

constexpr std::uint32_t restart = 0xFFFFFFFFU;
// Number of an attribute beyond those that have names.
constexpr int levelAttribute = 8;
constexpr int indicesAttribute = 9;

template<class T>
Keel::StrongPtr<Keel::ChunkBase> chunk(std::vector<T> elements) {
    return Keel::StrongPtr<Keel::ChunkBase>(new Keel::Chunk<T>(std::move(elements)));
}

std::string text(std::string_view source) {
    return std::string(source);
}

/// The text with a define behind its first line, which has the version.
std::string withDefine(std::string_view source, const std::string& name) {
    const std::size_t version = source.find('\n') + 1;
    return text(source.substr(0, version)) + "#define " + name + "\n" +
           text(source.substr(version));
}

Skua::BoundingBox boundsOf(const Mirk::ChunkPtr<point>& points) {
    Skua::BoundingBox box;
    for (const point& p : points->elements()) box.add(p);
    box.updateBall();
    return box;
}

void pointsToScene(const Mirk::ChunkPtr<point>& points, const SceneSpace& space) {
    if (space.worldOrigin == point() && space.worldUnit == 1.0) return;
    for (point& p : points->elements()) p = space.toScene(p);
}

void reachPoints(const Mirk::ChunkPtr<point>& points, std::span<const vector> directions,
                 std::span<double> reaches) {
    for (const point& p : points->elements()) {
        for (std::size_t i = 0; i < directions.size(); ++i) {
            reaches[i] = std::max(reaches[i], dot(directions[i], p - point()));
        }
    }
}

/// A power of two near the radius of data whose squares and products of sizes floats don't hold.
double worldUnitOf(double radius) {
    // Data of common sizes are spared the pass.
    if (radius <= 0.0 || (radius > 1e-3 && radius < 1e9)) return 1.0;
    int exponent = 0;
    std::frexp(radius, &exponent);
    return std::ldexp(1.0, exponent);
}

void insertPainter(Polyp& polyp, const RenderBasin::PainterPtr& painter) {
    painter->activityMask = drawWave;
    polyp.insert(painter);
}

void insertColors(Polyp& polyp, RenderBasin& basin, const Mirk::PointCloud& data) {
    if (data.colors)
        polyp.insert(basin.createAttribute(data.colors, RenderNamespace::Colors, "Colors"));
}

/// The vertex shader of data that may have colours.
std::string colored(std::string_view source, const Mirk::PointCloud& data) {
    return data.colors ? withDefine(source, "HAVE_COLORS") : text(source);
}

class LinesPart : public ScenePart {
public:
    /// `smooth`: the picture has several samples for each pixel.
    LinesPart(Mirk::Polylines&& lines, double widthPixels, bool smooth)
        : _lines(std::move(lines)), _widthPixels(widthPixels), _smooth(smooth) {}

    // The globe that is drawn with lines encloses them.
    Skua::BoundingBox bounds() const override { return {}; }
    void reach(std::span<const vector>, std::span<double>) const override {}
    void toScene(const SceneSpace& space) override { pointsToScene(_lines.points, space); }
    double marginPixels() const override { return _widthPixels / 2.0; }

    RenderBasin::ProgramPtr fill(Polyp& polyp, RenderBasin& basin) override {
        const RenderBasin::ProgramPtr program = createProgram(basin);
        polyp.insert(program);
        polyp.insert(basin.createCoordinates(_lines.points, "Coordinates"));
        polyp.insert(basin.createAttribute(levels(), levelAttribute, "Level"));
        const auto indices = basin.createAttribute(strips(), indicesAttribute, "Indices");
        polyp.insert(indices);
        insertPainter(polyp, indices->createPainter(RenderNamespace::LineStrip));
        (*program)["LineWidth"] = static_cast<float>(_widthPixels);
        (*program)["LevelColors"] = colors();
        _lines = {};
        return program;
    }

private:
    RenderBasin::ProgramPtr createProgram(RenderBasin& basin) const {
        // Drivers draw plain lines of one pixel only, and with several samples they break them into
        // dots where pieces are shorter than a pixel.
        if (_widthPixels == 1.0 && !_smooth) {
            return basin.createProgram(text(glsl::line_vert), text(glsl::line_frag),
                                       "line.vert.glsl", "line.frag.glsl", 1, 1, {}, {});
        }
        // Where two rectangles meet at an angle they leave a notch as deep as half the width.
        constexpr double widestWithoutNotches = 2.0;
        const std::string ends = _widthPixels > widestWithoutNotches
                                     ? withDefine(glsl::line_geom, "ROUND_ENDS")
                                     : text(glsl::line_geom);
        return basin.createGeometryProgram(
            text(glsl::line_vert), RenderNamespace::LinesInput, ends,
            RenderNamespace::TriangleStripOutput, withDefine(glsl::line_frag, "WIDE_LINES"),
            "line.vert.glsl", "line.geom.glsl", "line.frag.glsl", {}, {});
    }
    /// The level of the line of each point.
    Keel::StrongPtr<Keel::ChunkBase> levels() const {
        std::vector<unsigned char> result(_lines.points->numberOfElements());
        const auto starts = _lines.starts->elements();
        const auto lineLevels = _lines.levels->elements();
        for (std::size_t line = 0; line < lineLevels.size(); ++line) {
            std::fill(result.begin() + starts[line], result.begin() + starts[line + 1],
                      lineLevels[line]);
        }
        return chunk(std::move(result));
    }
    /// One strip after the other.
    Keel::StrongPtr<Keel::ChunkBase> strips() const {
        const auto starts = _lines.starts->elements();
        std::vector<std::uint32_t> indices;
        indices.reserve(_lines.points->numberOfElements() + starts.size());
        for (std::size_t line = 0; line + 1 < starts.size(); ++line) {
            for (std::uint32_t i = starts[line]; i < starts[line + 1]; ++i) indices.push_back(i);
            indices.push_back(restart);
        }
        return chunk(std::move(indices));
    }
    /// Colours by level.
    std::vector<Skua::FixedArray<float, 3>> colors() const {
        using Color = Skua::FixedArray<float, 3>;
        switch (_lines.kind) {
        case Mirk::LineKind::River:
            return std::vector<Color>(8, Color{0.35F, 0.60F, 0.85F});
        case Mirk::LineKind::Border:
            return std::vector<Color>(8, Color{0.80F, 0.55F, 0.40F});
        case Mirk::LineKind::Coast:
            break;
        }
        const Color land{0.93F, 0.89F, 0.78F};
        const Color lake{0.45F, 0.68F, 0.88F};
        const Color ice{0.80F, 0.90F, 0.97F};
        return {land, land, lake, land, lake, ice, ice, ice};
    }

    Mirk::Polylines _lines;
    double _widthPixels;
    bool _smooth;
};

/// The ellipsoid of the earth, a little below the lines on it, to hide those on the far side.
class GlobePart : public ScenePart {
public:
    Skua::BoundingBox bounds() const override {
        const double a = Skua::WGS84::semiMajorAxisMetres;
        const double b = Skua::WGS84::semiMinorAxisMetres;
        Skua::BoundingBox box({-a, -a, -b}, {a, a, b});
        box.updateBall();
        return box;
    }
    void toScene(const SceneSpace& space) override { _space = space; }
    void reach(std::span<const vector> directions, std::span<double> reaches) const override {
        const vector centre = _space.toScene(point()) - point();
        const double a = Skua::WGS84::semiMajorAxisMetres / _space.worldUnit;
        const double b = Skua::WGS84::semiMinorAxisMetres / _space.worldUnit;
        for (std::size_t i = 0; i < directions.size(); ++i) {
            const vector& d = directions[i];
            // The support function of an ellipsoid.
            const double ofCentred = norm(vector{a * d.x, a * d.y, b * d.z});
            reaches[i] = std::max(reaches[i], dot(d, centre) + ofCentred);
        }
    }

    RenderBasin::ProgramPtr fill(Polyp& polyp, RenderBasin& basin) override {
        const auto program =
            basin.createProgram(text(glsl::globe_vert), text(glsl::globe_frag), "globe.vert.glsl",
                                "globe.frag.glsl", 1, 1, {}, {});
        polyp.insert(program);
        polyp.insert(basin.createCoordinates(grid(), "Coordinates"));
        const auto indices = basin.createAttribute(triangles(), indicesAttribute, "Indices");
        polyp.insert(indices);
        insertPainter(polyp, indices->createPainter(RenderNamespace::Triangles));
        const double axisRatio =
            Skua::WGS84::semiMajorAxisMetres / Skua::WGS84::semiMinorAxisMetres;
        (*program)["AxisRatio2"] = static_cast<float>(axisRatio * axisRatio);
        const point centre = _space.toScene(point());
        (*program)["EarthCentre"] =
            Skua::FixedArray<float, 3>{static_cast<float>(centre.x), static_cast<float>(centre.y),
                                       static_cast<float>(centre.z)};
        return program;
    }

private:
    static constexpr std::uint32_t meridians = 360;
    static constexpr std::uint32_t parallels = 180;

    Keel::StrongPtr<Keel::ChunkBase> grid() const {
        std::vector<point> points;
        points.reserve((meridians + 1) * (parallels + 1));
        for (std::uint32_t row = 0; row <= parallels; ++row) {
            const double latitude = 90.0 - 180.0 * row / parallels;
            for (std::uint32_t column = 0; column <= meridians; ++column) {
                const double longitude = 360.0 * column / meridians - 180.0;
                const point p = Skua::toEarthCentred({longitude, latitude, 0.0});
                points.push_back(
                    _space.toScene({p.x * globeScale, p.y * globeScale, p.z * globeScale}));
            }
        }
        return chunk(std::move(points));
    }
    static Keel::StrongPtr<Keel::ChunkBase> triangles() {
        std::vector<std::uint32_t> indices;
        indices.reserve(std::size_t{6} * meridians * parallels);
        for (std::uint32_t row = 0; row < parallels; ++row) {
            for (std::uint32_t column = 0; column < meridians; ++column) {
                const std::uint32_t a = row * (meridians + 1) + column;
                const std::uint32_t b = a + meridians + 1;
                for (const std::uint32_t i : {a, b, a + 1, a + 1, b, b + 1}) indices.push_back(i);
            }
        }
        return chunk(std::move(indices));
    }

    SceneSpace _space;
};

class MeshPart : public ScenePart {
public:
    explicit MeshPart(Mirk::TriangleMesh&& mesh) : _mesh(std::move(mesh)) {}

    Skua::BoundingBox bounds() const override { return boundsOf(_mesh.points); }
    void toScene(const SceneSpace& space) override { pointsToScene(_mesh.points, space); }
    void reach(std::span<const vector> directions, std::span<double> reaches) const override {
        reachPoints(_mesh.points, directions, reaches);
    }

    RenderBasin::ProgramPtr fill(Polyp& polyp, RenderBasin& basin) override {
        const auto program =
            basin.createProgram(colored(glsl::mesh_vert, _mesh), text(glsl::mesh_frag),
                                "mesh.vert.glsl", "mesh.frag.glsl", 1, 1, {}, {});
        polyp.insert(program);
        polyp.insert(basin.createCoordinates(_mesh.points, "Coordinates"));
        insertColors(polyp, basin, _mesh);
        const auto indices = basin.createAttribute(_mesh.triangles, indicesAttribute, "Indices");
        polyp.insert(indices);
        insertPainter(polyp, indices->createPainter(RenderNamespace::Triangles));
        _mesh = {};
        return program;
    }

private:
    Mirk::TriangleMesh _mesh;
};

class PointsPart : public ScenePart {
public:
    PointsPart(Mirk::PointCloud&& cloud, double sizePixels)
        : _cloud(std::move(cloud)), _sizePixels(sizePixels) {}

    Skua::BoundingBox bounds() const override { return boundsOf(_cloud.points); }
    void toScene(const SceneSpace& space) override { pointsToScene(_cloud.points, space); }
    void reach(std::span<const vector> directions, std::span<double> reaches) const override {
        reachPoints(_cloud.points, directions, reaches);
    }

    RenderBasin::ProgramPtr fill(Polyp& polyp, RenderBasin& basin) override {
        const auto program =
            basin.createProgram(colored(glsl::points_vert, _cloud), text(glsl::points_frag),
                                "points.vert.glsl", "points.frag.glsl", 1, 1, {}, {});
        polyp.insert(program);
        const auto coordinates = basin.createCoordinates(_cloud.points, "Coordinates");
        polyp.insert(coordinates);
        insertColors(polyp, basin, _cloud);
        insertPainter(polyp, coordinates->createPainter(RenderNamespace::Points));
        (*program)["PointSize"] = static_cast<float>(_sizePixels);
        _cloud = {};
        return program;
    }
    double marginPixels() const override { return _sizePixels / 2.0; }

private:
    Mirk::PointCloud _cloud;
    double _sizePixels;
};

/// Throws std::runtime_error if squares of the coordinates are beyond what a number can be.
Skua::BoundingBox boundsIn(const std::string& file, const ScenePart& part) {
    const Skua::BoundingBox box = part.bounds();
    constexpr double farthest = 1e100;
    for (std::size_t axis = 0; axis < 3 && !box.empty(); ++axis) {
        for (const double coordinate : {box.min[axis], box.max[axis]}) {
            if (std::abs(coordinate) <= farthest) continue;
            char number[32];
            std::snprintf(number, sizeof number, "%g", coordinate);
            throw std::runtime_error(file + ": expected coordinates from -1e100 to 1e100, got " +
                                     number);
        }
    }
    return box;
}

} // namespace

ScenePart::~ScenePart() = default;

double ScenePart::marginPixels() const {
    return 0.0;
}

Scene::Scene(const RenderOptions& options) : _options(options) {}

void Scene::add(const std::string& file, Mirk::Dataset&& data) {
    std::unique_ptr<ScenePart> part;
    if (auto* const lines = std::get_if<Mirk::Polylines>(&data)) {
        if (!_hasEarth) _parts.push_back(std::make_unique<GlobePart>());
        _hasEarth = true;
        part = std::make_unique<LinesPart>(std::move(*lines), _options.lineWidthPixels,
                                           _options.samples > 1);
    } else if (auto* const mesh = std::get_if<Mirk::TriangleMesh>(&data)) {
        part = std::make_unique<MeshPart>(std::move(*mesh));
    } else {
        part = std::make_unique<PointsPart>(std::move(std::get<Mirk::PointCloud>(data)),
                                            _options.pointSizePixels);
    }
    _box.merge(boundsIn(file, *part));
    _parts.push_back(std::move(part));
}

void Scene::complete() {
    // The globe is round: the ball around the corners of its box would be larger.
    const double a = Skua::WGS84::semiMajorAxisMetres;
    Skua::BoundingBall ball = _hasEarth ? Skua::BoundingBall(point(), a) : Skua::BoundingBall();
    _box.updateBall();
    ball.expandBall(_box);
    _space.worldOrigin = ball.centre;
    _space.worldUnit = worldUnitOf(ball.radius);
    for (const auto& part : _parts) part->toScene(_space);
    _ball = Skua::BoundingBall(point(), std::max(ball.radius, 0.0) / _space.worldUnit);
}

Sight Scene::sight() const {
    Sight sight;
    sight.ball = _ball;
    sight.reaches = [this](std::span<const vector> directions) { return reaches(directions); };
    if (_hasEarth) {
        constexpr double longitude = 12.0;
        constexpr double latitude = 28.0;
        sight.direction = point() - Skua::toEarthCentred({longitude, latitude, 0.0});
        sight.viewUp = {0.0, 0.0, 1.0};
    } else {
        sight.direction = {-0.35, -0.30, -1.0};
        sight.viewUp = {0.0, 1.0, 0.0};
    }
    return sight;
}

std::vector<double> Scene::reaches(std::span<const vector> directions) const {
    std::vector<double> result;
    for (const vector& direction : directions) {
        result.push_back(dot(direction, _ball.centre - point()));
    }
    for (const auto& part : _parts) part->reach(directions, result);
    return result;
}

double Scene::marginPixels() const {
    double margin = 0.0;
    for (const auto& part : _parts) margin = std::max(margin, part->marginPixels());
    return margin;
}

void Scene::create(RenderBasin& basin) {
    for (const auto& part : _parts) {
        const PolypPtr polyp(new Polyp(Keel::WeakPtr<Keel::Creature>()));
        _programs.push_back(part->fill(*polyp, basin));
        polyp->prepareWave();
        _polyps.push_back(polyp);
    }
    _parts.clear();
}

void Scene::setView(const SceneView& view) {
    for (const RenderBasin::ProgramPtr& program : _programs) {
        (*program)["ModelViewProjection"] = view.modelViewProjection;
        (*program)["EyePosition"] = view.eyePosition;
        (*program)["LightDirection"] = view.lightDirection;
        (*program)["ViewportPixels"] = view.viewportPixels;
        (*program)["Samples"] = view.samples;
        (*program)["HiddenSide"] = view.hiddenSide;
    }
}

void Scene::upload() const {
    for (const PolypPtr& polyp : _polyps) polyp->wave(uploadWave);
}

void Scene::draw() const {
    for (const PolypPtr& polyp : _polyps) polyp->wave(~Mirk::Activity_t{0});
}

void Scene::release() {
    _programs.clear();
    _polyps.clear();
}

} // namespace Shell
