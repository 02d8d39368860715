#pragma once
// The record of an object in a cache, and the order of records by last use. Internal to keel.

#include <keel/Creature.hpp>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <cstdint>
#include <deque>
#include <vector>

namespace Keel {

/// What a cache knows of an object, so that it never has to take hold of the object itself: that
/// could make it the last holder and destroy GPU state on the wrong thread.
class CacheEntry {
public:
    // Written without lock, by markAsUsed.
    std::atomic<std::uint64_t> lastUse{0};
    // All else is guarded by the lock of the cache, or of a queue that stands alone.
    WeakPtr<Cacheable> object;
    WeakPtr<Creature> creator;
    std::size_t bytes = 0;
    bool pinned = false;
    // The owner did not give it up when it was asked to.
    bool refused = false;
    // Null while the entry is in no queue.
    CacheQueue* queue = nullptr;
    // The type-wise queues of the object, for the moves between them.
    struct CacheMultiQueue* family = nullptr;
    // Raised whenever the entry leaves a queue: what the queue still has of it is then void. Read
    // by each queue that has a void record of the entry, under that queue's own lock.
    std::atomic<std::uint32_t> stamp{0};
};

/// Entries at stable addresses, reused after release.
class CacheEntries {
public:
    CacheEntry& take() {
        if (_free.empty()) return _entries.emplace_back();
        CacheEntry& entry = *_free.back();
        _free.pop_back();
        return entry;
    }
    void giveBack(CacheEntry& entry) {
        entry.object = {};
        entry.creator = {};
        entry.queue = nullptr;
        _free.push_back(&entry);
    }

private:
    std::deque<CacheEntry> _entries;
    std::vector<CacheEntry*> _free;
};

/// Entries in the order of last use, as a radix heap (Ahuja, Mehlhorn, Orlin, Tarjan: Faster
/// algorithms for the shortest path problem, 1990): the time of use only grows, so the oldest is
/// found by splitting buckets by the highest bit in which a time differs from the oldest one so
/// far. Each record moves through at most 64 buckets, in sequential memory, so that the cost does
/// not run away with the number of objects as that of a tree or a binary heap would.
///
/// A use leaves the order alone. Times in it are therefore lower bounds, which are brought up to
/// date when a record comes up as the oldest.
class UseOrder {
public:
    std::size_t size() const noexcept { return _live; }

    void insert(CacheEntry& entry) {
        place({entry.lastUse.load(std::memory_order_relaxed), &entry, entry.stamp});
        ++_live;
    }
    /// The record of the entry is left behind as void, and swept when those are the majority.
    void remove(CacheEntry& entry) {
        ++entry.stamp;
        --_live;
        ++_void;
        if (_void > _live + 64) sweep();
    }
    CacheEntry* oldest() {
        if (_live == 0) return nullptr;
        for (;;) {
            Bucket& same = _buckets[0];
            while (!same.empty()) {
                const Record record = same.front();
                if (isUpToDate(record)) return record.entry;
                std::pop_heap(same.begin(), same.end(), isYounger);
                same.pop_back();
                replace(record);
            }
            split();
        }
    }
    template<class Visitor>
    void forEach(const Visitor& visit) const {
        for (const Bucket& bucket : _buckets) {
            for (const Record& record : bucket) {
                if (isLive(record)) visit(*record.entry);
            }
        }
    }

private:
    struct Record {
        std::uint64_t time;
        CacheEntry* entry;
        std::uint32_t stamp;
    };
    using Bucket = std::vector<Record>;

    static bool isLive(const Record& record) { return record.stamp == record.entry->stamp; }
    static bool isUpToDate(const Record& record) {
        return isLive(record) && record.time >= timeOf(record);
    }
    static bool isYounger(const Record& a, const Record& b) { return a.time > b.time; }
    static std::uint64_t timeOf(const Record& record) {
        return record.entry->lastUse.load(std::memory_order_relaxed);
    }

    void place(const Record& record) {
        Bucket& bucket = _buckets[bucketOf(std::max(record.time, _oldestTime))];
        bucket.push_back(record);
        // An entry that comes back after younger ones were found to be the oldest lies among those
        // of the oldest time: they are a heap, so that it still goes ahead of them.
        if (&bucket == &_buckets[0]) std::push_heap(bucket.begin(), bucket.end(), isYounger);
    }
    void replace(const Record& record) {
        if (isLive(record)) {
            place({timeOf(record), record.entry, record.stamp});
        } else {
            --_void;
        }
    }
    /// Spreads the first bucket that has records over the ones below it; those that were used
    /// meanwhile may go above.
    void split() {
        std::size_t first = 1;
        while (_buckets[first].empty()) ++first;
        _moving.clear();
        _moving.swap(_buckets[first]);
        std::uint64_t earliest = ~std::uint64_t{0};
        for (Record& record : _moving) {
            if (!isLive(record)) continue;
            record.time = std::max(timeOf(record), _oldestTime);
            if (bucketOf(record.time) == first) earliest = std::min(earliest, record.time);
        }
        // Only a record of this bucket can be the oldest of all; if all of them have moved up, the
        // next bucket decides.
        const std::uint64_t pivot = earliest != ~std::uint64_t{0} ? earliest : _oldestTime;
        _oldestTime = pivot;
        for (const Record& record : _moving) replace(record);
    }
    std::size_t bucketOf(std::uint64_t time) const {
        return static_cast<std::size_t>(std::bit_width(time ^ _oldestTime));
    }
    void sweep() {
        for (Bucket& bucket : _buckets) {
            std::erase_if(bucket, [](const Record& record) { return !isLive(record); });
        }
        std::make_heap(_buckets[0].begin(), _buckets[0].end(), isYounger);
        _void = 0;
    }

    std::array<Bucket, 65> _buckets;
    Bucket _moving;
    std::uint64_t _oldestTime = 0;
    std::size_t _live = 0;
    std::size_t _void = 0;
};

} // namespace Keel
