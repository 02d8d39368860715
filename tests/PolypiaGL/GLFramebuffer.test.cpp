#include <PolypiaGL/GLFramebuffer.hpp>

#include "glBasin.hpp"

#include <array>
#include <map>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::Each;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

class GLFramebufferTest : public BasinTest {
protected:
    std::string refusal(int width, int height) const {
        try {
            GLFramebuffer(*context, width, height, 1);
        } catch (const RenderException& exception) {
            return exception.str();
        }
        return "no exception";
    }
    /// A picture of 4 x 3 whose pixel (x, y) has red x / 4 and green y / 4, and depth y / 4.
    std::unique_ptr<GLFramebuffer> ramp() const {
        auto frame = std::make_unique<GLFramebuffer>(*context, 4, 3, 1);
        frame->bind();
        glEnable(GL_SCISSOR_TEST);
        for (int y = 0; y < 3; ++y) {
            for (int x = 0; x < 4; ++x) {
                glScissor(x, y, 1, 1);
                glClearColor(static_cast<float>(x) / 4.0F, static_cast<float>(y) / 4.0F, 0, 1);
                glClearDepth(y / 4.0);
                glClear(GL_COLOR_BUFFER_BIT | GL_DEPTH_BUFFER_BIT);
            }
        }
        glDisable(GL_SCISSOR_TEST);
        return frame;
    }
};

TEST_F(GLFramebufferTest, ImpossibleSizesAreAnExceptionThatNamesTheLimit) {
    const GLLimits& limits = context->limits();
    const int widest = std::min(limits.maxRenderbufferSize, limits.maxViewportSize[0]);
    const int highest = std::min(limits.maxRenderbufferSize, limits.maxViewportSize[1]);
    const std::string expected =
        "expected 1 x 1 to " + std::to_string(widest) + " x " + std::to_string(highest);
    for (const auto& [width, height] :
         {std::pair{0, 5}, {5, 0}, {-1, 5}, {widest + 1, 5}, {5, highest + 1}}) {
        const std::string message = refusal(width, height);
        EXPECT_THAT(message, HasSubstr(std::to_string(width) + " x " + std::to_string(height) +
                                       " pixels is not possible"));
        EXPECT_THAT(message, HasSubstr(expected));
    }
}

TEST_F(GLFramebufferTest, ClearingClearsTheStencilBuffer) {
    picture->bind();
    glClearStencil(7);
    glClear(GL_STENCIL_BUFFER_BIT);
    glClearStencil(0);
    picture->clear({});
    std::vector<std::uint8_t> stencil(std::size_t{size} * size, 1);
    glPixelStorei(GL_PACK_ALIGNMENT, 1);
    glReadPixels(0, 0, size, size, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, stencil.data());
    EXPECT_THAT(stencil, Each(0));
}

TEST_F(GLFramebufferTest, AScissorCutsNeitherClearingNorReading) {
    for (const int samples : {1, 4}) {
        const GLFramebuffer frame(*context, 4, 4, samples);
        frame.clear({0, 0, 0, 0});
        glEnable(GL_SCISSOR_TEST);
        glScissor(1, 1, 1, 1);
        frame.clear({1, 1, 1, 1});
        std::vector<std::uint8_t> colors(4 * 4 * 4);
        frame.readColors(colors);
        EXPECT_THAT(colors, Each(255)) << samples;
        EXPECT_TRUE(glIsEnabled(GL_SCISSOR_TEST));
        glDisable(GL_SCISSOR_TEST);
    }
}

TEST_F(GLFramebufferTest, MasksDoNotKeepItFromClearing) {
    const GLFramebuffer frame(*context, 4, 4, 1);
    frame.bind();
    glClearDepth(0.0);
    glClear(GL_DEPTH_BUFFER_BIT);
    glClearDepth(1.0);
    glEnable(GL_STENCIL_TEST);
    glClearStencil(3);
    glClear(GL_STENCIL_BUFFER_BIT);
    glClearStencil(0);
    glDisable(GL_STENCIL_TEST);
    glDepthMask(GL_FALSE);
    glColorMask(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE);
    glStencilMaskSeparate(GL_FRONT, 0x05);
    glStencilMaskSeparate(GL_BACK, 0x0A);
    frame.clear({1, 1, 1, 1});
    std::array<GLboolean, 4> colors{};
    GLboolean depths = GL_TRUE;
    GLint front = 0, back = 0;
    glGetBooleanv(GL_COLOR_WRITEMASK, colors.data());
    glGetBooleanv(GL_DEPTH_WRITEMASK, &depths);
    glGetIntegerv(GL_STENCIL_WRITEMASK, &front);
    glGetIntegerv(GL_STENCIL_BACK_WRITEMASK, &back);
    EXPECT_THAT(colors, ElementsAre(GL_FALSE, GL_TRUE, GL_FALSE, GL_TRUE));
    EXPECT_EQ(depths, GL_FALSE);
    EXPECT_EQ(front, 0x05);
    EXPECT_EQ(back, 0x0A);
    std::vector<std::uint8_t> bytes(std::size_t{4} * 4 * 4);
    frame.readColors(bytes);
    EXPECT_THAT(bytes, Each(255));
    float depth = 0;
    EXPECT_EQ(frame.pixelBuffer()->readPixelDepth(0, 0, &depth, 1, 1, 0), 1);
    EXPECT_EQ(depth, 1.0F);
    GLubyte stencil = 7;
    glReadPixels(0, 0, 1, 1, GL_STENCIL_INDEX, GL_UNSIGNED_BYTE, &stencil);
    EXPECT_EQ(stencil, 0);
}

TEST_F(GLFramebufferTest, ReadsWhateverThePackingIsAndLeavesThat) {
    const GLFramebuffer frame(*context, 3, 2, 1);
    frame.clear({1, 1, 1, 1});
    const std::map<GLenum, GLint> packing{
        {GL_PACK_SWAP_BYTES, GL_TRUE}, {GL_PACK_LSB_FIRST, GL_TRUE}, {GL_PACK_ROW_LENGTH, 7},
        {GL_PACK_SKIP_ROWS, 1},        {GL_PACK_SKIP_PIXELS, 2},     {GL_PACK_ALIGNMENT, 8}};
    for (const auto& [key, value] : packing) glPixelStorei(key, value);
    const GL::BufferId buffer = GL::createBuffer();
    glNamedBufferData(buffer.number(), 4096, nullptr, GL_STREAM_READ);
    glBindBuffer(GL_PIXEL_PACK_BUFFER, buffer.number());
    std::vector<std::uint8_t> bytes(std::size_t{4} * 3 * 2);
    frame.readColors(bytes);
    EXPECT_THAT(bytes, Each(255));
    float depth = 0;
    EXPECT_EQ(frame.pixelBuffer()->readPixelDepth(1, 1, &depth, 1, 1, 0), 1);
    EXPECT_EQ(depth, 1.0F);
    for (const auto& [key, value] : packing) {
        GLint present = 0;
        glGetIntegerv(key, &present);
        EXPECT_EQ(present, value) << key;
    }
    GLint bound = 0;
    glGetIntegerv(GL_PIXEL_PACK_BUFFER_BINDING, &bound);
    EXPECT_EQ(bound, static_cast<GLint>(buffer.number()));
}

TEST_F(GLFramebufferTest, AnErrorFromElsewhereIsNoReasonToRefuse) {
    glEnable(GL_NONE);
    EXPECT_EQ(refusal(4, 4), "no exception");
    glEnable(GL_NONE);
    if (!GLLayeredFramebuffer::isPossible(*context, GL::Pass::Layers, 2)) return;
    EXPECT_NO_THROW(GLLayeredFramebuffer(*context, 4, 4, 1, 2, GL::Pass::Layers));
}

TEST_F(GLFramebufferTest, AnErrorFromElsewhereIsNoReasonToRefuseDepths) {
    const GLFramebuffer sampled(*context, 4, 4, 4);
    sampled.clear({0, 0, 0, 1});
    glEnable(GL_NONE);
    float depth = -1.0F;
    EXPECT_EQ(sampled.pixelBuffer()->readPixelDepth(0, 0, &depth, 1, 1, 0), 1);
    EXPECT_EQ(depth, 1.0F);
}

TEST_F(GLFramebufferTest, OnePixelIsAPicture) {
    const GLFramebuffer frame(*context, 1, 1, 1);
    frame.clear({0.2F, 0.4F, 0.6F, 0.8F});
    std::array<std::uint8_t, 4> pixel{};
    frame.readColors(pixel);
    EXPECT_THAT(pixel, ElementsAre(51, 102, 153, 204));
    std::array<std::uint8_t, 3> tooShort{};
    EXPECT_THROW(frame.readColors(tooShort), RenderException);
}

TEST_F(GLFramebufferTest, RowsComeFromTheBottom) {
    std::array<std::uint8_t, 48> bytes{};
    ramp()->readColors(bytes);
    EXPECT_EQ(bytes[0], 0);
    EXPECT_EQ(bytes[4 * 3], 191); // red of (3, 0)
    EXPECT_EQ(bytes[16 + 1], 64); // green of (0, 1)
    EXPECT_EQ(bytes[32 + 1], 128);
}

TEST_F(GLFramebufferTest, ReadingLeavesTheBindings) {
    const GLFramebuffer multiple(*context, 4, 4, 4);
    picture->bind();
    const auto before = currentState();
    std::array<std::uint8_t, 64> bytes{};
    multiple.readColors(bytes);
    EXPECT_EQ(changesSince(before), "");
    float depth = 0;
    EXPECT_EQ(multiple.pixelBuffer()->readPixelDepth(0, 0, &depth, 1, 1, 0), 1);
    EXPECT_EQ(changesSince(before), "");
    std::array<GLint, 4> viewport{};
    glGetIntegerv(GL_VIEWPORT, viewport.data());
    EXPECT_THAT(viewport, ElementsAre(0, 0, size, size));
}

TEST_F(GLFramebufferTest, SamplesAreResolved) {
    if (context->limits().maxSamples < 4) GTEST_SKIP() << "no 4 samples for each pixel";
    picture = std::make_unique<GLFramebuffer>(*context, size, size, 4);
    EXPECT_EQ(picture->samples(), 4);
    picture->bind();
    clear();
    polyp->insert(program(passVertex, colorFragment));
    insertDrawn(coordinates({{-1, -1, 0}, {1, -1, 0}, {-1, 1, 0}}), RenderNamespace::Triangles);
    waveKeepingState();
    EXPECT_EQ(pixel(8, 8), white);
    EXPECT_EQ(pixel(56, 56), black);
    // The border goes through the pixels on the diagonal: some of the samples are drawn.
    const int border = pixel(20, 43)[0];
    EXPECT_GT(border, 0);
    EXPECT_LT(border, 255);
    float depth = -1;
    EXPECT_EQ(picture->pixelBuffer()->readPixelDepth(56, 56, &depth, 1, 1, 0), 1);
    EXPECT_EQ(depth, 1.0F);
}

TEST_F(GLFramebufferTest, SamplesAreHeldWithinWhatTheDriverHas) {
    EXPECT_EQ(GLFramebuffer(*context, 4, 4, -3).samples(), 1);
    EXPECT_EQ(GLFramebuffer(*context, 4, 4, 1000).samples(), context->limits().maxSamples);
    const GLFramebuffer odd(*context, 4, 4, 3);
    odd.bind();
    GLint actual = 0;
    glGetIntegerv(GL_SAMPLES, &actual);
    EXPECT_EQ(odd.samples(), actual);
}

TEST_F(GLFramebufferTest, ReadsRectanglesOfColors) {
    const auto frame = ramp();
    const auto buffer = frame->pixelBuffer();
    EXPECT_EQ(static_cast<const ViewportGeometry&>(*buffer), (ViewportGeometry{0, 0, 4, 3}));
    float colors[6][4];
    for (auto& color : colors) std::fill(color, color + 4, -1.0F);
    EXPECT_EQ(buffer->readPixelColors(1, 1, colors, 2, 2, 3), 4);
    const auto expectPixel = [&](int i, int x, int y) {
        // Half a step of 8 bits, and the rounding of a float below 1.
        constexpr float bound = 0.5F / 255.0F + 0x1p-24F;
        EXPECT_NEAR(colors[i][0], static_cast<float>(x) / 4.0F, bound);
        EXPECT_NEAR(colors[i][1], static_cast<float>(y) / 4.0F, bound);
        EXPECT_EQ(colors[i][3], 1.0F);
    };
    expectPixel(0, 1, 1);
    expectPixel(1, 2, 1);
    expectPixel(3, 1, 2);
    expectPixel(4, 2, 2);
    for (const int gap : {2, 5}) EXPECT_THAT(colors[gap], Each(-1.0F));
}

TEST_F(GLFramebufferTest, ClipsRectanglesAtTheBorder) {
    const auto frame = ramp();
    const auto buffer = frame->pixelBuffer();
    std::array<float, 36> depths{};
    depths.fill(-1);
    // 6 x 6 from (-1, -1): all 12 pixels, beginning in column 1 of row 1.
    EXPECT_EQ(buffer->readPixelDepth(-1, -1, depths.data(), 6, 6, 0), 12);
    for (int y = 0; y < 6; ++y) {
        for (int x = 0; x < 6; ++x) {
            const bool inside = x >= 1 && x <= 4 && y >= 1 && y <= 3;
            const float expected = inside ? static_cast<float>(y - 1) / 4.0F : -1.0F;
            // Half a step of 24 bits.
            EXPECT_NEAR(depths[static_cast<std::size_t>(6 * y + x)], expected, 0x1p-24);
        }
    }
    EXPECT_EQ(buffer->readPixelDepth(4, 0, depths.data(), 2, 2, 0), 0);
    EXPECT_EQ(buffer->readPixelDepth(0, 3, depths.data(), 2, 2, 0), 0);
    EXPECT_EQ(buffer->readPixelDepth(-5, 0, depths.data(), 5, 2, 0), 0);
    EXPECT_EQ(buffer->readPixelDepth(0, 0, depths.data(), 0, 2, 0), 0);
    EXPECT_EQ(buffer->readPixelDepth(0x7FFFFFFF, 0, depths.data(), 9, 9, 0), 0);
    // One row of a rectangle that is wider than any array.
    depths.fill(-1);
    EXPECT_EQ(buffer->readPixelDepth(2, 1, depths.data(), 1ULL << 40, 1, 0), 2);
    EXPECT_NEAR(depths[1], 0.25F, 0x1p-24);
    EXPECT_EQ(depths[2], -1.0F);
}

} // namespace
