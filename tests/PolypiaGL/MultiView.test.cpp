// The text of LayeredMultiViews on the driver, in each of its ways.

#include <Polypia/LayeredMultiViews.hpp>

#include "glBasin.hpp"

#include <Polypia/multiViewRecord.hpp>
#include <PolypiaGL/glslAdapt.hpp>
#include <PolypiaGL/glslLog.hpp>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <utility>

using namespace Mirk;
using namespace Mirk::GLTest;
using GL::Stage;
using testing::ElementsAre;
using testing::HasSubstr;

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using Variables = LayeredMultiViews::ProgramVariables;
using Pixels = std::vector<std::array<int, 2>>;

/// As the head of a stage stands before it.
std::string head(const std::string& version, const char* stage) {
    return "#version " + version +
           "\n#if (__VERSION__  <= 140)\n"
           "#extension GL_ARB_gpu_shader5 : require\n"
           "#extension GL_ARB_uniform_buffer_object : require\n"
           "#endif\n#define " +
           stage + "_SHADER 1\n";
}

constexpr const char* mainOfVertex = "in vec3 Coordinates;\n"
                                     "void main() {\n"
                                     "    zelk_setViewID();\n"
                                     "    gl_Position = zelk_ftransform(vec4(Coordinates, 1.0));\n"
                                     "}\n";
constexpr const char* mainOfGeometry =
    "layout(points) in;\nlayout(points, max_vertices = 1) out;\n"
    "void main() { gl_Position = gl_in[0].gl_Position; EmitVertex(); EndPrimitive(); }\n";
/// Red tells the view.
constexpr const char* mainOfFragment =
    "out vec4 color;\n"
    "void main() { color = vec4(1.0 - 0.4 * float(zelk_getViewID()), 1.0, 0.0, 1.0); }\n";

/// A member of a record: its name in the block, its bytes and its type.
struct Member {
    std::string name;
    std::size_t offset;
    std::string type;
    std::size_t floats;
};

std::vector<Member> members() {
    using Record = MultiViewRecord;
    using Camera = Record::CameraProperties;
    constexpr std::size_t camera = offsetof(Record, CameraSettings);
    constexpr std::size_t viewport = offsetof(Record, theViewport);
    std::vector<Member> all{
        {"ProjectionMatrix", offsetof(Record, ProjectionMatrix), "mat4", 16},
        {"UntranslatedModelViewMatrix", offsetof(Record, UntranslatedModelViewMatrix), "mat4", 16},
        {"FullModelViewMatrix", offsetof(Record, FullModelViewMatrix), "mat4", 16},
        {"PixelCalibrationMatrix", offsetof(Record, PixelCalibrationMatrix), "mat4", 16},
        {"inv_ProjectionMatrix", offsetof(Record, inv_ProjectionMatrix), "mat4", 16},
        {"inv_UntranslatedModelViewMatrix", offsetof(Record, inv_UntranslatedModelViewMatrix),
         "mat4", 16},
        {"inv_FullModelViewMatrix", offsetof(Record, inv_FullModelViewMatrix), "mat4", 16},
        {"Translation", offsetof(Record, Translation), "vec4", 4},
        {"Unused", offsetof(Record, Unused), "vec4", 4},
        {"CameraSettings.Observer", camera + offsetof(Camera, Observer), "vec4", 4},
        {"CameraSettings.LookAt", camera + offsetof(Camera, LookAt), "vec4", 4},
        {"CameraSettings.Up", camera + offsetof(Camera, Up), "vec4", 4},
        {"CameraSettings.ViewAngle", camera + offsetof(Camera, ViewAngle), "float", 1},
        {"CameraSettings.Unused1", camera + offsetof(Camera, Unused1), "float", 1},
        {"CameraSettings.Unused2", camera + offsetof(Camera, Unused2), "float", 1},
        {"CameraSettings.Unused3", camera + offsetof(Camera, Unused3), "float", 1},
        {"theViewport.LeftBottom", viewport + offsetof(Record::Viewport, LeftBottom), "vec2", 2},
        {"theViewport.RightTop", viewport + offsetof(Record::Viewport, RightTop), "vec2", 2},
    };
    std::size_t corner = offsetof(Record, theFrustum);
    for (const char* const name : {"ntl", "ntr", "nbl", "nbr", "ftl", "ftr", "fbl", "fbr"}) {
        all.push_back({std::string("theFrustum.") + name, corner, "vec4", 4});
        corner += sizeof(MultiViewRecord::vec4);
    }
    return all;
}

GLint resource(GLuint program, GLenum interface, GLuint index, GLenum property) {
    GLint value = -1;
    glGetProgramResourceiv(program, interface, index, 1, &property, 1, nullptr, &value);
    return value;
}

GLenum shaderType(Stage stage) {
    if (stage == Stage::Vertex) return GL_VERTEX_SHADER;
    return stage == Stage::Geometry ? GL_GEOMETRY_SHADER : GL_FRAGMENT_SHADER;
}

class MultiView : public BasinTestInProfile {
protected:
    void SetUp() override {
        BasinTestInProfile::SetUp();
        if (!context) return;
        adaptation.profile = GetParam();
        adaptation.extensions = context->extensions();
        views.setNumberOfEyes(2);
    }
    void TearDown() override {
        buffer = {};
        BasinTestInProfile::TearDown();
    }

    std::string vertex(const std::string& version) const {
        return head(version, "VERTEX") + views.defineMultiView(2, true, 0) + mainOfVertex;
    }
    std::string geometry(const std::string& version) const {
        return head(version, "GEOMETRY") + views.defineMultiView(2, true, 0) + mainOfGeometry;
    }
    std::string fragment(const std::string& version,
                         const std::string& main = mainOfFragment) const {
        return head(version, "FRAGMENT") + views.defineMultiView(2, false, 0) + main;
    }

    /// Compiles and links as the backend does; the log is empty if that succeeds.
    std::pair<GL::ProgramId, std::string> link(const std::vector<GL::StageText>& stages) const {
        const GL::AdaptedProgram adapted = GL::adaptProgram(stages, adaptation);
        GL::ProgramId made = GL::createProgram();
        std::vector<GL::ShaderId> shaders;
        std::string log(16384, '\0');
        const auto length = static_cast<GLsizei>(log.size());
        GLint succeeded = GL_FALSE;
        for (const GL::AdaptedStage& stage : adapted.stages) {
            shaders.push_back(GL::createShader(shaderType(stage.stage)));
            const GLuint shader = shaders.back().number();
            const char* const text = stage.text.c_str();
            glShaderSource(shader, 1, &text, nullptr);
            glCompileShader(shader);
            glGetShaderiv(shader, GL_COMPILE_STATUS, &succeeded);
            glGetShaderInfoLog(shader, length, nullptr, log.data());
            if (!succeeded) {
                return {std::move(made), GL::mapCompilerLog(log, adapted.lines, stage.numbering)};
            }
            glAttachShader(made.number(), shader);
        }
        glBindAttribLocation(made.number(), 0, "Coordinates");
        glLinkProgram(made.number());
        glGetProgramiv(made.number(), GL_LINK_STATUS, &succeeded);
        glGetProgramInfoLog(made.number(), length, nullptr, log.data());
        return {std::move(made), succeeded ? "" : GL::mapLinkerLog(log, adapted.lines, "program")};
    }

    /// Two eyes that see a point far from the origin of the world.
    void lookAtPlanet() {
        for (unsigned eye = 0; eye < 2; ++eye) {
            View& view = views.CurrentView(eye, 0);
            view.camera.position = betweenTheEyes + vector{eye == 0 ? -0.3 : 0.3, 0, 0};
            view.camera.lookAt = view.camera.position + vector{0, 0, -1};
            view.setFrustum(-1, 1, -1, 1, 1, 100);
            view.computeModelViewMatrix();
            view.updateInverseMatrices();
        }
        buffer = basin->createUniformBuffer(2 * sizeof(MultiViewRecord));
        ASSERT_TRUE(views.updateMultiView(*buffer, views.getViews(0, 0)));
    }
    /// The pixel where an eye sees the point, from the left and from the bottom.
    std::array<int, 2> expectedPixel(unsigned eye) const {
        point screen;
        EXPECT_TRUE(views.CurrentView(eye, 0).WorldToScreen_zero_to_one(planetPoint, screen));
        return {static_cast<int>(screen.x * size), static_cast<int>(screen.y * size)};
    }
    FloatPoint relativePoint() const {
        const vector relative = planetPoint - worldOrigin;
        return {static_cast<float>(relative.x), static_cast<float>(relative.y),
                static_cast<float>(relative.z)};
    }

    /// What is drawn in one pass for each of the views.
    std::vector<std::vector<std::uint8_t>> picturesOfPasses() {
        const auto painted = basin->createProgram(vertex("330"), fragment("330"), "point.vert",
                                                  "point.frag", 1U, 1U, {}, {});
        EXPECT_TRUE(painted->bindUniformBlock("MultiView", buffer));
        polyp->insert(painted);
        insertDrawn(coordinates({relativePoint()}), RenderNamespace::Points);
        std::vector<std::vector<std::uint8_t>> pictures;
        for (unsigned eye = 0; eye < 2; ++eye) {
            clear();
            views.CurrentEye = eye;
            basin->factory().setCurrentView(eye);
            views.updateTranslatedViews(*polyp, point{} - worldOrigin, 0);
            waveKeepingState();
            pictures.push_back(pixels());
        }
        return pictures;
    }

    /// The same in one pass with a layer for each view.
    std::vector<std::vector<std::uint8_t>> picturesOfLayers(const GL::ProgramId& linked) {
        const GLuint name = linked.number();
        const GL::TextureId colors = GL::createTexture(GL_TEXTURE_2D_ARRAY);
        glTextureStorage3D(colors.number(), 1, GL_RGBA8, size, size, 2);
        const GL::FramebufferId target = GL::createFramebuffer();
        glNamedFramebufferTexture(target.number(), GL_COLOR_ATTACHMENT0, colors.number(), 0);
        glBindFramebuffer(GL_FRAMEBUFFER, target.number());
        glViewport(0, 0, size, size);
        glClearColor(0, 0, 0, 1);
        glClear(GL_COLOR_BUFFER_BIT);
        Variables variables;
        LayeredMultiViews::updateTranslatedViews(variables, views.getViews(0, 0),
                                                 point{} - worldOrigin);
        for (const auto& [uniform, value] : variables) {
            glProgramUniform4fv(name, glGetUniformLocation(name, uniform.c_str()), 1,
                                std::get<Skua::FixedArray<float, 4>>(value).data());
        }
        glUniformBlockBinding(name, glGetUniformBlockIndex(name, "MultiView"), 0);
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, static_cast<GLuint>(buffer->native()));
        const GL::VertexArrayId array = GL::createVertexArray();
        glBindVertexArray(array.number());
        const FloatPoint vertexPoint = relativePoint();
        glVertexAttrib3f(0, vertexPoint.x, vertexPoint.y, vertexPoint.z);
        glUseProgram(name);
        glDrawArraysInstanced(GL_POINTS, 0, 1, 2);
        glUseProgram(0);
        glBindVertexArray(0);
        glBindBufferBase(GL_UNIFORM_BUFFER, 0, 0);
        std::vector<std::uint8_t> both(std::size_t{size} * size * 4 * 2);
        glGetTextureImage(colors.number(), 0, GL_RGBA, GL_UNSIGNED_BYTE,
                          static_cast<GLsizei>(both.size()), both.data());
        picture->bind();
        const auto half = both.begin() + static_cast<std::ptrdiff_t>(both.size() / 2);
        return {{both.begin(), half}, {half, both.end()}};
    }

    /// Where something is drawn.
    static Pixels drawn(const std::vector<std::uint8_t>& bytes) {
        Pixels places;
        for (std::size_t i = 0; i < bytes.size(); i += 4) {
            const auto number = static_cast<int>(i / 4);
            if (bytes[i + 1] != 0) places.push_back({number % size, number / size});
        }
        return places;
    }

    const point worldOrigin{4e6, -3e6, 3995000};
    const point betweenTheEyes = worldOrigin + vector{0.125, 0.375, 0.75};
    /// Both eyes see it well within a pixel.
    const point planetPoint = betweenTheEyes + vector{0.5, -0.3, -4};
    GL::AdaptOptions adaptation;
    LayeredMultiViews views;
    UniformBufferPtr buffer;
};

POLYPIA_BOTH_PROFILES(MultiView);

TEST_P(MultiView, OffsetsOfTheDriverAreThoseOfTheRecords) {
    for (const std::string version : {"130", "330", "450"}) {
        const auto made =
            basin->createProgram(vertex(version), fragment(version), "v", "f", 1U, 1U, {}, {});
        const auto name = static_cast<GLuint>(made->nativeHandle());
        const GLuint block = glGetProgramResourceIndex(name, GL_UNIFORM_BLOCK, "MultiView");
        ASSERT_NE(block, GL_INVALID_INDEX);
        EXPECT_EQ(resource(name, GL_UNIFORM_BLOCK, block, GL_BUFFER_DATA_SIZE), 2 * 688);
        GLint expectedMembers = 0;
        for (int view = 0; view < 2; ++view) {
            for (const Member& member : members()) {
                const std::string full = "views[" + std::to_string(view) + "]." + member.name;
                const GLuint index = glGetProgramResourceIndex(name, GL_UNIFORM, full.c_str());
                ASSERT_NE(index, GL_INVALID_INDEX) << full;
                EXPECT_EQ(resource(name, GL_UNIFORM, index, GL_OFFSET),
                          view * 688 + static_cast<int>(member.offset))
                    << full;
                const bool isMatrix = member.type == "mat4";
                EXPECT_EQ(resource(name, GL_UNIFORM, index, GL_MATRIX_STRIDE), isMatrix ? 16 : 0);
                EXPECT_EQ(resource(name, GL_UNIFORM, index, GL_IS_ROW_MAJOR), 0);
                ++expectedMembers;
            }
        }
        EXPECT_EQ(resource(name, GL_UNIFORM_BLOCK, block, GL_NUM_ACTIVE_VARIABLES),
                  expectedMembers);
    }
}

TEST_P(MultiView, EachMemberOfTheBlockHasTheValueOfTheRecord) {
    const View other;
    View numbered;
    double next = 1;
    for (View::Matrix* const matrix :
         {&numbered.matrix, &numbered.untranslatedModelView, &numbered.modelView,
          &numbered.pixelCalibration, &numbered.inverseProjection,
          &numbered.inverseUntranslatedModelView, &numbered.inverseModelView}) {
        for (double& element : *matrix) element = next++;
    }
    numbered.cameraPosition = {next, next + 1, next + 2};
    numbered.camera.position = {next + 3, next + 4, next + 5};
    numbered.camera.lookAt = {next + 6, next + 7, next + 8};
    numbered.camera.up = {next + 9, next + 10, next + 11};
    numbered.camera.fieldOfView = next + 12;
    numbered.viewport = {next + 13, next + 14, next + 15, next + 16};
    next += 17;
    for (point& corner : numbered.corners) {
        corner = {next, next + 1, next + 2};
        next += 3;
    }
    buffer = basin->createUniformBuffer(2 * sizeof(MultiViewRecord));
    ASSERT_TRUE(views.updateMultiView(*buffer, {other, numbered}));
    std::array<std::byte, sizeof(MultiViewRecord)> record;
    ASSERT_TRUE(buffer->read(record.size(), record.data(), record.size()));

    // Blue counts the members that are as in the record.
    std::string main = "out vec4 color;\nvoid main() {\n    int equal = 0;\n";
    for (const Member& member : members()) {
        std::vector<float> values(member.floats);
        std::memcpy(values.data(), record.data() + member.offset, values.size() * sizeof(float));
        std::string constant;
        for (const float value : values) {
            constant += (constant.empty() ? "" : ", ") + std::to_string(value);
        }
        main += "    if (views[1]." + member.name + " == " + member.type + "(" + constant +
                ")) ++equal;\n";
    }
    main += "    color = vec4(0.0, 0.0, float(equal) / 255.0, 1.0);\n}\n";
    const auto painted =
        fillPicture(program("#version 330\nin vec3 Coordinates;\n"
                            "void main() { gl_Position = vec4(Coordinates, 1.0); }\n",
                            fragment("330", main)));
    ASSERT_TRUE(painted->bindUniformBlock("MultiView", buffer));
    wave();
    EXPECT_EQ(center()[2], static_cast<int>(members().size()));
}

using Vec4 = std::array<double, 4>;

Vec4 times(const View::Matrix& matrix, const Vec4& v) {
    Vec4 product{};
    for (std::size_t row = 0; row < 4; ++row) {
        for (std::size_t column = 0; column < 4; ++column) {
            product[row] += matrix[column * 4 + row] * v[column];
        }
    }
    return product;
}

Vec4 difference(const Vec4& a, const Vec4& b) {
    return {a[0] - b[0], a[1] - b[1], a[2] - b[2], a[3] - b[3]};
}

std::string vec4Of(const Vec4& v) {
    std::string text;
    for (const double value : v) text += (text.empty() ? "vec4(" : ", ") + std::to_string(value);
    return text + ")";
}

TEST_P(MultiView, FunctionsOfTheTextGiveWhatTheyTell) {
    // Whole numbers, whose products and sums floats hold exactly.
    View& view = views.CurrentView(1, 0);
    double next = 1;
    for (View::Matrix* const matrix :
         {&view.matrix, &view.untranslatedModelView, &view.modelView}) {
        for (double& element : *matrix) element = next++;
    }
    view.cameraPosition = {3, -5, 7};
    view.camera.position = {11, 13, -17};
    view.camera.lookAt = {19, -23, 29};
    const vector offset{100, 200, -300};
    const Vec4 translation{103, 195, -293, 0};
    buffer = basin->createUniformBuffer(2 * sizeof(MultiViewRecord));
    ASSERT_TRUE(views.updateMultiView(*buffer, views.getViews(0, 0)));

    const Vec4 v{2, -3, 5, 1}, otherOffset{6, 8, -9, 0};
    const std::string text = vec4Of(v), relative = "mkRelativeVertex(" + text + ")";
    const Vec4 inEye = times(view.untranslatedModelView, difference(v, translation));
    const Vec4 onScreen = times(view.matrix, inEye);
    const Vec4 ofWorld = difference(v, {offset.x, offset.y, offset.z, 0});
    const Vec4 unstable = times(view.matrix, times(view.modelView, v));
    const Vec4 untranslated = times(view.matrix, times(view.untranslatedModelView, v));
    const Vec4 direction{-view.modelView[2], -view.modelView[6], -view.modelView[10], 0};
    const auto padded = [](const std::string& vec3) { return "vec4(" + vec3 + ", 0.0)"; };
    const auto ofW0 = [](Vec4 value) {
        value[3] = 0;
        return value;
    };
    const std::vector<std::pair<std::string, Vec4>> table{
        {relative + ".Vertex", v},
        {relative + ".Offset", {offset.x, offset.y, offset.z, 0}},
        {"WorldVertex(" + relative + ")", ofWorld},
        {padded("WorldVertex3(" + relative + ")"), ofW0(ofWorld)},
        {"vec4(WorldVertexHeight(" + relative + "))",
         {ofWorld[2], ofWorld[2], ofWorld[2], ofWorld[2]}},
        {"getTranslatedView().Translation", translation},
        {"getTranslatedView(uint(1)).Translation", translation},
        {"getCameraObserverRelativeToVertexOffset()", {111, 213, -317, 1}},
        {"getCameraLookAtRelativeToVertexOffset()", {119, 177, -271, 1}},
        {"multiview_transform_view_eye_to_screen(uint(1), " + text + ")", times(view.matrix, v)},
        {"multiview_transform_view_eye_to_screen(" + text + ")", times(view.matrix, v)},
        {"multiview_transform_view_unstable(uint(1), " + text + ")", unstable},
        {"multiview_transform_unstable(" + text + ")", unstable},
        {"eye_multiview_transform_untranslated_view(uint(1), " + text + ")",
         times(view.untranslatedModelView, v)},
        {"multiview_transform_untranslated_view(uint(1), " + text + ")", untranslated},
        {"multiview_transform_untranslated(" + text + ")", untranslated},
        {"eye_multiview_transform_view(uint(1), " + relative + ")", inEye},
        {"eye_multiview_transform_view(" + relative + ")", inEye},
        {"multiview_transform_view(uint(1), " + relative + ")", onScreen},
        {"multiview_transform(" + relative + ")", onScreen},
        {"zelk_ftransform(" + text + ")", onScreen},
        {"zelk_transform_vertex_WorldToEye(" + text + ", " + vec4Of(otherOffset) + ")", inEye},
        {"zelk_transform_vertex_WorldToEye(" + text + ", vec3(6.0, 8.0, -9.0))", inEye},
        {padded("zelk_WorldPosition(" + text + ")"), ofW0(v)},
        {padded("get_viewdir_from_modelview_matrix(views[1].FullModelViewMatrix)"), direction},
        {padded("multiview_get_viewdir(uint(1))"), direction},
        {padded("get_viewdir()"), direction},
    };
    // Red has the number of the first one that is wrong, blue counts those that are right.
    std::string main = "out vec4 color;\nvoid main() {\n    int equal = 0, wrong = 0;\n";
    for (std::size_t i = 0; i < table.size(); ++i) {
        const auto& [expression, value] = table[i];
        main += "    if (" + expression + " == " + vec4Of(value) +
                ") ++equal; else if (wrong == 0) wrong = " + std::to_string(i + 1) + ";\n";
    }
    main += "    color = vec4(float(wrong) / 255.0, 0.0, float(equal) / 255.0, 1.0);\n}\n";
    const auto painted =
        fillPicture(program("#version 330\nin vec3 Coordinates;\n"
                            "void main() { gl_Position = vec4(Coordinates, 1.0); }\n",
                            fragment("330", main)));
    ASSERT_TRUE(painted->bindUniformBlock("MultiView", buffer));
    views.CurrentEye = 1;
    basin->factory().setCurrentView(1);
    views.updateTranslatedViews(*polyp, offset, 0);
    wave();
    const auto wrong = static_cast<std::size_t>(center()[0]);
    EXPECT_EQ(wrong, 0U) << (wrong > 0 ? table[wrong - 1].first : "");
    EXPECT_EQ(center()[2], static_cast<int>(table.size()));
}

TEST_P(MultiView, PassesShowAPointWhereEachEyeSeesIt) {
    lookAtPlanet();
    const auto pictures = picturesOfPasses();
    EXPECT_NE(expectedPixel(0), expectedPixel(1));
    for (unsigned eye = 0; eye < 2; ++eye) {
        EXPECT_THAT(drawn(pictures[eye]), ElementsAre(expectedPixel(eye))) << "eye " << eye;
    }
    const std::size_t red =
        static_cast<std::size_t>(expectedPixel(1)[1] * size + expectedPixel(1)[0]) * 4;
    EXPECT_EQ(pictures[1][red], 153) << "the fragment stage knows its view";
}

TEST_P(MultiView, LayersShowTheSameBytesAsPasses) {
    if (!context->hasExtension("GL_ARB_shader_viewport_layer_array") &&
        !context->hasExtension("GL_AMD_vertex_shader_layer")) {
        GTEST_SKIP() << "no vertex stage of this driver can choose a layer";
    }
    lookAtPlanet();
    adaptation.pass = GL::Pass::Layers;
    adaptation.platformDefines = "#define ZELK_DO_MULTIVIEW_VIA_LAYER_ID 1\n";
    const auto pictures = picturesOfPasses();
    for (const std::string version : {"330", "450"}) {
        const auto [linked, log] =
            link({{Stage::Vertex, vertex(version)}, {Stage::Fragment, fragment(version)}});
        ASSERT_EQ(log, "");
        EXPECT_EQ(picturesOfLayers(linked), pictures) << version;
    }
}

TEST_P(MultiView, LayersByAGeometryStageShowTheSameBytesAsPasses) {
    lookAtPlanet();
    adaptation.pass = GL::Pass::Layers;
    adaptation.platformDefines = "#define ZELK_DO_MULTIVIEW_VIA_LAYER_ID 1\n";
    const auto pictures = picturesOfPasses();
    for (const std::string version : {"330", "450"}) {
        const auto [linked, log] = link({{Stage::Vertex, vertex(version)},
                                         {Stage::Geometry, geometry(version)},
                                         {Stage::Fragment, fragment(version)}});
        ASSERT_EQ(log, "");
        EXPECT_EQ(picturesOfLayers(linked), pictures) << version;
    }
}

TEST_P(MultiView, GeometryStageIsTakenInPasses) {
    for (const std::string version : {"330", "450"}) {
        EXPECT_EQ(link({{Stage::Vertex, vertex(version)},
                        {Stage::Geometry, geometry(version)},
                        {Stage::Fragment, fragment(version)}})
                      .second,
                  "");
    }
}

TEST_P(MultiView, ExtensionIsTaken) {
    if (!context->hasExtension("GL_OVR_multiview2"))
        GTEST_SKIP() << "the driver has no GL_OVR_multiview2";
    views.OutputViews = 2;
    adaptation.platformDefines = "#define ZELK_HAVE_multiview2 1\n";
    EXPECT_EQ(link({{Stage::Vertex, vertex("450")}, {Stage::Fragment, fragment("450")}}).second,
              "");
}

TEST_P(MultiView, SeveralViewsOfAFramebufferNeedTheExtensionToBeThere) {
    views.OutputViews = 2;
    lookAtPlanet();
    const auto pictures = picturesOfPasses();
    EXPECT_THAT(drawn(pictures[1]), ElementsAre(expectedPixel(1))) << "the uniform tells the view";
}

TEST_P(MultiView, ErrorsAreToldInLinesOfTheSource) {
    std::string spoilt = vertex("330");
    const std::string marker = "#line 3 \"reef/Polypia/MultiViewPrefix.glsl\"\n";
    const std::string sound = "{ return v.xyz; }";
    const std::size_t first = spoilt.find(marker) + marker.size();
    const std::size_t place = spoilt.find(sound, first);
    ASSERT_NE(place, std::string::npos);
    const auto begin = spoilt.begin();
    const auto line = 3 + std::count(begin + static_cast<std::ptrdiff_t>(first),
                                     begin + static_cast<std::ptrdiff_t>(place), '\n');
    spoilt.replace(place, sound.size(), "{ fault }");
    spoilt.insert(spoilt.find("#if (__VERSION__"), "#define ZELK_DO_LINE_DIRECTIVE 1\n");
    EXPECT_THAT(link({{Stage::Vertex, spoilt}}).second,
                HasSubstr("reef/Polypia/MultiViewPrefix.glsl(" + std::to_string(line) + ")"));
}

} // namespace
