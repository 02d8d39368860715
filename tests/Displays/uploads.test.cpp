// What display objects bring to a driver in each frame, and what becomes of it without memory.

#include "../PolypiaGL/toldPlaces.hpp"
#include "displayPictures.hpp"

#include <Displays/displayData.hpp>
#include <PolypiaGL/glHeaders.hpp>

#include <algorithm>
#include <cmath>
#include <optional>
#include <set>

#include <dlfcn.h>

using namespace Pictures;

namespace {

struct Memory {
    long long uploadedBytes = 0;
    long long largest = -1; ///< buffers beyond that find no memory; none if below 0
};
Memory memory;

} // namespace

/// Stands in for the driver's.
extern "C" void glNamedBufferData(GLuint buffer, GLsizeiptr bytes, const void* data, GLenum usage) {
    using Function = void (*)(GLuint, GLsizeiptr, const void*, GLenum);
    static const auto driver = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "glNamedBufferData"));
    const bool isTooLarge = memory.largest >= 0 && bytes > memory.largest;
    // An error like any other.
    if (isTooLarge) return driver(buffer, -1, nullptr, usage);
    memory.uploadedBytes += bytes;
    driver(buffer, bytes, data, usage);
}

namespace {

constexpr std::size_t pieces = 3;
constexpr long long pieceBytes = DisplayObject::pieceVertices * 3 * sizeof(float);

/// A cloud in three pieces, with one point of each in front of the eye.
class Uploads : public DisplayPictures {
protected:
    void SetUp() override {
        memory = {};
        DisplayPictures::SetUp();
        if (!glContext) return;
        object = add<PointCloud>(cloudAt(-0.5));
        object->pointSize().set({}, 8.0);
        object->color().set({}, {0.0F, 1.0F, 0.0F, 1.0F});
    }
    void TearDown() override {
        object = {};
        DisplayPictures::TearDown();
        memory = {};
    }

    static PointSet cloudAt(double x) {
        std::vector<point> points(pieces * DisplayObject::pieceVertices, point{0, 0, 5});
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            points[piece * DisplayObject::pieceVertices] = {x, 0, 0};
        }
        return cloud(points);
    }
    /// A frame, as the places where the cloud is drawn: -1 left, 1 right.
    std::vector<int> frame(long long allowance) {
        if (targets.empty()) {
            targets.push_back(std::make_unique<GLFramebuffer>(*glContext, size, size, 1));
        }
        context->renderAllowance = allowance;
        memory.uploadedBytes = 0;
        context->setTargets({targets.front().get()});
        targets.front()->clear({1.0F, 0.0F, 1.0F, 1.0F});
        context->setEyes({eyeAt({0, 0, 2}, 1, 10)});
        VRequest request(context->pool);
        request.process(*object, 1.0);
        ObjectSelection selection;
        selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        double seconds = 0.0;
        testing::internal::CaptureStdout();
        result = context->renderObjects(selection, seconds, 0, 0);
        testing::internal::GetCapturedStdout();
        const Image image = imageOf(*targets.front());
        std::vector<int> places;
        if (image.isDrawn(24, 32)) places.push_back(-1);
        if (image.isDrawn(40, 32)) places.push_back(1);
        return places;
    }
    std::string report() const { return object->renderStatusSlot().value(context->pool).text; }

    Keel::StrongPtr<PointCloud, VManagedObjectBase> object;
};

using Places = std::vector<int>;

TEST_F(Uploads, FrameBringsNoMoreToTheGpuThanItsAllowance) {
    for (const double place : {-0.5, 0.5, -0.5}) {
        object->points().set({}, cloudAt(place));
        // A little is for what all pieces share.
        const long long allowance = pieceBytes + pieceBytes / 2;
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            frame(allowance);
            EXPECT_LE(memory.uploadedBytes, allowance);
            EXPECT_GE(memory.uploadedBytes, pieceBytes);
        }
        frame(allowance);
        EXPECT_LT(memory.uploadedBytes, pieceBytes);
    }
}

TEST_F(Uploads, NewDataTakeThePlaceOfTheOldInOneFrame) {
    EXPECT_EQ(frame(1LL << 30), Places{-1});
    object->points().set({}, cloudAt(0.5));
    const long long allowance = pieceBytes + pieceBytes / 2;
    EXPECT_EQ(frame(allowance), Places{-1});
    EXPECT_EQ(frame(allowance), Places{-1});
    EXPECT_EQ(frame(allowance), Places{1});
}

TEST_F(Uploads, WithoutMemoryForNewDataTheOldStayAndTheReportIsMadeOnce) {
    EXPECT_EQ(frame(1LL << 30), Places{-1});
    object->points().set({}, cloudAt(0.5));
    memory.largest = pieceBytes / 2;
    EXPECT_EQ(frame(1LL << 30), Places{-1});
    EXPECT_EQ(context->failures().size(), 1U);
    EXPECT_NE(report(), "");
    for (int i = 0; i < 2; ++i) {
        EXPECT_EQ(frame(1LL << 30), Places{-1});
        EXPECT_TRUE(context->failures().empty());
        EXPECT_EQ(context->renderAllowance, 1LL << 30);
        EXPECT_NE(report(), "");
    }
    memory.largest = -1;
    EXPECT_EQ(frame(1LL << 30), Places{1});
    EXPECT_EQ(report(), "");
}

/// Of pieces of a size that is told.
class KnownContent : public DisplayObject::Content {
public:
    KnownContent(const Skua::BoundingBox& box, std::size_t number, long long bytes)
        : Content(box, number), _bytes(static_cast<std::size_t>(bytes)) {}
    std::size_t leastBytes(std::size_t) const override { return _bytes; }

private:
    const std::size_t _bytes;
};

/// A wall round the camera, in pieces; of each a point can be seen, whose colour tells the wall,
/// the piece, and how many origins there had been when it was filled. There is room for a hundred.
class Wall : public DisplayObject {
public:
    static constexpr std::size_t pieces = 10, points = 100; ///< of a piece
    static constexpr long long pieceBytes = points * (sizeof(FloatPoint) + sizeof(Color));

    Wall(const std::string& wallName, const point& wallMiddle, std::size_t wallNumber)
        : VObject(wallName, 0, {}),
          DisplayObject(wallName),
          _middle(wallMiddle),
          _number(wallNumber) {}

    std::string shaderStem() const override { return "wall"; }
    point markOf(std::size_t piece) const {
        const std::size_t place = _number * pieces + piece;
        return _middle + vector{gap * (static_cast<double>(place % marksOfARow) - 15.5),
                                gap * (static_cast<double>(place / marksOfARow) - 15.5), 0.0};
    }
    Color toldOf(std::size_t piece) const {
        const auto of = [](std::size_t told) { return static_cast<unsigned char>(told % 256); };
        return {of(2 * _number), of(20 * piece), of(_origins), 255};
    }
    const point& lastOrigin() const { return _lastOrigin; }

protected:
    ContentPtr read(const ValuePoolPtr&, const ContentPtr& present) const override {
        if (present) return present;
        const vector beyond{3000, 3000, 3000};
        return std::make_shared<const KnownContent>(
            Skua::BoundingBox(_middle - beyond, _middle + beyond), pieces, pieceBytes);
    }
    Stages stages(Form, const Content&) const override {
        return {"in vec3 Coordinates;\n"
                "in vec4 Colors;\n"
                "flat out vec4 shown;\n"
                "void main() {\n"
                "    zelk_setViewID();\n"
                "    gl_Position = zelk_transform_vertex_WorldToScreen(\n"
                "        mkRelativeVertex(vec4(Coordinates, 1.0)));\n"
                "    gl_PointSize = 2.0;\n"
                "    shown = Colors;\n"
                "}\n",
                "flat in vec4 shown;\n"
                "out vec4 color;\n"
                "void main() { color = shown; }\n"};
    }
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program&, const Content&,
                 const point& origin, std::size_t piece, Form) const override {
        if (_origins == 0 || !(origin == _lastOrigin)) ++_origins;
        _lastOrigin = origin;
        const vector behind{0, 0, 2900}; // the eye
        std::vector<FloatPoint> relative(points, relativeTo(origin, _middle + behind));
        relative.front() = relativeTo(origin, markOf(piece));
        const auto coordinates =
            polyp.insert(context.createCoordinates(shortLived(std::move(relative)), "Coordinates"));
        polyp.insert(context.createAttribute(shortLived(std::vector<Color>(points, toldOf(piece))),
                                             RenderNamespace::Colors, "Colors"));
        return {polyp.insert(coordinates->createPainter(RenderNamespace::Points)), {}};
    }

private:
    static constexpr std::size_t marksOfARow = 32;
    static constexpr double gap = 93.75; // three pixels

    const point _middle;
    const std::size_t _number;
    mutable std::size_t _origins = 0;
    mutable point _lastOrigin;
};

/// A picture in which there is room for all marks of a hundred walls.
class FlightWithinLargeObjects : public DisplayPictures {
protected:
    using WallPtr = Keel::StrongPtr<Wall, VManagedObjectBase>;
    static constexpr int pixels = 128; // of each side

    void SetUp() override {
        memory = {};
        DisplayPictures::SetUp();
        if (!glContext) return;
        target = std::make_unique<GLFramebuffer>(*glContext, pixels, pixels, 1);
        context->setTargets({target.get()});
    }
    void TearDown() override {
        walls.clear();
        endContext();
        target.reset();
        DisplayPictures::TearDown();
    }

    void addWalls(std::size_t number) {
        while (walls.size() < number) {
            walls.emplace_back(new Wall("wall", middle, walls.size()));
            objects.push_back(walls.back());
        }
    }
    /// A frame, and what arrives at the driver.
    void frame(const vector& aside, long long allowance) {
        context->renderAllowance = allowance;
        memory.uploadedBytes = 0;
        target->clear({1.0F, 0.0F, 1.0F, 1.0F});
        // What is nearest is the near plane, as the camera is within the bounds.
        drawObjects({eyeAt(middle + aside, near, 1e4)});
        target->readColors(bytes);
    }
    Pixel shownAt(const point& place) const {
        const vector way = place - context->CurrentView(0, 0).camera.position;
        const double scale = pixels / 2.0 / -way.z;
        const int x = static_cast<int>(pixels / 2.0 + scale * way.x);
        const int y = static_cast<int>(pixels / 2.0 + scale * way.y);
        const auto first = static_cast<std::size_t>(4 * (y * pixels + x));
        return {bytes[first], bytes[first + 1], bytes[first + 2]};
    }
    /// How many origins there had been when what is shown of it was filled, if all of it is and
    /// that tells the same; else nothing.
    std::optional<int> originsShownOf(const Wall& wall) const {
        std::set<int> origins;
        for (std::size_t piece = 0; piece < Wall::pieces; ++piece) {
            const Pixel pixel = shownAt(wall.markOf(piece));
            const Color told = wall.toldOf(piece);
            if (pixel[0] != told[0] || pixel[1] != told[1]) return {};
            origins.insert(pixel[2]);
        }
        if (origins.size() != 1) return {};
        return *origins.begin();
    }

    static constexpr double near = 0.01;
    const point middle{6.4e6 + 0.25, -5e6 + 0.5, 4e6 + 0.125};
    std::unique_ptr<GLFramebuffer> target;
    std::vector<WallPtr> walls;
    std::vector<std::uint8_t> bytes = std::vector<std::uint8_t>(std::size_t{4} * pixels * pixels);
};

TEST_F(FlightWithinLargeObjects, ShowsEachOfAHundredWholeAndWithOneOriginInEachFrame) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr int frames = 15; // of which each takes ten times as long
#else
    constexpr int frames = 120;
#endif
    addWalls(100);
    long long uploadedBytes = 0;
    std::vector<std::set<int>> origins(walls.size());
    for (int i = 0; i < frames; ++i) {
        const double along = 2.0 * i / (frames - 1.0) - 1.0;
        // Of one object a tenth, with what all have of the views.
        const long long allowance = i == 0 ? 1LL << 30 : Wall::pieceBytes + 688;
        frame({200.0 * along, 150.0 * along, 2000.0}, allowance);
        ASSERT_LE(memory.uploadedBytes, allowance) << i;
        if (i > 0) uploadedBytes += memory.uploadedBytes;
        for (std::size_t k = 0; k < walls.size(); ++k) {
            const std::optional<int> shown = originsShownOf(*walls[k]);
            ASSERT_TRUE(shown) << i << " " << k;
            origins[k].insert(*shown);
        }
    }
    EXPECT_GE(uploadedBytes, (frames - 2) * Wall::pieceBytes) << "the allowance is made use of";
    const auto followers =
        std::count_if(origins.begin(), origins.end(), [](const auto& of) { return of.size() > 1; });
    EXPECT_GE(followers, frames / 12) << "one after the other, in ten frames each";
}

TEST_F(FlightWithinLargeObjects, BringsAllOriginsToTheCameraOnceItRests) {
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t number = 3; // as a frame takes ten times as long
#else
    constexpr std::size_t number = 10;
#endif
    addWalls(number);
    frame({0, 0, 2000}, 1LL << 30);
    // As many frames as it takes to bring all pieces to the GPU.
    for (std::size_t i = 0; i < number * Wall::pieces; ++i) {
        frame({200, 150, 2000}, Wall::pieceBytes + 688);
    }
    // 4e5 pixels of the near plane, two thirds of them in the corners.
    const double threshold = 4e5 * near / (pixels / 2.0) * 2.0 / 3.0;
    const point camera = context->CurrentView(0, 0).camera.position;
    for (const WallPtr& wall : walls) {
        EXPECT_EQ(originsShownOf(*wall), 2);
        EXPECT_LE(norm(wall->lastOrigin() - camera), threshold);
    }
}

/// Points in a level of the world, in pieces, each of which has some at each scale from a metre to
/// the size of the earth. They tell where in the picture they are.
class Marks : public DisplayObject {
public:
    static constexpr std::size_t pieces = 10, points = 200; ///< of a piece
    static constexpr long long pieceBytes = points * sizeof(FloatPoint);

    Marks(const std::string& marksName, const point& middle, std::size_t number)
        : VObject(marksName, 0, {}), DisplayObject(marksName) {
        for (std::size_t piece = 0; piece < pieces; ++piece) {
            for (double scale = 0.5; scale < 1e7; scale *= 4.0) {
                const double angle = 0.7 * static_cast<double>(_marks.size()) + 0.3 * scale;
                const double far = scale * (1.0 + 0.3 * static_cast<double>(piece + number));
                _marks.push_back(middle + vector{std::cos(angle), std::sin(angle), 0.0} * far);
            }
        }
    }

    std::string shaderStem() const override { return "marks"; }
    const std::vector<point>& marks() const { return _marks; }
    int origins() const { return _origins; }

protected:
    ContentPtr read(const ValuePoolPtr&, const ContentPtr& present) const override {
        if (present) return present;
        Skua::BoundingBox box(_marks.front(), _marks.front());
        for (const point& mark : _marks) {
            for (std::size_t i = 0; i < 3; ++i) {
                box.min[i] = std::min(box.min[i], mark[i]);
                box.max[i] = std::max(box.max[i], mark[i]);
            }
        }
        return std::make_shared<const KnownContent>(box, pieces, pieceBytes);
    }
    Stages stages(Form, const Content&) const override {
        static const std::string vertex =
            std::string("in vec3 Coordinates;\nflat out vec2 place;\n") +
            GLTest::ToldPlaces::functionOfVertices +
            "void main() {\n"
            "    zelk_setViewID();\n"
            "    gl_Position = zelk_transform_vertex_WorldToScreen(\n"
            "        mkRelativeVertex(vec4(Coordinates, 1.0)));\n"
            "    gl_PointSize = 1.0;\n"
            "    place = toldPlace(gl_Position);\n"
            "}\n";
        static const std::string fragment = std::string("flat in vec2 place;\nout vec4 color;\n") +
                                            GLTest::ToldPlaces::functionOfFragments +
                                            "void main() { color = toldColor(place); }\n";
        return {vertex, fragment};
    }
    Drawing fill(Polyp& polyp, VRenderContext& context, RenderBasin::Program&, const Content&,
                 const point& origin, std::size_t piece, Form) const override {
        if (piece == 0) ++_origins;
        const std::size_t number = _marks.size() / pieces, first = number * piece;
        // The rest is where the last one is.
        std::vector<FloatPoint> relative(points, relativeTo(origin, _marks[first]));
        for (std::size_t i = 0; i < number; ++i) {
            relative[i] = relativeTo(origin, _marks[first + i]);
        }
        const auto coordinates =
            polyp.insert(context.createCoordinates(shortLived(std::move(relative)), "Coordinates"));
        return {polyp.insert(coordinates->createPainter(RenderNamespace::Points)), {}};
    }

private:
    std::vector<point> _marks;
    mutable int _origins = 0;
};

/// The middle of the world is so far away, along no axis.
class FlightWithLittleAllowance : public DisplayPictures,
                                  public testing::WithParamInterface<double> {
protected:
    using MarksPtr = Keel::StrongPtr<Marks, VManagedObjectBase>;
    using Told = GLTest::ToldPlaces;

    void SetUp() override {
        memory = {};
        DisplayPictures::SetUp();
        if (!glContext) return;
        target = std::make_unique<GLFramebuffer>(*glContext, Told::pixels, Told::pixels, 1);
        context->setTargets({target.get()});
    }
    void TearDown() override {
        all.clear();
        endContext();
        target.reset();
        DisplayPictures::TearDown();
    }

    void addMarks() {
        all.emplace_back(new Marks("marks", middle, all.size()));
        objects.push_back(all.back());
    }
    Eye eyeAbove(double height) const {
        Eye eye;
        eye.camera.position = middle + normalised(vector{0.48, -0.6, 0.64}) * height;
        eye.camera.lookAt = middle;
        eye.camera.up = {0.1, 0.2, 1.0};
        eye.camera.fieldOfView = 60.0;
        eye.near = 0.01 * height;
        eye.far = 100.0 * height;
        return eye;
    }
    /// A frame, and how far off marks are in it.
    Told::Found frame(const Eye& eye, long long allowance) {
        context->renderAllowance = allowance;
        memory.uploadedBytes = 0;
        Told::clear(*target);
        drawObjects({eye});
        EXPECT_LE(memory.uploadedBytes, allowance);
        shown.read(*target);
        const GLTest::ExactView view(eye, Told::pixels, Told::pixels);
        std::vector<Told::Place> places;
        for (const MarksPtr& each : all) {
            for (const point& mark : each->marks()) places.push_back(view.placeOf(mark));
        }
        return shown.compare(places);
    }

    const point middle =
        point() + vector{0.7, -0.5, 0.509902} * GetParam() + vector{0.125, 0.25, -0.5};
    std::vector<MarksPtr> all;
    std::unique_ptr<GLFramebuffer> target;
    Told shown;
};

INSTANTIATE_TEST_SUITE_P(Offsets, FlightWithLittleAllowance, testing::Values(6.4e6, 1e12),
                         [](const testing::TestParamInfo<double>& offset) {
                             return "E" + std::to_string(std::lround(std::log10(offset.param)));
                         });

TEST_P(FlightWithLittleAllowance, FromOrbitToTheGroundAndAwayNothingTrembles) {
// The camera comes five times as near while all are exchanged, one after the other.
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    constexpr std::size_t number = 1; // as a frame takes ten times as long
    constexpr int frames = 200;
#else
    constexpr std::size_t number = 5;
    constexpr int frames = 1000;
#endif
    while (all.size() < number) addMarks();
    const double highest = 2e7, lowest = 1.0;
    double worst = 0.0;
    for (int i = 0; i < frames; ++i) {
        const double down = 1.0 - std::abs(2.0 * i / (frames - 1.0) - 1.0);
        // Of one object a tenth, with what all have of the views.
        const long long allowance = i == 0 ? 1LL << 30 : Marks::pieceBytes + 688;
        const Told::Found found =
            frame(eyeAbove(highest * std::pow(lowest / highest, down)), allowance);
        worst = std::max(worst, found.worst);
        EXPECT_GE(found.number, 4) << i;
    }
    EXPECT_LT(worst, 0.1);
    for (const MarksPtr& each : all) {
        EXPECT_GE(each->origins(), 3) << "it follows";
        EXPECT_LE(each->origins(), 4) << "not more often than it has to";
    }
}

} // namespace
