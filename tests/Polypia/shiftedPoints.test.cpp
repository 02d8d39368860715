#include <Polypia/shiftedPoints.hpp>

#include <gmock/gmock.h>

#include <cstring>
#include <mutex>
#include <random>
#include <set>
#include <thread>
#include <vector>

using Mirk::PointRun;
using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using FloatPoint = Skua::Coordinates<Skua::Cartesian3D, float>::point;
using testing::ElementsAre;

namespace {

std::vector<std::size_t> firsts(std::size_t elements, std::size_t threads) {
    std::vector<std::size_t> all;
    std::size_t next = 0;
    for (std::size_t thread = 0; thread < threads; ++thread) {
        const PointRun run = Mirk::runOfThread(elements, thread, threads);
        EXPECT_EQ(run.first, next) << "they follow each other";
        next = run.first + run.count;
        all.push_back(run.first);
    }
    EXPECT_EQ(next, elements);
    return all;
}

TEST(shiftedPoints, RunsOfThreadsDifferByOneAtMostTheFirstBeingTheLongest) {
    EXPECT_THAT(firsts(10, 4), ElementsAre(0, 3, 6, 8));
    EXPECT_THAT(firsts(12, 4), ElementsAre(0, 3, 6, 9));
    EXPECT_THAT(firsts(3, 8), ElementsAre(0, 1, 2, 3, 3, 3, 3, 3));
    EXPECT_THAT(firsts(0, 3), ElementsAre(0, 0, 0));
}

struct Threads {
    std::size_t announced = 0; ///< as each of them was told
    std::size_t seen = 0;
    std::size_t elements = 0;
};

Threads threadsFor(std::size_t elements) {
    std::mutex mutex;
    std::set<std::thread::id> ids;
    Threads result;
    Mirk::forRunsOfThreads(elements,
                           [&](const PointRun& run, std::size_t thread, std::size_t threads) {
                               const std::lock_guard lock(mutex);
                               EXPECT_LT(thread, threads);
                               ids.insert(std::this_thread::get_id());
                               result.announced = threads;
                               result.elements += run.count;
                           });
    result.seen = ids.size();
    return result;
}

TEST(shiftedPoints, OneThreadDoesForAMillion) {
    for (const std::size_t elements : {std::size_t{0}, std::size_t{1}, std::size_t{1048576}}) {
        const Threads threads = threadsFor(elements);
        EXPECT_EQ(threads.announced, 1U);
        EXPECT_EQ(threads.seen, 1U);
        EXPECT_EQ(threads.elements, elements);
    }
}

TEST(shiftedPoints, MoreElementsAreSplitAmongAllThreads) {
    const Threads threads = threadsFor(1048577);
    EXPECT_EQ(threads.elements, 1048577U);
    EXPECT_EQ(threads.seen, threads.announced);
#if !defined(__SANITIZE_THREAD__) && defined(__GNUC__) && !defined(__clang__)
    EXPECT_EQ(threads.announced > 1, std::thread::hardware_concurrency() > 1);
#endif
}

/// Also so many that several threads share the work.
class ShiftedPoints : public testing::TestWithParam<std::size_t> {};

TEST_P(ShiftedPoints, AreThoseOfOneSubtractionToTheLastBit) {
    std::mt19937 random(20240517);
    std::uniform_real_distribution<double> anywhere(-1e12, 1e12);
    std::vector<point> points(GetParam());
    for (point& p : points) p = {anywhere(random), anywhere(random), anywhere(random)};
    const vector shift{6.4e6 + 0.3, -1e9, 1e12 / 3};
    std::vector<point> expected;
    std::vector<FloatPoint> rounded;
    for (const point& p : points) {
        const double x = p.x - shift.x, y = p.y - shift.y, z = p.z - shift.z;
        expected.push_back({x, y, z});
        rounded.push_back({static_cast<float>(x), static_cast<float>(y), static_cast<float>(z)});
    }
    const auto isSame = [](const auto& a, const auto& b) {
        return a.size() == b.size() &&
               (a.empty() || std::memcmp(a.data(), b.data(), a.size() * sizeof(a[0])) == 0);
    };
    EXPECT_TRUE(isSame(Mirk::shiftedPoints<point>(points, shift), expected));
    EXPECT_TRUE(isSame(Mirk::shiftedPoints<FloatPoint>(points, shift), rounded));
    std::vector<point> target(points.size());
    Mirk::shiftPoints<point>(points, shift, target);
    EXPECT_TRUE(isSame(target, expected));
}

INSTANTIATE_TEST_SUITE_P(Numbers, ShiftedPoints,
                         testing::Values(0, 1, 7, 1000, 1048576, 1048577, 1500000));

TEST(shiftedPoints, TargetOfAnotherLengthIsLeftAlone) {
    const std::vector<point> points(3);
    std::vector<point> target(2, {1, 2, 3});
    Mirk::shiftPoints<point>(points, {1, 1, 1}, target);
    EXPECT_THAT(target, testing::Each(point{1, 2, 3}));
}

TEST(shiftedPoints, NewOnesAreAVectorLikeAnyOther) {
    const std::vector<point> points(3, {1, 2, 3});
    std::vector<point> shifted = Mirk::shiftedPoints<point>(points, {1, 1, 1});
    EXPECT_EQ(shifted.capacity(), 3U) << "of which chunks keep count";
    const std::vector<point> copy = shifted;
    shifted.push_back({7, 8, 9});
    EXPECT_THAT(shifted,
                ElementsAre(point{0, 1, 2}, point{0, 1, 2}, point{0, 1, 2}, point{7, 8, 9}));
    EXPECT_EQ(copy.size(), 3U);
    shifted.resize(5);
    EXPECT_EQ(shifted.back(), point());
}

} // namespace
