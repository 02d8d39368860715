#include <Polypia/PixelMargin.hpp>

namespace Mirk {

PixelMargin::~PixelMargin() = default;

} // namespace Mirk
