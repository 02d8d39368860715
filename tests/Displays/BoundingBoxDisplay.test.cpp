#include <Displays/BoundingBoxDisplay.hpp>

#include "displayFixture.hpp"

#include <Displays/PointCloud.hpp>

#include <limits>
#include <set>

using Mirk::BoundingBoxDisplay;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class BoundingBoxDisplayTest : public DisplayTest {
protected:
    void setBox(const point& min, const point& max) {
        object->box().set(
            {}, Mirk::SharedBoundingBox(Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(
                    new Skua::BoundingBox(min, max))));
    }
    const DisplayPtr<BoundingBoxDisplay> object{new BoundingBoxDisplay("box")};
};

TEST_F(BoundingBoxDisplayTest, DrawsTheTwelveEdges) {
    setBox({1, 2, 3}, {3, 6, 11});
    ASSERT_TRUE(draw(*object));
    const auto corners = attribute<FloatPoint>("Coordinates");
    ASSERT_EQ(corners.size(), 24U);
    std::set<std::pair<std::array<float, 3>, std::array<float, 3>>> edges;
    for (std::size_t i = 0; i < corners.size(); i += 2) {
        const FloatPoint &a = corners[i], &b = corners[i + 1];
        EXPECT_EQ(std::abs(a.x - 2), 1);
        EXPECT_EQ(std::abs(a.y - 4), 2);
        EXPECT_EQ(std::abs(a.z - 7), 4);
        EXPECT_EQ((a.x != b.x) + (a.y != b.y) + (a.z != b.z), 1);
        edges.insert({{a.x, a.y, a.z}, {b.x, b.y, b.z}});
    }
    EXPECT_EQ(edges.size(), 12U);
    EXPECT_EQ(boundsOf(*object).max, (point{3, 6, 11}));
}

TEST_F(BoundingBoxDisplayTest, FollowsTheBoxOfAnotherObject) {
    const DisplayPtr<Mirk::PointCloud> points(
        new Mirk::PointCloud("points", cloud({{0, 0, 0}, {1, 2, 3}})));
    object->attach(object->box()->ownParameter(), points->boundingBoxOutput(), "");
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(boundsOf(*object).max, (point{1, 2, 3}));
    points->points().set({}, cloud({{0, 0, 0}, {7, 2, 3}}));
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(boundsOf(*object).max, (point{7, 2, 3}));
}

TEST_F(BoundingBoxDisplayTest, ColourAndWidthAreThoseOfTheInputs) {
    setBox({0, 0, 0}, {1, 1, 1});
    object->color().set({}, {1, 0, 0, 1});
    object->lineWidth().set({}, 4.0);
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(parameter("Color"), ElementsAre(1.0F, 0.0F, 0.0F, 1.0F));
    EXPECT_THAT(parameter("LineWidth"), ElementsAre(4.0F));
    EXPECT_EQ(object->marginPixels(context.pool), 2.0);
}

TEST_F(BoundingBoxDisplayTest, WithoutABoxThatCanBeDrawnItSaysSo) {
    const auto reportOfDraw = [&] {
        testing::internal::CaptureStdout();
        EXPECT_TRUE(draw(*object));
        testing::internal::GetCapturedStdout();
        return reportOf(*object);
    };
    EXPECT_THAT(reportOfDraw(), HasSubstr("there is no box"));
    setBox({0, 0, 0}, {std::numeric_limits<double>::infinity(), 1, 1});
    EXPECT_THAT(reportOfDraw(), HasSubstr("the box has corners that are no finite numbers"));
    setBox({0, 0, 0}, {1, 1, 1});
    EXPECT_EQ(reportOfDraw(), "");
}

} // namespace
