#include <sorrel/VObject.hpp>

#include <sorrel/VActionNotifier.hpp>
#include <sorrel/VCreatorBase.hpp>
#include <sorrel/uniqueOutput.hpp>

#include <keel/Typename.hpp>

#include <algorithm>
#include <unordered_set>

namespace Mirk {

VObjectIterator::~VObjectIterator() = default;

VObject::VObject(const std::string& objectName, int p, const PreferencesPtr& prefs)
    : VManagedDomainObject<VObject>(objectName, p), _preferences(prefs) {}

VObject::~VObject() = default;

void VObject::request(VRequest& request, double precision, const Keel::WeakPtr<VManagedObjectBase>&,
                      const Keel::WeakPtr<VManagedObjectBase>&) {
    request.process(*this, precision);
}

bool VObject::update(VRequest&, double) {
    return true;
}

bool VObject::must_update(const VRequest& request, double) const {
    const Keel::Ageable::Age last = lastUpdate(request.pool);
    return last == Keel::Ageable::Ooooold || connectionAge() > last ||
           hasYoungerInput(request.pool, last);
}

bool VObject::unsychronized_update(VRequest&, double) {
    return true;
}

const unsigned char* VObject::gimp_icon() const {
    return nullptr;
}

const char* const* VObject::xpm_icon() const {
    return nullptr;
}

std::string VObject::qt_icon() const {
    return {};
}

std::string VObject::help(HelpType) const {
    return {};
}

VObjectPtr VObject::copy() const {
    return {};
}

std::string VObject::type_key() const {
    const std::string creator = creatorName();
    return creator.empty() ? Keel::Typename(typeid(*this)) : creator;
}

std::string VObject::CreateParameterName(const std::string& parameterName) const {
    return BaseName() + '.' + parameterName;
}

void VObject::InputCreation(const VParameterPtr&, const VObjectPtr&, const VParameterPtr&) {}

void VObject::inputConnected(const VSlot& input, const VParameterPtr& output) {
    InputCreation(input.ownParameter(), VObjectPtr(output->source()), output);
}

std::size_t VObject::iterateParents(VObjectIterator& iterator, int depth) const {
    return iterateParents(
        [&](const VObjectPtr& object, const VSlot&) { return iterator.apply(object); }, depth);
}

std::size_t
VObject::iterateParents(const std::function<bool(const VObjectPtr&, const VSlot&)>& visit,
                        int depth) const {
    std::unordered_set<const Keel::ControlBlock*> seen{&controlBlock()};
    std::size_t visited = 0;
    std::vector<VObjectPtr> level;
    const auto visitParents = [&](const VObject& child, std::vector<VObjectPtr>& parents) {
        for (const VSlotPtr& input : *child.inputTable()) {
            const VParameterPtr parameter = input->parameter();
            const auto source = parameter ? parameter->sourceContainer()
                                          : Keel::StrongPtr<VSlotContainer, VManagedObjectBase>();
            VObject* const object = source ? source->asObject() : nullptr;
            if (object == nullptr || !object->isPublished()) continue;
            if (!seen.insert(&object->controlBlock()).second) continue;
            const VObjectPtr parent(*object);
            ++visited;
            if (!visit(parent, *input)) return false;
            parents.push_back(parent);
        }
        return true;
    };
    if (!visitParents(*this, level)) return visited;
    for (; depth > 0 && !level.empty(); --depth) {
        std::vector<VObjectPtr> next;
        for (const VObjectPtr& child : level) {
            if (!visitParents(*child, next)) return visited;
        }
        level.swap(next);
    }
    return visited;
}

VObjectPtr VObject::findUniqueOutputObject(const std::type_info& type,
                                           const PreferencesPtr& preferences, bool create,
                                           const VObject* except) {
    const UniqueOutput unique = findUniqueOutput(type, preferences, except);
    if (unique.code == NoObject && create) return createForInput(type, preferences);
    return unique.object;
}

int VObject::attachNewObject(const VSlotPtr& slot, const std::string& creatorName,
                             const Keel::Intercube& context, const PreferencesPtr& preferences) {
    constexpr char RecordSeparator = '\x1e';
    if (!slot) return NoSlot;
    const std::size_t separator = creatorName.find(RecordSeparator);
    const std::string kind = creatorName.substr(0, separator);
    const std::string objectName =
        separator == std::string::npos ? kind : creatorName.substr(separator + 1);
    const auto creator = VCreatorBase::find(kind);
    if (!creator) return NoCreator;
    const VObjectPtr object = creator->make(objectName, preferences, context);
    if (!object) return CreationFailed;
    const AttachErrorCode code =
        attachParameter(object->getImplementation(slot->valueType(), {}, {}), slot, object->Name());
    if (code < 0) return code;
    VActionNotifier::VObjectCreation(object, context, Keel::WeakPtr<VCreatorBase>(creator));
    object->setup({});
    return code;
}

std::string VObject::creatorName() const {
    const std::lock_guard lock(_recordLock);
    return _creatorName;
}

void VObject::setCreatorName(const std::string& creator) {
    const std::lock_guard lock(_recordLock);
    _creatorName = creator;
}

bool VObject::hasFailed(const ValuePoolPtr& pool) const {
    const std::lock_guard lock(_recordLock);
    return std::any_of(_updates.begin(), _updates.end(), [&](const UpdateRecord& record) {
        return record.pool == pool && record.failed;
    });
}

std::string VObject::failureReason(const ValuePoolPtr& pool) const {
    const std::lock_guard lock(_recordLock);
    for (const UpdateRecord& record : _updates) {
        if (record.pool == pool && record.failed) return record.reason;
    }
    return {};
}

Keel::Ageable::Age VObject::lastUpdate(const ValuePoolPtr& pool) const {
    const std::lock_guard lock(_recordLock);
    for (const UpdateRecord& record : _updates) {
        if (record.pool == pool) return record.age;
    }
    return Keel::Ageable::Ooooold;
}

void VObject::recordUpdate(const ValuePoolPtr& pool, Keel::Ageable::Age age, bool failed,
                           const std::string& reason) {
    const std::lock_guard lock(_recordLock);
    // A null pool has a record of its own, that of the global values.
    std::erase_if(_updates, [&](const UpdateRecord& record) {
        return record.pool == pool || (record.pool.controlBlock() != nullptr && !record.pool);
    });
    _updates.push_back({Keel::WeakPtr<ValuePool>(pool), age, failed, reason});
}

bool VObject::hasYoungerInput(const ValuePoolPtr& pool, Keel::Ageable::Age age) const {
    const InputTable table = inputTable();
    return std::any_of(table->begin(), table->end(), [&](const VSlotPtr& input) {
        return !ignoreInput(input) && input->age(pool) > age;
    });
}

} // namespace Mirk
