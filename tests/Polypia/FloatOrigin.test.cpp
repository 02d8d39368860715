#include <Polypia/FloatOrigin.hpp>

#include "../keel/countedNew.hpp"
#include "RecordingContext.hpp"

#include <keel/Environment.hpp>

#include <gmock/gmock.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <limits>
#include <string>
#include <vector>

using Mirk::RenderBasin;
using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using OriginPtr = Mirk::FloatOrigin::FloatedOriginPtr;
using PointChunk = Mirk::FloatOrigin::PointChunk;

namespace {

constexpr double nan = std::numeric_limits<double>::quiet_NaN();

class FloatOrigin : public testing::Test {
protected:
    FloatOrigin() { context.pool = Keel::make<Mirk::ValuePool>(); }
    ~FloatOrigin() override { ::unsetenv("CameraShiftThreshold"); }

    void lookFrom(const point& place, unsigned eye = 0) {
        context.CurrentView(eye, 0).camera.position = place;
    }
    /// With the camera there; the shift is in `shift`.
    OriginPtr ask(const point& place, double threshold = 1e4) {
        lookFrom(place);
        return Mirk::FloatOrigin::getTranslationVector(context, cube, shift, threshold);
    }
    vector lastOffset() const { return context.cameraOffsets.back(); }

    RecordingContext context;
    Keel::Intercube cube;
    vector shift{1, 2, 3};
};

PointChunk chunkOf(std::vector<point> points) {
    return PointChunk(new Keel::Chunk<point>(std::move(points)));
}

TEST_F(FloatOrigin, OriginStandsAtZeroWhileTheCameraIsNearIt) {
    const OriginPtr origin = ask({3, -4, 5});
    ASSERT_TRUE(origin);
    EXPECT_EQ(shift, vector());
    EXPECT_EQ(lastOffset(), (vector{3, -4, 5}));
    EXPECT_EQ(origin->worldOrigin, vector());
}

TEST_F(FloatOrigin, OriginJumpsToACameraThatIsFarAndStandsThere) {
    EXPECT_FALSE(ask({2e4, 0, 0}));
    EXPECT_EQ(shift, (vector{2e4, 0, 0}));
    EXPECT_TRUE(context.cameraOffsets.empty()) << "null is a jump, and nothing is made";
    const OriginPtr origin = ask({2e4, 0, 0});
    ASSERT_TRUE(origin);
    EXPECT_EQ(shift, (vector{2e4, 0, 0}));
    EXPECT_EQ(lastOffset(), vector());
    EXPECT_EQ(origin->worldOrigin, (vector{2e4, 0, 0}));
    EXPECT_TRUE(ask({2e4 + 9e3, 0, 0}));
    EXPECT_EQ(lastOffset(), (vector{9e3, 0, 0}));
    EXPECT_EQ(shift, (vector{2e4, 0, 0}));
}

TEST_F(FloatOrigin, OriginMovesToWhereTheCameraIsOnly) {
    ask({2e4, 0, 0});
    EXPECT_TRUE(ask({1.5e4, 0, 0})) << "it doesn't move back by itself";
    EXPECT_EQ(shift, (vector{2e4, 0, 0}));
    EXPECT_FALSE(ask({0, 0, 0}));
    EXPECT_EQ(shift, vector());
}

TEST_F(FloatOrigin, CameraAtTheThresholdMovesNothing) {
    EXPECT_TRUE(ask({1e4, 0, 0}));
    EXPECT_TRUE(ask({6e3, 8e3, 1e-9})) << "by the square, which is rounded";
    EXPECT_FALSE(ask({6e3, 8e3, 1}));
}

TEST_F(FloatOrigin, ThresholdOfZeroOrLessMovesNothing) {
    for (const double threshold : {0.0, -1.0, -1e300}) {
        EXPECT_TRUE(ask({1e12, -1e12, 1e12}, threshold));
        EXPECT_EQ(shift, vector());
        EXPECT_EQ(lastOffset(), (vector{1e12, -1e12, 1e12}));
    }
}

TEST_F(FloatOrigin, ThresholdWithoutEndMovesNothing) {
    EXPECT_TRUE(ask({1e300, 0, 0}, std::numeric_limits<double>::infinity()));
    EXPECT_EQ(shift, vector());
}

TEST_F(FloatOrigin, CameraThatIsNoNumberMovesItUntilTheNextGoodOne) {
    EXPECT_FALSE(ask({nan, 0, 0}));
    EXPECT_FALSE(ask({nan, 0, 0}));
    EXPECT_FALSE(ask({5, 0, 0}));
    EXPECT_EQ(shift, (vector{5, 0, 0}));
    EXPECT_TRUE(ask({5, 0, 0}));
}

TEST_F(FloatOrigin, CameraIsThatOfTheCurrentEyeInTheCurrentLayer) {
    context.setNumberOfEyes(2);
    lookFrom({1, 0, 0}, 0);
    lookFrom({2, 0, 0}, 1);
    context.CurrentEye = 1;
    EXPECT_TRUE(Mirk::FloatOrigin::getTranslationVector(context, cube, shift, 1e4));
    EXPECT_EQ(lastOffset(), (vector{2, 0, 0}));
    context.elevateView();
    lookFrom({3, 0, 0}, 1);
    EXPECT_TRUE(Mirk::FloatOrigin::getTranslationVector(context, cube, shift, 1e4));
    EXPECT_EQ(lastOffset(), (vector{3, 0, 0}));
}

TEST_F(FloatOrigin, TableOfInterfacesKeepsTheOrigin) {
    EXPECT_EQ(Mirk::FloatOrigin::getTranslationVector(cube), vector());
    ask({2e4, 0, 0});
    EXPECT_EQ(Mirk::FloatOrigin::getTranslationVector(cube), (vector{2e4, 0, 0}));
    Keel::Intercube other;
    EXPECT_EQ(Mirk::FloatOrigin::getTranslationVector(other), vector());
}

TEST_F(FloatOrigin, AskingForAnOriginAddsNoneToTheTable) {
    const long long before = allocationsOfThisThread();
    Mirk::FloatOrigin::getTranslationVector(cube);
    EXPECT_EQ(allocationsOfThisThread(), before) << "an entry would be one";
    ask({1, 0, 0});
    EXPECT_GT(allocationsOfThisThread(), before);
}

// ---------------------------------------------------------------------------------------------
// Objects

TEST_F(FloatOrigin, ThresholdIsThatOfTheEnvironmentAtEachConstruction) {
    EXPECT_EQ(Mirk::FloatOrigin().CameraShiftThreshold, 1e4);
    ::setenv("CameraShiftThreshold", "250.5", 1);
    EXPECT_EQ(Mirk::FloatOrigin().CameraShiftThreshold, 250.5);
    EXPECT_EQ(Mirk::FloatOrigin(7.0).CameraShiftThreshold, 7.0);
    ::setenv("CameraShiftThreshold", "nan", 1);
    EXPECT_EQ(Mirk::FloatOrigin().CameraShiftThreshold, 1e4) << "with that nothing would be drawn";
}

TEST_F(FloatOrigin, TellsWhatItsEnvironmentVariablesAreFor) {
    const Mirk::FloatOrigin object;
    const auto variables = Keel::listEnvironmentVariables();
    const auto described = [&](const std::string& name) {
        const auto found = std::find_if(variables.begin(), variables.end(),
                                        [&](const auto& v) { return v.name == name; });
        return found == variables.end() ? "" : found->description + " | " + found->defaultValue;
    };
    EXPECT_EQ(described("CameraShiftThreshold"),
              "The threshold distance that triggers shifting of coordinates when they are "
              "numerically too large as compared to the camera position (default 1E4) | 10000");
    EXPECT_EQ(described("DisableFloatingOrigin"),
              "Disable the floating origin approach to handle large coordinates - this is only "
              "useful for demonstration purposes. | 0");
}

TEST_F(FloatOrigin, ObjectsHaveAnOriginForEachPool) {
    const Mirk::FloatOrigin object(100.0);
    lookFrom({500, 0, 0});
    EXPECT_FALSE(object.getCoordinateTranslation(context, shift));
    EXPECT_EQ(shift, (vector{500, 0, 0}));
    const Mirk::ValuePoolPtr first = context.pool;
    context.pool = Keel::make<Mirk::ValuePool>();
    lookFrom({0, 50, 0});
    EXPECT_TRUE(object.getCoordinateTranslation(context, shift));
    EXPECT_EQ(shift, vector());
    context.pool = first;
    lookFrom({550, 0, 0});
    EXPECT_TRUE(object.getCoordinateTranslation(context, shift));
    EXPECT_EQ(shift, (vector{500, 0, 0}));
    const Mirk::FloatOrigin another(100.0);
    lookFrom({0, 0, 20});
    EXPECT_TRUE(another.getCoordinateTranslation(context, shift));
    EXPECT_EQ(shift, vector());
}

TEST_F(FloatOrigin, TheThresholdOfAnObjectHoldsForItsTables) {
    const Mirk::FloatOrigin object(10.0);
    lookFrom({11, 0, 0});
    EXPECT_FALSE(object.getCoordinateTranslation(context, cube, shift));
    EXPECT_EQ(Mirk::FloatOrigin::getTranslationVector(cube), (vector{11, 0, 0}));
}

TEST_F(FloatOrigin, WithoutPoolThereIsNoOriginAndTheShiftStays) {
    const Mirk::FloatOrigin object(10.0);
    context.pool = {};
    EXPECT_FALSE(object.getCoordinateTranslation(context, shift));
    EXPECT_EQ(shift, (vector{1, 2, 3}));
}

// ---------------------------------------------------------------------------------------------
// Points

TEST_F(FloatOrigin, NoPointsGiveNone) {
    const Mirk::FloatOrigin object;
    EXPECT_FALSE(object.computeShiftedCoordinates({}, {1, 1, 1}));
    EXPECT_FALSE(object.computeShiftedFloatCoordinates({}, {1, 1, 1}));
    EXPECT_EQ(object.computeShiftedCoordinates(chunkOf({}), {1, 1, 1})->numberOfElements(), 0U);
    EXPECT_EQ(object.computeShiftedFloatCoordinates(chunkOf({}), {1, 1, 1})->numberOfElements(),
              0U);
}

TEST_F(FloatOrigin, PointsAreShiftedInANewChunk) {
    const Mirk::FloatOrigin object;
    const PointChunk points = chunkOf({{1e9 + 0.25, 2, 3}, {4, 5, 6}});
    const PointChunk shifted = object.computeShiftedCoordinates(points, {1e9, 1, -1});
    EXPECT_EQ(shifted->vector(), (std::vector<point>{{0.25, 1, 4}, {4 - 1e9, 4, 7}}));
    EXPECT_EQ(points->vector()[0].x, 1e9 + 0.25);
}

TEST_F(FloatOrigin, SinglePrecisionIsRoundedLast) {
    const Mirk::FloatOrigin object;
    const auto shifted =
        object.computeShiftedFloatCoordinates(chunkOf({{1e9 + 0.25, 1e9 + 0.3, 0}}), {1e9, 1e9, 0});
    EXPECT_EQ(shifted->vector()[0].x, 0.25F) << "neither 0 nor 64";
    EXPECT_EQ(shifted->vector()[0].y, static_cast<float>((1e9 + 0.3) - 1e9));
    EXPECT_EQ(shifted->vector()[0].y, 0.29999995F);
}

/// What a display object does, on numbers: the place on the screen is that of long double.
TEST_F(FloatOrigin, ChainOfTheShaderIsExactNearTheCamera) {
    for (const double far : {0.0, 1e3, 6.4e6, 1e9, 1e12}) {
        const point camera{far + 0.5, far - 0.25, far};
        const point world = camera + vector{0.125, -0.375, -2};
        Keel::Intercube fresh;
        lookFrom(camera);
        vector origin;
        for (int i = 0; i < 2; ++i) {
            Mirk::FloatOrigin::getTranslationVector(context, fresh, origin, 1e4);
        }
        const auto vertex =
            Mirk::FloatOrigin().computeShiftedFloatCoordinates(chunkOf({world}), origin);
        // As updateTranslatedViews() sums it with minus the shift, and the shader subtracts it.
        const vector translation = camera - point() - origin;
        EXPECT_EQ(vertex->vector()[0].x - static_cast<float>(translation.x),
                  static_cast<float>(world.x - camera.x));
        EXPECT_EQ(vertex->vector()[0].z - static_cast<float>(translation.z), -2.0F);
    }
}

// ---------------------------------------------------------------------------------------------
// Switched off

/// As another process has it that is started with the variable: it is read while the library is
/// loaded.
void exitWithShiftOfAFarCamera() {
    RecordingContext context;
    Keel::Intercube cube;
    context.CurrentView(0, 0).camera.position = {1e9, 0, 0};
    vector shift{1, 1, 1};
    for (int i = 0; i < 3; ++i) {
        const OriginPtr origin = Mirk::FloatOrigin::getTranslationVector(context, cube, shift, 1e4);
        if (!origin || !(shift == vector()) || !(origin->worldOrigin == vector())) std::exit(1);
    }
    std::exit(context.cameraOffsets.back() == vector{1e9, 0, 0} ? 0 : 1);
}

class FloatOriginDeathTest : public testing::Test {
protected:
    void SetUp() override { testing::GTEST_FLAG(death_test_style) = "threadsafe"; }
    void TearDown() override {
        ::unsetenv("DisableFloatingOrigin");
        testing::GTEST_FLAG(death_test_style) = "fast";
    }
};

TEST_F(FloatOriginDeathTest, IsSwitchedOffByOneOrMore) {
    const auto is = [](int expected) { return testing::ExitedWithCode(expected); };
    for (const auto& [value, expected] : {std::pair{"1", 0}, {"2", 0}, {"0", 1}, {"-1", 1}}) {
        ::setenv("DisableFloatingOrigin", value, 1);
        EXPECT_EXIT(exitWithShiftOfAFarCamera(), is(expected), "") << value;
    }
}

} // namespace
