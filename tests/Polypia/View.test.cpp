#include <Polypia/View.hpp>

#include <gmock/gmock.h>

#include <array>
#include <cmath>
#include <limits>
#include <random>
#include <vector>

namespace {

using Mirk::PixelZoom;
using Mirk::ProjectionParameters;
using Mirk::VCamera;
using point = Skua::PhysicalSpace::point;
using vector = Skua::PhysicalSpace::vector;
using testing::DoubleNear;
using testing::Each;
using testing::ElementsAreArray;

void expectNear(const point& actual, const point& expected, double bound) {
    EXPECT_NEAR(actual.x, expected.x, bound);
    EXPECT_NEAR(actual.y, expected.y, bound);
    EXPECT_NEAR(actual.z, expected.z, bound);
}

class View : public testing::Test {
protected:
    /// Looks along -z from the coordinate zero.
    static Mirk::View fromZero() {
        Mirk::View view;
        view.setFrustum(-1, 1, -1, 1, 1, 3);
        return view;
    }
};

// ------------------------------------------------------------------------------------- PixelZoom

TEST(PixelZoom, StartsWithTheWholePicture) {
    EXPECT_EQ(PixelZoom().factor, 1.0);
    EXPECT_EQ(PixelZoom().x, 0.0);
    EXPECT_EQ(PixelZoom().y, 0.0);
}

TEST(PixelZoom, KeepsThePointUnderThePointerInItsPlace) {
    const PixelZoom next({2, .1, .2}, .5, .6, .6);
    EXPECT_DOUBLE_EQ(next.factor, 3.0);
    EXPECT_DOUBLE_EQ(next.x, .2);
    EXPECT_DOUBLE_EQ(next.y, .3);
    const PixelZoom twice({2, .25, .1}, 1, .5, .5);
    EXPECT_DOUBLE_EQ(twice.factor, 4.0);
    EXPECT_DOUBLE_EQ(twice.x, .375);
    EXPECT_DOUBLE_EQ(twice.y, .225);
}

TEST(PixelZoom, EndsAtTheWholePictureAndRecentres) {
    EXPECT_EQ(PixelZoom({1, 0, 0}, -.9, .3, .3), PixelZoom(1, 0, 0));
    EXPECT_EQ(PixelZoom({1.5, .2, .3}, -.5, .3, .3), PixelZoom(1, 0, 0));
}

TEST(PixelZoom, OfNoChangeIsThePreviousOne) {
    EXPECT_EQ(PixelZoom({2, .1, .2}, 0, .6, .6), PixelZoom(2, .1, .2));
}

TEST(PixelZoom, AtTheLeftBorderKeepsItsOffset) {
    EXPECT_EQ(PixelZoom({2, .1, .2}, .5, 0, .6).x, .1);
}

TEST(PixelZoom, MayLeaveThePicture) {
    EXPECT_EQ(PixelZoom({4, .75, .75}, -.5, 0, 0), PixelZoom(2, .75, .75));
}

// --------------------------------------------------------------------------- ProjectionParameters

TEST(ProjectionParameters, StartsAsTheIdentityOfNoKind) {
    const ProjectionParameters projection;
    EXPECT_EQ(projection.matrix, ProjectionParameters::Identity);
    EXPECT_FALSE(projection.orthographic);
    EXPECT_FALSE(projection.perspective);
}

TEST(ProjectionParameters, FrustumIsThatOfOpenGL) {
    ProjectionParameters projection;
    projection.setFrustum(-1, 3, -2, 4, 1, 3);
    std::array<double, 16> expected{};
    expected[0] = 0.5;
    expected[5] = 1.0 / 3.0;
    expected[8] = 0.5;
    expected[9] = 1.0 / 3.0;
    expected[10] = -2;
    expected[11] = -1;
    expected[14] = -3;
    EXPECT_EQ(projection.matrix, expected);
    EXPECT_TRUE(projection.perspective);
    EXPECT_FALSE(projection.orthographic);
    EXPECT_EQ(projection.left, -1);
    EXPECT_EQ(projection.right, 3);
    EXPECT_EQ(projection.bottom, -2);
    EXPECT_EQ(projection.top, 4);
    EXPECT_EQ(projection.near, 1);
    EXPECT_EQ(projection.far, 3);
}

TEST(ProjectionParameters, OrthographicIsThatOfOpenGL) {
    ProjectionParameters projection;
    projection.setOrthographic(-2, 2, -1, 1, 1, 3);
    std::array<double, 16> expected{};
    expected[0] = 0.5;
    expected[5] = 1;
    expected[10] = -1;
    expected[14] = -2;
    expected[15] = 1;
    EXPECT_EQ(projection.matrix, expected);
    EXPECT_TRUE(projection.orthographic);
    EXPECT_FALSE(projection.perspective);
    projection.setOrthographic(0, 4, 1, 3, 1, 3);
    EXPECT_EQ(projection.matrix[12], -1);
    EXPECT_EQ(projection.matrix[13], -2);
}

TEST(ProjectionParameters, FrustumWithoutFarPlaneKeepsAMargin) {
    ProjectionParameters projection;
    projection.setInfiniteFrustum(-1, 1, -1, 1, 0.5);
    EXPECT_EQ(projection.far, std::numeric_limits<double>::infinity());
    EXPECT_EQ(projection.near, 0.5);
    EXPECT_EQ(projection.matrix[0], 0.5);
    EXPECT_EQ(projection.matrix[10], -0.99999976);
    EXPECT_EQ(projection.matrix[11], -1);
    EXPECT_EQ(projection.matrix[14], 0.5 * -1.99999976);
    EXPECT_TRUE(projection.perspective);
}

TEST(ProjectionParameters, IsOfTheLastKindThatWasSet) {
    ProjectionParameters projection;
    const auto kinds = [&] { return std::pair(projection.perspective, projection.orthographic); };
    projection.setFrustum(-1, 1, -1, 1, 1, 3);
    projection.setOrthographic(-1, 1, -1, 1, 1, 3);
    EXPECT_EQ(kinds(), std::pair(false, true));
    projection.setFrustum(-1, 1, -1, 1, 1, 3);
    EXPECT_EQ(kinds(), std::pair(true, false));
    projection.resetProjection();
    EXPECT_EQ(kinds(), std::pair(false, false));
    projection.setOrthographic(-1, 1, -1, 1, 1, 3);
    projection.setInfiniteFrustum(-1, 1, -1, 1, 1);
    EXPECT_EQ(kinds(), std::pair(true, false));
}

TEST(ProjectionParameters, ResetClearsMatrixAndKind) {
    ProjectionParameters projection;
    projection.setOrthographic(-2, 2, -1, 1, 1, 3);
    projection.resetProjection();
    EXPECT_EQ(projection.matrix, ProjectionParameters::Identity);
    EXPECT_FALSE(projection.orthographic);
    EXPECT_FALSE(projection.perspective);
}

// ------------------------------------------------------------------------------------------ View

TEST_F(View, StartsWithIdentitiesAndTheUnitCube) {
    const Mirk::View view;
    for (const auto* matrix :
         {&view.matrix, &view.modelView, &view.untranslatedModelView, &view.inverseModelView,
          &view.inverseUntranslatedModelView, &view.inverseProjection, &view.pixelCalibration}) {
        EXPECT_EQ(*matrix, Mirk::View::Identity);
    }
    std::vector<point> corners(view.corners.begin(), view.corners.end());
    for (const point& corner : corners) {
        EXPECT_EQ(std::abs(corner.x), 1);
        EXPECT_EQ(std::abs(corner.y), 1);
        EXPECT_EQ(std::abs(corner.z), 1);
        EXPECT_EQ(std::count(corners.begin(), corners.end(), corner), 1);
    }
}

TEST_F(View, ModelViewIsThatOfTheCamera) {
    Mirk::View view;
    view.computeModelViewMatrix();
    EXPECT_EQ(view.modelView[14], -10);
    EXPECT_EQ(view.untranslatedModelView[14], 0);
    EXPECT_EQ(view.cameraPosition, (point{0, 0, 10}));
    EXPECT_EQ(view.inverseModelView, Mirk::View::Identity);
    view.updateInverseMatrices();
    EXPECT_EQ(view.inverseModelView[14], 10);
}

TEST_F(View, ModelViewBringsTheLookAtPointAheadOfTheEye) {
    Mirk::View view;
    view.camera.position = {6.4e6, 1, -2};
    view.camera.lookAt = {6.4e6 + 3, 1, -6};
    view.camera.up = {0, 1, 0};
    view.computeModelViewMatrix();
    std::array<double, 4> eye{6.4e6 + 3, 1, -6, 1};
    Mirk::View::myglMultiplyMatrixByVector4by4(eye.data(), view.modelView.data(), eye.data());
    // Products of 6.4e6 are rounded to 1e-9.
    EXPECT_THAT(eye, testing::ElementsAre(DoubleNear(0, 1e-8), DoubleNear(0, 1e-8),
                                          DoubleNear(-5, 1e-8), 1));
}

TEST_F(View, ResetForgetsTheCamera) {
    Mirk::View view;
    view.camera.position = {1, 2, 3};
    view.pixelCalibration[0] = 2;
    view.viewport.left = 0;
    view.computeModelViewMatrix();
    view.resetModelView();
    EXPECT_EQ(view.modelView, Mirk::View::Identity);
    EXPECT_EQ(view.untranslatedModelView, Mirk::View::Identity);
    EXPECT_EQ(view.cameraPosition, point());
    EXPECT_EQ(view.camera.position, VCamera().position);
    EXPECT_EQ(view.pixelCalibration, Mirk::View::Identity);
    EXPECT_EQ(view.viewport, Skua::PhysicalSpace::Viewport());
}

TEST_F(View, SingularMatrixLeavesItsInverseAsItWas) {
    Mirk::View view;
    view.inverseProjection[3] = 7;
    view.matrix = {};
    view.updateInverseMatrices();
    EXPECT_EQ(view.inverseProjection[3], 7);
}

TEST_F(View, FrustumHasItsCornersInOrder) {
    Mirk::View view;
    view.camera.position = {0, 0, 0};
    view.camera.lookAt = {0, 0, -1};
    view.setFrustum(-1, 1, -1, 1, 2, 10);
    view.computeFrustum(0.5, 1.0, {});
    const std::array<point, 8> expected{{{-2, 1, -2},
                                         {2, 1, -2},
                                         {-2, -1, -2},
                                         {2, -1, -2},
                                         {-10, 5, -10},
                                         {10, 5, -10},
                                         {-10, -5, -10},
                                         {10, -5, -10}}};
    EXPECT_EQ(view.corners, expected);
}

TEST_F(View, FrustumOfAPartHasItsCorners) {
    Mirk::View view;
    view.camera.position = {0, 0, 0};
    view.camera.lookAt = {0, 0, -1};
    view.setFrustum(-1, 1, -1, 1, 2, 10);
    view.computeFrustum(0.5, 1.0, {0, 1, -1, 0.5});
    EXPECT_EQ(view.corners[0], (point{0, 0.5, -2}));
    EXPECT_EQ(view.corners[7], (point{10, -5, -10}));
}

TEST_F(View, PlanesPointIntoTheFrustum) {
    Mirk::View view;
    view.camera.position = {3, 4, 5};
    view.camera.lookAt = {-2, 1, 0};
    view.camera.up = {0.2, 1, 0.1};
    view.setFrustum(-1, 1, -1, 1, 2, 10);
    view.computeFrustum(0.5, 0.7, {-1, 0.25, -0.5, 1});
    point centre{};
    for (const point& corner : view.corners) centre = centre + (corner - point{}) * 0.125;
    for (const Mirk::FrustumPlane& plane : view.planes) {
        EXPECT_GT(dot(plane.normal, centre - plane.corner), 0);
        int inThePlane = 0;
        for (const point& corner : view.corners) {
            const double distance = dot(normalised(plane.normal), corner - plane.corner);
            EXPECT_GT(distance, -1e-12);
            if (distance < 1e-12) ++inThePlane;
        }
        EXPECT_EQ(inThePlane, 4);
    }
}

TEST_F(View, WorldGoesToTheScreenAndBack) {
    const Mirk::View view = fromZero();
    point screen, world;
    EXPECT_TRUE(view.WorldToScreen_zero_to_one({.5, .25, -2}, screen));
    EXPECT_EQ(screen, (point{.625, .5625, .75}));
    EXPECT_TRUE(view.UnifiedScreenToWorld(screen, world));
    expectNear(world, {.5, .25, -2}, 1e-14);
    EXPECT_TRUE(view.WorldToScreen_minus1_to_plus1({.5, .25, -2}, screen));
    EXPECT_EQ(screen, (point{.25, .125, .75}));
}

TEST_F(View, PointBehindTheEyeKeepsItsSideOfTheScreen) {
    const Mirk::View view = fromZero();
    point screen, world;
    EXPECT_TRUE(view.WorldToScreen_zero_to_one({.5, .25, 2}, screen));
    EXPECT_EQ(screen, (point{.625, .5625, -1.25}));
    // And so it does not come back.
    EXPECT_TRUE(view.UnifiedScreenToWorld(screen, world));
    expectNear(world, {.136, .068, -.545}, 5e-4);
}

TEST_F(View, PointInThePlaneOfTheEyeHasNoPlaceOnTheScreen) {
    const Mirk::View view = fromZero();
    point screen;
    EXPECT_FALSE(view.WorldToScreen_minus1_to_plus1({.5, -.25, 0}, screen));
    EXPECT_TRUE(std::isinf(screen.x));
    EXPECT_TRUE(std::isinf(screen.y));
    EXPECT_FALSE(view.WorldToScreen_zero_to_one({.5, .25, 0}, screen));
}

TEST_F(View, ScreenToWorldIsTheInverseOfMinus1ToPlus1) {
    Mirk::View view;
    view.camera.position = {3, 4, 5};
    view.camera.lookAt = {-2, 1, 0};
    view.setFrustum(-1, 1, -.5, .5, 1, 100);
    view.computeModelViewMatrix();
    std::mt19937 random(7);
    std::uniform_real_distribution<double> inside(-1, 1);
    const auto [u, v, w] = view.camera.getTriad();
    std::vector<point> screen, expected;
    for (int i = 0; i < 100; ++i) {
        const double depth = 2 + 40 * (1 + inside(random));
        expected.push_back(view.camera.position - w * depth + u * (inside(random) * depth) +
                           v * (inside(random) * depth));
        screen.emplace_back();
        ASSERT_TRUE(view.WorldToScreen_minus1_to_plus1(expected.back(), screen.back()));
    }
    std::vector<point> world(screen.size() + 1);
    ASSERT_TRUE(view.ScreenToWorld(screen, world));
    // The depth of 100 near planes costs four digits of sixteen.
    for (std::size_t i = 0; i < expected.size(); ++i) expectNear(world[i], expected[i], 1e-9);
}

TEST_F(View, ScreenToWorldNeedsRoomAndAnInverse) {
    Mirk::View view = fromZero();
    std::vector<point> world(1);
    EXPECT_FALSE(view.ScreenToWorld({{0, 0, 0}, {0, 0, 1}}, world));
    EXPECT_TRUE(view.ScreenToWorld({}, world));
    view.matrix = {};
    EXPECT_FALSE(view.ScreenToWorld({{0, 0, 0}}, world));
    EXPECT_FALSE(view.UnifiedScreenToWorld({0, 0, 0}, world[0]));
}

TEST_F(View, PointThatComesFromNowhereIsNone) {
    Mirk::View view;
    view.setFrustum(-1, 1, -1, 1, 1, 3); // a depth of 1.5 is 2 in clip space: w is 0 there
    view.updateInverseMatrices();
    point one;
    EXPECT_TRUE(view.UnifiedScreenToWorld({0.5, 0.5, 0.5}, one));
    EXPECT_FALSE(view.UnifiedScreenToWorld({0.5, 0.5, 1.5}, one));
    std::vector<point> world(2);
    EXPECT_TRUE(view.ScreenToWorld({{0, 0, 0.5}, {0, 0, 0}}, world));
    EXPECT_FALSE(view.ScreenToWorld({{0, 0, 0.5}, {0, 0, 1.5}}, world)) << "one fails them all";
    EXPECT_FALSE(view.ScreenToWorld({{0, 0, 1.5}, {0, 0, 0.5}}, world));
}

TEST_F(View, RayThroughTheCentrePointsAlongTheView) {
    Mirk::View view;
    view.camera.position = {1, 2, 3};
    view.camera.lookAt = {1, 2, -7};
    view.setFrustum(-1, 1, -1, 1, 0.5, 100);
    view.computeModelViewMatrix();
    point origin;
    vector direction;
    ASSERT_TRUE(view.UnifiedScreenToRay(.5, .5, origin, direction));
    expectNear(origin, {1, 2, 2.5}, 1e-12);
    EXPECT_NEAR(direction.x, 0, 1e-12);
    EXPECT_NEAR(direction.y, 0, 1e-12);
    EXPECT_NEAR(direction.z, -1, 1e-12);
}

TEST_F(View, RayWithoutFarPlanePointsAheadAsWell) {
    Mirk::View view;
    view.setInfiniteFrustum(-1, 1, -1, 1, .1);
    point origin;
    vector direction;
    ASSERT_TRUE(view.UnifiedScreenToRay(.5, .5, origin, direction));
    EXPECT_NEAR(direction.z, -1, 1e-12);
}

TEST_F(View, RayWithoutFarPlaneBeginsOnTheNearOneWhereverTheCameraIs) {
    Mirk::View view;
    view.camera.position = {4, 5, 6};
    view.camera.lookAt = {4, 5, -4};
    view.setInfiniteFrustum(-1, 1, -1, 1, .5);
    view.computeModelViewMatrix();
    view.updateInverseMatrices();
    point origin;
    vector direction;
    ASSERT_TRUE(view.UnifiedScreenToRay(1, .5, origin, direction)); // the middle of the right edge
    expectNear(origin, {5, 5, 5.5}, 1e-6);
    EXPECT_NEAR(direction.x, 2 / std::sqrt(5), 1e-6);
    EXPECT_NEAR(direction.y, 0, 1e-12);
    EXPECT_NEAR(direction.z, -1 / std::sqrt(5), 1e-6);
}

TEST_F(View, RayFailsWithoutInverse) {
    Mirk::View view;
    view.matrix = {};
    point origin;
    vector direction;
    EXPECT_FALSE(view.UnifiedScreenToRay(.5, .5, origin, direction));
}

TEST_F(View, MultipliesMatricesInPlaceAsWell) {
    // Rows of b are multiplied by 2, 3 and 4; column order.
    const std::array<double, 16> a{2, 0, 0, 0, 0, 3, 0, 0, 0, 0, 4, 0, 5, 6, 7, 1};
    std::array<double, 16> b{1, 1, 1, 0, 0, 1, 0, 0, 0, 0, 1, 0, 1, 2, 3, 1};
    const std::array<double, 16> expected{2, 3, 4, 0, 0, 3, 0, 0, 0, 0, 4, 0, 7, 12, 19, 1};
    Mirk::View::myglMultiplyMatrices4by4(b.data(), a.data(), b.data());
    EXPECT_EQ(b, expected);
}

TEST_F(View, InverseTimesMatrixIsTheIdentity) {
    std::mt19937 random(11);
    std::uniform_real_distribution<double> element(-1, 1);
    for (int i = 0; i < 100; ++i) {
        std::array<double, 16> matrix{}, inverse{}, product{};
        for (double& value : matrix) value = element(random);
        ASSERT_TRUE(Mirk::View::myglInvertMatrix(matrix.data(), inverse.data()));
        Mirk::View::myglMultiplyMatrices4by4(product.data(), inverse.data(), matrix.data());
        // Random matrices of this size are worse conditioned than 1e4 once in some thousand.
        for (std::size_t k = 0; k < 16; ++k) {
            EXPECT_NEAR(product[k], Mirk::View::Identity[k], 1e-11);
        }
    }
}

TEST_F(View, InversionExchangesRowsForAPivotOfZero) {
    const std::array<double, 16> swap{0, 1, 0, 0, 1, 0, 0, 0, 0, 0, 0, 1, 0, 0, 1, 0};
    std::array<double, 16> inverse{};
    ASSERT_TRUE(Mirk::View::myglInvertMatrix(swap.data(), inverse.data()));
    EXPECT_EQ(inverse, swap);
}

TEST_F(View, ZeroMatrixHasNoInverseAndLeavesTheResultAlone) {
    const std::array<double, 16> zero{};
    std::array<double, 16> untouched{};
    untouched.fill(3);
    EXPECT_FALSE(Mirk::View::myglInvertMatrix(zero.data(), untouched.data()));
    EXPECT_THAT(untouched, Each(3));
}

TEST_F(View, DiffersByTheNumbersOfTheCameraAlone) {
    const auto differs = [](auto change) {
        Mirk::View a, b;
        change(b);
        return Mirk::VValueCompareTrait<Mirk::View>::isDifferent(a, b);
    };
    for (std::size_t axis = 0; axis < 3; ++axis) {
        for (const double change : {-1.0, 1.0}) {
            EXPECT_TRUE(differs([=](Mirk::View& view) { view.camera.position[axis] += change; }));
            EXPECT_TRUE(differs([=](Mirk::View& view) { view.camera.lookAt[axis] += change; }));
            EXPECT_TRUE(differs([=](Mirk::View& view) { view.camera.up[axis] += change; }));
            EXPECT_TRUE(differs([=](Mirk::View& view) { view.camera.fieldOfView += change; }));
        }
    }
    EXPECT_FALSE(differs([](Mirk::View& view) { view.setFrustum(-1, 1, -1, 1, 1, 2); }));
    EXPECT_FALSE(differs([](Mirk::View& view) {
        view.camera.position.x = std::numeric_limits<double>::quiet_NaN();
    }));
}

TEST_F(View, TextHasMatricesAndCamera) {
    Mirk::View view;
    view.setOrthographic(-2, 2, -1, 1, 1, 3);
    const std::string identity = "1    0    0    0      ,0    1    0    0      ,"
                                 "0    0    1    0      ,0    0    0    1      ,";
    const std::string projection = "0.5    0    0    0      ,0    1    0    0      ,"
                                   "0    0    -1    0      ,-0    -0    -2    1      ,";
    EXPECT_EQ(Mirk::VValueTrait<Mirk::View>::Text(view),
              "Modelview: { data: [" + identity +
                  "] }, Projection: { Orthographic:true, Perspective: false, data: [" + projection +
                  "] } , Camera: {" + view.camera.str() + "}");
}

TEST_F(View, CanNotBeReadFromText) {
    Mirk::View view;
    EXPECT_FALSE(Mirk::VValueTrait<Mirk::View>::setValueFromText(view, "anything"));
}

} // namespace
