// Copying what a scene shows, as each frame does several times, against copying a std::multimap of
// the same weak references; and the step of the frame ahead of the traversal, on a backend that
// does nothing, against a bare loop that asks the same objects the same. What is left out: the
// making of the selection, and the first frame after it has changed.

#include "../../tests/Polypia/RecordingContext.hpp"
#include "../../tests/Polypia/shownObject.hpp"
#include "../sideBySide.hpp"

#include <Polypia/VSceneObjects.hpp>

#include <cstdint>
#include <map>
#include <string>
#include <vector>

namespace {

constexpr int Layers = 7;

class Scene {
public:
    explicit Scene(int size) {
        for (int i = 0; i < size; ++i) {
            shownObjects.push_back(shownCube("object" + std::to_string(i), i, i + 1, i % Layers));
            objects.insert(i % Layers, shownObjects.back());
            plain.emplace(i % Layers, shownObjects.back());
        }
    }
    std::vector<ShownPtr> shownObjects;
    Mirk::VSceneObjects objects;
    std::multimap<int, Mirk::ObjectSelection::WeakObject> plain;
};

/// One for each size, for all repetitions; it ends with the process.
Scene& sceneOf(const benchmark::State& state) {
    static std::map<std::int64_t, Scene*> scenes;
    Scene*& scene = scenes[state.range(0)];
    if (scene == nullptr) scene = new Scene(static_cast<int>(state.range(0)));
    return *scene;
}

/// Nanoseconds are for each copy. The number of iterations is given, as that of a copy would be
/// millions, with a reference each.
void VSceneObjects_copy(benchmark::State& state) {
    const Scene& scene = sceneOf(state);
    sideBySide(
        state, 1,
        [&] {
            Mirk::VSceneObjects copy(scene.objects);
            benchmark::DoNotOptimize(copy);
        },
        [&] {
            auto copy = scene.plain;
            benchmark::DoNotOptimize(copy);
        });
}
BENCHMARK(VSceneObjects_copy)->Arg(50000)->Apply(withSpread)->Iterations(20)->Repetitions(15);

/// A copy that is changed: that is when the entries are copied. Nanoseconds are for each object.
void VSceneObjects_copyAndInsert(benchmark::State& state) {
    const Scene& scene = sceneOf(state);
    sideBySide(
        state, static_cast<double>(state.range(0)),
        [&] {
            Mirk::VSceneObjects copy(scene.objects);
            copy.insert(0, scene.shownObjects[0]);
        },
        [&] {
            auto copy = scene.plain;
            copy.emplace(0, scene.shownObjects[0]);
        });
}
BENCHMARK(VSceneObjects_copyAndInsert)
    ->Arg(50000)
    ->Apply(withSpread)
    ->Iterations(20)
    ->Repetitions(15);

/// Nanoseconds are for each object.
void VSceneObjects_render(benchmark::State& state) {
    Scene& scene = sceneOf(state);
    RecordingContext context;
    double renderTime = 0;
    sideBySide(
        state, static_cast<double>(state.range(0)),
        [&] { scene.objects.render(context, renderTime, 0, Layers); },
        [&] {
            Skua::BoundingBox box;
            Skua::BoundingBall ball;
            for (const ShownPtr& object : scene.shownObjects) {
                if (!object->isVisible(context.pool)) continue;
                const BoxPtr visible(object->getBoundingBall(context.pool));
                const auto touchable = object->getTouchableBoundingBall(context.pool);
                box.merge(*visible);
                ball.expandBall(*touchable);
            }
            benchmark::DoNotOptimize(box);
            benchmark::DoNotOptimize(ball);
        });
}
BENCHMARK(VSceneObjects_render)
    ->Arg(1000)
    ->Arg(50000)
    ->Apply(withSpread)
    ->Iterations(20)
    ->Repetitions(15);

} // namespace
