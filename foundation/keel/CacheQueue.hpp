#pragma once
// Queues of cached objects in the order of their use; stands on Cacheable.

#include <keel/Cacheable.hpp>

#include <cstdint>
#include <memory>
#include <type_traits>
#include <vector>

namespace Keel {

/// Weak references to cached objects, the most recent at the front. Thread-safe.
///
/// Alone it is a plain queue. The queues inside of a Cache are kept in the order in which their
/// objects were used last, with the sorting left until somebody asks for the oldest.
class KEEL_EXPORT CacheQueue : public Cacheable {
public:
    /// Visitor of a queue.
    class KEEL_EXPORT Iterator {
    public:
        virtual ~Iterator();
        /// Receives one entry, which may be dead; returns true to go on.
        virtual bool apply(const WeakPtr<Cacheable>* object) = 0;
    };

    CacheQueue();
    ~CacheQueue() override;

    void push_front(const WeakPtr<Cacheable>& object);
    /// Lets go of all entries and returns their number.
    std::size_t purge();
    /// Visits a copy of the entries, the most recent first, without lock. Returns false if the
    /// visitor ended the walk.
    bool iterate(Iterator& visitor) const;
    /// Number of entries, dead ones included.
    std::size_t size() const;
    /// Sum of the sizes of the live objects, in bytes. As it takes hold of each for a moment, it
    /// belongs on the thread on which these objects may die.
    std::size_t memsize() const override;
    /// Prints number, bytes and up to `maxEntries` entries to standard output; on the same thread.
    void list_info(int maxEntries) const;

private:
    friend class Cache;
    class Content;

    /// Operations for Cache, which accounts for the entries.
    void insert(CacheEntry& entry);
    void remove(CacheEntry& entry);
    /// The entry whose last use is the longest ago, or null. It stays in the queue.
    CacheEntry* oldest();

    mutable std::mutex _mutex;
    std::unique_ptr<Content> _content;
};

static_assert(std::is_same_v<RootOf_t<CacheQueue>, CacheQueue::ReferenceRoot>);

} // namespace Keel
