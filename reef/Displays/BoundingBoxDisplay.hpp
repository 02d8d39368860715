#pragma once
// Draws a box; stands on DisplayObject.

#include <Displays/DisplayObject.hpp>

#include <string>

namespace Mirk {

/// The twelve edges of the box of the input "box", such as the output "BoundingBox" of another
/// object, in the colour "color", whose alpha is not used, and "linewidth" pixels wide.
class DISPLAYS_EXPORT BoundingBoxDisplay : public DisplayObject {
public:
    explicit BoundingBoxDisplay(const std::string& name);
    ~BoundingBoxDisplay() override;

    double marginPixels(const ValuePoolPtr& pool) const override;
    std::string shaderStem() const override { return "polypia-box"; }

    const TypedSlot<SharedBoundingBox>& box() const noexcept { return _box; }
    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }
    /// In pixels.
    const TypedSlot<double>& lineWidth() const noexcept { return _lineWidth; }

protected:
    ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const override;
    Form form(const ValuePoolPtr& pool) const override;
    Stages stages(Form form, const Content& content) const override;
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program& program,
                 const Content& content, const point& origin, std::size_t piece,
                 Form form) const override;

private:
    const TypedSlot<SharedBoundingBox> _box;
    const TypedSlot<Skua::rgba_float_t> _color;
    const TypedSlot<double> _lineWidth;
};

} // namespace Mirk
