#pragma once
// Draws a surface of triangles; stands on DisplayObject and the readers' TriangleMesh.

#include <Displays/DisplayObject.hpp>
#include <Displays/datasetValues.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Mirk {

/// Triangles, both sides alike, lit from above the left shoulder of who looks at them: each by its
/// own plane or, with the input "smooth", by the normals of its corners, which are computed if the
/// data have none. They have the colours of their points or, without these, that of the input
/// "color". With the input "edges" the edges are drawn on them, in the colour "edgecolor" and
/// "edgewidth" pixels wide. Alpha is not used. Triangles with a corner that is no finite number are
/// left out. Pieces that are drawn with fewer vertices may have some of their neighbours' points
/// beside their own, so that they meet without gaps.
class DISPLAYS_EXPORT TriangleSurface : public DisplayObject {
public:
    explicit TriangleSurface(const std::string& name, const TriangleMesh& data = {});
    ~TriangleSurface() override;

    std::string shaderStem() const override { return "polypia-surface"; }

    const TypedSlot<TriangleMesh>& surface() const noexcept { return _surface; }
    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }
    const TypedSlot<bool>& smooth() const noexcept { return _smooth; }
    const TypedSlot<bool>& edges() const noexcept { return _edges; }
    const TypedSlot<Skua::rgba_float_t>& edgeColor() const noexcept { return _edgeColor; }
    /// In pixels.
    const TypedSlot<double>& edgeWidth() const noexcept { return _edgeWidth; }

protected:
    ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const override;
    Form form(const ValuePoolPtr& pool) const override;
    Stages stages(Form form, const Content& content) const override;
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program& program,
                 const Content& content, const point& origin, std::size_t piece,
                 Form form) const override;

private:
    void insertPoints(Polyp& polyp, VRenderContext& context, const Content& content,
                      const point& origin, const std::vector<std::uint32_t>& points,
                      Form form) const;
    static Drawing insertTriangles(Polyp& polyp, VRenderContext& context,
                                   const RenderBasin::ChunkPtr& triangles, Levels&& levels);

    const TypedSlot<TriangleMesh> _surface;
    const TypedSlot<Skua::rgba_float_t> _color;
    const TypedSlot<bool> _smooth;
    const TypedSlot<bool> _edges;
    const TypedSlot<Skua::rgba_float_t> _edgeColor;
    const TypedSlot<double> _edgeWidth;
};

} // namespace Mirk
