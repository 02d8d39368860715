#pragma once
// Draws a cloud of points; stands on PolypDisplay and the readers' PointCloud.

#include <Displays/PolypDisplay.hpp>

#include <Readers/Dataset.hpp>

#include <span>
#include <string>

namespace Mirk {

/// Round points of a diameter in pixels, the input "pointsize". They have their own colours or,
/// without these, that of the input "color", whose alpha is not used.
class DISPLAYS_EXPORT PointDisplay : public PolypDisplay {
public:
    PointDisplay(const std::string& name, PointCloud&& cloud);
    ~PointDisplay() override;

    void reach(std::span<const vector> directions, std::span<double> reaches) const override;
    double marginPixels(const ValuePoolPtr& pool) const override;

    /// In pixels.
    const TypedSlot<double>& pointSize() const noexcept { return _pointSize; }
    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }

protected:
    bool fill(Polyp& polyp, VRenderContext& context, int form) const override;

private:
    const PointCloud _cloud;
    const TypedSlot<double> _pointSize;
    const TypedSlot<Skua::rgba_float_t> _color;
};

} // namespace Mirk
