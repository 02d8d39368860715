#include "image.hpp"
#include "inputs.hpp"
#include "program.hpp"

#include <filesystem>

using namespace Shell::Test;

namespace {

const std::string coast = "/usr/share/gmt-gshhg/binned_GSHHS_c.nc";

/// Pictures as a whole, against those of data/references.
class References : public Drawing {
protected:
    void SetUp() override {
        Drawing::SetUp();
        if (IsSkipped()) return;
        // Other drivers choose other samples in a pixel; the questions are asked of them as well.
        const Outcome outcome = render({input("mesh.ply", triangle({9, 9, 9}).ply()), "-v"});
        if (!outcome.output.starts_with("llvmpipe")) {
            GTEST_SKIP() << "the references are pictures of llvmpipe, this is "
                         << outcome.output.substr(0, outcome.output.find(','));
        }
    }

    void expectReference(const std::string& name, std::vector<std::string> arguments) {
        arguments.push_back("--resolution=256,256");
        const Outcome outcome = render(arguments);
        ASSERT_EQ(outcome.exitCode, 0) << outcome.errors;
        const std::string kept = PICTURES "/" + name;
        std::filesystem::copy_file(picture(), kept + "-actual.png",
                                   std::filesystem::copy_options::overwrite_existing);
        const Image actual = Image::read(picture());
        const Image expected = Image::read(REFERENCES "/" + name + ".png");
        const Limits limits;
        const Comparison found = compare(actual, expected, limits);
        if (found.isWithin(limits)) return;
        expected.write(kept + "-expected.png");
        if (found.sameSize) {
            differenceImage(actual, expected).write(kept + "-difference.png");
        }
        FAIL() << found.pixelsBeyond << " of " << found.pixels << " pixels differ by more than "
               << limits.channel << ", all by " << found.mean << " in the mean; see " << kept
               << "-actual.png, -expected.png and -difference.png; the worst:" << found.worst;
    }
};

TEST_F(References, ShowTheCoasts) {
    if (!std::filesystem::exists(coast)) {
        GTEST_SKIP() << "needs " << coast << " of the package gmt-gshhg-low";
    }
    expectReference("coast", {coast});
}

TEST_F(References, ShowAMesh) {
    expectReference("mesh", {input("torus.ply", torus().ply())});
}

TEST_F(References, ShowPoints) {
    expectReference("points", {input("spiral.ply", spiral().ply()), "--point-size=6"});
}

TEST_F(References, ShowAMeshToTwoEyesSideBySide) {
    expectReference("side-by-side", {input("torus.ply", torus().ply()), "--stereo=side-by-side"});
}

TEST_F(References, ShowAMeshThroughColouredGlasses) {
    expectReference("anaglyph", {input("torus.ply", torus().ply()), "--stereo=anaglyph"});
}

} // namespace
