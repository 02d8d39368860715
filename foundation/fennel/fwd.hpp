#pragma once
// Forward declarations of the value types; stands on those of sorrel.

#include <fennel/export.hpp>
#include <sorrel/fwd.hpp>

namespace Mirk {

class Chart;
class ImageTile;
class Range;
class StatusIndicator;
class StringSelection;
class VAction;
class VCamera;
class VChartDependent;
class VConnectionTypeColors;
class VInteractionEvent;
class VMultiPointerDevice;
class VObjectStatus;
class VTime;

} // namespace Mirk

template<>
struct Keel::RootOf<Mirk::Chart> {
    using type = Keel::InterfaceBase;
};
template<>
struct Keel::RootOf<Mirk::VAction> {
    using type = Mirk::VAction;
};
template<>
struct Keel::RootOf<Mirk::VChartDependent> {
    using type = Mirk::VManagedObjectBase;
};

namespace Mirk {

using ChartPtr = Keel::StrongPtr<Chart, Keel::InterfaceBase>;
using VActionPtr = Keel::StrongPtr<VAction, VAction>;

} // namespace Mirk
