#pragma once
// Help texts of the slots that all display objects have from the library, which knows none for
// them; stands on VObject.

#include <sorrel/VObject.hpp>

namespace Mirk {

/// Sets the texts of those that the object has. For constructors.
void helpWithCommonSlots(const VObject& object);

} // namespace Mirk
