#pragma once
// A measurement beside its reference, both from the same run; stands on Google Benchmark.

#include <benchmark/benchmark.h>

#include <algorithm>
#include <chrono>
#include <vector>

/// Wall time of a function in nanoseconds.
template<class Function>
double nanoseconds(const Function& function) {
    const auto start = std::chrono::steady_clock::now();
    function();
    const std::chrono::duration<double, std::nano> elapsed =
        std::chrono::steady_clock::now() - start;
    return elapsed.count();
}

/// Reports nanoseconds for each operation of both, and how many times as long the measured one
/// takes. Call it once for each repetition; what is printed is the statistics over those.
inline void report(benchmark::State& state, double measured, double reference) {
    state.counters["ns"] = measured;
    state.counters["ref_ns"] = reference;
    state.counters["ratio"] = measured / reference;
}

/// Measures two functions in turns, so that what disturbs the machine disturbs both.
template<class Measured, class Reference>
void sideBySide(benchmark::State& state, double operations, const Measured& measured,
                const Reference& reference) {
    double measuredTime = 0, referenceTime = 0, batches = 0;
    for (auto _ : state) {
        const double time = nanoseconds(measured);
        measuredTime += time;
        referenceTime += nanoseconds(reference);
        batches += operations;
        state.SetIterationTime(time * 1e-9);
    }
    report(state, measuredTime / batches, referenceTime / batches);
}

/// Median, least and greatest of the repetitions, as they are printed for each counter.
inline void withSpread(benchmark::internal::Benchmark* bench) {
    bench->UseManualTime()
        ->ReportAggregatesOnly()
        ->ComputeStatistics("least",
                            [](const std::vector<double>& values) {
                                return *std::min_element(values.begin(), values.end());
                            })
        ->ComputeStatistics("greatest", [](const std::vector<double>& values) {
            return *std::max_element(values.begin(), values.end());
        });
}
