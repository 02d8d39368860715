#pragma once
// Connecting an input by looking for who can serve it; stands on VSlotContainer.

#include <sorrel/VSlotContainer.hpp>

#include <sorrel/VCreationPreferences.hpp>

namespace Mirk {

/// Finds sources for the inputs of an object. All operations may be called from any thread.
class SORREL_EXPORT VConnectable : public virtual VManagedObjectBase {
public:
    VConnectable();
    ~VConnectable() override;

    /// Makes `parameter` the one that the slot is connected to, after the checks of
    /// VSlotContainer::attachParameter; null disconnects it. Returns a code of AttachErrorCode.
    int adjustConnections(const VSlotPtr& slot, const VParameterPtr& parameter);
    /// Connects an input to the output of its type of the one other object that has such an output.
    /// If there are several, those whose preferences fit `preferences` best are meant. If there is
    /// none and `create` is true, a creator of such inputs makes one. Returns 0 or above if the
    /// input is connected now, NoObject (-1) if no object has such an output and none was made,
    /// SeveralObjects (-2) if no single one could be told, or another code of AttachErrorCode.
    int attachUniqueObject(
        const VSlotPtr& slot,
        const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>& preferences, bool create);
    /// The input of this object that is connected to `parameter`, as whoever filters connections
    /// sees it; null if there is none.
    VSlotPtr CreatedFilteredConnection(const VParameterPtr& parameter) const;
};

} // namespace Mirk
