#include "image.hpp"
#include "inputs.hpp"
#include "program.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

using namespace Shell::Test;
using testing::HasSubstr;
using testing::StartsWith;

namespace {

const std::string coast = "/usr/share/gmt-gshhg/binned_GSHHS_c.nc";
constexpr Pixel magenta{255, 0, 255, 255};

/// What is found under pixels, beside the picture of the same options.
class Pick : public Drawing {
protected:
    std::string model(const std::string& name, const Model& content) const {
        return input(name, content.ply());
    }
    static std::string pick(Words arguments) {
        arguments.insert(arguments.begin(), "pick");
        const Outcome outcome = run(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        EXPECT_EQ(outcome.errors, "");
        return outcome.output;
    }
    /// The lines that tell objects.
    static std::string objects(const Words& arguments) {
        const std::string lines = pick(arguments);
        return lines.substr(0, lines.find("\nat ") + 1);
    }
    static nlohmann::json report(Words arguments) {
        arguments.emplace_back("--report=json");
        return nlohmann::json::parse(pick(arguments));
    }
    /// How many pixels of the picture are not background.
    std::size_t drawnPixels(Words arguments) const {
        arguments.emplace_back("--background-color=#ff00ff");
        const Outcome outcome = render(arguments);
        EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
        const Image image = Image::read(picture());
        return static_cast<std::size_t>(
            std::count_if(image.pixels.begin(), image.pixels.end(),
                          [](const Pixel& pixel) { return pixel != magenta; }));
    }
};

/// 45 degrees up and down at a distance of 2: the picture of 100 x 100 shows -2 to 2, so that the
/// triangle has its corners at (25,75), (75,75) and (50,25) from the upper left.
const Words square{"--resolution=100,100", "--camera-position=0,0,2", "--camera-focal-point=0,0,0",
                   "--camera-view-angle=90"};

Words with(Words arguments, const Words& others) {
    arguments.insert(arguments.end(), others.begin(), others.end());
    return arguments;
}

TEST_F(Pick, CountsFromTheUpperLeftCorner) {
    const std::string file = model("mesh.ply", triangle({255, 0, 0}));
    const std::string found = "mesh: 1 of 1 pixel, " + file + "\n";
    for (const auto& [x, y] : {std::pair{"27", "73"}, {"72", "73"}, {"50", "28"}}) {
        EXPECT_EQ(objects(with({file, x, y}, square)), found) << x << " " << y;
    }
    for (const auto& [x, y] :
         {std::pair{"23", "73"}, {"76", "73"}, {"50", "77"}, {"50", "23"}, {"30", "50"}}) {
        EXPECT_EQ(pick(with({file, x, y}, square)), "nothing is there\n") << x << " " << y;
    }
}

TEST_F(Pick, TellsWhatIsInFront) {
    const std::string near = model("near.ply", triangle({255, 0, 0}));
    const std::string far = model("far.ply", triangle({0, 0, 255}).movedBy({0.5, 0, -1}));
    for (const Words& files : {Words{near, far}, {far, near}}) {
        EXPECT_EQ(objects(with(with(files, {"50", "60"}), square)),
                  "near: 1 of 1 pixel, " + near + "\n");
        EXPECT_EQ(objects(with(with(files, {"70", "62"}), square)),
                  "far: 1 of 1 pixel, " + far + "\n");
    }
}

TEST_F(Pick, TellsThoseWithTheMostPixelsFirst) {
    const std::string large = model("large.ply", triangle({255, 0, 0}));
    const std::string small =
        model("small.ply", triangle({0, 0, 255}).scaledBy(0.25).movedBy({0, 0, 0.5}));
    for (const Words& files : {Words{small, large}, {large, small}}) {
        const std::string lines = pick(with(with(files, {"0", "0", "100", "100"}), square));
        EXPECT_THAT(lines, StartsWith("large: "));
        EXPECT_THAT(lines, HasSubstr(" of 10000 pixels, " + large + "\nsmall: "));
    }
}

TEST_F(Pick, CountsThePixelsOfThePicture) {
    // With one sample a pixel is drawn if its middle is, which is what a pick asks.
    for (const Model& each : {torus(), spiral()}) {
        const std::string file = model("data.ply", each);
        const Words options{file, "--samples=1", "--resolution=200,150"};
        const nlohmann::json found = report(with(options, {"0", "0", "200", "150"}));
        EXPECT_EQ(found["objects"].at(0)["pixels"], drawnPixels(options));
    }
}

TEST_F(Pick, TellsWhereInTheWorldOfTheDataThatIsWhatLiesUnderAPixel) {
    // Pixels are 0.04 wide at the distance of the triangle.
    const std::string file = model("mesh.ply", triangle({255, 0, 0}).movedBy({5e8, -7e8, 3}));
    const Words there{file, "--resolution=100,100", "--camera-position=5e8,-7e8,5",
                      "--camera-focal-point=5e8,-7e8,3", "--camera-view-angle=90"};
    const nlohmann::json found = report(with(there, {"60", "70"}))["place"];
    ASSERT_EQ(found.size(), 3u);
    EXPECT_NEAR(found[0].get<double>(), 5e8 + 0.42, 1e-6);
    EXPECT_NEAR(found[1].get<double>(), -7e8 - 0.82, 1e-6);
    EXPECT_NEAR(found[2].get<double>(), 3.0, 1e-6);
    EXPECT_THAT(pick(with(there, {"60", "70"})),
                testing::MatchesRegex("mesh: 1 of 1 pixel, .*\nat 500000000\\.4.* -700000000\\.8.* "
                                      "[23]\\..*\n"));
    EXPECT_TRUE(report(with(there, {"2", "2"}))["place"].is_null());
    EXPECT_TRUE(report(with(there, {"60", "70", "1", "2"}))["place"].is_null());
    EXPECT_THAT(pick(with(there, {"60", "70", "2", "1"})), testing::Not(HasSubstr("\nat ")));
}

TEST_F(Pick, TakesPicturesLargerThanABuffer) {
    const std::string file = model("torus.ply", torus());
    const Words options{file, "--samples=1", "--resolution=5000,70", "--camera-view-angle=1",
                        "--camera-position=0,9,9"};
    const nlohmann::json found = report(with(options, {"0", "0", "5000", "70"}));
    EXPECT_EQ(found["objects"].at(0)["pixels"], drawnPixels(options));
}

TEST_F(Pick, TellsTheGlobeFromTheLinesOnIt) {
    if (!std::filesystem::exists(coast)) {
        GTEST_SKIP() << "needs " << coast << " of the package gmt-gshhg-low";
    }
    const nlohmann::json found = report({coast, "--resolution=200,200", "0", "0", "200", "200"});
    ASSERT_EQ(found["objects"].size(), 2u);
    EXPECT_EQ(found["objects"][0]["name"], "globe");
    EXPECT_TRUE(found["objects"][0]["file"].is_null());
    EXPECT_EQ(found["objects"][1]["name"], "binned_GSHHS_c");
    EXPECT_EQ(found["objects"][1]["file"], coast);
    EXPECT_EQ(pick({coast, "--resolution=200,200", "0", "0"}), "nothing is there\n");
}

TEST_F(Pick, TellsPlacesOfTheGlobeOnTheEllipsoid) {
    // It is drawn a little below that.
    const std::string river = _inputs.path("river.nc");
    writeRiver(river, {{-60, 10}, {-61, 10}});
    // From far away, and from 500 metres above the ground to the horizon.
    for (const Words& camera :
         {Words{"--camera-position=2e7,1e6,3e6", "--camera-focal-point=0,0,0"},
          Words{"--camera-position=6378637,0,0", "--camera-focal-point=6378137,2000,3000",
                "--camera-view-up=1,0,0"}}) {
        const auto place =
            report(with({river, "--resolution=200,200", "60", "105"}, camera))["place"];
        ASSERT_EQ(place.size(), 3u);
        const double x = place[0].get<double>(), y = place[1].get<double>(),
                     z = place[2].get<double>();
        constexpr double a = 6378137.0, b = 6356752.314245;
        EXPECT_NEAR((x * x + y * y) / (a * a) + z * z / (b * b), 1.0, 1e-14) << camera[0];
        EXPECT_GT(x, 0.0);
    }
}

TEST_F(Pick, TellsFilesOfOneNameApart) {
    for (const char* folder : {"a", "b"}) {
        std::filesystem::create_directory(_inputs.path(folder));
    }
    const std::string red = model("a/mesh.ply", triangle({255, 0, 0}));
    const std::string blue = model("b/mesh.ply", triangle({0, 0, 255}).movedBy({0, 0, -1}));
    EXPECT_EQ(objects(with({blue, red, "50", "60"}, square)),
              "a/mesh.ply: 1 of 1 pixel, " + red + "\n");
    const std::string twice = pick(with({blue, blue, "50", "60"}, square));
    EXPECT_THAT(twice, testing::MatchesRegex("mesh(#2)?: 1 of 1 pixel, .*\nat .*\n"));
}

TEST_F(Pick, TakesAFileWhoseNameIsANumber) {
    // There is no other way but the folder ahead of it, as the program says.
    const std::string file = model("5", triangle({255, 0, 0}));
    EXPECT_EQ(objects(with({file, "50", "60"}, square)), "5: 1 of 1 pixel, " + file + "\n");
}

TEST_F(Pick, PutsNamesOfSeveralLinesOnOne) {
    const std::string file = model("a\nb.ply", triangle({255, 0, 0}));
    EXPECT_THAT(pick(with({file, "50", "60"}, square)), StartsWith("a?b: 1 of 1 pixel, "));
}

TEST_F(Pick, ComesWithItsStagesIfAskedFor) {
    const std::string file = model("mesh.ply", triangle({255, 0, 0}));
    const std::string lines = pick(with({file, "50", "60", "-v"}, square));
    for (const char* word : {"mesh: 1 of 1 pixel", "OpenGL 4.", "\nread ", ", draw ", ", pick "}) {
        EXPECT_THAT(lines, HasSubstr(word));
    }
    EXPECT_EQ(std::count(lines.begin(), lines.end(), '\n'), 4);
}

TEST_F(Pick, NamesAFileThatIsMissing) {
    const std::string missing = _inputs.path("missing.ply");
    EXPECT_THAT(run({"pick", missing, "1", "1"}), Refuses(1, Words{missing, "No such file"}));
}

} // namespace
