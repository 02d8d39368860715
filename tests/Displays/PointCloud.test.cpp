#include <Displays/PointCloud.hpp>

#include "displayFixture.hpp"

#include <cmath>
#include <limits>

using Mirk::PointCloud;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

class PointCloudTest : public DisplayTest {
protected:
    const DisplayPtr<PointCloud> object{
        new PointCloud("points", cloud({{1e9 + 0.5, 0, 0}, {1e9 - 0.5, 4, 0}}))};
};

TEST_F(PointCloudTest, DrawsItsPointsRelativeToTheOrigin) {
    lookFrom(0, {1e9, 2, 0});
    EXPECT_EQ(callsOfDraw(*object, "draw Painter Coordinates"), 1);
    EXPECT_THAT(attribute<FloatPoint>("Coordinates"),
                ElementsAre(FloatPoint{0.5F, -2, 0}, FloatPoint{-0.5F, 2, 0}));
}

TEST_F(PointCloudTest, SizeFollowsTheInputWithoutBeingFilledAnew) {
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(3.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 1.5);
    object->pointSize().set(context.pool, 8.0);
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(8.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 4.0);
}

TEST_F(PointCloudTest, SizeIsNotBelowZero) {
    object->pointSize().set(context.pool, -8.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(0.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 0.0);
    object->pointSize().set(context.pool, std::nan(""));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("PointSize"), ElementsAre(0.0F));
}

TEST_F(PointCloudTest, SizeOfThePictureIsAskedInEachFrame) {
    context.viewport = {0, 0, 640, 480};
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("ViewportPixels"), ElementsAre(640.0F, 480.0F));
    EXPECT_EQ(context.askedViewport, 0U);
    context.viewport = {0, 0, 32, 16};
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("ViewportPixels"), ElementsAre(32.0F, 16.0F));
}

TEST_F(PointCloudTest, TakesTheColoursOfThePoints) {
    const DisplayPtr<PointCloud> colored(
        new PointCloud("colored", cloud({{0, 0, 0}}, {{9, 8, 7, 255}})));
    ASSERT_TRUE(draw(*colored));
    EXPECT_THAT(vertexText(), HasSubstr("#define HAVE_COLORS\n"));
    EXPECT_THAT(attribute<Mirk::Color>("Colors"), ElementsAre(Mirk::Color{9, 8, 7, 255}));
}

TEST_F(PointCloudTest, WithoutColoursTakesThatOfTheInput) {
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), Not(HasSubstr("#define HAVE_COLORS")));
    EXPECT_THAT(parameter("Color"), ElementsAre(0.85F, 0.80F, 0.60F, 1.0F));
}

TEST_F(PointCloudTest, ListOfNoColoursIsNone) {
    Mirk::PointSet data = cloud({{0, 0, 0}, {1, 0, 0}});
    data.colors = Mirk::makeChunk(std::vector<Mirk::Color>{});
    object->points().set({}, data);
    ASSERT_TRUE(draw(*object));
    EXPECT_FALSE(context.has("Colors"));
}

TEST_F(PointCloudTest, PointsThatAreNoNumbersAreLeftOut) {
    const double nan = std::nan("");
    const DisplayPtr<PointCloud> some(
        new PointCloud("some", cloud({{1, 0, 0}, {nan, 0, 0}, {3, 0, 0}},
                                     {{1, 1, 1, 1}, {2, 2, 2, 2}, {3, 3, 3, 3}})));
    ASSERT_TRUE(draw(*some));
    EXPECT_THAT(attribute<FloatPoint>("Coordinates"),
                ElementsAre(FloatPoint{1, 0, 0}, FloatPoint{3, 0, 0}));
    EXPECT_THAT(attribute<Mirk::Color>("Colors"),
                ElementsAre(Mirk::Color{1, 1, 1, 1}, Mirk::Color{3, 3, 3, 3}));
}

TEST_F(PointCloudTest, CloudThatIsTooLargeForAPieceHasSeveral) {
    std::vector<Mirk::Point> points(PointCloud::pieceVertices + 2);
    for (std::size_t i = 0; i < points.size(); ++i) points[i] = {static_cast<double>(i), 0, 0};
    const DisplayPtr<PointCloud> large(new PointCloud("large", cloud(points)));
    EXPECT_EQ(callsOfDraw(*large, "draw Painter Coordinates"), 2);
    EXPECT_EQ(attribute<FloatPoint>("Coordinates").size(), 2U);
}

TEST_F(PointCloudTest, DataThatCannotBeDrawnAreReported) {
    const auto reportFor = [&](Mirk::PointSet data) {
        const DisplayPtr<PointCloud> points(new PointCloud("points", data));
        testing::internal::CaptureStdout();
        EXPECT_TRUE(draw(*points));
        testing::internal::GetCapturedStdout();
        return reportOf(*points);
    };
    EXPECT_THAT(reportFor({}), HasSubstr("there are no points"));
    EXPECT_THAT(reportFor(cloud({{0, 0, 0}, {1, 0, 0}}, {{1, 2, 3, 4}})),
                HasSubstr("expected 2 colours, as there are that many points, got 1"));
    const double infinity = std::numeric_limits<double>::infinity();
    EXPECT_THAT(reportFor(cloud({{0, 0, infinity}})),
                HasSubstr("none of the 1 points has coordinates that are finite numbers"));
}

TEST_F(PointCloudTest, BeginningsOfACloudAreSpreadOverAllOfIt) {
    constexpr std::size_t number = 1000;
    std::vector<Mirk::Point> points(number);
    std::vector<Mirk::Color> colors(number);
    for (std::size_t i = 0; i < number; ++i) {
        points[i] = {static_cast<double>(i), 0, 0};
        colors[i] = {static_cast<unsigned char>(i % 256), 0, 0, 255};
    }
    const DisplayPtr<PointCloud> object1000(new PointCloud("1000", cloud(points, colors)));
    ASSERT_TRUE(drawAt(0.125, *object1000));
    const auto drawn = attribute<FloatPoint>("Coordinates");
    const auto drawnColors = attribute<Mirk::Color>("Colors");
    std::vector<int> inTenth(10), all(number);
    for (std::size_t i = 0; i < number; ++i) {
        const auto index = static_cast<std::size_t>(drawn[i].x);
        ASSERT_LT(index, number);
        ++all[index];
        EXPECT_EQ(drawnColors[i][0], index % 256); // each keeps its colour
        if (i < number / 8) ++inTenth[index / 100];
    }
    EXPECT_THAT(all, testing::Each(1));
    // 12.5 on average; in the order of the data 100 would be in the first tenth, and random ones
    // would vary by 3 or 4 each.
    EXPECT_THAT(inTenth, testing::Each(testing::AllOf(testing::Ge(9), testing::Le(16))));
}

} // namespace
