// An object that keeps to what FloatOrigin asks of it, on a driver: its points are where long
// double says, wherever they are in the world, and on both sides of each jump of its origin.

#include <Polypia/FloatOrigin.hpp>

#include "glRenderFixture.hpp"
#include "quad.hpp"
#include "toldPlaces.hpp"

#include <Polypia/RenderAble.hpp>

#include <algorithm>
#include <cmath>
#include <map>
#include <memory>
#include <string>
#include <utility>
#include <vector>

using namespace Mirk;
using namespace Mirk::GLTest;

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;

constexpr int pixels = ToldPlaces::pixels;
constexpr double fieldOfViewDegrees = 60.0;
constexpr double tenthOfAPixel = 0.1;

using Place = ExactView::Place;

/// Draws points that tell where they are. Behind them comes one that is no vertex, but a value of
/// its program.
class ToldPoints : public RenderAble, public FloatOrigin {
public:
    /// What comes first when a frame is told of its origin: both ways draw the same.
    enum class First { Views, Variables };

    ToldPoints(First firstTold, std::vector<point> points, const point& value)
        : VObject("points", 0, {}),
          RenderAble("points", 0, {}),
          _first(firstTold),
          _points(new Keel::Chunk<point>(std::move(points))),
          _value(value) {}

    /// The polyps are left to their render threads.
    ~ToldPoints() override {
        for (auto& [weak, shown] : _shown) {
            const Keel::StrongPtr<Seagrass> seagrass(weak);
            if (seagrass) seagrass->scheduleDeletion(std::move(shown.polyp));
        }
    }

    using RenderAble::environment_render;
    bool environment_render(VRenderContext& context) const override {
        Shown& shown = _shown[context.getSeagrass()];
        vector shift;
        FloatedOriginPtr origin = getCoordinateTranslation(context, shift);
        if (!origin || !shown.polyp || !(shift == shown.shift)) {
            upload(shown, context, shift);
            origin = getCoordinateTranslation(context, shift);
        }
        EXPECT_TRUE(origin) << "the camera is at the origin by now";
        if (!origin) return false;
        const RenderBasin::ProgramPtr program(shown.polyp->getProgram(~0UL));
        if (_first == First::Variables) program->setAllProgramVariables(*origin);
        context.updateTranslatedViews(*shown.polyp, -shift, 0);
        if (_first == First::Views) program->setAllProgramVariables(*origin);
        return shown.polyp->wave(~0U) > 0;
    }
    BoundingBallPtr getBoundingBall(const ValuePoolPtr&) const override { return {}; }

    int uploads(const VRenderContext& context) const { return shownIn(context).uploads; }
    vector shift(const VRenderContext& context) const { return shownIn(context).shift; }

private:
    /// What there is for a context.
    struct Shown {
        PolypPtr polyp;
        vector shift; ///< that was taken from its vertices
        int uploads = 0;
    };
    using SeagrassPtr = Keel::WeakPtr<Seagrass>;

    const Shown& shownIn(const VRenderContext& context) const {
        return _shown.at(context.getSeagrass());
    }
    /// The program stays, and with it what it was told.
    void upload(Shown& shown, VRenderContext& context, const vector& shift) const {
        const RenderBasin::ProgramPtr program =
            shown.polyp ? RenderBasin::ProgramPtr(shown.polyp->getProgram(~0UL)) : compile(context);
        const PolypPtr polyp(new Polyp({}));
        // Which the backend makes floats of.
        const auto attribute =
            context.createCoordinates(computeShiftedCoordinates(_points, shift), "Coordinates");
        polyp->insert(attribute);
        completePolyp(*polyp, context, program, attribute->createPainter(RenderNamespace::Points));
        shown = {polyp, shift, shown.uploads + 1};
    }
    RenderBasin::ProgramPtr compile(VRenderContext& context) const {
        const std::string views = context.defineMultiView(context.EyeViews.size(), true, 0);
        const RenderBasin::ProgramPtr program = context.createProgram(
            "#version 330\n#define VERTEX_SHADER 1\n" + views + ToldPlaces::functionOfVertices + R"(
in vec3 Coordinates;
uniform vec3 Value;
uniform int ValueVertex;
flat out vec2 place;
void main() {
    zelk_setViewID();
    vec3 shown = gl_VertexID == ValueVertex ? Value : Coordinates;
    gl_Position = multiview_transform(mkRelativeVertex(vec4(shown, 1.0)));
    place = toldPlace(gl_Position);
}
)",
            std::string("#version 330\n") + ToldPlaces::functionOfFragments + R"(
flat in vec2 place;
out vec4 color;
void main() { color = toldColor(place); }
)",
            "points.vert", "points.frag", 1, 1, {}, {});
        // Once and for all: where the origin is then is the matter of setAllProgramVariables().
        (*program)["Value"] = _value;
        (*program)["ValueVertex"] = static_cast<int>(_points->numberOfElements()) - 1;
        return program;
    }

    const First _first;
    const PointChunk _points;
    const point _value;
    mutable std::map<SeagrassPtr, Shown> _shown;
};
using ToldPointsPtr = Keel::StrongPtr<ToldPoints, VManagedObjectBase>;

/// A context with a pool of its own, unless it is given one.
struct Window {
    explicit Window(EglContext& glContext, const ValuePoolPtr& pool = Keel::make<ValuePool>())
        : seagrass(makeSeagrass()),
          context(makeRenderContext(glContext, seagrass)),
          target(std::make_unique<GLFramebuffer>(glContext, pixels, pixels, 1)) {
        context->pool = pool;
        context->setTargets({target.get()});
    }
    ~Window() { endRenderContext(context, seagrass); }

    const VCamera& camera() const { return context->CurrentView(0, 0).camera; }
    void lookFrom(const point& place, const point& lookAt) {
        eye.camera.position = place;
        eye.camera.lookAt = lookAt;
        eye.camera.up = {0.1, 0.2, 1.0};
        eye.camera.fieldOfView = fieldOfViewDegrees;
        const double distance = norm(lookAt - place);
        eye.near = 0.01 * distance;
        eye.far = 100.0 * distance;
        context->setEyes({eye});
    }
    void draw(const ToldPointsPtr& object) {
        ToldPlaces::clear(*target);
        ObjectSelection objects;
        objects.insert(0, object);
        double seconds = 0;
        context->renderObjects(objects, seconds, 0, 0);
        for (const auto& failure : context->failures()) ADD_FAILURE() << failure.report;
        places.read(*target);
    }
    Place placeOf(const point& p) const { return ExactView(eye, pixels, pixels).placeOf(p); }

    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> context;
    std::unique_ptr<GLFramebuffer> target;
    GLRenderContext::Eye eye;
    ToldPlaces places;
};
using WindowPtr = std::unique_ptr<Window>;

class ToldOrigin : public DriverTest {
protected:
    static vector towardsEye() { return normalised(vector{0.48, -0.6, 0.64}); }
    static vector right() { return normalised(cross(-towardsEye(), vector{0.1, 0.2, 1.0})); }
    static vector up() { return cross(right(), -towardsEye()); }

    static point centreAt(double offset) {
        return point() + vector{0.7, -0.5, 0.509902} * offset + vector{0.125, 0.25, -0.5};
    }
    /// A grid of points to be seen from a distance of 10, within one to be seen from 20000, in
    /// rough planes across the view; behind them the centre, in whose place the value is drawn.
    static std::vector<point> pointsAround(const point& centre) {
        std::vector<point> points;
        for (const double step : {1.4, 2.8e3}) {
            for (int i = 0; i < 49; ++i) {
                const int column = i % 7 - 3, row = i / 7 - 3;
                if (step > 2.0 && column == 0 && row == 0) continue;
                points.push_back(centre + right() * (step * column) + up() * (step * row) +
                                 towardsEye() * (0.3 * step * std::sin(i)));
            }
        }
        points.push_back(centre);
        return points;
    }
    /// Between the points of the smaller grid.
    static point valueNear(const point& centre) { return centre + right() * 0.7 - up() * 0.7; }
    /// A camera there, that looks across the planes.
    static void lookAt(Window& window, const point& centre, double distance, double aside = 0.0) {
        const vector moved = right() * aside;
        window.lookFrom(centre + towardsEye() * distance + moved, centre + moved);
    }

    static ToldPlaces::Found compare(const Window& window, const std::vector<point>& points) {
        std::vector<Place> places;
        for (const point& p : points) places.push_back(window.placeOf(p));
        return window.places.compare(places);
    }
};

/// The middle of the points is so far from zero, along no axis.
class ToldOriginAt : public ToldOrigin, public testing::WithParamInterface<double> {};

std::string nameOfOffset(const testing::TestParamInfo<double>& offset) {
    if (offset.param == 0.0) return "Zero";
    return "E" + std::to_string(std::lround(std::log10(offset.param)));
}

INSTANTIATE_TEST_SUITE_P(Offsets, ToldOriginAt, testing::Values(0.0, 1e3, 6.4e6, 1e9, 1e12),
                         nameOfOffset);

TEST_P(ToldOriginAt, PointsAndAPointOfTheProgramAreRightBeforeAndBehindEachJump) {
    const point centre = centreAt(GetParam()), value = valueNear(centre);
    std::vector<point> points = pointsAround(centre);
    for (const auto first : {ToldPoints::First::Views, ToldPoints::First::Variables}) {
        auto window = std::make_unique<Window>(*glContext);
        ToldPointsPtr object(new ToldPoints(first, points, value));
        ASSERT_EQ(object->CameraShiftThreshold, 1e4);
        std::vector<point> shown = points;
        shown.back() = value;
        vector origin;
        int uploads = 0;
        const struct {
            double distance, aside;
        } steps[] = {{9.5e3, 0}, {10, 0}, {10, 1.3}, {2e4, 0}, {1.05e4, 0}, {10, 0}, {10, -0.9}};
        for (const auto& [distance, aside] : steps) {
            lookAt(*window, centre, distance, aside);
            const point camera = window->camera().position;
            const bool jumps = norm(camera - point() - origin) > 1e4;
            if (jumps) origin = camera - point();
            if (jumps || uploads == 0) ++uploads;
            window->draw(object);
            EXPECT_EQ(object->uploads(*window->context), uploads) << distance;
            EXPECT_EQ(object->shift(*window->context), origin) << distance;
            const auto found = compare(*window, shown);
            EXPECT_LT(found.worst, tenthOfAPixel) << distance << " " << aside;
            EXPECT_GE(found.number, 12) << distance << " " << aside;
            if (distance > 100) continue;
            const double off = window->places.offOf(window->placeOf(value));
            EXPECT_LT(off, tenthOfAPixel) << "value " << aside;
        }
        EXPECT_EQ(uploads, 3);
        object = {}; // its polyp dies with the context current
        window.reset();
    }
}

/// Two contexts that look at the same points from far apart.
class TwoOrigins : public ToldOrigin {
protected:
    void draw(const ValuePoolPtr& nearPool, const ValuePoolPtr& farPool) {
        near = std::make_unique<Window>(*glContext, nearPool);
        far = std::make_unique<Window>(*glContext, farPool);
        const point centre = centreAt(6.4e6), value = valueNear(centre);
        std::vector<point> points = pointsAround(centre);
        object = ToldPointsPtr(new ToldPoints(ToldPoints::First::Views, points, value));
        points.back() = value;
        lookAt(*near, centre, 10.0);
        lookAt(*far, centre, 2e4);
        for (int round = 0; round < rounds; ++round) {
            for (Window* const window : {near.get(), far.get()}) {
                window->draw(object);
                const auto found = compare(*window, points);
                EXPECT_LT(found.worst, tenthOfAPixel) << round;
                EXPECT_GE(found.number, 42) << round;
                EXPECT_EQ(point() + object->shift(*window->context), window->camera().position);
            }
        }
    }
    void TearDown() override {
        object = {};
        near.reset();
        far.reset();
        ToldOrigin::TearDown();
    }

    static constexpr int rounds = 3;
    WindowPtr near, far;
    ToldPointsPtr object;
};

TEST_F(TwoOrigins, OfTwoPoolsStayWhereTheirCamerasAre) {
    draw(Keel::make<ValuePool>(), Keel::make<ValuePool>());
    EXPECT_EQ(object->uploads(*near->context), 1);
    EXPECT_EQ(object->uploads(*far->context), 1);
}

TEST_F(TwoOrigins, OfOnePoolAreOneThatEachOfThemMoves) {
    const ValuePoolPtr pool = Keel::make<ValuePool>();
    draw(pool, pool);
    EXPECT_EQ(object->uploads(*near->context), rounds);
    EXPECT_EQ(object->uploads(*far->context), rounds);
}

} // namespace
