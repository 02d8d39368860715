#include <Polypia/LayeredMultiViews.hpp>

#include <Polypia/Polyp.hpp>
#include <Polypia/RenderTentacles.hpp>
#include <Polypia/multiViewRecord.hpp>
#include <Polypia/shaderText.hpp>

#include <MultiViewBlock.glsl.hpp>
#include <MultiViewPrefix.glsl.hpp>
#include <MultiViewStructures.glsl.hpp>
#include <MultiViewSwitches.glsl.hpp>

#include <algorithm>
#include <cassert>
#include <cstddef>

namespace Mirk {

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using vec4 = MultiViewRecord::vec4;

constexpr unsigned WorldLayer = 2;
/// Where a polyp keeps the number of views that it was filled for.
constexpr std::size_t NumberOfViewsInPolyp = 1;
constexpr const char* SourceName = "reef/Polypia/LayeredMultiViews.cpp";
/// Stands in a block of GLSL for the number that it is composed with.
constexpr const char* numberPlaceholder = "$$";

std::size_t existing(unsigned index, std::size_t number) {
    return index < number ? index : 0;
}

float single(double value) {
    return static_cast<float>(value);
}

/// With a fourth component of 0.
template<class Triple>
vec4 single(const Triple& triple) {
    return {single(triple.x), single(triple.y), single(triple.z), 0.0F};
}

MultiViewRecord::mat4 single(const View::Matrix& matrix) {
    MultiViewRecord::mat4 result;
    std::transform(matrix.begin(), matrix.end(), result.begin(),
                   [](double element) { return single(element); });
    return result;
}

/// The inverse of a projection withReversedDepths(), from that of the projection.
View::Matrix inverseWithReversedDepths(const View::Matrix& inverse) {
    View::Matrix result = inverse;
    for (std::size_t row = 0; row < 4; ++row) {
        result[8 + row] = -2.0 * inverse[8 + row];
        result[12 + row] = inverse[12 + row] + inverse[8 + row];
    }
    return result;
}

MultiViewRecord recordOf(const View& view, bool reversesDepths) {
    MultiViewRecord record{};
    record.ProjectionMatrix =
        single(reversesDepths ? LayeredMultiViews::withReversedDepths(view.matrix) : view.matrix);
    record.UntranslatedModelViewMatrix = single(view.untranslatedModelView);
    record.FullModelViewMatrix = single(view.modelView);
    record.PixelCalibrationMatrix = single(view.pixelCalibration);
    record.inv_ProjectionMatrix =
        single(reversesDepths ? inverseWithReversedDepths(view.inverseProjection)
                              : view.inverseProjection);
    record.inv_UntranslatedModelViewMatrix = single(view.inverseUntranslatedModelView);
    record.inv_FullModelViewMatrix = single(view.inverseModelView);
    record.Translation = single(view.cameraPosition);
    record.CameraSettings.Observer = single(view.camera.position);
    record.CameraSettings.LookAt = single(view.camera.lookAt);
    record.CameraSettings.Up = single(view.camera.up);
    record.CameraSettings.ViewAngle = single(view.camera.fieldOfView);
    record.theViewport = {{single(view.viewport.left), single(view.viewport.bottom)},
                          {single(view.viewport.right), single(view.viewport.top)}};
    const std::array<point, 8>& corners = view.corners;
    record.theFrustum = {single(corners[0]), single(corners[1]), single(corners[2]),
                         single(corners[3]), single(corners[4]), single(corners[5]),
                         single(corners[6]), single(corners[7])};
    return record;
}

/// The uniforms of one view.
struct ViewUniforms {
    explicit ViewUniforms(std::size_t view)
        : translation(element(view) + "Translation"),
          cameraObserver(element(view) + "CameraObserver"),
          cameraLookAt(element(view) + "CameraLookAt") {}

    static std::string element(std::size_t view) {
        return "TranslatedViews[" + std::to_string(view) + "].";
    }

    std::string translation;
    std::string cameraObserver;
    std::string cameraLookAt;
};

/// Names are made once for each thread: they are needed for each object of each frame.
const ViewUniforms& uniformsOf(std::size_t view) {
    thread_local std::vector<ViewUniforms> known;
    while (known.size() <= view) known.emplace_back(known.size());
    return known[view];
}

Skua::FixedArray<float, 4> roundedSum(const point& position, const vector& offset, float w) {
    const point sum = position + offset;
    return {single(sum.x), single(sum.y), single(sum.z), w};
}

} // namespace

const std::string LayeredMultiViews::DefineStructView{glsl::MultiViewStructures};

LayeredMultiViews::LayeredMultiViews() : EyeViews(1) {}

void LayeredMultiViews::setNumberOfEyes(unsigned int eyes) {
    EyeViews.resize(std::max(eyes, 1U));
}

View& LayeredMultiViews::CurrentView(unsigned int eye, unsigned int slot) {
    assert(CurrentLayer < NumberOfLayers);
    return EyeViews[existing(eye, EyeViews.size())][CurrentLayer]
                   [existing(slot, NumberOfViewportSlots)];
}

const View& LayeredMultiViews::CurrentView(unsigned int eye, unsigned int slot) const {
    assert(CurrentLayer < NumberOfLayers);
    return EyeViews[existing(eye, EyeViews.size())][CurrentLayer]
                   [existing(slot, NumberOfViewportSlots)];
}

const View& LayeredMultiViews::getWorldView(unsigned int eye, unsigned int slot) const {
    return EyeViews[existing(eye, EyeViews.size())][WorldLayer]
                   [existing(slot, NumberOfViewportSlots)];
}

LayeredMultiViews::ViewReferences LayeredMultiViews::getViews(unsigned int layer,
                                                              unsigned int slot) const {
    assert(layer < NumberOfLayers);
    ViewReferences views;
    views.reserve(EyeViews.size());
    for (const LayeredViews& eye : EyeViews) {
        views.emplace_back(eye[layer][existing(slot, NumberOfViewportSlots)]);
    }
    return views;
}

void LayeredMultiViews::resetLayeredViews() {
    for (LayeredViews& eye : EyeViews) {
        for (auto& layer : eye) {
            for (View& view : layer) {
                view.resetModelView();
                view.resetProjection();
            }
        }
    }
    CurrentLayer = 0;
}

std::uint32_t LayeredMultiViews::elevateView() {
    if (CurrentLayer >= NumberOfLayers - 1) return CurrentLayer;
    for (LayeredViews& eye : EyeViews) eye[CurrentLayer + 1] = eye[CurrentLayer];
    return ++CurrentLayer;
}

bool LayeredMultiViews::updateMultiView(UniformBuffer& buffer, const ViewReferences& views) const {
    if (views.empty()) return buffer.upload(nullptr, 0);
    std::vector<MultiViewRecord> records;
    records.reserve(views.size());
    for (const View& view : views) records.push_back(recordOf(view, ReversedDepths));
    return buffer.upload(records.data(), records.size() * sizeof(MultiViewRecord));
}

View::Matrix LayeredMultiViews::withReversedDepths(const View::Matrix& projection) {
    View::Matrix result = projection;
    for (std::size_t column = 0; column < 16; column += 4) {
        result[column + 2] = (projection[column + 3] - projection[column + 2]) / 2.0;
    }
    return result;
}

void LayeredMultiViews::updateViewID(ProgramVariables& variables, int id) {
    static const std::string name = "zelk_CurrentViewID";
    variables[name] = id;
}

void LayeredMultiViews::updateTranslatedViews(ProgramVariables& variables,
                                              const ViewReferences& views, const vector& offset) {
    static const std::string offsetName = "theVertexOffset";
    variables[offsetName] = roundedSum(point{}, offset, 0.0F);
    for (std::size_t i = 0; i < views.size(); ++i) {
        const View& view = views[i];
        const ViewUniforms& names = uniformsOf(i);
        variables[names.translation] = roundedSum(view.cameraPosition, offset, 0.0F);
        variables[names.cameraObserver] = roundedSum(view.camera.position, offset, 1.0F);
        variables[names.cameraLookAt] = roundedSum(view.camera.lookAt, offset, 1.0F);
    }
}

void LayeredMultiViews::updateTranslatedViews(Polyp& polyp, const ViewReferences& views,
                                              const vector& offset) const {
    const auto [first, last] = polyp.get_programs();
    for (auto entry = first; entry != last; ++entry) {
        auto* const program = dynamic_cast<RenderBasin::Program*>(entry->second.get());
        if (program == nullptr) continue;
        updateViewID(*program, static_cast<int>(CurrentEye));
        updateTranslatedViews(*program, views, offset);
    }
}

void LayeredMultiViews::updateTranslatedViews(Polyp& polyp, const vector& offset,
                                              unsigned int slot) const {
    updateTranslatedViews(polyp, getViews(CurrentLayer, slot), offset);
}

unsigned int LayeredMultiViews::setNumberOfViews(const Polyp& polyp) const {
    const auto eyes = static_cast<unsigned>(EyeViews.size());
    polyp.backendIntegers[NumberOfViewsInPolyp] = eyes;
    return eyes;
}

bool LayeredMultiViews::isValid(const Polyp& polyp) const {
    return !polyp.empty() && polyp.backendIntegers[NumberOfViewsInPolyp] == EyeViews.size();
}

std::string LayeredMultiViews::enable_multiview(unsigned long long numberOfViews,
                                                bool defineLayout) const {
    const std::string views = std::to_string(numberOfViews);
    std::string text = defineLayout ? "\n#define DEFINE_NUM_VIEWS_LAYOUT 1\n" : "\n";
    text += "#define ZELK_AVAILABLE_VIEWS " + views;
    text += "\n#define ZELK_OUTPUT_VIEWS " + std::to_string(OutputViews) + "\n";
    return text + replacedText(std::string(glsl::MultiViewSwitches), numberPlaceholder, views);
}

std::string LayeredMultiViews::defineMultiView(unsigned long long numberOfViews, bool defineLayout,
                                               unsigned long long binding) const {
    std::string text = lineMarker(__LINE__ + 1, SourceName);
    text += "/* LayeredMultiViews::defineMultiView() START */\n";
    text += enable_multiview(numberOfViews, defineLayout);
    text += DefineStructView;
    text +=
        replacedText(std::string(glsl::MultiViewBlock), numberPlaceholder, std::to_string(binding));
    text += glsl::MultiViewPrefix;
    return text + "/* LayeredMultiViews::defineMultiView() END */\n";
}

} // namespace Mirk
