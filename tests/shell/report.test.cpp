#include "inputs.hpp"
#include "program.hpp"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <string>
#include <vector>

using namespace Shell::Test;
using nlohmann::json;
using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

/// What programs are told: one JSON object and nothing else.
class Reports : public Drawing {
protected:
    static json parse(const Outcome& outcome) {
        EXPECT_EQ(outcome.exitCode, 0);
        EXPECT_EQ(outcome.errors, "");
        EXPECT_EQ(std::count(outcome.output.begin(), outcome.output.end(), '\n'), 1);
        return json::parse(outcome.output);
    }
    json reportOf(Words arguments) const {
        arguments.insert(arguments.end(), {"--report=json", "--resolution=64,48"});
        return parse(render(arguments));
    }
    static std::vector<std::string> namesIn(const json& list) {
        std::vector<std::string> names;
        for (const json& each : list) names.push_back(each["name"]);
        return names;
    }
};

TEST_F(Reports, TellWhatIsInAFileToTheLastDigit) {
    const Model content{{{1.0 / 3.0, -1e-300, 5}, {4e9 + 0.1, 2, -3}, {1, 1, 1}}, {{0, 1, 2}}};
    const std::string file = input("mesh.ply", content.ply());
    const json report = reportOf({file});
    EXPECT_EQ(report["command"], "render");
    const json expectedBounds{{"min", {1.0 / 3.0, -1e-300, -3.0}}, {"max", {4e9 + 0.1, 2.0, 5.0}}};
    EXPECT_EQ(report["bounds"], expectedBounds);
    ASSERT_EQ(report["files"].size(), 1u);
    const json expectedFile{{"file", file},
                            {"kind", "mesh"},
                            {"points", 3},
                            {"triangles", 1},
                            {"bounds", expectedBounds}};
    EXPECT_EQ(report["files"][0], expectedFile);
}

TEST_F(Reports, TellOfAllKinds) {
    const std::string river = _inputs.path("river.nc");
    writeRiver(river, {{10, 0}, {20, 0}, {30, 10}});
    const json lines = reportOf({river})["files"][0];
    EXPECT_EQ(lines["kind"], "lines");
    EXPECT_EQ(lines["lines"], 1);
    EXPECT_EQ(lines["points"], 3);
    EXPECT_EQ(lines["lineSegments"], 2);
    // The middle one is on the equator.
    EXPECT_GT(lines["bounds"]["max"][2], 1e6);

    const json cloud = reportOf({input("cloud.ply", spiral().ply())})["files"][0];
    EXPECT_EQ(cloud["kind"], "points");
    EXPECT_EQ(cloud["points"], 400);
    EXPECT_FALSE(cloud.contains("triangles"));
}

TEST_F(Reports, SpanTheBoundsOfAllFiles) {
    const json report = reportOf({input("a.ply", triangle({9, 9, 9}).ply()),
                                  input("b.ply", triangle({9, 9, 9}).movedBy({5, 6, 7}).ply())});
    EXPECT_EQ(report["bounds"], (json{{"min", {-1.0, -1.0, 0.0}}, {"max", {6.0, 7.0, 7.0}}}));
}

TEST_F(Reports, TellWhichObjectsWereDrawnAndHowLongItTook) {
    const std::string seen = input("seen.ply", triangle({9, 9, 9}).ply());
    const std::string behind = input("behind.ply", triangle({9, 9, 9}).movedBy({0, 0, 100}).ply());
    const json report =
        reportOf({seen, behind, "--camera-position=0,0,9", "--camera-focal-point=0,0,0"});
    ASSERT_EQ(report["objects"].size(), 2u);
    EXPECT_EQ(report["objects"][0]["name"], "seen");
    EXPECT_EQ(report["objects"][0]["file"], seen);
    EXPECT_EQ(report["objects"][0]["drawn"], true);
    EXPECT_GT(report["objects"][0]["seconds"], 0.0);
    EXPECT_EQ(report["objects"][1]["name"], "behind");
    EXPECT_EQ(report["objects"][1]["drawn"], false);
    EXPECT_EQ(report["objects"][1]["seconds"], 0.0);
    EXPECT_EQ(report["frame"]["drawn"], 1);
    EXPECT_EQ(report["frame"]["culled"], 1);
    EXPECT_GE(report["frame"]["seconds"], report["objects"][0]["seconds"]);
    EXPECT_THAT(report["device"].get<std::string>(), HasSubstr("OpenGL 4."));
    EXPECT_THAT(namesIn(report["stages"]),
                ElementsAre("read", "convert", "context", "draw", "read back", "encode"));
    double sum = 0;
    for (const json& stage : report["stages"]) sum += stage["seconds"].get<double>();
    EXPECT_GE(report["seconds"], sum);
}

TEST_F(Reports, TellTheFilesThatWereWrittenAndTheirSizes) {
    const std::string file = input("mesh.ply", triangle({9, 9, 9}).ply());
    const auto output = [&](const std::string& name, int width) {
        return json{{"file", _outputs.path(name)}, {"widthPixels", width}, {"heightPixels", 48}};
    };
    EXPECT_EQ(reportOf({file})["outputs"], json::array({output("picture.png", 64)}));
    EXPECT_EQ(reportOf({file, "--stereo=side-by-side"})["outputs"],
              json::array({output("picture.png", 128)}));
    EXPECT_EQ(reportOf({file, "--stereo=separate"})["outputs"],
              json::array({output("picture-left.png", 64), output("picture-right.png", 64)}));
}

TEST_F(Reports, TellTheEyes) {
    const std::string file = input("mesh.ply", triangle({9, 9, 9}).scaledBy(1e12).ply());
    const Words camera{file, "--camera-position=0,0,4e12", "--camera-focal-point=0,0,1e12"};
    const json one = reportOf(camera);
    EXPECT_TRUE(one["stereo"].is_null());
    EXPECT_EQ(one["camera"]["position"], (json{0.0, 0.0, 4e12}));
    EXPECT_EQ(one["camera"]["focalPoint"], (json{0.0, 0.0, 1e12}));
    EXPECT_EQ(one["camera"]["viewAngleDegrees"], 30.0);
    Words stereo = camera;
    stereo.emplace_back("--stereo=anaglyph");
    EXPECT_EQ(reportOf(stereo)["stereo"], (json{{"layout", "anaglyph"},
                                                {"eyeSeparation", 0.03},
                                                {"convergence", 3e12},
                                                {"toeIn", false}}));
}

TEST_F(Reports, DrawThePictureAgainFromTheirCamera) {
    const std::string file = input("torus.ply", torus().ply());
    const json camera = reportOf({file})["camera"];
    const std::string before = contentOf(picture());
    const auto option = [](const std::string& name, const json& triple) {
        return name + "=" + triple[0].dump() + "," + triple[1].dump() + "," + triple[2].dump();
    };
    reportOf({file, option("--camera-position", camera["position"]),
              option("--camera-focal-point", camera["focalPoint"]),
              option("--camera-view-up", camera["viewUp"])});
    EXPECT_EQ(contentOf(picture()), before);
}

TEST_F(Reports, AreJsonForAnyName) {
    const std::string content = triangle({9, 9, 9}).ply();
    const json report = reportOf({input("qu\"ote\n\xff.ply", content)});
    EXPECT_EQ(report["objects"][0]["name"], "qu\"ote\n\xEF\xBF\xBD");
}

TEST_F(Reports, OfPicksTellTheRectangleAndWhatIsInIt) {
    const std::string file = input("mesh.ply", triangle({9, 9, 9}).ply());
    const json report =
        parse(run({"pick", file, "10", "20", "30", "5", "--resolution=64,48", "--report=json"}));
    EXPECT_EQ(report["command"], "pick");
    EXPECT_EQ(report["picture"], (json{{"widthPixels", 64}, {"heightPixels", 48}}));
    EXPECT_EQ(report["rectangle"], (json{{"x", 10}, {"y", 20}, {"width", 30}, {"height", 5}}));
    ASSERT_EQ(report["objects"].size(), 1u);
    EXPECT_EQ(report["objects"][0]["name"], "mesh");
    EXPECT_EQ(report["objects"][0]["file"], file);
    EXPECT_GT(report["objects"][0]["pixels"], 0);
    EXPECT_THAT(namesIn(report["stages"]), Contains("pick"));

    const json nothing =
        parse(run({"pick", file, "0", "0", "--resolution=64,48", "--report=json"}));
    EXPECT_EQ(nothing["objects"], json::array());
    EXPECT_EQ(nothing["rectangle"], (json{{"x", 0}, {"y", 0}, {"width", 1}, {"height", 1}}));
}

TEST_F(Reports, AreNotGivenOfAFailure) {
    const std::string missing = _inputs.path("missing.ply");
    EXPECT_THAT(render({missing, "--report=json"}), Refuses(1, Words{missing}));
}

} // namespace
