#pragma once
// Draws the earth; stands on DisplayObject and Geodesy.

#include <Displays/DisplayObject.hpp>

#include <string>

namespace Mirk {

/// The ellipsoid of the earth round the coordinate zero, in earth-centred coordinates: a sea with
/// a graticule, a little below the lines on it, to hide those on the far side.
class DISPLAYS_EXPORT GlobeDisplay : public DisplayObject {
public:
    /// `unitsPerMetre` of the world's coordinates.
    explicit GlobeDisplay(const std::string& name, double unitsPerMetre = 1.0);
    ~GlobeDisplay() override;

    std::string shaderStem() const override { return "polypia-globe"; }

protected:
    ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const override;
    Stages stages(Form form, const Content& content) const override;
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program& program,
                 const Content& content, const point& origin, std::size_t piece,
                 Form form) const override;

private:
    RenderBasin::ChunkPtr grid(const point& origin) const;

    const double _unitsPerMetre;
};

} // namespace Mirk
