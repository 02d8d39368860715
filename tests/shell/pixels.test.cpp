#include <pixels.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

using namespace Shell;
using testing::ElementsAre;

namespace {

/// Two rows of two pixels; each byte is there once.
Pixels numbered(std::uint8_t first) {
    Pixels pixels{2, 2, {}};
    for (int i = 0; i < 16; ++i) pixels.bytes.push_back(static_cast<std::uint8_t>(first + i));
    return pixels;
}

TEST(PixelsTest, SideBySideHasTheRowsOfTheLeftAheadOfThoseOfTheRight) {
    const Pixels both = sideBySide(numbered(0), numbered(100));
    EXPECT_EQ(both.width, 4);
    EXPECT_EQ(both.height, 2);
    EXPECT_THAT(both.bytes,
                ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 100, 101, 102, 103, 104, 105, 106, 107, 8, 9,
                            10, 11, 12, 13, 14, 15, 108, 109, 110, 111, 112, 113, 114, 115));
}

TEST(PixelsTest, AnaglyphHasTheRedOfTheLeftAndTheGreaterAlpha) {
    const Pixels left{2, 1, {1, 2, 3, 4, 5, 6, 7, 80}};
    const Pixels right{2, 1, {11, 12, 13, 14, 15, 16, 17, 18}};
    const Pixels both = anaglyph(left, right);
    EXPECT_EQ(both.width, 2);
    EXPECT_EQ(both.height, 1);
    EXPECT_THAT(both.bytes, ElementsAre(1, 12, 13, 14, 5, 16, 17, 80));
}

TEST(PixelsTest, AnaglyphOfEqualPicturesIsTheSamePicture) {
    EXPECT_EQ(anaglyph(numbered(7), numbered(7)).bytes, numbered(7).bytes);
}

TEST(PixelsTest, LoseTheWeightOfAlphaWithoutOverflow) {
    Pixels pixels{4, 1, {10, 0, 40, 80, 9, 9, 9, 0, 1, 2, 3, 255, 200, 3, 2, 100}};
    unpremultiply(pixels);
    EXPECT_THAT(pixels.bytes,
                ElementsAre(32, 0, 128, 80, 9, 9, 9, 0, 1, 2, 3, 255, 255, 8, 5, 100));
    EXPECT_EQ(premultiplied({0.5F, 1.0F, 0.0F, 0.25F}),
              (Skua::rgba_float_t{0.125F, 0.25F, 0.0F, 0.25F}));
}

} // namespace
