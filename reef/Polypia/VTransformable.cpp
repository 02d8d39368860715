#include <Polypia/VTransformable.hpp>

#include <Polypia/RenderAble.hpp>

namespace Mirk {

namespace {

using Bounds = std::optional<Skua::PhysicalSpace::AABB>;

/// The ball if it is a box, or a box around it; none if it is empty.
Bounds boundsOf(const Skua::BoundingBall& ball) {
    if (const auto* const box = dynamic_cast<const Skua::BoundingBox*>(&ball)) {
        return box->empty() ? Bounds() : Bounds({box->min, box->max});
    }
    if (ball.emptyBall()) return {};
    const Skua::PhysicalSpace::vector reach{ball.radius, ball.radius, ball.radius};
    return Bounds({ball.centre - reach, ball.centre + reach});
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
    const RenderAble::BoundingBallPtr ball = object.getBoundingBall(pool);
    const Bounds bounds = ball ? boundsOf(*ball) : Bounds();
    if (!bounds || transformable == nullptr) return bounds;
    const TransformOperator transformation = transformable->transformIn(pool);
    // Nearly all have none, for which no pointer to a box is needed.
    if (!transformation.functor) return bounds;
    BoundingBoxPtr box(ball);
    if (!box) box = BoundingBoxPtr(new Skua::BoundingBox(bounds->min, bounds->max));
    const BoundingBoxPtr transformed = transformation.transformedBBox(pool, box);
    return transformed ? boundsOf(*transformed) : Bounds();
}

} // namespace Mirk
