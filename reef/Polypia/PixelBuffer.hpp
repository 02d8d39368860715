#pragma once
// Read-back of the frame that a viewer shows; stands on the counted pointers.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <keel/ReferenceBase.hpp>

#include <cstdint>

namespace Mirk {

/// A rectangle of pixels of a window, the origin at the bottom left.
struct POLYPIA_EXPORT ViewportGeometry {
    friend bool operator==(const ViewportGeometry&, const ViewportGeometry&) = default;

    std::int32_t X = 0;
    std::int32_t Y = 0;
    std::int32_t Width = 0;
    std::int32_t Height = 0;
};
static_assert(sizeof(ViewportGeometry) == 16);

/// Colours and depths of the pixels of a frame. Implemented by the viewer; on its render thread.
class POLYPIA_EXPORT PixelBuffer : public Keel::ReferenceBase<PixelBuffer>,
                                   public ViewportGeometry {
public:
    explicit PixelBuffer(const ViewportGeometry& geometry);
    ~PixelBuffer() override;

    /// Range of the depths in the frame, as far as the viewer knows it; for information only.
    float DepthMin = -10.0F;
    float DepthMax = 0.0F;
    /// For the use of the viewer, 0 at first.
    std::uint64_t state = 0;

    // The order of the virtual operations is part of the interface.

    /// Reads a rectangle of pixels whose bottom left is (X, Y) as red, green, blue and alpha,
    /// nominally 0 to 1. Row 0 is the bottom one; rows are `Stride` pixels apart in `Colors`, or
    /// `Width` if that is 0. What lies outside of the frame is left as it is. Returns the number
    /// of pixels read; 0 if none are available, which is what the bodies given here do.
    virtual int readPixelColors(int X, int Y, float (*Colors)[4], unsigned long long Width,
                                unsigned long long Height, unsigned int Stride) const = 0;
    /// The same for depths, 0 at the near plane to 1 at the far plane.
    virtual int readPixelDepth(int X, int Y, float* Depths, unsigned long long Width,
                               unsigned long long Height, unsigned int Stride) const = 0;
};

} // namespace Mirk
