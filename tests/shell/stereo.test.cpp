#include "image.hpp"
#include "inputs.hpp"
#include "program.hpp"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <numbers>
#include <string>
#include <vector>

using namespace Shell::Test;
using testing::ElementsAre;

namespace {

constexpr int size = 200;
constexpr double viewAngleDegrees = 30.0;
constexpr Pixel magenta{255, 0, 255, 255};

struct Pair {
    Image left, right;
};

/// The place of something that is drawn, in pixels from the upper left corner.
struct Place {
    double x, y;
};

/// Questions to the pictures of two eyes, all of 200 x 200 pixels.
class Stereo : public Drawing {
protected:
    void draw(std::vector<std::string> arguments) const {
        arguments.emplace_back("--resolution=200,200");
        const Outcome outcome = render(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.output, "");
    }
    Image drawOne(const std::vector<std::string>& arguments) const {
        draw(arguments);
        return Image::read(picture());
    }
    Pair drawTwo(std::vector<std::string> arguments) const {
        arguments.emplace_back("--stereo=separate");
        draw(arguments);
        return {Image::read(_outputs.path("picture-left.png")),
                Image::read(_outputs.path("picture-right.png"))};
    }
    std::string torusFile() const { return input("torus.ply", torus().ply()); }

    /// Where both eyes see a point, if the camera looks from (0,0,10) to zero.
    std::pair<Place, Place> placesOf(const point& p, std::vector<std::string> arguments) const {
        const std::string file = input("point.ply", Model{{p}}.ply());
        arguments.insert(arguments.end(),
                         {file, "--point-size=9", "--camera-position=0,0,10",
                          "--camera-focal-point=0,0,0", "--background-color=#ff00ff"});
        const Pair pair = drawTwo(arguments);
        return {placeIn(pair.left), placeIn(pair.right)};
    }

private:
    static Place placeIn(const Image& image) {
        Place sum{0.0, 0.0};
        int count = 0;
        for (int y = 0; y < image.heightPixels; ++y) {
            for (int x = 0; x < image.widthPixels; ++x) {
                if (image.at(x, y) == magenta) continue;
                sum = {sum.x + x, sum.y + y};
                ++count;
            }
        }
        EXPECT_GT(count, 0) << "the point is not in the picture";
        return {sum.x / count, sum.y / count};
    }
};

Image half(const Image& image, int firstColumn) {
    Image result(image.widthPixels / 2, image.heightPixels);
    for (int y = 0; y < result.heightPixels; ++y) {
        for (int x = 0; x < result.widthPixels; ++x) {
            result.at(x, y) = image.at(firstColumn + x, y);
        }
    }
    return result;
}

/// Something of that length, seen from that distance, in pixels.
double pixelsOf(double length, double distance) {
    const double halfHeight = distance * std::tan(viewAngleDegrees * std::numbers::pi / 360.0);
    return length / halfHeight * size / 2;
}

// --- Layouts
// --------------------------------------------------------------------------------------

TEST_F(Stereo, SideBySideIsTheSeparatePicturesInOne) {
    const std::string file = torusFile();
    const Pair pair = drawTwo({file});
    EXPECT_THAT(_outputs.names(), ElementsAre("picture-left.png", "picture-right.png"));
    const Image both = drawOne({file, "--stereo=side-by-side"});
    ASSERT_EQ(both.widthPixels, 2 * size);
    ASSERT_EQ(both.heightPixels, size);
    EXPECT_EQ(half(both, 0).pixels, pair.left.pixels);
    EXPECT_EQ(half(both, size).pixels, pair.right.pixels);
    EXPECT_NE(pair.left.pixels, pair.right.pixels);
}

TEST_F(Stereo, AnaglyphHasTheRedOfTheLeftAndTheRestOfTheRight) {
    const std::string file = torusFile();
    const Pair pair = drawTwo({file});
    const Image both = drawOne({file, "--stereo=anaglyph"});
    EXPECT_FALSE(both.hasAlpha);
    Image expected = pair.right;
    for (std::size_t i = 0; i < expected.pixels.size(); ++i) {
        expected.pixels[i][0] = pair.left.pixels[i][0];
    }
    EXPECT_EQ(both.pixels, expected.pixels);
}

TEST_F(Stereo, AnaglyphIsSeenWhereEitherEyeSeesSomething) {
    const std::string file = torusFile();
    const std::string nothing = "--background-color=#00000000";
    const Pair pair = drawTwo({file, nothing, "--eye-separation=0.2"});
    const Image both = drawOne({file, nothing, "--eye-separation=0.2", "--stereo=anaglyph"});
    ASSERT_TRUE(both.hasAlpha);
    int seenByOne = 0;
    for (std::size_t i = 0; i < both.pixels.size(); ++i) {
        const Pixel left = pair.left.pixels[i], right = pair.right.pixels[i];
        ASSERT_EQ(both.pixels[i][3], std::max(left[3], right[3]));
        if (left[3] == 255 && right[3] == 0) {
            ++seenByOne;
            ASSERT_EQ(both.pixels[i], (Pixel{left[0], 0, 0, 255}));
        }
        if (left[3] == 0 && right[3] == 255) {
            ASSERT_EQ(both.pixels[i], (Pixel{0, right[1], right[2], 255}));
        }
    }
    EXPECT_GT(seenByOne, 100);
}

// --- Geometry
// -------------------------------------------------------------------------------------

/// The places are means over the pixels of a disc, whose edges are each rounded outwards by up to a
/// pixel. Drivers keep places to the 256th part of a pixel at least.
constexpr double placePixels = 0.5 + 1.0 / 256;

TEST_F(Stereo, EyesSeeAPointAtTheConvergenceAtTheSamePixel) {
    const std::vector<std::string> options{"--convergence=4", "--eye-separation=0.2"};
    for (const point& p : {point{0, 0, 6}, point{0.7, -0.5, 6}}) {
        const auto [left, right] = placesOf(p, options);
        EXPECT_EQ(left.x, right.x);
        EXPECT_EQ(left.y, right.y);
        // And where the camera sees it.
        EXPECT_NEAR(left.x, size / 2 + pixelsOf(p.x, 4) - 0.5, placePixels);
        EXPECT_NEAR(left.y, size / 2 - pixelsOf(p.y, 4) - 0.5, placePixels);
    }
}

TEST_F(Stereo, EyesConvergeAtTheFocalPointByDefault) {
    for (const char* way : {"--toe-in=false", "--toe-in"}) {
        // So far apart that planes of depth for other eyes would cut the point off.
        const auto [left, right] = placesOf({0, 0, 0}, {way, "--eye-separation=1"});
        EXPECT_EQ(left.x, right.x) << way;
        EXPECT_EQ(left.y, right.y) << way;
    }
}

TEST_F(Stereo, EyesSeeWhatIsNearerFartherToTheOtherSide) {
    // The eyes are 2 apart and 10 away from the plane of convergence.
    const std::vector<std::string> options{"--eye-separation=0.2"};
    for (const double z : {4.0, 2.0, -5.0, -20.0}) {
        SCOPED_TRACE(z);
        const auto [left, right] = placesOf({0, 0, z}, options);
        const double depth = 10 - z;
        EXPECT_NEAR(left.x - right.x, pixelsOf(2, depth) - pixelsOf(2, 10), 2 * placePixels);
        EXPECT_EQ(left.y, right.y);
    }
}

TEST_F(Stereo, TurnedEyesSeeTheNearerSideHigher) {
    const point p{1.5, 1.5, 0};
    const auto skewed = placesOf(p, {"--eye-separation=0.6"});
    EXPECT_EQ(skewed.first.y, skewed.second.y);
    const auto turned = placesOf(p, {"--eye-separation=0.6", "--toe-in"});
    // The right eye is nearer to a point on the right.
    EXPECT_LT(turned.second.y + 2, turned.first.y);
}

TEST_F(Stereo, DataAreWholeForBothEyes) {
    Model deep = torus();
    for (auto& p : deep.points) p.z *= 4;
    for (const Model& model : {torus(), deep, spiral()}) {
        const std::string file = input("data.ply", model.ply());
        for (const char* separation : {"--eye-separation=0.03", "--eye-separation=0.3"}) {
            SCOPED_TRACE(separation);
            for (const char* way : {"--toe-in=false", "--toe-in"}) {
                const Pair pair = drawTwo({file, way, separation, "--background-color=#ff00ff"});
                for (const Image& image : {pair.left, pair.right}) {
                    for (int y = 0; y < size; ++y) {
                        ASSERT_EQ(image.at(0, y), magenta) << way;
                        ASSERT_EQ(image.at(size - 1, y), magenta) << way;
                    }
                }
            }
        }
    }
}

TEST_F(Stereo, PicturesAreTheSameForDataOfAnySize) {
    const Pair metres = drawTwo({torusFile(), "--convergence=8"});
    const Model large = torus().scaledBy(std::ldexp(1.0, 100));
    const std::string convergence = "--convergence=" + std::to_string(std::ldexp(8.0, 100));
    const Pair scaled = drawTwo({input("large.ply", large.ply()), convergence});
    // Only rounding on another scale is left.
    EXPECT_TRUE(compare(scaled.left, metres.left).isWithin({}));
    EXPECT_TRUE(compare(scaled.right, metres.right).isWithin({}));
}

// --- Failures
// -------------------------------------------------------------------------------------

TEST_F(Stereo, BothFilesOrNoneAppear) {
    const std::string file = torusFile();
    const std::string right = _outputs.path("picture-right.png");
    std::filesystem::create_directory(right);
    EXPECT_THAT(render({file, "--stereo=separate"}), Refuses(1, Words{right, "directory"}));
    EXPECT_THAT(_outputs.names(), ElementsAre("picture-right.png"));
    std::filesystem::remove(right);

    _outputs.write("picture-left.png", "yesterday");
    Surroundings fullDisk;
    fullDisk.mostBytesOfFile = 4096;
    // Mesa's files are not the ones that are to fail.
    fullDisk.environment["MESA_SHADER_CACHE_DISABLE"] = "true";
    const std::string left = _outputs.path("picture-left.png");
    EXPECT_THAT(render({file, "--stereo=separate"}, fullDisk),
                Refuses(1, Words{"cannot write " + left + ": ", "File too large"}));
    EXPECT_THAT(_outputs.names(), ElementsAre("picture-left.png"));
    EXPECT_EQ(contentOf(left), "yesterday");
}

TEST_F(Stereo, AConvergenceNextToTheEyesIsRefused) {
    const Outcome outcome = render({torusFile(), "--stereo=anaglyph", "--convergence=1e-9"});
    EXPECT_THAT(outcome, Refuses(2, Words{"--convergence", "a thousandth", "got 1e-09"}));
    EXPECT_THAT(_outputs.names(), testing::IsEmpty());
}

} // namespace
