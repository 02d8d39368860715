// Frames of display objects far from the middle of the world, against the same frames at the
// middle. The camera moves a bit ahead of each, but no origin jumps, so that nothing is uploaded:
// which is checked. What is left out: the first frame, and what jumps cost.

#include "../graphics.hpp"
#include "../sideBySide.hpp"

#include <Displays/PointCloud.hpp>
#include <Displays/TriangleSurface.hpp>
#include <Polypia/ObjectSelection.hpp>
#include <Polypia/Seagrass.hpp>
#include <PolypiaGL/GLFramebuffer.hpp>
#include <PolypiaGL/GLRenderContext.hpp>
#include <sorrel/VRequest.hpp>

#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <map>
#include <random>
#include <string>
#include <tuple>
#include <utility>
#include <vector>

namespace {

using namespace Mirk;
using vector = Skua::PhysicalSpace::vector;
using ObjectPtr = Keel::StrongPtr<DisplayObject, VManagedObjectBase>;
using Objects = std::vector<ObjectPtr>;

constexpr int picturePixels = 128;

/// So far from the middle of the world, along no axis.
Point centreAt(double offset) {
    return Point() + vector{0.7, -0.5, 0.509902} * offset;
}

PointSet pointsOf(std::vector<Point> points) {
    PointSet data;
    data.points = makeChunk(std::move(points));
    return data;
}

/// One, of many points.
Objects cloudAt(const Point& centre) {
    constexpr std::size_t number = 100'000;
    std::mt19937 random(1);
    std::uniform_real_distribution<double> within(-3.0, 3.0);
    std::vector<Point> points;
    for (std::size_t i = 0; i < number; ++i) {
        points.push_back(centre + vector{within(random), within(random), within(random)});
    }
    return {ObjectPtr(new PointCloud("cloud", pointsOf(std::move(points))))};
}

/// Many, of one triangle each.
Objects surfacesAt(const Point& centre) {
    constexpr int columns = 10;
    Objects surfaces;
    for (int i = 0; i < columns * columns; ++i) {
        const vector place{0.6 * (i % columns) - 2.7, 0.6 * (i / columns) - 2.7, 0.0};
        const Point corner = centre + place;
        TriangleMesh mesh{
            pointsOf({corner, corner + vector{0.4, 0.0, 0.0}, corner + vector{0.0, 0.4, 0.1}}), {}};
        mesh.triangles = makeChunk(std::vector<std::uint32_t>{0, 1, 2});
        surfaces.emplace_back(new TriangleSurface("surface" + std::to_string(i), mesh));
    }
    return surfaces;
}

using Content = Objects (*)(const Point& centre);

class Frame {
public:
    Frame(Content content, double offset) : _centre(centreAt(offset)), _objects(content(_centre)) {
        _context.pool = Keel::make<ValuePool>();
        _context.setTargets({&_picture});
        VRequest request(_context.pool);
        for (const ObjectPtr& object : _objects) {
            if (!request.process(*object, 1.0)) fail("an object can't be drawn");
            _selection.insert(0, Keel::WeakPtr<VObject, VManagedObjectBase>(object));
        }
        draw();
        _allowance = _context.renderAllowance;
    }
    void draw() {
        _picture.clear({0, 0, 0, 0});
        lookAtCentre();
        double seconds = 0;
        _context.renderObjects(_selection, seconds, 0, 0);
        _picture.finish();
        if (_context.numberOfDrawn() != _objects.size()) fail("not all is drawn");
    }
    bool hasUploaded() const { return _context.renderAllowance != _allowance; }
    /// Of the picture.
    std::ptrdiff_t coveredPixels() const {
        std::vector<std::uint8_t> bytes(std::size_t{4} * picturePixels * picturePixels);
        _picture.readColors(bytes);
        std::ptrdiff_t covered = 0;
        for (std::size_t alpha = 3; alpha < bytes.size(); alpha += 4) covered += bytes[alpha] > 0;
        return covered;
    }

private:
    /// From another one of ten places each time, as the nearest of the data is found again then.
    void lookAtCentre() {
        GLRenderContext::Eye eye;
        eye.camera.position = _centre + vector{0.1 * _step, 0.0, 10.0};
        eye.camera.lookAt = _centre;
        eye.camera.up = {0, 1, 0};
        eye.camera.fieldOfView = 60;
        _context.setEyes({eye});
        _step = (_step + 1) % 10;
    }

    EglContext& _gl = graphics();
    const Keel::StrongPtr<Seagrass> _seagrass = Keel::make<Seagrass>(1ULL << 30, "frame");
    GLRenderContext _context{_gl, _seagrass, Keel::WeakPtr<VRenderInterruptor>(), {}, 1LL << 40};
    GLFramebuffer _picture{_gl, picturePixels, picturePixels, 1};
    const Point _centre;
    const Objects _objects;
    ObjectSelection _selection;
    std::int64_t _allowance = 0;
    int _step = 0;
};

/// One for each scene, for all repetitions; it ends with the process. Of what is at the middle of
/// the world there are two, as it is measured against itself as well.
Frame& frameOf(Content content, double offset, bool isReference) {
    static std::map<std::tuple<Content, double, bool>, Frame*> frames;
    Frame*& frame = frames[{content, offset, isReference}];
    if (frame == nullptr) frame = new Frame(content, offset);
    return *frame;
}

/// The same time at any offset. Argument: that, in units of the world, seen from 10 away.
/// Nanoseconds are for each frame.
void compare(benchmark::State& state, Content content) {
    Frame& far = frameOf(content, static_cast<double>(state.range(0)), false);
    Frame& reference = frameOf(content, 0.0, true);
    sideBySide(
        state, 1, [&] { far.draw(); }, [&] { reference.draw(); });
    if (far.hasUploaded() || reference.hasUploaded()) fail("an origin has jumped");
    const std::ptrdiff_t covered = reference.coveredPixels();
    if (std::abs(far.coveredPixels() - covered) > covered / 20) fail("not the same is drawn");
}

void FloatingOrigin_cloud(benchmark::State& state) {
    compare(state, cloudAt);
}
void FloatingOrigin_surfaces(benchmark::State& state) {
    compare(state, surfacesAt);
}

void offsets(benchmark::internal::Benchmark* bench) {
    bench->ArgName("offset")->Apply(withSpread)->Repetitions(9);
    for (const std::int64_t offset :
         {std::int64_t{0}, std::int64_t{1'000}, std::int64_t{6'400'000},
          std::int64_t{1'000'000'000}, std::int64_t{1'000'000'000'000}}) {
        bench->Arg(offset);
    }
}

BENCHMARK(FloatingOrigin_cloud)->Apply(offsets)->Iterations(10);
BENCHMARK(FloatingOrigin_surfaces)->Apply(offsets)->Iterations(50);

} // namespace
