#include <Options.hpp>
#include <UsageError.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <string>
#include <utility>
#include <variant>
#include <vector>

using namespace Shell;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

Command parse(std::vector<const char*> words) {
    words.insert(words.begin(), "polypia");
    return parseCommandLine(static_cast<int>(words.size()), words.data());
}

RenderOptions parseRender(std::vector<const char*> words) {
    words.insert(words.begin(), "render");
    return std::get<RenderOptions>(parse(std::move(words)));
}

PickOptions parsePick(std::vector<const char*> words) {
    words.insert(words.begin(), "pick");
    return std::get<PickOptions>(parse(std::move(words)));
}

/// Of `polypia render a.ply -o a.png` with one option more.
RenderOptions parseOption(const char* option) {
    return parseRender({"a.ply", "-o", "a.png", option});
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
    const RenderOptions options = parseRender({"a.ply", "-o", "a.png"});
    EXPECT_THAT(options.files, ElementsAre("a.ply"));
    EXPECT_EQ(options.output, "a.png");
    EXPECT_EQ(options.widthPixels, 1024);
    EXPECT_EQ(options.heightPixels, 768);
    EXPECT_EQ(options.samples, 4);
    EXPECT_EQ(options.camera.viewAngleDegrees, 30.0);
    EXPECT_FALSE(options.camera.position || options.camera.focalPoint || options.camera.viewUp);
    EXPECT_FALSE(options.verbose || options.groundingLine || options.report || options.stereo);
    EXPECT_EQ(options.device, "");
}

TEST(OptionsTest, TakeSeveralFilesOnBothSidesOfOthers) {
    EXPECT_THAT(parseRender({"a.ply", "-o", "a.png", "b.nc", "c.off"}).files,
                ElementsAre("a.ply", "b.nc", "c.off"));
}

TEST(OptionsTest, TakeFilesThatLookLikeOptionsBehindTwoDashes) {
    EXPECT_THAT(parseRender({"-o", "a.png", "--", "--a.ply"}).files, ElementsAre("--a.ply"));
}

TEST(OptionsTest, TakeFilesWithTheNamesOfCommands) {
    EXPECT_THAT(parseRender({"pick", "render", "-o", "a.png"}).files,
                ElementsAre("pick", "render"));
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
    EXPECT_TRUE(parseOption("--report=json").report);
}

TEST(OptionsTest, AreThoseOfStereoOnlyWithIt) {
    EXPECT_EQ(parseOption("--stereo=side-by-side").stereo->layout, StereoLayout::sideBySide);
    EXPECT_EQ(parseOption("--stereo=anaglyph").stereo->layout, StereoLayout::anaglyph);
    const StereoOptions usual = *parseOption("--stereo=separate").stereo;
    EXPECT_EQ(usual.layout, StereoLayout::separate);
    EXPECT_EQ(usual.eyeSeparation, 0.03);
    EXPECT_FALSE(usual.convergence || usual.toeIn);
    const StereoOptions skewed = *parseRender({"a.ply", "-o", "a.png", "--convergence=5e6",
                                               "--eye-separation=0.1", "--stereo=anaglyph"})
                                      .stereo;
    EXPECT_EQ(skewed.eyeSeparation, 0.1);
    EXPECT_EQ(skewed.convergence, 5e6);
    EXPECT_TRUE(
        parseRender({"a.ply", "-o", "a.png", "--toe-in", "--stereo=anaglyph"}).stereo->toeIn);
}

TEST(OptionsTest, OfShadersAreAFolderAndWhetherItIsWatched) {
    const RenderOptions none = parseRender({"a.ply", "-o", "a.png"});
    EXPECT_EQ(none.shaderFolder, "");
    EXPECT_FALSE(none.watch);
    const RenderOptions both =
        parseRender({"a.ply", "-o", "a.png", "--watch", "--edit-shaders=my shaders"});
    EXPECT_EQ(both.shaderFolder, "my shaders");
    EXPECT_TRUE(both.watch);
    EXPECT_EQ(parseOption("--edit-shaders=a/b///").shaderFolder, "a/b");
    EXPECT_EQ(parseOption("--edit-shaders=.").shaderFolder, ".");
    EXPECT_EQ(parseOption("--edit-shaders=//").shaderFolder, "/");
    EXPECT_TRUE(parseRender({"a.ply", "-o", "a.png", "--watch", "--edit-shaders=a",
                             "--stereo=anaglyph", "--verbose"})
                    .watch);
}

TEST(OptionsTest, OfLightsAreAsManyAsThereAre) {
    EXPECT_TRUE(parseRender({"a.ply", "-o", "a.png"}).lights.empty());
    const RenderOptions options =
        parseRender({"--light", "headlight", "a.ply", "--light=ambient:intensity=0.25", "-o",
                     "a.png", "--light", "headlight", "b.ply"});
    EXPECT_THAT(options.files, ElementsAre("a.ply", "b.ply"));
    ASSERT_EQ(options.lights.size(), 3U);
    EXPECT_EQ(options.lights[0].kind, LightKind::headlight);
    EXPECT_EQ(options.lights[1].kind, LightKind::ambient);
    EXPECT_EQ(options.lights[1].intensity, 0.25);
    EXPECT_EQ(options.lights[2].kind, LightKind::headlight);
    EXPECT_EQ(parsePick({"a.ply", "--light=headlight", "1", "2"}).lights.size(), 1U);
}

TEST(OptionsTest, OfALightAreTheUsualOnesUnlessGiven) {
    const LightOptions spot =
        parseOption("--light=spot:direction=0,-2,0,position=1,2.5,3e6").lights[0];
    EXPECT_EQ(spot.kind, LightKind::spot);
    EXPECT_EQ(spot.position, (point{1, 2.5, 3e6}));
    EXPECT_EQ(spot.direction, (vector{0, -1, 0}));
    EXPECT_EQ(spot.color, (Skua::rgba_float_t{1, 1, 1, 1}));
    EXPECT_THAT((std::vector{spot.intensity, spot.specular, spot.constant, spot.linear,
                             spot.quadratic, spot.coneDegrees, spot.exponent}),
                ElementsAre(1, 1, 1, 0, 0, 30, 1));
}

TEST(OptionsTest, OfALightAreUnderstood) {
    const LightOptions spot =
        parseOption("--light=spot:color=0.25,0.5,1,position=1,2,3,intensity=2,specular=0.5,"
                    "constant=0,linear=0.5,quadratic=1e-9,direction=1,0,0,cone=45,exponent=0")
            .lights[0];
    EXPECT_EQ(spot.color, (Skua::rgba_float_t{0.25F, 0.5F, 1, 1}));
    EXPECT_THAT((std::vector{spot.intensity, spot.specular, spot.constant, spot.linear,
                             spot.quadratic, spot.coneDegrees, spot.exponent}),
                ElementsAre(2, 0.5, 0, 0.5, 1e-9, 45, 0));
    EXPECT_EQ(parseOption("--light=directional:direction=0,0,-1").lights[0].kind,
              LightKind::directional);
    EXPECT_EQ(parseOption("--light=positional:position=0,0,-1").lights[0].kind,
              LightKind::positional);
    EXPECT_EQ(parseOption("--light=headlight:color=#ff0000,specular=0").lights[0].color,
              (Skua::rgba_float_t{1, 0, 0, 1}));
}

TEST(OptionsTest, OfALightThatAreWrongAreRefused) {
    struct {
        const char* light;
        const char* expected;
    } const cases[] = {
        {"sun", "--light: expected 'ambient', 'headlight', 'directional', 'positional' or 'spot', "
                "with : behind it for what is told of the light, got 'sun'"},
        {"Ambient", "got 'Ambient'"},
        {" ambient", "got ' ambient'"},
        {"ambient,intensity=1", "got 'ambient,intensity=1'"},
        {":intensity=1", "got ''"},
        {"spot:", "--light: expected NAME=VALUE behind spot:, got ''"},
        {"positional:1,2,3", "--light: expected NAME=VALUE behind positional:, got '1,2,3'"},
        {"ambient:intensity", "--light: expected NAME=VALUE behind ambient:, got 'intensity'"},
        {"ambient:specular=1", "--light: expected color or intensity of ambient, got 'specular'"},
        {"headlight:position=1,2,3",
         "--light: expected color, intensity or specular of headlight, got 'position'"},
        {"directional:cone=5", "specular or direction of directional, got 'cone'"},
        {"positional:Position=1,2,3",
         "--light: expected color, intensity, specular, position, constant, linear or quadratic "
         "of positional, got 'Position'"},
        {"spot:=5", "cone or exponent of spot, got ''"},
        {"positional", "--light: expected position=X,Y,Z of positional, got none"},
        {"spot:direction=0,0,1", "--light: expected position=X,Y,Z of spot, got none"},
        {"spot:position=0,0,1", "--light: expected direction=X,Y,Z of spot, got none"},
        {"directional", "--light: expected direction=X,Y,Z of directional, got none"},
        {"ambient:intensity=1,intensity=2",
         "--light: intensity of ambient: expected once, got it twice"},
        {"ambient:color=red",
         "--light: color of ambient: expected #RRGGBB, #RRGGBBAA, or three or four numbers R,G,B,A "
         "from 0 to 1, got 'red'"},
        {"ambient:color=1,1", "got '1,1'"},
        {"ambient:color=1,1,2", "got '1,1,2'"},
        {"ambient:intensity=-1",
         "--light: intensity of ambient: expected a number from 0 to 1e15, got '-1'"},
        {"ambient:intensity=", "got ''"},
        {"ambient:intensity=nan", "got 'nan'"},
        {"ambient:intensity=1e16", "got '1e16'"},
        {"ambient:intensity=1,5", "got '1,5'"},
        {"headlight:specular=-1",
         "--light: specular of headlight: expected a number from 0 to 1000, got '-1'"},
        {"positional:position=1,2",
         "--light: position of positional: expected three numbers X,Y,Z from -1e100 to 1e100, got "
         "'1,2'"},
        {"positional:position=1,2,3,", "got '1,2,3,'"},
        {"positional:position=1,2,1e101", "got '1,2,1e101'"},
        {"positional:position=1,2,3,linear=-1",
         "--light: linear of positional: expected a number from 0 to 1e30, got '-1'"},
        {"positional:position=1,2,3,quadratic=inf", "got 'inf'"},
        {"positional:position=1,2,3,constant=0",
         "--light: expected constant, linear or quadratic of positional above 0, got 0 for all"},
        {"directional:direction=0,0,0",
         "--light: direction of directional: expected three numbers X,Y,Z that are not all 0, got "
         "'0,0,0'"},
        {"directional:direction=0,1", "got '0,1'"},
        {"spot:position=0,0,0,direction=0,0,1,cone=180.5",
         "--light: cone of spot: expected degrees from 0 to 180, got '180.5'"},
        {"spot:position=0,0,0,direction=0,0,1,exponent=1001",
         "--light: exponent of spot: expected a number from 0 to 1000, got '1001'"},
    };
    for (const auto& each : cases) {
        const std::string option = std::string("--light=") + each.light;
        EXPECT_THAT(errorOf({"render", "a.ply", "-o", "a.png", option.c_str()}),
                    HasSubstr(each.expected));
        EXPECT_THAT(errorOf({"render", "a.ply", "-o", "a.png", "--light=ambient", option.c_str()}),
                    HasSubstr(each.expected));
    }
    EXPECT_THAT(errorOf({"render", "a.ply", "-o", "a.png", "--light="}),
                HasSubstr("--light: expected one value"));
    EXPECT_THAT(errorOf({"render", "a.ply", "-o", "a.png", "--light"}),
                HasSubstr("--light: expected one value"));
}

TEST(OptionsTest, ThatAreOfNoUseTogetherAreRefused) {
    struct {
        std::vector<const char*> options;
        const char* expected;
    } const cases[] = {
        {{"--toe-in"}, "--toe-in: expected with --stereo only"},
        {{"--eye-separation=0.1"}, "--eye-separation: expected with --stereo only"},
        {{"--convergence=5"}, "--convergence: expected with --stereo only"},
        {{"--stereo=anaglyph", "--toe-in", "--convergence=5"},
         "--convergence: expected without --toe-in"},
        {{"--report=json", "-v"}, "--verbose: expected without --report"},
        {{"--watch"}, "--watch: expected with --edit-shaders only"},
        {{"--watch", "--edit-shaders=a", "--report=json"}, "--watch: expected without --report"},
        {{"--watch", "--edit-shaders=a", "--stereo=separate"},
         "--watch: expected without --stereo=separate"},
    };
    for (const auto& each : cases) {
        std::vector<const char*> words{"render", "a.ply", "-o", "a.png"};
        words.insert(words.end(), each.options.begin(), each.options.end());
        EXPECT_THAT(errorOf(words), HasSubstr(each.expected));
    }
}

TEST(OptionsTest, OfAPickEndWithOnePixelOrARectangle) {
    const PickOptions one = parsePick({"a.ply", "b.nc", "1023", "0"});
    EXPECT_THAT(one.files, ElementsAre("a.ply", "b.nc"));
    EXPECT_THAT(
        (std::vector{one.rectangle.x, one.rectangle.y, one.rectangle.width, one.rectangle.height}),
        ElementsAre(1023, 0, 1, 1));
    const PickOptions whole = parsePick({"a.ply", "0", "0", "--resolution=64,32", "64", "32"});
    EXPECT_THAT(whole.files, ElementsAre("a.ply"));
    EXPECT_THAT((std::vector{whole.rectangle.x, whole.rectangle.y, whole.rectangle.width,
                             whole.rectangle.height}),
                ElementsAre(0, 0, 64, 32));
}

TEST(OptionsTest, OfAPickAreThoseOfThePicture) {
    const PickOptions options = parsePick(
        {"a.ply", "1", "2", "--resolution=640,480", "--camera-position=1,2,3", "--line-width=5",
         "--point-size=6", "--samples=1", "--device=1", "--grounding-line", "--report=json"});
    EXPECT_EQ(options.widthPixels, 640);
    EXPECT_EQ(options.camera.position, (point{1, 2, 3}));
    EXPECT_EQ(options.lineWidthPixels, 5);
    EXPECT_EQ(options.pointSizePixels, 6);
    EXPECT_EQ(options.samples, 1);
    EXPECT_EQ(options.device, "1");
    EXPECT_TRUE(options.groundingLine && options.report);
}

TEST(OptionsTest, OfAPickTakeFilesWhoseNamesAreNearlyNumbers) {
    EXPECT_THAT(parsePick({"./5", "5a", "nan", "1,2", "1", "2"}).files,
                ElementsAre("./5", "5a", "nan", "1,2"));
}

TEST(OptionsTest, OfAPickRefuseWhatIsNoRectangleInThePicture) {
    struct {
        std::vector<const char*> words;
        const char* expected;
    } const cases[] = {
        {{"a.ply"}, "X Y [W H]: expected two or four numbers behind the files, got 0"},
        {{"a.ply", "1"}, "got 1"},
        {{"a.ply", "1", "2", "3"}, "got 3"},
        {{"a.ply", "1", "2", "3", "4", "5"}, "got 5"},
        {{"a.ply", "-1", "2"}, "within the picture of 64 x 32, got '-1 2'"},
        {{"a.ply", "64", "0"}, "within the picture of 64 x 32, got '64 0'"},
        {{"a.ply", "0", "32"}, "got '0 32'"},
        {{"a.ply", "0.5", "2"}, "whole numbers of pixels"},
        {{"a.ply", "1e999", "2"}, "got '1e999 2'"},
        {{"a.ply", "1", "1", "0", "1"}, "got '1 1 0 1'"},
        {{"a.ply", "1", "1", "1", "-1"}, "got '1 1 1 -1'"},
        {{"a.ply", "1", "0", "64", "1"}, "got '1 0 64 1'"},
        {{"a.ply", "0", "1", "1", "4000000000"}, "got '0 1 1 4000000000'"},
        {{"a.ply", "1", "x"}, "got 'x' behind '1'"},
        {{"5", "a.ply", "1", "2"}, "a file whose name is a number is given as ./5"},
        {{"1", "2"}, "FILE: expected a file ahead of X Y [W H]"},
    };
    for (const auto& each : cases) {
        std::vector<const char*> words{"pick", "--resolution=64,32"};
        words.insert(words.end(), each.words.begin(), each.words.end());
        EXPECT_THAT(errorOf(words), HasSubstr(each.expected));
    }
}

TEST(OptionsTest, MayBeWordsOfTheirOwnAlsoWithAMinus) {
    const RenderOptions options =
        parseRender({"a.ply", "-o", "a.png", "--camera-position", "-1,2,3"});
    EXPECT_EQ(options.camera.position, (point{-1, 2, 3}));
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
        Refusal{"UnknownDevice", "--device=best"}, Refusal{"NegativeDevice", "--device=-1"},
        Refusal{"UnknownStereo", "--stereo=3d"}, Refusal{"StereoInCapitals", "--stereo=Anaglyph"},
        Refusal{"EyesInOnePlace", "--eye-separation=0"},
        Refusal{"EyesOnOtherSides", "--eye-separation=-0.1"},
        Refusal{"EyesFarApart", "--eye-separation=1.1"},
        Refusal{"NoConvergence", "--convergence=0"},
        Refusal{"ConvergenceBehind", "--convergence=-1"},
        Refusal{"ConvergenceNowhere", "--convergence=inf"},
        Refusal{"UnknownReport", "--report=xml"},
        Refusal{"ShadersInOtherLetters", "--edit-shaders=m\xc3\xb6wen"},
        Refusal{"ShadersOnSeveralLines", "--edit-shaders=a\nb"},
        Refusal{"ShadersBehindAStar", "--edit-shaders=a*/b"},
        Refusal{"ShadersInAStar", "--edit-shaders=a*"}),
    [](const auto& each) { return each.param.name; });

TEST(OptionsTest, RefuseWhatIsNoCommandLine) {
    struct {
        std::vector<const char*> words;
        const char* expected;
    } const cases[] = {
        {{}, "expected the command 'render' or 'pick', got none"},
        {{"rendr", "a.ply"}, "expected the command 'render' or 'pick', got 'rendr'"},
        {{"--verbose"}, "expected the command 'render' or 'pick', got '--verbose'"},
        {{"render", "-o", "a.png"}, "FILE is required"},
        {{"render", "a.ply"}, "--output is required"},
        {{"pick"}, "FILE is required; see polypia pick --help"},
        {{"pick", "a.ply", "1", "2", "-o", "a.png"}, "see polypia pick --help"},
        {{"render", "a.ply", "-o"}, "--output: expected one value"},
        {{"render", "a.ply", "-o", ""}, "--output: expected the name of a file, got ''"},
        {{"render", "a.ply", "-o", "out/"}, "--output: expected the name of a file, got 'out/'"},
        {{"render", "a.ply", "-o", "a.png", "-o", "b.png"}, "--output: expected one value"},
        {{"render", "a.ply", "-o", "a.png", "--resolution"}, "--resolution: expected one value"},
        {{"render", "a.ply", "-o", "a.png", "--edit-shaders="},
         "--edit-shaders: expected one value"},
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
    const auto textOf = [](const std::vector<const char*>& words) {
        return std::get<std::string>(parse(words));
    };
    EXPECT_EQ(textOf({"--version"}), "polypia " POLYPIA_VERSION "\n");
    for (const std::vector<const char*>& words :
         {std::vector<const char*>{"--help"}, {"render", "--help"}, {"render", "-h"}}) {
        for (const char* option : {"--output", "--resolution", "--camera-view-angle", "--device",
                                   "--toe-in", "--edit-shaders", "--watch"}) {
            EXPECT_THAT(textOf(words), HasSubstr(option));
        }
    }
    for (const char* word : {"X Y", "upper left", "./5", "--resolution", "--report"}) {
        EXPECT_THAT(textOf({"pick", "--help"}), HasSubstr(word));
    }
}

} // namespace
