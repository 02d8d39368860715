#include <Faults.hpp>

#include <gmock/gmock.h>

using Shell::Faults;
using testing::ElementsAre;
using testing::IsEmpty;

namespace {

using States = std::vector<Faults::State>;

const Faults::Fault shader{"mesh", "the shaders are faulty", true, true};
const Faults::Fault memory{"mesh", "no memory", false, false};

TEST(FaultsTest, TellsThatShadersAreGoodAgainWhenTheirReportHasGone) {
    Faults faults;
    EXPECT_THAT(faults.follow({shader}, {{"mesh", true}}),
                ElementsAre("still drawing mesh as before: the shaders are faulty"));
    EXPECT_THAT(faults.follow({}, {{"mesh", true}}), IsEmpty());
    EXPECT_THAT(faults.follow({}, {{"mesh", false}}),
                ElementsAre("drawing mesh anew: the shaders are good again"));
    EXPECT_THAT(faults.follow({}, {{"mesh", false}}), IsEmpty());
}

TEST(FaultsTest, SaysNothingOfShadersWhenSomethingElseIsGoodAgain) {
    Faults faults;
    EXPECT_THAT(faults.follow({memory}, {{"mesh", true}}),
                ElementsAre("cannot draw mesh: no memory"));
    EXPECT_THAT(faults.follow({}, {{"mesh", false}}), ElementsAre("drawing mesh again"));
    // Nor of those of another object.
    Faults::Fault other = shader;
    other.object = "cloud";
    faults.follow({memory, other}, {{"mesh", true}, {"cloud", true}});
    EXPECT_THAT(faults.follow({}, {{"mesh", false}, {"cloud", true}}),
                ElementsAre("drawing mesh again"));
    EXPECT_THAT(faults.follow({}, {{"mesh", false}, {"cloud", false}}),
                ElementsAre("drawing cloud anew: the shaders are good again"));
}

TEST(FaultsTest, PutsObjectsWithTheSameReasonTogether) {
    Faults faults;
    Faults::Fault other = shader;
    other.object = "a\nb";
    EXPECT_THAT(faults.follow({shader, other}, States{}),
                ElementsAre("still drawing mesh, a?b as before: the shaders are faulty"));
}

} // namespace
