#include <Polypia/shiftedPoints.hpp>

#include <algorithm>
#include <iterator>

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

/// Makes the elements of a vector, which would be set to zero first otherwise.
template<class To>
class Shifted {
public:
    using iterator_category = std::forward_iterator_tag;
    using value_type = To;
    using difference_type = std::ptrdiff_t;
    using pointer = const To*;
    using reference = To;

    Shifted(const point* place, const vector& shift) : _place(place), _shift(shift) {}
    To operator*() const { return shifted<To>(*_place, _shift); }
    Shifted& operator++() {
        ++_place;
        return *this;
    }
    bool operator==(const Shifted& other) const { return _place == other._place; }
    bool operator!=(const Shifted& other) const { return !(*this == other); }

private:
    const point* _place;
    vector _shift;
};

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
    if (points.size() <= elementsOfOneThread) {
        return std::vector<To>(Shifted<To>(points.data(), shift),
                               Shifted<To>(points.data() + points.size(), shift));
    }
    std::vector<To> shifted(points.size());
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
