#include <Displays/Exchanges.hpp>

#include <algorithm>
#include <limits>
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

void Exchanges::noteDrawing(std::uint64_t& frame, std::int64_t allowance) {
    if (frame == _frame || allowance > _lastAllowance) beginFrame();
    frame = _frame;
    _lastAllowance = allowance;
    _greatestAllowance = std::max(_greatestAllowance, allowance);
}

void Exchanges::beginFrame() {
    ++_frame;
    _greatestAllowance = std::numeric_limits<std::int64_t>::min();
    _needs = std::exchange(_needsOfNow, {});
    _isShort = !_needs.empty();
    std::stable_sort(_needs.begin(), _needs.end(),
                     [](const Need& a, const Need& b) { return a.need > b.need; });
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

void Exchanges::noteNeed(const void* whose, double need, std::size_t bytes) {
    _needsOfNow.push_back({whose, need, bytes});
}

void Exchanges::endNeed(const void* whose) {
    const auto isOf = [&](const Need& need) { return need.whose == whose; };
    std::erase_if(_needs, isOf);
    std::erase_if(_needsOfNow, isOf);
}

bool Exchanges::isTurn(double need, std::size_t bytes, std::int64_t allowance) const {
    auto left = allowance - static_cast<std::int64_t>(bytes);
    for (const Need& other : _needs) {
        if (!(other.need > need)) break;
        left -= static_cast<std::int64_t>(other.bytes);
        if (left < 0) return false;
    }
    return true;
}

} // namespace Mirk
