#include "inputs.hpp"
#include "program.hpp"

#include <algorithm>
#include <filesystem>

#include <sys/stat.h>
#include <unistd.h>

using namespace Shell::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
namespace fs = std::filesystem;

namespace {

const std::string coast = "/usr/share/gmt-gshhg/binned_GSHHS_c.nc";

/// What is wrong with a file, a picture or the machine: exit code 1, one line that names what is at
/// fault and why, and a folder of pictures that stays as it was.
class Failures : public Drawing {
protected:
    void expectRefused(const std::string& file, Words words) {
        words.push_back(file);
        EXPECT_THAT(render({file}), Refuses(1, words));
        EXPECT_THAT(_outputs.names(), IsEmpty());
    }
    std::string mesh() const { return input("mesh.ply", triangle({255, 0, 0}).ply()); }
};

TEST_F(Failures, NameAFileThatIsMissing) {
    expectRefused(_inputs.path("missing.ply"), {"No such file"});
}

TEST_F(Failures, NameADirectory) {
    expectRefused(_inputs.path(), {"directory"});
}

TEST_F(Failures, NameAnEmptyFile) {
    expectRefused(input("empty.nc", ""), {"empty"});
    expectRefused(input("empty.ply.gz", packed("")), {"empty"});
}

TEST_F(Failures, NameAFileOfNoKnownKind) {
    expectRefused(input("notes.txt", "Dear diary,\n"), {"known kind", "'Dear diary,"});
}

TEST_F(Failures, NameAFileWhoseNameHasSeveralLines) {
    EXPECT_THAT(render({_inputs.path("a\nb.ply")}), Refuses(1, Words{"a?b.ply", "No such file"}));
}

TEST_F(Failures, NameTheWrongOneOfSeveralFiles) {
    const std::string missing = _inputs.path("missing.ply");
    EXPECT_THAT(render({mesh(), missing, mesh()}), Refuses(1, Words{missing}));
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, NameANetcdfFileThatIsCutShortAnywhere) {
    if (!fs::exists(coast)) GTEST_SKIP() << "needs " << coast << " of the package gmt-gshhg-low";
    const std::string whole = contentOf(coast);
    constexpr std::size_t places = 20;
    for (std::size_t i = 0; i < places; ++i) {
        const std::size_t bytes = std::max<std::size_t>(1, i * whole.size() / places);
        SCOPED_TRACE("the first " + std::to_string(bytes) + " bytes");
        expectRefused(input("cut.nc", whole.substr(0, bytes)), {});
    }
    expectRefused(input("cut.nc", whole.substr(0, whole.size() - 1)), {});
}

TEST_F(Failures, NameTheVariableThatANetcdfFileLacks) {
    const std::string path = _inputs.path("other.nc");
    writeOtherNetcdf(path);
    expectRefused(path, {"Bin_size_in_minutes"});
}

TEST_F(Failures, NameALineWithAnIndexOutOfRange) {
    Model model = triangle({255, 0, 0});
    model.triangles.push_back({0, 1, 3});
    expectRefused(input("mesh.ply", model.ply()), {"line 17", "index from 0 to 2, got 3"});
}

TEST_F(Failures, NameCoordinatesThatAreNoNumbers) {
    for (const char* number : {"nan", "inf"}) {
        const std::string off =
            std::string("OFF\n3 1 0\n0 0 0\n1 0 0\n0 ") + number + " 0\n3 0 1 2\n";
        expectRefused(input("mesh.off", off), {"line 5", number});
    }
}

TEST_F(Failures, NameCoordinatesThatAreTooLarge) {
    expectRefused(input("mesh.ply", triangle({255, 0, 0}).scaledBy(1e101).ply()),
                  {"1e100", "1e+101"});
}

TEST_F(Failures, NameAnOutputFolderThatIsMissing) {
    const std::string path = _outputs.path("no/such/picture.png");
    EXPECT_THAT(run({"render", mesh(), "-o", path}), Refuses(1, Words{path, "No such file"}));
}

TEST_F(Failures, NameAnOutputFolderThatMayNotBeWritten) {
    if (geteuid() == 0) {
        // Nothing is forbidden to root, but for the system's own folders.
        EXPECT_THAT(run({"render", mesh(), "-o", "/proc/picture.png"}),
                    Refuses(1, Words{"/proc/picture.png"}));
        return;
    }
    fs::permissions(_outputs.path(), fs::perms::owner_read | fs::perms::owner_exec);
    EXPECT_THAT(render({mesh()}), Refuses(1, Words{picture(), "Permission denied"}));
    fs::permissions(_outputs.path(), fs::perms::owner_all);
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, NameAnOutputThatIsADirectory) {
    EXPECT_THAT(run({"render", mesh(), "-o", _outputs.path()}),
                Refuses(1, Words{_outputs.path(), "directory"}));
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, NameAnOutputThatThePictureIsMadeFrom) {
    const std::string data = mesh(), before = contentOf(data);
    const std::string link = _outputs.path("link.png");
    fs::create_symlink(data, link);
    for (const std::string& output : {data, link}) {
        EXPECT_THAT(run({"render", data, "-o", output}),
                    Refuses(2, Words{"-o: ", "that the picture isn't made from", output}));
    }
    EXPECT_EQ(contentOf(data), before);
    // A shader, be it there or not.
    const std::string shader = _inputs.path("polypia-surface.frag");
    const auto drawTo = [&](const std::string& output) {
        return run({"render", data, "-o", output, "--edit-shaders=" + _inputs.path(),
                    "--resolution=32,32"});
    };
    EXPECT_THAT(drawTo(shader), Refuses(2, Words{shader}));
    EXPECT_FALSE(fs::exists(shader));
    input("polypia-surface.frag", "// mine\n");
    EXPECT_THAT(drawTo(shader), Refuses(2, Words{shader}));
    EXPECT_EQ(contentOf(shader), "// mine\n");
    // Other files beside them may be replaced.
    fs::remove(shader);
    for (int i = 0; i < 2; ++i) EXPECT_EQ(drawTo(_inputs.path("picture.png")).exitCode, 0);
}

TEST_F(Failures, NameAnOutputThatIsADevice) {
    EXPECT_THAT(run({"render", mesh(), "-o", "/dev/full"}), Refuses(1, Words{"/dev/full"}));
}

TEST_F(Failures, NameAnOutputOnAFullDisk) {
    Surroundings fullDisk;
    fullDisk.mostBytesOfFile = 4096;
    // Mesa's files are not the ones that are to fail.
    fullDisk.environment["MESA_SHADER_CACHE_DISABLE"] = "true";
    const std::string file = input("torus.ply", torus().ply());
    EXPECT_THAT(render({file}, fullDisk), Refuses(1, Words{picture(), "File too large"}));
    EXPECT_THAT(_outputs.names(), IsEmpty());

    const std::string before = "a picture of yesterday";
    _outputs.write("picture.png", before);
    EXPECT_THAT(render({file}, fullDisk), Refuses(1, Words{picture(), "File too large"}));
    EXPECT_THAT(_outputs.names(), ElementsAre("picture.png"));
    EXPECT_EQ(contentOf(picture()), before);
}

TEST_F(Failures, NameALightThatIsTooFarAway) {
    const Outcome outcome = render({mesh(), "--light=positional:position=0,0,1e20"});
    EXPECT_NE(outcome.exitCode, 0);
    EXPECT_THAT(outcome.errors, HasSubstr("--light: position: expected coordinates from -1e+18 to "
                                          "1e+18 with these data, got 1e+20; a light of parallel "
                                          "rays is 'directional'"));
}

TEST_F(Failures, NameAFullDiskBehindStandardOutput) {
    Surroundings fullDisk;
    fullDisk.mostBytesOfFile = 8;
    // Longer and shorter than the buffer of the stream.
    for (const Words& arguments : {Words{"--help"}, {"render", "--help"}, {"--version"}}) {
        const Outcome outcome = run(arguments, fullDisk);
        EXPECT_EQ(outcome.exitCode, 1) << arguments.back();
    }
}

TEST_F(Failures, NameAFolderForShadersThatCannotBeWrittenTo) {
    const struct {
        std::string folder;
        const char* reason;
    } cases[] = {{_inputs.path("missing"), "No such file"},
                 {mesh(), "Not a directory"},
                 {"/proc", "'/proc': "}};
    for (const auto& each : cases) {
        EXPECT_THAT(
            render({mesh(), "--edit-shaders=" + each.folder}),
            Refuses(1, Words{"--edit-shaders: expected a folder", each.folder, each.reason}));
    }
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, NameTheLimitOfTheDriver) {
    for (const char* size : {"1000000,10", "10,1000000", "2147483647,2147483647"}) {
        EXPECT_THAT(render({mesh(), std::string("--resolution=") + size}),
                    Refuses(1, Words{"--resolution: expected at most ", size}));
    }
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, TellEachDeviceThatWasTried) {
    Surroundings noDriver;
    noDriver.environment["__EGL_VENDOR_LIBRARY_FILENAMES"] = "/nowhere.json";
    const Outcome outcome = render({mesh()}, noDriver);
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors.find("polypia: "), 0u);
    EXPECT_THAT(outcome.errors, HasSubstr("no OpenGL 4.5 context"));
    EXPECT_THAT(outcome.errors, HasSubstr("\n  default display: "));
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, TellThatADeviceIsNotThere) {
    const Outcome outcome = render({mesh(), "--device=999"});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("device 999"));
}

TEST_F(Failures, OfTheCameraAreThoseOfTheUser) {
    const struct {
        Words options;
        const char* expected;
    } cases[] = {
        {{"--camera-position=1,2,3", "--camera-focal-point=1,2,3"}, "--camera-position"},
        {{"--camera-position=0,0,0"}, "--camera-position"},
        {{"--camera-position=0,0,9", "--camera-view-up=0,0,1"}, "--camera-view-up"},
        {{"--camera-focal-point=0,0,1e90"}, "--camera-focal-point"},
    };
    for (const auto& each : cases) {
        Words arguments = each.options;
        // In the middle of its box.
        arguments.insert(arguments.begin(), mesh());
        EXPECT_THAT(render(arguments), Refuses(2, Words{each.expected}));
    }
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(Failures, NameAPipeInPlaceOfAFile) {
    const std::string pipe = _inputs.path("pipe");
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    expectRefused(pipe, {"regular file"});
}

TEST_F(Failures, AreNoneForAFileOnStandardInput) {
    Surroundings surroundings;
    surroundings.standardInput = mesh();
    const Outcome outcome = render({"/dev/stdin"}, surroundings);
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_THAT(_outputs.names(), ElementsAre("picture.png"));
}

} // namespace
