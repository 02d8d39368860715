#include <Polypia/shiftedPoints.hpp>

#include <type_traits>

#ifdef _OPENMP
#include <omp.h>
#endif

namespace Mirk {

namespace {

using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;

template<class To>
To shifted(const point& from, const vector& shift) {
    using Number = typename To::value_type;
    return {static_cast<Number>(from.x - shift.x), static_cast<Number>(from.y - shift.y),
            static_cast<Number>(from.z - shift.z)};
}

template<class To>
void shiftRun(std::span<const point> from, const vector& shift, To* to) {
    const vector copy = shift; // which is known not to be part of the target
    for (std::size_t i = 0; i < from.size(); ++i) to[i] = shifted<To>(from[i], copy);
}

/// So many elements that nobody has set, so that the threads that do are the first to touch their
/// pages: most of the time of a large new vector passes in the system, which hands these out as
/// they are touched. Each constructor of a vector sets all elements on this thread, and an
/// allocator that doesn't is another type than that of chunks.
template<class T>
std::vector<T> unsetElements(std::size_t number) {
    static_assert(std::is_trivially_copyable_v<T> && std::is_aggregate_v<T>);
#ifdef __GLIBCXX__
    struct Unset : std::vector<T> {
        explicit Unset(std::size_t size) {
            this->reserve(size);
            this->_M_impl._M_finish = this->_M_impl._M_start + size;
        }
    };
    return Unset(number);
#else
    return std::vector<T>(number);
#endif
}

} // namespace

PointRun runOfThread(std::size_t elements, std::size_t thread, std::size_t threads) {
    const std::size_t each = elements / threads, left = elements % threads;
    if (thread < left) return {thread * (each + 1), each + 1};
    return {thread * each + left, each};
}

void forRunsOfThreads(
    std::size_t elements,
    const std::function<void(const PointRun& run, std::size_t thread, std::size_t threads)>& work) {
#ifdef _OPENMP
#pragma omp parallel if (elements > elementsOfOneThread)
    {
        // How many there really are: what was asked for is an upper limit.
        const auto threads = static_cast<std::size_t>(omp_get_num_threads());
        const auto thread = static_cast<std::size_t>(omp_get_thread_num());
        work(runOfThread(elements, thread, threads), thread, threads);
    }
#else
    work({0, elements}, 0, 1);
#endif
}

template<class To>
void shiftPoints(std::span<const point> points, const vector& shift, std::span<To> target) {
    if (points.size() != target.size()) return;
    forRunsOfThreads(points.size(), [&](const PointRun& run, std::size_t, std::size_t) {
        shiftRun(points.subspan(run.first, run.count), shift, target.data() + run.first);
    });
}

template<class To>
std::vector<To> shiftedPoints(std::span<const point> points, const vector& shift) {
    std::vector<To> shifted = unsetElements<To>(points.size());
    shiftPoints(points, shift, std::span<To>(shifted));
    return shifted;
}

template POLYPIA_EXPORT void shiftPoints(std::span<const point>, const vector&, std::span<point>);
template POLYPIA_EXPORT void shiftPoints(std::span<const point>, const vector&,
                                         std::span<FloatPoint>);
template POLYPIA_EXPORT std::vector<point> shiftedPoints(std::span<const point>, const vector&);
template POLYPIA_EXPORT std::vector<FloatPoint> shiftedPoints(std::span<const point>,
                                                              const vector&);

} // namespace Mirk
