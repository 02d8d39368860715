#include <rookery/Geodesy.hpp>

#include <gtest/gtest.h>

#include <cmath>
#include <limits>
#include <numbers>
#include <random>
#include <stdexcept>
#include <vector>

using namespace Skua;
using PhysicalSpace::point;

namespace {

const double nan = std::numeric_limits<double>::quiet_NaN();

void expectNear(const point& actual, const point& expected, double metres) {
    EXPECT_NEAR(actual.x, expected.x, metres);
    EXPECT_NEAR(actual.y, expected.y, metres);
    EXPECT_NEAR(actual.z, expected.z, metres);
}

TEST(Geodesy, KnowsTheDerivedConstantsOfTheEllipsoid) {
    // NIMA TR8350.2, table 3.3.
    EXPECT_NEAR(WGS84::semiMinorAxisMetres, 6356752.3142, 5e-5);
    EXPECT_NEAR(WGS84::eccentricitySquared, 6.69437999014e-3, 5e-15);
}

TEST(Geodesy, AxesAreExact) {
    EXPECT_EQ(toEarthCentred({0, 0, 0}), (point{6378137, 0, 0}));
    EXPECT_EQ(toEarthCentred({90, 0, 0}), (point{0, 6378137, 0}));
    EXPECT_EQ(toEarthCentred({180, 0, 0}), (point{-6378137, 0, 0}));
    EXPECT_EQ(toEarthCentred({-180, 0, 0}), (point{-6378137, 0, 0}));
    EXPECT_EQ(toEarthCentred({-90, 0, 0}), (point{0, -6378137, 0}));
    EXPECT_EQ(toEarthCentred({270, 0, 0}), (point{0, -6378137, 0}));
    EXPECT_EQ(toEarthCentred({360, 0, 1000}), (point{6379137, 0, 0}));
}

TEST(Geodesy, PolesLieOnTheAxis) {
    for (const double longitude : {0.0, 30.0, -135.0, 180.0}) {
        const point north = toEarthCentred({longitude, 90, 0});
        EXPECT_EQ(north.x, 0);
        EXPECT_EQ(north.y, 0);
        EXPECT_NEAR(north.z, 6356752.314245, 5e-7);
        EXPECT_EQ(toEarthCentred({longitude, -90, 0}), (point{0, 0, -north.z}));
    }
}

TEST(Geodesy, MatchesTheFormulaInLongDouble) {
    std::mt19937_64 random(4);
    std::uniform_real_distribution<double> angle(-180, 180);
    std::uniform_real_distribution<double> height(-1e4, 1e6);
    for (int i = 0; i < 20000; ++i) {
        const GeodeticPoint at{angle(random), angle(random) / 2, height(random)};
        const long double radian = std::numbers::pi_v<long double> / 180;
        const long double f = 1 / 298.257223563L;
        const long double e2 = f * (2 - f);
        const long double sine = std::sin(at.latitudeDegrees * radian);
        const long double cosine = std::cos(at.latitudeDegrees * radian);
        const long double n = 6378137 / std::sqrt(1 - e2 * sine * sine);
        const point expected{static_cast<double>((n + at.heightMetres) * cosine *
                                                 std::cos(at.longitudeDegrees * radian)),
                             static_cast<double>((n + at.heightMetres) * cosine *
                                                 std::sin(at.longitudeDegrees * radian)),
                             static_cast<double>((n * (1 - e2) + at.heightMetres) * sine)};
        // A unit in the last place is 9e-10 m here.
        ASSERT_LE(distance(toEarthCentred(at), expected), 3e-9);
    }
}

TEST(Geodesy, GoesOnBehindThePole) {
    expectNear(toEarthCentred({10, 100, 50}), toEarthCentred({-170, 80, 50}), 3e-9);
}

TEST(Geodesy, AnglesWithoutMeaningGiveNan) {
    for (const double angle : {nan, std::numeric_limits<double>::infinity(), 9.97e36, -1.1e12}) {
        EXPECT_TRUE(std::isnan(toEarthCentred({angle, 0, 0}).x));
        EXPECT_TRUE(std::isnan(toEarthCentred({0, angle, 0}).z));
    }
    EXPECT_TRUE(std::isnan(toEarthCentred({0, 45, nan}).x));
    EXPECT_TRUE(std::isnan(toGeodetic({nan, 0, 0}).heightMetres));
    EXPECT_TRUE(std::isnan(toGeodetic({0, 0, nan}).latitudeDegrees));
    EXPECT_FALSE(std::isnan(toEarthCentred({360e9, 0, 0}).x));
}

TEST(Geodesy, FindsKnownPlacesBack) {
    EXPECT_EQ(toGeodetic({6378137, 0, 0}), (GeodeticPoint{0, 0, 0}));
    EXPECT_EQ(toGeodetic({0, -6378237, 0}), (GeodeticPoint{-90, 0, 100}));
    const GeodeticPoint north = toGeodetic({0, 0, WGS84::semiMinorAxisMetres + 100});
    EXPECT_EQ(north.latitudeDegrees, 90);
    EXPECT_NEAR(north.heightMetres, 100, 2e-9);
    EXPECT_EQ(toGeodetic({0, 0, -7e6}).latitudeDegrees, -90);
}

TEST(Geodesy, CentreIsNearestToThePole) {
    const GeodeticPoint centre = toGeodetic({0, 0, 0});
    EXPECT_EQ(centre.latitudeDegrees, 90);
    EXPECT_NEAR(centre.heightMetres, -WGS84::semiMinorAxisMetres, 1e-9);
}

TEST(Geodesy, ReturnsToTheSameLatitudeLongitudeAndHeight) {
    std::mt19937_64 random(5);
    std::uniform_real_distribution<double> angle(-179, 179);
    std::uniform_real_distribution<double> height(-1e4, 1e6);
    for (int i = 0; i < 20000; ++i) {
        const GeodeticPoint at{angle(random), angle(random) / 2, height(random)};
        const GeodeticPoint back = toGeodetic(toEarthCentred(at));
        // 5e-14 degrees are 6e-9 m; longitudes are less certain near the poles.
        const double parallel = std::cos(at.latitudeDegrees * std::numbers::pi / 180);
        ASSERT_NEAR(back.latitudeDegrees, at.latitudeDegrees, 5e-14);
        ASSERT_NEAR(back.longitudeDegrees, at.longitudeDegrees, 5e-14 / parallel);
        ASSERT_NEAR(back.heightMetres, at.heightMetres, 5e-9);
    }
}

TEST(Geodesy, ReturnsToTheSamePointFromCentreToFarAway) {
    std::mt19937_64 random(6);
    std::uniform_real_distribution<double> coordinate(-1, 1);
    for (const double radius :
         {1e-9, 1.0, 3e4, 4.3e4, 9.9e4, 1.01e5, 5e5, 6.3e6, 6.4e6, 4.2e7, 4e8, 1e13, 1e100})
        for (int i = 0; i < 3000; ++i) {
            PhysicalSpace::vector direction{coordinate(random), coordinate(random),
                                            coordinate(random)};
            // Also close to the axis, close to the equator, and on both.
            if (i % 5 == 1) direction.x = direction.y = coordinate(random) * 1e-9;
            if (i % 5 == 2) direction.z *= 1e-9;
            if (i % 5 == 3) direction.x = direction.y = 0;
            if (i % 5 == 4) direction.z = 0;
            const point p = point{} + normalised(direction) * radius;
            const point back = toEarthCentred(toGeodetic(p));
            const double bound = 5e-9 + 4 * std::numeric_limits<double>::epsilon() * radius;
            ASSERT_LE(distance(p, back), bound) << "at " << p.x << " " << p.y << " " << p.z;
        }
}

TEST(Geodesy, BulkFormsGiveTheSameBits) {
    std::mt19937_64 random(7);
    std::uniform_real_distribution<double> angle(-180, 180);
    std::vector<GeodeticPoint> positions(1001);
    for (GeodeticPoint& at : positions) at = {angle(random), angle(random) / 2, angle(random)};
    std::vector<point> points(positions.size());
    toEarthCentred(positions, points);
    std::vector<GeodeticPoint> back(points.size());
    toGeodetic(points, back);
    for (std::size_t i = 0; i < positions.size(); ++i) {
        ASSERT_EQ(points[i], toEarthCentred(positions[i]));
        ASSERT_EQ(back[i], toGeodetic(points[i]));
    }
    EXPECT_NO_THROW(toEarthCentred(std::span<const GeodeticPoint>{}, std::span<point>{}));
}

TEST(Geodesy, BulkFormsTellWhenTheResultDoesNotFit) {
    const std::vector<GeodeticPoint> positions(3);
    std::vector<point> points(2, point{7, 7, 7});
    try {
        toEarthCentred(positions, points);
        FAIL() << "no exception";
    } catch (const std::invalid_argument& problem) {
        EXPECT_STREQ(problem.what(), "toEarthCentred: expected room for 3 results, got 2");
    }
    EXPECT_EQ(points[0], (point{7, 7, 7}));
}

} // namespace
