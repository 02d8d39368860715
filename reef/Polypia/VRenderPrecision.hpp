#pragma once
// How much detail a frame may afford; stands on the counted pointers.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/ReferenceBase.hpp>

#include <atomic>
#include <cstdint>

namespace Mirk {

/// The time budget of the frames of one viewer. Objects look at it while they are drawn; the viewer
/// adapts it between frames. Values are read by any thread: one that is out of date changes nothing
/// but a level of detail.
class POLYPIA_EXPORT VRenderPrecision : public Keel::ReferenceBase<VRenderPrecision> {
public:
    /// Frames are to take from 0.1 to 0.2 seconds.
    VRenderPrecision();
    /// Both limits in seconds.
    explicit VRenderPrecision(double time);
    ~VRenderPrecision() override;

    /// Changes `precision` after a frame, as `lastFrameTime` and the limits suggest.
    virtual void adaptPrecision() = 0;

    // The order of the fields is part of the interface.

    /// Which one this is, of all that were made in this process.
    const std::uint64_t serial;
    /// 1 for full detail, less for less.
    std::atomic<double> precision{1.0};
    /// Seconds that the last frame took to draw; 0 if there was none.
    std::atomic<double> lastFrameTime{0.0};
    /// Seconds. A frame below the lower limit can afford more detail, one above the upper limit has
    /// too much.
    std::atomic<double> lowerTime;
    std::atomic<double> upperTime;
    /// For the use of the viewer.
    std::atomic<std::uint64_t> viewerWord{0};
};

} // namespace Mirk
