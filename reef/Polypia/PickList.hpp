#pragma once
// The answer of a pick as it comes from the screen; stands on TouchList.

#include <Polypia/TouchList.hpp>

#include <keel/Chunk.hpp>
#include <keel/ReferenceBase.hpp>

#include <cstdint>
#include <map>
#include <type_traits>

namespace Mirk {

/// The identification numbers that were drawn in a rectangle of the screen, and whose they are. A
/// backend makes it, draws and fills it on the render thread; after that it is constant.
class POLYPIA_EXPORT PickList : public Keel::ReferenceBase<PickList> {
public:
    /// The rectangle in pixels, from the lower left corner of the screen. The backend reads one
    /// that is aligned to 2 to the power of `Shift` (modulo 32); a size is always one step greater
    /// than what was asked for, rounded down.
    PickList(int pickX, int pickY, int pickWidth, int pickHeight, int Shift);
    ~PickList() override;

    /// The objects pixel by pixel. Null without buffer. Pixels with a number that isn't in `Ids`,
    /// and those that the buffer doesn't have, stay empty; those that have no place in the list are
    /// left out. std::length_error if the rectangle is too large for a list.
    Keel::StrongPtr<TouchList, Keel::ChunkBase> computeTouchList() const;

    // The order of the fields is part of the interface.

    /// The objects by their numbers. 0 stands for the background, so that objects start at 1.
    std::map<std::uint32_t, Keel::StrongPtr<VObject, VManagedObjectBase>> Ids;
    /// The numbers, row by row from the bottom; AlignedWidth to a row. The first one is that of
    /// pixel (X, Y), not of (AlignedX, AlignedY): an aligned rectangle need not cover the one that
    /// was asked for, while AlignedWidth by AlignedHeight pixels from (X, Y) on always do. Pixels
    /// that lie outside of the screen are 0.
    Keel::StrongPtr<Keel::TypedChunk<std::uint32_t>, Keel::ChunkBase> Buffer;
    std::int32_t X;
    std::int32_t Y;
    std::int32_t Width;
    std::int32_t Height;
    std::int32_t AlignedX;
    std::int32_t AlignedY;
    std::int32_t AlignedWidth;
    std::int32_t AlignedHeight;

private:
    /// Null for a pixel of the background.
    const std::pair<const std::uint32_t, VObjectPtr>* objectAt(int column, int row) const;
};

static_assert(std::is_same_v<Keel::RootOf_t<PickList>, PickList::ReferenceRoot>);

} // namespace Mirk
