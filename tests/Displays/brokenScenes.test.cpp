// Random scenes with broken display objects: the others look as if these weren't there.

#include <Displays/Displays.hpp>

#include "../PolypiaGL/glFixture.hpp"
#include "displayData.hpp"

#include <Polypia/ObjectSelection.hpp>
#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/GLRenderContext.hpp>
#include <PolypiaGL/glErrors.hpp>
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
#include <stdexcept>
#include <string>
#include <vector>

using namespace Mirk;

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr int numberOfWorlds = 10; // each of which takes ten times as long
#else
constexpr int numberOfWorlds = 100;
#endif
constexpr int scenesOfAWorld = 10;
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

class BrokenScenes : public testing::Test {
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
    /// An object in a cell.
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

    // --- Worlds

    void beginWorld() {
        seagrass = Keel::make<Seagrass>(1ULL << 30, "pictures");
        context = std::make_unique<GLRenderContext>(*glContext, seagrass,
                                                    Keel::WeakPtr<VRenderInterruptor>(),
                                                    Keel::StrongPtr<VRenderPrecision>(), 1LL << 30);
        context->precision = Keel::StrongPtr<VRenderPrecision>(new Precision);
        context->ShaderFileOverrides = true;
        allowance = 1LL << 30;
        for (int cell = 0; cell < numberOfCells; ++cell) actors.push_back(actorIn(cell));
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
        const Keel::WeakPtr<Seagrass> remains(seagrass);
        seagrass = {};
        EXPECT_TRUE(Seagrass::drain(remains));
        for (const GL::Error& error : GL::drainErrors("the test")) ADD_FAILURE() << error.text();
        VActionNotifier::clear();
    }
    Actor actorIn(int cell) {
        const point middle{2.0 * (cell % cellsInARow) - 2.0, 2.0 * (cell / cellsInARow) - 2.0, 0};
        const std::string name = "object" + std::to_string(cell);
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
        addFaultyShaders(actor, name);
        addNonsense(actor);
        return actor;
    }
    /// Where the next frame is drawn, and how finely.
    void choosePlace() {
        context->pool = pools[below(pools.size())];
        level = below(precisions.size());
        context->precision->precision = precisions[level];
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

    Picture frame() {
        context->renderAllowance = allowance;
        target->clear({0.0F, 0.0F, 0.0F, 1.0F});
        context->setTargets({target.get()});
        GLRenderContext::Eye eye;
        eye.camera.position = {0, 0, 3};
        eye.camera.lookAt = {0, 0, 0};
        eye.camera.up = {0, 1, 0};
        eye.camera.fieldOfView = 90.0;
        eye.near = 1.0;
        eye.far = 10.0;
        context->setEyes({eye});
        VRequest request(context->pool);
        ObjectSelection selection;
        for (const Actor& actor : actors) {
            // As if it had taken half of the time of the last frame.
            writeParameter<double>(
                actor.object->findOutput(Zelk::rendertime_contribution)->parameter(), context->pool,
                0.5);
            if (actor.object->isVisible(context->pool)) request.process(*actor.object, 1.0);
            selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(actor.object));
        }
        double seconds = 0.0;
        testing::internal::CaptureStdout();
        const auto result = context->renderObjects(selection, seconds, 0, 0);
        testing::internal::GetCapturedStdout();
        wasRefused = (result & GLRenderContext::RefusedMemory) != 0;
        Picture picture(std::size_t{size} * size * 4);
        target->readColors(picture);
        return picture;
    }
    /// The frame with which all has come for which there is no room in one. Until then each object
    /// that isn't broken is drawn as it was at some time, or not at all.
    Picture wholeFrame() {
        allowance = below(2) == 0 ? 1LL << 30 : 1LL << 8;
        Picture picture = frame();
        for (int i = 0; wasRefused && i < 200; ++i) {
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
    bool hasReport(const Actor& actor) const {
        if (!actor.object->renderStatusSlot().value(context->pool).text.empty()) return true;
        return std::any_of(
            context->failures().begin(), context->failures().end(),
            [&](const auto& failure) { return failure.object == actor.object->Name(); });
    }
    void breakSome() {
        for (Actor& actor : actors) {
            if (below(3) != 0) continue;
            actor.broken = &actor.ways[below(actor.ways.size())];
            actor.broken->breaks();
        }
    }
    void mendAll() {
        for (Actor& actor : actors) {
            if (actor.broken != nullptr) actor.broken->mends();
            actor.broken = nullptr;
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
            EXPECT_EQ(hasReport(actor), isBroken);
            const bool isAsBefore = cellOf(picture, cell) == cellOf(well[level], cell);
            Remains remains = isBroken ? actor.broken->remains : Remains::LastPicture;
            // Nothing has kept what was good when it broke.
            if (isBroken && wasEvictedAhead && remains != Remains::Nothing) {
                remains = Remains::Either;
            }
            const bool isEmpty = isBackground(cellOf(picture, cell));
            const bool isRight = remains == Remains::Nothing       ? isEmpty
                                 : remains == Remains::LastPicture ? isAsBefore
                                                                   : isOfAnyTime(picture, cell);
            EXPECT_TRUE(isRight);
        }
    }
    static bool isBackground(const Picture& cell) {
        for (std::size_t i = 0; i < cell.size(); i += 4) {
            if (cell[i] != 0 || cell[i + 1] != 0 || cell[i + 2] != 0) return false;
        }
        return true;
    }

    std::unique_ptr<EglContext> glContext;
    std::unique_ptr<GLFramebuffer> target;
    Keel::StrongPtr<Seagrass> seagrass;
    std::unique_ptr<GLRenderContext> context;
    std::string folder;
    std::vector<Actor> actors;
    std::array<ValuePoolPtr, 2> pools;
    std::array<Picture, precisions.size()> well;
    std::size_t level = 0;        // of the last frame
    std::int64_t allowance = 0;   // of each frame, in bytes
    bool wasRefused = false;      // some of it, in the last frame
    bool wasEvictedAhead = false; // between the last good frame and the breaking
    std::mt19937 random{20240229};
    std::chrono::seconds age{0};
};

TEST_F(BrokenScenes, LookAsIfWhatIsBrokenWereNotThereAndAreWholeOnceItIsMended) {
    for (int world = 0; world < numberOfWorlds && !HasFailure(); ++world) {
        beginWorld();
        for (int cell = 0; cell < numberOfCells; ++cell) {
            EXPECT_FALSE(isBackground(cellOf(well[0], cell)));
        }
        for (int scene = 0; scene < scenesOfAWorld && !HasFailure(); ++scene) {
            SCOPED_TRACE("world " + std::to_string(world) + ", scene " + std::to_string(scene));
            wasEvictedAhead = below(4) == 0;
            if (wasEvictedAhead) seagrass->lawn();
            breakSome();
            expectOthersUnharmed();
            if (below(4) == 0) seagrass->lawn();
            if (below(2) == 0) expectOthersUnharmed();
            mendAll();
            if (below(4) == 0) seagrass->lawn();
            expectOthersUnharmed();
        }
        endWorld();
    }
}

} // namespace
