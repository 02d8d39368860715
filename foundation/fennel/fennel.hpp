#pragma once
// All of libfennel in one include.

#include <fennel/ImageTile.hpp>
#include <fennel/Range.hpp>
#include <fennel/StatusIndicator.hpp>
#include <fennel/StringSelection.hpp>
#include <fennel/VAction.hpp>
#include <fennel/VCamera.hpp>
#include <fennel/VChartDependent.hpp>
#include <fennel/VConnectionTypeColors.hpp>
#include <fennel/VInteractionEvent.hpp>
#include <fennel/VMultiPointerDevice.hpp>
#include <fennel/VObjectStatus.hpp>
#include <fennel/VTime.hpp>
#include <fennel/fwd.hpp>
