#include <Displays/GlobeDisplay.hpp>

#include "displayFixture.hpp"

#include <Displays/horizon.hpp>
#include <rookery/Geodesy.hpp>

#include <cmath>
#include <numbers>

using Mirk::GlobeDisplay;
using testing::HasSubstr;

namespace {

class GlobeDisplayTest : public DisplayTest {
protected:
    static constexpr double equator = Skua::WGS84::semiMajorAxisMetres;
    static constexpr double pole = Skua::WGS84::semiMinorAxisMetres;

    const DisplayPtr<GlobeDisplay> object{new GlobeDisplay("earth")};
};

TEST_F(GlobeDisplayTest, IsRoundTheCoordinateZero) {
    EXPECT_EQ(boundsOf(*object).min, (point{-equator, -equator, -pole}));
    EXPECT_EQ(boundsOf(*object).max, (point{equator, equator, pole}));
    EXPECT_EQ(boundsOf(*object).radius, equator);
}

TEST_F(GlobeDisplayTest, IsAllALittleBelowTheEllipsoid) {
    ASSERT_TRUE(draw(*object));
    for (const FloatPoint& p : attribute<FloatPoint>("Coordinates")) {
        const double height = norm(vector{p.x / equator, p.y / equator, p.z / pole});
        ASSERT_NEAR(height, Mirk::globeScale, 1e-6); // a few float steps
    }
}

TEST_F(GlobeDisplayTest, IsClosed) {
    ASSERT_TRUE(draw(*object));
    const auto points = attribute<FloatPoint>("Coordinates");
    const auto indices = attribute<std::uint32_t>("Indices");
    // Six times the volume between the centre and the triangles.
    double volume = 0.0;
    for (std::size_t i = 0; i + 2 < indices.size(); i += 3) {
        const auto corner = [&](std::size_t n) {
            return toDouble(points.at(indices[i + n])) - point();
        };
        volume += std::abs(dot(corner(0), cross(corner(1), corner(2))));
    }
    const double ellipsoid = 8.0 * std::numbers::pi * equator * equator * pole;
    // The triangles lie below the ball by less than 0.0001 of its radius.
    EXPECT_NEAR(volume / ellipsoid, std::pow(Mirk::globeScale, 3), 3e-4);
}

TEST_F(GlobeDisplayTest, IsInTheUnitsOfTheCaller) {
    constexpr double scale = 1.0 / 1024.0;
    const DisplayPtr<GlobeDisplay> scaled(new GlobeDisplay("scaled", scale));
    EXPECT_EQ(boundsOf(*scaled).max, (point{equator * scale, equator * scale, pole * scale}));
    ASSERT_TRUE(draw(*object));
    const auto inMetres = attribute<FloatPoint>("Coordinates");
    ASSERT_TRUE(draw(*scaled));
    const auto inUnits = attribute<FloatPoint>("Coordinates");
    ASSERT_EQ(inUnits.size(), inMetres.size());
    for (std::size_t i = 0; i < inUnits.size(); i += 1000) {
        EXPECT_EQ(inUnits[i].x * 1024, inMetres[i].x);
    }
}

TEST_F(GlobeDisplayTest, LeavesOutItsFarSideForEachEye) {
    context.setNumberOfEyes(2);
    lookFrom(0, {0, 0, 4 * equator});
    lookFrom(1, {4 * equator, 0, 0});
    ASSERT_TRUE(draw(*object));
    EXPECT_THAT(vertexText(), HasSubstr("gl_CullDistance"));
    const auto side = [&](int eye, const vector& v) {
        const auto plane = variable<vec4>("HiddenSides[" + std::to_string(eye) + "].plane");
        return plane[0] * v.x + plane[1] * v.y + plane[2] * v.z + plane[3];
    };
    EXPECT_LT(side(0, {0, 0, -pole}), 0);
    EXPECT_GT(side(0, {0, 0, pole}), 0);
    EXPECT_LT(side(1, {-equator, 0, 0}), 0);
    EXPECT_GT(side(1, {equator, 0, 0}), 0);
}

} // namespace
