#include <Displays/MeshDisplay.hpp>

#include <Displays/displayData.hpp>
#include <Displays/displayUniforms.hpp>
#include <Displays/stageText.hpp>

#include <mesh.frag.glsl.hpp>
#include <mesh.vert.glsl.hpp>

#include <Polypia/VRenderContext.hpp>

#include <utility>

namespace Mirk {

MeshDisplay::MeshDisplay(const std::string& displayName, TriangleMesh&& mesh)
    : VObject(displayName, 0, {}),
      PolypDisplay(displayName, boundsOf(mesh.points)),
      _mesh(withoutNormals(std::move(mesh))),
      _color(TypedSlot<Skua::rgba_float_t>(this, "color", {0.80F, 0.78F, 0.74F, 1.0F}, 0)
                 .setHelp("Colour of a mesh whose points have none.")) {}

MeshDisplay::~MeshDisplay() = default;

void MeshDisplay::reach(std::span<const vector> directions, std::span<double> reaches) const {
    raiseReaches(_mesh.points, directions, reaches);
}

bool MeshDisplay::fill(Polyp& polyp, VRenderContext& context, int) const {
    const RenderBasin::ProgramPtr program = polyp.insert(context.createProgram(
        litVertexStage(context, glsl::mesh_vert, colorDefine(_mesh)), std::string(glsl::mesh_frag),
        "mesh.vert.glsl", "mesh.frag.glsl", 1, 1, {}, {}));
    if (!program) return false;
    polyp.insert(context.createCoordinates(relativePoints(_mesh.points, origin()), "Coordinates"));
    insertColors(polyp, context, _mesh, _color);
    const auto indices =
        polyp.insert(context.createAttribute(_mesh.triangles, indicesAttribute, "Indices"));
    if (!indices) return false;
    polyp.insert(indices->createPainter(RenderNamespace::Triangles));
    return true;
}

} // namespace Mirk
