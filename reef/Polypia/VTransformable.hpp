#pragma once
// A base of objects whose vertices an operator transforms; stands on TransformOperator and slots.

#include <Polypia/TransformOperator.hpp>

#include <sorrel/TypedSlot.hpp>

#include <optional>
#include <string>

namespace Mirk {

/// Gives an object the input "transform", without functor at first, and of the expert level 10, as
/// that of its chart. A polyp has to be filled anew when the age of the input has risen, as its
/// shaders depend on the functor.
class POLYPIA_EXPORT VTransformable {
public:
    using BoundingBoxPtr = TransformOperator::BoundingBoxPtr;

    /// Adds the input to `owner`, which this is a part of.
    explicit VTransformable(VObject* owner);
    VTransformable(const VTransformable&) = delete;
    VTransformable& operator=(const VTransformable&) = delete;
    virtual ~VTransformable();

    /// For the prefix of each stage that transforms vertices: TransformOperator::getShaderFunctions
    /// of the operator that the context reads, with the text of the views in front.
    std::string getTransformationShaderFunctions(VRenderContext& context) const;
    /// To be called when a polyp is filled. False if the functor can't be drawn with.
    bool initializePolypTransformation(Polyp& polyp, VRenderContext& context) const;
    /// What becomes of a box in a pool. Both are the same.
    BoundingBoxPtr transformBBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const;
    BoundingBoxPtr shadedVolume(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const;

    /// The operator that is read in a pool.
    TransformOperator transformIn(const ValuePoolPtr& pool) const;
    const TypedSlot<TransformOperator>& transformSlot() const noexcept { return _transform; }

    /// The box in which an object is drawn in a pool, for culling and for cameras that are to see
    /// it all: that of getBoundingBall(), or around it, as transformBBox() of `transformable`
    /// leaves it, which is the object itself as VTransformable, or null. None if the object has no
    /// bounds or empty ones, before or after: it may be anywhere. What it throws passes on.
    static std::optional<Skua::PhysicalSpace::AABB> drawnBounds(const RenderAble& object,
                                                                const VTransformable* transformable,
                                                                const ValuePoolPtr& pool);

private:
    const TypedSlot<TransformOperator> _transform;
};

} // namespace Mirk
