#include <Displays/horizon.hpp>

#include <rookery/Geodesy.hpp>

#include <cmath>
#include <numbers>

namespace Mirk {

namespace {

using Skua::PhysicalSpace::vector;

// A ball within the globe, whose triangles are below their corners by up to 0.0001.
constexpr double opaqueRadius = globeScale - 0.001;
// Angles differ by less between the ellipsoid and the ball that it is scaled to.
constexpr double anglesAgree = 1.01;

} // namespace

//        P        In units where the earth is a ball of radius 1: the rays from the eye E that are
//       / `.      within the opaque ball round O, and within the margin at its rim, leave the
//      /    `.    earth beyond P. Both the cone of these rays and the half space beyond P are
//     O-------E   convex, so that with its corners a whole line or triangle lies within them.
Skua::FixedArray<double, 4> hiddenSide(const Skua::PhysicalSpace::point& eye, double marginRadians,
                                       const Skua::PhysicalSpace::point& earthCentre,
                                       double unitMetres) {
    const double a = Skua::WGS84::semiMajorAxisMetres / unitMetres;
    const double b = Skua::WGS84::semiMinorAxisMetres / unitMetres;
    const vector fromCentre = eye - earthCentre;
    const vector scaled{fromCentre.x / a, fromCentre.y / a, fromCentre.z / b};
    const double distance = norm(scaled);
    const double atEye =
        distance > 1.0 ? std::asin(opaqueRadius / distance) - anglesAgree * marginRadians : 0.0;
    if (!(atEye > 0.0)) return {0.0, 0.0, 0.0, 1.0};
    const double atP = std::asin(distance * std::sin(atEye));
    const double atO = std::numbers::pi - atEye - atP;

    const vector towardsEye = scaled * (1.0 / distance);
    const vector normal{towardsEye.x / a, towardsEye.y / a, towardsEye.z / b};
    return {normal.x, normal.y, normal.z,
            -dot(normal, earthCentre - Skua::PhysicalSpace::point()) - std::cos(atO)};
}

} // namespace Mirk
