#include <Displays/LineDisplay.hpp>

#include "displayFixture.hpp"

#include <Displays/horizon.hpp>
#include <rookery/Geodesy.hpp>

using Mirk::LineDisplay;
using Mirk::LineKind;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using LevelColor = Skua::FixedArray<float, 3>;

constexpr double earth = Skua::WGS84::semiMajorAxisMetres;

class LineDisplayTest : public DisplayTest {
protected:
    static Mirk::Polylines twoLines(LineKind kind = LineKind::Coast) {
        return polylines({{1, {{0, 0, 0}, {4, 0, 0}}}, {3, {{0, 2, 0}, {1, 2, 0}, {4, 2, 2}}}},
                         kind);
    }
    /// On the earth, seen from above the north pole.
    DisplayPtr<LineDisplay> onEarth(double scale = 1.0) {
        lookFrom(0, {0, 0, 4 * earth * scale});
        const auto at = [&](double latitude) {
            const vector v = Skua::toEarthCentred({30, latitude, 0}) - point();
            return point() + v * scale;
        };
        return DisplayPtr<LineDisplay>(
            new LineDisplay("lines", polylines({{1, {at(10), at(50)}}}), true, scale));
    }
    vec4 hiddenSideOf(int eye) const {
        return variable<vec4>("HiddenSides[" + std::to_string(eye) + "].plane");
    }
    std::string geometryText() const { return program().geometry.code.front(); }
    std::string fragmentText() const { return program().fragment.code.front(); }

    const DisplayPtr<LineDisplay> object{new LineDisplay("lines", twoLines(), true)};
};

TEST_F(LineDisplayTest, DrawsOneStripAfterTheOther) {
    EXPECT_EQ(callsOfDraw(*object, "draw Painter Indices"), 1);
    EXPECT_THAT(attribute<std::uint32_t>("Indices"),
                ElementsAre(0, 1, 0xFFFFFFFFU, 2, 3, 4, 0xFFFFFFFFU));
    EXPECT_THAT(attribute<unsigned char>("Level"), ElementsAre(1, 1, 3, 3, 3));
}

TEST_F(LineDisplayTest, SendsVerticesRelativeToTheMiddleOfTheBounds) {
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(object->origin(), (point{2, 1, 1}));
    EXPECT_THAT(attribute<FloatPoint>("Coordinates"),
                ElementsAre(FloatPoint{-2, -1, -1}, FloatPoint{2, -1, -1}, FloatPoint{-2, 1, -1},
                            FloatPoint{-1, 1, -1}, FloatPoint{2, 1, 1}));
}

TEST_F(LineDisplayTest, ReachesTheFarthestPoint) {
    const std::vector<vector> directions{{1, 0, 1}};
    std::vector<double> reaches{0};
    object->reach(directions, reaches);
    EXPECT_THAT(reaches, ElementsAre(6.0));
}

TEST_F(LineDisplayTest, CoastsHaveTheColoursOfTheirLevels) {
    ASSERT_TRUE(draw(*object));
    const auto colors = variable<std::vector<LevelColor>>("LevelColors");
    ASSERT_EQ(colors.size(), 8U);
    EXPECT_EQ(colors[1], (LevelColor{0.93F, 0.89F, 0.78F}));
    EXPECT_EQ(colors[2], (LevelColor{0.45F, 0.68F, 0.88F}));
    EXPECT_EQ(colors[6], (LevelColor{0.80F, 0.90F, 0.97F}));
}

TEST_F(LineDisplayTest, RiversAndBordersHaveOneColour) {
    const DisplayPtr<LineDisplay> rivers(new LineDisplay("r", twoLines(LineKind::River), true));
    ASSERT_TRUE(draw(*rivers));
    EXPECT_THAT(variable<std::vector<LevelColor>>("LevelColors"),
                Each(LevelColor{0.35F, 0.60F, 0.85F}));
    const DisplayPtr<LineDisplay> borders(new LineDisplay("b", twoLines(LineKind::Border), true));
    ASSERT_TRUE(draw(*borders));
    EXPECT_THAT(variable<std::vector<LevelColor>>("LevelColors"),
                Each(LevelColor{0.80F, 0.55F, 0.40F}));
}

TEST_F(LineDisplayTest, LinesAreWidenedByAGeometryStage) {
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(1.2F));
    EXPECT_THAT(parameter("ViewportPixels"), ElementsAre(100.0F, 100.0F));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::LinesInput);
    EXPECT_EQ(program().output, Mirk::RenderNamespace::TriangleStripOutput);
    EXPECT_THAT(geometryText(), HasSubstr("uniform MultiView"));
    EXPECT_THAT(geometryText(), Not(HasSubstr("#define ROUND_ENDS\n")));
    EXPECT_THAT(fragmentText(), HasSubstr("#define WIDE_LINES\n"));
    EXPECT_EQ(object->marginPixels(context.pool), 0.6);
}

TEST_F(LineDisplayTest, WidthChangesWithoutBeingFilledAnewAsLongAsTheProgramDoes) {
    ASSERT_TRUE(draw(*object));
    object->lineWidth().set(context.pool, 2.0);
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(2.0F));
}

TEST_F(LineDisplayTest, BroadLinesHaveRoundEnds) {
    ASSERT_TRUE(draw(*object));
    object->lineWidth().set(context.pool, 2.5);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(geometryText(), HasSubstr("#define ROUND_ENDS\n"));
    object->lineWidth().set(context.pool, 9.0);
    EXPECT_FALSE(isRefilledByDraw(*object));
}

TEST_F(LineDisplayTest, OnlyWithOneSampleALineOfOnePixelIsLeftToTheDriver) {
    const DisplayPtr<LineDisplay> sharp(new LineDisplay("sharp", twoLines(), false));
    sharp->lineWidth().set(context.pool, 1.0);
    ASSERT_TRUE(draw(*sharp));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::NoGeometryInput);
    EXPECT_THAT(fragmentText(), Not(HasSubstr("#define WIDE_LINES\n")));
    object->lineWidth().set(context.pool, 1.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::LinesInput);
}

TEST_F(LineDisplayTest, WidthBelowZeroIsZero) {
    object->lineWidth().set(context.pool, -3.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(0.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 0.0);
}

TEST_F(LineDisplayTest, TextsCountTheirOwnLinesBehindWhatIsInserted) {
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), testing::StartsWith("#version 330\n#define VERTEX_SHADER 1\n"));
    EXPECT_THAT(vertexText(), HasSubstr("END */\n#line 2\n// Lines"));
    EXPECT_THAT(fragmentText(), HasSubstr("#define WIDE_LINES\n#line 2\n#ifdef WIDE_LINES\n"));
}

TEST_F(LineDisplayTest, HiddenSideIsRelativeToTheOrigin) {
    const auto lines = onEarth();
    ASSERT_TRUE(draw(*lines));
    // A pixel is 2 / 100 wide on the near plane at distance 1.
    const double margin = (0.6 + 1.0) * 0.02;
    const auto expected = Mirk::hiddenSide(point() + (point{0, 0, 4 * earth} - lines->origin()),
                                           margin, point() + (point() - lines->origin()), 1.0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(hiddenSideOf(0)[i], static_cast<float>(expected[i]));
    }
    EXPECT_NE(expected[2], 0.0);
}

TEST_F(LineDisplayTest, HiddenSideIsThatOfEachEye) {
    const auto lines = onEarth();
    context.setNumberOfEyes(2);
    lookFrom(1, {4 * earth, 0, 0});
    ASSERT_TRUE(draw(*lines));
    EXPECT_GT(hiddenSideOf(0)[2], 0.0F);
    EXPECT_EQ(hiddenSideOf(0)[0], 0.0F);
    EXPECT_GT(hiddenSideOf(1)[0], 0.0F);
    EXPECT_EQ(hiddenSideOf(1)[2], 0.0F);
}

TEST_F(LineDisplayTest, HiddenSideFollowsEyePixelsAndWidthAndNothingElse) {
    const auto lines = onEarth();
    ASSERT_TRUE(draw(*lines));
    const auto isSetByDraw = [&] {
        std::get<vec4>(program().at("HiddenSides[0].plane")) = vec4{-1, -1, -1, -1};
        EXPECT_TRUE(draw(*lines));
        return hiddenSideOf(0)[3] != -1.0F;
    };
    EXPECT_FALSE(isSetByDraw());
    context.CurrentView(0, 0).camera.up = {1, 0, 0};
    EXPECT_FALSE(isSetByDraw());
    lookFrom(0, {0, 0, 5 * earth});
    EXPECT_TRUE(isSetByDraw());
    context.viewport = {0, 0, 200, 200};
    EXPECT_TRUE(isSetByDraw());
    lines->lineWidth().set(context.pool, 1.5);
    EXPECT_TRUE(isSetByDraw());
    EXPECT_FALSE(isSetByDraw());
}

TEST_F(LineDisplayTest, WithoutPerspectiveNothingIsHidden) {
    const auto lines = onEarth();
    context.CurrentView(0, 0).setOrthographic(-earth, earth, -earth, earth, 1.0, 9 * earth);
    ASSERT_TRUE(draw(*lines));
    EXPECT_EQ(hiddenSideOf(0), (vec4{0, 0, 0, 1}));
}

TEST_F(LineDisplayTest, HiddenSideIsInTheUnitsOfTheCaller) {
    constexpr double scale = 1.0 / 1024.0;
    const auto inMetres = onEarth();
    ASSERT_TRUE(draw(*inMetres));
    const vec4 metres = hiddenSideOf(0);
    const auto inUnits = onEarth(scale);
    ASSERT_TRUE(draw(*inUnits));
    const vec4 units = hiddenSideOf(0);
    EXPECT_FLOAT_EQ(units[2], metres[2] * 1024);
    EXPECT_FLOAT_EQ(units[3], metres[3]);
}

TEST_F(LineDisplayTest, GeographicLinesAreNotOnAGlobe) {
    Mirk::Polylines flat = twoLines();
    flat.coordinates = Mirk::CoordinateSystem::Geographic;
    const DisplayPtr<LineDisplay> lines(new LineDisplay("flat", std::move(flat), true));
    ASSERT_TRUE(draw(*lines));
    EXPECT_THAT(vertexText(), Not(HasSubstr("#define ON_EARTH\n")));
    EXPECT_FALSE(program().contains("HiddenSides[0].plane"));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("#define ON_EARTH\n"));
}

} // namespace
