#include <rookery/rookery.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <random>
#include <variant>

using namespace Skua;
using PhysicalSpace::point;
using PhysicalSpace::vector;
using FloatPoint = Coordinates<Cartesian3D, float>::point;

namespace {

constexpr double infinity = std::numeric_limits<double>::infinity();
constexpr double epsilon = std::numeric_limits<double>::epsilon();
const double nan = std::numeric_limits<double>::quiet_NaN();

static_assert(std::is_same_v<point, Coordinates<Cartesian3D, double>::point>);
static_assert(std::is_same_v<rgba_float_t, Coordinates<RGBA, float>::point>);
static_assert(!std::is_convertible_v<point, vector> && !std::is_convertible_v<vector, point>);
static_assert(!std::is_convertible_v<point, FixedArray<double, 3>>);
static_assert(!std::is_convertible_v<point, FloatPoint>);

// All of it works at compile time.
static_assert(point{1, 2, 3} - point{1, 1, 1} == vector{0, 1, 2});
static_assert(point{1, 2, 3} + vector{1, 1, 1} == point{2, 3, 4});
static_assert(vector{1, 1, 1} + point{1, 2, 3} == point{2, 3, 4});
static_assert(point{1, 2, 3} - vector{1, 1, 1} == point{0, 1, 2});
static_assert(2.0 * vector{1, 2, 3} * 2 - vector{4, 4, 4} / 4 + -vector{1, 1, 1} ==
              vector{2, 6, 10});
static_assert(dot(vector{1, 2, 3}, vector{4, 5, 6}) == 32);
static_assert(cross(vector{1, 0, 0}, vector{0, 1, 0}) == vector{0, 0, 1});
static_assert(cross(vector{0, 1, 0}, vector{0, 0, 1}) == vector{1, 0, 0});
static_assert(cross(vector{1, 2, 3}, vector{4, 5, 6}) == vector{-3, 6, -3});
static_assert(toFloat(point{1, 2, 3}) == FloatPoint{1, 2, 3});
static_assert(toDouble(FloatPoint{1, 2, 3}) == point{1, 2, 3});
static_assert(static_cast<FixedArray<double, 3>>(point{1, 2, 3}) == FixedArray<double, 3>{1, 2, 3});

template<class T, std::size_t N>
void expectContiguous() {
    FixedArray<T, N> array;
    for (std::size_t i = 0; i < N; ++i) {
        EXPECT_EQ(array[i], T(0));
        array[i] = static_cast<T>(i + 1);
    }
    EXPECT_EQ(sizeof(array), N * sizeof(T));
    EXPECT_EQ(array.size(), N);
    EXPECT_EQ(array.data()[N - 1], static_cast<T>(N));
    std::size_t count = 0;
    for (const T& value : array) EXPECT_EQ(value, static_cast<T>(++count));
    EXPECT_EQ(count, N);
}

TEST(FixedArray, IsZeroAndContiguousForAllElementTypes) {
    expectContiguous<int, 2>();
    expectContiguous<int, 3>();
    expectContiguous<int, 4>();
    expectContiguous<float, 2>();
    expectContiguous<float, 3>();
    expectContiguous<float, 4>();
    expectContiguous<double, 2>();
    expectContiguous<double, 3>();
    expectContiguous<double, 4>();
    expectContiguous<unsigned char, 3>();
    expectContiguous<unsigned char, 4>();
    expectContiguous<unsigned short, 3>();
    expectContiguous<unsigned short, 4>();
}

TEST(Coordinates, PointsAndArraysAreDifferentAlternatives) {
    std::variant<FloatPoint, FixedArray<float, 3>, point, FixedArray<double, 3>> value;
    value = point{1, 2, 3};
    EXPECT_EQ(value.index(), 2u);
    value = FixedArray<double, 3>{1, 2, 3};
    EXPECT_EQ(value.index(), 3u);
    value = FloatPoint{1, 2, 3};
    EXPECT_EQ(value.index(), 0u);
    value = FixedArray<float, 3>{1, 2, 3};
    EXPECT_EQ(value.index(), 1u);
}

TEST(Coordinates, PointsAndVectorsAreThreeContiguousNumbers) {
    EXPECT_EQ(sizeof(point), 24u);
    EXPECT_EQ(sizeof(vector), 24u);
    EXPECT_EQ(sizeof(FloatPoint), 12u);
    point points[2] = {{1, 2, 3}, {4, 5, 6}};
    const double* numbers = points[0].data();
    for (std::size_t i = 0; i < 3; ++i) EXPECT_EQ(numbers[i], points[0][i]);
    EXPECT_EQ(points[1].data() - numbers, 3);
    points[1][2] = 7;
    EXPECT_EQ(points[1].z, 7);
}

TEST(Coordinates, StartAtZero) {
    EXPECT_EQ(point{}, (point{0, 0, 0}));
    EXPECT_EQ(vector{}, (vector{0, 0, 0}));
    EXPECT_EQ(rgba_float_t{}, (rgba_float_t{0, 0, 0, 0}));
}

TEST(Coordinates, ColourIsFourFloatsInOrder) {
    rgba_float_t colour{0.25f, 0.5f, 0.75f, 1.0f};
    EXPECT_EQ(sizeof(colour), 16u);
    EXPECT_EQ(colour.red(), 0.25f);
    EXPECT_EQ(colour.green(), 0.5f);
    EXPECT_EQ(colour.blue(), 0.75f);
    EXPECT_EQ(colour.alpha(), 1.0f);
    for (std::size_t i = 0; i < 4; ++i)
        EXPECT_EQ(colour.data()[i], 0.25f * static_cast<float>(i + 1));
    colour.alpha() = 0.0f;
    EXPECT_EQ(colour, (rgba_float_t{0.25f, 0.5f, 0.75f, 0.0f}));
    const Vector<float, 4>& asVector = colour;
    const Column<4, float>& asColumn = asVector;
    const Matrix<4, 1, float>& asMatrix = asColumn;
    EXPECT_EQ(asMatrix(2, 0), 0.75f);
}

TEST(Coordinates, SubtractsInDoubleBeforeRoundingToFloat) {
    const point vertex{12345678.125, 0, 0};
    const vector origin{12345678, 0, 0};
    EXPECT_EQ(toFloat(vertex - origin).x, 0.125f);
}

TEST(Coordinates, NormHoldsWhereSquaresLeaveTheRange) {
    EXPECT_EQ(norm(vector{3, 4, 0}), 5);
    EXPECT_EQ(norm(vector{}), 0);
    EXPECT_DOUBLE_EQ(norm(vector{3e200, 4e200, 0}), 5e200);
    EXPECT_DOUBLE_EQ(norm(vector{0, 3e-200, 4e-200}), 5e-200);
    EXPECT_EQ(norm(vector{0, 0, -5e-324}), 5e-324);
    EXPECT_EQ(norm(vector{1, -infinity, 0}), infinity);
    for (const vector& v :
         {vector{nan, 0, 0}, vector{0, nan, 0}, vector{0, 0, nan}, vector{infinity, nan, 0}})
        EXPECT_TRUE(std::isnan(norm(v)));
}

TEST(Coordinates, DistanceIsThatOfTheDifference) {
    EXPECT_EQ(distance(point{1e12, 1, 1}, point{1e12, 4, 5}), 5);
}

TEST(Coordinates, NormalisedHasLengthOneAtAllScales) {
    std::mt19937_64 random(1);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    std::uniform_int_distribution<int> exponent(-1000, 1000);
    for (int i = 0; i < 10000; ++i) {
        const vector direction{coordinate(random), coordinate(random), coordinate(random)};
        const vector unit = normalised(direction * std::ldexp(1.0, exponent(random)));
        // Two divisions and a norm: 1 and 3.5 half units in the last place.
        EXPECT_NEAR(norm(unit), 1.0, 4 * epsilon);
        EXPECT_GT(dot(unit, direction), 0);
        EXPECT_LE(norm(cross(unit, direction)), 4 * epsilon);
    }
}

TEST(Coordinates, NormalisedLeavesTheZeroVector) {
    EXPECT_EQ(normalised(vector{}), vector{});
    EXPECT_EQ(normalised(vector{0, 0, -5e-324}), (vector{0, 0, -1}));
}

TEST(Coordinates, NormalisedOfWhatIsNotFiniteIsNan) {
    EXPECT_TRUE(std::isnan(normalised(vector{infinity, 0, 0}).x));
    EXPECT_TRUE(std::isnan(normalised(vector{nan, 0, 0}).x));
}

} // namespace
