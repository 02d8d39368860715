#include <sorrel/VSlot.hpp>

#include <sorrel/connectionChanges.hpp>

#include <algorithm>
#include <typeinfo>

namespace Mirk {

VSlot::VSlot(const std::string& name, int expertLevel, const VParameterPtr& parameter)
    : _parameter(parameter), _own(parameter), _name(name), _expertLevel(expertLevel) {
    setPresent(parameter);
}

VSlot::VSlot(Joined, const std::string& name, int expertLevel, const VParameterPtr& output)
    : _connectionAge(Keel::Ageable::newAge()),
      _parameter(output),
      _name(name),
      _expertLevel(expertLevel) {
    setPresent(output);
}

VSlot::~VSlot() = default;

Keel::Ageable::Age VSlot::age(const ValuePoolPtr& pool) const {
    const Keel::Ageable::Age age = _connectionAge.load();
    VParameterPtr local;
    {
        // Requests ask this of every input: a global value is looked at without reference.
        const std::lock_guard lock(_lock);
        if (_present == nullptr) return age;
        if (!_present->holdsLocalValues()) return std::max(age, _present->globalAge());
        local = _parameter;
    }
    return std::max(age, local->age(pool));
}

void VSlot::setIgnored(bool ignored) {
    if (_ignored.exchange(ignored) != ignored) ++connectionChanges;
}

/// _lock is held, or nobody else knows this yet.
void VSlot::setPresent(const VParameterPtr& parameter) {
    _present = parameter.get();
    _fetchFirst.store(_present != nullptr ? _present->hotData() : nullptr);
    _fetchSecond.store(_present != nullptr ? _present->hotAge() : nullptr);
}

const std::type_info& VSlot::valueType() const {
    const VParameterPtr read = parameter();
    return read ? read->valueType() : typeid(void);
}

void VSlot::connect(const VParameterPtr& parameter) {
    VParameterPtr replacement = parameter ? parameter : _own;
    {
        const std::lock_guard lock(_lock);
        setPresent(replacement);
        _parameter.swap(replacement);
    }
    _connectionAge.store(Keel::Ageable::newAge());
    ++connectionChanges;
}

void VSlotSet::insert(const VSlotPtr& slot) {
    if (slot && !contains(slot)) _slots.push_back(slot);
}

bool VSlotSet::contains(const VSlotPtr& slot) const {
    return std::find(_slots.begin(), _slots.end(), slot) != _slots.end();
}

} // namespace Mirk
