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
/// The same; if there is none, the best creator of such inputs makes and announces one.
UniqueOutput findOrCreateUniqueOutput(const std::type_info& type,
                                      const VObject::PreferencesPtr& preferences,
                                      const VObject* except);
/// Tells the shell of a new object and sets it up. What that throws becomes a Warning.
void announce(const VObjectPtr& object, const Keel::Intercube& context,
              const Keel::WeakPtr<VCreatorBase>& creator);

} // namespace Mirk
