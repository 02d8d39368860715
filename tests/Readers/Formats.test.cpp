// What all formats have in common: the same mesh out of each, and any damage a clear message.

#include "testFiles.hpp"

#include <cmath>
#include <limits>
#include <random>

using namespace Mirk;
using testing::HasSubstr;

namespace {

struct Format {
    std::string name, file, content;
    bool doubles = true;

    friend void PrintTo(const Format& format, std::ostream* out) { *out << format.name; }
};

std::vector<Format> formats() {
    return {{"Off", "t.off", Tetrahedron::off()},
            {"Obj", "t.obj", Tetrahedron::obj()},
            {"PlyText", "t.ply", Tetrahedron::plyText()},
            {"PlyLittleEndian", "t.ply", Tetrahedron::plyBinary(false)},
            {"PlyBigEndian", "t.ply", Tetrahedron::plyBinary(true)},
            {"StlText", "t.stl", Tetrahedron::stlText()},
            {"StlBinary", "t.stl", Tetrahedron::stlBinary(), false}};
}

std::string nameOf(const testing::TestParamInfo<Format>& info) {
    return info.param.name;
}

class Formats : public testing::TestWithParam<Format> {};

// STL has no order of points of its own, so corners are compared and not indices.
std::vector<Point> corners(const std::vector<Point>& points,
                           const std::vector<std::uint32_t>& triangles) {
    std::vector<Point> result;
    for (const std::uint32_t index : triangles) result.push_back(points.at(index));
    return result;
}

TEST_P(Formats, GiveTheSameTriangles) {
    const Dataset dataset = readContent(GetParam().file, GetParam().content);
    std::vector<Point> expected = Tetrahedron::points;
    if (!GetParam().doubles)
        for (Point& point : expected)
            for (std::size_t i = 0; i < 3; ++i) point[i] = static_cast<float>(point[i]);
    EXPECT_EQ(pointsOf(dataset).size(), 4u);
    EXPECT_EQ(corners(pointsOf(dataset), trianglesOf(dataset)),
              corners(expected, Tetrahedron::triangles));
}

TEST_P(Formats, HaveNeitherNormalsNorColorsUnlessTheFileHas) {
    const auto mesh = std::get<TriangleMesh>(readContent(GetParam().file, GetParam().content));
    EXPECT_FALSE(mesh.normals);
    EXPECT_FALSE(mesh.colors);
}

TEST_P(Formats, AreKnownByContentWhateverTheName) {
    EXPECT_EQ(trianglesOf(readContent("picture.png", GetParam().content)).size(), 12u);
}

TEST_P(Formats, AreUnpackedIfTheContentIsGzip) {
    EXPECT_EQ(trianglesOf(readContent(GetParam().file, gzipped(GetParam().content))).size(), 12u);
}

TEST_P(Formats, FailInOneLineThatNamesTheFileWhereverTheyAreCut) {
    const std::string& content = GetParam().content;
    std::size_t failures = 0;
    for (std::size_t length = 1; length < content.size(); ++length) {
        const std::string error = errorOf(GetParam().file, content.substr(0, length));
        if (error == "no error") continue;
        ++failures;
        EXPECT_TRUE(error.starts_with(GetParam().file + ": ")) << error;
        EXPECT_EQ(error.find('\n'), std::string::npos) << error;
        EXPECT_LT(error.size(), 300u) << error;
    }
    EXPECT_GT(failures, 0u);
    // Formats that say how much follows notice every cut but that of white space at the end; the
    // last index of a text may lose digits, but here it has only one.
    if (GetParam().name != "Obj") {
        EXPECT_GE(failures, content.size() - 20);
    }
}

// Any bytes are read or refused: no other exception, no crash, nothing a sanitizer complains of.
TEST_P(Formats, SurviveRandomDamage) {
    std::mt19937 random(20240611);
    const auto below = [&](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    std::size_t refused = 0;
    constexpr int rounds = 4000;
    for (int round = 0; round < rounds; ++round) {
        std::string content = GetParam().content;
        for (std::size_t flips = below(4) + 1; flips > 0; --flips) {
            const std::size_t place = below(content.size());
            switch (below(4)) {
            case 0:
                content[place] = static_cast<char>(below(256));
                break;
            case 1:
                content[place] = "0123456789-+.eE/# \n\\"[below(20)];
                break;
            case 2:
                content.erase(place, below(8));
                break;
            default:
                content.insert(place, content.substr(below(content.size()), below(30)));
            }
            if (content.empty()) content = "x";
        }
        if (below(4) == 0) content.resize(below(content.size()) + 1);
        try {
            const Dataset dataset = readContent(GetParam().file, content);
            for (const Point& point : pointsOf(dataset))
                ASSERT_TRUE(std::isfinite(point.x + point.y + point.z));
            if (const auto* mesh = std::get_if<TriangleMesh>(&dataset)) {
                ASSERT_EQ(mesh->triangles->numberOfElements() % 3, 0u);
                for (const std::uint32_t index : mesh->triangles->elements())
                    ASSERT_LT(index, mesh->points->numberOfElements());
            }
        } catch (const ReaderError& error) {
            ++refused;
            ASSERT_EQ(std::string(error.what()).find('\n'), std::string::npos);
        }
    }
    EXPECT_GT(refused, rounds / 10u);
}

TEST_P(Formats, SurviveRandomDamageInGzip) {
    std::mt19937 random(7);
    const std::string packed = gzipped(GetParam().content);
    for (int round = 0; round < 1000; ++round) {
        std::string content = packed;
        const auto below = [&](std::size_t limit) {
            return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
        };
        content[below(content.size())] = static_cast<char>(below(256));
        if (below(2) == 0) content.resize(below(content.size()) + 1);
        try {
            readContent(GetParam().file, content);
        } catch (const ReaderError&) {
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, Formats, testing::ValuesIn(formats()), nameOf);

struct Fault {
    std::string name, file, content, message;

    friend void PrintTo(const Fault& fault, std::ostream* out) { *out << fault.name; }
};

std::string stlOf(std::uint32_t facets, float coordinate) {
    std::string bytes(80, 'x');
    bytes += bytesOf(facets);
    for (int i = 0; i < 12; ++i) bytes += bytesOf(i == 4 ? coordinate : 1.0f);
    return bytes + std::string(2, '\0');
}

std::string plyOf(const std::string& encoding, const std::string& vertices,
                  const std::string& faces, const std::string& body) {
    return "ply\nformat " + encoding + " 1.0\nelement vertex " + vertices +
           "\nproperty float x\nproperty float y\nproperty float z\nelement face " + faces +
           "\nproperty list uchar int vertex_indices\nend_header\n" + body;
}

std::string floats(std::initializer_list<float> numbers) {
    std::string bytes;
    for (const float number : numbers) bytes += bytesOf(number);
    return bytes;
}

std::string face(std::initializer_list<std::int32_t> indices) {
    std::string bytes(1, static_cast<char>(indices.size()));
    for (const std::int32_t index : indices) bytes += bytesOf(index);
    return bytes;
}

const std::string text3 = "0 0 0\n1 0 0\n0 1 0\n";
const std::string bytes3 = floats({0, 0, 0, 1, 0, 0, 0, 1, 0});
const std::string little = "binary_little_endian";
constexpr float nan = std::numeric_limits<float>::quiet_NaN();
constexpr float infinite = std::numeric_limits<float>::infinity();

std::vector<Fault> faults() {
    return {
        {"OffIndexTooLarge", "a.off", "OFF\n3 1 0\n" + text3 + "3 0 1 3\n",
         "a.off: line 6: expected an index from 0 to 2, got 3"},
        {"OffIndexNegative", "a.off", "OFF\n3 1 0\n" + text3 + "3 0 1 -1\n",
         "a.off: line 6: expected an index from 0 to 2, got -1"},
        {"OffNan", "a.off", "OFF\n3 1 0\n0 0 0\n1 nan 0\n0 1 0\n3 0 1 2\n",
         "a.off: line 4: expected a finite number as y of a point, got 'nan'"},
        {"OffInfinite", "a.off", "OFF\n3 1 0\n0 0 0\n1 0 -inf\n0 1 0\n3 0 1 2\n",
         "a.off: line 4: expected a finite number as z of a point, got '-inf'"},
        {"OffBeyondDouble", "a.off", "OFF\n1 0 0\n1e999 0 0\n",
         "a.off: line 3: expected a finite number as x of a point, got '1e999'"},
        {"OffNoNumber", "a.off", "OFF\n1 0 0\n0 0 zero\n",
         "a.off: line 3: expected a number as z of a point, got 'zero'"},
        {"OffShortPoint", "a.off", "OFF\n3 1 0\n0 0 0\n1 0\n0 1 0 0 0 0 0\n3 0 1 2\n",
         "a.off: line 4: expected z of a point, got the end of the line"},
        {"OffPointsMissing", "a.off", "OFF\n3 0 0\n0 0 0\n1 0 0         \n",
         "a.off: line 5: expected point 3 of 3, got the end of the file"},
        {"OffFacesMissing", "a.off", "OFF\n3 2 0\n" + text3 + "3 0 1 2\n",
         "a.off: line 7: expected face 2 of 2, got the end of the file"},
        {"OffAbsurdPoints", "a.off", "OFF\n4000000000 1 0\n" + text3,
         "a.off: line 2: expected 4000000000 points, but the 19 bytes that follow hold at most 3"},
        {"OffAbsurdFaces", "a.off", "OFF\n3 999999999999999 0\n" + text3 + "3 0 1 2\n",
         "expected 999999999999999 faces, but"},
        {"OffBeyondIndices", "a.off", "OFF\n4294967296 1 0\n" + text3,
         "a.off: line 2: expected at most 4294967295 points, got 4294967296"},
        {"OffCountNegative", "a.off", "OFF\n-3 1 0\n" + text3,
         "a.off: line 2: expected a number of points of at least 0, got -3"},
        {"OffEmpty", "a.off", "OFF\n0 0 0\n", "a.off: line 2: expected at least 1 point, got 0"},
        {"OffAbsurdCorners", "a.off", "OFF\n3 1 0\n" + text3 + "2000000000 0 1 2\n",
         "a.off: line 6: expected corner of a face, got the end of the line"},
        {"OffFourDimensions", "a.off", "4OFF\n1 0 0\n0 0 0 1\n",
         "a.off: line 1: expected points of 3 coordinates, got '4OFF'"},
        {"OffBinary", "a.off", "OFF BINARY\n\1\2\3",
         "a.off: line 1: expected OFF as text, got OFF BINARY"},
        {"OffOther", "a.off", "FOO\n1 0 0\n", "a.off: line 1: expected 'OFF', got 'FOO'"},
        {"ObjIndexTooLarge", "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\n\nf 1 2 4\n",
         "a.obj: line 5: expected an index from 1 to 3, got 4"},
        {"ObjIndexZero", "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf 0 1 2\n",
         "a.obj: line 4: expected an index from 1 to 3, got 0"},
        {"ObjIndexBeforeFirst", "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nf -1 -2 -4\n",
         "a.obj: line 4: expected an index from -3 to -1, got -4"},
        {"ObjIndexWithoutPoints", "a.obj", "f -1 -2 -3\nv 0 0 0\n",
         "a.obj: line 1: expected no index, as there is nothing yet to point to, got -1"},
        {"ObjNormalTooLarge", "a.obj", "v 0 0 0\nv 1 0 0\nv 0 1 0\nvn 0 0 1\nf 1//1 2//1 3//2\n",
         "a.obj: line 5: expected an index from 1 to 1, got 2"},
        {"ObjHugeIndex", "a.obj", "v 0 0 0\nf 1 1 9999999999999999999999\n",
         "a.obj: line 2: expected a corner as 'point/texture/normal', got "
         "'9999999999999999999999'"},
        {"ObjCornerForm", "a.obj", "v 0 0 0\nf 1/1/1/1 1 1\n",
         "a.obj: line 2: expected a corner as 'point/texture/normal', got '1/1/1/1'"},
        {"ObjTwoCorners", "a.obj", "v 0 0 0\nf 1 1\n",
         "a.obj: line 2: expected a face of at least 3 corners, got 2"},
        {"ObjNan", "a.obj", "v 0 0 0\nv 0 NaN 0\n",
         "a.obj: line 2: expected a finite number as y of a point, got 'NaN'"},
        {"ObjShortPoint", "a.obj", "v 0 0\n",
         "a.obj: line 1: expected z of a point, got the end of the line"},
        {"ObjNoPoints", "a.obj", "vn 0 0 1\n", "a.obj: line 2: expected at least one point"},
        {"PlyIndexTooLarge", "a.ply", plyOf("ascii", "3", "1", text3 + "3 0 1 3\n"),
         "a.ply: line 13: expected an index from 0 to 2, got 3"},
        {"PlyBinaryIndexTooLarge", "a.ply", plyOf(little, "3", "1", bytes3 + face({0, 1, 3})),
         "expected an index from 0 to 2, got 3"},
        {"PlyBinaryIndexNegative", "a.ply", plyOf(little, "3", "1", bytes3 + face({0, -1, 2})),
         "expected an index from 0 to 2, got -1"},
        {"PlyNan", "a.ply", plyOf("ascii", "3", "1", "0 0 0\n1 0 0\n0 1 nan\n3 0 1 2\n"),
         "a.ply: line 12: expected a finite number as z, got 'nan'"},
        {"PlyBinaryNan", "a.ply",
         plyOf(little, "3", "1", floats({0, 0, 0, 1, 0, 0, 0, nan, 0}) + face({0, 1, 2})),
         "expected a finite y of a point, got nan"},
        {"PlyBinaryInfinite", "a.ply",
         plyOf(little, "3", "1", floats({0, 0, 0, 1, 0, 0, infinite, 0, 0}) + face({0, 1, 2})),
         "expected a finite x of a point, got inf"},
        {"PlyAbsurdPoints", "a.ply", plyOf(little, "4000000000", "1", bytes3),
         "a.ply: line 3: expected 4000000000 entries of 'vertex', but the 36 bytes that follow "
         "hold at most 3"},
        {"PlyAbsurdFaces", "a.ply", plyOf(little, "3", "999999999999", bytes3 + face({0, 1, 2})),
         "expected 999999999999 entries of 'face', but the 13 bytes that follow hold at most 13"},
        {"PlyBeyondIndices", "a.ply", plyOf(little, "4294967296", "1", bytes3),
         "a.ply: line 3: expected at most 4294967295 points, got 4294967296"},
        {"PlyFacesMissing", "a.ply", plyOf(little, "3", "2", bytes3 + face({0, 1, 2})),
         "expected 1 bytes as length of a list, got 0 up to the end of the file"},
        {"PlyFaceCut", "a.ply", plyOf(little, "3", "1", bytes3 + "\3\1\1\1"),
         "expected 12 bytes as entries of a list, got 3 up to the end of the file"},
        {"PlyTwoCorners", "a.ply", plyOf(little, "3", "1", bytes3 + face({0, 1})),
         "expected a face of at least 3 corners, got 2"},
        {"PlyTextTwoCorners", "a.ply", plyOf("ascii", "3", "1", text3 + "2 0 1\n"),
         "a.ply: line 13: expected a face of at least 3 corners, got 2"},
        {"PlyTooMuchOnLine", "a.ply", plyOf("ascii", "3", "1", "0 0 0 0\n1 0 0\n0 1 0\n3 0 1 2\n"),
         "a.ply: line 10: expected the end of the line, got '0'"},
        {"PlyUnknownType", "a.ply", "ply\nformat ascii 1.0\nelement vertex 1\nproperty quad x\n",
         "a.ply: line 4: expected a type such as 'float', 'double', 'int' or 'uchar', got 'quad'"},
        {"PlyUnknownFormat", "a.ply", "ply\nformat morse 1.0\n",
         "a.ply: line 2: expected 'ascii', 'binary_little_endian' or 'binary_big_endian', got "
         "'morse'"},
        {"PlyUnknownVersion", "a.ply", "ply\nformat ascii 2.0\n",
         "a.ply: line 2: expected version 1.0, got '2.0'"},
        {"PlyUnknownKey", "a.ply", "ply\nformat ascii 1.0\nelemental\n",
         "a.ply: line 3: expected 'element', 'property', 'comment' or 'end_header', got "
         "'elemental'"},
        {"PlyHeaderWithoutEnd", "a.ply", "ply\nformat ascii 1.0\nelement vertex 1\n",
         "a.ply: line 4: expected 'end_header', got the end of the file"},
        {"PlyPropertyFirst", "a.ply", "ply\nformat ascii 1.0\nproperty float x\n",
         "a.ply: line 3: expected 'element' before 'property'"},
        {"PlyTwoVertexElements", "a.ply",
         "ply\nformat ascii 1.0\nelement vertex 1\nelement vertex 1\nend_header\n",
         "a.ply: line 4: expected one element 'vertex', got a second"},
        {"PlyWithoutPoints", "a.ply", "ply\nformat ascii 1.0\nend_header\n",
         "a.ply: line 1: expected an element 'vertex' with at least 1 entry"},
        {"PlyWithoutZ", "a.ply",
         "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\n"
         "end_header\n0 0\n",
         "a.ply: line 3: expected properties x, y and z that aren't lists"},
        {"PlyWithoutProperties", "a.ply", "ply\nformat ascii 1.0\nelement vertex 9\nend_header\n",
         "a.ply: line 3: expected properties of the element, got none"},
        {"PlyFacesWithoutCorners", "a.ply",
         "ply\nformat ascii 1.0\nelement vertex 1\nproperty float x\nproperty float y\n"
         "property float z\nelement face 1\nproperty int vertex_indices\nend_header\n0 0 0\n1\n",
         "a.ply: line 7: expected a property list 'vertex_indices' of an integer type"},
        {"PlyRealLengths", "a.ply",
         "ply\nformat ascii 1.0\nelement face 1\nproperty list float int vertex_indices\n",
         "a.ply: line 4: expected lengths of an integer type"},
        {"StlTextNan", "a.stl",
         "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 nan\n",
         "a.stl: line 5: expected a finite number as z of a point, got 'nan'"},
        {"StlTextTwoCorners", "a.stl",
         "solid\nfacet normal 0 0 1\nouter loop\nvertex 0 0 0\nvertex 1 0 0\nendloop\n",
         "a.stl: line 6: expected 'vertex', got 'endloop'"},
        {"StlTextWithoutEnd", "a.stl", "solid x\n",
         "a.stl: line 2: expected 'facet' or 'endsolid', got the end of the file"},
        {"StlTextEmpty", "a.stl", "solid x\nendsolid x\n",
         "a.stl: line 3: expected at least one facet, got none"},
        {"StlNan", "a.stl", stlOf(1, nan),
         "a.stl: byte 96: expected finite coordinates, got (1, nan, 1)"},
        {"StlShort", "a.stl", stlOf(2, 0),
         "a.stl: byte 80: expected 2 facets in 184 bytes, got 134 bytes"},
        {"StlAbsurd", "a.stl", stlOf(4000000000, 0),
         "a.stl: byte 80: expected 4000000000 facets in 200000000084 bytes, got 134 bytes"},
        {"StlHeaderOnly", "a.stl", "only this",
         "a.stl: byte 9: expected an STL header of 84 bytes, got the end of the file"},
        {"StlEmpty", "a.stl", std::string(84, '\0'),
         "a.stl: byte 80: expected at least one facet, got none"},
        {"Empty", "a.off", "", "a.off: expected data, got an empty file"},
        {"EmptyInGzip", "a.off", gzipped(""), "a.off: expected data, got an empty file in gzip"},
        {"GzipCut", "a.off", gzipped(Tetrahedron::off()).substr(0, 40),
         "a.off: byte 40: expected more gzip data, got the end of the file"},
        {"GzipDamaged", "a.off", "\x1f\x8b\x08\x01\x02\x03\x04\x05\x06\x07\xff\xff\xff",
         "expected gzip data: "},
        {"UnknownKind", "a.xyz", "what's this?\n\1",
         "a.xyz: expected a file of a known kind (OBJ mesh, OFF mesh, PLY mesh, STL mesh), got "
         "one that begins with 'what's this?\\x0a\\x01'"},
        {"LineWithoutEnd", "a.off", "OFF\n3 1 0\n" + std::string(1000000, '7'),
         "a.off: line 3: expected a finite number as x of a point, got "
         "'7777777777777777777777777777777777777777...'"},
    };
}

class Faults : public testing::TestWithParam<Fault> {};

TEST_P(Faults, AreNamedWithFileAndPlace) {
    const std::string error = errorOf(GetParam().file, GetParam().content);
    EXPECT_THAT(error, HasSubstr(GetParam().message));
    EXPECT_THAT(error, testing::StartsWith(GetParam().file + ": "));
    EXPECT_EQ(error.find('\n'), std::string::npos);
}

std::string nameOfFault(const testing::TestParamInfo<Fault>& info) {
    return info.param.name;
}

INSTANTIATE_TEST_SUITE_P(All, Faults, testing::ValuesIn(faults()), nameOfFault);

} // namespace
