#pragma once
// A render context for calls that only pass it on; stands on Polypia's forward header.

#include <Polypia/fwd.hpp>

#include <array>
#include <cstddef>

/// A reference that may be handed around and compared by address, but never looked at.
inline Mirk::VRenderContext& anyRenderContext() {
    alignas(std::max_align_t) static std::array<std::byte, 64> memory{};
    return reinterpret_cast<Mirk::VRenderContext&>(memory);
}
