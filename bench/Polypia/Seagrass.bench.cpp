// Handing polyps over for deletion by one and by several threads, against a list under a mutex.
// What is left out: the making and the end of the polyps, and a render thread that cleans up
// meanwhile.

#include "../sideBySide.hpp"

#include <Polypia/PolypCreator.hpp>

#include <list>
#include <mutex>
#include <thread>
#include <vector>

namespace {

using Mirk::PolypPtr;

constexpr int Polyps = 16000;

class PlainList {
public:
    void add(PolypPtr&& polyp) {
        const std::lock_guard lock(_mutex);
        _list.push_back(std::move(polyp));
    }
    void clear() { _list.clear(); }

private:
    std::mutex _mutex;
    std::list<PolypPtr> _list;
};

std::vector<PolypPtr> makePolyps() {
    std::vector<PolypPtr> polyps;
    for (int i = 0; i < Polyps; ++i) {
        polyps.emplace_back(new Mirk::Polyp(Keel::WeakPtr<Keel::Creature>()));
    }
    return polyps;
}

/// Nanoseconds in which the threads hand over all polyps, each an equal share.
template<class HandOver>
double handOverAll(std::vector<PolypPtr> polyps, std::size_t numberOfThreads,
                   const HandOver& handOver) {
    const auto work = [&](std::size_t thread) {
        const std::size_t share = polyps.size() / numberOfThreads;
        for (std::size_t i = 0; i < share; ++i) handOver(std::move(polyps[thread * share + i]));
    };
    return nanoseconds([&] {
        std::vector<std::thread> threads;
        for (std::size_t i = 1; i < numberOfThreads; ++i) threads.emplace_back(work, i);
        work(0);
        for (std::thread& thread : threads) thread.join();
    });
}

/// Nanoseconds are for each polyp; those of several threads include their start.
void Seagrass_scheduleDeletion(benchmark::State& state) {
    const auto threads = static_cast<std::size_t>(state.range(0));
    const auto seagrass = Keel::make<Mirk::Seagrass>(~0ULL, "bench");
    PlainList plain;
    double measured = 0, reference = 0, batches = 0;
    for (auto _ : state) {
        const double time = handOverAll(makePolyps(), threads, [&](PolypPtr&& polyp) {
            seagrass->scheduleDeletion(std::move(polyp));
        });
        seagrass->cleanup();
        reference += handOverAll(makePolyps(), threads,
                                 [&](PolypPtr&& polyp) { plain.add(std::move(polyp)); });
        plain.clear();
        measured += time;
        batches += Polyps;
        state.SetIterationTime(time * 1e-9);
    }
    report(state, measured / batches, reference / batches);
}
BENCHMARK(Seagrass_scheduleDeletion)->Arg(1)->Arg(8)->Apply(withSpread)->Repetitions(15);

} // namespace
