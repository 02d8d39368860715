#pragma once
// The book-keeping of cached objects and their eviction; stands on Creature and CacheQueue.

#include <keel/CacheQueue.hpp>
#include <keel/Creature.hpp>
#include <keel/typemap.hpp>

#include <array>
#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <type_traits>
#include <typeinfo>
#include <vector>

namespace Keel {

/// Root of caches.
class KEEL_EXPORT CacheBase : public ReferenceBase<CacheBase> {
public:
    explicit CacheBase(const std::string& name);
    ~CacheBase() override;

    const std::string& name() const noexcept { return _name; }

private:
    const std::string _name;
};

/// The objects of one kind of object and one kind of creator. It ends with the last of them, as the
/// types may belong to a module that is unloaded then.
struct KEEL_EXPORT CacheMultiQueue {
    enum Kind : std::size_t {
        GivenUp,   ///< nobody's: waiting for their end, still taking room
        Evictable, ///< may be evicted
        Pinned,    ///< must stay, or its owner has refused to give it up
    };
    std::array<StrongPtr<CacheQueue, Cacheable>, 3> queues;
    const std::type_info* domain = nullptr;
    const std::type_info* creator = nullptr;
    std::size_t objects = 0; ///< those that have been evicted and live on included

    CacheMultiQueue();
};

/// The objects of one kind, by kind of creator.
class KEEL_EXPORT CacheMap : public ReferenceBase<CacheMap> {
public:
    ~CacheMap() override;
    typemap<CacheMultiQueue> byCreator;
};

/// Accounts for the cost of objects and has their creators forget the ones that were used the
/// longest time ago when the cost exceeds the maximum; what no creator has any more goes ahead of
/// all that one has. Thread-safe.
///
/// What is evicted is no longer counted from that moment, although its memory may be freed later:
/// waiting for that would evict everything else meanwhile. The object for which room is made is
/// itself spared. Creators are called without any lock, and may use the cache in forget(). One that
/// refuses is not asked again, except by purge(), until its object is unpinned or changes hands.
class KEEL_EXPORT Cache : public CacheBase {
public:
    /// The maximum in bytes is meant for the sum of all objects.
    Cache(unsigned long long maximumCost, const std::string& name);
    ~Cache() override;

    /// In bytes. A lower value takes effect at the next adjust() or the next growth.
    std::atomic<unsigned long long> maxCost;

    /// Drops every object whose owner allows it, and returns their number. Asks each owner once,
    /// but for those of pinned objects. Evicts what owners have made meanwhile if that is too much.
    /// What an owner throws passes through when all were asked.
    std::size_t purge();
    /// Waits until no other thread is evicting any more: an object that it has chosen is in the
    /// books no longer, and not yet with its creator. Not with a lock held that a creator may want,
    /// nor for a creator in forget(), where isEvicting(): two of them would wait for each other, so
    /// that it does nothing.
    void waitForEvictions() const;
    /// Whether the current thread is evicting from any cache: a creator has been asked to forget.
    static bool isEvicting() noexcept;
    /// Evicts the oldest objects of a domain and creator type, typeid(void) for all, until the cost
    /// and `addition` bytes are within the maximum. The cost is that of all objects, whatever the
    /// types. It stays above where owners refuse or have new objects at once.
    void adjust(const std::type_info& domain, const std::type_info& creator,
                unsigned long long addition);
    /// Bytes of all enrolled objects. If `recompute`, each is asked for its size at this moment, on
    /// the thread on which these objects may die; otherwise the recorded sum.
    unsigned long long memsize(bool recompute) const;
    /// Number of enrolled objects.
    std::size_t size() const;
    /// Visits every enrolled object once, domain by domain, the most recently used first in each
    /// queue; without lock. Returns false if the visitor ended the walk.
    bool iterate(CacheQueue::Iterator& visitor) const;
    /// Prints the number of objects and bytes, by domain, creator and state, to standard output.
    void list_info() const;

private:
    friend class Cacheable;
    using Families = std::vector<const CacheMultiQueue*>;
    struct Victim;
    class Evicting;
    class VictimScope;

    CacheEntry* enrol(const Cacheable& object, const WeakPtr<Creature>& creator, std::size_t bytes,
                      const std::type_info& domain, const std::type_info& creatorType);
    void remove(CacheEntry& entry);
    void resize(CacheEntry& entry, std::size_t bytes);
    void setCreator(CacheEntry& entry, const WeakPtr<Creature>& creator);
    void pin(CacheEntry& entry, bool pinned);
    bool isEnrolled(const CacheEntry& entry) const;
    void makeRoomFor(CacheEntry& entry);
    void markAsUsed(CacheEntry& entry) noexcept;

    void enqueue(CacheEntry& entry);
    void dequeue(CacheEntry& entry);
    void requeue(CacheEntry& entry);
    void makeRoom(const std::type_info& domain, const std::type_info& creator,
                  unsigned long long addition, CacheEntry* spared);
    std::optional<Victim> pickVictim(const std::type_info& domain, const std::type_info& creator,
                                     unsigned long long addition, const CacheEntry* spared);
    CacheEntry* oldest(const Families& families, const CacheEntry* spared);
    Victim takeOut(CacheEntry& entry);
    std::vector<Victim> takeAllOut();
    bool forget(const Victim& victim);
    void keep(const Victim& victim);
    void drop(const CacheMultiQueue& family);
    Families families(const std::type_info& domain, const std::type_info& creator) const;

    struct Books;
    std::atomic<std::uint64_t> _uses{0};
    mutable std::mutex _mutex; // guards _books and the entries
    std::unique_ptr<Books> _books;
};

static_assert(std::is_same_v<RootOf_t<CacheBase>, CacheBase::ReferenceRoot>);
static_assert(std::is_same_v<RootOf_t<Cache>, Cache::ReferenceRoot>);

} // namespace Keel
