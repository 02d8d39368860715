#pragma once
// Points less a vector, by several threads; stands on rookery.

#include <Polypia/export.hpp>

#include <rookery/PhysicalSpace.hpp>

#include <cstddef>
#include <functional>
#include <span>
#include <vector>

namespace Mirk {

/// A run of elements.
struct PointRun {
    std::size_t first = 0;
    std::size_t count = 0;
};

/// The run of a thread if `elements` are split among `threads`: each gets the same number, and the
/// first ones, as many as there are elements left over, one more.
POLYPIA_EXPORT PointRun runOfThread(std::size_t elements, std::size_t thread, std::size_t threads);

/// Up to so many elements one thread is faster than several, as these are to be started.
inline constexpr std::size_t elementsOfOneThread = 0x100000;

/// Calls `work` for the runs of all threads, on these, with the number of the thread and how many
/// there are. Without OpenMP that is this one alone.
POLYPIA_EXPORT void forRunsOfThreads(
    std::size_t elements,
    const std::function<void(const PointRun& run, std::size_t thread, std::size_t threads)>& work);

/// Writes the points less the shift to a target of the same length: subtracted in double precision
/// and then rounded, if To is the point of single precision.
template<class To>
void shiftPoints(std::span<const Skua::PhysicalSpace::point> points,
                 const Skua::PhysicalSpace::vector& shift, std::span<To> target);

/// The same to a new vector.
template<class To>
std::vector<To> shiftedPoints(std::span<const Skua::PhysicalSpace::point> points,
                              const Skua::PhysicalSpace::vector& shift);

} // namespace Mirk
