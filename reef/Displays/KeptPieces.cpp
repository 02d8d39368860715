#include <Displays/KeptPieces.hpp>

#include <utility>

namespace Mirk {

KeptPieces::Lease::Lease(std::vector<Keel::WeakPtr<PolypCreatorBase>> creators)
    : _creators(std::move(creators)) {}

void KeptPieces::Lease::end() {
    if (_isKept) setKept(false);
}

void KeptPieces::Lease::setKept(bool kept) {
    _isKept = kept;
    for (const Keel::WeakPtr<PolypCreatorBase>& weak : _creators) {
        const Keel::StrongPtr<PolypCreatorBase> creator(weak);
        if (creator) creator->enableCaching(kept);
    }
}

Keel::StrongPtr<KeptPieces, Keel::InterfaceBase> KeptPieces::of(const Seagrass& seagrass) {
    return seagrass.provideInterface<KeptPieces>(
        [] { return Keel::StrongPtr<Keel::InterfaceBase>(new KeptPieces); });
}

void KeptPieces::noteDrawing(std::uint64_t& frame) {
    const bool isAgain = frame == _frame;
    if (isAgain) ++_frame;
    frame = _frame;
    if (!isAgain) return;
    std::erase_if(_leases, [&](const std::weak_ptr<Lease>& weak) {
        const LeasePtr lease = weak.lock();
        if (!lease) return true;
        if (lease->_frame + patience < _frame) lease->end();
        return !lease->isKept();
    });
}

void KeptPieces::renew(const LeasePtr& lease) {
    lease->_frame = _frame;
    if (lease->isKept()) return;
    lease->setKept(true);
    _leases.push_back(lease);
}

} // namespace Mirk
