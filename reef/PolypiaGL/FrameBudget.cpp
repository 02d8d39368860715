#include <PolypiaGL/FrameBudget.hpp>

#include <algorithm>
#include <cmath>

namespace Mirk {

void SmoothPrecision::adaptPrecision() {
    constexpr double largestStep = 4.0 / 3.0;
    const double seconds = lastFrameTime;
    if (!(seconds > 0.0)) return;
    const double limit = seconds > upperTime ? upperTime : lowerTime;
    if (seconds <= upperTime && seconds >= lowerTime) return;
    const double step = std::clamp(std::sqrt(limit / seconds), 1.0 / largestStep, largestStep);
    precision = std::clamp(precision * step, Coarsest, 1.0);
}

void FrameInterruptor::interrupt(const ValuePoolPtr& pool) {
    if (!pool) {
        _all = true;
        return;
    }
    const std::lock_guard lock(_mutex);
    std::erase_if(_pools, [](const auto& entry) { return !entry; });
    if (std::find(_pools.begin(), _pools.end(), pool) == _pools.end()) {
        _pools.emplace_back(pool);
    }
    _some = true;
}

bool FrameInterruptor::isInterrupted(const ValuePoolPtr& pool) {
    if (_all) return true;
    const auto now = std::chrono::steady_clock::now().time_since_epoch().count();
    if (now >= _end) return true;
    if (!_some) return false;
    const std::lock_guard lock(_mutex);
    return std::find(_pools.begin(), _pools.end(), pool) != _pools.end();
}

void FrameInterruptor::resume(const ValuePoolPtr& pool) {
    const std::lock_guard lock(_mutex);
    if (pool) {
        std::erase(_pools, Keel::WeakPtr<ValuePool>(pool));
    } else {
        _all = false;
        _pools.clear();
    }
    _some = !_pools.empty();
}

void FrameInterruptor::beginFrame() {
    using Clock = std::chrono::steady_clock;
    const auto limit = std::chrono::nanoseconds(timeLimit);
    _end = limit.count() < 0 ? Clock::duration::max().count()
                             : (Clock::now() + std::chrono::duration_cast<Clock::duration>(limit))
                                   .time_since_epoch()
                                   .count();
}

void FrameInterruptor::endFrame() {
    _end = std::chrono::steady_clock::duration::max().count();
}

} // namespace Mirk
