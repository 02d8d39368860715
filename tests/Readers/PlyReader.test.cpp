#include "testFiles.hpp"

using namespace Mirk;

namespace {

std::string header(const std::string& rest, const std::string& encoding = "ascii") {
    return "ply\nformat " + encoding + " 1.0\n" + rest + "end_header\n";
}

const std::string xyz = "property float x\nproperty float y\nproperty float z\n";

template<class T>
void appendAll(std::string& bytes, bool bigEndian, std::initializer_list<int> numbers) {
    for (const int number : numbers) bytes += bytesOf(static_cast<T>(number), bigEndian);
}

struct ListTypes {
    std::string count, index;
    std::string (*face)(bool bigEndian);

    friend void PrintTo(const ListTypes& types, std::ostream* out) {
        *out << types.count << " " << types.index;
    }
};

template<class Count, class Index>
std::string faceOf(bool bigEndian) {
    std::string bytes;
    appendAll<Count>(bytes, bigEndian, {4});
    appendAll<Index>(bytes, bigEndian, {0, 1, 2, 3});
    return bytes;
}

class PlyLists : public testing::TestWithParam<ListTypes> {};

TEST_P(PlyLists, AreReadInBothByteOrders) {
    for (const bool bigEndian : {false, true}) {
        std::string bytes =
            header("element vertex 4\n" + xyz + "element face 2\nproperty list " +
                       GetParam().count + " " + GetParam().index + " vertex_index\n",
                   bigEndian ? "binary_big_endian" : "binary_little_endian");
        appendAll<float>(bytes, bigEndian, {0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 7});
        const std::string face = GetParam().face(bigEndian);
        const Dataset dataset = readContent("a.ply", bytes + face + face);
        EXPECT_EQ(pointsOf(dataset)[3], (Point{0, 1, 7}));
        EXPECT_EQ(trianglesOf(dataset),
                  (std::vector<std::uint32_t>{0, 1, 2, 0, 2, 3, 0, 1, 2, 0, 2, 3}));
    }
}

INSTANTIATE_TEST_SUITE_P(
    AllWidths, PlyLists,
    testing::Values(ListTypes{"uchar", "int", faceOf<std::uint8_t, std::int32_t>},
                    ListTypes{"char", "uint", faceOf<std::int8_t, std::uint32_t>},
                    ListTypes{"short", "uchar", faceOf<std::int16_t, std::uint8_t>},
                    ListTypes{"ushort", "char", faceOf<std::uint16_t, std::int8_t>},
                    ListTypes{"int", "short", faceOf<std::int32_t, std::int16_t>},
                    ListTypes{"uint", "ushort", faceOf<std::uint32_t, std::uint16_t>},
                    ListTypes{"uint8", "int32", faceOf<std::uint8_t, std::int32_t>},
                    ListTypes{"uint32", "uint16", faceOf<std::uint32_t, std::uint16_t>}));

TEST(PlyReader, PassesOverFurtherElementsAndPropertiesInText) {
    const Dataset dataset = readContent(
        "a.ply",
        header("obj_info made by hand\nelement camera 1\nproperty list uchar float lens\n"
               "property float zoom\nelement vertex 3\nproperty float quality\n" +
               xyz +
               "property list uchar int tags\nelement face 1\n"
               "property uchar flags\nproperty list uchar int vertex_indices\n"
               "property list uchar float texcoord\nelement edge 1\n"
               "property int a\n") +
            "2 1.5 2.5 nan\n9 0 0 0 0\n9 1 0 0 2 7 7\n9 0 1 0 1 7\n1 3 0 1 2 2 0.5 0.5\n3\n");
    EXPECT_EQ(pointsOf(dataset), (std::vector<Point>{{0, 0, 0}, {1, 0, 0}, {0, 1, 0}}));
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(PlyReader, PassesOverFurtherElementsAndPropertiesInBinary) {
    std::string bytes =
        header("element camera 1\nproperty list uchar float lens\nproperty double zoom\n"
               "element light 2\nproperty short a\nelement vertex 3\nproperty uchar quality\n" +
                   xyz +
                   "property double weight\nelement face 1\nproperty uchar flags\n"
                   "property list ushort uchar vertex_indices\n"
                   "property list int float texcoord\n",
               "binary_little_endian");
    bytes += "\2" + bytesOf(1.5f) + bytesOf(2.5f) + bytesOf(3.0) + "\1\2\3\4";
    for (const float x : {0.0f, 1.0f, 2.0f})
        bytes += "\7" + bytesOf(x) + bytesOf(x * x) + bytesOf(0.0f) + bytesOf(9.0);
    bytes += "\7" + bytesOf(std::uint16_t{3}) + std::string("\0\1\2", 3) +
             bytesOf(std::int32_t{1}) + bytesOf(0.5f);
    const Dataset dataset = readContent("a.ply", bytes);
    EXPECT_EQ(pointsOf(dataset), (std::vector<Point>{{0, 0, 0}, {1, 1, 0}, {2, 4, 0}}));
    EXPECT_EQ(trianglesOf(dataset), (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(PlyReader, TakesFacesBeforePoints) {
    EXPECT_EQ(trianglesOf(readContent(
                  "a.ply", header("element face 1\nproperty list uchar int vertex_indices\n"
                                  "element vertex 3\n" +
                                  xyz) +
                               "3 0 1 2\n0 0 0\n1 0 0\n0 1 0\n")),
              (std::vector<std::uint32_t>{0, 1, 2}));
}

TEST(PlyReader, TakesCoordinatesOfAnyTypeAndOrder) {
    std::string bytes = header("element vertex 1\nproperty short z\nproperty double x\n"
                               "property uchar y\n",
                               "binary_big_endian");
    bytes += bytesOf(std::int16_t{-3}, true) + bytesOf(0.1, true) + "\xff";
    EXPECT_EQ(pointsOf(readContent("a.ply", bytes)), (std::vector<Point>{{0.1, 255, -3}}));
}

TEST(PlyReader, ReadsNormalsAndColors) {
    std::string text = header("element vertex 3\n" + xyz +
                              "property float nx\nproperty float ny\nproperty float nz\n"
                              "property uchar red\nproperty uchar green\nproperty uchar blue\n"
                              "element face 1\nproperty list uchar int vertex_indices\n");
    for (int i = 0; i < 3; ++i) text += std::to_string(i) + " 0 0 0 0 1 255 128 7\n";
    const Dataset dataset = readContent("a.ply", text + "3 0 1 2\n");
    EXPECT_EQ(normalsOf(dataset)[2], (Normal{0, 0, 1}));
    EXPECT_EQ(colorsOf(dataset)[2], (Color{255, 128, 7, 255}));
}

TEST(PlyReader, ReadsColorsOfAllTypes) {
    const std::string face = "element face 1\nproperty list uchar int vertex_indices\n";
    const std::string geometry = "element vertex 3\n" + xyz;
    const auto colors = [](const std::string& type) {
        std::string text;
        for (const char* name : {"red", "green", "blue", "alpha"})
            text += "property " + type + " " + name + "\n";
        return text;
    };
    for (const bool text : {true, false}) {
        std::string shorts =
            header(geometry + colors("ushort") + face, text ? "ascii" : "binary_little_endian");
        std::string reals =
            header(geometry + colors("float") + face, text ? "ascii" : "binary_little_endian");
        for (int i = 0; i < 3; ++i) {
            if (text) {
                shorts += "0 0 0 65535 256 255 32768\n";
                reals += "0 0 0 1 0.5 -1 2\n";
                continue;
            }
            const std::string origin = bytesOf(0.0f) + bytesOf(0.0f) + bytesOf(0.0f);
            shorts += origin;
            for (const int c : {65535, 256, 255, 32768})
                shorts += bytesOf(static_cast<std::uint16_t>(c));
            reals += origin;
            for (const float c : {1.0f, 0.5f, -1.0f, 2.0f}) reals += bytesOf(c);
        }
        const std::string triangle = text ? "3 0 1 2\n"
                                          : "\3" + bytesOf(std::int32_t{0}) +
                                                bytesOf(std::int32_t{1}) + bytesOf(std::int32_t{2});
        EXPECT_EQ(colorsOf(readContent("a.ply", shorts + triangle))[1], (Color{255, 1, 0, 128}));
        EXPECT_EQ(colorsOf(readContent("a.ply", reals + triangle))[1], (Color{255, 128, 0, 255}));
    }
}

TEST(PlyReader, TakesCarriageReturnsInTheHeader) {
    std::string bytes =
        "ply\r\nformat binary_little_endian 1.0\r\nelement vertex 1\r\n"
        "property float x\r\nproperty float y\r\nproperty float z\r\nend_header\r\n";
    bytes += bytesOf(1.0f) + bytesOf(2.0f) + bytesOf(3.0f);
    EXPECT_EQ(pointsOf(readContent("a.ply", bytes)), (std::vector<Point>{{1, 2, 3}}));
}

TEST(PlyReader, WithoutFacesGivesACloud) {
    const Dataset dataset =
        readContent("a.ply", header("element vertex 1\n" + xyz +
                                    "element face 0\n"
                                    "property list uchar int vertex_indices\n") +
                                 "1 2 3\n");
    EXPECT_TRUE(std::holds_alternative<PointSet>(dataset));
}

} // namespace
