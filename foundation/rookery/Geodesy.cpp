#include <rookery/Geodesy.hpp>

#include <bit>
#include <cmath>
#include <cstdint>
#include <limits>
#include <numbers>
#include <stdexcept>
#include <string>

namespace Skua {

namespace {

constexpr double degreesPerRadian = 180.0 / std::numbers::pi;
constexpr double radiansPerDegree = std::numbers::pi / 180.0;

struct SineCosine {
    double sine;
    double cosine;
};

consteval double inverseFactorial(int n) {
    return n < 2 ? 1.0 : inverseFactorial(n - 1) / n;
}

/// Sine and cosine by their Taylor series, for angles up to 45 degrees: what is cut off is below
/// (pi/4)^17 / 17! = 5e-17 and (pi/4)^18 / 18! = 2e-18. Without a branch or a call, so that the
/// loop over many positions runs in vector registers.
inline SineCosine sineCosineOfSmall(double radians) {
    const double t = radians * radians;
    double sine = inverseFactorial(13) - t * inverseFactorial(15);
    sine = inverseFactorial(11) - t * sine;
    sine = inverseFactorial(9) - t * sine;
    sine = inverseFactorial(7) - t * sine;
    sine = inverseFactorial(5) - t * sine;
    sine = inverseFactorial(3) - t * sine;
    double cosine = inverseFactorial(14) - t * inverseFactorial(16);
    cosine = inverseFactorial(12) - t * cosine;
    cosine = inverseFactorial(10) - t * cosine;
    cosine = inverseFactorial(8) - t * cosine;
    cosine = inverseFactorial(6) - t * cosine;
    cosine = inverseFactorial(4) - t * cosine;
    cosine = inverseFactorial(2) - t * cosine;
    return {radians - radians * (t * sine), 1.0 - t * cosine};
}

/// Exact at all multiples of 90 degrees, which radians can't be: cos(pi / 2) isn't 0, and would
/// move the poles off the axis. NaN for angles beyond 1e12 degrees, which mean nothing.
inline SineCosine sineCosineOfDegrees(double degrees) {
    // Adding 1.5 * 2^52 rounds to an integer, which then stands in the lowest bits of the sum.
    constexpr double roundsToInteger = 6755399441055744.0;
    const double shifted = degrees * (1.0 / 90.0) + roundsToInteger;
    const auto quarter = std::bit_cast<std::uint64_t>(shifted);
    const double rest = degrees - 90.0 * (shifted - roundsToInteger);

    // Doubles without their sign are in the order of their bits, and all bits set is a NaN.
    constexpr auto limit = std::bit_cast<std::uint64_t>(1e12);
    const std::uint64_t magnitude = std::bit_cast<std::uint64_t>(degrees) & ~(1ULL << 63);
    const std::uint64_t beyondLimit = 0 - ((limit - magnitude) >> 63);
    const auto [sine, cosine] = sineCosineOfSmall(
        std::bit_cast<double>(std::bit_cast<std::uint64_t>(rest) | beyondLimit) * radiansPerDegree);

    const auto sineBits = std::bit_cast<std::uint64_t>(sine);
    const auto cosineBits = std::bit_cast<std::uint64_t>(cosine);
    const std::uint64_t exchange = (sineBits ^ cosineBits) & (0 - (quarter & 1));
    const std::uint64_t sineSign = (quarter & 2) << 62;
    const std::uint64_t cosineSign = ((quarter + 1) & 2) << 62;
    // Adding 0 turns -0 into 0: the poles have the same coordinates from both sides.
    return {std::bit_cast<double>((sineBits ^ exchange) ^ sineSign) + 0.0,
            std::bit_cast<double>((cosineBits ^ exchange) ^ cosineSign) + 0.0};
}

void requireEqualLengths(const char* operation, std::size_t from, std::size_t to) {
    if (from == to) return;
    throw std::invalid_argument(std::string(operation) + ": expected room for " +
                                std::to_string(from) + " results, got " + std::to_string(to));
}

// NIMA TR8350.2, equation 4-14.
inline PhysicalSpace::point earthCentred(const GeodeticPoint& position) {
    const auto [sinLatitude, cosLatitude] = sineCosineOfDegrees(position.latitudeDegrees);
    const auto [sinLongitude, cosLongitude] = sineCosineOfDegrees(position.longitudeDegrees);
    const double primeVerticalRadius =
        WGS84::semiMajorAxisMetres /
        std::sqrt(1.0 - WGS84::eccentricitySquared * sinLatitude * sinLatitude);
    const double fromAxis = (primeVerticalRadius + position.heightMetres) * cosLatitude;
    return {fromAxis * cosLongitude, fromAxis * sinLongitude,
            (primeVerticalRadius * (1.0 - WGS84::eccentricitySquared) + position.heightMetres) *
                sinLatitude};
}

/// A direction in the half plane of a meridian: cosine away from the axis, sine to the north.
SineCosine unit(const SineCosine& direction) {
    const double length =
        std::sqrt(direction.sine * direction.sine + direction.cosine * direction.cosine);
    return {direction.sine / length, direction.cosine / length};
}

// B. R. Bowring, "Transformation from spatial to geographical coordinates", Survey Review 23
// (181), 1976, pages 323 to 327: a Newton step for the reduced latitude, repeated until it stands,
// with sine and cosine kept as a pair, so that no tangent gets infinite at the poles. Lengths are
// in units of the semi-major axis.
SineCosine latitudeByBowring(double fromAxis, double z) {
    constexpr double b = 1.0 - WGS84::flattening;
    constexpr double eSquared = WGS84::eccentricitySquared;
    // Two do from the surface outwards; near the centre it takes some more.
    constexpr int mostSteps = 8;

    SineCosine latitude = unit({z, fromAxis * (1.0 - eSquared)});
    for (int step = 0; step < mostSteps; ++step) {
        const auto [s, c] = unit({latitude.sine * b, latitude.cosine});
        const SineCosine next = unit(
            {z + eSquared / (1.0 - eSquared) * b * s * s * s, fromAxis - eSquared * c * c * c});
        const double change = next.sine * latitude.cosine - next.cosine * latitude.sine;
        latitude = next;
        // Each step squares the error: that of the next one would be below rounding.
        if (std::abs(change) < 1e-9) break;
    }
    return latitude;
}

// Near the centre normals of the ellipsoid meet, and a Newton step leads astray. The condition for
// the point to be on the normal of a latitude changes its sign between equator and pole wherever
// the point is, so that halving the interval always ends at a solution.
SineCosine latitudeByBisection(double fromAxis, double z) {
    double low = 0.0;
    double high = std::numbers::pi / 2.0;
    for (int step = 0; step < std::numeric_limits<double>::digits + 2; ++step) {
        const double middle = 0.5 * (low + high);
        const double s = std::sin(middle);
        const double c = std::cos(middle);
        const double radius = 1.0 / std::sqrt(1.0 - WGS84::eccentricitySquared * s * s);
        const double offNormal =
            fromAxis * s - std::abs(z) * c - WGS84::eccentricitySquared * radius * s * c;
        (offNormal < 0.0 ? low : high) = middle;
    }
    return {std::copysign(std::sin(high), z), std::cos(high)};
}

} // namespace

PhysicalSpace::point toEarthCentred(const GeodeticPoint& position) {
    return earthCentred(position);
}

void toEarthCentred(std::span<const GeodeticPoint> positions,
                    std::span<PhysicalSpace::point> result) {
    requireEqualLengths("toEarthCentred", positions.size(), result.size());
    for (std::size_t i = 0; i < positions.size(); ++i) result[i] = earthCentred(positions[i]);
}

GeodeticPoint toGeodetic(const PhysicalSpace::point& earthCentredMetres) {
    constexpr double a = WGS84::semiMajorAxisMetres;
    // Normals meet up to 43 km from the centre.
    constexpr double bisectionMetres = 100e3;

    const auto& [x, y, z] = earthCentredMetres;
    const double fromAxis = std::hypot(x, y);
    const bool isDeep = fromAxis + std::abs(z) < bisectionMetres;
    const auto [sine, cosine] =
        isDeep ? latitudeByBisection(fromAxis / a, z / a) : latitudeByBowring(fromAxis / a, z / a);
    const double height = fromAxis * cosine + z * sine -
                          a * std::sqrt(1.0 - WGS84::eccentricitySquared * sine * sine);
    return {std::atan2(y, x) * degreesPerRadian, std::atan2(sine, cosine) * degreesPerRadian,
            height};
}

void toGeodetic(std::span<const PhysicalSpace::point> earthCentredMetres,
                std::span<GeodeticPoint> result) {
    requireEqualLengths("toGeodetic", earthCentredMetres.size(), result.size());
    for (std::size_t i = 0; i < earthCentredMetres.size(); ++i)
        result[i] = toGeodetic(earthCentredMetres[i]);
}

} // namespace Skua
