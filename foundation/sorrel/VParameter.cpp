#include <sorrel/VParameter.hpp>

#include <sorrel/VSlotContainer.hpp>

#include <sorrel/connectionChanges.hpp>

#include <algorithm>
#include <utility>

namespace Mirk {

namespace {

using ContainerPtr = Keel::StrongPtr<VSlotContainer, VManagedObjectBase>;

/// Null unless the object is complete. Asked of the block: one that is being constructed on another
/// thread can't be looked at, not even for its bases.
ContainerPtr completeOf(const Keel::WeakPtr<VSlotContainer, VManagedObjectBase>& container) {
    ContainerPtr live(container);
    const bool isComplete =
        live && live.controlBlock()->firstReferenceState() == Keel::ControlBlock::Taken;
    return isComplete ? live : ContainerPtr();
}

} // namespace

ValueNotifier::ValueNotifier() = default;
ValueNotifier::~ValueNotifier() = default;

ValueNotifierList::ValueNotifierList() = default;
ValueNotifierList::~ValueNotifierList() = default;

void ValueNotifierList::touch() const {
    raiseTouchAge();
    notify({}, {}, {}, nullptr);
}

void ValueNotifierList::addNotifier(const Keel::WeakPtr<ValueNotifier>& watcher) const {
    if (!watcher) return;
    std::vector<Keel::WeakPtr<ValueNotifier>> dead;
    const std::lock_guard lock(_notifierMutex);
    if (std::find(_notifiers.begin(), _notifiers.end(), watcher) != _notifiers.end()) return;
    // Watchers that have died are swept when the table would grow, and released behind the lock.
    if (_notifiers.size() == _notifiers.capacity()) {
        const auto firstDead = std::stable_partition(_notifiers.begin(), _notifiers.end(),
                                                     [](const auto& entry) { return bool(entry); });
        dead.assign(std::make_move_iterator(firstDead), std::make_move_iterator(_notifiers.end()));
        _notifiers.erase(firstDead, _notifiers.end());
    }
    _notifiers.push_back(watcher);
    _notifierCount.store(_notifiers.size());
}

void ValueNotifierList::removeNotifier(const Keel::WeakPtr<ValueNotifier>& watcher) const {
    Keel::WeakPtr<ValueNotifier> removed;
    const std::lock_guard lock(_notifierMutex);
    const auto found = std::find(_notifiers.begin(), _notifiers.end(), watcher);
    if (found == _notifiers.end()) return;
    removed = std::move(*found);
    _notifiers.erase(found);
    _notifierCount.store(_notifiers.size());
}

bool ValueNotifierList::watches(const Keel::WeakPtr<ValueNotifier>& watcher) const {
    const std::lock_guard lock(_notifierMutex);
    return std::find(_notifiers.begin(), _notifiers.end(), watcher) != _notifiers.end();
}

std::size_t ValueNotifierList::numberOfNotifiers() const {
    const std::lock_guard lock(_notifierMutex);
    return static_cast<std::size_t>(std::count_if(_notifiers.begin(), _notifiers.end(),
                                                  [](const auto& entry) { return bool(entry); }));
}

void ValueNotifierList::addShadow(const Keel::WeakPtr<ValuePool>& pool) const {
    if (!pool) return;
    std::vector<Keel::WeakPtr<ValuePool>> dead;
    const std::lock_guard lock(_notifierMutex);
    if (std::find(_shadows.begin(), _shadows.end(), pool) != _shadows.end()) return;
    if (_shadows.size() == _shadows.capacity()) {
        const auto firstDead = std::stable_partition(_shadows.begin(), _shadows.end(),
                                                     [](const auto& entry) { return bool(entry); });
        dead.assign(std::make_move_iterator(firstDead), std::make_move_iterator(_shadows.end()));
        _shadows.erase(firstDead, _shadows.end());
    }
    _shadows.push_back(pool);
}

void ValueNotifierList::copyShadows(const Keel::WeakPtr<ValueNotifierList>& other) {
    const Keel::StrongPtr<ValueNotifierList> source(other);
    if (!source) return;
    for (const ValuePoolPtr& pool : source->shadows()) addShadow(pool);
}

std::vector<ValuePoolPtr> ValueNotifierList::shadows() const {
    std::vector<Keel::WeakPtr<ValuePool>> pools;
    {
        const std::lock_guard lock(_notifierMutex);
        pools = _shadows;
    }
    std::vector<ValuePoolPtr> live;
    live.reserve(pools.size());
    for (const Keel::WeakPtr<ValuePool>& pool : pools) {
        if (ValuePoolPtr upgraded{pool}) live.push_back(std::move(upgraded));
    }
    return live;
}

void ValueNotifierList::notify(const VValuePtr& value, const ValuePoolPtr& pool,
                               const Keel::WeakPtr<ValueNotifier>& except,
                               const ValueNotifierList* exceptList) const {
    // Most outputs of a frame have no watcher.
    if (_notifierCount.load() == 0) return;
    std::vector<Keel::WeakPtr<ValueNotifier>> excepted;
    if (exceptList != nullptr) excepted = exceptList->copyNotifiers();
    std::sort(excepted.begin(), excepted.end());
    for (const Keel::WeakPtr<ValueNotifier>& watcher : copyNotifiers()) {
        if (watcher == except) continue;
        if (std::binary_search(excepted.begin(), excepted.end(), watcher)) continue;
        if (const Keel::StrongPtr<ValueNotifier> live{watcher}) live->touched(*this, value, pool);
    }
}

std::vector<Keel::WeakPtr<ValueNotifier>> ValueNotifierList::copyNotifiers() const {
    const std::lock_guard lock(_notifierMutex);
    return _notifiers;
}

VValuePtr ValueMap::getValue(const std::string& name) const {
    const std::lock_guard lock(_mutex);
    const auto found = _values.find(name);
    return found != _values.end() ? found->second : VValuePtr();
}

void ValueMap::setValue(const std::string& name, const VValuePtr& value) {
    VValuePtr old = value;
    const std::lock_guard lock(_mutex);
    if (value) {
        _values[name].swap(old);
        return;
    }
    const auto found = _values.find(name);
    if (found == _values.end()) return;
    old.swap(found->second);
    _values.erase(found);
}

std::vector<std::string> ValueMap::names() const {
    std::vector<std::string> names;
    const std::lock_guard lock(_mutex);
    for (const auto& [name, value] : _values) names.push_back(name);
    return names;
}

VParameter::VParameter(
    const VValuePtr& value, const std::string& name,
    const Keel::StrongPtr<VCreationPreferences, Keel::InterfaceBase>& preferences)
    : _valueAge(value ? &value->ageable() : nullptr),
      _value(value),
      _name(name),
      _preferences(preferences) {}

VParameter::~VParameter() {
    for (const ValuePoolPtr& pool : shadows()) pool->removeValues(*this);
}

VValuePtr VParameter::DefaultValue() const {
    return _value;
}

const std::type_info& VParameter::valueType() const {
    return _value ? _value->type() : typeid(void);
}

TextResult VParameter::readText(VValueBase& value, const std::string& text) const {
    return value.setText(text);
}

VValuePtr VParameter::getLocalValue(const ValuePoolPtr& pool, const std::string& member,
                                    bool create) const {
    if (!pool) return {};
    VValuePtr value = pool->findValue(*this, member);
    if (value || !create || !_value) return value;
    const Keel::Ageable::Age before = _value->ageable().age();
    const VValuePtr origin = originOf(member);
    if (!origin) return {};
    const Keel::WeakPtr<ValueNotifierList> self(*this);
    value = pool->createVariable(self, member, origin->clone());
    // A write to the origin since it was copied, here or by another thread, did not find this pool
    // yet.
    if (value &&
        (_value->ageable().age() != before || origin->ageable().isYoungerThan(value->ageable()))) {
        refresh(*value, member);
        // Who was told of that write may have read the copy ahead of this.
        notify(value, pool, {}, nullptr);
    }
    return value;
}

Keel::Ageable::Age VParameter::age(const ValuePoolPtr& pool) const {
    if (holdsLocalValues()) {
        const VValuePtr local = getLocalValue(pool, std::string(), false);
        if (local) return std::max(touchAge(), local->ageable().age());
    }
    return globalAge();
}

std::string VParameter::getValueAsText(const ValuePoolPtr& pool, const std::string& member,
                                       bool create) const {
    VValuePtr value = getLocalValue(pool, member, create);
    if (!value) {
        value = DefaultValue();
        if (value && !member.empty()) value = value->component(member);
    }
    return value ? value->text() : std::string();
}

bool VParameter::setValueFromText(const ValuePoolPtr& pool, const std::string& text) const {
    const VValuePtr value = pool ? getValue(pool) : DefaultValue();
    if (!value) return false;
    const TextResult result = readText(*value, text);
    // The copies in pools may differ from a global value that is what it was.
    const bool hasChanged = result == TextResult::Changed ||
                            (result != TextResult::Unreadable && !pool && refreshCopies());
    if (hasChanged) {
        notifyValueChange(value, value == DefaultValue() ? ValuePoolPtr() : pool);
    }
    return result != TextResult::Unreadable;
}

void VParameter::notifyValueChange(const VValuePtr& value, const ValuePoolPtr& pool,
                                   const std::string& member,
                                   const Keel::WeakPtr<ValueNotifier>& except,
                                   const ValueNotifierList* exceptList,
                                   const ValueMap* properties) const {
    if (!value) return;
    if (properties != nullptr) {
        for (const std::string& name : properties->names()) {
            setProperty(name, properties->getValue(name), except, exceptList);
        }
    }
    value->ageable().rejuvenate();
    // Who sets the value for all means the pools that have a copy, too.
    if (member.empty() && value == _value) refreshCopies();
    // Whoever reads the whole value depends on its members.
    if (!member.empty()) raiseTouchAge();
    notify(value, pool, except, exceptList);
}

/// The global value, or a member of it.
VValuePtr VParameter::originOf(const std::string& member) const {
    return member.empty() ? _value : _value->component(member);
}

/// Sets a local value to what the global value is now. Whether it was another before.
bool VParameter::refresh(VValueBase& copy, const std::string& member) const {
    bool hasChanged = false;
    Keel::Ageable::Age age = Keel::Ageable::Ooooold;
    do {
        age = _value->ageable().age();
        const VValuePtr origin = originOf(member);
        // A copy that was made between a write and its stamp has the new value and the old age.
        const bool isOther = origin && copy.assign(*origin);
        hasChanged = hasChanged || isOther;
        if (isOther || (origin && origin->ageable().isYoungerThan(copy.ageable()))) {
            copy.ageable().rejuvenate();
        }
        // Who read the origin ahead of another write may have set the copy behind it.
    } while (_value->ageable().age() != age);
    return hasChanged;
}

bool VParameter::refreshCopies() const {
    bool hasChanged = false;
    for (const ValuePoolPtr& pool : shadows()) {
        for (const auto& [member, copy] : pool->findValues(*this)) {
            hasChanged = refresh(*copy, member) || hasChanged;
        }
    }
    return hasChanged;
}

void VParameter::setProperty(const std::string& name, const VValuePtr& value,
                             const Keel::WeakPtr<ValueNotifier>& except,
                             const ValueNotifierList* exceptList,
                             const Keel::WeakPtr<ValuePool>& pool) const {
    if (_properties.getValue(name) == value) return;
    _properties.setValue(name, value);
    notify(value, ValuePoolPtr(pool), except, exceptList);
}

void VParameter::setSource(const Keel::WeakPtr<VSlotContainer, VManagedObjectBase>& source) {
    {
        const std::lock_guard lock(_ownerLock);
        _source = source;
        _hasSource.store(bool(source), std::memory_order_release);
    }
    ++connectionChanges;
}

bool VParameter::dropSource(const VSlotContainer& source) {
    {
        const std::lock_guard lock(_ownerLock);
        if (_source.controlBlock() != &source.controlBlock()) return false;
        _source = {};
        _hasSource.store(false, std::memory_order_release);
    }
    ++connectionChanges;
    return true;
}

VManagedObjectPtr VParameter::source() const {
    return sourceContainer();
}

Keel::StrongPtr<VSlotContainer, VManagedObjectBase> VParameter::sourceContainer() const {
    if (!hasSource()) return {};
    Keel::WeakPtr<VSlotContainer, VManagedObjectBase> source;
    {
        const std::lock_guard lock(_ownerLock);
        source = _source;
    }
    return completeOf(source);
}

void VParameter::setCreator(VSlotContainer* creator) {
    const std::lock_guard lock(_ownerLock);
    _creator = Keel::WeakPtr<VSlotContainer, VManagedObjectBase>(creator);
}

VManagedObjectPtr VParameter::creator() const {
    Keel::WeakPtr<VSlotContainer, VManagedObjectBase> creator;
    {
        const std::lock_guard lock(_ownerLock);
        creator = _creator;
    }
    return completeOf(creator);
}

} // namespace Mirk
