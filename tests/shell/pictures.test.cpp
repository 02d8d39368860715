#include "image.hpp"
#include "inputs.hpp"
#include "program.hpp"

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <numbers>
#include <sstream>

using namespace Shell::Test;
using testing::HasSubstr;

namespace {

const std::string coast = "/usr/share/gmt-gshhg/binned_GSHHS_c.nc";
constexpr Pixel magenta{255, 0, 255, 255};

/// A rectangle of pixels, both ends included.
struct Box {
    int left, right, top, bottom;
};

/// Questions to pictures, which any driver must answer alike.
class Pictures : public Drawing {
protected:
    /// The picture over magenta, unless the arguments say otherwise.
    Image draw(std::vector<std::string> arguments, const Surroundings& surroundings = {}) {
        const auto isBackground = [](const std::string& word) {
            return word.starts_with("--background-color");
        };
        if (std::none_of(arguments.begin(), arguments.end(), isBackground)) {
            arguments.emplace_back("--background-color=#ff00ff");
        }
        const Outcome outcome = render(arguments, surroundings);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(outcome.output, "");
        EXPECT_EQ(_outputs.names(), std::vector<std::string>{"picture.png"});
        return Image::read(picture());
    }
    std::string coastFile() { return std::filesystem::exists(coast) ? coast : std::string(); }
    std::string model(const std::string& name, const Model& content) {
        return input(name, content.ply());
    }
};

#define POLYPIA_NEED_COAST()                                                                       \
    if (coastFile().empty()) GTEST_SKIP() << "needs " << coast << " of the package gmt-gshhg-low"

template<class Condition>
int count(const Image& image, Condition condition) {
    return static_cast<int>(std::count_if(image.pixels.begin(), image.pixels.end(), condition));
}

int countOther(const Image& image, const Pixel& background) {
    return count(image, [&](const Pixel& pixel) { return pixel != background; });
}

Box extentOf(const Image& image, const Pixel& background) {
    Box box{image.widthPixels, -1, image.heightPixels, -1};
    for (int y = 0; y < image.heightPixels; ++y) {
        for (int x = 0; x < image.widthPixels; ++x) {
            if (image.at(x, y) == background) continue;
            box = {std::min(box.left, x), std::max(box.right, x), std::min(box.top, y),
                   std::max(box.bottom, y)};
        }
    }
    return box;
}

// --- Without options for the camera the data fill the picture ---------------------------------

/// `asidePixels`: by how much what is drawn may spread more to one side than to the other.
void expectFilled(const Image& image, int asidePixels = 3) {
    const Box box = extentOf(image, magenta);
    const int left = box.left, right = image.widthPixels - 1 - box.right;
    const int top = box.top, bottom = image.heightPixels - 1 - box.bottom;
    EXPECT_GE(std::min({left, right, top, bottom}), 1) << "data at the edge";
    const auto isNarrow = [](int margin, int size) { return margin <= 0.03 * size + 1; };
    EXPECT_TRUE((isNarrow(left, image.widthPixels) && isNarrow(right, image.widthPixels)) ||
                (isNarrow(top, image.heightPixels) && isNarrow(bottom, image.heightPixels)))
        << left << " " << right << " " << top << " " << bottom << " pixels are left free";
    EXPECT_LE(std::abs(left - right), asidePixels) << "not in the middle";
    EXPECT_LE(std::abs(top - bottom), asidePixels) << "not in the middle";
}

TEST_F(Pictures, AreFilledByAMeshOfAnyShape) {
    Model flat = torus();
    for (auto& p : flat.points) p.y *= 0.01;
    Model high = torus();
    for (auto& p : high.points) p.y *= 20;
    for (const Model& each : {torus(), flat, high, triangle({0, 0, 0})}) {
        const std::string file = model("mesh.ply", each);
        for (const char* size : {"256,256", "300,100", "100,300"}) {
            SCOPED_TRACE(size);
            expectFilled(draw({file, std::string("--resolution=") + size}));
        }
    }
}

TEST_F(Pictures, AreFilledByPointsAsLargeAsTheyAreDrawn) {
    const std::string file = model("cloud.ply", spiral());
    for (const char* size : {"--point-size=1", "--point-size=40"}) {
        SCOPED_TRACE(size);
        expectFilled(draw({file, size, "--resolution=256,256"}));
    }
}

TEST_F(Pictures, AreFilledByTheGlobe) {
    POLYPIA_NEED_COAST();
    expectFilled(draw({coast, "--resolution=256,256"}));
    // Half a line is beyond the limb where there is a coast.
    expectFilled(draw({coast, "--resolution=256,256", "--line-width=8"}), 3 + 8 / 2);
}

TEST_F(Pictures, AreFilledAtAnyAngleOfView) {
    const std::string file = model("mesh.ply", torus());
    for (const char* angle : {"0.01", "10", "120"}) {
        SCOPED_TRACE(angle);
        expectFilled(
            draw({file, "--resolution=200,200", std::string("--camera-view-angle=") + angle}));
    }
}

// --- Coordinates of any place and size --------------------------------------------------------

TEST_F(Pictures, AreTheSameForAMeshFarFromZero) {
    const Image here = draw({model("here.ply", torus()), "--resolution=200,200"});
    const Model moved = torus().movedBy({1e9, -3e9, 2e9});
    const Image there = draw({model("there.ply", moved), "--resolution=200,200"});
    // The camera stands as far from zero, where coordinates have seven digits less: some hundredth
    // part of the pixels may be rounded the other way, by one.
    constexpr Limits roundings{1, 0.0001, 0.003};
    const Comparison found = compare(there, here, roundings);
    EXPECT_TRUE(found.isWithin(roundings)) << found.pixelsBeyond << found.worst;
}

TEST_F(Pictures, AreTheSameForACloudFarFromZero) {
    const Image here = draw({model("here.ply", spiral()), "--resolution=200,200"});
    const Model moved = spiral().movedBy({1e9, -3e9, 2e9});
    const Image there = draw({model("there.ply", moved), "--resolution=200,200"});
    // Edges may have another sample where a place is rounded to the other side of it: one pixel of
    // 40,000 here, where a shift by a tenth of a pixel would be seen in hundreds.
    const Comparison found = compare(here, there);
    EXPECT_LE(found.pixelsBeyond, 10U) << found.worst;
}

TEST_F(Pictures, AreTheSameForAMeshOfAnySize) {
    const Image metres = draw({model("metres.ply", torus()), "--resolution=200,200"});
    // Powers of two change no digit, so that only rounding on another scale is left.
    for (const int exponent : {-200, -60, 100, 250}) {
        SCOPED_TRACE(exponent);
        const Model scaled = torus().scaledBy(std::ldexp(1.0, exponent));
        const Image image = draw({model("scaled.ply", scaled), "--resolution=200,200"});
        const Comparison found = compare(image, metres);
        EXPECT_TRUE(found.isWithin({})) << found.pixelsBeyond << found.worst;
    }
}

TEST_F(Pictures, ShowAMeshThatIsASinglePointAsNothing) {
    const Model point{{{5, 6, 7}, {5, 6, 7}, {5, 6, 7}}, {{0, 1, 2}}};
    EXPECT_EQ(countOther(draw({model("mesh.ply", point), "--resolution=64,64"}), magenta), 0);
}

TEST_F(Pictures, ShowASinglePointInTheMiddle) {
    const std::string file = model("cloud.ply", {{{5e8, 6, 7}}});
    const Image image = draw({file, "--resolution=64,64", "--point-size=20"});
    EXPECT_NE(image.at(32, 32), magenta);
    // A disc, not the square around it.
    EXPECT_EQ(image.at(32 - 9, 32 - 9), magenta);
    const double area = std::numbers::pi * 10 * 10;
    // Its edge is 63 pixels long, and half of these pixels can be counted wrongly.
    EXPECT_NEAR(countOther(image, magenta), area, 32);
    const Box box = extentOf(image, magenta);
    EXPECT_NEAR(box.right - box.left + 1, 20, 1);
    EXPECT_NEAR(box.bottom - box.top + 1, 20, 1);
}

TEST_F(Pictures, LoseNoPointHoweverSmall) {
    // Everywhere between the centres of pixels.
    Model grid;
    for (int i = 0; i < 20; ++i) {
        for (int k = 0; k < 20; ++k) grid.points.push_back({i * 1.0, k * 1.0, 0.0});
    }
    const std::string file = model("cloud.ply", grid);
    for (const char* samples : {"--samples=1", "--samples=4"}) {
        const Image image =
            draw({file, samples, "--resolution=173,173", "--point-size=1",
                  "--camera-position=9.3,9.4,45", "--camera-focal-point=9.3,9.4,0"});
        // No two points are in one pixel.
        EXPECT_GE(countOther(image, magenta), 400) << samples;
    }
}

TEST_F(Pictures, ShowTheCornersOfAMeshWithoutTriangles) {
    Model corners = torus();
    corners.triangles.clear();
    const Image image = draw({model("mesh.ply", corners), "--resolution=64,64", "--point-size=1"});
    EXPECT_GT(countOther(image, magenta), 300);
}

// --- Colours and places -----------------------------------------------------------------------

TEST_F(Pictures, ShowATriangleWhereItIsInTheColourOfItsLight) {
    const std::string file = model("mesh.ply", triangle({255, 128, 0}));
    // 45 degrees up and down at a distance of 2: the picture shows -2 to 2.
    const Image image = draw({file, "--resolution=100,100", "--camera-position=0,0,2",
                              "--camera-focal-point=0,0,0", "--camera-view-angle=90"});
    // The light comes from above the left shoulder, the plane looks at the camera.
    const double lightZ = 1.0 / std::sqrt(0.5 * 0.5 + 0.6 * 0.6 + 1.0);
    // Of the middle, where the eye is straight above; the reflex is far from it.
    const double lit = 0.25 + 0.65 * lightZ + 0.15;
    const double shine = 0.18 * std::pow(lightZ, 32);
    const auto byte = [](double value) { return static_cast<int>(std::lround(255 * value)); };
    const Pixel middle = image.at(50, 50);
    EXPECT_NEAR(middle[0], std::min(255, byte(lit + shine)), 1);
    EXPECT_NEAR(middle[1], byte(lit * 128 / 255 + shine), 1);
    EXPECT_NEAR(middle[2], byte(shine), 1);
    // 25 pixels to the unit: the corners are at (25,75), (75,75) and (50,25).
    for (const auto& [x, y] : {std::pair{27, 73}, {72, 73}, {50, 28}}) {
        EXPECT_NE(image.at(x, y), magenta) << x << "," << y;
    }
    for (const auto& [x, y] : {std::pair{23, 73}, {76, 73}, {50, 77}, {50, 23}, {30, 50}}) {
        EXPECT_EQ(image.at(x, y), magenta) << x << "," << y;
    }
}

/// The middle of a white triangle that is seen from straight above, two units away.
class LitPictures : public Pictures {
protected:
    Pixel middle(std::vector<std::string> lights, const vector& away = {}, double scale = 1.0) {
        const auto place = [&](const std::string& option, double z) {
            std::ostringstream text;
            text.precision(17);
            text << option << "=" << away.x << "," << away.y << "," << away.z + z * scale;
            return text.str();
        };
        lights.insert(lights.end(),
                      {model("mesh.ply", triangle({255, 255, 255}).scaledBy(scale).movedBy(away)),
                       "--resolution=65,65", place("--camera-position", 2),
                       place("--camera-focal-point", 0), "--camera-view-angle=90"});
        return draw(lights).at(32, 32);
    }
};

TEST_F(LitPictures, HaveTheirOwnLightOnlyWithoutOthers) {
    EXPECT_GT(middle({})[0], 200);
    EXPECT_EQ(middle({"--light=ambient:color=#ff8000,intensity=0.2"}), (Pixel{51, 26, 0, 255}));
    EXPECT_EQ(middle({"--light=ambient:intensity=0"}), (Pixel{0, 0, 0, 255}));
}

TEST_F(LitPictures, AddUpWhatLightsGive) {
    const std::string lamp = "--light=positional:specular=0,color=0,0,1,position=0,0,3";
    const std::string away = "--light=directional:direction=0,0,1";
    EXPECT_EQ(middle({"--light=ambient:color=1,0,0", lamp + ",constant=1.5,linear=0.5", away}),
              (Pixel{255, 0, 85, 255}));
    EXPECT_EQ(middle({lamp, "--light=headlight:specular=0,color=0,1,0,intensity=0.4"}),
              (Pixel{0, 102, 255, 255}));
}

TEST_F(LitPictures, GlintAsMuchAsTheLightDoes) {
    // The surface sends back 0.18 of the specular part.
    EXPECT_EQ(middle({"--light=headlight:intensity=0.5"}), (Pixel{150, 150, 150, 255}));
    EXPECT_EQ(middle({"--light=headlight:intensity=0.5,specular=2"}), (Pixel{173, 173, 173, 255}));
}

TEST_F(LitPictures, LightWhatIsInTheConeOfASpot) {
    const std::string spot = "--light=spot:specular=0,intensity=0.4,position=1,0,1,";
    EXPECT_EQ(middle({spot + "direction=-1,0,-1,cone=1,exponent=0"}), (Pixel{72, 72, 72, 255}));
    EXPECT_EQ(middle({spot + "direction=-1,0,-1,cone=1,exponent=9"}), (Pixel{72, 72, 72, 255}));
    EXPECT_EQ(middle({spot + "direction=0,0,-1,cone=44"}), (Pixel{0, 0, 0, 255}));
    // The cosine of 45 degrees twice, for the surface and for the spot.
    EXPECT_EQ(middle({spot + "direction=0,0,-1,cone=46,exponent=1"}), (Pixel{51, 51, 51, 255}));
}

TEST_F(LitPictures, HaveTheirLightsInPlaceFarAwayAndAtAnySize) {
    const auto lamp = [](const std::string& position, const std::string& quadratic) {
        return "--light=positional:intensity=1.6,specular=0,constant=0,position=" + position +
               ",quadratic=" + quadratic;
    };
    const Pixel grey{102, 102, 102, 255};
    EXPECT_EQ(middle({lamp("0,0,2", "1")}), grey);
    EXPECT_EQ(middle({lamp("6.4e6,-3e6,2", "1")}, {6.4e6, -3e6, 0}), grey);
    EXPECT_EQ(middle({lamp("0,0,2e-14", "1e28")}, {}, 1e-14), grey);
    // Squares of such sizes are no numbers of single precision.
    EXPECT_EQ(middle({lamp("0,0,2e30", "1e-60")}, {}, 1e30), grey);
}

TEST_F(Pictures, ShowANearTriangleBeforeAFarOneInAnyOrder) {
    const std::string red = model("red.ply", triangle({255, 0, 0}));
    const std::string blue = model("blue.ply", triangle({0, 0, 255}).movedBy({0, 0, -1}));
    for (const auto& files : {std::vector{red, blue}, {blue, red}}) {
        const Image image = draw({files[0], files[1], "--resolution=64,64",
                                  "--camera-position=0,0,5", "--camera-focal-point=0,0,0"});
        EXPECT_GT(image.at(32, 32)[0], 150);
        EXPECT_LT(image.at(32, 32)[2], 50);
    }
}

TEST_F(Pictures, ShowANearTriangleBeforeAFarOneInAnyOrderAmidDataAsLargeAsAPlanet) {
    // 10 km away and 10 m apart, where the near plane is as close as 0.2 mm.
    const std::string red = model("red.ply", triangle({255, 0, 0}).scaledBy(2000));
    const std::string blue =
        model("blue.ply", triangle({0, 0, 255}).scaledBy(2000).movedBy({0, 0, -10}));
    // 10,000 km away, all over the picture, and 1 cm before the eye, at its lower edge.
    const std::string green =
        model("green.ply", triangle({0, 255, 0}).scaledBy(1e7).movedBy({0, 0, -1e7}));
    const std::string white =
        model("white.ply", triangle({255, 255, 255}).scaledBy(1e-3).movedBy({0, -2e-3, 9999.99}));
    for (const auto& files : {std::vector{red, blue}, {blue, red}}) {
        const Image image =
            draw({white, files[0], files[1], green, "--resolution=64,64", "--light=ambient",
                  "--camera-position=0,0,1e4", "--camera-focal-point=0,0,0"});
        EXPECT_EQ(image.at(32, 32), (Pixel{255, 0, 0, 255}));
        EXPECT_EQ(image.at(2, 2), (Pixel{0, 255, 0, 255}));
        EXPECT_EQ(image.at(32, 60), (Pixel{255, 255, 255, 255}));
    }
}

TEST_F(Pictures, ShowFilesOfSeveralKindsAtOnce) {
    const std::string points =
        model("cloud.ply", {{{0, 2, 0}, {0, -2, 0}}, {}, {{0, 255, 0}, {0, 255, 0}}});
    const Image image =
        draw({model("mesh.ply", triangle({255, 0, 0})), points, "--point-size=9",
              "--resolution=100,100", "--camera-position=0,0,10", "--camera-focal-point=0,0,0"});
    // At a distance of 10 the picture of 30 degrees is 5.36 high.
    const int aside = static_cast<int>(2 / (10 * std::tan(std::numbers::pi / 12)) * 50);
    EXPECT_EQ(image.at(50, 50 - aside), (Pixel{0, 255, 0, 255}));
    EXPECT_EQ(image.at(50, 50 + aside), (Pixel{0, 255, 0, 255}));
    EXPECT_GT(image.at(50, 50)[0], 150);
}

TEST_F(Pictures, HideTheFarSideOfTheGlobe) {
    POLYPIA_NEED_COAST();
    // The place of the Pacific that is farthest from all land, and through the earth, the Aral Sea.
    const auto linesFrom = [&](const char* position) {
        const Image image =
            draw({coast, "--resolution=100,100", "--camera-view-angle=3", position});
        // The sea is dark.
        return count(image, [](const Pixel& pixel) { return pixel[1] > 130; });
    };
    EXPECT_EQ(linesFrom("--camera-position=-25e6,-36e6,-44e6"), 0);
    EXPECT_GT(linesFrom("--camera-position=25e6,36e6,44e6"), 100);
}

TEST_F(Pictures, HaveNoSeamWhereTheLongitudeJumps) {
    // A short river far away, for a globe with nothing in sight.
    const std::string file = _inputs.path("river.nc");
    writeRiver(file, {{20, 10}, {21, 10}});
    const Image image = draw({file, "--resolution=201,201", "--camera-position=-4e7,0,0"});
    // The graticule has a line at 180 degrees, in the middle, which must be like that at 165: as
    // wide and as bright. The row lies between two parallels.
    const int y = 100 - 12;
    std::vector<int> brightness;
    for (int x = 0; x < 201; ++x) brightness.push_back(image.at(x, y)[1]);
    // Each pixel against those eight to its sides, where there is no line.
    const auto contrast = [&](int x) {
        return brightness[static_cast<std::size_t>(x)] -
               (brightness[static_cast<std::size_t>(x - 8)] +
                brightness[static_cast<std::size_t>(x + 8)]) /
                   2;
    };
    const auto strongest = [&](int from, int to) {
        int result = 0;
        for (int x = from; x <= to; ++x) result = std::max(result, contrast(x));
        return result;
    };
    EXPECT_GT(strongest(97, 103), 5);
    EXPECT_NEAR(strongest(97, 103), strongest(110, 130), 4);
}

// --- Lines ------------------------------------------------------------------------------------

bool isRiver(const Pixel& pixel) {
    // (0.35, 0.60, 0.85) of 255; the sea is much darker.
    return difference(pixel, {89, 153, 217, 255}) <= 2;
}

int riverPixelsInRow(const Image& image, int y) {
    int result = 0;
    for (int x = 0; x < image.widthPixels; ++x) result += isRiver(image.at(x, y));
    return result;
}

int riverPixelsInColumn(const Image& image, int x) {
    int result = 0;
    for (int y = 0; y < image.heightPixels; ++y) result += isRiver(image.at(x, y));
    return result;
}

class Lines : public Pictures {
protected:
    /// From above 20 east on the equator, near enough that a degree is some 25 pixels.
    Image drawRiver(const std::vector<LinePoint>& line, std::vector<std::string> options) {
        const std::string file = _inputs.path("river.nc");
        writeRiver(file, line);
        const double longitude = 20 * std::numbers::pi / 180;
        constexpr double distance = 2e7;
        char position[100];
        std::snprintf(position, sizeof position, "--camera-position=%.3f,%.3f,0",
                      distance * std::cos(longitude), distance * std::sin(longitude));
        options.insert(options.begin(),
                       {file, "--resolution=201,201", "--camera-view-angle=4", position});
        return draw(options);
    }
};

TEST_F(Lines, AreAsWideAsAskedForInEachDirection) {
    // At the middle of the picture, the line's edges lie between two centres of pixels.
    for (const int width : {1, 3, 9, 31}) {
        for (const char* samples : {"--samples=1", "--samples=4"}) {
            SCOPED_TRACE(std::to_string(width) + samples);
            const Words options{"--line-width=" + std::to_string(width), samples};
            const Image upright = drawRiver({{20, -2}, {20, 2}}, options);
            const Image level = drawRiver({{18, 0}, {22, 0}}, options);
            EXPECT_EQ(riverPixelsInRow(upright, 100), width);
            EXPECT_EQ(riverPixelsInColumn(level, 100), width);
        }
    }
}

TEST_F(Lines, HaveNoNotchesWhereTheyBend) {
    // A right angle in the middle of the picture: its outer corner is round.
    const Image image = drawRiver({{20, -2}, {20, 0}, {22, 0}}, {"--line-width=30"});
    EXPECT_TRUE(isRiver(image.at(100 - 8, 100 - 8)));
    EXPECT_FALSE(isRiver(image.at(100 - 14, 100 - 14)));
}

TEST_F(Lines, OfNoExtentLeaveTheGlobe) {
    const Image image = drawRiver({{20, 0}, {20, 0}}, {});
    EXPECT_EQ(count(image, isRiver), 0);
    EXPECT_EQ(countOther(image, magenta), 201 * 201);
}

// --- The file and the run ---------------------------------------------------------------------

TEST_F(Pictures, AreOpaqueUnlessTheBackgroundIsNot) {
    const std::string file = model("mesh.ply", triangle({255, 255, 255}));
    EXPECT_FALSE(draw({file, "--resolution=64,64"}).hasAlpha);
    const Image image =
        draw({file, "--resolution=64,64", "--background-color=0,0,0,0", "--samples=4"});
    EXPECT_TRUE(image.hasAlpha);
    EXPECT_EQ(image.at(0, 0), (Pixel{0, 0, 0, 0}));
    EXPECT_EQ(image.at(32, 40)[3], 255);
    // Pixels at the edge are as bright as those within; only their alpha is less.
    int edges = 0;
    for (const Pixel& pixel : image.pixels) {
        if (pixel[3] == 0 || pixel[3] == 255) continue;
        ++edges;
        EXPECT_GT(pixel[1], 150);
    }
    EXPECT_GT(edges, 20);
}

TEST_F(Pictures, KeepAHalfTransparentBackground) {
    const std::string file = model("mesh.ply", triangle({255, 255, 255}));
    const Image image = draw({file, "--resolution=64,64", "--background-color=#ff804080"});
    EXPECT_LE(difference(image.at(0, 0), {0xff, 0x80, 0x40, 0x80}), 1);
}

TEST_F(Pictures, AreTheSameBytesForAnyNumberOfThreadsOfTheDriverAndEachTime) {
    std::vector<std::string> inputs{model("mesh.ply", torus()), model("cloud.ply", spiral())};
    if (!coastFile().empty()) inputs.push_back(coast);
    for (const std::string& file : inputs) {
        SCOPED_TRACE(file);
        std::string first;
        for (const char* threads : {"0", "1", "2", "2"}) {
            Surroundings surroundings;
            surroundings.environment["LP_NUM_THREADS"] = threads;
            draw({file, "--resolution=200,200"}, surroundings);
            if (first.empty()) first = contentOf(picture());
            EXPECT_EQ(contentOf(picture()), first) << threads << " threads";
        }
    }
}

TEST_F(Pictures, AreDrawnWithoutAFloatingOriginToo) {
    const std::string file = model("mesh.ply", torus().movedBy({6.4e6, 0, 0}));
    Surroundings without;
    without.environment["DisableFloatingOrigin"] = "1";
    const Image image = draw({file, "--resolution=64,64"}, without);
    EXPECT_NE(image.at(32, 20), image.at(0, 0)) << "something is there";
}

TEST_F(Pictures, AreTheSameForAFileInGzip) {
    const Image plain = draw({model("mesh.ply", torus()), "--resolution=100,100"});
    const Image unpacked =
        draw({input("mesh.ply.gz", packed(torus().ply())), "--resolution=100,100"});
    EXPECT_EQ(plain.pixels, unpacked.pixels);
}

TEST_F(Pictures, ReplaceTheFileThatWasThere) {
    const std::string file = model("mesh.ply", torus());
    draw({file, "--resolution=64,64"});
    std::filesystem::create_hard_link(picture(), _inputs.path("yesterday.png"));
    const std::string before = contentOf(picture());
    EXPECT_EQ(draw({file, "--resolution=32,32"}).widthPixels, 32);
    // Whoever has the old file open goes on to read it whole.
    EXPECT_EQ(contentOf(_inputs.path("yesterday.png")), before);
}

TEST_F(Pictures, HaveTheSizeThatWasAskedFor) {
    const std::string file = model("mesh.ply", torus());
    const struct {
        const char* option;
        int width, height;
    } cases[] = {{"--resolution=1,1", 1, 1},
                 {"--resolution=1,300", 1, 300},
                 {"--resolution=301,2", 301, 2},
                 {"--verbose=false", 1024, 768}};
    for (const auto& each : cases) {
        const Image image = draw({file, each.option});
        EXPECT_EQ(image.widthPixels, each.width);
        EXPECT_EQ(image.heightPixels, each.height);
    }
}

TEST_F(Pictures, ComeWithTheirStagesIfAskedFor) {
    const Outcome outcome = render({model("mesh.ply", torus()), "--resolution=64,64", "--verbose"});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.errors, "");
    for (const char* word : {"OpenGL 4.", "\nread ", ", convert ", ", context ", ", draw ",
                             ", read back ", ", encode ", ", total "}) {
        EXPECT_THAT(outcome.output, HasSubstr(word));
    }
    EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 2);
}

} // namespace
