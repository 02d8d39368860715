#pragma once
// Places of virtual functions in their table, by the Itanium C++ ABI; stands on nothing.

#include <gtest/gtest.h>

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <functional>
#include <string>
#include <vector>

/// Index of a virtual function in the primary table of the class that its pointer is typed with;
/// that class must be the one that declares it. 0 and 1, or 1 and 2, are the two destructors.
template<class Function>
std::size_t virtualSlot(Function function) {
    // A pointer to a member function is an offset, and an adjustment of `this`. The mark that the
    // offset is one of a virtual function is the lowest bit of the former, on ARM of the latter.
    std::size_t words[2];
    static_assert(sizeof(words) == sizeof(function));
    std::memcpy(words, &function, sizeof(words));
#if defined(__aarch64__) || defined(__arm__)
    const bool isVirtual = (words[1] & 1) != 0;
    const std::size_t offset = words[0];
#else
    const bool isVirtual = (words[0] & 1) != 0;
    const std::size_t offset = words[0] - 1;
#endif
    EXPECT_TRUE(isVirtual);
    return offset / sizeof(void*);
}

/// The slots that start at `first` and follow each other, as many as `number`.
inline std::vector<std::size_t> slotsFrom(std::size_t first, std::size_t number) {
    std::vector<std::size_t> slots(number);
    std::generate(slots.begin(), slots.end(), [&] { return first++; });
    return slots;
}
