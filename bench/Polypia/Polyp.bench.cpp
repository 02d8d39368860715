// A wave of a polyp, against a plain loop that makes the same virtual calls and as many copies of
// pointers. What is left out: all work of the tentacles themselves.

#include "../sideBySide.hpp"
#include "CountingTentacle.hpp"

#include <Polypia/Polyp.hpp>

#include <keel/StrongPtr.hpp>

#include <thread>
#include <vector>

namespace {

using Mirk::Polyp;
using TentaclePtr = Polyp::TentaclePtr;

constexpr int Waves = 1000;

int plainLoop(const Polyp& polyp, const std::vector<TentaclePtr>& tentacles) {
    for (const TentaclePtr& entry : tentacles) {
        const TentaclePtr tentacle(entry);
        tentacle->activate(polyp);
    }
    for (auto entry = tentacles.rbegin(); entry != tentacles.rend(); ++entry) {
        (*entry)->deactivate(polyp);
    }
    return static_cast<int>(tentacles.size());
}

/// At most 1.25 times the time of the loop; nanoseconds are for each tentacle.
void Polyp_wave(benchmark::State& state) {
    std::thread([] {}).join();
    const auto size = static_cast<int>(state.range(0));
    int active = 0;
    const Keel::StrongPtr<Polyp> polyp(new Polyp(Keel::WeakPtr<Keel::Creature>()));
    std::vector<TentaclePtr> tentacles;
    for (int i = 0; i < size; ++i) {
        tentacles.emplace_back(new CountingTentacle(i, active));
        polyp->insertTentacle(i, tentacles.back());
    }
    polyp->prepareWave();
    sideBySide(
        state, static_cast<double>(Waves) * size,
        [&] {
            for (int i = 0; i < Waves; ++i) benchmark::DoNotOptimize(polyp->wave(~0U));
        },
        [&] {
            for (int i = 0; i < Waves; ++i) benchmark::DoNotOptimize(plainLoop(*polyp, tentacles));
        });
}
BENCHMARK(Polyp_wave)->Arg(4)->Arg(16)->Arg(64)->Apply(withSpread)->Repetitions(15);

} // namespace
