#pragma once
// Numbers of users, for shaders; stands on the standard library.

#include <algorithm>

namespace Mirk {

/// Up to here products of two, and ratios, are numbers in double precision still.
inline constexpr double largestInDouble = 1e100;

/// Up to here products with what shaders have are numbers in single precision still.
inline constexpr double largestInShaders = 1e15;

/// What is no number is 0.
inline double atLeastZero(double number, double largest = largestInShaders) {
    return std::min(std::max(0.0, number), largest);
}

} // namespace Mirk
