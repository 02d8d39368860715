#include <keel/Cacheable.hpp>

#include <keel/Cache.hpp>
#include <keel/Creature.hpp>

namespace Keel {

namespace {

bool isTaken(const WeakPtr<Creature>& creator) {
    const ControlBlock* const block = creator.controlBlock();
    return block != nullptr && block->firstReferenceState() == ControlBlock::Taken;
}

} // namespace

Cacheable::Cacheable() = default;

Cacheable::Cacheable(const WeakPtr<Creature>& creator) : _creator(creator) {}

Cacheable::~Cacheable() {
    // An object that never had a strong pointer, such as one on the stack, comes here enrolled if
    // it was given a creator meanwhile.
    PreDestructor();
}

std::size_t Cacheable::memsize() const {
    return 0;
}

void Cacheable::DeferredConstructor() {}

const std::type_info& Cacheable::DomainType() const {
    return typeid(*this);
}

const std::type_info& Cacheable::CreatorType() const {
    const StrongPtr<Creature> owner(creator());
    if (!owner) return typeid(void);
    const Creature& object = *owner;
    return typeid(object);
}

std::string Cacheable::name() const {
    const std::lock_guard lock(_mutex);
    return _name;
}

void Cacheable::setName(const std::string& name) {
    const std::lock_guard lock(_mutex);
    _name = name;
}

void Cacheable::markAsUsed() const noexcept {
    if (CacheEntry* const entry = _entry.load(std::memory_order_acquire))
        _cache->markAsUsed(*entry);
}

WeakPtr<Creature> Cacheable::creator() const {
    const std::lock_guard lock(_mutex);
    return _creator;
}

void Cacheable::setCreator(const WeakPtr<Creature>& creator) {
    {
        const std::lock_guard lock(_mutex);
        _creator = creator;
        if (CacheEntry* const entry = _entry.load()) _cache->setCreator(*entry, creator);
    }
    // Ahead of the first strong pointer the object is still being made: it is enrolled then.
    if (controlBlock().firstReferenceState() == ControlBlock::Taken) enrol();
}

void Cacheable::pin(bool pinned) const {
    if (CacheEntry* const entry = _entry.load()) _cache->pin(*entry, pinned);
}

bool Cacheable::isEnrolled() const {
    CacheEntry* const entry = _entry.load();
    return entry != nullptr && _cache->isEnrolled(*entry);
}

void Cacheable::CacheableDeferredConstructor() {
    DeferredConstructor();
    enrol();
}

void Cacheable::PreDestructor() {
    if (CacheEntry* const entry = _entry.exchange(nullptr)) _cache->remove(*entry);
}

void Cacheable::reportMemsize(std::size_t bytes) {
    if (CacheEntry* const entry = _entry.load()) _cache->resize(*entry, bytes);
}

/// Enrols the object, unless it is already, and makes room for it. Nothing for an object of nobody.
void Cacheable::enrol() {
    const WeakPtr<Creature> mine = creator();
    // A creator that has no strong pointer yet is still being made, and comes back to this then.
    if (!isTaken(mine)) return;
    const StrongPtr<Creature> owner(mine);
    if (!owner) return;
    if (_entry.load() == nullptr) {
        const StrongPtr<Cache, CacheBase> cache(owner->cache());
        if (!cache) return;
        // Asked ahead of the lock, as these are operations of derived classes.
        const std::size_t bytes = memsize();
        const std::type_info& domain = DomainType();
        const std::type_info& creatorType = CreatorType();
        const std::lock_guard lock(_mutex);
        if (_entry.load() == nullptr) {
            _cache = cache;
            _entry.store(cache->enrol(*this, _creator, bytes, domain, creatorType));
        }
    }
    _cache->makeRoomFor(*_entry.load());
}

MutableCacheable::MutableCacheable(const WeakPtr<Creature>& creator) : Cacheable(creator) {}

MutableCacheable::~MutableCacheable() = default;

std::size_t MutableCacheable::memsize() const {
    return _recordedBytes.load();
}

void MutableCacheable::adjustCurrentMemsize() {
    const std::size_t bytes = computeMemsize();
    _recordedBytes.store(bytes);
    reportMemsize(bytes);
}

/// Nothing to the cache: what the budget refuses is not to drive others out.
void MutableCacheable::expectMemsize(std::size_t bytes) {
    _recordedBytes.store(bytes);
}

} // namespace Keel
