#pragma once
// Where an eye sees a point, from the numbers that describe the eye alone, and in long double;
// stands on GLRenderContext.

#include <PolypiaGL/GLRenderContext.hpp>

#include <array>
#include <cmath>
#include <cstddef>
#include <numbers>

namespace Mirk::GLTest {

/// What an eye that isn't toed in sees in a picture of so many pixels.
class ExactView {
public:
    using Number = long double;
    using Numbers = std::array<Number, 3>;
    using point = Skua::PhysicalSpace::point;
    /// In pixels from the lower left corner of the picture.
    struct Place {
        Number x = 0.0L, y = 0.0L;
    };

    ExactView(const GLRenderContext::Eye& eye, int width, int height)
        : _halfWidth(width / 2.0L), _halfHeight(height / 2.0L) {
        const Numbers ahead = between(eye.camera.position, eye.camera.lookAt);
        const Number distance = std::sqrt(dot(ahead, ahead));
        _forwards = normalised(ahead);
        _right = normalised(cross(ahead, {eye.camera.up.x, eye.camera.up.y, eye.camera.up.z}));
        _up = cross(_right, _forwards);
        const Number angle = eye.camera.fieldOfView / 180.0L * std::numbers::pi_v<Number>;
        _pixelsOfUnit = _halfHeight / std::tan(angle / 2.0L);
        _depthOfAll = eye.orthographic ? distance : 0.0L;
        const Number aside = distance * eye.separation;
        _aside = aside / eye.focus * _pixelsOfUnit;
        const auto placeOfEye = [&](std::size_t i) {
            const double place = eye.camera.position[i];
            // Which has no more digits than others.
            return static_cast<double>(static_cast<Number>(place) + _right[i] * aside);
        };
        _position = {placeOfEye(0), placeOfEye(1), placeOfEye(2)};
    }

    Place placeOf(const point& p) const {
        const Numbers way = between(_position, p);
        const Number scale = 1.0L / pixelAt(dot(way, _forwards));
        return {_halfWidth + dot(way, _right) * scale + _aside,
                _halfHeight + dot(way, _up) * scale};
    }
    /// How wide a pixel is there, in units of the world.
    Number pixelAt(Number depth) const {
        return (_depthOfAll > 0.0L ? _depthOfAll : depth) / _pixelsOfUnit;
    }
    /// With perspective, what is seen at a place: from the eye into the world, as long as it is to
    /// a depth of 1.
    Numbers rayThrough(const Place& place) const {
        const Number x = (place.x - _halfWidth - _aside) / _pixelsOfUnit;
        const Number y = (place.y - _halfHeight) / _pixelsOfUnit;
        Numbers ray{};
        for (std::size_t i = 0; i < 3; ++i) ray[i] = _forwards[i] + _right[i] * x + _up[i] * y;
        return ray;
    }
    const point& position() const noexcept { return _position; }

    static Numbers between(const point& from, const point& to) {
        Numbers difference{};
        for (std::size_t i = 0; i < 3; ++i) {
            difference[i] = static_cast<Number>(to[i]) - static_cast<Number>(from[i]);
        }
        return difference;
    }
    static Number dot(const Numbers& a, const Numbers& b) {
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    }
    static Numbers cross(const Numbers& a, const Numbers& b) {
        return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
    }
    static Numbers normalised(Numbers numbers) {
        const Number length = std::sqrt(dot(numbers, numbers));
        for (Number& each : numbers) each /= length;
        return numbers;
    }

private:
    Number _halfWidth, _halfHeight;
    Number _pixelsOfUnit = 0.0L; ///< at a depth of 1
    Number _depthOfAll = 0.0L;   ///< at which all is as large as it is; 0 with perspective
    Number _aside = 0.0L;        ///< of the picture, in pixels
    point _position;
    Numbers _forwards{}, _right{}, _up{};
};

} // namespace Mirk::GLTest
