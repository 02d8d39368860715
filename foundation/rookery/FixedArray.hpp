#pragma once
// A fixed number of values of one type, as shaders and colour tables take them; stands on nothing.

#include <rookery/fwd.hpp>

#include <cassert>
#include <cstddef>
#include <type_traits>

namespace Skua {

/// N contiguous values of T, zero unless given: FixedArray<int, 3>{1, 2, 3}. Being a type of its
/// own, it never stands for a point: what has a place in space is a Coordinates<...>::point.
template<class T, std::size_t N>
struct ROOKERY_EXPORT FixedArray {
    static_assert(N > 0, "FixedArray: at least one value is needed");
    using value_type = T;

    constexpr T& operator[](std::size_t index) {
        assert(index < N);
        return values[index];
    }
    constexpr const T& operator[](std::size_t index) const {
        assert(index < N);
        return values[index];
    }

    static constexpr std::size_t size() { return N; }
    constexpr T* data() { return values; }
    constexpr const T* data() const { return values; }
    constexpr T* begin() { return values; }
    constexpr const T* begin() const { return values; }
    constexpr T* end() { return values + N; }
    constexpr const T* end() const { return values + N; }

    friend constexpr bool operator==(const FixedArray&, const FixedArray&) = default;

    T values[N]{};
};

static_assert(sizeof(FixedArray<double, 3>) == 24 && sizeof(FixedArray<float, 4>) == 16);
static_assert(sizeof(FixedArray<unsigned char, 3>) == 3 && sizeof(FixedArray<int, 2>) == 8);
static_assert(std::is_trivially_copyable_v<FixedArray<double, 4>>);
static_assert(std::is_standard_layout_v<FixedArray<double, 4>>);

} // namespace Skua
