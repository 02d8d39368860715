#include <Camera.hpp>

#include <algorithm>
#include <cmath>
#include <numbers>
#include <stdexcept>

namespace Shell {

namespace {

double radians(double degrees) {
    return degrees * std::numbers::pi / 180.0;
}

void checkDirections(const Camera& camera) {
    const double distance = norm(camera.focalPoint - camera.position);
    if (!(distance > 0.0) || !std::isfinite(distance)) {
        throw std::invalid_argument("camera position and focal point must be different points");
    }
    const double side = norm(cross(camera.focalPoint - camera.position, camera.viewUp));
    if (!(side > 1e-9 * distance * norm(camera.viewUp))) {
        throw std::invalid_argument("the view up must not be parallel to the direction of view");
    }
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

Camera placeCamera(const CameraWishes& wishes, const Skua::BoundingBall& data,
                   const vector& direction, const vector& viewUp, double aspect) {
    Camera camera{};
    camera.viewAngleDegrees = wishes.viewAngleDegrees;
    camera.viewUp = wishes.viewUp.value_or(viewUp);
    camera.focalPoint = wishes.focalPoint.value_or(data.centre);
    const double halfHeight = radians(wishes.viewAngleDegrees) / 2.0;
    const double halfWidth = std::atan(std::tan(halfHeight) * aspect);
    constexpr double margin = 1.03;
    const double radius = data.radius > 0.0 ? data.radius : 1.0;
    const double distance = margin * radius / std::sin(std::min(halfHeight, halfWidth));
    camera.position =
        wishes.position.value_or(camera.focalPoint + normalised(direction) * -distance);
    checkDirections(camera);
    return camera;
}

Matrix4 modelViewProjection(const Camera& camera, const Skua::BoundingBall& data, double aspect,
                            const point& worldOrigin) {
    const vector f = camera.forward();
    const vector r = camera.right();
    const vector u = camera.up();
    // The camera relative to the origin: the only place where large numbers meet.
    const vector eye = camera.position - worldOrigin;
    const double depth = dot(data.centre - camera.position, f);
    const double radius = data.radius > 0.0 ? data.radius : 1.0;
    const double far = std::max(depth + radius, radius) * 1.001;
    const double near = std::max(depth - radius, far * 1e-4) * 0.999;
    const double focal = 1.0 / std::tan(radians(camera.viewAngleDegrees) / 2.0);

    // Rows of projection times rotation, each with its translation.
    const auto row = [&](const vector& axis, double scale) {
        return Skua::FixedArray<double, 4>{axis.x * scale, axis.y * scale, axis.z * scale,
                                           -dot(axis, eye) * scale};
    };
    const auto x = row(r, focal / aspect);
    const auto y = row(u, focal);
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
