#include <Displays/Exchanges.hpp>

#include <Polypia/VRenderContext.hpp>

#include <algorithm>
#include <limits>
#include <map>
#include <utility>

namespace Mirk {

namespace {

/// Needs that much leave nothing of any allowance to others.
constexpr std::int64_t allOfIt = std::numeric_limits<std::int64_t>::max();

/// A context draws one pool or several in turn.
class TurnsOfPools : public Keel::Interface<TurnsOfPools> {
public:
    std::map<Keel::WeakPtr<ValuePool>, TurnsPtr> turns;
};

} // namespace

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
    if (!_frames.note(frame, allowance)) return;
    std::erase_if(_leases, [&](const std::weak_ptr<Lease>& weak) {
        const LeasePtr lease = weak.lock();
        if (!lease) return true;
        if (lease->_frame + patience < _frames.present()) lease->end();
        return !lease->isKept();
    });
}

void Exchanges::renew(const LeasePtr& lease) {
    lease->_frame = _frames.present();
    if (lease->isKept()) return;
    lease->setKept(true);
    _leases.push_back(lease);
}

bool DrawnFrames::note(std::uint64_t& frameOfObject, std::int64_t allowance) {
    const bool begins = frameOfObject == _present || allowance > _lastAllowance;
    if (begins) ++_present;
    frameOfObject = _present;
    _lastAllowance = allowance;
    return begins;
}

TurnsPtr Turns::of(const VRenderContext& context) {
    const auto all = context.addendum->provideInterface<TurnsOfPools>(
        [] { return Keel::StrongPtr<Keel::InterfaceBase>(new TurnsOfPools); });
    std::erase_if(all->turns, [](const auto& entry) { return !entry.first; });
    TurnsPtr& turns = all->turns[Keel::WeakPtr<ValuePool>(context.pool)];
    if (!turns) turns = std::make_shared<Turns>();
    return turns;
}

void Turns::noteDrawing(const void* whose, std::int64_t allowance) {
    if (_frames.note(_frameOf[whose], allowance)) beginFrame();
    _greatestAllowance = std::max(_greatestAllowance, allowance);
    std::erase_if(_needs, [&](const Need& need) { return need.whose == whose; });
}

void Turns::beginFrame() {
    constexpr std::uint64_t aWhile = 100;
    if (_frames.present() % aWhile == 0) {
        std::erase_if(_frameOf,
                      [&](const auto& entry) { return entry.second + aWhile < _frames.present(); });
    }
    constexpr int mostFramesKept = 30;
    for (Need& need : _needs) {
        if (_hasHeldUp) ++need.framesHeldUp;
        ++need.framesKept;
        if (need.framesHeldUp <= mostFramesHeldUp && need.framesKept <= mostFramesKept) {
            _needsOfNow.push_back(need);
        }
    }
    _hasHeldUp = false;
    _needs = std::exchange(_needsOfNow, {});
    _isShort = !_needs.empty() || _soon > static_cast<double>(_greatestAllowance);
    _soon = 0.0;
    _greatestOfLast = _greatestAllowance;
    _greatestAllowance = std::numeric_limits<std::int64_t>::min();
    std::stable_sort(_needs.begin(), _needs.end(),
                     [](const Need& a, const Need& b) { return a.need > b.need; });
}

void Turns::noteNeed(const void* whose, double need, std::size_t bytes) {
    _needsOfNow.push_back({whose, need, static_cast<std::int64_t>(bytes)});
}

void Turns::noteRefusal(const void* whose, double need) {
    _needsOfNow.push_back({whose, need, allOfIt});
}

bool Turns::isTurn(double need, std::size_t bytes, std::int64_t allowance) {
    const auto isRefused = [&](const Need& other) {
        return other.bytes == allOfIt && other.need > need;
    };
    if (std::any_of(_needsOfNow.begin(), _needsOfNow.end(), isRefused)) return false;
    std::int64_t left = allowance - static_cast<std::int64_t>(bytes);
    for (const Need& other : _needs) {
        if (!(other.need > need)) break;
        if (other.bytes > left) {
            _hasHeldUp = true;
            return false;
        }
        left -= other.bytes;
    }
    return true;
}

} // namespace Mirk
