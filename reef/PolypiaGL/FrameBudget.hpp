#pragma once
// How long frames may take: level of detail and end of a frame; stands on Polypia's interfaces.

#include <Polypia/VRenderInterruptor.hpp>
#include <Polypia/VRenderPrecision.hpp>
#include <PolypiaGL/export.hpp>
#include <PolypiaGL/fwd.hpp>

#include <sorrel/ValuePool.hpp>

#include <atomic>
#include <chrono>
#include <mutex>
#include <vector>

namespace Mirk {

/// Follows the time limits smoothly: the level of detail goes towards that at which a frame would
/// take as long as the limit, by the square root of what is missing and by at most a third with
/// each frame, so that it does not swing. Within the limits it stays.
class POLYPIAGL_EXPORT SmoothPrecision : public VRenderPrecision {
public:
    /// The least level of detail.
    static constexpr double Coarsest = 1.0 / 64.0;

    SmoothPrecision() = default;
    explicit SmoothPrecision(double time) : VRenderPrecision(time) {}
    void adaptPrecision() override;
};

/// Stops frames by request and by time. All operations may be called from any thread.
class POLYPIAGL_EXPORT FrameInterruptor : public VRenderInterruptor {
public:
    void interrupt(const ValuePoolPtr& pool) override;
    bool isInterrupted(const ValuePoolPtr& pool) override;
    void resume(const ValuePoolPtr& pool) override;

    /// A frame begins now; `timeLimit` nanoseconds later it is interrupted, if that is not below 0.
    void beginFrame();
    /// The time limit of the frame is void.
    void endFrame();

private:
    std::atomic<bool> _all{false};
    std::atomic<bool> _some{false}; // there is a pool in the list
    std::atomic<std::chrono::steady_clock::rep> _end{
        std::chrono::steady_clock::duration::max().count()};
    std::mutex _mutex; // leaf: guards _pools
    std::vector<Keel::WeakPtr<ValuePool>> _pools;
};

} // namespace Mirk
