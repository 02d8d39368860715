// Coordinates less the shift of the origin, of 10^5 to 10^8 points, against a plain copy of the
// same bytes by the same threads: into new memory, as display objects have it, and over the same
// memory again, where the system has no pages to hand out.

#include "../sideBySide.hpp"

#include <Polypia/FloatOrigin.hpp>
#include <Polypia/shiftedPoints.hpp>

#include <cstddef>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <span>
#include <vector>

namespace {

using point = Mirk::FloatOrigin::point;
using vector = Mirk::FloatOrigin::vector;
using FloatPoint = Mirk::FloatOrigin::FloatPoint;

const vector shift{6.4e6, -1e3, 12.5};

std::vector<point> pointsOf(std::size_t number) {
    std::vector<point> points(number);
    for (std::size_t i = 0; i < number; ++i) {
        points[i] = {6.4e6 + static_cast<double>(i), -1e3, 7.0};
    }
    return points;
}

/// So many bytes for each point, by the threads that shifting takes.
void copy(const std::vector<point>& from, std::byte* to, std::size_t bytesOfPoint) {
    const auto* const bytes = reinterpret_cast<const std::byte*>(from.data());
    Mirk::forRunsOfThreads(from.size(), [&](const Mirk::PointRun& run, std::size_t, std::size_t) {
        std::memcpy(to + run.first * bytesOfPoint, bytes + run.first * bytesOfPoint,
                    run.count * bytesOfPoint);
    });
}

/// A copy reads as much as it writes: of so many bytes for each point it moves as many as shifting,
/// which reads double precision.
template<class To>
constexpr std::size_t copiedBytes = (sizeof(point) + sizeof(To)) / 2;

/// A ratio of at most 1.18 is 85% of the bandwidth of the copy.
template<class To>
void FloatOrigin_shiftToNew(benchmark::State& state) {
    const std::vector<point> points = pointsOf(static_cast<std::size_t>(state.range(0)));
    const auto shiftAll = [&] {
        const std::vector<To> shifted = Mirk::shiftedPoints<To>(points, shift);
        benchmark::DoNotOptimize(shifted.data());
    };
    const auto copyAll = [&] {
        const std::unique_ptr<std::byte, decltype(&std::free)> target(
            static_cast<std::byte*>(std::malloc(points.size() * copiedBytes<To>)), &std::free);
        copy(points, target.get(), copiedBytes<To>);
        benchmark::DoNotOptimize(target.get());
    };
    copyAll(); // a virtual machine may have to be given this memory first
    sideBySide(state, static_cast<double>(points.size()), shiftAll, copyAll);
}

template<class To>
void FloatOrigin_shiftInPlace(benchmark::State& state) {
    const std::vector<point> points = pointsOf(static_cast<std::size_t>(state.range(0)));
    std::vector<To> target(points.size());
    std::vector<std::byte> copied(points.size() * copiedBytes<To>);
    const auto shiftAll = [&] { Mirk::shiftPoints<To>(points, shift, std::span<To>(target)); };
    const auto copyAll = [&] {
        copy(points, copied.data(), copiedBytes<To>);
        benchmark::ClobberMemory();
    };
    sideBySide(state, static_cast<double>(points.size()), shiftAll, copyAll);
}

void numbers(benchmark::internal::Benchmark* bench) {
    bench->RangeMultiplier(10)->Range(100'000, 100'000'000)->Apply(withSpread);
}

BENCHMARK(FloatOrigin_shiftToNew<point>)->Apply(numbers);
BENCHMARK(FloatOrigin_shiftToNew<FloatPoint>)->Apply(numbers);
BENCHMARK(FloatOrigin_shiftInPlace<point>)->Apply(numbers);
BENCHMARK(FloatOrigin_shiftInPlace<FloatPoint>)->Apply(numbers);

} // namespace
