#include <Polypia/PickList.hpp>

#include <cstddef>

namespace Mirk {

namespace {

// Unsigned, as the greatest steps and sizes wrap around.

std::uint32_t stepOf(int shift) {
    return std::uint32_t{1} << (static_cast<std::uint32_t>(shift) & 31U);
}

std::uint32_t roundedDown(int number, int shift) {
    return static_cast<std::uint32_t>(number) & (0U - stepOf(shift));
}

} // namespace

PickList::PickList(int pickX, int pickY, int pickWidth, int pickHeight, int Shift)
    : X(pickX),
      Y(pickY),
      Width(pickWidth),
      Height(pickHeight),
      AlignedX(static_cast<std::int32_t>(roundedDown(pickX, Shift))),
      AlignedY(static_cast<std::int32_t>(roundedDown(pickY, Shift))),
      AlignedWidth(static_cast<std::int32_t>(roundedDown(pickWidth, Shift) + stepOf(Shift))),
      AlignedHeight(static_cast<std::int32_t>(roundedDown(pickHeight, Shift) + stepOf(Shift))) {}

PickList::~PickList() = default;

const std::pair<const std::uint32_t, VObjectPtr>* PickList::objectAt(int column, int row) const {
    const std::int64_t place = std::int64_t{AlignedWidth} * row + column;
    const auto numbers = Buffer->vector().size();
    if (place < 0 || static_cast<std::size_t>(place) >= numbers) return nullptr;
    const auto found = Ids.find(Buffer->vector()[static_cast<std::size_t>(place)]);
    return found != Ids.end() ? &*found : nullptr;
}

Keel::StrongPtr<TouchList, Keel::ChunkBase> PickList::computeTouchList() const {
    if (!Buffer || Buffer->data() == nullptr) return {};
    const Keel::StrongPtr<TouchList, Keel::ChunkBase> list(new TouchList(Width, Height));
    for (int row = 0; row < Height; ++row) {
        for (int column = 0; column < Width; ++column) {
            const auto* const found = objectAt(column, row);
            if (found == nullptr || !list->contains(column, row)) continue;
            (*list)(column, row) = {found->second, found->first};
        }
    }
    return list;
}

} // namespace Mirk
