#pragma once
// What is drawn beyond its bounds; stands on the object model.

#include <Polypia/export.hpp>
#include <Polypia/fwd.hpp>

#include <sorrel/ValuePool.hpp>

namespace Mirk {

/// An object that is drawn beyond its bounds, such as lines by half of their width. Backends look
/// for it, so as not to leave out what reaches into the picture from beside it.
class POLYPIA_EXPORT PixelMargin {
public:
    virtual ~PixelMargin();
    /// How far beyond, in pixels of the whole picture, in a pool. Any thread.
    virtual double marginPixels(const ValuePoolPtr& pool) const = 0;
};

} // namespace Mirk
