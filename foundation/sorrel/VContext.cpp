#include <sorrel/VContext.hpp>

namespace Mirk {

VContext::Addendum::Addendum() = default;
VContext::Addendum::~Addendum() = default;

VContext::VContext(const Keel::StrongPtr<Addendum>& contextAddendum) : addendum(contextAddendum) {}
VContext::~VContext() = default;

void VContext::setTime() {
    _time = std::chrono::system_clock::now();
}

} // namespace Mirk
