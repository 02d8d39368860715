#include <Polypia/LayeredMultiViews.hpp>

#include "../keel/countedNew.hpp"
#include "RecordingBasin.hpp"
#include "memberOrder.hpp"

#include <Polypia/multiViewRecord.hpp>

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <cstring>
#include <functional>
#include <initializer_list>
#include <limits>
#include <random>
#include <regex>
#include <string>
#include <type_traits>
#include <vector>

using Mirk::MultiViewRecord;
using Mirk::Polyp;
using Mirk::View;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
using testing::StartsWith;

namespace {

using Views = Mirk::LayeredMultiViews;
using Variables = Views::ProgramVariables;
using Vec4 = Skua::FixedArray<float, 4>;
using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;

/// Keeps what it is handed.
class KeepingBuffer : public RecordingUniformBuffer {
public:
    using RecordingUniformBuffer::RecordingUniformBuffer;
    bool upload(const void* data, std::size_t size) override {
        pointer = data;
        return RecordingUniformBuffer::upload(data, size);
    }
    const void* pointer = this;
};

Vec4 vec4Of(const Variables& variables, const std::string& name) {
    return std::get<Vec4>(variables.at(name));
}

/// Where the pieces begin, each behind the one before; npos for those that are not there.
std::vector<std::size_t> places(const std::string& text, const std::vector<std::string>& pieces) {
    std::vector<std::size_t> found;
    std::size_t from = 0;
    for (const std::string& piece : pieces) {
        const std::size_t place = text.find(piece, from);
        found.push_back(place);
        if (place != std::string::npos) from = place + piece.size();
    }
    return found;
}

/// The three lines at the head of a block of GLSL.
const std::string markerPattern = "#ifdef ZELK_DO_LINE_DIRECTIVE\n#line [0-9]+ \"[^\"\n]+\"\n"
                                  "#endif /\\* ZELK_DO_LINE_DIRECTIVE \\*/\n";

bool beginsWithMarker(const std::string& text) {
    return std::regex_search(text, std::regex(markerPattern),
                             std::regex_constants::match_continuous);
}

/// A text of one line for each marker, so that others can be compared as they are.
std::string withShortMarkers(const std::string& text) {
    return std::regex_replace(text, std::regex(markerPattern), "[marker]\n");
}

class LayeredMultiViews : public testing::Test {
protected:
    /// Tells each view of all layers and slots from the others.
    void number() {
        for (std::size_t eye = 0; eye < views.EyeViews.size(); ++eye) {
            for (unsigned layer = 0; layer < Views::NumberOfLayers; ++layer) {
                for (unsigned slot = 0; slot < Views::NumberOfViewportSlots; ++slot) {
                    views.EyeViews[eye][layer][slot].near = code(eye, layer, slot);
                }
            }
        }
    }
    static double code(std::size_t eye, unsigned layer, unsigned slot) {
        return static_cast<double>(eye * 10000 + layer * 100 + slot);
    }

    /// A view with other numbers in all that a shader sees.
    static View numberedView(double start) {
        View view;
        double next = start;
        const auto fill = [&](View::Matrix& matrix) {
            for (double& element : matrix) element = next++;
        };
        const auto fillTriple = [&](auto& triple) {
            triple = {next, next + 1, next + 2}, next += 3;
        };
        for (View::Matrix* const matrix :
             {&view.matrix, &view.untranslatedModelView, &view.modelView, &view.pixelCalibration,
              &view.inverseProjection, &view.inverseUntranslatedModelView,
              &view.inverseModelView}) {
            fill(*matrix);
        }
        fillTriple(view.cameraPosition);
        fillTriple(view.camera.position);
        fillTriple(view.camera.lookAt);
        fillTriple(view.camera.up);
        view.camera.fieldOfView = next++;
        view.viewport = {next, next + 1, next + 2, next + 3};
        next += 4;
        for (point& corner : view.corners) fillTriple(corner);
        return view;
    }

    Keel::StrongPtr<RecordingProgram, Polyp::Tentacle> insertProgram(int key) {
        const Keel::StrongPtr<RecordingProgram, Polyp::Tentacle> program(
            new RecordingProgram(log, std::to_string(key)));
        polyp->insertTentacle(key, program);
        return program;
    }

    Views views;
    const CallLogPtr log = std::make_shared<CallLog>();
    const Keel::StrongPtr<KeepingBuffer, Polyp::Tentacle> buffer{new KeepingBuffer(log)};
    const Keel::StrongPtr<Polyp> polyp{new Polyp(Keel::WeakPtr<Keel::Creature>())};
    Variables variables;
};

// ----------------------------------------------------------------------------------- Eyes, layers

TEST_F(LayeredMultiViews, HasNoVirtualOperationAndItsFieldsInOrder) {
    static_assert(!std::is_polymorphic_v<Views>);
    static_assert(std::is_same_v<decltype(Views::CurrentLayer), std::uint32_t>);
    static_assert(std::is_same_v<decltype(Views::CurrentEye), std::uint32_t>);
    static_assert(std::is_same_v<decltype(Views::OutputViews), std::uint32_t>);
    EXPECT_TRUE(
        standInOrder(views.CurrentLayer, views.CurrentEye, views.OutputViews, views.EyeViews));
    EXPECT_EQ(static_cast<void*>(&views), &views.CurrentLayer) << "there is no base ahead of it";
}

TEST_F(LayeredMultiViews, StartsWithOneEyeAtTheLowestLayer) {
    EXPECT_EQ(views.CurrentLayer, 0U);
    EXPECT_EQ(views.CurrentEye, 0U);
    EXPECT_EQ(views.OutputViews, 1U);
    ASSERT_EQ(views.EyeViews.size(), 1U);
    EXPECT_EQ(views.EyeViews[0].size(), 5U);
    EXPECT_EQ(views.EyeViews[0][4].size(), 16U);
    EXPECT_EQ(views.EyeViews[0][4][15].modelView, View::Identity);
}

TEST_F(LayeredMultiViews, NoEyesCountAsOne) {
    views.setNumberOfEyes(3);
    EXPECT_EQ(views.EyeViews.size(), 3U);
    views.setNumberOfEyes(0);
    EXPECT_EQ(views.EyeViews.size(), 1U);
}

TEST_F(LayeredMultiViews, NewEyesHaveDefaultViewsAndTheOthersKeepTheirs) {
    number();
    views.setNumberOfEyes(3);
    EXPECT_EQ(views.EyeViews[0][3][7].near, code(0, 3, 7));
    EXPECT_EQ(views.EyeViews[2][3][7].near, View().near);
    views.CurrentView(1, 2).near = 77;
    views.setNumberOfEyes(2);
    EXPECT_EQ(views.CurrentView(1, 2).near, 77);
    views.setNumberOfEyes(3);
    EXPECT_EQ(views.EyeViews[2][0][0].near, View().near);
}

TEST_F(LayeredMultiViews, CurrentViewIsOfTheCurrentLayer) {
    views.setNumberOfEyes(2);
    number();
    const Views& constant = views;
    for (unsigned layer = 0; layer < 5; ++layer) {
        views.CurrentLayer = layer;
        EXPECT_EQ(views.CurrentView(1, 15).near, code(1, layer, 15));
        EXPECT_EQ(&constant.CurrentView(1, 15), &views.CurrentView(1, 15));
    }
}

TEST_F(LayeredMultiViews, EyeOrSlotThatDoesNotExistMeansTheFirst) {
    views.setNumberOfEyes(2);
    number();
    const Views& constant = views;
    EXPECT_EQ(views.CurrentView(99, 99).near, code(0, 0, 0));
    EXPECT_EQ(constant.CurrentView(99, 99).near, code(0, 0, 0));
    EXPECT_EQ(views.CurrentView(2, 3).near, code(0, 0, 3));
    EXPECT_EQ(views.CurrentView(1, 16).near, code(1, 0, 0));
    EXPECT_EQ(views.getWorldView(99, 99).near, code(0, 2, 0));
    EXPECT_EQ(views.getWorldView(2, 3).near, code(0, 2, 3));
    EXPECT_EQ(views.getWorldView(1, 16).near, code(1, 2, 0));
}

TEST_F(LayeredMultiViews, WorldViewIsOfLayerTwoWhateverTheCurrentOneIs) {
    views.setNumberOfEyes(2);
    number();
    for (unsigned layer = 0; layer < 5; ++layer) {
        views.CurrentLayer = layer;
        EXPECT_EQ(views.getWorldView(1, 5).near, code(1, 2, 5));
    }
    views.resetLayeredViews();
    views.elevateView();
    views.elevateView();
    EXPECT_EQ(&views.getWorldView(1, 5), &views.CurrentView(1, 5));
}

TEST_F(LayeredMultiViews, ViewsAreReferencesIntoEachEyeInOrder) {
    views.setNumberOfEyes(3);
    const Views::ViewReferences references = views.getViews(3, 7);
    static_assert(
        std::is_same_v<Views::ViewReferences, std::vector<std::reference_wrapper<const View>>>);
    ASSERT_EQ(references.size(), 3U);
    for (std::size_t eye = 0; eye < 3; ++eye) {
        EXPECT_EQ(&references[eye].get(), &views.EyeViews[eye][3][7]);
    }
    EXPECT_EQ(&views.getViews(1, 16)[2].get(), &views.EyeViews[2][1][0]) << "slot out of range";
}

TEST_F(LayeredMultiViews, ElevationEndsAtTheTopLayer) {
    for (unsigned layer = 1; layer <= 4; ++layer) {
        EXPECT_EQ(views.elevateView(), layer);
        EXPECT_EQ(views.CurrentLayer, layer);
    }
    number();
    EXPECT_EQ(views.elevateView(), 4U);
    EXPECT_EQ(views.CurrentLayer, 4U);
    for (unsigned layer = 0; layer < 5; ++layer) {
        EXPECT_EQ(views.EyeViews[0][layer][3].near, code(0, layer, 3)) << "nothing was copied";
    }
    views.CurrentLayer = std::numeric_limits<std::uint32_t>::max();
    EXPECT_EQ(views.elevateView(), views.CurrentLayer);
}

TEST_F(LayeredMultiViews, ElevationCopiesAllSlotsOfAllEyesAndLeavesTheOlderLayer) {
    views.setNumberOfEyes(2);
    number();
    views.CurrentLayer = 1;
    EXPECT_EQ(views.elevateView(), 2U);
    for (std::size_t eye = 0; eye < 2; ++eye) {
        for (unsigned slot = 0; slot < 16; ++slot) {
            EXPECT_EQ(views.EyeViews[eye][2][slot].near, code(eye, 1, slot));
            EXPECT_EQ(views.EyeViews[eye][1][slot].near, code(eye, 1, slot));
            EXPECT_EQ(views.EyeViews[eye][3][slot].near, code(eye, 3, slot));
        }
    }
    views.CurrentView(1, 4) = numberedView(5);
    views.CurrentLayer = 1;
    EXPECT_EQ(views.CurrentView(1, 4).near, code(1, 1, 4));
    EXPECT_EQ(views.CurrentView(1, 4).modelView, View::Identity);
}

TEST_F(LayeredMultiViews, ResetIsThatOfEachViewAndGoesBackToTheLowestLayer) {
    views.setNumberOfEyes(2);
    for (auto& eye : views.EyeViews) {
        for (auto& layer : eye) {
            for (View& view : layer) {
                view = numberedView(1);
                view.setOrthographic(-2, 2, -1, 1, 1, 3);
            }
        }
    }
    views.CurrentLayer = 3;
    views.CurrentEye = 1;
    views.OutputViews = 2;
    views.resetLayeredViews();
    EXPECT_EQ(views.CurrentLayer, 0U);
    EXPECT_EQ(views.CurrentEye, 1U);
    EXPECT_EQ(views.OutputViews, 2U);
    for (const auto& eye : views.EyeViews) {
        for (const auto& layer : eye) {
            for (const View& view : layer) {
                ASSERT_EQ(view.modelView, View::Identity);
                ASSERT_EQ(view.matrix, View::Identity);
                ASSERT_EQ(view.camera.position, (point{0, 0, 10}));
                ASSERT_FALSE(view.orthographic);
                ASSERT_EQ(view.far, 3) << "stays";
                ASSERT_EQ(view.inverseModelView, numberedView(1).inverseModelView) << "stays";
            }
        }
    }
}

// ------------------------------------------------------------------------------ Block of all views

TEST_F(LayeredMultiViews, TwoViewsAreOneUploadOf1376Bytes) {
    views.setNumberOfEyes(2);
    views.CurrentView(1, 0).cameraPosition = {1, 2, 3};
    EXPECT_TRUE(views.updateMultiView(*buffer, views.getViews(0, 0)));
    ASSERT_EQ(buffer->content.size(), 1376U);
    EXPECT_THAT(log->calls, ElementsAre("upload UniformBuffer"));
    std::array<float, 4> translation;
    std::memcpy(&translation, buffer->content.data() + 688 + 448, sizeof(translation));
    EXPECT_THAT(translation, ElementsAre(1, 2, 3, 0));
}

TEST_F(LayeredMultiViews, NoViewsAreANullPointerAndNoBytes) {
    EXPECT_TRUE(views.updateMultiView(*buffer, {}));
    EXPECT_EQ(buffer->pointer, nullptr);
    EXPECT_EQ(buffer->content.size(), 0U);
    EXPECT_THAT(log->calls, ElementsAre("upload UniformBuffer"));
}

TEST_F(LayeredMultiViews, RefusedUploadIsTold) {
    log->failing = {"upload UniformBuffer"};
    EXPECT_FALSE(views.updateMultiView(*buffer, views.getViews(0, 0)));
    EXPECT_FALSE(views.updateMultiView(*buffer, {}));
}

/// What stands at a byte of a record.
struct RecordRow {
    const char* name;
    std::size_t offset;
    std::function<std::vector<double>(const View&)> expected;
};

template<class Triple>
std::vector<double> with0(const Triple& triple) {
    return {triple.x, triple.y, triple.z, 0};
}
std::vector<double> elements(const View::Matrix& matrix) {
    return {matrix.begin(), matrix.end()};
}

const std::vector<RecordRow>& recordRows() {
    static const std::vector<RecordRow> rows{
        {"ProjectionMatrix", 0, [](const View& v) { return elements(v.matrix); }},
        {"UntranslatedModelViewMatrix", 64,
         [](const View& v) { return elements(v.untranslatedModelView); }},
        {"FullModelViewMatrix", 128, [](const View& v) { return elements(v.modelView); }},
        {"PixelCalibrationMatrix", 192, [](const View& v) { return elements(v.pixelCalibration); }},
        {"inv_ProjectionMatrix", 256, [](const View& v) { return elements(v.inverseProjection); }},
        {"inv_UntranslatedModelViewMatrix", 320,
         [](const View& v) { return elements(v.inverseUntranslatedModelView); }},
        {"inv_FullModelViewMatrix", 384,
         [](const View& v) { return elements(v.inverseModelView); }},
        {"Translation", 448, [](const View& v) { return with0(v.cameraPosition); }},
        {"Unused", 464, [](const View&) { return std::vector<double>(4, 0.0); }},
        {"Observer", 480, [](const View& v) { return with0(v.camera.position); }},
        {"LookAt", 496, [](const View& v) { return with0(v.camera.lookAt); }},
        {"Up", 512, [](const View& v) { return with0(v.camera.up); }},
        {"ViewAngle", 528, [](const View& v) { return std::vector{v.camera.fieldOfView}; }},
        {"UnusedNumbers", 532, [](const View&) { return std::vector<double>(3, 0.0); }},
        {"LeftBottom", 544,
         [](const View& v) {
             return std::vector{v.viewport.left, v.viewport.bottom};
         }},
        {"RightTop", 552,
         [](const View& v) {
             return std::vector{v.viewport.right, v.viewport.top};
         }},
        {"Corners", 560,
         [](const View& v) {
             std::vector<double> all;
             for (const point& corner : v.corners) {
                 for (const double number : with0(corner)) all.push_back(number);
             }
             return all;
         }},
    };
    return rows;
}

TEST_F(LayeredMultiViews, RecordsHoldEachMemberAtItsByte) {
    const View first = numberedView(0.125);
    const View second = numberedView(1000.5);
    const View untouched;
    views.updateMultiView(*buffer, {first, second, untouched});
    ASSERT_EQ(buffer->content.size(), 3 * 688U);
    std::size_t record = 0;
    for (const View* const view : {&first, &second, &untouched}) {
        std::size_t covered = 0;
        for (const RecordRow& row : recordRows()) {
            const std::vector<double> expected = row.expected(*view);
            EXPECT_EQ(row.offset, covered) << row.name;
            covered += expected.size() * sizeof(float);
            std::vector<float> actual(expected.size());
            std::memcpy(actual.data(), buffer->content.data() + record + row.offset,
                        actual.size() * sizeof(float));
            for (std::size_t i = 0; i < expected.size(); ++i) {
                EXPECT_EQ(actual[i], static_cast<float>(expected[i])) << row.name << " " << i;
            }
        }
        EXPECT_EQ(covered, 688U);
        record += 688;
    }
}

TEST_F(LayeredMultiViews, ReversedDepthsAreFromOneAtTheNearPlaneToZeroAtTheFarOne) {
    Mirk::View view;
    view.setFrustum(-1.0, 2.0, -3.0, 1.0, 1e-3, 1e6);
    const auto reversed = Mirk::LayeredMultiViews::withReversedDepths(view.matrix);
    const auto clip = [&](double distance) {
        const std::array<double, 4> eye{0.0, 0.0, -distance, 1.0};
        std::array<double, 4> result{};
        Mirk::View::myglMultiplyMatrixByVector4by4(result.data(), reversed.data(), eye.data());
        return result;
    };
    EXPECT_NEAR(clip(1e-3)[2] / clip(1e-3)[3], 1.0, 1e-12);
    EXPECT_NEAR(clip(1.0)[2] / clip(1.0)[3], 1e-3, 1e-8);
    EXPECT_NEAR(clip(1e6)[2] / clip(1e6)[3], 0.0, 1e-15);
    for (const std::size_t row : {0U, 1U, 3U}) {
        for (std::size_t column = 0; column < 4; ++column) {
            EXPECT_EQ(reversed[4 * column + row], view.matrix[4 * column + row]);
        }
    }
}

TEST_F(LayeredMultiViews, ShadersGetReversedProjectionsAndTheirInverseIfTheBackendSaysSo) {
    views.CurrentView(0, 0).setFrustum(-1.0, 2.0, -3.0, 1.0, 0.5, 8.0);
    views.CurrentView(0, 0).updateInverseMatrices();
    const auto uploaded = [&](bool reversed) {
        views.ReversedDepths = reversed;
        views.updateMultiView(*buffer, views.getViews(0, 0));
        Mirk::MultiViewRecord record{};
        buffer->read(0, &record, sizeof record);
        return record;
    };
    EXPECT_EQ(uploaded(false).ProjectionMatrix[10], static_cast<float>(-8.5 / 7.5));
    const Mirk::MultiViewRecord record = uploaded(true);
    EXPECT_FLOAT_EQ(record.ProjectionMatrix[10], static_cast<float>(0.5 / 7.5));
    EXPECT_FLOAT_EQ(record.ProjectionMatrix[14], static_cast<float>(4.0 / 7.5));
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            float sum = 0.0F;
            for (std::size_t k = 0; k < 4; ++k) {
                sum += record.ProjectionMatrix[4 * k + row] *
                       record.inv_ProjectionMatrix[4 * column + k];
            }
            EXPECT_NEAR(sum, row == column ? 1.0F : 0.0F, 1e-6F) << row << " " << column;
        }
    }
}

TEST_F(LayeredMultiViews, ViewportIsTheWholeOutputUntilWritten) {
    views.updateMultiView(*buffer, views.getViews(0, 0));
    std::array<float, 4> viewport;
    std::memcpy(&viewport, buffer->content.data() + 544, sizeof(viewport));
    EXPECT_THAT(viewport, ElementsAre(-1, -1, 1, 1));
}

TEST_F(LayeredMultiViews, FrustumGoesFromNearTopLeftToFarBottomRight) {
    View view;
    view.camera.position = {0, 0, 0};
    view.camera.lookAt = {0, 0, -1};
    view.setFrustum(-1, 1, -1, 1, 2, 10);
    view.computeFrustum(0.5, 1.0, {});
    views.updateMultiView(*buffer, {view});
    MultiViewRecord record;
    std::memcpy(&record, buffer->content.data(), sizeof(record));
    EXPECT_THAT(record.theFrustum.ntl, ElementsAre(-2, 1, -2, 0));
    EXPECT_THAT(record.theFrustum.ntr, ElementsAre(2, 1, -2, 0));
    EXPECT_THAT(record.theFrustum.nbl, ElementsAre(-2, -1, -2, 0));
    EXPECT_THAT(record.theFrustum.nbr, ElementsAre(2, -1, -2, 0));
    EXPECT_THAT(record.theFrustum.ftl, ElementsAre(-10, 5, -10, 0));
    EXPECT_THAT(record.theFrustum.fbr, ElementsAre(10, -5, -10, 0));
}

// ---------------------------------------------------------------------------- Uniforms of a
// program

TEST_F(LayeredMultiViews, ViewIDIsAnInteger) {
    Views::updateViewID(variables, 3);
    EXPECT_EQ(std::get<int>(variables.at("zelk_CurrentViewID")), 3);
    Views::updateViewID(variables, 0);
    EXPECT_EQ(std::get<int>(variables.at("zelk_CurrentViewID")), 0);
    EXPECT_EQ(variables.size(), 1U);
}

TEST_F(LayeredMultiViews, TranslatedViewsAreTheSumsOfEachView) {
    View first, second;
    first.cameraPosition = {1, 2, 3};
    first.camera.position = {4, 5, 6};
    first.camera.lookAt = {7, 8, 9};
    second.cameraPosition = {-1, -2, -3};
    Views::updateTranslatedViews(variables, {first, second}, {10, 20, 30});
    EXPECT_EQ(variables.size(), 7U);
    EXPECT_EQ(vec4Of(variables, "theVertexOffset"), (Vec4{10, 20, 30, 0}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[0].Translation"), (Vec4{11, 22, 33, 0}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[0].CameraObserver"), (Vec4{14, 25, 36, 1}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[0].CameraLookAt"), (Vec4{17, 28, 39, 1}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[1].Translation"), (Vec4{9, 18, 27, 0}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[1].CameraObserver"), (Vec4{10, 20, 40, 1}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[1].CameraLookAt"), (Vec4{10, 20, 30, 1}));
}

TEST_F(LayeredMultiViews, TranslatedViewsAreNumberedInDecimal) {
    views.setNumberOfEyes(12);
    views.CurrentView(11, 0).cameraPosition = {1, 0, 0};
    Views::updateTranslatedViews(variables, views.getViews(0, 0), {});
    EXPECT_EQ(variables.size(), 1 + 12 * 3U);
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[11].Translation"), (Vec4{1, 0, 0, 0}));
}

TEST_F(LayeredMultiViews, WithoutViewsOnlyTheOffsetIsWritten) {
    Views::updateTranslatedViews(variables, {}, {1, 2, 3});
    EXPECT_EQ(variables.size(), 1U);
    EXPECT_EQ(vec4Of(variables, "theVertexOffset"), (Vec4{1, 2, 3, 0}));
}

TEST_F(LayeredMultiViews, DifferenceOfLargeNumbersIsExact) {
    View view;
    view.cameraPosition = {1e9, 1e9 + 0.25, -1e9};
    view.camera.position = {1e9 + 0.25, 0, 0};
    view.camera.lookAt = {0, 1e9 + 0.25, 0};
    Views::updateTranslatedViews(variables, {view}, {-1e9, -1e9, 1e9});
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[0].Translation"), (Vec4{0, 0.25, 0, 0}));
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[0].CameraObserver")[0], 0.25F);
    EXPECT_EQ(vec4Of(variables, "TranslatedViews[0].CameraLookAt")[1], 0.25F);
}

TEST_F(LayeredMultiViews, UpdateOfAProgramThatHadAsManyViewsAllocatesNothing) {
    views.setNumberOfEyes(5);
    const Views::ViewReferences references = views.getViews(0, 0);
    insertProgram(0);
    views.updateTranslatedViews(*polyp, references, {1, 2, 3});
    const long long before = allocationsOfThisThread();
    views.updateTranslatedViews(*polyp, references, {4, 5, 6});
    EXPECT_EQ(allocationsOfThisThread(), before);
}

TEST_F(LayeredMultiViews, EachProgramOfAPolypIsUpdated) {
    const auto first = insertProgram(0);
    const auto last = insertProgram(1023);
    const auto behind = insertProgram(1024);
    polyp->insertTentacle(5, Polyp::TentaclePtr(new RecordingTentacle(log, "no program", 5)));
    {
        RecordingProgram mortal(log, "dead");
        polyp->insertTentacle(7, Polyp::TentaclePtr(mortal));
    }
    views.setNumberOfEyes(2);
    views.CurrentEye = 1;
    View view;
    view.cameraPosition = {1, 2, 3};
    views.updateTranslatedViews(*polyp, {view}, {10, 20, 30});
    for (const auto& program : {first, last}) {
        EXPECT_EQ(std::get<int>(program->at("zelk_CurrentViewID")), 1);
        EXPECT_EQ(vec4Of(*program, "theVertexOffset"), (Vec4{10, 20, 30, 0}));
        EXPECT_EQ(vec4Of(*program, "TranslatedViews[0].Translation"), (Vec4{11, 22, 33, 0}));
    }
    EXPECT_TRUE(static_cast<Variables&>(*behind).empty());
}

TEST_F(LayeredMultiViews, SlotOfTheCurrentLayerGivesTheViewsForAPolyp) {
    const auto program = insertProgram(0);
    views.setNumberOfEyes(2);
    views.elevateView();
    views.CurrentView(0, 3).cameraPosition = {1, 0, 0};
    views.CurrentView(1, 3).cameraPosition = {2, 0, 0};
    views.updateTranslatedViews(*polyp, vector{0, 1, 0}, 3);
    EXPECT_EQ(vec4Of(*program, "TranslatedViews[0].Translation"), (Vec4{1, 1, 0, 0}));
    EXPECT_EQ(vec4Of(*program, "TranslatedViews[1].Translation"), (Vec4{2, 1, 0, 0}));
    EXPECT_EQ(std::get<int>(program->at("zelk_CurrentViewID")), 0);
    views.updateTranslatedViews(*polyp, vector{0, 1, 0}, 16);
    EXPECT_EQ(vec4Of(*program, "TranslatedViews[1].Translation"), (Vec4{0, 1, 0, 0}));
}

/// What multiview_transform computes of a vertex, in the arithmetic of a shader.
struct ShaderArithmetic {
    using Matrix = std::array<float, 16>;

    static Vec4 times(const View::Matrix& matrix, const Vec4& v) {
        Vec4 result;
        for (std::size_t row = 0; row < 4; ++row) {
            for (std::size_t column = 0; column < 4; ++column) {
                result[row] += static_cast<float>(matrix[column * 4 + row]) * v[column];
            }
        }
        return result;
    }
    static Vec4 minus(const Vec4& a, const Vec4& b) {
        return {a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3]};
    }
    static Vec4 narrowed(const vector& v) {
        return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z), 1};
    }
};

TEST_F(LayeredMultiViews, StableTransformIsExactFarFromTheOrigin) {
    using Shader = ShaderArithmetic;
    // 6.4e6 from the origin, as on the ground of a planet; the axes of the eye are the world's.
    const point position{4e6 + 0.125, -3e6 + 0.375, 3995000.75};
    const point worldOrigin{4e6, -3e6, 3995000};
    ASSERT_NEAR(norm(position - point{}), 6.4e6, 1e4);
    View view;
    view.camera.position = position;
    view.camera.lookAt = position + vector{0, 0, -1};
    view.computeModelViewMatrix();
    const vector offset = point{} - worldOrigin;
    Views::updateTranslatedViews(variables, {view}, offset);
    const vector fromCamera{0.5, -0.25, -2};
    const point world = position + fromCamera;
    const Vec4 vertex = Shader::narrowed(world - worldOrigin);
    const Vec4 translation = vec4Of(variables, "TranslatedViews[0].Translation");
    EXPECT_EQ(Shader::times(view.untranslatedModelView, Shader::minus(vertex, translation)),
              (Vec4{0.5F, -0.25F, -2, 1}));
    const Vec4 observer = vec4Of(variables, "TranslatedViews[0].CameraObserver");
    EXPECT_EQ((Vec4{observer[0], observer[1], observer[2], 0}), translation);
    // What the shader takes for the coordinate of the world, as good as single precision has it.
    const Vec4 worldVertex = Shader::minus(vertex, vec4Of(variables, "theVertexOffset"));
    EXPECT_EQ(worldVertex, Shader::narrowed(world - point{}));
    // By way of the coordinates of the world it is off by a step of single precision.
    const Vec4 unstable = Shader::times(view.modelView, Shader::narrowed(world - point{}));
    EXPECT_GT(std::abs(unstable[0] - 0.5F) + std::abs(unstable[1] + 0.25F) +
                  std::abs(unstable[2] + 2.0F),
              0.1F);
}

TEST_F(LayeredMultiViews, StableTransformIsWithinSinglePrecisionOfTheDistances) {
    using Shader = ShaderArithmetic;
    std::mt19937 random(8);
    std::uniform_real_distribution<double> direction(-1, 1);
    const auto anyVector = [&](double length) {
        vector any;
        do any = {direction(random), direction(random), direction(random)};
        while (norm(any) < 0.1);
        return normalised(any) * length;
    };
    for (int i = 0; i < 1000; ++i) {
        View view;
        const point worldOrigin = point{} + anyVector(6.4e6);
        view.camera.position = worldOrigin + anyVector(1000);
        const point world = view.camera.position + anyVector(500);
        view.camera.lookAt = world + anyVector(30);
        view.computeModelViewMatrix();
        const vector offset = point{} - worldOrigin;
        Views::updateTranslatedViews(variables, {view}, offset);
        const Vec4 vertex = Shader::narrowed(world - worldOrigin);
        const Vec4 eye = Shader::times(
            view.untranslatedModelView,
            Shader::minus(vertex, vec4Of(variables, "TranslatedViews[0].Translation")));
        const vector fromCamera = world - view.camera.position;
        const auto axes = view.camera.getTriad();
        for (std::size_t axis = 0; axis < 3; ++axis) {
            // Coordinates up to 1500 are rounded to 2^-14, twice in each of three components, and
            // the sum of products adds less than 6 steps of 500 * 2^-24 each.
            EXPECT_NEAR(eye[axis], dot(axes[axis], fromCamera),
                        3 * 2 * std::ldexp(1, -14) + 6 * 500 * std::ldexp(1, -24));
        }
    }
}

// ------------------------------------------------------------------------- Number of views of
// polyps

TEST_F(LayeredMultiViews, PolypIsValidForTheNumberOfEyesThatItWasMarkedWith) {
    insertProgram(0);
    views.setNumberOfEyes(2);
    EXPECT_EQ(views.setNumberOfViews(*polyp), 2U);
    EXPECT_TRUE(views.isValid(*polyp));
    views.setNumberOfEyes(3);
    EXPECT_FALSE(views.isValid(*polyp));
    views.setNumberOfEyes(2);
    EXPECT_TRUE(views.isValid(*polyp));
}

TEST_F(LayeredMultiViews, PolypWithoutMarkIsForOneEye) {
    insertProgram(0);
    EXPECT_TRUE(views.isValid(*polyp));
    views.setNumberOfEyes(2);
    EXPECT_FALSE(views.isValid(*polyp));
}

TEST_F(LayeredMultiViews, EmptyPolypIsNeverValid) {
    EXPECT_EQ(views.setNumberOfViews(*polyp), 1U);
    EXPECT_FALSE(views.isValid(*polyp));
}

// ------------------------------------------------------------------------------------------- Texts

TEST_F(LayeredMultiViews, SwitchesStandInTheirOrder) {
    views.OutputViews = 2;
    const std::string text = views.enable_multiview(3, true);
    EXPECT_THAT(text, StartsWith("\n#define DEFINE_NUM_VIEWS_LAYOUT 1\n"
                                 "#define ZELK_AVAILABLE_VIEWS 3\n"
                                 "#define ZELK_OUTPUT_VIEWS 2\n"));
    EXPECT_THAT(places(text, {"#define ZELK_OUTPUT_VIEWS 2\n#ifdef ZELK_DO_LINE_DIRECTIVE\n",
                              "// START of LayeredMultiViews::enable_multiview()\n", "ZELK_HAVE_",
                              "VRenderContext::getShaderPlatformDefines()",
                              "#if ZELK_OUTPUT_VIEWS > 1\n#define ZELK_ENABLE_OVR_MULTIVIEW 1\n",
                              "GEOMETRY_SHADER",
                              "#extension GL_EXT_multiview_tessellation_geometry_shader : enable\n",
                              "#extension GL_OVR_multiview : require\n",
                              "#extension GL_OVR_multiview2 : require\n", "DEFINE_NUM_VIEWS_LAYOUT",
                              "\nlayout(num_views = 3) in;\n",
                              "\n#define HAVE_NumberOfViews 1\nconst int NumberOfViews = 3;\n",
                              "// END of LayeredMultiViews::layout_num_views()"}),
                testing::Each(Not(std::string::npos)));
}

TEST_F(LayeredMultiViews, WithoutLayoutTheSwitchesBeginWithALineFeed) {
    const std::string text = views.enable_multiview(2, false);
    EXPECT_THAT(text, StartsWith("\n#define ZELK_AVAILABLE_VIEWS 2\n"
                                 "#define ZELK_OUTPUT_VIEWS 1\n"));
    EXPECT_THAT(text, Not(HasSubstr("#define DEFINE_NUM_VIEWS_LAYOUT")));
}

TEST_F(LayeredMultiViews, TextOfAStageIsComposedInOrder) {
    const std::string text = withShortMarkers(views.defineMultiView(2, true, 7));
    const std::string head =
        "[marker]\n/* LayeredMultiViews::defineMultiView() START */\n" +
        withShortMarkers(views.enable_multiview(2, true) + Views::DefineStructView) +
        "[marker]\n"
        "// Uniform Block Object (UBO) for view parameters, same for all shaders\n"
        "#if __VERSION__ >= 420\n"
        "layout(std140, set=0, binding=7)\n"
        "#else\n"
        "layout(std140)\n"
        "#endif\n"
        "   uniform MultiView { View views[ NumberOfViews ]; };\n"
        "[marker]\n";
    EXPECT_EQ(text.substr(0, head.size()), head);
    EXPECT_THAT(text, testing::EndsWith("/* LayeredMultiViews::defineMultiView() END */\n"));
}

TEST_F(LayeredMultiViews, BlocksBeginWithLineMarkersThatNameTheirSources) {
    EXPECT_TRUE(beginsWithMarker(views.defineMultiView(2, false, 0)));
    EXPECT_TRUE(beginsWithMarker(Views::DefineStructView));
    const std::string text = views.defineMultiView(2, false, 0);
    EXPECT_THAT(places(text, {"\"reef/Polypia/LayeredMultiViews.cpp\"",
                              "#line 3 \"reef/Polypia/MultiViewSwitches.glsl\"",
                              "#line 3 \"reef/Polypia/MultiViewStructures.glsl\"",
                              "#line 3 \"reef/Polypia/MultiViewBlock.glsl\"",
                              "#line 3 \"reef/Polypia/MultiViewPrefix.glsl\""}),
                testing::Each(Not(std::string::npos)));
}

TEST_F(LayeredMultiViews, StructuresHaveTheirComment) {
    EXPECT_THAT(Views::DefineStructView, HasSubstr("\n// LayeredMultiViews::DefineStructView\n"));
    EXPECT_THAT(places(Views::DefineStructView, {"struct CameraProperties", "struct Frustum",
                                                 "struct Viewport", "struct View {"}),
                testing::Each(Not(std::string::npos)));
}

TEST_F(LayeredMultiViews, NamesOfUniformsAreThoseOfTheText) {
    const std::string text = views.defineMultiView(2, true, 0);
    EXPECT_THAT(text, HasSubstr("uniform int zelk_CurrentViewID = 0;"));
    EXPECT_THAT(text, HasSubstr("uniform vec4 theVertexOffset = vec4(0,0,0,0);"));
    EXPECT_THAT(text, HasSubstr("uniform TranslatedView TranslatedViews[ NumberOfViews ];"));
    EXPECT_THAT(text,
                HasSubstr("struct TranslatedView { vec4 Translation, CameraObserver, CameraLookAt, "
                          "Unused; };"));
    EXPECT_THAT(text, HasSubstr("#define TranslationVector\ttheVertexOffset.xyz\n"));
    EXPECT_THAT(text, HasSubstr("struct RelativeVertex { vec4 Vertex, Offset; };"));
    for (const char* const macro :
         {"HAVE_ZELK_TRANSLATED_VIEWS 1", "HAVE_RelativeVertex", "ZELK_HAVE_MULTIVIEW_TRANSFORM 1",
          "HAVE_MULTIVIEW_TRANSFORM 1", "HAVE_NumberOfViews 1"}) {
        EXPECT_THAT(text, HasSubstr("\n#define " + std::string(macro) + "\n"));
    }
}

} // namespace
