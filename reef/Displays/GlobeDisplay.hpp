#pragma once
// Draws the earth; stands on PolypDisplay and Geodesy.

#include <Displays/PolypDisplay.hpp>

#include <span>
#include <string>

namespace Mirk {

/// The ellipsoid of the earth round the coordinate zero, in earth-centred coordinates: a sea with
/// a graticule, a little below the lines on it, to hide those on the far side.
class DISPLAYS_EXPORT GlobeDisplay : public PolypDisplay {
public:
    /// `unitsPerMetre` of the world's coordinates.
    explicit GlobeDisplay(const std::string& name, double unitsPerMetre = 1.0);
    ~GlobeDisplay() override;

    /// To the ellipsoid itself, so that there is room for what lies on it.
    void reach(std::span<const vector> directions, std::span<double> reaches) const override;

protected:
    bool fill(Polyp& polyp, VRenderContext& context, int form) const override;

private:
    RenderBasin::ChunkPtr grid() const;

    const double _unitsPerMetre;
};

} // namespace Mirk
