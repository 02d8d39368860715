#include <Displays/LineSet.hpp>

#include "displayFixture.hpp"

#include <Displays/HiddenSides.hpp>
#include <Displays/horizon.hpp>
#include <rookery/Geodesy.hpp>

#include <cmath>
#include <limits>

using Mirk::LineKind;
using Mirk::LineSet;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using LevelColor = Skua::FixedArray<float, 3>;

constexpr double earth = Skua::WGS84::semiMajorAxisMetres;

class LineSetTest : public DisplayTest {
protected:
    LineSetTest() { context.basin.uniforms = {"LevelColors"}; }

    static Mirk::Polylines twoLines(LineKind kind = LineKind::Coast) {
        return polylines({{1, {{0, 0, 0}, {4, 0, 0}}}, {3, {{0, 2, 0}, {1, 2, 0}, {4, 2, 2}}}},
                         kind);
    }
    /// On the earth, seen from above the north pole.
    DisplayPtr<LineSet> onEarth(double scale = 1.0) {
        lookFrom(0, {0, 0, 4 * earth * scale});
        const auto at = [&](double latitude) {
            const vector v = Skua::toEarthCentred({30, latitude, 0}) - point();
            return point() + v * scale;
        };
        return DisplayPtr<LineSet>(
            new LineSet("lines", polylines({{1, {at(10), at(50)}}}), true, scale));
    }
    vec4 hiddenSideOf(int eye) const {
        return variable<vec4>("HiddenSides[" + std::to_string(eye) + "].plane");
    }
    std::string geometryText() const { return program().geometry.code.front(); }
    std::string fragmentText() const { return program().fragment.code.front(); }

    const DisplayPtr<LineSet> object{new LineSet("lines", twoLines(), true)};
};

TEST_F(LineSetTest, DrawsOneStripAfterTheOther) {
    EXPECT_EQ(callsOfDraw(*object, "draw Painter Indices"), 1);
    EXPECT_THAT(attribute<std::uint32_t>("Indices"),
                ElementsAre(0, 1, 0xFFFFFFFFU, 2, 3, 4, 0xFFFFFFFFU));
    EXPECT_THAT(attribute<unsigned char>("Level"), ElementsAre(1, 1, 3, 3, 3));
}

TEST_F(LineSetTest, SendsVerticesRelativeToTheOrigin) {
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(boundsOf(*object).boxCentre(), (point{2, 1, 1}));
    EXPECT_THAT(attribute<FloatPoint>("Coordinates"),
                ElementsAre(FloatPoint{0, 0, 0}, FloatPoint{4, 0, 0}, FloatPoint{0, 2, 0},
                            FloatPoint{1, 2, 0}, FloatPoint{4, 2, 2}));
}

TEST_F(LineSetTest, CoastsHaveTheColoursOfTheirLevels) {
    ASSERT_TRUE(draw(*object));
    const auto colors = variable<std::vector<LevelColor>>("LevelColors");
    ASSERT_EQ(colors.size(), 8U);
    EXPECT_EQ(colors[1], (LevelColor{0.93F, 0.89F, 0.78F}));
    EXPECT_EQ(colors[2], (LevelColor{0.45F, 0.68F, 0.88F}));
    EXPECT_EQ(colors[6], (LevelColor{0.80F, 0.90F, 0.97F}));
}

TEST_F(LineSetTest, RiversAndBordersHaveOneColour) {
    const DisplayPtr<LineSet> rivers(new LineSet("r", twoLines(LineKind::River), true));
    ASSERT_TRUE(draw(*rivers));
    EXPECT_THAT(variable<std::vector<LevelColor>>("LevelColors"),
                Each(LevelColor{0.35F, 0.60F, 0.85F}));
    const DisplayPtr<LineSet> borders(new LineSet("b", twoLines(LineKind::Border), true));
    ASSERT_TRUE(draw(*borders));
    EXPECT_THAT(variable<std::vector<LevelColor>>("LevelColors"),
                Each(LevelColor{0.80F, 0.55F, 0.40F}));
}

TEST_F(LineSetTest, LinesAreWidenedByAGeometryStage) {
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

TEST_F(LineSetTest, WidthChangesWithoutBeingFilledAnewAsLongAsTheProgramDoes) {
    ASSERT_TRUE(draw(*object));
    object->lineWidth().set(context.pool, 2.0);
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(2.0F));
}

TEST_F(LineSetTest, BroadLinesHaveRoundEnds) {
    ASSERT_TRUE(draw(*object));
    object->lineWidth().set(context.pool, 2.5);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(geometryText(), HasSubstr("#define ROUND_ENDS\n"));
    object->lineWidth().set(context.pool, 9.0);
    EXPECT_FALSE(isRefilledByDraw(*object));
}

TEST_F(LineSetTest, OnlyWithOneSampleALineOfOnePixelIsLeftToTheDriver) {
    const DisplayPtr<LineSet> sharp(new LineSet("sharp", twoLines(), false));
    sharp->lineWidth().set(context.pool, 1.0);
    ASSERT_TRUE(draw(*sharp));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::NoGeometryInput);
    EXPECT_THAT(fragmentText(), Not(HasSubstr("#define WIDE_LINES\n")));
    object->lineWidth().set(context.pool, 1.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::LinesInput);
}

TEST_F(LineSetTest, WidthBelowZeroIsZero) {
    object->lineWidth().set(context.pool, -3.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(0.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 0.0);
}

TEST_F(LineSetTest, WidthWithoutEndIsANumberForShaders) {
    object->lineWidth().set(context.pool, std::numeric_limits<double>::infinity());
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(1e15F));
}

TEST_F(LineSetTest, HiddenSideIsRelativeToTheOrigin) {
    const auto lines = onEarth();
    ASSERT_TRUE(draw(*lines));
    // A pixel is 2 / 100 wide on the near plane at distance 1.
    const double margin = (0.6 + 1.0) * 0.02;
    const point origin; // as from far away nothing is seen to be off
    const auto expected = Mirk::hiddenSide(point() + (point{0, 0, 4 * earth} - origin), margin,
                                           point() + (point() - origin), 1.0);
    for (std::size_t i = 0; i < 4; ++i) {
        EXPECT_EQ(hiddenSideOf(0)[i], static_cast<float>(expected[i]));
    }
    EXPECT_NE(expected[2], 0.0);
}

TEST_F(LineSetTest, HiddenSideIsThatOfEachEye) {
    const auto lines = onEarth();
    context.setNumberOfEyes(2);
    lookFrom(1, {4 * earth, 0, 0});
    ASSERT_TRUE(draw(*lines));
    EXPECT_GT(hiddenSideOf(0)[2], 0.0F);
    EXPECT_EQ(hiddenSideOf(0)[0], 0.0F);
    EXPECT_GT(hiddenSideOf(1)[0], 0.0F);
    EXPECT_EQ(hiddenSideOf(1)[2], 0.0F);
}

TEST_F(LineSetTest, HiddenSideFollowsEyePixelsAndWidthAndNothingElse) {
    const auto lines = onEarth();
    ASSERT_TRUE(draw(*lines));
    const auto isAnotherByDraw = [&] {
        const vec4 before = hiddenSideOf(0);
        EXPECT_TRUE(draw(*lines));
        return hiddenSideOf(0) != before;
    };
    EXPECT_FALSE(isAnotherByDraw());
    context.CurrentView(0, 0).camera.up = {1, 0, 0};
    EXPECT_FALSE(isAnotherByDraw());
    lookFrom(0, {0, 0, 5 * earth});
    EXPECT_TRUE(isAnotherByDraw());
    context.viewport = {0, 0, 200, 200};
    EXPECT_TRUE(isAnotherByDraw());
    lines->lineWidth().set(context.pool, 1.5);
    EXPECT_TRUE(isAnotherByDraw());
    EXPECT_FALSE(isAnotherByDraw());
}

TEST_F(LineSetTest, HiddenSideIsSetForEachDrawingAsOthersHaveTheProgram) {
    const auto lines = onEarth();
    ASSERT_TRUE(draw(*lines));
    const vec4 plane = hiddenSideOf(0);
    std::get<vec4>(program().at("HiddenSides[0].plane")) = vec4{-1, -1, -1, -1};
    ASSERT_TRUE(draw(*lines));
    EXPECT_EQ(hiddenSideOf(0), plane);
}

TEST_F(LineSetTest, HiddenSideIsThatOfTheWaveWhateverBecomesOfTheProgramsVariables) {
    const auto lines = onEarth();
    ASSERT_TRUE(draw(*lines));
    const vec4 plane = hiddenSideOf(0);
    program().erase("HiddenSides[0].plane");
    ASSERT_TRUE(draw(*lines));
    EXPECT_EQ(hiddenSideOf(0), plane);
    // What another polyp with the program leaves behind the update of this one.
    Mirk::Polyp polyp{Keel::WeakPtr<Keel::Creature>()};
    const auto sides = Keel::make<Mirk::HiddenSides>(
        context, program(), point(), 1.0, [](const Mirk::VRenderContext&) { return 0.0; });
    lookFrom(0, {0, 0, 3 * earth});
    ASSERT_TRUE(sides->updateValue(context));
    std::get<vec4>(program().at("HiddenSides[0].plane")) = vec4{-1, -1, -1, -1};
    ASSERT_TRUE(sides->activate(polyp));
    const vec4 ofThis = hiddenSideOf(0);
    EXPECT_NE(ofThis, (vec4{-1, -1, -1, -1}));
    EXPECT_NE(ofThis, plane);
}

TEST_F(LineSetTest, OtherKindOfLinesHasItsColoursWithTheSameProgram) {
    ASSERT_TRUE(draw(*object));
    object->lines().set({}, twoLines(LineKind::River));
    EXPECT_FALSE(isCompiledByDraw(*object));
    EXPECT_THAT(variable<std::vector<LevelColor>>("LevelColors"),
                Each(LevelColor{0.35F, 0.60F, 0.85F}));
}

TEST_F(LineSetTest, WithoutPerspectiveNothingIsHidden) {
    const auto lines = onEarth();
    context.CurrentView(0, 0).setOrthographic(-earth, earth, -earth, earth, 1.0, 9 * earth);
    ASSERT_TRUE(draw(*lines));
    EXPECT_EQ(hiddenSideOf(0), (vec4{0, 0, 0, 1}));
}

TEST_F(LineSetTest, HiddenSideIsInTheUnitsOfTheCaller) {
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

TEST_F(LineSetTest, GeographicLinesAreNotOnAGlobe) {
    Mirk::Polylines flat = twoLines();
    flat.coordinates = Mirk::CoordinateSystem::Geographic;
    const DisplayPtr<LineSet> lines(new LineSet("flat", std::move(flat), true));
    ASSERT_TRUE(draw(*lines));
    EXPECT_THAT(vertexText(), Not(HasSubstr("#define ON_EARTH\n")));
    EXPECT_FALSE(program().contains("HiddenSides[0].plane"));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("#define ON_EARTH\n"));
}

TEST_F(LineSetTest, LineIsBrokenWhereAPointIsNoNumber) {
    const double nan = std::nan("");
    const DisplayPtr<LineSet> broken(new LineSet(
        "broken", polylines({{1, {{0, 0, 0}, {1, 0, 0}, {nan, 0, 0}, {3, 0, 0}, {4, 0, 0}}}}),
        true));
    ASSERT_TRUE(draw(*broken));
    EXPECT_THAT(attribute<std::uint32_t>("Indices"),
                ElementsAre(0, 1, 0xFFFFFFFFU, 3, 4, 0xFFFFFFFFU));
    EXPECT_EQ(boundsOf(*broken).max, (point{4, 0, 0}));
}

TEST_F(LineSetTest, CurvesHaveTheColourOfTheInput) {
    const DisplayPtr<LineSet> curves(new LineSet("c", twoLines(LineKind::Curve), true));
    curves->color().set({}, {1, 0.5F, 0, 1});
    ASSERT_TRUE(draw(*curves));
    EXPECT_THAT(parameter("Color"), ElementsAre(1.0F, 0.5F, 0.0F, 1.0F));
    EXPECT_FALSE(context.has("Level"));
}

TEST_F(LineSetTest, LinesThatAreTooLongForAPieceGoOnInTheNext) {
    constexpr std::size_t number = 2 * LineSet::pieceVertices;
    std::vector<Mirk::Point> points(number);
    for (std::size_t i = 0; i < number; ++i) points[i] = {static_cast<double>(i), 0, 0};
    const DisplayPtr<LineSet> line(new LineSet("long", polylines({{2, points}}), true));
    EXPECT_EQ(callsOfDraw(*line, "draw Painter Indices"), 3);
    // The last piece is the point that it shares with the one before, and one more.
    const auto last = attribute<FloatPoint>("Coordinates");
    ASSERT_EQ(last.size(), 2U);
    EXPECT_EQ(last[1].x, static_cast<float>(number - 1));
    EXPECT_EQ(last[0].x, last[1].x - 1);
    EXPECT_THAT(attribute<std::uint32_t>("Indices"), ElementsAre(0, 1, 0xFFFFFFFFU));
    EXPECT_THAT(attribute<unsigned char>("Level"), ElementsAre(2, 2));
}

TEST_F(LineSetTest, DataThatCannotBeDrawnAreReported) {
    const auto reportFor = [&](Mirk::Polylines data) {
        const DisplayPtr<LineSet> lines(new LineSet("lines", data, true));
        testing::internal::CaptureStdout();
        EXPECT_TRUE(draw(*lines));
        testing::internal::GetCapturedStdout();
        return reportOf(*lines);
    };
    EXPECT_THAT(reportFor({}), HasSubstr("there are no points"));
    Mirk::Polylines data = twoLines();
    data.starts = Mirk::makeChunk(std::vector<std::uint32_t>{0, 2, 9});
    EXPECT_THAT(reportFor(data),
                HasSubstr("the lines don't begin one after the other within the 5 points"));
    data.starts = Mirk::makeChunk(std::vector<std::uint32_t>{2, 0, 5});
    EXPECT_THAT(reportFor(data),
                HasSubstr("the lines don't begin one after the other within the 5 points"));
    data = twoLines();
    data.levels = Mirk::makeChunk(std::vector<unsigned char>{1});
    EXPECT_THAT(reportFor(data),
                HasSubstr("expected 2 levels, as there are that many lines, got 1"));
    const double nan = std::nan("");
    EXPECT_THAT(reportFor(polylines({{1, {{nan, 0, 0}, {0, nan, 0}}}})),
                HasSubstr("none of the 2 points has coordinates that are finite numbers"));
}

TEST_F(LineSetTest, PointsOfNoLineDoNotMoveTheOrigin) {
    Mirk::Polylines data = polylines({{1, {{1e30, 0, 0}, {0, 0, 0}, {2, 0, 0}, {1e30, 0, 0}}}});
    data.starts = Mirk::makeChunk(std::vector<std::uint32_t>{1, 3});
    const DisplayPtr<LineSet> lines(new LineSet("lines", data, true));
    ASSERT_TRUE(draw(*lines));
    EXPECT_EQ(boundsOf(*lines).max, (point{2, 0, 0}));
    EXPECT_THAT(attribute<std::uint32_t>("Indices"), ElementsAre(1, 2, 0xFFFFFFFFU));
}

TEST_F(LineSetTest, CoarserLinesKeepTheirEndsAndBothSidesOfABreak) {
    const double nan = std::nan("");
    constexpr std::uint32_t cut = 0xFFFFFFFFU;
    const DisplayPtr<LineSet> lines(new LineSet(
        "lines",
        polylines({{1, {{0, 0, 0}, {1, 0, 0}, {2, 0, 0}, {3, 0, 0}, {4, 0, 0}, {5, 0, 0}}},
                   {2, {{0, 1, 0}, {1, 1, 0}, {nan, 1, 0}, {3, 1, 0}, {4, 1, 0}}}}),
        true));
    ASSERT_TRUE(drawAt(0.5, *lines));
    const auto indices = attribute<std::uint32_t>("Indices");
    const std::vector<std::uint32_t> expected{
        0, 1, 2, 3,   4,   5, cut, 6,   7,  cut, 9,   10, cut, // all
        0, 2, 4, 5,   cut, 6, 7,   cut, 9,  10,  cut,          // every second one
        0, 4, 5, cut, 6,   7, cut, 9,   10, cut};              // every fourth one
    ASSERT_GT(indices.size(), expected.size());
    EXPECT_EQ(std::vector(indices.begin(), indices.begin() + static_cast<long>(expected.size())),
              expected);
}

} // namespace
