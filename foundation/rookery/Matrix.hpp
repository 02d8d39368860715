#pragma once
// Small dense matrices and the column types under the colour type; stands on FixedArray.
//
// Elements are stored column by column, as OpenGL takes them: data()[column * Rows + row]. Vectors
// are columns and stand on the right: result = matrix * vector, so that in a * b the matrix b acts
// first. A translation therefore sits in elements 12, 13 and 14 of a 4 by 4 matrix.

#include <rookery/FixedArray.hpp>

#include <cassert>
#include <cstddef>
#include <type_traits>

namespace Skua {

/// Rows by Columns elements of T, zero unless given. A list of values fills it in storage order,
/// that is down the first column, then down the second: Matrix<2, 2, float>{m00, m10, m01, m11}.
template<std::size_t Rows, std::size_t Columns, class T>
struct ROOKERY_EXPORT Matrix {
    using value_type = T;

    constexpr Matrix() = default;
    template<class... Ts>
    requires(sizeof...(Ts) == Rows * Columns &&
             (std::is_convertible_v<Ts, T> && ...)) constexpr explicit(sizeof...(Ts) == 1)
        Matrix(Ts... elements)
        : values{static_cast<T>(elements)...} {}

    static constexpr std::size_t rows() { return Rows; }
    static constexpr std::size_t columns() { return Columns; }
    static constexpr std::size_t size() { return Rows * Columns; }

    constexpr T& operator()(std::size_t row, std::size_t column) {
        assert(row < Rows && column < Columns);
        return values[column * Rows + row];
    }
    constexpr const T& operator()(std::size_t row, std::size_t column) const {
        assert(row < Rows && column < Columns);
        return values[column * Rows + row];
    }
    /// Element in storage order.
    constexpr T& operator[](std::size_t index) { return values[index]; }
    constexpr const T& operator[](std::size_t index) const { return values[index]; }

    constexpr T* data() { return values.data(); }
    constexpr const T* data() const { return values.data(); }
    constexpr T* begin() { return values.begin(); }
    constexpr const T* begin() const { return values.begin(); }
    constexpr T* end() { return values.end(); }
    constexpr const T* end() const { return values.end(); }

    friend constexpr bool operator==(const Matrix&, const Matrix&) = default;

    FixedArray<T, Rows * Columns> values{};
};

template<std::size_t Rows, std::size_t Inner, std::size_t Columns, class T>
constexpr Matrix<Rows, Columns, T> operator*(const Matrix<Rows, Inner, T>& left,
                                             const Matrix<Inner, Columns, T>& right) {
    Matrix<Rows, Columns, T> product;
    for (std::size_t column = 0; column < Columns; ++column)
        for (std::size_t inner = 0; inner < Inner; ++inner)
            for (std::size_t row = 0; row < Rows; ++row)
                product(row, column) += left(row, inner) * right(inner, column);
    return product;
}

template<std::size_t Rows, std::size_t Columns, class T>
constexpr Matrix<Columns, Rows, T> transposed(const Matrix<Rows, Columns, T>& matrix) {
    Matrix<Columns, Rows, T> result;
    for (std::size_t column = 0; column < Columns; ++column)
        for (std::size_t row = 0; row < Rows; ++row) result(column, row) = matrix(row, column);
    return result;
}

/// A matrix of one column.
template<std::size_t N, class T>
struct ROOKERY_EXPORT Column : Matrix<N, 1, T> {
    using Matrix<N, 1, T>::Matrix;
    constexpr Column() = default;
    constexpr explicit Column(const Matrix<N, 1, T>& matrix) : Matrix<N, 1, T>(matrix) {}
};

/// A column of N values of T whose meaning a derived type names, as the colour type does.
template<class T, std::size_t N>
struct ROOKERY_EXPORT Vector : Column<N, T> {
    using Column<N, T>::Column;
    constexpr Vector() = default;
};

/// A square matrix, as a matrix uniform of a shader holds it.
template<std::size_t N, class T>
struct ROOKERY_EXPORT Quadratic : Matrix<N, N, T> {
    using Matrix<N, N, T>::Matrix;
    constexpr Quadratic() = default;
    constexpr explicit Quadratic(const Matrix<N, N, T>& matrix) : Matrix<N, N, T>(matrix) {}

    static constexpr Quadratic identity() {
        Quadratic result;
        for (std::size_t i = 0; i < N; ++i) result(i, i) = T(1);
        return result;
    }

    friend constexpr Quadratic operator*(const Quadratic& left, const Quadratic& right) {
        return Quadratic(static_cast<const Matrix<N, N, T>&>(left) *
                         static_cast<const Matrix<N, N, T>&>(right));
    }
};

static_assert(sizeof(Quadratic<2, float>) == 16 && sizeof(Quadratic<3, float>) == 36);
static_assert(sizeof(Quadratic<4, float>) == 64 && sizeof(Quadratic<4, double>) == 128);
static_assert(sizeof(Vector<float, 4>) == 16 && sizeof(Column<4, float>) == 16);
static_assert(std::is_trivially_copyable_v<Quadratic<4, float>>);
static_assert(std::is_standard_layout_v<Quadratic<4, float>>);

} // namespace Skua
