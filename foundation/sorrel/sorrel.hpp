#pragma once
// All of libsorrel in one include.

#include <sorrel/GraphFile.hpp>
#include <sorrel/Module.hpp>
#include <sorrel/TypedSlot.hpp>
#include <sorrel/TypedSlotCreator.hpp>
#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VConnectable.hpp>
#include <sorrel/VContext.hpp>
#include <sorrel/VCreationPreferences.hpp>
#include <sorrel/VCreatorBase.hpp>
#include <sorrel/VManagedObject.hpp>
#include <sorrel/VNutrition.hpp>
#include <sorrel/VObject.hpp>
#include <sorrel/VParameter.hpp>
#include <sorrel/VRequest.hpp>
#include <sorrel/VSlot.hpp>
#include <sorrel/VSlotContainer.hpp>
#include <sorrel/VStateCreatorBase.hpp>
#include <sorrel/VValue.hpp>
#include <sorrel/VValueBase.hpp>
#include <sorrel/VValueTrait.hpp>
#include <sorrel/ValuePool.hpp>
#include <sorrel/Vprintf.hpp>
#include <sorrel/fwd.hpp>
#include <sorrel/textForm.hpp>
#include <sorrel/valueTraits.hpp>
