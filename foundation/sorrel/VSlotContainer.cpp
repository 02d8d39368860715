#include <sorrel/VSlotContainer.hpp>

#include <sorrel/connectionChanges.hpp>

#include <algorithm>
#include <exception>
#include <utility>

namespace Mirk {

VConnectionValidatorList::VConnectionValidatorList() = default;
VConnectionValidatorList::~VConnectionValidatorList() = default;

void VConnectionValidatorList::addConnectionValidator(Validator validator) {
    auto added = std::make_shared<const Validator>(std::move(validator));
    const std::lock_guard lock(_validatorMutex);
    _validators.push_back(std::move(added));
}

bool VConnectionValidatorList::validConnection(const VSlot& slot,
                                               const VParameter& parameter) const {
    std::vector<std::shared_ptr<const Validator>> validators;
    {
        const std::lock_guard lock(_validatorMutex);
        validators = _validators;
    }
    return std::all_of(validators.begin(), validators.end(),
                       [&](const auto& validator) { return (*validator)(slot, parameter); });
}

VOutputIterator::~VOutputIterator() = default;

VSlotContainer::VSlotContainer() = default;

VSlotContainer::~VSlotContainer() {
    for (const Output& output : _outputs) {
        const VParameterPtr parameter = output.slot->parameter();
        if (parameter && parameter->dropSource(*this)) parameter->touch();
    }
}

VObject* VSlotContainer::asObject() noexcept {
    return nullptr;
}

void VSlotContainer::inputConnected(const VSlot&, const VParameterPtr&) {}

void VSlotContainer::published() {
    ++connectionChanges;
    for (const Output& output : copyOutputs()) {
        if (const VParameterPtr parameter = output.slot->parameter()) parameter->touch();
    }
}

VSlotPtr VSlotContainer::addParameter(const std::string& slotName, int expertLevel,
                                      const VParameterPtr& parameter, bool connected) {
    const bool joins = connected && parameter;
    VSlotPtr slot;
    {
        const std::lock_guard lock(_slotMutex);
        if (joins) {
            if (VSlotPtr joined = findJoined(*parameter)) return joined;
            _joinedPlaces[parameter.controlBlock()] = _lastPlace + 1;
        }
        const std::string unique = uniqueName(slotName);
        slot = VSlotPtr(joins ? new VSlot(VSlot::Joined(), unique, expertLevel, parameter)
                              : new VSlot(unique, expertLevel, parameter));
        _inputPlaces.emplace(unique, ++_lastPlace);
        _inputs.emplace_hint(_inputs.end(), _lastPlace, slot);
    }
    dropInputTable();
    if (parameter && !joins) parameter->setCreator(this);
    Keel::Ageable::stamp(_connectionAge);
    return slot;
}

/// The input that was made for an output; _slotMutex is held.
VSlotPtr VSlotContainer::findJoined(const VParameter& output) const {
    const auto place = _joinedPlaces.find(&output.controlBlock());
    if (place == _joinedPlaces.end()) return {};
    const auto input = _inputs.find(place->second);
    // It may have been connected to another output since, or have been taken away.
    return input != _inputs.end() && input->second->reads(output) ? input->second : VSlotPtr();
}

/// The name, or, if it is taken, with a number behind it; _slotMutex is held.
std::string VSlotContainer::uniqueName(const std::string& slotName) {
    if (!_inputPlaces.contains(slotName)) return slotName;
    unsigned& number = _lastNumbers[slotName];
    for (number = std::max(number, 1u) + 1;; ++number) {
        std::string numbered = slotName + '#' + std::to_string(number);
        if (!_inputPlaces.contains(numbered)) return numbered;
    }
}

bool VSlotContainer::removeParameter(const std::string& slotName) {
    VSlotPtr removed;
    {
        const std::lock_guard lock(_slotMutex);
        const auto place = _inputPlaces.find(slotName);
        if (place == _inputPlaces.end()) return false;
        const auto entry = _inputs.find(place->second);
        removed = std::move(entry->second);
        const auto joined = _joinedPlaces.find(removed->readBlock());
        if (joined != _joinedPlaces.end() && joined->second == place->second) {
            _joinedPlaces.erase(joined);
        }
        _inputs.erase(entry);
        _inputPlaces.erase(place);
    }
    dropInputTable();
    Keel::Ageable::stamp(_connectionAge);
    return true;
}

VSlotPtr VSlotContainer::registerOutput(const VParameterPtr& parameter,
                                        const std::string& outputName) {
    if (!parameter) return {};
    const VSlotPtr slot(new VSlot(outputName, 0, parameter));
    registerOutput(slot);
    return slot;
}

void VSlotContainer::registerOutput(const VSlotPtr& output) {
    if (!output) return;
    if (const VParameterPtr parameter = output->parameter()) {
        parameter->setSource(Keel::WeakPtr<VSlotContainer, VManagedObjectBase>(this));
    }
    const std::lock_guard lock(_slotMutex);
    _outputs.push_back({output->Name(), output});
}

VSlotPtr VSlotContainer::findInput(const std::string& slotName) const {
    const std::lock_guard lock(_slotMutex);
    const auto place = _inputPlaces.find(slotName);
    return place != _inputPlaces.end() ? _inputs.at(place->second) : VSlotPtr();
}

VSlotPtr VSlotContainer::findOutput(const std::string& outputName) const {
    const std::lock_guard lock(_slotMutex);
    const auto found = std::find_if(_outputs.begin(), _outputs.end(), [&](const Output& output) {
        return output.name == outputName;
    });
    return found != _outputs.end() ? found->slot : VSlotPtr();
}

VSlotContainer::InputTable VSlotContainer::inputTable() const {
    {
        const std::lock_guard lock(_tableLock);
        if (_inputTable) return _inputTable;
    }
    const auto snapshot = std::make_shared<InputSnapshot>();
    const std::lock_guard lock(_slotMutex);
    {
        // Another thread may have made it meanwhile. It is not replaced: what it holds could die by
        // that, and with the locks held.
        const std::lock_guard tableLock(_tableLock);
        if (_inputTable) return _inputTable;
    }
    for (const auto& [place, slot] : _inputs) {
        VParameterPtr parameter = slot->parameter();
        snapshot->inputs.push_back({slot.get(), parameter.get(), slot->isIgnored()});
        snapshot->slots.push_back(slot);
        snapshot->parameters.push_back(std::move(parameter));
    }
    const std::lock_guard tableLock(_tableLock);
    _inputTable = snapshot;
    return snapshot;
}

void VSlotContainer::dropInputTable() {
    // What it holds dies outside of the locks.
    InputTable dropped;
    {
        // Another thread may be making a table of how things were before: that one goes as well.
        const std::lock_guard slotLock(_slotMutex);
        const std::lock_guard tableLock(_tableLock);
        dropped.swap(_inputTable);
    }
    // Not before: a plan that was made by the table must not hold any longer than the table.
    ++connectionChanges;
}

bool VSlotContainer::hasYoungerInput(const ValuePoolPtr& pool, Keel::Ageable::Age age) const {
    // Requests ask this of every object: a few global values are looked at in place.
    constexpr std::size_t Few = 16;
    {
        const std::lock_guard lock(_tableLock);
        if (_inputTable && _inputTable->inputs.size() <= Few) {
            bool someAreLocal = false;
            for (const Input& input : _inputTable->inputs) {
                if (input.ignored || input.parameter == nullptr) continue;
                if (input.parameter->holdsLocalValues()) {
                    someAreLocal = true;
                } else if (input.parameter->globalAge() > age) {
                    return true;
                }
            }
            if (!someAreLocal) return false;
        }
    }
    const InputTable table = inputTable();
    const std::vector<Input>& inputs = table->inputs;
    return std::any_of(inputs.begin(), inputs.end(), [&](const Input& input) {
        return !input.ignored && input.parameter != nullptr && input.parameter->age(pool) > age;
    });
}

std::vector<VSlotPtr> VSlotContainer::inputs() const {
    std::vector<VSlotPtr> slots;
    const std::lock_guard lock(_slotMutex);
    slots.reserve(_inputs.size());
    for (const auto& [place, slot] : _inputs) slots.push_back(slot);
    return slots;
}

std::vector<VSlotPtr> VSlotContainer::outputs() const {
    std::vector<VSlotPtr> slots;
    for (Output& output : copyOutputs()) slots.push_back(std::move(output.slot));
    return slots;
}

std::size_t VSlotContainer::numberOfInputs() const {
    const std::lock_guard lock(_slotMutex);
    return _inputs.size();
}

std::vector<VSlotContainer::Output> VSlotContainer::copyOutputs() const {
    const std::lock_guard lock(_slotMutex);
    return _outputs;
}

bool VSlotContainer::owns(const VSlotPtr& input) const {
    return input && findInput(input->Name()) == input;
}

AttachErrorCode VSlotContainer::attachParameter(const VParameterPtr& output,
                                                const Keel::WeakPtr<VSlot>& input,
                                                const std::string&) {
    const VSlotPtr slot(input);
    if (!owns(slot)) return NoSlot;
    if (!output) return NoSuchOutput;
    if (slot->parameter() == output) return AlreadyAttached;
    if (slot->valueType() != output->valueType()) return WrongType;
    if (!validConnection(*slot, *output)) return Refused;
    slot->connect(output);
    noteJoined(slot, output);
    dropInputTable();
    Keel::Ageable::stamp(_connectionAge);
    inputConnected(*slot, output);
    return Attached;
}

/// An input without parameter of its own counts as made for what it is connected to.
void VSlotContainer::noteJoined(const VSlotPtr& slot, const VParameterPtr& output) {
    if (slot->ownParameter()) return;
    const std::lock_guard lock(_slotMutex);
    const auto place = _inputPlaces.find(slot->Name());
    if (place != _inputPlaces.end()) _joinedPlaces[output.controlBlock()] = place->second;
}

AttachErrorCode VSlotContainer::attach(const VParameterPtr& input, const VParameterPtr& output,
                                       const std::string& connectionName) {
    if (!input) return NoSlot;
    for (const VSlotPtr& slot : inputs()) {
        if (slot->ownParameter() == input || slot->parameter() == input) {
            return attachParameter(output, slot, connectionName);
        }
    }
    return NoSlot;
}

bool VSlotContainer::detach(const VSlotPtr& input) {
    if (!owns(input) || !input->isConnected()) return false;
    if (!input->ownParameter()) return removeParameter(input->Name());
    input->connect({});
    dropInputTable();
    Keel::Ageable::stamp(_connectionAge);
    return true;
}

void VSlotContainer::detachAll() {
    for (const VSlotPtr& input : inputs()) detach(input);
}

std::string VSlotContainer::AttachErrorCodeMessage(AttachErrorCode code) {
    switch (code) {
    case Attached:
        return "connected";
    case AlreadyAttached:
        return "connected already";
    case NoObject:
        return "there is no object with an output of this type";
    case SeveralObjects:
        return "several objects have an output of this type, choose one of them";
    case NoSlot:
        return "the object has no such input";
    case NoSuchOutput:
        return "there is no such output";
    case WrongType:
        return "the output has another type of value than the input";
    case Refused:
        return "the object refuses this connection";
    case NoCreator:
        return "there is no creator of this name";
    case CreationFailed:
        return "the object could not be created";
    }
    return "unknown code " + std::to_string(static_cast<int>(code));
}

bool VSlotContainer::allowParameterReplacement(const VSlotPtr& input,
                                               const VParameterPtr& replacement) const {
    return owns(input) && replacement && input->valueType() == replacement->valueType() &&
           validConnection(*input, *replacement);
}

int VSlotContainer::connectSlots(
    const Keel::StrongPtr<VSlotContainer, VManagedObjectBase>& source) {
    if (!source) return 0;
    const std::vector<VSlotPtr> outputs = source->outputs();
    int connected = 0;
    for (const VSlotPtr& input : inputs()) {
        if (input->isConnected()) continue;
        VSlotPtr match;
        int candidates = 0;
        for (const VSlotPtr& output : outputs) {
            if (output->valueType() != input->valueType()) continue;
            ++candidates;
            if (candidates == 1) match = output;
            if (output->Name() != input->Name()) continue;
            match = output;
            candidates = 1;
            break;
        }
        if (candidates != 1) continue;
        if (attachParameter(match->parameter(), input, match->Name()) == Attached) ++connected;
    }
    return connected;
}

void VSlotContainer::addSetup(SetupFunction function) {
    {
        const std::lock_guard lock(_slotMutex);
        if (!_isSetUp) {
            _setups.push_back(std::move(function));
            return;
        }
    }
    function({});
}

void VSlotContainer::setup(const VSlotSet& connected) {
    std::vector<SetupFunction> functions;
    {
        const std::lock_guard lock(_slotMutex);
        _isSetUp = true;
        functions.swap(_setups);
    }
    std::exception_ptr failure;
    for (const SetupFunction& function : functions) {
        try {
            function(connected);
        } catch (...) {
            // They run once: nobody would call the others again.
            if (!failure) failure = std::current_exception();
        }
    }
    if (failure) std::rethrow_exception(failure);
}

bool VSlotContainer::implements(const std::type_info& type) const {
    return bool(getImplementationSlot(type, {}, {}));
}

void VSlotContainer::setIgnored(const VSlotPtr& input, bool ignored) {
    if (!owns(input) || input->_ignored.exchange(ignored) == ignored) return;
    dropInputTable();
    Keel::Ageable::stamp(_connectionAge);
}

bool VSlotContainer::ignoreInput(const VSlotPtr& input) const {
    return !input || input->isIgnored();
}

void VSlotContainer::iterateOutputs(VOutputIterator& iterator, const std::type_info& type) const {
    for (const Output& output : copyOutputs()) {
        if (type != typeid(void) && output.slot->valueType() != type) continue;
        if (!iterator.apply(output.slot, output.name)) return;
    }
}

VParameterPtr VSlotContainer::getImplementation(const std::type_info& type,
                                                const std::string& outputName,
                                                const std::string& member) const {
    const VSlotPtr slot = getImplementationSlot(type, outputName, member);
    return slot ? slot->parameter() : VParameterPtr();
}

VSlotPtr VSlotContainer::getImplementationSlot(const std::type_info& type,
                                               const std::string& outputName,
                                               const std::string& member) const {
    for (const Output& output : copyOutputs()) {
        if (output.slot->valueType() != type) continue;
        if (!outputName.empty() && output.name != outputName) continue;
        if (member.empty()) return output.slot;
        const VValuePtr value = output.slot->getValueBase({});
        if (value && value->component(member)) return output.slot;
    }
    return {};
}

} // namespace Mirk
