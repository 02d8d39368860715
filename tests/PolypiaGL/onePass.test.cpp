// Several views in one pass: the same bytes as one after the other.

#include <PolypiaGL/OffscreenViewer.hpp>

#include "quad.hpp"

#include <Polypia/MultiviewRenderable.hpp>
#include <Polypia/PickList.hpp>

#include <sorrel/VActionNotifier.hpp>

#include <utility>

using namespace Mirk;
using namespace Mirk::GLTest;
using GL::Pass;

namespace {

/// Draws all views in its one call.
class AllAtOnce : public Quad, public MultiviewRenderable {
public:
    explicit AllAtOnce(const std::string& objectName)
        : VObject(objectName, 0, {}), Quad(objectName) {}
    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          SubContext& sub) override {
        return render(context, views.front(), sub);
    }
};

/// Draws one view after the other, the last one first.
class OneByOne : public Quad, public MultiviewRenderable {
public:
    explicit OneByOne(const std::string& objectName)
        : VObject(objectName, 0, {}), Quad(objectName) {}
    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          SubContext& sub) override {
        for (auto eye = static_cast<unsigned>(views.size()); eye-- > 0;) {
            context.openEye(eye);
            if (!render(context, views[eye], sub)) return false;
        }
        return true;
    }
};

/// Draws all views in its one call, by stages of its own; behind the text of the views where there
/// is VIEWS.
class Staged : public RenderAble, public MultiviewRenderable {
public:
    struct Stages {
        std::string vertex, geometry, fragment;
    };

    Staged(const std::string& objectName, Stages stages)
        : VObject(objectName, 0, {}), RenderAble(objectName, 0, {}), _stages(std::move(stages)) {}
    ~Staged() override {
        const Keel::StrongPtr<Seagrass> live(_seagrass);
        if (live) live->scheduleDeletion(std::move(_polyp));
    }

    bool multiview_render(VRenderContext& context, const LayeredMultiViews::ViewReferences& views,
                          SubContext& sub) override {
        return render(context, views.front(), sub);
    }
    using RenderAble::environment_render;
    bool environment_render(VRenderContext& context) const override {
        if (!_polyp || !context.isValid(*_polyp)) fill(context);
        context.updateTranslatedViews(*_polyp, {0, 0, 0}, 0);
        return _polyp->wave(~0U) >= 0;
    }
    /// Whether its program draws several views at once.
    mutable bool isOnePass = false;

private:
    static std::string composed(VRenderContext& context, std::string text, const char* stage) {
        const std::string views =
            std::string("#define ") + stage + "_SHADER 1\n" +
            context.defineMultiView(context.EyeViews.size(), stage != std::string("FRAGMENT"), 0);
        const std::size_t place = text.find("VIEWS");
        return place == text.npos ? text : text.replace(place, 5, views);
    }
    void fill(VRenderContext& context) const {
        _seagrass = context.getSeagrass();
        _polyp = PolypPtr(new Polyp(Keel::WeakPtr<Keel::Creature>()));
        const bool hasGeometry = !_stages.geometry.empty();
        const RenderBasin::ProgramPtr program = context.createProgram(
            {composed(context, _stages.vertex, "VERTEX")}, "staged.vert", 1,
            hasGeometry ? PointsInput : NoGeometryInput,
            {composed(context, _stages.geometry, "GEOMETRY")},
            hasGeometry ? TriangleStripOutput : NoGeometryOutput, "staged.geom", 1,
            {composed(context, _stages.fragment, "FRAGMENT")}, "staged.frag", 1, {}, {});
        completePolyp(
            *_polyp, context, program,
            context.createPainter(hasGeometry ? Points : TriangleStrip, hasGeometry ? 1 : 4));
        isOnePass = program->hasUniform("zelk_b_view");
    }

    const Stages _stages;
    mutable PolypPtr _polyp;
    mutable Keel::WeakPtr<Seagrass> _seagrass;
};
using StagedPtr = Keel::StrongPtr<Staged, VManagedObjectBase>;

/// Green by the view, which its fragments know of.
const Staged::Stages byFragments{
    R"(#version 330
VIEWS
void main() {
    zelk_setViewID();
    vec2 place = mix(vec2(-28.0, -28.0), vec2(-4.0, -12.0),
                     vec2(gl_VertexID & 1, gl_VertexID >> 1));
    gl_Position = multiview_transform(mkRelativeVertex(vec4(place, 15.0, 1.0)));
}
)",
    "", R"(#version 330
VIEWS
out vec4 color;
void main() {
    color = vec4(0.0, 1.0 - 0.15 * float(zelk_getViewID()), 0.2, 1.0);
}
)"};

const Staged::Stages byGeometry{
    R"(#version 330
VIEWS
void main() {
    zelk_setViewID();
    gl_Position = vec4(10.0, -25.0, 30.0, 1.0);
}
)",
    R"(#version 330
VIEWS
layout(points) in;
layout(triangle_strip, max_vertices = 4) out;
void main() {
    for (int i = 0; i < 4; ++i) {
        vec4 corner = gl_in[0].gl_Position + vec4(16.0 * (i & 1), 9.0 * (i >> 1), 0.0, 0.0);
        gl_Position = multiview_transform(mkRelativeVertex(corner));
        EmitVertex();
    }
}
)",
    R"(#version 330
out vec4 color;
void main() { color = vec4(0.9, 0.1, 0.8, 1.0); }
)"};

/// On the screen, whatever the view; with a geometry stage that knows nothing of views.
const Staged::Stages byScreen{
    R"(#version 330
VIEWS
void main() {
    zelk_setViewID();
    gl_Position = vec4(-0.9, 0.1, 0.0, 1.0);
}
)",
    R"(#version 330
layout(points) in;
layout(triangle_strip, max_vertices = 4) out;
void main() {
    for (int i = 0; i < 4; ++i) {
        gl_Position = gl_in[0].gl_Position + vec4(0.25 * (i & 1), 0.5 * (i >> 1), 0.0, 0.0);
        EmitVertex();
    }
}
)",
    R"(#version 330
out vec4 color;
void main() { color = vec4(0.4, 0.4, 0.4, 1.0); }
)"};

/// Knows nothing but the matrices of the view that is drawn.
const Staged::Stages byMatrices{
    R"(#version 330 compatibility
void main() {
    vec2 place = mix(vec2(-20.0, 10.0), vec2(4.0, 26.0), vec2(gl_VertexID & 1, gl_VertexID >> 1));
    gl_Position = gl_ModelViewProjectionMatrix * vec4(place, 25.0, 1.0);
}
)",
    "", R"(#version 330
out vec4 color;
void main() { color = vec4(0.1, 0.7, 0.9, 1.0); }
)"};

/// Eyes side by side, which see the same at the ground.
std::vector<GLRenderContext::Eye> eyesFromAbove(int number) {
    std::vector<GLRenderContext::Eye> eyes;
    for (int i = 0; i < number; ++i) {
        eyes.push_back(eyeFromAbove(0.04 * (2.0 * i / (number - 1) - 1.0)));
    }
    return eyes;
}

class OnePass : public testing::TestWithParam<Pass> {
protected:
    OnePass() {
        settings.widthPixels = settings.heightPixels = size;
        settings.samples = 1;
    }
    ~OnePass() override { VActionNotifier::clear(); }
    void SetUp() override {
        std::string reason;
        const auto context = tryContext({}, reason);
        if (!context) POLYPIA_NO_CONTEXT(reason);
        if (!GLLayeredFramebuffer::isPossible(*context, GetParam(), 5)) {
            GTEST_SKIP() << "the driver can't draw in this way";
        }
    }

    template<class Kind>
    void add(const std::string& name, const Rectangle& rectangle,
             const Skua::FixedArray<float, 4>& color) {
        const Keel::StrongPtr<Kind, VManagedObjectBase> quad(new Kind(name));
        quad->rectangle = rectangle;
        quad->color = color;
        objects.push_back(quad);
    }
    void fillScene() {
        add<Quad>("ground", {-30, -30, 30, 30, 0}, {0.3F, 0.2F, 0.1F, 1});
        add<AllAtOnce>("all", {-10, -20, 14, 4, 10}, {1, 0, 0, 1});
        add<OneByOne>("one by one", {0, -10, 24, 14, 20}, {0, 0, 1, 1});
        add<Quad>("each eye", {-6, -6, 6, 6, 40}, {1, 1, 0, 1});
        for (const auto& [name, stages] : {std::pair("fragments", byFragments),
                                           {"geometry", byGeometry},
                                           {"screen", byScreen},
                                           {"matrices", byMatrices}}) {
            const StagedPtr staged(new Staged(name, stages));
            objects.push_back(staged);
            allStaged.push_back(staged);
        }
    }
    using Pictures = std::vector<std::vector<std::uint8_t>>;

    /// What becomes of the scene in a viewer of its own.
    template<class Use>
    auto inViewer(Pass pass, const Use& use) {
        OffscreenViewer::Settings mine = settings;
        mine.pass = pass;
        const Keel::StrongPtr<OffscreenViewer, VManagedObjectBase> viewer(
            new OffscreenViewer("viewer", mine));
        EXPECT_EQ(viewer->pass(), pass);
        fillScene();
        auto result = use(*viewer);
        objects.clear();
        allStaged.clear();
        return result;
    }
    Pictures pictures(OffscreenViewer& viewer, int eyes) const {
        const auto frame = viewer.draw(eyesFromAbove(eyes));
        for (const auto& failure : frame.failures) {
            ADD_FAILURE() << failure.object << ": " << failure.report;
        }
        EXPECT_EQ(frame.result, GLRenderContext::Drew);
        EXPECT_EQ(frame.drawn, objects.size());
        Pictures all;
        for (int eye = 0; eye < eyes; ++eye) {
            all.push_back(viewer.colors(static_cast<unsigned>(eye)));
        }
        return all;
    }

    OffscreenViewer::Settings settings;
    std::vector<VObjectPtr> objects;
    std::vector<StagedPtr> allStaged;
};

TEST_P(OnePass, GivesTheBytesOfOneViewAfterTheOther) {
    for (const int samples : {1, 4}) {
        settings.samples = samples;
        for (const int eyes : {2, 5}) {
            const Pictures one = inViewer(GetParam(), [&](OffscreenViewer& viewer) {
                Pictures drawn = pictures(viewer, eyes);
                for (const StagedPtr& staged : allStaged) {
                    const bool isPossible =
                        staged->Name() == "fragments" ||
                        (staged->Name() == "geometry" && GetParam() == Pass::Layers);
                    EXPECT_EQ(staged->isOnePass, isPossible) << staged->Name();
                }
                return drawn;
            });
            const Pictures others = inViewer(
                Pass::EachView, [&](OffscreenViewer& viewer) { return pictures(viewer, eyes); });
            for (std::size_t eye = 0; eye < one.size(); ++eye) {
                EXPECT_TRUE(one[eye] == others[eye]) << "eye " << eye << " of " << eyes;
                EXPECT_EQ(one[eye] == one[0], eye == 0) << "eye " << eye;
            }
        }
    }
}

TEST_P(OnePass, FollowsTheNumberOfEyes) {
    const auto sequence = [&](OffscreenViewer& viewer) {
        Pictures all;
        for (const int eyes : {2, 3, 2}) {
            for (auto& picture : pictures(viewer, eyes)) all.push_back(std::move(picture));
            viewer.draw({eyeFromAbove()});
            all.push_back(viewer.colors(0));
        }
        return all;
    };
    EXPECT_TRUE(inViewer(GetParam(), sequence) == inViewer(Pass::EachView, sequence));
}

TEST_P(OnePass, PicksAsItDoesWithOneViewAfterTheOther) {
    using Names = std::vector<std::string>;
    const auto pick = [&](OffscreenViewer& viewer) {
        const Pictures before = pictures(viewer, 2);
        const auto list = viewer.pickPixels(0, 0, size, size);
        EXPECT_EQ(list->Ids.size(), objects.size());
        Names names;
        for (const std::uint32_t number : list->Buffer->elements()) {
            names.push_back(number == 0 ? std::string() : list->Ids.at(number)->Name());
        }
        EXPECT_TRUE(pictures(viewer, 2) == before) << "the next frame";
        return names;
    };
    const Names found = inViewer(GetParam(), pick);
    EXPECT_EQ(found, inViewer(Pass::EachView, pick));
    for (const char* const name : {"ground", "all", "one by one", "each eye", "fragments",
                                   "geometry", "screen", "matrices"}) {
        EXPECT_THAT(found, testing::Contains(name));
    }
}

TEST_P(OnePass, GivesThePixelsOfTheFirstEye) {
    inViewer(GetParam(), [&](OffscreenViewer& viewer) {
        const auto bytes = pictures(viewer, 2)[0];
        viewer.onRenderThread([&](GLRenderContext&) {
            std::vector<std::array<float, 4>> colors(std::size_t{size} * size);
            const auto buffer = viewer.getPixelBuffer();
            ASSERT_TRUE(buffer);
            buffer->readPixelColors(0, 0, reinterpret_cast<float(*)[4]>(colors.data()), size, size,
                                    0);
            for (std::size_t i = 0; i < bytes.size(); ++i) {
                ASSERT_EQ(std::lround(255.0F * colors[i / 4][i % 4]), bytes[i]);
            }
        });
        return 0;
    });
}

INSTANTIATE_TEST_SUITE_P(Passes, OnePass, testing::Values(Pass::Layers, Pass::Extension),
                         [](const auto& instance) {
                             return instance.param == Pass::Layers ? "Layers" : "Extension";
                         });

TEST(OnePassOfNoDriver, IsOneViewAfterTheOther) {
    std::string reason;
    const auto context = tryContext({}, reason);
    if (!context) POLYPIA_NO_CONTEXT(reason);
    OffscreenViewer::Settings settings;
    settings.widthPixels = settings.heightPixels = size;
    settings.pass = Pass::Extension;
    const Keel::StrongPtr<OffscreenViewer, VManagedObjectBase> viewer(
        new OffscreenViewer("viewer", settings));
    const bool isPossible = GLLayeredFramebuffer::isPossible(*context, Pass::Extension, 2);
    EXPECT_EQ(viewer->pass(), isPossible ? Pass::Extension : Pass::EachView);
}

} // namespace
