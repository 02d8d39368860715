// Random scenes with broken display objects and lights: the others look as if these weren't there.

#include <Displays/Displays.hpp>

#include "../PolypiaGL/glFixture.hpp"
#include "displayData.hpp"

#include <Polypia/ObjectSelection.hpp>
#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/GLRenderContext.hpp>
#include <PolypiaGL/glErrors.hpp>
#include <rookery/Geodesy.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VRequest.hpp>
#include <sorrel/Vprintf.hpp>

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <chrono>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <limits>
#include <memory>
#include <new>
#include <random>
#include <set>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

using namespace Mirk;

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int worldsOfATest = 1; // each of which takes ten times as long
constexpr unsigned testsForAGlobe = 10;
constexpr int scenesOfAWorld = 10;
constexpr int numberOfSlowWorlds = 1;
#else
constexpr int worldsOfATest = 5;
constexpr unsigned testsForAGlobe = 5; // which takes as long as all else
constexpr int scenesOfAWorld = 20;
constexpr int numberOfSlowWorlds = 5;
#endif
constexpr unsigned numberOfTests = 10; // with 1,000 scenes together
// Objects are in the cells of a square, each of which has so many pixels.
constexpr int cellsInARow = 3;
constexpr int cellPixels = 16;
constexpr int size = cellsInARow * cellPixels;
constexpr int numberOfCells = cellsInARow * cellsInARow;
constexpr double nan = std::numeric_limits<double>::quiet_NaN();

/// Four bytes of each pixel, rows from the bottom.
using Picture = std::vector<std::uint8_t>;

/// The bytes of a cell.
Picture cellOf(const Picture& picture, int cell) {
    const int left = cell % cellsInARow * cellPixels, bottom = cell / cellsInARow * cellPixels;
    Picture bytes;
    for (int y = bottom; y < bottom + cellPixels; ++y) {
        const auto first = picture.begin() + (y * size + left) * 4;
        bytes.insert(bytes.end(), first, first + cellPixels * 4);
    }
    return bytes;
}

/// Time limits are a viewer's.
class Precision : public VRenderPrecision {
public:
    void adaptPrecision() override {}
};
/// With each half of it objects leave out half of their vertices.
constexpr std::array precisions{1.0, 0.5, 0.25};

/// Where an object throws what.
struct Trouble {
    enum Place { Nowhere, Reading, Asked, Drawing };
    Place place = Nowhere;
    std::function<void()> thrower;

    void at(Place here) const {
        if (place == here) thrower();
    }
};

/// A cloud whose operations throw.
class Troubled : public PointCloud {
public:
    Troubled(const std::string& objectName, const PointSet& data)
        : VObject(objectName, 0, {}), PointCloud(objectName, data) {}

    using PointCloud::environment_render;
    bool environment_render(VRenderContext& context) const override {
        trouble.at(Trouble::Drawing);
        return PointCloud::environment_render(context);
    }

    Trouble trouble;

protected:
    ContentPtr read(const ValuePoolPtr& pool, const ContentPtr& present) const override {
        trouble.at(Trouble::Reading);
        return PointCloud::read(pool, present);
    }
    Form form(const ValuePoolPtr& pool) const override {
        trouble.at(Trouble::Asked);
        return PointCloud::form(pool);
    }
};

/// A light from all sides whose operations throw, or whose function no compiler takes.
class TroubledLight final : public ShaderLightSource {
public:
    enum class Code { Good, Faulty, Throwing };

    explicit TroubledLight(const std::string& lightName)
        : VObject(lightName, 0, {}),
          ShaderLightSource(lightName, 0, {}),
          _turn(this, "turn", 0.0, 0) {
        enableRequestProcessing();
    }

    std::string getShaderCode() const override {
        if (code == Code::Throwing) trouble.thrower();
        return "uniform vec3 Light$$Intensity;\n"
               "void getLight_$$(in vec3 vertex, out vec3 light_incidence, out vec3 intensity, "
               "out vec3 specular_intensity)\n{\n"
               "    light_incidence = specular_intensity = vec3(0.0);\n"
               "    intensity = Light$$Intensity;\n" +
               std::string(code == Code::Faulty ? "    oops\n" : "") + "}\n";
    }
    void updateLight(ProgramVariables& uniforms, VRequest&) override {
        uniforms["Light$$Intensity"] = Skua::FixedArray<double, 3>{0.3, 0.2, 0.1};
    }
    void updateLightAtRendering(ProgramVariables&, VRenderContext&) const override {
        trouble.at(Trouble::Drawing);
    }

    void set(const Trouble& nextTrouble, Code nextCode) {
        trouble = nextTrouble;
        code = nextCode;
        _turn.set({}, ++_turns); // to be read anew
    }

    Trouble trouble;
    Code code = Code::Good;

private:
    const TypedSlot<double> _turn;
    double _turns = 0.0;
};

/// A transformation whose text doesn't compile.
class Nonsense : public TransformOperator::Functor {
public:
    std::string myShaderFunctions(VRenderContext&) const override { return "nonsense;\n"; }
    TransformOperator::BoundingBoxPtr
    transformedBBox(const ValuePoolPtr&,
                    const TransformOperator::BoundingBoxPtr& box) const override {
        return box;
    }
};

const std::vector<std::function<void()>> throwers{
    [] { throw RenderException(0x502, "draw", "broken.cpp", 1); },
    [] { throw std::runtime_error("broken"); },
    [] { throw std::bad_alloc(); },
    [] { throw 7; },
    [] { throw std::string("broken"); },
};

/// Worlds of objects that break, and are mended.
class BrokenWorlds : public testing::Test {
protected:
    using ObjectPtr = Keel::StrongPtr<DisplayObject, VManagedObjectBase>;

    /// What a broken object leaves in its cell.
    enum class Remains { Nothing, LastPicture, Either };
    /// One kind of breaking an object, and of mending it.
    struct Break {
        std::string name;
        Remains remains;
        std::function<void()> breaks;
        std::function<void()> mends;
    };
    /// An object that breaks.
    struct Actor {
        ObjectPtr object;
        std::vector<Break> ways;
        const Break* broken = nullptr;
    };

    void SetUp() override {
        std::string reason;
        glContext = GLTest::tryContext({}, reason);
        if (!glContext) POLYPIA_NO_CONTEXT(reason);
        glContext->makeCurrent();
        std::string pattern = std::filesystem::temp_directory_path() / "brokenXXXXXX";
        ASSERT_NE(mkdtemp(pattern.data()), nullptr);
        folder = pattern;
        target = std::make_unique<GLFramebuffer>(*glContext, size, size, 1);
    }
    void TearDown() override {
        target.reset();
        if (!folder.empty()) std::filesystem::remove_all(folder);
    }

    std::size_t below(std::size_t end) { return random() % end; }
    double unit() { return std::uniform_real_distribution<double>(0.0, 1.0)(random); }

    // --- Objects

    Actor actorAt(const point& middle, const std::string& name) {
        Actor actor;
        switch (below(5)) {
        case 0:
            actor = cloudAt(middle, name);
            break;
        case 1:
            actor = linesAt(middle, name);
            break;
        case 2:
            actor = surfaceAt(middle, name);
            break;
        case 3:
            actor = boxAt(middle, name);
            break;
        default:
            actor = troubledAt(middle, name);
        }
        return actor;
    }
    static Actor globe(const std::string& name) {
        constexpr double unitsPerMetre = 0.8 / Skua::WGS84::semiMajorAxisMetres;
        return {ObjectPtr(new GlobeDisplay(name, unitsPerMetre)), {}};
    }
    std::vector<point> pointsAt(const point& middle) {
        std::vector<point> points;
        for (std::size_t i = 0; i < 3 + below(6); ++i) {
            points.push_back(middle + vector{unit() - 0.5, unit() - 0.5, unit() - 0.5});
        }
        return points;
    }
    static std::vector<Color> colorsOf(std::size_t number) {
        return std::vector<Color>(number, Color{255, 200, 90, 255});
    }
    Actor cloudAt(const point& middle, const std::string& name) {
        PointSet data = cloud(pointsAt(middle));
        // Which stands for none.
        if (below(2) == 0) data.colors = makeChunk(std::vector<Color>());
        const Keel::StrongPtr<PointCloud, VManagedObjectBase> object(new PointCloud(name, data));
        Actor actor{object, {}};
        const auto& input = object->points();
        addData(actor, input, data,
                {PointSet(), cloud({}), cloud({{nan, 0, 0}, {0, nan, nan}}),
                 cloud(pointsAt(middle), colorsOf(1))});
        return actor;
    }
    Actor linesAt(const point& middle, const std::string& name) {
        const Polylines data = polylines({{1, pointsAt(middle)}}, LineKind::Curve);
        const Keel::StrongPtr<LineSet, VManagedObjectBase> object(new LineSet(name, data, false));
        Actor actor{object, {}};
        Polylines beyond = polylines({{1, pointsAt(middle)}}, LineKind::Curve);
        beyond.starts = makeChunk(std::vector<std::uint32_t>{0, 1000});
        addData(actor, object->lines(), data,
                {Polylines(), polylines({}, LineKind::Curve),
                 polylines({{1, {}}, {2, {}}}, LineKind::Curve),
                 polylines({{1, {{nan, 0, 0}, {0, 0, nan}}}}, LineKind::Curve), beyond});
        return actor;
    }
    Actor surfaceAt(const point& middle, const std::string& name) {
        const double half = 0.2 + 0.3 * unit();
        const TriangleMesh data =
            mesh({middle + vector{-half, -half, unit() - 0.5}, middle + vector{half, -half, 0},
                  middle + vector{0, half, 0}},
                 {0, 1, 2});
        const Keel::StrongPtr<TriangleSurface, VManagedObjectBase> object(
            new TriangleSurface(name, data));
        object->edges().set({}, below(2) == 0);
        object->smooth().set({}, below(2) == 0);
        Actor actor{object, {}};
        addData(actor, object->surface(), data,
                {TriangleMesh(), mesh({}, {}), mesh(pointsAt(middle), {}),
                 mesh({{nan, 0, 0}, {0, 0, nan}, {0, nan, 0}}, {0, 1, 2}),
                 mesh(pointsAt(middle), {0, 1, 1000})});
        return actor;
    }
    Actor boxAt(const point& middle, const std::string& name) {
        const auto boxOf = [](const point& low, const point& high) {
            return SharedBoundingBox(Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>(
                new Skua::BoundingBox(low, high)));
        };
        const vector half{0.5, 0.3, 0.4};
        const Keel::StrongPtr<BoundingBoxDisplay, VManagedObjectBase> object(
            new BoundingBoxDisplay(name));
        const SharedBoundingBox data = boxOf(middle - half, middle + half);
        object->box().set({}, data);
        Actor actor{object, {}};
        addData(actor, object->box(), data, {SharedBoundingBox(), boxOf({nan, 0, 0}, {1, 1, nan})});
        return actor;
    }
    Actor troubledAt(const point& middle, const std::string& name) {
        const std::vector<point> points = pointsAt(middle);
        const Keel::StrongPtr<Troubled, VManagedObjectBase> object(
            new Troubled(name, cloud(points)));
        Actor actor{object, {}};
        const auto trouble = [=](const Trouble& next) {
            object->trouble = next;
            object->points().set({}, cloud(points)); // to be read anew
        };
        for (const Trouble::Place place : {Trouble::Reading, Trouble::Asked, Trouble::Drawing}) {
            for (const auto& thrower : throwers) {
                actor.ways.push_back({"trouble " + std::to_string(place), Remains::Nothing,
                                      [=] {
                                          trouble({place, thrower});
                                      },
                                      [=] { trouble({}); }});
            }
        }
        return actor;
    }

    // --- What breaks

    template<class T>
    static void addData(Actor& actor, const TypedSlot<T>& input, const T& good,
                        const std::vector<T>& bad) {
        for (const T& data : bad) {
            actor.ways.push_back({"data " + std::to_string(&data - bad.data()), Remains::Nothing,
                                  [=] { input.set({}, data); }, [=] { input.set({}, good); }});
        }
    }
    void addFaultyTexts(Actor& actor, const std::string& name) {
        addFaultyShaders(actor, name);
        addNonsense(actor);
    }
    /// In a folder of its own, with a file that has the text that is in use.
    void addFaultyShaders(Actor& actor, const std::string& name) {
        const std::string own = folder + "/" + name;
        std::filesystem::create_directory(own);
        actor.object->setShaderFolder(own);
        const std::string stem = own + "/" + actor.object->shaderStem();
        std::filesystem::remove(stem + ".vert");
        const std::string file = stem + ".frag";
        save(file, "");
        const auto add = [&](const std::string& fault) {
            actor.ways.push_back({"fragment stage", Remains::LastPicture,
                                  [=, this] { save(file, fault + contentOf(file)); },
                                  [=, this] { save(file, contentOf(file).substr(fault.size())); }});
        };
        add("float fault() { return undefinedName; }\n");
        add("#include \"no such file\"\r\nfloat fault() { return ofTheMissingFile(); }\n");
        add("#error broken\n");
        actor.ways.push_back({"vertex stage", Remains::LastPicture,
                              [=, this] { save(stem + ".vert", "void main() {"); },
                              [=, this] { save(stem + ".vert", "//disable"); }});
    }
    void addNonsense(Actor& actor) {
        const ObjectPtr object = actor.object;
        actor.ways.push_back({"transformation", Remains::Either,
                              [=] {
                                  TransformOperator nonsense;
                                  nonsense.functor =
                                      Keel::StrongPtr<TransformOperator::Functor>(new Nonsense);
                                  object->transformSlot().set({}, nonsense);
                              },
                              [=] { object->transformSlot().set({}, TransformOperator()); }});
    }
    /// With a time that differs from those of all files before.
    void save(const std::string& file, const std::string& text) {
        std::ofstream(file) << text;
        age += std::chrono::seconds(2);
        std::filesystem::last_write_time(file, std::filesystem::file_time_type::clock::now() + age);
    }
    static std::string contentOf(const std::string& file) {
        std::ifstream stream(file);
        return {std::istreambuf_iterator<char>(stream), {}};
    }

    // --- Frames

    std::unique_ptr<GLRenderContext> makeContext(const Keel::StrongPtr<Seagrass>& cache) const {
        auto made = std::make_unique<GLRenderContext>(
            *glContext, cache, Keel::WeakPtr<VRenderInterruptor>(),
            Keel::StrongPtr<VRenderPrecision>(), 1LL << 30);
        made->precision = Keel::StrongPtr<VRenderPrecision>(new Precision);
        made->pool = Keel::make<ValuePool>();
        return made;
    }
    void drain(Keel::StrongPtr<Seagrass>& cache) const {
        const Keel::WeakPtr<Seagrass> remains(cache);
        cache = {};
        EXPECT_TRUE(Seagrass::drain(remains));
    }
    /// A frame of these objects, within an allowance of bytes.
    Picture frameOf(const std::vector<RenderAblePtr>& objects, GLRenderContext& drawing,
                    std::int64_t bytes) {
        drawing.renderAllowance = bytes;
        target->clear({0.0F, 0.0F, 0.0F, 1.0F});
        drawing.setTargets({target.get()});
        GLRenderContext::Eye eye;
        eye.camera.position = {0, 0, 3};
        eye.camera.lookAt = {0, 0, 0};
        eye.camera.up = {0, 1, 0};
        eye.camera.fieldOfView = 90.0;
        eye.near = 1.0;
        eye.far = 10.0;
        drawing.setEyes({eye});
        testing::internal::CaptureStdout();
        VRequest request(drawing.pool);
        ObjectSelection selection;
        for (const RenderAblePtr& object : objects) {
            // As if it had taken half of the time of the last frame.
            writeParameter<double>(object->findOutput(Zelk::rendertime_contribution)->parameter(),
                                   drawing.pool, 0.5);
            if (object->isVisible(drawing.pool)) request.process(*object, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        }
        double seconds = 0.0;
        const auto result = drawing.renderObjects(selection, seconds, 0, 0);
        testing::internal::GetCapturedStdout();
        wasRefused = (result & GLRenderContext::RefusedMemory) != 0;
        Picture picture(std::size_t{size} * size * 4);
        target->readColors(picture);
        return picture;
    }
    bool hasReport(const RenderAble& object) const {
        const auto* const shown = dynamic_cast<const VRenderObject*>(&object);
        if (shown != nullptr && !shown->renderStatusSlot().value(context->pool).text.empty()) {
            return true;
        }
        return std::any_of(context->failures().begin(), context->failures().end(),
                           [&](const auto& failure) { return failure.object == object.Name(); });
    }
    void breakOne(Actor& actor) {
        actor.broken = &actor.ways[below(actor.ways.size())];
        actor.broken->breaks();
    }
    void mendAll() {
        for (Actor& actor : actors) {
            if (actor.broken != nullptr) actor.broken->mends();
            actor.broken = nullptr;
        }
    }
    /// Of a broken object, in the frames that follow.
    Remains remainsOf(const Actor& actor) const {
        // Nothing has kept what was good when it broke.
        return wasEvictedAhead && actor.broken->remains != Remains::Nothing ? Remains::Either
                                                                            : actor.broken->remains;
    }
    static bool isBackground(const Picture& picture) {
        for (std::size_t i = 0; i < picture.size(); i += 4) {
            if (picture[i] != 0 || picture[i + 1] != 0 || picture[i + 2] != 0) return false;
        }
        return true;
    }
    /// Empties the cache.
    bool evictSometimes() {
        const bool evicts = below(6) == 0;
        if (evicts) seagrass->lawn();
        return evicts;
    }

    std::unique_ptr<EglContext> glContext;
    std::unique_ptr<GLFramebuffer> target;
    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> context;
    std::string folder;
    std::vector<Actor> actors;
    std::size_t level = 0;        // of the precision
    bool wasRefused = false;      // some of the allowance, in the last frame
    bool wasEvictedAhead = false; // between the last good frame and the breaking
    std::mt19937 random{20240229};
    std::chrono::seconds age{0};
};

/// Objects and lights that stand in each other's way, beside twins that never break, of which
/// another context draws what is to be seen.
class BrokenScenes : public BrokenWorlds, public testing::WithParamInterface<unsigned> {
protected:
    BrokenScenes() { random.seed(GetParam()); }

    void beginWorld(bool hasGlobe) {
        seagrass = Keel::make<Seagrass>(1ULL << 30, "pictures");
        twinSeagrass = Keel::make<Seagrass>(1ULL << 30, "twins");
        context = makeContext(seagrass);
        twinContext = makeContext(twinSeagrass);
        context->ShaderFileOverrides = true;
        level = below(precisions.size());
        for (const auto& each : {context.get(), twinContext.get()}) {
            each->precision->precision = precisions[level];
        }
        const std::size_t numberOfLights = below(4);
        for (std::size_t i = 0; i < numberOfLights; ++i) addLight("light" + std::to_string(i));
        for (int i = 0; i < numberOfActors; ++i) {
            const point middle{2.0 * unit() - 1.0, 2.0 * unit() - 1.0, unit() - 0.5};
            const std::string name = "object" + std::to_string(i);
            addActor([&](const std::string& suffix) { return actorAt(middle, name + suffix); });
        }
        if (hasGlobe) addActor([&](const std::string& suffix) { return globe("globe" + suffix); });
        const Picture whole = frame();
        EXPECT_FALSE(isBackground(whole));
        EXPECT_TRUE(whole == pictureWithout({}));
    }
    void endWorld() {
        actors.clear();
        twins.clear();
        lights.clear();
        twinLights.clear();
        troubled = {};
        context.reset();
        twinContext.reset();
        drain(seagrass);
        drain(twinSeagrass);
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
        VActionNotifier::clear();
    }
    /// Both by the same random numbers.
    template<class Make>
    auto twice(const Make& make) {
        const std::mt19937 before = random;
        auto first = make("");
        random = before;
        return std::pair(std::move(first), make("twin"));
    }
    template<class Make>
    void addActor(const Make& make) {
        auto [actor, twin] = twice(make);
        addFaultyTexts(actor, actor.object->Name());
        actors.push_back(std::move(actor));
        twins.emplace_back(twin.object);
    }
    void addLight(const std::string& name) {
        const std::size_t kind = below(2) * (1 + below(5));
        const auto [light, twin] =
            twice([&](const std::string& suffix) { return lightOf(kind, name + suffix); });
        lights.push_back(light);
        twinLights.push_back(twin);
        if (kind == 0) troubled = Keel::StrongPtr<TroubledLight, VManagedObjectBase>(light);
    }
    RenderAblePtr lightOf(std::size_t kind, const std::string& name) {
        const point place{2.0 * unit() - 1.0, 2.0 * unit() - 1.0, 1.0 + unit()};
        const vector direction = point() - place;
        switch (kind) {
        case 1:
            return RenderAblePtr(new AmbientLight(name));
        case 2: {
            const Keel::StrongPtr<DirectionalLight, VManagedObjectBase> light(
                new DirectionalLight(name));
            light->direction().set({}, direction);
            return RenderAblePtr(light);
        }
        case 3: {
            const Keel::StrongPtr<PositionalLight, VManagedObjectBase> light(
                new PositionalLight(name));
            light->position().set({}, place);
            return RenderAblePtr(light);
        }
        case 4: {
            const Keel::StrongPtr<SpotLight, VManagedObjectBase> light(new SpotLight(name));
            light->position().set({}, place);
            light->direction().set({}, direction);
            return RenderAblePtr(light);
        }
        case 5:
            return RenderAblePtr(new Headlight(name));
        default:
            return RenderAblePtr(new TroubledLight(name));
        }
    }

    Picture frame() {
        std::vector<RenderAblePtr> all = lights;
        for (const Actor& actor : actors) all.emplace_back(actor.object);
        const Picture picture = frameOf(all, *context, 1LL << 30);
        EXPECT_FALSE(wasRefused);
        return picture;
    }
    /// The twins of all but these.
    Picture pictureWithout(const std::set<std::size_t>& left) {
        std::vector<RenderAblePtr> all = twinLights;
        for (std::size_t i = 0; i < twins.size(); ++i) {
            if (!left.contains(i)) all.push_back(twins[i]);
        }
        return frameOf(all, *twinContext, 1LL << 30);
    }

    /// No more than three of which it is open what they leave, as each of them doubles what may be
    /// seen.
    void breakSome() {
        int open = 0;
        for (Actor& actor : actors) {
            if (below(3) != 0) continue;
            breakOne(actor);
            if (remainsOf(actor) == Remains::Either && ++open > 3) {
                actor.broken->mends();
                actor.broken = nullptr;
            }
        }
        if (!troubled || below(2) != 0) return;
        const auto& thrower = throwers[below(throwers.size())];
        switch (below(3)) {
        case 0:
            isLightTold = true;
            troubled->set({Trouble::Drawing, thrower}, TroubledLight::Code::Good);
            break;
        case 1:
            troubled->set({Trouble::Nowhere, thrower}, TroubledLight::Code::Throwing);
            break;
        default:
            troubled->set({}, TroubledLight::Code::Faulty);
        }
    }
    void mendAllWithLights() {
        mendAll();
        if (troubled) troubled->set({}, TroubledLight::Code::Good);
        isLightTold = false;
    }
    /// What is well is seen, unless it needs a new text with the function of a light that has none.
    bool isOpen(const Actor& actor) const {
        if (actor.broken != nullptr) return remainsOf(actor) == Remains::Either;
        return isLit(actor) && isLightsCodeBad() && wasEvictedAhead;
    }
    bool isLightsCodeBad() const { return troubled && troubled->code != TroubledLight::Code::Good; }
    bool isLightsTextFaulty() const {
        return troubled && troubled->code == TroubledLight::Code::Faulty;
    }
    static bool isLit(const Actor& actor) {
        return dynamic_cast<const TriangleSurface*>(actor.object.get()) != nullptr;
    }

    /// Draws one frame, in which all are as they have to be.
    void expectOthersUnharmed() {
        const Picture picture = frame();
        std::set<std::size_t> nothing;
        std::vector<std::size_t> open;
        std::string broken;
        for (std::size_t i = 0; i < actors.size(); ++i) {
            const Actor& actor = actors[i];
            const bool isBroken = actor.broken != nullptr;
            // What a light does to a text is told by who is lit; one that throws may not be asked.
            const bool isTold = isBroken || (isLit(actor) && isLightsTextFaulty());
            if (!isLit(actor) || isTold || !isLightsCodeBad()) {
                EXPECT_EQ(hasReport(*actor.object), isTold)
                    << actor.object->Name() << (isBroken ? ", " + actor.broken->name : " is well");
            }
            if (isOpen(actor)) open.push_back(i);
            if (!isBroken) continue;
            broken += actor.object->Name() + ": " + actor.broken->name + "; ";
            if (remainsOf(actor) == Remains::Nothing) nothing.insert(i);
        }
        for (const RenderAblePtr& light : lights) {
            const bool isTold =
                isLightTold && dynamic_cast<const TroubledLight*>(light.get()) == troubled.get();
            EXPECT_EQ(hasReport(*light), isTold) << light->Name();
        }
        bool isRight = false;
        for (std::size_t choice = 0; choice < (1U << open.size()) && !isRight; ++choice) {
            std::set<std::size_t> left = nothing;
            for (std::size_t i = 0; i < open.size(); ++i) {
                if ((choice >> i & 1U) != 0) left.insert(open[i]);
            }
            isRight = picture == pictureWithout(left);
        }
        EXPECT_TRUE(isRight) << broken << (isLightsCodeBad() ? "and a light" : "");
    }

    static constexpr int numberOfActors = 6;
    Keel::StrongPtr<Seagrass> twinSeagrass;
    std::unique_ptr<GLRenderContext> twinContext;
    std::vector<RenderAblePtr> twins, lights, twinLights;
    Keel::StrongPtr<TroubledLight, VManagedObjectBase> troubled; // the last of those, or null
    bool isLightTold = false;                                    // its failure
};

TEST_P(BrokenScenes, LookAsIfWhatIsBrokenWereNotThereAndAreWholeInTheFrameAfterItIsMended) {
    for (int world = 0; world < worldsOfATest && !HasFailure(); ++world) {
        SCOPED_TRACE("world " + std::to_string(world));
        beginWorld(world == 0 && GetParam() % testsForAGlobe == 0);
        for (int scene = 0; scene < scenesOfAWorld && !HasFailure(); ++scene) {
            SCOPED_TRACE("scene " + std::to_string(scene));
            wasEvictedAhead = evictSometimes();
            breakSome();
            expectOthersUnharmed();
            evictSometimes();
            if (below(2) == 0) expectOthersUnharmed();
            mendAllWithLights();
            evictSometimes();
            expectOthersUnharmed();
        }
        endWorld();
    }
}

INSTANTIATE_TEST_SUITE_P(Random, BrokenScenes, testing::Range(0U, numberOfTests));

/// Each object in a cell of its own, where it comes and goes as the allowance has it.
class SlowBrokenScenes : public BrokenWorlds {
protected:
    void beginWorld() {
        seagrass = Keel::make<Seagrass>(1ULL << 30, "pictures");
        context = makeContext(seagrass);
        context->ShaderFileOverrides = true;
        allowance = 1LL << 30;
        for (int cell = 0; cell < numberOfCells; ++cell) {
            const point middle{2.0 * (cell % cellsInARow) - 2.0, 2.0 * (cell / cellsInARow) - 2.0,
                               0};
            const std::string name = "object" + std::to_string(cell);
            actors.push_back(actorAt(middle, name));
            addFaultyTexts(actors.back(), name);
        }
        for (auto& pool : pools) {
            pool = Keel::make<ValuePool>();
            context->pool = pool;
            for (level = 0; level < precisions.size(); ++level) {
                context->precision->precision = precisions[level];
                well[level] = frame();
            }
        }
        choosePlace();
    }
    void endWorld() {
        actors.clear();
        pools = {};
        context.reset();
        drain(seagrass);
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
        VActionNotifier::clear();
    }
    /// Where the next frame is drawn, and how finely.
    void choosePlace() {
        context->pool = pools[below(pools.size())];
        level = below(precisions.size());
        context->precision->precision = precisions[level];
    }

    Picture frame() {
        std::vector<RenderAblePtr> all;
        for (const Actor& actor : actors) all.emplace_back(actor.object);
        return frameOf(all, *context, allowance);
    }
    /// The frame behind which all has come for which there is no room in one. Until then each
    /// object that isn't broken is drawn as it was at some time, or not at all.
    Picture wholeFrame() {
        allowance = 1LL << 8;
        Picture picture = frame();
        // Some may wait for their turn while others come.
        const auto goesOn = [&] { return wasRefused || context->renderAllowance != allowance; };
        for (int i = 0; goesOn() && i < 200; ++i) {
            for (int cell = 0; cell < numberOfCells; ++cell) {
                if (actors[static_cast<std::size_t>(cell)].broken != nullptr) continue;
                EXPECT_TRUE(isOfAnyTime(picture, cell)) << "in cell " << cell;
            }
            // What is larger would wait for ever.
            if (context->renderAllowance == allowance) allowance *= 2;
            picture = frame();
        }
        EXPECT_FALSE(wasRefused);
        return picture;
    }
    bool isOfAnyTime(const Picture& picture, int cell) const {
        const Picture present = cellOf(picture, cell);
        return isBackground(present) ||
               std::any_of(well.begin(), well.end(),
                           [&](const Picture& before) { return present == cellOf(before, cell); });
    }
    void breakSome() {
        for (Actor& actor : actors) {
            if (below(3) == 0) breakOne(actor);
        }
    }
    void expectOthersUnharmed() {
        choosePlace();
        const Picture picture = wholeFrame();
        for (int cell = 0; cell < numberOfCells; ++cell) {
            const Actor& actor = actors[static_cast<std::size_t>(cell)];
            const bool isBroken = actor.broken != nullptr;
            SCOPED_TRACE("in cell " + std::to_string(cell) + ", " +
                         (isBroken ? actor.broken->name : "well"));
            EXPECT_EQ(hasReport(*actor.object), isBroken);
            const bool isAsBefore = cellOf(picture, cell) == cellOf(well[level], cell);
            const Remains remains = isBroken ? remainsOf(actor) : Remains::LastPicture;
            const bool isEmpty = isBackground(cellOf(picture, cell));
            const bool isRight = remains == Remains::Nothing       ? isEmpty
                                 : remains == Remains::LastPicture ? isAsBefore
                                                                   : isOfAnyTime(picture, cell);
            EXPECT_TRUE(isRight);
        }
    }

    std::array<ValuePoolPtr, 2> pools;
    std::array<Picture, precisions.size()> well;
    std::int64_t allowance = 0; // of each frame, in bytes
};

TEST_F(SlowBrokenScenes, LookAsIfWhatIsBrokenWereNotThereWhileAllComesLittleByLittle) {
    for (int world = 0; world < numberOfSlowWorlds && !HasFailure(); ++world) {
        beginWorld();
        for (int cell = 0; cell < numberOfCells; ++cell) {
            EXPECT_FALSE(isBackground(cellOf(well[0], cell)));
        }
        for (int scene = 0; scene < scenesOfAWorld && !HasFailure(); ++scene) {
            SCOPED_TRACE("world " + std::to_string(world) + ", scene " + std::to_string(scene));
            wasEvictedAhead = evictSometimes();
            breakSome();
            expectOthersUnharmed();
            evictSometimes();
            if (below(2) == 0) expectOthersUnharmed();
            mendAll();
            evictSometimes();
            expectOthersUnharmed();
        }
        endWorld();
    }
}

} // namespace
