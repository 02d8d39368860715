#include <Displays/GlobeDisplay.hpp>

#include <Displays/HiddenSides.hpp>
#include <Displays/displayData.hpp>
#include <Displays/horizon.hpp>

#include <globe.frag.glsl.hpp>
#include <globe.vert.glsl.hpp>
#include <light.glsl.hpp>

#include <Polypia/RenderParameter.hpp>
#include <Polypia/VRenderContext.hpp>
#include <rookery/Geodesy.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <numbers>
#include <utility>
#include <vector>

namespace Mirk {

namespace {

constexpr std::uint32_t meridians = 360;
constexpr std::uint32_t parallels = 180;

/// With a ball round the ellipsoid, which is smaller than the one round the corners of the box.
Skua::BoundingBox earthBounds(double unitsPerMetre) {
    const double a = Skua::WGS84::semiMajorAxisMetres * unitsPerMetre;
    const double b = Skua::WGS84::semiMinorAxisMetres * unitsPerMetre;
    Skua::BoundingBox box({-a, -a, -b}, {a, a, b});
    box.centre = {};
    box.radius = a;
    return box;
}

class GlobeContent : public DisplayObject::Content {
public:
    explicit GlobeContent(double unitsPerMetre)
        : Content(earthBounds(unitsPerMetre), 1), _unitsPerMetre(unitsPerMetre) {}

    /// To the ellipsoid that is drawn, less a percent.
    double distanceFrom(const Point& place) const override {
        const double a = Skua::WGS84::semiMajorAxisMetres * globeScale * _unitsPerMetre;
        const double b = Skua::WGS84::semiMinorAxisMetres * globeScale * _unitsPerMetre;
        const double size =
            norm(Skua::PhysicalSpace::vector{place.x / a, place.y / a, place.z / b});
        return 0.99 * b * std::abs(size - 1.0);
    }

private:
    const double _unitsPerMetre;
};

constexpr double axisRatio = Skua::WGS84::semiMajorAxisMetres / Skua::WGS84::semiMinorAxisMetres;
constexpr double graticuleRadians = std::numbers::pi / 12.0;

using Lines = std::vector<Skua::FixedArray<float, 3>>;

/// What the fragment stage has to know of the planes of the meridians for places that are relative
/// to an origin: computed in double precision, so that it has all digits near that.
Lines meridianPlanes(const Skua::PhysicalSpace::vector& origin) {
    Lines planes;
    for (int i = 0; i < 12; ++i) {
        const double x = -std::sin(i * graticuleRadians), y = std::cos(i * graticuleRadians);
        const double distance = x * origin.x + y * origin.y;
        planes.push_back(
            {static_cast<float>(x), static_cast<float>(y), static_cast<float>(distance)});
    }
    return planes;
}

/// The same of the cones on which the normals of the ellipsoid are as steep as on a parallel.
Lines parallelCones(const Skua::PhysicalSpace::vector& origin) {
    Lines cones;
    for (int i = -6; i <= 6; ++i) {
        const double up = axisRatio * axisRatio * std::cos(i * graticuleRadians);
        const double outwards = std::sin(i * graticuleRadians);
        const double distance = up * origin.z - outwards * std::hypot(origin.x, origin.y);
        cones.push_back(
            {static_cast<float>(up), static_cast<float>(outwards), static_cast<float>(distance)});
    }
    return cones;
}

RenderBasin::ChunkPtr triangles() {
    std::vector<std::uint32_t> indices;
    indices.reserve(std::size_t{6} * meridians * parallels);
    for (std::uint32_t row = 0; row < parallels; ++row) {
        for (std::uint32_t column = 0; column < meridians; ++column) {
            const std::uint32_t a = row * (meridians + 1) + column;
            const std::uint32_t b = a + meridians + 1;
            for (const std::uint32_t i : {a, b, a + 1, a + 1, b, b + 1}) indices.push_back(i);
        }
    }
    return shortLived(std::move(indices));
}

} // namespace

GlobeDisplay::GlobeDisplay(const std::string& displayName, double unitsPerMetre)
    : VObject(displayName, 0, {}), DisplayObject(displayName), _unitsPerMetre(unitsPerMetre) {}

GlobeDisplay::~GlobeDisplay() = default;

DisplayObject::Stages GlobeDisplay::stages(Form, const Content&) const {
    Stages stages{glsl::globe_vert, glsl::globe_frag};
    stages.vertexPrefix = glsl::light;
    // Without the extension nothing is left out, which changes no picture.
    stages.vertexExtensions = "#extension GL_ARB_cull_distance : enable\n";
    return stages;
}

DisplayObject::ContentPtr GlobeDisplay::read(const ValuePoolPtr&, const ContentPtr& present) const {
    if (present) return present;
    return std::make_shared<const GlobeContent>(_unitsPerMetre);
}

DisplayObject::Drawing GlobeDisplay::fill(Polyp& polyp, VRenderContext& context,
                                          RenderBasin::Program& program, const Content&,
                                          const point& origin, std::size_t, Form) const {
    polyp.insert(context.createCoordinates(grid(origin), "Coordinates"));
    const auto indices =
        polyp.insert(context.createAttribute(triangles(), indicesAttribute, "Indices"));
    if (!indices) return {};
    program["Centre"] = Point(); // sent relative to the origin, as points are
    program["AxisRatio2"] = static_cast<float>(axisRatio * axisRatio);
    using UniformParameter =
        RenderBasin::UniformParameter; // as others may have the program, with other origins
    polyp.insert(Keel::make<UniformParameter>("Meridians", meridianPlanes(origin - point())));
    polyp.insert(Keel::make<UniformParameter>("Parallels", parallelCones(origin - point())));
    polyp.insert(Keel::make<HiddenSides>(context, program, origin, 1.0 / _unitsPerMetre,
                                         [](const VRenderContext&) { return 0.0; }));
    return {polyp.insert(indices->createPainter(RenderNamespace::Triangles)), {}};
}

RenderBasin::ChunkPtr GlobeDisplay::grid(const point& origin) const {
    std::vector<FloatPoint> points;
    points.reserve(std::size_t{meridians + 1} * (parallels + 1));
    for (std::uint32_t row = 0; row <= parallels; ++row) {
        const double latitude = 90.0 - 180.0 * row / parallels;
        for (std::uint32_t column = 0; column <= meridians; ++column) {
            const double longitude = 360.0 * column / meridians - 180.0;
            const vector p = Skua::toEarthCentred({longitude, latitude, 0.0}) - point();
            points.push_back(relativeTo(origin, point() + p * globeScale * _unitsPerMetre));
        }
    }
    return shortLived(std::move(points));
}

} // namespace Mirk
