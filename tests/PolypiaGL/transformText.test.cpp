// The texts of TransformOperator and ClippingPlanes on the driver, alone and in one stage.

#include "glRenderFixture.hpp"
#include "quad.hpp"

#include <Polypia/ClippingPlanes.hpp>
#include <Polypia/VRenderObject.hpp>
#include <Polypia/VSceneObjects.hpp>

#include <sorrel/VActionNotifier.hpp>

#include <array>
#include <cmath>
#include <functional>
#include <memory>
#include <random>
#include <string>
#include <utility>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;
using testing::HasSubstr;
using testing::IsEmpty;

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using Plane = ClippingPlanes::HessianNormalPlane;

const std::string fragmentText = "#version 330\nout vec4 color;\n"
                                 "void main() { color = vec4(1.0); }\n";

/// Replaces the three functions by a text.
class TextFunctor : public TransformOperator::Functor {
public:
    explicit TextFunctor(std::string functions) : _functions(std::move(functions)) {}
    std::string myShaderFunctions(VRenderContext&) const override { return _functions; }

private:
    const std::string _functions;
};

TransformOperator withText(const std::string& functions) {
    TransformOperator value;
    value.functor = TransformOperator::FunctorPtr(new TextFunctor(functions));
    return value;
}

/// Draws points that are cut by planes.
class Dots : public VRenderObject {
public:
    explicit Dots(const std::string& objectName)
        : VObject(objectName, 0, {}), VRenderObject(objectName, 0, {}) {}
    ~Dots() override { giveUp(); }

    using VRenderObject::environment_render;
    bool environment_render(VRenderContext& context) const override {
        if (!_polyp) fill(context);
        return transformIn(context.pool).draw(context, [&] {
            context.updateTranslatedViews(*_polyp, vector{} - origin, 0);
            if (!_polyp->updateValues(context)) return false;
            _polyp->wave(~0U);
            return true;
        });
    }
    /// To be called when anything else than a plane has changed.
    void giveUp() {
        const Keel::StrongPtr<Seagrass> live(_seagrass);
        if (live) live->scheduleDeletion(std::move(_polyp));
        _polyp = {};
    }

    const ClippingPlanes planes{this};
    std::vector<point> points; ///< in world space
    vector origin;             ///< which is subtracted from them
    bool hasRelativePlanes = false;
    /// During the last draw.
    mutable std::array<bool, 2> enabled{};

private:
    void fill(VRenderContext& context) const {
        Seagrass& seagrass = *context.getSeagrass();
        _seagrass = Keel::WeakPtr<Seagrass>(seagrass);
        _polyp = PolypPtr(new Polyp({}));
        const std::string place = hasRelativePlanes ? "V.Vertex.xyz" : "WorldVertex3(V)";
        const std::string vertex = "#version 330\n#define VERTEX_SHADER 1\n" +
                                   getTransformationShaderFunctions(context) +
                                   ClippingPlanes::setClipDistances() +
                                   "in vec3 Coordinates;\n"
                                   "void main() {\n"
                                   "    zelk_setViewID();\n"
                                   "    RelativeVertex V = mkRelativeVertex(vec4(Coordinates, "
                                   "1.0));\n"
                                   "    gl_Position = zelk_transform_vertex_WorldToScreen(V);\n"
                                   "    zelk_setClipDistances(" +
                                   place + ");\n}\n";
        const auto program =
            context.createProgram(vertex, fragmentText, "dots.vert", "dots.frag", 1U, 1U, {}, {});
        std::vector<point> relative;
        for (const point& p : points) relative.push_back(p - origin);
        const auto coordinates = context.createCoordinates(chunk(relative), "Coordinates");
        _polyp->insert(coordinates);
        if (hasRelativePlanes) {
            planes.initializeRelativePolyp(*_polyp, context, origin);
        } else {
            using Creator = PolypCreator<DefaultPolypInitializer>;
            const Keel::StrongPtr<Creator, Keel::Creature> creator(new Creator(seagrass, {}));
            planes.initializePolyp(*_polyp, context, *creator);
        }
        initializePolypTransformation(*_polyp, context);
        _polyp->insertTentacle(30000, probe([this](const Polyp&) {
                                   enabled = {glIsEnabled(GL_CLIP_DISTANCE0) == GL_TRUE,
                                              glIsEnabled(GL_CLIP_DISTANCE1) == GL_TRUE};
                                   return true;
                               }));
        completePolyp(*_polyp, context, program, coordinates->createPainter(Points));
    }

    mutable PolypPtr _polyp;
    mutable Keel::WeakPtr<Seagrass> _seagrass;
};
using DotsPtr = Keel::StrongPtr<Dots, VManagedObjectBase>;

class TransformText : public BasinTestInProfile {
protected:
    void SetUp() override {
        BasinTestInProfile::SetUp();
        if (!context) return;
        seagrass = makeSeagrass();
        frame = makeRenderContext(*context, seagrass);
        frame->setTargets({picture.get()});
        dots = DotsPtr(new Dots("dots"));
        objects.insert(0, dots);
    }
    void TearDown() override {
        VActionNotifier::clear();
        dots = {};
        if (context) endRenderContext(frame, seagrass);
        BasinTestInProfile::TearDown();
    }

    std::string views() const { return frame->defineMultiView(1, true, 0); }
    /// What the driver says of a vertex stage; empty if it is taken.
    std::string log(const std::string& version, const std::string& text) const {
        try {
            // Blocks are an extension in the oldest version, which the head of a stage enables.
            program("#version " + version +
                        "\n#if __VERSION__ <= 140\n"
                        "#extension GL_ARB_uniform_buffer_object : require\n"
                        "#endif\n#define VERTEX_SHADER 1\n" +
                        text,
                    "#version " + version + "\nvoid main() {}\n");
        } catch (const RenderException& exception) {
            return exception.shaderLog.str();
        }
        return {};
    }

    /// Where there is something when the dots are drawn.
    std::vector<bool> drawDots(const vector& center) {
        GLRenderContext::Eye eye = eyeFromAbove();
        eye.camera.position = eye.camera.position + center;
        eye.camera.lookAt = eye.camera.lookAt + center;
        frame->setEyes({eye});
        clear();
        double seconds = 0;
        EXPECT_EQ(objects.render(*frame, seconds, INT_MIN, INT_MAX), GLRenderContext::Drew);
        const auto bytes = pixels();
        std::vector<bool> drawn;
        for (std::size_t i = 0; i < bytes.size(); i += 4) drawn.push_back(bytes[i] != 0);
        return drawn;
    }
    /// Dots one pixel apart at random heights around a centre.
    void scatterDots(const vector& center, std::mt19937& random) {
        dots->points.clear();
        std::uniform_real_distribution<double> height(-30.0, 30.0);
        for (int y = 0; y < size; ++y) {
            for (int x = 0; x < size; ++x) {
                dots->points.push_back(
                    point{x + 0.5 - size / 2, y + 0.5 - size / 2, height(random)} + center);
            }
        }
        dots->giveUp();
    }
    /// Whether the dots that are left are those in front of the planes; those nearer to one than
    /// the tolerance may be there or not.
    void expectDotsInFrontOf(const std::vector<Plane>& planes, const std::vector<bool>& drawn,
                             double tolerance) {
        int cut = 0, left = 0, wrong = 0;
        for (std::size_t i = 0; i < drawn.size(); ++i) {
            double distance = 1.0;
            for (const Plane& plane : planes) {
                distance = std::min(distance, plane.signedDistance(dots->points[i]));
            }
            if (std::abs(distance) <= tolerance) continue;
            ++(distance > 0 ? left : cut);
            if ((distance > 0) != drawn[i]) ++wrong;
        }
        EXPECT_EQ(wrong, 0) << cut << " to be cut, " << left << " left";
        EXPECT_GT(cut + left, size * size * 9 / 10);
        EXPECT_GT(left, 0);
        EXPECT_EQ(planes.empty(), cut == 0);
    }

    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> frame;
    DotsPtr dots;
    VSceneObjects objects;
};

POLYPIA_BOTH_PROFILES(TransformText);

/// Calls all that a stage may call.
const std::string mainOfAll =
    "void main() {\n"
    "    zelk_setViewID();\n"
    "    RelativeVertex V = mkRelativeVertex(vec4(1.0));\n"
    "    vec4 eye = zelk_transform_vertex_WorldToEye(V);\n"
    "    gl_Position = zelk_transform_vertex_WorldToScreen(V) +\n"
    "                  zelk_transform_vertex_EyeToScreen(eye) +\n"
    "                  zelk_transform_vertex_WorldToEye_Default(V) +\n"
    "                  zelk_transform_vertex_EyeToScreen_Default(eye);\n"
    "    gl_Position.xyz += zelk_transform_normal_WorldToEye(eye.xyz) +\n"
    "                       zelk_transform_normal_WorldToEye_Default(eye.xyz);\n"
    "#if defined(HAVE_MULTIVIEW_TRANSFORM) || defined(HAVE_getViewDir)\n"
    "    gl_Position.xyz += getViewDir();\n"
    "#endif\n"
    "}\n";

TEST_P(TransformText, IsTakenWithTheViewsAndWithout) {
    TransformOperator shift, base;
    shift.functor = TransformOperator::FunctorPtr(new TransformOperator::Shift({1, 2, 3}));
    base.functor = TransformOperator::FunctorPtr(new TransformOperator::Functor);
    for (const std::string version : {"130", "140", "330", "450"}) {
        for (const TransformOperator& value : {TransformOperator(), shift, base}) {
            const std::string text = value.getShaderFunctions(*frame, true);
            EXPECT_EQ(log(version, text + mainOfAll), "") << version;
            EXPECT_EQ(log(version, "#define ZELK_GLSL_ENABLE_WARNINGS 1\n" + text + mainOfAll), "");
            EXPECT_EQ(log(version, views() + "#undef HAVE_MULTIVIEW_TRANSFORM\n" +
                                       value.getShaderFunctions(*frame, false) + mainOfAll),
                      "")
                << version;
        }
    }
}

TEST_P(TransformText, ViewDirectionWithoutTheViewsIsOfTheCompatibilityProfile) {
    const std::string text = views() + "#undef HAVE_MULTIVIEW_TRANSFORM\n" +
                             TransformOperator().getShaderFunctions(*frame, false) +
                             "#ifndef HAVE_getViewDir\n#error no direction\n#endif\n"
                             "#ifndef DEFINE_getViewDir\n#error no direction\n#endif\n" +
                             mainOfAll;
    EXPECT_EQ(log("140", text), "");
    if (GetParam() == GL::Profile::Core) {
        EXPECT_THAT(log("330", text), HasSubstr("no direction"));
    } else {
        EXPECT_EQ(log("330", text), "");
    }
}

TEST_P(TransformText, WithoutTheViewsTheFixedMatricesStandForThem) {
    // Column by column.
    constexpr std::array<double, 16> modelView{0, 1, 0, 0, -2,  0,     0, 0,
                                               0, 0, 4, 0, 0.5, -0.25, 1, 1};
    constexpr std::array<double, 16> projection{0.5, 0, 0,  0,  0, 0.25, 0, 0,
                                                0,   0, -1, -1, 0, 0,    2, 0};
    const std::string vertex =
        "#version 140\n#extension GL_ARB_uniform_buffer_object : require\n"
        "#define VERTEX_SHADER 1\n" +
        views() + "#undef HAVE_MULTIVIEW_TRANSFORM\n" +
        TransformOperator().getShaderFunctions(*frame, false) +
        "in vec3 Coordinates;\n"
        "out vec4 isRight;\n"
        "void main() {\n"
        "    gl_Position = vec4(Coordinates, 1.0);\n"
        "    RelativeVertex V = mkRelativeVertex(vec4(1.0, 2.0, 3.0, 1.0));\n"
        "    vec4 eye = vec4(-3.5, 0.75, 13.0, 1.0);\n"
        "    vec4 screen = vec4(-1.75, 0.1875, -11.0, -13.0);\n"
        "    isRight.r = zelk_transform_vertex_WorldToEye_Default(V) == eye &&\n"
        "        zelk_transform_vertex_WorldToEye(V) == eye ? 1.0 : 0.0;\n"
        "    isRight.g = zelk_transform_vertex_EyeToScreen_Default(eye) == screen &&\n"
        "        zelk_transform_vertex_EyeToScreen(eye) == screen &&\n"
        "        zelk_transform_vertex_WorldToScreen(V) == screen ? 1.0 : 0.0;\n"
        "    vec3 normal = vec3(-1.0, 1.0, 0.75);\n"
        "    isRight.b = distance(zelk_transform_normal_WorldToEye_Default(vec3(1.0, 2.0, 3.0)),\n"
        "                         normal) < 1e-5 &&\n"
        "        distance(zelk_transform_normal_WorldToEye(vec3(1.0, 2.0, 3.0)), normal) < 1e-5 "
        "&&\n"
        "        getViewDir() == vec3(0.0, 0.0, -4.0) ? 1.0 : 0.0;\n"
        "    isRight.a = 1.0;\n"
        "}\n";
    fillPicture(program(vertex, "#version 140\nin vec4 isRight;\nout vec4 color;\n"
                                "void main() { color = isRight; }\n"));
    basin->factory().setMatrices(projection, modelView);
    wave();
    EXPECT_EQ(center(), white);
}

TEST_P(TransformText, FaultsAreToldInItsFilesWithLineMarkersAndWarningsOn) {
    const std::string marked =
        "#define ZELK_DO_LINE_DIRECTIVE 1\n#define ZELK_GLSL_ENABLE_WARNINGS 1\n";
    for (const std::string version : {"130", "140", "330", "450"}) {
        const std::string text = TransformOperator().getShaderFunctions(*frame, true);
        EXPECT_EQ(log(version, marked + text + mainOfAll), "") << version;
        // Behind the line of the warning, and in another of the texts.
        std::string faulty = text;
        const std::string normal = "return gl_NormalMatrix * TheNormal;";
        ASSERT_NE(faulty.find(normal), std::string::npos);
        faulty.replace(faulty.find(normal), normal.size(), "return fault;");
        EXPECT_THAT(log(version, marked + faulty + mainOfAll),
                    HasSubstr("\nreef/Polypia/TransformOperatorDefault.glsl(34) : error"))
            << version;
        EXPECT_THAT(log(version, marked + "struct RelativeVertex { vec4 Vertex, Offset; };\n" +
                                     TransformOperator::GlobalFunctions + "void main() {}\n"),
                    HasSubstr("\nreef/Polypia/TransformOperatorGlobal.glsl(6) : error"))
            << version;
    }
}

TEST_P(TransformText, WithoutTranslatedViewsIsRefusedByItsWords) {
    EXPECT_THAT(log("330", "struct RelativeVertex { vec4 Vertex, Offset; };\n" +
                               TransformOperator::GlobalFunctions + "void main() {}\n"),
                HasSubstr("Must have LayeredMultiViews::defineTranslatedViews() included in the "
                          "prefix!"));
}

TEST_P(TransformText, FaultOfAFunctorIsToldInItsOwnLines) {
    const TransformOperator faulty = withText("// first\nvec4 second() { return fault; }\n");
    for (const std::string version : {"130", "330", "450"}) {
        EXPECT_THAT(log(version, "#define ZELK_DO_LINE_DIRECTIVE 1\n" +
                                     faulty.getShaderFunctions(*frame, true) + "void main() {}\n"),
                    HasSubstr("\n(anonymous namespace)::TextFunctor(2) : error"))
            << version;
    }
}

TEST_P(TransformText, FunctorMovesWhatIsDrawn) {
    dots->points = {{-9.5, 3.5, 0}};
    const auto at = [](int x, int y) {
        return static_cast<std::size_t>((y + size / 2) * size + x + size / 2);
    };
    for (const vector& origin : {vector{0, 0, 0}, vector{0.5, -0.25, 2}}) {
        dots->origin = origin;
        dots->transformSlot().set({}, TransformOperator());
        dots->giveUp();
        EXPECT_TRUE(drawDots({0, 0, 0})[at(-10, 3)]);
        dots->transformSlot().set(
            {}, withText("vec4 zelk_transform_vertex_WorldToEye(RelativeVertex theVertex)\n"
                         "{\n"
                         "    theVertex.Vertex.x += 7.0;\n"
                         "    return zelk_transform_vertex_WorldToEye_Default(theVertex);\n"
                         "}\n"
                         "vec4 zelk_transform_vertex_EyeToScreen(vec4 v)\n"
                         "{ return zelk_transform_vertex_EyeToScreen_Default(v); }\n"
                         "vec3 zelk_transform_normal_WorldToEye(vec3 n) { return n; }"));
        dots->giveUp();
        const auto drawn = drawDots({0, 0, 0});
        EXPECT_FALSE(drawn[at(-10, 3)]);
        EXPECT_TRUE(drawn[at(-3, 3)]);
    }
}

// ------------------------------------------------------------------------------------ Clipping

const std::string clip = ClippingPlanes::setClipDistances();

TEST_P(TransformText, ClippingIsTakenOnceAndTwice) {
    const std::string main = "void main() { gl_Position = vec4(0.0); "
                             "zelk_setClipDistances(gl_Position.xyz); }\n";
    const std::string marked = "#define ZELK_DO_LINE_DIRECTIVE 1\n";
    for (const std::string version : {"130", "140", "150", "330", "450", "450 core"}) {
        EXPECT_EQ(log(version, clip + main), "") << version;
        EXPECT_EQ(log(version, clip + clip + main), "") << version;
        EXPECT_EQ(log(version, marked + clip + clip + main), "") << version;
        const std::string transform = TransformOperator().getShaderFunctions(*frame, true);
        EXPECT_EQ(log(version, clip + transform + clip + main), "") << version;
        EXPECT_EQ(log(version, marked + transform + clip + mainOfAll), "") << version;
    }
}

TEST_P(TransformText, ClippingIsTakenAsItStands) {
    for (const std::string version : {"150", "330", "450"}) {
        const GL::ShaderId shader = GL::createShader(GL_VERTEX_SHADER);
        const std::string text = "#version " + version + " core\n" + clip + clip +
                                 "void main() { gl_Position = vec4(0.0); "
                                 "zelk_setClipDistances(gl_Position.xyz); }\n";
        const char* const source = text.c_str();
        glShaderSource(shader.number(), 1, &source, nullptr);
        glCompileShader(shader.number());
        GLint isCompiled = GL_FALSE;
        glGetShaderiv(shader.number(), GL_COMPILE_STATUS, &isCompiled);
        std::string said(4096, '\0');
        glGetShaderInfoLog(shader.number(), 4096, nullptr, said.data());
        EXPECT_TRUE(isCompiled) << version << ": " << said.c_str();
    }
}

TEST_P(TransformText, DistanceIsThatOfThePlaneAsItStands) {
    struct Row {
        const char* place;
        const char* plane;
        const char* distance;
    };
    std::string right;
    for (const Row& row : {Row{"5,0,0", "1,0,0,5", "0.0"}, Row{"4,0,0", "1,0,0,5", "-1.0"},
                           Row{"0,0,3", "0,0,2,5", "1.0"}, Row{"0,0,2", "0,0,2,5", "-1.0"},
                           Row{"9,9,9", "0,0,0,7", "1.0"}, Row{"-9,9,9", "0,0,0,0", "1.0"}}) {
        right += std::string(right.empty() ? "" : " && ") + "zelk_computeClipDistance(vec3(" +
                 row.place + "), vec4(" + row.plane + ")) == " + row.distance;
    }
    fillPicture(program("#version 330\n#define VERTEX_SHADER 1\n" + clip +
                            "in vec3 Coordinates;\n"
                            "out float isRight;\n"
                            "void main() {\n"
                            "    gl_Position = vec4(Coordinates, 1.0);\n"
                            "    isRight = " +
                            right +
                            " ? 1.0 : 0.0;\n"
                            "    zelk_setClipDistances(Coordinates);\n"
                            "}\n",
                        "#version 330\nin float isRight;\nout vec4 color;\n"
                        "void main() { color = vec4(isRight, 1.0, 0.0, 1.0); }\n"));
    waveKeepingState();
    // Planes that nobody has set are off.
    EXPECT_EQ(center(), (Color{255, 255, 0, 255}));
    EXPECT_EQ(drawnPixels(), size * size);
}

TEST_P(TransformText, PlanesCutWhatLiesBehindThem) {
    std::mt19937 random(1);
    scatterDots({0, 0, 0}, random);
    expectDotsInFrontOf({}, drawDots({0, 0, 0}), 0);
    EXPECT_EQ(dots->enabled, (std::array{true, true}));
    const Plane first{{0.5, -0.25, 1}, 3}, second{{-1, 1, 0.125}, -4};
    // Coordinates are below 64, and so their products with a normal; 4 roundings of a float.
    const double tolerance = 64.0 * 4 / (1 << 23);
    dots->planes.clip0.set({}, first);
    expectDotsInFrontOf({first}, drawDots({0, 0, 0}), tolerance);
    dots->planes.clip1.set({}, second);
    expectDotsInFrontOf({first, second}, drawDots({0, 0, 0}), tolerance);
    dots->planes.clip0.set({}, Plane());
    expectDotsInFrontOf({second}, drawDots({0, 0, 0}), tolerance);
}

TEST_P(TransformText, PlanesAreInWorldSpaceWhateverTheOrigin) {
    std::mt19937 random(2);
    dots->origin = {1e3, 0, 0};
    scatterDots({1e3, 0, 0}, random);
    const Plane plane{{1, 0.5, 0}, 1005.125};
    dots->planes.clip0.set({}, plane);
    // The same by coordinates below 2048.
    expectDotsInFrontOf({plane}, drawDots({1e3, 0, 0}), 2048.0 * 4 / (1 << 23));
}

TEST_P(TransformText, RelativePlanesCutFarFromTheOriginAsNear) {
    std::mt19937 random(3);
    const vector far{1e9, -2e9, 5e8};
    // The centre of the dots is not quite the origin, as it would be in a scene.
    dots->origin = far + vector{3.5, -2.25, 1};
    dots->hasRelativePlanes = true;
    scatterDots(far, random);
    const vector normal{0.5, -0.25, 1}, other{-1, 1, 0.125};
    const Plane first{normal, dot(normal, far) + 3}, second{other, dot(other, far) - 4};
    dots->planes.clip0.set({}, first);
    // As near, and the distances of the planes themselves are doubles of 32 bits ahead of the
    // point: 22 behind it.
    const double tolerance = 64.0 * 4 / (1 << 23) + 8.0 / (1 << 20);
    expectDotsInFrontOf({first}, drawDots(far), tolerance);
    dots->planes.clip1.set({}, second);
    expectDotsInFrontOf({first, second}, drawDots(far), tolerance);
}

} // namespace
