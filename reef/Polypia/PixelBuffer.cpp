#include <Polypia/PixelBuffer.hpp>

namespace Mirk {

PixelBuffer::PixelBuffer(const ViewportGeometry& geometry) : ViewportGeometry(geometry) {}

PixelBuffer::~PixelBuffer() = default;

int PixelBuffer::readPixelColors(int, int, float (*)[4], unsigned long long, unsigned long long,
                                 unsigned int) const {
    return 0;
}

int PixelBuffer::readPixelDepth(int, int, float*, unsigned long long, unsigned long long,
                                unsigned int) const {
    return 0;
}

} // namespace Mirk
