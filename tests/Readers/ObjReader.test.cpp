#include "testFiles.hpp"

using namespace Mirk;

namespace {

const std::string square = "v 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\n";

TEST(ObjReader, ReadsAllFormsOfCorners) {
    for (const std::string face : {"f 1 2 3", "f 1/1 2/2 3/3", "f 1//1 2//1 3//1",
                                   "f 1/1/1 2/2/1 3/3/1", "f -4 -3 -2", "f -4/-1/-1 -3/1/1 3//-1"})
        EXPECT_EQ(trianglesOf(readContent("a.obj", square + "vn 0 0 1\nvt 0 0\n" + face + "\n")),
                  (std::vector<std::uint32_t>{0, 1, 2}))
            << face;
}

TEST(ObjReader, CutsPolygonsIntoFans) {
    EXPECT_EQ(trianglesOf(readContent("a.obj", square + "f 1 2 3 4\n")),
              (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3}));
}

TEST(ObjReader, CountsNegativeIndicesFromWhereTheFaceStands) {
    EXPECT_EQ(trianglesOf(readContent("a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -3 -2 -1\nv 9 9 9\n")),
              (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(ObjReader, TakesFacesBeforeTheirPoints) {
    EXPECT_EQ(trianglesOf(readContent("a.obj", "f 1 2 3\n" + square)),
              (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(ObjReader, PassesOverGroupsMaterialsAndUnknownKeys) {
    EXPECT_EQ(trianglesOf(readContent("a.obj", "mtllib m.mtl\no one\ng a b\ns off\nusemtl red\n" +
                                                   square + "l 1 2\nwhatever\nf 1 2 3\n"))
                  .size(),
              3u);
}

TEST(ObjReader, JoinsLinesAtABackslash) {
    EXPECT_EQ(trianglesOf(readContent("a.obj", square + "f 1 2 \\\r\n3 \\\n4\n")).size(), 6u);
    EXPECT_EQ(errorOf("a.obj", "v 0 0 \\\n0\nv 1\n"),
              "a.obj: line 3: expected y of a point, got the end of the line");
}

TEST(ObjReader, ReadsColorsBehindPointsAndIgnoresWeights) {
    EXPECT_EQ(colorsOf(readContent("a.obj", "v 0 0 0 1 0 0\nv 1 0 0 0 1 0\nv 0 1 0 0 0 0.5\n"
                                            "f 1 2 3\n")),
              (std::vector<Color>{{255, 0, 0, 255}, {0, 255, 0, 255}, {0, 0, 128, 255}}));
    const auto weighted =
        std::get<TriangleMesh>(readContent("a.obj", "v 0 0 0 1\nv 1 0 0 1\nv 0 1 0 1\nf 1 2 3\n"));
    EXPECT_FALSE(weighted.colors);
}

TEST(ObjReader, GivesEachPointTheNormalOfItsCorners) {
    const Dataset dataset = readContent("a.obj", square + "vn 0 0 1\nvn 0 1 0\nf 1//1 2//1 3//2\n");
    EXPECT_EQ(normalsOf(dataset),
              (std::vector<Normal>{{0, 0, 1}, {0, 0, 1}, {0, 1, 0}, {0, 0, 0}}));
}

TEST(ObjReader, DoublesPointsThatHaveSeveralNormals) {
    const Dataset dataset = readContent(
        "a.obj",
        square + "vn 0 0 1\nvn 0 1 0\nf 1//1 2//1 3//1\nf 1//2 3//2 4//2\nf 3//2 1//2 4//2\n");
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2, 4, 5, 3, 5, 4, 3}));
    EXPECT_EQ(pointsOf(dataset)[4], pointsOf(dataset)[0]);
    EXPECT_EQ(pointsOf(dataset)[5], pointsOf(dataset)[2]);
    EXPECT_EQ(
        normalsOf(dataset),
        (std::vector<Normal>{{0, 0, 1}, {0, 0, 1}, {0, 0, 1}, {0, 1, 0}, {0, 1, 0}, {0, 1, 0}}));
}

TEST(ObjReader, TakesFacesWithAndWithoutNormals) {
    const Dataset dataset =
        readContent("a.obj", square + "f 1 2 3\nvn 0 0 1\nf 1//1 3//1 4//1\nf 1 2 4\n");
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3, 0, 1, 3}));
    EXPECT_EQ(normalsOf(dataset)[1], (Normal{0, 0, 0}));
}

} // namespace
