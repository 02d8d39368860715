#include "program.hpp"

using namespace Shell::Test;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

TEST(Usage, IsToldOnStandardOutputWhenAskedFor) {
    for (const std::vector<std::string>& words :
         {std::vector<std::string>{"--help"}, {"-h"}, {"render", "--help"}, {"pick", "-h"}}) {
        const Outcome outcome = run(words);
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_THAT(outcome.output, HasSubstr("--resolution"));
    }
    const Outcome version = run({"--version"});
    EXPECT_EQ(version.exitCode, 0);
    EXPECT_THAT(version.output, testing::MatchesRegex("polypia [0-9]+\\.[0-9]+\\.[0-9]+\n"));
    EXPECT_EQ(version.errors, "");
}

struct Case {
    std::string name;
    Words arguments;
    Words expected;

    friend void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }
};

class Misuse : public testing::TestWithParam<Case> {};

TEST_P(Misuse, EndsWithTwoAndOneLineAndNoFile) {
    const TemporaryFolder folder;
    Words arguments = GetParam().arguments;
    for (std::string& word : arguments) {
        if (word == "PICTURE") word = folder.path("picture.png");
    }
    EXPECT_THAT(run(arguments), Refuses(2, GetParam().expected));
    EXPECT_THAT(folder.names(), IsEmpty());
}

INSTANTIATE_TEST_SUITE_P(
    Usage, Misuse,
    testing::Values(
        Case{"NoCommand", {}, {"'render'", "'pick'"}}, Case{"UnknownCommand", {"draw"}, {"'draw'"}},
        Case{"NoFile", {"render", "-o", "PICTURE"}, {"FILE"}},
        Case{"NoOutput", {"render", "a.ply"}, {"--output"}},
        Case{"UnknownOption", {"render", "a.ply", "-o", "PICTURE", "--size=5,5"}, {"--size=5,5"}},
        Case{"NoSize",
             {"render", "a.ply", "-o", "PICTURE", "--resolution=0,5"},
             {"--resolution", "'0,5'"}},
        Case{"NegativeSize",
             {"render", "a.ply", "-o", "PICTURE", "--resolution=-5,5"},
             {"--resolution", "'-5,5'"}},
        Case{"ASizeOfLetters",
             {"render", "a.ply", "-o", "PICTURE", "--resolution=big"},
             {"--resolution", "'big'"}},
        Case{"ToeInOfOneEye",
             {"render", "a.ply", "-o", "PICTURE", "--toe-in"},
             {"--toe-in", "--stereo"}},
        Case{"AnUnknownStereo",
             {"render", "a.ply", "-o", "PICTURE", "--stereo=3d"},
             {"'side-by-side', 'anaglyph' or 'separate'", "'3d'"}},
        Case{"AnUnknownLight",
             {"render", "a.ply", "-o", "PICTURE", "--light=sun"},
             {"--light", "'positional' or 'spot'", "'sun'"}},
        Case{"ALightOfSeveralLines",
             {"render", "a.ply", "-o", "PICTURE", "--light=ambient:inten\nsity=1"},
             {"--light", "color or intensity of ambient", "'inten?sity'"}},
        Case{"AWatchOfNothing",
             {"render", "a.ply", "-o", "PICTURE", "--watch"},
             {"--watch", "--edit-shaders"}},
        Case{"AnUnknownReport", {"pick", "a.ply", "1", "1", "--report=xml"}, {"'json'", "'xml'"}},
        Case{"APickOutsideOfThePicture",
             {"pick", "a.ply", "1024", "767"},
             {"1024 x 768", "'1024 767'"}},
        Case{"APickFromANegativePlace", {"pick", "a.ply", "-1", "5"}, {"'-1 5'"}},
        Case{"APickOfLetters", {"pick", "a.ply", "left", "top"}, {"X Y [W H]", "got 0"}},
        Case{"APickWithAnOutput", {"pick", "a.ply", "1", "1", "-o", "PICTURE"}, {"pick --help"}},
        Case{"AValueOfSeveralLines",
             {"render", "a.ply", "-o", "PICTURE", "--resolution=5\n,5"},
             {"--resolution", "'5?,5'"}},
        Case{"AnUnknownOptionOfSeveralLines",
             {"render", "a.ply", "-o", "PICTURE", "--si\nze"},
             {"--si"}}),
    [](const auto& each) { return each.param.name; });

} // namespace
