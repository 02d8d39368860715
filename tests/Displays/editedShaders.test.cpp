// Shaders of display objects that are edited while they are drawn.

#include "displayPictures.hpp"

#include <gmock/gmock.h>

#include <algorithm>
#include <chrono>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>

using namespace Pictures;

namespace {

class EditedShaders : public DisplayPictures {
protected:
    void SetUp() override {
        DisplayPictures::SetUp();
        if (!glContext) return;
        std::string pattern = std::filesystem::temp_directory_path() / "shadersXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        context->ShaderFileOverrides = true;
        object = add<TriangleSurface>(triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
        object->setShaderFolder(folder);
    }
    void TearDown() override {
        object = {};
        DisplayPictures::TearDown();
        std::filesystem::remove_all(folder);
    }

    std::string nameOf(const std::string& suffix) const {
        const auto& display = dynamic_cast<const DisplayObject&>(*objects.front());
        return folder + "/" + display.shaderStem() + suffix;
    }
    /// With a time that differs from those of all files before.
    void save(const std::string& suffix, const std::string& text) {
        std::ofstream(nameOf(suffix)) << text;
        _age += std::chrono::seconds(2);
        std::filesystem::last_write_time(nameOf(suffix),
                                         std::filesystem::file_time_type::clock::now() + _age);
    }
    std::string contentOf(const std::string& suffix) const {
        std::ifstream file(nameOf(suffix));
        return {std::istreambuf_iterator<char>(file), {}};
    }
    /// What the fragment stage makes of the triangle.
    static std::string painting(const std::string& color) {
        return "out vec4 color;\nvoid main() { color = " + color +
               "; }\n"
               "vec3 LightFunction(in LightAtVertex LightSource, in vec3 Vertex)\n"
               "{ return vec3(0.0); }\n";
    }
    struct Frame {
        Image image;
        Pixel middle;
        std::string printed;
    };
    Frame frame() {
        testing::internal::CaptureStdout();
        context->setTargets({&picture()});
        picture().clear({1.0F, 0.0F, 1.0F, 1.0F});
        context->setEyes({eyeAt({0, 0, 2}, 1, 10)});
        VRequest request(context->pool);
        ObjectSelection selection;
        for (const RenderAblePtr& shown : objects) {
            request.process(*shown, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(shown));
        }
        double seconds = 0.0;
        result = context->renderObjects(selection, seconds, 0, 0);
        Image image = imageOf(picture());
        const Pixel middle = image.at(32, 32);
        return {std::move(image), middle, testing::internal::GetCapturedStdout()};
    }
    std::string report() const { return object->renderStatusSlot().value(context->pool).text; }

    std::string folder;
    Keel::StrongPtr<TriangleSurface, VManagedObjectBase> object;

private:
    const GLFramebuffer& picture() {
        if (targets.empty()) {
            targets.push_back(std::make_unique<GLFramebuffer>(*glContext, size, size, 1));
        }
        return *targets.front();
    }

    std::chrono::seconds _age{0};
};

TEST_F(EditedShaders, SavedFileIsInTheNextFrame) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    save(".frag", painting("vec4(0.0, 0.0, 1.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 0, 255}));
    EXPECT_EQ(frame().middle, (Pixel{0, 0, 255}));
    EXPECT_EQ(result, VRenderContext::RenderResult{GLRenderContext::Drew});
}

TEST_F(EditedShaders, EmptyFileIsFilledWithTheTextInUse) {
    save(".frag", "");
    const Pixel middle = frame().middle;
    EXPECT_THAT(contentOf(".frag"), testing::HasSubstr("seenNormal"));
    EXPECT_EQ(frame().middle, middle);
    EXPECT_FALSE(std::filesystem::exists(nameOf(".vert")));
}

TEST_F(EditedShaders, FileThatAnEditorHasJustEmptiedIsLeftToTheEditor) {
    const std::string saved = painting("vec4(0.0, 0.0, 1.0, 1.0)");
    /// Whether the editor was fast enough to be seen as one.
    const auto isLeftToEditor = [&](const std::function<void()>& meanwhile, const Pixel& before) {
        std::ofstream(nameOf(".frag")) << painting("vec4(0.0, 1.0, 0.0, 1.0)");
        EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
        const auto begin = std::chrono::steady_clock::now();
        std::ofstream editor(nameOf(".frag"));
        meanwhile();
        const Frame between = frame();
        if (std::chrono::steady_clock::now() - begin > std::chrono::milliseconds(450)) return false;
        EXPECT_EQ(between.middle, before);
        EXPECT_EQ(between.printed, "");
        editor << saved;
        editor.close();
        EXPECT_EQ(contentOf(".frag"), saved);
        EXPECT_EQ(frame().middle, (Pixel{0, 0, 255}));
        return true;
    };
    const auto expectLeftToEditor = [&](const std::function<void()>& meanwhile,
                                        const Pixel& before) {
        int attempts = 1;
        while (!isLeftToEditor(meanwhile, before) && attempts < 20) ++attempts;
        EXPECT_LT(attempts, 20) << "the machine is too slow to tell";
    };
    expectLeftToEditor([] {}, {0, 255, 0});
    expectLeftToEditor([&] { seagrass->lawn(); }, magenta);
    bool hasEdges = false; // with another program
    expectLeftToEditor([&] { object->edges().set({}, hasEdges = !hasEdges); }, {0, 255, 0});
    const auto hourAgo = [&] {
        std::filesystem::last_write_time(
            nameOf(".frag"), std::filesystem::file_time_type::clock::now() - std::chrono::hours(1));
    };
    // After that it is a request.
    std::ofstream(nameOf(".frag")).close();
    hourAgo();
    EXPECT_EQ(frame().middle, (Pixel{0, 0, 255})); // its time is no later one
    save(".frag", "");
    EXPECT_NE(frame().middle, (Pixel{0, 0, 255}));
    EXPECT_THAT(contentOf(".frag"), testing::HasSubstr("towardsEye"));
}

TEST_F(EditedShaders, FaultyFileKeepsTheLastProgramAndIsReportedOnce) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    save(".frag", painting("vec4(oops)"));
    const Frame faulty = frame();
    EXPECT_EQ(faulty.middle, (Pixel{0, 255, 0}));
    EXPECT_THAT(faulty.printed, testing::HasSubstr("oops"));
    EXPECT_THAT(report(), testing::HasSubstr("oops"));
    const std::string link = "<A HREF=\"" + nameOf(".frag") + ":2\">0(<FONT COLOR=red>2</FONT>) : ";
    EXPECT_THAT(report(), testing::HasSubstr(link));
    ASSERT_EQ(context->failures().size(), 1U);
    EXPECT_THAT(context->failures().front().shaderLog,
                testing::StartsWith("\n" + nameOf(".frag") + "(2) : error: "));
    EXPECT_EQ(result, VRenderContext::RenderResult{GLRenderContext::Failed});
    EXPECT_TRUE(object->isDrawnAsBefore());
    for (int i = 0; i < 3; ++i) {
        const Frame next = frame();
        EXPECT_TRUE(object->isDrawnAsBefore());
        // All is drawn that there is to be drawn.
        EXPECT_EQ(result, VRenderContext::RenderResult{GLRenderContext::Drew});
        EXPECT_EQ(next.middle, (Pixel{0, 255, 0}));
        EXPECT_EQ(next.printed, "");
        EXPECT_TRUE(context->failures().empty());
        EXPECT_THAT(report(), testing::HasSubstr("oops"));
    }
    save(".frag", painting("vec4(0.0, 0.0, 1.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 0, 255}));
    EXPECT_FALSE(object->isDrawnAsBefore());
    EXPECT_EQ(report(), "");
}

TEST_F(EditedShaders, FileThatIsFaultyFromTheFirstIsReportedOnce) {
    save(".frag", painting("vec4(oops)"));
    const Frame faulty = frame();
    EXPECT_EQ(faulty.middle, magenta);
    EXPECT_THAT(faulty.printed, testing::HasSubstr("oops"));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(frame().printed, "");
        EXPECT_TRUE(context->failures().empty());
        EXPECT_THAT(report(), testing::HasSubstr("oops"));
    }
    save(".frag", painting("vec4(0.0, 0.0, 1.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 0, 255}));
    EXPECT_EQ(report(), "");
}

TEST_F(EditedShaders, LastGoodProgramOutlivesEvictionWhileItsFileIsFaulty) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    save(".frag", painting("vec4(oops)"));
    frame();
    for (int i = 0; i < 2; ++i) {
        seagrass->lawn();
        EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    }
    save(".frag", painting("vec4(0.0, 0.0, 1.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 0, 255}));
    // It is worth no more than others then.
    EXPECT_EQ(seagrass->lawn(), 2);
}

TEST_F(EditedShaders, LastPictureOutlivesEvictionWhileAFileOfAnotherFormIsFaulty) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    save(".geom", "oops");
    object->edges().set({}, true);
    frame();
    seagrass->lawn();
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    object->edges().set({}, false);
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(seagrass->lawn(), 1); // it is worth no more than others now
}

TEST_F(EditedShaders, LastGoodProgramOutlivesDataThatBreakWhileItsFileIsFaulty) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    save(".frag", painting("vec4(oops)"));
    frame();
    object->surface().set({}, TriangleMesh());
    EXPECT_EQ(frame().middle, magenta);
    object->surface().set({}, triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
}

TEST_F(EditedShaders, LastGoodProgramOutlivesTwoFaultsWhileDataAreBroken) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    save(".frag", painting("vec4(oops)"));
    frame();
    object->surface().set({}, TriangleMesh());
    frame();
    save(".frag", painting("vec4(other)"));
    EXPECT_EQ(frame().middle, magenta);
    object->surface().set({}, triangle({0, 0, 0}, 1.0, {255, 128, 0, 255}));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    EXPECT_THAT(report(), testing::HasSubstr("other"));
}

TEST_F(EditedShaders, FaultyFileLetsOtherDataBeDrawnByTheLastProgram) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    save(".frag", painting("vec4(oops)"));
    frame();
    object->surface().set({}, triangle({1, 0, 0}, 0.5, {255, 128, 0, 255}));
    EXPECT_EQ(frame().middle, magenta);
    object->surface().set({}, triangle({0, 0, 0}, 0.5, {255, 128, 0, 255}));
    const Frame last = frame();
    EXPECT_EQ(last.middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(last.printed, "");
}

TEST_F(EditedShaders, FaultyFileOfAnotherFormLeavesThePictureAsItWas) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    save(".geom", "oops");
    object->edges().set({}, true);
    const Frame faulty = frame();
    EXPECT_EQ(faulty.middle, (Pixel{0, 255, 0}));
    EXPECT_THAT(faulty.printed, testing::HasSubstr("oops"));
    const Frame next = frame();
    EXPECT_EQ(next.middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(next.printed, "");
}

TEST_F(EditedShaders, IncludedFileThatWasMissingMendsTheReport) {
    ::setenv("ZELK_ROOT", folder.c_str(), 1);
    save(".frag", "#include <part>\r\n" + painting("part()"));
    EXPECT_THAT(frame().printed, testing::HasSubstr("include file 'part' not found"));
    EXPECT_THAT(report(), testing::HasSubstr("part"));
    std::ofstream(folder + "/part") << "vec4 part() { return vec4(0.0, 1.0, 0.0, 1.0); }\n";
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(report(), "");
    ::unsetenv("ZELK_ROOT");
}

TEST_F(EditedShaders, FolderWhoseNameShadersCannotHaveIsRefused) {
    for (const char* const name : {"sch\xc3\xb6n", "a\tb", "a*/b"}) {
        EXPECT_THROW(object->setShaderFolder(name), std::invalid_argument) << name;
    }
    object->setShaderFolder("");
}

TEST_F(EditedShaders, OneFaultAfterTheOtherIsReported) {
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    save(".frag", painting("vec4(oops)"));
    frame();
    save(".frag", painting("vec4(alas)"));
    EXPECT_THAT(frame().printed, testing::HasSubstr("alas"));
    EXPECT_THAT(report(), testing::HasSubstr("alas"));
    EXPECT_EQ(frame().printed, "");
}

TEST_F(EditedShaders, FaultyFromTheBeginningIsNotDrawnUntilItIsMended) {
    save(".frag", painting("vec4(oops)"));
    EXPECT_EQ(frame().middle, (Pixel{255, 0, 255}));
    EXPECT_EQ(result, VRenderContext::RenderResult{GLRenderContext::Failed});
    EXPECT_EQ(frame().middle, (Pixel{255, 0, 255}));
    EXPECT_EQ(result, VRenderContext::RenderResult{GLRenderContext::Incomplete});
    EXPECT_FALSE(object->isDrawnAsBefore());
    EXPECT_THAT(object->shaderFiles(), testing::Contains(testing::Key(nameOf(".frag"))));
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(report(), "");
}

TEST_F(EditedShaders, MissingFilesAreMadeAndFilledIfThatIsWanted) {
    object->setShaderFolder(folder, DisplayObject::MissingShaderFiles::Requested);
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    const std::string fragment = contentOf(".frag");
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(contentOf(".frag"), fragment);
    EXPECT_THAT(contentOf(".vert"), testing::HasSubstr("gl_Position"));
    // A stage that this form of the object does not have.
    EXPECT_FALSE(std::filesystem::exists(nameOf(".geom")));
    object->edges().set({}, true);
    frame();
    EXPECT_THAT(contentOf(".geom"), testing::HasSubstr("EmitVertex"));
}

TEST_F(EditedShaders, FilesAreToldWithTheTimesThatTheyHadWhenCompiled) {
    EXPECT_TRUE(object->shaderFiles().empty());
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    const Keel::Filetime first = Keel::FileInfo(nameOf(".frag")).modified;
    EXPECT_EQ(object->shaderFiles().at(nameOf(".frag")), first);
    EXPECT_EQ(object->shaderFiles().at(nameOf(".vert")), Keel::Filetime());
    save(".frag", painting("vec4(oops)"));
    EXPECT_EQ(object->shaderFiles().at(nameOf(".frag")), first);
    frame();
    EXPECT_GT(object->shaderFiles().at(nameOf(".frag")), first);
}

TEST_F(EditedShaders, FilesOfProgramsThatNobodyWantsAnyMoreAreNotToldWithTheirTimes) {
    const auto isOld = [&] {
        const auto times = object->shaderFiles();
        return std::any_of(times.begin(), times.end(), [](const auto& file) {
            return Keel::FileInfo(file.first).modified > file.second;
        });
    };
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    save(".geom", "oops");
    object->edges().set({}, true);
    frame();
    save(".frag", painting("vec4(0.0, 0.0, 1.0, 1.0)"));
    frame();
    EXPECT_FALSE(isOld()) << "the picture is still that of the first one";
    context->ShaderFileOverrides = false;
    frame();
    context->ShaderFileOverrides = true;
    object->edges().set({}, false);
    frame();
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    frame();
    EXPECT_FALSE(isOld()) << "without files none is looked at";
}

TEST_F(EditedShaders, FileOfTwoObjectsIsThatOfBoth) {
    objects.clear();
    // To the left and to the right of the middle.
    for (const double x : {-1.0, 1.0}) {
        const auto one = add<TriangleSurface>(triangle({x, 0, 0}, 0.5, {255, 128, 0, 255}));
        one->setShaderFolder(folder);
    }
    const auto bothIn = [](const Image& image, const Pixel& color) {
        return image.at(16, 30) == color && image.at(48, 30) == color;
    };
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    EXPECT_TRUE(bothIn(frame().image, {0, 255, 0}));
    save(".frag", painting("vec4(oops)"));
    EXPECT_TRUE(bothIn(frame().image, {0, 255, 0}));
    EXPECT_EQ(context->failures().size(), 2U); // each has its report
    EXPECT_EQ(frame().printed, "");
    EXPECT_TRUE(context->failures().empty());
    save(".frag", painting("vec4(0.0, 0.0, 1.0, 1.0)"));
    EXPECT_TRUE(bothIn(frame().image, {0, 0, 255}));
}

/// A level line of 4 pixels across the picture.
class EditedLines : public EditedShaders {
protected:
    void SetUp() override {
        EditedShaders::SetUp();
        if (!glContext) return;
        objects.clear();
        const auto lines = add<LineSet>(flatLine({-4, 0, 0}, {4, 0, 0}), false);
        lines->lineWidth().set(context->pool, 4.0);
        lines->setShaderFolder(folder);
    }
    /// Has a file filled, and saves it with another text in place of one.
    void replace(const std::string& suffix, const std::string& text, const std::string& other) {
        save(suffix, "");
        frame();
        std::string content = contentOf(suffix);
        const std::size_t place = content.find(text);
        ASSERT_NE(place, std::string::npos) << content;
        save(suffix, content.replace(place, text.size(), other));
    }
};

TEST_F(EditedLines, GeometryFileTakesPart) {
    EXPECT_EQ(frame().image.drawnPixels(), 4 * size);
    replace(".geom", "vec2 halfWidth = LineWidth", "vec2 halfWidth = 3.0 * LineWidth");
    EXPECT_EQ(frame().image.drawnPixels(), 12 * size);
    save(".geom", "oops");
    const Frame faulty = frame();
    EXPECT_EQ(faulty.image.drawnPixels(), 12 * size);
    EXPECT_THAT(faulty.printed, testing::HasSubstr("polypia-lines.geom"));
    EXPECT_EQ(frame().printed, "");
    save(".geom", "//disable\n");
    EXPECT_EQ(frame().image.drawnPixels(), 4 * size);
}

TEST_F(EditedLines, FaultyFileOfAWholeStageIsMendedByTheNextSave) {
    EXPECT_EQ(frame().image.drawnPixels(), 4 * size);
    save(".frag.glsl", "oops");
    const Frame faulty = frame();
    EXPECT_EQ(faulty.image.drawnPixels(), 4 * size);
    EXPECT_THAT(faulty.printed, testing::HasSubstr("polypia-lines.frag.glsl"));
    EXPECT_EQ(frame().printed, "");
    save(".frag.glsl",
         "#version 330\nout vec4 color;\nvoid main() { color = vec4(0.0, 1.0, 0.0, 1.0); }\n");
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
}

TEST_F(EditedLines, FilesOfWholeStagesTakePart) {
    replace(".geom.glsl", "vec2 halfWidth = LineWidth", "vec2 halfWidth = 3.0 * LineWidth");
    EXPECT_EQ(frame().image.drawnPixels(), 12 * size);
    replace(".frag.glsl", "color = vec4(LevelColors", "color = vec4(0.0, 1.0, 0.0, 1.0); //");
    EXPECT_EQ(frame().middle, (Pixel{0, 255, 0}));
    replace(".vert.glsl", "cut(Coordinates);",
            "cut(Coordinates); gl_Position.y += 0.5 * gl_Position.w;");
    const Frame moved = frame();
    EXPECT_EQ(moved.middle, magenta);
    EXPECT_EQ(moved.image.at(32, 48), (Pixel{0, 255, 0}));
    EXPECT_EQ(moved.image.drawnPixels(), 12 * size);
}

TEST_F(EditedShaders, WithoutTheSwitchNoFileIsLookedAt) {
    context->ShaderFileOverrides = false;
    object->setShaderFolder(folder, DisplayObject::MissingShaderFiles::Requested);
    save(".frag", painting("vec4(0.0, 1.0, 0.0, 1.0)"));
    save(".vert", "");
    EXPECT_NE(frame().middle, (Pixel{0, 255, 0}));
    EXPECT_EQ(contentOf(".vert"), "");
}

} // namespace
