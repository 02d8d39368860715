#include <Polypia/VTransformable.hpp>

#include <Polypia/RenderAble.hpp>

namespace Mirk {

namespace {

/// The ball as a box, or a box around it; null without bounds.
VTransformable::BoundingBoxPtr boxOf(const RenderAble::BoundingBallPtr& ball) {
    using vector = Skua::PhysicalSpace::vector;
    const VTransformable::BoundingBoxPtr box(ball);
    if (box || !ball || ball->emptyBall()) return box ? box : VTransformable::BoundingBoxPtr();
    const vector reach{ball->radius, ball->radius, ball->radius};
    return VTransformable::BoundingBoxPtr(
        new Skua::BoundingBox(ball->centre - reach, ball->centre + reach));
}

} // namespace

VTransformable::VTransformable(VObject* owner)
    : _transform(owner, "transform", TransformOperator(), 10) {}

VTransformable::~VTransformable() = default;

std::string VTransformable::getTransformationShaderFunctions(VRenderContext& context) const {
    return transformIn(context.pool).getShaderFunctions(context, true);
}

bool VTransformable::initializePolypTransformation(Polyp& polyp, VRenderContext& context) const {
    return transformIn(context.pool).initializePolyp(polyp, context);
}

VTransformable::BoundingBoxPtr VTransformable::transformBBox(const ValuePoolPtr& pool,
                                                             const BoundingBoxPtr& box) const {
    return transformIn(pool).transformedBBox(pool, box);
}

VTransformable::BoundingBoxPtr VTransformable::shadedVolume(const ValuePoolPtr& pool,
                                                            const BoundingBoxPtr& box) const {
    return transformBBox(pool, box);
}

TransformOperator VTransformable::transformIn(const ValuePoolPtr& pool) const {
    return _transform.value(pool);
}

std::optional<Skua::PhysicalSpace::AABB>
VTransformable::drawnBounds(const RenderAble& object, const VTransformable* transformable,
                            const ValuePoolPtr& pool) {
    BoundingBoxPtr box = boxOf(object.getBoundingBall(pool));
    if (!box || box->empty()) return {};
    if (transformable != nullptr) box = transformable->transformBBox(pool, box);
    if (!box || box->empty()) return {};
    return Skua::PhysicalSpace::AABB{box->min, box->max};
}

} // namespace Mirk
