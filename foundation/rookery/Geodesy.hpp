#pragma once
// Positions on the Earth to Cartesian coordinates and back; stands on Coordinates.
//
// Earth-centred, earth-fixed coordinates in metres: the origin is the Earth's centre of mass, x
// points to latitude 0, longitude 0; y to latitude 0, longitude 90 east; z to the north pole.

#include <rookery/Coordinates.hpp>

#include <span>

namespace Skua {

/// The ellipsoid of the World Geodetic System 1984 (NIMA TR8350.2, 3rd edition, table 3.1 and
/// 3.3). The first two numbers define it, the others follow.
namespace WGS84 {

inline constexpr double semiMajorAxisMetres = 6378137.0;
inline constexpr double flattening = 1.0 / 298.257223563;
inline constexpr double semiMinorAxisMetres = semiMajorAxisMetres * (1.0 - flattening);
inline constexpr double eccentricitySquared = flattening * (2.0 - flattening);

} // namespace WGS84

/// A position with regard to the WGS 84 ellipsoid; not the height above the sea, which differs
/// from it by up to 107 m.
struct ROOKERY_EXPORT GeodeticPoint {
    friend constexpr bool operator==(const GeodeticPoint&, const GeodeticPoint&) = default;

    double longitudeDegrees = 0.0;
    double latitudeDegrees = 0.0;
    double heightMetres = 0.0;
};

/// Earth-centred coordinates in metres, right to 3e-9 m at heights below 1000 km.
/// Any angles up to 1e12 degrees are taken: beyond 90 degrees of latitude the meridian goes on
/// behind the pole. Larger ones, and numbers that aren't finite, give a NaN or infinite coordinate.
ROOKERY_EXPORT PhysicalSpace::point toEarthCentred(const GeodeticPoint& position);

/// The same for many positions, with result[i] from positions[i]. Made for many:
/// it takes some 16 ns for each on one core.
/// \throws std::invalid_argument if the lengths differ; nothing is written in that case.
ROOKERY_EXPORT void toEarthCentred(std::span<const GeodeticPoint> positions,
                                   std::span<PhysicalSpace::point> result);

/// The position with longitude in [-180, 180], latitude in [-90, 90] and height. Converting back
/// returns to within 5e-9 m, or 4 units in the last place of the distance from the centre where
/// that is more. Less than 43 km from the Earth's centre several positions stand for one point,
/// and the answer is one of them. Points on the axis get longitude 0 (180 if x is -0), the centre
/// itself latitude 90. What isn't finite gives NaN.
ROOKERY_EXPORT GeodeticPoint toGeodetic(const PhysicalSpace::point& earthCentredMetres);

/// The same for many points, with result[i] from earthCentredMetres[i].
/// \throws std::invalid_argument if the lengths differ; nothing is written in that case.
ROOKERY_EXPORT void toGeodetic(std::span<const PhysicalSpace::point> earthCentredMetres,
                               std::span<GeodeticPoint> result);

} // namespace Skua
