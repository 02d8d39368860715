#include <PolypiaGL/GLFactory.hpp>

#include "glBasin.hpp"

#include <thread>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::HasSubstr;

namespace {

/// Attributes of vertices and what draws them.
class GLPainterTest : public BasinTestInProfile {
protected:
    /// Fills the picture by a vertex stage that hands an attribute on as a colour; the four
    /// vertices have the same value.
    template<class T>
    Color shown(const std::string& declaration, const std::string& expression, const T& value,
                int number, const std::string& name, char hint = 0) {
        polyp->clear();
        polyp->insert(program("#version 430\n"
                              "in vec3 Coordinates;\n" +
                                  declaration +
                                  "\nout vec4 color;\n"
                                  "void main() {\n"
                                  "    color = " +
                                  expression +
                                  ";\n"
                                  "    gl_Position = vec4(Coordinates, 1.0);\n"
                                  "}\n",
                              "#version 430\n"
                              "in vec4 color; out vec4 result;\n"
                              "void main() { result = color; }\n"));
        insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
        const auto attribute =
            basin->createAttribute(chunk(std::vector<T>(4, value)), number, name);
        EXPECT_TRUE(attribute);
        if (hint != 0) attribute->setHintsFromName(hint);
        polyp->insert(attribute);
        clear();
        waveKeepingState();
        return center();
    }

    std::vector<std::uint8_t> drawn(RenderNamespace::Primitive primitive,
                                    const std::vector<FloatPoint>& points) {
        polyp->clear();
        clear();
        polyp->insert(program(passVertex, colorFragment));
        insertDrawn(coordinates(points), primitive);
        waveKeepingState();
        return pixels();
    }
    /// The same by indices.
    template<class T>
    std::vector<std::uint8_t>
    indexed(RenderNamespace::Primitive primitive, const std::vector<FloatPoint>& points,
            const std::vector<T>& indices, int first = 0, int count = -1) {
        polyp->clear();
        clear();
        polyp->insert(program(passVertex, colorFragment));
        polyp->insert(coordinates(points));
        const auto order = basin->createAttribute(chunk(indices), 8, "Indices");
        polyp->insert(order);
        const Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> painter(
            polyp->insert(order->createPainter(primitive)));
        painter->first = first;
        painter->count = count;
        waveKeepingState();
        return pixels();
    }

    static std::vector<FloatPoint> circle(int number, float radius) {
        std::vector<FloatPoint> points;
        for (int i = 0; i < number; ++i) {
            const double angle = 6.283185307179586 * i / number;
            points.push_back({radius * static_cast<float>(std::cos(angle)),
                              radius * static_cast<float>(std::sin(angle)), 0.0F});
        }
        return points;
    }
};

using Skua::FixedArray;

TEST_P(GLPainterTest, AttributesComeInAllElementTypes) {
    using Byte4 = FixedArray<unsigned char, 4>;
    using Short4 = FixedArray<unsigned short, 4>;
    const std::string vec4 = "in vec4 Colors;";
    const Color expected{255, 51, 0, 255};
    EXPECT_EQ(shown(vec4, "Colors", FixedArray<float, 4>{1, 0.2F, 0, 1}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", Skua::rgba_float_t{1, 0.2F, 0, 1}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", FixedArray<double, 4>{1, 0.2, 0, 1}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", FixedArray<float, 3>{1, 0.2F, 0}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", FixedArray<float, 2>{1, 0.2F}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", FixedArray<double, 2>{1, 0.2}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", Skua::PhysicalSpace::vector{1, 0.2, 0}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", Skua::PhysicalSpace::point{1, 0.2, 0}, 2, "Colors"), expected);
    using FloatVector = Skua::Coordinates<Skua::Cartesian3D, float>::vector;
    EXPECT_EQ(shown(vec4, "Colors", FloatVector{1, 0.2F, 0}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", FloatPoint{1, 0.2F, 0}, 2, "Colors"), expected);
    // Bytes and shorts stand for 0 to 1.
    EXPECT_EQ(shown(vec4, "Colors", Byte4{255, 51, 0, 255}, 2, "Colors"), expected);
    EXPECT_EQ(shown(vec4, "Colors", Short4{65535, 13107, 0, 65535}, 2, "Colors"), expected);
    EXPECT_EQ(shown("in float Colors;", "vec4(Colors)", 0.2F, 2, "Colors")[0], 51);
    EXPECT_EQ(shown("in float Colors;", "vec4(Colors)", 0.2, 2, "Colors")[0], 51);
}

TEST_P(GLPainterTest, IntegersReachIntegerInputs) {
    const std::string signedInput = "in int Values;";
    EXPECT_EQ(shown(signedInput, "Values == -70000 ? vec4(1.0) : vec4(0.0)", -70000, 8, "Values"),
              white);
    EXPECT_EQ(shown("in uint Values;", "Values == 4000000000u ? vec4(1.0) : vec4(0.0)", 4000000000U,
                    8, "Values"),
              white);
    EXPECT_EQ(shown("in ivec3 Values;", "Values == ivec3(1, -2, 3) ? vec4(1.0) : vec4(0.0)",
                    FixedArray<int, 3>{1, -2, 3}, 8, "Values"),
              white);
    using Byte4 = FixedArray<unsigned char, 4>;
    EXPECT_EQ(shown("in uvec4 Values;", "Values == uvec4(1, 2, 3, 200) ? vec4(1.0) : vec4(0.0)",
                    Byte4{1, 2, 3, 200}, 8, "Values", 'I'),
              white);
}

TEST_P(GLPainterTest, IntegersReachFloatInputsByAHint) {
    EXPECT_EQ(
        shown("in float Values;", "Values == -7.0 ? vec4(1.0) : vec4(0.0)", -7, 8, "Values", 'f'),
        white);
}

TEST_P(GLPainterTest, DoublesStayDoublesByAHint) {
    const double third = 1.0 / 3.0;
    EXPECT_EQ(shown("in double Values;", "Values == 1.0lf / 3.0lf ? vec4(1.0) : vec4(0.0)", third,
                    8, "Values", 'd'),
              white);
    EXPECT_EQ(polyp->computeMemsize(), std::size_t{4 * 12 + 4 * 8}); // points and doubles
}

TEST_P(GLPainterTest, CustomAttributesAreFoundByName) {
    EXPECT_EQ(shown("in vec4 temperature;", "temperature", FixedArray<float, 4>{0, 1, 0, 1}, 9,
                    "temperature"),
              green);
    // Without a name in the program nothing happens.
    EXPECT_EQ(shown("", "vec4(0.0, 0.0, 1.0, 1.0)", 1.0F, 9, "absent"), blue);
}

// The linker gives each program locations of its own.
TEST_P(GLPainterTest, CustomAttributesAreFoundInEachProgram) {
    const auto vertex = [](const std::string& order, const std::string& use) {
        return "#version 430\n"
               "in vec3 Coordinates;\n" +
               order +
               "\nout vec4 color;\n"
               "void main() { color = " +
               use +
               ";\n"
               "    gl_Position = vec4(Coordinates, 1.0); }\n";
    };
    const std::string fragment = "#version 430\n"
                                 "in vec4 color; out vec4 result;\n"
                                 "void main() { result = color; }\n";
    polyp->insert(program(vertex("layout(location = 5) in float first;\n"
                                 "layout(location = 6) in float second;",
                                 "vec4(first, second, 0.0, 0.0)"),
                          fragment),
                  0);
    polyp->insert(program(vertex("layout(location = 6) in float first;\n"
                                 "layout(location = 5) in float second;",
                                 "vec4(0.0, 0.0, first, second)"),
                          fragment),
                  1);
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    polyp->insert(basin->createAttribute(chunk(std::vector<float>(4, 0.2F)), 8, "first"));
    polyp->insert(basin->createAttribute(chunk(std::vector<float>(4, 0.4F)), 9, "second"));
    picture->clear({0.0F, 0.0F, 0.0F, 0.0F});
    glEnable(GL_BLEND);
    glBlendFunc(GL_ONE, GL_ONE);
    waveKeepingState();
    glDisable(GL_BLEND);
    EXPECT_EQ(center(), (Color{51, 102, 51, 102}));
}

// Attribute 2 has a place of its own, but another attribute that the program names may be there.
TEST_P(GLPainterTest, AnAttributeThatIsNotDeclaredTakesNoOnesPlace) {
    polyp->insert(program("#version 430\n"
                          "in vec3 Coordinates;\n"
                          "layout(location = 3) in vec4 velocity;\n"
                          "out vec4 color;\n"
                          "void main() { color = velocity;\n"
                          "    gl_Position = vec4(Coordinates, 1.0); }\n",
                          "#version 430\n"
                          "in vec4 color; out vec4 result;\n"
                          "void main() { result = color; }\n"));
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    using Four = FixedArray<float, 4>;
    polyp->insert(basin->createAttribute(chunk(std::vector<Four>(4, {1, 0, 0, 1})), 1, "velocity"));
    polyp->insert(basin->createAttribute(chunk(std::vector<Four>(4, {0, 1, 0, 1})), 2, "Colors"));
    waveKeepingState();
    EXPECT_EQ(center(), red);
}

TEST_P(GLPainterTest, AttributesFeedTheFixedFunctionNames) {
    polyp->insert(program("#version 130\n"
                          "out vec4 all;\n"
                          "void main() {\n"
                          "    all = vec4(gl_Color.r, gl_Normal.y, gl_MultiTexCoord0.z, 1.0);\n"
                          "    gl_Position = gl_Vertex;\n"
                          "}\n",
                          "#version 130\n"
                          "in vec4 all;\n"
                          "void main() { gl_FragColor = all; }\n"));
    insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    using Three = FixedArray<float, 3>;
    using Byte4 = FixedArray<unsigned char, 4>;
    polyp->insert(basin->createAttribute(chunk(std::vector<Three>(4, {0, 0.4F, 0})), 1, "Normals"));
    polyp->insert(
        basin->createAttribute(chunk(std::vector<Byte4>(4, {51, 0, 0, 255})), 2, "Colors"));
    polyp->insert(basin->createAttribute(chunk(std::vector<Three>(4, {0, 0, 0.6F})), 4,
                                         "FirstTextureCoordinates"));
    waveKeepingState();
    EXPECT_EQ(center(), (Color{51, 102, 153, 255}));
}

TEST_P(GLPainterTest, UnknownElementsGiveAnEmptyPointer) {
    EXPECT_FALSE(basin->createCoordinates({}, "Coordinates"));
    EXPECT_FALSE(basin->createCoordinates(chunk(std::vector<std::string>{"a"}), "Coordinates"));
    EXPECT_FALSE(basin->createAttribute(chunk(std::vector<std::string>{"a"}), 1, "Normals"));
}

TEST_P(GLPainterTest, UploadsAtTheFirstActivationAndLetsTheChunkGo) {
    auto data = chunk(std::vector<Skua::PhysicalSpace::point>{{0, 0, 0}, {1, 1, 1}});
    const Keel::WeakPtr<Keel::ChunkBase> watched(data);
    const auto attribute = basin->createCoordinates(data, "Coordinates");
    data = {};
    EXPECT_EQ(attribute->tentacleKey, Polyp::VertexAttributeKey);
    EXPECT_EQ(attribute->NumberOfElements(), 2U);
    EXPECT_EQ(attribute->bytes(), 24U);
    EXPECT_EQ(attribute->memsize(), 24U);
    EXPECT_EQ(context->ledger()->live(GL::ObjectKind::Buffer), 0);
    EXPECT_TRUE(Keel::StrongPtr<Keel::ChunkBase>(watched));
    polyp->insert(attribute);
    wave();
    EXPECT_EQ(context->ledger()->live(GL::ObjectKind::Buffer), 1);
    EXPECT_FALSE(Keel::StrongPtr<Keel::ChunkBase>(watched));
    EXPECT_EQ(attribute->NumberOfElements(), 2U);
    EXPECT_EQ(attribute->bytes(), 24U);
}

TEST_P(GLPainterTest, AnEmptyAttributeDrawsNothing) {
    drawn(RenderNamespace::Triangles, {});
    EXPECT_EQ(drawnPixels(), 0);
}

TEST_P(GLPainterTest, DrawsEveryPrimitive) {
    const std::vector<FloatPoint> square{
        {-0.5F, -0.5F, 0}, {0.5F, -0.5F, 0}, {0.5F, 0.5F, 0}, {-0.5F, 0.5F, 0}};
    const auto count = [&](RenderNamespace::Primitive primitive) {
        drawn(primitive, square);
        return drawnPixels();
    };
    EXPECT_EQ(count(RenderNamespace::Points), 4);
    EXPECT_EQ(count(RenderNamespace::Lines), 2 * 32);
    const int strip = count(RenderNamespace::LineStrip);
    // The corners belong to two lines.
    EXPECT_NEAR(strip, 3 * 32, 2);
    EXPECT_EQ(count(RenderNamespace::ConnectedLines), strip);
    EXPECT_NEAR(count(RenderNamespace::LineLoop), 4 * 32, 4);
    EXPECT_NEAR(count(RenderNamespace::Triangles), 32 * 32 / 2, 32);
    EXPECT_NEAR(count(RenderNamespace::TriangleStrip), 32 * 32 * 3 / 4, 32);
    EXPECT_EQ(count(RenderNamespace::TriangleFan), 32 * 32);
    EXPECT_EQ(count(RenderNamespace::Polygon), 32 * 32);
}

TEST_P(GLPainterTest, APolygonIsAnOutlineForProgramsThatTakeLines) {
    const auto shader = basin->createGeometryProgram(
        passVertex, RenderNamespace::LinesInput,
        "#version 330\n"
        "void main() { for (int i = 0; i < 2; ++i) {\n"
        "    gl_Position = gl_in[i].gl_Position; EmitVertex(); } EndPrimitive(); }\n",
        RenderNamespace::LineStripOutput, colorFragment, "v", "g", "f", {}, {});
    polyp->insert(shader);
    const std::vector<FloatPoint> square{
        {-0.5F, -0.5F, 0}, {0.5F, -0.5F, 0}, {0.5F, 0.5F, 0}, {-0.5F, 0.5F, 0}};
    const auto attribute = coordinates(square);
    const auto polygon = insertDrawn(attribute, RenderNamespace::Polygon);
    EXPECT_EQ(polygon->primitive(), RenderNamespace::Polygon);
    waveKeepingState();
    const int outline = drawnPixels();
    EXPECT_NEAR(outline, 4 * 32, 4);
    clear();
    polyp->eraseTentacle(polygon);
    polyp->insert(attribute->createPainter(RenderNamespace::ConnectedLines));
    waveKeepingState();
    EXPECT_NEAR(drawnPixels(), 3 * 32, 4);
}

TEST_P(GLPainterTest, ARangeIsDrawn) {
    std::vector<FloatPoint> points;
    for (int i = 0; i < 10; ++i) points.push_back({static_cast<float>(i) * 0.1F - 0.5F, 0.1F, 0});
    drawn(RenderNamespace::Points, points);
    EXPECT_EQ(drawnPixels(), 10);
    Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> painter;
    polyp->iterate(
        [&](int, const Polyp::TentaclePtr& tentacle) {
            painter = Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle>(tentacle);
            return true;
        },
        Polyp::PainterKey, Polyp::PainterKey);
    ASSERT_TRUE(painter);
    const auto number = [&](int first, int count) {
        painter->first = first;
        painter->count = count;
        clear();
        waveKeepingState();
        return drawnPixels();
    };
    EXPECT_EQ(number(3, -1), 7);
    EXPECT_EQ(number(3, 2), 2);
    EXPECT_EQ(number(8, 5), 2);
    EXPECT_EQ(number(10, 5), 0);
    EXPECT_EQ(number(0, 0), 0);
    EXPECT_EQ(number(0x7FFFFFFF, 0x7FFFFFFF), 0);
}

TEST_P(GLPainterTest, APainterOfTheBasinDrawsWithoutAttributes) {
    polyp->insert(program("#version 430\n"
                          "void main() {\n"
                          "    vec2 corner = vec2(gl_VertexID % 2, gl_VertexID / 2);\n"
                          "    gl_Position = vec4(corner * 2.0 - 1.0, 0.0, 1.0);\n"
                          "}\n",
                          colorFragment));
    const auto painter = basin->createPainter(RenderNamespace::TriangleStrip, 4);
    EXPECT_EQ(painter->primitive(), RenderNamespace::TriangleStrip);
    polyp->insert(painter);
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), size * size);
}

TEST_P(GLPainterTest, APainterOfTheBasinDrawsAsManyVerticesAsThePolypHas) {
    polyp->insert(program(passVertex, colorFragment));
    polyp->insert(fullPicture());
    polyp->insert(basin->createPainter(RenderNamespace::TriangleStrip, 0));
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), size * size);
}

TEST_P(GLPainterTest, IndicesTellTheOrder) {
    const std::vector<FloatPoint> corners{{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}, {1, 1, 0}};
    const auto whole = drawn(RenderNamespace::TriangleStrip, corners);
    const auto triangles = RenderNamespace::Triangles;
    EXPECT_TRUE(whole == indexed(triangles, corners, std::vector<unsigned>{0, 1, 2, 2, 1, 3}));
    EXPECT_TRUE(whole == indexed(triangles, corners, std::vector<int>{0, 1, 2, 2, 1, 3}));
    using Shorts = std::vector<unsigned short>;
    EXPECT_TRUE(whole == indexed(triangles, corners, Shorts{0, 1, 2, 2, 1, 3}));
    using Bytes = std::vector<unsigned char>;
    EXPECT_TRUE(whole == indexed(triangles, corners, Bytes{0, 1, 2, 2, 1, 3}));
    using Triples = std::vector<FixedArray<unsigned, 3>>;
    EXPECT_TRUE(whole == indexed(triangles, corners, Triples{{0, 1, 2}, {2, 1, 3}}));
    // The second triangle alone.
    indexed(triangles, corners, std::vector<unsigned>{0, 1, 2, 2, 1, 3}, 3, 3);
    EXPECT_EQ(pixel(8, 8), black);
    EXPECT_EQ(pixel(56, 56), white);
}

TEST_P(GLPainterTest, IndicesThatAreNotInThePolypAreUploadedAllTheSame) {
    polyp->insert(program(passVertex, colorFragment));
    polyp->insert(coordinates({{-1, -1, 0}, {3, -1, 0}, {-1, 3, 0}}));
    const auto order = basin->createAttribute(chunk(std::vector<unsigned>{0, 1, 2}), 8, "Indices");
    polyp->insert(order->createPainter(RenderNamespace::Triangles));
    waveKeepingState();
    EXPECT_EQ(drawnPixels(), size * size);
}

TEST_P(GLPainterTest, NumbersThatAreNoIntegersAreNoIndices) {
    EXPECT_EQ(shown("in float Indices;", "vec4(Indices)", 0.2F, 8, "Indices")[0], 51);
}

TEST_P(GLPainterTest, AnIndexOfAllBitsBeginsAnew) {
    constexpr unsigned restart = 0xFFFFFFFF;
    const std::vector<FloatPoint> points{{-0.9F, -0.5F, 0}, {0.9F, -0.5F, 0}, {-0.9F, 0.5F, 0},
                                         {0.9F, 0.5F, 0},   {-0.9F, 0.9F, 0}, {0.9F, 0.9F, 0}};
    const std::vector<unsigned> pairs{0, 1, restart, 2, 3};
    const auto lines = drawn(RenderNamespace::Lines, {points[0], points[1], points[2], points[3]});
    EXPECT_TRUE(lines == indexed(RenderNamespace::LineStrip, points, pairs));
    EXPECT_TRUE(lines == indexed(RenderNamespace::ConnectedLines, points, pairs));
    EXPECT_TRUE(lines ==
                indexed(RenderNamespace::LineStrip, points, std::vector<int>{0, 1, -1, 2, 3}));
    const auto triangles = drawn(RenderNamespace::Triangles, {points[0], points[1], points[2],
                                                              points[3], points[4], points[5]});
    EXPECT_TRUE(triangles == indexed(RenderNamespace::TriangleStrip, points,
                                     std::vector<unsigned>{0, 1, 2, restart, 3, 4, 5}));
}

// 255 and 65535 are vertices of meshes with indices of few bits.
TEST_P(GLPainterTest, TheGreatestShortIndexIsAVertex) {
    const std::vector<FloatPoint> points = circle(256, 0.5F);
    const std::vector<unsigned char> last{255};
    indexed(RenderNamespace::Points, points, last);
    EXPECT_EQ(drawnPixels(), 1);
}

TEST_P(GLPainterTest, LongDrawsAreCutIntoPartsThatDrawTheSame) {
    std::vector<FloatPoint> points;
    for (int i = 0; i < 101; ++i) {
        const int step = i / 2;
        points.push_back({static_cast<float>(step) / 26.0F - 0.95F,
                          static_cast<float>((i * 37) % 23) / 12.0F - 0.95F, 0});
    }
    std::vector<unsigned> order(points.size());
    for (std::size_t i = 0; i < order.size(); ++i) order[i] = static_cast<unsigned>(i);
    auto withRestart = order;
    for (const std::size_t i : {13U, 27U, 28U, 54U}) withRestart[i] = 0xFFFFFFFF;
    for (const auto primitive :
         {RenderNamespace::Points, RenderNamespace::Lines, RenderNamespace::LineLoop,
          RenderNamespace::LineStrip, RenderNamespace::Triangles, RenderNamespace::TriangleStrip,
          RenderNamespace::TriangleFan, RenderNamespace::Polygon,
          RenderNamespace::ConnectedLines}) {
        basin->factory().setQueuedVertices(0);
        const auto whole = drawn(primitive, points);
        EXPECT_GT(drawnPixels(), 40);
        const auto wholeRestart = indexed(primitive, points, withRestart);
        for (const std::size_t queue : {1U, 2U, 3U, 4U, 7U, 50U, 100U}) {
            basin->factory().setQueuedVertices(queue);
            EXPECT_TRUE(whole == drawn(primitive, points)) << primitive << " by " << queue;
            EXPECT_TRUE(whole == indexed(primitive, points, order)) << primitive << " by " << queue;
            const bool isList =
                primitive == RenderNamespace::Lines || primitive == RenderNamespace::Triangles;
            if (isList) continue; // beginning anew means nothing to lists
            EXPECT_TRUE(wholeRestart == indexed(primitive, points, withRestart))
                << primitive << " by " << queue;
        }
    }
}

TEST_P(GLPainterTest, TheTimerMeasuresWaves) {
    const auto timer = polyp->insert(basin->createTimer());
    EXPECT_LT(timer->seconds(), 0.0);
    fillPicture(program(passVertex, colorFragment));
    EXPECT_EQ(wave(), 4);
    EXPECT_GT(timer->seconds(), 0.0);
    EXPECT_EQ(timer->measurements, 1U);
    wave();
    EXPECT_EQ(timer->measurements, 2U);
    timer->reset();
    EXPECT_LT(timer->seconds(), 0.0);
    EXPECT_TRUE(polyp->getTimer());
}

POLYPIA_BOTH_PROFILES(GLPainterTest);

} // namespace
