#include <eyes.hpp>

#include <Readers/Dataset.hpp>
#include <sorrel/VActionNotifier.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <optional>
#include <vector>

using namespace Shell;

namespace {

/// Near and far in the world, of the eyes of a picture of points in a ball.
std::vector<DepthRange> depthsOf(const Skua::BoundingBall& ball, const PictureOptions& options,
                                 const std::optional<StereoOptions>& stereo = {}) {
    const vector x{ball.radius, 0, 0};
    Mirk::PointSet data;
    data.points = Mirk::makeChunk(std::vector<point>{ball.centre - x, ball.centre + x});
    Scene scene(options);
    scene.add("points.ply", data);
    scene.complete();
    const double unit = scene.space().worldUnit;
    std::vector<DepthRange> depths;
    for (const auto& eye : eyesOf(scene, options, stereo)) {
        depths.push_back({eye.near * unit, eye.far * unit});
    }
    Mirk::VActionNotifier::clear();
    return depths;
}

PictureOptions lookingFrom(const point& place, const point& at) {
    PictureOptions options;
    options.camera.position = place;
    options.camera.focalPoint = at;
    return options;
}

void expectDepths(const DepthRange& depths, double near, double far) {
    EXPECT_NEAR(depths.near, near, 1e-9 * near);
    EXPECT_NEAR(depths.far, far, 1e-9 * far);
}

/// Sizes of data, for some of which a scene has a unit of its own.
constexpr double sizes[] = {1e-20, 1e-3, 1.0, 6.4e6, 1e30};
/// What lies on the ball is within the planes.
constexpr double roundBall = 1.001;

TEST(EyesTest, HaveTheNearPlaneAndTheFarOneAroundTheDataFromAnyDistance) {
    for (const double size : sizes) {
        const Skua::BoundingBall ball({size, -2 * size, 3 * size}, size);
        for (const double distance : {1.1, 10.0, 1e6}) {
            SCOPED_TRACE(testing::Message() << size << " from " << distance);
            const PictureOptions options =
                lookingFrom(ball.centre + vector{0, 0, distance * size}, ball.centre);
            const std::vector<DepthRange> depths = depthsOf(ball, options);
            ASSERT_EQ(depths.size(), 1u);
            expectDepths(depths[0], (distance - roundBall) * size, (distance + roundBall) * size);
        }
    }
}

TEST(EyesTest, AmidTheDataHaveTheNearPlaneAsCloseAsFloatsAllow) {
    for (const double size : sizes) {
        SCOPED_TRACE(size);
        const Skua::BoundingBall ball(point(), size);
        const PictureOptions to = lookingFrom({0, 0, 0.5 * size}, point());
        expectDepths(depthsOf(ball, to)[0], 1e-11 * (0.5 + roundBall) * size,
                     (0.5 + roundBall) * size);
        const PictureOptions away = lookingFrom({0, 0, 0.5 * size}, {0, 0, size});
        expectDepths(depthsOf(ball, away)[0], 1e-11 * roundBall * size, roundBall * size);
    }
}

TEST(EyesTest, HaveTheirPlanesEachAroundTheData) {
    const Skua::BoundingBall ball(point(), 1.0);
    const PictureOptions options = lookingFrom({0, 0, 10}, point());
    StereoOptions stereo;
    stereo.eyeSeparation = 0.5;
    for (const bool toeIn : {false, true}) {
        SCOPED_TRACE(toeIn);
        stereo.toeIn = toeIn;
        const std::vector<DepthRange> depths = depthsOf(ball, options, stereo);
        ASSERT_EQ(depths.size(), 2u);
        const double distance = toeIn ? std::hypot(10.0, 0.25 * 10.0) : 10.0;
        for (const DepthRange& each : depths) {
            expectDepths(each, distance - roundBall, distance + roundBall);
        }
    }
}

} // namespace
