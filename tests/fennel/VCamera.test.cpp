#include <fennel/VCamera.hpp>

#include "valueText.hpp"

#include <cmath>
#include <limits>
#include <random>

namespace {

using Mirk::VCamera;
using Skua::PhysicalSpace::point;
using Skua::PhysicalSpace::vector;

constexpr double Infinite = std::numeric_limits<double>::infinity();
constexpr double NaN = std::numeric_limits<double>::quiet_NaN();

/// A component of a product of unit vectors has three products and two sums of numbers up to 1, of
/// vectors that are unit vectors within 4 units in the last place.
constexpr double Rounding = 16 * std::numeric_limits<double>::epsilon();

void expectNear(const vector& expected, const vector& actual, double bound = Rounding) {
    EXPECT_NEAR(expected.x, actual.x, bound);
    EXPECT_NEAR(expected.y, actual.y, bound);
    EXPECT_NEAR(expected.z, actual.z, bound);
}

void expectOrthonormal(const VCamera& camera) {
    SCOPED_TRACE(camera.str());
    const auto [right, up, third] = camera.getTriad();
    EXPECT_NEAR(1.0, norm(right), Rounding);
    EXPECT_NEAR(1.0, norm(up), Rounding);
    EXPECT_NEAR(1.0, norm(third), Rounding);
    EXPECT_NEAR(0.0, dot(right, up), Rounding);
    EXPECT_NEAR(0.0, dot(up, third), Rounding);
    EXPECT_NEAR(0.0, dot(third, right), Rounding);
    expectNear(third, cross(right, up));
}

VCamera cameraAt(const point& position, const point& lookAt, const vector& up) {
    VCamera camera;
    camera.position = position;
    camera.lookAt = lookAt;
    camera.up = up;
    return camera;
}

vector transformed(const std::array<double, 16>& m, const point& p) {
    return {m[0] * p.x + m[4] * p.y + m[8] * p.z + m[12],
            m[1] * p.x + m[5] * p.y + m[9] * p.z + m[13],
            m[2] * p.x + m[6] * p.y + m[10] * p.z + m[14]};
}

TEST(VCamera, IsFiniteByDefaultAndLooksDownTheZAxis) {
    const VCamera camera;
    EXPECT_FALSE(camera.position == camera.lookAt);
    EXPECT_NE(vector{}, cross(camera.position - camera.lookAt, camera.up));
    EXPECT_GT(camera.fieldOfView, 0.0);
    EXPECT_LT(camera.fieldOfView, 180.0);
    const auto [right, up, third] = camera.getTriad();
    EXPECT_EQ((vector{1.0, 0.0, 0.0}), right);
    EXPECT_EQ((vector{0.0, 1.0, 0.0}), up);
    EXPECT_EQ((vector{0.0, 0.0, 1.0}), third);
}

TEST(VCamera, HasItsFieldsInOrder) {
    const VCamera camera;
    const void* const position = &camera.position;
    const void* const lookAt = &camera.lookAt;
    const void* const up = &camera.up;
    const void* const fieldOfView = &camera.fieldOfView;
    EXPECT_LT(position, lookAt);
    EXPECT_LT(lookAt, up);
    EXPECT_LT(up, fieldOfView);
}

TEST(VCamera, TriadGoesRightThenUpThenFromLookAtToPosition) {
    const auto [right, up, third] =
        cameraAt({10.0, 0.0, 0.0}, {4.0, 0.0, 0.0}, {0.0, 0.0, 3.0}).getTriad();
    expectNear({1.0, 0.0, 0.0}, third);
    expectNear({0.0, 0.0, 1.0}, up);
    expectNear({0.0, 1.0, 0.0}, right);
}

TEST(VCamera, TriadIsOrthonormalWhateverTheUpVector) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> number(-1.0, 1.0);
    const auto any = [&] { return vector{number(random), number(random), number(random)}; };
    for (int i = 0; i < 1000; ++i) {
        const point place = point{} + any() * 6.4e6;
        expectOrthonormal(cameraAt(place, place + any(), any() * 1e-3));
    }
}

TEST(VCamera, TriadIsOrthonormalIfUpIsNearlyTheDirectionOfTheView) {
    for (const double off : {1e-3, 1e-7, 1e-11, 1e-15, 1e-300, 0.0}) {
        expectOrthonormal(cameraAt({3.0, 4.0, 5.0}, {}, {3.0 + off, 4.0, 5.0}));
        expectOrthonormal(cameraAt({0.0, 0.0, 1.0}, {}, {off, 0.0, 1.0}));
    }
}

TEST(VCamera, TriadIsFiniteIfTheCameraTellsNothing) {
    expectOrthonormal(cameraAt({1.0, 2.0, 3.0}, {1.0, 2.0, 3.0}, {0.0, 1.0, 0.0}));
    expectOrthonormal(cameraAt({0.0, 0.0, 1.0}, {}, {}));
    expectOrthonormal(cameraAt({0.0, 0.0, 1.0}, {}, {0.0, 0.0, -2.0}));
    expectOrthonormal(cameraAt({0.0, 1.0, 0.0}, {}, {0.0, 1.0, 0.0}));
    expectOrthonormal(cameraAt({1.0, 0.0, 0.0}, {}, {1.0, 0.0, 0.0}));
    expectOrthonormal(cameraAt({NaN, 0.0, 0.0}, {}, {0.0, 1.0, 0.0}));
    expectOrthonormal(cameraAt({Infinite, 0.0, 0.0}, {}, {0.0, 1.0, 0.0}));
    expectOrthonormal(cameraAt({1.0, 0.0, 0.0}, {}, {NaN, Infinite, 0.0}));
}

TEST(VCamera, TriadHoldsForAllMagnitudes) {
    for (const double size : {1e308, 1e200, 1e-200, 5e-324}) {
        const VCamera camera = cameraAt({size, 0.0, 0.0}, {-size, 0.0, 0.0}, {0.0, size, 0.0});
        expectOrthonormal(camera);
        expectNear({1.0, 0.0, 0.0}, camera.getTriad()[2]);
        expectNear({0.0, 1.0, 0.0}, camera.getTriad()[1]);
    }
}

TEST(VCamera, UntranslatedLookAtIsTheRotationColumnByColumn) {
    const VCamera camera = cameraAt({10.0, 20.0, 30.0}, {1.0, -2.0, 5.0}, {0.1, 0.2, 0.9});
    const auto [right, up, third] = camera.getTriad();
    const std::array<double, 16> expected{right.x, up.x, third.x, 0.0, right.y, up.y, third.y, 0.0,
                                          right.z, up.z, third.z, 0.0, 0.0,     0.0,  0.0,     1.0};
    EXPECT_EQ(expected, camera.untranslatedLookAt());
}

TEST(VCamera, TranslateMultipliesInPlaceByTheNegativePosition) {
    VCamera camera;
    camera.position = {1.0, 2.0, 3.0};
    std::array<double, 16> matrix{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0,
                                  0.0, 0.0, 1.0, 0.0, 0.0, 0.0, 0.0, 1.0};
    camera.translate(matrix);
    EXPECT_EQ((std::array<double, 16>{1.0, 0.0, 0.0, 0.0, 0.0, 1.0, 0.0, 0.0, //
                                      0.0, 0.0, 1.0, 0.0, -1.0, -2.0, -3.0, 1.0}),
              matrix);

    matrix = {2.0, 0.0, 0.0, 0.5, 0.0, 4.0, 0.0, 0.0, 0.0, 0.0, 8.0, 0.0, 10.0, 20.0, 30.0, 1.0};
    camera.translate(matrix);
    EXPECT_EQ((std::array<double, 16>{2.0, 0.0, 0.0, 0.5, 0.0, 4.0, 0.0, 0.0, //
                                      0.0, 0.0, 8.0, 0.0, 8.0, 12.0, 6.0, 0.5}),
              matrix);
}

TEST(VCamera, RotationWithTranslationIsTheModelView) {
    const VCamera camera = cameraAt({10.0, 20.0, 30.0}, {1.0, -2.0, 5.0}, {0.0, 0.0, 1.0});
    std::array<double, 16> modelView = camera.untranslatedLookAt();
    camera.translate(modelView);
    // Coordinates up to 30 in products of which three are summed: 4 roundings of 90 at most.
    const double bound = 400.0 * std::numeric_limits<double>::epsilon();
    expectNear({}, transformed(modelView, camera.position), bound);
    const double away = norm(camera.position - camera.lookAt);
    expectNear({0.0, 0.0, -away}, transformed(modelView, camera.lookAt), bound);
    EXPECT_GT(transformed(modelView, camera.lookAt + camera.up).y, 0.0);
}

TEST(VCamera, TextNamesItsNumbers) {
    EXPECT_EQ("position 0 0 10, lookAt 0 0 0, up 0 1 0, fieldOfView 45", textOf(VCamera()));
    EXPECT_EQ(textOf(VCamera()), VCamera().str());
}

TEST(VCamera, TextIsReadBackToTheSameBits) {
    VCamera camera =
        cameraAt({0.1, -0.0, 6378137.000000001}, {5e-324, NaN, -Infinite}, {1.0, 2.0, 3.0});
    camera.fieldOfView = 1.0 / 3.0;
    expectSameBack(camera);
}

TEST(VCamera, ReadsFieldsInAnyOrderAndOnSeveralLines) {
    const auto camera = readFrom<VCamera>("fieldOfView 30\n  position 1, 2, 3\n  up 0 0 1\n");
    EXPECT_EQ((point{1.0, 2.0, 3.0}), camera.position);
    EXPECT_EQ((vector{0.0, 0.0, 1.0}), camera.up);
    EXPECT_EQ(30.0, camera.fieldOfView);
    EXPECT_EQ(VCamera().lookAt, camera.lookAt);
}

TEST(VCamera, WhatIsLeftOutIsAsInTheDefaultCameraWhateverStoodThere) {
    VCamera camera = cameraAt({1.0, 1.0, 1.0}, {2.0, 2.0, 2.0}, {1.0, 0.0, 0.0});
    ASSERT_TRUE(read(camera, "position 5 6 7"));
    EXPECT_EQ((point{5.0, 6.0, 7.0}), camera.position);
    EXPECT_EQ(VCamera().lookAt, camera.lookAt);
    EXPECT_EQ(VCamera().up, camera.up);
}

TEST(VCamera, RefusesWhatItCanNotReadAndStaysAsItWas) {
    const VCamera camera = cameraAt({1.0, -0.0, NaN}, {2.0, 2.0, 2.0}, {1.0, 0.0, 0.0});
    for (const char* const text :
         {"", " ", "position", "position 1 2", "position 1 2 3 4", "position 1 2 x",
          "position 1 2 3, position 1 2 3", "place 1 2 3", "position 1 2 3, fieldOfView",
          "position 1 2 3,, up 0 0 1", "Position 1 2 3", "1 2 3", "position 1 2 \"3\"",
          "\"position\" 1 2 3", "position 1 2 3 \"", "position 1 2 3,"}) {
        expectUnreadable(camera, text);
    }
}

TEST(VCamera, DiffersByTheBitsOfAnyField) {
    VCamera camera;
    EXPECT_FALSE(differs(VCamera(), camera));
    camera.lookAt.z = -0.0;
    EXPECT_TRUE(differs(VCamera(), camera));
    camera = VCamera();
    camera.fieldOfView = NaN;
    EXPECT_TRUE(differs(VCamera(), camera));
    EXPECT_FALSE(differs(camera, VCamera(camera)));
}

} // namespace
