#include <PolypiaGL/GLFactory.hpp>

#include "glBasin.hpp"

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;

namespace {

class GLParameterTest : public BasinTest {
protected:
    RenderBasin::RenderParameterPtr blendFunction(int source, int target) const {
        const auto parameter = basin->createRenderParameter("glBlendFunc", {}, typeid(int), 2);
        EXPECT_TRUE(deliver(*parameter, Skua::FixedArray<int, 2>{source, target}));
        return parameter;
    }
    /// Half transparent red over blue.
    Color blended(const RenderBasin::RenderParameterPtr& function) {
        polyp->clear();
        picture->clear({0, 0, 1, 1});
        const auto shader = fillPicture(program(passVertex, colorFragment));
        (*shader)["color"] = Skua::FixedArray<float, 4>{1, 0, 0, 0.2F};
        polyp->insert(function);
        waveKeepingState();
        return center();
    }
    std::vector<float> uniform(const RenderBasin::ProgramPtr& shader, std::size_t number) const {
        std::vector<float> back(number);
        glGetUniformfv(static_cast<GLuint>(shader->nativeHandle()),
                       shader->uniformLocation("color"), back.data());
        return back;
    }
};

TEST_F(GLParameterTest, ReachesTheUniformInEveryProgram) {
    const auto one = polyp->insert(program(passVertex, colorFragment), 0);
    const auto two = polyp->insert(program(passVertex, colorFragment), 1);
    polyp->insert(program(passVertex, "#version 330\nout vec4 result;\n"
                                      "void main() { result = vec4(1.0); }\n"),
                  2);
    const auto parameter =
        polyp->insert(basin->createRenderParameter("color", {}, typeid(float), 4));
    EXPECT_EQ(parameter->parameterName(), "color");
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    waveKeepingState(); // without a value it does nothing
    EXPECT_EQ(one->count("color"), 0U);
    EXPECT_TRUE(deliver(*parameter, Skua::rgba_float_t{1, 0, 0, 1}));
    waveKeepingState();
    EXPECT_THAT(uniform(one, 4), ElementsAre(1, 0, 0, 1));
    EXPECT_THAT(uniform(two, 4), ElementsAre(1, 0, 0, 1));
}

TEST_F(GLParameterTest, TakesTheTypeThatItWasMadeWithOnly) {
    const auto parameter = basin->createRenderParameter("value", {}, typeid(double), 3);
    const std::array<double, 4> values{1, 2, 3, 4};
    const std::array<float, 3> floats{};
    EXPECT_TRUE(parameter->setValue(values.data(), typeid(double), 3));
    EXPECT_FALSE(parameter->setValue(values.data(), typeid(double), 4));
    EXPECT_FALSE(parameter->setValue(floats.data(), typeid(float), 3));
    EXPECT_FALSE(parameter->setValue(nullptr, typeid(double), 3));
}

TEST_F(GLParameterTest, IsMadeForKnownTypesOnly) {
    const auto made = [&](const std::type_info& type, int components) {
        return bool(basin->createRenderParameter("value", {}, type, components));
    };
    for (const std::type_info* type : {&typeid(int), &typeid(float), &typeid(double)}) {
        EXPECT_FALSE(made(*type, 0));
        for (int components = 1; components <= 4; ++components)
            EXPECT_TRUE(made(*type, components));
        EXPECT_FALSE(made(*type, 5));
    }
    EXPECT_TRUE(made(typeid(FloatPoint), 1));
    EXPECT_TRUE(made(typeid(FloatPoint), 100));
    EXPECT_FALSE(made(typeid(FloatPoint), 0));
    EXPECT_FALSE(made(typeid(char), 1));
    EXPECT_FALSE(made(typeid(std::string), 1));
    EXPECT_FALSE(basin->createRenderParameter("glBlendFunc", {}, typeid(float), 2));
    EXPECT_FALSE(basin->createRenderParameter("glBlendFunc", {}, typeid(int), 1));
}

TEST_F(GLParameterTest, PointsReachAnArray) {
    const auto shader = polyp->insert(
        program(passVertex, "#version 330\nuniform vec3 color[2]; out vec4 result;\n"
                            "void main() { result = vec4(color[0] + color[1], 1.0); }\n"));
    const auto parameter =
        polyp->insert(basin->createRenderParameter("color", {}, typeid(FloatPoint), 2));
    EXPECT_TRUE(deliver(*parameter, std::vector<FloatPoint>{{1, 2, 3}, {4, 5, 6}}));
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    waveKeepingState();
    EXPECT_THAT(uniform(shader, 3), ElementsAre(1, 2, 3));
}

TEST_F(GLParameterTest, TheUpdaterDeliversTheValue) {
    class Constant : public RenderBasin::Updater {
    public:
        bool update(VRenderContext&, RenderBasin::RenderParameter& parameter) override {
            return deliver(parameter, 0.5F);
        }
    };
    const RenderBasin::UpdaterPtr source(new Constant);
    const auto fitting = basin->createRenderParameter("value", source, typeid(float), 1);
    EXPECT_EQ(fitting->updater, source);
}

TEST_F(GLParameterTest, TheBlendFunctionHoldsForTheWave) {
    // Both numberings of source alpha and one minus source alpha.
    const Color expected{51, 0, 204, 214}; // alpha 0.2 * 0.2 + 0.8 * 1, as the colours
    for (const auto& [source, target] :
         {std::pair{0x1004, 0x1005}, std::pair{GL_SRC_ALPHA, GL_ONE_MINUS_SRC_ALPHA}}) {
        EXPECT_EQ(blended(blendFunction(source, target)), expected);
    }
    EXPECT_EQ(blended(blendFunction(0x1001, 0x1001)), (Color{255, 0, 255, 255}));
    EXPECT_EQ(blended(blendFunction(0x1000, 0x1001)), blue);
    EXPECT_EQ(blended(basin->createRenderParameter("glBlendFunc", {}, typeid(int), 2)),
              (Color{255, 0, 0, 51}));
}

TEST_F(GLParameterTest, TheBlendFunctionMayStandAheadOfTheProgram) {
    const auto shader = program(passVertex, colorFragment);
    (*shader)["color"] = Skua::FixedArray<float, 4>{1, 0, 0, 0};
    polyp->insertTentacle(0, blendFunction(0x1001, 0x1001));
    fillPicture(shader);
    picture->clear({0, 0, 1, 1});
    waveKeepingState();
    EXPECT_EQ(center(), (Color{255, 0, 255, 255}));
}

TEST_F(GLParameterTest, TheBlendFunctionOfTheCallerComesBack) {
    glEnable(GL_BLEND);
    glBlendFuncSeparate(GL_ONE, GL_ZERO, GL_ZERO, GL_ONE);
    blended(blendFunction(0x1004, 0x1005));
    // A value that comes during the wave changes nothing of what is restored.
    polyp->clear();
    const auto late =
        polyp->insert(basin->createRenderParameter("glBlendFunc", {}, typeid(int), 2));
    polyp->insertTentacle(3000, probe([&](const Polyp&) {
                              return deliver(*late, Skua::FixedArray<int, 2>{0x1004, 0x1005});
                          }));
    waveKeepingState();
    glDisable(GL_BLEND);
}

TEST_F(GLParameterTest, AnUnknownBlendFactorIsAnException) {
    polyp->insert(blendFunction(0x9999, 1));
    const auto before = currentState();
    EXPECT_THROW(wave(), RenderException);
    EXPECT_EQ(changesSince(before), "");
}

TEST_F(GLParameterTest, FlagsHoldForTheWave) {
    const std::vector<std::pair<std::string, GLenum>> capabilities{
        {"GL_DEPTH_TEST", GL_DEPTH_TEST},
        {"GL_CULL_FACE", GL_CULL_FACE},
        {"GL_BLEND", GL_BLEND},
        {"GL_POLYGON_OFFSET_FILL", GL_POLYGON_OFFSET_FILL},
    };
    for (const auto& [name, capability] : capabilities) {
        for (const bool wanted : {true, false}) {
            for (const bool before : {true, false}) {
                SCOPED_TRACE(name);
                const auto flag = basin->factory().createFlag(name, wanted);
                ASSERT_TRUE(flag);
                EXPECT_EQ(flag->tentacleKey, Polyp::ParameterKey);
                polyp->clear();
                polyp->insert(flag);
                bool seen = !wanted;
                polyp->insertTentacle(3000, probe([&, key = capability](const Polyp&) {
                                          seen = glIsEnabled(key);
                                          return true;
                                      }));
                before ? glEnable(capability) : glDisable(capability);
                waveKeepingState();
                EXPECT_EQ(seen, wanted);
                EXPECT_EQ(glIsEnabled(capability) == GL_TRUE, before);
                glDisable(capability);
            }
        }
    }
    EXPECT_FALSE(basin->factory().createFlag("GL_TASTE", true));
    EXPECT_FALSE(basin->factory().createFlag("", true));
    // Without these objects could not be picked.
    EXPECT_FALSE(basin->factory().createFlag("GL_STENCIL_TEST", false));
    EXPECT_FALSE(basin->factory().createFlag("GL_SCISSOR_TEST", false));
    // Programs get this one by what their text names.
    EXPECT_FALSE(basin->factory().createFlag("GL_PROGRAM_POINT_SIZE", true));
}

TEST_F(GLParameterTest, ThePolygonOffsetHoldsForTheWave) {
    const auto offset = [] {
        std::array<float, 2> values{};
        glGetFloatv(GL_POLYGON_OFFSET_FACTOR, &values[0]);
        glGetFloatv(GL_POLYGON_OFFSET_UNITS, &values[1]);
        return values;
    };
    glPolygonOffset(0.5F, 3.0F);
    polyp->insert(basin->factory().createPolygonOffset(1.5F, 2.0F));
    std::array<float, 2> seen{};
    polyp->insertTentacle(3000, probe([&](const Polyp&) {
                              seen = offset();
                              return glIsEnabled(GL_POLYGON_OFFSET_FILL) == GL_TRUE;
                          }));
    EXPECT_EQ(waveKeepingState(), 2);
    EXPECT_THAT(seen, ElementsAre(1.5F, 2.0F));
    EXPECT_THAT(offset(), ElementsAre(0.5F, 3.0F));
}

TEST_F(GLParameterTest, AFlagHidesTheBackOfTriangles) {
    fillPicture(program(passVertex, colorFragment));
    polyp->insert(basin->factory().createFlag("GL_CULL_FACE", true));
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), size * size);
    glFrontFace(GL_CW);
    clear();
    waveKeepingState();
    glFrontFace(GL_CCW);
    EXPECT_EQ(drawnPixels(), 0);
}

} // namespace
