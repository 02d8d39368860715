#include <PolypiaGL/glDrawState.hpp>

#include "glBasin.hpp"

#include <PolypiaGL/glMachine.hpp>

#include <stdexcept>
#include <utility>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;

namespace {

/// Several waves within one frame: what one leaves must neither be lost nor disturb the next.
class DrawStateTest : public BasinTestInProfile {
protected:
    GL::DrawState& state() const { return basin->factory().machine().drawState; }

    /// Clips away what is left of a place.
    RenderBasin::ProgramPtr clippingProgram() const {
        return program("#version 430\n"
                       "in vec3 Coordinates;\n"
                       "uniform float begin = 0.0;\n"
                       "void main() {\n"
                       "    gl_Position = vec4(Coordinates, 1.0);\n"
                       "    gl_ClipDistance[0] = Coordinates.x - begin;\n"
                       "    gl_ClipDistance[1] = 1.0;\n"
                       "}\n",
                       colorFragment);
    }
    RenderBasin::ProgramPtr plainProgram() const { return program(passVertex, colorFragment); }
    /// Has its colours from an attribute.
    RenderBasin::ProgramPtr coloredProgram() const {
        return program("#version 430\n"
                       "in vec3 Coordinates; in vec4 Colors; out vec4 vertexColor;\n"
                       "void main() {\n"
                       "    vertexColor = Colors;\n"
                       "    gl_Position = vec4(Coordinates, 1.0);\n"
                       "}\n",
                       "#version 430\n"
                       "in vec4 vertexColor; out vec4 result;\n"
                       "void main() { result = vertexColor; }\n");
    }
    PolypPtr filled(const RenderBasin::ProgramPtr& painted) const {
        return drawing(painted, fullPicture());
    }
    PolypPtr drawing(const RenderBasin::ProgramPtr& painted,
                     const RenderBasin::VertexAttributePtr& vertices) const {
        const PolypPtr made(new Polyp({}));
        made->insert(painted);
        insertStrip(*made, vertices);
        return made;
    }
    static void insertStrip(Polyp& target, const RenderBasin::VertexAttributePtr& vertices) {
        target.insert(vertices);
        target.insert(vertices->createPainter(RenderNamespace::TriangleStrip));
    }
    /// Triangles of the corners of the picture.
    PolypPtr indexed(const RenderBasin::ProgramPtr& painted,
                     const std::vector<unsigned>& indices) const {
        const PolypPtr made(new Polyp({}));
        made->insert(painted);
        made->insert(fullPicture());
        const auto order = basin->createAttribute(chunk(indices), 8, "Indices");
        made->insert(order);
        made->insert(order->createPainter(RenderNamespace::Triangles));
        return made;
    }
    static void setColor(const RenderBasin::ProgramPtr& painted, const Color& color) {
        Skua::FixedArray<float, 4> values{};
        for (std::size_t i = 0; i < color.size(); ++i) {
            values[i] = static_cast<float>(color[i]) / 255.0F;
        }
        (*painted)["color"] = values;
    }
    RenderBasin::VertexAttributePtr colors(const Color& color) const {
        const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(color[i]); };
        const Skua::FixedArray<unsigned char, 4> each{byte(0), byte(1), byte(2), byte(3)};
        return basin->createAttribute(chunk(std::vector(4, each)), 2, "Colors");
    }
};

TEST_P(DrawStateTest, ProgramAndVertexArrayStayFromOneWaveToTheNextAndGoBackAtTheEnd) {
    const PolypPtr first = filled(plainProgram());
    const auto before = currentState();
    {
        const GL::DrawState::Scope frame(state());
        first->wave(~0U);
        const auto between = currentState();
        EXPECT_NE(between.at("program"), 0);
        EXPECT_NE(between.at("vertex array"), 0);
        first->wave(~0U);
        EXPECT_EQ(changesSince(between), "");
    }
    EXPECT_EQ(changesSince(before), "");
    EXPECT_EQ(center(), white);
}

TEST_P(DrawStateTest, TheVertexArrayKeepsNoBufferBeyondTheFrame) {
    const PolypPtr first = filled(plainProgram()), second = indexed(plainProgram(), {0, 1, 2});
    GLint array = 0;
    {
        const GL::DrawState::Scope frame(state());
        first->wave(~0U);
        second->wave(~0U);
        glGetIntegerv(GL_VERTEX_ARRAY_BINDING, &array);
    }
    GLint indices = -1;
    glGetVertexArrayiv(static_cast<GLuint>(array), GL_ELEMENT_ARRAY_BUFFER_BINDING, &indices);
    EXPECT_EQ(indices, 0);
    for (GLuint location = 0; location < 16; ++location) {
        GLint isEnabled = GL_TRUE;
        glGetVertexArrayIndexediv(static_cast<GLuint>(array), location,
                                  GL_VERTEX_ATTRIB_ARRAY_ENABLED, &isEnabled);
        EXPECT_EQ(isEnabled, GL_FALSE) << location;
    }
    glBindVertexArray(static_cast<GLuint>(array));
    for (GLuint binding = 0; binding < 16; ++binding) {
        GLint buffer = -1;
        glGetIntegeri_v(GL_VERTEX_BINDING_BUFFER, binding, &buffer);
        EXPECT_EQ(buffer, 0) << binding;
    }
    glBindVertexArray(0);
}

TEST_P(DrawStateTest, AProgramThatDoesNotClipIsNotClippedAfterOneThatDoes) {
    const auto clipping = clippingProgram();
    setColor(clipping, red);
    const auto plain = plainProgram();
    setColor(plain, green);
    const PolypPtr clipped = filled(clipping), whole = filled(plain);
    const GL::DrawState::Scope frame(state());
    clipped->wave(~0U);
    EXPECT_EQ(pixel(8, 32), black);
    EXPECT_EQ(pixel(56, 32), red);
    whole->wave(~0U);
    EXPECT_EQ(pixel(8, 32), green);
    EXPECT_EQ(pixel(56, 32), green);
    clear();
    clipped->wave(~0U);
    EXPECT_EQ(pixel(8, 32), black);
    EXPECT_EQ(pixel(56, 32), red);
}

TEST_P(DrawStateTest, TheSameProgramDrawsVerticesOfTheirOwnForEachPolyp) {
    const auto plain = plainProgram();
    const PolypPtr left =
        drawing(plain, coordinates({{-1, -1, 0}, {0, -1, 0}, {-1, 1, 0}, {0, 1, 0}}));
    const PolypPtr right =
        drawing(plain, coordinates({{0, -1, 0}, {1, -1, 0}, {0, 1, 0}, {1, 1, 0}}));
    const GL::DrawState::Scope frame(state());
    setColor(plain, red);
    left->wave(~0U);
    setColor(plain, green);
    right->wave(~0U);
    EXPECT_EQ(pixel(8, 32), red);
    EXPECT_EQ(pixel(56, 32), green);
    setColor(plain, blue);
    left->wave(~0U);
    EXPECT_EQ(pixel(8, 32), blue);
    EXPECT_EQ(pixel(56, 32), green);
}

TEST_P(DrawStateTest, ElementTypesOfOneInputMayDiffer) {
    const auto colored = coloredProgram();
    const PolypPtr bytes = filled(colored), floats = filled(colored);
    bytes->insert(colors(red));
    floats->insert(basin->createAttribute(
        chunk(std::vector(4, Skua::FixedArray<float, 3>{0, 1, 0})), 2, "Colors"));
    const GL::DrawState::Scope frame(state());
    bytes->wave(~0U);
    EXPECT_EQ(center(), red);
    floats->wave(~0U);
    EXPECT_EQ(center(), green);
    bytes->wave(~0U);
    EXPECT_EQ(center(), red);
}

TEST_P(DrawStateTest, AnInputWithoutDataHasNoneFromThePolypBefore) {
    const auto colored = coloredProgram();
    const PolypPtr with = filled(colored), without = filled(colored);
    with->insert(colors(red));
    const GL::DrawState::Scope frame(state());
    with->wave(~0U);
    EXPECT_EQ(center(), red);
    without->wave(~0U);
    EXPECT_EQ(center(), black); // what OpenGL gives to inputs without data: 0, 0, 0, 1
}

TEST_P(DrawStateTest, ABufferInPlaceOfOneThatIsGoneIsReadFrom) {
    const auto colored = coloredProgram();
    const PolypPtr drawn = filled(colored);
    const GL::DrawState::Scope frame(state());
    for (const Color& color : {red, green, blue}) {
        const auto attribute = drawn->insert(colors(color));
        drawn->wave(~0U);
        EXPECT_EQ(center(), color);
        drawn->eraseTentacle(attribute);
    }
}

TEST_P(DrawStateTest, IndicesOfOnePolypAreNotThoseOfTheNext) {
    const auto plain = plainProgram();
    const PolypPtr lower = indexed(plain, {0, 1, 2}), upper = indexed(plain, {1, 3, 2}),
                   all = filled(plain);
    const GL::DrawState::Scope frame(state());
    lower->wave(~0U);
    EXPECT_EQ(pixel(4, 4), white);
    EXPECT_EQ(pixel(60, 60), black);
    clear();
    upper->wave(~0U);
    EXPECT_EQ(pixel(4, 4), black);
    EXPECT_EQ(pixel(60, 60), white);
    clear();
    all->wave(~0U);
    EXPECT_EQ(drawnPixels(), size * size);
    clear();
    lower->wave(~0U);
    EXPECT_EQ(pixel(4, 4), white);
    EXPECT_EQ(pixel(60, 60), black);
}

TEST_P(DrawStateTest, AWaveWithinAWaveGivesTheOuterProgramBack) {
    const auto outerProgram = clippingProgram(), innerProgram = plainProgram();
    setColor(outerProgram, red);
    setColor(innerProgram, green);
    const PolypPtr inner =
        drawing(innerProgram, coordinates({{-1, -1, 0}, {1, -1, 0}, {-1, 0, 0}, {1, 0, 0}}));
    const PolypPtr outer = filled(outerProgram);
    const auto before = currentState();
    int program = 0, after = -1;
    outer->insert(probe([&](const Polyp&) {
                      program = currentState().at("program");
                      inner->wave(~0U);
                      after = currentState().at("program");
                      return true;
                  }),
                  Polyp::PainterKey - 1);
    outer->wave(~0U);
    EXPECT_NE(program, 0);
    EXPECT_EQ(after, program);
    EXPECT_EQ(changesSince(before), "");
    EXPECT_EQ(pixel(8, 8), green);
    EXPECT_EQ(pixel(8, 56), black);
    EXPECT_EQ(pixel(56, 8), red);
}

TEST_P(DrawStateTest, APolypWithoutAProgramDrawsByThatOfTheCaller) {
    const auto callers = program("#version 330\n"
                                 "layout(location = 0) in vec3 place;\n"
                                 "void main() { gl_Position = vec4(place, 1.0); }\n",
                                 "#version 330\n"
                                 "out vec4 result;\n"
                                 "void main() { result = vec4(0.0, 0.0, 1.0, 1.0); }\n");
    const PolypPtr clipped = filled(clippingProgram());
    const PolypPtr bare(new Polyp({}));
    insertStrip(*bare, fullPicture());
    glUseProgram(static_cast<GLuint>(callers->nativeHandle()));
    {
        const GL::DrawState::Scope frame(state());
        clipped->wave(~0U);
        bare->wave(~0U);
    }
    EXPECT_EQ(pixel(8, 32), blue);
    EXPECT_EQ(pixel(56, 32), blue);
    glUseProgram(0);
}

TEST_P(DrawStateTest, WhoCallsOpenGLItselfGetsTheCallersStateAndMayChangeIt) {
    const PolypPtr clipped = filled(clippingProgram());
    const PolypPtr bare(new Polyp({}));
    insertStrip(*bare, fullPicture());
    const auto other = program("#version 330\n"
                               "layout(location = 0) in vec3 place;\n"
                               "void main() { gl_Position = vec4(place, 1.0); }\n",
                               colorFragment);
    const GL::VertexArrayId array = GL::createVertexArray();
    const auto before = currentState();
    {
        const GL::DrawState::Scope frame(state());
        clipped->wave(~0U);
        basin->factory().restoreState();
        EXPECT_EQ(changesSince(before), "");
        glUseProgram(static_cast<GLuint>(other->nativeHandle()));
        glBindVertexArray(array.number());
        glEnable(GL_CLIP_DISTANCE1);
        const auto found = currentState();
        clear();
        bare->wave(~0U);
        EXPECT_EQ(drawnPixels(), size * size) << "by the program that was found";
        clipped->wave(~0U);
        basin->factory().restoreState();
        EXPECT_EQ(changesSince(found), "");
        glUseProgram(0);
        glBindVertexArray(0);
        glDisable(GL_CLIP_DISTANCE1);
        clear();
        clipped->wave(~0U);
        EXPECT_EQ(pixel(8, 32), black);
        EXPECT_EQ(pixel(56, 32), white);
    }
    EXPECT_EQ(changesSince(before), "");
}

TEST_P(DrawStateTest, AFrameGoesBackToWhatItHasFoundWhateverOpenGLHas) {
    const PolypPtr clipped = filled(clippingProgram());
    const auto other = plainProgram();
    const GL::VertexArrayId array = GL::createVertexArray();
    const auto changeAll = [&] {
        glUseProgram(static_cast<GLuint>(other->nativeHandle()));
        glBindVertexArray(array.number());
        glEnable(GL_CLIP_DISTANCE1);
        glDisable(GL_PRIMITIVE_RESTART_FIXED_INDEX);
    };
    const auto before = currentState();
    {
        const GL::DrawState::Frame frame(state());
        EXPECT_FALSE(state().wasRestored());
        clipped->wave(~0U);
        changeAll();
        state().goBack();
        EXPECT_EQ(changesSince(before), "");
        basin->factory().restoreState();
        EXPECT_TRUE(state().wasRestored());
        changeAll();
        {
            const auto found = currentState();
            const GL::DrawState::Frame inner(state());
            EXPECT_FALSE(state().wasRestored());
            clipped->wave(~0U);
            state().goBack();
            EXPECT_EQ(changesSince(found), "");
        }
        EXPECT_TRUE(state().wasRestored());
        state().goBack();
        EXPECT_FALSE(state().wasRestored());
        EXPECT_EQ(changesSince(before), "");
        clear();
        clipped->wave(~0U);
        EXPECT_EQ(pixel(8, 32), black);
        EXPECT_EQ(pixel(56, 32), white);
    }
    EXPECT_EQ(changesSince(before), "");
}

TEST_P(DrawStateTest, AWaveThatThrowsLeavesTheFrameInOrder) {
    const PolypPtr clipped = filled(clippingProgram());
    clipped->insert(probe([](const Polyp&) -> bool { throw std::runtime_error("no"); }),
                    Polyp::PainterKey - 1);
    const auto plain = plainProgram();
    const PolypPtr whole = filled(plain);
    const auto before = currentState();
    {
        const GL::DrawState::Scope frame(state());
        EXPECT_THROW(clipped->wave(~0U), std::runtime_error);
        whole->wave(~0U);
        EXPECT_EQ(drawnPixels(), size * size);
    }
    EXPECT_EQ(changesSince(before), "");
}

TEST_P(DrawStateTest, ADrawIsMadeByTheProgramOfItsWaveWhateverOpenGLUses) {
    const PolypPtr outer(new Polyp({})), bare(new Polyp({}));
    insertStrip(*bare, fullPicture());
    outer->insert(plainProgram());
    outer->insertTentacle(3000, probe([&](const Polyp&) {
                              basin->factory().restoreState();
                              bare->wave(~0U);
                              return true;
                          }));
    const auto before = currentState();
    outer->wave(~0U);
    EXPECT_EQ(changesSince(before), "");
    EXPECT_EQ(drawnPixels(), size * size);
}

TEST_P(DrawStateTest, AProgramThatIsInsertedInMidWaveDrawsFromTheNextOneOn) {
    const auto first = plainProgram(), second = plainProgram();
    setColor(first, red);
    setColor(second, blue);
    const PolypPtr drawn = filled(first);
    bool isInserted = false;
    drawn->insertTentacle(3000, probe([&](const Polyp&) {
                              if (!std::exchange(isInserted, true)) {
                                  drawn->insertTentacle(1, second);
                              }
                              return true;
                          }));
    const auto before = currentState();
    drawn->wave(~0U);
    EXPECT_EQ(changesSince(before), "");
    EXPECT_EQ(center(), red);
    drawn->wave(~0U);
    EXPECT_EQ(changesSince(before), "");
    EXPECT_EQ(center(), blue);
}

TEST_P(DrawStateTest, MatricesOfTheContextAreTheCallersAgainAfterAWave) {
    if (GetParam() == GL::Profile::Core) GTEST_SKIP() << "the profile keeps no matrices";
    const auto matrices = [] {
        std::vector<double> values(32);
        glGetDoublev(GL_PROJECTION_MATRIX, values.data());
        glGetDoublev(GL_MODELVIEW_MATRIX, values.data() + 16);
        return values;
    };
    const PolypPtr drawn =
        filled(program("#version 130\n"
                       "void main() { gl_Position = gl_ModelViewProjectionMatrix * gl_Vertex; }\n",
                       "#version 130\nvoid main() { gl_FragColor = vec4(1.0); }\n"));
    constexpr GL::Machine::Matrix callers{2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 1, 2, 3, 1};
    glMatrixMode(GL_PROJECTION);
    glLoadMatrixd(callers.data());
    glMatrixMode(GL_TEXTURE);
    const auto before = matrices();
    drawn->wave(~0U);
    EXPECT_EQ(drawnPixels(), size * size) << "by those of the basin";
    EXPECT_EQ(matrices(), before);
    {
        const GL::DrawState::Scope frame(state());
        drawn->wave(~0U);
        basin->factory().restoreState();
        EXPECT_EQ(matrices(), before);
        drawn->wave(~0U);
        drawn->wave(~0U);
    }
    EXPECT_EQ(matrices(), before);
    GLint mode = 0;
    glGetIntegerv(GL_MATRIX_MODE, &mode);
    EXPECT_EQ(mode, GL_TEXTURE);
}

POLYPIA_BOTH_PROFILES(DrawStateTest);

} // namespace
