#pragma once
// A way to stop a frame; stands on value pools.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <sorrel/ValuePool.hpp>

#include <cstdint>
#include <string>

namespace Mirk {

/// Lets a user or another thread stop a frame: set from a user interface, asked by the render
/// thread. A viewer derives its own, and says how its operations may be called from several
/// threads.
class POLYPIA_EXPORT VRenderInterruptor : public Keel::ReferenceBase<VRenderInterruptor> {
public:
    VRenderInterruptor();
    VRenderInterruptor(const VRenderInterruptor&) = delete;
    VRenderInterruptor& operator=(const VRenderInterruptor&) = delete;
    ~VRenderInterruptor() override;

    // The order of the virtual operations is part of the interface.

    /// Has the frames of a pool stop as soon as they can; those of all pools, if it is null.
    virtual void interrupt(const ValuePoolPtr& pool) = 0;
    /// Whether a frame with this pool is to stop. Asked often, on the render thread.
    virtual bool isInterrupted(const ValuePoolPtr& pool) = 0;
    /// Ends the interruption.
    virtual void resume(const ValuePoolPtr& pool) = 0;

    // The order of the fields is part of the interface. All but the first are for the use of the
    // viewer.

    /// Which one this is, of all that were made in this process.
    const std::uint64_t serial;
    std::string reason;
    std::int64_t timeLimit = -1;
    std::int32_t isEnabled = 1;
    std::int32_t level = 1;
    std::uint64_t numberOfInterruptions = 0;
    std::string source;
    std::uint64_t time = 0;
};

} // namespace Mirk
