#pragma once
// A base of objects that tell their user how they fare; stands on VObjectStatus and slots.

#include <fennel/VObjectStatus.hpp>

#include <sorrel/TypedSlot.hpp>

#include <string>

namespace Mirk {

/// Gives an object a status slot, whose values are local to each pool. The slot is an input, so
/// that it is shown and read like all others, but requests pass over it: a status that is written
/// during an update does not make its object due again.
class FENNEL_EXPORT StatusIndicator {
public:
    /// The name that the slot has by default: "Status".
    static const char* const Slotname;

    /// Adds the slot to `owner`, which this is a part of. `description` is the help of the slot;
    /// an empty one sets none. The status is empty at first.
    StatusIndicator(VObject* owner, const std::string& description, int expertLevel,
                    const std::string& slotName = Slotname);
    StatusIndicator(const StatusIndicator&) = delete;
    StatusIndicator& operator=(const StatusIndicator&) = delete;
    virtual ~StatusIndicator();

    /// Makes `message` the status of a pool, with the colours and the code of
    /// VObjectStatus(message), and notifies if that is a change; an empty message says that all is
    /// well again. A null pool means all pools. With `print`, a message that is not empty is also
    /// printed to standard output, behind the name of the object.
    void setStatusError(const ValuePoolPtr& pool, const std::string& message, bool print) const;

    const TypedSlot<VObjectStatus>& statusSlot() const noexcept { return _status; }

private:
    VObject* const _owner;
    TypedSlot<VObjectStatus> _status;
};

} // namespace Mirk
