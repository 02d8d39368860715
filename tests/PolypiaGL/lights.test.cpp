// Lights on a driver: their text compiles and draws, its library does what its formulas say, and
// frames follow what becomes of the lights of a scene.

#include "../Polypia/toldLightObject.hpp"
#include "../keel/thisProgram.hpp"
#include "glBasin.hpp"
#include "glRenderFixture.hpp"

#include <Polypia/PolypCreator.hpp>

#include <algorithm>
#include <array>
#include <cinttypes>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <functional>
#include <map>
#include <memory>
#include <numbers>
#include <random>
#include <set>
#include <string>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using Lights = RenderNamespace::Lighting;
using Triple = Skua::FixedArray<double, 3>;
using Numbers = std::array<double, 3>;

double dot(const Numbers& a, const Numbers& b) {
    return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
}

/// At an angle from the z axis, towards x.
Numbers tilted(double angle) {
    return {std::sin(angle), 0.0, std::cos(angle)};
}

struct Incoming {
    Numbers incidence;
    Numbers intensity;
    Numbers specular;
};

// The formulas of the library in double precision.

Numbers reflected(const Numbers& incoming, const Numbers& normal) {
    const double twice = 2.0 * dot(normal, incoming);
    return {incoming[0] - twice * normal[0], incoming[1] - twice * normal[1],
            incoming[2] - twice * normal[2]};
}

double sidedDotProduct(double product, double sidedness) {
    const double upper = std::max(0.0, product) * std::min(1.0, sidedness + 1.0);
    const double lower = std::max(0.0, -product) * std::min(1.0, -sidedness + 1.0);
    return upper + lower;
}

Numbers phong(const Numbers& diffuse, const Incoming& light, const Numbers& normal,
              const Numbers& viewDirection, double shininess,
              const std::function<double(double)>& lit) {
    const Numbers towards{-light.incidence[0], -light.incidence[1], -light.incidence[2]};
    const double highlight = std::pow(std::max(dot(reflected(towards, normal), viewDirection), 0.0),
                                      std::max(shininess, 1.0));
    const bool isAmbient = dot(towards, towards) == 0.0;
    Numbers color{};
    for (std::size_t i = 0; i < 3; ++i) {
        const double full = light.intensity[i] * diffuse[i];
        color[i] =
            isAmbient ? full : full * lit(dot(towards, normal)) + light.specular[i] * highlight;
    }
    return color;
}

// ---------------------------------------------------------------------------------------------

class LightText : public BasinTestInProfile {
protected:
    void enable(int number) {
        for (int i = 0; i < number; ++i) {
            lights.push_back(toldLight());
            const double share = 1.0 / 32.0;
            (*lights.back())["uLight$$Incidence"] = Triple{0, 0, -1};
            (*lights.back())["uLight$$Intensity"] = Triple{share, 2.0 * share * (i % 2), 0};
            (*lights.back())["uLight$$Specular"] = Triple{0, 0, 0};
            lighting.enable(lights.back());
        }
    }
    std::string text() const {
        std::string code = Lights::prefix();
        const unsigned number = lighting.defineLightFunctions(code);
        return code + Lights::postfix(number);
    }
    /// Draws with a fragment stage of this main code behind the text.
    void draw(const std::string& version, const std::string& prefix, const std::string& main) {
        polyp = PolypPtr(new Polyp({}));
        const auto painted = fillPicture(program(passVertex, "#version " + version + "\n" + prefix +
                                                                 "out vec4 result;\n" + main));
        RenderBasin::mergeIlluminationUniforms(lighting, *painted);
        clear();
        EXPECT_GT(wave(), 0);
    }
    /// At each pixel by how much of the width and of the height it lies to the right and above the
    /// middle, from -1 to 1.
    using Expected = std::function<Numbers(double x, double y)>;
    /// The greatest difference to what is expected, in units of the last of 8 bits.
    double greatestDifference(const Expected& expected) const {
        const std::vector<std::uint8_t> all = pixels();
        double greatest = 0;
        for (int row = 0; row < size; ++row) {
            for (int column = 0; column < size; ++column) {
                const double x = (column + 0.5) / size * 2 - 1, y = (row + 0.5) / size * 2 - 1;
                const Numbers color = expected(x, y);
                for (std::size_t i = 0; i < 3; ++i) {
                    const double drawn = all[static_cast<std::size_t>(row * size + column) * 4 + i];
                    const double difference =
                        std::abs(drawn - 255.0 * std::clamp(color[i], 0.0, 1.0));
                    greatest = std::max(greatest, difference);
                }
            }
        }
        return greatest;
    }

    static constexpr const char* sumOfIntensities =
        "vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex)\n"
        "{\n"
        "    if (NumberOfLightSourceFunctions == 0) return vec3(0.0, 0.0, 1.0);\n"
        "    return LightSource.intensity;\n"
        "}\n"
        "void main() { result = vec4(getLightAtVertex(vec3(0.0)), 1.0); }\n";
    /// The same place as in greatestDifference().
    static constexpr const char* headOfMain =
        "vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex) { return Vertex; }\n"
        "vec3 tilted(float angle) { return vec3(sin(angle), 0.0, cos(angle)); }\n"
        "void main() {\n"
        "    vec2 p = gl_FragCoord.xy / 32.0 - 1.0;\n"
        "    LightAtVertex light = LightAtVertex(vec3(0.0), vec3(0.0), vec3(0.0));\n";

    Lights lighting;
    std::vector<ToldLightPtr> lights;
};

TEST_P(LightText, OfAnyNumberOfLightsAddsThemUp) {
    for (const int number : {0, 1, 2, 17}) {
        lights.clear();
        lighting.clear();
        enable(number);
        for (const std::string version : {"130", "330", "450"}) {
            draw(version, text(), sumOfIntensities);
            const auto share = [](int count) {
                return static_cast<int>(std::lround(255.0 * count / 32.0));
            };
            const Color expected{share(number), share(2 * (number / 2)), number == 0 ? 255 : 0,
                                 255};
            EXPECT_EQ(center(), expected) << number << " lights, version " << version;
        }
    }
}

TEST_P(LightText, TwiceInAStageIsAsOnce) {
    enable(2);
    for (const std::string version : {"130", "330", "450"}) {
        draw(version, text() + text(), sumOfIntensities);
        EXPECT_EQ(center(), (Color{16, 16, 0, 255})) << version;
    }
}

TEST_P(LightText, OfAnExpiredLightDoesNotLink) {
    enable(2);
    lights.erase(lights.begin());
    EXPECT_THROW(draw("330", text(), sumOfIntensities), RenderException);
}

TEST_P(LightText, NeedsALightFunction) {
    enable(1);
    EXPECT_THROW(
        draw("330", text(), "void main() { result = vec4(getLightAtVertex(vec3(0.0)), 1.0); }\n"),
        RenderException);
}

TEST_P(LightText, SidedDotProductIsItsFormula) {
    draw("330", text(),
         std::string(headOfMain) +
             "    result = vec4(vec3(SidedDotProduct(p.x, p.y)), light.intensity.x);\n}\n");
    EXPECT_LE(greatestDifference([](double x, double y) -> Numbers {
                  const double value = sidedDotProduct(x, y);
                  return {value, value, value};
              }),
              1.0);
}

TEST_P(LightText, PhongLightingIsItsFormula) {
    draw("330", text(),
         std::string(headOfMain) +
             "    light.light_incidence = -tilted(3.1 * p.x);\n"
             "    light.intensity = vec3(0.25, 0.5, 0.75);\n"
             "    light.specular_intensity = vec3(0.5, 0.25, 0.0);\n"
             "    result = vec4(PhongLighting(vec3(0.9, 0.6, 1.0), light, tilted(1.5 * p.y),\n"
             "                                vec3(0.0, 0.0, -1.0), 12.0), 1.0);\n}\n");
    EXPECT_LE(greatestDifference([](double x, double y) {
                  const Numbers towards = tilted(3.1 * x);
                  return phong({0.9, 0.6, 1.0},
                               {{-towards[0], 0, -towards[2]}, {0.25, 0.5, 0.75}, {0.5, 0.25, 0}},
                               tilted(1.5 * y), {0, 0, -1}, 12.0,
                               [](double product) { return std::clamp(product, 0.0, 1.0); });
              }),
              2.0);
}

TEST_P(LightText, ShininessBelowOneCountsAsOne) {
    draw("330", text(),
         std::string(headOfMain) +
             "    light.light_incidence = -tilted(3.1 * p.x);\n"
             "    light.specular_intensity = vec3(1.0);\n"
             "    result = vec4(PhongLighting(vec3(1.0), light, tilted(0.0),\n"
             "                                vec3(0.0, 0.0, -1.0), p.y), 1.0);\n}\n");
    EXPECT_LE(greatestDifference([](double x, double) -> Numbers {
                  const double highlight = std::max(0.0, std::cos(3.1 * x));
                  return {highlight, highlight, highlight};
              }),
              2.0);
}

TEST_P(LightText, SidedPhongLightingIsItsFormula) {
    for (const double sidedness : {-1.0, 0.0, 0.8, 1.0}) {
        draw("330", text(),
             std::string(headOfMain) +
                 "    light.light_incidence = -tilted(3.1 * p.x);\n"
                 "    light.intensity = vec3(0.25, 0.5, 0.75);\n"
                 "    light.specular_intensity = vec3(0.5, 0.25, 0.0);\n"
                 "    result = vec4(SidedPhongLighting(vec3(0.9, 0.6, 1.0), light,\n"
                 "                  tilted(1.5 * p.y), vec3(0.0, 0.0, -1.0), 12.0, " +
                 std::to_string(sidedness) + "), 1.0);\n}\n");
        EXPECT_LE(greatestDifference([&](double x, double y) {
                      const Numbers towards = tilted(3.1 * x);
                      return phong(
                          {0.9, 0.6, 1.0},
                          {{-towards[0], 0, -towards[2]}, {0.25, 0.5, 0.75}, {0.5, 0.25, 0}},
                          tilted(1.5 * y), {0, 0, -1}, 12.0,
                          [&](double product) { return sidedDotProduct(product, sidedness); });
                  }),
                  2.0)
            << sidedness;
    }
}

TEST_P(LightText, LightWithoutDirectionIsAmbient) {
    for (const std::string model : {"PhongLighting(", "SidedPhongLighting("}) {
        draw("330", text(),
             std::string(headOfMain) +
                 "    light.intensity = vec3(0.25, 0.5, 0.75);\n"
                 "    light.specular_intensity = vec3(1.0);\n"
                 "    result = vec4(" +
                 model + "vec3(0.8, p.x, 1.0), light, tilted(3.0 * p.y), vec3(0.0, 0.0, -1.0),\n" +
                 (model.front() == 'S' ? "4.0, p.y" : "4.0") + "), 1.0);\n}\n");
        EXPECT_LE(greatestDifference([](double x, double) -> Numbers {
                      return {0.2, 0.5 * x, 0.75};
                  }),
                  1.0)
            << model;
    }
}

POLYPIA_BOTH_PROFILES(LightText);

// ---------------------------------------------------------------------------------------------

/// A plane that fills the picture and faces the observer; blue without any light.
class LitPlane : public RenderAble {
public:
    explicit LitPlane(const std::string& objectName)
        : VObject(objectName, 0, {}), RenderAble(objectName, 0, {}) {}

    using RenderAble::environment_render;
    bool environment_render(VRenderContext& context) const override {
        if (!_creator) _creator = CreatorPtr(new Creator(*context.getSeagrass(), {}, *this));
        const PolypPtr polyp = _creator->acquire(context);
        if (!polyp) return false;
        const RenderBasin::ProgramPtr program(polyp->getProgram(~0UL));
        RenderBasin::Illumination::mergeIlluminationUniformsIntoProgram(*program, *polyp);
        if (drawn) drawn();
        return polyp->wave(~0U) >= 0;
    }
    BoundingBallPtr getBoundingBall(const ValuePoolPtr&) const override { return {}; }

    mutable int compiled = 0;
    std::function<void()> drawn;

private:
    class Filler {
    public:
        explicit Filler(const LitPlane& plane) : _plane(plane) {}
        void initializePolyp(Polyp& polyp, VRenderContext& context) const {
            ++_plane.compiled;
            const std::string vertex = "#version 330\nvoid main() { gl_Position = vec4(\n"
                                       "vec2(gl_VertexID & 1, gl_VertexID >> 1) * 2.0 - 1.0,\n"
                                       "0.0, 1.0); }\n";
            const std::string main =
                "out vec4 result;\n"
                "vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex)\n"
                "{\n"
                "    if (NumberOfLightSourceFunctions == 0) return vec3(0.0, 0.0, 1.0);\n"
                "    return PhongLighting(vec3(1.0), LightSource, vec3(0.0, 0.0, 1.0),\n"
                "                         vec3(0.0, 0.0, -1.0), 1.0);\n"
                "}\n"
                "void main() { result = vec4(getLightAtVertex(vec3(0.0)), 1.0); }\n";
            polyp.insert(context.createProgram(
                vertex, "#version 330\n" + context.getLightSourceCode() + main, "plane.vert",
                "plane.frag", 1, 1, {}, {}));
            polyp.insert(
                RenderBasin::IlluminationPtr(new RenderBasin::Illumination(context.getSeagrass())));
            polyp.insert(context.createPainter(TriangleStrip, 4));
        }
        bool isValidPolyp(const Polyp&, VRenderContext& context,
                          const PolypCreatorBase& creator) const {
            return context.hasValidLighting(creator);
        }

    private:
        const LitPlane& _plane;
    };
    using Creator = PolypCreator<Filler>;
    using CreatorPtr = Keel::StrongPtr<Creator, PolypCreatorBase::ReferenceRoot>;

    mutable CreatorPtr _creator;
};
using PlanePtr = Keel::StrongPtr<LitPlane, VManagedObjectBase>;

/// A context of its own, with a plane of its own among the objects that it draws.
struct Place {
    explicit Place(EglContext& glContext)
        : seagrass(makeSeagrass()),
          context(makeRenderContext(glContext, seagrass)),
          target(std::make_unique<GLFramebuffer>(glContext, size, size, 1)),
          plane(new LitPlane("plane")) {
        context->setTargets({target.get()});
        context->setEyes({{}});
        objects.insert(5, plane);
    }
    ~Place() {
        objects = {};
        plane = {};
        endRenderContext(context, seagrass);
    }
    /// The red of the picture; that is all of it, but for a picture without light.
    int draw(int firstLayer = 0, int lastLayer = 10) {
        target->clear({0, 0, 0, 1});
        double seconds = 0;
        context->renderObjects(objects, seconds, firstLayer, lastLayer);
        std::vector<std::uint8_t> bytes(std::size_t{size} * size * 4);
        target->readColors(bytes);
        return bytes[2] == 255 && bytes[0] == 0 ? noLight : bytes[0];
    }
    static constexpr int noLight = -1;

    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> context;
    std::unique_ptr<GLFramebuffer> target;
    PlanePtr plane;
    ObjectSelection objects;
};

class SceneLights : public DriverTest {
protected:
    void SetUp() override {
        DriverTest::SetUp();
        if (!glContext) return;
        place = std::make_unique<Place>(*glContext);
    }
    void TearDown() override {
        place.reset();
        DriverTest::TearDown();
    }
    /// A light on the observer's side; to be requested.
    ToldLightObjectPtr add(double brightness, int layer = 5) {
        const ToldLightObjectPtr light = toldLightObject("light");
        light->brightness.set({}, brightness);
        place->objects.insert(layer, light);
        request(light, *place);
        return light;
    }
    static void request(const ToldLightObjectPtr& light, const Place& where) {
        VRequest newRequest(where.context->pool);
        EXPECT_TRUE(newRequest.process(*light, 1.0));
    }

    std::unique_ptr<Place> place;
};

TEST_F(SceneLights, PictureFollowsLightsThatAreAddedHiddenShownSwappedAndRemoved) {
    const auto expectRebuild = [&](int red) {
        const int before = place->plane->compiled;
        EXPECT_EQ(place->draw(), red);
        EXPECT_EQ(place->draw(), red);
        EXPECT_EQ(place->plane->compiled, before + 1);
    };
    expectRebuild(Place::noLight);
    const ToldLightObjectPtr half = add(0.5);
    expectRebuild(128);
    ToldLightObjectPtr quarter = add(0.25);
    expectRebuild(191);
    EXPECT_EQ(place->context->numberOfLightSources, 2);
    half->setVisible({}, false);
    expectRebuild(64);
    half->setVisible({}, true);
    expectRebuild(191);
    quarter->setVisible({}, false);
    expectRebuild(128);
    half->setVisible({}, false);
    quarter->setVisible({}, true);
    expectRebuild(64);
    half->setVisible({}, true);
    quarter->setVisible({}, false);
    expectRebuild(128); // an older light in place of a younger one
    half->setVisible({}, false);
    expectRebuild(Place::noLight);
    quarter->setVisible({}, true);
    expectRebuild(64);
    quarter = {};
    expectRebuild(Place::noLight);
    EXPECT_EQ(place->context->numberOfLightSources, 0);
}

TEST_F(SceneLights, UnchangedLightsAndOtherValuesCompileNothing) {
    const ToldLightObjectPtr half = add(0.5), quarter = add(0.25);
    EXPECT_EQ(place->draw(), 191);
    const auto stamp = place->seagrass->LightingStamp;
    for (int frame = 0; frame < 100; ++frame) place->draw();
    EXPECT_GT(place->seagrass->LightingStamp, stamp);
    half->brightness.set({}, 0.125);
    request(half, *place);
    EXPECT_EQ(place->draw(), 96);
    EXPECT_EQ(place->plane->compiled, 1);
    half->code += "// another text\n";
    half->brightness.set({}, 0.5);
    request(half, *place);
    EXPECT_EQ(place->draw(), 191);
    EXPECT_EQ(place->plane->compiled, 2);
}

TEST_F(SceneLights, EachContextHasItsOwnLights) {
    auto other = std::make_unique<Place>(*glContext);
    ToldLightObjectPtr half = add(0.5), quarter = add(0.25);
    for (const auto& light : {half, quarter}) {
        other->objects.insert(5, light);
        request(light, *other);
    }
    EXPECT_EQ(place->draw(), 191);
    EXPECT_EQ(other->draw(), 191);
    half->setVisible(other->context->pool, false);
    EXPECT_EQ(place->draw(), 191);
    EXPECT_EQ(other->draw(), 64);
    EXPECT_EQ(place->plane->compiled, 1);
    EXPECT_EQ(other->plane->compiled, 2);
    quarter->brightness->parameter()->Localize();
    quarter->brightness.set(place->context->pool, 0.125);
    request(quarter, *place);
    request(quarter, *other);
    half->setVisible(other->context->pool, true);
    EXPECT_EQ(place->draw(), 159);
    EXPECT_EQ(other->draw(), 191) << "on again, and the other one as bright as before";
    other->objects.clear();
    other->objects.insert(5, other->plane);
    EXPECT_EQ(other->draw(), Place::noLight) << "removed here";
    EXPECT_EQ(place->draw(), 159);
    half = {};
    EXPECT_EQ(place->draw(), 32);
    EXPECT_EQ(place->plane->compiled, 2);
    other.reset();
}

TEST_F(SceneLights, WhatLightsSetWithEachFrameReachesObjectsOfThatFrame) {
    const ToldLightObjectPtr light = add(0.0);
    double brightness = 0;
    int calls = 0;
    light->rendering = [&](auto& uniforms, VRenderContext&) {
        uniforms["uLight$$Intensity"] = Triple{brightness, brightness, brightness};
        ++calls;
    };
    for (const double value : {0.5, 0.25}) {
        brightness = value;
        EXPECT_EQ(place->draw(), std::lround(255.0 * value));
    }
    EXPECT_EQ(calls, 2);
}

TEST_F(SceneLights, LightsOfOtherLayersThanTheFrameShineAsWell) {
    const ToldLightObjectPtr light = add(0.5, 100);
    int calls = 0;
    light->rendering = [&](auto&, VRenderContext&) { ++calls; };
    EXPECT_EQ(place->draw(0, 10), 128);
    EXPECT_EQ(calls, 1);
}

TEST_F(SceneLights, SeveralEyesRenderALightOnce) {
    GLFramebuffer second(*glContext, size, size, 1);
    second.clear({0, 0, 0, 1});
    place->context->setTargets({place->target.get(), &second});
    place->context->setEyes({{}, {}});
    const ToldLightObjectPtr light = add(0.5);
    std::vector<unsigned> eyes;
    light->rendering = [&](auto&, VRenderContext& context) { eyes.push_back(context.CurrentEye); };
    EXPECT_EQ(place->draw(), 128);
    EXPECT_EQ(eyes, std::vector<unsigned>{0});
    std::vector<std::uint8_t> bytes(std::size_t{size} * size * 4);
    second.readColors(bytes);
    EXPECT_EQ(bytes[0], 128);
}

TEST_F(SceneLights, LightThatDiesWithinAFrameShinesToItsEnd) {
    ToldLightObjectPtr light = add(0.5);
    const PlanePtr behind(new LitPlane("behind"));
    place->objects.insert(6, behind);
    place->plane->drawn = [&] { light = {}; };
    EXPECT_EQ(place->draw(), 128) << "the second plane is compiled when the object has gone";
    EXPECT_THAT(place->context->failures(), IsEmpty());
    EXPECT_EQ(place->draw(), Place::noLight);
    EXPECT_THAT(place->context->failures(), IsEmpty());
}

TEST_F(SceneLights, PickingDrawsWithTheLightsOfTheLastFrame) {
    ToldLightObjectPtr light = add(0.5);
    const ToldLightObjectPtr quarter = add(0.25);
    EXPECT_EQ(place->draw(), 191);
    ObjectSelection plane;
    plane.insert(5, place->plane);
    place->context->pickObjects(plane, 0, 0, 4, 4, 0, 10);
    EXPECT_EQ(place->draw(), 191);
    EXPECT_EQ(place->plane->compiled, 1);
    light = {};
    const auto list = place->context->pickObjects(place->objects, 0, 0, 4, 4, 0, 10);
    EXPECT_THAT(place->context->failures(), IsEmpty());
    EXPECT_EQ(list->Ids.size(), 1U) << "lights draw nothing";
    EXPECT_EQ(place->plane->compiled, 2);
    EXPECT_EQ(place->draw(), 64);
    EXPECT_EQ(place->plane->compiled, 3) << "now their number is another one as well";
}

/// Memory in which there are gaps of all small sizes, to be filled in an order of chance: what is
/// made next lies anywhere.
class MemoryWithGaps {
public:
    explicit MemoryWithGaps(unsigned chance) {
        std::vector<Block> gaps;
        for (int i = 0; i < 100; ++i) {
            for (std::size_t bytes = 8; bytes < 1024; bytes += 16) {
                gaps.emplace_back(new char[bytes]);
                _between.emplace_back(new char[bytes]); // so that they stay apart
            }
        }
        std::shuffle(gaps.begin(), gaps.end(), std::mt19937(chance));
        for (Block& gap : gaps) gap.reset();
    }

private:
    using Block = std::unique_ptr<char[]>;
    std::vector<Block> _between;
};

class LightsOfAProcess : public SceneLights {
protected:
    static constexpr const char* seed = "POLYPIA_TEST_SEED";
    static constexpr const char* mark = "picture ";

    /// Three lights, whose colours tell their places among the lights; prints the picture, and in
    /// which order the lights lie in memory.
    void drawAndPrint(unsigned chance) {
        const MemoryWithGaps memory(chance);
        std::vector<ToldLightObjectPtr> lights;
        std::map<const void*, std::size_t> addresses;
        for (const char* const color :
             {"vec3(0.25, 0.0, 0.0)", "vec3(0.0, 0.25, 0.0)", "vec3(0.0, 0.0, 0.25)"}) {
            const ToldLightObjectPtr light = add(1.0);
            light->code = "void getLight_$$(in vec3 vertex, out vec3 light_incidence, "
                          "out vec3 intensity, out vec3 specular_intensity)\n{\n"
                          "    light_incidence = specular_intensity = vec3(0.0);\n"
                          "    intensity = float($$ + 1) * " +
                          std::string(color) + ";\n}\n";
            const LightsByCreation::Light source(light->source(place->context->pool));
            addresses[source.controlBlock()] = lights.size();
            lights.push_back(light);
        }
        place->draw();
        std::vector<std::uint8_t> bytes(std::size_t{size} * size * 4);
        place->target->readColors(bytes);
        std::uint64_t hash = 0xcbf29ce484222325U; // FNV-1a
        for (const std::uint8_t byte : bytes) hash = (hash ^ byte) * 0x100000001b3U;
        std::printf("%s%" PRIx64 " of %d %d %d, order", mark, hash, bytes[0], bytes[1], bytes[2]);
        for (const auto& [address, light] : addresses) std::printf(" %zu", light);
        std::printf("\n");
    }
};

TEST_F(LightsOfAProcess, HaveTheOrderOfTheirMakingWhereverTheyLieInMemory) {
    if (const char* const chance = std::getenv(seed)) {
        return drawAndPrint(static_cast<unsigned>(std::atoi(chance)));
    }
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int processes = 4; // which take ten times as long
#else
    constexpr int processes = 20;
#endif
    std::set<std::string> pictures, orders;
    const std::string filter = "LightsOfAProcess.HaveTheOrderOfTheirMakingWhereverTheyLieInMemory";
    for (int i = 0; i < processes; i += 2) {
        std::vector<RunOfThisProgram> runs;
        for (int k = i; k < i + 2; ++k) {
            runs.emplace_back(std::string(seed) + "=" + std::to_string(k), filter);
        }
        for (RunOfThisProgram& run : runs) {
            const std::string lines = run.result();
            const std::size_t begin = lines.find(mark), comma = lines.find(", order", begin);
            ASSERT_TRUE(begin != std::string::npos && comma != std::string::npos) << lines;
            EXPECT_THAT(lines, testing::EndsWith("exit 0"));
            pictures.insert(lines.substr(begin, comma - begin));
            orders.insert(lines.substr(comma, lines.find('\n', comma) - comma));
        }
    }
    EXPECT_THAT(pictures, testing::ElementsAre(HasSubstr(" of 64 128 191")));
#if !defined(__SANITIZE_ADDRESS__) && !defined(__SANITIZE_THREAD__)
    EXPECT_GT(orders.size(), 1U) << "or nothing is shown";
#endif
}

} // namespace
