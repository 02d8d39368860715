#include <Displays/Exchanges.hpp>

#include <algorithm>
#include <utility>

namespace Mirk {

Exchanges::Lease::Lease(std::vector<Keel::WeakPtr<PolypCreatorBase>> creators)
    : _creators(std::move(creators)) {}

void Exchanges::Lease::end() {
    if (_isKept) setKept(false);
}

void Exchanges::Lease::setKept(bool kept) {
    _isKept = kept;
    for (const Keel::WeakPtr<PolypCreatorBase>& weak : _creators) {
        const Keel::StrongPtr<PolypCreatorBase> creator(weak);
        if (creator) creator->enableCaching(kept);
    }
}

Keel::StrongPtr<Exchanges, Keel::InterfaceBase> Exchanges::of(const Seagrass& seagrass) {
    return seagrass.provideInterface<Exchanges>(
        [] { return Keel::StrongPtr<Keel::InterfaceBase>(new Exchanges); });
}

void Exchanges::noteDrawing(std::uint64_t& frame) {
    const bool isAgain = frame == _frame;
    if (isAgain) ++_frame;
    frame = _frame;
    if (!isAgain) return;
    _needs = std::exchange(_needsOfNow, {});
    std::erase_if(_leases, [&](const std::weak_ptr<Lease>& weak) {
        const LeasePtr lease = weak.lock();
        if (!lease) return true;
        if (lease->_frame + patience < _frame) lease->end();
        return !lease->isKept();
    });
}

void Exchanges::renew(const LeasePtr& lease) {
    lease->_frame = _frame;
    if (lease->isKept()) return;
    lease->setKept(true);
    _leases.push_back(lease);
}

void Exchanges::Needs::add(const void* whoseNeed, double need) {
    if (whoseNeed == whose) {
        greatest = std::max(greatest, need);
    } else if (need > greatest) {
        second = std::exchange(greatest, need);
        whose = whoseNeed;
    } else {
        second = std::max(second, need);
    }
}

} // namespace Mirk
