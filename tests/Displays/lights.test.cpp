// Lights and what surfaces ask of them, without a driver.

#include "displayFixture.hpp"

#include <Displays/Displays.hpp>
#include <Polypia/ObjectSelection.hpp>

#include <cmath>
#include <functional>
#include <limits>
#include <numbers>
#include <set>
#include <string>
#include <tuple>

using namespace Mirk;
using testing::HasSubstr;
using testing::Not;

namespace {

using Triple = Skua::FixedArray<double, 3>;
using Variables = RenderNamespace::ProgramVariables;

class LightsTest : public DisplayTest {
protected:
    /// A frame of one object, with the lights that there are.
    bool drawLit(RenderAble& object) {
        ObjectSelection selection;
        for (const RenderAblePtr& light : lights) {
            VRequest lightRequest(context.pool);
            lightRequest.process(*light, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(light));
        }
        const VRenderContext::FrameLights frame(context, selection);
        for (const RenderAblePtr& light : lights) light->environment_render(context);
        return draw(object);
    }
    long compilationsOfDraw(RenderAble& object) {
        context.basin.log->take();
        EXPECT_TRUE(drawLit(object));
        const auto calls = context.basin.log->take();
        return std::count_if(calls.begin(), calls.end(), [](const std::string& call) {
            return call.starts_with("createProgram");
        });
    }
    template<class Light>
    static DisplayPtr<Light> make() {
        return DisplayPtr<Light>(new Light("light"));
    }
    template<class Light>
    DisplayPtr<Light> add() {
        const DisplayPtr<Light> light = make<Light>();
        lights.push_back(light);
        return light;
    }
    /// What the light tells shaders after a request.
    template<class Light>
    Variables uniformsOf(Light& light) {
        Variables uniforms;
        VRequest lightRequest(context.pool);
        light.updateLight(uniforms, lightRequest);
        return uniforms;
    }
    template<class T>
    static T get(const Variables& uniforms, const std::string& name) {
        return std::get<T>(uniforms.at("Light$$" + name));
    }
    /// What shaders make of that at a distance.
    template<class Light>
    Triple arrivingAt(double distance, Light& light) {
        const Variables uniforms = uniformsOf(light);
        const auto fallOff = get<Triple>(uniforms, "FallOff");
        const double inUnits = distance * get<double>(uniforms, "PerUnit");
        const double divisor = fallOff[0] + fallOff[1] * inUnits + fallOff[2] * inUnits * inUnits;
        Triple result = get<Triple>(uniforms, "Intensity");
        for (double& each : result) each /= divisor;
        return result;
    }
    static TriangleMesh oneTriangle() { return mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}); }
    std::string fragmentText() const { return program().fragment.code.front(); }

    using RenderAblePtr = Keel::StrongPtr<RenderAble, VManagedObjectBase>;
    std::vector<RenderAblePtr> lights;
    static constexpr double nan = std::numeric_limits<double>::quiet_NaN();
    static constexpr double infinity = std::numeric_limits<double>::infinity();
};

TEST_F(LightsTest, JoinTheDefaultSceneLikeOtherObjects) {
    const VScenePtr scene = VScene::DefaultScene();
    for (const auto& [name, make] : std::map<std::string, std::function<RenderAble*()>>{
             {"ambient", [] { return new AmbientLight("ambient"); }},
             {"head", [] { return new Headlight("head"); }},
             {"directional", [] { return new DirectionalLight("directional"); }},
             {"positional", [] { return new PositionalLight("positional"); }},
             {"spot", [] { return new SpotLight("spot"); }}}) {
        const RenderAblePtr light(make());
        EXPECT_TRUE(scene->findInput(name + ".renderable")) << name;
        EXPECT_TRUE(request(*light));
        EXPECT_FALSE(light->getBoundingBall(context.pool));
        EXPECT_TRUE(light->environment_render(context));
    }
}

TEST_F(LightsTest, HaveFunctionsOfTheSignatureThatIsAskedFor) {
    add<AmbientLight>();
    add<Headlight>();
    add<DirectionalLight>();
    add<PositionalLight>();
    add<SpotLight>();
    for (const RenderAblePtr& each : lights) {
        const DisplayPtr<ShaderLightSource> light(each);
        EXPECT_THAT(light->getShaderCode(),
                    HasSubstr("void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 "
                              "intensity, out vec3 specular_intensity)"));
    }
}

TEST_F(LightsTest, SendColourTimesIntensityAndOfThatTheSpecularPart) {
    const auto light = make<DirectionalLight>();
    light->color().set({}, {1.0F, 0.5F, 0.25F, 0.0F});
    light->intensity().set({}, 2.0);
    light->specular().set({}, 0.5);
    const Variables uniforms = uniformsOf(*light);
    EXPECT_EQ(get<Triple>(uniforms, "Intensity"), (Triple{2, 1, 0.5}));
    EXPECT_EQ(get<Triple>(uniforms, "Specular"), (Triple{1, 0.5, 0.25}));
}

TEST_F(LightsTest, OfNumbersBelowZeroOrNoneAreDark) {
    const auto light = make<DirectionalLight>();
    for (const double strange : {-1.0, -infinity, nan}) {
        light->intensity().set({}, strange);
        EXPECT_EQ(get<Triple>(uniformsOf(*light), "Intensity"), (Triple{0, 0, 0})) << strange;
        light->intensity().set({}, 1.0);
        light->specular().set({}, strange);
        EXPECT_EQ(get<Triple>(uniformsOf(*light), "Specular"), (Triple{0, 0, 0})) << strange;
        light->specular().set({}, 1.0);
        const auto component = static_cast<float>(strange);
        light->color().set({}, {component, 1.0F, component, 1.0F});
        EXPECT_EQ(get<Triple>(uniformsOf(*light), "Intensity"), (Triple{0, 1, 0})) << strange;
        light->color().set({}, {1.0F, 1.0F, 1.0F, 1.0F});
    }
    light->intensity().set({}, infinity);
    EXPECT_TRUE(std::isfinite(static_cast<float>(get<Triple>(uniformsOf(*light), "Intensity")[0])));
}

TEST_F(LightsTest, DirectionsOfAnyLengthAreMadeToHaveLengthOne) {
    const auto light = make<DirectionalLight>();
    for (const double length : {1e-200, 1.0, 1e200}) {
        light->direction().set({}, {3 * length, 0, -4 * length});
        const auto sent = get<Triple>(uniformsOf(*light), "Direction");
        EXPECT_NEAR(sent[0], 0.6, 1e-15);
        EXPECT_NEAR(sent[2], -0.8, 1e-15);
    }
}

TEST_F(LightsTest, WithoutADirectionThereIsNoLight) {
    const auto directional = make<DirectionalLight>();
    const auto spot = make<SpotLight>();
    for (const vector& none : {vector{0, 0, 0}, vector{0, nan, 1}, vector{infinity, 0, 0}}) {
        directional->direction().set({}, none);
        spot->direction().set({}, none);
        for (const Variables& uniforms : {uniformsOf(*directional), uniformsOf(*spot)}) {
            EXPECT_EQ(get<Triple>(uniforms, "Intensity"), (Triple{0, 0, 0}));
            EXPECT_EQ(get<Triple>(uniforms, "Specular"), (Triple{0, 0, 0}));
            EXPECT_EQ(get<Triple>(uniforms, "Direction"), (Triple{0, 0, -1}));
        }
    }
}

TEST_F(LightsTest, PlacesAreSentAsPointsWithAllDigits) {
    const auto positional = make<PositionalLight>();
    const auto spot = make<SpotLight>();
    const point place{6.4e6 + 0.25, -1e12 - 0.5, 3};
    positional->position().set({}, place);
    spot->position().set({}, place);
    EXPECT_EQ(get<point>(uniformsOf(*positional), "Position"), place);
    EXPECT_EQ(get<point>(uniformsOf(*spot), "Position"), place);
    positional->position().set({}, {0, infinity, 0});
    EXPECT_EQ(get<Triple>(uniformsOf(*positional), "Intensity"), (Triple{0, 0, 0}));
    EXPECT_EQ(get<point>(uniformsOf(*positional), "Position"), point());
}

TEST_F(LightsTest, FallOffIsTheThreeFactorsOrNone) {
    const auto light = make<PositionalLight>();
    const auto expectDivisor = [&](double atOne, double atTwo) {
        EXPECT_NEAR(arrivingAt(1, *light)[0] * atOne, 1.0, 1e-14);
        EXPECT_NEAR(arrivingAt(2, *light)[0] * atTwo, 1.0, 1e-14);
    };
    expectDivisor(1, 1);
    light->constant().set({}, 0.5);
    light->linear().set({}, 0.25);
    light->quadratic().set({}, 0.125);
    expectDivisor(0.875, 1.5);
    light->constant().set({}, -1);
    light->linear().set({}, nan);
    expectDivisor(0.125, 0.5);
    light->quadratic().set({}, 0);
    expectDivisor(1, 1);
}

TEST_F(LightsTest, ShadersHaveNumbersOfMiddleSizeForPlacedLightsOfAnyStrength) {
    const auto light = make<SpotLight>();
    light->color().set({}, {1.0F, 0.5F, 0.0F, 1.0F});
    for (const double scale : {1e-25, 1e-10, 1.0, 1e10, 1e25}) {
        light->intensity().set({}, 2 * scale * scale);
        light->constant().set({}, 0.5 * scale * scale);
        light->linear().set({}, 0.25 * scale);
        light->quadratic().set({}, 0.125);
        const Triple arriving = arrivingAt(2 * scale, *light);
        EXPECT_NEAR(arriving[0], 4 / 3.0, 1e-14) << scale;
        EXPECT_NEAR(arriving[1], 2 / 3.0, 1e-14) << scale;
        const Variables uniforms = uniformsOf(*light);
        EXPECT_EQ(get<Triple>(uniforms, "Intensity"), (Triple{1, 0.5, 0}));
        EXPECT_EQ(get<Triple>(uniforms, "Specular"), (Triple{1, 0.5, 0}));
        for (const double each : get<Triple>(uniforms, "FallOff")) EXPECT_NEAR(each, 0.6, 0.41);
        EXPECT_NEAR(get<double>(uniforms, "PerUnit") * scale, 0.25, 0.001) << scale;
    }
}

TEST_F(LightsTest, PlacedLightsOfStrangeStrengthAreNumbersStill) {
    const auto light = make<PositionalLight>();
    for (const double intensity : {0.0, 1e-320, 1e15, infinity}) {
        for (const double factor : {1e-320, 1e15, 1e300, infinity}) {
            light->intensity().set({}, intensity);
            light->constant().set({}, factor);
            light->linear().set({}, factor);
            light->quadratic().set({}, factor);
            const Variables uniforms = uniformsOf(*light);
            const auto expectNumber = [&](double number) {
                EXPECT_TRUE(std::isfinite(static_cast<float>(number)))
                    << intensity << " " << factor;
            };
            for (const char* name : {"Intensity", "Specular", "FallOff"}) {
                for (const double each : get<Triple>(uniforms, name)) expectNumber(each);
            }
            expectNumber(get<double>(uniforms, "PerUnit"));
            EXPECT_GT(static_cast<float>(get<double>(uniforms, "PerUnit")), 0.0F);
        }
    }
}

TEST_F(LightsTest, ConeIsItsCosineAndSineAndNoLimitFrom180Degrees) {
    const auto light = make<SpotLight>();
    const auto expectCone = [&](double degrees, double cosine, double sine) {
        light->cone().set({}, degrees);
        const Variables uniforms = uniformsOf(*light);
        EXPECT_NEAR(get<double>(uniforms, "CosCone"), cosine, 1e-15) << degrees;
        EXPECT_NEAR(get<double>(uniforms, "SinCone"), sine, 1e-15) << degrees;
    };
    expectCone(60, 0.5, std::sqrt(0.75));
    expectCone(120, -0.5, std::sqrt(0.75));
    for (const double none : {-5.0, 0.0, nan}) expectCone(none, 1, 0);
    for (const double all : {180.0, 200.0, infinity}) {
        expectCone(all, -1, 0);
        EXPECT_EQ(get<double>(uniformsOf(*light), "SinCone"), 0.0);
    }
    light->exponent().set({}, -2);
    EXPECT_EQ(get<double>(uniformsOf(*light), "Exponent"), 0.0);
}

TEST_F(LightsTest, HeadlightIsWhereTheEyesAreOfEachFrame) {
    const auto light = add<Headlight>();
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    lookFrom(0, {1, 2, 30});
    ASSERT_TRUE(drawLit(*surface));
    EXPECT_EQ(variable<point>("Light0Position"), (point{1, 2, 30}));
    EXPECT_EQ(variable<Triple>("Light0Direction"), (Triple{0, 0, -1}));
    EXPECT_EQ(variable<float>("Light0HasPerspective"), 1.0F);
    lookFrom(0, {7, 2, 30});
    ASSERT_TRUE(drawLit(*surface));
    EXPECT_EQ(variable<point>("Light0Position"), (point{7, 2, 30}));
    light->intensity().set({}, 0.5);
    request(*light);
    ASSERT_TRUE(draw(*surface));
    EXPECT_EQ(variable<point>("Light0Position"), (point{7, 2, 30})) << "a request moves nothing";
    EXPECT_EQ(variable<Triple>("Light0Intensity"), (Triple{0.5, 0.5, 0.5}));
    context.CurrentView(0, 0).setOrthographic(-1, 1, -1, 1, 1, 100);
    ASSERT_TRUE(drawLit(*surface));
    EXPECT_EQ(variable<float>("Light0HasPerspective"), 0.0F);
}

TEST_F(LightsTest, HeadlightOutlivesACameraThatIsNowhere) {
    add<Headlight>();
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    lookFrom(0, {1, 2, 30});
    ASSERT_TRUE(drawLit(*surface));
    Mirk::VCamera& camera = context.CurrentView(0, 0).camera;
    camera.lookAt = camera.position;
    drawLit(*surface);
    EXPECT_EQ(variable<Triple>("Light0Direction"), (Triple{0, 0, -1}));
    EXPECT_EQ(variable<Triple>("Light0Intensity"), (Triple{1, 1, 1}));
    camera.position.x = nan;
    drawLit(*surface);
    EXPECT_EQ(variable<point>("Light0Position"), (point{1, 2, 30}));
    EXPECT_EQ(variable<Triple>("Light0Intensity"), (Triple{1, 1, 1}));
}

TEST_F(LightsTest, LightThatFailsToTellItsCodeIsAskedAgain) {
    class Failing : public Mirk::ShaderLightSource {
    public:
        Failing() : VObject("failing", 0, {}), ShaderLightSource("failing", 0, {}) {
            enableRequestProcessing();
        }
        std::string getShaderCode() const override {
            if (fails) throw std::runtime_error("planted");
            return "void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, "
                   "out vec3 specular_intensity) {}\n";
        }
        void updateLight(ProgramVariables& uniforms, VRequest&) override {
            if (fails) throw std::runtime_error("planted");
            uniforms["Own$$"] = 1.0F;
        }
        bool fails = false;
    };
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    ASSERT_TRUE(drawLit(*surface));
    const DisplayPtr<Failing> failing(new Failing);
    lights.push_back(failing);
    request(*failing);
    failing->fails = true; // where it is asked for its code, too
    testing::internal::CaptureStdout();
    for (int frame = 0; frame < 2; ++frame) {
        context.basin.log->take();
        EXPECT_EQ(drawLit(*surface), frame == 0) << "a failure that is told is dealt with";
        EXPECT_THAT(context.basin.log->take(), testing::Contains(HasSubstr("draw Painter")))
            << "as it was";
    }
    testing::internal::GetCapturedStdout();
    EXPECT_EQ(context.failures.size(), 1U);
    EXPECT_THAT(reportOf(*surface), HasSubstr("planted"));
    failing->fails = false;
    EXPECT_TRUE(drawLit(*surface));
    EXPECT_EQ(variable<float>("Own0"), 1.0F);
    EXPECT_EQ(reportOf(*surface), "");
}

TEST_F(LightsTest, ProgramsThatAreDrawnWhileOthersWaitKeepTheirLights) {
    const auto first = add<DirectionalLight>(); // which lives on
    add<AmbientLight>();
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    ASSERT_TRUE(drawLit(*surface));
    RecordingProgram& before = program();
    const auto names = [&] {
        std::set<std::string> all;
        for (const auto& [name, value] : before) all.insert(name);
        before.forEachKind([&](const auto& values) {
            for (const auto& [name, value] : values) all.insert(name);
        });
        return all;
    };
    const auto expected = names();
    ASSERT_FALSE(expected.empty());
    lights.erase(lights.begin());
    context.renderAllowance = 0;
    for (int frame = 0; frame < 2; ++frame) {
        EXPECT_FALSE(drawLit(*surface));
        EXPECT_EQ(names(), expected);
    }
}

TEST_F(LightsTest, HeadlightOfTwoEyesIsBetweenThem) {
    add<Headlight>();
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    context.setNumberOfEyes(2);
    lookFrom(0, {1, 0, 30});
    lookFrom(1, {2, 0, 30});
    ASSERT_TRUE(drawLit(*surface));
    EXPECT_EQ(variable<point>("Light0Position"), (point{1.5, 0, 30}));
}

// ---------------------------------------------------------------------------------------------

TEST_F(LightsTest, SurfaceAsksTheLightsThatThereAre) {
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    ASSERT_TRUE(drawLit(*surface));
    EXPECT_THAT(fragmentText(), HasSubstr("NumberOfLightSourceFunctions = 0;"));
    add<AmbientLight>();
    add<SpotLight>();
    ASSERT_TRUE(drawLit(*surface));
    EXPECT_THAT(fragmentText(), HasSubstr("NumberOfLightSourceFunctions = 2;"));
    EXPECT_THAT(fragmentText(), HasSubstr("uniform vec3 Light0Intensity;"));
    EXPECT_THAT(fragmentText(), HasSubstr("uniform float Light1CosCone;"));
    EXPECT_THAT(fragmentText(), Not(HasSubstr("$$")));
    EXPECT_THAT(fragmentText(), HasSubstr("getLightAtVertex(surface.vertex)"));
}

TEST_F(LightsTest, OtherObjectsHaveNoTextOfLights) {
    add<AmbientLight>();
    const DisplayPtr<PointCloud> points(new PointCloud("points", cloud({{0, 0, 0}})));
    ASSERT_TRUE(drawLit(*points));
    EXPECT_THAT(fragmentText(), Not(HasSubstr("LIGHTSOURCES")));
    add<AmbientLight>();
    EXPECT_EQ(compilationsOfDraw(*points), 0);
}

TEST_F(LightsTest, OtherValuesCompileNothing) {
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    const auto light = add<SpotLight>();
    EXPECT_EQ(compilationsOfDraw(*surface), 1);
    light->color().set({}, {1, 0, 0, 1});
    light->position().set({}, {1, 2, 3});
    light->direction().set({}, {0, 1, 0});
    light->cone().set({}, 90);
    light->quadratic().set({}, 1);
    surface->sidedness().set({}, 1.0);
    surface->specular().set({}, 0.5);
    surface->shininess().set({}, 8.0);
    EXPECT_EQ(compilationsOfDraw(*surface), 0);
    EXPECT_EQ(variable<Triple>("Light0Intensity"), (Triple{1, 0, 0}));
    EXPECT_EQ(variable<point>("Light0Position"), (point{1, 2, 3}));
    EXPECT_EQ(parameter("Sidedness"), std::vector<float>{1.0F});
    EXPECT_EQ(parameter("Specular"), std::vector<float>{0.5F});
    EXPECT_EQ(parameter("Shininess"), std::vector<float>{8.0F});
    light->position().set({}, {nan, 2, 3});
    light->direction().set({}, {0, 0, 0});
    EXPECT_EQ(compilationsOfDraw(*surface), 0);
}

TEST_F(LightsTest, EachOtherCompositionCompilesOnce) {
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    const auto expectOnce = [&](const char* what) {
        EXPECT_EQ(compilationsOfDraw(*surface), 1) << what;
        for (int frame = 0; frame < 10; ++frame) {
            EXPECT_EQ(compilationsOfDraw(*surface), 0) << what;
        }
    };
    const auto show = [&](const RenderAblePtr& light, bool isVisible) {
        writeSlot(light->findInput(RenderAble::VisibilitySlotName()), context.pool, isVisible);
    };
    expectOnce("none");
    const auto first = add<AmbientLight>();
    expectOnce("one");
    const auto second = add<DirectionalLight>();
    expectOnce("two");
    show(first, false);
    expectOnce("the second alone");
    show(first, true);
    expectOnce("two again");
    lights.pop_back();
    expectOnce("removed");
    lights.clear();
    expectOnce("none again");
}

TEST_F(LightsTest, LightInPlaceOfOneOfItsKindCompilesNothing) {
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    add<DirectionalLight>()->intensity().set({}, 0.5);
    EXPECT_EQ(compilationsOfDraw(*surface), 1);
    lights.clear();
    add<DirectionalLight>()->intensity().set({}, 0.25);
    EXPECT_EQ(compilationsOfDraw(*surface), 0);
    EXPECT_EQ(variable<Triple>("Light0Intensity"), (Triple{0.25, 0.25, 0.25}));
}

TEST_F(LightsTest, PlacesOfLightsAreRelativeToWhatVerticesAre) {
    const double far = 6.4e6;
    const point corner{far, 0, 0};
    const DisplayPtr<TriangleSurface> surface(
        new TriangleSurface("mesh", mesh({corner, {far + 2, 0, 0}, {far, 2, 0}}, {0, 1, 2})));
    add<PositionalLight>()->position().set({}, {far + 1, 0, 5});
    lookFrom(0, {far + 1, 0, 10});
    ASSERT_TRUE(drawLit(*surface));
    const RecordingProgram::Sent sent = program().sent.at("Light0Position");
    EXPECT_EQ(std::get<point>(sent.value), (point{far + 1, 0, 5}));
    EXPECT_NEAR(sent.worldOrigin.x, far, 10);
    const point origin = point() + sent.worldOrigin;
    EXPECT_EQ(attribute<FloatPoint>("Coordinates")[0], toFloat(point() + (corner - origin)));
}

TEST_F(LightsTest, GlintsThatAreNoNumberOrTooMuchAreNumbersForShaders) {
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    const auto sent = [&](const TypedSlot<double>& input, const char* uniform, double value) {
        input.set({}, value);
        EXPECT_TRUE(drawLit(*surface));
        return parameter(uniform)[0];
    };
    for (const auto& [input, uniform, largest] :
         {std::tuple{&surface->specular(), "Specular", 1e15F},
          std::tuple{&surface->shininess(), "Shininess", 1e7F}}) {
        EXPECT_EQ(sent(*input, uniform, 3.5), 3.5F);
        EXPECT_EQ(sent(*input, uniform, infinity), largest);
        EXPECT_EQ(sent(*input, uniform, 1e300), largest);
        EXPECT_EQ(sent(*input, uniform, -infinity), 0.0F);
        EXPECT_EQ(sent(*input, uniform, nan), 0.0F);
    }
}

TEST_F(LightsTest, SidesThatAreNoNumberOrTooMuchAreWithinTheirLimits) {
    const DisplayPtr<TriangleSurface> surface(new TriangleSurface("mesh", oneTriangle()));
    const auto sent = [&](double sides) {
        surface->sidedness().set({}, sides);
        EXPECT_TRUE(drawLit(*surface));
        return parameter("Sidedness")[0];
    };
    EXPECT_EQ(sent(0.5), 0.5F);
    EXPECT_EQ(sent(7.0), 1.0F);
    EXPECT_EQ(sent(-7.0), -1.0F);
    EXPECT_EQ(sent(nan), 1.0F);
}

} // namespace
