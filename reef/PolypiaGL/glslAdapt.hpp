#pragma once
// Makes the composed text of shader stages acceptable to the driver at hand without moving a line
// of it. Pure text; stands on glslScan and LineTable, needs no context.

#include <PolypiaGL/LineTable.hpp>
#include <PolypiaGL/Pass.hpp>
#include <PolypiaGL/Profile.hpp>
#include <PolypiaGL/export.hpp>

#include <functional>
#include <set>
#include <string>
#include <string_view>
#include <vector>

namespace Mirk::GL {

enum class Stage { Vertex, Geometry, Fragment, Compute };

/// The backend's own numbers of what a geometry stage takes and writes; 0 is no geometry stage.
enum class GeometryInput : int {
    None = 0,
    Points = 1,
    Lines = 2,
    LinesAdjacency = 3,
    Triangles = 4,
    TrianglesAdjacency = 5
};
enum class GeometryOutput : int { None = 0, Points = 1, LineStrip = 2, TriangleStrip = 3 };

/// "vertex", "geometry", "fragment", "compute".
POLYPIAGL_EXPORT std::string_view stageName(Stage stage);

struct StageText {
    Stage stage = Stage::Vertex;
    std::string text;

    // What `#line` directives in it stand for.

    /// The line, counted from 1, from which on directives ahead of it don't count; 0 for none.
    std::size_t mainLine = 0;
    /// Directives with this file stand for the lines of the text itself, as there is no such file.
    std::string ownName = {};
    /// True if all directives do, whatever they say.
    bool isWhole = false;
};

/// What the texts are adapted to.
struct AdaptOptions {
    Profile profile = Profile::Compatibility;
    std::set<std::string, std::less<>> extensions; ///< of the context
    std::string platformDefines;                   ///< `#define` lines, given to every stage

    // For geometry stages whose text has no layout of its own.
    GeometryInput geometryInput = GeometryInput::None;
    GeometryOutput geometryOutput = GeometryOutput::None;
    int maxVertices = 64;

    /// What the platform defines have the text of the views do: `ZELK_DO_MULTIVIEW_VIA_LAYER_ID`
    /// belongs to Layers, `ZELK_HAVE_multiview2` to Extension. Programs of one pass have an integer
    /// uniform `zelk_b_view` to draw a single view all the same: Layers draws instance 0 of that
    /// view to layer 0; Extension draws all views at 0, else view zelk_b_view - 1 alone.
    Pass pass = Pass::EachView;

    /// False for a driver that loses large line numbers: all `#line` directives are dropped, and
    /// messages count in the composed text.
    bool fileNumbers = true;
};

struct AdaptedStage {
    Stage stage = Stage::Vertex;
    std::string text;
    LineNumbering numbering = LineNumbering::N; ///< reading the compiler's log needs it
};

struct AdaptedProgram {
    std::vector<AdaptedStage> stages; ///< in the order given
    LineTable lines;                  ///< what line numbers in the driver's messages stand for
    std::vector<std::string> notes;   ///< what was changed, for a developer: "geometry: ..."
};

/// Begins the names that the backend adds to a text. In a core context `gl_Vertex` becomes the
/// input `zelk_b_Vertex` at the location that it aliases in a compatibility context (`gl_Vertex` 0,
/// `gl_Normal` 2, `gl_Color` 3, `gl_SecondaryColor` 4, `gl_FogCoord` 5, `gl_MultiTexCoord<n>` 8+n),
/// and `gl_ModelViewMatrix` and its kin become uniforms `zelk_b_ModelViewMatrix` and so on, which
/// the backend sets.
inline constexpr std::string_view ownNamePrefix = "zelk_b_";
inline constexpr const char* ownViewName = "zelk_b_view";

/// Adapts the stages of one program together. Never fails: what it can't read or repair stays as it
/// is, so that the driver reports it at its place. Any bytes are legal; the time is linear in them.
POLYPIAGL_EXPORT AdaptedProgram adaptProgram(const std::vector<StageText>& stages,
                                             const AdaptOptions& options);

} // namespace Mirk::GL
