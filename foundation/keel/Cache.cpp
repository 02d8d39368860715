#include <keel/Cache.hpp>

#include <keel/Typename.hpp>
#include <keel/VerboseStream.hpp>
#include <keel/cacheEntry.hpp>

#include <algorithm>
#include <condition_variable>
#include <cstdio>
#include <exception>
#include <limits>
#include <utility>

namespace Keel {

namespace {

std::string bytesText(unsigned long long bytes) {
    constexpr unsigned long long most = std::numeric_limits<long long>::max();
    return VerboseStream::MemString(static_cast<long long>(std::min(bytes, most)));
}

} // namespace

/// What the lock of a cache guards.
struct Cache::Books {
    typemap<StrongPtr<CacheMap>> byDomain;
    CacheEntries entries;
    unsigned long long cost = 0;
    std::size_t enrolled = 0;
    std::size_t evictions = 0; // under way: objects that have left the books, with their creators
    std::condition_variable evicted;
};

/// An object that is to go, taken out of its queue already.
struct Cache::Victim {
    CacheEntry* entry;
    WeakPtr<Cacheable> object;
    WeakPtr<Creature> creator;
};

/// While it exists, the current thread evicts from a cache.
class Cache::Evicting {
public:
    explicit Evicting(const Cache& cache)
        : _cache(&cache), _outer(std::exchange(_innermost, this)) {}
    ~Evicting() { _innermost = _outer; }
    Evicting(const Evicting&) = delete;
    Evicting& operator=(const Evicting&) = delete;

    static bool isUnderWay() { return _innermost != nullptr; }
    static bool isUnderWay(const Cache& cache) {
        const Evicting* scope = _innermost;
        while (scope != nullptr && scope->_cache != &cache) scope = scope->_outer;
        return scope != nullptr;
    }

private:
    static thread_local const Evicting* _innermost;
    const Cache* const _cache;
    const Evicting* const _outer;
};

thread_local const Cache::Evicting* Cache::Evicting::_innermost = nullptr;

/// At its end an object that left the books is with its creator, or in the books again.
class Cache::VictimScope {
public:
    explicit VictimScope(Cache& cache) : _cache(cache) {}
    ~VictimScope() {
        {
            const std::lock_guard lock(_cache._mutex);
            --_cache._books->evictions;
        }
        _cache._books->evicted.notify_all();
    }
    VictimScope(const VictimScope&) = delete;
    VictimScope& operator=(const VictimScope&) = delete;

private:
    Cache& _cache;
};

CacheBase::CacheBase(const std::string& name) : _name(name) {}

CacheBase::~CacheBase() = default;

CacheMultiQueue::CacheMultiQueue() {
    for (StrongPtr<CacheQueue, Cacheable>& queue : queues) queue = make<CacheQueue>();
}

CacheMap::~CacheMap() = default;

Cache::Cache(unsigned long long maximumCost, const std::string& name)
    : CacheBase(name), maxCost(maximumCost), _books(std::make_unique<Books>()) {}

Cache::~Cache() = default;

void Cache::markAsUsed(CacheEntry& entry) noexcept {
    const std::uint64_t use = _uses.fetch_add(1, std::memory_order_relaxed) + 1;
    entry.lastUse.store(use, std::memory_order_relaxed);
}

CacheEntry* Cache::enrol(const Cacheable& object, const WeakPtr<Creature>& creator,
                         std::size_t bytes, const std::type_info& domain,
                         const std::type_info& creatorType) {
    const WeakPtr<Cacheable> weak(object);
    const std::lock_guard lock(_mutex);
    StrongPtr<CacheMap>& map = _books->byDomain[domain];
    if (!map) map = make<CacheMap>();
    CacheEntry& entry = _books->entries.take();
    entry.object = weak;
    entry.creator = creator;
    entry.bytes = bytes;
    entry.pinned = false;
    entry.refused = false;
    CacheMultiQueue& family = map->byCreator[creatorType];
    family.domain = &domain;
    family.creator = &creatorType;
    ++family.objects;
    entry.family = &family;
    markAsUsed(entry);
    enqueue(entry);
    return &entry;
}

void Cache::remove(CacheEntry& entry) {
    const std::lock_guard lock(_mutex);
    if (entry.queue != nullptr) dequeue(entry);
    if (--entry.family->objects == 0) drop(*entry.family);
    entry.family = nullptr;
    _books->entries.giveBack(entry);
}

/// The caller holds the lock.
void Cache::drop(const CacheMultiQueue& family) {
    const std::type_info& domain = *family.domain;
    CacheMap& map = *_books->byDomain[domain];
    map.byCreator.erase(*family.creator);
    if (map.byCreator.size() == 0) _books->byDomain.erase(domain);
}

void Cache::resize(CacheEntry& entry, std::size_t bytes) {
    {
        const std::lock_guard lock(_mutex);
        if (entry.queue != nullptr) _books->cost += bytes - entry.bytes;
        entry.bytes = bytes;
    }
    makeRoomFor(entry);
}

void Cache::setCreator(CacheEntry& entry, const WeakPtr<Creature>& creator) {
    const bool given = creator.controlBlock() != nullptr;
    const std::lock_guard lock(_mutex);
    entry.creator = creator;
    entry.refused = false;
    // An evicted object that somebody takes up again counts again.
    if (entry.queue != nullptr || given) requeue(entry);
}

void Cache::pin(CacheEntry& entry, bool pinned) {
    const std::lock_guard lock(_mutex);
    if (entry.pinned == pinned && (pinned || !entry.refused)) return;
    entry.pinned = pinned;
    if (!pinned) entry.refused = false;
    if (entry.queue != nullptr) requeue(entry);
}

bool Cache::isEnrolled(const CacheEntry& entry) const {
    const std::lock_guard lock(_mutex);
    return entry.queue != nullptr;
}

/// The caller holds the lock, as for the next two.
void Cache::enqueue(CacheEntry& entry) {
    const bool givenUp = entry.creator.controlBlock() == nullptr;
    const CacheMultiQueue::Kind kind = givenUp                         ? CacheMultiQueue::GivenUp
                                       : entry.pinned || entry.refused ? CacheMultiQueue::Pinned
                                                                       : CacheMultiQueue::Evictable;
    entry.family->queues[kind]->insert(entry);
    _books->cost += entry.bytes;
    ++_books->enrolled;
}

void Cache::dequeue(CacheEntry& entry) {
    entry.queue->remove(entry);
    _books->cost -= entry.bytes;
    --_books->enrolled;
}

void Cache::requeue(CacheEntry& entry) {
    if (entry.queue != nullptr) dequeue(entry);
    enqueue(entry);
}

void Cache::makeRoomFor(CacheEntry& entry) {
    // The object is being worked on: it is the youngest.
    markAsUsed(entry);
    // An object that a creator makes while it forgets another: room is made until there is enough.
    if (Evicting::isUnderWay(*this)) return;
    makeRoom(typeid(void), typeid(void), 0, &entry);
}

void Cache::adjust(const std::type_info& domain, const std::type_info& creator,
                   unsigned long long addition) {
    makeRoom(domain, creator, addition, nullptr);
}

void Cache::makeRoom(const std::type_info& domain, const std::type_info& creator,
                     unsigned long long addition, CacheEntry* spared) {
    const Evicting scope(*this);
    // No more than there are: a creator may have a new object as soon as it has forgotten one.
    for (std::size_t left = size(); left > 0; --left) {
        // One at a time, as it may take others with it.
        const std::optional<Victim> victim = pickVictim(domain, creator, addition, spared);
        if (!victim) return;
        const VictimScope eviction(*this);
        forget(*victim);
    }
}

bool Cache::isEvicting() noexcept {
    return Evicting::isUnderWay();
}

void Cache::waitForEvictions() const {
    if (Evicting::isUnderWay()) return;
    std::unique_lock lock(_mutex);
    _books->evicted.wait(lock, [this] { return _books->evictions == 0; });
}

/// Takes the oldest object that may go out of its queue, unless the cost is low enough.
std::optional<Cache::Victim> Cache::pickVictim(const std::type_info& domain,
                                               const std::type_info& creator,
                                               unsigned long long addition,
                                               const CacheEntry* spared) {
    const std::lock_guard lock(_mutex);
    const unsigned long long maximum = maxCost.load();
    const unsigned long long limit = maximum > addition ? maximum - addition : 0;
    if (_books->cost <= limit) return std::nullopt;
    CacheEntry* const oldestEntry = oldest(families(domain, creator), spared);
    if (oldestEntry == nullptr) return std::nullopt;
    return takeOut(*oldestEntry);
}

/// For a VictimScope. The caller holds the lock.
Cache::Victim Cache::takeOut(CacheEntry& entry) {
    dequeue(entry);
    ++_books->evictions;
    return {&entry, entry.object, entry.creator};
}

/// Of what nobody will ask for again, else of what may be made anew. The caller holds the lock.
CacheEntry* Cache::oldest(const Families& families, const CacheEntry* spared) {
    CacheEntry* found = nullptr;
    for (const auto kind : {CacheMultiQueue::GivenUp, CacheMultiQueue::Evictable}) {
        for (const CacheMultiQueue* const family : families) {
            CacheQueue& queue = *family->queues[kind];
            CacheEntry* candidate = queue.oldest();
            while (candidate != nullptr && candidate == spared && queue.size() > 1) {
                // All others were used meanwhile, by other threads.
                markAsUsed(*candidate);
                candidate = queue.oldest();
            }
            if (candidate == nullptr || candidate == spared) continue;
            if (found == nullptr || candidate->lastUse < found->lastUse) found = candidate;
        }
        if (found != nullptr) return found;
    }
    return found;
}

/// Has the creator of the victim give it up, and returns whether it did. Called without lock.
bool Cache::forget(const Victim& victim) {
    const StrongPtr<Creature> creator(victim.creator);
    if (!creator) return false;
    CacheEntry& entry = *victim.entry;
    {
        // What was taken from its creator meanwhile is no reason to lose what that has made since.
        const std::lock_guard lock(_mutex);
        if (!(entry.object == victim.object) || !(entry.creator == victim.creator)) return false;
    }
    try {
        if (creator->forget()) return true;
    } catch (...) {
        keep(victim);
        throw;
    }
    keep(victim);
    return false;
}

/// Of an object whose owner keeps it: it counts again, and is left alone from now on.
void Cache::keep(const Victim& victim) {
    CacheEntry& entry = *victim.entry;
    const std::lock_guard lock(_mutex);
    const bool isStillOut = entry.object == victim.object && entry.queue == nullptr;
    if (!isStillOut) return;
    entry.refused = true;
    enqueue(entry);
}

std::size_t Cache::purge() {
    std::size_t dropped = 0;
    std::exception_ptr failure;
    {
        const Evicting scope(*this);
        for (const Victim& victim : takeAllOut()) {
            const VictimScope eviction(*this);
            try {
                if (forget(victim)) ++dropped;
            } catch (...) {
                // All are out of their queues by now: nobody would ask the others again.
                if (!failure) failure = std::current_exception();
            }
        }
    }
    makeRoom(typeid(void), typeid(void), 0, nullptr);
    if (failure) std::rethrow_exception(failure);
    return dropped;
}

/// All that may go, those included whose owners have refused before.
std::vector<Cache::Victim> Cache::takeAllOut() {
    std::vector<Victim> victims;
    const std::lock_guard lock(_mutex);
    const Families all = families(typeid(void), typeid(void));
    while (CacheEntry* const entry = oldest(all, nullptr)) victims.push_back(takeOut(*entry));
    for (const CacheMultiQueue* const family : all) {
        std::vector<CacheEntry*> kept;
        while (CacheEntry* const entry = family->queues[CacheMultiQueue::Pinned]->oldest()) {
            if (entry->pinned) {
                dequeue(*entry);
                kept.push_back(entry);
            } else {
                victims.push_back(takeOut(*entry));
            }
        }
        for (CacheEntry* const entry : kept) enqueue(*entry);
    }
    return victims;
}

/// The queues of a domain and creator type, typeid(void) for all. The caller holds the lock.
Cache::Families Cache::families(const std::type_info& domain, const std::type_info& creator) const {
    struct Collector : typemap<StrongPtr<CacheMap>>::Iterator, typemap<CacheMultiQueue>::Iterator {
        bool apply(const std::type_info& type, const StrongPtr<CacheMap>& map) override {
            return !wanted(type, *domain) || map->byCreator.iterate(*this);
        }
        bool apply(const std::type_info& type, const CacheMultiQueue& family) override {
            if (wanted(type, *creator)) found.push_back(&family);
            return true;
        }
        static bool wanted(const std::type_info& type, const std::type_info& choice) {
            return choice == typeid(void) || type == choice;
        }
        const std::type_info* domain = nullptr;
        const std::type_info* creator = nullptr;
        Families found;
    } collector;
    collector.domain = &domain;
    collector.creator = &creator;
    _books->byDomain.iterate(collector);
    return std::move(collector.found);
}

unsigned long long Cache::memsize(bool recompute) const {
    if (!recompute) {
        const std::lock_guard lock(_mutex);
        return _books->cost;
    }
    struct Sum : CacheQueue::Iterator {
        bool apply(const WeakPtr<Cacheable>* object) override {
            if (const StrongPtr<Cacheable> alive(*object); alive) {
                const auto* const growing = dynamic_cast<const MutableCacheable*>(alive.get());
                bytes += growing != nullptr ? growing->computeMemsize() : alive->memsize();
            }
            return true;
        }
        unsigned long long bytes = 0;
    } sum;
    iterate(sum);
    return sum.bytes;
}

std::size_t Cache::size() const {
    const std::lock_guard lock(_mutex);
    return _books->enrolled;
}

bool Cache::iterate(CacheQueue::Iterator& visitor) const {
    std::vector<StrongPtr<CacheQueue, Cacheable>> all;
    {
        const std::lock_guard lock(_mutex);
        for (const CacheMultiQueue* const family : families(typeid(void), typeid(void))) {
            all.insert(all.end(), family->queues.begin(), family->queues.end());
        }
    }
    return std::all_of(all.begin(), all.end(),
                       [&](const auto& queue) { return queue->iterate(visitor); });
}

void Cache::list_info() const {
    struct Printer : typemap<StrongPtr<CacheMap>>::Iterator, typemap<CacheMultiQueue>::Iterator {
        bool apply(const std::type_info& type, const StrongPtr<CacheMap>& map) override {
            domain = Typename(type);
            return map->byCreator.iterate(*this);
        }
        bool apply(const std::type_info& type, const CacheMultiQueue& family) override {
            std::printf("    %s of %s: %zu evictable, %zu pinned, %zu given up\n", domain.c_str(),
                        Typename(type).c_str(), family.queues[CacheMultiQueue::Evictable]->size(),
                        family.queues[CacheMultiQueue::Pinned]->size(),
                        family.queues[CacheMultiQueue::GivenUp]->size());
            return true;
        }
        std::string domain;
    } printer;
    const std::lock_guard lock(_mutex);
    std::printf("Cache %s: %zu objects, %s of %s\n", name().c_str(), _books->enrolled,
                bytesText(_books->cost).c_str(), bytesText(maxCost).c_str());
    _books->byDomain.iterate(printer);
    std::fflush(stdout);
}

} // namespace Keel
