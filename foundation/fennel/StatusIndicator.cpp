#include <fennel/StatusIndicator.hpp>

#include <sorrel/Vprintf.hpp>

namespace Mirk {

const char* const StatusIndicator::Slotname = "Status";

StatusIndicator::StatusIndicator(VObject* owner, const std::string& description, int expertLevel,
                                 const std::string& slotName)
    : _owner(owner), _status(owner, slotName, VObjectStatus(), expertLevel) {
    if (!description.empty()) _status.setHelp(description);
    _status->parameter()->Localize();
    _status->flags &= ~VSlot::GlobalFlag;
    owner->setIgnored(_status, true);
}
StatusIndicator::~StatusIndicator() = default;

void StatusIndicator::setStatusError(const ValuePoolPtr& pool, const std::string& message,
                                     bool print) const {
    if (print && !message.empty()) {
        Vprintf(0, "%s: %s\n", _owner->BaseName().c_str(), message.c_str());
    }
    _status.set(pool, VObjectStatus(message));
}

} // namespace Mirk
