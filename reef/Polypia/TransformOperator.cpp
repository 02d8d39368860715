#include <Polypia/TransformOperator.hpp>

#include <Polypia/VRenderContext.hpp>
#include <Polypia/shaderText.hpp>

#include <keel/Typename.hpp>
#include <sorrel/TypedSlot.hpp>

#include <TransformOperatorDefault.glsl.hpp>
#include <TransformOperatorForwarding.glsl.hpp>
#include <TransformOperatorGlobal.glsl.hpp>

#include <string_view>

namespace Mirk {

namespace {

const ValueTypeRegistration<TransformOperator> transformOperatorType("transform operator");

} // namespace

const std::string TransformOperator::GlobalFunctions{glsl::TransformOperatorGlobal};

TransformOperator::Functor::~Functor() = default;

bool TransformOperator::Functor::begin(VRenderContext&) const {
    return true;
}

void TransformOperator::Functor::end(VRenderContext&) const {}

TransformOperator::BoundingBoxPtr
TransformOperator::Functor::transformedBBox(const ValuePoolPtr&, const BoundingBoxPtr& box) const {
    return box;
}

bool TransformOperator::Functor::initializePolyp(Polyp&, VRenderContext&) const {
    return true;
}

std::string TransformOperator::Functor::myShaderFunctions(VRenderContext&) const {
    return std::string(glsl::TransformOperatorForwarding);
}

std::string TransformOperator::Functor::getShaderFunctions(VRenderContext& context) const {
    return lineMarker(1, Keel::Typename(typeid(*this))) + myShaderFunctions(context);
}

TransformOperator::Shift::Shift(const Skua::PhysicalSpace::vector& shiftVector)
    : shift(shiftVector) {}

TransformOperator::Shift::~Shift() = default;

TransformOperator::BoundingBoxPtr
TransformOperator::Shift::transformedBBox(const ValuePoolPtr&, const BoundingBoxPtr& box) const {
    return box;
}

std::string TransformOperator::Shift::myShaderFunctions(VRenderContext&) const {
    return "/* requires RelativeVertex definition from LayeredMultiViews::defineTranslatedViews() "
           "*/\n" +
           std::string(glsl::TransformOperatorForwarding);
}

std::string TransformOperator::getDefaultShaderFunctions(const ValuePoolPtr&) {
    return "//getDefaultShaderFunctions()\n";
}

std::string TransformOperator::getDefaultShaderFunctionsCall(const ValuePoolPtr&) {
    return std::string(glsl::TransformOperatorForwarding);
}

std::string TransformOperator::getShaderFunctions(VRenderContext& context,
                                                  bool withMultiView) const {
    std::string text;
    if (withMultiView) text = context.defineMultiView(context.EyeViews.size(), true, 0);
    text += glsl::TransformOperatorDefault;
    if (functor) {
        text += "\n#define CUSTOM_TransformOperator 1\n" + functor->getShaderFunctions(context);
        // Directives follow, which have to begin a line.
        if (text.back() != '\n') text += '\n';
    } else {
        text +=
            "\n#define DEFAULT_TransformOperator 1\n" + getDefaultShaderFunctionsCall(context.pool);
    }
    return text + GlobalFunctions;
}

bool TransformOperator::initializePolyp(Polyp& polyp, VRenderContext& context) const {
    return !functor || functor->initializePolyp(polyp, context);
}

TransformOperator::BoundingBoxPtr
TransformOperator::transformedBBox(const ValuePoolPtr& pool, const BoundingBoxPtr& box) const {
    return functor ? functor->transformedBBox(pool, box) : box;
}

std::string VValueTrait<TransformOperator>::Text(const TransformOperator&) {
    return "shift={0.0,0.0,0.0}";
}

bool VValueTrait<TransformOperator>::setValueFromText(TransformOperator& value,
                                                      const std::string& text) {
    const std::size_t sign = text.find('=');
    if (sign == std::string::npos || !text.starts_with("shift")) return false;
    using vector = Skua::PhysicalSpace::vector;
    vector read;
    if (!VValueTrait<vector>::setValueFromText(read, text.substr(sign + 1))) return false;
    value.functor = TransformOperator::FunctorPtr(new TransformOperator::Shift(read));
    return true;
}

} // namespace Mirk
