#pragma once
// Text forms and comparison of numbers, of rookery's values and of shared bounding boxes; stands on
// VValueTrait and textForm.
//
// VValue.hpp includes this header, so that nobody makes values of these types without their traits.

#include <sorrel/VValueTrait.hpp>
#include <sorrel/textForm.hpp>

#include <keel/ConcurrentPtr.hpp>
#include <rookery/BoundingBox.hpp>
#include <rookery/Coordinates.hpp>
#include <rookery/FixedArray.hpp>
#include <rookery/Matrix.hpp>
#include <rookery/PhysicalSpace.hpp>

#include <array>
#include <bit>
#include <concepts>
#include <cstddef>
#include <cstring>
#include <string>
#include <type_traits>

namespace Mirk {

/// Numbers that are written in decimal; characters are no numbers, but signed and unsigned char
/// are.
template<class T>
concept PlainNumber = std::same_as<T, float> || std::same_as<T, double> ||
    (std::integral<T> && !std::same_as<T, bool> && !std::same_as<T, char> &&
     !std::same_as<T, wchar_t> && !std::same_as<T, char8_t> && !std::same_as<T, char16_t> &&
     !std::same_as<T, char32_t>);

/// Says that a value is nothing but one number, or a row of numbers of the type `type`, one behind
/// the other. Specialise it for such a type to give it a text form and a comparison.
template<class T>
struct NumbersOf {};

template<PlainNumber T>
struct NumbersOf<T> {
    using type = T;
};
template<PlainNumber T, std::size_t N>
struct NumbersOf<Skua::FixedArray<T, N>> {
    using type = T;
};
template<PlainNumber T>
struct NumbersOf<Skua::CoordinatePoint<Skua::Cartesian3D, T>> {
    using type = T;
};
template<PlainNumber T>
struct NumbersOf<Skua::CoordinateVector<Skua::Cartesian3D, T>> {
    using type = T;
};
template<PlainNumber T>
struct NumbersOf<Skua::CoordinatePoint<Skua::RGBA, T>> {
    using type = T;
};
/// Column by column.
template<std::size_t N, PlainNumber T>
struct NumbersOf<Skua::Quadratic<N, T>> {
    using type = T;
};
/// The normal, then the distance.
template<>
struct NumbersOf<Skua::PhysicalSpace::HessianNormalPlane> {
    using type = double;
};
/// Left, right, bottom, top.
template<>
struct NumbersOf<Skua::PhysicalSpace::Viewport> {
    using type = double;
};
/// The least, then the greatest corner.
template<>
struct NumbersOf<Skua::PhysicalSpace::AABB> {
    using type = double;
};

/// A type of which NumbersOf says that.
template<class T>
concept RowOfNumbers = std::is_trivially_copyable_v<T> &&
    (sizeof(T) % sizeof(typename NumbersOf<T>::type) == 0);

/// How many numbers a value consists of.
template<RowOfNumbers T>
constexpr std::size_t NumberCount = sizeof(T) / sizeof(typename NumbersOf<T>::type);

/// A value of numbers as an array of them.
template<RowOfNumbers T>
constexpr auto numbersOf(const T& value) {
    return std::bit_cast<std::array<typename NumbersOf<T>::type, NumberCount<T>>>(value);
}

/// One number or several, parted by one blank, in the order in which they are stored. Each is the
/// shortest decimal that is read back to the same bits; "inf", "-inf", "nan" and "-nan" are numbers
/// too. Of a NaN nothing but the sign is kept.
///
/// What is read may be parted by commas and by any white space, and must have as many numbers as
/// the type; each must fit. Several may stand in braces: "{1,2,3}".
template<RowOfNumbers T>
struct SORREL_EXPORT VValueTrait<T> {
    static std::string Text(const T& value) { return numbersText(numbersOf(value)); }
    static bool setValueFromText(T& value, const std::string& text) {
        auto numbers = numbersOf(value);
        if (!readNumbers(numbers, text)) return false;
        value = std::bit_cast<T>(numbers);
        return true;
    }
};

/// By bits: a NaN that is written again is no change, 0.0 over -0.0 is one.
template<RowOfNumbers T>
struct SORREL_EXPORT VValueCompareTrait<T> {
    static bool isDifferent(const T& a, const T& b) { return std::memcmp(&a, &b, sizeof(T)) != 0; }
};

/// Red, green, blue, alpha. Three numbers are read as a colour with an alpha of 1.
template<>
struct SORREL_EXPORT VValueTrait<Skua::rgba_float_t> {
    static std::string Text(const Skua::rgba_float_t& value);
    static bool setValueFromText(Skua::rgba_float_t& value, const std::string& text);
};

/// A box that several threads share; null if there is none.
using SharedBoundingBox =
    Keel::ConcurrentPtr<Keel::StrongPtr<Skua::BoundingBox, Keel::InterfaceBase>, false>;

/// The box is what an object found out about itself, nothing that a user sets; and whoever widens
/// it does so under a lock that a text knows nothing of. Its text is therefore fixed, and none can
/// be read.
template<>
struct SORREL_EXPORT VValueTrait<SharedBoundingBox> {
    static std::string Text(const SharedBoundingBox& value);
    static bool setValueFromText(SharedBoundingBox& value, const std::string& text);
};
/// Another box is a change, whatever is in it.
template<>
struct SORREL_EXPORT VValueCompareTrait<SharedBoundingBox> {
    static bool isDifferent(const SharedBoundingBox& a, const SharedBoundingBox& b) {
        return !(a == b);
    }
};

} // namespace Mirk
