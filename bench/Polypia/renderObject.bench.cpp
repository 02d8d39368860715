// What VRenderObject::safe_render adds to the drawing code of an object that draws well: its status
// is read, and nothing written. The reference is the bare call of that code, which here does next
// to nothing; nanoseconds are for each object. What is left out: failures, which take what a report
// takes, and the first frame.

#include "../../tests/Polypia/RecordingContext.hpp"
#include "../sideBySide.hpp"

#include <Polypia/VRenderObject.hpp>

#include <string>
#include <vector>

namespace {

class Drawn : public Mirk::VRenderObject {
public:
    explicit Drawn(const std::string& objectName)
        : VObject(objectName, 0, {}), VRenderObject(objectName, 0, {}) {}
    using VRenderObject::environment_render;
    bool environment_render(Mirk::VRenderContext&) const override {
        benchmark::DoNotOptimize(++draws);
        return true;
    }
    mutable int draws = 0;
};
using DrawnPtr = Keel::StrongPtr<Drawn, Mirk::VManagedObjectBase>;

/// `hasFailed`: whether each object has had a failure in the pool, which has a status of its own
/// since.
void goodPath(benchmark::State& state, bool hasFailed) {
    RecordingContext context;
    std::vector<DrawnPtr> objects;
    for (int i = 0; i < 1000; ++i) {
        objects.emplace_back(new Drawn("object" + std::to_string(i)));
        if (!hasFailed) continue;
        objects.back()->renderStatusSlot().set(context.pool, Mirk::VObjectStatus("failed"));
        objects.back()->safe_render(context, 0, -1);
    }
    const auto operations = static_cast<double>(objects.size());
    sideBySide(
        state, operations,
        [&] {
            for (const DrawnPtr& object : objects) {
                const Mirk::RenderAble& drawn = *object;
                benchmark::DoNotOptimize(drawn.safe_render(context, 0, -1));
            }
        },
        [&] {
            for (const DrawnPtr& object : objects) {
                const Mirk::RenderAble& drawn = *object;
                benchmark::DoNotOptimize(drawn.environment_render(context, 0, -1));
            }
        });
    state.counters["over_ns"] = state.counters["ns"].value - state.counters["ref_ns"].value;
}

void VRenderObject_goodPath(benchmark::State& state) {
    goodPath(state, false);
}
BENCHMARK(VRenderObject_goodPath)->Apply(withSpread)->Iterations(200)->Repetitions(15);

void VRenderObject_goodPathAfterAFailure(benchmark::State& state) {
    goodPath(state, true);
}
BENCHMARK(VRenderObject_goodPathAfterAFailure)->Apply(withSpread)->Iterations(200)->Repetitions(15);

} // namespace
