// Operations of a cache by the number of its objects, against the same at 1000 objects in the
// order of their making. Objects are visited in that order, as a scene does from frame to frame,
// or in random order. What is left out: the making of objects and creators, the end of the objects,
// and threads that compete.

#include "../sideBySide.hpp"

#include <keel/Cache.hpp>
#include <keel/Creator.hpp>

#include <algorithm>
#include <memory>
#include <random>
#include <vector>

namespace {

using Keel::StrongPtr;

constexpr std::size_t ReferenceSize = 1000;
constexpr std::size_t ObjectBytes = 100;

class Block : public Keel::Cacheable {
public:
    std::size_t memsize() const override { return ObjectBytes; }
};
using BlockPtr = StrongPtr<Block, Keel::Cacheable>;

class BlockCreator : public Keel::AlzheimerCreator<Block> {
public:
    using AlzheimerCreator::AlzheimerCreator;
    BlockPtr create() override { return {}; }
    void take(const BlockPtr& block) { store(block); }
};

/// A cache with its creators, and objects that are not yet in it, in the order of visits.
class Stock {
public:
    Stock(std::size_t size, bool shuffled) {
        _pairs.reserve(size);
        for (std::size_t i = 0; i < size; ++i) {
            const StrongPtr<BlockCreator> creator(new BlockCreator(_cache));
            const BlockPtr block(new Block);
            creator->take(block);
            _pairs.push_back({creator, block});
        }
        if (shuffled) std::shuffle(_pairs.begin(), _pairs.end(), std::mt19937(1));
    }

    void insert() {
        for (const Pair& pair : _pairs) pair.block->setCreator(*pair.creator);
    }
    void markAsUsed() {
        for (const Pair& pair : _pairs) pair.block->markAsUsed();
    }
    /// One object at a time, as when new ones come into a full cache.
    void evict() {
        _cache->maxCost = ObjectBytes * _pairs.size();
        for (std::size_t i = 1; i <= _pairs.size(); ++i) {
            _cache->adjust(typeid(void), typeid(void), ObjectBytes * i);
        }
    }
    std::size_t size() const { return _cache->size(); }

private:
    struct Pair {
        StrongPtr<BlockCreator> creator;
        BlockPtr block;
    };

    const StrongPtr<Keel::Cache> _cache = Keel::make<Keel::Cache>(~0ULL, "bench");
    std::vector<Pair> _pairs;
};

struct Costs {
    double insert = 0, markAsUsed = 0, evict = 0;
};

/// Nanoseconds for each operation, the objects being used in the order of visits before eviction.
Costs measure(benchmark::State& state, std::size_t size, bool shuffled, int rounds) {
    Costs sum;
    for (int round = 0; round < rounds; ++round) {
        Stock stock(size, shuffled);
        sum.insert += nanoseconds([&] { stock.insert(); });
        if (stock.size() != size) state.SkipWithError("not all objects were inserted");
        sum.markAsUsed += nanoseconds([&] { stock.markAsUsed(); });
        sum.evict += nanoseconds([&] { stock.evict(); });
        if (stock.size() != 0) state.SkipWithError("not all objects were evicted");
    }
    const double operations = static_cast<double>(size) * rounds;
    return {sum.insert / operations, sum.markAsUsed / operations, sum.evict / operations};
}

/// In the order of making, at 10^6 objects at most 4 times the cost at 10^3.
void Cache_operation(benchmark::State& state, double Costs::*operation, bool shuffled) {
    const auto size = static_cast<std::size_t>(state.range(0));
    const int rounds = static_cast<int>(std::max<std::size_t>(1, 30000 / size));
    double measured = 0, reference = 0, iterations = 0;
    for (auto _ : state) {
        const double cost = measure(state, size, shuffled, rounds).*operation;
        measured += cost;
        reference += measure(state, ReferenceSize, false, 30).*operation;
        ++iterations;
        state.SetIterationTime(cost * 1e-9);
    }
    report(state, measured / iterations, reference / iterations);
}

void sizes(benchmark::internal::Benchmark* bench) {
    withSpread(bench);
    bench->RangeMultiplier(10)->Range(1000, 1000000)->Iterations(1)->Repetitions(7);
}

BENCHMARK_CAPTURE(Cache_operation, insertInOrder, &Costs::insert, false)->Apply(sizes);
BENCHMARK_CAPTURE(Cache_operation, markAsUsedInOrder, &Costs::markAsUsed, false)->Apply(sizes);
BENCHMARK_CAPTURE(Cache_operation, evictInOrder, &Costs::evict, false)->Apply(sizes);
BENCHMARK_CAPTURE(Cache_operation, insertAtRandom, &Costs::insert, true)->Apply(sizes);
BENCHMARK_CAPTURE(Cache_operation, markAsUsedAtRandom, &Costs::markAsUsed, true)->Apply(sizes);
BENCHMARK_CAPTURE(Cache_operation, evictAtRandom, &Costs::evict, true)->Apply(sizes);

} // namespace
