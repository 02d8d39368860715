#include <Camera.hpp>
#include <Scene.hpp>
#include <UsageError.hpp>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <vector>

using namespace Shell;
using testing::HasSubstr;

namespace {

/// Random points in a box whose sides are of different lengths.
std::vector<point> cloud(const vector& size, unsigned seed) {
    std::mt19937 generator(seed);
    std::uniform_real_distribution<double> uniform(-0.5, 0.5);
    std::vector<point> points;
    for (int i = 0; i < 300; ++i) {
        points.push_back({size.x * uniform(generator), size.y * uniform(generator),
                          size.z * uniform(generator)});
    }
    return points;
}

Sight sightOf(const std::vector<point>& points) {
    Sight sight;
    double radius = 0.0;
    for (const point& p : points) radius = std::max(radius, norm(p - point()));
    sight.ball = Skua::BoundingBall(point(), radius);
    sight.reaches = [points](std::span<const vector> directions) {
        std::vector<double> reaches;
        for (const vector& direction : directions) {
            double most = -std::numeric_limits<double>::infinity();
            for (const point& p : points) most = std::max(most, dot(direction, p - point()));
            reaches.push_back(most);
        }
        return reaches;
    };
    sight.direction = {-0.3, -0.5, -1.0};
    sight.viewUp = {0.0, 1.0, 0.0};
    return sight;
}

/// A place in the picture: x and y from -1 to 1 within it, and the depth before the camera.
struct Seen {
    double x, y, depth;
};

/// By plain geometry: the angle from the axis of view, in its two planes.
Seen project(const Camera& camera, double aspect, const point& p) {
    const vector forward = normalised(camera.focalPoint - camera.position);
    const vector right = normalised(cross(forward, camera.viewUp));
    const vector up = cross(right, forward);
    const vector offset = p - camera.position;
    const double depth = dot(offset, forward);
    const double halfHeight = depth * std::tan(camera.viewAngleDegrees * std::numbers::pi / 360.0);
    return {dot(offset, right) / (halfHeight * aspect), dot(offset, up) / halfHeight, depth};
}

struct Spread {
    double left = 2, right = -2, bottom = 2, top = -2;
};

Spread spreadOf(const Camera& camera, double aspect, const std::vector<point>& points) {
    Spread result;
    for (const point& p : points) {
        const Seen seen = project(camera, aspect, p);
        EXPECT_GT(seen.depth, 0.0);
        result.left = std::min(result.left, seen.x);
        result.right = std::max(result.right, seen.x);
        result.bottom = std::min(result.bottom, seen.y);
        result.top = std::max(result.top, seen.y);
    }
    return result;
}

std::string errorOf(const CameraWishes& wishes, const Sight& sight) {
    try {
        placeCamera(wishes, sight, {});
    } catch (const UsageError& error) {
        return error.what();
    }
    return "no error";
}

/// Places in the picture are sums of some terms as long as the distance of the camera, which are
/// divided by what the picture shows at that distance.
double roundingOf(double viewAngleDegrees) {
    const double shown = std::tan(viewAngleDegrees * std::numbers::pi / 360.0);
    return 32 * std::numeric_limits<double>::epsilon() / std::min(shown, 1.0);
}

// For the angle of 30 degrees.
const double rounding = roundingOf(30.0);

struct Case {
    std::string name;
    vector size;
    double aspect;
    double angleDegrees;

    friend void PrintTo(const Case& each, std::ostream* out) { *out << each.name; }
};

class CameraFit : public testing::TestWithParam<Case> {
protected:
    const std::vector<point> _points = cloud(GetParam().size, 7);
    const Sight _sight = sightOf(_points);
    const double _rounding = roundingOf(GetParam().angleDegrees);
    CameraWishes wishes() const {
        CameraWishes result;
        result.viewAngleDegrees = GetParam().angleDegrees;
        return result;
    }
};

TEST_P(CameraFit, TouchesTwoOppositeEdgesOfTheFrameAndCentresTheOtherTwo) {
    const double aspect = GetParam().aspect;
    const double part = 0.9;
    const Camera camera = placeCamera(wishes(), _sight, {aspect, part, part});
    const Spread spread = spreadOf(camera, aspect, _points);
    const double widest = std::max(spread.right, -spread.left);
    const double highest = std::max(spread.top, -spread.bottom);
    EXPECT_NEAR(std::max(widest, highest), part, _rounding);
    // The axis that is not full is centred by steps, until the distance is right to 1e-4.
    constexpr double steps = 1e-3;
    EXPECT_NEAR(spread.left, -spread.right, widest > highest ? _rounding : steps);
    EXPECT_NEAR(spread.bottom, -spread.top, widest > highest ? steps : _rounding);
}

TEST_P(CameraFit, KeepsAFocalPointInTheMiddleAndTouchesAnEdge) {
    const double aspect = GetParam().aspect;
    CameraWishes wished = wishes();
    wished.focalPoint = point{0.1, 0.2, -0.1};
    const Camera camera = placeCamera(wished, _sight, {aspect, 0.9, 0.9});
    EXPECT_EQ(camera.focalPoint, *wished.focalPoint);
    const Spread spread = spreadOf(camera, aspect, _points);
    EXPECT_NEAR(std::max({spread.right, -spread.left, spread.top, -spread.bottom}), 0.9, _rounding);
}

TEST_P(CameraFit, ProjectsAsPlainGeometryDoes) {
    const double aspect = GetParam().aspect;
    const Camera camera = placeCamera(wishes(), _sight, {aspect, 0.9, 0.9});
    const Matrix4 matrix = modelViewProjection(camera, _sight.ball, aspect);
    double nearest = 2, farthest = -2;
    for (const point& p : _points) {
        double clip[4];
        for (std::size_t row = 0; row < 4; ++row) {
            clip[row] =
                matrix(row, 0) * p.x + matrix(row, 1) * p.y + matrix(row, 2) * p.z + matrix(row, 3);
        }
        const Seen seen = project(camera, aspect, p);
        EXPECT_NEAR(clip[3], seen.depth, _rounding * seen.depth);
        EXPECT_NEAR(clip[0] / clip[3], seen.x, _rounding);
        EXPECT_NEAR(clip[1] / clip[3], seen.y, _rounding);
        nearest = std::min(nearest, clip[2] / clip[3]);
        farthest = std::max(farthest, clip[2] / clip[3]);
    }
    EXPECT_GT(nearest, -1.0);
    EXPECT_LT(farthest, 1.0);
}

INSTANTIATE_TEST_SUITE_P(Shapes, CameraFit,
                         testing::Values(Case{"Cube", {1, 1, 1}, 1.0, 30},
                                         Case{"Slab", {4, 0.1, 3}, 1.0, 30},
                                         Case{"Tower", {0.1, 5, 0.2}, 1.0, 30},
                                         Case{"CubeInAWidePicture", {1, 1, 1}, 3.0, 30},
                                         Case{"CubeInAHighPicture", {1, 1, 1}, 0.25, 30},
                                         Case{"WideAngle", {1, 2, 1}, 1.5, 120},
                                         Case{"NarrowAngle", {1, 2, 1}, 1.5, 0.01}),
                         [](const auto& each) { return each.param.name; });

TEST(CameraTest, DepthGrowsWithTheDistance) {
    const Sight sight = sightOf(cloud({1, 1, 1}, 3));
    const Camera camera = placeCamera({}, sight, {});
    const Matrix4 matrix = modelViewProjection(camera, sight.ball, 1.0);
    double before = -2;
    for (double along = -0.8; along < 0.85; along += 0.1) {
        const point p = point() + camera.forward() * along;
        double z = matrix(2, 3), w = matrix(3, 3);
        for (std::size_t axis = 0; axis < 3; ++axis) {
            z += matrix(2, axis) * p[axis];
            w += matrix(3, axis) * p[axis];
        }
        EXPECT_GT(z / w, before);
        before = z / w;
    }
}

TEST(CameraTest, StandsBeforeASinglePoint) {
    const Sight sight = sightOf({point()});
    const Camera camera = placeCamera({}, sight, {});
    const Seen seen = project(camera, 1.0, point());
    EXPECT_GT(seen.depth, 0.0);
    EXPECT_NEAR(seen.x, 0.0, rounding);
    EXPECT_NEAR(seen.y, 0.0, rounding);
}

TEST(CameraTest, StandsBeforeALineInTheDirectionOfView) {
    Sight sight = sightOf({point{0, 0, -1}, point{0, 0, 1}});
    sight.direction = {0, 0, -1};
    const Camera camera = placeCamera({}, sight, {});
    EXPECT_GT(project(camera, 1.0, point{0, 0, 1}).depth, 0.0);
}

TEST(CameraTest, StaysInFrontOfAFocalPointThatLiesBeforeTheData) {
    Sight sight = sightOf(cloud({1, 1, 1}, 3));
    sight.direction = {0, 0, -1};
    CameraWishes wishes;
    wishes.focalPoint = point{0, 0, 100};
    const Camera camera = placeCamera(wishes, sight, {});
    EXPECT_GT(camera.position.z, 100.0);
}

TEST(CameraTest, StandsWhereTheUserSays) {
    CameraWishes wishes;
    wishes.position = point{1, 2, 3};
    wishes.focalPoint = point{1, 2, 0};
    wishes.viewUp = vector{5, 0, 0};
    const Camera camera = placeCamera(wishes, sightOf(cloud({1, 1, 1}, 3)), {});
    EXPECT_EQ(camera.position, *wishes.position);
    EXPECT_EQ(camera.focalPoint, *wishes.focalPoint);
    EXPECT_EQ(camera.forward(), (vector{0, 0, -1}));
    EXPECT_EQ(camera.up(), (vector{1, 0, 0}));
    EXPECT_EQ(camera.right(), (vector{0, -1, 0}));
}

TEST(CameraTest, LooksAtTheMiddleOfTheDataFromAPlaceOfTheUser) {
    CameraWishes wishes;
    wishes.position = point{0, 0, 9};
    EXPECT_EQ(placeCamera(wishes, sightOf(cloud({1, 1, 1}, 3)), {}).focalPoint, point());
}

TEST(CameraTest, FindsAnotherViewUpWhereTheUsualOneIsAlongTheView) {
    CameraWishes wishes;
    for (const double y : {9.0, -9.0}) {
        wishes.position = point{0, y, 0};
        const Camera camera = placeCamera(wishes, sightOf(cloud({1, 1, 1}, 3)), {});
        EXPECT_NEAR(norm(camera.right()), 1.0, rounding);
        EXPECT_NEAR(norm(camera.up()), 1.0, rounding);
    }
}

TEST(CameraTest, RefusesAViewUpAlongTheView) {
    CameraWishes wishes;
    wishes.position = point{0, 0, 9};
    wishes.viewUp = vector{0, 0, -2};
    EXPECT_THAT(errorOf(wishes, sightOf(cloud({1, 1, 1}, 3))), HasSubstr("--camera-view-up"));
}

TEST(CameraTest, RefusesAPositionThatIsTheFocalPoint) {
    CameraWishes wishes;
    wishes.position = wishes.focalPoint = point{1, 2, 3};
    EXPECT_THAT(errorOf(wishes, sightOf(cloud({1, 1, 1}, 3))), HasSubstr("--camera-position"));
}

TEST(CameraTest, RefusesPlacesFromWhichNothingIsSeen) {
    const Sight sight = sightOf(cloud({1, 1, 1}, 3));
    CameraWishes wishes;
    wishes.position = point{0, 0, 1e14};
    EXPECT_THAT(errorOf(wishes, sight), HasSubstr("1e12"));
    wishes.position.reset();
    wishes.focalPoint = point{0, 1e14, 0};
    EXPECT_THAT(errorOf(wishes, sight), HasSubstr("1e12"));
}

TEST(SceneSpaceTest, KeepsAllDigitsOfWhatLiesFarFromZero) {
    // Both are numbers of the file, whose difference is one as well.
    const SceneSpace space{{1e9, -2e9, 3e9}, 1.0};
    const point p{1e9 + 0.0009765625, -2e9 - 0.5, 3e9 + 1024.25};
    EXPECT_EQ(space.toScene(p), (point{0.0009765625, -0.5, 1024.25}));
}

TEST(SceneSpaceTest, ChangesNoDigitByItsUnit) {
    const SceneSpace space{{}, std::ldexp(1.0, -40)};
    EXPECT_EQ(space.toScene({0.1, 0.2, -0.3}).x, std::ldexp(0.1, 40));
}

} // namespace
