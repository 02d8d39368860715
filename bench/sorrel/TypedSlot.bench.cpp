// Reading a slot of type bool, whose values are local, in one of many pools that all have a value
// of it; against a look-up by pool in a map behind a std::shared_mutex. What is left out: the first
// read in a pool, which makes the value, and threads that compete.

#include "../sideBySide.hpp"

#include <sorrel/TypedSlot.hpp>

#include <map>
#include <shared_mutex>
#include <vector>

namespace {

constexpr int Reads = 10000;

struct Switch : Mirk::VObject {
    Switch() : VObject("switch", 0, {}) { on->parameter()->Localize(); }
    Mirk::TypedSlot<bool> on{this, "on", false, 0};
};

struct SwitchMap {
    bool get(const Mirk::ValuePool* pool) const {
        const std::shared_lock lock(mutex);
        return values.find(pool)->second;
    }
    mutable std::shared_mutex mutex;
    std::map<const Mirk::ValuePool*, bool> values;
};

/// At most 40 ns, whatever the number of pools.
void TypedSlot_readBool(benchmark::State& state) {
    const Mirk::VObjectPtr owner(new Switch);
    const Mirk::TypedSlot<bool>& slot = static_cast<Switch&>(*owner).on;
    SwitchMap map;
    std::vector<Mirk::ValuePoolPtr> pools(static_cast<std::size_t>(state.range(0)));
    for (Mirk::ValuePoolPtr& pool : pools) {
        pool = Mirk::ValuePoolPtr(new Mirk::ValuePool);
        slot.set(pool, true);
        map.values.emplace(pool.get(), true);
    }
    const Mirk::ValuePoolPtr& pool = pools[pools.size() / 2];
    const auto read = [&] {
        for (int i = 0; i < Reads; ++i) {
            bool on = false;
            slot.get(pool, on);
            benchmark::DoNotOptimize(on);
        }
    };
    const auto lookUp = [&] {
        for (int i = 0; i < Reads; ++i) {
            bool on = map.get(pool.get());
            benchmark::DoNotOptimize(on);
        }
    };
    sideBySide(state, Reads, read, lookUp);
}
BENCHMARK(TypedSlot_readBool)
    ->Apply(withSpread)
    ->Repetitions(15)
    ->RangeMultiplier(10)
    ->Range(1, 1000);

} // namespace
