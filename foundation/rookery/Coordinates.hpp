#pragma once
// Points and vectors of the coordinate systems; stands on FixedArray and Matrix.
//
// Points and vectors are different types, and both differ from a FixedArray of the same length:
// who receives one can tell a place, which moves with the origin, from a difference or a plain
// triple, which do not. A point minus a point is a vector; points can't be added.

#include <rookery/FixedArray.hpp>
#include <rookery/Matrix.hpp>
#include <rookery/fwd.hpp>

#include <cassert>
#include <cmath>
#include <cstddef>
#include <limits>
#include <type_traits>

namespace Skua {

/// A difference of two places: x, y, z, contiguous, zero unless given.
template<class T>
struct ROOKERY_EXPORT CoordinateVector<Cartesian3D, T> {
    using value_type = T;
    static constexpr std::size_t size() { return 3; }

    constexpr T& operator[](std::size_t axis) {
        assert(axis < 3);
        return axis == 0 ? x : axis == 1 ? y : z;
    }
    constexpr const T& operator[](std::size_t axis) const {
        assert(axis < 3);
        return axis == 0 ? x : axis == 1 ? y : z;
    }
    /// The three components as an array in memory.
    T* data() { return reinterpret_cast<T*>(this); }
    const T* data() const { return reinterpret_cast<const T*>(this); }

    constexpr explicit operator FixedArray<T, 3>() const { return {x, y, z}; }

    constexpr CoordinateVector& operator+=(const CoordinateVector& other) {
        x += other.x;
        y += other.y;
        z += other.z;
        return *this;
    }
    constexpr CoordinateVector& operator-=(const CoordinateVector& other) {
        x -= other.x;
        y -= other.y;
        z -= other.z;
        return *this;
    }
    constexpr CoordinateVector& operator*=(T factor) {
        x *= factor;
        y *= factor;
        z *= factor;
        return *this;
    }
    constexpr CoordinateVector& operator/=(T divisor) {
        x /= divisor;
        y /= divisor;
        z /= divisor;
        return *this;
    }

    friend constexpr bool operator==(const CoordinateVector&, const CoordinateVector&) = default;
    friend constexpr CoordinateVector operator+(CoordinateVector a, const CoordinateVector& b) {
        return a += b;
    }
    friend constexpr CoordinateVector operator-(CoordinateVector a, const CoordinateVector& b) {
        return a -= b;
    }
    friend constexpr CoordinateVector operator-(const CoordinateVector& v) {
        return {-v.x, -v.y, -v.z};
    }
    friend constexpr CoordinateVector operator*(CoordinateVector v, T factor) {
        return v *= factor;
    }
    friend constexpr CoordinateVector operator*(T factor, CoordinateVector v) {
        return v *= factor;
    }
    friend constexpr CoordinateVector operator/(CoordinateVector v, T divisor) {
        return v /= divisor;
    }

    T x{};
    T y{};
    T z{};
};

/// A place: x, y, z, contiguous, zero unless given.
template<class T>
struct ROOKERY_EXPORT CoordinatePoint<Cartesian3D, T> {
    using value_type = T;
    using vector = CoordinateVector<Cartesian3D, T>;
    static constexpr std::size_t size() { return 3; }

    constexpr T& operator[](std::size_t axis) {
        assert(axis < 3);
        return axis == 0 ? x : axis == 1 ? y : z;
    }
    constexpr const T& operator[](std::size_t axis) const {
        assert(axis < 3);
        return axis == 0 ? x : axis == 1 ? y : z;
    }
    /// The three coordinates as an array in memory.
    T* data() { return reinterpret_cast<T*>(this); }
    const T* data() const { return reinterpret_cast<const T*>(this); }

    constexpr explicit operator FixedArray<T, 3>() const { return {x, y, z}; }

    constexpr CoordinatePoint& operator+=(const vector& offset) {
        x += offset.x;
        y += offset.y;
        z += offset.z;
        return *this;
    }
    constexpr CoordinatePoint& operator-=(const vector& offset) {
        x -= offset.x;
        y -= offset.y;
        z -= offset.z;
        return *this;
    }

    friend constexpr bool operator==(const CoordinatePoint&, const CoordinatePoint&) = default;
    friend constexpr CoordinatePoint operator+(CoordinatePoint p, const vector& offset) {
        return p += offset;
    }
    friend constexpr CoordinatePoint operator+(const vector& offset, CoordinatePoint p) {
        return p += offset;
    }
    friend constexpr CoordinatePoint operator-(CoordinatePoint p, const vector& offset) {
        return p -= offset;
    }
    friend constexpr vector operator-(const CoordinatePoint& a, const CoordinatePoint& b) {
        return {a.x - b.x, a.y - b.y, a.z - b.z};
    }

    T x{};
    T y{};
    T z{};
};

template<class T>
constexpr T dot(const CoordinateVector<Cartesian3D, T>& a,
                const CoordinateVector<Cartesian3D, T>& b) {
    return a.x * b.x + a.y * b.y + a.z * b.z;
}

/// Right-handed: cross(x axis, y axis) is the z axis.
template<class T>
constexpr CoordinateVector<Cartesian3D, T> cross(const CoordinateVector<Cartesian3D, T>& a,
                                                 const CoordinateVector<Cartesian3D, T>& b) {
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}

/// Magnitude of the largest component. NaN components are passed over.
template<class T>
T largestComponent(const CoordinateVector<Cartesian3D, T>& v) {
    return std::fmax(std::fmax(std::abs(v.x), std::abs(v.y)), std::abs(v.z));
}

/// Length, correct to 4 units in the last place also where the squares leave the range of T.
/// NaN if a component is NaN, else infinite if one is infinite.
template<class T>
T norm(const CoordinateVector<Cartesian3D, T>& v) {
    using Limits = std::numeric_limits<T>;
    const T squared = dot(v, v);
    // Below the lower limit a square that matters may have lost digits to underflow.
    if (squared >= Limits::min() / Limits::epsilon() && squared <= Limits::max())
        return std::sqrt(squared);
    if (std::isnan(squared)) return squared;
    const T largest = largestComponent(v);
    if (largest == T(0) || std::isinf(largest)) return largest;
    const auto scaled = v / largest;
    return largest * std::sqrt(dot(scaled, scaled));
}

/// The vector of length 1 in the same direction, for all lengths that T can hold. The zero vector
/// stays as it is; one with a component that isn't finite has no direction, and gives NaN.
template<class T>
CoordinateVector<Cartesian3D, T> normalised(const CoordinateVector<Cartesian3D, T>& v) {
    const T largest = largestComponent(v);
    if (largest == T(0) && v == CoordinateVector<Cartesian3D, T>{}) return v;
    const auto scaled = v / largest;
    return scaled / std::sqrt(dot(scaled, scaled));
}

template<class T>
T distance(const CoordinatePoint<Cartesian3D, T>& a, const CoordinatePoint<Cartesian3D, T>& b) {
    return norm(b - a);
}

/// Rounds to the form in which vertex positions go to the GPU. Far from zero this loses what
/// matters (half a metre at 1e7 m): subtract the origin first, and round last.
constexpr CoordinatePoint<Cartesian3D, float>
toFloat(const CoordinatePoint<Cartesian3D, double>& p) {
    return {static_cast<float>(p.x), static_cast<float>(p.y), static_cast<float>(p.z)};
}
constexpr CoordinateVector<Cartesian3D, float>
toFloat(const CoordinateVector<Cartesian3D, double>& v) {
    return {static_cast<float>(v.x), static_cast<float>(v.y), static_cast<float>(v.z)};
}
constexpr CoordinatePoint<Cartesian3D, double>
toDouble(const CoordinatePoint<Cartesian3D, float>& p) {
    return {p.x, p.y, p.z};
}
constexpr CoordinateVector<Cartesian3D, double>
toDouble(const CoordinateVector<Cartesian3D, float>& v) {
    return {v.x, v.y, v.z};
}

/// A colour: red, green, blue, alpha, contiguous; indices 0 to 3 in that order.
template<class T>
struct ROOKERY_EXPORT CoordinatePoint<RGBA, T> : Vector<T, 4> {
    constexpr CoordinatePoint() = default;
    constexpr CoordinatePoint(T red, T green, T blue, T alpha)
        : Vector<T, 4>(red, green, blue, alpha) {}

    constexpr T& red() { return (*this)[0]; }
    constexpr T& green() { return (*this)[1]; }
    constexpr T& blue() { return (*this)[2]; }
    constexpr T& alpha() { return (*this)[3]; }
    constexpr T red() const { return (*this)[0]; }
    constexpr T green() const { return (*this)[1]; }
    constexpr T blue() const { return (*this)[2]; }
    constexpr T alpha() const { return (*this)[3]; }

    constexpr explicit operator FixedArray<T, 4>() const { return this->values; }
};

static_assert(sizeof(Coordinates<Cartesian3D, double>::point) == 24);
static_assert(sizeof(Coordinates<Cartesian3D, double>::vector) == 24);
static_assert(sizeof(Coordinates<Cartesian3D, float>::point) == 12);
static_assert(sizeof(rgba_float_t) == 16);
static_assert(std::is_trivially_copyable_v<Coordinates<Cartesian3D, double>::point>);
static_assert(std::is_trivially_copyable_v<Coordinates<Cartesian3D, float>::point>);
static_assert(std::is_trivially_copyable_v<rgba_float_t>);
static_assert(std::is_standard_layout_v<Coordinates<Cartesian3D, double>::point>);
static_assert(std::is_standard_layout_v<rgba_float_t>);
static_assert(offsetof(PhysicalSpace::point, y) == 8 && offsetof(PhysicalSpace::point, z) == 16);
static_assert(offsetof(PhysicalSpace::vector, y) == 8 && offsetof(PhysicalSpace::vector, z) == 16);
static_assert(!std::is_same_v<FixedArray<double, 3>, PhysicalSpace::point>);
static_assert(!std::is_same_v<FixedArray<float, 3>, Coordinates<Cartesian3D, float>::point>);

} // namespace Skua
