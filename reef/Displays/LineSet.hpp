#pragma once
// Draws lines, such as coasts; stands on DisplayObject and the readers' Polylines.

#include <Displays/DisplayObject.hpp>
#include <Displays/datasetValues.hpp>

#include <string>

namespace Mirk {

/// Many lines, as wide on the screen as the input "linewidth" says in pixels, with the colours of
/// their kind and level, or with that of the input "color", whose alpha is not used, if they are
/// curves. A line is broken at points with a coordinate that is no finite number. Of earth-centred
/// lines those are left out that the earth hides for certain, whether or not a globe is drawn; but
/// for lines of at most a pixel that aren't `smooth`, which a globe has to hide.
class DISPLAYS_EXPORT LineSet : public DisplayObject {
public:
    /// `smooth` if the pictures have several samples for each pixel. `unitsPerMetre` is how the
    /// caller has scaled the coordinates of earth-centred lines: a power of two changes no digit.
    explicit LineSet(const std::string& name, const Polylines& data = {}, bool smooth = true,
                     double unitsPerMetre = 1.0);
    ~LineSet() override;

    double marginPixels(const ValuePoolPtr& pool) const override;
    std::string shaderStem() const override { return "polypia-lines"; }

    const TypedSlot<Polylines>& lines() const noexcept { return _lines; }
    /// In pixels.
    const TypedSlot<double>& lineWidth() const noexcept { return _lineWidth; }
    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }

protected:
    ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const override;
    Form form(const ValuePoolPtr& pool) const override;
    Stages stages(Form form, const Content& content) const override;
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program& program,
                 const Content& content, const point& origin, std::size_t piece,
                 Form form) const override;

private:
    const bool _smooth;
    const double _unitsPerMetre;
    const TypedSlot<Polylines> _lines;
    const TypedSlot<double> _lineWidth;
    const TypedSlot<Skua::rgba_float_t> _color;
};

} // namespace Mirk
