#pragma once
// Text forms and comparison of value types; stands on nothing but the standard library.

#include <sorrel/export.hpp>

#include <bit>
#include <concepts>
#include <cstdint>
#include <string>

namespace Mirk {

/// The text form of T. Specialise it for each value type:
///
///     static std::string Text(const T& value);
///     static bool setValueFromText(T& value, const std::string& text);
///
/// What Text() writes is read back to the same value, whatever the locale. setValueFromText()
/// ignores white space around the parts and is strict otherwise: of a text that it can't read, it
/// returns false and leaves the value as it was.
///
/// A type without a specialisation has no text form: its text is empty and none can be read.
template<class T>
struct VValueTrait {
    static std::string Text(const T&) { return {}; }
    static bool setValueFromText(T&, const std::string&) { return false; }
};

/// Tells whether writing b over a is a change that is to be notified. Specialise it with
///
///     static bool isDifferent(const T& a, const T& b);
///
/// `a` is the held object itself, not a copy, so that a type may tell by address that each new
/// value is different. Without a specialisation every write is a change.
template<class T>
struct VValueCompareTrait {};

/// A type that says when two of its values are different.
template<class T>
concept ComparableValue = requires(const T& a, const T& b) {
    { VValueCompareTrait<T>::isDifferent(a, b) } -> std::convertible_to<bool>;
};

/// What an input of type T starts with and how it reads what a user typed; as VValueTrait by
/// default.
template<class T>
struct VInputValueTrait {
    static void init(T& value) { value = T(); }
    static bool setValueFromText(T& value, const std::string& text) {
        return VValueTrait<T>::setValueFromText(value, text);
    }
};

template<>
struct SORREL_EXPORT VValueTrait<bool> {
    /// "true" or "false".
    static std::string Text(const bool& value);
    /// Also reads "yes", "no", "on", "off", "1" and "0"; capitals don't matter.
    static bool setValueFromText(bool& value, const std::string& text);
};
template<>
struct SORREL_EXPORT VValueTrait<int> {
    static std::string Text(const int& value);
    /// A decimal number in the range of int, with an optional sign.
    static bool setValueFromText(int& value, const std::string& text);
};
template<>
struct SORREL_EXPORT VValueTrait<double> {
    /// The shortest decimal that is read back to the same bits; "inf", "-inf", "nan".
    static std::string Text(const double& value);
    static bool setValueFromText(double& value, const std::string& text);
};
template<>
struct SORREL_EXPORT VValueTrait<std::string> {
    /// The text itself, white space included.
    static std::string Text(const std::string& value);
    static bool setValueFromText(std::string& value, const std::string& text);
};

template<>
struct SORREL_EXPORT VValueCompareTrait<bool> {
    static bool isDifferent(const bool& a, const bool& b) { return a != b; }
};
template<>
struct SORREL_EXPORT VValueCompareTrait<int> {
    static bool isDifferent(const int& a, const int& b) { return a != b; }
};
/// By bits: a NaN that is written again is no change, 0.0 over -0.0 is one.
template<>
struct SORREL_EXPORT VValueCompareTrait<double> {
    static bool isDifferent(const double& a, const double& b) {
        return std::bit_cast<std::uint64_t>(a) != std::bit_cast<std::uint64_t>(b);
    }
};
template<>
struct SORREL_EXPORT VValueCompareTrait<std::string> {
    static bool isDifferent(const std::string& a, const std::string& b) { return a != b; }
};

} // namespace Mirk
