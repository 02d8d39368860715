#include "testFiles.hpp"

using namespace Mirk;

namespace {

const std::string facet =
    "facet normal nan nan nan\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nvertex 0 1 0\nendloop\n"
    "endfacet\n";

TEST(StlReader, MergesEqualCorners) {
    const Dataset dataset = readContent("a.stl", "solid one\n" + facet + facet + "endsolid one\n");
    EXPECT_EQ(pointsOf(dataset).size(), 3u);
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2, 0, 1, 2}));
}

TEST(StlReader, MergesBothZeros) {
    const Dataset dataset = readContent(
        "a.stl",
        "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex -0 0 0\nvertex 0 1 0\n"
        "endloop\nendfacet\nendsolid\n");
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 0, 1}));
}

TEST(StlReader, MergesManyPoints) {
    std::string text = "solid\n";
    for (int i = 0; i < 500; ++i)
        text += "facet normal 0 0 1\nouter loop\nvertex " + std::to_string(i) + " 0 0\nvertex " +
                std::to_string(i + 1) + " 0 0\nvertex 0 1 0\nendloop\nendfacet\n";
    const Dataset dataset = readContent("a.stl", text + "endsolid\n");
    EXPECT_EQ(pointsOf(dataset).size(), 502u);
    EXPECT_EQ(pointsOf(dataset)[trianglesOf(dataset)[3 * 499 + 1]], (Point{500, 0, 0}));
}

TEST(StlReader, TakesSeveralSolidsAndAnyLineBreaks) {
    const Dataset dataset = readContent("a.stl", "solid one\r\n" + facet +
                                                     "endsolid one\n\nsolid facet\n"
                                                     "facet normal 0 0 1 outer loop vertex 5 0 0 "
                                                     "vertex\n6 0 0 vertex 5 6 7 endloop endfacet "
                                                     "endsolid facet");
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2, 3, 4, 5}));
    EXPECT_EQ(pointsOf(dataset)[5], (Point{5, 6, 7}));
}

// The size decides: no text is as long as 84 + 50 n with its bytes 80 to 83 giving n.
TEST(StlReader, IsNotTrappedByABinaryFileThatSaysSolid) {
    const std::string content = Tetrahedron::stlBinary();
    ASSERT_TRUE(content.starts_with("solid"));
    EXPECT_EQ(trianglesOf(readContent("a.stl", content)).size(), 12u);
}

TEST(StlReader, TellsOfAShortBinaryFileThatSaysSolid) {
    const std::string content = Tetrahedron::stlBinary();
    EXPECT_EQ(errorOf("a.stl", content.substr(0, 200)),
              "a.stl: byte 80: expected 4 facets in 284 bytes, got 200 bytes");
}

} // namespace
