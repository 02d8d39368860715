#include <sorrel/VConnectable.hpp>

#include <sorrel/VObject.hpp>

#include <sorrel/uniqueOutput.hpp>

namespace Mirk {

VConnectable::VConnectable() = default;
VConnectable::~VConnectable() = default;

int VConnectable::adjustConnections(const VSlotPtr& slot, const VParameterPtr& parameter) {
    auto* const container = dynamic_cast<VSlotContainer*>(this);
    if (container == nullptr) return NoSlot;
    if (!parameter) return container->detach(slot) ? Attached : NoSlot;
    return container->attachParameter(parameter, slot, {});
}

int VConnectable::attachUniqueObject(
    const VSlotPtr& slot,
    const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>& preferences, bool create) {
    auto* const object = dynamic_cast<VObject*>(this);
    if (object == nullptr || !slot) return NoSlot;
    const std::type_info& type = slot->valueType();
    const auto find = create ? findOrCreateUniqueOutput : findUniqueOutput;
    const UniqueOutput source = find(type, preferences, object);
    if (!source.object) return source.code;
    return object->attachParameter(source.object->getImplementation(type, {}, {}), slot,
                                   source.object->Name());
}

VSlotPtr VConnectable::CreatedFilteredConnection(const VParameterPtr& parameter) const {
    const auto* const container = dynamic_cast<const VSlotContainer*>(this);
    if (container == nullptr || !parameter) return {};
    const VSlotContainer::InputTable table = container->inputTable();
    for (const VSlotContainer::Input& input : table->inputs) {
        if (input.parameter == parameter.get() && input.slot->isConnected()) {
            return VSlotPtr(*input.slot);
        }
    }
    return {};
}

} // namespace Mirk
