#include <sorrel/ValuePool.hpp>

#include <sorrel/VParameter.hpp>

#include <algorithm>

namespace Mirk {

ValuePool::ValuePool() = default;
ValuePool::~ValuePool() = default;

VValuePtr ValuePool::createVariable(const Keel::WeakPtr<ValueNotifierList>& parameter,
                                    const VValuePtr& value) {
    return createVariable(parameter, std::string(), value);
}

VValuePtr ValuePool::createVariable(const Keel::WeakPtr<ValueNotifierList>& parameter,
                                    const std::string& member, const VValuePtr& value) {
    const Keel::StrongPtr<ValueNotifierList> live(parameter);
    if (!live || !value) return {};
    VValuePtr present;
    {
        const std::lock_guard lock(_tableLock);
        Variable& variable = _variables[parameter.controlBlock()];
        if (variable.serial == 0) {
            variable.parameter = parameter;
            variable.serial = ++_lastSerial;
        }
        VValuePtr& place = member.empty() ? variable.value : memberOf(variable, member);
        if (!place) place = value;
        present = place;
    }
    Keel::Ageable::noteChange();
    live->addShadow(Keel::WeakPtr<ValuePool>(*this));
    return present;
}

VValuePtr& ValuePool::memberOf(Variable& variable, const std::string& member) {
    const auto found = std::find_if(variable.members.begin(), variable.members.end(),
                                    [&](const auto& entry) { return entry.first == member; });
    if (found != variable.members.end()) return found->second;
    return variable.members.emplace_back(member, VValuePtr()).second;
}

VValuePtr ValuePool::retrieveValue(const std::string& parameterName) const {
    // Names are asked for without the lock, as parameters may die by it.
    std::vector<std::pair<std::uint64_t, Variable>> variables;
    {
        const std::lock_guard lock(_tableLock);
        variables.reserve(_variables.size());
        for (const auto& [block, variable] : _variables) {
            variables.emplace_back(variable.serial, variable);
        }
    }
    std::sort(variables.begin(), variables.end(),
              [](const auto& a, const auto& b) { return a.first < b.first; });
    for (const auto& [serial, variable] : variables) {
        const Keel::StrongPtr<VParameter, ValueNotifierList> parameter(variable.parameter);
        if (parameter && parameter->Name() == parameterName && variable.value) {
            return variable.value;
        }
    }
    return {};
}

VValuePtr ValuePool::findValue(const ValueNotifierList& parameter) const {
    const std::lock_guard lock(_tableLock);
    const auto found = _variables.find(&parameter.controlBlock());
    return found != _variables.end() ? found->second.value : VValuePtr();
}

VValuePtr ValuePool::findValue(const ValueNotifierList& parameter,
                               const std::string& member) const {
    if (member.empty()) return findValue(parameter);
    const std::lock_guard lock(_tableLock);
    const auto found = _variables.find(&parameter.controlBlock());
    if (found == _variables.end()) return {};
    for (const auto& [name, value] : found->second.members) {
        if (name == member) return value;
    }
    return {};
}

std::vector<std::pair<std::string, VValuePtr>>
ValuePool::findValues(const ValueNotifierList& parameter) const {
    const std::lock_guard lock(_tableLock);
    const auto found = _variables.find(&parameter.controlBlock());
    if (found == _variables.end()) return {};
    auto values = found->second.members;
    if (found->second.value) values.emplace_back(std::string(), found->second.value);
    return values;
}

void ValuePool::removeValues(const ValueNotifierList& parameter) {
    // What is taken out dies behind the lock.
    decltype(_variables)::node_type removed;
    const std::lock_guard lock(_tableLock);
    removed = _variables.extract(&parameter.controlBlock());
}

std::size_t ValuePool::numberOfValues() const {
    const std::lock_guard lock(_tableLock);
    std::size_t values = 0;
    for (const auto& [block, variable] : _variables) {
        values += (variable.value ? 1u : 0u) + variable.members.size();
    }
    return values;
}

ValuePoolProvider::ValuePoolProvider() : ValuePoolProvider(ValuePoolPtr(new ValuePool)) {}
ValuePoolProvider::ValuePoolProvider(const ValuePoolPtr& pool) : _pool(pool) {}
ValuePoolProvider::~ValuePoolProvider() = default;

} // namespace Mirk
