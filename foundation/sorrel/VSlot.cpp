#include <sorrel/VSlot.hpp>

#include <algorithm>
#include <typeinfo>

namespace Mirk {

VSlot::VSlot(const std::string& name, int expertLevel, const VParameterPtr& parameter)
    : _name(name), _expertLevel(expertLevel), _own(parameter), _parameter(parameter) {}

VSlot::VSlot(Joined, const std::string& name, int expertLevel, const VParameterPtr& output)
    : _name(name),
      _expertLevel(expertLevel),
      _parameter(output),
      _connectionAge(Keel::Ageable::newAge()) {}

VSlot::~VSlot() = default;

Keel::Ageable::Age VSlot::age(const ValuePoolPtr& pool) const {
    const Keel::Ageable::Age age = _connectionAge.load();
    const VParameterPtr read = parameter();
    return read ? std::max(age, read->age(pool)) : age;
}

const std::type_info& VSlot::valueType() const {
    const VParameterPtr read = parameter();
    return read ? read->valueType() : typeid(void);
}

void VSlot::connect(const VParameterPtr& parameter) {
    VParameterPtr replacement = parameter ? parameter : _own;
    {
        const std::lock_guard lock(_lock);
        _parameter.swap(replacement);
    }
    Keel::Ageable::stamp(_connectionAge);
}

void VSlotSet::insert(const VSlotPtr& slot) {
    if (slot && !contains(slot)) _slots.push_back(slot);
}

bool VSlotSet::contains(const VSlotPtr& slot) const {
    return std::find(_slots.begin(), _slots.end(), slot) != _slots.end();
}

} // namespace Mirk
