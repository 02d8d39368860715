#include <Polypia/ClippingPlanes.hpp>

#include "RecordingContext.hpp"
#include "memberOrder.hpp"

#include <Polypia/SlotUpdater.hpp>

#include <gmock/gmock.h>

#include <string>
#include <vector>

using Mirk::ClippingPlanes;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

using Plane = ClippingPlanes::HessianNormalPlane;
using Creator = Mirk::PolypCreator<Mirk::DefaultPolypInitializer>;
using ParameterPtr = Keel::StrongPtr<RecordingParameter, Mirk::Polyp::Tentacle>;

class Cut : public Mirk::VObject {
public:
    explicit Cut(const std::string& objectName) : VObject(objectName, 0, {}) {}
    const ClippingPlanes planes{this};
};

class ClippingPlanesTest : public testing::Test {
protected:
    std::vector<ParameterPtr> parameters() {
        std::vector<ParameterPtr> all;
        const auto [first, last] =
            polyp->get_range(Mirk::Polyp::ParameterKey, Mirk::Polyp::ParameterKey);
        for (auto entry = first; entry != last; ++entry) all.emplace_back(entry->second);
        return all;
    }
    /// What the parameters are set to, one after the other.
    std::vector<double> sent() {
        std::vector<double> values;
        for (const ParameterPtr& parameter : parameters()) {
            EXPECT_TRUE(parameter->updateValue(context));
            for (const double value : parameter->values<double>()) values.push_back(value);
        }
        return values;
    }

    const Keel::StrongPtr<Mirk::Seagrass> seagrass = Keel::make<Mirk::Seagrass>(1ULL << 20, "test");
    RecordingContext context{seagrass};
    const Mirk::PolypPtr polyp{new Mirk::Polyp({})};
    const Keel::StrongPtr<Creator, Keel::Creature> creator{new Creator(*seagrass, {})};
    const Keel::StrongPtr<Cut, Mirk::VManagedObjectBase> object{new Cut("cut")};
    const ClippingPlanes& planes = object->planes;
};

TEST_F(ClippingPlanesTest, AddsTwoPlanesThatAreOff) {
    const auto inputs = object->inputs();
    ASSERT_EQ(inputs.size(), 2U);
    EXPECT_EQ(inputs[0]->Name(), "clip0");
    EXPECT_EQ(inputs[1]->Name(), "clip1");
    for (const auto& input : inputs) {
        EXPECT_EQ(input->expertLevel(), 5);
        Plane plane{{1, 2, 3}, 4};
        ASSERT_TRUE(Mirk::readSlot(input, context.pool, plane));
        EXPECT_EQ(plane, Plane());
    }
    EXPECT_TRUE(standInOrder(planes.clip0, planes.clip1));
}

TEST_F(ClippingPlanesTest, UnconnectedPlanesSendZeros) {
    EXPECT_TRUE(planes.initializePolyp(*polyp, context, *creator));
    EXPECT_THAT(sent(), ElementsAre(0, 0, 0, 0, 0, 0, 0, 0));
}

TEST_F(ClippingPlanesTest, EachParameterFollowsItsInputAsItIs) {
    EXPECT_TRUE(planes.initializePolyp(*polyp, context, *creator));
    const auto made = parameters();
    ASSERT_EQ(made.size(), 2U);
    EXPECT_EQ(made[0]->parameterName(), "ClipPlane0");
    EXPECT_EQ(made[1]->parameterName(), "ClipPlane1");
    planes.clip0.set({}, Plane{{0, 0, 2}, 5});
    planes.clip1.set({}, Plane{{1, 0, 0}, -3});
    EXPECT_THAT(sent(), ElementsAre(0, 0, 2, 5, 1, 0, 0, -3));
    planes.clip1.set({}, Plane{{0, 0, 0}, 7});
    EXPECT_THAT(sent(), ElementsAre(0, 0, 2, 5, 0, 0, 0, 7));
}

TEST_F(ClippingPlanesTest, UpdatersHaveTheNamesOfTheirSlots) {
    using Updater =
        Mirk::RenderBasin::RenderParameter::TypedUpdater<Plane, Skua::FixedArray<double, 4> (*)(
                                                                    const Plane&)>;
    planes.initializePolyp(*polyp, context, *creator);
    std::vector<std::string> names;
    for (const ParameterPtr& parameter : parameters()) {
        const Keel::StrongPtr<Updater, Mirk::RenderBasin::Updater> updater(parameter->updater);
        ASSERT_TRUE(updater);
        names.push_back(updater->sourceName());
    }
    EXPECT_THAT(names, ElementsAre("clip0", "clip1"));
}

TEST_F(ClippingPlanesTest, RelativePlanesAreShiftedInDoublePrecision) {
    const Skua::PhysicalSpace::vector origin{1e9, 0, -2e9};
    EXPECT_TRUE(planes.initializeRelativePolyp(*polyp, context, origin));
    planes.clip0.set({}, Plane{{1, 0, 0}, 1e9 + 0.25});
    planes.clip1.set({}, Plane{{0, 0, 2}, -4e9 - 0.5});
    EXPECT_THAT(sent(), ElementsAre(1, 0, 0, 0.25, 0, 0, 2, -0.5));
    planes.clip0.set({}, Plane());
    EXPECT_THAT(sent(), ElementsAre(0, 0, 0, 0, 0, 0, 2, -0.5));
}

TEST_F(ClippingPlanesTest, RelativePlanesWithoutNormalCutNothingHoweverFarFromZero) {
    EXPECT_TRUE(planes.initializeRelativePolyp(*polyp, context, {1e12, -6.4e6, 1e9}));
    planes.clip0.set({}, Plane{{0, 0, 0}, 7});
    EXPECT_THAT(sent(), ElementsAre(0, 0, 0, 7, 0, 0, 0, 0));
}

TEST_F(ClippingPlanesTest, ParameterThatThereIsNoneOfIsLeftOut) {
    context.basin.log->failing = {"createRenderParameter ClipPlane0"};
    EXPECT_TRUE(planes.initializePolyp(*polyp, context, *creator));
    EXPECT_EQ(parameters().size(), 1U);
}

TEST_F(ClippingPlanesTest, TextStartsWithItsMarkerAndStandsUnderItsGuard) {
    const std::string text = ClippingPlanes::setClipDistances();
    EXPECT_THAT(text, StartsWith("#ifdef ZELK_DO_LINE_DIRECTIVE\n"
                                 "#line 3 \"reef/Polypia/ClippingPlanes.glsl\"\n"
                                 "#endif /* ZELK_DO_LINE_DIRECTIVE */\n"
                                 "#ifndef HAVE_zelk_setClipDistances\n"
                                 "#define HAVE_zelk_setClipDistances"));
    EXPECT_THAT(text, HasSubstr("uniform vec4 ClipPlane0;\n"));
    EXPECT_THAT(text, HasSubstr("uniform vec4 ClipPlane1;\n"));
    EXPECT_THAT(text, HasSubstr("out gl_PerVertex\n{\n    vec4 gl_Position;\n"
                                "    float gl_ClipDistance[];\n};\n"));
}

} // namespace
