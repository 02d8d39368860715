#pragma once
// Draws a surface of triangles; stands on DisplayObject and the readers' TriangleMesh.

#include <Displays/DisplayObject.hpp>
#include <Displays/datasetValues.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Mirk {

/// Triangles in the light of the scene: each by its own plane or, with the input "smooth", by the
/// normals of its corners, which are computed if the data have none. Without any light there is one
/// from above the left shoulder of who looks at them. They answer to each light as
/// SidedPhongLighting() of Lighting.glsl, with "shininess" for the exponent of the glint and
/// "sidedness" for the sides that are lit: 0 is both alike, 1 that of the normals (from where
/// corners are seen anticlockwise) and -1 the other one. "specular" is how much of the specular
/// light of each source they send back; of an unlit side that is nothing. What shines on the other
/// side than the one that is seen is not seen. They have the colours of their points or, without
/// these, that of the input "color". With the input "edges" the edges are drawn on them, in the
/// colour "edgecolor" and "edgewidth" pixels wide. Alpha is not used. Triangles with a corner that
/// is no finite number are left out. Pieces that are drawn with fewer vertices may have some of
/// their neighbours' points beside their own, so that they meet without gaps.
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
    /// From -1 to 1.
    const TypedSlot<double>& sidedness() const noexcept { return _sidedness; }
    const TypedSlot<double>& specular() const noexcept { return _specular; }
    const TypedSlot<double>& shininess() const noexcept { return _shininess; }

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
    void insertLook(Polyp& polyp, VRenderContext& context) const;
    static Drawing insertTriangles(Polyp& polyp, VRenderContext& context,
                                   const RenderBasin::ChunkPtr& triangles, Levels&& levels);

    const TypedSlot<TriangleMesh> _surface;
    const TypedSlot<Skua::rgba_float_t> _color;
    const TypedSlot<bool> _smooth;
    const TypedSlot<bool> _edges;
    const TypedSlot<Skua::rgba_float_t> _edgeColor;
    const TypedSlot<double> _edgeWidth;
    const TypedSlot<double> _sidedness;
    const TypedSlot<double> _specular;
    const TypedSlot<double> _shininess;
};

} // namespace Mirk
