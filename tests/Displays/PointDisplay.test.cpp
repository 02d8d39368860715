#include <Displays/PointDisplay.hpp>

#include "displayFixture.hpp"

#include <cmath>

using Mirk::PointDisplay;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class PointDisplayTest : public DisplayTest {
protected:
    const DisplayPtr<PointDisplay> object{
        new PointDisplay("points", cloud({{1e9 + 0.5, 0, 0}, {1e9 - 0.5, 4, 0}}))};
};

TEST_F(PointDisplayTest, DrawsItsPointsRelativeToTheMiddleOfTheBounds) {
    EXPECT_EQ(callsOfDraw(*object, "draw Painter Coordinates"), 1);
    EXPECT_THAT(attribute<FloatPoint>("Coordinates"),
                ElementsAre(FloatPoint{0.5F, -2, 0}, FloatPoint{-0.5F, 2, 0}));
}

TEST_F(PointDisplayTest, SizeFollowsTheInputWithoutBeingFilledAnew) {
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(3.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 1.5);
    object->pointSize().set(context.pool, 8.0);
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(8.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 4.0);
}

TEST_F(PointDisplayTest, SizeIsNotBelowZero) {
    object->pointSize().set(context.pool, -8.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(0.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 0.0);
    object->pointSize().set(context.pool, std::nan(""));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(0.0F));
}

TEST_F(PointDisplayTest, SizeOfThePictureIsAskedInEachFrame) {
    context.viewport = {0, 0, 640, 480};
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("ViewportPixels"), ElementsAre(640.0F, 480.0F));
    EXPECT_EQ(context.askedViewport, 0U);
    context.viewport = {0, 0, 32, 16};
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("ViewportPixels"), ElementsAre(32.0F, 16.0F));
}

TEST_F(PointDisplayTest, TakesTheColoursOfThePoints) {
    const DisplayPtr<PointDisplay> colored(
        new PointDisplay("colored", cloud({{0, 0, 0}}, {{9, 8, 7, 255}})));
    ASSERT_TRUE(draw(*colored));
    EXPECT_THAT(vertexText(), HasSubstr("#define HAVE_COLORS\n"));
    EXPECT_THAT(attribute<Mirk::Color>("Colors"), ElementsAre(Mirk::Color{9, 8, 7, 255}));
}

TEST_F(PointDisplayTest, WithoutColoursTakesThatOfTheInput) {
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), Not(HasSubstr("#define HAVE_COLORS")));
    EXPECT_THAT(parameter("Color"), ElementsAre(0.85F, 0.80F, 0.60F, 1.0F));
}

TEST_F(PointDisplayTest, ReachesTheFarthestPoint) {
    const std::vector<vector> directions{{1, 0, 0}, {0, 1, 0}};
    std::vector<double> reaches{0, 0};
    object->reach(directions, reaches);
    EXPECT_THAT(reaches, ElementsAre(1e9 + 0.5, 4.0));
}

} // namespace
