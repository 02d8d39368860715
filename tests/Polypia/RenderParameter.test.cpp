#include <Polypia/RenderParameter.hpp>

#include "RecordingBasin.hpp"
#include "anyRenderContext.hpp"
#include "virtualSlot.hpp"

#include <gmock/gmock.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <string>
#include <type_traits>
#include <vector>

using Keel::StrongPtr;
using Mirk::LambdaRenderParameter;
using Mirk::Polyp;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using Basin = Mirk::RenderBasin;
using Undo = std::function<void(const Polyp&, bool&)>;
using Factory = std::function<Undo(const Polyp&, bool&)>;
using PlainUndo = std::function<void()>;
using PlainFactory = std::function<PlainUndo()>;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;

class RenderParameter : public testing::Test {
protected:
    using Recorder = StrongPtr<RecordingParameter, Polyp::Tentacle>;

    RenderParameter() : polyp(new Polyp(Keel::WeakPtr<Keel::Creature>())) {}

    Recorder parameter(const std::type_info& element, int components,
                       const Basin::UpdaterPtr& updater = {}) {
        return Recorder(basin.createRenderParameter("Value", updater, element, components));
    }

    RecordingBasin basin;
    const CallLogPtr log = basin.log;
    const StrongPtr<Polyp> polyp;
    const Polyp& aPolyp = *polyp;
};

/// Tells what it was called with.
class SpyUpdater : public Mirk::RenderBasin::Updater {
public:
    bool update(Mirk::VRenderContext& context, Basin::RenderParameter& parameter) override {
        EXPECT_EQ(&context, &anyRenderContext());
        given = &parameter;
        return answer;
    }
    bool answer = true;
    Basin::RenderParameter* given = nullptr;
};

TEST_F(RenderParameter, WithoutUpdaterIsUpToDate) {
    EXPECT_TRUE(parameter(typeid(float), 1)->updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, GivesTheAnswerOfItsUpdater) {
    static_assert(std::is_same_v<Basin::RenderParameter::Updater, Basin::Updater>);
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Basin::Updater>, Basin::Updater>);
    const StrongPtr<SpyUpdater, Basin::Updater> spy(new SpyUpdater);
    const Recorder made = parameter(typeid(float), 1, spy);
    EXPECT_TRUE(made->updateValue(anyRenderContext()));
    EXPECT_EQ(spy->given, made.get());
    spy->answer = false;
    EXPECT_FALSE(made->updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, UpdaterHasOneOperationAfterTheHookAndTheDestructors) {
    EXPECT_EQ(virtualSlot(&Basin::Updater::update), 3U);
    static_assert(std::is_abstract_v<Basin::Updater>);
}

TEST_F(RenderParameter, ExceptionFromAnUpdaterReachesTheCaller) {
    polyp->insert(
        parameter(typeid(int), 1, Basin::createRenderLambda([](Mirk::VRenderContext&) -> int {
                      throw std::out_of_range("no view");
                  })));
    EXPECT_THROW(polyp->updateValues(anyRenderContext()), std::out_of_range);
}

TEST_F(RenderParameter, UpdaterThatHasDiedLeavesItUpToDate) {
    const Recorder made = parameter(typeid(float), 1);
    {
        SpyUpdater mortal;
        mortal.answer = false;
        made->updater = Basin::UpdaterPtr(mortal);
        EXPECT_FALSE(made->updateValue(anyRenderContext()));
    }
    EXPECT_TRUE(made->updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, UpdaterThatFailsStopsTheUpdateOfThePolyp) {
    const StrongPtr<SpyUpdater, Basin::Updater> spy(new SpyUpdater), next(new SpyUpdater);
    polyp->insert(parameter(typeid(float), 1, spy));
    polyp->insert(parameter(typeid(float), 1, next));
    spy->answer = false;
    EXPECT_FALSE(polyp->updateValues(anyRenderContext()));
    EXPECT_EQ(next->given, nullptr);
}

// ---------------------------------------------------------------------------- Lambdas as updaters

TEST_F(RenderParameter, LambdaDeliversEveryKindOfValueWithItsElementAndNumber) {
    const auto deliver = [&](const auto& value, const std::type_info& element, int components) {
        const Recorder made = parameter(element, components,
                                        Basin::createRenderLambda([&](Mirk::VRenderContext& given) {
                                            EXPECT_EQ(&given, &anyRenderContext());
                                            return value;
                                        }));
        EXPECT_TRUE(made->updateValue(anyRenderContext())) << element.name() << components;
        return made;
    };
    EXPECT_THAT(deliver(7, typeid(int), 1)->values<int>(), ElementsAre(7));
    EXPECT_THAT(deliver(1.5F, typeid(float), 1)->values<float>(), ElementsAre(1.5F));
    EXPECT_THAT(deliver(2.5, typeid(double), 1)->values<double>(), ElementsAre(2.5));
    EXPECT_THAT(deliver(Skua::FixedArray<int, 2>{1, 2}, typeid(int), 2)->values<int>(),
                ElementsAre(1, 2));
    EXPECT_THAT(
        deliver(Skua::FixedArray<double, 4>{1, 2, 3, 4}, typeid(double), 4)->values<double>(),
        ElementsAre(1, 2, 3, 4));
    EXPECT_THAT(deliver(Skua::PhysicalSpace::point{1e7, 2, 3}, typeid(double), 3)->values<double>(),
                ElementsAre(1e7, 2, 3));
    EXPECT_THAT(deliver(Skua::rgba_float_t(1, 0, 0.5F, 1), typeid(float), 4)->values<float>(),
                ElementsAre(1, 0, 0.5F, 1));
    EXPECT_THAT(deliver(std::vector<FloatPoint>{{1, 2, 3}, {4, 5, 6}}, typeid(FloatPoint), 2)
                    ->values<FloatPoint>(),
                ElementsAre(FloatPoint{1, 2, 3}, FloatPoint{4, 5, 6}));
}

TEST_F(RenderParameter, LambdaOfAnotherTypeThanDeclaredIsRefused) {
    const auto lambda = Basin::createRenderLambda([](Mirk::VRenderContext&) { return 1.5; });
    EXPECT_FALSE(parameter(typeid(float), 1, lambda)->updateValue(anyRenderContext()));
    EXPECT_FALSE(parameter(typeid(double), 2, lambda)->updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, LambdaIsAskedEachTime) {
    int asked = 0;
    const Recorder made = parameter(
        typeid(int), 1, Basin::createRenderLambda([&](Mirk::VRenderContext&) { return ++asked; }));
    made->updateValue(anyRenderContext());
    made->updateValue(anyRenderContext());
    EXPECT_THAT(made->values<int>(), ElementsAre(2));
}

// ---------------------------------------------------------------------------- UniformParameter

TEST_F(RenderParameter, UniformStartsWithItsValueAndAWordOfOne) {
    const Basin::UniformParameter uniform("Radius", 2.5);
    EXPECT_EQ(uniform.name, "Radius");
    EXPECT_EQ(std::get<double>(uniform.value), 2.5);
    EXPECT_EQ(uniform.backendWord, 1U);
    static_assert(sizeof(uniform.backendWord) == 8);
    EXPECT_FALSE(uniform.updateFunction);
}

TEST_F(RenderParameter, UniformWithoutFunctionIsUpToDate) {
    EXPECT_TRUE(Basin::UniformParameter("Radius", 2.5).updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, UniformIsUpdatedByItsFunction) {
    bool answer = true;
    Basin::UniformParameter uniform(
        "Radius", 2.5, [&](Basin::UniformParameter::Variant& value, Mirk::VRenderContext& context) {
            EXPECT_EQ(&context, &anyRenderContext());
            value = std::get<double>(value) * 2;
            return answer;
        });
    EXPECT_TRUE(uniform.updateValue(anyRenderContext()));
    EXPECT_EQ(std::get<double>(uniform.value), 5.0);
    answer = false;
    EXPECT_FALSE(uniform.updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, UniformGoesToEveryProgramThatDeclaresIt) {
    const auto program = [&](const std::string& name, const std::set<std::string>& uniforms) {
        const StrongPtr<RecordingProgram, Polyp::Tentacle> made(new RecordingProgram(log, name));
        made->uniforms = uniforms;
        return made;
    };
    const auto first = program("first", {"Radius"}), second = program("second", {"Radius"}),
               other = program("other", {"Width"});
    polyp->insert(first, 0);
    polyp->insert(second, 1);
    polyp->insert(other, 2);
    polyp->insertTentacle(3, Polyp::TentaclePtr(new RecordingTentacle(log, "no program", 3)));
    polyp->insert(StrongPtr<Basin::UniformParameter, Polyp::Tentacle>(
        new Basin::UniformParameter("Radius", 2.5)));
    EXPECT_EQ(polyp->wave(~0U), 5);
    EXPECT_EQ(std::get<double>(first->at("Radius")), 2.5);
    EXPECT_EQ(std::get<double>(second->at("Radius")), 2.5);
    EXPECT_TRUE(other->empty());
}

// ---------------------------------------------------------------------------- Setup and cleanup

TEST_F(RenderParameter, LambdaStandsAmongTheParameters) {
    const auto made = LambdaRenderParameter(PlainFactory([] { return PlainUndo(); }));
    EXPECT_EQ(made->tentacleKey, 1024);
    EXPECT_EQ(made->activityMask, 0xFFFFFFFFU);
    EXPECT_EQ(made->parameterName(), "");
    const int value = 1;
    EXPECT_FALSE(made->setValue(&value, typeid(int), 1)) << "it has no value";
    EXPECT_TRUE(made->updateValue(anyRenderContext()));
}

TEST_F(RenderParameter, LambdaHoldsForTheRestOfTheWave) {
    polyp->insert(LambdaRenderParameter(Factory([&](const Polyp& given, bool& ok) -> Undo {
        EXPECT_EQ(&given, polyp.get());
        EXPECT_TRUE(ok);
        log->record("setup");
        return [&](const Polyp& again, bool& still) {
            EXPECT_EQ(&again, polyp.get());
            EXPECT_TRUE(still);
            log->record("cleanup");
        };
    })));
    polyp->insertTentacle(20480, Polyp::TentaclePtr(new RecordingTentacle(log, "p", 20480)));
    EXPECT_EQ(polyp->wave(~0U), 2);
    EXPECT_THAT(log->calls,
                ElementsAre("setup", "activate Tentacle p", "deactivate Tentacle p", "cleanup"));
}

TEST_F(RenderParameter, LambdaThatIsNotOkStopsTheWaveAndIsNotUndone) {
    int undone = 0;
    const auto token = std::make_shared<int>();
    polyp->insert(LambdaRenderParameter(Factory([&](const Polyp&, bool& ok) -> Undo {
        ok = false;
        return [&, token](const Polyp&, bool&) { ++undone; };
    })));
    polyp->insertTentacle(20480, Polyp::TentaclePtr(new RecordingTentacle(log, "p", 20480)));
    EXPECT_EQ(polyp->wave(~0U), 0);
    EXPECT_EQ(undone, 0);
    EXPECT_THAT(log->calls, IsEmpty());
    const long held = token.use_count();
    EXPECT_EQ(polyp->wave(~0U), 0);
    EXPECT_EQ(undone, 0);
    EXPECT_EQ(token.use_count(), held) << "stored, and replaced by the next wave";
}

TEST_F(RenderParameter, LambdaUndoneAfterAFailureIsTheLastOne) {
    std::string undone;
    bool fails = true;
    char name = 'a';
    const auto made = LambdaRenderParameter(Factory([&](const Polyp&, bool& ok) -> Undo {
        ok = !fails;
        return [&undone, mine = name++](const Polyp&, bool&) { undone += mine; };
    }));
    EXPECT_FALSE(made->activate(aPolyp));
    fails = false;
    EXPECT_TRUE(made->activate(aPolyp));
    EXPECT_TRUE(made->deactivate(aPolyp));
    EXPECT_EQ(undone, "b");
}

TEST_F(RenderParameter, LambdaGivesTheAnswerOfItsCleanup) {
    const auto made = LambdaRenderParameter(Factory(
        [](const Polyp&, bool&) -> Undo { return [](const Polyp&, bool& ok) { ok = false; }; }));
    EXPECT_TRUE(made->activate(aPolyp));
    EXPECT_FALSE(made->deactivate(aPolyp));
}

TEST_F(RenderParameter, LambdaWithoutCleanupHasNothingToUndo) {
    const auto made = LambdaRenderParameter(Factory([](const Polyp&, bool&) { return Undo(); }));
    EXPECT_TRUE(made->deactivate(aPolyp)) << "before the first wave";
    EXPECT_TRUE(made->activate(aPolyp));
    EXPECT_TRUE(made->deactivate(aPolyp));
}

TEST_F(RenderParameter, LambdaWithoutFactoryThrowsInTheWave) {
    EXPECT_THROW(LambdaRenderParameter(Factory())->activate(aPolyp), std::bad_function_call);
    EXPECT_THROW(LambdaRenderParameter(PlainFactory())->activate(aPolyp), std::bad_function_call);
}

TEST_F(RenderParameter, LambdaPassesExceptionsOn) {
    polyp->insertTentacle(0, Polyp::TentaclePtr(new RecordingTentacle(log, "a", 0)));
    polyp->insert(LambdaRenderParameter(
        Factory([](const Polyp&, bool&) -> Undo { throw std::out_of_range("setup"); })));
    EXPECT_THROW(polyp->wave(~0U), std::out_of_range);
    polyp->clear();
    log->take();
    polyp->insertTentacle(0, Polyp::TentaclePtr(new RecordingTentacle(log, "a", 0)));
    polyp->insert(LambdaRenderParameter(
        PlainFactory([] { return PlainUndo([] { throw std::out_of_range("cleanup"); }); })));
    EXPECT_THROW(polyp->wave(~0U), std::out_of_range);
    EXPECT_THAT(log->calls, ElementsAre("activate Tentacle a", "deactivate Tentacle a"));
}

TEST_F(RenderParameter, PlainLambdaIsSetUpAndUndoneAndAlwaysOk) {
    std::string order;
    const auto made = LambdaRenderParameter([&]() -> PlainUndo {
        order += "setup ";
        return [&] { order += "cleanup "; };
    });
    for (int wave = 0; wave < 2; ++wave) {
        EXPECT_TRUE(made->activate(aPolyp));
        EXPECT_TRUE(made->deactivate(aPolyp));
    }
    EXPECT_EQ(order, "setup cleanup setup cleanup ");
}

TEST_F(RenderParameter, PlainLambdaWithoutCleanupHasNothingToUndo) {
    const auto made = LambdaRenderParameter(PlainFactory([] { return PlainUndo(); }));
    EXPECT_TRUE(made->activate(aPolyp));
    EXPECT_TRUE(made->deactivate(aPolyp));
}

} // namespace
