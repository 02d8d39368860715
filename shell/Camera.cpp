#include <Camera.hpp>

#include <UsageError.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <numbers>
#include <vector>

namespace Shell {

namespace {

double radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

/// Of the data, or of a picture of nothing but a point.
double sizeOf(const Skua::BoundingBall& ball) {
    return ball.radius > 0.0 ? ball.radius : 1.0;
}

double along(const vector& direction, const point& p) {
    return dot(direction, p - point());
}

/// Of unit vectors: their cross product is shorter than what rounding leaves of an angle.
bool isParallel(const vector& a, const vector& b) {
    return !(norm(cross(a, b)) > 1e-9);
}

/// A view up for a direction that is parallel to the usual one, as that over a pole of the earth.
vector otherViewUp(const vector& direction) {
    const vector x{1.0, 0.0, 0.0};
    const vector y{0.0, 1.0, 0.0};
    return isParallel(direction, y) ? x : y;
}

/// Where the camera has to stand so that all data are in the frame.
///
/// A point p at `depth` before the camera and `aside` from its axis is at the edge of the frame if
/// slope * aside = depth. So those with the largest slope * dot(side, p) - dot(forward, p) leave it
/// first, on either side.
class Fit {
public:
    Fit(const Camera& camera, const Sight& sight, const Frame& frame)
        : _sight(sight), _forward(camera.forward()), _axes{camera.right(), camera.up()} {
        const double halfHeight = std::tan(radians(camera.viewAngleDegrees) / 2.0);
        _slopes = {1.0 / (halfHeight * frame.aspect * frame.widthPart),
                   1.0 / (halfHeight * frame.heightPart)};
        const vector backward = -_forward;
        _clearance = 0.05 * sizeOf(sight.ball);
        _least = sight.reaches({&backward, 1})[0] + _clearance;
    }

    /// As near as the data allow, if the axis of view may be moved aside.
    point freePosition() const {
        const Extent across = extent(0, _slopes[0]);
        const Extent height = extent(1, _slopes[1]);
        const double distance = std::max({across.distance(), height.distance(), _least});
        return at(centred(0, across, distance), centred(1, height, distance), distance);
    }

    /// As near as the data allow, in front of the focal point.
    point positionBefore(const point& focalPoint) const {
        const double ahead = along(_forward, focalPoint);
        const double across = along(_axes[0], focalPoint);
        const double height = along(_axes[1], focalPoint);
        const double distance =
            std::max({extent(0, _slopes[0]).distanceFrom(across),
                      extent(1, _slopes[1]).distanceFrom(height), _least, _clearance - ahead});
        return at(across, height, distance);
    }

private:
    /// How the data spread to the two sides of an axis, for one slope.
    struct Extent {
        double slope, most, least;

        /// Of the axis of view that is equally far from both.
        double middle() const { return (most - least) / (2.0 * slope); }
        /// Of the camera with that axis, behind the plane through zero.
        double distance() const { return (most + least) / 2.0; }
        double distanceFrom(double aside) const {
            return std::max(most - slope * aside, least + slope * aside);
        }
    };

    Extent extent(std::size_t axis, double slope) const {
        const std::array<vector, 2> directions{_axes[axis] * slope - _forward,
                                               _axes[axis] * -slope - _forward};
        const std::vector<double> reaches = _sight.reaches(directions);
        return {slope, reaches[0], reaches[1]};
    }

    /// The place of the axis of view at which a camera of that distance sees the data with equal
    /// margins: by the slope that would bring it just there, which is found by secants.
    double centred(std::size_t axis, Extent before, double distance) const {
        Extent found = before;
        double slope = 2.0 * before.slope;
        constexpr int mostSteps = 8;
        for (int step = 0; step < mostSteps; ++step) {
            if (std::abs(distance - found.distance()) < 1e-4 * distance) break;
            before = found;
            found = extent(axis, slope);
            const double change = found.distance() - before.distance();
            if (change == 0.0) break; // as flat as a line in this direction
            slope =
                found.slope + (found.slope - before.slope) / change * (distance - found.distance());
        }
        return found.middle();
    }

    point at(double across, double height, double distance) const {
        return point() + _axes[0] * across + _axes[1] * height - _forward * distance;
    }

    const Sight& _sight;
    vector _forward;
    std::array<vector, 2> _axes; ///< right and up
    std::array<double, 2> _slopes;
    double _clearance; ///< before the nearest point of the data
    double _least;     ///< distance that keeps it
};

void checkPlaces(const Camera& camera, const Skua::BoundingBall& ball) {
    if (camera.position == camera.focalPoint) {
        throw UsageError("--camera-position: expected another point than the focal point");
    }
    // The programs compute with floats, in which more than this has no place beside the data.
    constexpr double farthest = 1e12;
    const double size = sizeOf(ball);
    if (!(distance(camera.position, ball.centre) <= farthest * size) ||
        !(distance(camera.focalPoint, ball.centre) <= farthest * size)) {
        throw UsageError("--camera-position, --camera-focal-point: expected points less than 1e12 "
                         "times the size of the data away from them");
    }
}

/// The view up of the wishes or else one that serves.
vector viewUpOf(const CameraWishes& wishes, const Sight& sight, const vector& direction) {
    const vector forward = normalised(direction);
    const vector viewUp = normalised(wishes.viewUp.value_or(sight.viewUp));
    if (!isParallel(forward, viewUp)) return viewUp;
    if (!wishes.viewUp) return otherViewUp(forward);
    throw UsageError("--camera-view-up: expected a direction across the view, got one along it");
}

} // namespace

vector Camera::forward() const {
    return normalised(focalPoint - position);
}

vector Camera::right() const {
    return normalised(cross(forward(), viewUp));
}

vector Camera::up() const {
    return cross(right(), forward());
}

Camera placeCamera(const CameraWishes& wishes, const Sight& sight, const Frame& frame) {
    Camera camera{};
    camera.viewAngleDegrees = wishes.viewAngleDegrees;
    camera.focalPoint = wishes.focalPoint.value_or(sight.ball.centre);
    camera.position = wishes.position.value_or(camera.focalPoint - normalised(sight.direction));
    checkPlaces(camera, sight.ball);
    camera.viewUp = viewUpOf(wishes, sight, camera.focalPoint - camera.position);
    if (wishes.position) return camera;

    const Fit fit(camera, sight, frame);
    const vector forward = camera.forward();
    if (wishes.focalPoint) {
        camera.position = fit.positionBefore(camera.focalPoint);
        return camera;
    }
    camera.position = fit.freePosition();
    const double depth = along(forward, sight.ball.centre) - along(forward, camera.position);
    camera.focalPoint = camera.position + forward * depth;
    return camera;
}

DepthRange depthRangeOf(const Camera& camera, const Skua::BoundingBall& ball) {
    const double depth = dot(ball.centre - camera.position, camera.forward());
    const double size = sizeOf(ball);
    // A little more than the ball, as points lie on it.
    const double far = std::max(depth, 0.0) + 1.001 * size;
    // Within the ball as close as the depths of floats allow.
    return {std::max(depth - 1.001 * size, far * 1e-11), far};
}

Matrix4 modelViewProjection(const Camera& camera, const Skua::BoundingBall& ball, double aspect) {
    const vector f = camera.forward();
    const auto [near, far] = depthRangeOf(camera, ball);
    const double focal = 1.0 / std::tan(radians(camera.viewAngleDegrees) / 2.0);

    // Rows of projection times rotation, each with its translation.
    const auto row = [&](const vector& axis, double scale) {
        return Skua::FixedArray<double, 4>{axis.x * scale, axis.y * scale, axis.z * scale,
                                           -along(axis, camera.position) * scale};
    };
    const auto x = row(camera.right(), focal / aspect);
    const auto y = row(camera.up(), focal);
    const auto w = row(f, 1.0);
    const double zScale = (far + near) / (far - near);
    const double zOffset = -2.0 * far * near / (far - near);
    Matrix4 result;
    for (std::size_t column = 0; column < 4; ++column) {
        const double offset = column == 3 ? zOffset : 0.0;
        result(0, column) = x[column];
        result(1, column) = y[column];
        result(2, column) = w[column] * zScale + offset;
        result(3, column) = w[column];
    }
    return result;
}

} // namespace Shell
