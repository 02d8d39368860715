#include <keel/CacheQueue.hpp>

#include <keel/VerboseStream.hpp>
#include <keel/cacheEntry.hpp>

#include <algorithm>
#include <cstdio>

namespace Keel {

class CacheQueue::Content {
public:
    UseOrder order;
    // For the entries of a queue that stands alone.
    CacheEntries own;
    std::uint64_t time = 0;
};

CacheQueue::Iterator::~Iterator() = default;

CacheQueue::CacheQueue() : _content(std::make_unique<Content>()) {
    setName("CacheQueue");
}

CacheQueue::~CacheQueue() = default;

void CacheQueue::push_front(const WeakPtr<Cacheable>& object) {
    const std::lock_guard lock(_mutex);
    CacheEntry& entry = _content->own.take();
    entry.object = object;
    entry.queue = this;
    entry.lastUse = ++_content->time;
    _content->order.insert(entry);
}

std::size_t CacheQueue::purge() {
    const auto fresh = std::make_unique<Content>();
    const std::lock_guard lock(_mutex);
    const std::size_t released = _content->order.size();
    std::swap(*_content, *fresh);
    return released;
}

bool CacheQueue::iterate(Iterator& visitor) const {
    std::vector<std::pair<std::uint64_t, WeakPtr<Cacheable>>> entries;
    {
        const std::lock_guard lock(_mutex);
        entries.reserve(_content->order.size());
        _content->order.forEach(
            [&](const CacheEntry& entry) { entries.emplace_back(entry.lastUse, entry.object); });
    }
    std::stable_sort(entries.begin(), entries.end(),
                     [](const auto& a, const auto& b) { return a.first > b.first; });
    return std::all_of(entries.begin(), entries.end(),
                       [&](const auto& entry) { return visitor.apply(&entry.second); });
}

std::size_t CacheQueue::size() const {
    const std::lock_guard lock(_mutex);
    return _content->order.size();
}

std::size_t CacheQueue::memsize() const {
    struct Sum : Iterator {
        bool apply(const WeakPtr<Cacheable>* object) override {
            if (const StrongPtr<Cacheable> alive(*object); alive) bytes += alive->memsize();
            return true;
        }
        std::size_t bytes = 0;
    } sum;
    iterate(sum);
    return sum.bytes;
}

void CacheQueue::list_info(int maxEntries) const {
    struct Lines : Iterator {
        bool apply(const WeakPtr<Cacheable>* object) override {
            if (left-- <= 0) return false;
            if (const StrongPtr<Cacheable> alive(*object); alive) {
                std::printf(
                    "    %s: %s\n", alive->name().c_str(),
                    VerboseStream::MemString(static_cast<long long>(alive->memsize())).c_str());
            } else {
                std::printf("    (gone)\n");
            }
            return true;
        }
        int left = 0;
    } lines;
    lines.left = maxEntries;
    std::printf("%s: %zu entries, %s\n", name().c_str(), size(),
                VerboseStream::MemString(static_cast<long long>(memsize())).c_str());
    if (!iterate(lines)) std::printf("    ...\n");
    std::fflush(stdout);
}

void CacheQueue::insert(CacheEntry& entry) {
    const std::lock_guard lock(_mutex);
    entry.queue = this;
    _content->order.insert(entry);
}

void CacheQueue::remove(CacheEntry& entry) {
    const std::lock_guard lock(_mutex);
    entry.queue = nullptr;
    _content->order.remove(entry);
}

CacheEntry* CacheQueue::oldest() {
    const std::lock_guard lock(_mutex);
    return _content->order.oldest();
}

} // namespace Keel
