#include "testFiles.hpp"

using namespace Mirk;

namespace {

TEST(OffReader, PassesOverCommentsEmptyLinesAndCarriageReturns) {
    const Dataset dataset =
        readContent("a.off", "# first\r\nOFF # what it is\r\n\r\n3 1 0 # counts\r\n"
                             "0 0 0 # origin\r\n\r\n+1 0 0\r\n0 1 0\r\n3 0 1 2");
    EXPECT_EQ(pointsOf(dataset), (std::vector<Point>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(OffReader, TakesCountsOnTheFirstLineAndWithoutEdges) {
    EXPECT_EQ(pointsOf(readContent("a.off", "OFF 1 0\n1 2 3\n")).size(), 1u);
}

TEST(OffReader, TakesAFileWithoutItsKeyByItsName) {
    EXPECT_EQ(pointsOf(readContent("a.off", "1 0 0\n1 2 3\n")), (std::vector<Point>{{1, 2, 3}}));
}

TEST(OffReader, CutsPolygonsIntoFansAndLeavesOutEdges) {
    const Dataset dataset =
        readContent("a.off", "OFF\n4 3 0\n0 0 0\n1 0 0\n1 1 0\n0 1 0\n4 0 1 2 3\n2 0 1\n1 3\n");
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
}

TEST(OffReader, WithoutTrianglesGivesACloud) {
    EXPECT_TRUE(std::holds_alternative<PointSet>(readContent("a.off", "OFF\n1 0 0\n1 2 3\n")));
}

TEST(OffReader, PassesOverColorsOfFaces) {
    const Dataset dataset =
        readContent("a.off", "OFF\n3 1 0\n0 0 0\n1 0 0\n0 1 0\n3 0 1 2 255 0 0\n");
    EXPECT_EQ(trianglesOf(dataset).size(), 3u);
}

TEST(OffReader, ReadsColorsAsBytes) {
    const Dataset dataset = readContent(
        "a.off", "COFF\n3 1 0\n0 0 0 255 0 1 128\n1 0 0 0 255 0 255\n0 1 0 1 2 3\n3 0 1 2\n");
    EXPECT_EQ(colorsOf(dataset),
              (std::vector<Color>{{255, 0, 1, 128}, {0, 255, 0, 255}, {1, 2, 3, 255}}));
}

TEST(OffReader, ReadsColorsAsFractions) {
    const Dataset dataset = readContent(
        "a.off", "COFF\n3 1 0\n0 0 0 1 0 0.5 1\n1 0 0 0 1 0 0\n0 1 0 0 0 1 1\n3 0 1 2\n");
    EXPECT_EQ(colorsOf(dataset),
              (std::vector<Color>{{255, 0, 128, 255}, {0, 255, 0, 0}, {0, 0, 255, 255}}));
}

TEST(OffReader, ReadsNormalsBeforeColorsBeforeTexture) {
    const Dataset dataset = readContent("a.off", "STCNOFF\n3 1 0\n"
                                                 "0 0 0  0 0 1  9 8 7  0.5 0.5\n"
                                                 "1 0 0  0 1 0  9 8 7  0.5 0.5\n"
                                                 "0 1 0  1 0 0  9 8 7  0.5 0.5\n3 0 1 2\n");
    EXPECT_EQ(normalsOf(dataset), (std::vector<Normal>{{0, 0, 1}, {0, 1, 0}, {1, 0, 0}}));
    EXPECT_EQ(colorsOf(dataset)[2], (Color{9, 8, 7, 255}));
}

TEST(OffReader, DemandsTheNormalsThatTheKeyPromises) {
    EXPECT_EQ(errorOf("a.off", "NOFF\n1 0 0\n1 2 3\n"),
              "a.off: line 3: expected component of a normal, got the end of the line");
    EXPECT_EQ(errorOf("a.off", "COFF\n1 0 0\n1 2 3 4 5\n"),
              "a.off: line 3: expected a colour of 3 or 4 numbers, got 2");
}

TEST(OffReader, ReadsNumbersTooSmallForADouble) {
    EXPECT_EQ(pointsOf(readContent("a.off", "OFF\n1 0 0\n1e-999 -1e-999 5e-324\n")),
              (std::vector<Point>{{0, -0.0, 5e-324}}));
}

} // namespace
