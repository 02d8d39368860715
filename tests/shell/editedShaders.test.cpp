#include "image.hpp"
#include "inputs.hpp"
#include "program.hpp"

#include <algorithm>
#include <csignal>
#include <filesystem>
#include <memory>

#include <sys/stat.h>
#include <unistd.h>

using namespace Shell::Test;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::Not;
namespace fs = std::filesystem;

namespace {

constexpr Pixel green{0, 255, 0, 255};
constexpr Pixel blue{0, 0, 255, 255};

constexpr const char* surfaceFragment = "polypia-surface.frag";

/// A fragment stage with one colour; line 3 has it.
std::string plainly(const std::string& color) {
    return "out vec4 color;\nvoid main() {\n    color = " + color + ";\n}\n";
}
/// Which surfaces need beside that.
const std::string lightFunction = "vec3 LightFunction(in LightAtVertex LightSource, in vec3 "
                                  "Vertex) { return vec3(0.0); }\n";

std::string painting(const std::string& color) {
    return plainly(color) + lightFunction;
}

const std::string inGreen = painting("vec4(0.0, 1.0, 0.0, 1.0)");
const std::string inBlue = painting("vec4(0.0, 0.0, 1.0, 1.0)");
const std::string faulty = painting("vec4(oops)");

std::size_t countOf(const std::string& word, const std::string& text) {
    std::size_t count = 0;
    for (std::size_t at = text.find(word); at != std::string::npos; at = text.find(word, at + 1)) {
        ++count;
    }
    return count;
}

/// Shaders that lie in a folder of their own.
class EditedShaders : public Drawing {
protected:
    std::string mesh() const { return input("mesh.ply", triangle({255, 128, 0}).ply()); }
    std::string cloud() const {
        Model points = triangle({255, 255, 255});
        points.triangles.clear();
        return input("cloud.ply", points.ply());
    }
    Words arguments(const std::vector<std::string>& files, const Words& more = {}) const {
        Words words = files;
        words.insert(words.end(), {"--edit-shaders=" + _shaders.path(), "--resolution=64,64",
                                   "--background-color=#ff00ff", "--camera-position=0,0,4",
                                   "--camera-focal-point=0,0,0"});
        words.insert(words.end(), more.begin(), more.end());
        return words;
    }
    Outcome draw(const std::vector<std::string>& files, const Words& more = {}) const {
        return render(arguments(files, more));
    }
    std::string shader(const std::string& name) const { return contentOf(_shaders.path(name)); }
    Pixel middle() const { return Image::read(picture()).at(32, 32); }

    TemporaryFolder _shaders;
};

TEST_F(EditedShaders, AreWrittenWhereTheyAreMissing) {
    const Outcome outcome = draw({mesh()});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_EQ(outcome.errors, "NOTE: Writing shader to " + _shaders.path("polypia-surface.vert") +
                                  "\nNOTE: Writing shader to " + _shaders.path(surfaceFragment) +
                                  "\n");
    EXPECT_THAT(_shaders.names(), ElementsAre("polypia-surface.frag", "polypia-surface.vert"));
    EXPECT_THAT(shader(surfaceFragment), HasSubstr("seenNormal"));
    EXPECT_THAT(shader("polypia-surface.vert"), HasSubstr("gl_Position"));
    const std::string written = contentOf(picture());

    const std::string before = shader(surfaceFragment);
    const Outcome second = draw({mesh()});
    EXPECT_EQ(second.exitCode, 0);
    EXPECT_EQ(second.errors, "");
    EXPECT_EQ(contentOf(picture()), written);
    EXPECT_EQ(shader(surfaceFragment), before);

    Words builtIn = arguments({mesh()});
    std::erase_if(builtIn, [](const std::string& word) { return word.starts_with("--edit"); });
    EXPECT_EQ(render(builtIn).errors, "");
    EXPECT_EQ(contentOf(picture()), written);
}

TEST_F(EditedShaders, AreThoseOfEachStageOfEachKindInThePicture) {
    const std::string river = _inputs.path("river.nc");
    writeRiver(river, {{20, 10}, {21, 10}});
    const Outcome outcome = render(
        {river, cloud(), cloud(), "--resolution=64,64", "--edit-shaders=" + _shaders.path() + "/"});
    EXPECT_EQ(outcome.exitCode, 0) << outcome.errors;
    EXPECT_THAT(_shaders.names(),
                ElementsAre("polypia-globe.frag", "polypia-globe.vert", "polypia-lines.frag",
                            "polypia-lines.geom", "polypia-lines.vert", "polypia-points.frag",
                            "polypia-points.vert"));
    for (const std::string& name : _shaders.names()) EXPECT_NE(shader(name), "") << name;
    EXPECT_EQ(countOf("NOTE: Writing shader to ", outcome.errors), 7U);
}

TEST_F(EditedShaders, ArePartOfThePictureAndStayAsTheyAre) {
    _shaders.write(surfaceFragment, inGreen);
    EXPECT_EQ(draw({mesh()}).exitCode, 0);
    EXPECT_EQ(middle(), green);
    EXPECT_EQ(shader(surfaceFragment), inGreen);
}

TEST_F(EditedShaders, ThatCannotBeReadAreAFailure) {
    const std::string path = _shaders.path(surfaceFragment);
    const auto expectFailure = [&](const std::string& reason) {
        const Outcome outcome = draw({mesh()});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.errors,
                  "polypia: --edit-shaders: expected a file that can be read, got '" + path +
                      "': " + reason + "\n");
        EXPECT_FALSE(fs::exists(picture()));
        fs::remove(path);
    };
    fs::create_directory(path);
    expectFailure("Is a directory");
    fs::create_symlink("nowhere", path);
    expectFailure("No such file or directory");
    ASSERT_EQ(::mkfifo(path.c_str(), 0600), 0);
    expectFailure("not a regular file");
    if (::geteuid() == 0) return; // who may read anything
    _shaders.write(surfaceFragment, inGreen);
    fs::permissions(path, fs::perms::none);
    expectFailure("Permission denied");
}

TEST_F(EditedShaders, AreNotUsedWithoutTheirFolder) {
    _shaders.write(surfaceFragment, inGreen);
    EXPECT_EQ(render({mesh(), "--resolution=64,64"}).exitCode, 0);
    EXPECT_NE(middle(), green);
    EXPECT_THAT(_shaders.names(), ElementsAre(surfaceFragment));
}

TEST_F(EditedShaders, OfWholeStagesAreWrittenOnlyIfThereIsAnEmptyFile) {
    const std::string river = _inputs.path("river.nc");
    writeRiver(river, {{20, 10}, {21, 10}});
    _shaders.write("polypia-lines.geom.glsl", "");
    EXPECT_EQ(render({river, "--edit-shaders=" + _shaders.path()}).exitCode, 0);
    EXPECT_THAT(shader("polypia-lines.geom.glsl"), HasSubstr("#version 330"));
    EXPECT_FALSE(fs::exists(_shaders.path("polypia-lines.vert.glsl")));
}

TEST_F(EditedShaders, ThatAreFaultyAreNamedWithTheLineAndGiveNoPicture) {
    const std::string file = _shaders.write(surfaceFragment, faulty);
    _shaders.write("polypia-surface.vert", "");
    for (const char* option : {"--samples=1", "--report=json", "--verbose"}) {
        const Outcome outcome = draw({mesh()}, {option});
        EXPECT_EQ(outcome.exitCode, 1);
        EXPECT_EQ(outcome.output, "");
        EXPECT_THAT(outcome.errors,
                    HasSubstr("polypia: cannot draw mesh: the shaders are faulty\n" + file +
                              "(3) : error: "));
        EXPECT_THAT(outcome.errors, HasSubstr("oops"));
        // Neither the whole text nor anything else.
        EXPECT_THAT(outcome.errors, Not(HasSubstr("void main")));
        EXPECT_THAT(outcome.errors, Not(HasSubstr("VRenderObject")));
        EXPECT_THAT(_outputs.names(), IsEmpty());
    }
}

TEST_F(EditedShaders, ThatDoNotFitTogetherAreFaulty) {
    _shaders.write(surfaceFragment, "in Surface { vec2 otherName; } surface;\nout vec4 color;\n"
                                    "void main() { color = surface.otherName.xyxy; }\n" +
                                        lightFunction);
    const Outcome outcome = draw({mesh()});
    EXPECT_EQ(outcome.exitCode, 1);
    EXPECT_THAT(outcome.errors, HasSubstr("cannot draw mesh: the shaders are faulty\n"));
    EXPECT_THAT(outcome.errors, HasSubstr("Surface"));
    EXPECT_THAT(_outputs.names(), IsEmpty());
}

TEST_F(EditedShaders, TellOfIncludedFilesThatAreMissing) {
    _shaders.write(surfaceFragment, "#include \"no-such.glsl\" \n" + inGreen);
    const Outcome outcome = draw({mesh()});
    EXPECT_EQ(outcome.exitCode, 0);
    EXPECT_EQ(outcome.output, "");
    EXPECT_THAT(outcome.errors, HasSubstr("include file 'no-such.glsl' not found"));
}

TEST_F(EditedShaders, MayLieInAFolderWithABlank) {
    const std::string folder = _shaders.path("my shaders");
    fs::create_directory(folder);
    _shaders.write("my shaders/polypia-surface.frag", faulty);
    const Outcome outcome = render({mesh(), "--edit-shaders=" + folder});
    EXPECT_THAT(outcome.errors, HasSubstr("\n" + folder + "/polypia-surface.frag(3) : error"));
}

// --- Pictures that follow ----------------------------------------------------------------------

class WatchedShaders : public EditedShaders {
protected:
    void start(const std::vector<std::string>& files, const Surroundings& surroundings = {},
               const Words& more = {}) {
        Words words = arguments(files, {"--watch", "-o", picture()});
        words.insert(words.begin(), "render");
        words.insert(words.end(), more.begin(), more.end());
        process = std::make_unique<Process>(words, surroundings);
    }
    /// As editors do that write a file in its place. Its time is later than before.
    void save(const std::string& name, const std::string& text) const {
        const fs::path path = _shaders.path(name), probe = _inputs.path("probe");
        do {
            _inputs.write("probe", "");
        } while (fs::exists(path) && last_write_time(probe) <= last_write_time(path));
        _shaders.write(name, text);
    }
    bool waitForPictures(std::size_t number) const {
        return process->waitFor(
            [&] { return countOf("wrote " + picture() + "\n", process->output()) >= number; });
    }
    bool waitForWords(const std::string& words) const {
        return process->waitFor([&] { return countOf(words, process->errors()) > 0; });
    }
    void expectEnd() const {
        process->send(SIGTERM);
        EXPECT_EQ(process->outcome().exitCode, 0);
        EXPECT_THAT(_outputs.names(), testing::Each("picture.png"));
    }

    std::unique_ptr<Process> process;
};

TEST_F(WatchedShaders, AreInTheNextPictureWhenSaved) {
    start({mesh()});
    ASSERT_TRUE(waitForPictures(1));
    EXPECT_NE(middle(), green);
    save(surfaceFragment, inGreen);
    ASSERT_TRUE(waitForPictures(2));
    EXPECT_EQ(middle(), green);
    save(surfaceFragment, inBlue);
    ASSERT_TRUE(waitForPictures(3));
    EXPECT_EQ(middle(), blue);
    expectEnd();
    EXPECT_EQ(process->output(),
              "wrote " + picture() + "\nwrote " + picture() + "\nwrote " + picture() + "\n");
    EXPECT_EQ(countOf("polypia: ", process->errors()), 0U);
}

TEST_F(WatchedShaders, ThatAreReplacedAreInTheNextPicture) {
    _shaders.write(surfaceFragment, inGreen);
    start({mesh()});
    ASSERT_TRUE(waitForPictures(1));
    // As editors do that write a new file.
    save("new", inBlue);
    fs::rename(_shaders.path("new"), _shaders.path(surfaceFragment));
    ASSERT_TRUE(waitForPictures(2));
    EXPECT_EQ(middle(), blue);
    expectEnd();
}

TEST_F(WatchedShaders, ThatAreFaultyLeaveThePictureAndAreToldOnce) {
    _shaders.write(surfaceFragment, inGreen);
    start({mesh()});
    ASSERT_TRUE(waitForPictures(1));
    const std::string before = contentOf(picture());
    save(surfaceFragment, faulty);
    const std::string report = "polypia: still drawing mesh as before: the shaders are faulty\n" +
                               _shaders.path(surfaceFragment) + "(3) : error: ";
    ASSERT_TRUE(waitForWords(report));
    EXPECT_EQ(contentOf(picture()), before);
    save(surfaceFragment, painting("vec4(alas)"));
    ASSERT_TRUE(waitForWords("alas"));
    save(surfaceFragment, inBlue);
    const std::string end = "polypia: drawing mesh anew: the shaders are good again\n";
    ASSERT_TRUE(waitForWords(end));
    ASSERT_TRUE(waitForPictures(2));
    EXPECT_EQ(middle(), blue);
    expectEnd();
    // Each fault once, and no picture for either.
    EXPECT_EQ(countOf(report, process->errors()), 2U);
    EXPECT_EQ(countOf("oops", process->errors()), 1U);
    EXPECT_EQ(countOf("alas", process->errors()), 1U);
    EXPECT_EQ(countOf(end, process->errors()), 1U);
    EXPECT_EQ(countOf("wrote ", process->output()), 2U);
    EXPECT_EQ(countOf("VRenderObject", process->output() + process->errors()), 0U);
}

TEST_F(WatchedShaders, ThatAreFaultyFromTheBeginningAreWaitedFor) {
    _shaders.write(surfaceFragment, faulty);
    start({mesh()});
    ASSERT_TRUE(waitForWords("polypia: cannot draw mesh: the shaders are faulty\n" +
                             _shaders.path(surfaceFragment) + "(3) : error: "));
    EXPECT_THAT(_outputs.names(), IsEmpty());
    save(surfaceFragment, inGreen);
    ASSERT_TRUE(waitForPictures(1));
    EXPECT_EQ(middle(), green);
    expectEnd();
    EXPECT_EQ(countOf("the shaders are faulty", process->errors()), 1U);
    EXPECT_EQ(countOf("drawing mesh anew", process->errors()), 1U);
}

TEST_F(WatchedShaders, OfOneKindDoNotStopThoseOfAnother) {
    _shaders.write(surfaceFragment, inGreen);
    // Three squares at the corners of the triangle.
    _shaders.write("polypia-points.frag", plainly("vec4(0.0, 1.0, 0.0, 1.0)"));
    start({mesh(), cloud()}, {}, {"--point-size=5"});
    ASSERT_TRUE(waitForPictures(1));
    save("polypia-points.frag", plainly("vec4(oops)"));
    ASSERT_TRUE(waitForWords("still drawing cloud as before"));
    save(surfaceFragment, inBlue);
    ASSERT_TRUE(waitForPictures(2));
    const Image image = Image::read(picture());
    EXPECT_EQ(image.at(32, 32), blue);
    EXPECT_NE(std::find(image.pixels.begin(), image.pixels.end(), green), image.pixels.end());
    expectEnd();
    EXPECT_EQ(countOf("the shaders are faulty", process->errors()), 1U);
}

TEST_F(WatchedShaders, OfSeveralObjectsAreToldOnce) {
    _shaders.write(surfaceFragment, faulty);
    start({mesh(), input("other.ply", triangle({0, 0, 0}).movedBy({0.5, 0, 0}).ply())});
    ASSERT_TRUE(waitForWords("polypia: cannot draw mesh, other: the shaders are faulty\n"));
    save(surfaceFragment, inGreen);
    ASSERT_TRUE(waitForWords("polypia: drawing mesh, other anew: "));
    expectEnd();
    EXPECT_EQ(countOf("oops", process->errors()), 1U);
}

TEST_F(WatchedShaders, FollowTheFilesThatTheyInclude) {
    TemporaryFolder includes;
    Surroundings surroundings;
    surroundings.environment["ZELK_ROOT"] = includes.path();
    includes.write("shade.glsl", "const vec4 shade = vec4(0.0, 1.0, 0.0, 1.0);\n");
    _shaders.write(surfaceFragment, "#include <shade.glsl> \n" + painting("shade"));
    start({mesh()}, surroundings);
    ASSERT_TRUE(waitForPictures(1));
    EXPECT_EQ(middle(), green);
    save("new", "const vec4 shade = vec4(0.0, 0.0, 1.0, 1.0);\n");
    fs::rename(_shaders.path("new"), includes.path("shade.glsl"));
    ASSERT_TRUE(waitForPictures(2));
    EXPECT_EQ(middle(), blue);
    expectEnd();
}

TEST_F(WatchedShaders, ThatAreEmptiedAreWrittenAgain) {
    _shaders.write(surfaceFragment, inGreen);
    start({mesh()});
    ASSERT_TRUE(waitForPictures(1));
    save(surfaceFragment, "");
    ASSERT_TRUE(waitForPictures(2));
    EXPECT_NE(middle(), green);
    EXPECT_THAT(shader(surfaceFragment), HasSubstr("seenNormal"));
    expectEnd();
}

TEST_F(WatchedShaders, ThatAreSlowMakeNoCoarserPictures) {
    start({input("torus.ply", torus().scaledBy(0.25).ply())});
    ASSERT_TRUE(waitForPictures(1));
    // Far longer than frames may take before objects draw less of themselves.
    std::string slow = shader("polypia-surface.vert");
    const std::string place = "zelk_transform_vertex_EyeToScreen(inEyeSpace)";
    ASSERT_EQ(countOf(place, slow), 1U);
    slow.replace(slow.find(place), place.size(),
                 "zelk_transform_vertex_EyeToScreen(inEyeSpace + vec4(1e-9 * x))");
    std::string loop = "float x = Coordinates.x;\n    for (int i = 0; i < 30000; ++i) {\n";
    for (int i = 0; i < 12; ++i) loop += "        x = sin(1.7 * x) + cos(2.3 * x);\n";
    slow.insert(slow.find("zelk_setViewID()"), loop + "    }\n    ");
    std::string first;
    for (std::size_t i = 2; i < 5; ++i) {
        slow += "\n";
        save("polypia-surface.vert", slow);
        ASSERT_TRUE(waitForPictures(i));
        if (first.empty()) first = contentOf(picture());
        EXPECT_TRUE(contentOf(picture()) == first) << i;
    }
    expectEnd();
}

TEST_F(WatchedShaders, AreFollowedUntilASignalAlsoForTwoEyes) {
    for (const int signal : {SIGINT, SIGTERM}) {
        start({mesh()}, {}, {"--stereo=side-by-side", "--verbose"});
        ASSERT_TRUE(waitForPictures(1));
        EXPECT_EQ(Image::read(picture()).widthPixels, 128);
        ASSERT_TRUE(process->waitFor([&] { return countOf("total ", process->output()) > 0; }));
        EXPECT_TRUE(process->isRunning());
        process->send(signal);
        EXPECT_EQ(process->outcome().exitCode, 0) << signal;
        EXPECT_THAT(_outputs.names(), ElementsAre("picture.png"));
    }
}

} // namespace
