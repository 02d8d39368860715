#pragma once
// The search for the one object that can serve an input; stands on VObject.

#include <sorrel/VObject.hpp>

namespace Mirk {

/// The object, or why there is none: NoObject or SeveralObjects.
struct UniqueOutput {
    VObjectPtr object;
    AttachErrorCode code = NoObject;
};

/// The one object, other than `except`, with an output of a type; among several the one whose
/// preferences fit best.
UniqueOutput findUniqueOutput(const std::type_info& type,
                              const VObject::PreferencesPtr& preferences, const VObject* except);
/// Makes and announces an object with an output of a type. Null if no creator can.
VObjectPtr createForInput(const std::type_info& type, const VObject::PreferencesPtr& preferences);

} // namespace Mirk
