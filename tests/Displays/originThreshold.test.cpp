#include <Displays/originThreshold.hpp>

#include "displayFixture.hpp"

#include <limits>

namespace {

using originThreshold = DisplayTest;

TEST_F(originThreshold, GrowsWithWhatAPixelCoversAtTheNearest) {
    Mirk::View& view = context.CurrentView(0, 0);
    view.setFrustum(-1.0, 1.0, -0.5, 0.5, 2.0, 100.0); // corners at 29 degrees
    context.viewport = {0, 0, 200, 50};
    // A pixel is 0.01 wide and 0.02 high at the near plane.
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, 2.0), 0.01 * 4e5);
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, 20.0), 0.1 * 4e5);
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, 0.0), 0.01 * 4e5) << "nothing is nearer";
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, std::nan("")), 0.01 * 4e5);
}

TEST_F(originThreshold, IsLessForWideViews) {
    Mirk::View& view = context.CurrentView(0, 0);
    view.setFrustum(-4.0, 4.0, -4.0, 4.0, 2.0, 100.0);
    context.viewport = {0, 0, 200, 200};
    // A ninth for the squared cosine at the corners.
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, 2.0), 0.04 * 4e5 * 2.0 / 9.0);
}

TEST_F(originThreshold, IsTheSameAtAnyDistanceWithoutPerspective) {
    Mirk::View& view = context.CurrentView(0, 0);
    view.setOrthographic(-4.0, 4.0, -4.0, 4.0, 1.0, 100.0);
    context.viewport = {0, 0, 200, 100};
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, 1.0), 0.04 * 4e5);
    EXPECT_DOUBLE_EQ(Mirk::originThreshold(context, 0, 1e6), 0.04 * 4e5);
}

TEST_F(originThreshold, HasNoEndWithoutAPicture) {
    context.viewport = {0, 0, 0, 0};
    EXPECT_EQ(Mirk::originThreshold(context, 0, 1.0), std::numeric_limits<double>::infinity());
}

} // namespace
