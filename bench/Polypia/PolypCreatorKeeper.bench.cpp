// Look-up of a creator in a keeper by the number of caches, against a map under a mutex, which is
// the least that such a look-up takes: it neither notices caches that have gone nor calls a
// factory. What is left out: the making of creators, and threads that compete.

#include "../sideBySide.hpp"

#include <Polypia/PolypCreatorKeeper.hpp>

#include <map>
#include <mutex>
#include <vector>

namespace {

using Keel::StrongPtr;
using Mirk::PolypCreatorKeeper;
using Mirk::Seagrass;

constexpr int Rounds = 10000;

class PlainMap {
public:
    void add(const Seagrass& seagrass, const PolypCreatorKeeper::CreatorPtr& creator) {
        _creators.emplace(&seagrass, creator);
    }
    PolypCreatorKeeper::CreatorPtr find(const Seagrass& seagrass) const {
        const std::lock_guard lock(_mutex);
        return _creators.find(&seagrass)->second;
    }

private:
    mutable std::mutex _mutex;
    std::map<const Seagrass*, PolypCreatorKeeper::CreatorPtr> _creators;
};

/// Nanoseconds are for each look-up; each cache in its turn.
void PolypCreatorKeeper_lookup(benchmark::State& state) {
    std::vector<StrongPtr<Seagrass>> caches;
    PolypCreatorKeeper keeper;
    PlainMap plain;
    const PolypCreatorKeeper::Factory factory = PolypCreatorKeeper::DefaultFactory;
    for (int i = 0; i < state.range(0); ++i) {
        caches.push_back(Keel::make<Seagrass>(1000U, "bench"));
        plain.add(*caches.back(), keeper(*caches.back(), factory));
    }
    const auto forEach = [&](const auto& lookup) {
        std::size_t next = 0;
        for (int i = 0; i < Rounds; ++i) {
            benchmark::DoNotOptimize(lookup(*caches[next]));
            if (++next == caches.size()) next = 0;
        }
    };
    sideBySide(
        state, Rounds,
        [&] { forEach([&](const Seagrass& seagrass) { return keeper(seagrass, factory); }); },
        [&] { forEach([&](const Seagrass& seagrass) { return plain.find(seagrass); }); });
}
BENCHMARK(PolypCreatorKeeper_lookup)->Arg(1)->Arg(4)->Arg(64)->Apply(withSpread)->Repetitions(15);

} // namespace
