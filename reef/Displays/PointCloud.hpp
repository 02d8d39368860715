#pragma once
// Draws a cloud of points; stands on DisplayObject and the readers' PointSet.

#include <Displays/DisplayObject.hpp>
#include <Displays/datasetValues.hpp>

#include <string>

namespace Mirk {

/// Round points of a diameter in pixels, the input "pointsize". They have their own colours or,
/// without these, that of the input "color", whose alpha is not used. Points with a coordinate
/// that is no finite number are left out.
class DISPLAYS_EXPORT PointCloud : public DisplayObject {
public:
    explicit PointCloud(const std::string& name, const PointSet& data = {});
    ~PointCloud() override;

    double marginPixels(const ValuePoolPtr& pool) const override;
    std::string shaderStem() const override { return "polypia-points"; }

    const TypedSlot<PointSet>& points() const noexcept { return _points; }
    /// In pixels.
    const TypedSlot<double>& pointSize() const noexcept { return _pointSize; }
    const TypedSlot<Skua::rgba_float_t>& color() const noexcept { return _color; }

protected:
    ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const override;
    Stages stages(Form form, const Content& content) const override;
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program& program,
                 const Content& content, const point& origin, std::size_t piece,
                 Form form) const override;

private:
    const TypedSlot<PointSet> _points;
    const TypedSlot<double> _pointSize;
    const TypedSlot<Skua::rgba_float_t> _color;
};

} // namespace Mirk
