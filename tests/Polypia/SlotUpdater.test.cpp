#include <Polypia/SlotUpdater.hpp>

#include "RecordingContext.hpp"

#include <gmock/gmock.h>

#include <string>
#include <vector>

namespace {

using Basin = Mirk::RenderBasin;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;
using testing::ElementsAre;

class Shape : public Mirk::VObject {
public:
    explicit Shape(const std::string& objectName) : VObject(objectName, 0, {}) {}

    Mirk::TypedSlot<double> radius{this, "radius", 2.5, 0};
    Mirk::VOutput<double> size{this, "size", 7.0};
};

class SlotUpdater : public testing::Test {
protected:
    SlotUpdater() { context.setNumberOfEyes(2); }

    using Recorder = Keel::StrongPtr<RecordingParameter, Mirk::Polyp::Tentacle>;

    Recorder parameter(const std::type_info& element, int components,
                       const Basin::UpdaterPtr& updater) {
        return Recorder(basin.createRenderParameter("Value", updater, element, components));
    }

    RecordingBasin basin;
    RecordingContext context;
    const Keel::StrongPtr<Shape, Mirk::VManagedObjectBase> shape{new Shape("shape")};
};

TEST_F(SlotUpdater, DeliversTheValueOfTheSlotInThePoolOfTheContext) {
    shape->radius->parameter()->Localize();
    shape->radius.set(context.pool, 4.0);
    const Recorder made = parameter(typeid(double), 1, Mirk::createSlotUpdater(shape->radius));
    EXPECT_TRUE(made->updateValue(context));
    EXPECT_THAT(made->values<double>(), ElementsAre(4.0));
    shape->radius.set(Keel::make<Mirk::ValuePool>(), 5.0);
    EXPECT_TRUE(made->updateValue(context));
    EXPECT_THAT(made->values<double>(), ElementsAre(4.0));
}

TEST_F(SlotUpdater, UnconnectedInputDeliversItsOwnValue) {
    const Recorder made = parameter(typeid(double), 1, Mirk::createSlotUpdater(shape->radius));
    EXPECT_TRUE(made->updateValue(context));
    EXPECT_THAT(made->values<double>(), ElementsAre(2.5));
}

TEST_F(SlotUpdater, FollowsAConnectionThatIsMadeLater) {
    const Keel::StrongPtr<Shape, Mirk::VManagedObjectBase> other(new Shape("other"));
    const Recorder made = parameter(typeid(double), 1, Mirk::createSlotUpdater(shape->radius));
    ASSERT_TRUE(made->updateValue(context));
    ASSERT_EQ(shape->attachParameter(other->size, shape->radius, ""), Mirk::Attached);
    EXPECT_TRUE(made->updateValue(context));
    EXPECT_THAT(made->values<double>(), ElementsAre(7.0));
}

TEST_F(SlotUpdater, TellsTheNameOfItsSource) {
    using Updater = Basin::RenderParameter::TypedUpdater<double, void>;
    const Keel::StrongPtr<Shape, Mirk::VManagedObjectBase> other(new Shape("other"));
    const Keel::StrongPtr<Updater, Basin::Updater> updater(new Updater(shape->radius));
    EXPECT_EQ(updater->sourceName(), "UnknownInput");
    shape->attachParameter(other->size, shape->radius, "");
    EXPECT_EQ(updater->sourceName(), "size");
}

TEST_F(SlotUpdater, ConvertsTheValue) {
    const auto made = parameter(typeid(double), 2,
                                Mirk::createSlotUpdater(shape->radius, [](const double& radius) {
                                    return Skua::FixedArray<double, 2>{radius, radius * radius};
                                }));
    EXPECT_TRUE(made->updateValue(context));
    EXPECT_THAT(made->values<double>(), ElementsAre(2.5, 6.25));
}

TEST_F(SlotUpdater, ConvertsTheValueByTheContext) {
    const auto made =
        parameter(typeid(FloatPoint), 2,
                  Mirk::createSlotUpdater(shape->radius, [](const double& radius,
                                                            Mirk::VRenderContext& frame) {
                      return std::vector<FloatPoint>(frame.EyeViews.size(),
                                                     FloatPoint{static_cast<float>(radius), 0, 0});
                  }));
    EXPECT_TRUE(made->updateValue(context));
    EXPECT_THAT(made->values<FloatPoint>(),
                ElementsAre(FloatPoint{2.5F, 0, 0}, FloatPoint{2.5F, 0, 0}));
}

TEST_F(SlotUpdater, WithoutSourceThereIsNothingToDeliverAndNoFailure) {
    using Updater = Basin::RenderParameter::TypedUpdater<double, void>;
    const Basin::UpdaterPtr updater(new Updater({}));
    EXPECT_TRUE(parameter(typeid(double), 1, updater)->updateValue(context));
}

TEST_F(SlotUpdater, ValueOfAnotherTypeIsAFailure) {
    using Updater = Basin::RenderParameter::TypedUpdater<int, void>;
    const Basin::UpdaterPtr updater(new Updater(shape->radius));
    EXPECT_FALSE(parameter(typeid(int), 1, updater)->updateValue(context));
}

TEST_F(SlotUpdater, ParameterThatRefusesTheValueIsAFailure) {
    const auto made = parameter(typeid(float), 3, Mirk::createSlotUpdater(shape->radius));
    EXPECT_FALSE(made->updateValue(context));
}

} // namespace
