#pragma once
// What an object does to its vertices in place of the default transformation; stands on keel's
// references, BoundingBox and sorrel's value traits.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/StrongPtr.hpp>
#include <rookery/BoundingBox.hpp>
#include <rookery/PhysicalSpace.hpp>
#include <sorrel/VValueTrait.hpp>

#include <string>
#include <type_traits>

namespace Mirk {

/// A transformation of vertices, normals and boxes; the default one if it has no functor. Copies
/// share the functor, which is therefore constant: another transformation is another functor.
///
/// Shaders call zelk_transform_vertex_WorldToScreen(mkRelativeVertex(vertex)) and the other
/// functions of TransformOperatorDefault.glsl, TransformOperatorForwarding.glsl and
/// TransformOperatorGlobal.glsl; normals go by gl_NormalMatrix, the same for all views.
class POLYPIA_EXPORT TransformOperator {
public:
    using BoundingBoxPtr = Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>;

    /// Replaces the default transformation. Operations may be called for several contexts.
    class POLYPIA_EXPORT Functor : public Keel::ReferenceBase<Functor> {
    public:
        // The order of the virtual operations is part of the interface.

        ~Functor() override;
        /// Ahead of the drawing of an object, on the render thread; see TransformOperator::draw().
        /// False leaves it out. Here true.
        virtual bool begin(VRenderContext& context) const;
        /// After the drawing. Here nothing.
        virtual void end(VRenderContext& context) const;
        /// A box around what becomes of all that is in `box`, in world space. Any thread. Null or
        /// empty if it can't be told: the object is then drawn wherever the view is. Here `box`
        /// itself; who widens it makes another one, as others share it.
        virtual BoundingBoxPtr transformedBBox(const ValuePoolPtr& pool,
                                               const BoundingBoxPtr& box) const;
        /// Adds to a polyp what the functions need, such as uniforms. False if it can't. Here true.
        virtual bool initializePolyp(Polyp& polyp, VRenderContext& context) const;
        /// The three functions of TransformOperatorForwarding.glsl, which is what is returned here.
        virtual std::string myShaderFunctions(VRenderContext& context) const;

        /// The same behind a line marker: errors are told in lines of that text, as of a file with
        /// the name of the class.
        std::string getShaderFunctions(VRenderContext& context) const;
    };

    /// What the text of a value makes: the default transformation, with a vector that nothing uses.
    class POLYPIA_EXPORT Shift : public Functor {
    public:
        explicit Shift(const Skua::PhysicalSpace::vector& shiftVector);
        ~Shift() override;
        BoundingBoxPtr transformedBBox(const ValuePoolPtr& pool,
                                       const BoundingBoxPtr& box) const override;
        std::string myShaderFunctions(VRenderContext& context) const override;

        const Skua::PhysicalSpace::vector shift;
    };

    using FunctorPtr = Keel::StrongPtr<Functor>;

    /// What stages call, for the end of the text: TransformOperatorGlobal.glsl.
    static const std::string GlobalFunctions;

    /// A mere marker.
    static std::string getDefaultShaderFunctions(const ValuePoolPtr& pool);
    /// TransformOperatorForwarding.glsl.
    static std::string getDefaultShaderFunctionsCall(const ValuePoolPtr& pool);

    /// All that a stage needs to transform vertices. `withMultiView` puts the text of
    /// LayeredMultiViews::defineMultiView() for the eyes of the context in front; without it a
    /// prefix ahead of this one has to have it.
    std::string getShaderFunctions(VRenderContext& context, bool withMultiView) const;
    /// The functor's answer; true without one.
    bool initializePolyp(Polyp& polyp, VRenderContext& context) const;
    /// The functor's answer; `box` itself without one.
    BoundingBoxPtr transformedBBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const;

    /// Calls `draw()`, a bool function that updates and waves a polyp, between begin() and end() of
    /// the functor; end() is called on each way out of `draw()`. The answer of `draw()`, or false
    /// if begin() says so. What is thrown passes on; end() must not hide it and is heard no more
    /// then.
    template<class Draw>
    bool draw(VRenderContext& context, const Draw& draw) const;

    /// Null for the default transformation.
    FunctorPtr functor;
};

template<class Draw>
bool TransformOperator::draw(VRenderContext& context, const Draw& draw) const {
    const FunctorPtr used = functor;
    if (!used) return draw();
    if (!used->begin(context)) return false;
    bool isDrawn = false;
    try {
        isDrawn = draw();
    } catch (...) {
        try {
            used->end(context);
        } catch (...) {
        }
        throw;
    }
    used->end(context);
    return isDrawn;
}

/// A functor has no text: whatever the value holds, it is "shift={0.0,0.0,0.0}". A value that is
/// saved without functor thus comes back with a TransformOperator::Shift, which draws the same
/// picture by another text. Reads a text whose part ahead of the first `=` begins with "shift",
/// and whose part behind it is a vector, in braces or without; each text makes a functor of its
/// own.
template<>
struct POLYPIA_EXPORT VValueTrait<TransformOperator> {
    static std::string Text(const TransformOperator& value);
    static bool setValueFromText(TransformOperator& value, const std::string& text);
};
/// Another functor is a change, whatever it does.
template<>
struct POLYPIA_EXPORT VValueCompareTrait<TransformOperator> {
    static bool isDifferent(const TransformOperator& a, const TransformOperator& b) {
        return !(a.functor == b.functor);
    }
};

static_assert(std::is_same_v<Keel::RootOf_t<TransformOperator::Functor>,
                             TransformOperator::Functor::ReferenceRoot>);

} // namespace Mirk
