#include <Displays/PointDisplay.hpp>

#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>
#include <Displays/stageText.hpp>

#include <points.frag.glsl.hpp>
#include <points.vert.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <utility>

namespace Mirk {

PointDisplay::PointDisplay(const std::string& displayName, PointCloud&& cloud)
    : VObject(displayName, 0, {}),
      PolypDisplay(displayName, boundsOf(cloud.points)),
      _cloud(withoutNormals(std::move(cloud))),
      _pointSize(TypedSlot<double>(this, "pointsize", 3.0, 0)
                     .setHelp("Diameter of the points in pixels.")
                     .setProperty("min", 0.0)),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {0.85F, 0.80F, 0.60F, 1.0F}, 0)
                 .setHelp("Colour of points that have none.")) {}

PointDisplay::~PointDisplay() = default;

void PointDisplay::reach(std::span<const vector> directions, std::span<double> reaches) const {
    raiseReaches(_cloud.points, directions, reaches);
}

double PointDisplay::marginPixels(const ValuePoolPtr& pool) const {
    return std::max(0.0, _pointSize.value(pool)) / 2.0;
}

bool PointDisplay::fill(Polyp& polyp, VRenderContext& context, int) const {
    const RenderBasin::ProgramPtr program = polyp.insert(context.createProgram(
        vertexStage(context, glsl::points_vert, colorDefine(_cloud)),
        std::string(glsl::points_frag), "points.vert.glsl", "points.frag.glsl", 1, 1, {}, {}));
    if (!program) return false;
    const auto coordinates = polyp.insert(
        context.createCoordinates(relativePoints(_cloud.points, origin()), "Coordinates"));
    if (!coordinates) return false;
    insertColors(polyp, context, _cloud, _color);
    polyp.insert(coordinates->createPainter(RenderNamespace::Points));
    insertViewportPixels(polyp, context);
    insertSize(polyp, context, "PointSize", _pointSize);
    return true;
}

} // namespace Mirk
