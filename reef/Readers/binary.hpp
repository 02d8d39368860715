#pragma once
// Numbers out of binary files of either byte order; stands on nothing.

#include <algorithm>
#include <array>
#include <bit>
#include <cstddef>
#include <cstring>

namespace Mirk {

/// The number at `source`, which needs no alignment, of a file with little or big end first.
template<class T>
T loadNumber(const char* source, bool bigEndian) {
    std::array<char, sizeof(T)> bytes;
    std::memcpy(bytes.data(), source, sizeof(T));
    if (bigEndian != (std::endian::native == std::endian::big))
        std::reverse(bytes.begin(), bytes.end());
    return std::bit_cast<T>(bytes);
}

} // namespace Mirk
