#pragma once
// Draws a mesh of triangles; stands on PolypDisplay and the readers' TriangleMesh.

#include <Displays/PolypDisplay.hpp>

#include <Readers/Dataset.hpp>

#include <span>
#include <string>

namespace Mirk {

/// Triangles, each by its own plane and both sides alike, lit from above the left shoulder of who
/// looks at them. They have the colours of their points or, without these, that of the input
/// "color", whose alpha is not used.
class DISPLAYS_EXPORT MeshDisplay : public PolypDisplay {
public:
    MeshDisplay(const std::string& name, TriangleMesh&& mesh);
    ~MeshDisplay() override;

    void reach(std::span<const vector> directions, std::span<double> reaches) const override;

    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }

protected:
    bool fill(Polyp& polyp, VRenderContext& context, int form) const override;

private:
    const TriangleMesh _mesh;
    const TypedSlot<Skua::rgba_float_t> _color;
};

} // namespace Mirk
