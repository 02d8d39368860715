#include <Displays/MeshDisplay.hpp>

#include "displayFixture.hpp"

using Mirk::MeshDisplay;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using MeshDisplayTest = DisplayTest;

TEST_F(MeshDisplayTest, SendsVerticesRelativeToTheMiddleOfTheBounds) {
    const double far = 1e9;
    const DisplayPtr<MeshDisplay> object(new MeshDisplay(
        "mesh", mesh({{far + 0.25, 0, 0}, {far + 2.25, 2, 0}, {far + 1.0, 4, 0}}, {0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(object->origin(), (point{far + 1.25, 2, 0}));
    EXPECT_THAT(attribute<FloatPoint>("Coordinates"),
                ElementsAre(FloatPoint{-1, -2, 0}, FloatPoint{1, 0, 0}, FloatPoint{-0.25F, 2, 0}));
}

TEST_F(MeshDisplayTest, KeepsItsDataInTheWorldAndInDoublePrecision) {
    const DisplayPtr<MeshDisplay> object(
        new MeshDisplay("mesh", mesh({{1e9 + 0.25, 0, 0}, {0, 1, 0}, {0, 0, 7}}, {0, 1, 2})));
    draw(*object);
    seagrass->lawn();
    draw(*object);
    const std::vector<vector> directions{{1, 0, 0}, {0, 0, -1}, {0, 2, 0}};
    std::vector<double> reaches{0, -9, 5};
    object->reach(directions, reaches);
    EXPECT_THAT(reaches, ElementsAre(1e9 + 0.25, 0.0, 5.0));
    EXPECT_EQ(object->marginPixels(context.pool), 0.0);
}

TEST_F(MeshDisplayTest, HasNoSecondCopyOfItsTriangles) {
    Mirk::TriangleMesh data = mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
    const auto triangles = data.triangles;
    const DisplayPtr<MeshDisplay> object(new MeshDisplay("mesh", std::move(data)));
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(context.made<RecordingAttribute>("Indices").data.get(), triangles.get());
}

TEST_F(MeshDisplayTest, DropsWhatIsNotDrawn) {
    Mirk::TriangleMesh data = mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
    data.normals = Mirk::makeChunk(std::vector<Mirk::Normal>(3));
    const Keel::WeakPtr<Keel::Chunk<Mirk::Normal>, Keel::ChunkBase> normals(data.normals);
    const DisplayPtr<MeshDisplay> object(new MeshDisplay("mesh", std::move(data)));
    EXPECT_FALSE(normals);
}

TEST_F(MeshDisplayTest, DrawsItsTriangles) {
    const DisplayPtr<MeshDisplay> object(
        new MeshDisplay("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2})));
    EXPECT_EQ(callsOfDraw(*object, "draw Painter Indices"), 1);
    EXPECT_THAT(attribute<std::uint32_t>("Indices"), ElementsAre(0, 1, 2));
}

TEST_F(MeshDisplayTest, TakesTheColoursOfItsPoints) {
    const DisplayPtr<MeshDisplay> object(
        new MeshDisplay("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2},
                                     {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}})));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("#define HAVE_COLORS\n"));
    EXPECT_EQ(attribute<Mirk::Color>("Colors")[1], (Mirk::Color{0, 255, 0, 255}));
    EXPECT_FALSE(context.has("Color"));
}

TEST_F(MeshDisplayTest, WithoutColoursTakesThatOfTheInputWithoutBeingFilledAnew) {
    const DisplayPtr<MeshDisplay> object(
        new MeshDisplay("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), Not(HasSubstr("#define HAVE_COLORS")));
    EXPECT_THAT(parameter("Color"), ElementsAre(0.80F, 0.78F, 0.74F, 1.0F));
    object->color().set(context.pool, {1.0F, 0.5F, 0.0F, 1.0F});
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("Color"), ElementsAre(1.0F, 0.5F, 0.0F, 1.0F));
}

TEST_F(MeshDisplayTest, EmptyMeshIsNoFailure) {
    const DisplayPtr<MeshDisplay> object(new MeshDisplay("mesh", mesh({}, {})));
    EXPECT_TRUE(draw(*object));
    EXPECT_TRUE(object->bounds().empty());
}

TEST_F(MeshDisplayTest, MeshWithoutChunksIsNotDrawn) {
    const DisplayPtr<MeshDisplay> object(new MeshDisplay("mesh", {}));
    EXPECT_FALSE(draw(*object));
}

} // namespace
