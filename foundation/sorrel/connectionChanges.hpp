#pragma once
// How plans of requests learn that they are out of date; stands on nothing.

#include <atomic>
#include <cstdint>

namespace Mirk {

/// Raised after each change of who is connected to whom, anywhere in the process.
extern std::atomic<std::uint64_t> connectionChanges;

} // namespace Mirk
