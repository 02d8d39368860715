#include <PolypiaGL/GLFactory.hpp>

#include "glBasin.hpp"

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// Waves of whole polyps: order, early stop, throw, chunks.
class GLRenderBasinTest : public BasinTestInProfile {
protected:
    /// A polyp with a tentacle of every class, all of which set state.
    void fillPolyp() {
        const auto shader = program("#version 430\n"
                                    "in vec3 Coordinates;\n"
                                    "void main() {\n"
                                    "    gl_Position = vec4(Coordinates, 1.0);\n"
                                    "    gl_ClipDistance[0] = 1.0; gl_ClipDistance[1] = 1.0;\n"
                                    "}\n",
                                    "#version 430\n"
                                    "uniform sampler2D image; uniform sampler1D table;\n"
                                    "layout(std430) buffer Values { float values[]; };\n"
                                    "out vec4 result;\n"
                                    "void main() {\n"
                                    "    result = vec4(texture(image, vec2(0.5)).r,\n"
                                    "                  texture(table, 0.5).r, values[1], 1.0);\n"
                                    "}\n");
        shader->SamplerBindings["table"] = texture(1, 3);
        polyp->insert(basin->createTimer());
        polyp->insert(shader);
        const std::array<int, 2> factors{GL_ONE, GL_ZERO};
        const auto blend = basin->createRenderParameter("glBlendFunc", {}, typeid(int), 2);
        blend->setValue(factors.data(), typeid(int), 2);
        polyp->insert(blend);
        const auto image = texture(2, 2);
        image->samplerName = "image";
        polyp->insert(image);
        const std::array<float, 2> values{0.0F, 1.0F};
        basin->bindStorageBuffer(*polyp, "Values", values.data(), sizeof values,
                                 StorageFlags::None);
        painter = insertDrawn(fullPicture(), RenderNamespace::TriangleStrip);
    }

    RenderBasin::TexturePtr texture(int dimensions, int unit) const {
        return basin->createTexture(chunk(std::vector<float>{1, 1, 1, 1}), 1, dimensions, 0, unit,
                                    RenderBasin::Red(RenderBasin::BitPrecision::Float32), 0, false,
                                    {});
    }

    /// State of a caller, all of it different from the default.
    void setForeignState() {
        foreignTexture = texture(2, 2);
        foreignTexture->activate(*polyp);
        foreign1D = texture(1, 3);
        foreign1D->activate(*polyp);
        foreignProgram = program(passVertex, colorFragment);
        glUseProgram(static_cast<GLuint>(foreignProgram->nativeHandle()));
        foreignArray = GL::createVertexArray();
        glBindVertexArray(foreignArray.number());
        glEnable(GL_BLEND);
        glBlendFuncSeparate(GL_ONE, GL_ONE_MINUS_SRC_ALPHA, GL_ZERO, GL_ONE);
        glEnable(GL_CLIP_DISTANCE1);
        foreignPicture = std::make_unique<GLFramebuffer>(*context, size, size, 1);
        foreignPicture->bind();
    }
    void TearDown() override {
        if (context) {
            glUseProgram(0);
            glBindVertexArray(0);
        }
        painter = {};
        foreignProgram = {};
        foreignTexture = {};
        foreign1D = {};
        foreignArray.reset();
        foreignPicture.reset();
        BasinTestInProfile::TearDown();
    }

    RenderBasin::PainterPtr painter;
    RenderBasin::ProgramPtr foreignProgram;
    RenderBasin::TexturePtr foreignTexture;
    RenderBasin::TexturePtr foreign1D;
    GL::VertexArrayId foreignArray;
    std::unique_ptr<GLFramebuffer> foreignPicture;
};

TEST_P(GLRenderBasinTest, DrawsWithAllStateInPlace) {
    fillPolyp();
    EXPECT_EQ(waveKeepingState(), 7);
    EXPECT_EQ(center(), white);
}

TEST_P(GLRenderBasinTest, ActivatesInTheOrderOfKeysAndDeactivatesInReverse) {
    fillPolyp();
    std::vector<std::string> passed;
    const auto insertProbe = [&](int key, const std::string& name) {
        const auto told = [&passed](const std::string& text) {
            GLint current = 0;
            glGetIntegerv(GL_CURRENT_PROGRAM, &current);
            GLint bound = 0;
            glGetIntegeri_v(GL_TEXTURE_BINDING_2D, 2, &bound);
            passed.push_back(text + (current != 0 ? " program" : "") +
                             (glIsEnabled(GL_BLEND) ? " blend" : "") +
                             (bound != 0 ? " texture" : ""));
            return true;
        };
        polyp->insertTentacle(key, probe([=](const Polyp&) { return told(name); },
                                         [=](const Polyp&) { return told("-" + name); }));
    };
    // Behind the painter too: what it needs is in place as long as it is active.
    insertProbe(30000, "last");
    insertProbe(17000, "painted");
    insertProbe(3000, "attributes");
    insertProbe(1000, "programs");
    insertProbe(-20000, "first");
    EXPECT_EQ(waveKeepingState(), 12);
    EXPECT_THAT(passed, ElementsAre("first", "programs program", "attributes program blend",
                                    "painted program blend texture", "last program blend texture",
                                    "-last program blend texture", "-painted program blend texture",
                                    "-attributes program blend", "-programs program", "-first"));
}

TEST_P(GLRenderBasinTest, RestoresTheStateOfTheCaller) {
    fillPolyp();
    setForeignState();
    waveKeepingState();
}

TEST_P(GLRenderBasinTest, StopsEarlyWithTheStateRestored) {
    fillPolyp();
    setForeignState();
    polyp->insertTentacle(17000, probe([](const Polyp&) { return false; }));
    EXPECT_EQ(waveKeepingState(), 6);
    picture->bind();
    EXPECT_EQ(drawnPixels(), 0);
}

TEST_P(GLRenderBasinTest, LetsAnExceptionOfThePainterThroughWithTheStateRestored) {
    fillPolyp();
    polyp->eraseTentacle(painter);
    constexpr int noPrimitive = 99;
    polyp->insert(basin->createPainter(RenderNamespace::Primitive(noPrimitive), 0));
    setForeignState();
    const auto before = currentState();
    try {
        wave();
        FAIL() << "no exception";
    } catch (const RenderException& exception) {
        EXPECT_EQ(exception.glError, GL_INVALID_ENUM);
        EXPECT_THAT(exception.str(), HasSubstr("GL_INVALID_ENUM"));
        EXPECT_THAT(exception.str(), HasSubstr("Painter::draw"));
    }
    EXPECT_EQ(changesSince(before), "");
    EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR});
}

TEST_P(GLRenderBasinTest, RestoresTheStateWhenATentacleInFrontOfThePainterThrows) {
    fillPolyp();
    setForeignState();
    polyp->insertTentacle(17000, probe([](const Polyp&) -> bool {
                              throw RenderException(GL_OUT_OF_MEMORY, "probe", "here", 1);
                          }));
    const auto before = currentState();
    EXPECT_THROW(wave(), RenderException);
    EXPECT_EQ(changesSince(before), "");
    polyp->clear();
}

// An error that somebody left behind is found by the first tentacle that checks; wherever that is,
// the state must come back.
TEST_P(GLRenderBasinTest, RestoresTheStateWhenAnErrorWasLeftBehind) {
    fillPolyp();
    wave(); // an upload would find and print the error first
    setForeignState();
    const auto before = currentState();
    for (const int key : {-20000, 1000, 2000, 3000, 17000, 20300}) {
        const auto culprit = probe([](const Polyp&) {
            glEnable(GL_FLOAT); // no capability
            return true;
        });
        polyp->insertTentacle(key, culprit);
        EXPECT_THROW(wave(), RenderException) << key;
        EXPECT_EQ(changesSince(before), "") << key;
        EXPECT_EQ(glGetError(), GLenum{GL_NO_ERROR}) << key;
        polyp->eraseTentacle(culprit);
    }
    EXPECT_EQ(wave(), 7);
}

TEST_P(GLRenderBasinTest, DeactivationWithoutActivationChangesNothing) {
    fillPolyp();
    polyp->insert(basin->factory().createFlag("GL_DEPTH_TEST", true));
    polyp->insert(basin->factory().createPolygonOffset(1.0F, 1.0F));
    setForeignState();
    const auto before = currentState();
    for (const int key : {0, 1024, 2048, 16384, 20480}) {
        polyp->iterate(
            [&](int, const Polyp::TentaclePtr& tentacle) { return tentacle->deactivate(*polyp); },
            key, key);
    }
    EXPECT_EQ(changesSince(before), "");
}

TEST_P(GLRenderBasinTest, WavesWithoutErrorChecksToo) {
    basin->factory().setErrorChecks(false);
    fillPolyp();
    EXPECT_EQ(waveKeepingState(), 7);
    EXPECT_EQ(center(), white);
}

// Buffers that a vertex array still refers to keep their memory.
TEST_P(GLRenderBasinTest, NothingKeepsABufferThatIsGone) {
    fillPolyp();
    wave();
    GLint array = 0;
    for (unsigned candidate = 1; candidate < 100; ++candidate) {
        if (glIsVertexArray(candidate)) array = static_cast<GLint>(candidate);
    }
    for (unsigned binding = 0; binding < 16; ++binding) {
        GLint buffer = 0;
        glGetVertexArrayIndexediv(static_cast<GLuint>(array), binding,
                                  GL_VERTEX_ATTRIB_ARRAY_ENABLED, &buffer);
        EXPECT_EQ(buffer, GL_FALSE) << binding;
        glBindVertexArray(static_cast<GLuint>(array));
        glGetIntegeri_v(GL_VERTEX_BINDING_BUFFER, binding, &buffer);
        EXPECT_EQ(buffer, 0) << binding;
        glBindVertexArray(0);
    }
}

TEST_P(GLRenderBasinTest, IdsDieOnlyWithTheContextCurrent) {
    fillPolyp();
    wave();
    EXPECT_DEATH(
        {
            context->release();
            painter = {};
            polyp = {};
        },
        "is freed where no context is current");
}

/// Vertices whose colour comes out of a storage buffer, drawn whole and in pieces.
class GLChunksTest : public GLRenderBasinTest {
protected:
    struct Drawn {
        std::vector<std::uint8_t> pixels;
        int passes;
    };

    /// Vertices 0, 1, 2 ... along a zigzag through the picture.
    static std::vector<FloatPoint> zigzag(int number) {
        std::vector<FloatPoint> points;
        for (int i = 0; i < number; ++i) {
            const int step = i / 2;
            const float x = static_cast<float>(step % 32) / 16.0F - 1.0F;
            const float y = static_cast<float>(step / 32) / 8.0F - 1.0F;
            points.push_back({x + 0.02F, y + (i % 2 == 0 ? 0.01F : 0.11F), 0.0F});
        }
        return points;
    }

    Drawn draw(RenderNamespace::Primitive primitive, int number, unsigned limit, int first = 0,
               int count = -1) {
        polyp->clear();
        clear();
        const auto shader =
            program("#version 430\n"
                    "in vec3 Coordinates;\n"
                    "layout(std430) buffer Values { float values[]; };\n"
                    "uniform int zelk_FirstVertexOfChunk;\n"
                    "out float value;\n"
                    "void main() {\n"
                    "    value = values[gl_VertexID - zelk_FirstVertexOfChunk];\n"
                    "    gl_Position = vec4(Coordinates, 1.0);\n"
                    "}\n",
                    "#version 430\n"
                    "in float value; out vec4 result;\n"
                    "void main() { result = vec4(value, 1.0 - value, 0.5, 1.0); }\n");
        polyp->insert(shader);
        std::vector<float> values;
        for (int i = 0; i < number; ++i) values.push_back(static_cast<float>(i * 7 % 100) / 100.0F);
        const auto buffer = basin->createStorageBuffer(values.data(), values.size() * sizeof(float),
                                                       StorageFlags::None);
        EXPECT_TRUE(buffer->bindToProgram(shader, "Values", nullptr));
        buffer->chunkLimit = limit;
        polyp->insertTentacle(Polyp::ChunkedDataKey, buffer);
        const Keel::StrongPtr<RenderBasin::RangedPainter, Polyp::Tentacle> ranged(
            insertDrawn(coordinates(zigzag(number)), primitive));
        ranged->first = first;
        ranged->count = count;
        polyp->prepareWave();
        const auto before = currentState();
        const int activated = wave();
        EXPECT_EQ(changesSince(before), "");
        return {pixels(), activated / 4};
    }
};

TEST_P(GLChunksTest, DrawTheSamePictureInOnePassAndInMany) {
    constexpr unsigned noLimit = 0;
    constexpr unsigned limit = 1024; // 256 floats: not a multiple of 3
    for (const auto primitive : {RenderNamespace::Points, RenderNamespace::Lines,
                                 RenderNamespace::LineStrip, RenderNamespace::ConnectedLines,
                                 RenderNamespace::Triangles, RenderNamespace::TriangleStrip}) {
        for (const int number : {1000, 768, 999}) {
            const Drawn whole = draw(primitive, number, noLimit);
            const Drawn pieces = draw(primitive, number, limit);
            EXPECT_EQ(whole.passes, 1);
            EXPECT_EQ(pieces.passes, number / 256 + 1);
            EXPECT_TRUE(whole.pixels == pieces.pixels) << primitive << " of " << number;
            EXPECT_GT(drawnPixels(), 100);
        }
    }
}

TEST_P(GLChunksTest, DrawARangeTheSameInOnePassAndInMany) {
    for (const auto primitive :
         {RenderNamespace::Points, RenderNamespace::Lines, RenderNamespace::LineStrip,
          RenderNamespace::Triangles, RenderNamespace::TriangleStrip}) {
        const Drawn whole = draw(primitive, 1000, 0, 101, 601);
        const Drawn pieces = draw(primitive, 1000, 1024, 101, 601);
        EXPECT_TRUE(whole.pixels == pieces.pixels) << primitive;
        EXPECT_GT(drawnPixels(), 50);
    }
}

TEST_P(GLChunksTest, RefuseABufferWhosePiecesBeginWhereTheDriverCannotBind) {
    const auto alignment = static_cast<unsigned>(context->limits().storageOffsetAlignment);
    if (alignment <= 4) GTEST_SKIP() << "storage buffers can be bound anywhere";
    const auto shader = program("#version 430\n"
                                "in vec3 Coordinates;\n"
                                "layout(std430) buffer Wide { float wide[]; };\n"
                                "layout(std430) buffer Narrow { float narrow[]; };\n"
                                "void main() {\n"
                                "    gl_Position = vec4(Coordinates, wide[0] + narrow[0] + 1.0);\n"
                                "}\n",
                                colorFragment);
    polyp->insert(shader);
    constexpr unsigned vertices = 30;
    const std::vector<char> data(std::size_t{vertices} * alignment);
    const auto insertBuffer = [&](const char* block, unsigned vertexBytes) {
        const auto buffer = basin->createStorageBuffer(
            data.data(), std::size_t{vertices} * vertexBytes, StorageFlags::None);
        buffer->bindToProgram(shader, block, nullptr);
        buffer->chunkLimit = 3 * alignment;
        polyp->insertTentacle(Polyp::ChunkedDataKey, buffer);
    };
    insertBuffer("Wide", alignment);
    insertBuffer("Narrow", 4);
    insertDrawn(coordinates(zigzag(vertices)), RenderNamespace::Points);
    polyp->prepareWave();
    EXPECT_EQ(polyp->chunkElements, 3U);
    const auto before = currentState();
    try {
        wave();
        FAIL() << "no exception";
    } catch (const RenderException& exception) {
        EXPECT_THAT(exception.str(), HasSubstr("a buffer of 4 bytes for each vertex can't be bound "
                                               "from byte 12, expected a multiple of " +
                                               std::to_string(alignment)));
    }
    EXPECT_EQ(changesSince(before), "");
}

TEST_P(GLChunksTest, RefuseAFigureThatNeedsItsFirstVertexInEachPass) {
    for (const auto primitive : {RenderNamespace::LineLoop, RenderNamespace::TriangleFan}) {
        EXPECT_NO_THROW(draw(primitive, 1000, 0));
        try {
            draw(primitive, 1000, 1024);
            FAIL() << "no exception";
        } catch (const RenderException& exception) {
            EXPECT_THAT(exception.str(), HasSubstr("in pieces"));
        }
    }
}

POLYPIA_BOTH_PROFILES(GLRenderBasinTest);
POLYPIA_BOTH_PROFILES(GLChunksTest);

} // namespace
