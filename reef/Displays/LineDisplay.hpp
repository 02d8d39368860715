#pragma once
// Draws lines, such as coasts; stands on PolypDisplay and the readers' Polylines.

#include <Displays/PolypDisplay.hpp>

#include <Readers/Dataset.hpp>

#include <span>
#include <string>

namespace Mirk {

/// Lines with the colours of their kind and level, as wide on the screen as the input "linewidth"
/// says in pixels. Of earth-centred lines those are left out that the earth hides for certain,
/// whether or not a globe is drawn.
class DISPLAYS_EXPORT LineDisplay : public PolypDisplay {
public:
    /// `smooth` if the pictures have several samples for each pixel. `unitsPerMetre` is how the
    /// caller has scaled the coordinates of earth-centred lines: a power of two changes no digit.
    LineDisplay(const std::string& name, Polylines&& lines, bool smooth,
                double unitsPerMetre = 1.0);
    ~LineDisplay() override;

    void reach(std::span<const vector> directions, std::span<double> reaches) const override;
    double marginPixels(const ValuePoolPtr& pool) const override;

    /// In pixels.
    const TypedSlot<double>& lineWidth() const noexcept { return _lineWidth; }

protected:
    bool fill(Polyp& polyp, VRenderContext& context, int form) const override;
    int form(const ValuePoolPtr& pool) const override;

private:
    RenderBasin::ProgramPtr createProgram(VRenderContext& context, int form) const;
    RenderBasin::ChunkPtr pointLevels() const;
    RenderBasin::ChunkPtr strips() const;

    const Polylines _lines;
    const bool _smooth;
    const double _unitsPerMetre;
    const TypedSlot<double> _lineWidth;
};

} // namespace Mirk
