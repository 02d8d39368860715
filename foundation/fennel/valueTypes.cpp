// The value types of this library, by name; stands on TypedSlot.

#include <fennel/fennel.hpp>

#include <sorrel/TypedSlot.hpp>

namespace Mirk {

namespace {

const ValueTypeRegistration<ChartPtr> chartType("Chart");
const ValueTypeRegistration<ImageTile> tileType("ImageTile");
const ValueTypeRegistration<ImageTile::Size> sizeType("ImageSize");
const ValueTypeRegistration<Range> rangeType("Range");
const ValueTypeRegistration<StringSelection> selectionType("StringSelection");
const ValueTypeRegistration<VActionPtr> actionType("Action");
const ValueTypeRegistration<VCamera> cameraType("Camera");
const ValueTypeRegistration<VInteractionEvent> eventType("InteractionEvent");
const ValueTypeRegistration<VMultiPointerDevice> pointersType("MultiPointerDevice");
const ValueTypeRegistration<VObjectStatus> statusType("ObjectStatus");
const ValueTypeRegistration<VTime> timeType("Time");

} // namespace

} // namespace Mirk
