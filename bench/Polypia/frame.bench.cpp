// A frame of many objects, each with a polyp of its own, on a backend that does nothing, against a
// loop that asks for the same box, takes the same mutex and the time, and passes the same
// tentacles. What is left out: graphics, and the first frame, which fills the polyps.

#include "../sideBySide.hpp"
#include "IdleBackend.hpp"

#include <chrono>
#include <climits>
#include <cstdlib>
#include <map>
#include <mutex>
#include <utility>
#include <vector>

namespace {

using namespace Mirk;

/// What the loop needs of an object, at hand.
struct Plain {
    std::vector<Polyp::TentaclePtr> tentacles;
    Skua::BoundingBox box;
    std::mutex mutex;
};

class Frame {
public:
    Frame(int objects, int visibleOf) : content(objects, visibleOf, tentacles), plain(objects) {
        for (std::size_t i = 0; i < plain.size(); ++i) {
            plain[i].box = dynamic_cast<const Skua::BoundingBox&>(
                *content.frameObjects[i]->getBoundingBall({}));
            plain[i].tentacles = {
                Polyp::TentaclePtr(new IdleProgram),
                Polyp::TentaclePtr(new RenderBasin::UniformParameter("Place", content.places[i])),
                Polyp::TentaclePtr(new IdleAttribute), Polyp::TentaclePtr(new IdlePainter)};
        }
        draw();
        const auto visible = static_cast<std::size_t>((objects + visibleOf - 1) / visibleOf);
        if (context.drawn != visible) std::abort();
    }
    void draw() {
        double seconds = 0;
        content.scene.render(context, seconds, INT_MIN, INT_MAX);
    }
    void drawPlain() {
        using Clock = std::chrono::system_clock;
        Clock::duration spent{};
        for (Plain& object : plain) {
            if (!context.isVisible(object.box, 0)) continue;
            const auto begin = Clock::now();
            const std::lock_guard lock(object.mutex);
            for (const auto& tentacle : object.tentacles) tentacle->activate(*none);
            for (auto tentacle = object.tentacles.rbegin(); tentacle != object.tentacles.rend();
                 ++tentacle) {
                (*tentacle)->deactivate(*none);
            }
            spent += Clock::now() - begin;
        }
        benchmark::DoNotOptimize(spent);
    }

private:
    const Keel::StrongPtr<Seagrass> seagrass = Keel::make<Seagrass>(~0ULL, "frame");
    const PolypPtr none{new Polyp(Keel::WeakPtr<Keel::Creature>())};
    IdleTentacles tentacles;
    IdleContext context{seagrass};
    FrameScene content;
    std::vector<Plain> plain;
};

/// One for each scene, for all repetitions; it ends with the process.
Frame& frameOf(const benchmark::State& state) {
    static std::map<std::pair<std::int64_t, std::int64_t>, Frame*> frames;
    Frame*& frame = frames[{state.range(0), state.range(1)}];
    if (frame == nullptr) {
        frame = new Frame(static_cast<int>(state.range(0)), static_cast<int>(state.range(1)));
    }
    return *frame;
}

/// Arguments: number of objects, of which every so manyth is in the view. At most 600 ns for a
/// visible object. Nanoseconds are for each object, visible or not.
void Frame_idle(benchmark::State& state) {
    Frame& frame = frameOf(state);
    sideBySide(
        state, static_cast<double>(state.range(0)), [&] { frame.draw(); },
        [&] { frame.drawPlain(); });
}
void scenes(benchmark::internal::Benchmark* bench, int objects, int visibleOf) {
    constexpr int objectsMeasured = 200000;
    withSpread(bench);
    bench->ArgNames({"objects", "visibleOf"})
        ->Args({objects, visibleOf})
        ->Iterations(objectsMeasured / objects)
        ->Repetitions(15);
}
BENCHMARK(Frame_idle)->Apply([](auto* bench) { scenes(bench, 1000, 1); });
BENCHMARK(Frame_idle)->Apply([](auto* bench) { scenes(bench, 10000, 1); });
BENCHMARK(Frame_idle)->Apply([](auto* bench) { scenes(bench, 50000, 1); });
BENCHMARK(Frame_idle)->Apply([](auto* bench) { scenes(bench, 10000, 10); });

/// Nanoseconds are for each test of a box, half of the boxes inside of the view; the reference is
/// the product of all eight corners with one matrix of 16 numbers.
void VRenderContext_isVisible(benchmark::State& state) {
    constexpr int boxes = 1000;
    IdleContext context({});
    std::vector<Skua::BoundingBox> tested;
    for (int i = 0; i < boxes; ++i) {
        const Place place = placeInGrid(i, boxes);
        const double x = 2.0 * place[0], y = place[1], reach = place[2];
        tested.emplace_back(
            Skua::BoundingBox({x - reach, y - reach, -reach}, {x + reach, y + reach, reach}));
    }
    View& view = context.CurrentView(0, 0);
    View::Matrix matrix;
    View::myglMultiplyMatrices4by4(matrix.data(), view.matrix.data(), view.modelView.data());
    const auto isOutside = [&](const Skua::BoundingBox& box) {
        int beyond[6] = {};
        for (int corner = 0; corner < 8; ++corner) {
            const double point[4] = {(corner & 1) != 0 ? box.max.x : box.min.x,
                                     (corner & 2) != 0 ? box.max.y : box.min.y,
                                     (corner & 4) != 0 ? box.max.z : box.min.z, 1};
            double clip[4];
            View::myglMultiplyMatrixByVector4by4(clip, matrix.data(), point);
            for (int axis = 0; axis < 3; ++axis) {
                beyond[2 * axis] += clip[axis] > clip[3] ? 1 : 0;
                beyond[2 * axis + 1] += clip[axis] < -clip[3] ? 1 : 0;
            }
        }
        return std::any_of(beyond, beyond + 6, [](int corners) { return corners == 8; });
    };
    sideBySide(
        state, boxes,
        [&] {
            for (const auto& box : tested) benchmark::DoNotOptimize(context.isVisible(box, 0));
        },
        [&] {
            for (const auto& box : tested) benchmark::DoNotOptimize(isOutside(box));
        });
}
BENCHMARK(VRenderContext_isVisible)->Apply(withSpread)->Repetitions(15);

} // namespace
