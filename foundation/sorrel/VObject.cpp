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

void VObject::beforeLastRelease() {}

void VObject::published() {
    VSlotContainer::published();
}

void VObject::request(VRequest& request, double precision, const Keel::WeakPtr<VManagedObjectBase>&,
                      const Keel::WeakPtr<VManagedObjectBase>&) {
    request.process(*this, precision);
}

bool VObject::update(VRequest&, double) {
    return true;
}

bool VObject::must_update(const VRequest& request, double) const {
    // Ahead of the ages, as one may be raised meanwhile.
    const std::uint64_t changes = Keel::Ageable::Changes.load();
    const LastUpdate last = lastUpdate(request.pool);
    if (last.age == Keel::Ageable::Ooooold) return true;
    if (last.changes == changes) return false;
    if (connectionAge() > last.age || hasYoungerInput(request.pool, last.age)) return true;
    const std::lock_guard lock(_recordLock);
    if (_latestUpdate.pool == request.pool && _latestUpdate.age == last.age) {
        _latestUpdate.changes = changes;
    }
    return false;
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
        const InputTable table = child.inputTable();
        for (const Input& input : table->inputs) {
            const auto source = input.parameter != nullptr
                                    ? input.parameter->sourceContainer()
                                    : Keel::StrongPtr<VSlotContainer, VManagedObjectBase>();
            VObject* const object = source ? source->asObject() : nullptr;
            if (object == nullptr || !object->isPublished()) continue;
            if (!seen.insert(&object->controlBlock()).second) continue;
            const VObjectPtr parent(*object);
            ++visited;
            if (!visit(parent, *input.slot)) return false;
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
    const auto find = create ? findOrCreateUniqueOutput : findUniqueOutput;
    return find(type, preferences, except).object;
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
    announce(object, context, Keel::WeakPtr<VCreatorBase>(creator));
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

/// The record of a pool, or null; _recordLock is held. A null pool has one too, that of the global
/// values.
const VObject::UpdateRecord* VObject::findRecord(const ValuePoolPtr& pool) const {
    if (_latestUpdate.pool == pool) return &_latestUpdate;
    const auto found = std::find_if(_earlierUpdates.begin(), _earlierUpdates.end(),
                                    [&](const auto& record) { return record.pool == pool; });
    return found != _earlierUpdates.end() ? &*found : nullptr;
}

bool VObject::hasFailed(const ValuePoolPtr& pool) const {
    return lastUpdate(pool).failed;
}

std::string VObject::failureReason(const ValuePoolPtr& pool) const {
    const std::lock_guard lock(_recordLock);
    const UpdateRecord* const record = findRecord(pool);
    return record != nullptr ? record->reason : std::string();
}

VObject::LastUpdate VObject::lastUpdate(const ValuePoolPtr& pool) const {
    const std::lock_guard lock(_recordLock);
    const UpdateRecord* const record = findRecord(pool);
    return record != nullptr ? LastUpdate{record->age, record->changes, record->failed}
                             : LastUpdate{};
}

void VObject::recordUpdate(const ValuePoolPtr& pool, Keel::Ageable::Age age, bool failed,
                           const std::string& reason) {
    UpdateRecord record{Keel::WeakPtr<ValuePool>(pool), age, 0, failed, reason};
    const std::lock_guard lock(_recordLock);
    // Of two requests at once the one that began last knows the inputs best.
    const UpdateRecord* const present = findRecord(pool);
    if (present != nullptr && present->age > age) return;
    std::swap(_latestUpdate, record);
    std::erase_if(_earlierUpdates, [&](const UpdateRecord& earlier) {
        const bool poolIsDead = earlier.pool.controlBlock() != nullptr && !earlier.pool;
        return poolIsDead || earlier.pool == pool;
    });
    if (record.pool == pool || record.age == Keel::Ageable::Ooooold) return;
    _earlierUpdates.push_back(std::move(record));
}

} // namespace Mirk
