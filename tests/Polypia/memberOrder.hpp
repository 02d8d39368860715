#pragma once
// The order of members in memory; stands on nothing.

#include <algorithm>
#include <array>
#include <cstdint>
#include <functional>
#include <type_traits>

/// Whether the members of one object stand in memory in the order given, which is that of their
/// declaration.
template<class... Member>
bool standInOrder(const Member&... members) {
    const std::array addresses{reinterpret_cast<std::uintptr_t>(&members)...};
    return std::adjacent_find(addresses.begin(), addresses.end(), std::greater_equal<>()) ==
           addresses.end();
}

/// Whether Base is a virtual base of Derived: from such a base there is no static way back.
template<class Base, class Derived>
constexpr bool isVirtualBase = std::is_convertible_v<Derived*, Base*> && !requires(Base * base) {
    static_cast<Derived*>(base);
};
