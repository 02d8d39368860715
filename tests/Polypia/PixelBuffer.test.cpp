#include <Polypia/PixelBuffer.hpp>

#include "memberOrder.hpp"
#include "virtualSlot.hpp"

#include <keel/StrongPtr.hpp>

#include <gmock/gmock.h>

#include <type_traits>

namespace {

using Mirk::ViewportGeometry;

class Frame : public Mirk::PixelBuffer {
public:
    using PixelBuffer::PixelBuffer;
    int readPixelColors(int x, int y, float (*colors)[4], unsigned long long width,
                        unsigned long long height, unsigned int stride) const override {
        return PixelBuffer::readPixelColors(x, y, colors, width, height, stride);
    }
    int readPixelDepth(int x, int y, float* depths, unsigned long long width,
                       unsigned long long height, unsigned int stride) const override {
        return PixelBuffer::readPixelDepth(x, y, depths, width, height, stride);
    }
};

TEST(PixelBuffer, CopiesItsGeometryAndKnowsNoDepths) {
    const ViewportGeometry geometry{1, 2, 640, 480};
    const Frame frame(geometry);
    EXPECT_EQ(static_cast<const ViewportGeometry&>(frame), geometry);
    EXPECT_EQ(frame.DepthMin, -10.0F);
    EXPECT_EQ(frame.DepthMax, 0.0F);
    EXPECT_EQ(frame.state, 0U);
    static_assert(sizeof(ViewportGeometry) == 16, "two words of 64 bits");
    static_assert(sizeof(frame.state) == 8);
}

TEST(PixelBuffer, IsACountedGeometry) {
    static_assert(std::is_base_of_v<Keel::ReferenceBase<Mirk::PixelBuffer>, Mirk::PixelBuffer>);
    static_assert(std::is_base_of_v<ViewportGeometry, Mirk::PixelBuffer>);
    static_assert(std::is_abstract_v<Mirk::PixelBuffer>);
    const Keel::StrongPtr<Frame, Mirk::PixelBuffer> frame(new Frame(ViewportGeometry{}));
    EXPECT_TRUE(frame);
}

TEST(PixelBuffer, HasItsMembersInOrder) {
    const Frame frame(ViewportGeometry{});
    EXPECT_TRUE(standInOrder(static_cast<const ViewportGeometry&>(frame), frame.DepthMin,
                             frame.DepthMax, frame.state));
    EXPECT_EQ((std::vector{virtualSlot(&Mirk::PixelBuffer::readPixelColors),
                           virtualSlot(&Mirk::PixelBuffer::readPixelDepth)}),
              slotsFrom(3, 2));
}

TEST(PixelBuffer, HasNoPixelsOfItsOwn) {
    const Frame frame(ViewportGeometry{0, 0, 1, 1});
    float colors[1][4] = {{5, 5, 5, 5}};
    float depth = 5;
    EXPECT_EQ(frame.readPixelColors(0, 0, colors, 1, 1, 0), 0);
    EXPECT_EQ(frame.readPixelDepth(0, 0, &depth, 1, 1, 0), 0);
    EXPECT_EQ(colors[0][0], 5) << "left as it was";
    EXPECT_EQ(depth, 5);
}

} // namespace
