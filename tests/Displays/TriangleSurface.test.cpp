#include <Displays/TriangleSurface.hpp>

#include "displayFixture.hpp"

#include <cmath>
#include <utility>

using Mirk::Polyp;
using Mirk::TriangleSurface;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::Not;

namespace {

using TriangleSurfaceTest = DisplayTest;

TEST_F(TriangleSurfaceTest, SendsVerticesRelativeToTheOrigin) {
    const double far = 1e9;
    const DisplayPtr<TriangleSurface> object(new TriangleSurface(
        "mesh", mesh({{far + 0.25, 0, 0}, {far + 2.25, 2, 0}, {far + 1.0, 4, 0}}, {0, 1, 2})));
    lookFrom(0, {far + 1.25, 2, 10});
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(
        attribute<FloatPoint>("Coordinates"),
        ElementsAre(FloatPoint{-1, -2, -10}, FloatPoint{1, 0, -10}, FloatPoint{-0.25F, 2, -10}));
}

TEST_F(TriangleSurfaceTest, HasNoSecondCopyOfItsTriangles) {
    Mirk::TriangleMesh data = mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
    const auto triangles = data.triangles;
    const DisplayPtr<TriangleSurface> object(new TriangleSurface("mesh", std::move(data)));
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(context.made<RecordingAttribute>("Indices").data.get(), triangles.get());
}

TEST_F(TriangleSurfaceTest, DrawsItsTriangles) {
    const DisplayPtr<TriangleSurface> object(
        new TriangleSurface("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2})));
    EXPECT_EQ(callsOfDraw(*object, "draw Painter Indices"), 1);
    EXPECT_THAT(attribute<std::uint32_t>("Indices"), ElementsAre(0, 1, 2));
}

TEST_F(TriangleSurfaceTest, TakesTheColoursOfItsPoints) {
    const DisplayPtr<TriangleSurface> object(
        new TriangleSurface("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2},
                                         {{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 255, 255}})));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("#define HAVE_COLORS\n"));
    EXPECT_EQ(attribute<Mirk::Color>("Colors")[1], (Mirk::Color{0, 255, 0, 255}));
    EXPECT_FALSE(context.has("Color"));
}

TEST_F(TriangleSurfaceTest, WithoutColoursTakesThatOfTheInputWithoutBeingFilledAnew) {
    const DisplayPtr<TriangleSurface> object(
        new TriangleSurface("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), Not(HasSubstr("#define HAVE_COLORS")));
    EXPECT_THAT(parameter("Color"), ElementsAre(0.80F, 0.78F, 0.74F, 1.0F));
    object->color().set(context.pool, {1.0F, 0.5F, 0.0F, 1.0F});
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("Color"), ElementsAre(1.0F, 0.5F, 0.0F, 1.0F));
}

TEST_F(TriangleSurfaceTest, DataThatCannotBeDrawnAreReported) {
    const auto reportFor = [&](Mirk::TriangleMesh data) {
        const DisplayPtr<TriangleSurface> object(new TriangleSurface("mesh", std::move(data)));
        EXPECT_FALSE(request(*object));
        testing::internal::CaptureStdout();
        EXPECT_TRUE(draw(*object));
        testing::internal::GetCapturedStdout();
        EXPECT_TRUE(boundsOf(*object).empty());
        return reportOf(*object);
    };
    EXPECT_THAT(reportFor({}), HasSubstr("there are no triangles"));
    EXPECT_THAT(reportFor(mesh({}, {})), HasSubstr("there are no triangles"));
    EXPECT_THAT(reportFor(mesh({{0, 0, 0}, {1, 0, 0}}, {0, 1})),
                HasSubstr("expected three corners for each triangle, got 2 in all"));
    EXPECT_THAT(reportFor(mesh({{0, 0, 0}, {1, 0, 0}}, {0, 1, 0, 1, 2, 0})),
                HasSubstr("triangle 1 has the point 2, expected numbers below 2"));
    EXPECT_THAT(reportFor(mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2}, {{1, 2, 3, 4}})),
                HasSubstr("expected 3 colours, as there are that many points, got 1"));
    const double nan = std::nan("");
    EXPECT_THAT(reportFor(mesh({{nan, 0, 0}, {nan, 1, 0}, {0, 1, nan}}, {0, 1, 2})),
                HasSubstr("there are no triangles"));
}

TEST_F(TriangleSurfaceTest, TrianglesWithACornerThatIsNoNumberAreLeftOut) {
    const double nan = std::nan("");
    const DisplayPtr<TriangleSurface> object(new TriangleSurface(
        "mesh", mesh({{0, 0, 0}, {4, 0, 0}, {0, 4, 0}, {nan, 9, 9}}, {0, 1, 3, 0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(attribute<std::uint32_t>("Indices"), ElementsAre(0, 1, 2));
    EXPECT_EQ(boundsOf(*object).max, (point{4, 4, 0}));
}

TEST_F(TriangleSurfaceTest, SmoothSurfaceTakesTheNormalsOfItsPoints) {
    Mirk::TriangleMesh data = mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
    data.normals = Mirk::makeChunk(std::vector<Mirk::Normal>(3, Mirk::Normal{1, 0, 0}));
    const DisplayPtr<TriangleSurface> object(new TriangleSurface("mesh", std::move(data)));
    ASSERT_TRUE(draw(*object));
    EXPECT_FALSE(context.has("Normals"));
    object->smooth().set({}, true);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("#define SMOOTH\n"));
    EXPECT_EQ(attribute<Mirk::Normal>("Normals")[2], (Mirk::Normal{1, 0, 0}));
}

TEST_F(TriangleSurfaceTest, ListsOfNothingAreNone) {
    Mirk::TriangleMesh data = mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2});
    data.colors = Mirk::makeChunk(std::vector<Mirk::Color>{});
    data.normals = Mirk::makeChunk(std::vector<Mirk::Normal>{});
    const DisplayPtr<TriangleSurface> object(new TriangleSurface("mesh", std::move(data)));
    object->smooth().set({}, true);
    ASSERT_TRUE(draw(*object));
    EXPECT_FALSE(context.has("Colors"));
    EXPECT_TRUE(context.has("Normals"));
}

TEST_F(TriangleSurfaceTest, NormalsThatAreMissingAreThoseOfTheTrianglesAround) {
    // A roof: two sides of equal size that meet at the ridge.
    const DisplayPtr<TriangleSurface> object(new TriangleSurface(
        "roof", mesh({{0, 0, 1}, {0, 2, 1}, {1, 0, 0}, {-1, 2, 0}}, {0, 2, 1, 0, 1, 3})));
    object->smooth().set({}, true);
    ASSERT_TRUE(draw(*object));
    const auto normals = attribute<Mirk::Normal>("Normals");
    const float side = std::sqrt(0.5F);
    EXPECT_NEAR(normals[2][0], side, 1e-6);
    EXPECT_NEAR(normals[2][2], side, 1e-6);
    EXPECT_NEAR(normals[3][0], -side, 1e-6);
    EXPECT_NEAR(normals[0][0], 0.0F, 1e-6);
    EXPECT_NEAR(normals[0][2], 1.0F, 1e-6);
}

TEST_F(TriangleSurfaceTest, EdgesTakeAGeometryStage) {
    const DisplayPtr<TriangleSurface> object(
        new TriangleSurface("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::NoGeometryInput);
    object->edges().set({}, true);
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_EQ(program().input, Mirk::RenderNamespace::TrianglesInput);
    EXPECT_THAT(parameter("EdgeWidth"), ElementsAre(1.0F));
    object->edgeWidth().set({}, 3.0);
    object->edgeColor().set({}, {1, 0, 0, 1});
    EXPECT_FALSE(isRefilledByDraw(*object));
    EXPECT_THAT(parameter("EdgeWidth"), ElementsAre(3.0F));
    EXPECT_THAT(parameter("EdgeColor"), ElementsAre(1.0F, 0.0F, 0.0F, 1.0F));
}

TEST_F(TriangleSurfaceTest, InputThatChangesBetweenRequestAndFrameWaitsForTheNextRequest) {
    const DisplayPtr<TriangleSurface> object(
        new TriangleSurface("mesh", mesh({{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}, {0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    object->smooth().set({}, true);
    const Mirk::View view;
    EXPECT_TRUE(object->render(context, view, sub));
    EXPECT_FALSE(context.has("Normals"));
    EXPECT_TRUE(isRefilledByDraw(*object));
    EXPECT_TRUE(context.has("Normals"));
}

TEST_F(TriangleSurfaceTest, PointsWithoutTrianglesDoNotWidenTheBounds) {
    const DisplayPtr<TriangleSurface> object(new TriangleSurface(
        "mesh", mesh({{0, 0, 0}, {2, 0, 0}, {0, 2, 0}, {1e30, 0, 0}}, {0, 1, 2})));
    ASSERT_TRUE(draw(*object));
    EXPECT_EQ(boundsOf(*object).max, (point{2, 2, 0}));
    EXPECT_EQ(attribute<FloatPoint>("Coordinates")[1], (FloatPoint{2, 0, 0}));
}

/// Tells what levels its pieces have.
class LeveledSurface : public TriangleSurface {
public:
    explicit LeveledSurface(const Mirk::TriangleMesh& data)
        : VObject("mesh", 0, {}), TriangleSurface("mesh", data) {}

    mutable std::vector<Levels> levels;

protected:
    Drawing fill(Polyp& polyp, Mirk::VRenderContext& context, Mirk::RenderBasin::Program& program,
                 const Content& content, const point& origin, std::size_t piece,
                 Form form) const override {
        Drawing drawing =
            TriangleSurface::fill(polyp, context, program, content, origin, piece, form);
        levels.push_back(drawing.levels);
        return drawing;
    }
};

TEST_F(TriangleSurfaceTest, PieceOfWhichACoarserLevelLeavesNothingHasThatLevelAsItsNeighboursDo) {
    // As many points as a piece has, and a speck in another.
    constexpr std::uint32_t columns = 256;
    static_assert(columns * columns == TriangleSurface::pieceVertices);
    std::vector<Mirk::Point> points;
    std::vector<std::uint32_t> corners;
    for (std::uint32_t i = 0; i < columns * columns; ++i) {
        const std::uint32_t column = i % columns, row = i / columns;
        points.push_back({static_cast<double>(column), static_cast<double>(row), 0.0});
        if (column > 0 && row > 0) {
            for (const std::uint32_t corner : {i, i - 1, i - columns}) corners.push_back(corner);
        }
    }
    for (const auto& [x, y] : {std::pair(100.3, 100.3), {100.301, 100.3}, {100.3, 100.301}}) {
        corners.push_back(static_cast<std::uint32_t>(points.size()));
        points.push_back({x, y, 0.0});
    }
    const DisplayPtr<LeveledSurface> object(new LeveledSurface(mesh(points, corners)));
    ASSERT_TRUE(drawAt(0.5, *object));
    ASSERT_EQ(object->levels.size(), 2U);
    ASSERT_EQ(object->levels[1].size(), object->levels[0].size());
    for (std::size_t level = 1; level < object->levels[0].size(); ++level) {
        EXPECT_GT(object->levels[0][level].second, 0) << level;
        EXPECT_EQ(object->levels[1][level].second, 0) << level;
    }
}

TEST_F(TriangleSurfaceTest, LevelsThatLeaveNothingAreNoLevels) {
    const DisplayPtr<LeveledSurface> object(
        new LeveledSurface(mesh({{1, 2, 3}, {1, 2, 3}, {1, 2, 3}}, {0, 1, 2})));
    ASSERT_TRUE(drawAt(0.5, *object));
    ASSERT_EQ(object->levels.size(), 1U);
    EXPECT_THAT(object->levels[0], ElementsAre(std::pair(0, 3)));
}

TEST_F(TriangleSurfaceTest, LargeSurfaceIsDrawnInPiecesOfItsOwnPoints) {
    // Triangles side by side, each with three points of its own.
    constexpr std::uint32_t triangles = TriangleSurface::pieceVertices / 3 + 2;
    std::vector<Mirk::Point> points;
    std::vector<std::uint32_t> corners;
    std::vector<Mirk::Color> colors;
    for (std::uint32_t i = 0; i < triangles; ++i) {
        for (std::uint32_t corner = 0; corner < 3; ++corner) {
            corners.push_back(static_cast<std::uint32_t>(points.size()));
            points.push_back(
                {static_cast<double>(i), corner == 1 ? 1.0 : 0, corner == 2 ? 1.0 : 0});
            colors.push_back({static_cast<unsigned char>(i % 251), 0, 0, 255});
        }
    }
    const DisplayPtr<TriangleSurface> large(
        new TriangleSurface("large", mesh(points, corners, colors)));
    large->smooth().set({}, true);
    EXPECT_EQ(callsOfDraw(*large, "draw Painter Indices"), 2);
    // The last piece: what has no room in the first one.
    const std::uint32_t inFirst = TriangleSurface::pieceVertices / 3;
    const std::uint32_t inLast = triangles - inFirst;
    ASSERT_EQ(attribute<FloatPoint>("Coordinates").size(), 3 * inLast);
    EXPECT_EQ(attribute<std::uint32_t>("Indices").size(), 3 * inLast);
    EXPECT_EQ(attribute<Mirk::Normal>("Normals").size(), 3 * inLast);
    EXPECT_EQ(attribute<Mirk::Color>("Colors").back()[0], (triangles - 1) % 251);
    EXPECT_EQ(attribute<FloatPoint>("Coordinates").back().x, static_cast<float>(triangles - 1));
}

} // namespace
