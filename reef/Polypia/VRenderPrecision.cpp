#include <Polypia/VRenderPrecision.hpp>

namespace Mirk {

namespace {

std::atomic<std::uint64_t> lastSerial{0};

} // namespace

VRenderPrecision::VRenderPrecision() : serial(++lastSerial), lowerTime(0.1), upperTime(0.2) {}

VRenderPrecision::VRenderPrecision(double time)
    : serial(++lastSerial), lowerTime(time), upperTime(time) {}

VRenderPrecision::~VRenderPrecision() = default;

} // namespace Mirk
