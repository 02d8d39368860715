#include <Options.hpp>
#include <UsageError.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <vector>

using namespace Shell;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

Command parse(std::vector<const char*> words) {
    words.insert(words.begin(), "polypia");
    return parseCommandLine(static_cast<int>(words.size()), words.data());
}

/// Of `polypia render a.ply -o a.png` with one option more.
RenderOptions parseOption(const char* option) {
    return parse({"render", "a.ply", "-o", "a.png", option}).options;
}

std::string errorOf(const std::vector<const char*>& words) {
    try {
        parse(words);
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no error";
}

TEST(OptionsTest, AreTheUsualOnesUnlessGiven) {
    const Command command = parse({"render", "a.ply", "-o", "a.png"});
    EXPECT_TRUE(command.render);
    const RenderOptions& options = command.options;
    EXPECT_THAT(options.files, ElementsAre("a.ply"));
    EXPECT_EQ(options.output, "a.png");
    EXPECT_EQ(options.widthPixels, 1024);
    EXPECT_EQ(options.heightPixels, 768);
    EXPECT_EQ(options.samples, 4);
    EXPECT_EQ(options.camera.viewAngleDegrees, 30.0);
    EXPECT_FALSE(options.camera.position || options.camera.focalPoint || options.camera.viewUp);
    EXPECT_FALSE(options.verbose || options.groundingLine);
    EXPECT_EQ(options.device, "");
}

TEST(OptionsTest, TakeSeveralFilesOnBothSidesOfOthers) {
    EXPECT_THAT(parse({"render", "a.ply", "-o", "a.png", "b.nc", "c.off"}).options.files,
                ElementsAre("a.ply", "b.nc", "c.off"));
}

TEST(OptionsTest, TakeFilesThatLookLikeOptionsBehindTwoDashes) {
    EXPECT_THAT(parse({"render", "-o", "a.png", "--", "--a.ply"}).options.files,
                ElementsAre("--a.ply"));
}

TEST(OptionsTest, AreUnderstood) {
    const RenderOptions size = parseOption("--resolution=640,480");
    EXPECT_EQ(size.widthPixels, 640);
    EXPECT_EQ(size.heightPixels, 480);
    EXPECT_EQ(parseOption("--camera-position=-1,2.5,3e6").camera.position, (point{-1, 2.5, 3e6}));
    EXPECT_EQ(parseOption("--camera-focal-point=1,2,3").camera.focalPoint, (point{1, 2, 3}));
    EXPECT_EQ(parseOption("--camera-view-up=0,0,1").camera.viewUp, (vector{0, 0, 1}));
    EXPECT_EQ(parseOption("--camera-view-angle=12.5").camera.viewAngleDegrees, 12.5);
    EXPECT_EQ(parseOption("--line-width=2.5").lineWidthPixels, 2.5);
    EXPECT_EQ(parseOption("--point-size=7").pointSizePixels, 7.0);
    EXPECT_EQ(parseOption("--samples=1").samples, 1);
    EXPECT_EQ(parseOption("--device=surfaceless").device, "surfaceless");
    EXPECT_EQ(parseOption("--device=12").device, "12");
    EXPECT_TRUE(parseOption("--grounding-line").groundingLine);
    EXPECT_TRUE(parseOption("--verbose").verbose);
    EXPECT_TRUE(parseOption("-v").verbose);
}

TEST(OptionsTest, MayBeWordsOfTheirOwnAlsoWithAMinus) {
    const Command command =
        parse({"render", "a.ply", "-o", "a.png", "--camera-position", "-1,2,3"});
    EXPECT_EQ(command.options.camera.position, (point{-1, 2, 3}));
}

TEST(OptionsTest, KeepTheDirectionOfAViewUpOfAnySize) {
    EXPECT_EQ(parseOption("--camera-view-up=0,-1e300,0").camera.viewUp, (vector{0, -1, 0}));
    EXPECT_EQ(parseOption("--camera-view-up=5e-320,0,0").camera.viewUp, (vector{1, 0, 0}));
}

struct ColorCase {
    const char* text;
    Skua::rgba_float_t color;
};

TEST(OptionsTest, TakeColoursInThreeForms) {
    const auto byte = [](int value) { return static_cast<float>(value) / 255.0F; };
    const ColorCase cases[] = {
        {"--background-color=#0aFf80", {byte(10), 1, byte(128), 1}},
        {"--background-color=#0aff8040", {byte(10), 1, byte(128), byte(64)}},
        {"--background-color=0.25,0,1", {0.25F, 0, 1, 1}},
        {"--background-color=0.25,0,1,0.5", {0.25F, 0, 1, 0.5F}},
    };
    for (const ColorCase& each : cases) {
        EXPECT_EQ(parseOption(each.text).background, each.color) << each.text;
    }
}

struct Refusal {
    std::string name;
    const char* option;

    friend void PrintTo(const Refusal& each, std::ostream* out) { *out << each.option; }
};

class Refused : public testing::TestWithParam<Refusal> {};

TEST_P(Refused, WithTheOptionWhatItExpectsAndWhatItGot) {
    const std::string option = GetParam().option;
    const std::size_t equals = option.find('=');
    const std::string message = errorOf({"render", "a.ply", "-o", "a.png", option.c_str()});
    EXPECT_EQ(message.find(option.substr(0, equals) + ": expected "), 0u) << message;
    EXPECT_THAT(message, HasSubstr("got '" + option.substr(equals + 1) + "'"));
}

INSTANTIATE_TEST_SUITE_P(
    Values, Refused,
    testing::Values(
        Refusal{"NoWidth", "--resolution=0,5"}, Refusal{"NoHeight", "--resolution=5,0"},
        Refusal{"NegativeSize", "--resolution=-5,5"}, Refusal{"OneNumber", "--resolution=5"},
        Refusal{"ThreeNumbers", "--resolution=5,5,5"}, Refusal{"Letters", "--resolution=a,b"},
        Refusal{"LettersBehind", "--resolution=5,5x"}, Refusal{"ABlank", "--resolution= 5,5"},
        Refusal{"APart", "--resolution=5,5.5"},
        Refusal{"MoreThanAnInt", "--resolution=5,2147483648"},
        Refusal{"MoreThanADouble", "--resolution=5,1e999"},
        Refusal{"NotANumber", "--resolution=nan,5"}, Refusal{"Infinity", "--resolution=inf,5"},
        Refusal{"AnX", "--resolution=640x480"}, Refusal{"ACommaBehind", "--resolution=5,5,"},
        Refusal{"TwoCoordinates", "--camera-position=1,2"},
        Refusal{"FarCoordinates", "--camera-position=1,2,1e101"},
        Refusal{"NaNFocalPoint", "--camera-focal-point=1,2,nan"},
        Refusal{"ZeroViewUp", "--camera-view-up=0,-0,0"},
        Refusal{"NoAngle", "--camera-view-angle=0"},
        Refusal{"TooWideAnAngle", "--camera-view-angle=171"},
        Refusal{"ShortColour", "--background-color=#fff"},
        Refusal{"ColourOfOtherLetters", "--background-color=#00gg00"},
        Refusal{"ColourWithASign", "--background-color=#+1+2+3"},
        Refusal{"BrightColour", "--background-color=0,0,1.5"},
        Refusal{"NamedColour", "--background-color=red"}, Refusal{"NoLineWidth", "--line-width=0"},
        Refusal{"WideLine", "--line-width=101"}, Refusal{"NegativePointSize", "--point-size=-3"},
        Refusal{"NoSample", "--samples=0"}, Refusal{"PartOfASample", "--samples=1.5"},
        Refusal{"UnknownDevice", "--device=best"}, Refusal{"NegativeDevice", "--device=-1"}),
    [](const auto& each) { return each.param.name; });

TEST(OptionsTest, RefuseWhatIsNoCommandLine) {
    struct {
        std::vector<const char*> words;
        const char* expected;
    } const cases[] = {
        {{}, "expected the command 'render', got none"},
        {{"rendr", "a.ply"}, "expected the command 'render', got 'rendr'"},
        {{"--verbose"}, "expected the command 'render', got '--verbose'"},
        {{"render", "-o", "a.png"}, "FILE is required"},
        {{"render", "a.ply"}, "--output is required"},
        {{"render", "a.ply", "-o"}, "--output: expected one value"},
        {{"render", "a.ply", "-o", ""}, "--output: expected the name of a file, got ''"},
        {{"render", "a.ply", "-o", "a.png", "-o", "b.png"}, "--output: expected one value"},
        {{"render", "a.ply", "-o", "a.png", "--resolution"}, "--resolution: expected one value"},
        {{"render", "a.ply", "-o", "a.png", "--colour=1"}, "--colour"},
        {{"render", "a.ply", "-o", "a.png", "-x"}, "-x"},
        {{"render", "a.ply", "-o", "a.png", "--verbose=maybe"}, "maybe"},
    };
    for (const auto& each : cases) {
        const std::string message = errorOf(each.words);
        EXPECT_THAT(message, HasSubstr(each.expected));
        EXPECT_EQ(message.find('\n'), std::string::npos) << message;
    }
}

TEST(OptionsTest, GiveTheTextsThatAreAskedFor) {
    EXPECT_EQ(parse({"--version"}).text, "polypia " POLYPIA_VERSION "\n");
    for (const std::vector<const char*>& words :
         {std::vector<const char*>{"--help"}, {"render", "--help"}, {"render", "-h"}}) {
        const Command command = parse(words);
        EXPECT_FALSE(command.render);
        for (const char* option : {"--output", "--resolution", "--camera-view-angle", "--device"}) {
            EXPECT_THAT(command.text, HasSubstr(option));
        }
    }
}

} // namespace
