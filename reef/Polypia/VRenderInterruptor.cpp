#include <Polypia/VRenderInterruptor.hpp>

#include <atomic>

namespace Mirk {

namespace {

std::atomic<std::uint64_t> lastSerial{0};

} // namespace

VRenderInterruptor::VRenderInterruptor() : serial(++lastSerial) {}

VRenderInterruptor::~VRenderInterruptor() = default;

} // namespace Mirk
