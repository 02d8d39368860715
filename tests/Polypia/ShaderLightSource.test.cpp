#include <Polypia/ShaderLightSource.hpp>

#include "RecordingContext.hpp"
#include "renderCache.hpp"
#include "sceneQuestions.hpp"
#include "shownObject.hpp"
#include "toldLightObject.hpp"
#include "virtualSlot.hpp"

#include <Polypia/RenderTentacles.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/Vprintf.hpp>

#include <gmock/gmock.h>
#include <zlib.h>

#include <stdexcept>
#include <string>
#include <vector>

using Keel::StrongPtr;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Illumination = Mirk::RenderBasin::Illumination;
using Light = Mirk::ShaderLightSource;
using Program = StrongPtr<RecordingProgram, Mirk::Polyp::Tentacle>;
using SourcePtr = Mirk::RenderNamespace::Lighting::SourcePtr;
using Triple = ToldLightObject::Triple;

/// Is a light, but brings no source.
class DarkLight : public Mirk::VLightSource {
public:
    explicit DarkLight(const std::string& objectName)
        : VObject(objectName, 4, {}), VLightSource(objectName, 4, {}) {}
    using RenderAble::environment_render;
    bool environment_render(Mirk::VRenderContext&) const override { return true; }
};

/// Fails where it is asked for its light.
class FailingLight : public ToldLightObject {
public:
    FailingLight(const std::string& objectName, bool throwsException)
        : VObject(objectName, 0, {}),
          ToldLightObject(objectName),
          _throwsException(throwsException) {}
    void illuminate(const Mirk::VRenderContext& context) const override {
        ToldLightObject::illuminate(context);
        if (_throwsException) throw std::runtime_error("planted");
        throw 7;
    }

private:
    const bool _throwsException;
};

class ShaderLightSource : public testing::Test {
protected:
    using CreatorPtr = StrongPtr<TestCreator, Mirk::PolypCreatorBase::ReferenceRoot>;
    using PolypPtr = Mirk::PolypPtr;

    ~ShaderLightSource() override { Mirk::VActionNotifier::clear(); }

    ToldLightObjectPtr add(const std::string& name) {
        const ToldLightObjectPtr added = toldLightObject(name);
        objects.insert(0, added);
        return added;
    }
    bool request(const ToldLightObjectPtr& updated) const {
        Mirk::VRequest newRequest(context.pool);
        return newRequest.process(*updated, 1.0);
    }
    std::vector<SourcePtr> lights() const {
        std::vector<SourcePtr> live;
        for (const auto& entry : *seagrass) live.emplace_back(entry);
        return live;
    }
    CreatorPtr creator() {
        const CreatorPtr made(new TestCreator(*seagrass, {}, plan));
        made->rejuvenate();
        return made;
    }
    static Program program() {
        return Program(new RecordingProgram(std::make_shared<CallLog>(), "p"));
    }

    StrongPtr<Mirk::Seagrass> seagrass{new Mirk::Seagrass(1000000, "test")};
    RecordingContext context{seagrass};
    Mirk::ObjectSelection objects;
    TestInitializer::Plan plan;
    ToldLightObjectPtr light = add("light");
};

// ---------------------------------------------------------------------------------------------
// The light

TEST_F(ShaderLightSource, IsALightOfTheSceneWithItsOperationsInOrder) {
    static_assert(std::is_base_of_v<Mirk::VEnvironmentRenderObject, Mirk::VLightSource>);
    static_assert(std::is_base_of_v<Mirk::VLightSource, Light>);
    static_assert(std::is_base_of_v<Mirk::RenderNamespace::LightSource, Light::MyLightSource>);
    static_assert(std::is_base_of_v<Mirk::VStateCreatorBase::State, Light::LightState>);
    static_assert(std::is_abstract_v<Light>);
    const std::vector slots{virtualSlot(&Light::getShaderCode), virtualSlot(&Light::updateLight),
                            virtualSlot(&Light::updateLightAtRendering)};
    EXPECT_EQ(slots, slotsFrom(slots.front(), 3));
    const StrongPtr<DarkLight, Mirk::VManagedObjectBase> dark(new DarkLight("dark"));
    EXPECT_EQ(dark->Name(), "dark");
    EXPECT_EQ(dark->priority, 4);
}

TEST_F(ShaderLightSource, SourceTellsTheCodeOfItsOwner) {
    EXPECT_EQ(light->source(context.pool)->getLightFunction(), toldLightCode);
    light->code = "other";
    EXPECT_EQ(light->source(context.pool)->getLightFunction(), "other");
}

TEST_F(ShaderLightSource, SourceOfADeadOwnerTellsAStandBy) {
    const auto source = light->source(context.pool);
    light = {};
    const std::string text = source->getLightFunction();
    EXPECT_EQ(text, "\n\nLightAtVertex getLight_$$(vec4 vertex)\n{\nLightAtVertex retval;\n\n"
                    "\tretval.light_incidence    = vec3(0,0,0);\n\treturn retval;\n}\n\n");
    EXPECT_EQ(text.size(), 127U);
    EXPECT_EQ(
        ::crc32(0, reinterpret_cast<const Bytef*>(text.data()), static_cast<uInt>(text.size())),
        0x7d777c95U);
}

TEST_F(ShaderLightSource, EachContextHasItsOwnSource) {
    const StrongPtr<Mirk::Seagrass> otherSeagrass(new Mirk::Seagrass(1000, "other"));
    const RecordingContext other(otherSeagrass);
    context.setLightSources(objects);
    other.setLightSources(objects);
    ASSERT_EQ(seagrass->size(), 1U);
    ASSERT_EQ(otherSeagrass->size(), 1U);
    EXPECT_NE(*seagrass->begin(), *otherSeagrass->begin());
    EXPECT_EQ(lights().front(), light->source(context.pool));
    EXPECT_EQ(light->source(context.pool), light->source(context.pool));
}

TEST_F(ShaderLightSource, DoesNothingInADeadPool) {
    context.pool = {};
    light->illuminate(context);
    EXPECT_THAT(*seagrass, IsEmpty());
    EXPECT_TRUE(light->environment_render(context)) << "no error of rendering";
    Mirk::VRequest everywhere({});
    EXPECT_TRUE(light->update(everywhere, 1.0));
}

TEST_F(ShaderLightSource, RequestFillsTheUniformsOfItsPool) {
    light->brightness.set(context.pool, 0.5);
    EXPECT_TRUE(request(light));
    const auto source = light->source(context.pool);
    EXPECT_EQ(std::get<Triple>(source->at("uLight$$Intensity")), (Triple{0.5, 0.5, 0.5}));
    EXPECT_THAT(*light->source(Mirk::ValuePoolPtr(new Mirk::ValuePool)), IsEmpty());
}

TEST_F(ShaderLightSource, WhatIsSetWhileRenderingMakesNoShaderDue) {
    light->updating = [](auto& uniforms, Mirk::VRequest&) { uniforms.clear(); };
    light->rendering = [](auto& uniforms, Mirk::VRenderContext&) { uniforms["frame"] = 1; };
    request(light);
    context.setLightSources(objects);
    const CreatorPtr made = creator();
    for (const double brightness : {0.5, 0.25, 0.125}) {
        light->environment_render(context);
        EXPECT_TRUE(light->source(context.pool)->contains("frame"));
        light->brightness.set(context.pool, brightness);
        EXPECT_TRUE(request(light));
        context.setLightSources(objects);
        EXPECT_TRUE(context.hasValidLighting(*made)) << brightness;
    }
}

TEST_F(ShaderLightSource, NameThatOnlyRenderingSetsMakesNoShaderDueAtTheNextRequest) {
    light->rendering = [](auto& uniforms, Mirk::VRenderContext&) { uniforms["frame$$"] = 1; };
    request(light);
    context.setLightSources(objects);
    light->environment_render(context);
    const CreatorPtr made = creator();
    for (const double brightness : {0.5, 0.25}) {
        light->brightness.set(context.pool, brightness);
        EXPECT_TRUE(request(light));
        context.setLightSources(objects);
        EXPECT_TRUE(context.hasValidLighting(*made)) << brightness;
        light->environment_render(context);
    }
}

TEST_F(ShaderLightSource, ChangeOfFormWhoseCodeFailedMakesShadersDueAtTheNextRequest) {
    class Failing : public ToldLightObject {
    public:
        explicit Failing(const std::string& objectName)
            : VObject(objectName, 0, {}), ToldLightObject(objectName) {}
        std::string getShaderCode() const override {
            if (fails) throw std::runtime_error("planted");
            return code;
        }
        bool fails = false;
    };
    Failing* const failing = new Failing("failing");
    const ToldLightObjectPtr held(failing);
    objects.insert(0, held);
    request(held);
    context.setLightSources(objects);
    const CreatorPtr made = creator();
    failing->updating = [](auto& uniforms, Mirk::VRequest&) { uniforms["more$$"] = 1; };
    failing->brightness.set(context.pool, 0.5);
    failing->fails = true;
    testing::internal::CaptureStdout();
    request(held);
    testing::internal::GetCapturedStdout();
    EXPECT_FALSE(held->source(context.pool)->contains("more$$")) << "as it was before";
    failing->fails = false;
    failing->brightness.set(context.pool, 0.25);
    request(held);
    context.setLightSources(objects);
    EXPECT_TRUE(held->source(context.pool)->contains("more$$"));
    EXPECT_FALSE(context.hasValidLighting(*made));
}

TEST_F(ShaderLightSource, MayAskForItsLightWhileRendering) {
    request(light);
    context.setLightSources(objects);
    const Program merging = program();
    light->rendering = [&](auto& uniforms, Mirk::VRenderContext&) {
        uniforms["frame$$"] = 1;
        EXPECT_EQ(&uniforms, light->source(context.pool).get());
        EXPECT_TRUE(light->source(context.pool)->copyVariables().contains("frame$$"));
        context.mergeIlluminationUniforms(*merging); // as drawing for a pick does
    };
    EXPECT_TRUE(light->environment_render(context));
    EXPECT_TRUE(merging->contains("frame0"));
}

TEST_F(ShaderLightSource, UpdateWorksOnACopyUntilItIsDone) {
    request(light);
    const auto source = light->source(context.pool);
    light->updating = [&](auto& uniforms, Mirk::VRequest&) {
        EXPECT_EQ(uniforms.size(), 3U) << "what was there before";
        uniforms["more"] = 1;
        EXPECT_FALSE(source->contains("more"));
    };
    light->brightness.set(context.pool, 0.5);
    request(light);
    EXPECT_TRUE(source->contains("more"));
    light->updating = [&](auto& uniforms, Mirk::VRequest&) {
        uniforms["never"] = 1;
        throw std::runtime_error("planted");
    };
    light->brightness.set(context.pool, 0.25);
    EXPECT_FALSE(request(light));
    EXPECT_FALSE(source->contains("never"));
}

TEST_F(ShaderLightSource, NewSourceIsYoung) {
    const CreatorPtr made = creator();
    EXPECT_GT(light->source(context.pool)->age(), made->age());
}

TEST_F(ShaderLightSource, OtherValuesMakeNoShadersDue) {
    request(light);
    context.setLightSources(objects);
    const CreatorPtr made = creator();
    light->brightness.set(context.pool, 0.5);
    request(light);
    EXPECT_FALSE(context.lightingHasChanged(*made));
    const Program merged = program();
    context.mergeIlluminationUniforms(*merged);
    EXPECT_EQ(std::get<Triple>(merged->at("uLight0Intensity")), (Triple{0.5, 0.5, 0.5}));
}

TEST_F(ShaderLightSource, OtherCodeAndOtherUniformsMakeShadersDue) {
    request(light);
    context.setLightSources(objects);
    double value = 1.0;
    const auto isDueAfter = [&](const std::function<void()>& change) {
        const CreatorPtr made = creator();
        change();
        light->brightness.set(context.pool, value += 1.0);
        request(light);
        return context.lightingHasChanged(*made);
    };
    EXPECT_TRUE(isDueAfter([&] { light->code += "\n"; }));
    EXPECT_FALSE(isDueAfter([] {}));
    const auto give = [&](const auto& number) {
        light->updating = [number](auto& uniforms, Mirk::VRequest&) { uniforms["more"] = number; };
    };
    EXPECT_TRUE(isDueAfter([&] { give(1); }));
    EXPECT_FALSE(isDueAfter([&] { give(2); }));
    EXPECT_TRUE(isDueAfter([&] { give(2.0F); }));
    EXPECT_TRUE(isDueAfter(
        [&] { light->updating = [](auto& uniforms, Mirk::VRequest&) { uniforms.clear(); }; }));
}

TEST_F(ShaderLightSource, RenderingSetsWhatDependsOnTheFrame) {
    const auto source = light->source(context.pool);
    EXPECT_TRUE(light->environment_render(context)) << "without an operation of its own";
    const auto age = source->age();
    int calls = 0;
    light->rendering = [&](auto& uniforms, Mirk::VRenderContext& given) {
        EXPECT_EQ(&given, &context);
        EXPECT_EQ(&uniforms, &static_cast<const Mirk::RenderNamespace::ProgramVariables&>(*source));
        uniforms["frame$$"] = ++calls;
    };
    EXPECT_TRUE(light->environment_render(context));
    EXPECT_TRUE(light->environment_render(context));
    EXPECT_EQ(std::get<int>(source->at("frame$$")), 2);
    EXPECT_EQ(source->age(), age);
    request(light);
    EXPECT_EQ(std::get<int>(source->at("frame$$")), 2) << "an update leaves it";
    EXPECT_THAT(context.basin.log->calls, IsEmpty()) << "nothing is drawn";
}

TEST_F(ShaderLightSource, WhatRenderingThrowsIsAmongTheFailuresWithTheNameOfTheLightAndTheReason) {
    struct Case {
        std::function<void()> thrower;
        const char* description;
    };
    const std::vector<Case> cases{
        {[] { throw std::runtime_error("planted"); },
         "the variables of a light that depend on the frame: planted"},
        {[] { throw 7; },
         "the variables of a light that depend on the frame: an exception of an unknown kind"},
    };
    for (const Case& each : cases) {
        light->rendering = [&](auto&, Mirk::VRenderContext&) { each.thrower(); };
        testing::internal::CaptureStdout();
        light->safe_render(context, 0.0, -1.0);
        testing::internal::GetCapturedStdout();
        ASSERT_EQ(context.failures.size(), 1U);
        EXPECT_EQ(context.failures[0].first, "light");
        EXPECT_THAT(context.failures[0].second,
                    HasSubstr(std::string("(") + each.description + ") at "));
        context.failures.clear();
    }
    light->rendering = {};
    EXPECT_TRUE(light->safe_render(context, 0.0, -1.0)) << "the light is free for the next frame";
}

TEST_F(ShaderLightSource, RenderExceptionWhileRenderingStaysWhatItIs) {
    struct Special : Mirk::RenderException {
        using RenderException::RenderException;
        std::string GLdescription() const override { return "in words"; }
    };
    light->rendering = [](auto&, Mirk::VRenderContext&) { throw Special(0x502, "draw", "f", 1); };
    try {
        light->environment_render(context);
        ADD_FAILURE() << "nothing thrown";
    } catch (const Special& exception) {
        EXPECT_EQ(exception.str(), "OpenGL Error 502(in words) at f:1 [draw]");
    }
}

// ---------------------------------------------------------------------------------------------
// The lights of a context

TEST_F(ShaderLightSource, InvisibleLightIsNotInTheSet) {
    const ToldLightObjectPtr second = add("second");
    const Mirk::ValuePoolPtr other(new Mirk::ValuePool);
    light->setVisible(context.pool, false);
    second->setVisible(other, false);
    context.setLightSources(objects);
    EXPECT_THAT(lights(), ElementsAre(second->source(context.pool)));
    second->active = false;
    context.setLightSources(objects);
    EXPECT_THAT(lights(), IsEmpty());
}

TEST_F(ShaderLightSource, LightsOfAllLayersAreInTheSetInTheOrderOfTheirMaking) {
    const auto first = light->source(context.pool);
    const ToldLightObjectPtr second = toldLightObject("second");
    objects.insert(-100, second);
    objects.insert(50, shown("no light"));
    context.setLightSources(objects);
    EXPECT_THAT(lights(), ElementsAre(first, second->source(context.pool)));
}

TEST_F(ShaderLightSource, DeadObjectIsPassedOver) {
    add("second");
    context.setLightSources(objects);
    EXPECT_EQ(seagrass->size(), 1U);
}

TEST_F(ShaderLightSource, RemovedObjectTakesItsSourceWithIt) {
    context.setLightSources(objects);
    light = {};
    ASSERT_EQ(seagrass->size(), 1U);
    EXPECT_FALSE(*seagrass->begin());
    context.setLightSources(objects);
    EXPECT_THAT(*seagrass, IsEmpty());
}

TEST_F(ShaderLightSource, SameLightsGetANewStampAndNoOtherComposition) {
    add("dead at once");
    context.setLightSources(objects);
    const CreatorPtr made = creator();
    for (int frame = 0; frame < 100; ++frame) {
        const auto stamp = seagrass->LightingStamp;
        context.setLightSources(objects);
        EXPECT_GT(seagrass->LightingStamp, stamp);
    }
    EXPECT_TRUE(context.hasValidLighting(*made));
}

TEST_F(ShaderLightSource, HidingShowingSwappingAndRemovingAreNoticedOnce) {
    ToldLightObjectPtr second = add("second"), third = add("third");
    third->setVisible({}, false);
    context.setLightSources(objects);
    const auto rebuildsAfter = [&](const std::function<void()>& change) {
        const CreatorPtr made = creator();
        change();
        int rebuilds = 0;
        for (int frame = 0; frame < 3; ++frame) {
            context.setLightSources(objects);
            if (context.hasValidLighting(*made)) continue;
            made->rejuvenate();
            ++rebuilds;
        }
        return rebuilds;
    };
    EXPECT_EQ(rebuildsAfter([] {}), 0);
    EXPECT_EQ(rebuildsAfter([&] { second->setVisible({}, false); }), 1);
    EXPECT_EQ(rebuildsAfter([&] { second->setVisible({}, true); }), 1);
    EXPECT_EQ(rebuildsAfter([&] {
                  light->setVisible({}, false);
                  third->setVisible({}, true);
              }),
              1);
    EXPECT_EQ(rebuildsAfter([&] {
                  third->setVisible({}, false);
                  light->setVisible({}, true);
              }),
              1);
    EXPECT_EQ(rebuildsAfter([&] { second = {}; }), 1);
}

TEST_F(ShaderLightSource, WithoutSeagrassThereAreNoLights) {
    const RecordingContext alone;
    alone.setLightSources(objects);
    alone.enableLightSource(toldLight());
    EXPECT_EQ(light->source(context.pool)->age() > 0, true);
    seagrass = {};
    context.setLightSources(objects);
    context.enableLightSource(toldLight());
    EXPECT_EQ(context.getSeagrass(), nullptr);
}

TEST_F(ShaderLightSource, LightThatFailsIsToldAndTheNextOneFollows) {
    const auto add = [&](const char* name, bool throwsException) {
        const ToldLightObjectPtr failing(new FailingLight(name, throwsException));
        objects.insert(-1, failing);
        return failing;
    };
    const auto failing = add("failing", true), other = add("other", false);
    testing::internal::CaptureStdout();
    context.setLightSources(objects);
    EXPECT_EQ(testing::internal::GetCapturedStdout(),
              "VRenderContext::setLightSources - [failing]: planted\n"
              "VRenderContext::setLightSources - [other]: unknown exception\n");
    EXPECT_EQ(seagrass->size(), 3U);
}

TEST_F(ShaderLightSource, ActiveLightsAreCountedByTheirClassAndVisibility) {
    EXPECT_EQ(objects.getNumberOfActiveLightSources(context), 1);
    const ToldLightObjectPtr second = add("second");
    const StrongPtr<DarkLight, Mirk::VManagedObjectBase> dark(new DarkLight("dark"));
    objects.insert(7, dark);
    const ShownPtr object = shown("no light");
    objects.insert(7, object);
    EXPECT_EQ(objects.getNumberOfActiveLightSources(context), 3);
    second->setVisible(context.pool, false);
    EXPECT_EQ(objects.getNumberOfActiveLightSources(context), 2);
    EXPECT_EQ(objects.getNumberOfActiveLightSources(RecordingContext()), 3) << "another pool";
    light = {};
    EXPECT_EQ(objects.getNumberOfActiveLightSources(context), 1);
    EXPECT_EQ(Mirk::ObjectSelection().getNumberOfActiveLightSources(context), 0);
}

TEST_F(ShaderLightSource, LightsOfAFrameAreCountedAndLiveUntilItsEnd) {
    ToldLightObjectPtr second = add("second");
    {
        const Mirk::VRenderContext::FrameLights frame(context, objects);
        EXPECT_EQ(context.numberOfLightSources, 2);
        light = {};
        EXPECT_TRUE(*seagrass->begin());
        EXPECT_EQ(seagrass->size(), 2U);
        EXPECT_EQ(lights().front()->getLightFunction(), toldLightCode) << "its owner lives as well";
    }
    EXPECT_FALSE(*seagrass->begin());
    const Mirk::VRenderContext::FrameLights held(context);
    EXPECT_THAT(lights(), ElementsAre(second->source(context.pool)));
    second = {};
    EXPECT_EQ(lights().front()->getLightFunction(), toldLightCode) << "its owner lives as well";
}

TEST_F(ShaderLightSource, OtherNumberOfLightsMakesShadersDueThoughTheSetIsTheSame) {
    using Frame = Mirk::VRenderContext::FrameLights;
    { const Frame frame(context, objects); }
    const CreatorPtr made = creator();
    { const Frame frame(context, objects); }
    EXPECT_TRUE(context.hasValidLighting(*made));
    const StrongPtr<DarkLight, Mirk::VManagedObjectBase> dark(new DarkLight("dark"));
    objects.insert(7, dark);
    const Frame frame(context, objects);
    EXPECT_EQ(context.numberOfLightSources, 2);
    EXPECT_EQ(seagrass->size(), 1U);
    EXPECT_FALSE(context.hasValidLighting(*made));
}

TEST_F(ShaderLightSource, FrameWithoutSeagrassCountsItsLights) {
    seagrass = {};
    const Mirk::VRenderContext::FrameLights frame(context, objects);
    EXPECT_EQ(context.numberOfLightSources, 1);
    const Mirk::VRenderContext::FrameLights held(context);
}

// ---------------------------------------------------------------------------------------------
// The tentacle

TEST_F(ShaderLightSource, IlluminationOfAPolypIsFoundAmongItsParameters) {
    const PolypPtr polyp(new Mirk::Polyp({}));
    EXPECT_FALSE(Illumination::get(*polyp));
    const Mirk::RenderBasin::IlluminationPtr illumination(new Illumination(seagrass));
    polyp->insertTentacle(2048, illumination);
    EXPECT_FALSE(Illumination::get(*polyp)) << "beyond the range";
    polyp->insert(Mirk::Polyp::TentaclePtr(
        new RecordingFlag(std::make_shared<CallLog>(), "another parameter")));
    polyp->insert(illumination);
    EXPECT_EQ(Illumination::get(*polyp), illumination);
}

TEST_F(ShaderLightSource, IlluminationBringsTheUniformsIntoTheProgram) {
    request(light);
    context.setLightSources(objects);
    const PolypPtr polyp(new Mirk::Polyp({}));
    const Program merged = program();
    EXPECT_TRUE(Illumination::mergeIlluminationUniformsIntoProgram(*merged, *polyp));
    EXPECT_THAT(*merged, IsEmpty()) << "without the tentacle";
    const Mirk::RenderBasin::IlluminationPtr illumination(new Illumination(seagrass));
    polyp->insert(illumination);
    EXPECT_TRUE(Illumination::mergeIlluminationUniformsIntoProgram(*merged, *polyp));
    EXPECT_EQ(merged->size(), 3U);
    EXPECT_TRUE(merged->contains("uLight0Incidence"));
    merged->clear();
    EXPECT_TRUE(illumination->mergeIlluminationUniformsIntoProgram(*merged));
    EXPECT_EQ(merged->size(), 3U);
    seagrass = {};
    merged->clear();
    EXPECT_TRUE(illumination->mergeIlluminationUniformsIntoProgram(*merged));
    EXPECT_THAT(*merged, IsEmpty());
}

TEST_F(ShaderLightSource, UniformsFollowTheIndexOfTheirLight) {
    const ToldLightObjectPtr second = add("second");
    request(light);
    second->brightness.set({}, 0.25);
    request(second);
    const Program merged = program();
    const auto brightnessOf = [&](const std::string& name) {
        context.setLightSources(objects);
        context.mergeIlluminationUniforms(*merged);
        return merged->contains(name) ? std::get<Triple>(merged->at(name))[0] : -1.0;
    };
    EXPECT_EQ(brightnessOf("uLight0Intensity"), 1.0);
    EXPECT_EQ(brightnessOf("uLight1Intensity"), 0.25);
    light->setVisible({}, false);
    EXPECT_EQ(brightnessOf("uLight0Intensity"), 0.25);
    EXPECT_EQ(brightnessOf("uLight1Intensity"), -1.0);
}

} // namespace
