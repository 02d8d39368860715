#include "image.hpp"
#include "program.hpp"

#include <algorithm>
#include <cmath>

using namespace Shell::Test;

namespace {

/// A reference picture; each has something of every kind that can go wrong.
class Comparer : public testing::TestWithParam<std::string> {
protected:
    const Image _expected = Image::read(REFERENCES "/" + GetParam() + ".png");
};

Image shifted(const Image& image, int x, int y) {
    Image result = image;
    for (int row = 0; row < image.heightPixels; ++row) {
        for (int column = 0; column < image.widthPixels; ++column) {
            result.at(column, row) = image.at(std::clamp(column + x, 0, image.widthPixels - 1),
                                              std::clamp(row + y, 0, image.heightPixels - 1));
        }
    }
    return result;
}

template<class Change>
Image changed(const Image& image, Change change) {
    Image result = image;
    for (Pixel& pixel : result.pixels) {
        for (std::size_t c = 0; c < 3; ++c) {
            pixel[c] = static_cast<std::uint8_t>(std::clamp(change(int{pixel[c]}), 0, 255));
        }
    }
    return result;
}

TEST_P(Comparer, FindsAPictureLikeItself) {
    const Comparison same = compare(_expected, _expected);
    EXPECT_TRUE(same.isWithin({}));
    EXPECT_EQ(same.pixelsBeyond, 0u);
    EXPECT_EQ(same.mean, 0.0);
    EXPECT_EQ(same.worst, "");
}

TEST_P(Comparer, FindsAShiftByOnePixel) {
    EXPECT_FALSE(compare(shifted(_expected, 1, 0), _expected).isWithin({}));
    EXPECT_FALSE(compare(shifted(_expected, 0, -1), _expected).isWithin({}));
}

TEST_P(Comparer, FindsALightThatIsBrighterByATwentieth) {
    const Image brighter =
        changed(_expected, [](int value) { return static_cast<int>(std::lround(value * 1.05)); });
    EXPECT_FALSE(compare(brighter, _expected).isWithin({}));
}

TEST_P(Comparer, FindsColoursThatAreOffByOneEverywhere) {
    EXPECT_FALSE(
        compare(changed(_expected, [](int value) { return value + 1; }), _expected).isWithin({}));
}

TEST_P(Comparer, FindsAPartThatIsMissing) {
    Image part = _expected;
    for (int y = 120; y < 136; ++y) {
        for (int x = 0; x < part.widthPixels; ++x) part.at(x, y) = part.at(0, 0);
    }
    EXPECT_FALSE(compare(part, _expected).isWithin({}));
}

TEST_P(Comparer, FindsAnotherSize) {
    const Image other(_expected.widthPixels, _expected.heightPixels - 1);
    EXPECT_FALSE(compare(other, _expected).isWithin({}));
}

TEST_P(Comparer, ToleratesAFewPixelsAndRoundingsOfSome) {
    Image close = _expected;
    for (std::size_t i = 0; i < close.pixels.size(); i += 16) {
        std::uint8_t& red = close.pixels[i][0];
        red = static_cast<std::uint8_t>(red < 255 ? red + 1 : red - 1);
    }
    for (int x = 0; x < 60; ++x) close.at(x, 128)[1] ^= 0x40;
    EXPECT_TRUE(compare(close, _expected).isWithin({}));
}

TEST_P(Comparer, TellsTheWorstPixels) {
    Image other = _expected;
    other.at(17, 42)[2] ^= 0x80;
    const std::string worst = compare(other, _expected).worst;
    EXPECT_THAT(worst, testing::HasSubstr("x 17, y 42: expected ("));
    EXPECT_EQ(std::count(worst.begin(), worst.end(), '\n'), 1);
}

INSTANTIATE_TEST_SUITE_P(References, Comparer, testing::Values("coast", "mesh", "points"),
                         [](const auto& each) { return each.param; });

} // namespace
